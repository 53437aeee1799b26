#include "tracks/TPuntVol.hpp"

namespace pixtrail {

DateTimeRecord TPuntTiempo::toRecord() const {
  DateTimeRecord r;
  r.day = day;
  r.month = month;
  r.year = year;
  r.hour = hour;
  r.minute = minute;
  r.seconds = seconds;
  return r;
}

TPuntTiempo TPuntTiempo::fromRecord(const DateTimeRecord& record) {
  TPuntTiempo t;
  t.day = record.day;
  t.month = record.month;
  t.year = record.year;
  t.hour = record.hour;
  t.minute = record.minute;
  t.seconds = static_cast<float>(record.seconds);
  return t;
}

std::unique_ptr<TPuntVol> TPuntVol::clone() const {
  auto p = std::make_unique<TPuntVol>();
  p->position = position;
  p->time = time;
  p->segmentStart = segmentStart;
  p->gpsAltitudeM = gpsAltitudeM;
  p->barometricAltitudeM = barometricAltitudeM;
  p->verticalSpeedMs = verticalSpeedMs;
  p->heartRate = heartRate;
  p->cadenceRpm = cadenceRpm;
  if (linked) p->linked = std::make_unique<TObjetoEnlazado>(*linked);
  p->stateFlags = stateFlags;
  p->speedMs = speedMs;
  p->courseDeg = courseDeg;
  p->temperatureC = temperatureC;
  p->satellites = satellites;
  p->hdop = hdop;
  p->pressureHpa = pressureHpa;
  p->fixType = fixType;
  p->powerW = powerW;
  if (coursePoint) {
    p->coursePoint = std::make_unique<TCoursePoint>();
    p->coursePoint->icon = coursePoint->icon;
    p->coursePoint->comment = coursePoint->comment;
    p->coursePoint->value16 = coursePoint->value16;
    p->coursePoint->valueReal = coursePoint->valueReal;
    if (coursePoint->linked)
      p->coursePoint->linked = std::make_unique<TObjetoEnlazado>(*coursePoint->linked);
  }
  p->distanceFromStartM = distanceFromStartM;
  return p;
}

float TPuntVol::altitude(bool preferGpsAltitude) const {
  const float z = position.alt, g = gpsAltitudeM, s = barometricAltitudeM;
  const bool gPresent = g > kNoAltitudeLimit, sPresent = s > kNoAltitudeLimit;
  if (z >= kNoAltitudeLimit && g < kNoAltitudeLimit && s < kNoAltitudeLimit) return z;
  if (!sPresent && gPresent) return g;
  if (sPresent && !gPresent) return s;
  return preferGpsAltitude ? g : s;
}

void TPuntVol::setAltitude(float altM) {
  position.alt = altM;
  const float other = altM >= kNoAltitudeLimit ? kUnknownAltitude : altM;
  gpsAltitudeM = other;
  barometricAltitudeM = other;
}

}  // namespace pixtrail
