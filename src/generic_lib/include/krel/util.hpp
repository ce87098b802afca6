// Small building blocks shared by the library's classes.
#pragma once

#include "krel/generic_lib_export.hpp"

namespace krel {
namespace util {

// Base of classes whose copies share their state instead of duplicating it:
// copying a derived object never copies what stands behind it.
//
//   class Settings : public krel::util::NonDeepCopyable<Settings> { ... };
template <typename T>
class GENERIC_LIB_EXPORT NonDeepCopyable {
 public:
  virtual ~NonDeepCopyable() = default;
};

}  // namespace util
}  // namespace krel
