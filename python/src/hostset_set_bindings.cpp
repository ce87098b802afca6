// krel.HostSet as Python's own mutable set (collections.abc.MutableSet):
// add, discard, remove, pop, clear, update, union, intersection, difference,
// symmetric_difference and their _update forms, isdisjoint, < and >. Every
// argument may be a HostSet, notation or a set expression ("n[1-5]!n3"), or
// an iterable of names and notation, so that scripts written for
// ClusterShell's NodeSet port by renaming the class.
#include <pybind11/pybind11.h>

#include <string>
#include <utility>

#include "bindings.hpp"
#include "krel/hostset.hpp"

namespace py = pybind11;
using krel::HostSet;

namespace krel_python {
namespace {

// Text read by the class itself, so that bad notation raises the same
// ValueError as HostSet(text).
HostSet read_or_raise(std::string const& text) {
  return py::type::of<HostSet>()(text).cast<HostSet>();
}

// The set an argument stands for: a HostSet as it is, text read as
// notation or an expression, any other iterable as the union of its items
// (plain items read together, in one text; expressions each on their own).
HostSet operand(py::handle other) {
  if (py::isinstance<HostSet>(other)) return other.cast<HostSet>();
  if (py::isinstance<py::str>(other)) return read_or_raise(other.cast<std::string>());
  if (!py::isinstance<py::iterable>(other))
    throw py::type_error("expected a HostSet, host-list text or an iterable of names, not " +
                         py::str(py::type::of(other).attr("__name__")).cast<std::string>());
  HostSet result;
  std::string plain;
  for (py::handle item : other) {
    if (py::isinstance<HostSet>(item)) {
      result |= item.cast<HostSet>();
      continue;
    }
    if (!py::isinstance<py::str>(item)) throw py::type_error("the items must be names or HostSets");
    std::string text = item.cast<std::string>();
    if (HostSet::is_expression(text)) {
      result |= read_or_raise(text);
      continue;
    }
    plain += text;
    plain += '\n';
  }
  return result | read_or_raise(plain);
}

// Folds `operation` over every argument, left to right, into a copy of `set`.
template <typename Operation>
HostSet folded(HostSet set, py::args const& others, Operation operation) {
  for (py::handle other : others)
    operation(set, operand(other));
  return set;
}

void in_union(HostSet& set, HostSet const& other) {
  set |= other;
}
void in_intersection(HostSet& set, HostSet const& other) {
  set &= other;
}
void in_difference(HostSet& set, HostSet const& other) {
  set -= other;
}

bool proper_subset(HostSet const& small, HostSet const& large) {
  return small.size() < large.size() && small.is_subset_of(large);
}

std::string pop(HostSet& set) {
  if (set.empty()) throw py::key_error("pop from an empty HostSet");
  std::string name = *set.at(0);
  set = set.slice(1, set.size());
  return name;
}

void remove(HostSet& set, py::handle other) {
  HostSet const names = operand(other);
  if (!names.is_subset_of(set)) throw py::key_error((names - set).fold());
  set -= names;
}

}  // namespace

void bind_hostset_set_protocol(py::module_& module) {
  auto host_set = py::reinterpret_borrow<py::class_<HostSet>>(module.attr("HostSet"));
  host_set
      .def(
          "add", [](HostSet& self, py::handle other) { self |= operand(other); }, py::arg("names"),
          "Adds the names: s.add(\"n4\"), s.add(\"n[5-9]\"), s.add(other_set).")
      .def(
          "discard", [](HostSet& self, py::handle other) { self -= operand(other); },
          py::arg("names"), "Removes the names that are in the set; others are ignored.")
      .def("remove", &remove, py::arg("names"),
           "Removes the names; KeyError (naming those missing, folded) when one is not in the "
           "set, which is then unchanged.")
      .def("pop", &pop,
           "Removes and returns the first name in iteration order; KeyError when empty.")
      .def(
          "clear", [](HostSet& self) { self = HostSet(); }, "Removes every name.")
      .def(
          "update",
          [](HostSet& self, py::args const& others) { self = folded(self, others, in_union); },
          "Adds the names of every argument: s.update(\"n[1-3]\", other_set).")
      .def(
          "intersection_update",
          [](HostSet& self, py::args const& others) {
            self = folded(self, others, in_intersection);
          },
          "Keeps only the names found in every argument.")
      .def(
          "difference_update",
          [](HostSet& self, py::args const& others) { self = folded(self, others, in_difference); },
          "Removes the names of every argument.")
      .def(
          "symmetric_difference_update",
          [](HostSet& self, py::handle other) { self ^= operand(other); }, py::arg("other"),
          "Keeps the names in exactly one of the set and `other`.")
      .def(
          "union",
          [](HostSet const& self, py::args const& others) {
            return folded(self, others, in_union);
          },
          "A new set with the names of the set and of every argument.")
      .def(
          "intersection",
          [](HostSet const& self, py::args const& others) {
            return folded(self, others, in_intersection);
          },
          "A new set with the names found in the set and every argument: "
          "HostSet(\"n[1-5]\").intersection(\"n[4-9]\") is n[4-5].")
      .def(
          "difference",
          [](HostSet const& self, py::args const& others) {
            return folded(self, others, in_difference);
          },
          "A new set with the names of the set that are in no argument.")
      .def(
          "symmetric_difference",
          [](HostSet const& self, py::handle other) { return self ^ operand(other); },
          py::arg("other"), "A new set with the names in exactly one of the set and `other`.")
      .def(
          "isdisjoint",
          [](HostSet const& self, py::handle other) { return (self & operand(other)).empty(); },
          py::arg("other"), "Whether the set and `other` have no name in common.")
      .def(
          "__lt__",
          [](HostSet const& self, py::handle other) { return proper_subset(self, operand(other)); },
          py::is_operator(), "Whether the set is a proper subset of `other`.")
      .def(
          "__gt__",
          [](HostSet const& self, py::handle other) { return proper_subset(operand(other), self); },
          py::is_operator(), "Whether the set is a proper superset of `other`.");
}

}  // namespace krel_python
