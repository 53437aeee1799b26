#include "tracks/track_file_dispatch.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <tuple>

#include "tests/support/test_support.hpp"
#include "tracks/track_file_native.hpp"

namespace pixtrail {
namespace {

TVolGPS smallTrack(const std::string& fileName) {
  TVolGPS t;
  t.fileName = fileName;
  for (int i = 0; i < 3; ++i) {
    auto p = std::make_unique<TPuntVol>();
    p->position = {2.0, 41.0 + i * 0.001, 0};
    p->time = {0, 2, 2, 2022, 12, 0, static_cast<float>(i * 10)};
    p->segmentStart = 0;
    t.appendPoint(std::move(p));
  }
  return t;
}

TEST(TrackDispatch, SaveChoosesByExtensionInTableOrder) {
  test::TempDir dir;
  const TrackFileSettings settings;
  const struct {
    std::string loadedFrom, saveAs;
    bool ok;
    std::string written, message;
    const char* why;
  } rows[] = {
      {"a.TRK", "out.trk", true, "out.trk", "", "native: the extension's case is kept as typed"},
      {"a.TRK", "out.Trk", true, "out.Trk", "", "native: the extension's case is kept as typed"},
      {"a.PLE", "out.gpx", true, "out.TRK", "", "a PLE track stays native: the PLE test comes before GPX"},
      {"a.TRK", "out.PLE", false, "", "Unknown file format saving tracks: PLE",
       "PLE is not in the save table; only a track loaded from PLE is written natively"},
      {"a.TRK", "out.csv", false, "", "Unknown file format saving tracks: csv", "CSV opens but never saves"},
      {"a.TRK", "out.xyz", false, "", "Unknown file format saving tracks: xyz", "unknown"},
      {"a.TRK", "out.fpt", false, "", "FPT track files cannot be read or written: the program's packed track format is not documented", "undocumented own format"},
      {"a.TRK", "out.dxf", false, "", "Vector export track files are not available", "a slot with no writer"},
      {"a.TRK", "MDB:42", false, "", "The flight logbook is not available: MDB:42", "logbook name"},
  };
  for (const auto& r : rows) {
    TVolGPS t = smallTrack(r.loadedFrom);
    std::string message;
    const bool logbook = isLogbookTrackName(r.saveAs);
    const bool ok = saveTrack(t, logbook ? std::filesystem::path(r.saveAs) : dir / r.saveAs, settings, message);
    EXPECT_EQ(ok, r.ok) << r.why;
    if (r.ok) {
      EXPECT_TRUE(std::filesystem::exists(dir / r.written)) << r.why;
      EXPECT_EQ(t.fileName, (dir / r.written).string()) << r.why;
    } else {
      EXPECT_EQ(message, r.message) << r.why;
    }
  }
  // A PLE track saved under a PLE name keeps the extension.
  TVolGPS ple = smallTrack("x.ple");
  std::string message;
  ASSERT_TRUE(saveTrack(ple, dir / "y.ple", settings, message)) << message;
  EXPECT_TRUE(std::filesystem::exists(dir / "y.ple"));
}

TEST(TrackDispatch, OpenChoosesByExtensionAndRecalculates) {
  test::TempDir dir;
  const TrackFileSettings settings;
  TVolGPS t = smallTrack("walk.TRK");
  std::string message;
  ASSERT_TRUE(saveTrack(t, dir / "walk.TRK", settings, message)) << message;
  std::filesystem::copy_file(dir / "walk.TRK", dir / "walk.PlE");
  for (const char* name : {"walk.TRK", "walk.PlE"}) {
    TVolGPS back;
    ASSERT_TRUE(openTrack(dir / name, back, settings, message)) << message;
    EXPECT_EQ(back.pointCount(), 3u);
    EXPECT_EQ(back.point(0).segmentStart, 1) << "recalculated after open";
    EXPECT_NEAR(back.summary().distanceM, 222.1, 0.2);
    EXPECT_EQ(back.fileName, (dir / name).string());
  }
  const struct { const char* name; const char* message; } failures[] = {
      {"walk.abc", "Unknown file format opening track: abc"},
      {"walk", "Unknown file format opening track: "},
      {"walk.cmp", "CMP track files cannot be read or written: the program's compact track format is not documented"},
      {"walk.dxf", "Unknown file format opening track: dxf"},  // DXF is an export only
      {"FBK|7", "The flight logbook is not available: FBK|7"},
  };
  for (const auto& f : failures) {
    TVolGPS none;
    std::string m;
    EXPECT_FALSE(openTrack(f.name, none, settings, m)) << f.name;
    EXPECT_EQ(m, f.message);
  }
  EXPECT_FALSE(isLogbookTrackName("fbk:1")) << "compared exactly";
  TVolGPS none;
  std::string m;
  test::writeFileBytes(dir / "bad.igz", "not a zip archive");
  EXPECT_FALSE(openTrack(dir / "bad.igz", none, settings, m));
  EXPECT_EQ(m, "Error unziping file in IGZ");
}

// Every row that both reads and writes gives back what it wrote, to the format's resolution.
TEST(FormatTable, EveryWritableFormatReadsBackWhatItWrote) {
  test::TempDir dir;
  // Resolution of the position in each format: IGC and the Magellan text keep thousandths and
  // ten-thousandths of a minute; the others seven decimals of a degree or better.
  const auto tolerance = [](std::string_view ext) { return ext == "IGC" || ext == "LOG" ? 1e-5 : 1e-6; };
  std::size_t tracks = 0, waypointSets = 0, routeSets = 0;
  for (const DataFormat& format : dataFormats()) {
    if (!format.opens() || !format.saves()) continue;
    const std::string ext(format.extensions.substr(0, format.extensions.find(' ')));
    const auto file = dir / ("round." + ext);
    std::string message;
    if (format.kind == DataKind::Track) {
      TVolGPS track = smallTrack("from.TRK");
      if (!saveTrack(track, file, {}, message)) {
        EXPECT_FALSE(message.empty()) << ext << ": a format that cannot save says why";
        continue;
      }
      TVolGPS back;
      ASSERT_TRUE(openTrack(file, back, {}, message)) << ext << ": " << message;
      ASSERT_EQ(back.pointCount(), 3u) << ext;
      for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(back.point(i).position.lat, track.point(i).position.lat, tolerance(ext)) << ext;
        EXPECT_NEAR(back.point(i).position.lon, track.point(i).position.lon, tolerance(ext)) << ext;
        DateTimeValue written = 0, read = 0;  // OziExplorer keeps days and their fraction
        ASSERT_TRUE(track.point(i).time.toValue(written) && back.point(i).time.toValue(read)) << ext;
        EXPECT_NEAR(read * kSecondsPerDay, written * kSecondsPerDay, 0.01) << ext << " point " << i;
      }
      ++tracks;
    } else if (format.kind == DataKind::Waypoints) {
      TBalizas w;
      for (const auto& [name, lat, lon] : {std::tuple{"HOME", 41.25, 2.5}, std::tuple{"SUMMIT", -33.5, -70.125}}) {
        TBaliza& b = w.waypoints.emplace();
        b.name = name;
        b.position = {lon, lat, 100.0f};
      }
      ASSERT_TRUE(saveWaypoints(w, file, {}, message)) << ext << ": " << message;
      TBalizas back;
      ASSERT_TRUE(openWaypoints(file, back, {}, message)) << ext << ": " << message;
      EXPECT_EQ(back.fileName, file.string());
      ASSERT_EQ(back.waypoints.size(), 2u) << ext;
      for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(back.waypoints[i].name, w.waypoints[i].name) << ext;
        EXPECT_NEAR(back.waypoints[i].position.lat, w.waypoints[i].position.lat, 2e-6) << ext;
        EXPECT_NEAR(back.waypoints[i].position.lon, w.waypoints[i].position.lon, 2e-6) << ext;
        EXPECT_NEAR(back.waypoints[i].position.alt, 100.0f, 0.5f) << ext;
      }
      ++waypointSets;
    } else {
      // A route file keeps the form it was read in: native, or the Magellan unit's own.
      for (const bool magellan : {false, true}) {
        TRutas r;
        r.magellanText = magellan;
        TRuta& route = r.routes.emplace();
        route.name = "1";
        for (const auto& [name, lat] : {std::pair{"A", 40.0}, std::pair{"B", 40.5}}) {
          TBaliza& b = route.waypoints.emplace();
          b.name = name;
          b.position = {-3.0, lat, 0.0f};
        }
        ASSERT_TRUE(saveRoutes(r, file, {}, message)) << ext << ": " << message;
        TRutas back;
        ASSERT_TRUE(openRoutes(file, back, {}, message)) << ext << ": " << message;
        EXPECT_EQ(back.magellanText, magellan && ext == "RTE") << ext;
        ASSERT_EQ(back.routes.size(), 1u) << ext;
        ASSERT_EQ(back.routes[0].waypoints.size(), 2u) << ext;
        EXPECT_EQ(back.routes[0].waypoints[1].name, "B") << ext;
        EXPECT_NEAR(back.routes[0].waypoints[1].position.lat, 40.5, 2e-6) << ext;
      }
      ++routeSets;
    }
  }
  EXPECT_GE(tracks, 4u) << "native, OziExplorer, IGC, GPX and Magellan logs all save";
  EXPECT_EQ(waypointSets, 3u);
  EXPECT_EQ(routeSets, 2u);
}

