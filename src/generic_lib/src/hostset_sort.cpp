// Host sets: sorting the numbers of many names and building their tree.
//
// Most name lists have small numbers of a few widths, so each name's tuple
// of numbers packs into one 64-bit key whose order is the set's order: per
// position, the rank of the width followed by the value less the smallest
// value. Keys are radix-sorted; tuples that do not pack are sorted by
// comparison instead.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include "hostset_data.hpp"
#include "hostset_sort.hpp"
#include "internal/bytewise_sort.hpp"
#include "internal/hash.hpp"
#include "internal/value_bitmap.hpp"

namespace krel {
namespace hostset_internal {
namespace {

int bits_for(std::uint64_t largest) {
  int bits = 0;
  while (bits < 64 && (largest >> bits) != 0)
    ++bits;
  return bits;
}

// How one position is packed into a key.
struct PositionLayout {
  std::uint64_t smallest = 0;
  int value_bits = 0;
  int width_bits = 0;
  int shift = 0;  // of this position's part in the key
  std::array<std::uint8_t, 64> width_rank{};
  std::vector<std::uint32_t> widths;  // by rank
};

constexpr std::uint32_t kPackableWidths = 64;

// Builds the tree of sorted, distinct tuples reached through `source`, which
// gives the number at (tuple, position) and tells whether two tuples agree on
// positions 0..position.
template <typename Source>
NodePtr build_level(Source const& source, std::size_t per_name, std::size_t position,
                    std::size_t begin, std::size_t end) {
  bool const last = position + 1 == per_name;
  NodeBuilder builder(last);
  if (last) {
    for (std::size_t i = begin; i < end; ++i) {
      Number const number = source.number(i, position);
      builder.add(number.width, number.value, number.value, nullptr);
    }
    return builder.finish();
  }
  std::size_t i = begin;
  while (i < end) {
    std::size_t j = i + 1;
    while (j < end && source.same_prefix(i, j, position))
      ++j;
    Number const number = source.number(i, position);
    builder.add(number.width, number.value, number.value,
                build_level(source, per_name, position + 1, i, j));
    i = j;
  }
  return builder.finish();
}

struct PackedSource {
  std::vector<std::uint64_t> const& keys;
  std::vector<PositionLayout> const& layouts;

  Number number(std::size_t i, std::size_t position) const {
    PositionLayout const& layout = layouts[position];
    std::uint64_t const part = layout.shift >= 64 ? 0 : keys[i] >> layout.shift;
    std::uint64_t const value_mask =
        layout.value_bits >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << layout.value_bits) - 1;
    std::uint64_t const rank =
        layout.value_bits >= 64
            ? 0
            : (part >> layout.value_bits) & ((std::uint64_t{1} << layout.width_bits) - 1);
    return Number{layout.smallest + (part & value_mask),
                  layout.widths[static_cast<std::size_t>(rank)]};
  }
  bool same_prefix(std::size_t i, std::size_t j, std::size_t position) const {
    int const shift = layouts[position].shift;
    return shift >= 64 || (keys[i] >> shift) == (keys[j] >> shift);
  }
};

struct TupleSource {
  NumberList const& numbers;
  std::vector<std::uint32_t> const& order;
  std::size_t per_name;

