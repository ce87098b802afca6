// Group sources from a groups.d YAML file. Input: the file's text.
//
// Checked: a refused file gives no resolver and one line naming the file;
// a loaded one lists its sources with the default first, each group reads
// ("@src:g") as listed, "@@src" holds the group names, and regrouping every
// node of a source ("@src:*") reads back as the same set.
#include <cstdint>
#include <optional>
#include <string>

#include "fuzz_groups_support.hpp"
#include "fuzz_support.hpp"
#include "krel/hostgroups.hpp"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  std::string const detail = "yaml " + krel_fuzz::quoted(text);
  std::optional<krel::GroupResolver> const groups =
      krel_fuzz::load_scratch("groups.yaml", text, &krel::GroupResolver::from_yaml, detail);
  if (!groups) return 0;
  krel_fuzz::walk_resolver(*groups, detail);
  return 0;
}
