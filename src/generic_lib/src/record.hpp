// Writing a log record from inside the library, in one statement:
//
//   KREL_RECORD(3) << "Error creating temporary folder (" << code << "): " << text;
//
// Each source file names itself in an unnamed-namespace constant
// `kRecordSource` ("src/generic_lib/src/fs", ...), which the record receives
// together with the function name and line, as every record of the library
// does.
#pragma once

#include "krel/log.hpp"

#define KREL_RECORD(level) \
  ::krel::log::ErrorLog(kRecordSource, __func__, __LINE__, (level)).stream()
