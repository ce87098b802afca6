// Host sets: the name cursor, parts of a set cut while walking it, and the
// public iterator built on the cursor.
#include "hostset_cursor.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hostset_data.hpp"
#include "hostset_sort.hpp"
#include "internal/decimal.hpp"
#include "krel/hostset.hpp"

namespace krel {
namespace hostset_internal {

NameCursor::NameCursor(Data const& storage) {
  if (storage.patterns.empty()) return;
  storage_ = &storage;
  enter_pattern();
}

NameCursor::NameCursor(NameCursor const& other)
    : storage_(other.storage_),
      pattern_(other.pattern_),
      levels_(other.levels_),
      name_(other.name_) {
  // The texts point into their reader: read them again.
  if (storage_ != nullptr) texts_.read(storage_->patterns[pattern_].key);
}

NameCursor& NameCursor::operator=(NameCursor const& other) {
  if (this == &other) return *this;
  storage_ = other.storage_;
  pattern_ = other.pattern_;
  levels_ = other.levels_;
  name_ = other.name_;
  if (storage_ != nullptr) texts_.read(storage_->patterns[pattern_].key);
  return *this;
}

void NameCursor::enter_pattern() {
  Pattern const& pattern = storage_->patterns[pattern_];
  texts_.read(pattern.key);
  levels_.resize(texts_.size() - 1);
  name_.assign(texts_[0].data(), texts_[0].size());
  if (levels_.empty()) return;
  Level& first = levels_[0];
  first.node = pattern.root.get();
  first.run = 0;
  first.value = first.node->runs[0].lo;
  first.number_at = name_.size();
  write_from(0);
}

// Writes the number of `level` as it stands, and below it the first value
// of every position, each followed by its text.
void NameCursor::write_from(std::size_t level) {
  name_.resize(levels_[level].number_at);
  for (std::size_t at = level;; ++at) {
    Level& here = levels_[at];
    append_to_width(name_, here.node->runs[here.run].width, here.value);
    here.number_end = name_.size();
    std::string_view const text = texts_[at + 1];
    name_.append(text.data(), text.size());
    if (at + 1 == levels_.size()) return;
    Level& below = levels_[at + 1];
    below.node = here.node->children[here.run].get();
    below.run = 0;
    below.value = below.node->runs[0].lo;
    below.number_at = name_.size();
  }
}

void NameCursor::next() {
  for (std::size_t level = levels_.size(); level-- > 0;) {
    Level& here = levels_[level];
    Run const* const runs = here.node->runs.begin();
    if (here.value != runs[here.run].hi) {
      // The next value has the same width: the digits change in place.
      ++here.value;
      internal::increment_decimal(&name_[here.number_at], here.number_end - here.number_at);
      if (level + 1 < levels_.size()) {
        Level& below = levels_[level + 1];
        below.node = here.node->children[here.run].get();
        below.run = 0;
        below.value = below.node->runs[0].lo;
        write_from(level + 1);
      }
      return;
    }
    if (here.run + 1 < here.node->runs.size()) {
      ++here.run;
      here.value = runs[here.run].lo;
      write_from(level);
      return;
    }
  }
  if (++pattern_ == storage_->patterns.size()) {
    storage_ = nullptr;
    name_.clear();
    return;
  }
  enter_pattern();
}

namespace {

// Gathers names of a storage, as a cursor stands on them, into a new
// storage: the numbers of each pattern's names go to the tree builder.
class PartBuilder {
 public:
  explicit PartBuilder(Data const& storage) : storage_(storage) {}

  void add(NameCursor const& cursor) {
    if (names_ > 0 && cursor.pattern() != pattern_) end_pattern();
    pattern_ = cursor.pattern();
    ++names_;
    for (std::size_t level = 0; level < cursor.numbers(); ++level)
      numbers_.push_back(cursor.number(level));
  }

  std::shared_ptr<Data> finish() {
    if (names_ > 0) end_pattern();
    recount(*part_);
    return std::exchange(part_, std::make_shared<Data>());
  }

 private:
  void end_pattern() {
    Pattern const& pattern = storage_.patterns[pattern_];
    std::size_t const per_name = pattern.numbers();
    NodePtr root = per_name == 0 ? pattern.root : build_tree(numbers_, per_name, leaves_);
    part_->patterns.push_back(Pattern{pattern.key, std::move(root)});
    numbers_.shrink_to(0);
    names_ = 0;
  }

  Data const& storage_;
  std::shared_ptr<Data> part_ = std::make_shared<Data>();
  std::size_t pattern_ = 0;
  std::uint64_t names_ = 0;
  NumberList numbers_;
  LeafCache leaves_;
};

}  // namespace

std::vector<std::shared_ptr<Data>> cut_storage(Data const& storage, std::uint64_t parts) {
  std::uint64_t const count = static_cast<std::uint64_t>(storage.count);
  std::uint64_t const base = count / parts;
  std::uint64_t const larger = count % parts;
  std::vector<std::shared_ptr<Data>> result;
  result.reserve(static_cast<std::size_t>(parts));
  NameCursor cursor(storage);
  PartBuilder builder(storage);
  for (std::uint64_t part = 0; part < parts; ++part) {
    for (std::uint64_t left = base + (part < larger ? 1 : 0); left > 0; --left) {
      builder.add(cursor);
      cursor.next();
    }
    result.push_back(builder.finish());
  }
  return result;
}

}  // namespace hostset_internal

HostSetNameIterator::HostSetNameIterator() = default;
HostSetNameIterator::HostSetNameIterator(std::unique_ptr<Cursor> cursor)
    : cursor_(std::move(cursor)) {
  if (cursor_->done()) cursor_.reset();
}
HostSetNameIterator::HostSetNameIterator(HostSetNameIterator const& other)
    : cursor_(other.cursor_ ? std::make_unique<Cursor>(*other.cursor_) : nullptr),
      index_(other.index_) {}
HostSetNameIterator::HostSetNameIterator(HostSetNameIterator&& other) noexcept = default;
HostSetNameIterator& HostSetNameIterator::operator=(HostSetNameIterator const& other) {
  if (this != &other) *this = HostSetNameIterator(other);
  return *this;
}
HostSetNameIterator& HostSetNameIterator::operator=(HostSetNameIterator&& other) noexcept = default;
HostSetNameIterator::~HostSetNameIterator() = default;

std::string const& HostSetNameIterator::operator*() const {
  return cursor_->name();
}

HostSetNameIterator& HostSetNameIterator::operator++() {
  cursor_->next();
  ++index_;
  if (cursor_->done()) cursor_.reset();
  return *this;
}

HostSetNameIterator HostSetNameIterator::operator++(int) {
  HostSetNameIterator before(*this);
  ++*this;
  return before;
}

bool HostSetNameIterator::operator==(HostSetNameIterator const& other) const {
  if (!cursor_ || !other.cursor_) return !cursor_ && !other.cursor_;
  return index_ == other.index_;
}

}  // namespace krel
