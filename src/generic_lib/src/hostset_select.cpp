// Host sets: names by place (at, slices), index lists, axis lists and
// contiguous runs.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_data.hpp"
#include "hostset_read.hpp"
#include "hostset_select.hpp"
#include "hostset_write.hpp"
#include "internal/decimal.hpp"
#include "internal/text.hpp"

namespace krel {
namespace hostset_internal {
namespace {

std::shared_ptr<Data> one_pattern(std::string const& key, NodePtr root) {
  auto data = std::make_shared<Data>();
  data->patterns.push_back(Pattern{key, std::move(root)});
  recount(*data);
  return data;
}

// The tree whose level p holds the runs chosen[p], each leading to the
// whole of the next level.
NodePtr product_tree(std::vector<RunSpan> const& chosen) {
  NodePtr node;
  for (std::size_t p = chosen.size(); p-- > 0;) {
    bool const last = p + 1 == chosen.size();
    NodeBuilder builder(last);
    for (Run const& run : chosen[p])
      builder.add(run.width, run.lo, run.hi, last ? nullptr : node);
    node = builder.finish();
  }
  return node;
}

// Cuts the folded pieces of `node` at every gap between values, on every
// position, as nodeset's contiguous pieces: a piece's values at each
// position are consecutive. `chosen` holds the values taken at the levels
// above. Pieces come in the order fold writes them, then from the left.
void split_contiguous(std::string const& key, Node const* node, std::vector<RunSpan>& chosen,
                      std::vector<std::shared_ptr<Data>>& out) {
  auto split_runs = [&](RunSpan runs, Node const* child) {
    std::vector<std::size_t> const starts = consecutive_chains(runs);
    for (std::size_t c = 0; c < starts.size(); ++c) {
      std::size_t const end = c + 1 < starts.size() ? starts[c + 1] : runs.size();
      chosen.push_back(RunSpan(runs.begin() + starts[c], end - starts[c]));
      if (child == nullptr) {
        out.push_back(one_pattern(key, product_tree(chosen)));
      } else {
        split_contiguous(key, child, chosen, out);
      }
      chosen.pop_back();
    }
  };
  if (node->children.empty()) {
    split_runs(node->runs, nullptr);
    return;
  }
  for (ChildGroup const& group : groups_by_child(node))
    split_runs(group.runs, group.child);
}

std::string_view trimmed(std::string_view text) {
  return internal::trim_blanks(text);
}

// Axis numbers are not 0 and have at most 6 digits.
constexpr std::int64_t kLargestAxis = 999999;
// How many axis numbers one list may give.
constexpr std::size_t kMaxAxes = 4096;

bool axis_in_range(std::int64_t axis) {
  return axis != 0 && axis >= -kLargestAxis && axis <= kLargestAxis;
}

std::string axes_problem(std::string_view text, std::string_view item) {
  return "cannot read axes \"" + std::string(text) + "\": bad item " + std::string(item);
}

// Reads an optionally negative, non-zero axis number.
bool read_axis(std::string_view text, int& axis) {
  text = trimmed(text);
  bool const negative = !text.empty() && text.front() == '-';
  if (negative) text.remove_prefix(1);
  if (text.empty() || text.size() > 6) return false;
  std::uint64_t value = 0;
  char const* const end = text.data() + text.size();
  if (internal::scan_decimal(text.data(), end, value) != end) return false;
  int const magnitude = static_cast<int>(value);  // six digits at most
  axis = negative ? -magnitude : magnitude;
  return axis_in_range(axis);
}

// Reads an index, a bound or a step: digits only.
Reason read_index(std::string_view digits, std::uint64_t& value) {
  if (digits.empty()) return Reason::kBadItem;
  for (char c : digits) {
    if (!internal::is_digit(c)) return Reason::kBadItem;
  }
  return digits_value(digits, value) ? Reason::kNone : Reason::kTooLarge;
}

// Reads one item of an index list, "7", "0-9" or "0-9/2", blanks allowed
// around each part.
Problem read_index_item(std::string_view raw, HostSetIndexRange& range) {
  std::string_view const text = trimmed(raw);
  if (text.empty()) return Problem{Reason::kEmptyItem, text};
  std::size_t const slash = text.find('/');
  std::string_view const bounds = trimmed(text.substr(0, slash));
  std::size_t const dash = bounds.find('-');
  if (slash != std::string_view::npos && dash == std::string_view::npos)
    return Problem{Reason::kBadItem, text};
  Reason reason = read_index(trimmed(bounds.substr(0, dash)), range.first);
  range.last = range.first;
  if (reason == Reason::kNone && dash != std::string_view::npos)
    reason = read_index(trimmed(bounds.substr(dash + 1)), range.last);
  range.step = 1;
  if (reason == Reason::kNone && slash != std::string_view::npos)
    reason = read_index(trimmed(text.substr(slash + 1)), range.step);
  if (reason != Reason::kNone) return Problem{reason, text};
  if (range.step == 0) return Problem{Reason::kStepZero, text};
  if (range.first > range.last) return Problem{Reason::kDescending, text};
  return Problem{};
}

NodePtr select_node(NodePtr const& node, std::vector<IndexSpan> const& spans);

// Adds to a node the values of one run whose places fall in spans, run
// relative and given in order: whole values with their child as it is,
// values partly taken with the part of their child picked again.
class RunPicker {
 public:
  RunPicker(NodeBuilder& builder, Run const& run, NodePtr const* child, Count per)
      : builder_(builder), run_(run), child_(child), per_(per) {}

