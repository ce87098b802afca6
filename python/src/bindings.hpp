// The parts of the Python module krel._krel, one per family of the library.
#pragma once

#include <pybind11/pybind11.h>

namespace krel_python {

// get_merged_hosts, get_merged_ints, expand_ranges.
void bind_hostlist(pybind11::module_& module);
// word_wrap, column_wrap, space_wrap, is_newer.
void bind_text(pybind11::module_& module);
// The class HostSet.
void bind_hostset(pybind11::module_& module);
// HostSet's methods of Python's mutable set protocol (after bind_hostset).
void bind_hostset_set_protocol(pybind11::module_& module);
// gather and the class Gatherer.
void bind_gather(pybind11::module_& module);
// The class Groups (group sources, "@group" references, regrouping).
void bind_groups(pybind11::module_& module);

}  // namespace krel_python
