#include "tracks/nmea_sentence.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tracks/nmea_checksum.hpp"
#include "tracks/nmea_sentences.hpp"
#include "tests/support/nmea_lines.hpp"

namespace pixtrail {
namespace {

// The textbook sentences of the NMEA 0183 literature, with their published checksums.
const std::string kGga = "GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,";  // *47
const std::string kRmc = "GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W";  // *6A

NmeaSentence parsed(const std::string& line) { return test::parsedLine<NmeaSentence>(line); }

TEST(NmeaChecksum, MatchesPublishedSentences) {
  EXPECT_EQ(nmeaChecksum(std::string_view(kGga)), 0x47);
  EXPECT_EQ(nmeaChecksum(std::string_view(kRmc)), 0x6A);
  const auto text = nmeaChecksumText(0x6A);
  EXPECT_EQ(std::string(text.data(), 2), "6A");
  // Without a length the body ends at its terminating zero.
  const char withZero[] = "GPGGA\0,junk";
  EXPECT_EQ(nmeaChecksum(withZero), nmeaChecksum(std::string_view("GPGGA")));
}

TEST(NmeaLine, AcceptsWhatReceiversSendAndRefusesWhatTheyMangle) {
  const struct {
    std::string line;
    bool ok;
    bool checksumOk;
    std::string_view type;
    std::string_view message;
    const char* why;
  } rows[] = {
      {"$" + kGga + "*47", true, true, "GGA", "", "published example"},
      {"blah7.0$" + kGga + "*47\r\n", true, true, "GGA", "", "noise before $ and CR LF are normal"},
      {"$" + kGga + "*47\n", true, true, "GGA", "", "LF alone"},
      {"$" + kRmc + "*6a", true, true, "RMC", "", "lower-case hexadecimal"},
      {"$" + kRmc + "*6A trailing", true, true, "RMC", "", "text after the two digits is not read"},
      {"$" + kGga + "*48", true, false, "GGA", "", "a wrong checksum is a flag, not a failure"},
      {"$" + kGga + "*4G", true, false, "GGA", "", "a non-hex digit cannot match"},
      {"$" + kGga, true, false, "GGA", "", "no checksum at all is accepted, unchecked"},
      {"$" + kGga + "*4", false, false, "", "Error in NMEA message in checksum section", "one digit only"},
      {"$" + kGga + "*\r\n", false, false, "", "Error in NMEA message in checksum section", "CR right after *"},
      {"$*47", false, false, "", "Error in NMEA message in checksum section", "nothing before *"},
      {kGga + "*47", false, false, "", "Wrong NMEA message. ($ symbol not found)", "no $"},
      {"", false, false, "", "Wrong NMEA message. ($ symbol not found)", "empty line"},
      {"$GNGGA,1", true, false, "GGA", "", "multi-constellation talker"},
      {"$PMGNWPL,1", true, false, "MGNWPL", "", "proprietary: the talker is the P alone"},
      {"$D,+12,95012", true, false, "D", "", "identifiers under four characters are their own type"},
      {"$d,950.12,-0.8", true, false, "d", "", "case matters"},
      {"$GPGGA\r*47", true, false, "GGA", "", "cut at CR before looking for *"},
  };
  for (const auto& r : rows) {
    NmeaSentence s;
    TErrorNMEA error;
    EXPECT_EQ(s.Parse(r.line, error), r.ok) << r.why;
    EXPECT_EQ(error.message, r.message) << r.why;
    if (!r.ok) continue;
    EXPECT_EQ(s.checksumCorrect(), r.checksumOk) << r.why;
    EXPECT_EQ(s.type(), r.type) << r.why;
    EXPECT_EQ(error.code, TErrorNMEA::kNone) << r.why;
  }
}

TEST(NmeaLine, KeepsEmptyFieldsAndLeavesTheSentenceAloneOnFailure) {
  NmeaSentence s = parsed("$" + kGga + "*47");
  EXPECT_EQ(s.fieldCount(), 15u);  // identifier + 14 data fields, the last two empty
  EXPECT_EQ(s.talker(), "GP");
  EXPECT_EQ(s.field(13), "");
  EXPECT_EQ(s.field(99), "");
  EXPECT_EQ(s.body(), kGga);
  EXPECT_EQ(s.checksumText(), "47");

  TErrorNMEA error;
  EXPECT_FALSE(s.Parse("no sentence here", error));
  EXPECT_EQ(error.code, TErrorNMEA::kNoDollar);
  EXPECT_EQ(error.detail, "no sentence here");
  EXPECT_EQ(s.type(), "GGA");  // still the last good sentence
  // A copy owns its text.
  NmeaSentence copy = s;
  ASSERT_TRUE(s.Parse("$GPVTG,1,T", error));
  EXPECT_EQ(copy.field(2), "4807.038");
}

TEST(NmeaFields, TypedReadersTreatEmptyAndGarbledAsUnknown) {
  const NmeaSentence s = parsed(
      "$X,4807.038,N,01131.000,E,3345.5,S,07000.0,W,9000.0,N,18000.0,E,4560.0,N,00000,E,"
      "12.5,inf,nan,+3,,abc,4807.038,n,0001.0,E,-7,032908.379,235960.5,070804,001304");
  const auto near = [](std::optional<TCoord> p, double lat, double lon) {
    return p && std::abs(p->lat - lat) < 1e-12 && std::abs(p->lon - lon) < 1e-12;
  };
  EXPECT_TRUE(near(s.position(1), 48.0 + 7.038 / 60.0, 11.0 + 31.0 / 60.0));
  EXPECT_TRUE(near(s.position(5), -(33.0 + 45.5 / 60.0), -70.0));
  EXPECT_TRUE(near(s.position(9), 90.0, 180.0));  // the poles and the antimeridian are real places
  EXPECT_FALSE(s.position(13));                   // 60 minutes
  EXPECT_FALSE(s.position(23));                   // lower-case hemisphere
  EXPECT_FALSE(s.position(20));                   // the fields after a position are not one
  TErrorNMEA error;
  EXPECT_FALSE(s.position(13, NmeaDialect::kTalvio, error));
  EXPECT_EQ(error.message, "NMEA-Talvio: Position syntax Error");

  EXPECT_EQ(s.number(17), 12.5);
  EXPECT_EQ(s.number(20), 3.0);
  EXPECT_EQ(s.integer(27), -7);
  for (const std::size_t unknown : {18, 19, 21, 22, 99}) {  // inf, nan, empty, text, missing
    EXPECT_FALSE(s.number(unknown)) << unknown;
    EXPECT_FALSE(s.integer(unknown)) << unknown;
  }
  EXPECT_FALSE(s.integer(17));  // a fraction is not an integer

  const auto time = s.time(28);
  ASSERT_TRUE(time);
  EXPECT_EQ(time->hour, 3);
  EXPECT_NEAR(time->seconds, 8.379, 1e-9);
  EXPECT_TRUE(s.time(29));  // a leap second
  EXPECT_EQ(s.date(30)->year, 2004);
  EXPECT_FALSE(s.date(31));  // month 13
  DateTimeRecord t;
  // Seconds read to the same double as the C library reads them, however many decimals.
  for (const char* text : {"120000.1", "120008.379", "120059.999999", "120001.12345678901", "120001.1234567890123",
                           "120000.5e1"}) {
    ASSERT_TRUE(readNmeaTime(text, t)) << text;
    EXPECT_EQ(t.seconds, std::strtod(text + 4, nullptr)) << text;
  }
  for (const char* bad : {"", "2400", "240000", "126000", "12345", "1234567", "12:34:56", "1234a6"})
    EXPECT_FALSE(readNmeaTime(bad, t)) << bad;
  ASSERT_TRUE(readNmeaDate("230394", t));
  EXPECT_EQ(t.year, 1994);  // yy from 80 on is 19yy
  for (const char* bad : {"", "320104", "0708041", "07a804"}) EXPECT_FALSE(readNmeaDate(bad, t)) << bad;
}

// The published examples, read field by field (values read off the sentences by hand).
TEST(NmeaRecords, ReadPublishedSentences) {
  const NmeaSentence ggaSentence = parsed("$" + kGga + "*47"), rmcSentence = parsed("$" + kRmc + "*6A");
  const NmeaGga gga(ggaSentence);
  EXPECT_EQ(gga.timeText(), "123519");
  EXPECT_EQ(gga.time()->minute, 35);
  EXPECT_NEAR(gga.position()->lat, 48.1173, 1e-12);
  EXPECT_EQ(gga.quality(), 1);
  EXPECT_EQ(gga.satellites(), 8);
  EXPECT_EQ(gga.hdop(), 0.9);
  EXPECT_EQ(gga.altitudeM(), 545.4);
  EXPECT_EQ(gga.geoidSeparationM(), 46.9);

  const NmeaRmc rmc(rmcSentence);
  EXPECT_EQ(rmc.status(), "A");
  EXPECT_EQ(rmc.speedKnots(), 22.4);
  EXPECT_EQ(rmc.courseDeg(), 84.4);
  EXPECT_EQ(rmc.dateText(), "230394");
  EXPECT_EQ(rmc.date()->month, 3);

  const NmeaSentence gllSentence = parsed("$GPGLL,4916.45,N,12311.12,W,225444,A*31");
  const NmeaGll gll(gllSentence);
  EXPECT_NEAR(gll.position()->lon, -(123.0 + 11.12 / 60.0), 1e-12);
  EXPECT_EQ(gll.time()->hour, 22);
  EXPECT_EQ(gll.status(), "A");

  const NmeaSentence vtgSentence = parsed("$GPVTG,054.7,T,034.4,M,005.5,N,010.2,K*48");
  const NmeaVtg vtg(vtgSentence);
  EXPECT_EQ(vtg.courseTrueDeg(), 54.7);
  EXPECT_EQ(vtg.speedKnots(), 5.5);
  EXPECT_EQ(vtg.speedKmh(), 10.2);

  const auto date = NmeaZda(parsed("$GPZDA,201530.00,04,07,2002,00,00*60")).date();
  EXPECT_EQ(date->day, 4);
  EXPECT_EQ(date->year, 2002);
  EXPECT_EQ(NmeaGsa(parsed("$GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1*39")).fixType(), 3);
}

TEST(NmeaRecords, EmptyFieldsAreUnknownNotZero) {
  const NmeaSentence empty = parsed("$GPGGA,,,,,,,,,,M,,M,,");
  const NmeaGga gga(empty);
  EXPECT_FALSE(gga.time() || gga.position() || gga.quality() || gga.satellites() || gga.hdop() || gga.altitudeM() ||
               gga.geoidSeparationM());
  // "-9999" is the receivers' own mark for no altitude; feet are converted.
  EXPECT_FALSE(NmeaGga(parsed("$GPGGA,1,,,,,1,5,1,-9999,M")).altitudeM());
  EXPECT_NEAR(*NmeaGga(parsed("$GPGGA,1,,,,,1,5,1,1000,F")).altitudeM(), 304.8, 1e-9);
  const NmeaSentence shortRmc = parsed("$GPRMC,123519,V");  // trailing fields left out
  const NmeaRmc rmc(shortRmc);
  EXPECT_FALSE(rmc.position() || rmc.speedKnots() || rmc.courseDeg() || rmc.date());
  EXPECT_EQ(rmc.status(), "V");
  EXPECT_FALSE(NmeaZda(parsed("$GPZDA,201530.00,04,,2002")).date());
}

TEST(NmeaRecords, MagellanTrackPoint) {
  NmeaTrackPoint p;
  TErrorNMEA error;
  ASSERT_TRUE(decodePmgntrk(parsed("$PMGNTRK,4322.817,N,00551.286,E,00089,M,170547.71,A,,020602"), p, error));
  EXPECT_TRUE(p.valid);
  EXPECT_EQ(p.time.year, 2002);
  EXPECT_NEAR(p.time.seconds, 47.71, 1e-9);
  EXPECT_FLOAT_EQ(p.position.alt, 89.0f);
  const struct {
    const char* line;
    std::string_view message;
  } refused[] = {
      {"$PMGNTRK,4322.817,N,00551.286,E,00089,M", "NMEA-Mag: Error en el mensaje NMEA PMGNTRK"},
      {"$PMGNTRK,4322.817,N,00551.286,E,00089,M,170547.71,A,,021302", "NMEA-Mag: Error en el mensaje NMEA PMGNTRK"},
      {"$PMGNTRK,4322.817,N,,E,00089,M,170547.71,A,,", "NMEA-Mag: Position syntax Error"},
  };
  for (const auto& r : refused) {
    TErrorNMEA e;
    NmeaTrackPoint untouched;
    EXPECT_FALSE(decodePmgntrk(parsed(r.line), untouched, e)) << r.line;
    EXPECT_EQ(e.message, r.message) << r.line;
    EXPECT_EQ(untouched.time, DateTimeRecord{}) << r.line;
  }
}

}  // namespace
}  // namespace pixtrail
