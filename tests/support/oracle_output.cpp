#include "tests/support/oracle_output.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string_view>

namespace pixtrail::test {
namespace {

// File layout: per run one header line "@@ <key hash> <output length>", then the output bytes and
// a newline. Hashes keep the file free of the keys' own line breaks and blanks.
constexpr std::string_view kRecordMark = "@@ ";

std::string keyHash(const std::string& key, const std::string& stdinText) {
  std::uint64_t h = 1469598103934665603ULL;  // FNV-1a, 64 bits
  for (const std::string* part : {&key, &stdinText}) {
    for (const char c : *part) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    h = (h ^ 0xFF) * 1099511628211ULL;  // separates ("ab", "") from ("a", "b")
  }
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(h));
  return text;
}

std::map<std::string, std::string> readRecords(const std::filesystem::path& file) {
  std::map<std::string, std::string> records;
  if (!std::filesystem::exists(file)) return records;
  const std::string bytes = readFileBytes(file);
  std::size_t at = 0;
  while (at < bytes.size() && bytes.compare(at, kRecordMark.size(), kRecordMark) == 0) {
    const std::size_t end = bytes.find('\n', at);
    if (end == std::string::npos) break;
    const std::string header = bytes.substr(at + kRecordMark.size(), end - at - kRecordMark.size());
    const std::size_t blank = header.find(' ');
    if (blank == std::string::npos) break;
    const std::size_t length = std::strtoull(header.c_str() + blank + 1, nullptr, 10);
    if (end + 1 + length > bytes.size()) break;
    records[header.substr(0, blank)] = bytes.substr(end + 1, length);
    at = end + 1 + length + 1;
  }
  return records;
}

void writeRecords(const std::filesystem::path& file, const std::map<std::string, std::string>& records) {
  std::string bytes;
  for (const auto& [hash, output] : records)
    bytes += std::string(kRecordMark) + hash + ' ' + std::to_string(output.size()) + '\n' + output + '\n';
  std::filesystem::create_directories(file.parent_path());
  writeFileBytes(file, bytes);
}

}  // namespace

CommandOutput oracleOutputFor(const std::string& tool, const std::string& golden, const std::string& key,
                              const std::string& commandLine, const std::string& stdinText) {
  const std::filesystem::path file = testData("golden") / golden;
  const std::string hash = keyHash(key, stdinText);
  if (oracleLive(tool)) {
    CommandOutput live = runCommand(commandLine, stdinText);
    if (std::getenv("PIXTRAIL_UPDATE_GOLDEN") != nullptr && live.status == 0) {
      auto records = readRecords(file);
      records[hash] = live.out;
      writeRecords(file, records);
    }
    return live;
  }
  const auto records = readRecords(file);
  const auto found = records.find(hash);
  CommandOutput stored;
  if (found == records.end()) {
    ADD_FAILURE() << tool << " is not run and " << file << " holds no output for " << key
                  << "; store it where the tool is installed (PIXTRAIL_UPDATE_GOLDEN=1)";
    return stored;
  }
  stored.status = 0;
  stored.out = found->second;
  return stored;
}

}  // namespace pixtrail::test
