#include "coords/TDatum.hpp"

#include <gtest/gtest.h>

#include "core/messages.hpp"

namespace pixtrail {
namespace {

TEST(Datum, DerivesTheEllipsoidAndACopyDropsTheGrid) {
  TDatum wgs;
  wgs.alternativeNames = "A;B C;;D";
  wgs.deriveShape();
  // WGS 84 constants as published in NIMA TR8350.2, table 3.3.
  EXPECT_NEAR(wgs.e2, 0.00669437999014, 1e-14);
  EXPECT_NEAR(wgs.ep2, 0.00673949674228, 1e-14);
  EXPECT_NEAR(wgs.b, 6356752.3142, 1e-4);
  EXPECT_NEAR(wgs.e, 0.0818191908426, 1e-13);
  EXPECT_NEAR(wgs.c, 6399593.6258, 1e-4);
  EXPECT_NEAR(wgs.e1, 0.00167922038638, 1e-13);
  EXPECT_EQ(wgs.alternativeNameList, (std::vector<std::string>{"A", "B C", "", "D"}));

  wgs.grid = TDatumFileNTV2::fromBytes("x");
  TDatum copy(wgs);
  EXPECT_EQ(copy.grid, nullptr);
  EXPECT_EQ(copy.b, wgs.b);
  EXPECT_EQ(copy.alternativeNameList.size(), 4u);
}

TEST(DatumDeathTest, NegativeFlatteningStopsTheProgram) {
  TDatum bad;
  bad.inverseFlattening = -300;
  EXPECT_EXIT(bad.deriveShape(), ::testing::ExitedWithCode(kFatalExitStatus), "Error de sqrt en TDatum::Calcula\\(\\)");
}

}  // namespace
}  // namespace pixtrail
