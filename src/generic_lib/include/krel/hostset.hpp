// Host sets: exact, compact sets of host names with the notation that Slurm,
// ClusterShell, pdsh and flux all read the same way, set algebra, selection
// and n-dimensional folding.
//
//   auto nodes = krel::HostSet::parse("node[1-1000000000]");
//   *nodes -= *krel::HostSet::parse("node[5,7]");
//   nodes->size();  // 999999998
//   nodes->fold();  // "node[1-4,6,8-1000000000]"
//
// A name is text pieces and numbers. A number is a digit run together with its
// written width, so "node7" and "node007" are different names. Storage grows
// with the folded size of a set, never with its count of names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "krel/generic_lib_export.hpp"

namespace krel {

// How HostSet::fold writes a set.
struct HostSetFoldOptions {
  // The number positions to fold, 1-based, negative counting from the end
  // (-1 is the last number of a name); empty folds every position. A position
  // that is not folded is written out value by value. A name with fewer
  // numbers than a position asks for is folded on the positions it has, and
  // a name with none of them on all its positions. Pieces of one pattern
  // come in the order of their first names.
  //
  // `nodeset --axis` writes the same names, with two differences: it writes
  // a name that has none of the positions name by name ({2} on ln0,ln1:
  // nodeset "ln0,ln1", here "ln[0-1]", so that {2} on node[1-1000000000]
  // stays one piece); and its pieces can be smaller and in another order, as
  // it cuts the pieces of its full fold at the other positions where this
  // folds the chosen positions anew ({1} on r1c1,r1c2,r2c1: nodeset
  // "r1c1,r1c2,r2c1", here "r[1-2]c1,r1c2").
  //
  //   {}    "r[1-2]c[1-2]"            every position (the default)
  //   {-1}  "r1c[1-2],r2c[1-2]"       the last one only, as Slurm writes
  //   {2}   "ln[0-1],r1c[1-2],r2c[1-2]" for ln[0-1] and r[1-2]c[1-2]
  std::vector<int> axes;
  // Written between pieces.
  std::string separator = ",";
  // When 2 or more: a run of at least `autostep` values with a constant step
  // above 1 is written "a-b/step". 0 (the default) never writes steps.
  //
  //   autostep 3 on node1,3,5,7  "node[1-7/2]"
  std::uint64_t autostep = 0;
};

// Host-list notation, as HostSet::parse reads it. Pieces are separated by
// commas outside brackets and by white space, so one name per line is
// notation too. A bracket holds items "n", "a-b" or "a-b/step", separated
// by commas, with blanks allowed around items; several brackets in one
// piece expand as a product. Padding, as every peer reads it:
//   "n[08-11]"    bounds of one width pad every value to it: n08 .. n11
//   "n[009-11]"   a wider low bound pads to its width: n009 n010 n011
//   "cn[09-010]"  a padded low bound keeps its count of zeros: cn09 cn010
//   "n[8-10]"     unpadded bounds write each value plainly: n8 n9 n10
//   "n[007]"      a single value stays as written
// A digit run outside brackets too long for 64 bits stays text in the name.
// Empty or all-blank notation is the empty set.
//
// Set expressions: operands joined by operators outside brackets, all of
// equal precedence, applied left to right (as `nodeset` reads them):
// "," or white space (union), "!" (difference), "&" (intersection), "^"
// (symmetric difference). White space around an operator is allowed; an
// operator inside a bracket belongs to the bracket (and is a bad item).
//   HostSet::parse("n[1-5],n7!n[2-7]")  // n1
//   HostSet::parse("node[1-10] & node[5-20]")->fold()  // "node[5-10]"
//   HostSet::parse("n1&&n2")  // nullopt, `cannot read "n1&&n2": missing
//                             //   operand after "&" at position 3`
// An operand beginning with "@" is a group reference: here it is always an
// error naming it, never a host name ("a@b" is a name); GroupResolver
// reads references.
//   HostSet::parse("@rack1")  // nullopt, `cannot read "@rack1": a group
//                             //   reference, but no group source is given`

// A forward iterator over the names of a HostSet, in iteration order (see
// HostSet): HostSet::const_iterator. The name it points to is written in
// place and stays valid until the iterator moves on or is destroyed, so
// keep a copy to hold a name longer. Each step costs O(1) amortised, also
// over sets of many patterns. The set must outlive its iterators.
//
//   auto set = krel::HostSet::parse("n[9-10],m1");
//   for (std::string const& name : *set) std::puts(name.c_str());  // m1 n9 n10
//   std::vector<std::string> names(set->begin(), set->end());
class GENERIC_LIB_EXPORT HostSetNameIterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = std::string;
  using difference_type = std::ptrdiff_t;
  using pointer = std::string const*;
  using reference = std::string const&;

