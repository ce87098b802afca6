// A string-to-string parameter bag whose copies share one map.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "krel/generic_lib_export.hpp"
#include "krel/util.hpp"

namespace krel {
namespace generic_lib {

// Named parameters passed between components: any key, string values, no
// parsing. Copies are shallow: a copy and its original share one map, so a
// write through either is seen through both, and the map lives until the last
// pack that shares it is gone. Nothing is locked: packs that share a map must
// not be used from several threads at once without the caller's own lock.
//
//   krel::generic_lib::ParameterPack pack;
//   krel::generic_lib::ParameterPack copy = pack;
//   copy["nodes"] = "node[1-4]";
//   pack["nodes"];    // "node[1-4]"
//   pack["missing"];  // "" -- and "missing" is now a key with an empty value
class GENERIC_LIB_EXPORT ParameterPack : public util::NonDeepCopyable<ParameterPack> {
 public:
  // The shared map behind one or more packs.
  class GENERIC_LIB_EXPORT Impl {
   public:
    // The value stored for `key`, inserting an empty value first when the key
    // is new. The reference stays valid as long as the map lives, whatever is
    // inserted later.
    std::string& lookUpKey(std::string const& key);

   private:
    std::unordered_map<std::string, std::string> values_;
  };

  // A pack with a new, empty map of its own.
  ParameterPack();
  ~ParameterPack() override;
  ParameterPack(ParameterPack const&) = default;
  ParameterPack& operator=(ParameterPack const&) = default;

  // The value for `key`, inserted empty when absent; assign through it.
  std::string& operator[](std::string const& key);

  // A copy of the value for `key`. Note: like the non-constant form it
  // inserts an absent key with an empty value -- the map is shared, so the
  // pack's constness does not reach it. An absent key and an empty value
  // cannot be told apart.
  std::string operator[](std::string const& key) const;

 private:
  std::shared_ptr<Impl> impl_;
};

}  // namespace generic_lib
}  // namespace krel
