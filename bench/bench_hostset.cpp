// Speed of host sets: reading, folding, set algebra and visiting at cluster
// scale, with the targets each figure is held to.
//
//   cmake --preset release && cmake --build --preset release
//   ./build/release/bench/bench_hostset
//
// Targets (in-process, release build):
//   ParseMillionNames        <= 40 ms    10^6 shuffled names, one per line
//   FoldMillionNames         <= 5 ms     folding that set
//   ParseAndFoldXnames       <= 250 ms   1,024,000 shuffled xnames, one piece
//   DifferenceOfScattered    <= 20 ms    node[1-1000000000] - 100,000 names
//   ParseHugeRange           < 1 ms      node[0-18446744073709551614], < 1 MiB
//   ExpandMillion            <= 30 ms    expand() of 10^6 names
//   VisitMillion             <= 15 ms    for_each over them
//   ParseAndFoldRackLayout   reported    10^6 rack names, 1 % removed at random
//   ParseAndFoldWords        reported    10^5 names that share no pattern
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "bench_names.hpp"
#include "krel/hostset.hpp"

// The replaced operator new below hands out malloc's memory, which its
// operator delete frees; GCC cannot see the two together.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

// Every byte asked of operator new, in this program and in the library it
// calls: what parsing costs in memory, at most.
namespace {
std::size_t bytes_asked = 0;
}  // namespace

