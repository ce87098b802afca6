#include "models.hpp"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <vector>
// Only POSIX dirname is wanted from here; its rename of basename would also
// rename the model of that name.
#include <libgen.h>
#undef basename

namespace krel_model {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Both partitions of the merging are partitions into the classes of an
// equivalence relation, listed by first appearance with members in input
// order; a map from each host's class key to its group gives exactly that.
template <typename KeyOf>
Groups partition(std::vector<Host> const& hosts, KeyOf key_of) {
  Groups groups;
  std::map<std::string, std::size_t> group_of_key;
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    auto const found = group_of_key.emplace(key_of(hosts[i]), groups.size());
    if (found.second) groups.emplace_back();
    groups[found.first->second].push_back(i);
  }
  return groups;
}

// Shape and texts: what host_merge_match_str compares.
std::string shape_and_texts(Host const& host) {
  std::string key;
  for (Token const& token : host) {
    key += token.is_number ? "#" : "t" + std::to_string(token.text.size()) + ":" + token.text;
  }
  return key;
}

// Shape, paddings and numbers away from `idx`: what host_merge_match_int
// compares (texts are not compared).
std::string paddings_and_fixed_numbers(Host const& host, std::size_t idx) {
  std::string key;
  for (std::size_t i = 0; i < host.size(); ++i) {
    Token const& token = host[i];
    if (!token.is_number) {
      key += "t";
      continue;
    }
    key += "z" + std::to_string(token.leading_zeroes);
    if (i != idx) key += "n" + std::to_string(token.number);
    key += ";";
  }
  return key;
}

std::vector<Host> members(std::vector<Host> const& hosts, std::vector<std::size_t> const& group) {
  std::vector<Host> result;
  for (std::size_t i : group)
    result.push_back(hosts[i]);
  return result;
}

// std::stoul as the range reader uses it: the whole conversion, or nullopt.
std::optional<unsigned long> read_bound(std::string const& text, std::size_t& consumed) {
  try {
    return std::stoul(text, &consumed, 10);
  } catch (...) {
    return std::nullopt;
  }
}

// The wrapping steps, line by line, into `out`. Past a break, the next
// break is looked for behind the room the indent leaves. Unless `literal`,
// an indent longer than the width ends the breaking of a line, whose rest
// then follows the indent unbroken; `literal` follows the steps on, with
// their index arithmetic wrapping modulo 2^64.
LiteralEnd wrap_lines(std::string const& text, std::uint64_t width, std::string const& indent,
                      bool literal, std::string& out) {
  LiteralEnd end = LiteralEnd::kPlainly;
  out.clear();
  for (std::string const& line : split(text, '\n', false)) {
    std::uint64_t const length = line.size();
    std::uint64_t start = 0;
    std::uint64_t pos = width;
    if (width < length) {
      int steps = 0;
      for (;;) {
        if (++steps > 4 * static_cast<int>(length) + 4) return LiteralEnd::kNever;
        std::uint64_t sp = line.rfind(' ', pos);
        if (sp == std::string::npos || sp <= start) {
          sp = line.find(' ', pos);
          if (sp == std::string::npos) break;
        }
        if (sp < start) end = LiteralEnd::kAfterRepeats;
        out += line.substr(start, sp - start);
        out += '\n';
        out += indent;
        start = sp + 1;
        if (!literal && indent.size() > width) break;
        pos = sp + 1 + width - indent.size();
        if (!(pos < length)) break;
      }
    }
    out += line.substr(start);
    out += '\n';
  }
  if ((text.empty() || text.back() != '\n') && !out.empty()) out.pop_back();
  return end;
}

}  // namespace

std::string lower(std::string s) {
  for (char& c : s) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return s;
}

std::string upper(std::string s) {
  for (char& c : s) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return s;
}

std::string rstrip(std::string const& s, std::string const& chars) {
  std::size_t end = s.size();
  while (end > 0 && chars.find(s[end - 1]) != std::string::npos)
    --end;
  return s.substr(0, end);
}

std::string fstrip(std::string const& s, std::string const& chars) {
  std::size_t begin = 0;
  while (begin < s.size() && chars.find(s[begin]) != std::string::npos)
    ++begin;
  return s.substr(begin);
}

