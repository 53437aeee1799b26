#pragma once
// Many runs of one oracle tool kept in one stored file: the keyed form of test::oracleOutput
// (test_support.hpp), for tests that feed a tool many inputs. Same rules: the tool runs where
// oracleLive() says so (PIXTRAIL_UPDATE_GOLDEN stores each live run under tests/data/golden/);
// elsewhere the stored output stands in.

#include <string>

#include "tests/support/test_support.hpp"

namespace pixtrail::test {

// `golden` names the file of stored outputs (one per test file); `key` names this run in it
// stably (the command line may hold temporary paths), and the input is part of the key too, so a
// changed input never meets an old output. A run that has neither the tool nor a stored output
// fails the calling test.
CommandOutput oracleOutputFor(const std::string& tool, const std::string& golden, const std::string& key,
                              const std::string& commandLine, const std::string& stdinText = "");

}  // namespace pixtrail::test
