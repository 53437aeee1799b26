#include "core/SafeFile.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

namespace fs = std::filesystem;
using test::readFileBytes;
using test::TempDir;
using test::writeFileBytes;

// Names in the folder other than those listed: what a write left behind.
std::vector<std::string> strayEntries(const fs::path& folder, std::initializer_list<std::string> expected) {
  std::vector<std::string> stray;
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (std::find(expected.begin(), expected.end(), name) == expected.end()) stray.push_back(name);
  }
  return stray;
}

struct stat statOf(const fs::path& file) {
  struct stat st {};
  EXPECT_EQ(::lstat(file.c_str(), &st), 0) << file;
  return st;
}

TEST(SafeFile, ReplacesKeepsBackupAndLeavesNothingElse) {
  TempDir dir;
  const auto target = dir / "track.trk";
  writeFileBytes(target, "old");
  std::string message;
  SafeWriteOptions options;
  options.keepBackup = true;
  ASSERT_TRUE(writeFileSafely(target, "new", options, message)) << message;
  EXPECT_EQ(readFileBytes(target), "new");
  EXPECT_EQ(readFileBytes(dir / "track.bak"), "old");
  EXPECT_EQ(statOf(target).st_nlink, 1u) << "the backup must not share the new file";
  EXPECT_EQ(strayEntries(dir.path(), {"track.trk", "track.bak"}), std::vector<std::string>{});
}

// The old fixed NAME.tmp was truncated, or followed when it was a link: neither may happen.
TEST(SafeFile, PlantedTemporaryNamesAreNeverTouched) {
  TempDir dir;
  const auto target = dir / "photo.jpg";
  writeFileBytes(target, "precious");
  writeFileBytes(dir / "victim", "someone else's");
  writeFileBytes(dir / "track.trk.tmp", "the user's own file");
  fs::create_symlink(dir / "victim", dir / "photo.jpg.tmp");
  fs::create_directory(dir / "out.gpx.tmp");
  std::string message;
  ASSERT_TRUE(writeFileSafely(target, "tagged", {}, message)) << message;
  ASSERT_TRUE(writeFileSafely(dir / "track.trk", "track", {}, message)) << message;
  ASSERT_TRUE(writeFileSafely(dir / "out.gpx", "gpx", {}, message)) << message;
  EXPECT_EQ(readFileBytes(target), "tagged");
  EXPECT_EQ(readFileBytes(dir / "victim"), "someone else's");
  EXPECT_TRUE(fs::is_symlink(dir / "photo.jpg.tmp"));
  EXPECT_EQ(readFileBytes(dir / "track.trk.tmp"), "the user's own file");
  EXPECT_TRUE(fs::is_directory(dir / "out.gpx.tmp"));
}

TEST(SafeFile, WhatMustNotBeReplacedIsRefusedWithItsReason) {
  TempDir dir;
  writeFileBytes(dir / "real.jpg", "real");
  fs::create_symlink(dir / "real.jpg", dir / "link.jpg");
  writeFileBytes(dir / "linked.jpg", "shared");
  fs::create_hard_link(dir / "linked.jpg", dir / "other-name.jpg");
  writeFileBytes(dir / "locked.jpg", "read-only");
  fs::permissions(dir / "locked.jpg", fs::perms::owner_read | fs::perms::group_read);
  ASSERT_EQ(::mkfifo((dir / "pipe.jpg").c_str(), 0644), 0);
  struct Case {
    std::string name, reason;
  };
  for (const Case& c : {Case{"link.jpg", "symbolic link"}, Case{"linked.jpg", "hard links"},
                        Case{"locked.jpg", "read-only"}, Case{"pipe.jpg", "Not a regular file"}}) {
    std::string message;
    EXPECT_FALSE(writeFileSafely(dir / c.name, "new", {}, message)) << c.name;
    EXPECT_NE(message.find(c.reason), std::string::npos) << c.name << ": " << message;
    EXPECT_NE(message.find(c.name), std::string::npos) << "the message names the file: " << message;
  }
  EXPECT_EQ(readFileBytes(dir / "real.jpg"), "real");
  EXPECT_TRUE(fs::is_symlink(dir / "link.jpg"));
  EXPECT_EQ(readFileBytes(dir / "other-name.jpg"), "shared");
  EXPECT_EQ(readFileBytes(dir / "locked.jpg"), "read-only");

  // Asked for, a read-only file is replaced and stays read-only.
  std::string message;
  SafeWriteOptions options;
  options.allowReadOnly = true;
  ASSERT_TRUE(writeFileSafely(dir / "locked.jpg", "new", options, message)) << message;
  EXPECT_EQ(readFileBytes(dir / "locked.jpg"), "new");
  EXPECT_EQ(statOf(dir / "locked.jpg").st_mode & 07777, 0440u);
}

