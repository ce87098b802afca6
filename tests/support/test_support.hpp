// Helpers shared by the test programs.
#pragma once

#include <functional>
#include <string>

namespace krel_test {

// Standard error written while `body` runs, byte for byte.
std::string capture_stderr(std::function<void()> const& body);

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

}  // namespace krel_test
