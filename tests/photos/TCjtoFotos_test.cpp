#include "photos/TCjtoFotos.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "coords/TListaDatums.hpp"
#include "tests/photos/exif_builder.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::ExifLayout;

using test::writePhoto;

// A straight track north along 3 W: 40.00 N at 11:00, 40.01 N at 11:10, 40.02 N at 11:20 (UTC).
TVolGPS track(int day = 1) {
  TVolGPS t;
  for (int i = 0; i < 3; ++i) {
    auto p = std::make_unique<TPuntVol>();
    p->position = {-3.0, 40.0 + 0.01 * i, static_cast<float>(100 + 10 * i)};
    p->time = TPuntTiempo::fromRecord({day, 6, 2024, 11, 10 * i, 0.0});
    p->stateFlags = TPuntVol::kValidData;
    t.appendPoint(std::move(p));
  }
  std::string message;
  t.Recalculate({}, message);
  return t;
}

class PhotoCollection : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums()); }
  test::TempDir dir;
  std::string message;
};

TEST_F(PhotoCollection, LoadsJpgFilesInAnyCaseAndNothingElse) {
  writePhoto(dir / "b.JPG", "2024:06:01 10:00:00");
  writePhoto(dir / "a.jpg", "");
  writePhoto(dir / "c.Jpg", "2024:06:01 10:05:00");
  writePhoto(dir / "d.jpeg", "2024:06:01 10:05:00");   // only "jpg" counts
  writePhoto(dir / "e.jpg.tmp", "2024:06:01 10:05:00");
  test::writeFileBytes(dir / "f.jpg", "not a photo");   // kept, without time, and reported
  TCjtoFotos photos;
  TFotos* group = photos.LoadFolder(dir.path(), message);
  ASSERT_NE(group, nullptr);
  ASSERT_EQ(group->photos.size(), 4u);
  EXPECT_EQ(group->photos[0].name(), "a.jpg");
  EXPECT_EQ(group->photos[1].name(), "b.JPG");
  EXPECT_FALSE(group->photos[0].hasTime);
  EXPECT_TRUE(group->photos[1].hasTime);
  EXPECT_FALSE(group->photos[3].readable);
  EXPECT_EQ(message, "f.jpg: Error in SOI");

  test::TempDir empty;
  test::writeFileBytes(empty / "notes.txt", "x");
  std::string emptyMessage;
  EXPECT_EQ(photos.LoadFolder(empty.path(), emptyMessage), nullptr);
  EXPECT_EQ(emptyMessage, "No hay fotos en la carpeta indicada");
}

TEST_F(PhotoCollection, SynchronisesWithTheClockOffsetAndLeavesUncoveredPhotosAlone) {
  writePhoto(dir / "1.jpg", "2024:06:01 10:05:00");  // +1 h: 11:05, half way to the second point
  writePhoto(dir / "2.jpg", "2024:06:01 10:00:00");  // +1 h: 11:00, the first point
  writePhoto(dir / "3.jpg", "2024:06:01 15:00:00");  // far beyond the track
  writePhoto(dir / "4.jpg", "");
  TCjtoFotos photos;
  TFotos* group = photos.LoadFolder(dir.path(), message);
  ASSERT_NE(group, nullptr);
  TVolGPS t = track();
  std::vector<Placement> placements;

  // Neither flag set: nothing is done.
  const double hour = 1.0 / 24.0;
  EXPECT_EQ(photos.Synchronise(*group, t, {}, hour, placements), 0);
  EXPECT_FALSE(group->photos[0].hasPosition);

  photos.addCoordinates = true;
  photos.markTrack = true;
  EXPECT_EQ(photos.Synchronise(*group, t, {}, hour, placements), 2);
  ASSERT_EQ(placements.size(), 4u);
  EXPECT_NEAR(group->photos[0].position.lat, 40.005, 1e-9);
  EXPECT_NEAR(group->photos[0].position.lon, -3.0, 1e-9);
  EXPECT_NEAR(group->photos[1].position.lat, 40.0, 1e-9);
  EXPECT_EQ(placements[2].status, PlacementStatus::NotCovered);
  EXPECT_FALSE(group->photos[2].hasPosition);
  EXPECT_EQ(placements[3].status, PlacementStatus::NoTime);

  // Marked: one mark per placed photo beside the track, named after the photo; the recorded
  // points are not touched.
  const TVolGPS before = track();
  ASSERT_EQ(t.pointCount(), before.pointCount());
  for (std::size_t i = 0; i < t.pointCount(); ++i) {
    EXPECT_EQ(t.pointTime(i), before.pointTime(i));
    EXPECT_EQ(t.point(i).segmentStart, before.point(i).segmentStart);
    EXPECT_FALSE(t.point(i).coursePoint);
  }
  ASSERT_EQ(t.marks.size(), 2u);
  EXPECT_EQ(t.marks[0].name, "1.jpg");
  EXPECT_NEAR(t.marks[0].position.lat, 40.005, 1e-9);
  EXPECT_EQ(t.marks[1].name, "2.jpg");
}