std::string strip(std::string const& s, std::string const& chars) {
  if (chars.empty()) return stripws(s);
  return fstrip(rstrip(s, chars), chars);
}

std::string stripws(std::string const& s) {
  return fstrip(rstrip(s, " \t\n\r"), " \t\n\r");
}

bool is_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

std::string stripallws(std::string const& s) {
  std::string out;
  for (char c : s) {
    if (!is_space(c)) out += c;
  }
  return out;
}

// Left to right without overlap, never searching inserted text: the same
// as rewriting in place and searching on behind each insertion, but linear.
std::string replace(std::string const& s, std::string const& from, std::string const& to) {
  if (from.empty()) return s;
  std::string out;
  std::size_t copied = 0;
  for (std::size_t pos = s.find(from); pos != std::string::npos; pos = s.find(from, copied)) {
    out.append(s, copied, pos - copied);
    out += to;
    copied = pos + from.size();
  }
  out.append(s, copied, std::string::npos);
  return out;
}

std::string squeeze(std::string const& s, char c) {
  std::string out = s;
  int const n = static_cast<int>(out.size());
  for (int i = n - 1; i >= 1; --i) {
    if (out[i] == c && out[i - 1] == c) out.erase(static_cast<std::size_t>(i), 1);
  }
  return out;
}

std::vector<std::string> split(std::string const& s, char delimiter, bool squeeze_runs) {
  std::istringstream in(squeeze_runs ? squeeze(s, delimiter) : s);
  std::vector<std::string> fields;
  std::string field;
  while (std::getline(in, field, delimiter))
    fields.push_back(field);
  return fields;
}

int count_leading_zeroes(std::string const& digits) {
  std::size_t count = 0;
  while (count < digits.size() && digits[count] == '0')
    ++count;
  if (count < digits.size() || digits.empty()) return static_cast<int>(count);
  return digits.size() >= 2 ? static_cast<int>(digits.size() - 1) : 0;
}

std::string zeroes(int count) {
  return count > 0 ? std::string(count, '0') : std::string();
}

bool same_texts(Host const& a, Host const& b) {
  return shape_and_texts(a) == shape_and_texts(b);
}

bool same_fixed_numbers(Host const& a, Host const& b, std::size_t idx) {
  return paddings_and_fixed_numbers(a, idx) == paddings_and_fixed_numbers(b, idx);
}

Groups groups_by_texts(std::vector<Host> const& hosts) {
  return partition(hosts, shape_and_texts);
}

Groups groups_by_fixed_numbers(std::vector<Host> const& hosts, std::size_t idx) {
  return partition(hosts,
                   [idx](Host const& host) { return paddings_and_fixed_numbers(host, idx); });
}

std::size_t token_idx(std::vector<Host> const& hosts) {
  std::size_t best = 0;
  std::size_t best_count = 0;
  for (std::size_t i = 0; i < hosts.front().size(); ++i) {
    if (!hosts.front()[i].is_number) continue;
    std::set<int> distinct;
    for (Host const& host : hosts)
      distinct.insert(host[i].number);
    if (distinct.size() > best_count) {
      best = i;
      best_count = distinct.size();
    }
  }
  return best;
}

std::string merged_piece(std::vector<Host> const& hosts, std::size_t idx) {
  if (hosts.empty()) return std::string();
  std::string piece;
  Host const& first = hosts.front();
  for (std::size_t i = 0; i < first.size(); ++i) {
    Token const& token = first[i];
    if (!token.is_number) {
      piece += token.text;
    } else if (i != idx) {
      piece += zeroes(token.leading_zeroes) + std::to_string(token.number);
    } else {
      std::vector<int> values;
      for (Host const& host : hosts)
        values.push_back(host[i].number);
      bool multiple = false;
      std::string const folded = merged_ints(values, multiple, token.leading_zeroes);
      piece += multiple ? "[" + folded + "]" : folded;
    }
  }
  return piece;
}

