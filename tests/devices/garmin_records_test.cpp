// Record layouts: sizes from the published layouts, what each type carries through a round trip,
// and the messages for types the program does not know.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "core/byte_order.hpp"
#include "devices/TErrorPr.hpp"
#include "devices/garmin_records.hpp"
#include "tests/devices/raised_text.hpp"

namespace pixtrail {
namespace {

using test::raisedText;

GarminWaypoint sample() {
  GarminWaypoint w;
  w.ident = "CAMP.01";
  w.comment = "by the river";
  w.lat = 42.123456;
  w.lon = -179.999;
  w.altM = 1234.5f;
  w.symbol = 151;  // Campground: in the small symbol set too
  w.time = 1000;
  return w;
}

TEST(GarminWaypointRecords, WhatEachTypeCarries) {
  const struct { int type; std::size_t fixedSize; bool name6; bool altitude; bool symbol; bool intAltitude; } rows[] = {
      {100, 58, true, false, false, false},  {101, 63, true, false, true, false},
      {102, 64, true, false, true, false},   {103, 60, true, false, true, false},
      {104, 65, true, false, true, false},   {107, 65, true, false, true, false},
      {108, 48, false, true, true, false},   {109, 52, false, true, true, false},
      {110, 62, false, true, true, false},   {150, 115, true, true, false, true},
      {151, 124, true, true, false, true},   {152, 124, true, true, false, true},
      {154, 126, true, true, true, true},    {155, 127, true, true, true, true},
  };
  const GarminWaypoint in = sample();
  for (const auto& r : rows) {
    const std::string data = encodeWaypoint(r.type, in);
    if (r.type >= 108 && r.type <= 110)
      EXPECT_EQ(data.size(), r.fixedSize + in.ident.size() + in.comment.size() + 4 + 2) << r.type;
    else
      EXPECT_EQ(data.size(), r.fixedSize) << r.type;
    const GarminWaypoint out = decodeWaypoint(r.type, data);
    EXPECT_EQ(out.ident, r.name6 ? "CAMP" : "CAMP.01") << r.type;
    EXPECT_EQ(out.comment, "by the river") << r.type;
    EXPECT_EQ(degreesToSemicircles(out.lat), degreesToSemicircles(in.lat)) << r.type;
    EXPECT_NEAR(out.lon, in.lon, 4e-6) << r.type;
    if (r.altitude) { EXPECT_NEAR(out.altM, r.intAltitude ? 1235.0f : 1234.5f, 0.6f) << r.type; }
    else { EXPECT_FALSE(hasAltitude(out.altM)) << r.type; }
    EXPECT_EQ(out.symbol, r.symbol ? 151 : 18) << r.type;
    EXPECT_EQ(out.time, r.type == 110 ? 1000u : kGarminNoTime) << r.type;
  }
}

TEST(GarminWaypointRecords, LayoutOfD108) {
  const std::string data = encodeWaypoint(108, sample());
  const auto* p = reinterpret_cast<const unsigned char*>(data.data());
  EXPECT_EQ(p[3], 0x60) << "attributes";
  EXPECT_EQ(readU16(p + 4, ByteOrder::little), 151) << "symbol";
  EXPECT_EQ(readI32(p + 24, ByteOrder::little), degreesToSemicircles(42.123456)) << "latitude after the subclass";
  EXPECT_EQ(readF32(p + 32, ByteOrder::little), 1234.5f);
  EXPECT_EQ(readF32(p + 36, ByteOrder::little), kGarminNoFloat) << "no depth";
  EXPECT_EQ(data.substr(48), std::string("CAMP.01\0by the river\0\0\0\0\0", 25));
  // Small-set symbols: Campground is 11 there; an unknown small symbol becomes the default.
  EXPECT_EQ(static_cast<unsigned char>(encodeWaypoint(103, sample())[58]), 11);
  std::string d103 = encodeWaypoint(103, sample());
  d103[58] = 99;
  EXPECT_EQ(decodeWaypoint(103, d103).symbol, 18);
}

TEST(GarminWaypointRecords, RefusedTypesAndShortData) {
  EXPECT_EQ(raisedText([] { decodeWaypoint(105, std::string(80, '\0')); }), "Formato de Balizas desconocido: D105");
  EXPECT_EQ(raisedText([] { encodeWaypoint(106, sample()); }), "Formato de Balizas desconocido");
  EXPECT_EQ(raisedText([] { decodeWaypoint(108, std::string(47, '\0')); }), "Paquete erroneo, demasiado corto");
  GarminWaypoint longName = sample();
  longName.ident = std::string(150, 'N');
  longName.comment = std::string(100, 'c');
  EXPECT_EQ(raisedText([&] { encodeWaypoint(108, longName); }), "Error 1 in Str_a_GarminVarios");
}

TEST(GarminRouteRecords, HeadersAndLinks) {
  GarminRouteHeader h;
  h.number = 3;
  h.ident = "TO THE COAST";
  EXPECT_EQ(encodeRouteHeader(200, h), std::string("\x03", 1));
  EXPECT_EQ(decodeRouteHeader(201, encodeRouteHeader(201, h)).ident, "TO THE COAST");
  EXPECT_EQ(encodeRouteHeader(201, h).size(), 21u);
  EXPECT_EQ(decodeRouteHeader(202, encodeRouteHeader(202, h)).ident, "TO THE COAST");
  EXPECT_EQ(raisedText([] { decodeRouteHeader(203, "x"); }), "Error: estructura D20X desconocida");
  EXPECT_EQ(raisedText([&] { encodeRouteHeader(205, h); }), "Error: estructura D2XX desconocida");
  h.ident = std::string(300, 'R');
  EXPECT_EQ(raisedText([&] { encodeRouteHeader(202, h); }), "Error Rellenando D202");
  GarminRouteLink link;
  link.linkClass = 3;
  link.ident = "LINK";
  const GarminRouteLink back = decodeRouteLink(210, encodeRouteLink(210, link));
  EXPECT_EQ(back.linkClass, 3);
  EXPECT_EQ(back.ident, "LINK");
  EXPECT_EQ(raisedText([] { decodeRouteLink(211, ""); }), "Estructura Garmin desconocida D211");
}

TEST(GarminTrackRecords, PointsAndHeaders) {
  GarminTrackPoint p;
  p.lat = -33.9;
  p.lon = 180.0;  // travels as -2^31
  p.time = 123456789;
  p.altM = 12.5f;
  p.heartRate = 140;
  p.cadence = 88;
  p.temperatureC = 21.0f;
  p.newTrack = true;
  const struct { int type; std::size_t size; bool altitude; bool newTrack; bool heart; } rows[] = {
      {300, 13, false, true, false}, {301, 21, true, true, false}, {302, 25, true, true, false},
      {303, 17, true, false, true},  {304, 23, true, false, true},
  };
  for (const auto& r : rows) {
    const std::string data = encodeTrackPoint(r.type, p);
    EXPECT_EQ(data.size(), r.size) << r.type;
    EXPECT_EQ(readI32(reinterpret_cast<const unsigned char*>(data.data()) + 4, ByteOrder::little), INT_MIN) << r.type;
    const GarminTrackPoint q = decodeTrackPoint(r.type, data);
    EXPECT_EQ(degreesToSemicircles(q.lat), degreesToSemicircles(p.lat)) << r.type;
    EXPECT_EQ(q.time, p.time) << r.type;
    EXPECT_EQ(hasAltitude(q.altM), r.altitude) << r.type;
    EXPECT_EQ(q.newTrack, r.newTrack) << r.type;
    EXPECT_EQ(q.heartRate, r.heart ? 140 : 0) << r.type;
    EXPECT_TRUE(q.validPosition);
  }
  EXPECT_EQ(decodeTrackPoint(304, encodeTrackPoint(304, p)).cadence, 88);
  EXPECT_EQ(decodeTrackPoint(302, encodeTrackPoint(302, p)).temperatureC, 21.0f);
  std::string invalid = encodeTrackPoint(301, p);
  invalid.replace(0, 4, std::string("\xFF\xFF\xFF\x7F", 4));
  EXPECT_FALSE(decodeTrackPoint(301, invalid).validPosition);
  EXPECT_EQ(raisedText([] { decodeTrackPoint(305, std::string(30, '\0')); }), "Error: estructura D3XX desconocida D305");
  EXPECT_EQ(raisedText([&] { encodeTrackPoint(299, p); }), "Error: estructura D3XX desconocida");

  GarminTrackHeader h;
  h.ident = "ACTIVE LOG";
  h.colour = 4;
  EXPECT_EQ(decodeTrackHeader(310, encodeTrackHeader(310, h)).ident, "ACTIVE LOG");
  EXPECT_EQ(decodeTrackHeader(312, encodeTrackHeader(312, h)).colour, 4);
  h.index = 7;
  EXPECT_EQ(decodeTrackHeader(311, encodeTrackHeader(311, h)).index, 7);
  EXPECT_EQ(raisedText([] { decodeTrackHeader(313, "ab"); }), "Error, Unknown D31X structure 313");
}

TEST(GarminOtherRecords, TimePositionPvt) {
  const DateTimeRecord t{31, 12, 2024, 23, 59, 58.0};
  const std::string d600 = encodeDateTime(600, t);
  EXPECT_EQ(d600, std::string("\x0C\x1F\xE8\x07\x17\x00\x3B\x3A", 8));
  EXPECT_EQ(decodeDateTime(600, d600), t);
  EXPECT_EQ(raisedText([] { decodeDateTime(700, "12345678"); }), "Error: estructura D6XX desconocida");

  const TCoord pos = decodePosition(700, encodePosition(700, TCoord{-3.7038, 40.4168, 0.0f}));
  EXPECT_NEAR(pos.lat, 40.4168, 1e-12);
  EXPECT_NEAR(pos.lon, -3.7038, 1e-12);

  GarminPvt pvt;
  pvt.fix = 3;
  pvt.lat = 40.0;
  pvt.lon = -3.0;
  pvt.leapSeconds = 18;
  // 2024-01-01 is 12419 days after 1989-12-31; a time of week of 1 day + 18 s is 00:00:00 UTC
  // on the next day once the leap seconds are taken off.
  pvt.weekNumberDays = 12419;
  pvt.towS = 86400.0 + 18.0;
  const std::string d800 = encodePvt(800, pvt);
  EXPECT_EQ(d800.size(), 64u);
  const GarminPvt back = decodePvt(800, d800);
  EXPECT_EQ(back.fix, 3);
  EXPECT_NEAR(back.lat, 40.0, 1e-12);
  EXPECT_EQ(back.utc(), (DateTimeRecord{2, 1, 2024, 0, 0, 0.0}));
  EXPECT_EQ(raisedText([] { decodePvt(900, std::string(64, '\0')); }), "Error: Unknown D8XX structure.");
}

TEST(GarminCourseRecords, LayoutsOfCoursesLapsAndLimits) {
  GarminCourse c;
  c.index = 2;
  c.name = "A NAME LONGER THAN SIXTEEN";
  c.trackIndex = 7;
  const std::string d1006 = encodeCourse(c);
  EXPECT_EQ(d1006.size(), 22u);
  EXPECT_EQ(d1006[19], '\0') << "the name keeps a terminator";
  const GarminCourse back = decodeCourse(d1006);
  EXPECT_EQ(back.name, "A NAME LONGER T");
  EXPECT_EQ(back.trackIndex, 7);
  GarminCourseLap lap;
  lap.totalTimeCs = 123456;
  lap.endLon = -180.0;
  const std::string d1007 = encodeCourseLap(lap);
  EXPECT_EQ(d1007.size(), 32u);
  EXPECT_EQ(decodeCourseLap(d1007).totalTimeCs, 123456u);
  EXPECT_EQ(decodeCourseLap(d1007).endLon, -180.0);
  const GarminCourseLimits limits{3, 4, 5, 6};
  EXPECT_EQ(encodeCourseLimits(limits).size(), 16u);
  EXPECT_EQ(decodeCourseLimits(encodeCourseLimits(limits)).maxCoursePoints, 5u);
  EXPECT_EQ(raisedText([] { decodeCourseLimits("short"); }), "Paquete erroneo, demasiado corto");
}

}  // namespace
}  // namespace pixtrail
