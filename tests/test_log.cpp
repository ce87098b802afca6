#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "krel/log.hpp"
#include "test_support.hpp"

// The system log, replaced for this program: every call the library makes
// lands here, in its plain and its fortified forms, and is recorded.
namespace {

struct SystemLogCall {
  int priority;
  std::string format;
  std::string text;  // the format applied to the arguments
  std::string entry;
};

std::vector<SystemLogCall>& system_log_calls() {
  static std::vector<SystemLogCall> calls;
  return calls;
}

void record_system_log(int priority, char const* format, va_list arguments, char const* entry) {
  char text[8192];
  std::vsnprintf(text, sizeof text, format, arguments);
  system_log_calls().push_back({priority, format, text, entry});
}

}  // namespace

// Hidden visibility is the default for our targets; these must be seen by the
// library's dynamic linking.
extern "C" {
__attribute__((visibility("default"))) void syslog(int priority, char const* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  record_system_log(priority, format, arguments, "syslog");
  va_end(arguments);
}
__attribute__((visibility("default"))) void vsyslog(int priority, char const* format,
                                                    va_list arguments) {
  record_system_log(priority, format, arguments, "vsyslog");
}
__attribute__((visibility("default"))) void __syslog_chk(int priority, int /*flag*/,
                                                         char const* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  record_system_log(priority, format, arguments, "__syslog_chk");
  va_end(arguments);
}
__attribute__((visibility("default"))) void __vsyslog_chk(int priority, int /*flag*/,
                                                          char const* format, va_list arguments) {
  record_system_log(priority, format, arguments, "__vsyslog_chk");
}
}

