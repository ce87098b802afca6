// Filled in with the fs family.
#include "krel/generic_lib.hpp"
