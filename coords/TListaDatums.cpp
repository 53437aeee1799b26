// The datum table: loading and saving its binary files, lookup by name, and the choice between
// an NTv2 grid and the Molodensky shift (coords/molodensky_shift.cpp) for a change of datum.
// A latitude or longitude that is not a number fails like w < 0 instead of spreading NaN (with a
// real ellipsoid e^2 <= 1 and 0 <= sin(phi*phi) <= 1 up to the pole, so w < 0 itself cannot happen).

#include "coords/TListaDatums.hpp"

#include <algorithm>
#include <cmath>

#include "coords/molodensky_shift.hpp"
#include "core/SafeFile.hpp"
#include "core/byte_order.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {

namespace {

constexpr double kPoleLimitDeg = 89.9999;       // conversions leave the poles alone
constexpr double kPointPoleLimitDeg = 89.9;     // point-level changes stop a little earlier
constexpr std::size_t kInitialCapacity = 120;
constexpr std::string_view kCarroInfMessage =
    "Transforma_Grados_Datum: error en carro_inf, Transforma_Grados_Datum";

MolodenskyParams shiftParams(const TDatum& src, const TDatum& dst) {
  return molodenskyParams(src.a, src.f, src.dX, src.dY, src.dZ, dst.a, dst.f, dst.dX, dst.dY, dst.dZ);
}

struct Alias {
  std::string_view from, to;
};
// Names other programs write for two datums that lookup must always find.
constexpr Alias kAliases[] = {
    {"Europeo 1979", "European 1979"},
    {"WGS84", "WGS 84"},
    {"WGS-84", "WGS 84"},
    {"World Geodetic System 1984", "WGS 84"},
};
constexpr std::string_view kAutoShift = "Auto Shift";

class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}
  bool i32(std::int32_t& v) {
    if (!has(4)) return false;
    v = readI32(at(), ByteOrder::little);
    pos_ += 4;
    return true;
  }
  bool f64(double& v) {
    if (!has(8)) return false;
    v = readF64(at(), ByteOrder::little);
    pos_ += 8;
    return true;
  }
  bool text(std::string& v) {
    if (!has(2)) return false;
    const std::uint16_t n = readU16(at(), ByteOrder::little);
    pos_ += 2;
    if (!has(n)) return false;
    v.assign(bytes_.substr(pos_, n));
    pos_ += n;
    return true;
  }

 private:
  bool has(std::size_t n) const { return bytes_.size() - pos_ >= n; }
  const unsigned char* at() const { return reinterpret_cast<const unsigned char*>(bytes_.data()) + pos_; }
  std::string_view bytes_;
  std::size_t pos_ = 0;
};

void appendText(std::string& out, std::string_view text) {
  // Strings longer than the 16-bit length cannot be stored; they are cut.
  const std::size_t n = std::min<std::size_t>(text.size(), 0xFFFF);
  appendU16(out, static_cast<std::uint16_t>(n), ByteOrder::little);
  out.append(text.substr(0, n));
}

