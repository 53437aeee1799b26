// Capabilities from protocol arrays, and the protocol.dat cache.
#include <gtest/gtest.h>

#include "devices/Capacidades_garmin.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

Capacidades_garmin fromArray(std::initializer_list<std::pair<char, int>> entries) {
  Capacidades_garmin caps;
  for (const auto& [tag, n] : entries) caps.apply(tag, n);
  return caps;
}

TEST(GarminCapabilities, FillingRules) {
  const Capacidades_garmin mid = fromArray({{'P', 0}, {'L', 1}, {'A', 10}, {'A', 100}, {'D', 108}, {'A', 201},
                                            {'D', 202}, {'D', 108}, {'D', 210}, {'A', 301}, {'D', 310},
                                            {'D', 301}, {'A', 500}, {'D', 501}, {'A', 600}, {'D', 600},
                                            {'A', 700}, {'D', 700}, {'A', 800}, {'D', 800}});
  EXPECT_EQ(mid.A0XX, 10);
  EXPECT_EQ(mid.A1XX, 100);
  EXPECT_EQ(mid.A2XX, 201);
  EXPECT_EQ(mid.D20X, 202);
  EXPECT_EQ(mid.D21X, 210);
  EXPECT_EQ(mid.A3XX, 301);
  EXPECT_EQ(mid.D31X, 310);
  EXPECT_EQ(mid.D30X, 301);
  EXPECT_EQ(mid.D50X, 501);
  EXPECT_EQ(mid.D70X, 700);
  EXPECT_EQ(mid.D80X, 800);

  const Capacidades_garmin rules = fromArray({{'D', 100}, {'D', 110}, {'D', 108}, {'D', 800}, {'D', 802},
                                              {'A', 400}, {'A', 1006}, {'A', 906}, {'A', 302}, {'L', 2}});
  EXPECT_EQ(rules.D1XX, 108) << "the last D1xx wins";
  EXPECT_EQ(rules.D80X, 800) << "the first D8xx wins";
  EXPECT_EQ(rules.A3XX, 302);
  EXPECT_TRUE(rules.isA302());
  EXPECT_EQ(rules.hasA1006, 1);
  EXPECT_EQ(rules.hasA906, 1);
  EXPECT_EQ(rules.A9XX, 906);
  EXPECT_EQ(rules.L0XX, 2);
  // A4xx is not recorded anywhere; A1006 has n / 100 == 10, no slot either.
  const Capacidades_garmin none = fromArray({{'A', 400}, {'A', 1006}});
  Capacidades_garmin expected;
  expected.hasA1006 = 1;
  EXPECT_EQ(none, expected);
}

TEST(GarminCapabilities, CacheKeepsOnlyStoredKeys) {
  test::TempDir dir;
  const auto file = dir / "protocol.dat";
  Capacidades_garmin caps = fromArray({{'D', 110}, {'D', 312}, {'D', 304}, {'A', 302}, {'D', 800}, {'D', 700}});
  caps.productId = 1095;
  {
    GarminCapabilityCache cache(file);
    std::string message;
    ASSERT_TRUE(cache.load(message)) << "a missing file is an empty cache";
    cache.store(caps);
    Capacidades_garmin other;
    other.productId = 13;
    cache.store(other);
    caps.D1XX = 109;
    cache.store(caps);  // replaces, does not add
    ASSERT_TRUE(cache.save(message)) << message;
  }
  GarminCapabilityCache cache(file);
  std::string message;
  ASSERT_TRUE(cache.load(message)) << message;
  ASSERT_EQ(cache.records().size(), 2u);
  const auto back = cache.find(1095);
  ASSERT_TRUE(back.has_value());
  EXPECT_EQ(back->D1XX, 109);
  EXPECT_EQ(back->D31X, 312);
  EXPECT_EQ(back->D30X, 304);
  EXPECT_EQ(back->A3XX, -1) << "A3XX is not a stored key";
  EXPECT_EQ(back->D80X, -1) << "D80X is not a stored key";
  EXPECT_FALSE(cache.find(7).has_value());

  // The layout: list name first, then the count, then "id" as the first property.
  const std::string bytes = test::readFileBytes(file);
  EXPECT_EQ(bytes.substr(0, 7), std::string("\x05\x00prots", 7));
  EXPECT_EQ(bytes.substr(7, 4), std::string("\x02\x00\x00\x00", 4));
  EXPECT_EQ(bytes.substr(11, 6), std::string("\x0B\x00\x02\x00id", 6));

  for (std::size_t cut : {std::size_t{3}, bytes.size() / 2, bytes.size() - 1}) {
    GarminCapabilityCache damaged(file);
    std::string why;
    EXPECT_FALSE(damaged.parse(std::string_view(bytes).substr(0, cut), why)) << cut;
    EXPECT_EQ(why, "Error reading protocol.dat");
  }
}

}  // namespace
}  // namespace pixtrail
