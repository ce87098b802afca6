// Host sets: writing a set as notation (fold) and visiting its names.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hostset_cursor.hpp"
#include "hostset_data.hpp"
#include "hostset_write.hpp"

namespace krel {
namespace hostset_internal {
namespace {

bool is_plain(std::uint32_t width, std::uint64_t value) {
  return static_cast<std::uint32_t>(digit_count(value)) == width;
}

// A range of written values: from (lo_width, lo) to (hi_width, hi), every
// value between having one width, or all of them written without padding.
struct TextRange {
  std::uint64_t lo;
  std::uint64_t hi;
  std::uint32_t lo_width;
  std::uint32_t hi_width;
  std::uint64_t step;
};

// Turns runs into the ranges a bracket writes. Runs of plain values that
// follow each other across a width ("8-9" and "10-12") make one range
// "8-12", which every reader takes as plain values.
// Whether `run` continues a plain range that starts at (lo_width, lo) and
// ends at (hi_width, hi): the next value, one digit wider, both unpadded.
bool continues_plainly(std::uint32_t lo_width, std::uint64_t lo, std::uint32_t hi_width,
                       std::uint64_t hi, Run const& run) {
  return hi_width < 20 && run.width == hi_width + 1 &&
         hi == power_of_ten(static_cast<int>(hi_width)) - 1 && run.lo == hi + 1 &&
         is_plain(run.width, run.lo) && is_plain(lo_width, lo);
}

std::vector<TextRange> text_ranges(RunSpan runs) {
  std::vector<TextRange> ranges;
  ranges.reserve(runs.size());
  for (Run const& run : runs) {
    if (!ranges.empty()) {
      TextRange& last = ranges.back();
      if (last.step == 1 &&
          continues_plainly(last.lo_width, last.lo, last.hi_width, last.hi, run)) {
        last.hi = run.hi;
        last.hi_width = run.width;
        continue;
      }
    }
    ranges.push_back(TextRange{run.lo, run.hi, run.width, run.width, 1});
  }
  return ranges;
}

// With autostep, the values are taken in order: a value followed by the
// next one makes a plain range; values a constant step of 2 or more apart,
// `autostep` of them or more, make "a-b/step"; anything else is written
// alone.
std::vector<TextRange> stepped(std::vector<TextRange> const& chains, std::uint64_t autostep) {
  std::vector<TextRange> result;
  std::size_t i = 0;
  std::uint64_t lo = chains.empty() ? 0 : chains[0].lo;
  while (i < chains.size()) {
    TextRange const& chain = chains[i];
    std::uint32_t const lo_width =
        lo == chain.lo
            ? chain.lo_width
            : (chain.lo_width == chain.hi_width ? chain.lo_width
                                                : static_cast<std::uint32_t>(digit_count(lo)));
    auto move_to = [&](std::size_t next) {
      i = next;
      if (i < chains.size()) lo = chains[i].lo;
    };
    if (lo != chain.hi) {
      result.push_back(TextRange{lo, chain.hi, lo_width, chain.hi_width, 1});
      move_to(i + 1);
      continue;
    }
    // One value left in this chain: look for a progression.
    std::uint64_t last = lo;
    std::uint32_t last_width = lo_width;
    std::uint64_t step = 0;
    std::uint64_t members = 1;
    std::size_t j = i + 1;
    bool inside_chain = false;  // the last member starts a longer chain
    // "a-b/step" reads as values of the width of a and b, or, when they
    // differ, as plain values: the members are of one width or all plain.
    bool one_width = true;
    bool all_plain = is_plain(lo_width, lo);
    while (j < chains.size()) {
      TextRange const& next = chains[j];
      bool const same = one_width && next.lo_width == lo_width;
      bool const plain = all_plain && is_plain(next.lo_width, next.lo);
      if (next.lo <= last || !(same || plain)) break;
      if (step == 0) step = next.lo - last;
      if (next.lo - last != step) break;
      one_width = same;
      all_plain = plain;
      last = next.lo;
      last_width = next.lo_width;
      ++members;
      if (next.lo != next.hi) {
        inside_chain = true;
        break;
      }
      ++j;
    }
    if (members >= 2 && members >= autostep) {
      result.push_back(TextRange{lo, last, lo_width, last_width, step});
      if (inside_chain) {
        i = j;
        lo = last + 1;
      } else {
        move_to(j);
      }
      continue;
    }
    result.push_back(TextRange{lo, lo, lo_width, lo_width, 1});
    move_to(i + 1);
  }
  return result;
}

void append_ranges(std::string& out, std::vector<TextRange> const& ranges) {
  bool const single = ranges.size() == 1 && ranges[0].lo == ranges[0].hi &&
                      ranges[0].lo_width == ranges[0].hi_width;
  if (!single) out += '[';
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    TextRange const& range = ranges[i];
    if (i > 0) out += ',';
    append_to_width(out, range.lo_width, range.lo);
    if (range.lo != range.hi || range.lo_width != range.hi_width) {
      out += '-';
      append_to_width(out, range.hi_width, range.hi);
      if (range.step > 1) {
        out += '/';
        append_to_width(out, 0, range.step);
      }
    }
  }
  if (!single) out += ']';
}

std::vector<TextRange> ranges_of(RunSpan runs, FoldStyle const& style) {
  std::vector<TextRange> ranges = text_ranges(runs);
  if (style.autostep >= 2) ranges = stepped(ranges, style.autostep);
  return ranges;
}

}  // namespace

std::vector<ChildGroup> groups_by_child(Node const* node) {
  std::vector<ChildGroup> groups;
  std::unordered_multimap<std::size_t, std::size_t> by_hash;
  for (std::size_t i = 0; i < node->runs.size(); ++i) {
    Node const* child = node->children[i].get();
    std::size_t found = groups.size();
    auto range = by_hash.equal_range(child->hash);
    for (auto it = range.first; it != range.second; ++it) {
      if (nodes_equal(groups[it->second].child, child)) {
        found = it->second;
        break;
      }
    }
    if (found == groups.size()) {
      groups.push_back(ChildGroup{child, {}});
      by_hash.emplace(child->hash, found);
    }
    groups[found].runs.push_back(node->runs[i]);
  }
  return groups;
}

std::vector<std::size_t> consecutive_chains(RunSpan runs) {
  std::vector<std::size_t> starts;
  std::size_t first = 0;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    Run const& run = runs.begin()[i];
    if (i > 0) {
      Run const& start = runs.begin()[first];
      Run const& previous = runs.begin()[i - 1];
      bool const touching = run.width == previous.width && run.lo == previous.hi + 1;
      if (touching || continues_plainly(start.width, start.lo, previous.width, previous.hi, run))
        continue;
    }
    starts.push_back(i);
    first = i;
  }
  return starts;
}

