// Compiles the reviewable datum table (datums.csv) into the binary file the program loads
// (datumsb.dat, or a datumsbp.dat-style file of user rows: both share one layout).
// Usage: pixtrail_make_datums IN.csv OUT.dat

#include <array>
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>

#include "coords/TListaDatums.hpp"
#include "core/SafeFile.hpp"
#include "core/text.hpp"

namespace {

using namespace pixtrail;

constexpr std::array<std::string_view, 11> kColumns = {
    "name", "device_number", "ellipsoid", "a", "inverse_flattening", "dx", "dy", "dz",
    "alternative_names", "ecw_name", "source"};

bool fail(const std::string& text) {
  std::fprintf(stderr, "pixtrail_make_datums: %s\n", text.c_str());
  return false;
}

bool parseRow(const std::vector<std::string_view>& f, TDatum& d, std::string& why) {
  const auto number = [&](std::string_view text, double& out) {
    const auto v = parseDouble(text);
    if (v) out = *v;
    return v.has_value();
  };
  const auto device = parseInteger(f[1]);
  if (!device || *device < INT32_MIN || *device > INT32_MAX) return (why = "bad device_number"), false;
  d.name = utf8ToLatin1(trim(f[0]));
  d.deviceDatumNumber = static_cast<std::int32_t>(*device);
  if (!number(f[3], d.a) || !number(f[4], d.inverseFlattening) || !number(f[5], d.dX) ||
      !number(f[6], d.dY) || !number(f[7], d.dZ))
    return (why = "bad number"), false;
  if (d.name.empty() || !(d.a > 0) || !(d.inverseFlattening > 0)) return (why = "bad name or ellipsoid"), false;
  d.alternativeNames = utf8ToLatin1(trim(f[8]));
  d.ecwName = utf8ToLatin1(trim(f[9]));
  return true;
}

bool compile(const std::string& inPath, const std::string& outPath) {
  std::string text, message;
  if (!readWholeFile(inPath, text, message)) return fail(message);
  TListaDatums table;
  std::istringstream lines(text);
  std::string line;
  bool headerSeen = false;
  for (int lineNo = 1; std::getline(lines, line); ++lineNo) {
    const std::string_view l = trim(line);
    if (l.empty() || l.front() == '#') continue;
    const auto fields = splitFields(l, ',');
    const std::string where = inPath + ":" + std::to_string(lineNo) + ": ";
    if (fields.size() != kColumns.size()) return fail(where + "expected " + std::to_string(kColumns.size()) + " fields");
    if (!headerSeen) {
      for (std::size_t i = 0; i < kColumns.size(); ++i)
        if (trim(fields[i]) != kColumns[i]) return fail(where + "header must name the columns in order");
      headerSeen = true;
      continue;
    }
    TDatum d;
    std::string why;
    if (!parseRow(fields, d, why)) return fail(where + why);
    if (table.size() == 0 && (d.a != 6378137.0 || d.dX != 0 || d.dY != 0 || d.dZ != 0))
      return fail(where + "row 0 must be WGS 84 with zero shifts");
    if (table.findByName(d.name) >= 0) return fail(where + "duplicate name " + d.name);
    table.appendDatum(std::move(d));
  }
  if (table.size() > TListaDatums::kMaxRows) return fail("more rows than a datum file may hold");
  if (!writeFileSafely(outPath, table.encodeRows(0), SafeWriteOptions{}, message)) return fail(message);
  std::printf("%s: %d datums\n", outPath.c_str(), table.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: pixtrail_make_datums IN.csv OUT.dat\n");
    return 2;
  }
  return compile(argv[1], argv[2]) ? 0 : 1;
}
