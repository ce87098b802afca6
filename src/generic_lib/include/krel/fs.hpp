// File system services: paths, directories, temporary files and folders,
// file copy, shell word expansion, library names and version comparison.
//
// Failed system calls are not thrown: they write one log record and return
// the documented fallback value. The one exception is krel::str::wordexp,
// which writes its record and then throws.
//
// Paths are byte strings, passed to the system as they are; relative paths
// are taken from the process's current working directory.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "krel/generic_lib_export.hpp"

namespace krel {
namespace fs {

// ---------------------------------------------------------------------------
// Paths
// ---------------------------------------------------------------------------

// Canonical absolute path (realpath): symbolic links resolved, "." ".." and
// repeated slashes removed, a relative path taken from the working directory.
// Every component must exist: a path that does not exist yet cannot be made
// absolute this way. On failure (missing component, no permission, a loop,
// more than 4096 bytes, "") returns `path` unchanged and writes the level-4
// record "Unable to determine the absolute path of " + path, which the
// default LOG_LEVEL of 3 keeps silent.
//
//   abspath("/tmp/../tmp//")   // "/tmp"
//   abspath("no/such/file")    // "no/such/file", record at level 4
GENERIC_LIB_EXPORT std::string abspath(std::string const& path);

// Full path of the running program's executable, as the kernel reports the
// link "/proc/self/exe": the program that loaded the library, never the
// library's own file. When the link cannot be read, returns "" and writes the
// level-3 record "error determining program path".
//
//   selfpath()  // "/usr/bin/krel" when called from the krel tool
GENERIC_LIB_EXPORT std::string selfpath();

// True when stat of `path` (links followed) succeeds and the mode has the
// regular-file bit, octal 0100000, set. That single bit is tested, not the
// whole type field, so a socket (0140000) counts as a file too. False for a
// directory, a FIFO, a device, a dangling link and a missing path. Writes no
// record; errno is left as stat left it.
//
//   file_exists("/etc/passwd")          // true
//   file_exists("/tmp")                 // false
//   file_exists("/run/systemd/notify")  // true: a socket
GENERIC_LIB_EXPORT bool file_exists(std::string const& path);

// Makes `path` ready for writing as a directory.
//
// WARNING: `path` is handed to a shell as shell text, without any quoting.
// Blanks split it into several directories, and metacharacters (; | & > <),
// globs, variables ($VAR), the tilde and command substitution ($(...) and
// back quotes) are interpreted by the shell: the commands run. Never pass
// text from an untrusted source.
//
// First asks the platform library whether `path` is a directory. If it is,
// returns whether the real user may write into it (access W_OK); when not,
// writes the level-3 record "path exists but is not accessible for writing: "
// + path and returns false. The directory itself is never touched.
// Otherwise runs "mkdir -p -m 770 " + path through system() and returns true
// exactly when the command exits with status 0. The named directories get
// mode 770 whatever the creation mask; missing parents get what the mask
// allows. Nothing is logged on this branch; mkdir's own messages go to
// standard error. "" runs mkdir without an operand and gives false.
//
//   try_makedirs("/tmp")           // true, no command is run
//   try_makedirs("out/run1/logs")  // true; creates out, out/run1 and
//                                  // out/run1/logs (mode 770)
//   try_makedirs("x y")            // true; creates two directories, x and y
//   try_makedirs("/etc/passwd")    // false: a file stands there
GENERIC_LIB_EXPORT bool try_makedirs(std::string const& path);

// ---------------------------------------------------------------------------
// Temporary files and folders
// ---------------------------------------------------------------------------
//
// The prefix comes first and the folder second, the reverse of their order in
// the name. The name is dir + "/" + prefix + six characters, joined as given:
// a `dir` ending in "/" gives a double slash, and "" puts the entry in "/".
// Neither TMPDIR nor a default folder is consulted. The entry is created
// exclusively and left in place: the caller removes it.

// Creates an empty file of mode 0600 (mkstemp), closes it at once and returns
// its name; no descriptor stays open.
//
// On failure returns the template as the system call left it, NOT "": the
// caller learns of the failure only from the log or by testing the name. The
// level-3 record reads "Error creating temporary file (" errno "): " and the
// system's text for errno. When the file was made but closing it failed, the
// file stays and its name comes with the record.
//
//   tmpfile("run_", "/tmp")          // "/tmp/run_a1B2c3"
//   tmpfile("run_", "/tmp/")         // "/tmp//run_a1B2c3"
//   tmpfile("run_", "/no/such/dir")  // "/no/such/dir/run_XXXXXX" or with the X
//       // rewritten; record "Error creating temporary file (2): No such file or directory"
GENERIC_LIB_EXPORT std::string tmpfile(std::string const& prefix, std::string const& dir);

// As tmpfile, with `flags` (O_APPEND, O_CLOEXEC, O_SYNC, ...) added to the
// exclusive-create flags of the creation (mkostemp). The file is closed at
// once, so the flags matter only for the creation; flags 0 is tmpfile. Same
// failure value and record text as tmpfile.
//
//   tmpofile("run_", "/tmp", O_CLOEXEC)  // "/tmp/run_Q9xZ0k"
GENERIC_LIB_EXPORT std::string tmpofile(std::string const& prefix, std::string const& dir,
                                        int flags);

// Creates a folder of mode 0700 (mkdtemp) and returns its name. Unlike the
// two file functions it returns "" on failure, after the level-3 record
// "Error creating temporary folder (" errno "): " and the system's text.
//
//   tmpdir("job_", "/tmp")          // "/tmp/job_Xy12Ab"
//   tmpdir("job_", "/no/such/dir")  // "", record
//       // "Error creating temporary folder (2): No such file or directory"
GENERIC_LIB_EXPORT std::string tmpdir(std::string const& prefix, std::string const& dir);

// ---------------------------------------------------------------------------
// File copy
// ---------------------------------------------------------------------------

// Copies the bytes of `source` into `destination` through binary file
// streams; no mode, owner or times are carried over (the destination gets the
// mode of a new file under the creation mask). Writes no record.
//
// The destination is created or truncated even when the source cannot be
// opened. Returns false for a missing or unreadable source, a destination
// that cannot be opened, a copy onto itself (truncated first, so its content
// is lost), and also for an EMPTY source, although the empty destination is
// then a correct copy. A write error that shows only when the destination is
// closed is not reported.
//
//   copy_file("run.log", "run.log.bak")  // true: identical bytes
//   copy_file("empty.txt", "copy.txt")   // false; copy.txt exists, empty
//   copy_file("missing", "copy.txt")     // false; copy.txt exists, empty
GENERIC_LIB_EXPORT bool copy_file(std::string const& source, std::string const& destination);

}  // namespace fs

namespace str {

// ---------------------------------------------------------------------------
// Shell word expansion
// ---------------------------------------------------------------------------

// The first word that a POSIX shell makes of `words` (the system's wordexp
// with flags 0): tilde, variables, command substitution, arithmetic, quote
// removal, field splitting and pathname expansion. Every further word is
// dropped without notice. "" is returned at once; a text that expands to no
// word at all (an unset variable alone, blanks) is returned unchanged.
//
// WARNING: `words` is interpreted as shell text. Variables are expanded and
// command substitutions ($(...) and back quotes) are carried out: the
// commands run, with the caller's rights, and the call blocks until they
// end. Never pass text from an untrusted source.
//
// On an error of the facility writes the level-3 record
// "word expansion failed with error " code ": " words, then throws a plain
// std::exception (no message of its own): catch std::exception. Codes: 1 out
// of memory; 2 an unquoted newline or one of | & ; < > ( ) { }; 5 a syntax
// error such as an unbalanced quote. Errors of substituted commands are
// discarded.
//
//   wordexp("~/results")           // "/home/ana/results"
//   wordexp("$HOME/run")           // "/home/ana/run"
//   wordexp("a b")                 // "a"
//   wordexp("'a b'")               // "a b"
//   wordexp("$(echo hi)")          // "hi": the command ran
//   wordexp("$NO_SUCH_VARIABLE")   // "$NO_SUCH_VARIABLE"
//   wordexp("a|b")  // throws std::exception after
//                   // "word expansion failed with error 2: a|b"
GENERIC_LIB_EXPORT std::string wordexp(std::string words);

// ---------------------------------------------------------------------------
// Library names and versions
// ---------------------------------------------------------------------------

// The bare library name of a library file path, as given to a linker: what
// follows the last "/", without a leading "lib" (when more than "lib" is
// left; compared case-sensitively) and without a final ".so" or ".a". Only an
// exact final ".so" or ".a" counts, so versioned names keep their suffix.
// Never fails, writes no record.
//
//   get_lib_name("/usr/lib64/libz.so")  // "z"
//   get_lib_name("libcrypto.a")         // "crypto"
//   get_lib_name("libfoo.so.1.2")       // "foo.so.1.2"
//   get_lib_name("lib")                 // "lib"
//   get_lib_name("lib.so")              // ""
GENERIC_LIB_EXPORT std::string get_lib_name(std::string const& library_path);

// Whether dotted version `version_a` is newer than `version_b`, answered in
// `is_newer` ONLY: the function always returns true, also when a version
// cannot be read. Fields are split at "." (adjacent dots give an empty
// field) and compared as base-10 ints, position by position, up to the
// shorter list; the first difference decides, and fields beyond the shorter
// list are never looked at. A field is read like std::stoi: leading blanks,
// a sign, digits, the rest ignored ("3rc1" is 3). When a field that is
// reached does not start with a number or does not fit an int, `is_newer` is
// false and the level-4 record "Unable to parse version." is written
// (silent at the default LOG_LEVEL 3).
//
//   compare_versions("1.10", "1.9", is_newer)   // true; is_newer == true
//   compare_versions("1.2.1", "1.2", is_newer)  // true; is_newer == false
//   compare_versions("1.x", "1.2", is_newer)    // true; is_newer == false, record
//   compare_versions("2.x", "1.y", is_newer)    // true; is_newer == true, no record
GENERIC_LIB_EXPORT bool compare_versions(std::string version_a, std::string version_b,
                                         bool& is_newer);

// Whether dotted version `version_a` is newer than `version_b`, read exactly
// as compare_versions reads them; nullopt when compare_versions would write
// its "Unable to parse version." record (a field that is reached does not
// start with a number or does not fit an int). Writes no record.
//
//   is_newer_version("1.10", "1.9")   // true
//   is_newer_version("1.2.1", "1.2")  // false: only longer
//   is_newer_version("1.x", "1.2")    // nullopt
//   is_newer_version("2.x", "1.y")    // true: the first field decides
GENERIC_LIB_EXPORT std::optional<bool> is_newer_version(std::string_view version_a,
                                                        std::string_view version_b);

}  // namespace str
}  // namespace krel
