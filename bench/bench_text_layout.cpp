#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "krel/text_layout.hpp"

namespace {

constexpr std::size_t kTextBytes = 10 * 1000 * 1000;

// Short words (1 to 8 letters) separated by single spaces, a newline after
// every `words_per_line` words (0: one single line), about `bytes` long.
std::string short_words(std::size_t bytes, int words_per_line) {
  std::string text;
  text.reserve(bytes + 16);
  std::uint32_t state = 2463534242u;
  int words = 0;
  while (text.size() < bytes) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    std::size_t const length = 1 + state % 8;
    for (std::size_t i = 0; i < length; ++i)
      text += static_cast<char>('a' + (state >> (i * 3)) % 26);
    ++words;
    text += words_per_line != 0 && words % words_per_line == 0 ? '\n' : ' ';
  }
  return text;
}

void run_word_wrap(benchmark::State& state, std::string const& text) {
  std::string const indent(4, ' ');
  for (auto _ : state) {
    std::string wrapped = krel::str::word_wrap(text, 80, indent);
    benchmark::DoNotOptimize(wrapped.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
}

// Paragraphs of 200 words, as in help texts and report bodies.
void BM_WordWrapParagraphs(benchmark::State& state) {
  static std::string const text = short_words(kTextBytes, 200);
  run_word_wrap(state, text);
}
BENCHMARK(BM_WordWrapParagraphs)->Unit(benchmark::kMillisecond);

// The whole 10 MB as one line.
void BM_WordWrapOneLine(benchmark::State& state) {
  static std::string const text = short_words(kTextBytes, 0);
  run_word_wrap(state, text);
}
BENCHMARK(BM_WordWrapOneLine)->Unit(benchmark::kMillisecond);

// 100,000 "key: value value value" lines with keys of a few lengths.
void BM_ColumnWrap(benchmark::State& state) {
  static std::string const text = [] {
    char const* const keys[] = {"key", "k", "longer key", "name"};
    std::string lines;
    for (int i = 0; i < 100000; ++i) {
      lines += keys[i % 4];
      lines += ": value value value\n";
    }
    return lines;
  }();
  for (auto _ : state) {
    std::string wrapped = krel::str::column_wrap(text, 80, "", ':', false);
    benchmark::DoNotOptimize(wrapped.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_ColumnWrap)->Unit(benchmark::kMillisecond);

}  // namespace