  Number number(std::size_t i, std::size_t position) const {
    return numbers[order[i] * per_name + position];
  }
  bool same_prefix(std::size_t i, std::size_t j, std::size_t position) const {
    for (std::size_t p = 0; p <= position; ++p) {
      Number const a = number(i, p);
      Number const b = number(j, p);
      if (a.value != b.value || a.width != b.width) return false;
    }
    return true;
  }
};

// One position whose keys are dense: a bitmap of the keys gives the runs
// directly, without sorting.
NodePtr build_from_bitmap(NumberList const& numbers, int total_bits, PositionLayout const& layout) {
  // The keys go straight into the bitmap: they are never kept.
  std::vector<std::uint64_t> bits(((std::uint64_t{1} << total_bits) + 63) / 64);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    Number const number = numbers[i];
    std::uint64_t const key =
        (static_cast<std::uint64_t>(layout.width_rank[number.width]) << layout.value_bits) |
        (number.value - layout.smallest);
    bits[key >> 6] |= std::uint64_t{1} << (key & 63);
  }
  NodeBuilder builder(true);
  std::uint64_t const value_mask = (std::uint64_t{1} << layout.value_bits) - 1;
  auto add_keys = [&](std::uint64_t first, std::uint64_t last) {
    // Keys of one run may span two widths: split where the width changes.
    while (true) {
      std::uint64_t const rank = first >> layout.value_bits;
      std::uint64_t const rank_last = std::min(last, ((rank + 1) << layout.value_bits) - 1);
      builder.add(layout.widths[static_cast<std::size_t>(rank)],
                  layout.smallest + (first & value_mask),
                  layout.smallest + (rank_last & value_mask), nullptr);
      if (rank_last == last) return;
      first = rank_last + 1;
    }
  };
  internal::for_each_bit_run(bits, add_keys);
  return builder.finish();
}

NodePtr build_packed(NumberList const& numbers, std::size_t per_name,
                     std::vector<PositionLayout>& layouts) {
  std::size_t const names = numbers.size() / per_name;
  int total_bits = 0;
  for (PositionLayout const& layout : layouts)
    total_bits = std::max(total_bits, layout.shift + layout.value_bits + layout.width_bits);
  if (per_name == 1 && total_bits < 63 &&
      (std::uint64_t{1} << total_bits) <= 16 * static_cast<std::uint64_t>(names) + 4096)
    return build_from_bitmap(numbers, total_bits, layouts[0]);
  std::vector<std::uint64_t> keys(names);
  for (std::size_t i = 0; i < names; ++i) {
    std::uint64_t key = 0;
    for (std::size_t p = 0; p < per_name; ++p) {
      PositionLayout const& layout = layouts[p];
      Number const number = numbers[i * per_name + p];
      std::uint64_t const part =
          (layout.value_bits >= 64
               ? 0
               : static_cast<std::uint64_t>(layout.width_rank[number.width]) << layout.value_bits) |
          (number.value - layout.smallest);
      key |= layout.shift >= 64 ? 0 : part << layout.shift;
    }
    keys[i] = key;
  }
  internal::radix_sort_by_key<11>(keys, total_bits, [](std::uint64_t key) { return key; });
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  PackedSource const source{keys, layouts};
  return build_level(source, per_name, 0, 0, keys.size());
}

NodePtr build_by_comparison(NumberList const& numbers, std::size_t per_name) {
  std::size_t const names = numbers.size() / per_name;
  std::vector<std::uint32_t> order(names);
  std::iota(order.begin(), order.end(), 0u);
  auto less = [&](std::uint32_t a, std::uint32_t b) {
    for (std::size_t p = 0; p < per_name; ++p) {
      Number const x = numbers[a * per_name + p];
      Number const y = numbers[b * per_name + p];
      if (x.width != y.width || x.value != y.value)
        return number_less(x.width, x.value, y.width, y.value);
    }
    return false;
  };
  std::sort(order.begin(), order.end(), less);
  std::vector<std::uint32_t> distinct;
  distinct.reserve(names);
  for (std::uint32_t index : order) {
    if (distinct.empty() || less(distinct.back(), index)) distinct.push_back(index);
  }
  TupleSource const source{numbers, distinct, per_name};
  return build_level(source, per_name, 0, 0, distinct.size());
}

}  // namespace

NodePtr const& LeafCache::leaf(Number number) {
  std::size_t const slot = static_cast<std::size_t>(
      internal::hash_finish(internal::hash_step(number.value, number.width)) % leaves_.size());
  Leaf& leaf = leaves_[slot];
  if (!leaf.node || leaf.value != number.value || leaf.width != number.width) {
    NodeBuilder builder(true);
    builder.add(number.width, number.value, number.value, nullptr);
    leaf = Leaf{number.value, number.width, builder.finish()};
  }
  return leaf.node;
}

NodePtr build_tree(NumberList const& numbers, std::size_t per_name, LeafCache& leaves) {
  std::size_t const names = numbers.size() / per_name;
  if (names == 0) return nullptr;
  if (names == 1) {
    // One name: a chain of one-value nodes, nothing to sort.
    NodePtr node = leaves.leaf(numbers[per_name - 1]);
    for (std::size_t p = per_name - 1; p-- > 0;) {
      NodeBuilder builder(false);
      builder.add(numbers[p].width, numbers[p].value, numbers[p].value, std::move(node));
      node = builder.finish();
    }
    return node;
  }
  // Work out whether the tuples pack into 64 bits.
  std::vector<PositionLayout> layouts(per_name);
  std::vector<std::uint64_t> largest(per_name, 0);
  std::vector<std::uint64_t> seen_widths(per_name, 0);
  for (std::size_t p = 0; p < per_name; ++p)
    layouts[p].smallest = UINT64_MAX;
  bool packable = names <= UINT32_MAX;
  for (std::size_t i = 0; i < names && packable; ++i) {
    for (std::size_t p = 0; p < per_name; ++p) {
      Number const number = numbers[i * per_name + p];
      if (number.width >= kPackableWidths) {
        packable = false;
        break;
      }
      seen_widths[p] |= std::uint64_t{1} << number.width;
      layouts[p].smallest = std::min(layouts[p].smallest, number.value);
      largest[p] = std::max(largest[p], number.value);
    }
  }
  if (packable) {
    int shift = 0;
    for (std::size_t p = per_name; p-- > 0;) {
      PositionLayout& layout = layouts[p];
      for (std::uint32_t width = 0; width < kPackableWidths; ++width) {
        if ((seen_widths[p] >> width) & 1) {
          layout.width_rank[width] = static_cast<std::uint8_t>(layout.widths.size());
          layout.widths.push_back(width);
        }
      }
      layout.value_bits = bits_for(largest[p] - layout.smallest);
      layout.width_bits = bits_for(layout.widths.size() - 1);
      layout.shift = shift;
      shift += layout.value_bits + layout.width_bits;
      if (shift > 64) packable = false;
    }
  }
  if (packable) return build_packed(numbers, per_name, layouts);
  if (names > UINT32_MAX) return nullptr;  // not reachable with the memory of today
  return build_by_comparison(numbers, per_name);
}

}  // namespace hostset_internal
}  // namespace krel
