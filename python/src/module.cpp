// The compiled part of the Python package krel. The package's __init__.py
// re-exports everything, so users write `import krel`.
#include <pybind11/pybind11.h>

#include "bindings.hpp"

PYBIND11_MODULE(_krel, module) {
  module.doc() =
      "Host lists, host sets and text layout from libgeneric_lib.\n"
      "\n"
      "    >>> import krel\n"
      "    >>> str(krel.HostSet('node[1-3]') - krel.HostSet('node2'))\n"
      "    'node[1,3]'\n"
      "    >>> krel.get_merged_hosts(['node3', 'node1', 'node2', 'login1'])\n"
      "    'login1, node[1-3]'\n";
  krel_python::bind_hostlist(module);
  krel_python::bind_text(module);
  krel_python::bind_hostset(module);
  krel_python::bind_hostset_set_protocol(module);
  krel_python::bind_gather(module);
  krel_python::bind_groups(module);
}
