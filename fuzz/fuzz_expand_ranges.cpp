// expand_ranges on the whole input as a range list.
//
// Checked: the result equals the plain model of expand_ranges' contract in
// krel/ranges.hpp (std::stoul bounds, ascending ranges only, values
// narrowed to their low 32 bits, any bad item empties the result); it is
// strictly ascending; for non-negative values folding it with
// get_merged_ints and expanding again gives it back.
//
// Excluded: lists whose items, up to the first bad one, name more than
// 20,000 values. The contract enumerates every value of a range ("0-4294967295"
// names every int, 16 GiB), so such results are bounded only by memory.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/str.hpp"
#include "models.hpp"

namespace {

using krel_fuzz::expect;
using krel_fuzz::quoted;

constexpr std::size_t kMaxValues = 20000;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const list(reinterpret_cast<char const*>(data), size);
  std::optional<std::vector<int>> const want = krel_model::expand_ranges(list, kMaxValues);
  if (!want) return 0;
  std::vector<int> const got = krel::str::expand_ranges(list);
  expect(got == *want, "expansion equals the model",
         "list " + quoted(list) + "\ngot  " + quoted(got) + "\nwant " + quoted(*want));
  expect(
      std::adjacent_find(got.begin(), got.end(), [](int a, int b) { return a >= b; }) == got.end(),
      "strictly ascending", quoted(list));
  if (!got.empty() && got.front() >= 0) {
    bool multiple = false;
    std::string const fold = krel::str::get_merged_ints(got, multiple, 0);
    expect(krel::str::expand_ranges(fold) == got, "fold of the expansion expands back",
           "list " + quoted(list) + " fold " + quoted(fold));
  }
  return 0;
}
