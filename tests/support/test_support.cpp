#include "tests/support/test_support.hpp"

#ifndef _WIN32
#include <sys/wait.h>
#endif
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace pixtrail::test {

std::filesystem::path testData(const std::string& relative) {
  return std::filesystem::path(PIXTRAIL_TEST_DATA_DIR) / relative;
}

TempDir::TempDir() {
  std::random_device rd;
  const auto base = std::filesystem::temp_directory_path();
  for (int attempt = 0; attempt < 100; ++attempt) {
    auto candidate = base / ("pixtrail-test-" + std::to_string(rd()));
    if (std::filesystem::create_directory(candidate)) {
      path_ = candidate;
      return;
    }
  }
  throw std::runtime_error("cannot create a temporary folder");
}

TempDir::~TempDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

std::string readFileBytes(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void writeFileBytes(const std::filesystem::path& file, const std::string& bytes) {
  std::ofstream out(file, std::ios::binary);
  out << bytes;
}

std::string shellQuote(const std::string& text) {
  std::string q = "'";
  for (char c : text) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

CommandOutput runCommand(const std::string& commandLine, const std::string& stdinText) {
  TempDir dir;
  const auto in = dir / "stdin";
  const auto out = dir / "stdout";
  const auto err = dir / "stderr";
  writeFileBytes(in, stdinText);
  const std::string full = "(" + commandLine + ") <" + shellQuote(in.string()) + " >" +
                           shellQuote(out.string()) + " 2>" + shellQuote(err.string());
  const int raw = std::system(full.c_str());
  CommandOutput result;
#ifdef _WIN32
  result.status = raw;  // the command's own exit status
#else
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
#endif
  result.out = readFileBytes(out);
  result.err = readFileBytes(err);
  return result;
}

CommandOutput runPixtrail(const std::string& arguments, const std::string& stdinText) {
  return runCommand(shellQuote(PIXTRAIL_CLI_PATH) + " " + arguments, stdinText);
}

bool haveTool(const std::string& name) {
  return std::system(("command -v " + shellQuote(name) + " >/dev/null 2>&1").c_str()) == 0;
}

CommandOutput runPixtrailWith(const std::filesystem::path& config, const std::string& arguments,
                              const std::string& stdinText) {
  return runPixtrail("--config " + shellQuote(config.string()) + " " + arguments, stdinText);
}

CommandOutput runPixtrailAlone(const std::string& arguments, const std::string& stdinText) {
  const TempDir config;
  return runPixtrailWith(config / "gps.ini", arguments, stdinText);
}

std::vector<nlohmann::json> jsonLines(const std::string& text) {
  std::vector<nlohmann::json> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(nlohmann::json::parse(line));
  return lines;
}

std::string nmeaSentence(const std::string& body) {
  unsigned sum = 0;
  for (const char c : body) sum ^= static_cast<unsigned char>(c);
  char tail[8];
  std::snprintf(tail, sizeof tail, "*%02X\r\n", sum);
  return "$" + body + tail;
}

bool oracleLive(const std::string& tools) {
  if (std::getenv("PIXTRAIL_GOLDEN_ONLY") != nullptr) return false;
  std::istringstream names(tools);
  for (std::string name; names >> name;)
    if (!haveTool(name)) return false;
  return true;
}

CommandOutput oracleOutput(const std::string& tool, const std::string& commandLine, const std::string& golden) {
  const std::filesystem::path stored = testData("golden") / golden;
  if (!oracleLive(tool)) {
    CommandOutput result;
    if (!std::filesystem::exists(stored)) {
      result.err = tool + " is not installed and there is no stored output " + stored.string();
      return result;
    }
    result.status = 0;
    result.out = readFileBytes(stored);
    return result;
  }
  CommandOutput result = runCommand(commandLine);
  if (std::getenv("PIXTRAIL_UPDATE_GOLDEN") != nullptr && result.status == 0) {
    std::filesystem::create_directories(stored.parent_path());
    writeFileBytes(stored, result.out);
  }
  return result;
}

}  // namespace pixtrail::test
