// Gathering per-node output: "which nodes said what" in a few lines. Lines
// such as pdsh, clush and `srun --label` print them ("node7: text") are read
// in any interleaving; nodes whose sequences of lines are identical come out
// as one host set with those lines, on the page `dshbak -c` or `clubak -b`
// writes.
//
//   krel::Gatherer gatherer;
//   gatherer.feed("node2: 5.10\nnode1: 5.10\nnode3: 6.1\n");
//   gatherer.finish();
//   gatherer.page({});
//   // ----------------
//   // node[1-2]
//   // ----------------
//   // 5.10
//   // ----------------
//   // node3
//   // ----------------
//   // 6.1
//
// Memory follows the distinct outputs, not nodes times lines: every distinct
// line is stored once, every distinct sequence of lines once (as a shared
// prefix tree), and each node holds its name and one number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "krel/generic_lib_export.hpp"
#include "krel/hostset.hpp"

namespace krel {

// Which peer's page (and reading of a line's text) to follow.
enum class GatherStyle {
  // pdsh's dshbak: the text is what follows the separator less one space, a
  // carriage return stays; 16 dashes around headers, which fold the last
  // number of names only; nodes and groups by the number that ends the
  // (first) node's name.
  //   "node1:  two\r"  text " two\r"
  kDshbak,
  // ClusterShell's clubak: the text is what follows the separator, as
  // written, carriage returns and newlines at the end of the line dropped;
  // 15 dashes around headers, "(count)" after a group of several nodes;
  // nodes in set order, groups largest first.
  //   "node1:  two\r"  text "  two"
  kClubak,
};

// How Gatherer reads lines.
struct GatherReadOptions {
  // Between node name and text: the first occurrence in the line counts.
  // Blanks around the name are dropped. Must not be empty.
  std::string separator = ":";
  // How the text after the separator is taken (see GatherStyle).
  GatherStyle style = GatherStyle::kDshbak;
};

// The order of groups, and of nodes in the per-node view.
enum class GatherOrder {
  // Groups by decreasing count of nodes, then by their fold, byte-wise (as
  // clubak -b); nodes in HostSet iteration order (as clubak).
  //   {n1,n3}, then {n2}            {a10,b2} before {a2,b1}: "a1" < "a2"
  kLargestFirst,
  // Nodes by the value of the digits that end their name (none counts as 0),
  // ties by name, byte-wise; groups by their first node in that order (as
  // dshbak, whose own ties fall at random).
  //   zz n01 n1 b2 c5 a10
  kTrailingNumber,
};

// What the page shows; its style is the one the lines were read in.
struct GatherPageOptions {
  // Each node on its own, not gathered (dshbak and clubak without -c / -b).
  bool per_node = false;
  // No header blocks: every line written "NODES: text" (clubak -L).
  //   "node[1-2]:  5.10"
  bool line_prefix = false;
};

// What a Gatherer holds; defined in the library only.
struct GatherState;

// One group: nodes whose sequences of lines are identical, and those lines.
struct GatheredOutput {
  HostSet nodes;
  std::vector<std::string> lines;
};

// Collects (node, line) pairs and gathers them. Feed text with `feed` (any
// cut into pieces, lines may span pieces) and call `finish` at its end, or
// add pairs directly with `add`. Results may be asked for at any time and
// reflect what has been added so far.
//
// Bad input is refused line by line: the call returns false, sets `error`
// to one message naming the line and the fault, and the line is not added
// (the lines before it are; the rest of the piece is not read). The faults: a line without the
// separator (an empty line too), an empty node name, a name that is not one
// host name (white space, ",", "[" or "]" in it: the peers read those
// differently). Bytes that are not UTF-8 pass through unchanged. Nothing is
// thrown or logged.
//
//   gatherer.feed("n1: a\nbroken\n")
//   // false, `line 2: no ":" between node name and text in "broken"`
class GENERIC_LIB_EXPORT Gatherer {
 public:
  explicit Gatherer(GatherReadOptions options = {});
  Gatherer(Gatherer&& other) noexcept;
  Gatherer& operator=(Gatherer&& other) noexcept;
  ~Gatherer();

  // Adds one line said by `node`. False and `error` when `node` is not one
  // host name: it holds blanks, ',', '[', ']', '!', '&' or '^', or begins
  // with '@' (a group reference to the peers).
  //
  //   add("node1", "ok")
  //   add("a,b", "ok")  // false, `node name "a,b" is not one host name`
  bool add(std::string_view node, std::string_view line, std::string* error = nullptr);

  // Reads one line "node SEP text", without its newline. Lines are counted
  // for error messages.
  //
  //   add_line("node1: ok")  // node1 said "ok" (dshbak) or " ok" (clubak)
  bool add_line(std::string_view line, std::string* error = nullptr);

  // Reads the complete lines of `text`; a last piece without a newline is
  // kept until more text or `finish` comes.
  bool feed(std::string_view text, std::string* error = nullptr);
  // Reads the kept last line, if any: a missing final newline loses nothing.
  bool finish(std::string* error = nullptr);

  // The count of distinct nodes, and of lines added.
  std::size_t node_count() const;
  std::uint64_t line_count() const;

  // The groups in `order`.
  //
  //   n1: a, n2: a, n3: b   {n[1-2], [a]}, {n3, [b]}
  std::vector<GatheredOutput> gathered(GatherOrder order = GatherOrder::kLargestFirst) const;

  // Calls `visit` for every node with its own lines, in `order`; the views
  // are valid during the call only.
  void for_each_node(GatherOrder order,
                     std::function<void(std::string_view,
                                        std::vector<std::string_view> const&)> const& visit) const;

  // The whole page, as dshbak or clubak (the style the lines were read in)
  // writes it for the same input; nodes and groups in the order of the
  // style. Headers name the nodes in HostSet::fold notation: in the dshbak
  // style the last number of a name only is folded, as dshbak does
  // (r1c[1-2],r2c1), in the clubak style every number. The text may differ
  // (never the names) from the peer's: dshbak writes n[01,1] and
  // r10c1,r1c[1-2] what is n[1,01] and r1c[1-2],r10c1 here. Empty when
  // nothing was added.
  //
  //   "n1: a\nn2: a\n", clubak style:  "---------------\nn[1-2] (2)\n---------------\n a\n"
  //   the same with line_prefix:     "n[1-2]:  a\n"
  std::string page(GatherPageOptions const& options) const;

 private:
  std::unique_ptr<GatherState> state_;
};

}  // namespace krel