TEST_F(PhotoCollection, SavesIntoANewFileOnlyWhenItDoesNotExistAndInPlaceSafely) {
  writePhoto(dir / "p.jpg", "2024:06:01 10:05:00");
  TFoto photo;
  ASSERT_TRUE(photo.load(dir / "p.jpg", message)) << message;
  const std::string original = test::readFileBytes(dir / "p.jpg");
  EXPECT_FALSE(photo.Save(dir / "q.jpg", message)) << "no position yet";
  EXPECT_EQ(message, "Error saving coordinates");
  photo.position = {-3.5, 40.25, 600.0f};
  photo.datum = kDatumWgs84;
  photo.hasPosition = true;

  test::writeFileBytes(dir / "taken.jpg", "other");
  message.clear();
  EXPECT_FALSE(photo.Save(dir / "taken.jpg", message));
  EXPECT_EQ(message, "Error saving file");
  EXPECT_EQ(test::readFileBytes(dir / "taken.jpg"), "other");
  EXPECT_EQ(test::readFileBytes(dir / "p.jpg"), original);

  message.clear();
  ASSERT_TRUE(photo.Save(dir / "p.jpg", message)) << message;
  EXPECT_EQ(photo.fileName, dir / "p.jpg");
  EXPECT_FALSE(std::filesystem::exists(dir / "p.jpg.tmp"));
  TFoto back;
  ASSERT_TRUE(back.load(dir / "p.jpg", message)) << message;
  ASSERT_TRUE(back.hasPosition);
  EXPECT_NEAR(back.position.lat, 40.25, 1e-9);
  EXPECT_NEAR(back.position.lon, -3.5, 1e-9);
}

// A long list lets go of each photo's entries and thumbnail; writing it reads them again, so the
// photo comes out the same as from one held whole.
TEST_F(PhotoCollection, AForgottenExifIsReadAgainWhenThePhotoIsSaved) {
  const std::string canon = test::readFileBytes(test::testData("photos/NikonD70.jpg"));  // maker note, thumbnail
  test::writeFileBytes(dir / "held.jpg", canon);
  test::writeFileBytes(dir / "forgotten.jpg", canon);
  TFoto held, forgotten;
  ASSERT_TRUE(held.load(dir / "held.jpg", message)) << message;
  ASSERT_TRUE(forgotten.load(dir / "forgotten.jpg", message)) << message;
  ASSERT_FALSE(forgotten.thumbnail.empty());
  forgotten.forgetExif();
  EXPECT_TRUE(forgotten.exif.tags().empty());
  EXPECT_TRUE(forgotten.thumbnail.empty());
  for (TFoto* photo : {&held, &forgotten}) {
    photo->position = {-3.5, 40.25, 600.0f};
    photo->datum = kDatumWgs84;
    photo->hasPosition = true;
    ASSERT_TRUE(photo->Save(dir / ("tagged-" + photo->name()), message)) << message;
  }
  EXPECT_EQ(test::readFileBytes(dir / "tagged-forgotten.jpg"), test::readFileBytes(dir / "tagged-held.jpg"));
}

