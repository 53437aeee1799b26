#pragma once
// The datum table: one row per geodetic datum, each with its own ellipsoid and its geocentric
// shift to WGS 84 (row 0, the hub of every shift), optionally an NTv2 grid to WGS 84.
// Method: the standard Molodensky shift (DMA TR 8350.2, 3rd ed., 1997, section 7) with height 0,
// carrying the table's own w = 1 - e^2 sin(phi*phi) term on purpose (coords/molodensky_shift.hpp);
// NTv2 grids where attached.
// Accuracy: at the equator the shift equals the hand-reduced formula to 1e-12 degrees
// (tests/coords/TListaDatums_test.cpp); every row stays within 3e-5 degrees of PROJ's Helmert with
// the same three parameters (tests/coords/datum_table_oracle_test.cpp).

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "coords/TDatum.hpp"
#include "coords/TDatumFileNTV2.hpp"
#include "core/TCoord.hpp"
#include "core/VectorP.hpp"

namespace pixtrail {

class TListaDatums {
 public:
  static constexpr const char* kSystemFileName = "datumsb.dat";
  static constexpr const char* kUserFileName = "datumsbp.dat";
  static constexpr const char* kGridFolderName = "datumgrids";
  static constexpr std::int32_t kFileVersion = 2;
  static constexpr std::int32_t kMaxRows = 1000;

  TListaDatums();

  // Reads datumsb.dat, then datumsbp.dat if present, then attaches datumgrids/*.gsb. Replaces
  // what the table held. False (with the system's message) when datumsb.dat is unusable.
  bool load(const std::filesystem::path& dataDir, std::string& message);
  const std::filesystem::path& dataDir() const { return dataDir_; }

  int size() const { return static_cast<int>(rows_.size()); }
  int systemRowCount() const { return systemRows_; }
  // -1 means the working datum; any index outside the table stops the program.
  const TDatum& datum(int index) const;
  TDatum& datum(int index);
  int resolve(int index) const;

  int workingDatum() const { return workingDatum_; }
  void setWorkingDatum(int index);

  int findByName(std::string_view name) const;
  int findByWktName(std::string_view name) const;
  int findByDeviceNumber(std::int32_t number) const;
  // The name the ECW raster library knows: the ECW name, else the name cut to 15 characters.
  std::string shortName(int index) const;

  // Converts a position (degrees) from one datum to another in place; false with a message and
  // the position untouched when the shift cannot be computed.
  bool Transforma_Grados_Datum(TCoord& position, int fromIndex, int toIndex, std::string& message) const;
  // Point-level change used by track points and waypoints: also leaves |lat| > 89.9 alone and
  // keeps the point as it was when the shift fails.
  void changePointDatum(TCoord& position, int fromIndex, int toIndex) const;

  // The same two operations over many positions at once (a whole track): each position ends as
  // the one-position call leaves it, to 1e-12 degrees. Returns the number that failed; one
  // message is appended however many fail.
  int Transforma_Grados_Datum(std::span<TCoord> positions, int fromIndex, int toIndex, std::string& message) const;
  void changePointsDatum(std::span<TCoord> positions, int fromIndex, int toIndex) const;

  // A new user row: a copy of row 0 under `name`, appended after every other row. Returns its index.
  int addDatum(std::string_view name = "New Datum");
  // Removes a row; later rows move down. Row 0 (the hub of every shift) cannot be removed.
  bool deleteDatum(int index, std::string& message);
  // Appends a finished row (used when building the shipped table). Returns its index.
  int appendDatum(TDatum row);

  // The program-wide maintenance flag: with it set, save writes every row to datumsb.dat;
  // without it only the user's rows go to datumsbp.dat.
  void setMaintenanceMode(bool on) { maintenance_ = on; }
  bool maintenanceMode() const { return maintenance_; }
  bool save(std::string& message) const;

  // The binary file image (version 2) of rows [first, end).
  std::string encodeRows(int first) const;
  // Parses a datum file image (version 0, 1 or 2); on success appends its rows to `rows`.
  static bool decodeRows(std::string_view bytes, std::vector<TDatum>& rows, std::string& message);

 private:
  std::filesystem::path dataDir_;
  VectorP<TDatum> rows_;
  int systemRows_ = 0;
  int workingDatum_ = kDatumWgs84;
  bool maintenance_ = false;
  bool userFileDamaged_ = false;  // datumsbp.dat did not read: its rows are missing, never save over it

  void attachGrids(std::string& message);
  int shiftMany(std::span<TCoord> positions, int fromIndex, int toIndex, double poleLimitDeg,
                std::string& message) const;
};

// The one program-wide datum table.
TListaDatums& datumTable();

}  // namespace pixtrail
