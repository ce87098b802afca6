// The inside of a host set, shared by the hostset_*.cpp units.
//
// A name is cut into text pieces and numbers: "x1000c0s7" is the pattern
// "x%sc%ss%s" (three numbers) and the numbers 1000, 0, 7. A number is its
// written width together with its value, so "07" is (2, 7) and "7" is (1, 7);
// numbers order by width, then value.
//
// The names of one pattern with k numbers form a subset of a k-dimensional
// space, kept as a tree of nodes: a node lists disjoint runs of values of its
// number position (sorted, each run within one width), and for every run the
// node of the remaining positions that each value of the run leads to. The
// last position has no children. Two neighbouring runs of one width that lead
// to equal nodes are always merged, so every set has exactly one tree and
// equal sets have equal trees; a rectangle "x[1-9]c[0-7]" is one run per
// level whatever its count of names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "internal/inline_one_vector.hpp"
#include "krel/hostset.hpp"

namespace krel {
namespace hostset_internal {

// Counts are exact up to 2^64; kTooMany (2^64) stands for "2^64 or more",
// which no set may hold.
__extension__ using Count = unsigned __int128;
constexpr Count kTooMany = static_cast<Count>(1) << 64;
constexpr std::uint64_t kMaxValue = UINT64_MAX;

inline Count add_counts(Count a, Count b) {
  Count const sum = a + b;
  return sum > kTooMany ? kTooMany : sum;
}
inline Count multiply_counts(Count a, Count b) {
  if (a == 0 || b == 0) return 0;
  if (a >= kTooMany || b >= kTooMany) return kTooMany;
  Count const product = a * b;  // both below 2^64 + 1: no 128-bit overflow
  return product > kTooMany ? kTooMany : product;
}

// The numbers a name may have: digit runs after them are text. It bounds
// the depth of the tree, which the code walks recursively.
constexpr std::size_t kMaxNumbers = 128;

// Longest digit run taken as a number: widths are 32-bit.
constexpr std::size_t kMaxWidth = std::size_t{1} << 30;

// Reads a run of digits (nothing else) as a number; false when it is longer
// than kMaxWidth or its value needs more than 64 bits.
//
//   digits_value("0042", value)                  // true, value == 42
//   digits_value("18446744073709551616", value)  // false: 2^64
inline bool digits_value(std::string_view digits, std::uint64_t& value) {
  if (digits.size() > kMaxWidth) return false;
  std::size_t i = 0;
  while (i + 1 < digits.size() && digits[i] == '0')
    ++i;
  if (digits.size() - i > 20) return false;
  value = 0;
  for (; i < digits.size(); ++i) {
    std::uint64_t const digit = static_cast<std::uint64_t>(digits[i] - '0');
    if (value > (kMaxValue - digit) / 10) return false;
    value = value * 10 + digit;
  }
  return true;
}

// Decimal digits of a value written without padding.
int digit_count(std::uint64_t value);
// 10^exponent for exponent 0..19.
std::uint64_t power_of_ten(int exponent);
// Appends `value` written with at least `width` digits (zeros in front as
// needed); a width of 0 writes the digits alone.
//
//   append_to_width(out = "n", 3, 7)   // out == "n007"
//   append_to_width(out = "n", 0, 42)  // out == "n42"
void append_to_width(std::string& out, std::uint32_t width, std::uint64_t value);

// A run of values lo..hi, all written with `width` digits.
struct Run {
  std::uint64_t lo = 0;
  std::uint64_t hi = 0;
  std::uint32_t width = 1;

  Count count() const { return static_cast<Count>(hi - lo) + 1; }
  bool operator==(Run const& other) const {
    return lo == other.lo && hi == other.hi && width == other.width;
  }
};

// Whether the number (width, value) sorts before the number (other_width,
// other_value).
inline bool number_less(std::uint32_t width, std::uint64_t value, std::uint32_t other_width,
                        std::uint64_t other_value) {
  return width != other_width ? width < other_width : value < other_value;
}

struct Node;
using NodePtr = std::shared_ptr<Node const>;

// The runs of one node. Most nodes of scattered sets hold a single run,
// which is kept inside the node instead of in memory of its own.
using RunList = internal::InlineOneVector<Run>;

// Runs seen from outside their list: a node's, or any vector of them.
struct RunSpan {
  RunSpan(RunList const& runs) : first(runs.begin()), count(runs.size()) {}          // NOLINT
  RunSpan(std::vector<Run> const& runs) : first(runs.data()), count(runs.size()) {}  // NOLINT
  RunSpan(Run const* runs, std::size_t size) : first(runs), count(size) {}

  Run const* begin() const { return first; }
  Run const* end() const { return first + count; }
  std::size_t size() const { return count; }

  Run const* first;
  std::size_t count;
};

// One level of the tree. `children` is empty on the last level; elsewhere it
// has one entry per run. A node is never empty, except the unit node, which
// stands for the one name of a pattern without numbers.
struct Node {
  RunList runs;
  std::vector<NodePtr> children;
  Count count = 0;
  std::size_t hash = 0;
};

// The node of a pattern without numbers: the set holding the empty tuple.
NodePtr const& unit_node();

bool nodes_equal(Node const* a, Node const* b);

// Builds one node run by run, in order: merges a run into the previous one
// when they touch, share a width and lead to equal children.
class NodeBuilder {
 public:
  explicit NodeBuilder(bool last_level) : last_level_(last_level) {}
  void reserve(std::size_t runs);
  // Adds values lo..hi of one width; `child` must be null on the last level
  // and non-null elsewhere. Runs must come in increasing order.
  void add(std::uint32_t width, std::uint64_t lo, std::uint64_t hi, NodePtr child);
  // The node, or null when nothing was added.
  NodePtr finish();

