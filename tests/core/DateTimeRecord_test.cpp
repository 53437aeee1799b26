#include "core/DateTimeRecord.hpp"

#include <gtest/gtest.h>

namespace pixtrail {
namespace {

TEST(DateTimeRecord, ValueCountsDaysFrom30December1899) {
  // Reference values: the epoch is day 0, 1900-01-01 is day 2, 2000-01-01 is day 36526.
  const struct { DateTimeRecord r; double value; } rows[] = {
      {{30, 12, 1899, 0, 0, 0.0}, 0.0},
      {{1, 1, 1900, 0, 0, 0.0}, 2.0},
      {{1, 1, 2000, 12, 0, 0.0}, 36526.5},
      {{29, 2, 2024, 6, 0, 0.0}, 45351.25},   // leap day
      {{29, 12, 1899, 18, 0, 0.0}, -0.25},    // before the epoch: plain negative numbers
  };
  for (const auto& row : rows) {
    double v = -1;
    ASSERT_TRUE(row.r.toValue(v)) << formatIsoDateTime(row.r);
    EXPECT_DOUBLE_EQ(v, row.value) << formatIsoDateTime(row.r);
    EXPECT_EQ(DateTimeRecord::fromValue(row.value), row.r) << row.value;
  }
}

TEST(DateTimeRecord, RoundTripDoesNotLoseASecondToFloatingPoint) {
  for (int s = 0; s < 86400; s += 7) {
    DateTimeRecord r{14, 7, 2023, s / 3600, s / 60 % 60, static_cast<double>(s % 60)};
    double v = 0;
    ASSERT_TRUE(r.toValue(v));
    EXPECT_EQ(DateTimeRecord::fromValue(v), r) << s;
  }
}

TEST(DateTimeRecord, RejectsImpossibleDates) {
  double v = 123.0;
  EXPECT_FALSE((DateTimeRecord{29, 2, 2023, 0, 0, 0}).toValue(v));
  EXPECT_FALSE((DateTimeRecord{29, 2, 1900, 0, 0, 0}).toValue(v));  // 1900 was not a leap year
  EXPECT_FALSE((DateTimeRecord{1, 13, 2023, 0, 0, 0}).toValue(v));
  EXPECT_FALSE((DateTimeRecord{1, 1, 2023, 24, 0, 0}).toValue(v));
  EXPECT_FALSE((DateTimeRecord{1, 1, 2023, 0, 0, 60.0}).toValue(v));
  EXPECT_EQ(v, 123.0);  // untouched on failure
  EXPECT_TRUE(DateTimeRecord{}.isEmpty());
  EXPECT_FALSE((DateTimeRecord{0, 0, 0, 0, 0, 0.5}).isEmpty());
}

TEST(DateTimeRecord, IsoTextReadsAndWrites) {
  DateTimeRecord r;
  ASSERT_TRUE(parseIsoDateTime("2023-07-14T09:05:03.250", r));
  EXPECT_EQ(r, (DateTimeRecord{14, 7, 2023, 9, 5, 3.25}));
  EXPECT_EQ(formatIsoDateTime(r), "2023-07-14T09:05:03.250");
  ASSERT_TRUE(parseIsoDateTime("2023-07-14 09:05:03Z", r));
  EXPECT_EQ(formatIsoDateTime(r), "2023-07-14T09:05:03");
  EXPECT_FALSE(parseIsoDateTime("2023-02-30T00:00:00", r));
  EXPECT_FALSE(parseIsoDateTime("2023-07-14", r));
}

}  // namespace
}  // namespace pixtrail
