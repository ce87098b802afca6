#include "krel/str.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sstream>
#include <stdexcept>
// libgen.h renames basename to the POSIX form; the GNU form from <cstring>
// is the one wanted here, so the rename is undone right after.
#include <libgen.h>
#undef basename

#include "record.hpp"

namespace krel {
namespace str {
namespace {

constexpr char kRecordSource[] = "src/generic_lib/src/str";
constexpr char kLineWhiteSpace[] = " \t\n\r";
constexpr std::size_t kPathBufferBytes = 4096;

// Copies at most 4096 bytes of `path` into `buffer` (4097 bytes), terminated.
void copy_path_prefix(std::string const& path, char (&buffer)[kPathBufferBytes + 1]) {
  std::size_t const length = path.copy(buffer, kPathBufferBytes);
  buffer[length] = '\0';
}

template <typename Number, typename Convert>
void convert_with_position(std::string const& text, Number& value, unsigned long& position,
                           Convert convert, char const* name) {
  char const* const begin = text.c_str();
  char* end = nullptr;
  errno = 0;
  Number const converted = convert(begin, &end);
  if (end == begin) throw std::invalid_argument(name);
  if (errno == ERANGE) throw std::out_of_range(name);
  position = static_cast<unsigned long>(end - begin);
  value = converted;
}

}  // namespace

// ---------------------------------------------------------------------------
// Number runs and range lists
// ---------------------------------------------------------------------------

namespace {

// `count` '0' characters; none for 0 or a negative count.
std::string zeroes_str(int count) {
  if (count <= 0) return std::string();
  return std::string(static_cast<std::size_t>(count), '0');
}

// Calls on_run(first, last) for every maximal run of consecutive values in
// `sorted` (ascending, repeats allowed), in order.
template <typename OnRun>
void runs_of_sorted(int const* sorted, std::size_t count, OnRun&& on_run) {
  int first = sorted[0];
  int last = first;
  for (std::size_t i = 1; i < count; ++i) {
    int const value = sorted[i];
    if (value == last) continue;
    if (std::int64_t{value} != std::int64_t{last} + 1) {
      on_run(first, last);
      first = value;
    }
    last = value;
  }
  on_run(first, last);
}

// Calls on_run(first, last) for every maximal run of consecutive values
// among the distinct values of `values`, in ascending order. Values that lie
// close together (host numbers, mostly) are found in a bit map, which costs
// time in proportion to their count and span rather than a sort.
template <typename OnRun>
void for_each_run(std::vector<int> const& values, OnRun&& on_run) {
  // A handful of values is sorted on the stack.
  constexpr std::size_t kFewValues = 32;
  if (values.size() <= kFewValues) {
    int sorted[kFewValues];
    std::copy(values.begin(), values.end(), sorted);
    std::sort(sorted, sorted + values.size());
    runs_of_sorted(sorted, values.size(), on_run);
    return;
  }
  auto const [lowest, highest] = std::minmax_element(values.begin(), values.end());
  std::int64_t const low = *lowest;
  auto const span = static_cast<std::uint64_t>(std::int64_t{*highest} - low);
  if (span / 8 > values.size()) {
    std::vector<int> sorted(values);
    std::sort(sorted.begin(), sorted.end());
    runs_of_sorted(sorted.data(), sorted.size(), on_run);
    return;
  }
  std::vector<std::uint64_t> present(static_cast<std::size_t>(span / 64) + 1, 0);
  for (int const value : values) {
    auto const offset = static_cast<std::uint64_t>(value - low);
    present[offset / 64] |= std::uint64_t{1} << (offset % 64);
  }
  // Offsets past the span are clear, so every run ends inside the map or
  // exactly at its end.
  std::uint64_t const bits = present.size() * 64;
  auto const next_with = [&present, bits](std::uint64_t from, bool set) {
    std::size_t word = static_cast<std::size_t>(from / 64);
    std::uint64_t const flip = set ? 0 : ~std::uint64_t{0};
    std::uint64_t candidates = (present[word] ^ flip) & (~std::uint64_t{0} << (from % 64));
    while (candidates == 0) {
      if (++word == present.size()) return bits;
      candidates = present[word] ^ flip;
    }
    return std::uint64_t{word} * 64 + static_cast<std::uint64_t>(__builtin_ctzll(candidates));
  };
  for (std::uint64_t start = 0; start < bits;) {
    start = next_with(start, true);
    if (start == bits) break;
    std::uint64_t const stop = next_with(start, false);
    on_run(static_cast<int>(low + static_cast<std::int64_t>(start)),
           static_cast<int>(low + static_cast<std::int64_t>(stop) - 1));
    start = stop;
  }
}

void append_padded(std::string& out, std::string const& padding, int value) {
  out += padding;
  char digits[16];
  char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  out.append(digits, end);
}

// Restores errno as the standard conversions do: left as it was when the
// conversion raised no error.
class SavedErrno {
 public:
  SavedErrno() : saved_(errno) { errno = 0; }
  ~SavedErrno() {
    if (errno == 0) errno = saved_;
  }
  SavedErrno(SavedErrno const&) = delete;
  SavedErrno& operator=(SavedErrno const&) = delete;

