// Speed of host-list folding and range expansion at cluster scale.
//
//   cmake --preset release && cmake --build --preset release
//   ./build/release/bench/bench_hostlist
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "bench_names.hpp"
#include "krel/hostlist.hpp"
#include "krel/str.hpp"

namespace {

using krel_bench::distinct_texts;
using krel_bench::million_nodes;
using krel_bench::Names;

// "r1c1n1" .. "r100c100n10": racks, chassis and nodes.
Names const& rack_names() {
  static Names const names = [] {
    Names made;
    made.reserve(100000);
    for (int r = 1; r <= 100; ++r) {
      for (int c = 1; c <= 100; ++c) {
        for (int n = 1; n <= 10; ++n) {
          made.push_back("r" + std::to_string(r) + "c" + std::to_string(c) + "n" +
                         std::to_string(n));
        }
      }
    }
    return made;
  }();
  return names;
}

void merge(benchmark::State& state, Names const& names) {
  std::size_t length = 0;
  for (auto _ : state) {
    std::string const merged = krel::TokenizedHost::get_merged_hosts(names);
    length = merged.size();
    benchmark::DoNotOptimize(merged.data());
  }
  state.counters["names"] = static_cast<double>(names.size());
  state.counters["result_bytes"] = static_cast<double>(length);
}

void BM_MergeMillionShuffledNodes(benchmark::State& state) {
  merge(state, million_nodes());
}
void BM_MergeHundredThousandTexts(benchmark::State& state) {
  merge(state, distinct_texts());
}
void BM_MergeHundredThousandRackNames(benchmark::State& state) {
  merge(state, rack_names());
}

void BM_ExpandTenMillionValues(benchmark::State& state) {
  std::size_t count = 0;
  for (auto _ : state) {
    std::vector<int> const values = krel::str::expand_ranges("0-9999999");
    count = values.size();
    benchmark::DoNotOptimize(values.data());
  }
  state.counters["values"] = static_cast<double>(count);
}

// Expanding notation back into names: the fold of the million shuffled nodes,
// and the fold of the rack names.
void expand(benchmark::State& state, std::string const& notation) {
  std::size_t count = 0;
  for (auto _ : state) {
    std::vector<std::string> const names = krel::TokenizedHost::expand_hosts(notation);
    count = names.size();
    benchmark::DoNotOptimize(names.data());
  }
  state.counters["names"] = static_cast<double>(count);
}

void BM_ExpandMillionNodeFold(benchmark::State& state) {
  expand(state, "node[0000001-1000000]");
}
void BM_ExpandRackNameFold(benchmark::State& state) {
  static std::string const folded = krel::TokenizedHost::get_merged_hosts(rack_names());
  expand(state, folded);
}

}  // namespace

BENCHMARK(BM_MergeMillionShuffledNodes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MergeHundredThousandTexts)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MergeHundredThousandRackNames)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpandTenMillionValues)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpandMillionNodeFold)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpandRackNameFold)->Unit(benchmark::kMillisecond);