std::string normalisedName(std::string_view name) {
  std::string n(trim(name));
  std::replace(n.begin(), n.end(), '_', ' ');
  for (const Alias& alias : kAliases)
    if (equalsIgnoreCase(n, alias.from)) return std::string(alias.to);
  return n;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// TListaDatums: files

TListaDatums::TListaDatums() { rows_.reserve(kInitialCapacity); }

bool TListaDatums::decodeRows(std::string_view bytes, std::vector<TDatum>& rows, std::string& message) {
  Reader in(bytes);
  std::int32_t version = 0, count = 0;
  if (!in.i32(version) || !in.i32(count)) {
    appendMessage(message, "Error reading file DATUMSB.DAT ");
    return false;
  }
  if (version >= 3 || version < 0) {
    appendMessage(message, "Version error in datumsb.dat");
    return false;
  }
  if (count < 0 || count > kMaxRows) {
    appendMessage(message, "n error in datumsb.dat");
    return false;
  }
  std::vector<TDatum> read;
  read.reserve(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    TDatum d;
    bool ok = in.text(d.name) && in.i32(d.deviceDatumNumber) && in.f64(d.inverseFlattening) &&
              in.f64(d.a) && in.f64(d.dX) && in.f64(d.dY) && in.f64(d.dZ) && in.text(d.alternativeNames);
    if (ok && version >= 2) ok = in.text(d.ecwName);
    if (!ok) {
      appendMessage(message, "Error reading file DATUMSB.DAT ");
      return false;
    }
    // A row deriveShape would refuse is a damaged file, not a programming error: the load fails with
    // its own message instead of stopping the program.
    if (!(d.inverseFlattening > 0)) {
      appendMessage(message, kDatumShapeError);
      return false;
    }
    if (!std::isfinite(d.a) || !(d.a > 0)) {
      appendMessage(message, "Error reading file DATUMSB.DAT ");
      return false;
    }
    d.deriveShape();
    read.push_back(std::move(d));
  }
  for (TDatum& d : read) rows.push_back(std::move(d));
  return true;
}

std::string TListaDatums::encodeRows(int first) const {
  std::string out;
  appendI32(out, kFileVersion, ByteOrder::little);
  appendI32(out, size() - first, ByteOrder::little);
  for (int i = first; i < size(); ++i) {
    const TDatum& d = rows_[static_cast<std::size_t>(i)];
    appendText(out, d.name);
    appendI32(out, d.deviceDatumNumber, ByteOrder::little);
    appendF64(out, d.inverseFlattening, ByteOrder::little);
    appendF64(out, d.a, ByteOrder::little);
    appendF64(out, d.dX, ByteOrder::little);
    appendF64(out, d.dY, ByteOrder::little);
    appendF64(out, d.dZ, ByteOrder::little);
    appendText(out, d.alternativeNames);
    appendText(out, d.ecwName);
  }
  return out;
}

bool TListaDatums::load(const std::filesystem::path& dataDir, std::string& message) {
  std::vector<TDatum> rows;
  std::string bytes;
  if (!readWholeFile(dataDir / kSystemFileName, bytes, message)) return false;
  if (!decodeRows(bytes, rows, message)) return false;
  const int systemRows = static_cast<int>(rows.size());
  const std::filesystem::path userFile = dataDir / kUserFileName;
  std::error_code ec;
  userFileDamaged_ = false;
  if (std::filesystem::exists(userFile, ec)) {
    // A damaged user file costs only the user's rows; it is then never saved over (save refuses),
    // so that the user can mend it or take the datums from it by hand.
    std::vector<TDatum> userRows;
    std::string why;
    if (readWholeFile(userFile, bytes, why) && decodeRows(bytes, userRows, why)) {
      for (TDatum& d : userRows) rows.push_back(std::move(d));
    } else {
      userFileDamaged_ = true;
      appendMessage(message, "Error reading " + userFile.string() + ": the datums added there are not loaded (" +
                                 why + ")");
    }
  }
  dataDir_ = dataDir;
  rows_.clear();
  for (TDatum& d : rows) rows_.emplace(std::move(d));
  systemRows_ = systemRows;
  if (workingDatum_ >= size()) workingDatum_ = kDatumWgs84;
  attachGrids(message);
  return true;
}

void TListaDatums::attachGrids(std::string& message) {
  const std::filesystem::path folder = dataDir_ / kGridFolderName;
  std::error_code ec;
  std::vector<std::filesystem::path> files;
  for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
    if (equalsIgnoreCase(it->path().extension().string(), ".gsb")) files.push_back(it->path());
  // Directory order is arbitrary; name order makes "a later grid replaces an earlier one" stable.
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    auto grid = std::make_unique<TDatumFileNTV2>(file);
    if (!grid->readHeader(message)) continue;
    // Loaded now rather than at the first shift, so that damage is reported where it can be seen;
    // a damaged grid stays attached (and listed as unusable) but is never applied.
    grid->subGrids();
    if (!grid->usable())
      appendMessage(message, "Grid file " + file.filename().string() + " is damaged and is not used");
    const int source = findByName(grid->sourceName());
    if (source >= 0 && findByName(grid->targetName()) == kDatumWgs84)
      rows_[static_cast<std::size_t>(source)].grid = std::move(grid);
  }
}

bool TListaDatums::save(std::string& message) const {
  const bool all = maintenance_;
  if (!all && userFileDamaged_) {
    appendMessage(message, (dataDir_ / kUserFileName).string() + " could not be read; it is not written over");
    return false;
  }
  const std::filesystem::path target = dataDir_ / (all ? kSystemFileName : kUserFileName);
  SafeWriteOptions options;
  options.keepBackup = true;
  return writeFileSafely(target, encodeRows(all ? 0 : systemRows_), options, message);
}

// ---------------------------------------------------------------------------------------------
// TListaDatums: rows and lookup

int TListaDatums::resolve(int index) const {
  const int resolved = index == kWorkingDatum ? workingDatum_ : index;
  if (resolved < 0 || resolved >= size()) fatalError("Datum index outside the table");
  return resolved;
}

const TDatum& TListaDatums::datum(int index) const { return rows_[static_cast<std::size_t>(resolve(index))]; }
TDatum& TListaDatums::datum(int index) { return rows_[static_cast<std::size_t>(resolve(index))]; }

void TListaDatums::setWorkingDatum(int index) { workingDatum_ = resolve(index); }

int TListaDatums::findByName(std::string_view name) const {
  if (name.empty()) return -1;
  const std::string n = normalisedName(name);
  if (n.starts_with(kAutoShift)) return workingDatum_;
  for (int i = 0; i < size(); ++i)
    if (equalsIgnoreCase(rows_[static_cast<std::size_t>(i)].name, n)) return i;
  for (int i = 0; i < size(); ++i)
    for (const std::string& alt : rows_[static_cast<std::size_t>(i)].alternativeNameList)
      if (equalsIgnoreCase(alt, n)) return i;
  for (int i = 0; i < size(); ++i) {
    const std::string& ecw = rows_[static_cast<std::size_t>(i)].ecwName;
    if (!ecw.empty() && equalsIgnoreCase(ecw, n)) return i;
  }
  return -1;
}

