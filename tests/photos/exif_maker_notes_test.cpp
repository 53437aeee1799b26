#include "photos/exif_maker_notes.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

constexpr std::uint32_t kNoteAt = 8;  // the note follows an 8-byte TIFF header in these tests
constexpr std::uint32_t kNewAt = 100;

struct NoteEntry {
  std::uint16_t tag, type;
  std::uint32_t count, value;
};

// A maker note: `header`, then a directory of `entries`, a zero next pointer, then `data`.
std::string note(const std::string& header, const std::vector<NoteEntry>& entries, const std::string& data,
                 ByteOrder o) {
  std::string n = header;
  appendU16(n, static_cast<std::uint16_t>(entries.size()), o);
  for (const NoteEntry& e : entries) {
    appendU16(n, e.tag, o);
    appendU16(n, e.type, o);
    appendU32(n, e.count, o);
    if (e.type == 3 && e.count == 1) {
      appendU16(n, static_cast<std::uint16_t>(e.value), o);
      appendU16(n, 0, o);
    } else {
      appendU32(n, e.value, o);
    }
  }
  appendU32(n, 0, o);
  return n + data;
}
std::size_t directoryEnd(std::size_t headerSize, std::size_t entries) { return headerSize + 2 + 12 * entries + 4; }

std::uint32_t le32(const std::string& s, std::size_t at) {
  return readU32(reinterpret_cast<const unsigned char*>(s.data()) + at, ByteOrder::little);
}
std::uint16_t le16(const std::string& s, std::size_t at) {
  return readU16(reinterpret_cast<const unsigned char*>(s.data()) + at, ByteOrder::little);
}

TEST(MakerNote, MotorolaNoteFromTheTiffHeaderTurnsIntelAndCarriesItsPreview) {
  const ByteOrder mm = ByteOrder::big;
  const std::size_t dataAt = directoryEnd(0, 3);
  std::string shorts;
  for (std::uint16_t v : {0x0102, 0x0304, 0x0506}) appendU16(shorts, v, mm);
  const std::string preview("\xFF\xD8pv\xFF\xD9", 6);
  const std::string body = note("", {{0x0001, 3, 3, kNoteAt + static_cast<std::uint32_t>(dataAt)},
                                     {0x0088, 4, 1, 0},  // preview start, filled below
                                     {0x0089, 4, 1, 6}},
                                shorts, mm);
  std::string n = body;
  std::string start;
  appendU32(start, kNoteAt + static_cast<std::uint32_t>(body.size()), mm);  // right after the note
  n.replace(2 + 12 + 8, 4, start);
  const std::string tiff = std::string("MM\0*\0\0\0\x08", 8) + n + preview;

  const MakerNotePlan plan = planMakerNote(tiff, kNoteAt, static_cast<std::uint32_t>(n.size()), mm, "Minolta");
  ASSERT_TRUE(plan.keep);
  EXPECT_TRUE(plan.dropped.empty());
  const std::string placed = placeMakerNote(plan, kNewAt);
  EXPECT_EQ(le16(placed, 0), 3u);  // the directory now reads in Intel order
  EXPECT_EQ(le16(placed, 2), 0x0001u);
  EXPECT_EQ(le32(placed, 2 + 4), 3u);
  EXPECT_EQ(le32(placed, 2 + 8), kNewAt + dataAt);  // moved with the note
  EXPECT_EQ(le16(placed, dataAt), 0x0102u);
  EXPECT_EQ(le16(placed, dataAt + 4), 0x0506u);
  // The preview stood outside the note: it travels inside it now.
  const std::uint32_t previewAt = le32(placed, 2 + 12 + 8) - kNewAt;
  ASSERT_LE(previewAt + preview.size(), placed.size());
  EXPECT_EQ(placed.substr(previewAt, preview.size()), preview);
  EXPECT_EQ(le32(placed, 2 + 24 + 8), 6u);
  EXPECT_EQ(placeMakerNote(plan, kNewAt + 40).substr(dataAt), placed.substr(dataAt)) << "only offsets depend on the place";
}

TEST(MakerNote, NotesAddressedFromThemselvesMoveUntouched) {
  const ByteOrder mm = ByteOrder::big;
  const std::string header("OLYMPUS\0MM\x03\0", 12);
  // Offsets count from the note's start, so the value stays whatever the place.
  const std::string n = note(header, {{0x0200, 4, 3, static_cast<std::uint32_t>(directoryEnd(12, 1))}},
                             std::string(12, '\x07'), mm);
  const std::string tiff = std::string("II*\0\x08\0\0\0", 8) + n;
  const MakerNotePlan plan = planMakerNote(tiff, kNoteAt, static_cast<std::uint32_t>(n.size()), ByteOrder::little, "OLYMPUS");
  EXPECT_EQ(placeMakerNote(plan, kNewAt), n);
  EXPECT_EQ(placeMakerNote(plan, 7), n);
}