  // Past the end of any set.
  HostSetNameIterator();
  HostSetNameIterator(HostSetNameIterator const& other);
  HostSetNameIterator(HostSetNameIterator&& other) noexcept;
  HostSetNameIterator& operator=(HostSetNameIterator const& other);
  HostSetNameIterator& operator=(HostSetNameIterator&& other) noexcept;
  ~HostSetNameIterator();

  reference operator*() const;
  pointer operator->() const { return &**this; }
  HostSetNameIterator& operator++();
  HostSetNameIterator operator++(int);
  // Iterators of one set compare by place; any iterator past the end equals
  // any other past the end.
  bool operator==(HostSetNameIterator const& other) const;
  bool operator!=(HostSetNameIterator const& other) const { return !(*this == other); }

 private:
  friend class HostSet;
  struct Cursor;
  explicit HostSetNameIterator(std::unique_ptr<Cursor> cursor);
  std::unique_ptr<Cursor> cursor_;  // null past the end
  std::uint64_t index_ = 0;
};

// Indexes first, first + step, .. up to last (included), 0-based in
// iteration order, for HostSet::select; as "first-last/step" in range text.
//
//   {2, 2, 1}  the index 2          {0, 9, 2}  0 2 4 6 8
struct HostSetIndexRange {
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  std::uint64_t step = 1;
};

// A set of distinct host names: no order, no duplicates. A value type:
// copies are cheap (they share storage until one of them changes), moves are
// cheaper, and const members may be called from several threads at once.
//
// Iteration order (iterators, expand, for_each, at, slicing, splitting) is by
// pattern, then number by number from the left; at each number position by
// written width, then by value:
//   listserv3 listserv01        cn8 cn09 cn10        n8 n9 n10 n010 n011
// Patterns order byte-wise by their text pieces joined with "%s" in place of
// each number ('%' of the text doubled), so a pattern whose number comes
// where another has text sorts by '%' (0x25) against that text:
//   a-1 sorts after a1x ("a-%s" > "a%sx": '-' is 0x2d),
//   a%1 before a1 ("a%%%s" < "a%s"), and x1 before xy.
class GENERIC_LIB_EXPORT HostSet {
 public:
  // The empty set.
  HostSet();
  HostSet(HostSet const& other);
  HostSet(HostSet&& other) noexcept;
  HostSet& operator=(HostSet const& other);
  HostSet& operator=(HostSet&& other) noexcept;
  ~HostSet();

  // Reads host-list notation or a set expression (see above).
  //
  // Bad notation gives std::nullopt and, when `error` is given, one message
  // naming the faulty piece and the reason; nothing is logged or thrown:
  //   parse("node[3-1]")  // nullopt, `cannot read "node[3-1]": descending range 3-1`
  // The cases: unbalanced, nested or empty brackets, an empty item, an item
  // that is not digits, a descending range, step 0, a number too large (in
  // a bracket, or digits written next to a bracket that join its number to
  // above 2^64 - 1), a count of names above 2^64 - 1, more than 128 numbers
  // in one name of a bracketed piece (a name without brackets keeps its
  // digit runs past the 128th as text), and more than 2^20 separate values
  // (stepped values, which no run holds, counted over the whole notation):
  //   parse("n[1-10000000/2]")  // `... more than 1048576 separate values`
  // A count above 2^64 - 1 is blamed on the piece where it passes the limit.
  //
  //   parse("node[1-9/2]")->expand()  // node1 node3 node5 node7 node9
  //   parse("r[1-2]c[1-2]")->size()   // 4
  //   parse(" ")->empty()              // true
  static std::optional<HostSet> parse(std::string_view notation, std::string* error = nullptr);

