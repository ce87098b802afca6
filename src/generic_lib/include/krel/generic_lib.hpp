// Everything the generic library offers, in one include.
//
//   #include <krel/generic_lib.hpp>
//   krel::TokenizedHost::get_merged_hosts({"node2", "node1"});  // "node[1-2]"
#pragma once

#include "krel/fs.hpp"
#include "krel/gather.hpp"
#include "krel/hostlist.hpp"
#include "krel/hostgroups.hpp"
#include "krel/hostset.hpp"
#include "krel/log.hpp"
#include "krel/parameter_pack.hpp"
#include "krel/ranges.hpp"
#include "krel/str.hpp"
#include "krel/text_layout.hpp"
#include "krel/util.hpp"
