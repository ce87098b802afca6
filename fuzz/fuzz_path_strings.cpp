// basename, dirname, remove_path, get_sub_id, remove_sub_id on the whole
// input.
//
// Checked: basename and dirname equal the C library's GNU basename and
// POSIX dirname of the first 4096 bytes; remove_path is the text after the
// last '/'; remove_sub_id followed by get_sub_id gives back the text; a
// sub-identifier is empty or begins with ':'.
#include <cstdint>
#include <string>

#include "fuzz_support.hpp"
#include "krel/str.hpp"
#include "models.hpp"

using krel_fuzz::expect;
using krel_fuzz::quoted;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  std::string const detail = "text " + quoted(text);

  std::string const base = krel::str::basename(text);
  std::string const want_base = krel_model::basename(text);
  expect(base == want_base, "basename equals the C library's",
         detail + "\ngot  " + quoted(base) + "\nwant " + quoted(want_base));
  std::string const dir = krel::str::dirname(text);
  std::string const want_dir = krel_model::dirname(text);
  expect(dir == want_dir, "dirname equals the C library's",
         detail + "\ngot  " + quoted(dir) + "\nwant " + quoted(want_dir));

  std::string const last = krel::str::remove_path(text);
  std::size_t const slash = text.rfind('/');
  expect(last == (slash == std::string::npos ? text : text.substr(slash + 1)),
         "remove_path keeps what follows the last slash", detail + " got " + quoted(last));

  std::string const head = krel::str::remove_sub_id(text);
  std::string const sub = krel::str::get_sub_id(text);
  expect(head + sub == text, "remove_sub_id + get_sub_id give back the text",
         detail + " head " + quoted(head) + " sub " + quoted(sub));
  expect(head.find(':') == std::string::npos, "the head holds no colon", detail);
  expect(sub.empty() || sub[0] == ':', "a sub-identifier begins with a colon", detail);
  return 0;
}
