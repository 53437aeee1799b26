// The symbol table lookups: duplicate numbers, second names and numbers, symbol text.
#include <gtest/gtest.h>

#include "devices/TGarminIcons.hpp"

namespace pixtrail {
namespace {

// The first of two rows with one number wins; the second stays reachable by name.
TEST(GarminIcons, DuplicateNumbersAndSecondNames) {
  EXPECT_EQ(TGarminIcons::byNumber(34)->name, "Navaid-Green-White");
  EXPECT_EQ(TGarminIcons::byName("Navaid-White-Green")->number, 34);
  EXPECT_EQ(TGarminIcons::byNumber(191)->name, "Marina");
  EXPECT_EQ(TGarminIcons::byNumber(18)->thirdNumber, 53);
  EXPECT_EQ(TGarminIcons::byNumber(19)->secondName, "ShipWreck");
}

TEST(GarminIcons, SymbolTextToNumberAndBack) {
  EXPECT_EQ(TGarminIcons::numberForSymbol("Campground"), 151);
  EXPECT_EQ(TGarminIcons::numberForSymbol("  shipwreck "), 19) << "second name, any case";
  EXPECT_EQ(TGarminIcons::numberForSymbol("8200"), 8200);
  EXPECT_EQ(TGarminIcons::numberForSymbol("no such symbol"), TGarminIcons::kDefaultNumber);
  EXPECT_EQ(TGarminIcons::numberForSymbol(""), TGarminIcons::kDefaultNumber);
  EXPECT_EQ(TGarminIcons::numberForSymbol("ramp"), TGarminIcons::kDefaultNumber) << "a row without a number";
  EXPECT_EQ(TGarminIcons::symbolForNumber(8246), "Summit");
  EXPECT_EQ(TGarminIcons::symbolForNumber(9999), "9999");
  EXPECT_EQ(TGarminIcons::bySecondNumber(11)->number, 151);
}

}  // namespace
}  // namespace pixtrail
