#include "core/SafeFile.hpp"

#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::readFileBytes;
using test::TempDir;
using test::writeFileBytes;

TEST(SafeFile, ReplacesAndKeepsBackupWhenAsked) {
  TempDir dir;
  const auto target = dir / "track.trk";
  writeFileBytes(target, "old");
  std::string message;
  SafeWriteOptions options;
  options.keepBackup = true;
  ASSERT_TRUE(writeFileSafely(target, "new", options, message)) << message;
  EXPECT_EQ(readFileBytes(target), "new");
  EXPECT_EQ(readFileBytes(dir / "track.bak"), "old");
  EXPECT_FALSE(std::filesystem::exists(dir / "track.trk.tmp"));
}

TEST(SafeFile, AFailedWriteLeavesTheOldFileIntact) {
  TempDir dir;
  const auto target = dir / "photo.jpg";
  writeFileBytes(target, "precious");
  // A folder where the temporary file must go makes its creation fail.
  std::filesystem::create_directory(dir / "photo.jpg.tmp");
  std::string message;
  EXPECT_FALSE(writeFileSafely(target, "damaged", {}, message));
  EXPECT_NE(message.find("photo.jpg.tmp"), std::string::npos) << message;
  EXPECT_EQ(readFileBytes(target), "precious");
}

TEST(SafeFile, NeverOverwritesWhenTheTargetMustBeNew) {
  TempDir dir;
  const auto target = dir / "out.jpg";
  writeFileBytes(target, "existing");
  std::string message;
  SafeWriteOptions options;
  options.mustNotExist = true;
  EXPECT_FALSE(writeFileSafely(target, "new", options, message));
  EXPECT_EQ(readFileBytes(target), "existing");
  EXPECT_FALSE(std::filesystem::exists(dir / "out.jpg.tmp"));
  std::filesystem::remove(target);
  message.clear();
  EXPECT_TRUE(writeFileSafely(target, "new", options, message)) << message;
  EXPECT_EQ(readFileBytes(target), "new");
}

}  // namespace
}  // namespace pixtrail
