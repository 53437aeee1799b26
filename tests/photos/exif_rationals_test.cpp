#include "photos/exif_rationals.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "core/byte_order.hpp"

namespace pixtrail {
namespace {

std::vector<std::int64_t> words(const std::string& data) {
  std::vector<std::int64_t> out;
  for (std::size_t i = 0; i + 4 <= data.size(); i += 4)
    out.push_back(readI32(reinterpret_cast<const unsigned char*>(data.data()) + i, ByteOrder::little));
  return out;
}

// Hand calculations: v degrees -> d, m, s with s in thousandths, truncated.
TEST(ExifRationals, DecimalSplitKeepsWholeThousandthsAndStillTruncatesTheRest) {
  const struct {
    const char* why;
    double degrees;
    bool decimal;
    std::vector<std::int64_t> expected;
  } rows[] = {
      {"40.4 in binary is 40.39999...", 40.4, false, {40, 1, 23, 1, 59999, 1000}},
      {"the decimal 40.4 is 40 24 0", 40.4, true, {40, 1, 24, 1, 0, 1}},
      {"59.9999 s is not rounded up to the next minute", 10.0 + 59.9999 / 3600.0, true, {10, 1, 0, 1, 59999, 1000}},
      {"a thousandth that binary puts a hair below", 2.0 + 0.123 / 3600.0, true, {2, 1, 0, 1, 123, 1000}},
      {"zero", 0.0, true, {0, 1, 0, 1, 0, 1}},
      {"the pole", 90.0, true, {90, 1, 0, 1, 0, 1}},
  };
  for (const auto& row : rows) EXPECT_EQ(words(degreesMinutesSeconds(row.degrees, row.decimal)), row.expected) << row.why;
}

TEST(ExifRationals, AltitudesAsTheirDecimalsAndTheSystemsReadingRule) {
  const struct {
    float alt;
    std::vector<std::int64_t> truncated, decimal;
  } rows[] = {
      {465.4f, {465399, 1000}, {465400, 1000}},
      {8848.86f, {8848860, 1000}, {8848860, 1000}},
      {2.3f, {2299, 1000}, {2300, 1000}},  // 2.2999999523...
      {-5.5f, {-5500, 1000}, {-5500, 1000}},
      {100.0f, {100, 1}, {100, 1}},
  };
  for (const auto& row : rows) {
    std::string truncated, decimal;
    appendRational(truncated, row.alt, false);
    appendRational(decimal, decimalOf(row.alt), true);
    EXPECT_EQ(words(truncated), row.truncated) << row.alt;
    EXPECT_EQ(words(decimal), row.decimal) << row.alt;
  }
  // A numerator of 1 or less is the value itself, whatever the denominator.
  std::string r;
  appendRational(r, 0.001, true);  // 1/1000
  appendRational(r, 0.002, true);  // 2/1000
  EXPECT_DOUBLE_EQ(rationalValue(r, 0), 1.0);
  EXPECT_DOUBLE_EQ(rationalValue(r, 1), 0.002);
  EXPECT_DOUBLE_EQ(rationalValue(r, 2), 0.0) << "past the data";
}

}  // namespace
}  // namespace pixtrail
