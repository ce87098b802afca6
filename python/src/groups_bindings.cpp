// krel::GroupResolver as the Python class krel.Groups: group sources read
// from ClusterShell's configuration, a groups.d YAML file or a genders file,
// expressions with "@group" references, regrouping and listings.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bindings.hpp"
#include "krel/hostgroups.hpp"
#include "krel/hostset.hpp"

namespace py = pybind11;
using krel::GroupEntry;
using krel::GroupResolver;
using krel::HostSet;

namespace krel_python {

namespace {

char const* const kClassDoc =
    R"doc(Group sources: names such as "@compute" or "@rack[1-3]" that stand for host sets.

Made by one of the class methods, never directly:

    Groups.from_config(path=None)  ClusterShell's groups.conf (None: the
                                   places ClusterShell looks in)
    Groups.from_yaml(path)         one groups.d YAML file, every top-level
                                   key a source, the first the default
    Groups.from_genders(path)      a genders file: each attribute and each
                                   attr=value is a group, "@*" every node

A reference is "@g" (the default source), "@src:g", "@rack[1-3]", "@*" (the
source's group "all", else all its groups) or "@@src" (the source's group
names). An unknown group is the empty set; an unknown source, a cycle of
groups or a failing command raises ValueError with a one-line message.
Resolved groups are remembered: asking again costs nothing.

    >>> g = Groups.from_yaml("groups.d/site.yaml")
    >>> g.parse("@compute!@down").fold()
    'cn[0001-0004,0006-0016,0018-0100,0102-0128]'
    >>> g.regroup(HostSet("cn[0001-0128],login[1-2]"))
    '@compute,@login'
    >>> str(HostSet("@gpu&@interactive", groups=g))
    'gpu[15-16]'
)doc";

char const* const kParseDoc =
    R"doc(The host set of a set expression whose "@" pieces are group references.

Operators ",", white space (union), "!" (difference), "&" (intersection)
and "^" (symmetric difference) apply left to right. Bad notation, an
unknown source or a cycle raises ValueError.

    >>> str(g.parse("@rack1,@rack2"))
    'cn[0001-0064]'
    >>> str(g.parse("@site:rack[1-4]&cn[0030-0040]"))
    'cn[0030-0040]'
)doc";

char const* const kRegroupDoc = R"doc(The set written with group names, as `nodeset -r`.

Groups wholly inside the set, largest first, ties by name; a group sharing
names with one already taken is skipped unless `overlap`; the chosen names
folded ("@rack[1,3]"), then the remaining hosts. `source` None uses the
default source; a named source is written "@src:g" unless `prefix` is False.

    >>> g.regroup(HostSet("cn[0001-0064],login1"))
    '@rack[1-2],login1'
    >>> g.regroup(HostSet("cn[0001-0064]"), source="site")
    '@site:rack[1-2]'
    >>> g.regroup(HostSet("cn[0001-0064]"), source="site", prefix=False)
    '@rack[1-2]'
)doc";

char const* const kGroupsOfDoc =
    R"doc(The groups of `source` (None: the default) that share a name with `nodes`.

A dict from group name to all the group's members, by name; intersect
with `nodes` for the shared names only (`nodeset -ll NODES` shows those).

    >>> conf = Groups.from_config("groups.conf")
    >>> {name: str(nodes) for name, nodes in conf.groups_of(HostSet("gpu16"), "roles").items()}
    {'ml': 'gpu[15-16]', 'staff': 'gpu[15-16],io[01-02],login1'}
)doc";

char const* const kListDoc =
    R"doc(Every group of `source` (None: the default) with its members, by name.

    >>> list(Groups.from_config("groups.conf").list("roles"))
    ['admin', 'bio', 'chem', 'ml', 'physics', 'staff', 'users']
    >>> str(g.list()["rack5"])
    'gpu[01-16],io[01-08]'
)doc";

