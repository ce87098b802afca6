#include "krel/parameter_pack.hpp"

namespace krel {
namespace generic_lib {

std::string& ParameterPack::Impl::lookUpKey(std::string const& key) {
  // Nodes of an unordered_map never move, so the reference survives rehashing.
  return values_.try_emplace(key).first->second;
}

ParameterPack::ParameterPack() : impl_(std::make_shared<Impl>()) {}

ParameterPack::~ParameterPack() = default;

std::string& ParameterPack::operator[](std::string const& key) {
  return impl_->lookUpKey(key);
}

std::string ParameterPack::operator[](std::string const& key) const {
  return impl_->lookUpKey(key);
}

}  // namespace generic_lib
}  // namespace krel