  void pick(Count from, Count to) {
    if (child_ == nullptr) {
      builder_.add(run_.width, run_.lo + static_cast<std::uint64_t>(from),
                   run_.lo + static_cast<std::uint64_t>(to - 1), nullptr);
      return;
    }
    while (from < to) {
      Count const index = from / per_;
      Count const start = index * per_;
      std::uint64_t const value = run_.lo + static_cast<std::uint64_t>(index);
      if (from == start && to - from >= per_) {
        Count const whole = (to - from) / per_;
        flush();
        builder_.add(run_.width, value, value + static_cast<std::uint64_t>(whole - 1), *child_);
        from += whole * per_;
        continue;
      }
      if (!pending_ || value_ != value) {
        flush();
        pending_ = true;
        value_ = value;
      }
      Count const end = std::min(to - start, per_);
      inner_.push_back(IndexSpan{from - start, end});
      from = start + end;
    }
  }

  // Adds the value partly taken last, if any: called once picking is done.
  void flush() {
    if (!pending_) return;
    builder_.add(run_.width, value_, value_, select_node(*child_, inner_));
    inner_.clear();
    pending_ = false;
  }

 private:
  NodeBuilder& builder_;
  Run const& run_;
  NodePtr const* child_;  // null on the last level
  Count per_;
  bool pending_ = false;
  std::uint64_t value_ = 0;
  std::vector<IndexSpan> inner_;
};

// The names of `node` at the places of `spans` (sorted, disjoint, within
// its count).
NodePtr select_node(NodePtr const& node, std::vector<IndexSpan> const& spans) {
  if (spans.size() == 1 && spans[0].first == 0 && spans[0].last >= node->count) return node;
  bool const leaf = node->children.empty();
  NodeBuilder builder(leaf);
  Count offset = 0;
  std::size_t next = 0;
  for (std::size_t i = 0; i < node->runs.size() && next < spans.size(); ++i) {
    Run const& run = node->runs[i];
    Count const per = leaf ? 1 : node->children[i]->count;
    Count const begin = offset;
    Count const end = offset + multiply_counts(run.count(), per);
    offset = end;
    RunPicker picker(builder, run, leaf ? nullptr : &node->children[i], per);
    for (std::size_t s = next; s < spans.size() && spans[s].first < end; ++s) {
      if (spans[s].last > begin)
        picker.pick(std::max(spans[s].first, begin) - begin, std::min(spans[s].last, end) - begin);
    }
    picker.flush();
    while (next < spans.size() && spans[next].last <= end)
      ++next;
  }
  return builder.finish();
}

}  // namespace

std::optional<std::string> name_at(Data const& storage, std::uint64_t index) {
  Count left = index;
  for (Pattern const& pattern : storage.patterns) {
    if (left >= pattern.root->count) {
      left -= pattern.root->count;
      continue;
    }
    PatternTexts const texts(pattern.key);
    std::string name(texts[0]);
    Node const* node = pattern.root.get();
    for (std::size_t level = 0; level + 1 < texts.size(); ++level) {
      bool const leaf = node->children.empty();
      for (std::size_t i = 0; i < node->runs.size(); ++i) {
        Run const& run = node->runs[i];
        Count const per = leaf ? 1 : node->children[i]->count;
        Count const block = multiply_counts(run.count(), per);
        if (left >= block) {
          left -= block;
          continue;
        }
        append_to_width(name, run.width, run.lo + static_cast<std::uint64_t>(left / per));
        left %= per;
        if (!leaf) node = node->children[i].get();
        break;
      }
      name += texts[level + 1];
    }
    return name;
  }
  return std::nullopt;
}

std::shared_ptr<Data> slice_storage(Data const& storage, std::uint64_t first, std::uint64_t last) {
  if (first >= last) return std::make_shared<Data>();
  return select_storage(storage, {IndexSpan{first, last}});
}

bool read_index_ranges(std::string_view text, std::vector<HostSetIndexRange>& ranges,
                       std::string& error) {
  ranges.clear();
  if (trimmed(text).empty()) return true;
  ReadOptions const options;
  Problem problem;
  if (text.find_first_of("[]") != std::string_view::npos)
    problem = Problem{Reason::kBadItem, trimmed(text)};
  for (std::size_t begin = 0; problem.ok();) {
    std::size_t const comma = text.find(',', begin);
    HostSetIndexRange range;
    problem = read_index_item(text.substr(begin, comma - begin), range);
    ranges.push_back(range);
    if (comma == std::string_view::npos) break;
    begin = comma + 1;
  }
  // Stepped indexes are counted once every item is read.
  std::uint64_t separate = 0;
  for (HostSetIndexRange const& range : ranges) {
    if (!problem.ok() || range.step == 1) continue;
    std::uint64_t const values = (range.last - range.first) / range.step + 1;
    if (values > kMaxSeparateValues - separate) problem = Problem{Reason::kTooManyValues, {}};
    separate += values;
  }
  if (problem.ok()) return true;
  error = describe(text, problem, options);
  ranges.clear();
  return false;
}

bool index_spans(std::vector<HostSetIndexRange> const& ranges, Count size,
                 std::vector<IndexSpan>& spans, std::string& error) {
  spans.clear();
  std::uint64_t separate = 0;
  for (HostSetIndexRange const& range : ranges) {
    if (range.step == 0 || range.last < range.first) {
      error = "cannot select index range " + std::to_string(range.first) + "-" +
              std::to_string(range.last) + "/" + std::to_string(range.step) +
              (range.step == 0 ? ": step 0" : ": descending range");
      return false;
    }
    if (range.first >= size) continue;
    std::uint64_t const last = static_cast<std::uint64_t>(std::min<Count>(range.last, size - 1));
    std::uint64_t const values = (last - range.first) / range.step + 1;
    if (range.step == 1 || values == 1) {
      Count const end = range.step == 1 ? last : range.first;
      spans.push_back(IndexSpan{range.first, end + 1});
      continue;
    }
    if (values > kMaxSeparateValues - separate) {
      error = "cannot select index ranges: more than " + std::to_string(kMaxSeparateValues) +
              " separate values";
      return false;
    }
    separate += values;
    for (std::uint64_t index = range.first;; index += range.step) {
      spans.push_back(IndexSpan{index, static_cast<Count>(index) + 1});
      if (last - index < range.step) break;
    }
  }
  std::sort(spans.begin(), spans.end(),
            [](IndexSpan const& a, IndexSpan const& b) { return a.first < b.first; });
  std::size_t joined = 0;
  for (IndexSpan const& span : spans) {
    if (joined > 0 && span.first <= spans[joined - 1].last) {
      spans[joined - 1].last = std::max(spans[joined - 1].last, span.last);
    } else {
      spans[joined++] = span;
    }
  }
  spans.resize(joined);
  return true;
}

std::shared_ptr<Data> select_storage(Data const& storage, std::vector<IndexSpan> const& spans) {
  auto result = std::make_shared<Data>();
  Count offset = 0;
  std::size_t next = 0;
  std::vector<IndexSpan> inside;
  for (Pattern const& pattern : storage.patterns) {
    Count const begin = offset;
    Count const end = offset + pattern.root->count;
    offset = end;
    while (next < spans.size() && spans[next].last <= begin)
      ++next;
    inside.clear();
    for (std::size_t s = next; s < spans.size() && spans[s].first < end; ++s)
      inside.push_back(
          IndexSpan{std::max(spans[s].first, begin) - begin, std::min(spans[s].last, end) - begin});
    if (inside.empty()) continue;
    NodePtr root = pattern.numbers() == 0 ? pattern.root : select_node(pattern.root, inside);
    result->patterns.push_back(Pattern{pattern.key, std::move(root)});
  }
  recount(*result);
  return result;
}

bool read_axes(std::string_view text, std::vector<int>& axes, std::string& error) {
  axes.clear();
  std::size_t begin = 0;
  while (true) {
    std::size_t const comma = text.find(',', begin);
    std::string_view const item = trimmed(text.substr(
        begin, comma == std::string_view::npos ? std::string_view::npos : comma - begin));
    // A range "a-b": the dash after the first character (which may be a sign).
    std::size_t const dash = item.size() > 1 ? item.find('-', 1) : std::string_view::npos;
    int low = 0;
    int high = 0;
    bool good = dash == std::string_view::npos ? read_axis(item, low)
                                               : read_axis(item.substr(0, dash), low) &&
                                                     read_axis(item.substr(dash + 1), high);
    if (dash == std::string_view::npos) high = low;
    if (good && (low > high || (low < 0) != (high < 0))) good = false;
    if (good && axes.size() + static_cast<std::size_t>(high - low) + 1 > kMaxAxes) good = false;
    if (!good) {
      error = axes_problem(text, item);
      return false;
    }
    for (int axis = low; axis <= high; ++axis)
      axes.push_back(axis);
    if (comma == std::string_view::npos) break;
    begin = comma + 1;
  }
  return true;
}

bool check_axes(std::vector<std::int64_t> const& positions, std::vector<int>& axes,
                std::string& error) {
  axes.clear();
  for (std::size_t i = 0; i <= positions.size(); ++i) {
    // No position at all is one empty item, as an empty text reads.
    bool const bad = i == positions.size()
                         ? positions.empty()
                         : !axis_in_range(positions[i]) || axes.size() == kMaxAxes;
    if (!bad) {
      if (i < positions.size()) axes.push_back(static_cast<int>(positions[i]));
      continue;
    }
    std::string text;
    for (std::int64_t const position : positions)
      text += (text.empty() ? "" : ",") + std::to_string(position);
    error = axes_problem(text, positions.empty() ? "" : std::to_string(positions[i]));
    axes.clear();
    return false;
  }
  return true;
}

std::vector<std::shared_ptr<Data>> contiguous_storages(Data const& storage) {
  std::vector<std::shared_ptr<Data>> result;
  for (Pattern const& pattern : storage.patterns) {
    if (pattern.numbers() == 0) {
      result.push_back(one_pattern(pattern.key, pattern.root));
      continue;
    }
    std::vector<RunSpan> chosen;
    split_contiguous(pattern.key, pattern.root.get(), chosen, result);
  }
  return result;
}

}  // namespace hostset_internal
}  // namespace krel
