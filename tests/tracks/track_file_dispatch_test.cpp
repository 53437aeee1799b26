#include "tracks/track_file_dispatch.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

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

TEST(TrackDispatch, IgcSaveNeverLeavesAHalfWrittenLog) {
  test::TempDir dir;
  test::writeFileBytes(dir / "flight.IGC", "old log");
  TVolGPS t = smallTrack("flight.TRK");
  t.backupOnIgcSave = true;
  std::string message;
  const bool ok = saveTrack(t, dir / "flight.IGC", TrackFileSettings{}, message);
  EXPECT_FALSE(std::filesystem::exists(dir / "flight.IGC.tmp")) << "the temporary log is gone either way";
  if (ok) {
    EXPECT_EQ(test::readFileBytes(dir / "flight.bak"), "old log");
    EXPECT_NE(test::readFileBytes(dir / "flight.IGC"), "old log");
    EXPECT_EQ(t.fileName, (dir / "flight.IGC").string());
  } else {
    EXPECT_EQ(test::readFileBytes(dir / "flight.IGC"), "old log") << message;
    EXPECT_FALSE(std::filesystem::exists(dir / "flight.bak"));
  }
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
