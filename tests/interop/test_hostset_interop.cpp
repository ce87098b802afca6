// Host sets against the peers: every fold HostSet writes, for random sets
// and for scaled-down benchmark inputs, with every axis choice, is read back
// by `nodeset -e` (Debian clustershell) and by `scontrol show hostnames`
// (Debian slurm-client, run offline with a minimal slurm.conf) as exactly the
// same names. scontrol cannot read a piece with text after its last bracket
// ("r[1-2]c3") nor steps: such pieces are left out for it, and counted.
//
// The peers are run when installed. Without them the tests are skipped,
// unless the environment variable CI is set: in CI they must run.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "krel/hostset.hpp"

namespace {

using krel::HostSet;
using krel::HostSetFoldOptions;
using Names = std::vector<std::string>;

std::optional<std::string> find_program(std::string const& name) {
  char const* path = std::getenv("PATH");
  std::string const dirs = path != nullptr ? path : "/usr/bin:/bin";
  std::size_t begin = 0;
  while (begin <= dirs.size()) {
    std::size_t end = dirs.find(':', begin);
    if (end == std::string::npos) end = dirs.size();
    std::string const candidate = dirs.substr(begin, end - begin) + "/" + name;
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
    begin = end + 1;
  }
  return std::nullopt;
}

// A scratch folder with the peers' input files and a minimal slurm.conf.
class Scratch {
 public:
  Scratch() {
    char folder[] = "/tmp/krel-interop-XXXXXX";
    if (mkdtemp(folder) != nullptr) path_ = folder;
    std::ofstream conf(path_ + "/slurm.conf");
    conf << "ClusterName=krel\n"
            "SlurmctldHost=localhost\n"
            "NodeName=node1 CPUs=1 State=UNKNOWN\n"
            "PartitionName=debug Nodes=node1 Default=YES MaxTime=INFINITE State=UP\n";
  }
  ~Scratch() { std::system(("rm -rf '" + path_ + "'").c_str()); }
  std::string const& path() const { return path_; }

