// Receiver logs decoded by us and by gpsd's gpsdecode must agree.
//
// gpsdecode reports a fix only at the end of a reporting cycle, merged from several sentences. To
// get its reading of one sentence alone, each position sentence is given to it in a stream of its
// own: a ZDA that supplies a date (so GGA times are reported), the sentence twice with other times
// (so gpsdecode learns that this sentence ends a cycle), then the sentence itself; the report
// after the last one is gpsdecode's reading of that sentence. Satellites in use and HDOP appear
// only in its SKY reports, once per cycle, and are compared with our fix at that point of the log.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "core/text.hpp"
#include "devices/TProtocoloNMEA.hpp"
#include "tests/support/nmea_lines.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

std::vector<std::string> readLines(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

// "hhmmss.sss" (ours) or "YYYY-MM-DDThh:mm:ss.sssZ" (gpsdecode) as seconds of the day.
double secondsOfDay(const std::string& text) {
  if (text.size() > 10 && text[10] == 'T')
    return std::stoi(text.substr(11, 2)) * 3600 + std::stoi(text.substr(14, 2)) * 60 + std::stod(text.substr(17));
  return std::stoi(text.substr(0, 2)) * 3600 + std::stoi(text.substr(2, 2)) * 60 + std::stod(text.substr(4));
}

struct Ours {
  std::string sentence;  // as in the log, without CR LF
  TDatosGPSActual fix;
};

struct Tally {
  int compared = 0;
  int unreported = 0;
};

class GpsdecodeOracle : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!test::haveTool("gpsdecode")) GTEST_SKIP() << "gpsdecode (gpsd-clients) not installed";
  }
};

TEST_P(GpsdecodeOracle, PositionSentencesAgreeOneByOne) {
  const auto lines = readLines(test::testData("nmea") / GetParam());
  TProtocoloNMEA protocol;
  TDatosGPSActual fix;
  int count = 0;
  std::string previous;
  std::vector<Ours> ours;
  for (const std::string& line : lines) {
    const bool changed = protocol.processLine(line, fix, count, previous);
    const std::string_view type = protocol.lastParsed() ? protocol.lastSentence().type() : "";
    if (changed && (type == "GGA" || type == "RMC") && line.front() == '$') ours.push_back({line, fix});
  }

  // One stream per sentence, all run by one shell.
  test::TempDir dir;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    const std::string body = ours[i].sentence.substr(1, ours[i].sentence.find('*') - 1);
    std::vector<std::string> fields;
    std::stringstream split(body);
    for (std::string f; std::getline(split, f, ',');) fields.push_back(f);
    std::string stream = test::nmeaLine("GPZDA,000000,01,01,2020,00,00", false) + "\n";
    for (const char* t : {"000001", "000002"}) {
      fields[1] = t;
      std::string other;
      for (std::size_t k = 0; k < fields.size(); ++k) other += (k ? "," : "") + fields[k];
      if (body.back() == ',') other += ',';
      stream += test::nmeaLine(other, false) + "\n";
    }
    stream += ours[i].sentence + "\n";
    test::writeFileBytes(dir / (std::to_string(i) + ".nmea"), stream);
  }
  const auto run = test::runCommand("for i in $(seq 0 " + std::to_string(static_cast<long>(ours.size()) - 1) +
                                    "); do echo \"@$i\"; gpsdecode -j -v < " + test::shellQuote(dir.path().string()) +
                                    "/$i.nmea; done");
  ASSERT_EQ(run.status, 0) << run.err;

  // gpsdecode's report right after the echo of the sentence itself.
  std::map<std::size_t, nlohmann::json> reports;
  std::stringstream out(run.out);
  std::size_t current = 0;
  bool afterOriginal = false;
  for (std::string line; std::getline(out, line);) {
    if (line.rfind("@", 0) == 0) {
      current = std::stoul(line.substr(1));
      afterOriginal = false;
    } else if (line == ours[current].sentence) {
      afterOriginal = true;
    } else if (afterOriginal && line.rfind("{\"class\":\"TPV\"", 0) == 0) {
      reports[current] = nlohmann::json::parse(line);
      afterOriginal = false;
    }
  }

  Tally tally;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    const auto it = reports.find(i);
    if (it == reports.end()) {
      ++tally.unreported;
      continue;
    }
    const nlohmann::json& tpv = it->second;
    const TDatosGPSActual& f = ours[i].fix;
    const std::string& s = ours[i].sentence;
    ++tally.compared;
    const bool gpsdFix = tpv.value("mode", 0) >= 2;
    // One known difference: for a GGA that says quality 1 with "00" satellites the quality decides
    // here, as the system's rule has it; gpsd takes no satellites for no fix.
    const std::vector<std::string_view> fields = splitFields(s, ',');
    const bool noSatellitesFix = s.compare(3, 3, "GGA") == 0 && fields.size() > 7 && fields[6] != "0" &&
                                 !fields[6].empty() && fields[7] == "00";
    if (noSatellitesFix) {
      EXPECT_TRUE(f.fixValid) << s;
    } else {
      EXPECT_EQ(f.fixValid != 0, gpsdFix) << s;
    }
    if (s.compare(3, 3, "GGA") == 0) {
      EXPECT_EQ(f.differential != 0, tpv.value("status", 1) == 2) << s;
    }
    if (gpsdFix) {
      EXPECT_NEAR(f.position.lat, tpv.at("lat").get<double>(), 1e-8) << s;
      EXPECT_NEAR(f.position.lon, tpv.at("lon").get<double>(), 1e-8) << s;
    }
    ASSERT_TRUE(tpv.contains("time")) << s;
    EXPECT_NEAR(secondsOfDay(f.time), secondsOfDay(tpv.at("time").get<std::string>()), 5e-4) << s;
  }
  // Only sentences that carry no fix may go unreported.
  EXPECT_GT(tally.compared, 0);
  EXPECT_LE(tally.unreported, static_cast<int>(ours.size()) / 20) << "of " << ours.size();
  RecordProperty("compared", tally.compared);
}

