// The reading of set expressions for groups until the expression reader is
// part of the library: a union of pieces, "@" pieces looked up. Weak, so the
// full reader replaces it when linked in.
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "krel/hostset.hpp"

namespace krel {
namespace expression_internal {

using GroupLookup =
    std::function<std::optional<HostSet>(std::string_view reference, std::string* error)>;

__attribute__((weak)) std::optional<HostSet> evaluate(std::string_view expression,
                                                      GroupLookup const* lookup,
                                                      std::string* error) {
  HostSet result;
  std::size_t depth = 0;
  std::size_t begin = 0;
  for (std::size_t at = 0; at <= expression.size(); ++at) {
    char const c = at < expression.size() ? expression[at] : ',';
    depth += c == '[' ? 1 : 0;
    depth -= (c == ']' && depth > 0) ? 1 : 0;
    if (depth != 0 || (c != ',' && c != ' ' && c != '\n' && c != '\t')) continue;
    std::string_view const piece = expression.substr(begin, at - begin);
    begin = at + 1;
    if (piece.empty()) continue;
    std::optional<HostSet> part;
    if (piece.front() == '@') {
      if (lookup == nullptr) {
        if (error != nullptr)
          *error = "group reference \"" + std::string(piece) + "\" without group resolver";
        return std::nullopt;
      }
      part = (*lookup)(piece, error);
    } else {
      part = HostSet::parse(piece, error);
    }
    if (!part) return std::nullopt;
    result |= *part;
  }
  return result;
}

}  // namespace expression_internal
}  // namespace krel
