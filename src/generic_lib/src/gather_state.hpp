// What a Gatherer holds: nodes, distinct texts and the tree of distinct line
// sequences, each stored once. Private to the gather units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "internal/id_table.hpp"
#include "krel/gather.hpp"

namespace krel {

struct GatherState {
  // A node: its name in `name_bytes` and the sequence it has said so far.
  struct Node {
    std::uint64_t offset;
    std::uint32_t size;
    std::uint32_t sequence;
  };
  // A distinct text in `text_bytes`.
  struct Text {
    std::uint64_t offset;
    std::uint64_t size;
  };
  // A distinct sequence of lines: the sequence before its last line, and
  // that line's text. Sequence 0 is the empty one.
  struct Step {
    std::uint32_t parent;
    std::uint32_t text;
  };

  explicit GatherState(GatherReadOptions read_options);

  std::string_view name(std::uint32_t node) const {
    return std::string_view(name_bytes).substr(nodes[node].offset, nodes[node].size);
  }
  std::string_view text(std::uint32_t id) const {
    return std::string_view(text_bytes).substr(texts[id].offset, texts[id].size);
  }
  // The node called `name`, or IdTable::kMissing.
  std::uint32_t find_node(std::string_view name) const;
  // The lines of `sequence`, first to last.
  std::vector<std::string_view> lines(std::uint32_t sequence) const;
  // The hash a node's name is looked up by.
  static std::uint64_t hash_name(std::string_view node_name);
  // Splits one line (without its newline) into node name and text as the
  // style reads it, counting it; false and `error` ("line N: ...") when it
  // is refused.
  bool split(std::string_view line, std::string_view& node, std::string_view& text,
             std::string* error);
  // Records that `node_name` (hashed to `node_hash`) said `line`; false (and
  // `error`) when an id would pass 32 bits.
  bool record(std::string_view node_name, std::string_view line, std::uint64_t node_hash,
              std::string* error);
  // The id of the distinct text `line`, stored when new.
  std::uint32_t text_id(std::string_view line);
  // The sequence `parent` followed by the text `said`, stored when new.
  std::uint32_t step_id(std::uint32_t parent, std::uint32_t said);

  GatherReadOptions options;
  std::string carry;  // the last line of the text fed so far, without its newline yet
  std::uint64_t line_number = 0;
  std::uint64_t line_total = 0;

  std::string name_bytes;
  std::vector<Node> nodes;
  internal::IdTable node_table;

  std::string text_bytes;
  std::vector<Text> texts;
  internal::IdTable text_table;
  std::uint32_t last_text = internal::IdTable::kMissing;  // the text recorded last

  std::vector<Step> steps;
  internal::IdTable step_table;
  std::uint32_t last_step = 0;  // the step taken last (0: none yet)
};

}  // namespace krel