std::optional<Host> tokenize(std::string const& name) {
  std::vector<Token> tokens;
  std::size_t pos = 0;
  while (pos < name.size()) {
    bool const digits = is_digit(name[pos]);
    std::size_t end = pos;
    while (end < name.size() && is_digit(name[end]) == digits)
      ++end;
    std::string const run = name.substr(pos, end - pos);
    Token token;
    token.is_number = digits;
    if (digits) {
      std::size_t const zeros = run.find_first_not_of('0');
      std::string const value = zeros == std::string::npos ? "0" : run.substr(zeros);
      if (value.size() > 10 || (value.size() == 10 && value > "2147483647")) return std::nullopt;
      token.number = std::stoi(value);
      token.leading_zeroes = count_leading_zeroes(run);
    } else {
      token.text = run;
    }
    tokens.push_back(token);
    pos = end;
  }
  return tokens;
}

std::string merged_ints(std::vector<int> const& values, bool& multiple, int zero_count) {
  multiple = false;
  if (values.empty()) return std::string();
  std::vector<int> sorted = values;
  std::sort(sorted.begin(), sorted.end());
  auto padded = [&](int value) { return zeroes(zero_count) + std::to_string(value); };
  std::string result = padded(sorted[0]);
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    long long const previous = sorted[i - 1];
    if (sorted[i] == previous) continue;
    multiple = true;
    if (sorted[i] == previous + 1) {
      if (result.back() != '-') result += "-";
    } else {
      if (result.back() == '-') result += padded(sorted[i - 1]);
      result += "," + padded(sorted[i]);
    }
  }
  if (result.back() == '-') result += padded(sorted.back());
  return result;
}

std::optional<std::string> merged_hosts(std::vector<std::string> const& names) {
  std::vector<Host> hosts;
  for (std::string const& name : names) {
    std::optional<Host> host = tokenize(name);
    if (!host) return std::nullopt;
    hosts.push_back(*host);
  }
  std::vector<std::string> pieces;
  for (auto const& group_indexes : groups_by_texts(hosts)) {
    std::vector<Host> const group = members(hosts, group_indexes);
    if (group.size() == 1) {
      pieces.push_back(merged_piece(group, static_cast<std::size_t>(-1)));
      continue;
    }
    std::size_t const idx = token_idx(group);
    for (auto const& subgroup : groups_by_fixed_numbers(group, idx)) {
      pieces.push_back(merged_piece(members(group, subgroup), idx));
    }
  }
  std::sort(pieces.begin(), pieces.end());
  std::string joined;
  for (std::size_t i = 0; i < pieces.size(); ++i)
    joined += (i ? ", " : "") + pieces[i];
  return joined;
}

std::optional<std::vector<int>> expand_ranges(std::string const& list, std::size_t value_limit) {
  std::vector<std::string> const items = split(stripws(list), ',', true);
  std::set<int> values;
  std::size_t named = 0;
  for (std::string const& item : items) {
    std::size_t consumed = 0;
    std::optional<unsigned long> const low = read_bound(item, consumed);
    if (!low) return std::vector<int>();
    unsigned long high = *low;
    if (consumed < item.size()) {
      if (item[consumed] != '-') return std::vector<int>();
      std::string const rest = item.substr(consumed + 1);
      std::optional<unsigned long> const upper_bound = read_bound(rest, consumed);
      if (!upper_bound || consumed != rest.size()) return std::vector<int>();
      high = *upper_bound;
    }
    if (*low > high) return std::vector<int>();
    if (high - *low >= value_limit - named) return std::nullopt;
    named += high - *low + 1;
    for (unsigned long value = *low;; ++value) {
      values.insert(static_cast<int>(static_cast<unsigned int>(value)));
      if (value == high) break;
    }
  }
  return std::vector<int>(values.begin(), values.end());
}

unsigned int permutations(std::string const& value, unsigned int default_count, bool& warns) {
  warns = false;
  try {
    int const count = std::stoi(value);
    if (count >= 0) return static_cast<unsigned int>(count);
  } catch (...) {
    if (value == "all" || value == "ALL") return 0;
  }
  warns = true;
  return default_count;
}

std::string word_wrap(std::string const& text, int width, std::string const& indent, int terminal) {
  if (width <= 0) width = terminal;
  if (width <= 0) return std::string();
  std::string out;
  wrap_lines(text, static_cast<std::uint64_t>(width), indent, false, out);
  return out;
}

