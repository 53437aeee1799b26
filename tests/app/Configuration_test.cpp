// gps.ini: reading, writing back, and what the rest of the program takes from it.
#include "app/Configuration.hpp"

#include <gtest/gtest.h>

#include "app/Startup.hpp"
#include "app/track_settings.hpp"
#include "coords/TListaDatums.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

class ConfigFile : public ::testing::Test {
 protected:
  test::TempDir dir;
  std::filesystem::path file = dir / "gps.ini";
  Configuration config;
  std::string message;
  void TearDown() override { config.detach(); }
};

TEST_F(ConfigFile, MissingFileGivesTheDefaultsAndIsNotCreated) {
  ASSERT_TRUE(config.load(file, message)) << message;
  const Setting* s = config.find("Balizas", "Radio_Default_Balizas_Ruta");
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->toText(), "400");
  EXPECT_FALSE(std::filesystem::exists(file)) << "reading never creates the file";
}

TEST_F(ConfigFile, ValuesAreReadByTypeAndBadTextKeepsTheDefault) {
  test::writeFileBytes(file,
                       "[General]\r\nComm_Timeout_Garmin=750\r\nComm_Fast_Garmin=0\r\n"
                       "Comm_GPS_time_difference=-2.5\r\nComanda_NMEA_MovingMap=GPRMC\r\n"
                       "Num_Puerto_Extra=three\r\nUse_Checksum_NMEA=false\r\nActivate Broadcast=7\r\n"
                       "[Balizas]\r\nRadio_Default_Balizas_Ruta=12.5e1\r\n");
  ASSERT_TRUE(config.load(file, message)) << message;
  EXPECT_EQ(config.commTimeoutGarminMs.get(), 750);
  EXPECT_FALSE(config.commFastGarmin.get());
  EXPECT_EQ(config.commGpsTimeDifference.get(), -2.5);
  EXPECT_EQ(config.nmeaMovingMapSentence.get(), "GPRMC");
  EXPECT_EQ(config.extraPortNumber.get(), -1);  // not a number
  EXPECT_FALSE(config.useNmeaChecksum.get());
  EXPECT_TRUE(config.activateBroadcast.get());   // any non-zero integer
  EXPECT_EQ(config.routeWaypointRadiusM.get(), 125.0);
}

TEST_F(ConfigFile, AChangeIsWrittenBackKeepingWhatOthersStored) {
  test::writeFileBytes(file, "[Colores]\r\nTrack=255\r\n[General]\r\nComm_Timeout_Garmin=750\r\n");
  ASSERT_TRUE(config.load(file, message)) << message;
  config.commTimeoutGarminMs.set(900);
  config.nmeaMovingMapSentence.set("GPGGA");
  EXPECT_TRUE(config.lastWriteError().empty()) << config.lastWriteError();

  const std::string written = test::readFileBytes(file);
  EXPECT_NE(written.find("Track=255\r\n"), std::string::npos) << written;
  EXPECT_EQ(written.find("\n\n"), std::string::npos) << "lines end in CR LF";

  Configuration again;
  ASSERT_TRUE(again.load(file, message)) << message;
  EXPECT_EQ(again.commTimeoutGarminMs.get(), 900);
  EXPECT_EQ(again.nmeaMovingMapSentence.get(), "GPGGA");
  EXPECT_EQ(again.totalPorts.get(), 1);
  again.detach();
}

// A gps.ini linked from a dotfiles folder is changed where it lives; the link stays a link.
TEST_F(ConfigFile, ALinkedFileIsWrittenThroughItsLink) {
  std::filesystem::create_directory(dir / "dotfiles");
  test::writeFileBytes(dir / "dotfiles" / "gps.ini", "[General]\r\nComm_Timeout_Garmin=750\r\n");
  std::error_code linkError;
  std::filesystem::create_symlink(dir / "dotfiles" / "gps.ini", file, linkError);
  if (linkError) GTEST_SKIP() << "no symbolic links here without special rights: " << linkError.message();
  ASSERT_TRUE(config.load(file, message)) << message;
  config.commTimeoutGarminMs.set(900);
  EXPECT_TRUE(config.lastWriteError().empty()) << config.lastWriteError();
  EXPECT_TRUE(std::filesystem::is_symlink(file));
  EXPECT_NE(test::readFileBytes(dir / "dotfiles" / "gps.ini").find("Comm_Timeout_Garmin=900"), std::string::npos);
}

