// HostSet reading. Input: notation.
//
// Checked: bad notation gives no set, one message `cannot read "..."`, and
// the same answer from the readers in the order written (nothing visited);
// a set refolds and rereads to itself, whatever the fold options (folds of
// at most 64 KiB, so that the work stays bounded by the size of the set's
// tree, whatever the notation stands for; axes for sets of up to 5,000
// names, as they write names out); its count
// agrees with its names, and (when small) its names are exactly the distinct
// names the order-written reader visits, each contained in it. Every set
// made passes HostSet::verify.
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/hostset.hpp"

namespace {

using krel::HostSet;
using krel::HostSetFoldOptions;
using krel_fuzz::expect;
using krel_fuzz::expect_verified;
using krel_fuzz::quoted;

constexpr std::uint64_t kSmall = 5000;
constexpr std::size_t kMaxFoldBytes = 1 << 16;

// Refolds `set` and rereads the fold when it is at most kMaxFoldBytes long:
// a short notation may stand for a fold of megabytes (stepped values of
// many widths), which would be read again for each option.
void check_reread(HostSet const& set, HostSetFoldOptions const& options,
                  std::string const& detail) {
  std::string const folded = set.fold(options);
  if (folded.size() > kMaxFoldBytes) return;
  std::string error;
  std::optional<HostSet> const again = HostSet::parse(folded, &error);
  // The details are written only on failure: a fold may be megabytes long.
  if (!again.has_value())
    krel_fuzz::fail("a fold reads back", detail + "\nfold " + quoted(folded) + "\n" + error);
  expect_verified(*again, "a reread fold", detail);
  if (*again != set)
    krel_fuzz::fail("a fold reads back as the same set",
                    detail + "\nfold " + quoted(folded) + "\nreread " + quoted(again->fold()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const notation(reinterpret_cast<char const*>(data), size);
  std::string const detail = "notation " + quoted(notation);
  std::string error;
  std::optional<HostSet> const set = HostSet::parse(notation, &error);
  std::string written_error;
  std::optional<std::uint64_t> const written = HostSet::count_written(notation, &written_error);
  if (!set) {
    expect(error.rfind("cannot read \"", 0) == 0, "a message names the piece",
           detail + "\n" + error);
    // A set is also refused for the values it would keep apart and for
    // digits next to a bracket that make a number too large (the message
    // then names the whole piece twice); the order-written reader does not
    // read numbers there. Anything else both refuse.
    std::string const marker = "\": number too large in ";
    std::size_t const piece_end = error.find(marker);
    bool const joined_digits =
        piece_end != std::string::npos &&
        error.substr(piece_end + marker.size()) == error.substr(13, piece_end - 13);
    if (error.find("separate values") == std::string::npos && !joined_digits)
      expect(!written.has_value(), "both readers refuse", detail + "\n" + error);
    if (!written) {
      std::size_t visited = 0;
      bool const ok = HostSet::for_each_written(
          notation, [&visited](std::string_view) { ++visited; }, nullptr);
      expect(!ok && visited == 0, "nothing is visited on bad notation", detail);
    }
    return 0;
  }
  expect(error.empty(), "no message for a good notation", detail + "\n" + error);
  expect_verified(*set, "a set read", detail);
  expect(written.has_value() || written_error.find("names") != std::string::npos,
         "the order-written reader reads it too", detail + "\n" + written_error);
  if (written) expect(*written >= set->size(), "duplicates only add names", detail);

  check_reread(*set, {}, detail);
  HostSetFoldOptions options;
  options.autostep = 3;
  check_reread(*set, options, detail);
  // Positions left out of the axes are written value by value: only for
  // sets small enough to write out.
  if (set->size() <= kSmall) {
    options.autostep = 0;
    options.axes = {-1};
    check_reread(*set, options, detail);
    options.axes = {1};
    check_reread(*set, options, detail);
  }

  if (!written || *written > kSmall) return 0;
  std::set<std::string> distinct;
  HostSet::for_each_written(notation,
                            [&distinct](std::string_view name) { distinct.emplace(name); });
  std::vector<std::string> const names = set->expand();
  expect(names.size() == set->size(), "size counts the names", detail);
  expect(std::set<std::string>(names.begin(), names.end()) == distinct,
         "the set holds the distinct names written", detail + "\nset " + quoted(set->fold()));
  for (std::string const& name : names)
    expect(set->contains(name), "every name is contained", detail + "\nname " + quoted(name));
  return 0;
}