LiteralEnd literal_word_wrap(std::string const& text, int width, std::string const& indent,
                             std::string& out) {
  return wrap_lines(text, static_cast<std::uint64_t>(width), indent, true, out);
}

std::string column_wrap(std::string const& text, int width, std::string const& indent,
                        char separator, bool hide_separator, int terminal) {
  std::vector<std::string> lines_of_text = split(text, '\n', false);
  int column_end = 0;
  for (std::string const& line : lines_of_text) {
    std::size_t const found = line.find(separator);
    int const position = found == std::string::npos ? -1 : static_cast<int>(found);
    column_end = std::max(column_end, position);
    if (column_end > width) return word_wrap(text, width, indent, terminal);
  }
  for (std::string& line : lines_of_text) {
    std::size_t const found = line.find(separator);
    if (found == std::string::npos) continue;
    if (hide_separator) line[found] = ' ';
    line.insert(found + 1, static_cast<std::size_t>(column_end) - found, ' ');
  }
  std::string joined;
  for (std::size_t i = 0; i < lines_of_text.size(); ++i) {
    joined += lines_of_text[i];
    bool const last = i + 1 == lines_of_text.size();
    if (!last || (!text.empty() && text.back() == '\n')) joined += '\n';
  }
  return word_wrap(joined, width, std::string(static_cast<std::size_t>(column_end) + 2, ' '),
                   terminal);
}

std::string space_wrap(std::string const& text, int width, std::string const& indent,
                       int terminal) {
  std::vector<std::string> lines_of_text = split(text, '\n', false);
  std::size_t search_start = 0;
  while (!lines_of_text.empty()) {
    std::size_t column = 0;
    bool found = false;
    for (std::string const& line : lines_of_text) {
      std::size_t const space = line.find(' ', search_start);
      if (space != std::string::npos && space > column) {
        column = space;
        found = true;
      }
    }
    for (std::string& line : lines_of_text) {
      std::size_t const space = line.find(' ', search_start);
      if (space != std::string::npos) line.insert(space, column - space, ' ');
    }
    search_start = column + 1;
    if (!found) break;
  }
  std::string joined;
  for (std::size_t i = 0; i < lines_of_text.size(); ++i) {
    joined += (i ? "\n" : "") + lines_of_text[i];
  }
  return word_wrap(joined, width, indent, terminal);
}

std::string clean_previous_formatting(std::string const& text) {
  return squeeze(replace(text, "\n", " "), ' ');
}

std::string get_lib_name(std::string const& path) {
  std::string name = path;
  std::size_t const slash = name.find_last_of("//");
  if (slash != std::string::npos) name = name.substr(slash + 1);
  if (name.size() > 3 && name.compare(0, 3, "lib") == 0) name.erase(0, 3);
  std::size_t const dot = name.rfind('.');
  if (dot != std::string::npos) {
    std::string const extension = name.substr(dot);
    if (extension == ".so" || extension == ".a") name.erase(dot);
  }
  return name;
}

bool compare_versions(std::string const& a, std::string const& b, bool& warns) {
  warns = false;
  std::vector<std::string> const fields_a = split(a, '.', false);
  std::vector<std::string> const fields_b = split(b, '.', false);
  std::size_t const n = std::min(fields_a.size(), fields_b.size());
  for (std::size_t i = 0; i < n; ++i) {
    int value_a = 0;
    int value_b = 0;
    try {
      value_a = std::stoi(fields_a[i]);
      value_b = std::stoi(fields_b[i]);
    } catch (...) {
      warns = true;
      return false;
    }
    if (value_a > value_b) return true;
    if (value_a < value_b) return false;
  }
  return false;
}

std::string basename(std::string const& path) {
  std::string const c_text = std::string(path.substr(0, 4096).c_str());
  std::size_t const slash = c_text.rfind('/');
  return slash == std::string::npos ? c_text : c_text.substr(slash + 1);
}

std::string dirname(std::string const& path) {
  std::vector<char> buffer(path.begin(), path.begin() + std::min<std::size_t>(path.size(), 4096));
  buffer.push_back('\0');
  return std::string(::dirname(buffer.data()));
}

}  // namespace krel_model
