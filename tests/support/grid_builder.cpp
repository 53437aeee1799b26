#include "tests/support/grid_builder.hpp"

#include <cmath>

namespace pixtrail::test {

namespace {

void keyword(std::string& out, const std::string& key) {
  std::string k = key;
  k.resize(8, ' ');
  out += k;
}
void textRecord(std::string& out, const std::string& key, const std::string& value) {
  keyword(out, key);
  std::string v = value;
  v.resize(8, ' ');
  out += v;
}
void intRecord(std::string& out, const std::string& key, int value, ByteOrder order) {
  keyword(out, key);
  appendI32(out, value, order);
  appendI32(out, 0, order);
}
void realRecord(std::string& out, const std::string& key, double value, ByteOrder order) {
  keyword(out, key);
  appendF64(out, value, order);
}

}  // namespace

std::string buildNtv2Grid(const GridSpec& spec) {
  const ByteOrder o = spec.order;
  std::string out;
  intRecord(out, "NUM_OREC", 11, o);
  intRecord(out, "NUM_SREC", 11, o);
  intRecord(out, "NUM_FILE", static_cast<int>(spec.subGrids.size()), o);
  textRecord(out, "GS_TYPE", "SECONDS");
  textRecord(out, "VERSION", "NTv2.0");
  textRecord(out, "SYSTEM_F", spec.systemF);
  textRecord(out, "SYSTEM_T", spec.systemT);
  realRecord(out, "MAJOR_F", 6378137.0, o);
  realRecord(out, "MINOR_F", 6356752.314, o);
  realRecord(out, "MAJOR_T", 6378137.0, o);
  realRecord(out, "MINOR_T", 6356752.314, o);
  for (const SubGridSpec& g : spec.subGrids) {
    const int rows = static_cast<int>(std::lround((g.nLat - g.sLat) / g.latInc)) + 1;
    const int cols = static_cast<int>(std::lround((g.wLong - g.eLong) / g.longInc)) + 1;
    textRecord(out, "SUB_NAME", g.name);
    textRecord(out, "PARENT", g.parent);
    textRecord(out, "CREATED", "20240101");
    textRecord(out, "UPDATED", "20240101");
    realRecord(out, "S_LAT", g.sLat, o);
    realRecord(out, "N_LAT", g.nLat, o);
    realRecord(out, "E_LONG", g.eLong, o);
    realRecord(out, "W_LONG", g.wLong, o);
    realRecord(out, "LAT_INC", g.latInc, o);
    realRecord(out, "LONG_INC", g.longInc, o);
    intRecord(out, "GS_COUNT", rows * cols, o);
    for (int r = 0; r < rows; ++r)
      for (int c = 0; c < cols; ++c) {
        float dLat = 0, dLon = 0;
        g.shift(g.sLat + r * g.latInc, g.eLong + c * g.longInc, dLat, dLon);
        appendF32(out, dLat, o);
        appendF32(out, dLon, o);
        appendF32(out, 0.01f, o);
        appendF32(out, 0.01f, o);
      }
  }
  intRecord(out, "END", 0, o);
  return out;
}

}  // namespace pixtrail::test
