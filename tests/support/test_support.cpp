#include "test_support.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "krel/log.hpp"

namespace krel {
void PrintTo(HostSet const& set, std::ostream* out) {
  *out << '"' << set.fold() << '"';
}
}  // namespace krel

namespace krel_test {

::testing::AssertionResult verified(krel::HostSet const& set) {
  std::string problem;
  if (set.verify(&problem)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << problem << " in " << set.fold();
}

krel::HostSet read_hosts(std::string const& notation) {
  std::string error;
  std::optional<krel::HostSet> set = krel::HostSet::parse(notation, &error);
  EXPECT_TRUE(set.has_value()) << notation << ": " << error;
  if (set) {
    EXPECT_TRUE(verified(*set)) << notation;
  }
  return set.value_or(krel::HostSet());
}
namespace {

std::string read_all(int fd) {
  std::string text;
  char buffer[4096];
  for (;;) {
    ssize_t const n = ::read(fd, buffer, sizeof buffer);
    if (n > 0) {
      text.append(buffer, static_cast<std::size_t>(n));
    } else if (n == 0 || errno != EINTR) {
      break;
    }
  }
  return text;
}

}  // namespace

std::string out_of_range_message(std::function<void()> const& body) {
  try {
    body();
  } catch (std::out_of_range const& error) {
    return error.what();
  } catch (...) {
    return "<another exception>";
  }
  return "<no exception>";
}

std::string capture_stderr(std::function<void()> const& body) {
  testing::internal::CaptureStderr();
  body();
  return testing::internal::GetCapturedStderr();
}

LogSettings::LogSettings(int level, int output)
    : saved_level_(krel::log::LOG_LEVEL), saved_output_(krel::log::LOG_OUTPUT) {
  krel::log::LOG_LEVEL = level;
  krel::log::LOG_OUTPUT = output;
}

LogSettings::~LogSettings() {
  krel::log::LOG_LEVEL = saved_level_;
  krel::log::LOG_OUTPUT = saved_output_;
}

void write_all(int fd, std::string const& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    ssize_t const n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    done += static_cast<std::size_t>(n);
  }
}

std::string group_fold(krel::GroupResolver const& resolver, std::string const& expression,
                       std::string const& source) {
  std::string error;
  auto const nodes = resolver.parse(expression, source, &error);
  return nodes ? nodes->fold() : "error: " + error;
}

krel::GroupResolver yaml_groups(TempFolder const& folder, std::string const& text) {
  write_file(folder / "groups.yaml", text);
  std::string error;
  auto resolver = krel::GroupResolver::from_yaml(folder / "groups.yaml", &error);
  if (!resolver) throw std::runtime_error(error);
  return std::move(*resolver);
}

void write_file(std::string const& path, std::string const& text) {
  int const fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) throw std::runtime_error("cannot create " + path);
  write_all(fd, text);
  ::close(fd);
}

ChildReport run_unprivileged(std::function<int(int report_fd)> const& body) {
  int report_pipe[2];
  int error_pipe[2];
  if (::pipe(report_pipe) != 0 || ::pipe(error_pipe) != 0) throw std::runtime_error("pipe");
  pid_t const child = ::fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) {
    ::close(report_pipe[0]);
    ::close(error_pipe[0]);
    ::dup2(error_pipe[1], STDERR_FILENO);
    ::close(error_pipe[1]);
    if (::geteuid() == 0) {
      constexpr uid_t kNobody = 65534;
      constexpr gid_t kNoGroup = 65534;
      if (::setgroups(0, nullptr) != 0 || ::setgid(kNoGroup) != 0 || ::setuid(kNobody) != 0) {
        ::_exit(125);
      }
    }
    int const status = body(report_pipe[1]);
    std::fflush(nullptr);
    ::_exit(status);
  }
  ::close(report_pipe[1]);
  ::close(error_pipe[1]);
  ChildReport result;
  // The child writes little; read the report first, then standard error.
  result.report = read_all(report_pipe[0]);
  result.standard_error = read_all(error_pipe[0]);
  ::close(report_pipe[0]);
  ::close(error_pipe[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  result.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

TempFolder::TempFolder() {
  char name[] = "/tmp/krel-test-XXXXXX";
  if (::mkdtemp(name) == nullptr) throw std::runtime_error("mkdtemp");
  path_ = name;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  // Folders made read-only by a test must become writable again to be removed.
  std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, ignored);
  for (auto const& entry : std::filesystem::recursive_directory_iterator(path_, ignored)) {
    if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) {
      std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add, ignored);
    }
  }
  std::filesystem::remove_all(path_, ignored);
}

int open_descriptor_count() {
  DIR* const folder = ::opendir("/proc/self/fd");
  if (folder == nullptr) return -1;
  int count = 0;
  while (dirent const* entry = ::readdir(folder)) {
    if (entry->d_name[0] != '.') ++count;
  }
  ::closedir(folder);
  return count - 1;  // the descriptor of the listing itself
}

}  // namespace krel_test
