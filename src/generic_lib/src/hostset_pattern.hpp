// Host sets: patterns, the names that differ only in their numbers, and
// their keys.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_node.hpp"

namespace krel {
namespace hostset_internal {

// The count of numbers of a pattern: the "%s" in its key.
std::size_t count_numbers(std::string_view key);

// The names of one pattern.
struct Pattern {
  // The order key: the text pieces joined by "%s" in place of each number
  // ('%' in the text is written "%%"). Patterns sort by it byte-wise, and
  // the text pieces are read back from it (PatternTexts).
  std::string key;
  NodePtr root;  // the unit node when there are no numbers

  std::size_t numbers() const { return count_numbers(key); }
};

// Makes the key of a pattern from its text pieces.
std::string pattern_key(std::vector<std::string> const& texts);

// The text pieces of a pattern, read back from its key: numbers + 1 of
// them. A reader is meant to be kept from pattern to pattern, so that its
// room is reused.
//   PatternTexts texts;
//   texts.read("x%sc%s");  // texts.size() == 3: "x", "c", ""
//   texts.read("a%%b%s");  // texts[0] == "a%b", texts[1] == ""
class PatternTexts {
 public:
  PatternTexts() = default;
  explicit PatternTexts(std::string_view key) { read(key); }
  PatternTexts(PatternTexts const&) = delete;
  PatternTexts& operator=(PatternTexts const&) = delete;

  void read(std::string_view key);
  std::size_t size() const { return texts_.size(); }
  std::string_view operator[](std::size_t i) const { return texts_[i]; }

 private:
  std::string unescaped_;  // used only when a text holds '%'
  std::vector<std::string_view> texts_;
};

}  // namespace hostset_internal
}  // namespace krel