std::string source_of(py::object const& source) {
  return source.is_none() ? std::string() : source.cast<std::string>();
}

// Calls `read` without the GIL (shell commands of upcall sources may run),
// raising ValueError with its message when it gives nothing.
template <typename Read>
auto call_or_raise(Read const& read) {
  std::string error;
  decltype(read(&error)) result;
  {
    py::gil_scoped_release unlocked;
    result = read(&error);
  }
  if (!result) throw py::value_error(error);
  return std::move(*result);
}

py::dict as_dict(std::vector<GroupEntry> entries) {
  py::dict groups;
  for (GroupEntry& entry : entries)
    groups[py::str(entry.name)] = py::cast(std::move(entry.nodes));
  return groups;
}

std::string regroup(GroupResolver const& self, HostSet const& nodes, py::object const& source,
                    bool overlap, bool prefix) {
  krel::RegroupOptions options;
  options.source = source_of(source);
  options.overlap = overlap;
  options.prefix = prefix;
  return call_or_raise([&](std::string* error) { return self.regroup(nodes, options, error); });
}

// A resolver from the file at `path` (none: the search order, for
// from_config), read by `load`.
template <std::optional<GroupResolver> (*Load)(std::string_view, std::string*)>
GroupResolver load_or_raise(py::object const& path) {
  std::string const file = source_of(path);
  return call_or_raise([&](std::string* error) { return Load(file, error); });
}

HostSet parse_with_groups(GroupResolver const& groups, std::string const& expression) {
  return call_or_raise([&](std::string* error) { return groups.parse(expression, error); });
}

}  // namespace

void bind_groups(py::module_& module) {
  py::class_<GroupResolver> groups(module, "Groups", kClassDoc);
  groups.attr("__module__") = "krel";
  groups
      .def_static("from_config", &load_or_raise<&GroupResolver::from_config>,
                  py::arg("path") = py::none(),
                  "ClusterShell's groups.conf at `path`; None: /etc/clustershell/groups.conf, "
                  "the user's config folder and $CLUSTERSHELL_CFGDIR, as ClusterShell looks. A "
                  "bad file raises ValueError naming it and the line.")
      .def_static(
          "from_yaml", &load_or_raise<&GroupResolver::from_yaml>, py::arg("path"),
          "One groups.d YAML file (`source: {group: members}`), its first source the default.")
      .def_static("from_genders", &load_or_raise<&GroupResolver::from_genders>, py::arg("path"),
                  "A genders file: one source \"genders\", each attribute and attr=value a "
                  "group.")
      .def("parse", &parse_with_groups, py::arg("expression"), kParseDoc)
      .def("regroup", &regroup, py::arg("nodes"), py::arg("source") = py::none(), py::kw_only(),
           py::arg("overlap") = false, py::arg("prefix") = true, kRegroupDoc)
      .def(
          "groups_of",
          [](GroupResolver const& self, HostSet const& nodes, py::object const& source) {
            std::string const name = source_of(source);
            return as_dict(call_or_raise(
                [&](std::string* error) { return self.groups_of(nodes, name, error); }));
          },
          py::arg("nodes"), py::arg("source") = py::none(), kGroupsOfDoc)
      .def(
          "list",
          [](GroupResolver const& self, py::object const& source) {
            std::string const name = source_of(source);
            return as_dict(
                call_or_raise([&](std::string* error) { return self.list(name, error); }));
          },
          py::arg("source") = py::none(), kListDoc)
      .def("sources", &GroupResolver::sources,
           "The source names, the default first, as `nodeset --groupsources` lists them.")
      .def("default_source", &GroupResolver::default_source,
           "The default source's name; \"\" when there is no source.")
      .def("__repr__", [](GroupResolver const& self) {
        py::list names = py::cast(self.sources());
        return "<krel.Groups sources=" + py::repr(names).cast<std::string>() + ">";
      });
}

}  // namespace krel_python
