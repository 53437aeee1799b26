// Wire units: semicircles, the 1989-12-31 epoch and the two kinds of text field.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "devices/garmin_units.hpp"
#include "tests/devices/raised_text.hpp"

namespace pixtrail {
namespace {

TEST(GarminUnits, Semicircles) {
  const struct { double degrees; std::int32_t semicircles; const char* why; } rows[] = {
      {0.0, 0, "zero"},
      {90.0, 1 << 30, "a quarter turn is 2^30"},
      {-90.0, -(1 << 30), "south pole"},
      {180.0, INT_MIN, "2^31 wraps to the same meridian as -180"},
      {-180.0, INT_MIN, "-180 itself"},
      {45.0, 1 << 29, "2^29"},
      {1.0, 11930465, "rounded to the nearest"},
      {-1.0, -11930465, "rounded away from zero on both sides"},
  };
  for (const auto& r : rows) EXPECT_EQ(degreesToSemicircles(r.degrees), r.semicircles) << r.why;
  EXPECT_EQ(semicirclesToDegrees(1 << 30), 90.0);
  EXPECT_EQ(semicirclesToDegrees(INT_MIN), -180.0);
  // A semicircle read and sent back is the same semicircle, over the whole range.
  for (std::int32_t s : {INT_MIN, INT_MIN + 1, -1, 0, 1, 502552405, INT_MAX - 1, INT_MAX})
    EXPECT_EQ(degreesToSemicircles(semicirclesToDegrees(s)), s) << s;
  for (double deg : {40.4168, -3.7038, 179.99999, -179.99999, 0.000001})
    EXPECT_NEAR(semicirclesToDegrees(degreesToSemicircles(deg)), deg, 0.5 * kDegreesPerSemicircle) << deg;
}

TEST(GarminUnits, TimeSinceEpoch) {
  EXPECT_EQ(garminTimeFromRecord({31, 12, 1989, 0, 0, 0.0}), 0u);
  // Unix 1700000000 is 2023-11-14 22:13:20 UTC.
  EXPECT_EQ(garminTimeFromRecord({14, 11, 2023, 22, 13, 20.0}), 1700000000u - kGarminEpochUnix);
  EXPECT_EQ(recordFromGarminTime(1700000000u - kGarminEpochUnix), (DateTimeRecord{14, 11, 2023, 22, 13, 20.0}));
  EXPECT_EQ(garminTimeFromRecord({}), kGarminNoTime);
  EXPECT_TRUE(recordFromGarminTime(kGarminNoTime).isEmpty());
  EXPECT_EQ(garminTimeFromRecord({30, 12, 1989, 23, 59, 59.0}), 0u) << "before the epoch cannot travel";
  // Leap day and midnight roll-over.
  EXPECT_EQ(recordFromGarminTime(garminTimeFromRecord({29, 2, 2024, 23, 59, 59.0}) + 1),
            (DateTimeRecord{1, 3, 2024, 0, 0, 0.0}));
}

TEST(GarminUnits, FixedTextCutAtDotAndPadded) {
  EXPECT_EQ(garminFixedText("CAMP.01", 6), "CAMP  ");
  EXPECT_EQ(garminFixedText("LONGNAME", 6), "LONGNA");
  EXPECT_EQ(garminFixedText("", 3), "   ");
  EXPECT_EQ(garminFixedText(".hidden", 4), "    ");
  EXPECT_EQ(textFromGarminFixed("AB    "), "AB");
  EXPECT_EQ(textFromGarminFixed(std::string("AB\0CD", 5)), "AB");
}

TEST(GarminUnits, VariableTextBlockAndItsTwoErrors) {
  EXPECT_EQ(Str_a_GarminVarios("AB", "c", 100), std::string("AB\0c\0\0\0", 7));
  auto message = [](std::string_view a, std::string_view b, std::size_t room) {
    return test::raisedText([&] { Str_a_GarminVarios(a, b, room); });
  };
  // Texts of 5 bytes: the block takes 9; it must stay below the room, and 5 + 6 must fit in it.
  EXPECT_EQ(message("ABC", "DE", 12), "(nothing raised)");
  EXPECT_EQ(message("ABC", "DE", 11), "(nothing raised)");
  EXPECT_EQ(message("ABC", "DE", 10), "Error 2 in Str_a_GarminVarios");
  EXPECT_EQ(message("ABC", "DE", 9), "Error 1 in Str_a_GarminVarios");
  std::size_t at = 0;
  const std::string block = Str_a_GarminVarios("NAME", "comment", 100);
  EXPECT_EQ(readGarminString(block, at), "NAME");
  EXPECT_EQ(readGarminString(block, at), "comment");
  std::size_t end = 2;
  EXPECT_EQ(readGarminString("abcd", end), "cd") << "no terminator: up to the end";
  EXPECT_EQ(end, 4u);
}

}  // namespace
}  // namespace pixtrail
