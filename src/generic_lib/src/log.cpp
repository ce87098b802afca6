#include <syslog.h>

#include <iostream>

#include "krel/log.hpp"

namespace krel {
namespace log {

int LOG_LEVEL = 3;
int LOG_OUTPUT = 0;
int LOG_SCOPE_LEVEL = 0;

std::unique_ptr<OutputLog::OutputLogStream> OutputLog::singleton_obj;

ErrorLog::ErrorLog(char const* /*source_file*/, char const* /*function*/, unsigned int /*line*/,
                   int level)
    : message_(std::ios::in | std::ios::out), level_(level) {}

ErrorLog::~ErrorLog() {
  // Both globals are read now, not at construction: a change reaches records
  // that were already being filled.
  if (level_ > LOG_LEVEL) return;
  std::string text = message_.str();
  if (LOG_OUTPUT == 0) {
    // One insertion, so that a record written while other threads log stays
    // one whole line.
    text.push_back('\n');
    std::cerr << text;
  } else {
    ::syslog(level_, "%s\n", text.c_str());
  }
}

}  // namespace log
}  // namespace krel
