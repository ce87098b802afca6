// Writing sets with group names, as `nodeset -r` does.
#include <string>

#include <gtest/gtest.h>

#include "krel/hostgroups.hpp"
#include "test_support.hpp"

namespace {

using krel::GroupResolver;
using krel::HostSet;
using krel::RegroupOptions;
using krel_test::TempFolder;

char const* const groups_yaml =
    "s:\n  b: n[1-4]\n  a: n[3-6]\n  c: n[1-2]\n  e: ''\n  z: n[7-8]\n  y: n[9-10]\n  d: n[5-6]\n"
    "racks:\n  rack1: n[1-10]\n  rack2: n[11-20]\n  rack3: n[21-30]\n  all: n[1-30]\n"
    "t:\n  x: m1\n";

TEST(GroupRegroup, LargestFirstTiesByNameOverlapSkipped) {
  TempFolder folder;
  auto const resolver = krel_test::yaml_groups(folder, groups_yaml);
  RegroupOptions overlap;
  overlap.overlap = true;
  RegroupOptions racks;
  racks.source = "racks";
  RegroupOptions racks_bare = racks;
  racks_bare.prefix = false;
  RegroupOptions named_default;
  named_default.source = "s";
  RegroupOptions spaced = racks;
  spaced.fold.separator = " ";
  struct Row {
    char const* nodes;
    RegroupOptions options;
    char const* expected;
    char const* reason;
  } const rows[] = {
      {"n[1-10]", {}, "@a,@c,@y,@z", "a before b (same size), then c; d lies inside a"},
      {"n[1-10]", overlap, "@a,@b,@c,@d,@y,@z", "with overlap every group inside is taken"},
      {"n[1-10],m1", {}, "@a,@c,@y,@z,m1", "the rest after the groups"},
      {"n[1-10]", named_default, "@s:a,@s:c,@s:y,@s:z", "a named source is written"},
      {"n[1-10,21-30]", racks, "@racks:rack[1,3]", "group names folded as a set"},
      {"n[1-10,21-30]", racks_bare, "@rack[1,3]", "without the prefix"},
      {"n[1-30]", racks, "@racks:all", "the largest group wins"},
      {"n[1-25]", spaced, "@racks:rack[1-2] n[21-25]", "the fold's separator"},
      {"q1", {}, "q1", "no group inside"},
      {"", {}, "", "the empty set"},
  };
  for (auto const& row : rows) {
    std::string error;
    auto const text = resolver.regroup(*HostSet::parse(row.nodes), row.options, &error);
    EXPECT_EQ(text.value_or("error: " + error), row.expected) << row.nodes << " " << row.reason;
  }
}

TEST(GroupRegroup, UnknownSourceIsAnError) {
  TempFolder folder;
  auto const resolver = krel_test::yaml_groups(folder, groups_yaml);
  RegroupOptions options;
  options.source = "nosrc";
  std::string error;
  EXPECT_FALSE(resolver.regroup(*HostSet::parse("n1"), options, &error));
  EXPECT_EQ(error, "unknown group source \"nosrc\"");
  EXPECT_EQ(resolver.regroup(*HostSet::parse("n[1-2]")).value_or(""), "@c");
}

}  // namespace
