// Host sets: the count of a whole set and the set algebra over patterns.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "hostset_data.hpp"

namespace krel {
namespace hostset_internal {

void recount(Data& storage) {
  Count count = 0;
  for (Pattern const& pattern : storage.patterns)
    count = add_counts(count, pattern.root->count);
  storage.count = count;
}

std::shared_ptr<Data> combine_storage(Data const* a, Data const* b, Operation operation) {
  auto result = std::make_shared<Data>();
  static Data const empty;
  if (a == nullptr) a = &empty;
  if (b == nullptr) b = &empty;
  bool const keep_only_a = operation != Operation::kIntersection;
  bool const keep_only_b =
      operation == Operation::kUnion || operation == Operation::kSymmetricDifference;
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a->patterns.size() || j < b->patterns.size()) {
    int order;
    if (j == b->patterns.size()) {
      order = -1;
    } else if (i == a->patterns.size()) {
      order = 1;
    } else {
      int const c = a->patterns[i].key.compare(b->patterns[j].key);
      order = c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    if (order < 0) {
      if (keep_only_a) result->patterns.push_back(a->patterns[i]);
      ++i;
    } else if (order > 0) {
      if (keep_only_b) result->patterns.push_back(b->patterns[j]);
      ++j;
    } else {
      Pattern const& pattern = a->patterns[i];
      NodePtr root = combine(pattern.root, b->patterns[j].root, operation, pattern.numbers());
      if (root) result->patterns.push_back(Pattern{pattern.key, std::move(root)});
      ++i;
      ++j;
    }
  }
  recount(*result);
  return result;
}

}  // namespace hostset_internal
}  // namespace krel
