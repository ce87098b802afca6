// Blanks and quoting for the texts the library reads and reports. Private to
// the library and its tool.
#pragma once

#include <string>
#include <string_view>

namespace krel {
namespace internal {

// The C locale's white space: space, \t, \n, \r, \v and \f.
//
//   is_blank('\v')  // true
//   is_blank('_')   // false
inline bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// `text` without the blanks at either end.
//
//   trim_blanks(" \tcn[1-2]\n")  // "cn[1-2]"
//   trim_blanks("  ")            // ""
inline std::string_view trim_blanks(std::string_view text) {
  std::size_t begin = 0;
  std::size_t end = text.size();
  while (begin < end && is_blank(text[begin]))
    ++begin;
  while (end > begin && is_blank(text[end - 1]))
    --end;
  return text.substr(begin, end - begin);
}

// `text` for a message, which stays one line: a line break inside is
// written \n or \r; nothing else is escaped.
//
//   one_line("a[1\n2")  // "a[1\\n2"
inline std::string one_line(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (char const c : text) {
    if (c == '\n' || c == '\r') {
      result += '\\';
      result += c == '\n' ? 'n' : 'r';
    } else {
      result += c;
    }
  }
  return result;
}

// `text` in double quotes, for messages, written as one_line writes it.
//
//   quoted("cn[3-1]")  // "\"cn[3-1]\""
inline std::string quoted(std::string_view text) {
  return '"' + one_line(text) + '"';
}

}  // namespace internal
}  // namespace krel
