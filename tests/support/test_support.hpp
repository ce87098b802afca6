// Helpers shared by the test programs.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "krel/hostgroups.hpp"
#include "krel/hostset.hpp"

namespace krel {
// Shows a set in test failures as its fold, quoted.
void PrintTo(HostSet const& set, std::ostream* out);
}  // namespace krel

namespace krel_test {

// Whether `set` passes HostSet::verify, with the problem and the set's
// fold when it does not.
::testing::AssertionResult verified(krel::HostSet const& set);

// The set `notation` stands for, which must read (a failure otherwise, and
// the empty set) and pass verify.
krel::HostSet read_hosts(std::string const& notation);

// Standard error written while `body` runs, byte for byte.
std::string capture_stderr(std::function<void()> const& body);

// The message of the std::out_of_range that `body` throws; a marker text when
// it throws something else or nothing.
std::string out_of_range_message(std::function<void()> const& body);

// Sets the logging globals for one test and restores them afterwards.
class LogSettings {
 public:
  explicit LogSettings(int level, int output = 0);
  ~LogSettings();
  LogSettings(LogSettings const&) = delete;
  LogSettings& operator=(LogSettings const&) = delete;

 private:
  int saved_level_;
  int saved_output_;
};

// What a child process reported: its exit status and what it wrote to the
// report pipe and to its standard error.
struct ChildReport {
  int exit_status = -1;
  std::string report;
  std::string standard_error;
};

// Forks; the child drops to an unprivileged user and group (nobody/nogroup,
// 65534) when running as root, runs `body` with the write end of the report
// pipe, and exits with its return value. Permission checks then apply in the
// child even when the suite runs as root.
ChildReport run_unprivileged(std::function<int(int report_fd)> const& body);

// Writes all of `text` to `fd`.
void write_all(int fd, std::string const& text);

// The fold of what `resolver` reads from `expression` (in `source`, empty:
// the default one), or "error: " and the message.
std::string group_fold(krel::GroupResolver const& resolver, std::string const& expression,
                       std::string const& source = {});

// Creates or replaces the file `path` holding `text`.
void write_file(std::string const& path, std::string const& text);

// A fresh folder under /tmp, removed with everything in it on destruction.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(TempFolder const&) = delete;
  TempFolder& operator=(TempFolder const&) = delete;

  std::string const& path() const { return path_; }
  std::string operator/(std::string const& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Number of open descriptors of this process, from /proc/self/fd.
int open_descriptor_count();

// A resolver of the groups.d YAML `text`, written to `folder`/groups.yaml;
// throws std::runtime_error with the reader's message when it is refused.
krel::GroupResolver yaml_groups(TempFolder const& folder, std::string const& text);

}  // namespace krel_test