TEST(SafeFile, TheReplacementKeepsOwnerModeAndOnRequestTheTimes) {
  TempDir dir;
  const auto target = dir / "photo.jpg";
  writeFileBytes(target, "old");
  ASSERT_EQ(::chmod(target.c_str(), 0640), 0);
  const bool root = ::geteuid() == 0;
  // Root can hand the file to someone else, as when tagging another user's photos.
  if (root) {
    ASSERT_EQ(::chown(target.c_str(), 4321, 4322), 0);
  }
  const struct timespec old[2] = {{1000000000, 0}, {1100000000, 500}};
  ASSERT_EQ(::utimensat(AT_FDCWD, target.c_str(), old, 0), 0);

  std::string message;
  SafeWriteOptions options;
  options.keepModificationTime = true;
  ASSERT_TRUE(writeFileSafely(target, "new", options, message)) << message;
  struct stat st = statOf(target);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  EXPECT_EQ(st.st_mtim.tv_sec, 1100000000);
  EXPECT_EQ(st.st_mtim.tv_nsec, 500);
  if (root) {
    EXPECT_EQ(st.st_uid, 4321u);
    EXPECT_EQ(st.st_gid, 4322u);
  }
  ASSERT_TRUE(writeFileSafely(target, "newer", {}, message)) << message;
  EXPECT_GT(statOf(target).st_mtim.tv_sec, 1100000000) << "without the option the time is the write's";
}

TEST(SafeFile, NeverOverwritesWhenTheTargetMustBeNewEvenUnderARace) {
  TempDir dir;
  const auto target = dir / "out.jpg";
  writeFileBytes(target, "existing");
  std::string message;
  SafeWriteOptions options;
  options.mustNotExist = true;
  EXPECT_FALSE(writeFileSafely(target, "new", options, message));
  EXPECT_EQ(readFileBytes(target), "existing");
  fs::create_symlink(dir / "nowhere", dir / "dangling.jpg");
  EXPECT_FALSE(writeFileSafely(dir / "dangling.jpg", "new", options, message)) << "a dangling link is a name taken";
  EXPECT_FALSE(fs::exists(dir / "nowhere"));

  // Many writers to one new name at once: exactly one wins, whole.
  constexpr int kWriters = 8;
  std::atomic<int> wins{0};
  std::vector<std::jthread> writers;
  for (int w = 0; w < kWriters; ++w)
    writers.emplace_back([&, w] {
      std::string m;
      if (writeFileSafely(dir / "race.jpg", std::string(100000, static_cast<char>('a' + w)), options, m)) ++wins;
    });
  writers.clear();
  EXPECT_EQ(wins.load(), 1);
  const std::string won = readFileBytes(dir / "race.jpg");
  EXPECT_EQ(won, std::string(100000, won[0]));
  EXPECT_EQ(strayEntries(dir.path(), {"out.jpg", "dangling.jpg", "race.jpg"}), std::vector<std::string>{});
}

TEST(SafeFile, ASecondWriterWaitsForTheFirstOrGivesUpWithAMessage) {
  TempDir dir;
  const auto target = dir / "track.gpx";
  writeFileBytes(target, "old");
  const int held = ::open(target.c_str(), O_RDONLY);
  ASSERT_GE(held, 0);
  ASSERT_EQ(::flock(held, LOCK_EX), 0);  // another program in the middle of writing it
  std::string message;
  SafeWriteOptions options;
  options.lockWaitMs = 100;
  EXPECT_FALSE(writeFileSafely(target, "mine", options, message));
  EXPECT_NE(message.find("being written by another program"), std::string::npos) << message;
  EXPECT_EQ(readFileBytes(target), "old");

  options.lockWaitMs = 5000;
  std::jthread release([held] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    ::close(held);
  });
  message.clear();
  EXPECT_TRUE(writeFileSafely(target, "mine", options, message)) << message;
  EXPECT_EQ(readFileBytes(target), "mine");
}

