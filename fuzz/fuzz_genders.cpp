// Group sources from a genders file. Input: the file's text.
//
// Checked: a refused file gives no resolver and one line naming it; a loaded one has
// the one source "genders", each attribute reads as listed, and regrouping
// every node of the file reads back as the same set.
#include <cstdint>
#include <optional>
#include <string>

#include "fuzz_groups_support.hpp"
#include "fuzz_support.hpp"
#include "krel/hostgroups.hpp"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  std::string const detail = "genders " + krel_fuzz::quoted(text);
  std::optional<krel::GroupResolver> const groups =
      krel_fuzz::load_scratch("genders", text, &krel::GroupResolver::from_genders, detail);
  if (!groups) return 0;
  krel_fuzz::expect(groups->default_source() == "genders", "the source is \"genders\"",
                    detail + "\ndefault " + krel_fuzz::quoted(groups->default_source()));
  krel_fuzz::walk_resolver(*groups, detail);
  return 0;
}
