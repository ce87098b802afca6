#include "krel/text_layout.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

// Every unit of the library holds its own copy of the level-name table.
#include "krel/log.hpp"
#include "krel/str.hpp"

namespace krel {
namespace str {
namespace {

// One input line: a view into the caller's text, without its newline.
struct Line {
  char const* data;
  std::size_t size;
};

// Calls `visit` for every line of `text` the way a line reader cuts it: every
// newline ends a line and is not part of it, a final newline does not start a
// further empty line, and an empty text has no lines.
template <typename Visit>
void for_each_line(std::string const& text, Visit visit) {
  char const* cursor = text.data();
  char const* const end = cursor + text.size();
  while (cursor < end) {
    auto const* newline =
        static_cast<char const*>(std::memchr(cursor, '\n', static_cast<std::size_t>(end - cursor)));
    char const* const line_end = newline != nullptr ? newline : end;
    visit(Line{cursor, static_cast<std::size_t>(line_end - cursor)});
    cursor = newline != nullptr ? newline + 1 : end;
  }
}

// Index of the last space in line[from, to], or `to` + 1 when there is none.
std::size_t last_space_between(Line line, std::size_t from, std::size_t to) {
  if (from > to) return to + 1;
  void const* found = ::memrchr(line.data + from, ' ', to - from + 1);
  if (found == nullptr) return to + 1;
  return static_cast<std::size_t>(static_cast<char const*>(found) - line.data);
}

// Index of the first space at or after `from`, or the line's size when none.
std::size_t first_space_from(Line line, std::size_t from) {
  void const* found = std::memchr(line.data + from, ' ', line.size - from);
  if (found == nullptr) return line.size;
  return static_cast<std::size_t>(static_cast<char const*>(found) - line.data);
}

// Appends one input line, broken at spaces, to `out`; the line's own newline
// is left to the caller. `width` is at least 1.
//
// The first break searches back from index `width`; every later one from the
// break space + 1 + the room beside the indent. A segment that begins with a
// space never breaks at that space: the search then looks forward instead, so
// a long word runs past the width rather than being split.
//
// When the indent is longer than the width there is no room beside it: the
// rest of the line after the first break goes out unbroken behind the indent.
// Where the index arithmetic of the break search wraps past the line's end
// this is exactly what it gives; where it would not wrap, the search would go
// back to spaces already passed and write the rest again, mostly for ever.
void wrap_line(Line line, std::size_t width, std::string const& indent, std::string& out) {
  if (width >= line.size) {
    out.append(line.data, line.size);
    return;
  }
  std::size_t start = 0;
  std::size_t pos = width;
  bool const room_beside_indent = indent.size() <= width;
  for (;;) {
    // Only a space after `start` is a usable backward break; anything at or
    // before `start` sends the search forward from `pos`.
    std::size_t space = last_space_between(line, start + 1, pos);
    if (space > pos) {
      space = first_space_from(line, pos);
      if (space == line.size) break;
    }
    out.append(line.data + start, space - start);
    out.push_back('\n');
    out.append(indent);
    start = space + 1;
    if (!room_beside_indent) break;
    pos = start + (width - indent.size());
    if (pos >= line.size) break;
  }
  out.append(line.data + start, line.size - start);
}

// A guess at the wrapped size, so that the output rarely has to grow: every
// break turns one space into a newline and an indent, and lines come out at
// least three quarters full unless words are very long. Capped, so that a
// long indent does not make a short text reserve a great deal.
std::size_t expected_wrapped_size(std::size_t text_size, std::size_t width,
                                  std::size_t indent_size) {
  std::size_t const room = width > indent_size ? width - indent_size : 1;
  std::size_t const breaks = (text_size + text_size / 3) / room + 1;
  std::size_t indents = text_size + indent_size;
  if (indent_size != 0 && breaks <= indents / indent_size) indents = breaks * indent_size;
  return text_size + indents + 1;
}

}  // namespace

int terminal_width() {
  // Cleared first: when standard input is no terminal the query fails and
  // leaves the structure as it was, which then reads as an unknown width.
  winsize size{};
  ::ioctl(STDIN_FILENO, TIOCGWINSZ, &size);
  return size.ws_col > 0 ? static_cast<int>(size.ws_col) : 0;
}

std::string word_wrap(std::string const& text, int width, std::string const& indent) {
  bool const ends_with_newline = !text.empty() && text.back() == '\n';
  if (width <= 0) width = terminal_width();
  if (width == 0) return std::string();
  std::size_t const line_width = static_cast<std::size_t>(width);

  std::string out;
  bool reserved = false;
  bool failed = false;
  for_each_line(text, [&](Line line) {
    if (failed) return;
    // A failure while a line is cut and emitted (memory running out) gives an
    // empty result rather than reaching the caller.
    try {
      if (!reserved) {
        out.reserve(expected_wrapped_size(text.size(), line_width, indent.size()));
        reserved = true;
      }
      wrap_line(line, line_width, indent, out);
    } catch (...) {
      failed = true;
      return;
    }
    out.push_back('\n');
  });
  if (failed) return std::string();
  if (!ends_with_newline && !out.empty()) out.pop_back();
  return out;
}

std::string column_wrap(std::string const& text, int width, std::string const& indent,
                        char separator, bool hide_separator) {
  bool const ends_with_newline = !text.empty() && text.back() == '\n';

  // The column end: the furthest first separator over all lines, compared
  // with the width after every line. Positions are taken as 32-bit signed
  // values, a line without the separator counting as -1.
  std::int32_t column_end = 0;
  bool too_wide = false;
  std::vector<std::int32_t> positions;
  std::size_t separator_lines = 0;
  std::size_t separator_position_sum = 0;
  for_each_line(text, [&](Line line) {
    if (too_wide) return;
    void const* found = std::memchr(line.data, separator, line.size);
    std::int32_t const position =
        found == nullptr ? -1
                         : static_cast<std::int32_t>(static_cast<char const*>(found) - line.data);
    positions.push_back(position);
    if (position >= 0) {
      ++separator_lines;
      separator_position_sum += static_cast<std::size_t>(position);
    }
    if (position > column_end) column_end = position;
    if (column_end > width) too_wide = true;
  });
  if (too_wide) return word_wrap(text, width, indent);

  // Every line holding the separator is padded so that the byte behind the
  // separator stands at column end + 1; only a separator beyond 2^31 (whose
  // position reads as negative) is left alone.
  std::size_t const column = static_cast<std::size_t>(column_end);
  std::string joined;
  joined.reserve(text.size() + separator_lines * column - separator_position_sum + 1);
  std::size_t line_number = 0;
  for_each_line(text, [&](Line line) {
    std::int32_t const position = positions[line_number++];
    if (position < 0) {
      joined.append(line.data, line.size);
    } else {
      std::size_t const at = static_cast<std::size_t>(position);
      joined.append(line.data, at);
      joined.push_back(hide_separator ? ' ' : separator);
      joined.append(column - at, ' ');
      joined.append(line.data + at + 1, line.size - at - 1);
    }
    joined.push_back('\n');
  });
  if (!ends_with_newline && !joined.empty()) joined.pop_back();

  // The continuation indent is always the column where a value starts behind
  // the separator and one space; the caller's indent plays no part here.
  return word_wrap(joined, width, std::string(column + 2, ' '));
}

std::string space_wrap(std::string const& text, int width, std::string const& indent) {
  // Each pass moves the next space of every line that still has one to a
  // common column. All changes of a pass lie at or after the search start, so
  // every line is built left to right: `laid_out` holds the finished part
  // (always exactly the search start long while the line takes part), and
  // `rest` the index of the first byte of the line not yet copied.
  struct Row {
    Line line;
    std::string laid_out;
    std::size_t rest = 0;
    std::size_t next_space = 0;
  };
  std::vector<Row> rows;
  for_each_line(text, [&](Line line) { rows.push_back(Row{line, std::string(), 0, 0}); });

  std::vector<Row*> taking_part;
  taking_part.reserve(rows.size());
  for (Row& row : rows)
    taking_part.push_back(&row);

  std::size_t search_start = 0;
  bool found = true;
  while (found && !taking_part.empty()) {
    std::size_t column = 0;
    found = false;
    std::size_t kept = 0;
    for (Row* row : taking_part) {
      row->next_space = first_space_from(row->line, row->rest);
      if (row->next_space == row->line.size) continue;  // out of spaces for good
      std::size_t const index = search_start + (row->next_space - row->rest);
      if (index > column) {
        column = index;
        found = true;
      }
      taking_part[kept++] = row;
    }
    taking_part.resize(kept);
    for (Row* row : taking_part) {
      std::size_t const index = search_start + (row->next_space - row->rest);
      row->laid_out.append(row->line.data + row->rest, row->next_space - row->rest);
      row->laid_out.append(column - index, ' ');
      row->laid_out.push_back(' ');
      row->rest = row->next_space + 1;
    }
    search_start = column + 1;
  }

  std::string joined;
  std::size_t size = 0;
  for (Row const& row : rows)
    size += row.laid_out.size() + (row.line.size - row.rest) + 1;
  joined.reserve(size);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i != 0) joined.push_back('\n');
    joined += rows[i].laid_out;
    joined.append(rows[i].line.data + rows[i].rest, rows[i].line.size - rows[i].rest);
  }
  return word_wrap(joined, width, indent);
}

