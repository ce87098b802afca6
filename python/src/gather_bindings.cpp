// krel::Gatherer as the Python function krel.gather and the class
// krel.Gatherer: which nodes said what, from (node, line) pairs or from
// "node: text" lines fed as they come.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bindings.hpp"
#include "krel/gather.hpp"

namespace py = pybind11;

namespace krel_python {
namespace {

using Groups = std::vector<std::pair<krel::HostSet, std::vector<std::string>>>;
using NodeLines = std::vector<std::pair<std::string, std::vector<std::string>>>;

char const* const kGatherDoc =
    R"doc(Gathers (node, line) pairs: the nodes whose sequences of lines are identical.

Returns a list of (HostSet, list of lines), the largest group first, then by
the groups' folds, byte-wise (as clubak -b orders them); or, with
order="trailing-number", by the number ending each group's first node (as
dshbak -c). Each node's lines keep the order they came in; pairs of
different nodes may come in any interleaving. A node name that is not one
host name (empty, or with blanks, ",", "[" or "]") raises ValueError.

    >>> [(str(nodes), lines) for nodes, lines in gather(
    ...     [("n2", "5.10"), ("n1", "5.10"), ("n3", "6.1")])]
    [('n[1-2]', ['5.10']), ('n3', ['6.1'])]
)doc";

char const* const kClassDoc = R"doc(Gathers per-node output fed line by line, for streams.

Gatherer(separator=":", style="dshbak") reads lines "node SEP text".
style="dshbak" takes the text after the separator less one space (a
carriage return stays), as dshbak; style="clubak" takes it as written,
carriage returns and newlines ending the line dropped, as clubak. A line
without the separator, with an empty node name or a name that is not one
host name raises ValueError naming the line; that line is not added.

    >>> g = Gatherer()
    >>> for line in ["n2: up", "n1: up", "n3: down"]:
    ...     g.add_line(line)
    >>> [(str(nodes), lines) for nodes, lines in g.gathered()]
    [('n[1-2]', ['up']), ('n3', ['down'])]
    >>> print(g.page(), end="")
    ----------------
    n[1-2]
    ----------------
    up
    ----------------
    n3
    ----------------
    down
)doc";

krel::GatherOrder order_of(std::string const& order) {
  if (order == "largest") return krel::GatherOrder::kLargestFirst;
  if (order == "trailing-number") return krel::GatherOrder::kTrailingNumber;
  throw py::value_error("order must be \"largest\" or \"trailing-number\", not \"" + order + "\"");
}

krel::GatherStyle style_of(std::string const& style) {
  if (style == "dshbak") return krel::GatherStyle::kDshbak;
  if (style == "clubak") return krel::GatherStyle::kClubak;
  throw py::value_error("style must be \"dshbak\" or \"clubak\", not \"" + style + "\"");
}

void raise_unless(bool ok, std::string const& error) {
  if (!ok) throw py::value_error(error);
}

Groups groups_of(krel::Gatherer const& gatherer, std::string const& order) {
  Groups result;
  for (krel::GatheredOutput& group : gatherer.gathered(order_of(order)))
    result.emplace_back(std::move(group.nodes), std::move(group.lines));
  return result;
}

NodeLines per_node_of(krel::Gatherer const& gatherer, std::string const& order) {
  NodeLines result;
  gatherer.for_each_node(order_of(order), [&result](std::string_view node,
                                                    std::vector<std::string_view> const& lines) {
    result.emplace_back(std::string(node), std::vector<std::string>(lines.begin(), lines.end()));
  });
  return result;
}

void bind_gatherer_class(py::module_& module) {
  py::class_<krel::Gatherer> gatherer(module, "Gatherer", kClassDoc);
  gatherer.attr("__module__") = "krel";
  gatherer
      .def(py::init([](std::string separator, std::string const& style) {
             if (separator.empty()) throw py::value_error("the separator must not be empty");
             return krel::Gatherer(krel::GatherReadOptions{std::move(separator), style_of(style)});
           }),
           py::arg("separator") = ":", py::arg("style") = "dshbak")
      .def(
          "add",
          [](krel::Gatherer& self, std::string const& node, std::string const& line) {
            std::string error;
            raise_unless(self.add(node, line, &error), error);
          },
          py::arg("node"), py::arg("line"), "Adds one line said by `node`.")
      .def(
          "add_line",
          [](krel::Gatherer& self, std::string const& line) {
            std::string error;
            raise_unless(self.add_line(line, &error), error);
          },
          py::arg("line"), "Reads one line \"node SEP text\", without its newline.")
      .def(
          "feed",
          [](krel::Gatherer& self, std::string const& text) {
            std::string error;
            raise_unless(self.feed(text, &error), error);
          },
          py::arg("text"),
          "Reads the complete lines of `text`; a last piece without newline waits for more.")
      .def(
          "finish",
          [](krel::Gatherer& self) {
            std::string error;
            raise_unless(self.finish(&error), error);
          },
          "Reads the last line fed without its newline, if any.")
      .def("__len__", &krel::Gatherer::node_count, "The count of distinct nodes.")
      .def_property_readonly("line_count", &krel::Gatherer::line_count, "The count of lines added.")
      .def("gathered", &groups_of, py::arg("order") = "largest",
           "The groups as (HostSet, lines), in the order krel.gather gives them.")
      .def("per_node", &per_node_of, py::arg("order") = "largest",
           "Each node's own lines as (name, lines); \"largest\" lists nodes in set order.")
      .def(
          "page",
          [](krel::Gatherer const& self, bool per_node, bool lines) {
            return self.page(krel::GatherPageOptions{per_node, lines});
          },
          py::arg("per_node") = false, py::arg("lines") = false,
          "The page dshbak or clubak writes (by the style); lines=True as clubak -L.");
}

}  // namespace

void bind_gather(py::module_& module) {
  module.def(
      "gather",
      [](py::iterable const& pairs, std::string const& order) {
        krel::Gatherer gatherer;
        std::string error;
        for (py::handle const item : pairs) {
          std::pair<std::string, std::string> pair;
          try {
            pair = item.cast<std::pair<std::string, std::string>>();
          } catch (py::cast_error const&) {
            throw py::type_error("each pair must be (node, line), two str, not " +
                                 std::string(py::repr(item)));
          }
          raise_unless(gatherer.add(pair.first, pair.second, &error), error);
        }
        return groups_of(gatherer, order);
      },
      py::arg("pairs"), py::arg("order") = "largest", kGatherDoc);
  bind_gatherer_class(module);
}

}  // namespace krel_python
