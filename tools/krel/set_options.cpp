#include "set_options.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <limits>
#include <random>
#include <unordered_set>
#include <utility>
#include <vector>

#include "internal/decimal.hpp"
#include "tool_error.hpp"

namespace krel_tool {
namespace {

using krel::internal::append_decimal;

// More picked names than this, from a set larger still, would need a list
// of their indexes beyond reason.
constexpr std::uint64_t kMostPicked = 10000000;
// Digits of a percentage, before and after its point: enough for any
// threshold, small enough for exact arithmetic.
constexpr std::size_t kMostPercentDigits = 6;
constexpr std::size_t kMostPercentDecimals = 6;

constexpr char kFormatProblem[] = "FMT must hold exactly one %s (write %% for a percent sign)";
constexpr char kAutostepProblem[] =
    "must be a count of 2 or more, a percentage such as 50%, or auto";

// The positional words of `command` read so far.
std::size_t positional_words(CLI::App const& command) {
  std::size_t count = 0;
  for (CLI::Option const* option : command.get_options()) {
    if (option->get_positional()) count += option->count();
  }
  return count;
}

void add_set_operation(CLI::App& command, std::string const& names, SetOperation::Kind kind,
                       std::string const& help, std::vector<SetOperation>& operations) {
  command
      .add_option_function<std::string>(
          names,
          [&command, &operations, kind](std::string const& list) {
            operations.push_back({kind, list, positional_words(command)});
          },
          help)
      ->type_name("LIST")
      ->trigger_on_parse()
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

std::string check_format(std::string const& format) {
  std::size_t conversions = 0;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%') continue;
    char const next = i + 1 < format.size() ? format[i + 1] : '\0';
    if (next != '%' && next != 's') return kFormatProblem;
    if (next == 's') ++conversions;
    ++i;
  }
  return conversions == 1 ? std::string() : std::string(kFormatProblem);
}

bool all_digits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Reads "N%" or "N.M%": the percentage is numerator / 10^decimals.
bool read_percent(std::string_view text, std::uint64_t& numerator, std::size_t& decimals) {
  if (text.size() < 2 || text.back() != '%') return false;
  text.remove_suffix(1);
  std::size_t const point = text.find('.');
  std::string_view const whole = text.substr(0, point);
  std::string_view const fraction =
      point == std::string_view::npos ? std::string_view() : text.substr(point + 1);
  if (!all_digits(whole) || whole.size() > kMostPercentDigits) return false;
  if (point != std::string_view::npos &&
      (!all_digits(fraction) || fraction.size() > kMostPercentDecimals))
    return false;
  numerator = 0;
  for (char c : whole)
    numerator = numerator * 10 + static_cast<std::uint64_t>(c - '0');
  for (char c : fraction)
    numerator = numerator * 10 + static_cast<std::uint64_t>(c - '0');
  decimals = fraction.size();
  return true;
}

std::string check_autostep(std::string const& text) {
  std::uint64_t numerator = 0;
  std::size_t decimals = 0;
  if (text == "auto" || read_percent(text, numerator, decimals)) return std::string();
  if (!all_digits(text)) return kAutostepProblem;
  if (text.size() > 19) return "K is too large";
  if (std::stoull(text) < 2) return kAutostepProblem;
  return std::string();
}

}  // namespace

void add_set_options(CLI::App& command, SetRequest& request) {
  add_set_operation(command, "-x,--exclude", SetOperation::Kind::kExclude,
                    "Remove the hosts of LIST (\"-\": standard input)", request.operations);
  add_set_operation(command, "-i,--intersect", SetOperation::Kind::kIntersect,
                    "Keep only the hosts also in LIST", request.operations);
  add_set_operation(command, "-X,--xor", SetOperation::Kind::kXor,
                    "Keep the hosts in exactly one of the set and LIST", request.operations);
  command
      .add_option_function<std::string>(
          "-I,--slice", [&request](std::string const& ranges) { request.slice = ranges; },
          "Keep the hosts at these 0-based indexes of the set's order, as 0-9,20 or 0-9/2")
      ->type_name("RANGES");
  CLI::Option* const pick =
      command
          .add_option_function<std::uint64_t>(
              "--pick", [&request](std::uint64_t count) { request.pick = count; },
              "Keep N hosts chosen at random (after --slice)")
          ->type_name("N")
          ->check(CLI::Range(std::uint64_t(1), std::numeric_limits<std::uint64_t>::max()));
  command
      .add_option_function<std::uint64_t>(
          "--seed", [&request](std::uint64_t seed) { request.seed = seed; },
          "With --pick: choose the same hosts for the same SEED")
      ->type_name("SEED")
      ->check(CLI::NonNegativeNumber)
      ->needs(pick);
  command
      .add_option("-O,--output-format", request.output_format,
                  "Write each piece (each name with expand, the count with count) "
                  "through FMT, where %s stands for it")
      ->type_name("FMT")
      ->check(check_format, "FMT");
  command.parse_complete_callback(
      [&command, &request] { request.inputs_written = positional_words(command); });
}

void add_autostep_option(CLI::App& fold, std::string& autostep, CLI::Option* report) {
  fold.add_option("--autostep", autostep,
                  "Write a-b/N for runs of step N > 1 that have at least K members (K: a count, "
                  "N% of the names, or auto: all of them)")
      ->type_name("K")
      ->check(check_autostep, "K")
      ->excludes(report);
}

std::uint64_t autostep_threshold(std::string const& text, std::uint64_t size) {
  if (text.empty()) return 0;
  if (text == "auto") return std::max<std::uint64_t>(size, 3);
  std::uint64_t numerator = 0;
  std::size_t decimals = 0;
  if (!read_percent(text, numerator, decimals)) return std::stoull(text);
  std::uint64_t denominator = 100;
  for (std::size_t i = 0; i < decimals; ++i)
    denominator *= 10;
  // Above 100% no run has enough members.
  if (numerator > denominator) return 0;
  // ceil(size * numerator / denominator), exact: numerator <= denominator <= 10^8.
  std::uint64_t const whole = size / denominator;
  std::uint64_t const rest = size % denominator;
  std::uint64_t const part = (rest * numerator + denominator - 1) / denominator;
  return std::max<std::uint64_t>(whole * numerator + part, 2);
}

std::string formatted(std::string const& format, std::string_view text) {
  if (format.empty()) return std::string(text);
  std::string result;
  result.reserve(format.size() + text.size());
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] == '%' && i + 1 < format.size()) {
      ++i;
      if (format[i] == 's')
        result += text;
      else
        result += format[i];
      continue;
    }
    result += format[i];
  }
  return result;
}