  // Reads notation as `parse` does and calls `visit` for every name in the
  // order written, duplicates kept, without building a set (as
  // `scontrol show hostnames` lists them). Bad notation visits nothing,
  // gives false and sets `error`: the whole text is checked before the
  // first name is visited. A set expression (see parse) has no order as
  // written: its set is visited instead, in iteration order, each name once.
  // For plain notation, three limits of `parse` do not apply, as no set is
  // built: separate values are not counted, a name may have more than 128
  // numbers, and digits next to a bracket stay text, whatever their value
  // ("n1[18446744073709551615]" is one name here, refused by parse).
  //
  //   for_each_written("n[3,1],n3", f)  // f("n3"), f("n1"), f("n3")
  //   for_each_written("n[3,1]!n2", f)  // f("n1"), f("n3")
  static bool for_each_written(std::string_view notation,
                               std::function<void(std::string_view)> const& visit,
                               std::string* error = nullptr);

  // Whether `text` is a set expression, holding an operator outside
  // brackets or an operand beginning with "@" (see parse), rather than plain
  // notation. Costs one fast pass over texts without '!', '&', '^' or '@'.
  //
  //   is_expression("n[1-5]!n3")     // true
  //   is_expression("a@b,n[1!2]")    // false: a name and a (bad) bracket item
  static bool is_expression(std::string_view text);

  // The count of names that `for_each_written` would visit, duplicates
  // included, computed without visiting; nullopt (and `error`) on bad
  // notation or when the count is above 2^64 - 1. A set expression counts
  // its set's names, as for_each_written visits them. Plain notation is read
  // as `for_each_written` reads it, so it may count notation that `parse`
  // refuses:
  //   count_written("n[1-10000000/2]")  // 5000000
  //
  //   count_written("n[1-3],n2")  // 4
  //   count_written("n[1-3],n2!n9")  // 3
  static std::optional<std::uint64_t> count_written(std::string_view notation,
                                                    std::string* error = nullptr);

  // The count of names, exact up to 2^64 - 1; sets that would hold more are
  // refused when they are made (parse fails; a union that would overflow
  // saturates at 2^64 - 1 and never wraps). Costs nothing per name.
  //
  //   parse("node[0-18446744073709551614]")->size()  // 18446744073709551615
  std::uint64_t size() const;
  bool empty() const;

  // Whether the one name `name` is in the set (no notation is read).
  //
  //   parse("node[1-10]")->contains("node7")   // true
  //   parse("node[1-10]")->contains("node07")  // false: another width
  bool contains(std::string_view name) const;

  // Checks the inside of the set: its storage is canonical (sorted,
  // disjoint, merged runs of one width each) and its cached counts and
  // hashes are right. Every set the library makes passes, so false is a
  // bug in the library; `problem` then says what is wrong. Meant for tests
  // and fuzzing: it walks every part of the storage once.
  //
  //   parse("n[1-3]")->verify()  // true
  bool verify(std::string* problem = nullptr) const;

  // Whether every name of this set is in `other`.
  bool is_subset_of(HostSet const& other) const;

  // Set algebra. The cost grows with the folded sizes of the operands, not
  // with their counts of names.
  //
  //   node[1-1000000000] - node[5,7]   node[1-4,6,8-1000000000]
  HostSet& operator|=(HostSet const& other);  // union
  HostSet& operator&=(HostSet const& other);  // intersection
  HostSet& operator-=(HostSet const& other);  // difference
  HostSet& operator^=(HostSet const& other);  // symmetric difference
  friend HostSet operator|(HostSet a, HostSet const& b) { return a |= b; }
  friend HostSet operator&(HostSet a, HostSet const& b) { return a &= b; }
  friend HostSet operator-(HostSet a, HostSet const& b) { return a -= b; }
  friend HostSet operator^(HostSet a, HostSet const& b) { return a ^= b; }
  bool operator==(HostSet const& other) const;
  bool operator!=(HostSet const& other) const { return !(*this == other); }