 private:
  bool last_level_;
  Node node_;
};

// The invariant of a tree, which every node keeps from the moment
// NodeBuilder::finish makes it (nodes are never changed afterwards, so they
// may be shared between trees and sets):
//   - a node holds at least one run (the unit node alone holds none);
//   - each run has lo <= hi and a width of at least the digits of hi;
//   - runs are sorted by (width, value) and disjoint;
//   - two runs of one width that touch (hi + 1 == lo) lead to different
//     children: runs that lead to equal ones are merged;
//   - a node of the last level has no children, any other node one non-null
//     child per run;
//   - `count` is the count of tuples below the node (kTooMany at most) and
//     `hash` the one node_summary gives.
// check_node looks at one node, its children taken as checked; verify_tree
// at a whole tree of `depth` levels, verify_storage at a whole set (patterns
// sorted by key, none empty, each with a tree of its count of numbers, and
// the total count). On failure they give false and, when `problem` is given,
// what is wrong.
bool check_node(Node const& node, bool last_level, std::string* problem);
bool verify_tree(Node const* node, std::size_t depth, std::string* problem);

// The count and the hash of a node from its runs and children.
void node_summary(Node const& node, bool last_level, Count& count, std::size_t& hash);

enum class Operation { kUnion, kIntersection, kDifference, kSymmetricDifference };

// The set operation on two trees of `depth` levels; null stands for the empty
// set and is what an empty result gives.
NodePtr combine(NodePtr const& a, NodePtr const& b, Operation operation, std::size_t depth);

// The union of the trees tree_at(begin) .. tree_at(end - 1), all of `depth`
// levels, merged two by two as a balanced tree: each name takes part in
// about log2(end - begin) merges, not in one per tree. Null when the range
// is empty.
//
//   balanced_union(0, boxes.size(), depth,
//                  [&](std::size_t i) { return boxes[i].tree; })
template <typename TreeAt>
NodePtr balanced_union(std::size_t begin, std::size_t end, std::size_t depth,
                       TreeAt const& tree_at) {
  if (begin == end) return nullptr;
  if (end - begin == 1) return tree_at(begin);
  std::size_t const middle = begin + (end - begin) / 2;
  return combine(balanced_union(begin, middle, depth, tree_at),
                 balanced_union(middle, end, depth, tree_at), Operation::kUnion, depth);
}

// Whether every tuple of `a` is in `b` (both `depth` levels, either null).
bool node_subset(Node const* a, Node const* b, std::size_t depth);

// The count of numbers of a pattern: the "%s" in its key.
std::size_t count_numbers(std::string_view key);

// The names of one pattern.
struct Pattern {
  // The order key: the text pieces joined by "%s" in place of each number
  // ('%' in the text is written "%%"). Patterns sort by it byte-wise, and
  // the text pieces are read back from it (PatternTexts).
  std::string key;
  NodePtr root;  // the unit node when there are no numbers

  std::size_t numbers() const { return count_numbers(key); }
};

// Makes the key of a pattern from its text pieces.
std::string pattern_key(std::vector<std::string> const& texts);

// The text pieces of a pattern, read back from its key: numbers + 1 of
// them. A reader is meant to be kept from pattern to pattern, so that its
// room is reused.
//   PatternTexts texts;
//   texts.read("x%sc%s");  // texts.size() == 3: "x", "c", ""
//   texts.read("a%%b%s");  // texts[0] == "a%b", texts[1] == ""
class PatternTexts {
 public:
  PatternTexts() = default;
  explicit PatternTexts(std::string_view key) { read(key); }
  PatternTexts(PatternTexts const&) = delete;
  PatternTexts& operator=(PatternTexts const&) = delete;

  void read(std::string_view key);
  std::size_t size() const { return texts_.size(); }
  std::string_view operator[](std::size_t i) const { return texts_[i]; }

 private:
  std::string unescaped_;  // used only when a text holds '%'
  std::vector<std::string_view> texts_;
};

// What a HostSet holds: its patterns and its count of names.
struct Data {
  std::vector<Pattern> patterns;  // sorted by key, none empty
  Count count = 0;
};

// Computes the total count of a storage from its patterns.
void recount(Data& storage);

// The invariant of a whole set: see check_node.
bool verify_storage(Data const& storage, std::string* problem);

// The set operation on two storages (either may be null: the empty set).
std::shared_ptr<Data> combine_storage(Data const* a, Data const* b, Operation operation);

// Reading. Options for the two users of the reader: HostSet (blank
// separates pieces, numbers up to 2^64 - 1) and the older expand_hosts
// (blanks inside a piece belong to the name, an empty piece is an empty
// name, at most 18 significant digits, its own messages).
struct ReadOptions {
  // Blanks separate pieces; when false only commas do, blanks around a piece
  // are trimmed and an empty piece is an empty name.
  bool blank_separates = true;
  bool legacy_messages = false;
  std::size_t max_significant_digits = 20;
  // More names than this is an error naming the piece where the count passes it.
  std::uint64_t max_names = UINT64_MAX;
};

// Checks notation as it is written: false and `error` on bad notation or
// more than options.max_names names; `count` receives how many names it
// stands for (capped at kTooMany).
bool check_written(std::string_view notation, ReadOptions const& options, Count& count,
                   std::string& error);
// Visits the names of checked notation in the order written.
void visit_checked(std::string_view notation, ReadOptions const& options,
                   std::function<void(std::string_view)> const& visit);

// Iteration over one storage, in order.
void visit_names(Data const& storage, std::function<void(std::string_view)> const& visit);

}  // namespace hostset_internal
}  // namespace krel
