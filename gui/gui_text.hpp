#pragma once
// The library's texts as the window shows them: the library speaks 8-bit Latin-1 (the degree
// mark is byte 0xBA), the window speaks Unicode; the conversion happens here and nowhere else.

#include <QList>
#include <QPair>
#include <QString>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"

namespace pixtrail {
class TProyeccion;
}

namespace pixtrail::gui {

inline QString fromLibrary(const std::string& text) { return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size())); }

// The name of an angle format as the settings offer it; an unknown format gives an empty text.
QString angleFormatName(int format);
inline constexpr int kAngleFormatCount = 5;
// "40º 25.500' N  003º 42.000' W" in the given format (working datum degrees).
QString positionText(double lat, double lon, int format);
// The position in a projection: "30T 440123 4474567" for UTM, "E 123.4 N 567.8" otherwise;
// the projection's message when it cannot project the point.
QString projectedText(const TProyeccion& projection, const TCoord& working);
// The projections the map and the status bar can use, as (label, setting value) pairs: web
// Mercator first (an empty value), then the registry's in its order.
QList<QPair<QString, QString>> projectionChoices();
// "2024-05-18 10:31:07" or "-" for an empty or invalid record.
QString dateTimeText(const DateTimeRecord& time);
QString dateTimeText(DateTimeValue value);
// "1 h 05 min", "12 min 30 s".
QString durationText(double seconds);

}  // namespace pixtrail::gui
