// The host-list family: host names as text and number tokens, the folding
// of host lists into compact range notation and its expansion back into
// names. The number runs and range lists that folding writes
// (krel::str::get_merged_ints, expand_ranges, ...) are declared in
// krel/ranges.hpp, included here.
//
//   krel::TokenizedHost::get_merged_hosts({"node3", "node1", "node2", "login1"})
//   // "login1, node[1-3]"
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "krel/generic_lib_export.hpp"
#include "krel/ranges.hpp"

namespace krel {

// A host name cut into alternating text and number tokens.
//
//   TokenizedHost("r2c3n14").tokens  // "r", 2, "c", 3, "n", 14
//   TokenizedHost("node017").tokens  // "node", 17 (leading_zeroes 1)
//   TokenizedHost("cn-5").tokens     // "cn-", 5: signs are text
//
// A byte is a digit only when it is '0'..'9'; everything else, bytes 0x80 and
// above included, is text. A digit run above 2147483647 (padding zeros not
// counted) throws std::out_of_range("stoi") from the constructor.
class GENERIC_LIB_EXPORT TokenizedHost {
 public:
  static constexpr int TOKEN_INT = 0;
  static constexpr int TOKEN_STR = 1;

  // One piece of a host name. A number token writes back as
  // get_zeroes_str(leading_zeroes) followed by `number` in decimal, which
  // reproduces its digit run exactly ("007" is 7 with 2 zeros).
  struct GENERIC_LIB_EXPORT Token {
    int type;            // TOKEN_INT or TOKEN_STR
    int number;          // value of a number token, 0 in a text token
    std::string text;    // bytes of a text token, empty in a number token
    int leading_zeroes;  // padding zeros of a number token, 0 in a text token

    Token();                         // a number token 0
    Token(int value);                // a number token; set leading_zeroes afterwards
    Token(std::string const& text);  // a text token
    ~Token();
  };

  std::vector<Token> tokens;

  // Tokenises `name`. Deliberately implicit: a vector of TokenizedHost is
  // built straight from a range of strings. Throws std::out_of_range("stoi")
  // for a digit run above 2147483647; an empty name has no tokens.
  TokenizedHost(std::string name);
  // Same as the std::string form; a null pointer throws std::logic_error.
  TokenizedHost(char const* name);
  ~TokenizedHost();

  // The padding zeros in front of a digit run: the count of leading '0'
  // bytes, except that when the run is all zeros the last zero is the
  // value's own digit, not padding. Only '0' bytes are looked at, so any
  // string is accepted ("0a" gives 1).
  //
  //   count_leading_zeroes("007")  // 2
  //   count_leading_zeroes("000")  // 2
  //   count_leading_zeroes("0")    // 0
  //   count_leading_zeroes("10")   // 0
  static int count_leading_zeroes(std::string const& digits);

  // `count` '0' characters; "" for 0 or less.
  //
  //   get_zeroes_str(3)   // "000"
  //   get_zeroes_str(-2)  // ""
  static std::string get_zeroes_str(int count);

  // krel::str::get_merged_ints, offered on the host class.
  static std::string get_merged_hosts_ints(std::vector<int> const& values, bool& multiple,
                                           int zeroes);

  // Folds host names into sorted, comma-separated host-list notation. Names
  // are grouped by shape and text; in each group the number position with the
  // most distinct values is folded (the leftmost on ties), and names whose
  // other numbers or paddings differ form separate pieces, so exactly one
  // number is bracketed per piece and every piece writes back exactly the
  // names it stands for. Pieces are sorted byte-wise (unsigned bytes, a
  // proper prefix first) and joined by ", ". The result does not depend on
  // the input order; duplicates collapse; an empty list gives "". The cost
  // grows linearly with the number of names, whatever their shapes.
  //
  //   get_merged_hosts({"node3", "node1", "node2", "login1"})
  //   // "login1, node[1-3]"
  //   get_merged_hosts({"node01", "node02", "node10", "login1"})
  //   // "login1, node10, node[01-02]"  ('[' sorts after digits and capitals)
  //   get_merged_hosts({"cn08", "cn09", "cn10", "cn11"})
  //   // "cn[08-09], cn[10-11]"  (a change of padding splits a run)
  //   get_merged_hosts({"cn09", "cn010"})                // "cn[09-010]"
  //   get_merged_hosts({"r1c1", "r1c2", "r2c1", "r2c2"}) // "r[1-2]c1, r[1-2]c2"
  //   get_merged_hosts({"", "a1"})                       // ", a1": empty names stay
  //
  // Throws std::out_of_range("stoi") for a digit run above 2147483647; no
  // partial result is returned.
  static std::string get_merged_hosts(std::vector<std::string> const& names);

  // First partition: hosts with the same number of tokens, the same types
  // and equal texts (numbers and paddings not compared) share a group. Groups
  // are listed by first appearance, members in input order; {} gives {}.
  //
  //   get_host_sets_str({"n1", "x1", "n02"})  // {{"n1", "n02"}, {"x1"}}
  static std::vector<std::vector<TokenizedHost>> get_host_sets_str(
      std::vector<TokenizedHost> const& hosts);

