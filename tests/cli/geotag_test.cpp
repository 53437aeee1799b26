// The geotag and exif commands as a user runs them, including a run killed half way.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "photos/TJpegExif.hpp"
#include "tests/support/walk_track.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

using GeotagCommand = test::WalkFixture;

TEST_F(GeotagCommand, JsonReportsEveryPhotoAndOutNeverOverwrites) {
  test::writeFileBytes(dir / "photos/canon.jpg", original);
  test::writeFileBytes(dir / "photos/casio.jpg", test::readFileBytes(test::testData("photos/Casio.jpg")));
  test::writeFileBytes(dir / "photos/afcp.jpg", test::readFileBytes(test::testData("photos/AFCP.jpg")));
  const std::string out = (dir / "out").string();
  auto r = test::runPixtrail(run("--json --out " + shellQuote(out) + " " + shellQuote((dir / "photos").string())));
  ASSERT_EQ(r.status, 1) << r.err;  // AFCP has no EXIF block: one failure
  const nlohmann::json rows = nlohmann::json::parse(r.out);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0]["status"], "error");
  EXPECT_EQ(rows[0]["message"], "Error Define Quantization Table");
  EXPECT_EQ(rows[1]["status"], "tagged");
  EXPECT_EQ(rows[1]["time"], "2003-12-04T06:46:52");
  // 06:46:52 lies 52/60 of the way from 06:46 (40.046) to 06:47 (40.047).
  EXPECT_NEAR(rows[1]["lat"].get<double>(), 40.046 + 0.001 * 52.0 / 60.0, 0.002 / 3600);
  EXPECT_NEAR(rows[1]["lon"].get<double>(), -3.7, 0.002 / 3600);
  EXPECT_EQ(rows[2]["status"], "not-covered");  // Casio: year 2000
  EXPECT_TRUE(rows[2]["lat"].is_null());

  // Without the flush at the end the same bytes are written.
  const std::string first = test::readFileBytes(dir / "out/canon.jpg");
  const std::string unsynced = (dir / "unsynced").string();
  r = test::runPixtrail(run("--no-sync --out " + shellQuote(unsynced) + " " + shellQuote((dir / "photos").string())));
  EXPECT_EQ(r.status, 1) << r.err;
  EXPECT_EQ(test::readFileBytes(dir / "unsynced/canon.jpg"), first);

  // A second run finds the tagged photo there already and leaves it alone.
  r = test::runPixtrail(run("--out " + shellQuote(out) + " " + shellQuote((dir / "photos/canon.jpg").string())));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("Error saving file"), std::string::npos) << r.err;
  EXPECT_EQ(test::readFileBytes(dir / "out/canon.jpg"), first);
}

TEST_F(GeotagCommand, UsageErrorsExitWithTwo) {
  test::writeFileBytes(dir / "photos/canon.jpg", original);
  const std::string photo = shellQuote((dir / "photos/canon.jpg").string());
  EXPECT_EQ(test::runPixtrail(run(photo)).status, 2) << "neither --out nor --in-place";
  EXPECT_EQ(test::runPixtrail(run("--in-place --offset 1h " + photo)).status, 2);
  EXPECT_EQ(test::runPixtrail(run("--in-place --no-sync " + photo)).status, 2) << "in place is always flushed";
  EXPECT_EQ(test::runPixtrail("geotag --track nowhere.trk --in-place " + photo).status, 2);
  EXPECT_EQ(test::readFileBytes(dir / "photos/canon.jpg"), original);
}

TEST_F(GeotagCommand, MarkTrackLeavesTheTrackAsRecorded) {
  test::writeFileBytes(dir / "photos/canon.jpg", original);
  const std::string photo = shellQuote((dir / "photos/canon.jpg").string());
  const auto info = [](const std::filesystem::path& file) {
    const auto r = test::runPixtrail("info --json " + shellQuote(file.string()));
    EXPECT_EQ(r.status, 0) << r.err;
    return nlohmann::json::parse(r.out, nullptr, false);
  };
  const nlohmann::json recorded = info(dir / "walk.trk");
  for (const std::string name : {"marked.trk", "marked.gpx"}) {
    const auto r = test::runPixtrail(run("--out " + shellQuote((dir / ("out-" + name)).string()) + " --mark-track " +
                                         shellQuote((dir / name).string()) + " " + photo));
    ASSERT_EQ(r.status, 0) << r.err;
    const std::filesystem::path written = dir / name;
    EXPECT_NE(r.out.find("marked track: " + written.string() + "\n"), std::string::npos) << r.out;
    const nlohmann::json marked = info(written);
    for (const char* key : {"points", "segments", "start", "end", "length_m"})
      EXPECT_EQ(marked[key], recorded[key]) << name << " " << key;
    const std::string text = test::readFileBytes(written);
    if (name == "marked.gpx") {
      EXPECT_NE(text.find("<wpt lat=\"40.04686"), std::string::npos) << "the photo as a waypoint:\n" << text;
      EXPECT_NE(text.find("<name>canon.jpg</name>"), std::string::npos) << text;
    } else {
      EXPECT_NE(text.find("\r\na  foto|canon.jpg|"), std::string::npos) << text;
    }
  }
}

TEST_F(GeotagCommand, TheMarkedTrackNameIsTheOneWritten) {
  // A track read from a PLE file stays in the native format whatever the name asked for, and the
  // native writer gives it the extension TRK.
  test::writeFileBytes(dir / "photos/canon.jpg", original);
  std::filesystem::copy_file(dir / "walk.trk", dir / "walk.ple");
  const auto r = test::runPixtrail("geotag --track " + shellQuote((dir / "walk.ple").string()) + " --out " +
                                   shellQuote((dir / "out").string()) + " --mark-track " +
                                   shellQuote((dir / "marked.gpx").string()) + " " +
                                   shellQuote((dir / "photos/canon.jpg").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("marked track: " + (dir / "marked.TRK").string() + "\n"), std::string::npos) << r.out;
  EXPECT_TRUE(std::filesystem::exists(dir / "marked.TRK"));
  EXPECT_FALSE(std::filesystem::exists(dir / "marked.gpx"));
}

TEST_F(GeotagCommand, ExifShowsWhatExiftoolReads) {
  const auto r = test::runPixtrail("exif --json " + shellQuote(test::testData("photos/Casio.jpg").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  const nlohmann::json j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["byte_order"], "MM");               // exiftool: Big-endian (Motorola, MM)
  EXPECT_EQ(j["time"], "2000-03-31T10:44:15");    // exiftool: DateTimeOriginal 2000:03:31 10:44:15
  EXPECT_TRUE(j["position"].is_null());
  bool make = false;
  for (const auto& tag : j["tags"])
    if (tag["label"] == "Make") make = tag["value"] == "CASIO";  // exiftool: Make CASIO
  EXPECT_TRUE(make) << r.out;
  EXPECT_EQ(test::runPixtrail("exif " + shellQuote(test::testData("photos/AFCP.jpg").string())).status, 2);
}

}  // namespace
}  // namespace pixtrail
