#include "krel/str.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
// libgen.h renames basename to the POSIX form; the GNU form from <cstring>
// is the one wanted here, so the rename is undone right after.
#include <libgen.h>
#undef basename

namespace krel {
namespace str {
namespace {

constexpr char kLineWhiteSpace[] = " \t\n\r";
constexpr std::size_t kPathBufferBytes = 4096;

// Copies at most 4096 bytes of `path` into `buffer` (4097 bytes), terminated.
void copy_path_prefix(std::string const& path, char (&buffer)[kPathBufferBytes + 1]) {
  std::size_t const length = path.copy(buffer, kPathBufferBytes);
  buffer[length] = '\0';
}

template <typename Number, typename Convert>
void convert_with_position(std::string const& text, Number& value, unsigned long& position,
                           Convert convert, char const* name) {
  char const* const begin = text.c_str();
  char* end = nullptr;
  errno = 0;
  Number const converted = convert(begin, &end);
  if (end == begin) throw std::invalid_argument(name);
  if (errno == ERANGE) throw std::out_of_range(name);
  position = static_cast<unsigned long>(end - begin);
  value = converted;
}

}  // namespace

// ---------------------------------------------------------------------------
// Case, trimming and white space
// ---------------------------------------------------------------------------

std::string lower(std::string s) {
  for (char& c : s)
    c = static_cast<char>(std::tolower(static_cast<signed char>(c)));
  return s;
}

std::string upper(std::string s) {
  for (char& c : s)
    c = static_cast<char>(std::toupper(static_cast<signed char>(c)));
  return s;
}

std::string rstrip(std::string s, std::string chars) {
  std::size_t const last = s.find_last_not_of(chars);
  if (last == std::string::npos) return std::string();
  s.erase(last + 1);
  return s;
}

std::string fstrip(std::string s, std::string chars) {
  std::size_t const first = s.find_first_not_of(chars);
  if (first == std::string::npos) return std::string();
  return s.substr(first);
}

std::string strip(std::string s, std::string chars) {
  if (chars.empty()) return stripws(std::move(s));
  return fstrip(rstrip(std::move(s), chars), chars);
}

std::string stripws(std::string s) {
  std::size_t const first = s.find_first_not_of(kLineWhiteSpace);
  if (first == std::string::npos) return std::string();
  std::size_t const last = s.find_last_not_of(kLineWhiteSpace);
  return s.substr(first, last - first + 1);
}

bool isSpace(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}

std::string stripallws(std::string s) {
  std::size_t kept = 0;
  for (char const c : s) {
    if (!isSpace(c)) s[kept++] = c;
  }
  s.resize(kept);
  return s;
}

std::string replace(std::string s, std::string const& from, std::string const& to) {
  if (from.empty()) return s;
  std::size_t pos = s.find(from);
  if (pos == std::string::npos) return s;
  if (from.size() == to.size()) {
    for (; pos != std::string::npos; pos = s.find(from, pos + to.size())) {
      s.replace(pos, from.size(), to);
    }
    return s;
  }
  // Built afresh so that the cost stays linear: replacing in place would move
  // the tail once per occurrence. The text after each match is searched only
  // from behind the match, so inserted text is never searched again.
  std::string out;
  out.reserve(s.size());
  std::size_t copied = 0;
  for (; pos != std::string::npos; pos = s.find(from, copied)) {
    out.append(s, copied, pos - copied);
    out += to;
    copied = pos + from.size();
  }
  out.append(s, copied, std::string::npos);
  return out;
}

std::string squeeze(std::string s, char c) {
  // The length is taken as a signed 32-bit count: only that many leading
  // bytes take part, and a string whose count comes out below 2 is returned
  // as it is.
  int const counted = static_cast<int>(s.size());
  if (counted < 2) return s;
  std::size_t const end = static_cast<std::size_t>(counted);
  std::size_t kept = 1;
  for (std::size_t i = 1; i < end; ++i) {
    if (s[i] == c && s[i - 1] == c) continue;
    s[kept++] = s[i];
  }
  s.erase(kept, end - kept);
  return s;
}

bool startswith(std::string const& s, std::string const& prefix) {
  return s.size() >= prefix.size() && s.compare(0, prefix.size(), prefix) == 0;
}

bool endswith(std::string const& s, std::string const& suffix) {
  return s.size() >= suffix.size() &&
         s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

bool in_vect(std::vector<std::string> const& list, std::string const& s) {
  for (std::string const& element : list) {
    if (element == s) return true;
  }
  return false;
}

bool string_search(std::vector<std::string> const& list, std::string const& s) {
  for (std::string const& element : list) {
    if (!element.empty() && element.find(s) != std::string::npos) return true;
  }
  return false;
}

// ---------------------------------------------------------------------------
// Splitting
// ---------------------------------------------------------------------------

std::vector<std::string> split(std::string const& s, char delimiter, bool squeeze_runs) {
  std::string const squeezed = squeeze_runs ? squeeze(s, delimiter) : std::string();
  std::string const& text = squeeze_runs ? squeezed : s;
  std::vector<std::string> fields;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t const end = text.find(delimiter, start);
    if (end == std::string::npos) {
      fields.emplace_back(text, start);
      break;
    }
    fields.emplace_back(text, start, end - start);
    start = end + 1;
  }
  return fields;
}

// ---------------------------------------------------------------------------
// Path-like strings and number readers
// ---------------------------------------------------------------------------

std::string basename(std::string const& path) {
  char buffer[kPathBufferBytes + 1];
  copy_path_prefix(path, buffer);
  return std::string(::basename(buffer));
}

std::string dirname(std::string const& path) {
  char buffer[kPathBufferBytes + 1];
  copy_path_prefix(path, buffer);
  return std::string(::dirname(buffer));
}

std::string remove_path(std::string const& path) {
  std::size_t const slash = path.rfind('/');
  if (slash == std::string::npos) return path;
  return path.substr(slash + 1);
}

std::string get_sub_id(std::string const& id) {
  std::size_t const colon = id.find(':');
  if (colon == std::string::npos) return std::string();
  return id.substr(colon);
}

std::string remove_sub_id(std::string const& id) {
  return id.substr(0, id.find(':'));
}

void convert_to_selection_helper(std::string const& text, double& value, unsigned long& position) {
  convert_with_position(text, value, position, std::strtod, "stod");
}

void convert_to_selection_helper(std::string const& text, float& value, unsigned long& position) {
  convert_with_position(text, value, position, std::strtof, "stof");
}

void convert_to_selection_helper(std::string const& text, long double& value,
                                 unsigned long& position) {
  convert_with_position(text, value, position, std::strtold, "stold");
}

}  // namespace str
}  // namespace krel