// Of these logs only this one has the GSA and GSV sentences that make gpsdecode report SKY.
TEST(GpsdecodeOracleCycles, SatellitesAndHdopAgreeEachCycle) {
  if (!test::haveTool("gpsdecode")) GTEST_SKIP() << "gpsdecode (gpsd-clients) not installed";
  const auto file = test::testData("nmea/track.nmea");
  const auto run = test::runCommand("gpsdecode -j -v < " + test::shellQuote(file.string()));
  ASSERT_EQ(run.status, 0) << run.err;
  TProtocoloNMEA protocol;
  TDatosGPSActual fix;
  int count = 0;
  std::string previous;
  int compared = 0;
  std::stringstream out(run.out);
  for (std::string line; std::getline(out, line);) {
    if (line.rfind("{", 0) != 0) {
      protocol.processLine(line, fix, count, previous);  // the echo of an input sentence
      continue;
    }
    const auto report = nlohmann::json::parse(line);
    if (report.value("class", "") != "SKY" || !report.contains("uSat") || !report.contains("hdop") ||
        fix.satellites < 0)
      continue;
    ++compared;
    EXPECT_EQ(fix.satellites, report.at("uSat").get<int>()) << "cycle of " << fix.time;
    EXPECT_NEAR(fix.hdop, report.at("hdop").get<double>(), 0.005) << "cycle of " << fix.time;
  }
  EXPECT_GT(compared, 25);
  RecordProperty("compared", compared);
}

INSTANTIATE_TEST_SUITE_P(Logs, GpsdecodeOracle,
                         ::testing::Values("track.nmea", "track_adddate.nmea", "track_nmeadate.nmea",
                                           "mtk_locus.nmea"),
                         [](const auto& info) {
                           std::string name = info.param;
                           return name.substr(0, name.find('.'));
                         });

}  // namespace
}  // namespace pixtrail