void append_runs(std::string& out, RunSpan runs, FoldStyle const& style) {
  append_ranges(out, ranges_of(runs, style));
}

void fold_node(PatternTexts const& texts, Node const* node, std::size_t level, std::string& prefix,
               FoldStyle const& style, FoldOutput& out) {
  std::size_t const base = prefix.size();
  prefix += texts[level];
  if (node->children.empty() && node->runs.size() == 1 && node->runs[0].lo == node->runs[0].hi) {
    // One value: written as it is, with no ranges to work out.
    Run const& run = node->runs[0];
    append_to_width(prefix, run.width, run.lo);
    prefix += texts[level + 1];
    out.add(prefix);
    if (out.firsts != nullptr) {
      out.firsts->push_back(out.path);
      out.firsts->back().emplace_back(run.width, run.lo);
    }
    prefix.resize(base);
    return;
  }
  if (node->children.empty()) {
    std::vector<TextRange> const ranges = ranges_of(node->runs, style);
    append_ranges(prefix, ranges);
    prefix += texts[level + 1];
    out.add(prefix);
    if (out.firsts != nullptr) {
      out.firsts->push_back(out.path);
      out.firsts->back().emplace_back(ranges[0].lo_width, ranges[0].lo);
    }
    prefix.resize(base);
    return;
  }
  std::size_t const number_at = prefix.size();
  for (ChildGroup const& group : groups_by_child(node)) {
    prefix.resize(number_at);
    append_runs(prefix, group.runs, style);
    out.path.emplace_back(group.runs[0].width, group.runs[0].lo);
    fold_node(texts, group.child, level + 1, prefix, style, out);
    out.path.pop_back();
  }
  prefix.resize(base);
}

namespace {

void fold_patterns(Data const& storage, FoldStyle const& style, FoldOutput& out) {
  std::string prefix;
  PatternTexts texts;
  std::vector<Pattern> const& patterns = storage.patterns;
  for (std::size_t p = 0; p < patterns.size(); ++p) {
#if defined(__GNUC__)
    // Each pattern's tree lies elsewhere in memory: that of a pattern a few
    // ahead is fetched while this one is written.
    constexpr std::size_t kAhead = 8;
    if (p + kAhead < patterns.size()) __builtin_prefetch(patterns[p + kAhead].root.get());
#endif
    Pattern const& pattern = patterns[p];
    texts.read(pattern.key);
    if (texts.size() == 1) {
      out.add(texts[0]);
    } else {
      fold_node(texts, pattern.root.get(), 0, prefix, style, out);
    }
  }
}

}  // namespace

std::string fold_joined(Data const& storage, FoldStyle const& style, std::string_view separator) {
  std::string joined;
  // Room for a short piece per pattern: lists of many patterns are mostly
  // lists of short names, and a fold of one pattern needs no room ahead.
  joined.reserve(16 * storage.patterns.size());
  FoldOutput out;
  out.joined = &joined;
  out.separator = separator;
  fold_patterns(storage, style, out);
  return joined;
}

void fold_visited(Data const& storage, FoldStyle const& style,
                  std::function<void(std::string_view)> const& visit) {
  FoldOutput out;
  out.visit = &visit;
  fold_patterns(storage, style, out);
}

void visit_names(Data const& storage, std::function<void(std::string_view)> const& visit) {
  for (NameCursor cursor(storage); !cursor.done(); cursor.next())
    visit(cursor.name());
}

}  // namespace hostset_internal
}  // namespace krel
