// Gatherer: reading "node SEP text" lines and storing what each node said.

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "gather_state.hpp"
#include "internal/hash.hpp"
#include "internal/text.hpp"
#include "krel/gather.hpp"

namespace krel {
namespace {

using internal::IdTable;
using internal::quoted;

// Longest piece of a line quoted in a message.
constexpr std::size_t kQuotedBytes = 60;
constexpr std::uint32_t kMaxId = std::numeric_limits<std::uint32_t>::max() - 1;

std::uint64_t hash_text(std::string_view text) {
  return internal::hash_finish(internal::hash_bytes(internal::kHashSeed, text.data(), text.size()));
}

// `line` quoted for a message, cut after kQuotedBytes.
std::string quoted_piece(std::string_view line) {
  if (line.size() <= kQuotedBytes) return quoted(line);
  return quoted(line.substr(0, kQuotedBytes)) + "...";
}

bool fail(std::string* error, std::string message) {
  if (error != nullptr) *error = std::move(message);
  return false;
}

// The bytes a host name cannot hold, as the peers read names: blanks,
// notation and the operators of set expressions.
struct NameBytes {
  bool refused[256] = {};
  constexpr NameBytes() {
    for (char const c : {' ', '\t', '\n', '\r', '\v', '\f', ',', '[', ']', '!', '&', '^', '\0'})
      refused[static_cast<unsigned char>(c)] = true;
  }
};
constexpr NameBytes kNameBytes;

// Whether the peers read `name` as one host name, the same one: no blanks,
// no notation; a leading '@' names a group, not a host.
bool is_one_host_name(std::string_view name) {
  if (!name.empty() && name.front() == '@') return false;
  for (char const c : name)
    if (kNameBytes.refused[static_cast<unsigned char>(c)]) return false;
  return true;
}

// `line` without the carriage returns and newlines that end it, as clubak
// reads lines.
std::string_view without_line_end(std::string_view line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n'))
    line.remove_suffix(1);
  return line;
}

std::size_t find_separator(std::string_view line, std::string const& separator) {
  if (separator.size() == 1) {
    void const* const at = std::memchr(line.data(), separator[0], line.size());
    return at == nullptr ? std::string_view::npos
                         : static_cast<std::size_t>(static_cast<char const*>(at) - line.data());
  }
  return line.find(separator);
}

// Lines split but not yet recorded.
struct Pending {
  std::string_view node;
  std::string_view text;
  std::uint64_t hash;
};

struct Batch {
  static constexpr std::size_t kSize = 16;

  // Records the lines held, in order, and empties the batch. Their table
  // slots were fetched as they were read; the nodes those slots point to,
  // then the nodes' names, are fetched a round each before any is compared.
  bool record(GatherState& state, std::string* error) {
    std::uint32_t guess[kSize];
    for (std::size_t i = 0; i < count; ++i) {
      guess[i] = state.node_table.first_candidate(lines[i].hash);
      if (guess[i] != IdTable::kMissing) __builtin_prefetch(&state.nodes[guess[i]]);
    }
    for (std::size_t i = 0; i < count; ++i)
      if (guess[i] != IdTable::kMissing)
        __builtin_prefetch(state.name_bytes.data() + state.nodes[guess[i]].offset);
    for (std::size_t i = 0; i < count; ++i)
      if (!state.record(lines[i].node, lines[i].text, lines[i].hash, error)) return false;
    count = 0;
    return true;
  }

