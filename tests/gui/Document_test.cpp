#include "gui/Document.hpp"

#include <gtest/gtest.h>

#include "gui_test_support.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::gui {
namespace {

TEST(Document, OpensEachKindThroughItsReader) {
  Document doc;
  OpenResult added;
  std::string message;
  ASSERT_TRUE(doc.open(test::samplesDir() / "retiro-walk.trk", TrackFileSettings{}, added, message)) << message;
  EXPECT_EQ(added.tracks, 1u);
  EXPECT_GT(doc.tracks[0].pointCount(), 10u);
  ASSERT_TRUE(doc.open(test::samplesDir(), TrackFileSettings{}, added, message)) << message;
  EXPECT_EQ(added.photoFolders, 1u);
  EXPECT_EQ(doc.allPhotos().size(), 6u);
}

}  // namespace
}  // namespace pixtrail::gui
