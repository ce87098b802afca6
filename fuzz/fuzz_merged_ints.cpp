// get_merged_ints (and its TokenizedHost forwarder, and int_vect_to_str).
// Input fields: zero count, the values (every decimal number in the text,
// a '-' in front is a sign), a separator for int_vect_to_str.
//
// Checked: the result equals the plain model of the folding steps;
// `multiple` says whether there are two distinct values; the result does
// not depend on the order of the values; for non-negative values
// expand_ranges reads the fold back as the sorted distinct values.
//
// Excluded: zero counts above 1000. Every number carries that many zeros,
// so an INT_MAX count asks for gigabytes per value.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/hostlist.hpp"
#include "krel/str.hpp"
#include "models.hpp"

namespace {

using krel_fuzz::expect;
using krel_fuzz::quoted;

constexpr int kMaxZeroes = 1000;

std::string joined(std::vector<int> const& values, std::string const& separator) {
  std::string text;
  for (std::size_t i = 0; i < values.size(); ++i) {
    text += (i ? separator : "") + std::to_string(values[i]);
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::vector<std::string> const input = krel_fuzz::fields(data, size, 3);
  int const zeroes = krel_fuzz::leading_int(input[0]);
  if (zeroes > kMaxZeroes) return 0;
  std::vector<int> const values = krel_fuzz::all_ints(input[1]);
  std::string const detail = "values " + quoted(values) + " zeroes " + std::to_string(zeroes);

  bool multiple = true;
  std::string const fold = krel::str::get_merged_ints(values, multiple, zeroes);
  bool want_multiple = false;
  std::string const want = krel_model::merged_ints(values, want_multiple, zeroes);
  expect(fold == want, "fold equals the model",
         detail + "\ngot  " + quoted(fold) + "\nwant " + quoted(want));
  std::vector<int> distinct = values;
  std::sort(distinct.begin(), distinct.end());
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
  expect(multiple == (distinct.size() >= 2), "multiple means two distinct values", detail);

  bool forwarded_multiple = !multiple;
  expect(krel::TokenizedHost::get_merged_hosts_ints(values, forwarded_multiple, zeroes) == fold &&
             forwarded_multiple == multiple,
         "TokenizedHost forwards unchanged", detail);

  std::vector<int> const reversed(values.rbegin(), values.rend());
  bool reversed_multiple = false;
  expect(krel::str::get_merged_ints(reversed, reversed_multiple, zeroes) == fold,
         "fold independent of order", detail);

  if (!distinct.empty() && distinct.front() >= 0 && zeroes >= 0) {
    expect(krel::str::expand_ranges(fold) == distinct, "expand_ranges reads the fold back",
           detail + "\nfold " + quoted(fold));
  }

  expect(krel::str::int_vect_to_str(values, input[2]) == joined(values, input[2]),
         "int_vect_to_str joins in order", detail + " separator " + quoted(input[2]));
  return 0;
}
