// Stand-in for the platform library's UTF-8 string and directory test.
//
// Only the parts that the generic library calls are provided; a real
// platform library with the same header and names can replace it.
#pragma once

#include <string>

namespace ZUNO_2_15 {
namespace strings {

// The platform's UTF-8 string: one byte string, copied as it is.
//
//   ustring8 path(std::string("/tmp"));  // path.str() == "/tmp"
class ustring8 {
 public:
  ustring8() = default;
  ustring8(std::string const& bytes) : bytes_(bytes) {}  // NOLINT: implicit by design

  std::string const& str() const { return bytes_; }

 private:
  std::string bytes_;
};

}  // namespace strings

namespace system {
namespace io {

// True exactly when `path` names an existing directory. Symbolic links are
// followed; an empty path, a missing path or one whose parent cannot be
// searched gives false.
//
//   is_directory(strings::ustring8(std::string("/tmp")))        // true
//   is_directory(strings::ustring8(std::string("/etc/passwd"))) // false
bool is_directory(strings::ustring8 const& path);

}  // namespace io
}  // namespace system
}  // namespace ZUNO_2_15
