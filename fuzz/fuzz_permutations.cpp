// get_num_permutations_from_string. Input fields: the value, the default
// count (a decimal number), the source named in the warning.
//
// Checked: the count equals the model (std::stoi, negative values invalid,
// "all" and "ALL" for 0); an invalid value writes exactly the one warning
// record with its exact text, a valid one writes nothing.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/str.hpp"
#include "models.hpp"

using krel_fuzz::expect;
using krel_fuzz::quoted;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  krel_fuzz::RecordCapture::instance();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::vector<std::string> const input = krel_fuzz::fields(data, size, 3);
  std::string const& value = input[0];
  auto const default_count = static_cast<unsigned int>(krel_fuzz::leading_int(input[1]));
  std::string const& source = input[2];
  krel_fuzz::RecordCapture& records = krel_fuzz::RecordCapture::instance();
  records.take();

  unsigned int const got =
      krel::str::get_num_permutations_from_string(value, default_count, source);
  std::string const written = records.take();
  bool warns = false;
  unsigned int const want = krel_model::permutations(value, default_count, warns);
  std::string const detail = "value " + quoted(value) + " default " + std::to_string(default_count);
  expect(got == want, "count equals the model",
         detail + " got " + std::to_string(got) + " want " + std::to_string(want));
  std::string const warning =
      warns ? "Invalid value specified for number of nodelist permutations in " + source +
                  ". Valid values are positive integers, they keyword 'all', or the number 0 to "
                  "represent all\n"
            : std::string();
  expect(written == warning, "the warning record exactly when invalid",
         detail + "\nwritten " + quoted(written));
  return 0;
}
