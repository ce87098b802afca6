// krel::HostSet as the Python class krel.HostSet: notation in, set algebra,
// folding, indexing and slicing the way ClusterShell's NodeSet offers them.
#include <pybind11/operators.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bindings.hpp"
#include "krel/hostgroups.hpp"
#include "krel/hostset.hpp"

namespace py = pybind11;
using krel::HostSet;

namespace krel_python {

namespace {

char const* const kClassDoc = R"doc(A set of distinct host names: no order, no duplicates, any size.

HostSet(notation="") reads host-list notation. Pieces are separated by
commas outside brackets and by white space, so one name per line is
notation too. A bracket holds items "n", "a-b" or "a-b/step", separated by
commas; several brackets in one piece expand as a product. Padding, as
Slurm, ClusterShell, pdsh and flux read it:

    "n[08-11]"    bounds of one width pad every value to it: n08 .. n11
    "n[009-11]"   a wider low bound pads to its width: n009 n010 n011
    "cn[09-010]"  a padded low bound keeps its count of zeros: cn09 cn010
    "n[8-10]"     unpadded bounds write each value plainly: n8 n9 n10
    "n[007]"      a single value stays as written

A number is a digit run together with its written width, so "node7" and
"node007" are different names. Storage grows with the folded size, never
with the count of names: HostSet("node[1-1000000000]") is instant.
Empty or all-blank notation is the empty set. Bad notation raises
ValueError naming the faulty piece and the reason:

    >>> HostSet("node[3-1]")
    Traceback (most recent call last):
    ValueError: cannot read "node[3-1]": descending range 3-1

Iteration order (iter, indexing, slicing, split) is by pattern, then number
by number from the left; at each number position by written width, then by
value: listserv3 listserv01, cn8 cn09 cn10, n8 n9 n10 n010 n011.

    >>> s = HostSet("node[1-1000000000]") - HostSet("node[5,7]")
    >>> len(s), str(s)
    (999999998, 'node[1-4,6,8-1000000000]')
    >>> "node6" in s, "node06" in s
    (True, False)
    >>> str(HostSet("r1c1 r1c2 r2c1 r2c2"))
    'r[1-2]c[1-2]'
    >>> s[3], str(s[2:6])
    ('node4', 'node[3-4,6,8]')
)doc";

char const* const kFoldDoc = R"doc(The set as notation that HostSet, `nodeset -e` and
`scontrol show hostnames` read back as exactly the same names; str(s) is
s.fold(). Pieces come in iteration order; a range a-b is written only when
all its values have one written width; the same set gives the same text
whatever order it was built in. The empty set gives "".

axis: the number positions to fold, 1-based, negative counting from the end
  (-1 is the last number of a name, which is what Slurm writes), as an int,
  a list of ints or text as `nodeset --axis` takes it ("1-2"). None (the
  default) folds every position. Positions that are not folded are written
  out name by name. Bad positions raise ValueError.
separator: written between pieces (default ",").
autostep: when 2 or more, a run of at least `autostep` values with a
  constant step above 1 is written "a-b/step". None or 0 never writes steps.

    >>> HostSet("r1c1 r1c2 r2c1 r2c2").fold()
    'r[1-2]c[1-2]'
    >>> HostSet("r1c1 r1c2 r2c1 r2c2").fold(axis=-1)
    'r1c[1-2],r2c[1-2]'
    >>> HostSet("node[001-150]").fold(), HostSet("cn09,cn010").fold()
    ('node[001-150]', 'cn[09,010]')
    >>> HostSet("cn8 cn09 cn10").fold(), HostSet("n[8-10],n[010-011]").fold()
    ('cn[8,09-10]', 'n[8-10,010-011]')
    >>> HostSet("node1,node3,node5,node7").fold(autostep=3)
    'node[1-7/2]'
    >>> HostSet("a1 b1").fold(separator=" ")
    'a1 b1'
)doc";

char const* const kGetItemDoc =
    R"doc(s[i] is the name at index i in iteration order (negative counting from the
