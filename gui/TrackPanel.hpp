#pragma once
// The selected track at a glance: the recalculated summaries (points, segments, start and end,
// duration, length, altitude range, climb) beside its altitude-over-time profile.

#include <QWidget>
#include <vector>

class QLabel;

namespace pixtrail {
class TVolGPS;
}

namespace pixtrail::gui {

// Altitude over time, one polyline per segment; points without time or altitude are left out.
class AltitudeProfile : public QWidget {
  Q_OBJECT
 public:
  struct Sample {
    double timeS = 0.0;  // seconds since the track's first timed point
    double altM = 0.0;
    bool segmentStart = false;
  };
  explicit AltitudeProfile(QWidget* parent = nullptr);
  void setTrack(const TVolGPS* track);
  const std::vector<Sample>& samples() const { return samples_; }
  // The samples of a track, as the profile draws them.
  static std::vector<Sample> samplesOf(const TVolGPS& track);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::vector<Sample> samples_;
};

class TrackPanel : public QWidget {
  Q_OBJECT
 public:
  explicit TrackPanel(QWidget* parent = nullptr);
  void setTrack(const TVolGPS* track);
  // The value shown for a row ("Points", "Length", ...), for tests and accessibility.
  QString value(const QString& row) const;
  AltitudeProfile* profile() const { return profile_; }

 private:
  std::vector<std::pair<QString, QLabel*>> rows_;
  AltitudeProfile* profile_ = nullptr;
};

}  // namespace pixtrail::gui
