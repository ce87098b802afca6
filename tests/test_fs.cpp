#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include "krel/fs.hpp"
#include "test_support.hpp"

namespace {

namespace stdfs = std::filesystem;

using krel_test::capture_stderr;
using krel_test::LogSettings;
using krel_test::open_descriptor_count;
using krel_test::run_unprivileged;
using krel_test::TempFolder;
using krel_test::write_all;

// ---------------------------------------------------------------------------
// Helpers
// ---------------------------------------------------------------------------

// Moves the process into `folder` for one test and back afterwards.
class WorkingDirectory {
 public:
  explicit WorkingDirectory(std::string const& folder) : saved_(stdfs::current_path()) {
    stdfs::current_path(folder);
  }
  ~WorkingDirectory() {
    std::error_code ignored;
    stdfs::current_path(saved_, ignored);
  }
  WorkingDirectory(WorkingDirectory const&) = delete;
  WorkingDirectory& operator=(WorkingDirectory const&) = delete;

 private:
  stdfs::path saved_;
};

// Sets (or, with no value, removes) one environment variable for one test.
class EnvironmentVariable {
 public:
  EnvironmentVariable(std::string name, std::optional<std::string> const& value)
      : name_(std::move(name)) {
    if (char const* old = std::getenv(name_.c_str())) saved_ = std::string(old);
    if (value) {
      ::setenv(name_.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
  }
  ~EnvironmentVariable() {
    if (saved_) {
      ::setenv(name_.c_str(), saved_->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
  }
  EnvironmentVariable(EnvironmentVariable const&) = delete;
  EnvironmentVariable& operator=(EnvironmentVariable const&) = delete;

 private:
  std::string name_;
  std::optional<std::string> saved_;
};

// Sets the file creation mask for one test.
class CreationMask {
 public:
  explicit CreationMask(mode_t mask) : saved_(::umask(mask)) {}
  ~CreationMask() { ::umask(saved_); }
  CreationMask(CreationMask const&) = delete;
  CreationMask& operator=(CreationMask const&) = delete;

 private:
  mode_t saved_;
};

// Permission bits of `path` (links followed); -1 when it cannot be read.
int mode_of(std::string const& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return -1;
  return static_cast<int>(info.st_mode & 07777);
}

bool is_directory(std::string const& path) {
  std::error_code ignored;
  return stdfs::is_directory(path, ignored);
}

bool is_regular_file(std::string const& path) {
  std::error_code ignored;
  return stdfs::is_regular_file(path, ignored);
}

bool entry_exists(std::string const& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

std::string read_file(std::string const& path) {
  std::ifstream input(path, std::ios::binary);
  std::ostringstream content;
  content << input.rdbuf();
  return content.str();
}

void write_file(std::string const& path, std::string const& content) {
  std::ofstream output(path, std::ios::binary | std::ios::trunc);
  output << content;
}

// Names in `folder`, sorted.
std::set<std::string> folder_entries(std::string const& folder) {
  std::set<std::string> names;
  for (auto const& entry : stdfs::directory_iterator(folder)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

// The six characters that the creation calls put in place of "XXXXXX".
bool is_unique_suffix(std::string const& name, std::string const& stem) {
  if (name.size() != stem.size() + 6 || name.compare(0, stem.size(), stem) != 0) return false;
  for (std::size_t i = stem.size(); i < name.size(); ++i) {
    char const c = name[i];
    bool const alphanumeric =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!alphanumeric) return false;
  }
  return true;
}

// The template as the creation call may leave it after a failure: the stem
// and six characters, rewritten or still "XXXXXX".
bool is_template_after_failure(std::string const& name, std::string const& stem) {
  return name == stem + "XXXXXX" || is_unique_suffix(name, stem);
}

// A path of more than 4096 bytes whose last component alone is too long.
std::string overlong_path(std::string const& folder) {
  return folder + "/" + std::string(5000, 'n');
}

// Makes `folder` searchable by the unprivileged user of run_unprivileged,
// and `folder`/name a directory with `mode`.
std::string unprivileged_view(TempFolder const& folder, std::string const& name, mode_t mode) {
  ::chmod(folder.path().c_str(), 0755);
  std::string const path = folder / name;
  ::mkdir(path.c_str(), 0700);
  ::chmod(path.c_str(), mode);
  return path;
}

// Turns readlink and readlinkat into failures with `error` for this process
// and its children from now on (x86-64 system call numbers).
bool deny_readlink(int error) {
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AUDIT_ARCH_X86_64, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_readlink, 2, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_readlinkat, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K,
               SECCOMP_RET_ERRNO | (static_cast<unsigned>(error) & SECCOMP_RET_DATA)),
  };
  sock_fprog program{static_cast<unsigned short>(sizeof filter / sizeof filter[0]), filter};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// ---------------------------------------------------------------------------
// abspath
// ---------------------------------------------------------------------------

TEST(AbsPath, RemovesDotDotAndRepeatedSlashes) {
  EXPECT_EQ(krel::fs::abspath("/tmp/../tmp//"), stdfs::canonical("/tmp").string());
  EXPECT_EQ(krel::fs::abspath("/"), "/");
  EXPECT_EQ(krel::fs::abspath("//usr/./bin/"), stdfs::canonical("/usr/bin").string());
}

TEST(AbsPath, ResolvesSymbolicLinks) {
  TempFolder folder;
  std::string const real = stdfs::canonical(folder.path()).string();
  stdfs::create_directories(folder / "a/b");
  stdfs::create_directory_symlink("a", folder / "link");
  EXPECT_EQ(krel::fs::abspath(folder / "link/./b/../b//"), real + "/a/b");
  EXPECT_EQ(krel::fs::abspath(folder / "link"), real + "/a");
}

TEST(AbsPath, RelativePathStartsAtWorkingDirectory) {
  TempFolder folder;
  std::string const real = stdfs::canonical(folder.path()).string();
  stdfs::create_directories(folder / "a/b");
  WorkingDirectory inside(folder / "a");
  EXPECT_EQ(krel::fs::abspath("b"), real + "/a/b");
  EXPECT_EQ(krel::fs::abspath("."), real + "/a");
  EXPECT_EQ(krel::fs::abspath(".."), real);
}

TEST(AbsPath, MissingPathComesBackUnchangedWithWarning) {
  LogSettings settings(4);
  std::string result;
  std::string const output = capture_stderr([&] { result = krel::fs::abspath("no/such/file"); });
  EXPECT_EQ(result, "no/such/file");
  EXPECT_EQ(output, "Unable to determine the absolute path of no/such/file\n");
}

TEST(AbsPath, WarningIsSilentAtDefaultLevel) {
  LogSettings settings(3);
  std::string result;
  std::string const output = capture_stderr([&] { result = krel::fs::abspath("no/such/file"); });
  EXPECT_EQ(result, "no/such/file");
  EXPECT_EQ(output, "");
}

TEST(AbsPath, PathNotYetCreatedIsNotMadeAbsolute) {
  TempFolder folder;
  LogSettings settings(4);
  std::string const missing = folder / "later/file";
  std::string result;
  std::string const output = capture_stderr([&] { result = krel::fs::abspath(missing); });
  EXPECT_EQ(result, missing);
  EXPECT_EQ(output, "Unable to determine the absolute path of " + missing + "\n");
}

TEST(AbsPath, EmptyPathFailsAndStaysEmpty) {
  LogSettings settings(4);
  std::string result = "not called";
  std::string const output = capture_stderr([&] { result = krel::fs::abspath(""); });
  EXPECT_EQ(result, "");
  EXPECT_EQ(output, "Unable to determine the absolute path of \n");
}

TEST(AbsPath, OverlongPathComesBackUnchanged) {
  TempFolder folder;
  LogSettings settings(4);
  std::string const path = overlong_path(folder.path());
  ASSERT_GT(path.size(), 4096u);
  std::string result;
  std::string const output = capture_stderr([&] { result = krel::fs::abspath(path); });
  EXPECT_EQ(result, path);
  EXPECT_EQ(output, "Unable to determine the absolute path of " + path + "\n");
}

TEST(AbsPath, LinkLoopComesBackUnchanged) {
  TempFolder folder;
  LogSettings settings(4);
  stdfs::create_symlink("two", folder / "one");
  stdfs::create_symlink("one", folder / "two");
  std::string const path = folder / "one";
  std::string result;
  std::string const output = capture_stderr([&] { result = krel::fs::abspath(path); });
  EXPECT_EQ(result, path);
  EXPECT_EQ(output, "Unable to determine the absolute path of " + path + "\n");
}

// ---------------------------------------------------------------------------
// selfpath
// ---------------------------------------------------------------------------

TEST(SelfPath, IsTheTestProgramNotTheLibrary) {
  std::string const path = krel::fs::selfpath();
  EXPECT_EQ(path, stdfs::read_symlink("/proc/self/exe").string());
  ASSERT_FALSE(path.empty());
  EXPECT_EQ(path.front(), '/');
  EXPECT_EQ(stdfs::path(path).filename(), "test_fs");
  EXPECT_EQ(path.find("generic_lib.so"), std::string::npos);
}

TEST(SelfPath, UnreadableLinkGivesEmptyTextAndRecord) {
  krel_test::ChildReport const child = run_unprivileged([](int report) {
    if (!deny_readlink(EACCES)) return 3;
    std::string const path = krel::fs::selfpath();
    write_all(report, "[" + path + "]");
    return 0;
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.report, "[]");
  EXPECT_EQ(child.standard_error, "error determining program path\n");
}

// ---------------------------------------------------------------------------
// file_exists
// ---------------------------------------------------------------------------

TEST(FileExists, RegularFileAndLinkToOne) {
  TempFolder folder;
  write_file(folder / "plain", "x");
  write_file(folder / "empty", "");
  stdfs::create_symlink(folder / "plain", folder / "link");
  EXPECT_TRUE(krel::fs::file_exists(folder / "plain"));
  EXPECT_TRUE(krel::fs::file_exists(folder / "empty"));
  EXPECT_TRUE(krel::fs::file_exists(folder / "link"));
}

TEST(FileExists, SocketCountsAsAFile) {
  TempFolder folder;
  std::string const path = folder / "socket";
  int const descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_GE(descriptor, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  int const bound = ::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address);
  ::close(descriptor);
  ASSERT_EQ(bound, 0);
  stdfs::create_symlink(path, folder / "link-to-socket");
  EXPECT_TRUE(krel::fs::file_exists(path));
  EXPECT_TRUE(krel::fs::file_exists(folder / "link-to-socket"));
}

TEST(FileExists, FalseForFifoDirectoryDeviceDanglingLinkAndMissingPath) {
  TempFolder folder;
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  stdfs::create_directory(folder / "folder");
  stdfs::create_symlink(folder / "gone", folder / "dangling");
  stdfs::create_directory_symlink(folder / "folder", folder / "link-to-folder");
  EXPECT_FALSE(krel::fs::file_exists(folder / "fifo"));
  EXPECT_FALSE(krel::fs::file_exists(folder / "folder"));
  EXPECT_FALSE(krel::fs::file_exists(folder / "link-to-folder"));
  EXPECT_FALSE(krel::fs::file_exists("/dev/null"));
  EXPECT_FALSE(krel::fs::file_exists(folder / "dangling"));
  EXPECT_FALSE(krel::fs::file_exists(folder / "gone"));
  EXPECT_FALSE(krel::fs::file_exists(folder / "no/such/folder/file"));
}

TEST(FileExists, EmptyAndOverlongPathsAreFalseAndSilent) {
  TempFolder folder;
  LogSettings settings(7);
  std::string const output = capture_stderr([&] {
    EXPECT_FALSE(krel::fs::file_exists(""));
    EXPECT_FALSE(krel::fs::file_exists(overlong_path(folder.path())));
    EXPECT_FALSE(krel::fs::file_exists(folder / "missing"));
  });
  EXPECT_EQ(output, "");
}

TEST(FileExists, LeavesErrnoAsStatLeftIt) {
  TempFolder folder;
  errno = 0;
  EXPECT_FALSE(krel::fs::file_exists(folder / "missing"));
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_FALSE(krel::fs::file_exists(overlong_path(folder.path())));
  EXPECT_EQ(errno, ENAMETOOLONG);
}

// ---------------------------------------------------------------------------
// try_makedirs
// ---------------------------------------------------------------------------

TEST(TryMakedirs, WritableDirectoryIsTrueWithoutRunningACommand) {
  TempFolder folder;
  TempFolder empty_search_path;
  std::string const existing = folder / "existing";
  stdfs::create_directory(existing);
  ::chmod(existing.c_str(), 0755);
  // With no mkdir to be found, only a call that runs no command can succeed.
  EnvironmentVariable path("PATH", empty_search_path.path());
  EXPECT_TRUE(krel::fs::try_makedirs(existing));
  EXPECT_TRUE(krel::fs::try_makedirs(folder.path() + "/"));
  EXPECT_EQ(mode_of(existing), 0755);  // untouched
  std::string const output =
      capture_stderr([&] { EXPECT_FALSE(krel::fs::try_makedirs(folder / "new")); });
  EXPECT_FALSE(is_directory(folder / "new"));
  EXPECT_NE(output, "");  // the shell's "mkdir: not found"
}

TEST(TryMakedirs, LinkToWritableDirectoryIsTrue) {
  TempFolder folder;
  stdfs::create_directory(folder / "real");
  stdfs::create_directory_symlink(folder / "real", folder / "link");
  EXPECT_TRUE(krel::fs::try_makedirs(folder / "link"));
}

TEST(TryMakedirs, ReadOnlyDirectoryIsFalseWithRecord) {
  TempFolder folder;
  std::string const read_only = unprivileged_view(folder, "read-only", 0555);
  krel_test::ChildReport const child = run_unprivileged([&](int report) {
    write_all(report, krel::fs::try_makedirs(read_only) ? "true" : "false");
    return 0;
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.report, "false");
  EXPECT_EQ(child.standard_error,
            "path exists but is not accessible for writing: " + read_only + "\n");
  EXPECT_EQ(mode_of(read_only), 0555);  // the directory is not touched
}

TEST(TryMakedirs, ReadOnlyRecordRespectsLogLevel) {
  TempFolder folder;
  std::string const read_only = unprivileged_view(folder, "read-only", 0555);
  krel_test::ChildReport const child = run_unprivileged([&](int report) {
    LogSettings settings(2);
    write_all(report, krel::fs::try_makedirs(read_only) ? "true" : "false");
    return 0;
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.report, "false");
  EXPECT_EQ(child.standard_error, "");
}

TEST(TryMakedirs, FailedCreationUnderReadOnlyDirectoryIsFalseWithoutRecord) {
  TempFolder folder;
  std::string const read_only = unprivileged_view(folder, "read-only", 0555);
  std::string const wanted = read_only + "/new";
  krel_test::ChildReport const child = run_unprivileged([&](int report) {
    LogSettings settings(7);
    write_all(report, krel::fs::try_makedirs(wanted) ? "true" : "false");
    return 0;
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.report, "false");
  EXPECT_FALSE(entry_exists(wanted));
  // Only the tool's own complaint reaches standard error.
  EXPECT_EQ(child.standard_error.rfind("mkdir: ", 0), 0u) << child.standard_error;
  EXPECT_EQ(child.standard_error.find("path exists"), std::string::npos);
}

TEST(TryMakedirs, CreatesMissingParentsAndGivesTheLeafMode770) {
  TempFolder folder;
  CreationMask mask(022);
  WorkingDirectory inside(folder.path());
  EXPECT_TRUE(krel::fs::try_makedirs("a/b/c"));
  EXPECT_EQ(mode_of(folder / "a"), 0755);
  EXPECT_EQ(mode_of(folder / "a/b"), 0755);
  EXPECT_EQ(mode_of(folder / "a/b/c"), 0770);
}

TEST(TryMakedirs, Mode770IgnoresTheMaskParentsFollowIt) {
  TempFolder folder;
  CreationMask mask(077);
  EXPECT_TRUE(krel::fs::try_makedirs(folder / "p/q"));
  EXPECT_EQ(mode_of(folder / "p"), 0700);
  EXPECT_EQ(mode_of(folder / "p/q"), 0770);
}

TEST(TryMakedirs, RegularFileInTheWayIsFalseWithoutRecord) {
  TempFolder folder;
  write_file(folder / "file", "content");
  LogSettings settings(7);
  std::string const output =
      capture_stderr([&] { EXPECT_FALSE(krel::fs::try_makedirs(folder / "file")); });
  EXPECT_EQ(read_file(folder / "file"), "content");
  EXPECT_EQ(output.rfind("mkdir: ", 0), 0u) << output;
  EXPECT_EQ(output.find("path exists"), std::string::npos);
}

TEST(TryMakedirs, BlankSplitsThePathIntoTwoDirectories) {
  TempFolder folder;
  CreationMask mask(022);
  WorkingDirectory inside(folder.path());
  EXPECT_TRUE(krel::fs::try_makedirs("x y"));
  EXPECT_EQ(folder_entries(folder.path()), (std::set<std::string>{"x", "y"}));
  EXPECT_EQ(mode_of(folder / "x"), 0770);
  EXPECT_EQ(mode_of(folder / "y"), 0770);
}

TEST(TryMakedirs, ShellExpandsVariablesAndRunsCommandSubstitution) {
  TempFolder folder;
  EnvironmentVariable target("KREL_FS_TEST_TARGET", folder / "from-variable");
  EXPECT_TRUE(krel::fs::try_makedirs("$KREL_FS_TEST_TARGET"));
  EXPECT_TRUE(krel::fs::try_makedirs(folder / "$(echo from-command)"));
  EXPECT_EQ(folder_entries(folder.path()),
            (std::set<std::string>{"from-command", "from-variable"}));
}

TEST(TryMakedirs, EmptyPathRunsMkdirWithoutOperandAndFails) {
  LogSettings settings(7);
  std::string const output = capture_stderr([] { EXPECT_FALSE(krel::fs::try_makedirs("")); });
  EXPECT_EQ(output.rfind("mkdir: ", 0), 0u) << output;
  EXPECT_EQ(output.find("path exists"), std::string::npos);
}

TEST(TryMakedirs, OverlongPathFails) {
  TempFolder folder;
  LogSettings settings(7);
  std::string const path = overlong_path(folder.path());
  std::string const output = capture_stderr([&] { EXPECT_FALSE(krel::fs::try_makedirs(path)); });
  EXPECT_TRUE(folder_entries(folder.path()).empty());
  EXPECT_EQ(output.find("path exists"), std::string::npos);
}

// ---------------------------------------------------------------------------
// tmpfile, tmpofile, tmpdir
// ---------------------------------------------------------------------------

TEST(TmpFile, CreatesEmptyFileWithMode0600AndClosesIt) {
  TempFolder folder;
  CreationMask mask(022);
  int const descriptors = open_descriptor_count();
  std::string const name = krel::fs::tmpfile("run_", folder.path());
  EXPECT_EQ(open_descriptor_count(), descriptors);
  EXPECT_TRUE(is_unique_suffix(name, folder / "run_")) << name;
  EXPECT_TRUE(is_regular_file(name));
  EXPECT_EQ(stdfs::file_size(name), 0u);
  EXPECT_EQ(mode_of(name), 0600);
}

TEST(TmpFile, TrailingSlashGivesDoubleSlash) {
  TempFolder folder;
  std::string const name = krel::fs::tmpfile("run_", folder.path() + "/");
  EXPECT_TRUE(is_unique_suffix(name, folder.path() + "//run_")) << name;
  EXPECT_TRUE(is_regular_file(name));
}

TEST(TmpFile, EmptyPrefixGivesSixCharacters) {
  TempFolder folder;
  std::string const name = krel::fs::tmpfile("", folder.path());
  EXPECT_TRUE(is_unique_suffix(name, folder.path() + "/")) << name;
  EXPECT_TRUE(is_regular_file(name));
}

TEST(TmpFile, TwoCallsGiveTwoFiles) {
  TempFolder folder;
  std::string const first = krel::fs::tmpfile("run_", folder.path());
  std::string const second = krel::fs::tmpfile("run_", folder.path());
  EXPECT_NE(first, second);
  EXPECT_EQ(folder_entries(folder.path()).size(), 2u);
}

TEST(TmpFile, MissingFolderReturnsTheTemplateWithRecord) {
  TempFolder folder;
  std::string const missing = folder / "missing";
  std::string name;
  std::string const output = capture_stderr([&] { name = krel::fs::tmpfile("run_", missing); });
  EXPECT_TRUE(is_template_after_failure(name, missing + "/run_")) << name;
  EXPECT_FALSE(entry_exists(missing));
  EXPECT_EQ(output, "Error creating temporary file (2): No such file or directory\n");
}

TEST(TmpFile, OverlongFolderReturnsTheTemplateWithRecord) {
  TempFolder folder;
  std::string const dir = overlong_path(folder.path());
  std::string name;
  std::string const output = capture_stderr([&] { name = krel::fs::tmpfile("run_", dir); });
  EXPECT_TRUE(is_template_after_failure(name, dir + "/run_"));
  EXPECT_EQ(output, "Error creating temporary file (36): File name too long\n");
}

TEST(TmpFile, FailureRecordRespectsLogLevel) {
  TempFolder folder;
  LogSettings settings(2);
  std::string name;
  std::string const output =
      capture_stderr([&] { name = krel::fs::tmpfile("run_", folder / "missing"); });
  EXPECT_TRUE(is_template_after_failure(name, folder / "missing/run_")) << name;
  EXPECT_EQ(output, "");
}

TEST(TmpFile, EmptyFolderMeansRootAndFailsForOrdinaryUser) {
  krel_test::ChildReport const child = run_unprivileged([](int report) {
    write_all(report, krel::fs::tmpfile("run_", ""));
    return 0;
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_TRUE(is_template_after_failure(child.report, "/run_")) << child.report;
  EXPECT_FALSE(entry_exists(child.report));
  EXPECT_EQ(child.standard_error, "Error creating temporary file (13): Permission denied\n");
}

TEST(TmpFile, UnwritableFolderFailsForOrdinaryUser) {
  TempFolder folder;
  std::string const read_only = unprivileged_view(folder, "read-only", 0555);
  krel_test::ChildReport const child = run_unprivileged([&](int report) {
    write_all(report, krel::fs::tmpfile("run_", read_only));
    return 0;
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_TRUE(is_template_after_failure(child.report, read_only + "/run_")) << child.report;
  EXPECT_TRUE(folder_entries(read_only).empty());
  EXPECT_EQ(child.standard_error, "Error creating temporary file (13): Permission denied\n");
}

TEST(TmpOFile, FlagsZeroBehavesLikeTmpFile) {
  TempFolder folder;
  CreationMask mask(022);
  int const descriptors = open_descriptor_count();
  std::string const name = krel::fs::tmpofile("run_", folder.path(), 0);
  EXPECT_EQ(open_descriptor_count(), descriptors);
  EXPECT_TRUE(is_unique_suffix(name, folder / "run_")) << name;
  EXPECT_TRUE(is_regular_file(name));
  EXPECT_EQ(stdfs::file_size(name), 0u);
  EXPECT_EQ(mode_of(name), 0600);
}

TEST(TmpOFile, ExtraFlagsStillGiveAClosedEmptyFile) {
  TempFolder folder;
  CreationMask mask(0);
  int const descriptors = open_descriptor_count();
  std::string const name = krel::fs::tmpofile("log_", folder.path(), O_APPEND | O_CLOEXEC | O_SYNC);
  EXPECT_EQ(open_descriptor_count(), descriptors);
  EXPECT_TRUE(is_unique_suffix(name, folder / "log_")) << name;
  EXPECT_EQ(stdfs::file_size(name), 0u);
  EXPECT_EQ(mode_of(name), 0600);
  EXPECT_NE(krel::fs::tmpofile("log_", folder.path(), O_CLOEXEC), name);
}

TEST(TmpOFile, FailureHasTheTmpFileRecordAndTemplate) {
  TempFolder folder;
  std::string const missing = folder / "missing";
  std::string name;
  std::string const output =
      capture_stderr([&] { name = krel::fs::tmpofile("run_", missing, O_CLOEXEC); });
  EXPECT_TRUE(is_template_after_failure(name, missing + "/run_")) << name;
  EXPECT_EQ(output, "Error creating temporary file (2): No such file or directory\n");
}

TEST(TmpOFile, EmptyFolderFailsForOrdinaryUser) {
  krel_test::ChildReport const child = run_unprivileged([](int report) {
    write_all(report, krel::fs::tmpofile("run_", "", O_CLOEXEC));
    return 0;
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_TRUE(is_template_after_failure(child.report, "/run_")) << child.report;
  EXPECT_EQ(child.standard_error, "Error creating temporary file (13): Permission denied\n");
}

TEST(TmpDir, CreatesEmptyFolderWithMode0700) {
  TempFolder folder;
  CreationMask mask(022);
  std::string const name = krel::fs::tmpdir("job_", folder.path());
  EXPECT_TRUE(is_unique_suffix(name, folder / "job_")) << name;
  EXPECT_TRUE(is_directory(name));
  EXPECT_TRUE(folder_entries(name).empty());
  EXPECT_EQ(mode_of(name), 0700);
}

TEST(TmpDir, TrailingSlashAndTwoCalls) {
  TempFolder folder;
  std::string const first = krel::fs::tmpdir("job_", folder.path() + "/");
  std::string const second = krel::fs::tmpdir("job_", folder.path() + "/");
  EXPECT_TRUE(is_unique_suffix(first, folder.path() + "//job_")) << first;
  EXPECT_NE(first, second);
  EXPECT_TRUE(is_directory(first));
  EXPECT_TRUE(is_directory(second));
}

TEST(TmpDir, MissingFolderGivesEmptyTextWithRecord) {
  TempFolder folder;
  std::string name = "not called";
  std::string const output =
      capture_stderr([&] { name = krel::fs::tmpdir("job_", folder / "missing"); });
  EXPECT_EQ(name, "");
  EXPECT_EQ(output, "Error creating temporary folder (2): No such file or directory\n");
  EXPECT_TRUE(folder_entries(folder.path()).empty());
}

TEST(TmpDir, OverlongFolderGivesEmptyTextWithRecord) {
  TempFolder folder;
  std::string name = "not called";
  std::string const output =
      capture_stderr([&] { name = krel::fs::tmpdir("job_", overlong_path(folder.path())); });
  EXPECT_EQ(name, "");
  EXPECT_EQ(output, "Error creating temporary folder (36): File name too long\n");
}

TEST(TmpDir, EmptyFolderFailsForOrdinaryUser) {
  krel_test::ChildReport const child = run_unprivileged([](int report) {
    write_all(report, "[" + krel::fs::tmpdir("job_", "") + "]");
    return 0;
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.report, "[]");
  EXPECT_EQ(child.standard_error, "Error creating temporary folder (13): Permission denied\n");
}

// ---------------------------------------------------------------------------
// copy_file
// ---------------------------------------------------------------------------

TEST(CopyFile, OneByteFile) {
  TempFolder folder;
  write_file(folder / "source", "z");
  EXPECT_TRUE(krel::fs::copy_file(folder / "source", folder / "copy"));
  EXPECT_EQ(read_file(folder / "copy"), "z");
}

TEST(CopyFile, BinaryContentIsCopiedByteForByte) {
  TempFolder folder;
  std::string content;
  for (int i = 0; i < (1 << 20) + 3; ++i)
    content.push_back(static_cast<char>((i * 7) % 256));
  content += std::string("\r\n\0\r", 4);
  write_file(folder / "source", content);
  write_file(folder / "copy", std::string(3 << 20, 'o'));  // longer: must be truncated
  EXPECT_TRUE(krel::fs::copy_file(folder / "source", folder / "copy"));
  EXPECT_EQ(read_file(folder / "copy"), content);
}

TEST(CopyFile, ModeIsNotCarriedOver) {
  TempFolder folder;
  CreationMask mask(022);
  write_file(folder / "source", "secret");
  ::chmod((folder / "source").c_str(), 0600);
  EXPECT_TRUE(krel::fs::copy_file(folder / "source", folder / "copy"));
  EXPECT_EQ(mode_of(folder / "copy"), 0644);
}

TEST(CopyFile, EmptySourceIsFalseButLeavesAnEmptyCopy) {
  TempFolder folder;
  write_file(folder / "source", "");
  write_file(folder / "copy", "old content");
  EXPECT_FALSE(krel::fs::copy_file(folder / "source", folder / "copy"));
  EXPECT_TRUE(is_regular_file(folder / "copy"));
  EXPECT_EQ(read_file(folder / "copy"), "");
}

TEST(CopyFile, MissingSourceIsFalseAndStillEmptiesTheDestination) {
  TempFolder folder;
  EXPECT_FALSE(krel::fs::copy_file(folder / "missing", folder / "new"));
  EXPECT_TRUE(is_regular_file(folder / "new"));
  EXPECT_EQ(read_file(folder / "new"), "");
  write_file(folder / "old", "old content");
  EXPECT_FALSE(krel::fs::copy_file(folder / "missing", folder / "old"));
  EXPECT_EQ(read_file(folder / "old"), "");
}

TEST(CopyFile, DestinationInMissingFolderIsFalseAndCreatesNothing) {
  TempFolder folder;
  write_file(folder / "source", "data");
  EXPECT_FALSE(krel::fs::copy_file(folder / "source", folder / "missing/copy"));
  EXPECT_EQ(folder_entries(folder.path()), (std::set<std::string>{"source"}));
}

TEST(CopyFile, OntoItselfLosesTheContent) {
  TempFolder folder;
  write_file(folder / "file", "data");
  EXPECT_FALSE(krel::fs::copy_file(folder / "file", folder / "file"));
  EXPECT_EQ(read_file(folder / "file"), "");
}

TEST(CopyFile, DirectorySourceIsFalseWithoutThrowing) {
  TempFolder folder;
  bool result = true;
  EXPECT_NO_THROW(result = krel::fs::copy_file(folder.path(), folder / "copy"));
  EXPECT_FALSE(result);
  EXPECT_EQ(read_file(folder / "copy"), "");
}

TEST(CopyFile, EmptyAndOverlongNamesAreFalseAndSilent) {
  TempFolder folder;
  write_file(folder / "source", "data");
  LogSettings settings(7);
  std::string const output = capture_stderr([&] {
    EXPECT_FALSE(krel::fs::copy_file("", ""));
    EXPECT_FALSE(krel::fs::copy_file(folder / "source", ""));
    EXPECT_FALSE(krel::fs::copy_file(folder / "source", overlong_path(folder.path())));
    EXPECT_FALSE(krel::fs::copy_file(overlong_path(folder.path()), folder / "copy"));
  });
  EXPECT_EQ(output, "");
  EXPECT_EQ(read_file(folder / "source"), "data");
  EXPECT_EQ(read_file(folder / "copy"), "");
}

// ---------------------------------------------------------------------------
// wordexp
// ---------------------------------------------------------------------------

struct ExpansionCase {
  std::string words;
  std::string expected;
};

TEST(WordExp, FirstWordAfterQuotesAndSplitting) {
  EnvironmentVariable missing("NO_SUCH_VARIABLE_XYZ", std::nullopt);
  EnvironmentVariable number("KREL_FS_TEST_NUMBER", std::string("41"));
  ExpansionCase const cases[] = {
      {"", ""},
      {"a", "a"},
      {"a b", "a"},
      {"  a   b  c", "a"},
      {"'a b'", "a b"},
      {"\"a b\" c", "a b"},
      {"a\\ b", "a b"},
      {"$NO_SUCH_VARIABLE_XYZ", "$NO_SUCH_VARIABLE_XYZ"},
      {"${NO_SUCH_VARIABLE_XYZ}", "${NO_SUCH_VARIABLE_XYZ}"},
      {"$NO_SUCH_VARIABLE_XYZ tail", "tail"},
      {"x$NO_SUCH_VARIABLE_XYZ", "x"},
      {"   ", "   "},
      {"$(($KREL_FS_TEST_NUMBER + 1))", "42"},
      {"''", ""},
  };
  for (ExpansionCase const& row : cases) {
    EXPECT_EQ(krel::str::wordexp(row.words), row.expected) << row.words;
  }
}

TEST(WordExp, TildeAndHome) {
  TempFolder folder;
  EnvironmentVariable home("HOME", folder.path());
  ExpansionCase const cases[] = {
      {"~", folder.path()},      {"~/x", folder / "x"},           {"$HOME", folder.path()},
      {"$HOME/x", folder / "x"}, {"${HOME}/run", folder / "run"}, {"'$HOME'", "$HOME"},
  };
  for (ExpansionCase const& row : cases) {
    EXPECT_EQ(krel::str::wordexp(row.words), row.expected) << row.words;
  }
}

TEST(WordExp, GlobGivesFirstSortedMatchOrThePattern) {
  TempFolder folder;
  for (char const* name : {"c.txt", "a.txt", "b.txt", "z.log"})
    write_file(folder / name, "");
  EXPECT_EQ(krel::str::wordexp(folder / "*.txt"), folder / "a.txt");
  EXPECT_EQ(krel::str::wordexp(folder / "*.csv"), folder / "*.csv");
  WorkingDirectory inside(folder.path());
  EXPECT_EQ(krel::str::wordexp("*.txt"), "a.txt");
  EXPECT_EQ(krel::str::wordexp("*.log"), "z.log");
  EXPECT_EQ(krel::str::wordexp("*.csv"), "*.csv");
}

TEST(WordExp, CommandSubstitutionRuns) {
  TempFolder folder;
  EXPECT_EQ(krel::str::wordexp("$(echo hi)"), "hi");
  EXPECT_EQ(krel::str::wordexp("`echo hi`"), "hi");
  EXPECT_EQ(krel::str::wordexp("$(echo a b)"), "a");
  // A command with no output expands to no word: the text comes back, and
  // the command has run.
  std::string const marker = folder / "ran";
  std::string const words = "$(touch " + marker + ")";
  EXPECT_EQ(krel::str::wordexp(words), words);
  EXPECT_TRUE(entry_exists(marker));
}

TEST(WordExp, ErrorOutputOfCommandsIsDiscarded) {
  LogSettings settings(7);
  std::string result;
  std::string const output =
      capture_stderr([&] { result = krel::str::wordexp("$(ls /no/such/folder/krel)"); });
  EXPECT_EQ(result, "$(ls /no/such/folder/krel)");
  EXPECT_EQ(output, "");
}

struct ExpansionFailure {
  std::string words;
  int code;
};

TEST(WordExp, FailureWritesRecordThenThrowsPlainException) {
  ExpansionFailure const cases[] = {
      {"a|b", 2},  {"a&b", 2},    {"a;b", 2},    {"a<b", 2},      {"a>b", 2},
      {"(a)", 2},  {"{a}", 2},    {"a\nb", 2},   {"'abc", 5},     {"\"abc", 5},
      {"`abc", 5}, {"$(echo", 5}, {"${HOME", 5}, {"$((1/0))", 5}, {"a\\", 5},
  };
  LogSettings settings(3);
  for (ExpansionFailure const& row : cases) {
    std::type_info const* thrown = nullptr;
    std::string what;
    std::string const output = capture_stderr([&] {
      try {
        krel::str::wordexp(row.words);
      } catch (std::exception const& error) {
        thrown = &typeid(error);
        what = error.what();
      }
    });
    ASSERT_NE(thrown, nullptr) << row.words;
    EXPECT_TRUE(*thrown == typeid(std::exception)) << row.words << ": " << thrown->name();
    EXPECT_EQ(what, std::exception().what());
    EXPECT_EQ(output, "word expansion failed with error " + std::to_string(row.code) + ": " +
                          row.words + "\n");
  }
}

TEST(WordExp, PipeRecordIsExact) {
  LogSettings settings(3);
  bool thrown = false;
  std::string const output = capture_stderr([&] {
    try {
      krel::str::wordexp("a|b");
    } catch (std::exception const&) {
      thrown = true;
    }
  });
  EXPECT_TRUE(thrown);
  EXPECT_EQ(output, "word expansion failed with error 2: a|b\n");
}

TEST(WordExp, FailureThrowsEvenWhenTheRecordIsSilent) {
  LogSettings settings(2);
  std::string const output =
      capture_stderr([] { EXPECT_THROW(krel::str::wordexp("'unbalanced"), std::exception); });
  EXPECT_EQ(output, "");
}

// ---------------------------------------------------------------------------
// get_lib_name
// ---------------------------------------------------------------------------

struct LibraryNameCase {
  std::string path;
  std::string expected;
};

TEST(GetLibName, StripsFolderLibPrefixAndExactExtension) {
  LibraryNameCase const cases[] = {
      {"/usr/lib64/libz.so", "z"},
      {"libcrypto.a", "crypto"},
      {"libfoo.so.1.2", "foo.so.1.2"},
      {"/opt/x/libbar", "bar"},
      {"mylib.so", "mylib"},
      {"LIBfoo.so", "LIBfoo"},
      {"lib", "lib"},
      {"lib.so", ""},
      {"/opt/x/", ""},
      {"foo.tar.a", "foo.tar"},
      {"", ""},
      {"/", ""},
      {"libs", "s"},
      {"liblib.so", "lib"},
      {"/usr/lib/libc.so.6", "c.so.6"},
      {"libfoo.SO", "foo.SO"},
      {"libfoo.a.so", "foo.a"},
      {"libfoo.", "foo."},
      {".so", ""},
      {"lib.a", ""},
      {"a.b/libx.so", "x"},
      {"dir\\libx.so", "dir\\libx"},
      {"//libz.so", "z"},
  };
  LogSettings settings(7);
  for (LibraryNameCase const& row : cases) {
    std::string result;
    std::string const output = capture_stderr([&] { result = krel::str::get_lib_name(row.path); });
    EXPECT_EQ(result, row.expected) << row.path;
    EXPECT_EQ(output, "") << row.path;
  }
}

// ---------------------------------------------------------------------------
// compare_versions
// ---------------------------------------------------------------------------

struct VersionCase {
  std::string version_a;
  std::string version_b;
  bool is_newer;
  std::string record;
};

constexpr char kParseRecord[] = "Unable to parse version.\n";

// Every row is checked against compare_versions and is_newer_version alike.
std::vector<VersionCase> const kVersionCases = {
    {"2.0", "1.9", true, ""},
    {"1.10", "1.9", true, ""},
    {"1.9", "1.10", false, ""},
    {"1.2", "1.2", false, ""},
    {"1.2.1", "1.2", false, ""},
    {"1.2", "1.2.1", false, ""},
    {"3rc1", "2", true, ""},
    {"", "5", false, ""},
    {"5", "", false, ""},
    {"", "", false, ""},
    {"1..2", "1.1.2", false, kParseRecord},
    {"1.x", "1.2", false, kParseRecord},
    {"1.2", "1.x", false, kParseRecord},
    {"2.x", "1.y", true, ""},
    {"99999999999", "1", false, kParseRecord},
    {"1", "99999999999", false, kParseRecord},
    {"07", "7", false, ""},
    {"+4", "3", true, ""},
    {" 3", "2", true, ""},
    {"-1", "0", false, ""},
    {"0", "-1", true, ""},
    {"2147483647", "2147483646", true, ""},
    {"2147483648", "1", false, kParseRecord},
    {"-2147483648", "1", false, ""},
    {"-2147483649", "1", false, kParseRecord},
    {"1.", "1.5", false, ""},
    {".1", "1", false, kParseRecord},
    {"rc1", "1", false, kParseRecord},
    {"1.2.3", "1.2.4", false, ""},
    {"1.2.10", "1.2.9", true, ""},
    {"- 1", "0", false, kParseRecord},
};

TEST(CompareVersions, AnswersOnlyThroughIsNewer) {
  LogSettings settings(4);
  for (VersionCase const& row : kVersionCases) {
    bool is_newer = !row.is_newer;
    bool returned = false;
    std::string const output = capture_stderr(
        [&] { returned = krel::str::compare_versions(row.version_a, row.version_b, is_newer); });
    EXPECT_TRUE(returned) << row.version_a << " vs " << row.version_b;
    EXPECT_EQ(is_newer, row.is_newer) << row.version_a << " vs " << row.version_b;
    EXPECT_EQ(output, row.record) << row.version_a << " vs " << row.version_b;
  }
}

// nullopt exactly where compare_versions writes its record; else its answer.
TEST(IsNewerVersion, AgreesWithCompareVersionsAndWritesNoRecord) {
  LogSettings settings(4);
  for (VersionCase const& row : kVersionCases) {
    std::optional<bool> newer;
    std::string const output =
        capture_stderr([&] { newer = krel::str::is_newer_version(row.version_a, row.version_b); });
    std::optional<bool> const expected =
        row.record.empty() ? std::optional<bool>(row.is_newer) : std::nullopt;
    EXPECT_EQ(newer, expected) << row.version_a << " vs " << row.version_b;
    EXPECT_EQ(output, "") << row.version_a << " vs " << row.version_b;
  }
}

TEST(CompareVersions, ParseRecordIsSilentAtDefaultLevel) {
  LogSettings settings(3);
  bool is_newer = true;
  bool returned = false;
  std::string const output =
      capture_stderr([&] { returned = krel::str::compare_versions("1.x", "1.2", is_newer); });
  EXPECT_TRUE(returned);
  EXPECT_FALSE(is_newer);
  EXPECT_EQ(output, "");
}

TEST(CompareVersions, LeavesErrnoAlone) {
  bool is_newer = false;
  errno = EINTR;
  krel::str::compare_versions("99999999999", "1", is_newer);
  EXPECT_EQ(errno, EINTR);
}

// ---------------------------------------------------------------------------
// Descriptors
// ---------------------------------------------------------------------------

constexpr int kRepetitions = 1000;

TEST(Descriptors, TemporaryFilesAndFoldersLeaveNoneOpen) {
  TempFolder folder;
  int const before = open_descriptor_count();
  for (int i = 0; i < kRepetitions; ++i)
    krel::fs::tmpfile("f_", folder.path());
  EXPECT_EQ(open_descriptor_count(), before);
  for (int i = 0; i < kRepetitions; ++i)
    krel::fs::tmpofile("o_", folder.path(), O_APPEND);
  EXPECT_EQ(open_descriptor_count(), before);
  for (int i = 0; i < kRepetitions; ++i)
    krel::fs::tmpdir("d_", folder.path());
  EXPECT_EQ(open_descriptor_count(), before);
  EXPECT_EQ(folder_entries(folder.path()).size(), 3u * kRepetitions);
}

TEST(Descriptors, FailedCreationsLeaveNoneOpen) {
  TempFolder folder;
  LogSettings settings(2);
  int const before = open_descriptor_count();
  for (int i = 0; i < kRepetitions; ++i) {
    krel::fs::tmpfile("f_", folder / "missing");
    krel::fs::tmpofile("o_", folder / "missing", 0);
    krel::fs::tmpdir("d_", folder / "missing");
  }
  EXPECT_EQ(open_descriptor_count(), before);
}

TEST(Descriptors, CopyFileLeavesNoneOpen) {
  TempFolder folder;
  write_file(folder / "source", "data");
  int const before = open_descriptor_count();
  for (int i = 0; i < kRepetitions; ++i) {
    krel::fs::copy_file(folder / "source", folder / "copy");
    krel::fs::copy_file(folder / "missing", folder / "empty");
  }
  EXPECT_EQ(open_descriptor_count(), before);
  EXPECT_EQ(read_file(folder / "copy"), "data");
}

TEST(Descriptors, WordExpLeavesNoneOpen) {
  TempFolder folder;
  EnvironmentVariable home("HOME", folder.path());
  LogSettings settings(2);
  int const before = open_descriptor_count();
  for (int i = 0; i < kRepetitions; ++i) {
    krel::str::wordexp("~/x");
    krel::str::wordexp("$HOME");
  }
  EXPECT_EQ(open_descriptor_count(), before);
  for (int i = 0; i < kRepetitions; ++i) {
    EXPECT_THROW(krel::str::wordexp("a|b"), std::exception);
  }
  EXPECT_EQ(open_descriptor_count(), before);
  EXPECT_EQ(krel::str::wordexp("~/x"), folder / "x");
}

}  // namespace