  // Writes the set as notation that parse, `nodeset -e` and
  // `scontrol show hostnames` read back as exactly the same names. Every
  // number position is folded (n-dimensional); pieces come in iteration
  // order, joined by ",". A range a-b is written only when all its values
  // have one written width, unpadded values aside; the same set gives the
  // same text whatever order it was built in. The empty set gives "".
  //
  //   {r1c1, r1c2, r2c1, r2c2}     "r[1-2]c[1-2]"
  //   {node001 .. node150}         "node[001-150]"
  //   {cn09, cn010}                "cn[09,010]"
  //   {cn8, cn09, cn10}            "cn[8,09-10]"
  //   {n8, n9, n10, n010, n011}    "n[8-10,010-011]"
  std::string fold() const;
  std::string fold(HostSetFoldOptions const& options) const;
  // Calls `visit` for every piece that fold(options) writes, in order,
  // without the separator between them; the view is valid during the call
  // only. The empty set visits nothing.
  //
  //   {a1b1, a1b2, a2b1}            visits "a1b[1-2]", "a2b1"
  //   {n1, n2, login1}, axes {-1}   visits "login1", "n[1-2]"
  void for_each_piece(HostSetFoldOptions const& options,
                      std::function<void(std::string_view)> const& visit) const;

  // Every name, in iteration order. Visit them with for_each instead when
  // the set is large: it builds no vector.
  //
  //   parse("n[10,9],m1")->expand()  // m1 n9 n10
  std::vector<std::string> expand() const;
  // Calls `visit` for every name in iteration order; the view is valid
  // during the call only.
  void for_each(std::function<void(std::string_view)> const& visit) const;
  // The names one by one in iteration order (see HostSetNameIterator).
  using const_iterator = HostSetNameIterator;
  const_iterator begin() const;
  const_iterator end() const { return const_iterator(); }

  // The name at 0-based `index` in iteration order; nullopt past the end.
  //
  //   parse("n[1-10]")->at(3)  // "n4"
  std::optional<std::string> at(std::uint64_t index) const;
  // The names at indexes first .. last - 1 (clamped to the set).
  //
  //   parse("n[1-10]")->slice(2, 5)  // n[3-5]
  HostSet slice(std::uint64_t first, std::uint64_t last) const;
  // The names at the 0-based indexes of a range list "0-9,20" (steps
  // "0-9/2" allowed), as `nodeset -I` picks them; indexes past the end are
  // ignored. Bad range text gives nullopt and `error`.
  //
  //   parse("n[1-10]")->select("0,2-3")  // n[1,3-4]
  std::optional<HostSet> select(std::string_view index_ranges, std::string* error = nullptr) const;
  // The same with ranges as numbers: step 0, `last` below `first` or more
  // than 2^20 stepped indexes inside the set give nullopt and `error`.
  //   parse("n[1-10]")->select({{0, 0, 1}, {2, 9, 3}})  // n[1,3,6,9]
  //   parse("n[1-10]")->select({{3, 1, 1}})  // nullopt, `cannot select index
  //                                          //   range 3-1/1: descending range`
  std::optional<HostSet> select(std::vector<HostSetIndexRange> const& ranges,
                                std::string* error = nullptr) const;

  // `parts` consecutive parts of near-equal size in iteration order, the
  // larger ones first, as `nodeset --split`; fewer when the set is smaller
  // than `parts` (no empty part). 0 parts gives none.
  //
  //   parse("n[1-5]")->split(2)  // n[1-3], n[4-5]
  std::vector<HostSet> split(std::uint64_t parts) const;
  // One set per box of consecutive numbers, as `nodeset --contiguous`: the
  // pieces `fold` writes, each cut at every gap between values of any
  // number position (plain values continue across a width: n[8-10] is one
  // run), in fold's order, then from the left.
  //
  //   parse("n[1-3,5]")->contiguous()       // n[1-3], n5
  //   parse("r[1,3]c[1-2]")->contiguous()   // r1c[1-2], r3c[1-2]
  //   parse("n[1,3]-ib0")->contiguous()     // n1-ib0, n3-ib0
  std::vector<HostSet> contiguous() const;

  // Reads a list of number positions for HostSetFoldOptions::axes, the way
  // `nodeset --axis` does: "1", "1-2", "-1", "1,3". Bad text gives nullopt
  // and `error`.
  static std::optional<std::vector<int>> parse_axes(std::string_view text,
                                                    std::string* error = nullptr);
  // Checks number positions given as numbers, with parse_axes' messages.
  //   check_axes({1, -1})  // {1, -1}
  //   check_axes({1, 0})   // nullopt, `cannot read axes "1,0": bad item 0`
  static std::optional<std::vector<int>> check_axes(std::vector<std::int64_t> const& positions,
                                                    std::string* error = nullptr);

 private:
  struct Storage;
  explicit HostSet(std::shared_ptr<Storage const> storage);
  std::shared_ptr<Storage const> storage_;
};

}  // namespace krel
