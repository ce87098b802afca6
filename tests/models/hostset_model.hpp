// The model of krel::HostSet: a plain std::set of names, and random sets of
// host names to hold the two against each other. The unit tests, the
// interop tests and the fuzz targets share them.
#pragma once

#include <random>
#include <set>
#include <string>

namespace krel_model {

using HostNames = std::set<std::string>;

// What the set operations and the subset test give on two plain sets, by
// the standard algorithms.
struct HostSetAlgebra {
  HostNames both;      // a | b
  HostNames common;    // a & b
  HostNames only_a;    // a - b
  HostNames only_one;  // a ^ b
  bool a_in_b = false;
};
HostSetAlgebra host_set_algebra(HostNames const& a, HostNames const& b);

// Random names over several patterns (one to four numbers, text on both
// sides of a number, a name without numbers), values 0 .. max_value, one in
// four with a padding zero; as notation (shuffled, duplicates kept, names
// separated by commas or line feeds) and as the plain set it stands for.
struct RandomHostSet {
  std::string notation;
  HostNames names;
};
RandomHostSet random_host_set(std::mt19937& random, int max_names, int max_value);

}  // namespace krel_model
