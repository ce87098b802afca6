#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "krel/parameter_pack.hpp"

namespace {

using krel::generic_lib::ParameterPack;

TEST(ParameterPack, NewPackReadsEmptyAndRemembersTheKey) {
  ParameterPack pack;
  ParameterPack const& constant = pack;
  EXPECT_EQ(constant["never set"], "");
  EXPECT_EQ(pack["other"], "");
  // Both keys are present now: writing through a copy's reference to them
  // changes the value, where a fresh key would also have been inserted.
  std::string& value = pack["never set"];
  value = "x";
  EXPECT_EQ(constant["never set"], "x");
}

TEST(ParameterPack, ConstantReadInsertsTheKey) {
  ParameterPack pack;
  ParameterPack const& constant = pack;
  std::string const first = constant["k"];
  std::string& stored = pack["k"];
  stored = "v";
  EXPECT_EQ(first, "");
  EXPECT_EQ(constant["k"], "v");
}

TEST(ParameterPack, CopiesShareOneMap) {
  ParameterPack original;
  ParameterPack copy = original;
  copy["nodes"] = "node[1-4]";
  EXPECT_EQ(original["nodes"], "node[1-4]");
  original["nodes"] = "node5";
  EXPECT_EQ(copy["nodes"], "node5");
}

TEST(ParameterPack, AssignedPackSharesTheSourceMap) {
  ParameterPack first;
  ParameterPack second;
  second["a"] = "from second";
  first = second;
  first["b"] = "through first";
  EXPECT_EQ(second["b"], "through first");
  EXPECT_EQ(first["a"], "from second");
}

TEST(ParameterPack, MapOutlivesThePackThatMadeIt) {
  ParameterPack* original = new ParameterPack;
  (*original)["kept"] = "yes";
  ParameterPack copy = *original;
  delete original;
  EXPECT_EQ(copy["kept"], "yes");
}

TEST(ParameterPack, SeparatePacksDoNotShare) {
  ParameterPack a;
  ParameterPack b;
  a["k"] = "1";
  EXPECT_EQ(b["k"], "");
}

TEST(ParameterPack, EmptyKeyIsAnOrdinaryKey) {
  ParameterPack pack;
  EXPECT_EQ(pack[""], "");
  pack[""] = "empty key";
  EXPECT_EQ(pack[""], "empty key");
  EXPECT_EQ(pack["x"], "");
}

TEST(ParameterPack, ReferenceSurvivesManyInsertions) {
  ParameterPack pack;
  std::string& first = pack["first"];
  first = "one";
  for (int i = 0; i < 100000; ++i)
    pack["key" + std::to_string(i)] = std::to_string(i);
  EXPECT_EQ(first, "one");
  EXPECT_EQ(&first, &pack["first"]);
  first = "changed";
  EXPECT_EQ(pack["first"], "changed");
  EXPECT_EQ(pack["key99999"], "99999");
}

TEST(ParameterPack, ImplLookUpKeyFindsOrInserts) {
  ParameterPack::Impl impl;
  std::string& value = impl.lookUpKey("a");
  EXPECT_EQ(value, "");
  value = "b";
  EXPECT_EQ(impl.lookUpKey("a"), "b");
  EXPECT_EQ(&impl.lookUpKey("a"), &value);
}

// The pack is deleted through its base safely.
static_assert(std::is_base_of_v<krel::util::NonDeepCopyable<ParameterPack>, ParameterPack>,
              "ParameterPack derives from NonDeepCopyable");
static_assert(std::has_virtual_destructor_v<ParameterPack>,
              "ParameterPack has a virtual destructor");
static_assert(std::has_virtual_destructor_v<krel::util::NonDeepCopyable<ParameterPack>>,
              "NonDeepCopyable has a virtual destructor");

}  // namespace
