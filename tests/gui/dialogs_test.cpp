// The datum list, a photo's properties and the thumbnails behind the photo list.

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImageWriter>
#include <QTableWidget>

#include "app/Startup.hpp"
#include "coords/TListaDatums.hpp"
#include "gui/DatumListDialog.hpp"
#include "gui/PhotoPropertiesDialog.hpp"
#include "gui/ThumbnailCache.hpp"
#include "gui_test_support.hpp"
#include "photos/TCjtoFotos.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::gui {
namespace {

namespace fs = std::filesystem;

// The datum table of a private copy of the data folder, put back as it was afterwards.
class PrivateDatumTable : public testing::Test {
 protected:
  void SetUp() override {
    fs::copy_file(defaultDataDir() / TListaDatums::kSystemFileName, temp_ / TListaDatums::kSystemFileName);
    std::string message;
    ASSERT_TRUE(datumTable().load(temp_.path(), message)) << message;
  }
  void TearDown() override {
    std::string message;
    datumTable().load(defaultDataDir(), message);
    datumTable().setWorkingDatum(kDatumWgs84);
  }
  test::TempDir temp_;
};

TEST_F(PrivateDatumTable, GridShowsTheTableInItsNumberFormats) {
  DatumListDialog dialog;
  QTableWidget* table = dialog.table();
  EXPECT_EQ(table->rowCount(), datumTable().size());
  const QStringList headers = {"Name", "Radius(a)", "1/f", "Delta X", "Delta Y", "Delta Z", "Device datum",
                               "Alternative Names", "ECW name"};
  for (int c = 0; c < headers.size(); ++c) EXPECT_EQ(table->horizontalHeaderItem(c)->text(), headers[c]);
  // a with %.11g, 1/f with %f, shifts with %lg: WGS 84 and European 1979 (6378388, 297, -86 -98 -119).
  EXPECT_EQ(table->item(0, DatumListDialog::kName)->text(), "WGS 84");
  EXPECT_EQ(table->item(0, DatumListDialog::kRadius)->text(), "6378137");
  EXPECT_EQ(table->item(0, DatumListDialog::kInverseFlattening)->text(), "298.257224");
  EXPECT_EQ(table->item(0, DatumListDialog::kDeltaX)->text(), "0");
  const int ed79 = datumTable().findByName("European 1979");
  EXPECT_EQ(table->item(ed79, DatumListDialog::kInverseFlattening)->text(), "297.000000");
  EXPECT_EQ(table->item(ed79, DatumListDialog::kDeltaZ)->text(), "-119");
  EXPECT_FALSE(table->item(0, DatumListDialog::kName)->flags() & Qt::ItemIsEditable) << "delivered rows are read-only";
  test::screenshot(&dialog, "datum-list");
}

TEST_F(PrivateDatumTable, UserRowsAreAddedEditedSavedAndDeleted) {
  DatumListDialog dialog;
  const int system = datumTable().systemRowCount();
  QString message;
  dialog.table()->selectRow(0);
  EXPECT_FALSE(dialog.deleteSelected(message));
  EXPECT_FALSE(message.isEmpty());
  dialog.addDatum();
  ASSERT_EQ(dialog.table()->rowCount(), system + 1);
  QStringList row = DatumListDialog::rowTexts(system);
  EXPECT_EQ(row[0], "New Datum");
  EXPECT_EQ(row.mid(1, 5), DatumListDialog::rowTexts(0).mid(1, 5)) << "a copy of row 0";
  // Edits: a good shift is taken, a flattening that is not positive is refused and shown back.
  dialog.table()->item(system, DatumListDialog::kName)->setText("Local grid");
  dialog.table()->item(system, DatumListDialog::kDeltaX)->setText("12.5");
  dialog.table()->item(system, DatumListDialog::kInverseFlattening)->setText("-3");
  EXPECT_EQ(datumTable().datum(system).name, "Local grid");
  EXPECT_EQ(datumTable().datum(system).dX, 12.5);
  EXPECT_EQ(datumTable().datum(system).inverseFlattening, datumTable().datum(0).inverseFlattening);
  EXPECT_EQ(dialog.table()->item(system, DatumListDialog::kInverseFlattening)->text(), "298.257224");
  ASSERT_TRUE(dialog.save(message)) << message.toStdString();
  ASSERT_TRUE(fs::exists(temp_ / TListaDatums::kUserFileName));
  std::string text;
  ASSERT_TRUE(datumTable().load(temp_.path(), text)) << text;
  ASSERT_EQ(datumTable().size(), system + 1);
  EXPECT_EQ(datumTable().datum(system).name, "Local grid");
  DatumListDialog reopened;
  reopened.table()->selectRow(system);
  datumTable().setWorkingDatum(system);
  EXPECT_FALSE(reopened.deleteSelected(message)) << "the working datum stays";
  EXPECT_EQ(datumTable().size(), system + 1);
  datumTable().setWorkingDatum(kDatumWgs84);
  EXPECT_TRUE(reopened.deleteSelected(message)) << message.toStdString();
  EXPECT_EQ(datumTable().size(), system);
}

TEST(PhotoProperties, ListsEveryExifFieldWithLabelAndValue) {
  TFoto photo;
  std::string message;
  ASSERT_TRUE(photo.load(test::samplesDir() / "pond.jpg", message)) << message;
  PhotoPropertiesDialog dialog(photo);
  const std::vector<PhotoField> fields = photo.exifFields();
  ASSERT_EQ(dialog.table()->rowCount(), static_cast<int>(fields.size()));
  bool sawTime = false;
  for (int row = 0; row < dialog.table()->rowCount(); ++row) {
    EXPECT_TRUE(dialog.table()->item(row, 0)->text().startsWith("Exif::"));
    // DateTimeOriginal (tag 0x9003, held with its bytes swapped as 0x0390 = 912), as exiftool
    // reads it from the sample.
    if (dialog.table()->item(row, 0)->text() == "Exif::912") {
      sawTime = true;
      EXPECT_FALSE(dialog.table()->item(row, 1)->text().isEmpty());
      EXPECT_TRUE(dialog.table()->item(row, 2)->text().contains("2024:05:14 10:15:05"));
    }
  }
  EXPECT_TRUE(sawTime);
}

// A photo without an EXIF thumbnail: a large picture written by Qt.
fs::path bigPicture(const fs::path& folder, const QString& name, QColor colour) {
  QImage image(2400, 1600, QImage::Format_RGB32);
  image.fill(colour);
  const fs::path file = folder / name.toStdString();
  QImageWriter writer(QString::fromStdString(file.string()), "jpeg");
  writer.write(image);
  return file;
}

TEST(Thumbnails, DecodedSmallOnWorkersAndKeptWithinTheLimit) {
  test::TempDir temp;
  const QImage decoded = ThumbnailCache::decode(
      QString::fromStdString(bigPicture(temp.path(), "big.jpg", Qt::darkGreen).string()), {});
  EXPECT_EQ(decoded.width(), ThumbnailCache::kMaxEdgePx);
  EXPECT_EQ(decoded.height(), ThumbnailCache::kMaxEdgePx * 2 / 3);
  EXPECT_EQ(ThumbnailCache::decode(QString::fromStdString((temp / "none.jpg").string()), {}).isNull(), true);

  // Room for about three thumbnails: the cache never holds more than that, however many are asked.
  const qint64 oneThumbnail = qint64(ThumbnailCache::kMaxEdgePx) * (ThumbnailCache::kMaxEdgePx * 2 / 3) * 4;
  ThumbnailCache cache(oneThumbnail * 3 + 100);
  std::vector<TFoto> photos(8);
  for (std::size_t i = 0; i < photos.size(); ++i)
    photos[i].fileName = bigPicture(temp.path(), QString("p%1.jpg").arg(i), QColor::fromHsv(int(i) * 40, 200, 200));
  for (TFoto& p : photos) EXPECT_TRUE(cache.thumbnail(p).isNull()) << "never decoded on the caller's thread";
  EXPECT_EQ(cache.pendingCount(), 8);
  ASSERT_TRUE(test::waitFor([&] { return cache.pendingCount() == 0; }, 20000));
  EXPECT_LE(cache.cachedBytes(), cache.limitBytes());
  EXPECT_EQ(cache.cachedCount(), 3);
  // The newest ones stay; an evicted one is simply decoded again when asked for.
  const QImage last = cache.thumbnail(photos.back());
  ASSERT_FALSE(last.isNull());
  EXPECT_EQ(last.pixelColor(10, 10).hue() / 10, QColor::fromHsv(7 * 40, 200, 200).hue() / 10);
  EXPECT_TRUE(cache.thumbnail(photos.front()).isNull());
  EXPECT_TRUE(cache.isPending(QString::fromStdString(photos.front().fileName.string())));
}

TEST(Thumbnails, TheExifThumbnailIsUsedWhenThePhotoHasOne) {
  test::TempDir temp;
  const fs::path file = bigPicture(temp.path(), "big.jpg", Qt::blue);
  QImage small(120, 80, QImage::Format_RGB32);
  small.fill(Qt::red);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  small.save(&buffer, "JPEG");
  const QImage thumb = ThumbnailCache::decode(QString::fromStdString(file.string()), bytes.toStdString());
  ASSERT_FALSE(thumb.isNull());
  EXPECT_EQ(thumb.size(), QSize(120, 80));
  EXPECT_GT(thumb.pixelColor(60, 40).red(), 200);
  // A broken embedded thumbnail falls back to the picture itself.
  const QImage fallback = ThumbnailCache::decode(QString::fromStdString(file.string()), "not a jpeg");
  EXPECT_GT(fallback.pixelColor(10, 10).blue(), 200);
}

}  // namespace
}  // namespace pixtrail::gui
