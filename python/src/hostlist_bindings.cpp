// Host-list folding and range lists: krel::TokenizedHost::get_merged_hosts,
// krel::str::get_merged_ints and krel::str::expand_ranges with Python types.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "bindings.hpp"
#include "krel/hostlist.hpp"
#include "krel/str.hpp"

namespace py = pybind11;

namespace krel_python {

namespace {

char const* const kGetMergedHostsDoc =
    R"doc(Folds host names into sorted, comma-separated host-list notation (the
suite's report notation). Names are grouped by shape and text; in each group
the number position with the most distinct values is folded (the leftmost on
ties), and names whose other numbers or paddings differ form separate
pieces, so exactly one number is bracketed per piece and every piece writes
back exactly the names it stands for. Pieces are sorted byte-wise (unsigned
bytes, a proper prefix first) and joined by ", ". The result does not depend
on the input order; duplicates collapse; an empty list gives "". For the
notation that Slurm, ClusterShell and pdsh write, fold a HostSet instead.

Raises ValueError for a digit run above 2147483647; no partial result.

    >>> get_merged_hosts(["node3", "node1", "node2", "login1"])
    'login1, node[1-3]'
    >>> get_merged_hosts(["node01", "node02", "node10", "login1"])
    'login1, node10, node[01-02]'
    >>> get_merged_hosts(["cn08", "cn09", "cn10", "cn11"])
    'cn[08-09], cn[10-11]'
    >>> get_merged_hosts(["cn09", "cn010"])
    'cn[09-010]'
    >>> get_merged_hosts(["r1c1", "r1c2", "r2c1", "r2c2"])
    'r[1-2]c1, r[1-2]c2'
    >>> get_merged_hosts(["", "a1"])
    ', a1'
)doc";

char const* const kGetMergedIntsDoc =
    R"doc(Folds integers, in any order and with repeats, into run notation: ascending,
duplicates dropped, consecutive values written "a-b" (a run of two
included), others joined by ",". Every number gets exactly `zeroes` '0'
characters in front, whatever its own width (a count, not a field width;
none when 0 or less). The second item is True when there are at least two
distinct values. Values must fit a C int (-2147483648 .. 2147483647);
others raise TypeError.

    >>> get_merged_ints([1, 2, 3, 5, 7, 8], 0)
    ('1-3,5,7-8', True)
    >>> get_merged_ints([5, 5], 0)
    ('5', False)
    >>> get_merged_ints([9, 10], 1)
    ('09-010', True)
    >>> get_merged_ints([-3, -2, -1], 0)
    ('-3--1', True)
)doc";

char const* const kExpandRangesDoc =
    R"doc(The numbers named by a range list, ascending, each once. The list is trimmed
of space, tab, line feed and carriage return, then split at ',' (runs of
commas count as one, a leading comma gives an empty item). An item is "n" or
"a-b"; each bound is read as C++ std::stoul reads it (leading white space
and a sign accepted, a negative value wrapping around), and every value of a
range is narrowed to a C int by keeping its low 32 bits. An empty or
malformed item, a descending range, a bound beyond 64 bits, or a result too
large for memory gives the empty list; nothing is raised.

    >>> expand_ranges("5,1-3,2")
    [1, 2, 3, 5]
    >>> expand_ranges(" 7 ")
    [7]
    >>> expand_ranges("3-1")
    []
    >>> expand_ranges("1 -3")
    []
    >>> expand_ranges("-5")
    [-5]
    >>> expand_ranges("4294967296")
    [0]
    >>> expand_ranges(",1")
    []
)doc";

std::string get_merged_hosts(std::vector<std::string> const& names) {
  try {
    return krel::TokenizedHost::get_merged_hosts(names);
  } catch (std::out_of_range const&) {
    throw py::value_error("a digit run in a name is above 2147483647");
  }
}

std::tuple<std::string, bool> get_merged_ints(std::vector<int> const& values, int zeroes) {
  bool multiple = false;
  std::string text = krel::str::get_merged_ints(values, multiple, zeroes);
  return {std::move(text), multiple};
}

}  // namespace

void bind_hostlist(py::module_& module) {
  module.def("get_merged_hosts", &get_merged_hosts, py::arg("names"), kGetMergedHostsDoc,
             py::call_guard<py::gil_scoped_release>());
  module.def("get_merged_ints", &get_merged_ints, py::arg("values"), py::arg("zeroes"),
             kGetMergedIntsDoc, py::call_guard<py::gil_scoped_release>());
  module.def("expand_ranges", &krel::str::expand_ranges, py::arg("text"), kExpandRangesDoc,
             py::call_guard<py::gil_scoped_release>());
}

}  // namespace krel_python
