#pragma once
// NTv2 correction grids: a grid file leads from one datum (SYSTEM_F) to another (SYSTEM_T) by
// latitude and longitude shifts given at the nodes of one or more sub-grids.
// Method: bilinear interpolation of the four nodes around the point, as the published NTv2 format
// (Geodetic Survey of Canada, NTv2 developer's guide, 1992) defines it. The reverse direction is
// found by fixed-point iteration to kReverseToleranceDeg. Accuracy: forward shifts agree with
// PROJ's cs2cs on the same grid to 1e-8 degrees (tests/coords/TDatumFileNTV2_oracle_test.cpp).

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "core/TCoord.hpp"

namespace pixtrail {

// One sub-grid. Bounds and steps are in seconds of arc, longitude positive west; nodes run from
// south to north and, within a row, from east to west.
struct TDatumSubRejilla {
  std::string name, parent, created, updated;
  double sLat = 0, nLat = 0, eLong = 0, wLong = 0, latInc = 0, longInc = 0;
  std::int32_t count = 0;
  int rows = 0, columns = 0;
  // Four floats per node: latitude shift, longitude shift (seconds, positive north and west),
  // and their accuracies.
  std::vector<float> nodes;

  bool containsSeconds(double latSec, double lonWestSec) const;
  // Interpolated shifts at the point; false when the cell around it is not inside the sub-grid.
  bool shiftAt(double latSec, double lonWestSec, double& dLatSec, double& dLonWestSec) const;
};

class TDatumFileNTV2 {
 public:
  // Reverse use stops when the forward image of the estimate is this close to the target
  // (about 1 micrometre on the ground): far finer than any grid's own accuracy and than the
  // 1e-9 degree round trip the tests ask for, yet well above rounding noise in seconds.
  static constexpr double kReverseToleranceDeg = 1e-11;
  static constexpr int kMaxReverseIterations = 20;

  enum class State { empty, headerRead, subGridsLoaded, unusable };

  explicit TDatumFileNTV2(std::filesystem::path file);
  // A grid held in memory instead of a file (generated grids, fuzzing).
  static std::unique_ptr<TDatumFileNTV2> fromBytes(std::string bytes, std::string name = "memory.gsb");

  TDatumFileNTV2(const TDatumFileNTV2&) = delete;
  TDatumFileNTV2& operator=(const TDatumFileNTV2&) = delete;

  // Reads the overview header. False with "Error opening NAME" when the file cannot be opened;
  // a header that is not NTv2 marks the object unusable (and also returns false).
  bool readHeader(std::string& message);

  // Shift a position (degrees) from the source datum to the target (forward) or back. False
  // when the point lies outside every sub-grid or the grid is unusable; the position is then
  // untouched. The first call loads the sub-grids.
  bool applyForward(TCoord& position) const;
  bool applyReverse(TCoord& position) const;

  State state() const;
  bool usable() const { return state() != State::unusable; }
  const std::filesystem::path& file() const { return file_; }
  const std::string& sourceName() const { return systemF_; }
  const std::string& targetName() const { return systemT_; }
  const std::string& gsType() const { return gsType_; }
  const std::string& version() const { return version_; }
  std::int32_t subGridCount() const { return numFile_; }
  // Loads the sub-grids if needed; empty when unusable.
  const std::vector<TDatumSubRejilla>& subGrids() const;

 private:
  bool readBytes(std::size_t offset, std::size_t size, std::string& out) const;
  void loadSubGrids() const;
  bool shiftSeconds(double latSec, double lonWestSec, double& dLat, double& dLonWest) const;

  std::filesystem::path file_;
  bool inMemory_ = false;
  std::string memory_;
  bool bigEndian_ = false;
  std::int32_t numORec_ = 0, numSRec_ = 0, numFile_ = 0;
  std::string gsType_, version_, systemF_, systemT_;
  double unitFactor_ = 3600.0;

  // The lazy load happens under call_once so that a const grid may serve several threads.
  mutable std::once_flag loadOnce_;
  mutable State state_ = State::empty;
  mutable std::vector<TDatumSubRejilla> subGrids_;
};

}  // namespace pixtrail
