#include "devices/garmin_records.hpp"

#include <cmath>

#include "core/angles.hpp"
#include "core/byte_order.hpp"
#include "devices/TErrorPr.hpp"
#include "devices/TGarminIcons.hpp"

namespace pixtrail {

namespace {

constexpr ByteOrder kLe = ByteOrder::little;
constexpr std::size_t kMaxData = 255;

class RecordReader {
 public:
  RecordReader(std::string_view data, int type) : data_(data), type_(type) {}
  const unsigned char* take(std::size_t n) {
    if (data_.size() - at_ < n) throw TErrorPr("Paquete erroneo, demasiado corto", "D" + std::to_string(type_));
    const auto* p = reinterpret_cast<const unsigned char*>(data_.data() + at_);
    at_ += n;
    return p;
  }
  std::uint8_t u8() { return *take(1); }
  std::uint16_t u16() { return readU16(take(2), kLe); }
  std::int16_t i16() { return static_cast<std::int16_t>(u16()); }
  std::uint32_t u32() { return readU32(take(4), kLe); }
  std::int32_t i32() { return readI32(take(4), kLe); }
  float f32() { return readF32(take(4), kLe); }
  double f64() { return readF64(take(8), kLe); }
  std::string fixed(std::size_t n) {
    const auto* p = take(n);
    return textFromGarminFixed(std::string_view(reinterpret_cast<const char*>(p), n));
  }
  void skip(std::size_t n) { take(n); }
  std::string text() { return readGarminString(data_, at_); }
  void position(double& lat, double& lon) {
    lat = semicirclesToDegrees(i32());
    lon = semicirclesToDegrees(i32());
  }

 private:
  std::string_view data_;
  std::size_t at_ = 0;
  int type_;
};

class RecordWriter {
 public:
  void u8(unsigned v) { out_ += static_cast<char>(v & 0xFF); }
  void u16(unsigned v) { appendU16(out_, static_cast<std::uint16_t>(v), kLe); }
  void u32(std::uint32_t v) { appendU32(out_, v, kLe); }
  void i32(std::int32_t v) { appendI32(out_, v, kLe); }
  void f32(float v) { appendF32(out_, v, kLe); }
  void f64(double v) { appendF64(out_, v, kLe); }
  void fixed(std::string_view text, std::size_t n) { out_ += garminFixedText(text, n); }
  void fill(std::size_t n, char value) { out_.append(n, value); }
  void raw(std::string_view bytes) { out_.append(bytes); }
  void position(double lat, double lon) {
    i32(degreesToSemicircles(lat));
    i32(degreesToSemicircles(lon));
  }
  std::size_t size() const { return out_.size(); }
  std::string take() { return std::move(out_); }

