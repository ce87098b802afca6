// TokenizedHost::expand_hosts. Input fields: the name limit (a decimal
// number, clamped to 0 .. 5,000; 5,000 when missing), the notation.
//
// Checked: never more names than the limit; a notation that gives no names
// although it is not blank writes exactly one record "cannot expand ...",
// and a successful one writes none; notation without brackets gives
// its comma-separated pieces, trimmed of blanks; folding the names and
// expanding the fold gives back the same set of names.
//
// The limit keeps each run small: the product of several brackets is as
// large as the limit allows, and the limit is the caller's guard for that.
#include <algorithm>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/hostlist.hpp"
#include "models.hpp"

namespace {

using krel::TokenizedHost;
using krel_fuzz::expect;
using krel_fuzz::quoted;

constexpr int kMaxNames = 5000;

std::string trimmed(std::string const& text) {
  std::size_t begin = 0;
  std::size_t end = text.size();
  while (begin < end && krel_model::is_space(text[begin]))
    ++begin;
  while (end > begin && krel_model::is_space(text[end - 1]))
    --end;
  return text.substr(begin, end - begin);
}

// The names of a notation without brackets: every comma-separated piece.
std::vector<std::string> plain_names(std::string const& notation) {
  std::vector<std::string> names;
  if (trimmed(notation).empty()) return names;
  std::size_t begin = 0;
  while (true) {
    std::size_t const comma = notation.find(',', begin);
    names.push_back(trimmed(notation.substr(begin, comma - begin)));
    if (comma == std::string::npos) return names;
    begin = comma + 1;
  }
}

void check_fold_expands_back(std::vector<std::string> const& names, std::string const& detail) {
  std::string fold;
  try {
    fold = TokenizedHost::get_merged_hosts(names);
  } catch (std::out_of_range const&) {
    return;  // a digit run above INT_MAX cannot be folded
  }
  if (fold.empty()) return;  // only empty names: the fold is the blank notation
  std::vector<std::string> const again = TokenizedHost::expand_hosts(fold);
  std::set<std::string> const want(names.begin(), names.end());
  std::set<std::string> const got(again.begin(), again.end());
  expect(got == want, "expanding the fold gives the same names",
         detail + "\nfold " + quoted(fold) + "\nexpanded again " + quoted(again));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  krel_fuzz::RecordCapture::instance();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::vector<std::string> const input = krel_fuzz::fields(data, size, 2);
  int const limit =
      input[0].empty() ? kMaxNames : std::clamp(krel_fuzz::leading_int(input[0]), 0, kMaxNames);
  std::string const& notation = input[1];
  std::string const detail = "notation " + quoted(notation) + " limit " + std::to_string(limit);
  krel_fuzz::RecordCapture& records = krel_fuzz::RecordCapture::instance();
  records.take();

  std::vector<std::string> const names =
      TokenizedHost::expand_hosts(notation, static_cast<std::size_t>(limit));
  std::string const written = records.take();
  expect(names.size() <= static_cast<std::size_t>(limit), "no more names than the limit", detail);
  bool const blank = trimmed(notation).empty();
  if (names.empty() && !blank) {
    // The record quotes the piece as written, so it is one line only when
    // the notation holds no newline.
    bool const one_line = notation.find('\n') == std::string::npos;
    expect(written.rfind("cannot expand \"", 0) == 0 && written.back() == '\n' &&
               (!one_line || std::count(written.begin(), written.end(), '\n') == 1),
           "a failed expansion writes one record", detail + "\nwritten " + quoted(written));
  } else {
    expect(written.empty(), "a successful expansion writes no record",
           detail + "\nwritten " + quoted(written));
  }
  if (names.empty()) return 0;

  if (notation.find_first_of("[]") == std::string::npos) {
    std::vector<std::string> const plain = plain_names(notation);
    expect(names == plain, "plain notation gives its pieces",
           detail + "\ngot  " + quoted(names) + "\nwant " + quoted(plain));
  }
  check_fold_expands_back(names, detail + "\nnames " + quoted(names));
  return 0;
}
