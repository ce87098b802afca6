// The library from 8 threads at once: pure string and text-layout functions,
// host-list folding and expansion, file-name helpers and log records. Every
// thread checks exact results, so a race that corrupts a result fails here in
// any build; the tsan preset also reports the race itself. The logging globals
// are set before the threads start and only read while they run.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "krel/generic_lib.hpp"
#include "test_support.hpp"

namespace {

constexpr int kThreads = 8;

// Runs `work(thread_index)` on kThreads threads released together, and
// returns what each reported (an empty string when all went well).
std::vector<std::string> on_threads(std::function<std::string(int)> const& work) {
  std::vector<std::string> reports(kThreads);
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      ready.fetch_add(1);
      while (ready.load() < kThreads)
        std::this_thread::yield();
      reports[t] = work(t);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  return reports;
}

struct Call {
  std::string what;
  std::function<std::string()> run;
  std::string expected;
};

// Runs every call `rounds` times; reports each wrong result once.
std::string run_calls(std::vector<Call> const& calls, int rounds) {
  std::string report;
  for (int round = 0; round < rounds; ++round) {
    for (Call const& call : calls) {
      std::string const got = call.run();
      if (got != call.expected && report.find(call.what) == std::string::npos) {
        report += call.what + " gave \"" + got + "\"; ";
      }
    }
  }
  return report;
}

std::string joined(std::vector<std::string> const& list, std::string const& separator) {
  return krel::str::vect_to_str(list, separator);
}

std::string joined(std::vector<int> const& list) {
  return krel::str::int_vect_to_str(list, ",");
}

std::vector<Call> string_calls() {
  using namespace krel::str;
  return {
      {"lower", [] { return lower("AbC-9"); }, "abc-9"},
      {"upper", [] { return upper("AbC-9"); }, "ABC-9"},
      {"strip", [] { return strip("--a-b--", "-"); }, "a-b"},
      {"strip blank set", [] { return strip("  xx  ", ""); }, "xx"},
      {"rstrip", [] { return rstrip("abc..", "."); }, "abc"},
      {"fstrip", [] { return fstrip("..abc", "."); }, "abc"},
      {"stripws", [] { return stripws(" \txx\r\n"); }, "xx"},
      {"stripallws", [] { return stripallws("\v a b \f"); }, "ab"},
      {"replace", [] { return replace("aaa", "aa", "b"); }, "ba"},
      {"squeeze", [] { return squeeze("a,,b,,,c,", ','); }, "a,b,c,"},
      {"split", [] { return joined(split("a,,b,", ',', false), ";"); }, "a;;b"},
      {"split squeezed", [] { return joined(split(",,a,,b", ',', true), ";"); }, ";a;b"},
      {"word_wrap", [] { return word_wrap("the quick brown fox jumps", 10, "  "); },
       "the quick\n  brown\n  fox\n  jumps"},
      {"column_wrap",
       [] { return column_wrap("name: value one\nlonger name: val", 20, "  ", ':', false); },
       "name:        value\n             one\nlonger name: val"},
      {"space_wrap", [] { return space_wrap("a bb ccc\ndddd e f", 80, ""); },
       "a    bb ccc\ndddd e  f"},
      {"clean_previous_formatting", [] { return clean_previous_formatting("a \n b\n\nc"); },
       "a b c"},
      {"AlignRight",
       [] {
         return joined(AlignRight({"a", "bbb", "cc"}, "> "), "|");
       },
       ">   a|> bbb|>  cc"},
      {"join_set_strings",
       [] {
         return join_set_strings({"c", "a", "b"});
       },
       "a, b, and c"},
      {"get_lib_name", [] { return get_lib_name("/usr/lib64/libz.so"); }, "z"},
      {"compare_versions",
       [] {
         bool newer = false;
         compare_versions("1.10", "1.9", newer);
         return std::string(newer ? "newer" : "not newer");
       },
       "newer"},
      {"basename", [] { return basename("/usr/lib/libx.so"); }, "libx.so"},
      {"dirname", [] { return dirname("/usr/lib/libx.so"); }, "/usr/lib"},
      {"remove_path", [] { return remove_path("a/b/c"); }, "c"},
      {"sub ids", [] { return remove_sub_id("node7:2") + "|" + get_sub_id("node7:2"); },
       "node7|:2"},
      {"convert_to_selection_helper",
       [] {
         double value = 0;
         unsigned long position = 0;
         convert_to_selection_helper("1.5xyz", value, position);
         return std::to_string(value) + "@" + std::to_string(position);
       },
       "1.500000@3"},
  };
}

// node0001 .. node2000 in an order of the thread's own.
std::vector<std::string> padded_nodes(unsigned seed) {
  std::vector<std::string> names;
  for (int i = 1; i <= 2000; ++i) {
    std::string number = std::to_string(i);
    names.push_back("node" + std::string(4 - number.size(), '0') + number);
  }
  std::shuffle(names.begin(), names.end(), std::mt19937(seed));
  return names;
}

std::vector<Call> host_list_calls(int thread) {
  using krel::TokenizedHost;
  using namespace krel::str;
  return {
      {"get_merged_hosts",
       [] {
         return TokenizedHost::get_merged_hosts({"node3", "node1", "node2", "login1"});
       },
       "login1, node[1-3]"},
      {"get_merged_hosts padding",
       [] {
         return TokenizedHost::get_merged_hosts({"cn08", "cn09", "cn10", "cn11"});
       },
       "cn[08-09], cn[10-11]"},
      {"get_merged_hosts 2000 names",
       [thread] { return TokenizedHost::get_merged_hosts(padded_nodes(thread)); },
       "node[0001-0009], node[0010-0099], node[0100-0999], node[1000-2000]"},
      {"expand_hosts",
       [] { return joined(TokenizedHost::expand_hosts("cn[09-010], r[1-2]c1"), " "); },
       "cn09 cn010 r1c1 r2c1"},
      {"TokenizedHost",
       [] {
         TokenizedHost const host("r2c3n014");
         return std::to_string(host.tokens.size()) + "/" +
                std::to_string(host.tokens.back().number) + "/" +
                std::to_string(host.tokens.back().leading_zeroes);
       },
       "6/14/1"},
      {"get_merged_ints",
       [] {
         bool multiple = false;
         std::string const fold = get_merged_ints({7, 1, 7, 2, 3}, multiple, 0);
         return fold + (multiple ? " multiple" : " single");
       },
       "1-3,7 multiple"},
      {"int_vect_to_str",
       [] {
         return int_vect_to_str({3, 1, 3}, ", ");
       },
       "3, 1, 3"},
      {"expand_ranges", [] { return joined(expand_ranges("5,1-3,2")); }, "1,2,3,5"},
      {"expand_ranges wide", [] { return std::to_string(expand_ranges(" 0-9999 ").size()); },
       "10000"},
      {"get_num_permutations_from_string",
       [] {
         return std::to_string(get_num_permutations_from_string("all", 3, "cfg")) + "," +
                std::to_string(get_num_permutations_from_string("5abc", 3, "cfg"));
       },
       "0,5"},
  };
}

TEST(Threads, PureStringFunctionsGiveExactResultsOnEightThreads) {
  std::vector<Call> const calls = string_calls();
  ASSERT_EQ(run_calls(calls, 1), "") << "wrong before any thread started";
  for (std::string const& report : on_threads([&](int) { return run_calls(calls, 40); })) {
    EXPECT_EQ(report, "");
  }
}

TEST(Threads, HostListFunctionsGiveExactResultsOnEightThreads) {
  ASSERT_EQ(run_calls(host_list_calls(0), 1), "") << "wrong before any thread started";
  for (std::string const& report :
       on_threads([](int thread) { return run_calls(host_list_calls(thread), 5); })) {
    EXPECT_EQ(report, "");
  }
}

constexpr int kRecordsPerThread = 100;
constexpr char kPermutationWarning[] =
    "Invalid value specified for number of nodelist permutations in cfg. Valid values are "
    "positive integers, they keyword 'all', or the number 0 to represent all";

// One round of records from one thread: a direct record at level 3 (written),
// one at level 5 (filtered out), and the library's own warnings.
void write_records(int thread, int round) {
  krel::log::ErrorLog("tests/test_threads", "write_records", __LINE__, 3).stream()
      << "thread " << thread << " record " << round;
  krel::log::ErrorLog("tests/test_threads", "write_records", __LINE__, 5).stream()
      << "filtered out";
  krel::str::get_num_permutations_from_string("All", 3, "cfg");
  bool newer = true;
  krel::str::compare_versions("1.x", "1.2", newer);
  krel::TokenizedHost::get_merged_hosts_str({}, 0);
}

TEST(Threads, LogRecordsFromEightThreadsStayWholeLines) {
  krel_test::LogSettings const settings(4);  // set before the threads start
  std::string const written = krel_test::capture_stderr([] {
    on_threads([](int thread) {
      for (int round = 0; round < kRecordsPerThread; ++round)
        write_records(thread, round);
      return std::string();
    });
  });

  std::map<std::string, int> expected;
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int round = 0; round < kRecordsPerThread; ++round) {
      expected["thread " + std::to_string(thread) + " record " + std::to_string(round)] = 1;
    }
  }
  expected[kPermutationWarning] = kThreads * kRecordsPerThread;
  expected["Unable to parse version."] = kThreads * kRecordsPerThread;
  expected["attempted to merge empty host list"] = kThreads * kRecordsPerThread;

  std::map<std::string, int> lines;
  std::istringstream stream(written);
  for (std::string line; std::getline(stream, line);)
    ++lines[line];
  EXPECT_TRUE(written.empty() || written.back() == '\n');
  EXPECT_EQ(lines, expected);
}

TEST(Threads, TemporaryFilesFromEightThreadsAreDistinct) {
  krel_test::TempFolder const folder;
  constexpr int kFilesPerThread = 50;
  std::vector<std::string> names(kThreads * kFilesPerThread);
  on_threads([&](int thread) {
    for (int i = 0; i < kFilesPerThread; ++i) {
      names[thread * kFilesPerThread + i] = krel::fs::tmpfile("run_", folder.path());
    }
    return std::string();
  });
  std::set<std::string> const distinct(names.begin(), names.end());
  EXPECT_EQ(distinct.size(), names.size());
  for (std::string const& name : names)
    EXPECT_TRUE(krel::fs::file_exists(name)) << name;
}

}  // namespace