std::string unescaped(std::string const& separator) {
  std::string result;
  result.reserve(separator.size());
  for (std::size_t i = 0; i < separator.size(); ++i) {
    char const next = i + 1 < separator.size() ? separator[i + 1] : '\0';
    char const escaped = next == 'n'    ? '\n'
                         : next == 't'  ? '\t'
                         : next == 'r'  ? '\r'
                         : next == '\\' ? '\\'
                                        : '\0';
    if (separator[i] == '\\' && escaped != '\0') {
      result += escaped;
      ++i;
    } else {
      result += separator[i];
    }
  }
  return result;
}

krel::HostSet picked(krel::HostSet const& set, std::uint64_t count,
                     std::optional<std::uint64_t> seed) {
  std::uint64_t const size = set.size();
  if (count >= size) return set;
  if (count > kMostPicked)
    throw ToolError("--pick: at most " + std::to_string(kMostPicked) +
                    " hosts can be picked from a larger set");
  std::mt19937_64 random(seed ? *seed : std::random_device()());
  // Floyd's sampling: `count` distinct indexes, each set of them as likely.
  std::unordered_set<std::uint64_t> chosen;
  chosen.reserve(static_cast<std::size_t>(count));
  for (std::uint64_t last = size - count; last < size; ++last) {
    std::uint64_t const index = std::uniform_int_distribution<std::uint64_t>(0, last)(random);
    if (!chosen.insert(index).second) chosen.insert(last);
  }
  std::vector<std::uint64_t> indexes(chosen.begin(), chosen.end());
  std::sort(indexes.begin(), indexes.end());
  std::string ranges;
  for (std::uint64_t index : indexes) {
    if (!ranges.empty()) ranges += ',';
    append_decimal(ranges, index);
  }
  return set.select(ranges).value_or(krel::HostSet());
}

}  // namespace krel_tool
