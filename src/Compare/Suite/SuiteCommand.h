#pragma once

#include <string>

#include "Compare/Suite/Suite.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"

namespace Compare {

/// Reads --suite, --shard and --jobs. What is wrong with them; empty when nothing is.
std::string ReadSuite(const Util::ParseArgs::CmdLineArgs& args, SuiteRequest& request);

/// Compares the captures, tells of each, and writes the files of --junit, --page and --json.
Util::ExitStatus CompareSuite(const SuiteRequest& request, const Util::ParseArgs::CmdLineArgs& args);

} // namespace Compare
