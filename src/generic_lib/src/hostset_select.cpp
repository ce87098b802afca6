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
#include "internal/text.hpp"

namespace krel {
namespace hostset_internal {
namespace {

// The names of `node` at places first .. last - 1 (within its count).
NodePtr slice_node(NodePtr const& node, Count first, Count last) {
  if (first == 0 && last >= node->count) return node;
  bool const leaf = node->children.empty();
  NodeBuilder builder(leaf);
  Count offset = 0;
  for (std::size_t i = 0; i < node->runs.size(); ++i) {
    Run const& run = node->runs[i];
    Count const per = leaf ? 1 : node->children[i]->count;
    Count const begin = offset;
    Count const end = offset + multiply_counts(run.count(), per);
    offset = end;
    if (end <= first) continue;
    if (begin >= last) break;
    Count const from = std::max(first, begin) - begin;
    Count const to = std::min(last, end) - begin;
    std::uint64_t const value_first = run.lo + static_cast<std::uint64_t>(from / per);
    std::uint64_t const value_last = run.lo + static_cast<std::uint64_t>((to - 1) / per);
    if (leaf) {
      builder.add(run.width, value_first, value_last, nullptr);
      continue;
    }
    NodePtr const& child = node->children[i];
    Count const head_skip = from % per;
    Count const tail_keep = (to - 1) % per + 1;
    if (value_first == value_last) {
      builder.add(run.width, value_first, value_first, slice_node(child, head_skip, tail_keep));
      continue;
    }
    std::uint64_t value = value_first;
    if (head_skip > 0) {
      builder.add(run.width, value, value, slice_node(child, head_skip, per));
      ++value;
    }
    std::uint64_t const full_end = tail_keep < per ? value_last - 1 : value_last;
    if (value <= full_end) builder.add(run.width, value, full_end, child);
    if (tail_keep < per)
      builder.add(run.width, value_last, value_last, slice_node(child, 0, tail_keep));
  }
  return builder.finish();
}

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

// Reads an optionally negative, non-zero axis number.
bool read_axis(std::string_view text, int& axis) {
  text = trimmed(text);
  bool const negative = !text.empty() && text.front() == '-';
  if (negative) text.remove_prefix(1);
  if (text.empty() || text.size() > 6) return false;
  int value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');
  }
  if (value == 0) return false;
  axis = negative ? -value : value;
  return true;
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
  auto result = std::make_shared<Data>();
  if (first >= last) return result;
  Count offset = 0;
  for (Pattern const& pattern : storage.patterns) {
    Count const begin = offset;
    Count const end = offset + pattern.root->count;
    offset = end;
    if (end <= first) continue;
    if (begin >= last) break;
    Count const from = std::max<Count>(first, begin) - begin;
    Count const to = std::min<Count>(last, end) - begin;
    NodePtr root = pattern.numbers() == 0 ? pattern.root : slice_node(pattern.root, from, to);
    result->patterns.push_back(Pattern{pattern.key, std::move(root)});
  }
  recount(*result);
  return result;
}

bool read_index_ranges(std::string_view text,
                       std::vector<std::pair<std::uint64_t, std::uint64_t>>& ranges,
                       std::string& error) {
  ranges.clear();
  if (trimmed(text).empty()) return true;
  ReadOptions const options;
  Layout layout;
  Problem problem;
  if (text.find_first_of("[]") != std::string_view::npos) {
    problem = Problem{Reason::kBadItem, trimmed(text)};
  } else {
    std::string const bracketed = "[" + std::string(text) + "]";
    problem = read_piece(bracketed, options, layout);
    if (!problem.ok()) {
      // The item points into `bracketed`: describe it before it goes away.
      error = describe(text, problem, options);
      return false;
    }
  }
  if (!problem.ok()) {
    error = describe(text, problem, options);
    return false;
  }
  std::uint64_t separate = 0;
  for (Item const& item : layout.items) {
    if (item.step == 1) {
      ranges.emplace_back(item.lo, item.hi == UINT64_MAX ? item.hi : item.hi + 1);
      continue;
    }
    Count const values = item.count();
    if (values > kMaxSeparateValues - separate) {
      error = describe(text, Problem{Reason::kTooManyValues, {}}, options);
      return false;
    }
    separate += static_cast<std::uint64_t>(values);
    for (std::uint64_t v = item.lo;; v += item.step) {
      ranges.emplace_back(v, v + 1);
      if (item.hi - v < item.step) break;
    }
  }
  return true;
}

bool read_axes(std::string_view text, std::vector<int>& axes, std::string& error) {
  axes.clear();
  constexpr std::size_t kMaxAxes = 4096;
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
      error = "cannot read axes \"" + std::string(text) + "\": bad item " + std::string(item);
      return false;
    }
    for (int axis = low; axis <= high; ++axis)
      axes.push_back(axis);
    if (comma == std::string_view::npos) break;
    begin = comma + 1;
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
