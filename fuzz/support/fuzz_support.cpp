#include "fuzz_support.hpp"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "krel/log.hpp"

namespace krel_fuzz {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Reads digits from `pos` on, clamping the magnitude so that it cannot overflow.
int clamped_number(std::string const& text, std::size_t& pos, bool negative) {
  long long magnitude = 0;
  for (; pos < text.size() && is_digit(text[pos]); ++pos) {
    if (magnitude <= 1LL << 40) magnitude = magnitude * 10 + (text[pos] - '0');
  }
  long long const value = negative ? -magnitude : magnitude;
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

}  // namespace

std::vector<std::string> fields(std::uint8_t const* data, std::size_t size, std::size_t count) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  std::vector<std::string> result;
  std::size_t start = 0;
  while (result.size() + 1 < count) {
    std::size_t const end = text.find(kFieldSeparator, start);
    if (end == std::string::npos) break;
    result.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  result.push_back(start <= text.size() ? text.substr(start) : std::string());
  result.resize(count);
  return result;
}

std::vector<std::string> lines(std::string const& text, char delimiter) {
  std::vector<std::string> result;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find(delimiter, start);
    if (end == std::string::npos) end = text.size();
    result.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return result;
}

int leading_int(std::string const& text) {
  std::size_t pos = 0;
  while (pos < text.size() && (text[pos] == ' ' || text[pos] == '\t'))
    ++pos;
  bool negative = false;
  if (pos < text.size() && (text[pos] == '-' || text[pos] == '+')) {
    negative = text[pos] == '-';
    ++pos;
  }
  return clamped_number(text, pos, negative);
}

std::vector<int> all_ints(std::string const& text) {
  std::vector<int> values;
  std::size_t pos = 0;
  while (pos < text.size()) {
    if (!is_digit(text[pos])) {
      ++pos;
      continue;
    }
    bool const negative = pos > 0 && text[pos - 1] == '-';
    values.push_back(clamped_number(text, pos, negative));
  }
  return values;
}

void fail(std::string const& property, std::string const& detail) {
  std::fprintf(stderr, "\n*** property broken: %s\n%s\n", property.c_str(), detail.c_str());
  std::fflush(stderr);
  std::abort();
}

void expect(bool ok, std::string const& property, std::string const& detail) {
  if (!ok) fail(property, detail);
}

std::string quoted(std::string const& text) {
  static char const kHex[] = "0123456789abcdef";
  std::string out = "\"";
  for (char c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7f && c != '"' && c != '\\') {
      out += c;
    } else {
      out += "\\x";
      out += kHex[byte >> 4];
      out += kHex[byte & 15];
    }
  }
  return out + "\"";
}

std::string quoted(std::vector<std::string> const& list) {
  std::string out = "[";
  for (std::size_t i = 0; i < list.size(); ++i)
    out += (i ? ", " : "") + quoted(list[i]);
  return out + "]";
}

std::string quoted(std::vector<int> const& list) {
  std::string out = "[";
  for (std::size_t i = 0; i < list.size(); ++i)
    out += (i ? ", " : "") + std::to_string(list[i]);
  return out + "]";
}

RecordCapture& RecordCapture::instance() {
  static RecordCapture capture;
  return capture;
}

RecordCapture::RecordCapture() {
  std::cerr.rdbuf(buffer_.rdbuf());
  krel::log::LOG_LEVEL = 7;
  krel::log::LOG_OUTPUT = 0;
}

std::string RecordCapture::take() {
  std::string text = buffer_.str();
  buffer_.str(std::string());
  buffer_.clear();
  return text;
}

std::string without_spaces_and_newlines(std::string const& text) {
  std::string out;
  for (char c : text) {
    if (c != ' ' && c != '\n') out += c;
  }
  return out;
}

void expect_verified(krel::HostSet const& set, std::string const& what, std::string const& detail) {
  std::string problem;
  if (set.verify(&problem)) return;
  // A set of a few names may fold to megabytes: its start is enough to see.
  constexpr std::size_t kShownBytes = 2000;
  fail(what + ": verify",
       detail + "\n" + problem + "\nset " + quoted(set.fold().substr(0, kShownBytes)));
}

}  // namespace krel_fuzz