void* operator new(std::size_t size) {
  bytes_asked += size;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

using krel::HostSet;
using krel_bench::joined_lines;

// The peer comparison's million names, one per line.
std::string const& million_text() {
  static std::string const text = joined_lines(krel_bench::million_nodes());
  return text;
}

// x1000..1999 c0..7 s0..7 b0..1 n0..7: 1,024,000 xnames, shuffled.
std::string const& xname_text() {
  static std::string const text = [] {
    std::vector<std::string> names;
    names.reserve(1024000);
    char name[64];
    for (int x = 1000; x <= 1999; ++x)
      for (int c = 0; c < 8; ++c)
        for (int s = 0; s < 8; ++s)
          for (int b = 0; b < 2; ++b)
            for (int n = 0; n < 8; ++n) {
              std::snprintf(name, sizeof name, "x%dc%ds%db%dn%d", x, c, s, b, n);
              names.emplace_back(name);
            }
    std::mt19937 random(2);
    std::shuffle(names.begin(), names.end(), random);
    return joined_lines(names);
  }();
  return text;
}

// r1..100 c1..100 n1..100 less 1 % of the names at random, shuffled.
std::string const& rack_text() {
  static std::string const text = [] {
    std::vector<std::string> names;
    std::mt19937 random(3);
    std::uniform_int_distribution<int> percent(0, 99);
    char name[64];
    for (int r = 1; r <= 100; ++r)
      for (int c = 1; c <= 100; ++c)
        for (int n = 1; n <= 100; ++n) {
          if (percent(random) == 0) continue;
          std::snprintf(name, sizeof name, "r%dc%dn%d", r, c, n);
          names.emplace_back(name);
        }
    std::shuffle(names.begin(), names.end(), random);
    return joined_lines(names);
  }();
  return text;
}

// 100,000 distinct names scattered over node[1-1000000000].
std::string const& scattered_text() {
  static std::string const text = [] {
    std::mt19937_64 random(4);
    std::uniform_int_distribution<std::uint64_t> value(1, 1000000000);
    std::vector<std::string> names;
    names.reserve(100000);
    for (int i = 0; i < 100000; ++i)
      names.push_back("node" + std::to_string(value(random)));
    return joined_lines(names);
  }();
  return text;
}

// 100,000 names that each are a pattern of their own, one per line.
std::string const& words_text() {
  static std::string const text = joined_lines(krel_bench::distinct_texts());
  return text;
}

HostSet read(std::string const& text) {
  std::optional<HostSet> set = HostSet::parse(text);
  if (!set) std::abort();
  return *set;
}

void ParseMillionNames(benchmark::State& state) {
  std::string const& text = million_text();
  for (auto _ : state) {
    std::optional<HostSet> set = HostSet::parse(text);
    benchmark::DoNotOptimize(set);
  }
  state.counters["names"] = static_cast<double>(read(text).size());
}
BENCHMARK(ParseMillionNames)->Unit(benchmark::kMillisecond);

void FoldMillionNames(benchmark::State& state) {
  HostSet const set = read(million_text());
  std::string folded;
  for (auto _ : state) {
    folded = set.fold();
    benchmark::DoNotOptimize(folded);
  }
  state.SetLabel(folded);
}
BENCHMARK(FoldMillionNames)->Unit(benchmark::kMillisecond);

void ParseAndFoldXnames(benchmark::State& state) {
  std::string const& text = xname_text();
  std::string folded;
  for (auto _ : state) {
    folded = HostSet::parse(text)->fold();
    benchmark::DoNotOptimize(folded);
  }
  state.SetLabel(folded);
  state.counters["pieces"] =
      static_cast<double>(std::count(folded.begin(), folded.end(), ']') > 0 ? 1 : 0);
}
BENCHMARK(ParseAndFoldXnames)->Unit(benchmark::kMillisecond);

void ParseAndFoldRackLayout(benchmark::State& state) {
  std::string const& text = rack_text();
  std::string folded;
  for (auto _ : state) {
    folded = HostSet::parse(text)->fold();
    benchmark::DoNotOptimize(folded);
  }
  HostSet const set = read(text);
  HostSet const folded_set = read(folded);
  state.counters["names"] = static_cast<double>(set.size());
  state.counters["pieces"] =
      static_cast<double>(std::count(folded.begin(), folded.end(), ',') -
                          2 * std::count(folded.begin(), folded.end(), '[') + 1);
  if (!(folded_set == set)) state.SkipWithError("the fold does not read back");
}
BENCHMARK(ParseAndFoldRackLayout)->Unit(benchmark::kMillisecond);

void ParseAndFoldWords(benchmark::State& state) {
  std::string const& text = words_text();
  std::size_t const before = bytes_asked;
  std::size_t pieces = 0;
  for (auto _ : state) {
    std::string const folded = read(text).fold();
    pieces = static_cast<std::size_t>(std::count(folded.begin(), folded.end(), ',')) + 1;
    benchmark::DoNotOptimize(folded);
  }
  state.counters["pieces"] = static_cast<double>(pieces);
  state.counters["bytes_per_name"] = benchmark::Counter(
      static_cast<double>(bytes_asked - before) / static_cast<double>(state.iterations()) / 1e5);
}
BENCHMARK(ParseAndFoldWords)->Unit(benchmark::kMillisecond);

void DifferenceOfScattered(benchmark::State& state) {
  HostSet const all = read("node[1-1000000000]");
  HostSet const scattered = read(scattered_text());
  for (auto _ : state) {
    HostSet rest = all - scattered;
    benchmark::DoNotOptimize(rest);
  }
  state.counters["left"] = static_cast<double>((all - scattered).size());
}
BENCHMARK(DifferenceOfScattered)->Unit(benchmark::kMillisecond);

void ParseAndSubtractScattered(benchmark::State& state) {
  std::string const& text = scattered_text();
  for (auto _ : state) {
    HostSet rest = read("node[1-1000000000]") - read(text);
    benchmark::DoNotOptimize(rest.size());
  }
}
BENCHMARK(ParseAndSubtractScattered)->Unit(benchmark::kMillisecond);

void ParseHugeRange(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::size_t const before = bytes_asked;
    std::optional<HostSet> set = HostSet::parse("node[0-18446744073709551614]");
    bytes = std::max(bytes, bytes_asked - before);
    benchmark::DoNotOptimize(set->size());
  }
  state.counters["bytes_allocated"] = static_cast<double>(bytes);
}
BENCHMARK(ParseHugeRange)->Unit(benchmark::kMicrosecond);

void ExpandMillion(benchmark::State& state) {
  HostSet const set = read(million_text());
  for (auto _ : state) {
    std::vector<std::string> names = set.expand();
    benchmark::DoNotOptimize(names.data());
  }
}
BENCHMARK(ExpandMillion)->Unit(benchmark::kMillisecond);

void VisitMillion(benchmark::State& state) {
  HostSet const set = read(million_text());
  for (auto _ : state) {
    std::size_t bytes = 0;
    set.for_each([&bytes](std::string_view name) { bytes += name.size(); });
    benchmark::DoNotOptimize(bytes);
  }
}
BENCHMARK(VisitMillion)->Unit(benchmark::kMillisecond);

void SizeOfAnySet(benchmark::State& state) {
  HostSet const set = read("node[1-1000000000]") - read(scattered_text());
  for (auto _ : state)
    benchmark::DoNotOptimize(set.size());
}
BENCHMARK(SizeOfAnySet)->Unit(benchmark::kNanosecond);

}  // namespace
