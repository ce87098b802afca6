// Expansion of host-list notation: TokenizedHost::expand_hosts, a thin call
// into the host-set reader (hostset_read.cpp), which is the library's one
// reader of notation. What stays particular to expand_hosts: only commas
// separate pieces (blanks inside a piece belong to the name), an empty piece
// is an empty name, numbers have at most 18 significant digits, a name limit,
// and its own wording of the warning record.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_read.hpp"
#include "krel/hostlist.hpp"
#include "record.hpp"

namespace krel {
namespace {

constexpr char kRecordSource[] = "src/generic_lib/src/hostlist_expand";

}  // namespace

std::vector<std::string> TokenizedHost::expand_hosts(std::string const& notation,
                                                     std::size_t max_names) {
  hostset_internal::ReadOptions options;
  options.blank_separates = false;
  options.legacy_messages = true;
  options.max_significant_digits = 18;
  options.max_names = max_names;
  std::vector<std::string> names;
  hostset_internal::Count count = 0;
  std::string error;
  if (!hostset_internal::check_written(notation, options, count, error)) {
    KREL_RECORD(4) << error;
    return names;
  }
  // The count is known and within max_names before anything is generated.
  names.reserve(static_cast<std::size_t>(count));
  hostset_internal::visit_checked(notation, options,
                                  [&names](std::string_view name) { names.emplace_back(name); });
  return names;
}

}  // namespace krel
