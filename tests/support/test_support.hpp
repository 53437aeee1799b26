#pragma once
// Helpers for tests: a temporary folder removed afterwards, file bytes, and running the
// command-line program with its output captured.

#include <filesystem>
#include <string>
#include <vector>

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
// True when an external tool (an oracle) is on the PATH.
bool haveTool(const std::string& name);
std::string shellQuote(const std::string& text);

}  // namespace pixtrail::test
