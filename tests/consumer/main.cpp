// A client of the installed library: writes one log record and uses a
// parameter pack, through the umbrella header.
#include <krel/generic_lib.hpp>

#include <iostream>

int main() {
  krel::generic_lib::ParameterPack pack;
  krel::generic_lib::ParameterPack shared = pack;
  shared["greeting"] = "consumer linked";
  krel::log::ErrorLog(__FILE__, __func__, __LINE__, 3).stream() << pack["greeting"];
  std::cout << "level names: " << krel::log::LOG_LEVEL_NAMES.size() << "\n";
  return 0;
}
