// Filled in with the text_layout family.
#include "krel/generic_lib.hpp"
