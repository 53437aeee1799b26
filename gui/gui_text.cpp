#include "gui/gui_text.hpp"

#include <array>
#include <cmath>
#include <cstdio>

#include "coords/TListaProyecciones.hpp"
#include "coords/coordinate_text.hpp"

namespace pixtrail::gui {

namespace {
// In the order of the format values of the configuration.
constexpr std::array<const char*, kAngleFormatCount> kFormatNames = {
    "Decimal degrees (dd.ddddddd)", "Degrees, minutes (dd mm.mmm)", "Degrees, minutes, seconds (dd mm ss.s)",
    "Grads from Paris", "Signed decimal degrees"};
}  // namespace

QString angleFormatName(int format) {
  if (format < 0 || format >= kAngleFormatCount) return {};
  return QString::fromLatin1(kFormatNames[static_cast<std::size_t>(format)]);
}

QString positionText(double lat, double lon, int format) {
  return fromLibrary(latitudeText(lat, format)) + "  " + fromLibrary(longitudeText(lon, format));
}

QString projectedText(const TProyeccion& projection, const TCoord& working) {
  GridCoord grid;
  std::string message;
  if (!projection.project(working, kWorkingDatum, grid, message)) return fromLibrary(message);
  if (grid.zone > 0) {
    return QString("%1%2 %3 %4")
        .arg(grid.zone, 2, 10, QChar('0'))
        .arg(QChar(grid.band ? grid.band : ' '))
        .arg(std::lround(grid.x))
        .arg(std::lround(grid.y));
  }
  const QString name = fromLibrary(projection.shortName());
  const bool degrees = projection.unit() == PlaneUnit::kDegrees;
  return QString("%1  E %2  N %3").arg(name).arg(grid.x, 0, 'f', degrees ? 7 : 1).arg(grid.y, 0, 'f', degrees ? 7 : 1);
}

QList<QPair<QString, QString>> projectionChoices() {
  QList<QPair<QString, QString>> out{{QStringLiteral("Web Mercator (map tiles)"), QString()}};
  const TListaProyecciones projections;
  for (int i = 0; i < projections.size(); ++i) {
    const QString name = fromLibrary(projections.projection(i).shortName());
    out.append({name, name});
  }
  return out;
}

QString dateTimeText(const DateTimeRecord& time) {
  if (time.isEmpty() || !time.isValid()) return "-";
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day, time.hour,
                time.minute, static_cast<int>(std::floor(time.seconds)));
  return QString::fromLatin1(text);
}

QString dateTimeText(DateTimeValue value) { return dateTimeText(DateTimeRecord::fromValue(value)); }

QString durationText(double seconds) {
  if (!(seconds >= 0.0)) return "-";
  const long total = std::lround(seconds);
  const long h = total / 3600, m = (total / 60) % 60, s = total % 60;
  char text[32];
  if (h > 0) std::snprintf(text, sizeof text, "%ld h %02ld min", h, m);
  else std::snprintf(text, sizeof text, "%ld min %02ld s", m, s);
  return QString::fromLatin1(text);
}

}  // namespace pixtrail::gui