TEST_F(ConfigFile, SectionsAndKeysMatchWithoutRegardToCase) {
  test::writeFileBytes(file,
                       "[tracks]\r\naltitud_gps_preferida=0\r\n[GENERAL]\r\ncomm_timeout_GARMIN=750\r\n"
                       "[general]\r\nComm_Timeout_Garmin=800\r\n");
  ASSERT_TRUE(config.load(file, message)) << message;
  EXPECT_FALSE(config.preferGpsAltitude.get());
  EXPECT_EQ(config.commTimeoutGarminMs.get(), 750) << "the first spelling found wins";

  // Written back under the spelling the file uses, not as a second copy the next read would miss.
  config.commTimeoutGarminMs.set(900);
  config.maxGapSeconds.set(60.0);
  const std::string written = test::readFileBytes(file);
  EXPECT_NE(written.find("comm_timeout_GARMIN=900"), std::string::npos) << written;
  EXPECT_EQ(written.find("[Tracks]"), std::string::npos) << written;
  EXPECT_NE(written.find("Max_Hueco_Segundos=60"), std::string::npos) << written;
  Configuration again;
  ASSERT_TRUE(again.load(file, message)) << message;
  EXPECT_EQ(again.commTimeoutGarminMs.get(), 900);
  EXPECT_EQ(again.maxGapSeconds.get(), 60.0);
  EXPECT_FALSE(again.preferGpsAltitude.get());
  again.detach();
}

TEST_F(ConfigFile, AFileThatCannotBeParsedIsReportedAndNeverOverwritten) {
  const std::string broken = "[General]\r\nComm_Timeout_Garmin=750\r\nComm_Timeout_Garmin=800\r\n[Open\r\n";
  test::writeFileBytes(file, broken);
  EXPECT_FALSE(config.load(file, message));
  EXPECT_NE(message.find("Error reading " + file.string()), std::string::npos) << message;
  EXPECT_EQ(config.commTimeoutGarminMs.get(), 500);
  config.commTimeoutGarminMs.set(100);
  EXPECT_EQ(test::readFileBytes(file), broken);
}

TEST(LanguageFile, MessagesByNumberWithTheirArgument) {
  LanguageFile language;
  ASSERT_TRUE(language.loadText("# comment\r\n51=Error creating file %s\r\n\r\nnot a line\r\n291=Speed\r\n"));
  EXPECT_EQ(language.size(), 2u);
  EXPECT_EQ(language.format(51, "a.trk"), "Error creating file a.trk");
  EXPECT_EQ(language.text(291), "Speed");
  EXPECT_EQ(language.text(7), "[7]");
}

TEST(Startup, LoadsTheShippedDataAndTheWorkingDatum) {
  test::TempDir dir;
  test::writeFileBytes(dir / "gps.ini", "[Coordenadas]\r\nDatum_Trabajo=3\r\n");
  StartupOptions options;
  options.configFile = dir / "gps.ini";
  std::string message;
  ASSERT_TRUE(startSystem(options, message)) << message;
  EXPECT_TRUE(message.empty()) << message;
  EXPECT_EQ(datumTable().workingDatum(), 3);
  EXPECT_EQ(configuration().language.format(51, "x"), "Error creating file x");

  options.workingDatum = "European 1950";
  ASSERT_TRUE(startSystem(options, message)) << message;
  EXPECT_EQ(datumTable().datum(-1).name, "European 1950");

  options.workingDatum = "No Such Datum";
  EXPECT_FALSE(startSystem(options, message));
  EXPECT_NE(message.find("Unknown datum: No Such Datum"), std::string::npos);

  options.workingDatum.clear();
  options.dataDir = dir.path();  // no datumsb.dat there
  message.clear();
  EXPECT_FALSE(startSystem(options, message));
  EXPECT_EQ(message, "Error opening " + (dir / "datumsb.dat").string());
  configuration().detach();
  datumTable().setWorkingDatum(0);
}


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
