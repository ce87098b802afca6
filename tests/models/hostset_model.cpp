#include "hostset_model.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

namespace krel_model {

HostSetAlgebra host_set_algebra(HostNames const& a, HostNames const& b) {
  HostSetAlgebra result;
  std::set_union(a.begin(), a.end(), b.begin(), b.end(),
                 std::inserter(result.both, result.both.end()));
  std::set_intersection(a.begin(), a.end(), b.begin(), b.end(),
                        std::inserter(result.common, result.common.end()));
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(),
                      std::inserter(result.only_a, result.only_a.end()));
  std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(),
                                std::inserter(result.only_one, result.only_one.end()));
  result.a_in_b = std::includes(b.begin(), b.end(), a.begin(), a.end());
  return result;
}

RandomHostSet random_host_set(std::mt19937& random, int max_names, int max_value) {
  // '#' stands for a number.
  static std::vector<std::string> const stems = {
      "n#", "cn#", "r#c#", "x#c#s#", "x#c#s#b#", "rack#-node#.ib", "login"};
  std::uniform_int_distribution<std::size_t> stem_of(0, stems.size() - 1);
  std::uniform_int_distribution<int> value_of(0, max_value);
  std::uniform_int_distribution<int> padded(0, 3);
  int const count = std::uniform_int_distribution<int>(0, max_names)(random);
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) {
    std::string name;
    for (char c : stems[stem_of(random)]) {
      if (c != '#') {
        name += c;
        continue;
      }
      if (padded(random) == 0) name += '0';
      name += std::to_string(value_of(random));
    }
    names.push_back(name);
  }
  std::shuffle(names.begin(), names.end(), random);
  RandomHostSet result;
  for (std::string const& name : names) {
    result.notation += name + (random() % 2 == 0 ? "," : "\n");
    result.names.insert(name);
  }
  return result;
}

}  // namespace krel_model