end; IndexError past either end). s[a:b] and s[a:b:step] are the sets of
the names at those indexes, as with ClusterShell's NodeSet; a negative step
picks the same names as the reversed slice would.

    >>> s = HostSet("n[1-10]")
    >>> s[0], s[-1]
    ('n1', 'n10')
    >>> str(s[2:5]), str(s[::3]), str(s[-3:])
    ('n[3-5]', 'n[1,4,7,10]', 'n[8-10]')
)doc";

char const* const kSplitDoc =
    R"doc(`parts` consecutive sets of near-equal size in iteration order, the larger
ones first, as `nodeset --split`; fewer when the set has fewer names than
`parts` (no empty part). `parts` below 1 raises ValueError.

    >>> [str(p) for p in HostSet("n[1-5]").split(2)]
    ['n[1-3]', 'n[4-5]']
)doc";

char const* const kSelectDoc =
    R"doc(The names at the 0-based indexes of a range list such as "0-9,20" or
"0-9/2", as `nodeset -I` picks them; indexes past the end are ignored. Bad
range text raises ValueError.

    >>> str(HostSet("n[1-10]").select("0,2-3"))
    'n[1,3-4]'
)doc";

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

HostSet parse_or_raise(std::string const& notation, krel::GroupResolver const* groups = nullptr) {
  std::string error;
  std::optional<HostSet> set;
  {
    py::gil_scoped_release unlocked;
    set = groups ? groups->parse(notation, &error) : HostSet::parse(notation, &error);
  }
  if (!set) throw py::value_error(error);
  return std::move(*set);
}

// A Python int as an unsigned 64-bit number; values beyond it clamp to
// 2^64 - 1 (only used where any value that large has the same effect).
std::uint64_t clamped_u64(py::handle number) {
  unsigned long long value = PyLong_AsUnsignedLongLong(number.ptr());
  if (value == static_cast<unsigned long long>(-1) && PyErr_Occurred()) {
    PyErr_Clear();
    return kMax;
  }
  return value;
}

// An axis position as a number; nullopt for one that is no plain int of 64
// bits (True, or too large), which only text can name as written.
std::optional<std::int64_t> axis_number(py::handle item) {
  if (py::isinstance<py::bool_>(item)) return std::nullopt;
  int overflow = 0;
  long long const value = PyLong_AsLongLongAndOverflow(item.ptr(), &overflow);
  if (overflow != 0) return std::nullopt;
  return static_cast<std::int64_t>(value);
}

std::vector<int> axes_from(py::handle axis) {
  std::vector<py::handle> items;
  if (py::isinstance<py::str>(axis)) {
    std::string error;
    std::optional<std::vector<int>> axes = HostSet::parse_axes(axis.cast<std::string>(), &error);
    if (!axes) throw py::value_error(error);
    return std::move(*axes);
  }
  if (py::isinstance<py::int_>(axis)) {
    items.push_back(axis);
  } else if (py::isinstance<py::sequence>(axis)) {
    for (py::handle item : axis.cast<py::sequence>()) {
      if (!py::isinstance<py::int_>(item)) throw py::type_error("axis positions must be integers");
      items.push_back(item);
    }
  } else {
    throw py::type_error("axis must be an int, a list of ints or a text such as \"1-2\"");
  }
  std::vector<std::int64_t> positions;
  for (py::handle item : items) {
    std::optional<std::int64_t> const number = axis_number(item);
    if (number) {
      positions.push_back(*number);
      continue;
    }
    // No position check passes it: the message names the list as Python
    // writes it, as the text reader names its items.
    std::string written;
    for (py::handle each : items)
      written += (written.empty() ? "" : ",") + py::str(each).cast<std::string>();
    std::string error;
    HostSet::parse_axes(written, &error);
    throw py::value_error(error);
  }
  std::string error;
  std::optional<std::vector<int>> axes = HostSet::check_axes(positions, &error);
  if (!axes) throw py::value_error(error);
  return std::move(*axes);
}

