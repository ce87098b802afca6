// Filled in with the hostlist family.
#include "krel/generic_lib.hpp"
