// Host sets: pattern keys and the texts read back from them.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_pattern.hpp"

namespace krel {
namespace hostset_internal {

std::size_t count_numbers(std::string_view key) {
  std::size_t count = 0;
  for (std::size_t i = 0; i + 1 < key.size(); ++i) {
    if (key[i] != '%') continue;
    if (key[i + 1] == 's') ++count;
    ++i;  // "%s" or "%%": the next character is taken
  }
  return count;
}

void PatternTexts::read(std::string_view key) {
  texts_.clear();
  // Without '%' in the texts, each is the part of the key between two "%s".
  char const* const data = key.data();
  std::size_t begin = 0;
  std::size_t i = 0;
  while (true) {
    i = key.find('%', i);
    if (i == std::string_view::npos) {
      texts_.emplace_back(data + begin, key.size() - begin);
      return;
    }
    if (i + 1 < key.size() && key[i + 1] == '%') break;
    texts_.emplace_back(data + begin, i - begin);
    i += 2;
    begin = i;
  }
  // Texts with '%' are written out without the doubling; the views are
  // taken once the copy no longer grows.
  texts_.clear();
  unescaped_.clear();
  std::vector<std::size_t> ends;
  for (i = 0; i < key.size(); ++i) {
    if (key[i] == '%' && i + 1 < key.size() && key[++i] == 's') {
      ends.push_back(unescaped_.size());
      continue;
    }
    unescaped_ += key[i];
  }
  ends.push_back(unescaped_.size());
  std::string_view const all = unescaped_;
  begin = 0;
  for (std::size_t end : ends) {
    texts_.push_back(all.substr(begin, end - begin));
    begin = end;
  }
}

std::string pattern_key(std::vector<std::string> const& texts) {
  std::string key;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) key += "%s";
    for (char c : texts[i]) {
      key += c;
      if (c == '%') key += '%';
    }
  }
  return key;
}

}  // namespace hostset_internal
}  // namespace krel