int TListaDatums::findByWktName(std::string_view name) const {
  std::string_view n = name;
  if (n.starts_with("GCS_")) n.remove_prefix(4);
  if (n.starts_with("Datum_")) n.remove_prefix(6);
  std::string spaced(n);
  std::replace(spaced.begin(), spaced.end(), '_', ' ');
  return findByName(spaced);
}

int TListaDatums::findByDeviceNumber(std::int32_t number) const {
  for (int i = 0; i < size(); ++i)
    if (rows_[static_cast<std::size_t>(i)].deviceDatumNumber == number) return i;
  return -1;
}

std::string TListaDatums::shortName(int index) const {
  const TDatum& d = datum(index);
  return d.ecwName.empty() ? d.name.substr(0, 15) : d.ecwName;
}

int TListaDatums::appendDatum(TDatum row) {
  row.deriveShape();
  rows_.emplace(std::move(row));
  return size() - 1;
}

int TListaDatums::addDatum(std::string_view name) {
  TDatum row(datum(kDatumWgs84));
  row.name = std::string(name);
  return appendDatum(std::move(row));
}

bool TListaDatums::deleteDatum(int index, std::string& message) {
  const int i = resolve(index);
  if (i == kDatumWgs84) {
    appendMessage(message, "WGS 84 cannot be deleted");
    return false;
  }
  rows_.erase(static_cast<std::size_t>(i));
  if (i < systemRows_) --systemRows_;
  if (workingDatum_ == i) workingDatum_ = kDatumWgs84;
  else if (workingDatum_ > i) --workingDatum_;
  return true;
}

// ---------------------------------------------------------------------------------------------
// Shifts

bool TListaDatums::Transforma_Grados_Datum(TCoord& position, int fromIndex, int toIndex,
                                           std::string& message) const {
  const int from = resolve(fromIndex);
  const int to = resolve(toIndex);
  if (from == to) return true;
  if (std::fabs(position.lat) > kPoleLimitDeg) return true;

  const TDatum& src = rows_[static_cast<std::size_t>(from)];
  const TDatum& dst = rows_[static_cast<std::size_t>(to)];
  if (src.grid && to == kDatumWgs84 && src.grid->applyForward(position)) return true;
  if (dst.grid && from == kDatumWgs84 && dst.grid->applyReverse(position)) return true;

  if (!molodenskyShift(shiftParams(src, dst), position)) {
    appendMessage(message, kCarroInfMessage);
    return false;
  }
  return true;
}

void TListaDatums::changePointDatum(TCoord& position, int fromIndex, int toIndex) const {
  if (resolve(fromIndex) == resolve(toIndex) || std::fabs(position.lat) > kPointPoleLimitDeg) return;
  TCoord shifted = position;
  std::string ignored;
  if (Transforma_Grados_Datum(shifted, fromIndex, toIndex, ignored)) position = shifted;
}

int TListaDatums::shiftMany(std::span<TCoord> positions, int fromIndex, int toIndex, double poleLimitDeg,
                            std::string& message) const {
  const int from = resolve(fromIndex);
  const int to = resolve(toIndex);
  if (from == to) return 0;
  const TDatum& src = rows_[static_cast<std::size_t>(from)];
  const TDatum& dst = rows_[static_cast<std::size_t>(to)];
  int failed = 0;
  std::string each;  // the same text for every failure; it is given once
  const auto one = [&](TCoord& p) {
    if (std::fabs(p.lat) > poleLimitDeg) return;
    if (!Transforma_Grados_Datum(p, from, to, each)) ++failed;
  };
  if ((src.grid && to == kDatumWgs84) || (dst.grid && from == kDatumWgs84)) {
    // A grid decides point by point whether it applies.
    for (TCoord& p : positions) one(p);
  } else {
    // Runs of ordinary points go through the many-at-once kernel; the rest one by one.
    const MolodenskyParams params = shiftParams(src, dst);
    const auto plain = [&](const TCoord& p) {
      return std::isfinite(p.lon) && std::isfinite(p.lat) && std::fabs(p.lat) <= poleLimitDeg;
    };
    for (std::size_t i = 0; i < positions.size();) {
      std::size_t end = i;
      while (end < positions.size() && plain(positions[end])) ++end;
      if (end > i) {
        failed += molodenskyShiftMany(params, positions.subspan(i, end - i));
        i = end;
      } else {
        one(positions[i++]);
      }
    }
  }
  if (failed > 0) appendMessage(message, kCarroInfMessage);
  return failed;
}

int TListaDatums::Transforma_Grados_Datum(std::span<TCoord> positions, int fromIndex, int toIndex,
                                          std::string& message) const {
  return shiftMany(positions, fromIndex, toIndex, kPoleLimitDeg, message);
}

void TListaDatums::changePointsDatum(std::span<TCoord> positions, int fromIndex, int toIndex) const {
  std::string ignored;
  shiftMany(positions, fromIndex, toIndex, kPointPoleLimitDeg, ignored);
}

TListaDatums& datumTable() {
  static TListaDatums table;
  return table;
}

}  // namespace pixtrail
