// Set expressions with group references, over a fixed set of sources.
// Input: the expression.
//
// Checked: a refused expression gives no set and one line; a read one,
// regrouped over each source (with and without prefix and overlap), reads
// back as the same set, and its size agrees with its names.
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "fuzz_groups_support.hpp"
#include "fuzz_support.hpp"
#include "krel/hostgroups.hpp"

namespace {

// Racks, roles, nesting across sources, an empty group and a cycle.
constexpr char kGroups[] = R"(site:
  rack1: 'cn[01-16]'
  rack2: 'cn[17-32]'
  compute: '@rack[1-2]'
  gpu: 'gpu[1-4]'
  login: [login1, login2]
  down: 'cn[05,20],gpu3'
  empty: ''
  all: '@compute,@gpu,@login'
  loop: '@pool'
  pool: '@loop'
roles:
  ml: '@site:gpu!@site:down'
  admin: 'login1,cn01'
  even: 'cn[02-32/2]'
)";

krel::GroupResolver const& resolver() {
  static krel::GroupResolver const groups = [] {
    std::string const path = krel_fuzz::ScratchFolder::instance().write("groups.yaml", kGroups);
    std::string error;
    std::optional<krel::GroupResolver> loaded = krel::GroupResolver::from_yaml(path, &error);
    if (!loaded) krel_fuzz::fail("the fixed groups load", error);
    return std::move(*loaded);
  }();
  return groups;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const expression(reinterpret_cast<char const*>(data), size);
  std::string const detail = "expression " + krel_fuzz::quoted(expression);
  krel::GroupResolver const& groups = resolver();
  std::string error;
  std::optional<krel::HostSet> const set = groups.parse(expression, &error);
  if (!set) {
    krel_fuzz::expect_one_line(error, detail);
    return 0;
  }
  krel_fuzz::expect_verified(*set, "expression", detail);
  if (set->size() <= 5000)
    krel_fuzz::expect(set->expand().size() == set->size(), "size counts the names", detail);
  for (char const* source : {"", "site", "roles"})
    krel_fuzz::expect_regroup_round_trip(groups, *set, source, detail);
  return 0;
}
