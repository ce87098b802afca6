// Gatherer: the line reader and the gathering. Input: a first byte whose
// low bit picks the style (dshbak, clubak) and whose other bits say where
// the text is cut in two for feeding; the rest is the text.
//
// Checked against a plain reading of the lines: a bad line is refused with
// its number and nothing after it is read; otherwise every line appears
// under exactly the node set that said it (each group's nodes said exactly
// its lines, the groups cover every node once and their sequences differ),
// and gathering then expanding gives back each node's own lines in order.
// Feeding the text in two pieces gives the same page as in one.
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/gather.hpp"
#include "krel/hostset.hpp"

namespace {

using krel_fuzz::expect;
using krel_fuzz::quoted;

bool blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

struct Reading {
  std::map<std::string, std::vector<std::string>> said;
  std::uint64_t bad_line = 0;  // 0: every line is good
};

// One line as the peers read it; false when it is refused.
bool read_line(std::string line, bool clubak, Reading& reading) {
  if (clubak)
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n'))
      line.pop_back();
  std::size_t const colon = line.find(':');
  if (colon == std::string::npos) return false;
  std::size_t begin = 0;
  std::size_t end = colon;
  while (begin < end && blank(line[begin]))
    ++begin;
  while (end > begin && blank(line[end - 1]))
    --end;
  std::string const name = line.substr(begin, end - begin);
  if (name.empty() || name[0] == '@') return false;  // '@' begins a group reference
  for (char const c : name)
    if (blank(c) || c == ',' || c == '[' || c == ']' || c == '!' || c == '&' || c == '^' ||
        c == '\0')
      return false;
  std::string text = line.substr(colon + 1);
  if (!clubak && !text.empty() && text[0] == ' ') text.erase(0, 1);
  reading.said[name].push_back(text);
  return true;
}

Reading read_model(std::string const& text, bool clubak) {
  Reading reading;
  std::uint64_t number = 0;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    ++number;
    if (!read_line(text.substr(start, end - start), clubak, reading)) {
      reading.bad_line = number;
      return reading;
    }
    start = end + 1;
  }
  return reading;
}

void check_groups(krel::Gatherer const& gatherer, Reading const& reading,
                  std::string const& detail) {
  std::map<std::string, std::vector<std::string>> seen;
  std::map<std::vector<std::string>, int> sequences;
  for (krel::GatheredOutput const& group : gatherer.gathered()) {
    expect(!group.nodes.empty(), "no empty group", detail);
    krel_fuzz::expect_verified(group.nodes, "a group's nodes", detail);
    expect(++sequences[group.lines] == 1, "groups say different lines", detail);
    group.nodes.for_each([&](std::string_view node) {
      std::string const name(node);
      expect(seen.count(name) == 0, "a node is in one group only", detail + " " + quoted(name));
      seen[name] = group.lines;
    });
  }
  expect(seen == reading.said, "each group's nodes said exactly its lines", detail);
  std::map<std::string, std::vector<std::string>> expanded;
  gatherer.for_each_node(krel::GatherOrder::kLargestFirst,
                         [&](std::string_view node, std::vector<std::string_view> const& lines) {
                           expanded[std::string(node)] =
                               std::vector<std::string>(lines.begin(), lines.end());
                         });
  expect(expanded == reading.said, "expanding gives back each node's lines in order", detail);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  bool const clubak = (data[0] & 1) != 0;
  std::string const text(reinterpret_cast<char const*>(data) + 1, size - 1);
  std::size_t const cut = text.empty() ? 0 : (data[0] >> 1) % (text.size() + 1);
  std::string const detail = "text " + quoted(text) + (clubak ? " clubak" : " dshbak");
  Reading const reading = read_model(text, clubak);

  krel::GatherStyle const style = clubak ? krel::GatherStyle::kClubak : krel::GatherStyle::kDshbak;
  krel::Gatherer whole(krel::GatherReadOptions{":", style});
  std::string error;
  bool const ok = whole.feed(text, &error) && whole.finish(&error);
  if (reading.bad_line != 0) {
    std::string const where = "line " + std::to_string(reading.bad_line) + ": ";
    expect(!ok && error.compare(0, where.size(), where) == 0, "a bad line is refused by number",
           detail + " error " + quoted(error));
    return 0;
  }
  expect(ok, "good lines are read", detail + " error " + quoted(error));
  check_groups(whole, reading, detail);

  krel::Gatherer pieces(krel::GatherReadOptions{":", style});
  expect(pieces.feed(text.substr(0, cut)) && pieces.feed(text.substr(cut)) && pieces.finish(),
         "pieces are read", detail);
  for (bool const per_node : {false, true})
    expect(pieces.page({per_node, false}) == whole.page({per_node, false}),
           "pieces give the same page", detail + " cut " + std::to_string(cut));
  return 0;
}
