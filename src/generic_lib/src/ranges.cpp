// Number runs and range lists: get_merged_ints, int_vect_to_str,
// expand_ranges and get_num_permutations_from_string.
#include "krel/ranges.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <sstream>
#include <stdexcept>

#include "internal/decimal.hpp"
#include "internal/value_bitmap.hpp"
#include "krel/str.hpp"
#include "record.hpp"

namespace krel {
namespace str {
namespace {

constexpr char kRecordSource[] = "src/generic_lib/src/ranges";

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
  if (auto const map = internal::ValueBitmap::of_close_values(values)) {
    map->for_each_run(on_run);
    return;
  }
  std::vector<int> sorted(values);
  std::sort(sorted.begin(), sorted.end());
  runs_of_sorted(sorted.data(), sorted.size(), on_run);
}

void append_padded(std::string& out, std::string const& padding, int value) {
  out += padding;
  internal::append_decimal(out, value);
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
  std::string const padding = internal::zero_string(zeroes);
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

}  // namespace str
}  // namespace krel
