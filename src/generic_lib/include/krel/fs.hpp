// File system services: paths, directories, temporary files and folders,
// file copy, shell word expansion, library names and version comparison.
//
// Failed system calls are not thrown: they write one log record and return
// the documented fallback value.
#pragma once

#include <string>

#include "krel/generic_lib_export.hpp"

namespace krel {
namespace fs {

// Canonical absolute path (symbolic links resolved, "." ".." and repeated
// slashes removed). Every component must exist.
GENERIC_LIB_EXPORT std::string abspath(std::string const& path);

// Full path of the running program's executable.
GENERIC_LIB_EXPORT std::string selfpath();

// True when `path` (links followed) has the regular-file bit in its mode.
GENERIC_LIB_EXPORT bool file_exists(std::string const& path);

// True when `path` is a writable directory or could be created.
GENERIC_LIB_EXPORT bool try_makedirs(std::string const& path);

// Creates an empty file named dir + "/" + prefix + six unique characters.
GENERIC_LIB_EXPORT std::string tmpfile(std::string const& prefix, std::string const& dir);

// As tmpfile, with extra open flags for the creation.
GENERIC_LIB_EXPORT std::string tmpofile(std::string const& prefix, std::string const& dir,
                                        int flags);

// Creates a folder named dir + "/" + prefix + six unique characters.
GENERIC_LIB_EXPORT std::string tmpdir(std::string const& prefix, std::string const& dir);

// Copies the bytes of `source` into `destination`.
GENERIC_LIB_EXPORT bool copy_file(std::string const& source, std::string const& destination);

}  // namespace fs

namespace str {

// The first word that a POSIX shell makes of `words`.
GENERIC_LIB_EXPORT std::string wordexp(std::string words);

// The bare library name of a library file path.
GENERIC_LIB_EXPORT std::string get_lib_name(std::string const& library_path);

// Whether `version_a` is newer than `version_b`, answered in `is_newer`.
GENERIC_LIB_EXPORT bool compare_versions(std::string version_a, std::string version_b,
                                         bool& is_newer);

}  // namespace str
}  // namespace krel
