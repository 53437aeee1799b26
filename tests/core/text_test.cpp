#include "core/text.hpp"

#include <gtest/gtest.h>

#include "core/messages.hpp"

namespace pixtrail {
namespace {

TEST(Text, NumbersMustFillTheWholeField) {
  EXPECT_EQ(parseDouble(" 12.5 "), 12.5);
  EXPECT_EQ(parseDouble("+3"), 3.0);
  EXPECT_EQ(parseDouble("-0"), 0.0);
  EXPECT_FALSE(parseDouble("12..45"));
  EXPECT_FALSE(parseDouble("12a"));
  EXPECT_FALSE(parseDouble(""));
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
