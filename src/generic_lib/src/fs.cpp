#include "krel/fs.hpp"

#include <sys/stat.h>
#include <unistd.h>
#include <wordexp.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include "krel/str.hpp"
#include "record.hpp"
#include "zuno/io.hpp"

// ---------------------------------------------------------------------------
// Paths, temporary files and folders, file copy
// ---------------------------------------------------------------------------

namespace krel {
namespace fs {
namespace {

constexpr char kRecordSource[] = "src/generic_lib/src/fs";

// The system's path limit; realpath writes at most this many bytes.
constexpr std::size_t kPathBytes = 4096;

// readlink is told there is room for one byte more than the path limit, and
// the buffer keeps one more still for the terminator.
constexpr std::size_t kSelfLinkBytes = kPathBytes + 1;

constexpr mode_t kRegularFileBit = 0100000;

// The mode given to the directories named on the command line; intermediate
// parents get what the creation mask allows.
constexpr char kMakeDirsCommand[] = "mkdir -p -m 770 ";

// dir + "/" + prefix + six X, joined as they are, in a writable buffer with
// its terminator: the creation calls rewrite the X in place.
std::vector<char> name_template(std::string const& prefix, std::string const& dir) {
  std::string const text = dir + "/" + prefix + "XXXXXX";
  return std::vector<char>(text.c_str(), text.c_str() + text.size() + 1);
}

// Read errno first: building the record may itself change it.
void record_file_creation_error() {
  int const code = errno;
  KREL_RECORD(3) << "Error creating temporary file (" << code << "): " << std::strerror(code);
}

// Closes the descriptor that a creation call returned, at once: callers get
// the name only and reopen the file themselves.
std::string finish_file_creation(int descriptor, std::vector<char> const& buffer) {
  if (descriptor == -1 || ::close(descriptor) == -1) record_file_creation_error();
  return std::string(buffer.data());
}

}  // namespace

std::string abspath(std::string const& path) {
  char resolved[kPathBytes];
  if (::realpath(path.c_str(), resolved) != nullptr) return std::string(resolved);
  KREL_RECORD(4) << "Unable to determine the absolute path of " << path;
  return path;
}

std::string selfpath() {
  char target[kSelfLinkBytes + 1];
  ssize_t const length = ::readlink("/proc/self/exe", target, kSelfLinkBytes);
  if (length == -1) {
    KREL_RECORD(3) << "error determining program path";
    return std::string();
  }
  target[length] = '\0';
  return std::string(target);
}

bool file_exists(std::string const& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return false;
  // One bit, not the whole type field: a socket (0140000) carries it too.
  return (info.st_mode & kRegularFileBit) != 0;
}

bool try_makedirs(std::string const& path) {
  if (ZUNO_2_15::system::io::is_directory(ZUNO_2_15::strings::ustring8(path))) {
    if (::access(path.c_str(), W_OK) == 0) return true;
    KREL_RECORD(3) << "path exists but is not accessible for writing: " << path;
    return false;
  }
  // Shell text on purpose: blanks split the path into several operands, and
  // variables, globs and command substitutions are the shell's to expand.
  std::string const command = kMakeDirsCommand + path;
  return std::system(command.c_str()) == 0;
}

std::string tmpfile(std::string const& prefix, std::string const& dir) {
  std::vector<char> buffer = name_template(prefix, dir);
  int const descriptor = ::mkstemp(buffer.data());
  return finish_file_creation(descriptor, buffer);
}

std::string tmpofile(std::string const& prefix, std::string const& dir, int flags) {
  std::vector<char> buffer = name_template(prefix, dir);
  int const descriptor = ::mkostemp(buffer.data(), flags);
  return finish_file_creation(descriptor, buffer);
}

std::string tmpdir(std::string const& prefix, std::string const& dir) {
  std::vector<char> buffer = name_template(prefix, dir);
  std::string folder;
  if (::mkdtemp(buffer.data()) != nullptr) {
    folder = buffer.data();
  } else {
    int const code = errno;
    KREL_RECORD(3) << "Error creating temporary folder (" << code << "): " << std::strerror(code);
  }
  return folder;
}

bool copy_file(std::string const& source, std::string const& destination) {
  std::ifstream input(source, std::ios::in | std::ios::binary);
  // Opened even when the source is missing: the destination is emptied or
  // created either way.
  std::ofstream output(destination, std::ios::out | std::ios::binary);
  output << input.rdbuf();
  // Taken before the streams close: a write error that shows only when the
  // last buffer is flushed is not seen. Inserting no character at all sets
  // the fail flag, so an empty source also answers false.
  return !output.fail();
}

}  // namespace fs

// ---------------------------------------------------------------------------
// Shell word expansion, library names and versions
// ---------------------------------------------------------------------------

namespace str {
namespace {

constexpr char kRecordSource[] = "src/generic_lib/src/str";

// Releases an expansion's storage on every way out of the function.
class WordExpansion {
 public:
  WordExpansion() = default;
  ~WordExpansion() { ::wordfree(&words_); }
  WordExpansion(WordExpansion const&) = delete;
  WordExpansion& operator=(WordExpansion const&) = delete;