TEST(SafeFile, LeftoversOfAKilledRunGoButNotWhileSomeoneWrites) {
  TempDir dir;
  writeFileBytes(dir / ".pixtrail-Ab3dE6gH.tmp", "half a photo");
  fs::create_symlink("/etc/passwd", dir / ".pixtrail-zzzzzzzz.tmp");
  writeFileBytes(dir / ".pixtrail-notours.tmp", "other name shape");
  EXPECT_TRUE(isTemporaryFileName(".pixtrail-Ab3dE6gH.tmp"));
  EXPECT_FALSE(isTemporaryFileName(".pixtrail-notours.tmp"));
  EXPECT_FALSE(isTemporaryFileName("photo.jpg.tmp"));

  // A writer holding the folder (its temporary in use) keeps the sweep away.
  const int folder = ::open(dir.path().c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_GE(folder, 0);
  ASSERT_EQ(::flock(folder, LOCK_SH), 0);
  EXPECT_EQ(removeLeftoverTemporaries(dir.path()), 0u);
  EXPECT_TRUE(fs::exists(dir / ".pixtrail-Ab3dE6gH.tmp"));
  ::close(folder);

  std::string message;
  ASSERT_TRUE(writeFileSafely(dir / "photo.jpg", "tagged", {}, message)) << message;
  EXPECT_FALSE(fs::exists(dir / ".pixtrail-Ab3dE6gH.tmp"));
  EXPECT_FALSE(fs::is_symlink(dir / ".pixtrail-zzzzzzzz.tmp"));
  EXPECT_TRUE(fs::exists("/etc/passwd"));
  EXPECT_TRUE(fs::exists(dir / ".pixtrail-notours.tmp"));
}

TEST(SafeFile, TheLongestFileNameCanBeWritten) {
  TempDir dir;
  const auto target = dir / (std::string(251, 'n') + ".jpg");
  writeFileBytes(target, "old");
  std::string message;
  ASSERT_TRUE(writeFileSafely(target, "new", {}, message)) << message;
  EXPECT_EQ(readFileBytes(target), "new");
}

TEST(SafeFile, ReadingRefusesWhatNeverEndsAndWhatIsTooLarge) {
  TempDir dir;
  ASSERT_EQ(::mkfifo((dir / "pipe.gpx").c_str(), 0644), 0);
  std::string content, message;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(readWholeFile(dir / "pipe.gpx", content, message)) << "opening a FIFO must not wait for a writer";
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_EQ(message, "Not a regular file: " + (dir / "pipe.gpx").string());
  message.clear();
  EXPECT_FALSE(readWholeFile("/dev/zero", content, message));
  EXPECT_NE(message.find("Not a regular file"), std::string::npos) << message;

  writeFileBytes(dir / "big.ini", std::string(3 * limits::kMiB, 'x'));
  message.clear();
  EXPECT_FALSE(readWholeFile(dir / "big.ini", content, message, 2 * limits::kMiB));
  EXPECT_NE(message.find("File too large"), std::string::npos) << message;
  message.clear();
  ASSERT_TRUE(readWholeFile(dir / "big.ini", content, message, 3 * limits::kMiB)) << message;
  EXPECT_EQ(content.size(), 3 * limits::kMiB);
  message.clear();
  EXPECT_FALSE(readWholeFile(dir / "missing", content, message));
  EXPECT_EQ(message, "Error opening " + (dir / "missing").string());
}

// Writing from another file: the head from memory, then exactly the range asked for; a source
// that ends early (changed while being copied) fails and leaves the target as it was.
TEST(SafeFile, CopiesTheRangeOfAnotherFileAfterTheHead) {
  TempDir dir;
  std::string image;
  for (int i = 0; i < 300000; ++i) image += static_cast<char>('a' + i % 23);  // past one copy buffer
  writeFileBytes(dir / "source", image);
  writeFileBytes(dir / "target", "old");
  const int source = ::open((dir / "source").c_str(), O_RDONLY);
  ASSERT_GE(source, 0);
  std::string message;
  ASSERT_TRUE(writeFileSafely(dir / "target", FileContent{"HEAD", source, 7, image.size() - 7}, {}, message))
      << message;
  EXPECT_EQ(readFileBytes(dir / "target"), "HEAD" + image.substr(7));
  EXPECT_FALSE(writeFileSafely(dir / "target", FileContent{"HEAD", source, 7, image.size()}, {}, message));
  EXPECT_NE(message.find("Error writing"), std::string::npos) << message;
  EXPECT_EQ(readFileBytes(dir / "target"), "HEAD" + image.substr(7));
  ::close(source);
  EXPECT_EQ(strayEntries(dir.path(), {"source", "target"}), std::vector<std::string>{});
}

// A batch killed at every step it goes through: each file is either untouched or completely
// replaced, no replacement shows before the commit, and the next write clears the leftovers.
TEST(SafeBatch, KilledAtAnyStepLeavesEveryFileOldOrNew) {
  constexpr int kFiles = 4;
  const auto name = [](int i) { return "p" + std::to_string(i) + ".jpg"; };
  const auto newContent = [](int i) { return std::string(5000 + i, static_cast<char>('A' + i)); };
  struct KillPoint {
    SafeBatch::Step step;
    std::size_t index;
  };
  const KillPoint points[] = {{SafeBatch::Step::Written, 0}, {SafeBatch::Step::Written, kFiles - 1},
                              {SafeBatch::Step::Flushed, 0},  {SafeBatch::Step::Renamed, 1},
                              {SafeBatch::Step::Renamed, kFiles - 2}, {SafeBatch::Step::FoldersFlushed, 0}};
  for (const KillPoint& point : points) {
    TempDir dir;
    for (int i = 0; i < kFiles; ++i) writeFileBytes(dir / name(i), "old " + std::to_string(i));
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      SafeBatch batch;
      batch.observeSteps([&](SafeBatch::Step step, std::size_t index) {
        if (step == point.step && index == point.index) ::_exit(0);
      });
      std::string message;
      for (int i = 0; i < kFiles; ++i) {
        const std::string content = newContent(i);
        if (!batch.write(dir / name(i), FileContent{content}, {}, message)) ::_exit(2);
      }
      batch.commit();
      ::_exit(3);  // the kill point was never reached
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "step " << static_cast<int>(point.step);
    int replaced = 0;
    for (int i = 0; i < kFiles; ++i) {
      const std::string bytes = readFileBytes(dir / name(i));
      ASSERT_TRUE(bytes == "old " + std::to_string(i) || bytes == newContent(i)) << name(i);
      replaced += bytes == newContent(i);
    }
    const int expected = point.step == SafeBatch::Step::Renamed          ? static_cast<int>(point.index) + 1
                         : point.step == SafeBatch::Step::FoldersFlushed ? kFiles
                                                                         : 0;  // nothing shows before the renames
    EXPECT_EQ(replaced, expected) << "step " << static_cast<int>(point.step) << " index " << point.index;
    std::string message;
    ASSERT_TRUE(writeFileSafely(dir / "next.txt", "next run", {}, message)) << message;
    EXPECT_EQ(strayEntries(dir.path(), {name(0), name(1), name(2), name(3), "next.txt"}), std::vector<std::string>{});
  }
}

// What stands at a name is looked at again when the batch commits: a link planted meanwhile is not
// replaced, a new file that appeared is not overwritten, and the rest of the batch goes on.
TEST(SafeBatch, CommitLooksAtEachTargetAgainAndNewFilesNeverReplace) {
  TempDir dir;
  writeFileBytes(dir / "a.jpg", "old a");
  writeFileBytes(dir / "b.jpg", "old b");
  writeFileBytes(dir / "victim", "someone else's");
  SafeBatch batch(SafeBatch::Flush::None);
  std::string message;
  ASSERT_TRUE(batch.write(dir / "a.jpg", FileContent{"new a"}, {}, message)) << message;
  ASSERT_TRUE(batch.write(dir / "b.jpg", FileContent{"new b"}, {}, message)) << message;
  SafeWriteOptions fresh;
  fresh.mustNotExist = true;
  ASSERT_TRUE(batch.write(dir / "c.jpg", FileContent{"new c"}, fresh, message)) << message;
  EXPECT_EQ(readFileBytes(dir / "c.jpg"), "new c") << "a new file is named at once";
  EXPECT_FALSE(batch.write(dir / "c.jpg", FileContent{"again"}, fresh, message));
  EXPECT_EQ(readFileBytes(dir / "a.jpg"), "old a") << "replacements wait for the commit";

  fs::remove(dir / "b.jpg");
  fs::create_symlink(dir / "victim", dir / "b.jpg");
  const auto failed = batch.commit();
  ASSERT_EQ(failed.size(), 1u);
  EXPECT_EQ(failed[0].first, dir / "b.jpg");
  EXPECT_NE(failed[0].second.find("symbolic link"), std::string::npos) << failed[0].second;
  EXPECT_EQ(readFileBytes(dir / "a.jpg"), "new a");
  EXPECT_EQ(readFileBytes(dir / "victim"), "someone else's");
  EXPECT_EQ(strayEntries(dir.path(), {"a.jpg", "b.jpg", "c.jpg", "victim"}), std::vector<std::string>{});
}

}  // namespace
}  // namespace pixtrail