std::string fold(HostSet const& set, py::object const& axis, std::string separator,
                 py::object const& autostep) {
  krel::HostSetFoldOptions options;
  if (!axis.is_none()) options.axes = axes_from(axis);
  options.separator = std::move(separator);
  if (!autostep.is_none()) {
    if (!py::isinstance<py::int_>(autostep) || autostep.cast<py::int_>() < py::int_(0)) {
      throw py::value_error("autostep must be None or an int of 0 or more");
    }
    options.autostep = clamped_u64(autostep);
  }
  return set.fold(options);
}

std::string name_at(HostSet const& set, py::handle key) {
  py::object index = py::reinterpret_steal<py::object>(PyNumber_Index(key.ptr()));
  if (!index) {
    PyErr_Clear();
    throw py::type_error("HostSet indices must be integers");
  }
  std::uint64_t const size = set.size();
  std::optional<std::uint64_t> position;
  int overflow = 0;
  long long const value = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
  if (overflow == 0 && value >= 0) {
    position = static_cast<std::uint64_t>(value);
  } else if (overflow == 0) {
    std::uint64_t const from_end = static_cast<std::uint64_t>(-(value + 1)) + 1;
    if (from_end <= size) position = size - from_end;
  } else if (overflow > 0) {
    position = clamped_u64(index);
  }
  std::optional<std::string> name;
  if (position && *position < size) name = set.at(*position);
  if (!name) throw py::index_error(py::str(index).cast<std::string>() + " out of range");
  return std::move(*name);
}

HostSet pick(HostSet const& set, std::uint64_t first, std::uint64_t last, std::uint64_t step) {
  if (step == 1) return set.slice(first, last + 1);
  std::string error;
  std::optional<HostSet> picked = set.select({krel::HostSetIndexRange{first, last, step}}, &error);
  if (!picked) throw std::runtime_error(error);
  return std::move(*picked);
}

HostSet slice_of(HostSet const& set, py::slice const& key) {
  // slice.indices works on Python ints, so sets of any size are fine.
  py::tuple indices = key.attr("indices")(py::int_(set.size()));
  int overflow = 0;
  long long const signed_step =
      PyLong_AsLongLongAndOverflow(py::object(indices[2]).ptr(), &overflow);
  bool const forward = overflow > 0 || (overflow == 0 && signed_step > 0);
  std::uint64_t step = kMax;
  if (overflow == 0) {
    step = signed_step > 0 ? static_cast<std::uint64_t>(signed_step)
                           : static_cast<std::uint64_t>(-(signed_step + 1)) + 1;
  }
  if (forward) {
    // Both bounds lie in 0 .. size.
    std::uint64_t const start = clamped_u64(indices[0]);
    std::uint64_t const stop = clamped_u64(indices[1]);
    if (start >= stop) return HostSet();
    std::uint64_t const span = stop - start - 1;
    return pick(set, start, start + span / step * step, step);
  }
  // Backwards both bounds lie in -1 .. size - 1: shifted up by one they stay
  // unsigned. The names from start down to above stop are the same as the
  // ascending run that ends at start.
  py::object const one = py::int_(1);
  std::uint64_t const start = clamped_u64(py::object(indices[0]) + one);
  std::uint64_t const stop = clamped_u64(py::object(indices[1]) + one);
  if (start <= stop) return HostSet();
  std::uint64_t const last = start - 1;
  std::uint64_t const span = start - stop - 1;
  return pick(set, last - span / step * step, last, step);
}

py::object get_item(HostSet const& set, py::handle key) {
  if (py::isinstance<py::slice>(key)) return py::cast(slice_of(set, key.cast<py::slice>()));
  return py::str(name_at(set, key));
}

// Walks a set in iteration order, a block of names at a time, so that sets
// of any size iterate without building a list of every name.
// Python's iterator over a set: the set's own cursor, kept with the set it
// walks.
class NameIterator {
 public:
  explicit NameIterator(HostSet set) : set_(std::move(set)), at_(set_.begin()) {}
  NameIterator(NameIterator const&) = delete;
  NameIterator& operator=(NameIterator const&) = delete;

