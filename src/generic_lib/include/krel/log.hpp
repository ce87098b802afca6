// One-statement log records, filtered by a process-wide level and written to
// standard error or the system log.
//
// A record is an unnamed temporary: fill its stream, and the line is written
// when the temporary dies at the end of the statement.
//
//   krel::log::ErrorLog(__FILE__, __func__, __LINE__, 3).stream() << "disk " << 2 << " failed";
//   // standard error: "disk 2 failed\n"
//
// The written line is exactly what was streamed: no level name, time stamp,
// program name or source location is added.
#pragma once

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "krel/generic_lib_export.hpp"

namespace krel {
namespace log {

// Threshold: a record is written only when its level is <= LOG_LEVEL (signed
// comparison). Levels are syslog severities, smaller is more severe; the
// default 3 lets "error" (3), "critical" (2), "alert" (1) and 0 through and
// drops "warning" (4) and above. Read when each record is written, so a
// change affects records already under construction. Set it before starting
// threads: it is a plain integer with no locking.
GENERIC_LIB_EXPORT extern int LOG_LEVEL;

// Destination: 0 (the default) writes to standard error; any other value,
// 1 or -1 alike, writes to the system log with the record's level as the
// priority. The library never opens or configures the system log itself.
GENERIC_LIB_EXPORT extern int LOG_OUTPUT;

// Kept for client code; nothing in the library reads or writes it. Default 0.
GENERIC_LIB_EXPORT extern int LOG_SCOPE_LEVEL;

// Level names to syslog severities: "debug" 7, "info" 6, "notice" 5,
// "warning" 4, "error" 3, "critical" 2, "alert" 1. Every source file that
// includes this header gets its own copy, built at load time.
//
//   LOG_LEVEL = LOG_LEVEL_NAMES.at("warning");  // 4
static const std::map<std::string, int> LOG_LEVEL_NAMES = {
    {"debug", 7}, {"info", 6},     {"notice", 5}, {"warning", 4},
    {"error", 3}, {"critical", 2}, {"alert", 1}};

// One log record. Construct it as a temporary with the caller's source path,
// function name, line and level; only the level is kept, the other three are
// accepted and never printed. The destructor writes the record:
//   - nothing when level > LOG_LEVEL at that moment;
//   - with LOG_OUTPUT == 0, the streamed text and one "\n" to standard error
//     (text that already ends in "\n" gets a second one; an empty record is an
//     empty line);
//   - otherwise syslog(level, "%s\n", text), so a "%" in the text is safe.
//
//   krel::log::LOG_LEVEL = 7;
//   krel::log::ErrorLog("src/tool", "main", 12, 4).stream() << "low disk: " << 93 << "%";
//   // standard error: "low disk: 93%\n"
class GENERIC_LIB_EXPORT ErrorLog {
 public:
  ErrorLog(char const* source_file, char const* function, unsigned int line, int level);
  ErrorLog(ErrorLog const&) = delete;
  ErrorLog& operator=(ErrorLog const&) = delete;
  // Writes the record. Never throws: a failure while writing ends the process.
  ~ErrorLog();

  // The record's message buffer; stream text and values into it.
  std::stringstream& stream() { return message_; }

 private:
  std::stringstream message_;
  int level_;
};

// A process-wide holder for client-defined output state. The library never
// fills it; whatever a client puts into `singleton_obj` is deleted at exit.
class GENERIC_LIB_EXPORT OutputLog {
 public:
  // One output destination: a descriptor and the threshold for it.
  struct OutputStream {
    int descriptor = 2;
    int level = 3;
  };

  // An output file shared between holders.
  struct StreamFileType {
    std::string path;
  };

  // The state: names, one current name, destinations and shared files.
  struct OutputLogStream {
    std::vector<std::string> names;
    std::string name;
    std::vector<OutputStream> streams;
    std::vector<std::shared_ptr<StreamFileType>> files;
  };

  static std::unique_ptr<OutputLogStream> singleton_obj;
};

}  // namespace log
}  // namespace krel
