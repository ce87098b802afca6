#include "process_io.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>

#include "tool_error.hpp"

namespace krel_tool {
namespace {

constexpr std::size_t kReadBlockBytes = std::size_t(1) << 20;

std::string read_all(int fd) {
  std::string text;
  std::size_t used = 0;
  while (true) {
    if (text.size() - used < kReadBlockBytes) text.resize(used + kReadBlockBytes);
    ssize_t const got = ::read(fd, &text[used], text.size() - used);
    if (got > 0) {
      used += static_cast<std::size_t>(got);
    } else if (got == 0) {
      break;
    } else if (errno != EINTR) {
      throw ToolError(std::string("cannot read standard input: ") + std::strerror(errno));
    }
  }
  text.resize(used);
  return text;
}

bool write_all(int fd, char const* data, std::size_t size) {
  while (size > 0) {
    ssize_t const written = ::write(fd, data, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

std::string const& standard_input() {
  static std::string const text = read_all(STDIN_FILENO);
  return text;
}

void write_output(std::string const& text) {
  if (!write_all(STDOUT_FILENO, text.data(), text.size()))
    throw ToolError(std::string("cannot write standard output: ") + std::strerror(errno));
}

std::string watch_records(std::function<void()> const& call) {
  std::unique_ptr<std::FILE, FileCloser> const capture(std::tmpfile());
  int const saved = capture ? ::dup(STDERR_FILENO) : -1;
  if (saved < 0) {
    // Without a place to watch, the records still reach standard error.
    call();
    return std::string();
  }
  std::cerr.flush();
  std::fflush(stderr);
  ::dup2(::fileno(capture.get()), STDERR_FILENO);
  struct Restore {
    int saved;
    ~Restore() {
      std::cerr.flush();
      std::fflush(stderr);
      ::dup2(saved, STDERR_FILENO);
      ::close(saved);
    }
  };
  {
    Restore const restore{saved};
    call();
  }
  ::lseek(::fileno(capture.get()), 0, SEEK_SET);
  std::string const records = read_all(::fileno(capture.get()));
  write_all(STDERR_FILENO, records.data(), records.size());
  return records;
}

}  // namespace krel_tool