 private:
  std::string out_;
};

float altitudeFromWire(float v) { return (std::isfinite(v) && std::fabs(v) < 1.0e24f) ? v : kUnknownAltitude; }
float altitudeToWire(float v) { return hasAltitude(v) ? v : kGarminNoFloat; }

std::int32_t smallSymbolToNumber(unsigned small) {
  const TGarminIcon* icon = TGarminIcons::bySecondNumber(static_cast<std::int32_t>(small));
  return icon ? icon->number : TGarminIcons::kDefaultNumber;
}
unsigned numberToSmallSymbol(std::int32_t number) {
  const TGarminIcon* icon = TGarminIcons::byNumber(number);
  return icon && icon->secondNumber >= 0 ? static_cast<unsigned>(icon->secondNumber) : 0;
}

// The subclass of a user waypoint: six zero bytes, then twelve 0xFF.
void userSubclass(RecordWriter& w) {
  w.fill(6, '\0');
  w.fill(12, '\xFF');
}

// Ident and comment as the variable texts of the newer types, with the empty address and
// cross-road texts after the block.
void variableTexts(RecordWriter& w, const GarminWaypoint& p) {
  w.raw(Str_a_GarminVarios(p.ident, p.comment, kMaxData - w.size() - 2));
  w.fill(2, '\0');
}

}  // namespace

GarminWaypoint decodeWaypoint(int type, std::string_view data) {
  RecordReader r(data, type);
  GarminWaypoint w;
  switch (type) {
    case 100: case 101: case 102: case 103: case 104: case 107:
      w.ident = r.fixed(6);
      r.position(w.lat, w.lon);
      r.skip(4);
      w.comment = r.fixed(40);
      if (type == 101) {
        w.proximityM = r.f32();
        w.symbol = r.u8();
      } else if (type == 102) {
        w.proximityM = r.f32();
        w.symbol = r.u16();
      } else if (type == 103) {
        w.symbol = smallSymbolToNumber(r.u8());
        w.display = r.u8();
      } else if (type == 104) {
        w.proximityM = r.f32();
        w.symbol = r.u16();
        w.display = r.u8();
      } else if (type == 107) {
        w.symbol = smallSymbolToNumber(r.u8());
        w.display = r.u8();
        w.proximityM = r.f32();
        w.colour = r.u8();
      }
      return w;
    case 108: case 109: case 110: {
      if (type != 108) r.skip(1);  // data type
      r.skip(1);                   // class
      w.colour = r.u8();
      if (type == 108) w.display = r.u8();
      r.skip(1);  // attributes
      w.symbol = r.u16();
      r.skip(18);
      r.position(w.lat, w.lon);
      w.altM = altitudeFromWire(r.f32());
      w.depthM = altitudeFromWire(r.f32());
      w.proximityM = r.f32();
      if (w.proximityM >= 1.0e24f) w.proximityM = 0.0f;
      r.skip(4);  // state, country
      if (type != 108) {
        w.display = static_cast<std::uint8_t>((w.colour >> 5) & 3);
        w.colour &= 0x1F;
        r.skip(4);  // ete
      }
      if (type == 110) {
        r.skip(4);  // temperature
        w.time = r.u32();
        r.skip(2);  // category
      }
      w.ident = r.text();
      w.comment = r.text();
      return w;
    }
    case 150:
      w.ident = r.fixed(6);
      r.skip(3);
      r.position(w.lat, w.lon);
      w.altM = r.i16();
      r.skip(24 + 2 + 30);
      w.comment = r.fixed(40);
      return w;
    case 151: case 152: case 154: case 155:
      w.ident = r.fixed(6);
      r.position(w.lat, w.lon);
      r.skip(4);
      w.comment = r.fixed(40);
      w.proximityM = r.f32();
      r.skip(30 + 24 + 2);
      w.altM = r.i16();
      r.skip(2 + 1 + 1);
      if (type >= 154) w.symbol = r.u16();
      if (type == 155) w.display = r.u8();
      return w;
    default:
      throw TErrorPr("Formato de Balizas desconocido: D" + std::to_string(type));
  }
}

std::string encodeWaypoint(int type, const GarminWaypoint& p) {
  RecordWriter w;
  const float proximity = p.proximityM > 0 ? p.proximityM : 0.0f;
  switch (type) {
    case 100: case 101: case 102: case 103: case 104: case 107:
      w.fixed(p.ident, 6);
      w.position(p.lat, p.lon);
      w.u32(0);
      w.fixed(p.comment, 40);
      if (type == 101) {
        w.f32(proximity);
        w.u8(static_cast<unsigned>(p.symbol));
      } else if (type == 102) {
        w.f32(proximity);
        w.u16(static_cast<unsigned>(p.symbol));
      } else if (type == 103) {
        w.u8(numberToSmallSymbol(p.symbol));
        w.u8(p.display);
      } else if (type == 104) {
        w.f32(proximity);
        w.u16(static_cast<unsigned>(p.symbol));
        w.u8(p.display);
      } else if (type == 107) {
        w.u8(numberToSmallSymbol(p.symbol));
        w.u8(p.display);
        w.f32(proximity);
        w.u8(p.colour);
      }
      return w.take();
    case 108: case 109: case 110: {
      if (type != 108) w.u8(0x01);
      w.u8(0);  // user waypoint
      if (type == 108) {
        w.u8(p.colour);
        w.u8(p.display);
        w.u8(0x60);
      } else {
        w.u8(static_cast<unsigned>((p.display & 3) << 5) | (p.colour == 0xFF ? 0x1F : (p.colour & 0x1F)));
        w.u8(type == 109 ? 0x70 : 0x80);
      }
      w.u16(static_cast<unsigned>(p.symbol));
      userSubclass(w);
      w.position(p.lat, p.lon);
      w.f32(altitudeToWire(p.altM));
      w.f32(altitudeToWire(p.depthM));
      w.f32(proximity > 0 ? proximity : kGarminNoFloat);
      w.fill(4, ' ');  // state, country
      if (type != 108) w.u32(0xFFFFFFFF);  // ete
      if (type == 110) {
        w.f32(kGarminNoFloat);
        w.u32(p.time);
        w.u16(0);
      }
      variableTexts(w, p);
      return w.take();
    }
    case 150:
      w.fixed(p.ident, 6);
      w.fill(2, ' ');
      w.u8(4);  // user waypoint class of this type
      w.position(p.lat, p.lon);
      w.u16(static_cast<unsigned>(static_cast<std::int16_t>(hasAltitude(p.altM) ? std::lround(p.altM) : 0)));
      w.fill(24 + 2 + 30, ' ');
      w.fixed(p.comment, 40);
      return w.take();
    case 151: case 152: case 154: case 155:
      w.fixed(p.ident, 6);
      w.position(p.lat, p.lon);
      w.u32(0);
      w.fixed(p.comment, 40);
      w.f32(proximity);
      w.fill(30 + 24 + 2, ' ');
      w.u16(static_cast<unsigned>(static_cast<std::int16_t>(hasAltitude(p.altM) ? std::lround(p.altM) : 0)));
      w.fill(2, ' ');
      w.u8(0);
      w.u8(type == 151 ? 2 : 4);  // user waypoint class of these types
      if (type >= 154) w.u16(static_cast<unsigned>(p.symbol));
      if (type == 155) w.u8(p.display);
      return w.take();
    default:
      throw TErrorPr("Formato de Balizas desconocido");
  }
}

GarminRouteHeader decodeRouteHeader(int type, std::string_view data) {
  RecordReader r(data, type);
  GarminRouteHeader h;
  switch (type) {
    case 200: h.number = r.u8(); break;
    case 201: h.number = r.u8(); h.ident = r.fixed(20); break;
    case 202: h.ident = r.text(); break;
    default: throw TErrorPr("Error: estructura D20X desconocida", "D" + std::to_string(type));
  }
  return h;
}

std::string encodeRouteHeader(int type, const GarminRouteHeader& h) {
  RecordWriter w;
  switch (type) {
    case 200: w.u8(h.number); break;
    case 201: w.u8(h.number); w.fixed(h.ident, 20); break;
    case 202:
      if (h.ident.size() + 1 > kMaxData) throw TErrorPr("Error Rellenando D202");
      w.raw(h.ident);
      w.u8(0);
      break;
    default: throw TErrorPr("Error: estructura D2XX desconocida", "D" + std::to_string(type));
  }
  return w.take();
}

GarminRouteLink decodeRouteLink(int type, std::string_view data) {
  if (type != 210) throw TErrorPr("Estructura Garmin desconocida D" + std::to_string(type));
  RecordReader r(data, type);
  GarminRouteLink link;
  link.linkClass = r.u16();
  r.skip(18);
  link.ident = r.text();
  return link;
}

std::string encodeRouteLink(int type, const GarminRouteLink& link) {
  if (type != 210) throw TErrorPr("Estructura Garmin desconocida D" + std::to_string(type));
  RecordWriter w;
  w.u16(link.linkClass);
  w.fill(18, '\0');
  w.raw(link.ident.substr(0, kMaxData - 21));
  w.u8(0);
  return w.take();
}

GarminTrackPoint decodeTrackPoint(int type, std::string_view data) {
  if (type < 300 || type > 304) throw TErrorPr("Error: estructura D3XX desconocida D" + std::to_string(type));
  RecordReader r(data, type);
  GarminTrackPoint p;
  const std::int32_t lat = r.i32(), lon = r.i32();
  p.validPosition = lat != 0x7FFFFFFF && lon != 0x7FFFFFFF;
  p.lat = semicirclesToDegrees(lat);
  p.lon = semicirclesToDegrees(lon);
  p.time = r.u32();
  if (type == 300) {
    p.newTrack = r.u8() != 0;
    return p;
  }
  p.altM = altitudeFromWire(r.f32());
  if (type == 301 || type == 302) {
    p.depthM = altitudeFromWire(r.f32());
    if (type == 302) p.temperatureC = r.f32();
    p.newTrack = r.u8() != 0;
  } else if (type == 303) {
    p.heartRate = r.u8();
  } else {
    p.distanceM = r.f32();
    p.heartRate = r.u8();
    p.cadence = r.u8();
    r.skip(1);  // sensor flag
  }
  return p;
}

std::string encodeTrackPoint(int type, const GarminTrackPoint& p) {
  if (type < 300 || type > 304) throw TErrorPr("Error: estructura D3XX desconocida");
  RecordWriter w;
  w.position(p.lat, p.lon);
  w.u32(p.time);
  if (type == 300) {
    w.u8(p.newTrack ? 1 : 0);
    return w.take();
  }
  w.f32(altitudeToWire(p.altM));
  if (type == 301 || type == 302) {
    w.f32(altitudeToWire(p.depthM));
    if (type == 302) w.f32(p.temperatureC);
    w.u8(p.newTrack ? 1 : 0);
  } else if (type == 303) {
    w.u8(p.heartRate);
  } else {
    w.f32(p.distanceM > 0 ? p.distanceM : kGarminNoFloat);
    w.u8(p.heartRate);
    w.u8(p.cadence);
    w.u8(0);
  }
  return w.take();
}

GarminTrackHeader decodeTrackHeader(int type, std::string_view data) {
  RecordReader r(data, type);
  GarminTrackHeader h;
  switch (type) {
    case 310: case 312:
      h.display = r.u8() != 0;
      h.colour = r.u8();
      h.ident = r.text();
      break;
    case 311: h.index = r.u16(); h.ident = std::to_string(h.index); break;
    default: throw TErrorPr("Error, Unknown D31X structure " + std::to_string(type));
  }
  return h;
}

std::string encodeTrackHeader(int type, const GarminTrackHeader& h) {
  RecordWriter w;
  switch (type) {
    case 310: case 312:
      w.u8(h.display ? 1 : 0);
      w.u8(h.colour);
      w.raw(h.ident.substr(0, kMaxData - 3));
      w.u8(0);
      break;
    case 311: w.u16(h.index); break;
    default: throw TErrorPr("Error, Unknown D31X structure " + std::to_string(type));
  }
  return w.take();
}

DateTimeRecord decodeDateTime(int type, std::string_view data) {
  if (type / 100 != 6) throw TErrorPr("Error: estructura D6XX desconocida");
  RecordReader r(data, type);
  DateTimeRecord t;
  t.month = r.u8();
  t.day = r.u8();
  t.year = r.u16();
  t.hour = r.i16();
  t.minute = r.u8();
  t.seconds = r.u8();
  return t;
}

std::string encodeDateTime(int type, const DateTimeRecord& utc) {
  if (type / 100 != 6) throw TErrorPr("Error: estructura D6XX desconocida");
  RecordWriter w;
  w.u8(static_cast<unsigned>(utc.month));
  w.u8(static_cast<unsigned>(utc.day));
  w.u16(static_cast<unsigned>(utc.year));
  w.u16(static_cast<unsigned>(utc.hour));
  w.u8(static_cast<unsigned>(utc.minute));
  w.u8(static_cast<unsigned>(std::floor(utc.seconds)));
  return w.take();
}

TCoord decodePosition(int type, std::string_view data) {
  if (type != 700) throw TErrorPr("Estructura Garmin desconocida D" + std::to_string(type));
  RecordReader r(data, type);
  TCoord c;
  c.lat = r.f64() * kHalfTurnDeg / kPi;
  c.lon = r.f64() * kHalfTurnDeg / kPi;
  return c;
}

std::string encodePosition(int type, const TCoord& position) {
  if (type != 700) throw TErrorPr("Estructura Garmin desconocida D" + std::to_string(type));
  RecordWriter w;
  w.f64(position.lat * kPi / kHalfTurnDeg);
  w.f64(position.lon * kPi / kHalfTurnDeg);
  return w.take();
}

GarminPvt decodePvt(int type, std::string_view data) {
  if (type / 100 != 8) throw TErrorPr("Error: Unknown D8XX structure.");
  RecordReader r(data, type);
  GarminPvt p;
  p.altM = r.f32();
  p.epeM = r.f32();
  p.ephM = r.f32();
  p.epvM = r.f32();
  p.fix = r.i16();
  p.towS = r.f64();
  p.lat = r.f64() * kHalfTurnDeg / kPi;
  p.lon = r.f64() * kHalfTurnDeg / kPi;
  p.eastMs = r.f32();
  p.northMs = r.f32();
  p.upMs = r.f32();
  p.mslHeightM = r.f32();
  p.leapSeconds = r.i16();
  p.weekNumberDays = r.i32();
  return p;
}

std::string encodePvt(int type, const GarminPvt& p) {
  if (type / 100 != 8) throw TErrorPr("Error: Unknown D8XX structure.");
  RecordWriter w;
  w.f32(p.altM);
  w.f32(p.epeM);
  w.f32(p.ephM);
  w.f32(p.epvM);
  w.u16(static_cast<std::uint16_t>(p.fix));
  w.f64(p.towS);
  w.f64(p.lat * kPi / kHalfTurnDeg);
  w.f64(p.lon * kPi / kHalfTurnDeg);
  w.f32(p.eastMs);
  w.f32(p.northMs);
  w.f32(p.upMs);
  w.f32(p.mslHeightM);
  w.u16(static_cast<std::uint16_t>(p.leapSeconds));
  w.u32(static_cast<std::uint32_t>(p.weekNumberDays));
  return w.take();
}

GarminCourse decodeCourse(std::string_view data) {
  RecordReader r(data, 1006);
  GarminCourse c;
  c.index = r.u16();
  r.skip(2);
  const auto* name = r.take(16);
  c.name = std::string(reinterpret_cast<const char*>(name), 16);
  c.name = c.name.substr(0, c.name.find('\0'));
  c.trackIndex = r.u16();
  return c;
}

std::string encodeCourse(const GarminCourse& c) {
  RecordWriter w;
  w.u16(c.index);
  w.fill(2, '\0');
  std::string name = c.name.substr(0, 15);
  name.resize(16, '\0');
  w.raw(name);
  w.u16(c.trackIndex);
  return w.take();
}

GarminCourseLap decodeCourseLap(std::string_view data) {
  RecordReader r(data, 1007);
  GarminCourseLap lap;
  lap.courseIndex = r.u16();
  lap.lapIndex = r.u16();
  lap.totalTimeCs = r.u32();
  lap.totalDistanceM = r.f32();
  r.position(lap.beginLat, lap.beginLon);
  r.position(lap.endLat, lap.endLon);
  r.skip(4);  // heart rates, intensity, cadence
  return lap;
}

std::string encodeCourseLap(const GarminCourseLap& lap) {
  RecordWriter w;
  w.u16(lap.courseIndex);
  w.u16(lap.lapIndex);
  w.u32(lap.totalTimeCs);
  w.f32(lap.totalDistanceM);
  w.position(lap.beginLat, lap.beginLon);
  w.position(lap.endLat, lap.endLon);
  w.u8(0);
  w.u8(0);
  w.u8(0);      // active lap
  w.u8(0xFF);   // no cadence
  return w.take();
}

GarminCourseLimits decodeCourseLimits(std::string_view data) {
  RecordReader r(data, 1013);
  GarminCourseLimits l;
  l.maxCourses = r.u32();
  l.maxCourseLaps = r.u32();
  l.maxCoursePoints = r.u32();
  l.maxCourseTrackPoints = r.u32();
  return l;
}

std::string encodeCourseLimits(const GarminCourseLimits& l) {
  RecordWriter w;
  w.u32(l.maxCourses);
  w.u32(l.maxCourseLaps);
  w.u32(l.maxCoursePoints);
  w.u32(l.maxCourseTrackPoints);
  return w.take();
}

DateTimeRecord GarminPvt::utc() const {
  if (!std::isfinite(towS) || std::fabs(towS) > 1.0e7) return {};
  const double days = static_cast<double>(daysSinceEpoch(1989, 12, 31)) + weekNumberDays +
                      (towS - leapSeconds) / kSecondsPerDay;
  return DateTimeRecord::fromValue(days);
}

}  // namespace pixtrail
