// Group sources from ClusterShell's groups.conf. Input: the file's text.
//
// The shell commands of the input never run: before the file is written,
// every value except those of `default` and `cache_time` is replaced by one
// of a few harmless commands (chosen by the value, so that the fuzzer still
// steers them), `confdir` and `autodir` point into the scratch folder, and
// leading blanks (continuation lines) and lines without a separator are
// taken out of reach. The structure (sections, "[a,b]", keys, comments,
// repeated keys and sections) stays the fuzzer's.
//
// Checked: a refused file gives no resolver and one line; a loaded one
// lists its sources with the default first, each group reads as listed,
// "@@src" holds the group names, and regrouping "@src:*" reads back as the
// same set. Commands that fail, print nothing or name their own group must
// give a one-line message, never a crash or a hang.
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz_groups_support.hpp"
#include "fuzz_support.hpp"
#include "krel/hostgroups.hpp"

namespace {

constexpr std::array<char const*, 14> kCommands = {
    "echo n[1-3]",
    "printf 'a1\\na2\\n'",
    "echo $GROUP",
    "echo @$GROUP",
    "echo $SOURCE $NODE",
    "false",
    "exit 3",
    "echo 'n[1-99999999999]'",
    "printf '@%s:x\\n' $SOURCE",
    "echo g1 g2 g[3-4]",
    "echo",
    "printf 'x%s\\n' 1 2 3 4 5 6 7 8",
    "echo '@*'",
    "echo @@$SOURCE",
};
constexpr std::array<char const*, 3> kFolders = {"$CFGDIR", "$CFGDIR/none", ""};

std::string lowered_trimmed(std::string_view text) {
  std::string out;
  for (char c : text)
    out += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
  std::size_t const end = out.find_last_not_of(" \t");
  return end == std::string::npos ? std::string() : out.substr(0, end + 1);
}

// One line made harmless, as the header comment describes.
std::string defanged_line(std::string_view line) {
  std::size_t const start = line.find_first_not_of(" \t\v\f");
  if (start == std::string_view::npos) return std::string();
  line.remove_prefix(start);
  if (line[0] == '#' || line[0] == ';') return std::string(line);
  if (line[0] == '[') {
    std::size_t const close = line.rfind(']');
    return close == std::string_view::npos ? "no separator here"
                                           : std::string(line.substr(0, close + 1));
  }
  std::size_t const separator = line.find_first_of(":=");
  if (separator == std::string_view::npos) return "no separator here";
  std::string_view const value = line.substr(separator + 1);
  std::string const key = lowered_trimmed(line.substr(0, separator));
  std::string out(line.substr(0, separator + 1));
  std::size_t const choice = std::hash<std::string_view>()(value);
  if (key == "default" || key == "cache_time") return out + std::string(value);
  if (key == "confdir" || key == "autodir") return out + " " + kFolders[choice % kFolders.size()];
  return out + " " + kCommands[choice % kCommands.size()];
}

std::string defanged(std::string const& text) {
  std::string out;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find_first_of("\n\r", start);
    if (end == std::string::npos) end = text.size();
    out += defanged_line(std::string_view(text).substr(start, end - start));
    out += '\n';
    start = end + 1;
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const text = defanged(std::string(reinterpret_cast<char const*>(data), size));
  std::string const detail = "groups.conf " + krel_fuzz::quoted(text);
  std::optional<krel::GroupResolver> const groups = krel_fuzz::load_scratch(
      "groups.conf", text, &krel::GroupResolver::from_config, detail, false);
  if (!groups) return 0;
  // Every group of an upcall source costs a process: few of them.
  krel_fuzz::walk_resolver(*groups, detail, 4, 8);
  return 0;
}
