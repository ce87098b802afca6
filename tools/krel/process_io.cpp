#include "process_io.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "internal/decimal.hpp"
#include "tool_error.hpp"

namespace krel_tool {
namespace {

constexpr std::size_t kReadBlockBytes = std::size_t(1) << 20;

struct FreeBuffer {
  void operator()(char* buffer) const { std::free(buffer); }
};
using Buffer = std::unique_ptr<char, FreeBuffer>;

// A growing malloc'd buffer: large blocks grow by remapping pages rather than
// by copying and clearing them, which is what makes a pipe of a million
// names cheap to take in.
class ReadBuffer {
 public:
  explicit ReadBuffer(std::size_t capacity) { grow(capacity); }

  char* free_space() { return buffer_.get() + used_; }
  std::size_t free_size() const { return capacity_ - used_; }
  void commit(std::size_t bytes) { used_ += bytes; }
  void make_room(std::size_t bytes) {
    if (free_size() < bytes) grow(std::max(capacity_ * 2, used_ + bytes));
  }
  std::string_view text() const { return std::string_view(buffer_.get(), used_); }

 private:
  void grow(std::size_t capacity) {
    char* const grown = static_cast<char*>(std::realloc(buffer_.get(), capacity));
    if (grown == nullptr) throw std::bad_alloc();
    buffer_.release();
    buffer_.reset(grown);
    capacity_ = capacity;
  }

  Buffer buffer_;
  std::size_t capacity_ = 0;
  std::size_t used_ = 0;
};

// Reads what `fd` has, up to `room` bytes, into `into`; 0 at its end.
std::size_t read_some(int fd, char* into, std::size_t room) {
  while (true) {
    ssize_t const got = ::read(fd, into, room);
    if (got >= 0) return static_cast<std::size_t>(got);
    if (errno != EINTR)
      throw ToolError(std::string("cannot read standard input: ") + std::strerror(errno));
  }
}

// Reads `fd` to its end. A regular file is read into a buffer of its size.
void read_all(int fd, ReadBuffer& buffer) {
  while (true) {
    // A buffer sized for a regular file keeps a byte free to see its end.
    if (buffer.free_size() == 0) buffer.make_room(kReadBlockBytes);
    std::size_t const got = read_some(fd, buffer.free_space(), buffer.free_size());
    if (got == 0) return;
    buffer.commit(got);
  }
}

// The size of a regular file, 0 for anything else.
std::size_t file_size(int fd) {
  struct stat status {};
  if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0)
    return static_cast<std::size_t>(status.st_size);
  return 0;
}

ReadBuffer read_standard_input() {
  std::size_t const size = file_size(STDIN_FILENO);
  ReadBuffer buffer(size == 0 ? kReadBlockBytes : size + 1);
  read_all(STDIN_FILENO, buffer);
  return buffer;
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

void write_standard_output(std::string_view text) {
  if (!write_all(STDOUT_FILENO, text.data(), text.size()))
    throw ToolError(std::string("cannot write standard output: ") + std::strerror(errno));
}

// Output is gathered in a block small enough to stay in the processor's
// cache and written whenever it fills, so that ten million numbers never
// exist as one string of 80 MB that would be written to memory, read back
// and paged in on the way. The slack lets a number be stored with one
// fixed-size copy.
constexpr std::size_t kWriteBlockBytes = std::size_t(64) << 10;
constexpr std::size_t kNumberSlack = 16;

class BlockWriter {
 public:
  BlockWriter() : block_(new char[kWriteBlockBytes + kNumberSlack]), end_(block_.get()) {}

  void append(std::string_view text) {
    // Most texts are names, far shorter than the room left.
    if (text.size() < kWriteBlockBytes - used()) {
      std::memcpy(end_, text.data(), text.size());
      end_ += text.size();
      return;
    }
    while (!text.empty()) {
      std::size_t const room = kWriteBlockBytes - used();
      std::size_t const take = std::min(room, text.size());
      std::memcpy(end_, text.data(), take);
      end_ += take;
      text.remove_prefix(take);
      if (used() == kWriteBlockBytes) flush();
    }
  }

  // Stores `line` (at most kNumberSlack bytes long) in one fixed-size copy.
  void append_short_line(char const* line, std::size_t size) {
    std::memcpy(end_, line, kNumberSlack);
    end_ += size;
    if (used() >= kWriteBlockBytes) flush();
  }

  void flush() {
    write_standard_output(std::string_view(block_.get(), used()));
    end_ = block_.get();
  }

 private:
  std::size_t used() const { return static_cast<std::size_t>(end_ - block_.get()); }

  std::unique_ptr<char[]> block_;
  char* end_;
};

}  // namespace

std::string_view standard_input() {
  static ReadBuffer const buffer = read_standard_input();
  return buffer.text();
}

void read_standard_input_blocks(std::function<void(std::string_view)> const& take) {
  std::unique_ptr<char[]> const block(new char[kReadBlockBytes]);
  while (true) {
    std::size_t const got = read_some(STDIN_FILENO, block.get(), kReadBlockBytes);
    if (got == 0) return;
    take(std::string_view(block.get(), got));
  }
}

void write_output(std::string const& text) {
  write_standard_output(text);
}

void write_names(std::string const& separator,
                 std::function<void(NameVisitor const&)> const& produce) {
  BlockWriter writer;
  bool first = true;
  produce([&writer, &separator, &first](std::string_view name) {
    if (!first) writer.append(separator);
    first = false;
    writer.append(name);
  });
  if (first) return;
  writer.append("\n");
  writer.flush();
}

void write_number_lines(std::vector<int> const& values) {
  BlockWriter writer;
  // The current number and its newline. A number that follows its
  // predecessor by one is mostly that text plus one, which is far cheaper
  // to make than a conversion.
  char line[kNumberSlack] = {};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    int const value = values[i];
    // value - 1 cannot overflow here, and a predecessor of 1 or more was
    // written by its digits alone, without a sign.
    bool const next = i > 0 && value > 1 && values[i - 1] == value - 1 &&
                      krel::internal::increment_decimal(line, digits);
    if (!next)
      digits = static_cast<std::size_t>(std::to_chars(line, line + sizeof line, value).ptr - line);
    line[digits] = '\n';
    writer.append_short_line(line, digits + 1);
  }
  writer.flush();
}

}  // namespace krel_tool