 private:
  std::string path_;
};

struct Output {
  std::string out;
  std::string err;
};

// Runs a shell command; its standard error goes to a file read back.
Output run(Scratch const& scratch, std::string const& command) {
  Output result;
  std::string const err_file = scratch.path() + "/stderr";
  FILE* pipe = popen((command + " 2>'" + err_file + "'").c_str(), "r");
  if (pipe == nullptr) return result;
  std::array<char, 65536> buffer;
  std::size_t got = 0;
  while ((got = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
    result.out.append(buffer.data(), got);
  pclose(pipe);
  std::ifstream err(err_file);
  result.err.assign(std::istreambuf_iterator<char>(err), std::istreambuf_iterator<char>());
  return result;
}

void write_file(std::string const& path, std::string const& text) {
  std::ofstream(path) << text;
}

Names words(std::string const& text) {
  Names names;
  std::size_t begin = 0;
  while (true) {
    begin = text.find_first_not_of(" \n", begin);
    if (begin == std::string::npos) break;
    std::size_t const end = text.find_first_of(" \n", begin);
    names.push_back(text.substr(begin, end == std::string::npos ? end : end - begin));
    if (end == std::string::npos) break;
    begin = end;
  }
  std::sort(names.begin(), names.end());
  return names;
}

Names sorted(Names names) {
  std::sort(names.begin(), names.end());
  return names;
}

Names pieces_of(HostSet const& set, HostSetFoldOptions options) {
  options.separator = "\n";
  std::string const text = set.fold(options);
  Names pieces;
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t end = text.find('\n', begin);
    if (end == std::string::npos) end = text.size();
    pieces.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return pieces;
}

bool scontrol_reads(std::string const& piece) {
  std::size_t const close = piece.rfind(']');
  return piece.find('/') == std::string::npos &&
         (close == std::string::npos || close + 1 == piece.size());
}

class HostSetInterop : public ::testing::Test {
 protected:
  void SetUp() override {
    nodeset_ = find_program("nodeset");
    scontrol_ = find_program("scontrol");
    if (!nodeset_ || !scontrol_) {
      if (std::getenv("CI") != nullptr) FAIL() << "nodeset and scontrol must be installed in CI";
      GTEST_SKIP() << "nodeset or scontrol is not installed";
    }
  }

  // Checks one set written with `options` against both peers.
  void check(HostSet const& set, HostSetFoldOptions const& options, std::string const& what) {
    Names const pieces = pieces_of(set, options);
    std::string all;
    for (std::string const& piece : pieces)
      all += piece + "\n";
    write_file(scratch_.path() + "/fold", all);
    Output const expanded =
        run(scratch_, *nodeset_ + " -e -S '\\n' < '" + scratch_.path() + "/fold'");
    EXPECT_EQ(expanded.err, "") << what;
    EXPECT_EQ(words(expanded.out), sorted(set.expand())) << what << "\n" << all;

    // scontrol: the pieces it reads, a command line of at most 64 KiB at a time.
    Names kept_names;
    Names read_back;
    std::string chunk;
    auto flush = [&] {
      if (chunk.empty()) return;
      write_file(scratch_.path() + "/chunk", chunk);
      Output const hosts =
          run(scratch_, "SLURM_CONF='" + scratch_.path() + "/slurm.conf' " + *scontrol_ +
                            " show hostnames \"$(cat '" + scratch_.path() + "/chunk')\"");
      EXPECT_EQ(hosts.err, "") << what << "\n" << chunk;
      Names const got = words(hosts.out);
      read_back.insert(read_back.end(), got.begin(), got.end());
      chunk.clear();
    };
    for (std::string const& piece : pieces) {
      if (!scontrol_reads(piece)) {
        ++skipped_for_scontrol_;
        continue;
      }
      ++read_by_scontrol_;
      if (chunk.size() + piece.size() > 65536) flush();
      if (!chunk.empty()) chunk += ',';
      chunk += piece;
      Names const names = HostSet::parse(piece)->expand();
      kept_names.insert(kept_names.end(), names.begin(), names.end());
    }
    flush();
    EXPECT_EQ(sorted(read_back), sorted(kept_names)) << what;
  }

  // Piece counts of HostSet's fold and of `nodeset -f` on the same names.
  void compare_compactness(HostSet const& set, std::string const& what) {
    std::string names;
    set.for_each([&names](std::string_view name) {
      names += name;
      names += '\n';
    });
    write_file(scratch_.path() + "/names", names);
    Output const folded = run(scratch_, *nodeset_ + " -f < '" + scratch_.path() + "/names'");
    std::string const theirs = folded.out.substr(0, folded.out.find_last_not_of('\n') + 1);
    // Count their pieces as written: top-level commas plus one.
    std::size_t written = theirs.empty() ? 0 : 1;
    int depth = 0;
    for (char c : theirs) {
      depth += c == '[' ? 1 : (c == ']' ? -1 : 0);
      if (c == ',' && depth == 0) ++written;
    }
    std::size_t const ours = pieces_of(set, {}).size();
    std::cout << "pieces for " << what << ": krel " << ours << ", nodeset " << written << " ("
              << set.size() << " names)\n";
    EXPECT_TRUE(*HostSet::parse(theirs) == set) << what;
    EXPECT_LE(ours, 2 * written + 1) << what;
  }

  void TearDown() override {
    if (read_by_scontrol_ + skipped_for_scontrol_ > 0)
      std::cout << "scontrol read " << read_by_scontrol_ << " pieces; " << skipped_for_scontrol_
                << " pieces with text after a bracket or a step were left out for it\n";
  }

  Scratch scratch_;
  std::optional<std::string> nodeset_;
  std::optional<std::string> scontrol_;
  std::size_t read_by_scontrol_ = 0;
  std::size_t skipped_for_scontrol_ = 0;
};

std::vector<HostSetFoldOptions> every_axis_choice() {
  std::vector<HostSetFoldOptions> choices(6);
  choices[1].axes = {-1};
  choices[2].axes = {1};
  choices[3].axes = {1, -1};
  choices[4].axes = {2};
  choices[5].autostep = 3;
  return choices;
}

// Random sets over several patterns, paddings and dimensions.
HostSet random_set(std::mt19937& random) {
  static Names const stems = {"n#", "cn#", "r#c#", "x#c#s#b#", "rack#-node#.ib", "login"};
  std::uniform_int_distribution<std::size_t> stem_of(0, stems.size() - 1);
  std::uniform_int_distribution<int> value_of(0, 120);
  std::uniform_int_distribution<int> pad_of(0, 5);
  int const count = std::uniform_int_distribution<int>(1, 150)(random);
  std::string text;
  for (int i = 0; i < count; ++i) {
    for (char c : stems[stem_of(random)]) {
      if (c != '#') {
        text += c;
        continue;
      }
      std::string number = std::to_string(value_of(random));
      if (pad_of(random) == 0 && number.size() < 3) number.insert(0, 3 - number.size(), '0');
      text += number;
    }
    text += '\n';
  }
  return *HostSet::parse(text);
}

// One-dimensional sets (several patterns of one number each) and full
// rectangles: the fold's text is nodeset's, and so is the order of names.
TEST_F(HostSetInterop, WriteWhatNodesetWritesForOneDimensionAndRectangles) {
  std::mt19937 random(33);
  std::uniform_int_distribution<int> value_of(0, 130);
  std::uniform_int_distribution<int> pad_of(0, 4);
  auto number = [&](int value) {
    std::string text = std::to_string(value);
    int const width = pad_of(random) == 0 ? 3 : (pad_of(random) == 0 ? 2 : 0);
    if (static_cast<int>(text.size()) < width) text.insert(0, width - text.size(), '0');
    return text;
  };
  std::vector<std::string> notations;
  for (int round = 0; round < 20; ++round) {
    std::string names;
    int const count = std::uniform_int_distribution<int>(1, 60)(random);
    for (int i = 0; i < count; ++i) {
      static char const* const stems[] = {"n", "cn", "node-", "", "x", "a.b"};
      names += std::string(stems[random() % 6]) + number(value_of(random)) +
               (random() % 5 == 0 ? ".ib" : "") + "\n";
    }
    notations.push_back(names);
  }
  for (int round = 0; round < 10; ++round) {
    int const r = value_of(random);
    int const c = value_of(random);
    std::string const r_width = random() % 2 ? "%d" : "%03d";
    char low[16];
    char high[16];
    std::string box = "r[";
    std::snprintf(low, sizeof low, r_width.c_str(), r);
    std::snprintf(high, sizeof high, r_width.c_str(), r + 1 + static_cast<int>(random() % 12));
    box += std::string(low) + "-" + high + "]c[";
    std::snprintf(low, sizeof low, "%d", c);
    std::snprintf(high, sizeof high, "%d", c + static_cast<int>(random() % 5));
    box += std::string(low) + "-" + high + "]s" + std::to_string(random() % 4);
    notations.push_back(box);
  }
  for (std::string const& notation : notations) {
    HostSet const set = *HostSet::parse(notation);
    write_file(scratch_.path() + "/names", notation + "\n");
    Output const folded = run(scratch_, *nodeset_ + " -f < '" + scratch_.path() + "/names'");
    EXPECT_EQ(folded.out, set.fold() + "\n") << notation;
    Output const expanded =
        run(scratch_, *nodeset_ + " -e -S '\\n' < '" + scratch_.path() + "/names'");
    std::string mine;
    set.for_each([&mine](std::string_view name) {
      mine += name;
      mine += '\n';
    });
    EXPECT_EQ(expanded.out, mine) << notation;
  }
}

// Contiguous pieces: cut at a gap in any number position, in nodeset's
// order, each piece written as nodeset writes it.
TEST_F(HostSetInterop, CutContiguousPiecesAsNodesetDoes) {
  std::vector<std::string> notations = {
      "n[1,3]-ib0",
      "r[1,3]c[1-2]",
      "r[1-2]c[1,3]",
      "r[1-3]c[1-2,5]",
      "r[1,3]c[1-2,5]",
      "a[1-2]b[1,3]c[1-2]",
      "n[1-3,5]",
      "n[8-10]",
      "n[8-9,010-011]",
      "cn[8,09-10]",
      "n[9,10,010]",
      "r[8-10]c[1,3]",
      "r[1-2]c[1-2],r3c1",
      "r[1-2]c[1-3],r3c[1-2]",
      "foo,bar,n1",
      "x[1,3]y[5,7]z[1-2,4]",
      "r[1,3]c[1-2],r2c[5-6]",
      "rack[1-2,4]-node[01-03,07].ib",
  };
  std::mt19937 random(20);
  for (int round = 0; round < 10; ++round) {
    std::string names;
    int const count = std::uniform_int_distribution<int>(1, 40)(random);
    for (int i = 0; i < count; ++i)
      names += "n" + std::to_string(random() % 30) + (random() % 3 == 0 ? "-ib" : "") + "\n";
    notations.push_back(names);
  }
  for (std::string const& notation : notations) {
    write_file(scratch_.path() + "/names", notation + "\n");
    Output const theirs =
        run(scratch_, *nodeset_ + " --contiguous -f < '" + scratch_.path() + "/names'");
    EXPECT_EQ(theirs.err, "") << notation;
    std::string mine;
    for (HostSet const& piece : HostSet::parse(notation)->contiguous())
      mine += piece.fold() + "\n";
    EXPECT_EQ(theirs.out, mine) << notation;
  }
}

// Names that have the chosen position: the same text as nodeset's.
TEST_F(HostSetInterop, FoldOnAnAxisAsNodesetDoes) {
  struct Row {
    std::string axis;
    std::vector<int> axes;
    std::string notation;
  };
  std::vector<Row> const rows = {
      {"2", {2}, "r[1-2]c[1-2]"},
      {"-1", {-1}, "r[1-3]c[1-2],r4c1"},
      {"1", {1}, "r[1-2]c[1-2],n[1-3]"},
      {"-1", {-1}, "ln[0-1],r[1-2]c[1-2]"},
  };
  for (Row const& row : rows) {
    write_file(scratch_.path() + "/names", row.notation + "\n");
    Output const theirs =
        run(scratch_, *nodeset_ + " --axis " + row.axis + " -f < '" + scratch_.path() + "/names'");
    HostSetFoldOptions options;
    options.axes = row.axes;
    EXPECT_EQ(theirs.out, HostSet::parse(row.notation)->fold(options) + "\n") << row.notation;
  }
}

TEST_F(HostSetInterop, ReadEveryFoldOfRandomSetsBack) {
  std::mt19937 random(1914);
  for (int round = 0; round < 12; ++round) {
    HostSet const set = random_set(random);
    for (HostSetFoldOptions const& options : every_axis_choice())
      check(set, options, "random set " + std::to_string(round));
  }
}

TEST_F(HostSetInterop, ReadEveryFoldOfTheBenchmarkInputsBack) {
  std::mt19937 random(7);
  std::string shuffled;
  {
    Names names;
    for (int i = 1; i <= 60000; ++i) {
      char name[16];
      std::snprintf(name, sizeof name, "node%07d", i);
      names.emplace_back(name);
    }
    std::shuffle(names.begin(), names.end(), random);
    for (std::string const& name : names)
      shuffled += name + "\n";
  }
  std::string racks;
  std::uniform_int_distribution<int> percent(0, 99);
  for (int r = 1; r <= 10; ++r)
    for (int c = 1; c <= 10; ++c)
      for (int n = 1; n <= 100; ++n)
        if (percent(random) != 0)
          racks +=
              "r" + std::to_string(r) + "c" + std::to_string(c) + "n" + std::to_string(n) + "\n";
  std::vector<std::pair<std::string, HostSet>> const inputs = {
      {"60,000 shuffled names (scontrol reads at most 65,536 in a range)",
       *HostSet::parse(shuffled)},
      {"32,768 xnames", *HostSet::parse("x[1000-1063]c[0-7]s[0-7]b[0-1]n[0-3]")},
      {"rack layout less 1 %", *HostSet::parse(racks)},
      {"node[1-1000000000] less 1,000 names",
       *HostSet::parse("node[1-1000000000]") -
           HostSet::parse("node[1-1000000000]")->select("0-999999999/1000000").value()},
  };
  for (auto const& input : inputs) {
    for (HostSetFoldOptions const& options : every_axis_choice()) {
      if (input.second.size() > 200000) {
        // Too many names to expand through the peers: only the fold's text
        // is compared, read back by ourselves.
        EXPECT_TRUE(*HostSet::parse(input.second.fold(options)) == input.second);
        continue;
      }
      check(input.second, options, input.first);
    }
  }
  compare_compactness(inputs[0].second, inputs[0].first);
  compare_compactness(inputs[1].second, inputs[1].first);
  compare_compactness(inputs[2].second, inputs[2].first);
}

}  // namespace
