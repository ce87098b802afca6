// compare_versions. Input fields: version a, version b.
//
// Checked: the function returns true; is_newer equals the model (fields
// split at '.', unsqueezed, read with std::stoi, only the shorter list's
// positions compared); an unparsable field reached by the comparison writes
// exactly the warning "Unable to parse version." and nothing else writes a
// record; no version is newer than itself, and a and b are never newer than
// each other.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/fs.hpp"
#include "models.hpp"

namespace {

using krel_fuzz::expect;
using krel_fuzz::quoted;

bool newer(std::string const& a, std::string const& b, std::string const& detail) {
  krel_fuzz::RecordCapture& records = krel_fuzz::RecordCapture::instance();
  records.take();
  bool is_newer = true;
  bool const answered = krel::str::compare_versions(a, b, is_newer);
  std::string const written = records.take();
  bool warns = false;
  bool const want = krel_model::compare_versions(a, b, warns);
  std::string const what = detail + " (a " + quoted(a) + ", b " + quoted(b) + ")";
  expect(answered, "compare_versions returns true", what);
  expect(is_newer == want, "is_newer equals the model", what);
  expect(written == (warns ? "Unable to parse version.\n" : ""),
         "the warning exactly when a reached field does not parse",
         what + " written " + quoted(written));
  return is_newer;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  krel_fuzz::RecordCapture::instance();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::vector<std::string> const input = krel_fuzz::fields(data, size, 2);
  std::string const& a = input[0];
  std::string const& b = input[1];
  std::string const detail = "a " + quoted(a) + " b " + quoted(b);
  bool const a_newer = newer(a, b, detail);
  bool const b_newer = newer(b, a, detail);
  expect(!(a_newer && b_newer), "never newer both ways", detail);
  expect(!newer(a, a, detail), "no version is newer than itself", detail);
  return 0;
}
