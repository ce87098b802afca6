// Name lists shared by the benchmark programs, made once per program.
#pragma once

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace krel_bench {

using Names = std::vector<std::string>;

// "node0000001" .. "node1000000", shuffled (the peer comparison's million
// names).
inline Names const& million_nodes() {
  static Names const names = [] {
    Names made;
    made.reserve(1000000);
    char name[32];
    for (int i = 1; i <= 1000000; ++i) {
      std::snprintf(name, sizeof name, "node%07d", i);
      made.emplace_back(name);
    }
    std::mt19937 random(1);
    std::shuffle(made.begin(), made.end(), random);
    return made;
  }();
  return names;
}

// 100,000 names of 100,000 different texts: a random ten-letter word, "-"
// and one digit from 1 to 9. Every name is a pattern of its own.
inline Names const& distinct_texts() {
  static Names const names = [] {
    std::mt19937 random(2);
    std::uniform_int_distribution<int> letter('a', 'z');
    std::uniform_int_distribution<int> digit('1', '9');
    Names made;
    made.reserve(100000);
    while (made.size() < 100000) {
      std::string name(12, '-');
      for (int i = 0; i < 10; ++i)
        name[static_cast<std::size_t>(i)] = static_cast<char>(letter(random));
      name[11] = static_cast<char>(digit(random));
      made.push_back(name);
    }
    return made;
  }();
  return names;
}

// The names one per line.
inline std::string joined_lines(Names const& names) {
  std::string text;
  for (std::string const& name : names) {
    text += name;
    text += '\n';
  }
  return text;
}

}  // namespace krel_bench
