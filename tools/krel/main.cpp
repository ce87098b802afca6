// krel: the library's host-list, range, wrapping and version services for
// shell scripts and job prologues.
//
// Exit status: 0 on success (and for "version newer" when A is newer), 1 when
// "version newer" finds A not newer, 2 for any error. An error is one line on
// standard error: the tool's own ("krel: ...") or the library's log record.
// Nothing is written to standard output unless the whole result is ready.

#include <malloc.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "commands.hpp"
#include "gather_command.hpp"
#include "groups_command.hpp"
#include "groups_help.hpp"
#include "host_input.hpp"
#include "krel/log.hpp"
#include "krel_version.hpp"
#include "process_io.hpp"
#include "set_options.hpp"
#include "tool_error.hpp"

namespace krel_tool {
namespace {

constexpr int kErrorStatus = 2;
constexpr int kMaxWidth = 1000000;
// Input problems are warnings (4) in the library; the tool shows them.
constexpr int kShownLogLevel = 4;

constexpr char kProgramHelp[] =
    "Host lists, number ranges, text wrapping and library versions for shell scripts.\n"
    "Host inputs are host-list notation (\"login1,node[01-03,05]\"; a plain name is\n"
    "notation too), given as arguments or, when there are none or one is \"-\", read\n"
    "from standard input; words are split at white space and at commas outside\n"
    "brackets. krel writes the notation that Slurm, ClusterShell, pdsh and flux all\n"
    "read as the same names.";

constexpr char kProgramExamples[] =
    "Examples:\n"
    "  krel fold node3 node1 node2 login1     # login1,node[1-3]\n"
    "  krel expand 'node[01-03,05]'            # node01 node02 node03 node05, one per line\n"
    "  scontrol show hostnames | krel fold\n"
    "  krel fold 'node[1-100]' -x 'node[5-7]'  # node[1-4,8-100]\n"
    "  krel count 'node[1-100]' node7          # 100\n"
    "  krel ranges 1-3,5                       # 1 2 3 5, one per line\n"
    "  krel version newer 2.10 2.9 && echo upgrade\n"
    "\n"
    "Exit status: 0 success, 1 \"version newer\" said no, 2 error (one line on standard error).\n"
    "Run 'krel SUBCOMMAND --help' for the details of each subcommand, 'man krel' for all.";

constexpr char kFoldExamples[] =
    "Examples:\n"
    "  $ krel fold node3 node1 node2 login1\n"
    "  login1,node[1-3]\n"
    "  $ seq -f 'node%03g' 1 150 | krel fold\n"
    "  node[001-150]\n"
    "  $ krel fold cn09 cn010 cn11   # 010 is not 10: widths are never merged\n"
    "  cn[09,11,010]\n"
    "  $ krel fold r1c1 r1c2 r2c1 r2c2\n"
    "  r[1-2]c[1-2]\n"
    "  $ krel fold --axis -1 r1c1 r1c2 r2c1 r2c2  # the last number only, as Slurm writes\n"
    "  r1c[1-2],r2c[1-2]\n"
    "  $ krel fold --autostep 3 node1 node3 node5 node7\n"
    "  node[1-7/2]\n"
    "  $ krel fold -s ', ' 'node[1-3]' login1\n"
    "  login1, node[1-3]\n"
    "  $ krel fold 'node[1-10]' -x 'node[3-4]' -x node9\n"
    "  node[1-2,5-8,10]\n"
    "  $ krel fold 'node[1-10]' -i 'node[8-20]'\n"
    "  node[8-10]\n"
    "  $ krel fold 'node[1-5]' -X 'node[4-7]'\n"
    "  node[1-3,6-7]\n"
    "  $ krel fold 'n[1-5],n7!n[2-7]'      # set expressions: , ! & ^ left to right\n"
    "  n1\n"
    "  $ krel fold 'n[1-3]' -x n2 n7        # in command-line order: 'n[1-3]!n2,n7'\n"
    "  n[1,3,7]\n"
    "  $ krel fold -O '%s.ib' -s '\\n' 'n[1-3]' login1\n"
    "  login1.ib\n  n[1-3].ib\n"
    "  $ krel fold --autostep 50% 'n[1,3,5,7]' m1 m2   # or auto: a run of every name\n"
    "  m[1-2],n[1-7/2]\n"
    "  $ krel fold 'node[1-10]' --slice 0-2,9\n"
    "  node[1-3,10]\n"
    "  $ krel fold --split 2 'node[1-5]'\n"
    "  node[1-3]\n  node[4-5]\n"
    "  $ krel fold --contiguous 'node[1-3,5]'\n"
    "  node[1-3]\n  node5\n"
    "  $ krel fold --report cn09 cn010 cn11\n"
    "  cn11, cn[09-010]\n"
    "Every number position is folded, and a range a-b is written only when all its\n"
    "values have one width, so every peer reads the text back as exactly these names.\n"
    "--report writes the suite's report notation instead: one number folded per\n"
    "piece, pieces sorted byte-wise and joined by \", \", a run split where the count\n"
    "of padding zeros changes (cn[09-010] is cn09 cn010 to krel only: Slurm reads\n"
    "cn09 cn10). Use it to match the suite's reports, never as input to other tools.\n"
    "Set operations work on distinct names and run in command-line order, between\n"
    "the inputs around them; --slice then picks by 0-based index in the set's order,\n"
    "--pick at random. No names, no output.";

constexpr char kExpandExamples[] =
    "Examples:\n"
    "  $ krel expand 'login1,node[01-03,05]'\n"
    "  login1\n  node01\n  node02\n  node03\n  node05\n"
    "  $ krel expand -s ' ' 'r[1-2]c[1-2]'   # leftmost bracket varies slowest\n"
    "  r1c1 r1c2 r2c1 r2c2\n"
    "  $ krel expand -s , 'node[1-9/4]' 'cn[09-010]'\n"
    "  node1,node5,node9,cn09,cn010\n"
    "  $ krel expand -s ' ' n3 n1 n3\n"
    "  n3 n1 n3\n"
    "  $ krel expand -s ' ' --sort n3 n1 n3 n10 n010\n"
    "  n1 n3 n10 n010\n"
    "  $ krel expand -s '\\t' -O '%s-ib' 'n[5,1-3]!n2'\n"
    "  n1-ib\tn3-ib\tn5-ib\n"
    "Names come out in order of appearance, duplicates kept, as scontrol show\n"
    "hostnames lists them. --sort, a set operation, --slice, --pick or a set\n"
    "expression (n[1-5]!n3) give the set instead:\n"
    "each name once, by pattern, then number by number, by written width and then\n"
    "by value, as nodeset -e lists them. Padding: bounds of one width pad every\n"
    "value to it (node[01-10]); a wider low bound pads to its width (n[009-11] is\n"
    "n009 n010 n011); a padded low bound narrower than the high bound keeps its\n"
    "zeros (cn[09-010] is cn09 cn010); a single value stays as written.";

constexpr char kCountExamples[] =
    "Examples:\n"
    "  $ krel count 'node[1-100]' node7\n"
    "  100\n"
    "  $ krel count 'node[1-4000000000]'\n"
    "  4000000000\n"
    "  $ krel count 'node[1-100]' -x 'node[1-10]'\n"
    "  90\n"
    "  $ krel count 'node[1-10]&node[5-20]'\n"
    "  6\n"
    "  $ sinfo -h -N -o %N | krel count\n"
    "Names are counted without being listed, each name once.";

constexpr char kRangesExamples[] =
    "Examples:\n"
    "  $ krel ranges 1-3,5\n"
    "  1\n  2\n  3\n  5\n"
    "  $ krel ranges --fold 1 2 3 5 7-9\n"
    "  1-3,5,7-9\n"
    "Numbers come out ascending, each once. Negative numbers need '--' before them.";

constexpr char kWrapExamples[] =
    "Examples:\n"
    "  $ echo 'the quick brown fox jumps' | krel wrap --width 10 --indent '  '\n"
    "  the quick\n    brown\n    fox\n    jumps\n"
    "  $ printf 'name: value one\\nlonger name: val\\n' | krel wrap --columns :\n"
    "  name:        value one\n  longer name: val\n"
    "  $ printf 'a bb ccc\\ndddd e f\\n' | krel wrap --table\n"
    "  a    bb ccc\n  dddd e  f\n"
    "The default width is the terminal's (on standard input), 80 when there is none.\n"
    "The output always ends with a newline.";

constexpr char kVersionExamples[] =
    "Examples:\n"
    "  $ krel version newer 2.10 2.9 && echo newer\n"
    "  newer\n"
    "Exit status 0 when A is newer than B, 1 when not (equal, older, or only longer:\n"
    "1.2.1 is not newer than 1.2), 2 when a version cannot be read.";

constexpr char kLibnameExamples[] =
    "Examples:\n"
    "  $ krel libname /usr/lib64/libz.so libcrypto.a libfoo.so.1.2\n"
    "  z\n  crypto\n  foo.so.1.2\n"
    "Paths from standard input are read one per line.";

// Makes CLI11's message one line.
std::string one_line(std::string text) {
  for (char& c : text)
    if (c == '\n') c = ' ';
  while (!text.empty() && text.back() == ' ')
    text.pop_back();
  return text;
}

// CLI11 says only that a subcommand is required when the word in its place
// is unknown; name the word instead.
std::string parse_problem(CLI::App const& app, CLI::ParseError const& error) {
  std::vector<std::string> const unknown = app.remaining(true);
  if (dynamic_cast<CLI::RequiredError const*>(&error) != nullptr && !unknown.empty())
    return "unknown subcommand or option \"" + unknown.front() + "\"";
  return one_line(error.what());
}

void report(std::string const& problem) {
  std::string const line = "krel: " + problem + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

struct Options {
  FoldRequest fold;
  ExpandRequest expand;
  SetRequest count;
  std::vector<std::string> ranges_inputs;
  bool fold_ranges = false;
  WrapRequest wrap;
  std::string version_a;
  std::string version_b;
  std::vector<std::string> libname_inputs;
  GatherRequest gather;
};

// Declares the positional WORDS of `command`, each taken exactly as the user
// wrote it. CLI11 reads a word given to a list option of open length as a
// list of its own when it starts with "[" and ends with "]": "[1-5]" would
// come out as "1-5", "[1,3]" as two words, even after "--". That reading
// belongs to options of open length only, so the words are declared with a
// length that cannot be reached instead; CLI11 then hands every word on as
// written, and still shows the option as "WORDS ..." in the help.
CLI::Option* add_words(CLI::App& command, std::string const& name, std::vector<std::string>& words,
                       std::string const& help) {
  constexpr int kUnreachableCount = CLI::detail::expected_max_vector_size - 1;
  return command.add_option(name, words, help)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->expected(kUnreachableCount, CLI::detail::expected_max_vector_size)
      ->allow_extra_args(false);
}

struct Commands {
  CLI::App* fold;
  CLI::App* expand;
  CLI::App* count;
  CLI::App* ranges;
  CLI::App* wrap;
  CLI::App* version_newer;
  CLI::App* libname;
  CLI::App* gather;
};

CLI::App* define_fold(CLI::App& app, FoldRequest& fold) {
  CLI::App* const command = app.add_subcommand("fold", "Fold host names into host-list notation");
  add_words(*command, "HOSTS", fold.set.inputs,
            "Host names or notation; \"-\" or none: standard input");
  command
      ->add_option_function<std::string>(
          "-s,--separator", [&fold](std::string const& separator) { fold.separator = separator; },
          "Join the pieces with SEP instead of \",\" (\", \" with --report)")
      ->type_name("SEP");
  CLI::Option* const report = command->add_flag(
      "--report", fold.report,
      "Write the suite's report notation: one number folded per piece, \", \" between");
  command
      ->add_option("--axis", fold.axes,
                   "Fold only these number positions, 1-based, negative from the end: 1, -1, 1-2")
      ->type_name("AXES")
      ->excludes(report);
  add_autostep_option(*command, fold.autostep, report);
  add_set_options(*command, fold.set);
  CLI::Option* const split =
      command
          ->add_option("--split", fold.split,
                       "Write N lines, each the fold of one consecutive part of near-equal size")
          ->type_name("N")
          ->check(CLI::Range(std::uint64_t(1), std::numeric_limits<std::uint64_t>::max()))
          ->excludes(report);
  command
      ->add_flag("--contiguous", fold.contiguous, "Write one line per run of consecutive numbers")
      ->excludes(report)
      ->excludes(split);
  command->footer(kFoldExamples);
  return command;
}

CLI::App* define_expand(CLI::App& app, ExpandRequest& expand) {
  CLI::App* const command =
      app.add_subcommand("expand", "Expand host-list notation, one name per line");
  add_words(*command, "NOTATION", expand.set.inputs,
            "Host-list notation; \"-\" or none: standard input");
  command
      ->add_option("-s,--separator", expand.separator,
                   "Put SEP between the names instead of a newline")
      ->type_name("SEP");
  command->add_flag("--sort", expand.sort,
                    "Each name once, in the set's order, as nodeset -e lists them");
  add_set_options(*command, expand.set);
  command->footer(kExpandExamples);
  return command;
}

CLI::App* define_count(CLI::App& app, SetRequest& count) {
  CLI::App* const command = app.add_subcommand("count", "Count the distinct host names");
  add_words(*command, "HOSTS", count.inputs,
            "Host names or notation; \"-\" or none: standard input");
  add_set_options(*command, count);
  command->footer(kCountExamples);
  return command;
}

CLI::App* define_ranges(CLI::App& app, Options& options) {
  CLI::App* const command =
      app.add_subcommand("ranges", "Expand number range lists, or fold numbers");
  add_words(*command, "LISTS", options.ranges_inputs,
            "Range lists such as 1-3,5; \"-\" or none: standard input");
  command->add_flag("--fold", options.fold_ranges, "Fold the numbers into one range list instead");
  command->footer(kRangesExamples);
  return command;
}

CLI::App* define_wrap(CLI::App& app, WrapRequest& wrap) {
  CLI::App* const command = app.add_subcommand("wrap", "Wrap standard input to a width");
  command->add_option("--width", wrap.width, "Bytes per line")
      ->type_name("N")
      ->check(CLI::Range(1, kMaxWidth));
  command->add_option("--indent", wrap.indent, "Start continuation lines with TEXT")
      ->type_name("TEXT");
  CLI::Option* const columns =
      command
          ->add_option("--columns", wrap.column_separator,
                       "Lines \"label SEP value\": line the values up in one column")
          ->type_name("SEP")
          ->check(
              [](std::string const& value) {
                return value.size() == 1 ? std::string()
                                         : std::string("SEP must be exactly one character");
              },
              "CHAR");
  command
      ->add_flag("--hide-separator", wrap.hide_separator,
                 "With --columns: write a space in place of SEP")
      ->needs(columns);
  command
      ->add_flag("--table", wrap.table,
                 "Line up the space-separated fields of all lines in columns")
      ->excludes(columns);
  command->footer(kWrapExamples);
  return command;
}

// "version" itself only holds "version newer", which is returned.
CLI::App* define_version_newer(CLI::App& app, Options& options) {
  CLI::App* const version = app.add_subcommand("version", "Compare version strings");
  version->require_subcommand(1);
  CLI::App* const newer =
      version->add_subcommand("newer", "Exit status 0 when version A is newer than B, 1 otherwise");
  newer->add_option("A", options.version_a, "Dotted version")->required();
  newer->add_option("B", options.version_b, "Dotted version")->required();
  newer->footer(kVersionExamples);
  version->footer(kVersionExamples);
  return newer;
}

CLI::App* define_libname(CLI::App& app, std::vector<std::string>& inputs) {
  CLI::App* const command = app.add_subcommand("libname", "Bare library names of library paths");
  add_words(*command, "PATHS", inputs, "Library paths; \"-\" or none: standard input");
  command->footer(kLibnameExamples);
  return command;
}

// The subcommands, as the first word of a command line names them.
constexpr std::string_view kSubcommands[] = {"fold",    "expand",  "count",  "ranges", "wrap",
                                             "version", "libname", "gather", "groups"};

// Declares the subcommand that `first_word` names, or all of them when it
// names none (help, --version, a mistyped name). A command line runs one
// subcommand, and declaring the options of all of them cost more than
// counting a set does (CLI11 builds and cross-checks every option): the
// others stay undeclared, and their pointers null.
Commands define_commands(CLI::App& app, Options& options, std::string_view first_word) {
  bool const all = std::find(std::begin(kSubcommands), std::end(kSubcommands), first_word) ==
                   std::end(kSubcommands);
  auto const wanted = [&](std::string_view name) { return all || first_word == name; };
  Commands commands{};
  if (wanted("fold")) commands.fold = define_fold(app, options.fold);
  if (wanted("expand")) commands.expand = define_expand(app, options.expand);
  if (wanted("count")) commands.count = define_count(app, options.count);
  if (wanted("ranges")) commands.ranges = define_ranges(app, options);
  if (wanted("wrap")) commands.wrap = define_wrap(app, options.wrap);
  if (wanted("version")) commands.version_newer = define_version_newer(app, options);
  if (wanted("libname")) commands.libname = define_libname(app, options.libname_inputs);
  if (wanted("gather")) commands.gather = add_gather_command(app, options.gather);
  add_group_commands(app, commands.fold, commands.expand, commands.count, wanted("groups"));
  add_group_help(commands.fold, commands.expand, commands.count);
  return commands;
}

// Whether `command` was declared and is the one the command line runs.
bool chosen(CLI::App const* command) {
  return command != nullptr && command->parsed();
}

// Runs the chosen subcommand; its whole output is ready before any of it is
// written.
int run(Commands const& commands, Options const& options) {
  std::string output;
  int status = 0;
  if (groups_command_chosen()) {
    output = groups_command();
  } else if (chosen(commands.fold)) {
    FoldRequest request = options.fold;
    request.set.inputs = inputs_or_standard_input(request.set.inputs);
    output = fold_command(request);
  } else if (chosen(commands.expand)) {
    ExpandRequest request = options.expand;
    request.set.inputs = inputs_or_standard_input(request.set.inputs);
    expand_command(request);
    return status;
  } else if (chosen(commands.count)) {
    SetRequest request = options.count;
    request.inputs = inputs_or_standard_input(request.inputs);
    output = count_command(request);
  } else if (chosen(commands.ranges)) {
    std::vector<std::string> const inputs = inputs_or_standard_input(options.ranges_inputs);
    if (!options.fold_ranges) {
      write_number_lines(ranges_command(inputs));
      return status;
    }
    output = fold_ranges_command(inputs);
  } else if (chosen(commands.wrap)) {
    output = wrap_command(options.wrap);
  } else if (chosen(commands.version_newer)) {
    status = version_newer_command(options.version_a, options.version_b);
  } else if (chosen(commands.libname)) {
    output = libname_command(inputs_or_standard_input(options.libname_inputs));
  } else if (chosen(commands.gather)) {
    output = gather_command(options.gather);
  }
  write_output(output);
  return status;
}

int main_guarded(int argc, char** argv) {
  krel::log::LOG_LEVEL = kShownLogLevel;
  krel::log::LOG_OUTPUT = 0;

  CLI::App app(kProgramHelp, "krel");
  app.set_version_flag("--version", std::string(kVersion), "Print the library version and exit");
  app.require_subcommand(1);
  app.footer(kProgramExamples);
  app.get_formatter()->column_width(34);
  Options options;
  Commands const commands = define_commands(app, options, argc > 1 ? argv[1] : "");

  try {
    app.parse(argc, argv);
  } catch (CLI::Success const& success) {
    return app.exit(success);
  } catch (CLI::ParseError const& error) {
    report(parse_problem(app, error) + " (see krel --help)");
    return kErrorStatus;
  }

  try {
    return run(commands, options);
  } catch (ToolError const& error) {
    report(error.what());
  } catch (RecordShown const&) {
  } catch (std::bad_alloc const&) {
    report("out of memory");
  }
  return kErrorStatus;
}

}  // namespace
}  // namespace krel_tool

int main(int argc, char** argv) {
  // krel runs once and exits. Memory it lets go of is kept for what it asks
  // for next, instead of going back to the system and being faulted in again
  // page by page: the reader's growing tables and scratch arrays then cost
  // no more pages than the largest of them. Folding 100,000 different words
  // takes about 1,500 page faults (6 MB) and 15 % of its CPU time more
  // without these two settings; no portable call does the same.
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  try {
    return krel_tool::main_guarded(argc, argv);
  } catch (std::exception const& error) {
    krel_tool::report(std::string("unexpected failure: ") + error.what());
  }
  return krel_tool::kErrorStatus;
}
