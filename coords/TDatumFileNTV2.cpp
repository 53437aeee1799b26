// NTv2 grid reader and interpolation.
// Source: "NTv2 National Transformation Version 2, Developer's Guide", Geodetic Survey Division,
// Natural Resources Canada (1992). Records are 16 bytes: an 8-character keyword and an 8-byte
// value (int32 in its first four bytes, a double, or eight characters).
// Departures kept on purpose:
//  - the GS_TYPE text is kept but the unit factor is always seconds (3600 per degree);
//  - the first sub-grid in file order that contains the point is used, not the most nested one;
//  - a point in the last row or column of a sub-grid counts as outside (no cell to interpolate).
// Byte order: files are little-endian; a big-endian file is recognised by its NUM_OREC value.

#include "coords/TDatumFileNTV2.hpp"

#include <cmath>
#include <fstream>
#include <limits>

#include "core/angles.hpp"
#include "core/byte_order.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {

namespace {

constexpr std::size_t kRecordSize = 16;
constexpr std::size_t kNodeSize = 16;
// Overview and sub-grid headers have 11 records; anything beyond a few hundred is not NTv2.
constexpr std::int32_t kMaxHeaderRecords = 1000;
// More nodes than this would not fit any real grid and guards against absurd allocations.
constexpr std::int64_t kMaxNodes = 50'000'000;
// Real grids shift by seconds and test grids by a few degrees; a node beyond a quarter turn (or not
// a number) is damage.
constexpr double kMaxShiftSeconds = kQuarterTurnDeg * kSecondsPerDegree;

// One keyword of a header and the member its value goes to (exactly one pointer is set).
template <typename Owner>
struct RecordField {
  std::string_view keyword;
  std::int32_t Owner::*i32 = nullptr;
  double Owner::*f64 = nullptr;
  std::string Owner::*text = nullptr;
};

// MAJOR_F, MINOR_F, MAJOR_T, MINOR_T are not kept: the ellipsoids come from the datum table.
// GS_TYPE is kept as text only: every grid is read in seconds.
constexpr RecordField<TDatumFileNTV2::Overview> kOverviewFields[] = {
    {"NUM_SREC", &TDatumFileNTV2::Overview::numSRec},
    {"NUM_FILE", &TDatumFileNTV2::Overview::numFile},
    {"GS_TYPE ", nullptr, nullptr, &TDatumFileNTV2::Overview::gsType},
    {"VERSION ", nullptr, nullptr, &TDatumFileNTV2::Overview::version},
    {"SYSTEM_F", nullptr, nullptr, &TDatumFileNTV2::Overview::systemF},
    {"SYSTEM_T", nullptr, nullptr, &TDatumFileNTV2::Overview::systemT},
};

constexpr RecordField<TDatumSubRejilla> kSubGridFields[] = {
    {"SUB_NAME", nullptr, nullptr, &TDatumSubRejilla::name},
    {"PARENT  ", nullptr, nullptr, &TDatumSubRejilla::parent},
    {"CREATED ", nullptr, nullptr, &TDatumSubRejilla::created},
    {"UPDATED ", nullptr, nullptr, &TDatumSubRejilla::updated},
    {"S_LAT   ", nullptr, &TDatumSubRejilla::sLat},
    {"N_LAT   ", nullptr, &TDatumSubRejilla::nLat},
    {"E_LONG  ", nullptr, &TDatumSubRejilla::eLong},
    {"W_LONG  ", nullptr, &TDatumSubRejilla::wLong},
    {"LAT_INC ", nullptr, &TDatumSubRejilla::latInc},
    {"LONG_INC", nullptr, &TDatumSubRejilla::longInc},
    {"GS_COUNT", &TDatumSubRejilla::count},
};

// Reads consecutive 16-byte records by keyword into `out`; unknown keywords are skipped.
template <typename Owner, std::size_t N>
void readRecords(std::string_view records, ByteOrder order, const RecordField<Owner> (&fields)[N], Owner& out) {
  for (std::size_t at = 0; at + kRecordSize <= records.size(); at += kRecordSize) {
    const std::string_view key = records.substr(at, 8);
    const auto* value = reinterpret_cast<const unsigned char*>(records.data() + at + 8);
    for (const RecordField<Owner>& f : fields) {
      if (key != f.keyword) continue;
      if (f.i32) out.*f.i32 = readI32(value, order);
      if (f.f64) out.*f.f64 = readF64(value, order);
      if (f.text) out.*f.text = std::string(trim(records.substr(at + 8, 8)));
      break;
    }
  }
}

}  // namespace

