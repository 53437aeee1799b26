#pragma once
// An oracle tool's output that does not depend on the tool being installed. Where the tool is on
// the PATH it runs; where it is not, the output it gave once, stored under tests/data/golden/,
// stands in, so the comparison runs on every machine. PIXTRAIL_UPDATE_GOLDEN=1 stores each live run.

#include <string>

#include "tests/support/test_support.hpp"

namespace pixtrail::test {

// `golden` names the file of stored outputs (one per test file); `key` names this run in it
// stably (the command line may hold temporary paths), and the input is part of the key too, so a
// changed input never meets an old output. A run that has neither the tool nor a stored output
// fails the calling test.
CommandOutput oracleOutput(const std::string& tool, const std::string& golden, const std::string& key,
                           const std::string& commandLine, const std::string& stdinText = "");

}  // namespace pixtrail::test