std::vector<std::string> AlignRight(std::vector<std::string> const& entries,
                                    std::string const& prefix) {
  std::size_t longest = 0;
  for (std::string const& entry : entries) {
    if (entry.size() > longest) longest = entry.size();
  }
  std::vector<std::string> aligned;
  aligned.reserve(entries.size());
  for (std::string const& entry : entries) {
    std::string line;
    line.reserve(prefix.size() + longest);
    line += prefix;
    line.append(longest - entry.size(), ' ');
    line += entry;
    aligned.push_back(std::move(line));
  }
  return aligned;
}

std::string clean_previous_formatting(std::string text) {
  // Newlines first, so that spaces beside a newline merge with its
  // replacement.
  return squeeze(replace(std::move(text), "\n", " "), ' ');
}

std::string join_set_strings(std::set<std::string> items) {
  if (items.empty()) return std::string();
  if (items.size() == 1) return *items.begin();
  if (items.size() == 2) return *items.begin() + " and " + *items.rbegin();
  std::string joined;
  auto const last = std::prev(items.end());
  for (auto item = items.begin(); item != last; ++item) {
    joined += *item;
    joined += ", ";
  }
  joined += "and ";
  joined += *last;
  return joined;
}

std::string vect_to_str(std::vector<std::string> const& list, std::string const& separator) {
  std::string joined;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i != 0) joined += separator;
    joined += list[i];
  }
  return joined;
}

}  // namespace str
}  // namespace krel
