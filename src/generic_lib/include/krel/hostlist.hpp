// Host names as text and number tokens, and the folding of host lists into
// compact range notation.
//
//   krel::TokenizedHost::get_merged_hosts({"node3", "node1", "node2", "login1"})
//   // "login1, node[1-3]"
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "krel/generic_lib_export.hpp"

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
  // built straight from a range of strings.
  TokenizedHost(std::string name);
  // Same as the std::string form; a null pointer throws std::logic_error.
  TokenizedHost(char const* name);
  ~TokenizedHost();

  // The padding zeros in front of a digit run. When the run is all zeros the
  // last zero is the value's own digit, not padding.
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
  // most distinct values is folded, and names whose other numbers or padding
  // differ form separate pieces. Pieces are sorted byte-wise and joined by
  // ", ". The result does not depend on the input order; duplicates collapse.
  //
  //   get_merged_hosts({"node01", "node02", "node10", "login1"})
  //   // "login1, node10, node[01-02]"  ('[' sorts after digits)
  //   get_merged_hosts({"cn08", "cn09", "cn10", "cn11"})
  //   // "cn[08-09], cn[10-11]"  (padding changes split runs)
  //   get_merged_hosts({"cn09", "cn010"})   // "cn[09-010]"
  //   get_merged_hosts({"", "a1"})          // ", a1"
  //
  // Throws std::out_of_range("stoi") for a digit run above 2147483647.
  static std::string get_merged_hosts(std::vector<std::string> const& names);

  // First partition: same number of tokens, same types, equal texts. Groups
  // are listed by first appearance, members in input order.
  static std::vector<std::vector<TokenizedHost>> get_host_sets_str(
      std::vector<TokenizedHost> const& hosts);

  // The token position to fold in one group: the number position with the
  // most distinct values, the leftmost on ties; 0 when there is no number.
  static unsigned long get_token_idx(std::vector<TokenizedHost> hosts);

  // Second partition: same padding at every number position and the same
  // numbers everywhere except at `idx`.
  static std::vector<std::vector<TokenizedHost>> get_host_sets_int(
      std::vector<TokenizedHost> const& hosts, unsigned long idx);

  // True when both have the same shape (token count and types) and equal texts.
  static bool host_merge_match_str(TokenizedHost const& a, TokenizedHost const& b);

  // True when both have the same shape, the same padding at every number
  // position, and the same numbers away from `idx`. Texts are not compared.
  static bool host_merge_match_int(TokenizedHost const& a, TokenizedHost const& b,
                                   unsigned long idx);

  // Writes one group as one piece, folding the number at `idx` (brackets only
  // when it stands for more than one value). An empty group writes the
  // level-4 record "attempted to merge empty host list" and gives "".
  //
  //   get_merged_hosts_str({"n1", "n2"}, 1)  // "n[1-2]"
  static std::string get_merged_hosts_str(std::vector<TokenizedHost> const& hosts,
                                          unsigned long idx);
};

}  // namespace krel
