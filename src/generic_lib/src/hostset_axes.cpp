// Host sets: folding on chosen number positions only (fold with axes).
//
// The positions that are not folded are written value by value: the tree is
// cut into boxes (one per path of runs), each box is spread over the values
// of those positions, and the boxes that share them are joined into a tree
// whose other positions are folded as usual. Pieces then come in the order
// of their first names.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "hostset_axes.hpp"
#include "hostset_data.hpp"
#include "hostset_write.hpp"

namespace krel {
namespace hostset_internal {
namespace {

using Box = std::vector<Run>;
using Groups = std::map<std::vector<NumberKey>, std::vector<Box>>;

NodePtr box_tree(Box const& box) {
  NodePtr node;
  for (std::size_t p = box.size(); p-- > 0;) {
    bool const last = p + 1 == box.size();
    NodeBuilder builder(last);
    builder.add(box[p].width, box[p].lo, box[p].hi, last ? nullptr : node);
    node = builder.finish();
  }
  return node;
}

// Spreads `box` over every value of the positions not folded.
void spread(Box& box, std::vector<bool> const& folded, std::size_t position,
            std::vector<NumberKey>& fixed, Groups& groups) {
  if (position == box.size()) {
    groups[fixed].push_back(box);
    return;
  }
  if (folded[position]) {
    spread(box, folded, position + 1, fixed, groups);
    return;
  }
  Run const whole = box[position];
  for (std::uint64_t value = whole.lo;; ++value) {
    box[position] = Run{value, value, whole.width};
    fixed.emplace_back(whole.width, value);
    spread(box, folded, position + 1, fixed, groups);
    fixed.pop_back();
    if (value == whole.hi) break;
  }
  box[position] = whole;
}

void collect_boxes(Node const* node, Box& path, std::vector<bool> const& folded,
                   std::vector<NumberKey>& fixed, Groups& groups) {
  for (std::size_t i = 0; i < node->runs.size(); ++i) {
    path.push_back(node->runs[i]);
    if (node->children.empty()) {
      spread(path, folded, 0, fixed, groups);
    } else {
      collect_boxes(node->children[i].get(), path, folded, fixed, groups);
    }
    path.pop_back();
  }
}

void fold_on_axes(Pattern const& pattern, PatternTexts const& texts,
                  std::vector<bool> const& folded, FoldStyle const& style,
                  std::vector<std::string>& pieces) {
  Groups groups;
  Box path;
  std::vector<NumberKey> fixed;
  collect_boxes(pattern.root.get(), path, folded, fixed, groups);
  std::vector<std::vector<NumberKey>> firsts;
  FoldOutput out;
  out.firsts = &firsts;
  std::string prefix;
  for (auto const& group : groups) {
    std::vector<Box> const& boxes = group.second;
    NodePtr const tree = balanced_union(0, boxes.size(), boxes[0].size(),
                                        [&boxes](std::size_t i) { return box_tree(boxes[i]); });
    fold_node(texts, tree.get(), 0, prefix, style, out);
  }
  std::vector<std::size_t> order(out.pieces.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(),
            [&firsts](std::size_t a, std::size_t b) { return firsts[a] < firsts[b]; });
  for (std::size_t index : order)
    pieces.push_back(std::move(out.pieces[index]));
}

}  // namespace

void for_each_folded_piece(Data const& storage, HostSetFoldOptions const& options,
                           std::function<void(std::string_view)> const& visit) {
  FoldStyle style;
  style.autostep = options.autostep;
  if (options.axes.empty()) {
    fold_visited(storage, style, visit);
    return;
  }
  FoldOutput out;
  out.visit = &visit;
  std::vector<std::string> pieces;
  std::string prefix;
  PatternTexts texts;
  for (Pattern const& pattern : storage.patterns) {
    texts.read(pattern.key);
    std::size_t const numbers = texts.size() - 1;
    if (numbers == 0) {
      visit(texts[0]);
      continue;
    }
    // Axes are 1-based, negative ones count from the end; those that the
    // pattern does not have are left out, and a pattern that has none of
    // them is folded on all its positions (nodeset writes it name by name,
    // which for "node[1-1000000000]" would be a billion pieces).
    std::vector<bool> folded(numbers, false);
    bool any = false;
    for (int axis : options.axes) {
      long const position =
          axis > 0 ? static_cast<long>(axis) - 1 : static_cast<long>(numbers) + axis;
      if (position >= 0 && position < static_cast<long>(numbers)) {
        folded[static_cast<std::size_t>(position)] = true;
        any = true;
      }
    }
    bool const all = std::find(folded.begin(), folded.end(), false) == folded.end();
    if (!any || all) {
      fold_node(texts, pattern.root.get(), 0, prefix, style, out);
      continue;
    }
    pieces.clear();
    fold_on_axes(pattern, texts, folded, style, pieces);
    for (std::string const& piece : pieces)
      visit(piece);
  }
}

std::string fold_text(Data const& storage, HostSetFoldOptions const& options) {
  if (options.axes.empty()) {
    FoldStyle style;
    style.autostep = options.autostep;
    return fold_joined(storage, style, options.separator);
  }
  std::string text;
  bool first = true;
  for_each_folded_piece(storage, options, [&](std::string_view piece) {
    if (!first) text += options.separator;
    text += piece;
    first = false;
  });
  return text;
}

}  // namespace hostset_internal
}  // namespace krel