  wordexp_t* get() { return &words_; }

 private:
  // Zeroed, so that freeing after a failure that left nothing behind is safe.
  wordexp_t words_{};
};

// One version field as a base-10 int, read the way the standard string to
// integer conversion reads it: leading white space, an optional sign, digits,
// the rest ignored. False where that conversion would throw (no digits, or a
// value outside int).
bool read_version_field(std::string const& field, int& value) {
  char const* const begin = field.c_str();
  char* end = nullptr;
  int const saved_errno = errno;
  errno = 0;
  long const number = std::strtol(begin, &end, 10);
  bool const out_of_range = errno == ERANGE || number < std::numeric_limits<int>::min() ||
                            number > std::numeric_limits<int>::max();
  errno = saved_errno;
  if (end == begin || out_of_range) return false;
  value = static_cast<int>(number);
  return true;
}

}  // namespace

std::string wordexp(std::string words) {
  if (words.empty()) return words;
  WordExpansion expansion;
  // Flags 0: command substitution runs, unset variables expand to nothing,
  // the shell's error output is discarded.
  int const code = ::wordexp(words.c_str(), expansion.get(), 0);
  if (code != 0) {
    KREL_RECORD(3) << "word expansion failed with error " << code << ": " << words;
    throw std::exception();
  }
  if (expansion.get()->we_wordc == 0) return words;
  return std::string(expansion.get()->we_wordv[0]);
}

std::string get_lib_name(std::string const& library_path) {
  std::string name = library_path;
  std::size_t const last_slash = name.find_last_of("//");
  if (last_slash != std::string::npos) name.erase(0, last_slash + 1);
  if (name.size() > 3 && name.compare(0, 3, "lib") == 0) name.erase(0, 3);
  std::size_t const last_dot = name.rfind('.');
  if (last_dot != std::string::npos) {
    std::string const extension = name.substr(last_dot);
    if (extension == ".so" || extension == ".a") name.erase(last_dot);
  }
  return name;
}

bool compare_versions(std::string version_a, std::string version_b, bool& is_newer) {
  std::optional<bool> const newer = is_newer_version(version_a, version_b);
  // The answer stays "not newer" on a parse failure; only the log tells it
  // from a comparison.
  if (!newer) KREL_RECORD(4) << "Unable to parse version.";
  is_newer = newer.value_or(false);
  return true;
}

std::optional<bool> is_newer_version(std::string_view version_a, std::string_view version_b) {
  std::vector<std::string> const fields_a = split(std::string(version_a), '.', false);
  std::vector<std::string> const fields_b = split(std::string(version_b), '.', false);
  std::size_t const count = std::min(fields_a.size(), fields_b.size());
  for (std::size_t i = 0; i < count; ++i) {
    int value_a = 0;
    int value_b = 0;
    if (!read_version_field(fields_a[i], value_a) || !read_version_field(fields_b[i], value_b))
      return std::nullopt;
    if (value_a != value_b) return value_a > value_b;
  }
  return false;
}

}  // namespace str
}  // namespace krel
