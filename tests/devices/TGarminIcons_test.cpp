// The symbol table: its size and order, the rows that tell its columns apart, and the lookups.
#include <gtest/gtest.h>

#include "devices/TGarminIcons.hpp"

namespace pixtrail {
namespace {

TEST(GarminIcons, TellingRowsReadBackExactly) {
  const struct { std::int32_t number; const char* name; const char* second; int own; int secondNumber; const char* letter; } rows[] = {
      {0, "Marina", "", 35, 6, "w"},          {6, "Bank", "", 2, -1, "g"},
      {7, "Fishing Area", "", 23, 4, "s"},    {8, "Gas Station", "", 25, 2, "o"},
      {10, "Residence", "", 46, 1, "c"},      {11, "Restaurant", "", 47, -1, "ac"},
      {14, "Skull and Crossbones", "", 20, 9, ""}, {18, "Waypoint", "", 70, 0, "ai"},
      {19, "Ship Wreck", "ShipWreck", 54, 7, "ao"}, {150, "Boat Ramp", "", 5, 5, ""},
      {151, "Campground", "", 8, 11, "j"},    {152, "Restroom", "", 48, -1, "aj"},
  };
  for (const auto& r : rows) {
    const TGarminIcon* icon = TGarminIcons::byNumber(r.number);
    ASSERT_NE(icon, nullptr) << r.name;
    EXPECT_EQ(icon->name, r.name);
    EXPECT_EQ(icon->secondName, r.second) << r.name;
    EXPECT_EQ(icon->ownIcon, r.own) << r.name;
    EXPECT_EQ(icon->secondNumber, r.secondNumber) << r.name;
    EXPECT_EQ(icon->letterCode, r.letter) << r.name;
  }
}

TEST(GarminIcons, OrderCountsAndDuplicates) {
  const auto all = TGarminIcons::all();
  ASSERT_EQ(all.size(), 254u);
  EXPECT_EQ(all.front().name, "Marina");
  EXPECT_EQ(all[11].name, "Residence 2") << "181 follows 10 in the device's order";
  EXPECT_EQ(all.back().name, "binoculars");
  int third = 0, second = 0, unnumbered = 0;
  for (const auto& icon : all) {
    third += icon.thirdNumber >= 0;
    second += icon.secondNumber >= 0;
    unnumbered += icon.number < 0;
  }
  EXPECT_EQ(third, 1);
  EXPECT_EQ(TGarminIcons::byNumber(18)->thirdNumber, 53);
  EXPECT_EQ(second, 16);
  EXPECT_EQ(unnumbered, 5);
  // The first of two rows with one number wins; the second stays reachable by name.
  EXPECT_EQ(TGarminIcons::byNumber(34)->name, "Navaid-Green-White");
  EXPECT_EQ(TGarminIcons::byName("Navaid-White-Green")->number, 34);
  EXPECT_EQ(TGarminIcons::byNumber(181)->name, "Residence 2");
  EXPECT_EQ(TGarminIcons::byNumber(191)->name, "Marina");
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
