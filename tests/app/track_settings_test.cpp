#include "app/track_settings.hpp"

#include <gtest/gtest.h>

#include "app/Configuration.hpp"
#include "coords/TListaDatums.hpp"
#include "tests/support/datum_fixture.hpp"

namespace pixtrail {
namespace {

TEST(TrackSettingsFromConfiguration, TakesEachSettingAndRefusesUnknownValues) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  Configuration& c = configuration();
  c.detach();
  std::string message;
  TrackFileSettings s = commandSettingsFromConfiguration(message).trackFiles;
  EXPECT_TRUE(s.track.preferGpsAltitude);
  EXPECT_EQ(s.track.maxGapSeconds, 1800.0);
  EXPECT_EQ(s.file.datum, kDatumWgs84);
  EXPECT_EQ(s.file.mode, kFileDegrees);
  c.preferGpsAltitude.set(false);
  c.maxGapSeconds.set(600.0);
  c.fileCoordinateMode.set(kFileUtm);
  c.fileDatum.set("ED50");
  s = commandSettingsFromConfiguration(message).trackFiles;
  EXPECT_FALSE(s.track.preferGpsAltitude);
  EXPECT_EQ(s.track.maxGapSeconds, 600.0);
  EXPECT_EQ(s.file.mode, kFileUtm);
  EXPECT_EQ(s.file.datum, datumTable().findByName("European 1950"));
  EXPECT_TRUE(message.empty());
  c.fileCoordinateMode.set(42);
  c.fileDatum.set("Atlantis 1900");
  s = commandSettingsFromConfiguration(message).trackFiles;
  EXPECT_EQ(s.file.mode, kFileDegrees) << "an unknown mode falls back to degrees";
  EXPECT_EQ(s.file.datum, kDatumWgs84);
  EXPECT_EQ(message, "Unknown datum: Atlantis 1900");
  // The settings of the other commands come from the same place.
  c.exifExactQuirks.set(true);
  c.commTimeoutGarminMs.set(1234);
  c.angleFormat.set(99);
  const CommandSettings all = commandSettingsFromConfiguration(message);
  EXPECT_TRUE(all.exifExactQuirks);
  EXPECT_EQ(all.garminTimeoutMs, 1234);
  EXPECT_EQ(all.coordinateText.angleFormat, CoordinateTextSettings{}.angleFormat) << "out of range: the default";
  c.detach();
}

}  // namespace
}  // namespace pixtrail
