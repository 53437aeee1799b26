// Safe file replacement on Windows, where it runs over core/posix_compat: folder descriptors,
// byte-range locks, the read-only attribute, and files that cannot be deleted while open.
#ifdef _WIN32

#include <windows.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "core/SafeFile.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

namespace fs = std::filesystem;
using test::readFileBytes;
using test::TempDir;
using test::writeFileBytes;

std::vector<std::string> namesIn(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

bool isReadOnly(const fs::path& file) {
  return (::GetFileAttributesW(file.c_str()) & FILE_ATTRIBUTE_READONLY) != 0;
}

TEST(WindowsSafeWrite, ReplacesWhatIsThereAndRefusesWhatMustNotBe) {
  TempDir dir;
  const auto target = dir / "track.trk";
  const struct {
    const char* why;
    SafeWriteOptions options;
    bool readOnly;
    bool ok;
    std::string message;  // the start of it
    std::string left;     // the target's content afterwards
  } rows[] = {
      {"plain replacement", {}, false, true, "", "new"},
      {"must not exist", {.mustNotExist = true}, false, false, "File already exists: ", "old"},
      {"read-only kept unless asked", {}, true, false, "File is read-only: ", "old"},
      // Windows refuses to rename over a read-only file: the attribute is lifted for the step.
      {"read-only replaced when asked", {.allowReadOnly = true}, true, true, "", "new"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.why);
    if (fs::exists(target)) ::SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL);
    writeFileBytes(target, "old");
    if (r.readOnly) ::SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_READONLY);
    std::string message;
    EXPECT_EQ(writeFileSafely(target, "new", r.options, message), r.ok);
    EXPECT_EQ(message.substr(0, r.message.size()), r.message) << message;
    EXPECT_EQ(readFileBytes(target), r.left);
    EXPECT_EQ(isReadOnly(target), r.readOnly) << "the replacement keeps the read-only attribute";
    EXPECT_EQ(namesIn(dir.path()), std::vector<std::string>{"track.trk"}) << "no temporary left";
  }
  ::SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(WindowsSafeWrite, BackupHardLinksAndModificationTime) {
  TempDir dir;
  const auto target = dir / "photo.jpg";
  writeFileBytes(target, "old");
  const auto before = fs::last_write_time(target) - std::chrono::hours(30);
  fs::last_write_time(target, before);
  std::string message;
  ASSERT_TRUE(writeFileSafely(target, "new", {.keepBackup = true, .keepModificationTime = true}, message)) << message;
  EXPECT_EQ(readFileBytes(target), "new");
  EXPECT_EQ(readFileBytes(dir / "photo.bak"), "old");
  EXPECT_LE(std::chrono::abs(fs::last_write_time(target) - before), std::chrono::seconds(1));
  EXPECT_EQ(fs::hard_link_count(target), 1u) << "the backup must not share the new file";

  // A second name of the file would keep the old content: refused, as on POSIX.
  fs::create_hard_link(target, dir / "other-name.jpg");
  message.clear();
  EXPECT_FALSE(writeFileSafely(target, "newer", {}, message));
  EXPECT_NE(message.find("other hard links"), std::string::npos) << message;
  EXPECT_EQ(readFileBytes(target), "new");
}

TEST(WindowsSafeWrite, ReadersDoNotBlockAndWritersWaitForEachOther) {
  TempDir dir;
  const auto target = dir / "route.rte";
  writeFileBytes(target, "old");

  // A reader holding the file open does not stop its replacement, and keeps reading the old bytes.
  std::string message;
  std::FILE* reader = openRegularFile(target, message);
  ASSERT_NE(reader, nullptr) << message;
  ASSERT_TRUE(writeFileSafely(target, "new", {}, message)) << message;
  char bytes[8] = {};
  EXPECT_EQ(std::fread(bytes, 1, sizeof bytes, reader), 3u);
  EXPECT_STREQ(bytes, "old");
  std::fclose(reader);
  EXPECT_EQ(readFileBytes(target), "new");

  // Another program in the middle of writing it holds its lock: this writer gives up in time.
  const int held = ::open(target.c_str(), O_RDONLY);
  ASSERT_GE(held, 0);
  ASSERT_EQ(::flock(held, LOCK_EX), 0);
  std::string content;
  EXPECT_TRUE(readWholeFile(target, content, message)) << "the lock must not stop readers";
  message.clear();
  EXPECT_FALSE(writeFileSafely(target, "lost", {.lockWaitMs = 100}, message));
  EXPECT_EQ(message, "File is being written by another program: " + target.string());
  ::flock(held, LOCK_UN);
  message.clear();
  EXPECT_TRUE(writeFileSafely(target, "after", {.lockWaitMs = 100}, message)) << message;
  ::close(held);
  EXPECT_EQ(readFileBytes(target), "after");
}

TEST(WindowsSafeWrite, LeftoversGoButATemporaryInUseStays) {
  TempDir dir;
  writeFileBytes(dir / ".pixtrail-Abc12345.tmp", "killed run");
  writeFileBytes(dir / "keep.txt", "mine");
  // A temporary another writer still has open: Windows refuses to delete it.
  const auto busy = dir / ".pixtrail-Busy0000.tmp";
  const int open = ::open(busy.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
  ASSERT_GE(open, 0);
  EXPECT_EQ(removeLeftoverTemporaries(dir.path()), 1u);
  EXPECT_EQ(namesIn(dir.path()), (std::vector<std::string>{".pixtrail-Busy0000.tmp", "keep.txt"}));
  ::close(open);
  EXPECT_EQ(removeLeftoverTemporaries(dir.path()), 1u);
}

TEST(WindowsSafeWrite, FoldersAndMissingFilesFailCleanly) {
  TempDir dir;
  std::string content, message;
  EXPECT_FALSE(readWholeFile(dir.path(), content, message));
  EXPECT_FALSE(message.empty());
  message.clear();
  EXPECT_FALSE(readWholeFile(dir / "missing.gpx", content, message));
  EXPECT_EQ(message, "Error opening " + (dir / "missing.gpx").string());
  message.clear();
  EXPECT_FALSE(writeFileSafely(dir / "no-such-folder" / "x.gpx", "x", {}, message));
  EXPECT_EQ(message.rfind("Error creating ", 0), 0u) << message;
}

}  // namespace
}  // namespace pixtrail

#endif  // _WIN32