 private:
  int saved_;
};

// Reads an unsigned long at `text` as std::stoul does (white space and a sign
// accepted, a negative value wrapping). False when nothing converts or the
// value is out of range; otherwise `end` is where the conversion stopped.
bool read_unsigned(char const* text, unsigned long& value, char const*& end) {
  SavedErrno const saved;
  char* stop = nullptr;
  value = std::strtoul(text, &stop, 10);
  if (stop == text || errno == ERANGE) return false;
  end = stop;
  return true;
}

// Reads one item of a range list, "n" or "a-b", into its bounds.
bool read_range_item(std::string const& item, unsigned long& low, unsigned long& high) {
  char const* const text = item.c_str();
  char const* const text_end = text + item.size();
  char const* end = nullptr;
  if (!read_unsigned(text, low, end)) return false;
  high = low;
  if (end == text_end) return true;
  if (*end != '-') return false;
  char const* const rest = end + 1;
  return read_unsigned(rest, high, end) && end == text_end;
}

// Ints are handled as keys: an int's 32 bits with the top bit flipped, so
// that consecutive ints have consecutive keys and the order of the keys is
// the order of the ints. An interval of keys, both ends included:
struct KeyInterval {
  std::uint64_t first;
  std::uint64_t last;
};

constexpr std::uint64_t kKeyCount = std::uint64_t{1} << 32;
constexpr std::uint32_t kSignBit = 0x80000000U;

// Adds the ints that low..high name once narrowed to their low 32 bits. A
// range of 2^32 values or more names every int; a shorter one may wrap past
// the top of the key space and then becomes two intervals.
void add_narrowed_range(unsigned long low, unsigned long high,
                        std::vector<KeyInterval>& intervals) {
  if (high - low >= kKeyCount - 1) {
    intervals.push_back({0, kKeyCount - 1});
    return;
  }
  std::uint64_t const first = static_cast<std::uint32_t>(low) ^ kSignBit;
  std::uint64_t const last = first + (high - low);
  if (last < kKeyCount) {
    intervals.push_back({first, last});
  } else {
    intervals.push_back({first, kKeyCount - 1});
    intervals.push_back({0, last - kKeyCount});
  }
}

// The ints of the intervals, ascending, each once.
std::vector<int> ints_of(std::vector<KeyInterval>& intervals) {
  std::sort(intervals.begin(), intervals.end(),
            [](KeyInterval const& a, KeyInterval const& b) { return a.first < b.first; });
  std::vector<KeyInterval> merged;
  std::uint64_t total = 0;
  for (KeyInterval const& interval : intervals) {
    if (!merged.empty() && interval.first <= merged.back().last + 1) {
      if (interval.last > merged.back().last) {
        total += interval.last - merged.back().last;
        merged.back().last = interval.last;
      }
    } else {
      merged.push_back(interval);
      total += interval.last - interval.first + 1;
    }
  }
  std::vector<int> values(static_cast<std::size_t>(total));
  int* out = values.data();
  for (KeyInterval const& interval : merged) {
    auto value = static_cast<std::uint32_t>(interval.first) ^ kSignBit;
    for (std::uint64_t key = interval.first; key <= interval.last; ++key) {
      *out++ = static_cast<int>(value++);
    }
  }
  return values;
}

}  // namespace

std::string get_merged_ints(std::vector<int> const& values, bool& multiple, int zeroes) {
  multiple = false;
  if (values.empty()) return std::string();
  // Runs are written "first-last", single values alone, joined by ",".
  std::string const padding = zeroes_str(zeroes);
  std::string folded;
  std::size_t runs = 0;
  bool ranges = false;
  for_each_run(values, [&](int first, int last) {
    if (runs++ != 0) folded += ',';
    append_padded(folded, padding, first);
    if (last == first) return;
    ranges = true;
    folded += '-';
    append_padded(folded, padding, last);
  });
  multiple = runs > 1 || ranges;
  return folded;
}

std::string int_vect_to_str(std::vector<int> const& values, std::string const& separator) {
  std::ostringstream joined;
  for (std::size_t i = 0; i < values.size(); ++i) {
    joined << values[i];
    if (i + 1 != values.size()) joined << separator;
  }
  return joined.str();
}

std::vector<int> expand_ranges(std::string const& list) {
  std::vector<std::string> const items = split(stripws(list), ',', true);
  if (items.empty()) return {};
  // Memory runs out for a result of billions of values: the answer is then
  // the empty list, as for any other list that cannot be expanded.
  try {
    std::vector<KeyInterval> intervals;
    intervals.reserve(items.size());
    for (std::string const& item : items) {
      unsigned long low = 0;
      unsigned long high = 0;
      if (!read_range_item(item, low, high) || low > high) return {};
      add_narrowed_range(low, high, intervals);
    }
    return ints_of(intervals);
  } catch (std::bad_alloc const&) {
    return {};
  } catch (std::length_error const&) {
    return {};
  }
}

unsigned int get_num_permutations_from_string(std::string const& value,
                                              unsigned int const& default_count,
                                              std::string const& source) {
  {
    SavedErrno const saved;
    char const* const text = value.c_str();
    char* end = nullptr;
    long const number = std::strtol(text, &end, 10);
    bool const converted = end != text && errno != ERANGE && number >= INT_MIN && number <= INT_MAX;
    if (converted && number >= 0) return static_cast<unsigned int>(number);
    if (!converted && (value == "all" || value == "ALL")) return 0;
  }
  KREL_RECORD(4) << "Invalid value specified for number of nodelist permutations"
                 << " in " << source << ". Valid values are positive integers,"
                 << " they keyword 'all', or the number 0 to represent all";
  return default_count;
}

// ---------------------------------------------------------------------------
// Case, trimming and white space
// ---------------------------------------------------------------------------

std::string lower(std::string s) {
  for (char& c : s)
    c = static_cast<char>(std::tolower(static_cast<signed char>(c)));
  return s;
}

std::string upper(std::string s) {
  for (char& c : s)
    c = static_cast<char>(std::toupper(static_cast<signed char>(c)));
  return s;
}

std::string rstrip(std::string s, std::string chars) {
  std::size_t const last = s.find_last_not_of(chars);
  if (last == std::string::npos) return std::string();
  s.erase(last + 1);
  return s;
}

std::string fstrip(std::string s, std::string chars) {
  std::size_t const first = s.find_first_not_of(chars);
  if (first == std::string::npos) return std::string();
  return s.substr(first);
}

std::string strip(std::string s, std::string chars) {
  if (chars.empty()) return stripws(std::move(s));
  return fstrip(rstrip(std::move(s), chars), chars);
}

std::string stripws(std::string s) {
  std::size_t const first = s.find_first_not_of(kLineWhiteSpace);
  if (first == std::string::npos) return std::string();
  std::size_t const last = s.find_last_not_of(kLineWhiteSpace);
  return s.substr(first, last - first + 1);
}

bool isSpace(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}

std::string stripallws(std::string s) {
  std::size_t kept = 0;
  for (char const c : s) {
    if (!isSpace(c)) s[kept++] = c;
  }
  s.resize(kept);
  return s;
}

std::string replace(std::string s, std::string const& from, std::string const& to) {
  if (from.empty()) return s;
  std::size_t pos = s.find(from);
  if (pos == std::string::npos) return s;
  if (from.size() == to.size()) {
    for (; pos != std::string::npos; pos = s.find(from, pos + to.size())) {
      s.replace(pos, from.size(), to);
    }
    return s;
  }
  // Built afresh so that the cost stays linear: replacing in place would move
  // the tail once per occurrence. The text after each match is searched only
  // from behind the match, so inserted text is never searched again.
  std::string out;
  out.reserve(s.size());
  std::size_t copied = 0;
  for (; pos != std::string::npos; pos = s.find(from, copied)) {
    out.append(s, copied, pos - copied);
    out += to;
    copied = pos + from.size();
  }
  out.append(s, copied, std::string::npos);
  return out;
}

std::string squeeze(std::string s, char c) {
  // The length is taken as a signed 32-bit count: only that many leading
  // bytes take part, and a string whose count comes out below 2 is returned
  // as it is.
  int const counted = static_cast<int>(s.size());
  if (counted < 2) return s;
  std::size_t const end = static_cast<std::size_t>(counted);
  std::size_t kept = 1;
  for (std::size_t i = 1; i < end; ++i) {
    if (s[i] == c && s[i - 1] == c) continue;
    s[kept++] = s[i];
  }
  s.erase(kept, end - kept);
  return s;
}

bool startswith(std::string const& s, std::string const& prefix) {
  return s.size() >= prefix.size() && s.compare(0, prefix.size(), prefix) == 0;
}

bool endswith(std::string const& s, std::string const& suffix) {
  return s.size() >= suffix.size() &&
         s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

bool in_vect(std::vector<std::string> const& list, std::string const& s) {
  for (std::string const& element : list) {
    if (element == s) return true;
  }
  return false;
}

bool string_search(std::vector<std::string> const& list, std::string const& s) {
  for (std::string const& element : list) {
    if (!element.empty() && element.find(s) != std::string::npos) return true;
  }
  return false;
}

// ---------------------------------------------------------------------------
// Splitting
// ---------------------------------------------------------------------------

std::vector<std::string> split(std::string const& s, char delimiter, bool squeeze_runs) {
  std::string const squeezed = squeeze_runs ? squeeze(s, delimiter) : std::string();
  std::string const& text = squeeze_runs ? squeezed : s;
  std::vector<std::string> fields;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t const end = text.find(delimiter, start);
    if (end == std::string::npos) {
      fields.emplace_back(text, start);
      break;
    }
    fields.emplace_back(text, start, end - start);
    start = end + 1;
  }
  return fields;
}

// ---------------------------------------------------------------------------
// Path-like strings and number readers
// ---------------------------------------------------------------------------

std::string basename(std::string const& path) {
  char buffer[kPathBufferBytes + 1];
  copy_path_prefix(path, buffer);
  return std::string(::basename(buffer));
}

std::string dirname(std::string const& path) {
  char buffer[kPathBufferBytes + 1];
  copy_path_prefix(path, buffer);
  return std::string(::dirname(buffer));
}

std::string remove_path(std::string const& path) {
  std::size_t const slash = path.rfind('/');
  if (slash == std::string::npos) return path;
  return path.substr(slash + 1);
}

std::string get_sub_id(std::string const& id) {
  std::size_t const colon = id.find(':');
  if (colon == std::string::npos) return std::string();
  return id.substr(colon);
}

std::string remove_sub_id(std::string const& id) {
  return id.substr(0, id.find(':'));
}

void convert_to_selection_helper(std::string const& text, double& value, unsigned long& position) {
  convert_with_position(text, value, position, std::strtod, "stod");
}

void convert_to_selection_helper(std::string const& text, float& value, unsigned long& position) {
  convert_with_position(text, value, position, std::strtof, "stof");
}

void convert_to_selection_helper(std::string const& text, long double& value,
                                 unsigned long& position) {
  convert_with_position(text, value, position, std::strtold, "stold");
}

}  // namespace str
}  // namespace krel
