#include "zuno/io.hpp"

#include <sys/stat.h>

namespace ZUNO_2_15 {
namespace system {
namespace io {

bool is_directory(strings::ustring8 const& path) {
  struct stat info {};
  if (path.str().empty() || ::stat(path.str().c_str(), &info) != 0) return false;
  return S_ISDIR(info.st_mode);
}

}  // namespace io
}  // namespace system
}  // namespace ZUNO_2_15