TEST(FormatTable, KindByNameAndTheDefaultOfEachKind) {
  const struct { const char* file; DataKind kind; std::string_view waypointRow; } rows[] = {
      {"a.GPX", DataKind::Track, "GPX"},      {"a.wpt", DataKind::Waypoints, "WPT *"},
      {"a.Upt", DataKind::Waypoints, "UPT"},  {"a.rte", DataKind::Routes, "WPT *"},
      {"a.txt", DataKind::Track, "WPT *"},    {"noext", DataKind::Track, "WPT *"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(dataKindOf(r.file), r.kind) << r.file;
    ASSERT_NE(findDataFormat(r.file, DataKind::Waypoints), nullptr) << r.file;
    EXPECT_EQ(findDataFormat(r.file, DataKind::Waypoints)->extensions, r.waypointRow) << r.file;
  }
  EXPECT_EQ(findDataFormat("a.xyz", DataKind::Track), nullptr) << "tracks have no catch-all";
}

// The log is complete on disk before the old one is set aside; a failure leaves the old log.
TEST(TrackDispatch, IgcSaveKeepsTheOldLogAndReportsAFailedRename) {
  test::TempDir dir;
  test::writeFileBytes(dir / "flight.IGC", "old log");
  TVolGPS t = smallTrack("flight.TRK");
  t.backupOnIgcSave = true;
  std::string message;
  ASSERT_TRUE(saveTrack(t, dir / "flight.IGC", TrackFileSettings{}, message)) << message;
  EXPECT_EQ(test::readFileBytes(dir / "flight.bak"), "old log");
  EXPECT_EQ(test::readFileBytes(dir / "flight.IGC").substr(0, 4), "AXXX");
  for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
    EXPECT_EQ(entry.path().string().find(".tmp"), std::string::npos) << entry.path();
  // A folder in the way makes the rename fail.
  std::filesystem::create_directory(dir / "blocked.IGC");
  t.backupOnIgcSave = false;
  message.clear();
  EXPECT_FALSE(saveTrack(t, dir / "blocked.IGC", TrackFileSettings{}, message));
  EXPECT_NE(message.find("Error renaming the tmp file to igc"), std::string::npos) << message;
}

TEST(TrackDispatch, IgcNameKeepsTheCaseTypedAndOtherExtensionsBecomeIgc) {
  test::TempDir dir;
  TVolGPS t = smallTrack("flight.TRK");
  std::string message;
  ASSERT_TRUE(saveTrack(t, dir / "lower.igc", TrackFileSettings{}, message)) << message;
  EXPECT_EQ(t.fileName, (dir / "lower.igc").string());
  // Listed rather than probed: a case-blind file system (Windows) finds "lower.IGC" too.
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
    names.push_back(entry.path().filename().string());
  EXPECT_EQ(names, std::vector<std::string>{"lower.igc"});
  EXPECT_EQ(savedTrackFileName(t, dir / "x.Igc"), dir / "x.Igc");
}

TEST(TrackDispatch, SegmentExportIsANativeTrackBesideTheOriginal) {
  test::TempDir dir;
  TVolGPS t = smallTrack((dir / "ride.gpx").string());
  t.point(2).segmentStart = 1;
  std::filesystem::path written;
  std::string message;
  ASSERT_TRUE(exportSegment(t, 1, TrackFileSettings{}, written, message)) << message;
  EXPECT_EQ(written, dir / "ride_subtrack.TRK");
  TVolGPS back;
  ASSERT_TRUE(openTrack(written, back, TrackFileSettings{}, message)) << message;
  EXPECT_EQ(back.pointCount(), 1u);
  EXPECT_FALSE(exportSegment(t, 0, TrackFileSettings{}, written, message)) << "never replaces a file";
  EXPECT_FALSE(exportSegment(t, 2, TrackFileSettings{}, written, message)) << "only two segments";
}

}  // namespace
}  // namespace pixtrail
