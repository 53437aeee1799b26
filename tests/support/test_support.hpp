#pragma once
// Helpers for tests: a temporary folder removed afterwards, file bytes, and running the
// command-line program with its output captured.

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace pixtrail::test {

// The project's own test inputs (tests/data).
std::filesystem::path testData(const std::string& relative = "");

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

std::string readFileBytes(const std::filesystem::path& file);
void writeFileBytes(const std::filesystem::path& file, const std::string& bytes);

struct CommandOutput {
  int status = -1;
  std::string out;
  std::string err;
};
// Runs a shell command line; stdout and stderr captured separately.
CommandOutput runCommand(const std::string& commandLine, const std::string& stdinText = "");
// Runs the pixtrail program built with the tests, arguments already quoted as needed.
CommandOutput runPixtrail(const std::string& arguments, const std::string& stdinText = "");
// The same with `config` as its gps.ini, so that the user's own settings play no part.
CommandOutput runPixtrailWith(const std::filesystem::path& config, const std::string& arguments,
                              const std::string& stdinText = "");
// The same with a gps.ini of its own in a folder removed afterwards.
CommandOutput runPixtrailAlone(const std::string& arguments, const std::string& stdinText = "");
// Output of one JSON document a line.
std::vector<nlohmann::json> jsonLines(const std::string& text);
// "$" + body + "*hh" + CR LF, the checksum worked out here rather than by the program's own code.
std::string nmeaSentence(const std::string& body);
// True when an external tool (an oracle) is on the PATH.
bool haveTool(const std::string& name);
std::string shellQuote(const std::string& text);

// An independent tool's answer. With the tool installed, `commandLine` runs (and its output is
// stored as tests/data/golden/`golden` when PIXTRAIL_UPDATE_GOLDEN is set); without it, or with
// PIXTRAIL_GOLDEN_ONLY set, the output the tool gave when it was stored is read back instead, so
// the comparison still runs. Only the standard output is stored: the command must not print the
// test's temporary paths there.
CommandOutput oracleOutput(const std::string& tool, const std::string& commandLine, const std::string& golden);
// Whether oracleOutput() runs the tools (names apart by blanks) itself.
bool oracleLive(const std::string& tools);

}  // namespace pixtrail::test