  Pending lines[kSize];
  std::size_t count = 0;
};

}  // namespace

GatherState::GatherState(GatherReadOptions read_options) : options(std::move(read_options)) {
  steps.push_back(Step{0, 0});
}

std::uint32_t GatherState::find_node(std::string_view node_name) const {
  return node_table.find(hash_text(node_name),
                         [&](std::uint32_t id) { return name(id) == node_name; });
}

std::vector<std::string_view> GatherState::lines(std::uint32_t sequence) const {
  std::vector<std::string_view> result;
  for (; sequence != 0; sequence = steps[sequence].parent)
    result.push_back(text(steps[sequence].text));
  std::reverse(result.begin(), result.end());
  return result;
}

std::uint64_t GatherState::hash_name(std::string_view node_name) {
  return hash_text(node_name);
}

bool GatherState::split(std::string_view line, std::string_view& node, std::string_view& text,
                        std::string* error) {
  std::uint64_t const number = ++line_number;
  auto const located = [number, error](std::string const& problem) {
    return fail(error, "line " + std::to_string(number) + ": " + problem);
  };
  bool const clubak = options.style == GatherStyle::kClubak;
  std::string_view const read = clubak ? without_line_end(line) : line;
  std::size_t const at =
      options.separator.empty() ? std::string_view::npos : find_separator(read, options.separator);
  if (at == std::string_view::npos)
    return located("no " + quoted(options.separator) + " between node name and text in " +
                   quoted_piece(line));
  node = internal::trim_blanks(read.substr(0, at));
  if (node.empty())
    return located("no node name before " + quoted(options.separator) + " in " +
                   quoted_piece(line));
  if (!is_one_host_name(node))
    return located("node name " + quoted_piece(node) + " is not one host name");
  text = read.substr(at + options.separator.size());
  if (!clubak && !text.empty() && text.front() == ' ') text.remove_prefix(1);
  return true;
}

std::uint32_t GatherState::text_id(std::string_view line) {
  // Lines of many nodes in a row are mostly one text: the last one is
  // tried first.
  if (last_text != IdTable::kMissing && text(last_text) == line) return last_text;
  bool inserted = false;
  last_text = text_table.find_or_insert(
      hash_text(line), [&](std::uint32_t id) { return text(id) == line; },
      static_cast<std::uint32_t>(texts.size()), inserted);
  if (inserted) {
    texts.push_back(Text{text_bytes.size(), line.size()});
    text_bytes += line;
  }
  return last_text;
}

bool GatherState::record(std::string_view node_name, std::string_view line, std::uint64_t node_hash,
                         std::string* error) {
  if (nodes.size() >= kMaxId || texts.size() >= kMaxId || steps.size() >= kMaxId)
    return fail(error, "more than 4294967294 distinct nodes, texts or sequences");
  bool inserted = false;
  auto const node_id = node_table.find_or_insert(
      node_hash, [&](std::uint32_t id) { return name(id) == node_name; },
      static_cast<std::uint32_t>(nodes.size()), inserted);
  if (inserted) {
    nodes.push_back(Node{name_bytes.size(), static_cast<std::uint32_t>(node_name.size()), 0});
    name_bytes += node_name;
  }
  std::uint32_t const said = text_id(line);
  nodes[node_id].sequence = step_id(nodes[node_id].sequence, said);
  ++line_total;
  return true;
}

std::uint32_t GatherState::step_id(std::uint32_t parent, std::uint32_t said) {
  // Node after node says the same line after the same lines: the step
  // taken last is tried first.
  Step const& last = steps[last_step];
  if (last.parent == parent && last.text == said && last_step != 0) return last_step;
  std::uint64_t const hash = internal::hash_finish(
      internal::hash_step(internal::hash_step(internal::kHashSeed, parent), said));
  bool inserted = false;
  last_step = step_table.find_or_insert(
      hash, [&](std::uint32_t id) { return steps[id].parent == parent && steps[id].text == said; },
      static_cast<std::uint32_t>(steps.size()), inserted);
  if (inserted) steps.push_back(Step{parent, said});
  return last_step;
}

Gatherer::Gatherer(GatherReadOptions options)
    : state_(std::make_unique<GatherState>(std::move(options))) {}
Gatherer::Gatherer(Gatherer&& other) noexcept = default;
Gatherer& Gatherer::operator=(Gatherer&& other) noexcept = default;
Gatherer::~Gatherer() = default;

bool Gatherer::add(std::string_view node, std::string_view line, std::string* error) {
  if (node.empty()) return fail(error, "empty node name");
  if (!is_one_host_name(node))
    return fail(error, "node name " + quoted_piece(node) + " is not one host name");
  return state_->record(node, line, GatherState::hash_name(node), error);
}

bool Gatherer::add_line(std::string_view line, std::string* error) {
  GatherState& state = *state_;
  std::string_view node;
  std::string_view text;
  return state.split(line, node, text, error) &&
         state.record(node, text, GatherState::hash_name(node), error);
}

bool Gatherer::feed(std::string_view text, std::string* error) {
  GatherState& state = *state_;
  if (!state.carry.empty()) {
    void const* const found = std::memchr(text.data(), '\n', text.size());
    if (found == nullptr) {
      state.carry += text;
      return true;
    }
    auto const end = static_cast<std::size_t>(static_cast<char const*>(found) - text.data());
    state.carry += text.substr(0, end);
    std::string const line = std::move(state.carry);
    state.carry.clear();
    if (!add_line(line, error)) return false;
    text.remove_prefix(end + 1);
  }
  // Lines are read a batch at a time: the table slots of the batch's nodes
  // are fetched while the next lines are read, not one after another.
  Batch batch;
  while (!text.empty()) {
    void const* const found = std::memchr(text.data(), '\n', text.size());
    if (found == nullptr) {
      state.carry.assign(text.data(), text.size());
      break;
    }
    auto const end = static_cast<std::size_t>(static_cast<char const*>(found) - text.data());
    Pending& pending = batch.lines[batch.count];
    if (!state.split(text.substr(0, end), pending.node, pending.text, error)) {
      std::string const problem = error != nullptr ? *error : std::string();
      if (!batch.record(state, error)) return false;
      if (error != nullptr) *error = problem;
      return false;
    }
    pending.hash = GatherState::hash_name(pending.node);
    state.node_table.prefetch(pending.hash);
    if (++batch.count == Batch::kSize && !batch.record(state, error)) return false;
    text.remove_prefix(end + 1);
  }
  return batch.record(state, error);
}

bool Gatherer::finish(std::string* error) {
  GatherState& state = *state_;
  if (state.carry.empty()) return true;
  std::string const last = std::move(state.carry);
  state.carry.clear();
  return add_line(last, error);
}

std::size_t Gatherer::node_count() const {
  return state_->nodes.size();
}
std::uint64_t Gatherer::line_count() const {
  return state_->line_total;
}

}  // namespace krel