  std::string next() {
    if (at_ == set_.end()) throw py::stop_iteration();
    std::string name = *at_;
    ++at_;
    return name;
  }

 private:
  HostSet set_;
  HostSet::const_iterator at_;
};

std::vector<HostSet> split(HostSet const& set, long long parts) {
  if (parts < 1) throw py::value_error("split needs 1 part or more, got " + std::to_string(parts));
  return set.split(static_cast<std::uint64_t>(parts));
}

}  // namespace

void bind_hostset(py::module_& module) {
  py::class_<NameIterator>(module, "_NameIterator")
      .def("__iter__", [](NameIterator& self) -> NameIterator& { return self; })
      .def("__next__", &NameIterator::next);

  py::class_<HostSet> host_set(module, "HostSet", kClassDoc);
  host_set.attr("__module__") = "krel";
  host_set
      .def(py::init(&parse_or_raise), py::arg("notation") = "", py::kw_only(),
           py::arg("groups") = py::none())
      .def("__len__", &HostSet::size,
           "The count of names; sets above sys.maxsize names raise OverflowError, use size().")
      .def("size", &HostSet::size,
           "The count of names, exact up to 2**64 - 1, without visiting them.")
      .def("__bool__", [](HostSet const& self) { return !self.empty(); })
      .def("__contains__", &HostSet::contains, py::arg("name"),
           "Whether the one name is in the set (no notation is read): "
           "\"node7\" in HostSet(\"node[1-10]\") is True, \"node07\" is not.")
      .def("__iter__", [](HostSet const& self) { return std::make_unique<NameIterator>(self); })
      .def("__str__", [](HostSet const& self) { return self.fold(); })
      .def("__repr__",
           [](HostSet const& self) {
             return "HostSet(" + py::repr(py::str(self.fold())).cast<std::string>() + ")";
           })
      .def("fold", &fold, py::kw_only(), py::arg("axis") = py::none(), py::arg("separator") = ",",
           py::arg("autostep") = py::none(), kFoldDoc)
      .def("expand", &HostSet::expand, "Every name, in iteration order, as a list.")
      .def("__getitem__", &get_item, py::arg("key"), kGetItemDoc)
      .def("split", &split, py::arg("parts"), kSplitDoc)
      .def("contiguous", &HostSet::contiguous,
           "One set per run of consecutive numbers, as `nodeset --contiguous`: "
           "HostSet(\"n[1-3,5]\").contiguous() gives n[1-3] and n5.")
      .def(
          "select",
          [](HostSet const& self, std::string const& ranges) {
            std::string error;
            std::optional<HostSet> picked = self.select(ranges, &error);
            if (!picked) throw py::value_error(error);
            return std::move(*picked);
          },
          py::arg("index_ranges"), kSelectDoc)
      .def("issubset", &HostSet::is_subset_of, py::arg("other"),
           "Whether every name of this set is in `other` (also s <= other).")
      .def(
          "issuperset",
          [](HostSet const& self, HostSet const& other) { return other.is_subset_of(self); },
          py::arg("other"), "Whether every name of `other` is in this set (also s >= other).")
      .def("__le__", &HostSet::is_subset_of)
      .def("__ge__",
           [](HostSet const& self, HostSet const& other) { return other.is_subset_of(self); })
      .def(
          "copy", [](HostSet const& self) { return self; }, "A copy (cheap: storage is shared).")
      .def("__copy__", [](HostSet const& self) { return self; })
      .def("__deepcopy__", [](HostSet const& self, py::dict const&) { return self; })
      .def(py::self == py::self)
      .def(py::self != py::self)
      .def(py::self | py::self)
      .def(py::self & py::self)
      .def(py::self - py::self)
      .def(py::self ^ py::self)
      .def(py::self |= py::self)
      .def(py::self &= py::self)
      .def(py::self -= py::self)
      .def(py::self ^= py::self)
      .def(py::pickle(
          [](HostSet const& self) { return py::make_tuple(self.fold()); },
          [](py::tuple const& state) { return parse_or_raise(state[0].cast<std::string>()); }));
}

}  // namespace krel_python