TEST_F(PhotoCollection, SeveralTracksTheFirstThatCoversThePhotoWins) {
  writePhoto(dir / "p.jpg", "2024:06:01 11:05:00");
  writePhoto(dir / "q.jpg", "");
  TFoto covered, untimed;
  ASSERT_TRUE(covered.load(dir / "p.jpg", message));
  ASSERT_TRUE(untimed.load(dir / "q.jpg", message));
  VectorP<TVolGPS> tracks;
  for (int day : {2, 1, 1}) tracks.add(std::make_unique<TVolGPS>(track(day)));  // the first a day late
  TCjtoFotos photos;
  int index = -2;
  EXPECT_EQ(photos.placeOnTracks(covered, tracks, {}, 0.0, index).status, PlacementStatus::Placed);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(photos.placeOnTracks(covered, tracks, {}, 2.0, index).status, PlacementStatus::NotCovered);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(photos.placeOnTracks(untimed, tracks, {}, 0.0, index).status, PlacementStatus::NoTime);
  EXPECT_EQ(index, -1);
}

TEST_F(PhotoCollection, StoredPositionInAnotherDatumComesInTheWorkingDatum) {
  ExifLayout layout;
  layout.ifd0 = {test::asciiEntry(0x010F, "Maker")};
  layout.gps = {{1, 2, {}, std::string("N\0", 2)}, test::rationalEntry(2, {40, 1, 0, 1, 0, 1}),
                {3, 2, {}, std::string("W\0", 2)}, test::rationalEntry(4, {3, 1, 0, 1, 0, 1}),
                {18, 2, {}, std::string("European 1950\0", 14)}};
  test::writeFileBytes(dir / "ed50.jpg", test::buildJpeg(layout));
  TFoto photo;
  ASSERT_TRUE(photo.load(dir / "ed50.jpg", message)) << message;
  ASSERT_TRUE(photo.hasPosition);
  TCoord expected{-3.0, 40.0, 0.0f};
  const int ed50 = datumTable().findByName("European 1950");
  ASSERT_GE(ed50, 0);
  ASSERT_TRUE(datumTable().Transforma_Grados_Datum(expected, ed50, kDatumWgs84, message));
  EXPECT_NEAR(photo.position.lat, expected.lat, 1e-12);
  EXPECT_NEAR(photo.position.lon, expected.lon, 1e-12);
  EXPECT_GT(std::fabs(photo.position.lon - -3.0), 1e-4) << "ED50 and WGS 84 differ by about 100 m here";

  layout.gps.back().bytes = std::string("Mars 2030\0", 10);
  test::writeFileBytes(dir / "mars.jpg", test::buildJpeg(layout));
  TJpegExif exif;
  TCoord p;
  int datum = 0;
  ASSERT_TRUE(exif.Read(dir / "mars.jpg", message));
  EXPECT_FALSE(exif.ReadPosition(p, datum, message));
  EXPECT_EQ(message, "Unknown datum: Mars 2030");
}

TEST_F(PhotoCollection, ExifFieldsByHeldKeyInDirectoryOrder) {
  ExifLayout layout;
  layout.ifd0 = {test::asciiEntry(0x010F, "Maker"), {0x0100, 3, {640}, {}}};
  layout.exif = {test::asciiEntry(0x9003, "2024:06:01 10:05:00")};
  layout.gps = {{1, 2, {}, std::string("N\0", 2)}};
  test::writeFileBytes(dir / "f.jpg", test::buildJpeg(layout));
  TFoto photo;
  ASSERT_TRUE(photo.load(dir / "f.jpg", message));
  PhotoField field;
  ASSERT_TRUE(photo.exifField("Exif::912", field));  // 0x0390, DateTimeOriginal as held
  EXPECT_EQ(field.label, "Date Time Original");
  EXPECT_EQ(field.text, "2024:06:01 10:05:00");
  ASSERT_TRUE(photo.exifField("Exif::1", field));  // ImageWidth (IFD0) comes before GPS tag 1
  EXPECT_EQ(field.text, "640");
  EXPECT_FALSE(photo.exifField("Exif::4660", field));
  EXPECT_FALSE(photo.exifField("Name", field));
  EXPECT_EQ(photo.exifFields().size(), photo.exif.tags().size());
}

}  // namespace
}  // namespace pixtrail