bool TDatumSubRejilla::containsSeconds(double latSec, double lonWestSec) const {
  return latSec >= sLat && latSec <= nLat && lonWestSec >= eLong && lonWestSec <= wLong;
}

bool TDatumSubRejilla::shiftAt(double latSec, double lonWestSec, double& dLatSec,
                               double& dLonWestSec) const {
  const double rowF = (latSec - sLat) / latInc;
  const double colF = (lonWestSec - eLong) / longInc;
  if (!(rowF >= 0) || !(colF >= 0)) return false;
  const auto row = static_cast<long long>(rowF);
  const auto col = static_cast<long long>(colF);
  if (row + 1 >= rows || col + 1 >= columns) return false;
  const double x = colF - static_cast<double>(col);
  const double y = rowF - static_cast<double>(row);
  const auto node = [&](long long r, long long c) { return static_cast<std::size_t>((r * columns + c) * 4); };
  const std::size_t n00 = node(row, col), n01 = node(row, col + 1);
  const std::size_t n10 = node(row + 1, col), n11 = node(row + 1, col + 1);
  for (int k = 0; k < 2; ++k) {
    const double v00 = nodes[n00 + k], v01 = nodes[n01 + k], v10 = nodes[n10 + k], v11 = nodes[n11 + k];
    const double v = v00 + (v01 - v00) * x + (v10 - v00) * y + (v00 - v01 - v10 + v11) * x * y;
    (k == 0 ? dLatSec : dLonWestSec) = v;
  }
  return true;
}

TDatumFileNTV2::TDatumFileNTV2(std::filesystem::path file) : file_(std::move(file)) {}

std::unique_ptr<TDatumFileNTV2> TDatumFileNTV2::fromBytes(std::string bytes, std::string name) {
  auto grid = std::make_unique<TDatumFileNTV2>(std::filesystem::path(std::move(name)));
  grid->inMemory_ = true;
  grid->memory_ = std::move(bytes);
  return grid;
}

bool TDatumFileNTV2::readBytes(std::size_t offset, std::size_t size, std::string& out) const {
  if (inMemory_) {
    if (offset > memory_.size() || memory_.size() - offset < size) return false;
    out.assign(memory_, offset, size);
    return true;
  }
  // A header may claim any size; check it against the file before allocating.
  std::error_code ec;
  const auto fileSize = std::filesystem::file_size(file_, ec);
  if (ec || offset > fileSize || fileSize - offset < size) return false;
  std::ifstream in(file_, std::ios::binary);
  if (!in) return false;
  in.seekg(static_cast<std::streamoff>(offset));
  out.resize(size);
  in.read(out.data(), static_cast<std::streamsize>(size));
  return static_cast<std::size_t>(in.gcount()) == size;
}

bool TDatumFileNTV2::readHeader(std::string& message) {
  if (!inMemory_) {
    std::ifstream probe(file_, std::ios::binary);
    if (!probe) {
      appendMessage(message, "Error opening " + file_.string());
      state_ = State::unusable;
      return false;
    }
  }
  state_ = State::unusable;
  std::string record;
  if (!readBytes(0, kRecordSize, record) || record.compare(0, 8, "NUM_OREC") != 0) return false;
  const auto* raw = reinterpret_cast<const unsigned char*>(record.data()) + 8;
  const std::int32_t little = readI32(raw, ByteOrder::little);
  const std::int32_t big = readI32(raw, ByteOrder::big);
  bigEndian_ = !(little > 0 && little <= kMaxHeaderRecords) && big > 0 && big <= kMaxHeaderRecords;
  Overview header;
  header.numORec = bigEndian_ ? big : little;
  if (header.numORec < 1 || header.numORec > kMaxHeaderRecords) return false;
  std::string records;
  if (!readBytes(kRecordSize, kRecordSize * static_cast<std::size_t>(header.numORec - 1), records)) return false;
  readRecords(records, bigEndian_ ? ByteOrder::big : ByteOrder::little, kOverviewFields, header);
  overview_ = header;
  if (header.numFile < 1 || header.numSRec < 1 || header.numSRec > kMaxHeaderRecords) return false;
  state_ = State::headerRead;
  return true;
}

TDatumFileNTV2::State TDatumFileNTV2::state() const { return state_; }

