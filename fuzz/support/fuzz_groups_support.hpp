// Helpers of the group fuzz targets: a scratch folder for the files they
// load, the walk over a loaded resolver that every target makes, and the
// round trip that regrouping must survive.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "krel/hostgroups.hpp"
#include "krel/hostset.hpp"

namespace krel_fuzz {

// A folder of its own under $TMPDIR (else /tmp), made once per process and
// emptied of the files written through it when the process ends.
class ScratchFolder {
 public:
  static ScratchFolder& instance();
  // Writes `content` to `name` in the folder (replacing it); its path.
  std::string write(std::string const& name, std::string const& content);
  std::string const& path() const { return path_; }
  ~ScratchFolder();
  ScratchFolder(ScratchFolder const&) = delete;
  ScratchFolder& operator=(ScratchFolder const&) = delete;

 private:
  ScratchFolder();
  std::string path_;
};

// A GroupResolver factory: from_yaml, from_config or from_genders.
using GroupLoader = std::optional<krel::GroupResolver> (*)(std::string_view, std::string*);

// Writes `text` to `name` in the scratch folder and loads it with `load`;
// a refusal must be one line, naming the file when `names_file` (a
// configuration may also be refused for what it lacks, such as its default
// source). nullopt when refused.
std::optional<krel::GroupResolver> load_scratch(std::string const& name, std::string const& text,
                                                GroupLoader load, std::string const& detail,
                                                bool names_file = true);

// Every message is one line that is not empty.
void expect_one_line(std::string const& error, std::string const& detail);

// Regrouping `nodes` (with and without prefixes, with and without overlap)
// gives a text that `groups` reads back as exactly `nodes`.
void expect_regroup_round_trip(krel::GroupResolver const& groups, krel::HostSet const& nodes,
                               std::string const& source, std::string const& detail);

// Lists up to `max_sources` sources and, for those of at most `max_groups`
// groups, each group: the listings agree with parse("@src:g"), "@src:*" and
// "@@src", and the regroup round trip holds for "@src:*". Failures of
// groups (cycles, failing commands) are allowed when their message is one
// line.
void walk_resolver(krel::GroupResolver const& groups, std::string const& detail,
                   std::size_t max_sources = 8, std::size_t max_groups = 32);

}  // namespace krel_fuzz
