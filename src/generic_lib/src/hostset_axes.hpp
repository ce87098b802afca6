// Host sets written out as text, folded on all number positions or only on
// some (the axes).
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "hostset_data.hpp"
#include "krel/hostset.hpp"

namespace krel {
namespace hostset_internal {

// A set written with `options`: its pieces joined by options.separator.
// With options.axes, a name is folded only on the positions chosen.
//
//   fold_text(set of n1 n2 n3, {})                    // "n[1-3]"
//   fold_text(set of r1c1 r2c1 r1c2, axes {2} ...)     // "r1c[1-2],r2c1"
std::string fold_text(Data const& storage, HostSetFoldOptions const& options);

// The pieces fold_text joins, handed to `visit` one by one as they are
// written (options.separator is not used).
void for_each_folded_piece(Data const& storage, HostSetFoldOptions const& options,
                           std::function<void(std::string_view)> const& visit);

}  // namespace hostset_internal
}  // namespace krel