  // The token position (counting text and number tokens) to fold in one
  // group of the first partition: the number position with the most
  // distinct values, the leftmost on ties. A group without numbers gives 0,
  // which may be a text position. Meant for a non-empty group whose hosts are
  // at least as long as the first; an empty list gives 0, and a shorter host
  // adds nothing at positions it lacks.
  //
  //   get_token_idx({"r1c1", "r1c2", "r2c1", "r2c2"})  // 1: "r", tied with "c"
  //   get_token_idx({"r1c1", "r1c2", "r1c3", "r2c1"})  // 3: "c" varies most
  static unsigned long get_token_idx(std::vector<TokenizedHost> hosts);

  // Second partition: hosts with the same shape, the same padding at every
  // number position (`idx` included) and the same numbers everywhere except
  // at `idx` share a group. Texts are not compared: the hosts are meant to
  // come from one group of the first partition. Groups by first appearance.
  //
  //   get_host_sets_int({"n01", "n1", "n02", "n2"}, 1)  // {{"n01", "n02"}, {"n1", "n2"}}
  static std::vector<std::vector<TokenizedHost>> get_host_sets_int(
      std::vector<TokenizedHost> const& hosts, unsigned long idx);

  // True when both have the same shape (token count and types) and equal
  // texts; numbers and paddings are not compared.
  //
  //   host_merge_match_str("n01", "n1")     // true
  //   host_merge_match_str("node1", "1node")  // false
  static bool host_merge_match_str(TokenizedHost const& a, TokenizedHost const& b);

  // True when both have the same shape, the same padding at every number
  // position, and the same numbers away from `idx`. Texts are not compared.
  //
  //   host_merge_match_int("r1c1", "r2c1", 1)  // true
  //   host_merge_match_int("n01", "n1", 1)     // false: paddings differ
  static bool host_merge_match_int(TokenizedHost const& a, TokenizedHost const& b,
                                   unsigned long idx);

  // Writes one group as one piece from the tokens of its first host, the
  // number at `idx` replaced by the folded values of all hosts at that
  // position with the first host's padding (brackets only when it stands for
  // more than one value). With `idx` at a text position or past the end (the
  // all-ones value, say) the first host is written back unchanged. An empty
  // group writes the level-4 record "attempted to merge empty host list" and
  // gives "".
  //
  //   get_merged_hosts_str({"n1", "n3", "n2"}, 1)  // "n[1-3]"
  //   get_merged_hosts_str({"n1", "n1"}, 1)        // "n1"
  //   get_merged_hosts_str({"n1", "n2"}, -1UL)     // "n1"
  static std::string get_merged_hosts_str(std::vector<TokenizedHost> const& hosts,
                                          unsigned long idx);

  // Expands host-list notation back into host names: the inverse of
  // get_merged_hosts, which also reads the usual hand-written forms.
  //
  // Pieces are separated by commas outside brackets; blanks (space, tab, line
  // feed, carriage return, vertical tab, form feed) around a piece are
  // ignored. A bracket holds a run list of items "n", "a-b" or "a-b/step"
  // (blanks around items and bounds allowed, digits only, no signs). A piece
  // with several brackets expands as a cartesian product, the leftmost bracket
  // varying slowest. Names come out in order of appearance and duplicates are
  // kept: sort the result when a set is wanted, or read the notation with
  // krel::HostSet (this is the same reader, with the differences below).
  //
  // Padding makes the round trip exact: in a range "a-b" whose bounds have the
  // same number of digits every value is padded to that width, and so it is
  // when "a" is the wider bound; when "a" is narrower every value gets as many
  // leading zeros as "a" has (as count_leading_zeroes counts them); a single
  // value is written as given.
  //
  //   expand_hosts("node[1-9/4]")             // node1 node5 node9
  //   expand_hosts("n[009-11]")               // n009 n010 n011
  //   expand_hosts("login1, node[01-03,05]")  // login1 node01 node02 node03 node05
  //   expand_hosts("r[1-2]c[1-2]")            // r1c1 r1c2 r2c1 r2c2
  //   expand_hosts("cn[09-010]")              // cn09 cn010 (as folded from them)
  //   expand_hosts("node[08-11]")             // node08 node09 node10 node11
  //   expand_hosts("n[3,1,3]")                // n3 n1 n3
  //
  // Things a caller may trip on:
  //   - an empty piece is an empty name, since folding writes one:
  //     expand_hosts(", a1") gives "" and "a1"; a notation that is empty or
  //     all blanks gives no names at all;
  //   - names holding commas, brackets, or blanks at either end cannot come
  //     back from their folded form;
  //   - bad input (unbalanced or nested brackets, empty brackets, an empty or
  //     non-numeric item, a number of more than 18 significant digits, a
  //     descending range) writes one level-4 record naming the piece and the
  //     item, such as `cannot expand "node[3-1]": descending range "3-1"`,
  //     and gives no names;
  //   - more than `max_names` names in all writes the level-4 record
  //     `cannot expand "node[1-20000000]": more than 10000000 names` and gives
  //     no names. The size is worked out before anything is generated, so a
  //     huge range costs neither time nor memory.
  static std::vector<std::string> expand_hosts(std::string const& notation,
                                               std::size_t max_names = 10000000);
};

}  // namespace krel