TEST(MakerNote, CanonFooterFollowsTheNoteAndAnUnfollowablePointerSaysNone) {
  const ByteOrder ii = ByteOrder::little;
  const std::size_t dataAt = directoryEnd(0, 3);
  std::string n = note("", {{0x0002, 3, 4, kNoteAt + static_cast<std::uint32_t>(dataAt)},
                            {0x0083, 4, 1, 0x7FFFFFF0},  // decision data far past the segment
                            {0x0093, 4, 1, 0}},
                       std::string(8, '\x05'), ii);
  n += std::string("II*\0", 4);
  appendU32(n, kNoteAt, ii);
  const std::string tiff = std::string("II*\0\x08\0\0\0", 8) + n;
  const MakerNotePlan plan = planMakerNote(tiff, kNoteAt, static_cast<std::uint32_t>(n.size()), ii, "Canon");
  const std::string placed = placeMakerNote(plan, kNewAt);
  ASSERT_EQ(placed.size(), n.size());
  EXPECT_EQ(placed.substr(placed.size() - 8, 4), std::string("II*\0", 4));
  EXPECT_EQ(le32(placed, placed.size() - 4), kNewAt);
  EXPECT_EQ(le32(placed, 2 + 8), kNewAt + dataAt);
  // The entry stays (the directory keeps its length) but points nowhere, and the loss is named.
  EXPECT_EQ(le16(placed, 0), 3u);
  EXPECT_EQ(le32(placed, 2 + 12 + 8), 0u);
  EXPECT_EQ(plan.dropped, std::vector<std::string>{"OriginalDecisionData"});
}

TEST(MakerNote, BrokenNotesAreKeptOrDroppedAndNamedNeverFollowedOutOfBounds) {
  const ByteOrder ii = ByteOrder::little;
  const std::string tiffHeader("II*\0\x08\0\0\0", 8);
  struct Row {
    const char* why;
    std::string note;
    std::uint32_t size;  // as the EXIF entry claims it
    bool keep;
    bool unchanged;
    std::vector<std::string> dropped;
  };
  std::string hugeCount;
  appendU16(hugeCount, 300, ii);
  hugeCount += std::string(40, '\x01');
  const std::string wildValue = note("", {{0x0001, 3, 2, kNoteAt + static_cast<std::uint32_t>(directoryEnd(0, 2))},
                                          {0x0007, 2, 20, 0xFFFFFF00}},
                                     "abcd", ii);
  std::string badType = wildValue;
  badType[2 + 2] = '\x63';  // type 99: no directory of any maker
  const Row rows[] = {
      {"entry count larger than the note", hugeCount, static_cast<std::uint32_t>(hugeCount.size()), true, true, {}},
      {"an unknown type: opaque bytes", badType, static_cast<std::uint32_t>(badType.size()), true, true, {}},
      {"a value far outside the segment", wildValue, static_cast<std::uint32_t>(wildValue.size()), true, false,
       {"MakerNote entry 0x0007"}},
      {"a note longer than the segment", wildValue, 5000, false, false, {"MakerNote"}},
      {"a note of two bytes", std::string("\x01\0", 2), 2, true, true, {}},
  };
  for (const Row& row : rows) {
    const std::string tiff = tiffHeader + row.note;
    const MakerNotePlan plan = planMakerNote(tiff, kNoteAt, row.size, ii, "Sigma");
    EXPECT_EQ(plan.keep, row.keep) << row.why;
    EXPECT_EQ(plan.dropped, row.dropped) << row.why;
    if (!row.keep) continue;
    const std::string placed = placeMakerNote(plan, kNewAt);
    if (row.unchanged) EXPECT_EQ(placed, row.note) << row.why;
    else EXPECT_EQ(le16(placed, 0), 1u) << row.why << ": the entry that cannot be followed leaves the directory";
  }
}

TEST(MakerNote, AStaleByteOrderMarkerGivesWayToTheEntries) {
  // "AOC\0MM" left in front of Intel entries by software that rewrote the file.
  const ByteOrder ii = ByteOrder::little;
  const std::string header("AOC\0MM", 6);
  const std::size_t dataAt = directoryEnd(6, 1);
  const std::string n = note(header, {{0x0005, 4, 2, kNoteAt + static_cast<std::uint32_t>(dataAt)}},
                             std::string("\x01\0\0\0\x02\0\0\0", 8), ii);
  const std::string tiff = std::string("II*\0\x08\0\0\0", 8) + n;
  const MakerNotePlan plan = planMakerNote(tiff, kNoteAt, static_cast<std::uint32_t>(n.size()), ii, "PENTAX");
  const std::string placed = placeMakerNote(plan, kNewAt);
  EXPECT_EQ(placed.substr(0, 6), header);
  EXPECT_EQ(le32(placed, 6 + 2 + 8), kNewAt + dataAt);
  EXPECT_EQ(le32(placed, dataAt), 1u);
}

// Inputs the fuzzer found, in its form: the first byte picks the camera and byte order, the rest is
// a TIFF structure whose maker note runs from offset 8 to the end.
TEST(MakerNoteFuzzFinds, PlannedNotesStayInsideTheirBytes) {
  const struct {
    const char* file;
    const char* why;
  } rows[] = {
      {"fuzz/maker-note-without-next-offset.bin", "a directory ending with the note had its next offset read past it"},
  };
  for (const auto& row : rows) {
    const std::string input = test::readFileBytes(test::testData(row.file));
    ASSERT_GT(input.size(), 9u) << row.why;
    const std::string tiff = input.substr(1);
    const ByteOrder order = (static_cast<unsigned char>(input[0]) & 0x80) != 0 ? ByteOrder::big : ByteOrder::little;
    for (const char* make : {"Canon", "Minolta", "PENTAX", "NIKON", "SIGMA", "Apple"}) {
      const MakerNotePlan plan =
          planMakerNote(tiff, kNoteAt, static_cast<std::uint32_t>(tiff.size() - kNoteAt), order, make);
      EXPECT_EQ(placeMakerNote(plan, kNewAt).size(), plan.note.size()) << row.why << " " << make;
      EXPECT_TRUE(plan.keep) << row.why << " " << make;
    }
  }
}

}  // namespace
}  // namespace pixtrail
