// HostSet algebra and selection against a std::set<std::string> model.
// Input fields: two notations, then a selection (index ranges).
//
// Checked, for sets of up to 5,000 names: union, intersection, difference
// and symmetric difference give the model's names and counts; subset and
// equality agree with it; at, slice, select and split pick the names at the
// model's places in iteration order; contiguous pieces make up the set;
// every set made passes HostSet::verify; the results refold and reread to
// themselves.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "hostset_model.hpp"
#include "krel/hostset.hpp"

namespace {

using krel::HostSet;
using krel_fuzz::expect;
using krel_fuzz::expect_verified;
using krel_fuzz::quoted;
using Model = krel_model::HostNames;

constexpr std::uint64_t kMaxNames = 5000;

Model model_of(HostSet const& set) {
  std::vector<std::string> const names = set.expand();
  return Model(names.begin(), names.end());
}

void check(HostSet const& got, Model const& want, std::string const& what,
           std::string const& detail) {
  expect_verified(got, what, detail);
  expect(got.size() == want.size(), what + ": count", detail + "\ngot " + quoted(got.fold()));
  expect(model_of(got) == want, what + ": names", detail + "\ngot " + quoted(got.fold()));
  std::optional<HostSet> const again = HostSet::parse(got.fold());
  expect(again.has_value() && *again == got, what + ": rereads", detail);
}

// The numeric selection and a split into many parts (cut while walking the
// names) against the names by place.
void check_picks(HostSet const& a, std::vector<std::string> const& order, std::uint64_t first,
                 std::uint64_t last, std::uint64_t step, std::string const& detail) {
  std::optional<HostSet> const picked = a.select({{first, last, step}, {0, 0, 1}});
  expect(picked.has_value(), "numeric select", detail);
  std::set<std::uint64_t> places{0};
  for (std::uint64_t index = first; index <= last; index += step)
    places.insert(index);
  std::vector<std::string> want;
  for (std::uint64_t const index : places) {
    if (index < order.size()) want.push_back(order[index]);
  }
  expect_verified(*picked, "numeric select", detail);
  expect(picked->expand() == want, "numeric select picks by place", detail);
  std::vector<std::string> joined;
  for (HostSet const& part : a.split(65 + first % 40)) {
    expect_verified(part, "split in many parts", detail);
    std::vector<std::string> const names = part.expand();
    joined.insert(joined.end(), names.begin(), names.end());
  }
  expect(joined == order, "many parts follow each other in order", detail);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::vector<std::string> const field = krel_fuzz::fields(data, size, 3);
  std::optional<HostSet> const a = HostSet::parse(field[0]);
  std::optional<HostSet> const b = HostSet::parse(field[1]);
  if (!a || !b || a->size() > kMaxNames || b->size() > kMaxNames) return 0;
  std::string const detail = "a " + quoted(a->fold()) + "\nb " + quoted(b->fold());
  Model const x = model_of(*a);
  Model const y = model_of(*b);
  expect_verified(*a, "a", detail);
  expect_verified(*b, "b", detail);
  krel_model::HostSetAlgebra const want = krel_model::host_set_algebra(x, y);
  check(*a | *b, want.both, "union", detail);
  check(*a & *b, want.common, "intersection", detail);
  check(*a - *b, want.only_a, "difference", detail);
  check(*a ^ *b, want.only_one, "symmetric difference", detail);
  expect(a->is_subset_of(*b) == want.a_in_b, "subset", detail);
  expect((*a == *b) == (x == y), "equality", detail);
  for (std::string const& name : y)
    expect(a->contains(name) == (x.count(name) == 1), "contains",
           detail + "\nname " + quoted(name));

  // Places in iteration order.
  std::vector<std::string> const order = a->expand();
  for (std::size_t i = 0; i < order.size(); i += 1 + order.size() / 64)
    expect(a->at(i) == order[i], "at", detail + "\nindex " + std::to_string(i));
  expect(!a->at(order.size()).has_value(), "at past the end", detail);
  std::size_t const first = order.empty() ? 0 : field[2].size() % (order.size() + 1);
  std::size_t const last = first + field[1].size() % (order.size() + 1);
  HostSet const slice = a->slice(first, last);
  expect_verified(slice, "slice", detail);
  std::vector<std::string> const want_slice(
      order.begin() + static_cast<std::ptrdiff_t>(std::min(first, order.size())),
      order.begin() + static_cast<std::ptrdiff_t>(std::min(last, order.size())));
  expect(slice.expand() == want_slice, "slice", detail);
  std::optional<HostSet> const selected = a->select(field[2]);
  if (selected) {
    expect_verified(*selected, "select", detail);
    expect(selected->is_subset_of(*a), "a selection is a subset", detail);
  }
  check_picks(*a, order, first, last, 1 + field[0].size() % 4, detail);
  std::uint64_t const parts = 1 + field[2].size() % 7;
  std::vector<std::string> joined;
  for (HostSet const& part : a->split(parts)) {
    expect_verified(part, "split", detail);
    std::vector<std::string> const names = part.expand();
    joined.insert(joined.end(), names.begin(), names.end());
  }
  expect(joined == order, "split parts follow each other in order", detail);
  HostSet pieces;
  for (HostSet const& piece : a->contiguous()) {
    expect_verified(piece, "contiguous", detail);
    pieces |= piece;
  }
  expect(pieces == *a, "contiguous pieces make up the set", detail);
  return 0;
}
