#include "gui/TrackPanel.hpp"

#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "gui/gui_text.hpp"
#include "gui/map_geometry.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail::gui {

namespace {
const char* const kRowNames[] = {"Name", "Points", "Segments", "Start", "End", "Duration", "Length",
                                 "Altitude", "Climb"};
constexpr int kMarginLeft = 52, kMarginRight = 12, kMarginTop = 10, kMarginBottom = 24;
const QColor kProfileFill(0x8C, 0xB4, 0x6E, 120);
const QColor kProfileLine(0x3E, 0x6B, 0x2A);

QString metres(double m) { return QString("%1 m").arg(std::lround(m)); }
}  // namespace

AltitudeProfile::AltitudeProfile(QWidget* parent) : QWidget(parent) {
  setObjectName("altitudeProfile");
  setMinimumSize(240, 120);
}

std::vector<AltitudeProfile::Sample> AltitudeProfile::samplesOf(const TVolGPS& track) {
  std::vector<Sample> out;
  double first = 0.0;
  bool haveFirst = false, newSegment = true;
  for (std::size_t i = 0; i < track.pointCount(); ++i) {
    const TPuntVol& p = track.point(i);
    if (i > 0 && p.segmentStart) newSegment = true;
    const DateTimeValue t = track.pointTime(i);
    const float alt = p.altitude(true);
    if (!std::isfinite(t) || !hasAltitude(alt)) continue;
    if (!haveFirst) {
      first = t;
      haveFirst = true;
    }
    out.push_back({(t - first) * kSecondsPerDay, alt, newSegment});
    newSegment = false;
  }
  return out;
}

void AltitudeProfile::setTrack(const TVolGPS* track) {
  samples_ = track ? samplesOf(*track) : std::vector<Sample>{};
  update();
}

void AltitudeProfile::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), palette().base());
  p.setRenderHint(QPainter::Antialiasing);
  const QRectF plot(kMarginLeft, kMarginTop, width() - kMarginLeft - kMarginRight,
                    height() - kMarginTop - kMarginBottom);
  p.setPen(palette().mid().color());
  p.drawRect(plot);
  if (samples_.size() < 2) {
    p.setPen(palette().text().color());
    p.drawText(plot, Qt::AlignCenter, tr("No altitude over time in this track"));
    return;
  }
  const auto [lo, hi] = std::minmax_element(samples_.begin(), samples_.end(),
                                            [](const Sample& a, const Sample& b) { return a.altM < b.altM; });
  double minAlt = lo->altM, maxAlt = hi->altM;
  // Flat tracks get a band of at least 10 m so that noise is not blown up to the panel's height.
  if (maxAlt - minAlt < 10.0) {
    const double mid = (maxAlt + minAlt) / 2.0;
    minAlt = mid - 5.0;
    maxAlt = mid + 5.0;
  }
  const double duration = std::max(samples_.back().timeS, 1.0);
  auto at = [&](const Sample& s) {
    return QPointF(plot.left() + s.timeS / duration * plot.width(),
                   plot.bottom() - (s.altM - minAlt) / (maxAlt - minAlt) * plot.height());
  };
  // Grid and labels: altitude on the left, elapsed time below.
  p.setPen(palette().text().color());
  QFont font = p.font();
  font.setPointSizeF(8);
  p.setFont(font);
  for (int i = 0; i <= 2; ++i) {
    const double alt = minAlt + (maxAlt - minAlt) * i / 2.0;
    const double y = plot.bottom() - plot.height() * i / 2.0;
    p.drawText(QRectF(0, y - 8, kMarginLeft - 4, 16), Qt::AlignRight | Qt::AlignVCenter, metres(alt));
  }
  p.drawText(QRectF(plot.left(), plot.bottom() + 4, 80, 16), Qt::AlignLeft, "0");
  p.drawText(QRectF(plot.right() - 120, plot.bottom() + 4, 120, 16), Qt::AlignRight, durationText(duration));
  QPolygonF line;
  auto flush = [&] {
    if (line.size() < 2) return;
    QPolygonF area = line;
    area << QPointF(line.back().x(), plot.bottom()) << QPointF(line.front().x(), plot.bottom());
    p.setPen(Qt::NoPen);
    p.setBrush(kProfileFill);
    p.drawPolygon(area);
    p.setPen(QPen(kProfileLine, 1.5));
    p.setBrush(Qt::NoBrush);
    p.drawPolyline(line);
  };
  for (const Sample& s : samples_) {
    if (s.segmentStart) {
      flush();
      line.clear();
    }
    line << at(s);
  }
  flush();
}

TrackPanel::TrackPanel(QWidget* parent) : QWidget(parent) {
  setObjectName("trackPanel");
  auto* form = new QFormLayout;
  form->setLabelAlignment(Qt::AlignRight);
  for (const char* name : kRowNames) {
    auto* label = new QLabel("-", this);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form->addRow(tr(name), label);
    rows_.emplace_back(name, label);
  }
  profile_ = new AltitudeProfile(this);
  auto* layout = new QHBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(profile_, 1);
}

QString TrackPanel::value(const QString& row) const {
  for (const auto& [name, label] : rows_)
    if (name == row) return label->text();
  return {};
}

void TrackPanel::setTrack(const TVolGPS* track) {
  profile_->setTrack(track);
  auto set = [this](const char* row, const QString& text) {
    for (auto& [name, label] : rows_)
      if (name == row) label->setText(text);
  };
  if (track == nullptr) {
    for (auto& [name, label] : rows_) label->setText("-");
    return;
  }
  const TrackSummary& s = track->summary();
  set("Name", QFileInfo(QString::fromStdString(track->fileName)).fileName());
  set("Points", QString::number(track->pointCount()));
  set("Segments", QString::number(s.segments));
  set("Start", s.hasTimes ? dateTimeText(s.start) : QString("-"));
  set("End", s.hasTimes ? dateTimeText(s.end) : QString("-"));
  set("Duration", s.hasTimes ? durationText(s.durationS) : QString("-"));
  set("Length", QString::fromStdString(lengthLabel(std::round(s.distanceM))));
  set("Altitude", s.hasAltitudes ? metres(s.altitudeMinM) + " - " + metres(s.altitudeMaxM) : QString("-"));
  set("Climb", s.hasAltitudes ? "+" + metres(s.gainM) + " / -" + metres(s.lossM) : QString("-"));
}

}  // namespace pixtrail::gui