void TDatumFileNTV2::loadSubGrids() const {
  std::call_once(loadOnce_, [this] {
    if (state_ != State::headerRead) return;
    const ByteOrder order = bigEndian_ ? ByteOrder::big : ByteOrder::little;
    std::vector<TDatumSubRejilla> grids;
    std::size_t offset = kRecordSize * static_cast<std::size_t>(overview_.numORec);
    const auto fail = [this] {
      subGrids_.clear();
      state_ = State::unusable;
    };
    for (std::int32_t g = 0; g < overview_.numFile; ++g) {
      std::string header;
      if (!readBytes(offset, kRecordSize * static_cast<std::size_t>(overview_.numSRec), header)) return fail();
      offset += header.size();
      TDatumSubRejilla sub;
      readRecords(header, order, kSubGridFields, sub);
      if (sub.count < 0 || sub.count > kMaxNodes) return fail();
      const double rows = std::trunc((sub.nLat - sub.sLat) / sub.latInc + 1.1);
      const double columns = std::trunc((sub.wLong - sub.eLong) / sub.longInc + 1.1);
      // A header whose shape does not match its node count would send lookups past the nodes.
      if (!(rows >= 1 && columns >= 1 && rows * columns <= static_cast<double>(sub.count)))
        return fail();
      sub.rows = static_cast<int>(rows);
      sub.columns = static_cast<int>(columns);
      std::string block;
      const std::size_t bytes = kNodeSize * static_cast<std::size_t>(sub.count);
      if (!readBytes(offset, bytes, block)) return fail();
      offset += bytes;
      sub.nodes.resize(static_cast<std::size_t>(sub.count) * 4);
      const auto* p = reinterpret_cast<const unsigned char*>(block.data());
      for (std::size_t i = 0; i < sub.nodes.size(); ++i) {
        sub.nodes[i] = readF32(p + 4 * i, order);
        // Of the four values per node only the two shifts are used; the accuracies may be anything.
        if (i % 4 < 2 && !(std::fabs(sub.nodes[i]) <= kMaxShiftSeconds)) return fail();
      }
      grids.push_back(std::move(sub));
    }
    subGrids_ = std::move(grids);
    state_ = State::subGridsLoaded;
  });
}

const std::vector<TDatumSubRejilla>& TDatumFileNTV2::subGrids() const {
  loadSubGrids();
  return subGrids_;
}

bool TDatumFileNTV2::shiftSeconds(double latSec, double lonWestSec, double& dLat, double& dLonWest) const {
  loadSubGrids();
  if (state_ != State::subGridsLoaded) return false;
  for (const TDatumSubRejilla& sub : subGrids_)
    if (sub.containsSeconds(latSec, lonWestSec)) return sub.shiftAt(latSec, lonWestSec, dLat, dLonWest);
  return false;
}

bool TDatumFileNTV2::applyForward(TCoord& position) const {
  const double latSec = position.lat * kSecondsPerDegree;
  const double lonWestSec = position.lon * -kSecondsPerDegree;
  double dLat = 0, dLon = 0;
  if (!shiftSeconds(latSec, lonWestSec, dLat, dLon) || !std::isfinite(dLat) || !std::isfinite(dLon)) return false;
  position.lat = (latSec + dLat) / kSecondsPerDegree;
  position.lon = (lonWestSec + dLon) / -kSecondsPerDegree;
  return true;
}

// Fixed-point iteration: find p with forward(p) = target, updating p by the residual. Grid shifts
// vary by far less than one part in a thousand per cell, so each step gains about three digits.
bool TDatumFileNTV2::applyReverse(TCoord& position) const {
  const double targetLat = position.lat * kSecondsPerDegree;
  const double targetLonW = position.lon * -kSecondsPerDegree;
  const double toleranceSec = kReverseToleranceDeg * kSecondsPerDegree;
  double lat = targetLat, lonW = targetLonW;
  for (int i = 0; i < kMaxReverseIterations; ++i) {
    double dLat = 0, dLon = 0;
    if (!shiftSeconds(lat, lonW, dLat, dLon)) return false;
    const double errLat = lat + dLat - targetLat;
    const double errLon = lonW + dLon - targetLonW;
    lat -= errLat;
    lonW -= errLon;
    if (!std::isfinite(lat) || !std::isfinite(lonW)) return false;
    if (std::fabs(errLat) < toleranceSec && std::fabs(errLon) < toleranceSec) {
      position.lat = lat / kSecondsPerDegree;
      position.lon = lonW / -kSecondsPerDegree;
      return true;
    }
  }
  return false;
}

}  // namespace pixtrail
