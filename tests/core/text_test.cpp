#include "core/text.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>

#include "core/messages.hpp"

namespace pixtrail {
namespace {

TEST(Text, NumbersMustFillTheWholeField) {
  const double inf = std::numeric_limits<double>::infinity();
  const struct { std::string_view text; std::optional<double> general, finite; const char* why; } rows[] = {
      {" 12.5 ", 12.5, std::nullopt, "blanks are the general reader's to trim only"},
      {"12.5", 12.5, 12.5, ""},
      {"+3", 3.0, 3.0, "one plus sign is allowed"},
      {"++3", std::nullopt, std::nullopt, "a second one is not"},
      {"+-3", -3.0, -3.0, "from_chars takes the minus after it"},
      {"-0", 0.0, 0.0, ""},
      {"1e3", 1000.0, 1000.0, "exponents"},
      {"12..45", std::nullopt, std::nullopt, ""},
      {"12a", std::nullopt, std::nullopt, "anything left over fails"},
      {"", std::nullopt, std::nullopt, ""},
      {"+", std::nullopt, std::nullopt, ""},
      {"1e999", std::nullopt, std::nullopt, "out of range is a failure, not infinity"},
      {"inf", inf, std::nullopt, "only the general reader lets infinities through"},
      {"-Infinity", -inf, std::nullopt, ""},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(parseDouble(r.text), r.general) << '"' << r.text << "\" " << r.why;
    EXPECT_EQ(readDecimal(r.text, NonFinite::kRefuse), r.finite) << '"' << r.text << "\" " << r.why;
  }
  const auto nan = parseDouble("nan");
  ASSERT_TRUE(nan);
  EXPECT_TRUE(std::isnan(*nan));
  EXPECT_FALSE(readDecimal("nan", NonFinite::kRefuse));
  const auto prefix = readDecimalPrefix("+12.5e1km", NonFinite::kRefuse);
  ASSERT_TRUE(prefix);
  EXPECT_EQ(prefix->value, 125.0);
  EXPECT_EQ(prefix->length, 7u) << "the sign counts in the length";
  EXPECT_FALSE(readDecimalPrefix("km", NonFinite::kAccept));

  EXPECT_FALSE(parseInteger("1e3"));
  EXPECT_FALSE(parseInteger("99999999999999999999"));  // overflow is a failure, not a wrap
  EXPECT_EQ(parseInteger("-42"), -42);
}

TEST(Text, SplittingKeepsEmptyFieldsOnlyWhenAsked) {
  EXPECT_EQ(splitFields("a,,b", ',').size(), 3u);
  EXPECT_EQ(splitFields("", ',').size(), 1u);
  const auto blanks = splitOnBlanks("  W  NAME\t 1.5  ");
  ASSERT_EQ(blanks.size(), 3u);
  EXPECT_EQ(blanks[2], "1.5");
}

TEST(Text, Latin1AndUtf8RoundTripAtTheEdge) {
  const std::string latin1 = "Temp \xBA" "C, Espa\xF1" "a";
  const std::string utf8 = latin1ToUtf8(latin1);
  EXPECT_EQ(utf8, "Temp \xC2\xBA" "C, Espa\xC3\xB1" "a");
  EXPECT_EQ(utf8ToLatin1(utf8), latin1);
  EXPECT_EQ(utf8ToLatin1("\xE2\x82\xAC"), "?");     // the euro sign has no Latin-1 byte
  EXPECT_EQ(utf8ToLatin1("\xF1x"), "\xF1x");        // stray byte taken as Latin-1
  EXPECT_TRUE(equalsIgnoreCase("wgs 84", "WGS 84"));
}

TEST(Messages, GatherOnePerLine) {
  std::string m;
  appendMessage(m, "first");
  appendMessage(m, "");
  appendMessage(m, "second");
  EXPECT_EQ(m, "first\nsecond");
  EXPECT_EXIT(fatalError("Error de sqrt"), testing::ExitedWithCode(kFatalExitStatus), "Error de sqrt");
}

}  // namespace
}  // namespace pixtrail
