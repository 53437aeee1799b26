// The USB disk units, on a folder laid out as one: finding the unit, its description, the data
// folders and their alternatives, and writing without ever leaving a half-written file.

#include "devices/MagellanDisk.hpp"

#include <gtest/gtest.h>

#include "tests/devices/raised_text.hpp"
#include "tests/sim/magellan/magellan_fixture.hpp"

namespace pixtrail::sim {
namespace {

namespace fs = std::filesystem;
using test::TempDir;
using test::raisedText;

TEST(MagellanDiskFind, TakesTheFirstRootWithTheUnitFileInAnyCase) {
  TempDir a, b, c;
  fs::create_directories(a.path() / "DCIM");
  MagellanDiskLayout lower;
  lower.unitFolder = "usbtrans";
  layOutMagellanDisk(b.path(), lower);
  layOutMagellanDisk(c.path());
  EXPECT_EQ(findMagellanDiskRoot({a.path(), b.path(), c.path()}), b.path());
  EXPECT_TRUE(findMagellanDiskRoot({a.path()}).empty());
  EXPECT_EQ(raisedText([&] { MagellanDisk disk(a.path()); }),
            "OrvexGPS did not detect a Magellan GPS connected as a USB disk.");
}

TEST(MagellanDiskFind, DescribesTheUnitFromItsKeyValueFile) {
  const MagellanUnitDescription d =
      readUnitIdText("Model = eXplorist 600\r\nsw version: 3.1\r\nSerial Number=77\r\nnoise line\r\nUSB Device=MSD");
  EXPECT_EQ(d.model, "eXplorist 600");
  EXPECT_EQ(d.softwareVersion, "3.1");
  EXPECT_EQ(d.serialNumber, "77");
  EXPECT_EQ(d.usbDevice, "MSD");
  TempDir dir;
  layOutMagellanDisk(dir.path());
  EXPECT_EQ(MagellanDisk(dir.path()).description().model, "eXplorist 500");
}

TEST(MagellanDiskRead, EveryKindFromItsFolders) {
  TempDir dir;
  MagellanDiskLayout layout;
  layout.pointsOfInterest = true;
  layOutMagellanDisk(dir.path(), layout);
  const MagellanDisk disk(dir.path());
  TBalizas w;
  disk.downloadWaypoints(w);
  // Europe.upt, South.upt, then the points of interest.
  ASSERT_EQ(w.waypoints.size(), 6u);
  EXPECT_EQ(w.waypoints[0].name, "MADRID");
  EXPECT_EQ(w.waypoints[3].name, "SYDNEY");
  EXPECT_NEAR(w.waypoints[3].position.lat, -(33 + 51.408 / 60), 1e-9);
  EXPECT_EQ(w.waypoints[5].name, "FUEL");
  TRutas r;
  disk.downloadRoutes(r);
  ASSERT_EQ(r.routes.size(), 1u);
  EXPECT_EQ(r.routes[0].name, "GRAND TOUR");
  ASSERT_EQ(r.routes[0].waypoints.size(), 5u);
  EXPECT_EQ(r.routes[0].waypoints[4].name, "REYKJA");
  TVolGPS t;
  disk.downloadTracks(t);
  EXPECT_EQ(t.pointCount(), 4u);
}

TEST(MagellanDiskRead, EmptyFoldersGiveTheUnitsMessages) {
  TempDir dir;
  MagellanDiskLayout layout;
  layout.waypoints = layout.routes = layout.tracks = false;
  layOutMagellanDisk(dir.path(), layout);
  fs::create_directories(dir / "Waypoints");  // there, but empty
  const MagellanDisk disk(dir.path());
  TBalizas w;
  TRutas r;
  TVolGPS t;
  EXPECT_EQ(raisedText([&] { disk.downloadWaypoints(w); }), "Threre are no waypoints in this GPS");
  EXPECT_EQ(raisedText([&] { disk.downloadRoutes(r); }), "Threre are no routes in this GPS");
  EXPECT_EQ(raisedText([&] { disk.downloadTracks(t); }), "Error reading tracks, there are no PMGNTRK messages");
}

TEST(MagellanDiskWrite, WhatIsUploadedDownloadsTheSame) {
  TempDir source, dir;
  layOutMagellanDisk(source.path());
  MagellanDiskLayout bare;
  bare.waypoints = bare.routes = bare.tracks = false;
  layOutMagellanDisk(dir.path(), bare);
  TBalizas w;
  TRutas r;
  TVolGPS t;
  MagellanDisk(source.path()).downloadWaypoints(w);
  MagellanDisk(source.path()).downloadRoutes(r);
  MagellanDisk(source.path()).downloadTracks(t);

  const MagellanDisk disk(dir.path());
  EXPECT_EQ(disk.uploadWaypoints(w, "Mine", false), dir.path() / "Waypoints" / "Mine.upt");
  EXPECT_EQ(disk.uploadRoutes(r, "Mine", false), dir.path() / "Routes" / "Mine.rte");
  EXPECT_EQ(disk.uploadTracks(t, "Mine", false), dir.path() / "TrackLogs" / "Mine.log");
  TBalizas w2;
  TRutas r2;
  TVolGPS t2;
  disk.downloadWaypoints(w2);
  disk.downloadRoutes(r2);
  disk.downloadTracks(t2);
  ASSERT_EQ(w2.waypoints.size(), w.waypoints.size());
  for (std::size_t i = 0; i < w.waypoints.size(); ++i) {
    EXPECT_EQ(w2.waypoints[i].name, w.waypoints[i].name);
    EXPECT_EQ(w2.waypoints[i].description, w.waypoints[i].description);
    EXPECT_EQ(w2.waypoints[i].symbol, w.waypoints[i].symbol);
    EXPECT_NEAR(w2.waypoints[i].position.lat, w.waypoints[i].position.lat, 2e-6);
    EXPECT_NEAR(w2.waypoints[i].position.lon, w.waypoints[i].position.lon, 2e-6);
  }
  ASSERT_EQ(r2.routes.size(), 1u);
  EXPECT_EQ(r2.routes[0].name, "GRAND TOUR");
  EXPECT_EQ(r2.routes[0].waypoints.size(), r.routes[0].waypoints.size());
  ASSERT_EQ(t2.pointCount(), t.pointCount());
  for (std::size_t i = 0; i < t.pointCount(); ++i) EXPECT_EQ(t2.point(i).time, t.point(i).time);
  // The file starts with the unit's layout line and ends with END.
  const std::string text = test::readFileBytes(dir / "Waypoints/Mine.upt");
  EXPECT_EQ(text.rfind(magellan_text::kWaypointLayout, 0), 0u);
  EXPECT_EQ(text.substr(text.size() - 17), "$PMGNCMD,END*3D\r\n");
}

TEST(MagellanDiskWrite, KeepsAnExistingFileUnlessAskedAndLeavesNoTemporaryFile) {
  TempDir dir;
  layOutMagellanDisk(dir.path());
  const MagellanDisk disk(dir.path());
  const std::string before = test::readFileBytes(dir / "Waypoints/Europe.upt");
  TBalizas one;
  one.waypoints.emplace().name = "ONLY";
  EXPECT_NE(raisedText([&] { disk.uploadWaypoints(one, "Europe", false); }), "(nothing raised)");
  EXPECT_EQ(test::readFileBytes(dir / "Waypoints/Europe.upt"), before);
  disk.uploadWaypoints(one, "Europe", true);
  EXPECT_NE(test::readFileBytes(dir / "Waypoints/Europe.upt"), before);
  for (const auto& entry : fs::recursive_directory_iterator(dir.path()))
    EXPECT_NE(entry.path().extension(), ".tmp") << entry.path();
}

// The track folder here has the blank some units put in its name.
TEST(MagellanDiskDelete, EmptiesTheKindsFoldersButNotThePointsOfInterest) {
  TempDir dir;
  MagellanDiskLayout layout;
  layout.pointsOfInterest = true;
  layout.trackFolder = "Track Logs";
  layOutMagellanDisk(dir.path(), layout);
  const MagellanDisk disk(dir.path());
  TVolGPS t;
  disk.downloadTracks(t);
  EXPECT_EQ(t.pointCount(), 4u);
  EXPECT_EQ(disk.deleteAll(MagellanKind::kWaypoints), 2u);
  EXPECT_EQ(disk.deleteAll(MagellanKind::kRoutes), 1u);
  EXPECT_EQ(disk.deleteAll(MagellanKind::kTracks), 1u);
  EXPECT_EQ(disk.files(MagellanKind::kWaypoints), std::vector<fs::path>{dir.path() / "MyPOIs" / "Fuel.upt"});
  EXPECT_TRUE(disk.files(MagellanKind::kRoutes).empty());
  EXPECT_TRUE(disk.files(MagellanKind::kTracks).empty());
  EXPECT_TRUE(fs::exists(dir / "USBTRANS/UNIT_ID.DAT"));
}

}  // namespace
}  // namespace pixtrail::sim