namespace {

using krel::log::ErrorLog;
using krel_test::capture_stderr;
using krel_test::LogSettings;

// Emits one record at `level` carrying `text`, as the library's own code does.
void emit(int level, std::string const& text) {
  ErrorLog("src/generic_lib/src/str", "emit", 42, level).stream() << text;
}

std::string emitted_to_stderr(int level, std::string const& text) {
  return capture_stderr([&] { emit(level, text); });
}

TEST(LogDefaults, GlobalsStartAtDocumentedValues) {
  EXPECT_EQ(krel::log::LOG_LEVEL, 3);
  EXPECT_EQ(krel::log::LOG_OUTPUT, 0);
  EXPECT_EQ(krel::log::LOG_SCOPE_LEVEL, 0);
  EXPECT_EQ(krel::log::OutputLog::singleton_obj, nullptr);
}

TEST(LogDefaults, WarningIsDroppedAndErrorIsWritten) {
  EXPECT_EQ(emitted_to_stderr(4, "warn"), "");
  EXPECT_EQ(emitted_to_stderr(3, "broken"), "broken\n");
}

struct ThresholdRow {
  int threshold;
  int level;
  bool written;
};

TEST(LogThreshold, FiltersBySignedComparison) {
  ThresholdRow const rows[] = {
      {7, 7, true},   {7, 4, true},   {7, 0, true},   {7, 8, false},  {3, 3, true},  {3, 2, true},
      {3, 1, true},   {3, 0, true},   {3, 4, false},  {0, 0, true},   {0, -1, true}, {0, 1, false},
      {-1, 0, false}, {-1, 3, false}, {-1, -1, true}, {-1, -5, true},
  };
  for (ThresholdRow const& row : rows) {
    LogSettings settings(row.threshold);
    EXPECT_EQ(emitted_to_stderr(row.level, "x"), row.written ? "x\n" : "")
        << "LOG_LEVEL " << row.threshold << ", record level " << row.level;
  }
}

TEST(LogStderr, WritesTextByteForByte) {
  LogSettings settings(7);
  struct Row {
    std::string text;
    std::string written;
  } const rows[] = {
      {"", "\n"},  // an empty record is an empty line
      {"ends in newline\n", "ends in newline\n\n"},
      {"100% done %s %n", "100% done %s %n\n"},
      {std::string("a\0b", 3), std::string("a\0b\n", 4)},
      {"\x80\xff high bytes", "\x80\xff high bytes\n"},
  };
  for (Row const& row : rows)
    EXPECT_EQ(emitted_to_stderr(4, row.text), row.written);
}

TEST(LogStderr, StreamsValuesWithInsertionOperators) {
  std::string const written = capture_stderr([] {
    ErrorLog("src/generic_lib/src/fs", "tmpfile", 7, 3).stream()
        << "Error creating temporary file (" << 13 << "): "
        << "Permission denied";
  });
  EXPECT_EQ(written, "Error creating temporary file (13): Permission denied\n");
}

TEST(LogStderr, SourceFunctionAndLineNeverAppear) {
  std::string const written = capture_stderr(
      [] { ErrorLog("some/source/file.cpp", "some_function_name", 31337, 3).stream() << "msg"; });
  EXPECT_EQ(written, "msg\n");
}

TEST(LogStderr, ThresholdIsReadWhenTheRecordIsWritten) {
  LogSettings settings(3);
  std::string const written = capture_stderr([] {
    ErrorLog record("src/generic_lib/src/str", "test", 1, 5);
    record.stream() << "late";
    krel::log::LOG_LEVEL = 5;  // raised after construction, before emission
  });
  EXPECT_EQ(written, "late\n");

  std::string const dropped = capture_stderr([] {
    ErrorLog record("src/generic_lib/src/str", "test", 1, 3);
    record.stream() << "dropped";
    krel::log::LOG_LEVEL = 2;
  });
  EXPECT_EQ(dropped, "");
}

TEST(LogStderr, WholeBufferIsWrittenWhateverTheReadPosition) {
  std::string const written = capture_stderr([] {
    ErrorLog record("src/generic_lib/src/str", "test", 1, 3);
    record.stream() << "abc";
    char first = 0;
    record.stream() >> first;  // moves the read position only
  });
  EXPECT_EQ(written, "abc\n");
}

class LogSystemLog : public testing::Test {
 protected:
  void SetUp() override { system_log_calls().clear(); }
};

TEST_F(LogSystemLog, AnyNonZeroOutputSelectsTheSystemLog) {
  for (int output : {1, -1, 2}) {
    system_log_calls().clear();
    LogSettings settings(7, output);
    std::string const written = emitted_to_stderr(4, "to syslog");
    EXPECT_EQ(written, "") << "LOG_OUTPUT " << output;
    ASSERT_EQ(system_log_calls().size(), 1u) << "LOG_OUTPUT " << output;
    EXPECT_EQ(system_log_calls()[0].priority, 4);
    EXPECT_EQ(system_log_calls()[0].format, "%s\n");
    EXPECT_EQ(system_log_calls()[0].text, "to syslog\n");
  }
}

TEST_F(LogSystemLog, PriorityIsTheRecordLevel) {
  LogSettings settings(7, 1);
  for (int level : {0, 1, 2, 3, 4, 5, 6, 7})
    emit(level, "level");
  ASSERT_EQ(system_log_calls().size(), 8u);
  for (int level = 0; level <= 7; ++level) {
    EXPECT_EQ(system_log_calls()[level].priority, level);
  }
}

TEST_F(LogSystemLog, PercentSignsArriveAsArgumentsNotFormat) {
  LogSettings settings(3, 1);
  emit(3, "disk 100% full %s %d");
  ASSERT_EQ(system_log_calls().size(), 1u);
  EXPECT_EQ(system_log_calls()[0].format, "%s\n");
  EXPECT_EQ(system_log_calls()[0].text, "disk 100% full %s %d\n");
}

TEST_F(LogSystemLog, EmptyRecordIsAnEmptyMessage) {
  LogSettings settings(3, 1);
  emit(3, "");
  ASSERT_EQ(system_log_calls().size(), 1u);
  EXPECT_EQ(system_log_calls()[0].text, "\n");
}

TEST_F(LogSystemLog, FilteredRecordReachesNothing) {
  LogSettings settings(3, 1);
  emit(4, "too detailed");
  EXPECT_TRUE(system_log_calls().empty());
}

TEST(LogLevelNames, HoldsTheSevenSyslogNames) {
  std::map<std::string, int> const expected = {{"debug", 7},   {"info", 6},  {"notice", 5},
                                               {"warning", 4}, {"error", 3}, {"critical", 2},
                                               {"alert", 1}};
  EXPECT_EQ(krel::log::LOG_LEVEL_NAMES, expected);
}

TEST(LogOutputHolder, LibraryNeverFillsIt) {
  using krel::log::OutputLog;
  ASSERT_EQ(OutputLog::singleton_obj, nullptr);
  for (int output : {0, 1}) {
    krel_test::LogSettings const settings(7, output);
    krel_test::capture_stderr([] {
      for (int level = 0; level <= 7; ++level)
        krel::log::ErrorLog("src/test", "test", 1, level).stream() << "record " << level;
    });
  }
  system_log_calls().clear();
  EXPECT_EQ(OutputLog::singleton_obj, nullptr);
}

// A file whose deletion says so on standard error.
std::shared_ptr<krel::log::OutputLog::StreamFileType> file_that_reports_deletion() {
  return std::shared_ptr<krel::log::OutputLog::StreamFileType>(
      new krel::log::OutputLog::StreamFileType{"/var/log/client.log"},
      [](krel::log::OutputLog::StreamFileType* file) {
        std::fprintf(stderr, "deleted %s\n", file->path.c_str());
        delete file;
      });
}

TEST(LogOutputHolderDeathTest, ClientStateIsDeletedAtExit) {
  using krel::log::OutputLog;
  EXPECT_EXIT(
      {
        OutputLog::singleton_obj = std::make_unique<OutputLog::OutputLogStream>();
        OutputLog::singleton_obj->files.push_back(file_that_reports_deletion());
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), "deleted /var/log/client.log");
  // Without an exit the state stays held.
  std::string const written = krel_test::capture_stderr([] {
    OutputLog::singleton_obj = std::make_unique<OutputLog::OutputLogStream>();
    OutputLog::singleton_obj->files.push_back(file_that_reports_deletion());
  });
  EXPECT_EQ(written, "");
  ASSERT_NE(OutputLog::singleton_obj, nullptr);
  EXPECT_EQ(OutputLog::singleton_obj->files.size(), 1u);
  EXPECT_EQ(krel_test::capture_stderr([] { OutputLog::singleton_obj.reset(); }),
            "deleted /var/log/client.log\n");
}

}  // namespace
