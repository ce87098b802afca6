// Plain, unoptimised models of what the library's header contracts describe.
// The unit tests and the fuzz targets compare the library's answers with
// these, so that a faster algorithm in the library is held to exactly the
// same results. Each model follows the contract literally where that stays
// affordable, and otherwise an evidently equivalent form (stated at the
// model). One static library, krel_models, serves both.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace krel_model {

// --- strings ---------------------------------------------------------------
std::string lower(std::string s);
std::string upper(std::string s);
std::string rstrip(std::string const& s, std::string const& chars);
std::string fstrip(std::string const& s, std::string const& chars);
std::string strip(std::string const& s, std::string const& chars);
std::string stripws(std::string const& s);
// The C locale's white space (space, \t, \n, \v, \f, \r), which is also the
// set of blanks that host-list notation ignores around pieces.
bool is_space(char c);
std::string stripallws(std::string const& s);
std::string replace(std::string const& s, std::string const& from, std::string const& to);
std::string squeeze(std::string const& s, char c);
std::vector<std::string> split(std::string const& s, char delimiter, bool squeeze_runs);

// --- host lists --------------------------------------------------------------
struct Token {
  bool is_number = false;
  int number = 0;
  std::string text;
  int leading_zeroes = 0;
};

using Host = std::vector<Token>;
// Groups as lists of indexes into the hosts they were made from.
using Groups = std::vector<std::vector<std::size_t>>;

// The tokens of a host name; nullopt when a digit run exceeds INT_MAX (where
// the library throws std::out_of_range "stoi").
std::optional<Host> tokenize(std::string const& name);
// The steps of the merging, one by one.
bool same_texts(Host const& a, Host const& b);
bool same_fixed_numbers(Host const& a, Host const& b, std::size_t idx);
Groups groups_by_texts(std::vector<Host> const& hosts);
Groups groups_by_fixed_numbers(std::vector<Host> const& hosts, std::size_t idx);
std::size_t token_idx(std::vector<Host> const& hosts);
std::string merged_piece(std::vector<Host> const& hosts, std::size_t idx);
int count_leading_zeroes(std::string const& digits);
std::string zeroes(int count);
std::string merged_ints(std::vector<int> const& values, bool& multiple, int zeroes);
// nullopt when some name has a digit run above INT_MAX.
std::optional<std::string> merged_hosts(std::vector<std::string> const& names);

// The result of expand_ranges. `value_limit` bounds the number of values the
// list may name (summed over its items, counted before the narrowing to
// int); past it the answer is nullopt and the list is not given to the
// library, since the contract enumerates every value of every range.
std::optional<std::vector<int>> expand_ranges(std::string const& list, std::size_t value_limit);

// The count and whether the warning record is due.
unsigned int permutations(std::string const& value, unsigned int default_count, bool& warns);

// --- text layout ---------------------------------------------------------------
// `terminal` is what terminal_width() answers in this process. An indent
// longer than the width ends the breaking of a line: its rest follows the
// indent unbroken.
std::string word_wrap(std::string const& text, int width, std::string const& indent, int terminal);

// How the wrapping steps, followed to the letter, ended.
enum class LiteralEnd {
  kPlainly,       // every break moved forward
  kAfterRepeats,  // a break went back and wrote the line's rest again
  kNever,         // the steps would loop for ever
};

// The wrapping steps of word_wrap as written for a width of 1 or more,
// index arithmetic wrapping modulo 2^64 and all, into `out`; stops early
// where they would loop for ever. They move only forward, and then agree
// with word_wrap, whenever the indent is no longer than the width.
LiteralEnd literal_word_wrap(std::string const& text, int width, std::string const& indent,
                             std::string& out);
std::string column_wrap(std::string const& text, int width, std::string const& indent,
                        char separator, bool hide_separator, int terminal);
std::string space_wrap(std::string const& text, int width, std::string const& indent, int terminal);
std::string clean_previous_formatting(std::string const& text);

// --- file-system strings -----------------------------------------------------
std::string get_lib_name(std::string const& path);
// is_newer, and whether the parse warning is due.
bool compare_versions(std::string const& a, std::string const& b, bool& warns);
std::string basename(std::string const& path);
std::string dirname(std::string const& path);

}  // namespace krel_model
