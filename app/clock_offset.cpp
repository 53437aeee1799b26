#include "app/clock_offset.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

namespace pixtrail {

namespace {

// Scale from the median absolute deviation to a standard deviation under normal noise.
constexpr double kMadToSigma = 1.4826;
// Residuals further out than this many spreads are outliers (Hampel's rule uses 3; 4 spares the
// honest tail of a small sample).
constexpr double kOutlierSpreads = 4.0;
// Two observations closer in time than this say nothing about the slope.
constexpr double kMinSlopeBaseH = 0.25;
// An applied offset this far from the evidence is suspect; closer is noise or a clock tick.
constexpr double kSuspectS = 60.0;
constexpr double kQuarterHourS = 900.0;
constexpr std::size_t kEvidenceKept = 5;
constexpr std::size_t kMinStopsToRefine = 2;

struct MethodName {
  OffsetMethod method;
  std::string_view name;
};
constexpr std::array kMethodNames = {MethodName{OffsetMethod::None, "none"},
                                     MethodName{OffsetMethod::References, "references"},
                                     MethodName{OffsetMethod::ClockPhoto, "clock-photo"},
                                     MethodName{OffsetMethod::Photos, "photos"}};

struct Observation {
  std::string name;
  double hours = 0.0;  // since the reference
  double offsetS = 0.0;
};

double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  const std::size_t mid = values.size() / 2;
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(mid), values.end());
  const double upper = values[mid];
  if (values.size() % 2 == 1) return upper;
  return (upper + *std::max_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(mid))) / 2.0;
}

double hoursSpan(const std::vector<Observation>& obs) {
  if (obs.empty()) return 0.0;
  const auto [lo, hi] = std::minmax_element(obs.begin(), obs.end(),
                                            [](const Observation& a, const Observation& b) { return a.hours < b.hours; });
  return hi->hours - lo->hours;
}

// Theil-Sen: the median of the slopes between all pairs far enough apart in time.
double theilSenSlope(const std::vector<Observation>& obs) {
  std::vector<double> slopes;
  for (std::size_t i = 0; i < obs.size(); ++i)
    for (std::size_t j = i + 1; j < obs.size(); ++j) {
      const double dh = obs[j].hours - obs[i].hours;
      if (std::fabs(dh) >= kMinSlopeBaseH) slopes.push_back((obs[j].offsetS - obs[i].offsetS) / dh);
    }
  return median(std::move(slopes));
}

// Offset (and drift) through the observations: robust first to name the outliers, then least
// squares (or the median, without drift) over the rest.
// A clock photo is exact, so two of them fix a drift; references need a third to outvote one.
void fitObservations(const std::vector<Observation>& obs, std::size_t minForDrift, const OffsetSearchSettings& settings,
                     OffsetEstimate& out) {
  const bool withDrift = obs.size() >= minForDrift && hoursSpan(obs) >= settings.minDriftSpanH;
  const double slope = withDrift ? theilSenSlope(obs) : 0.0;
  std::vector<double> intercepts;
  for (const Observation& o : obs) intercepts.push_back(o.offsetS - slope * o.hours);
  const double intercept = median(intercepts);
  std::vector<double> absResiduals;
  for (const Observation& o : obs) absResiduals.push_back(std::fabs(o.offsetS - intercept - slope * o.hours));
  const double limit = std::max(kOutlierSpreads * kMadToSigma * median(absResiduals), settings.outlierS);

  std::vector<Observation> kept;
  for (std::size_t i = 0; i < obs.size(); ++i) {
    if (absResiduals[i] <= limit) {
      kept.push_back(obs[i]);
      continue;
    }
    char why[96];
    std::snprintf(why, sizeof why, " (%+.0f s from the others)", obs[i].offsetS - intercept - slope * obs[i].hours);
    out.outliers.push_back(obs[i].name + why);
  }
  double offset = intercept, drift = 0.0;
  if (withDrift && kept.size() >= minForDrift && hoursSpan(kept) >= settings.minDriftSpanH) {
    double mh = 0, mo = 0;
    for (const Observation& o : kept) mh += o.hours, mo += o.offsetS;
    mh /= static_cast<double>(kept.size());
    mo /= static_cast<double>(kept.size());
    double shh = 0, sho = 0;
    for (const Observation& o : kept) shh += (o.hours - mh) * (o.hours - mh), sho += (o.hours - mh) * (o.offsetS - mo);
    drift = sho / shh;
    offset = mo - drift * mh;
  } else {
    std::vector<double> offsets;
    for (const Observation& o : kept) offsets.push_back(o.offsetS);
    offset = median(offsets);
  }
  std::vector<double> residuals;
  for (const Observation& o : kept) residuals.push_back(std::fabs(o.offsetS - offset - drift * o.hours));
  out.correction.offsetS = offset;
  out.correction.driftSPerHour = drift;
  out.photosUsed = kept.size();
  out.spreadS = kMadToSigma * median(residuals);
}

double hoursSince(DateTimeValue reference, DateTimeValue t) { return (t - reference) * kSecondsPerDay / kSecondsPerHour; }

std::string describeOffset(const ClockCorrection& c) {
  std::string text = formatSignedClock(c.offsetS);
  if (c.driftSPerHour != 0.0) {
    char drift[48];
    std::snprintf(drift, sizeof drift, " drifting %+.2f s/h", c.driftSPerHour);
    text += drift;
  }
  return text;
}

}  // namespace

std::string_view offsetMethodName(OffsetMethod method) {
  for (const MethodName& row : kMethodNames)
    if (row.method == method) return row.name;
  return "none";
}

DateTimeValue earliestClock(const std::vector<ClockSample>& samples) {
  DateTimeValue earliest = std::numeric_limits<double>::infinity();
  for (const ClockSample& s : samples) earliest = std::min(earliest, s.clock);
  return std::isfinite(earliest) ? earliest : 0.0;
}

OffsetEstimate estimateFromReferences(const std::vector<ClockSample>& samples, const TrackTimeline& timeline,
                                      const OffsetSearchSettings& settings) {
  OffsetEstimate out;
  const DateTimeValue reference = earliestClock(samples);
  out.correction.reference = reference;
  struct Reference {
    const ClockSample* sample;
    std::vector<double> candidatesS;
  };
  std::vector<Reference> refs;
  for (const ClockSample& s : samples) {
    if (!s.hasPosition) continue;
    Reference r{&s, {}};
    for (const TrackTimeline::Pass& pass : timeline.passesNear(s.position, settings.passRadiusM))
      r.candidatesS.push_back((pass.lineTime - s.clock) * kSecondsPerDay);
    if (r.candidatesS.empty()) {
      char why[64];
      std::snprintf(why, sizeof why, " (not within %.0f m of the tracks)", settings.passRadiusM);
      out.outliers.push_back(s.name + why);
      continue;
    }
    refs.push_back(std::move(r));
  }
  if (refs.empty()) return out;

  // The candidate most references agree with; on a tie, the one nearest the camera's own time.
  auto support = [&](double c) {
    std::size_t n = 0;
    for (const Reference& r : refs)
      for (double d : r.candidatesS)
        if (std::fabs(d - c) <= settings.agreeS) {
          ++n;
          break;
        }
    return n;
  };
  double consensus = 0.0;
  std::size_t bestSupport = 0;
  for (const Reference& r : refs)
    for (double c : r.candidatesS) {
      const std::size_t n = support(c);
      if (n > bestSupport || (n == bestSupport && std::fabs(c) < std::fabs(consensus))) {
        bestSupport = n;
        consensus = c;
      }
    }

  std::vector<Observation> obs;
  for (const Reference& r : refs) {
    const double* nearest = &r.candidatesS.front();
    for (const double& d : r.candidatesS)
      if (std::fabs(d - consensus) < std::fabs(*nearest - consensus)) nearest = &d;
    if (std::fabs(*nearest - consensus) > settings.agreeS) {
      out.outliers.push_back(r.sample->name + " (the tracks pass there at another time)");
      continue;
    }
    obs.push_back({r.sample->name, hoursSince(reference, r.sample->clock), *nearest});
  }
  out.method = OffsetMethod::References;
  fitObservations(obs, 3, settings, out);
  return out;
}

OffsetEstimate estimateFromClockReadings(const std::vector<ClockReading>& readings, const TimeZone& zone,
                                         DateTimeValue reference, const OffsetSearchSettings& settings) {
  OffsetEstimate out;
  out.correction.reference = reference;
  std::vector<Observation> obs;
  for (const ClockReading& r : readings) {
    // The screen shows a time of day; its date is the one that puts it nearest the camera's time.
    const DateTimeValue near = r.shownUtc ? r.lineClock : r.cameraClock;
    DateTimeValue shown = std::floor(near) + r.shownSecondsOfDay / kSecondsPerDay;
    if (shown - near > 0.5) shown -= 1.0;
    if (near - shown > 0.5) shown += 1.0;
    if (!r.shownUtc) shown = zone.toUtc(shown);
    obs.push_back({r.name, hoursSince(reference, r.lineClock), (shown - r.lineClock) * kSecondsPerDay});
  }
  if (obs.empty()) return out;
  out.method = OffsetMethod::ClockPhoto;
  fitObservations(obs, 2, settings, out);
  return out;
}

OffsetEvidence scoreOffset(const std::vector<ClockSample>& samples, const TrackTimeline& timeline,
                           const ClockCorrection& correction, const OffsetSearchSettings& settings) {
  OffsetEvidence e;
  e.offsetS = correction.offsetS;
  for (const ClockSample& s : samples) {
    const DateTimeValue t = correction.apply(s.clock);
    TrackTimeline::Hit hit;
    // A photo only reached by stretching a track end proves nothing about the offset.
    if (!timeline.locate(t, hit) || hit.where.status != PositionAtTime::Status::Interpolated) continue;
    ++e.covered;
    const double speed = timeline.speedAt(t);
    if (speed >= 0.0 && speed < settings.stopSpeedMs) ++e.stopped;
  }
  return e;
}

namespace {

// The best seconds-offset within half a step of a zone-like one: the middle of the best-scoring
// stretch nearest to it. Without stops to go by, seconds are guesswork and the zone-like offset
// stands, to within half its step.
struct Refined {
  OffsetEvidence best;      // at the zone-like offset's value, with the best score found near it
  double offsetS = 0.0;
  double halfWidthS = 0.0;
};
Refined refineAround(const std::vector<ClockSample>& samples, const TrackTimeline& timeline,
                     const ClockCorrection& base, const OffsetEvidence& zoneLike, double centreS, double halfWidthS,
                     double stepS, const OffsetSearchSettings& settings) {
  const int steps = static_cast<int>(halfWidthS / stepS);
  std::vector<OffsetEvidence> around;
  for (int k = -steps; k <= steps; ++k) {
    ClockCorrection c = base;
    c.offsetS = centreS + k * stepS;
    around.push_back(scoreOffset(samples, timeline, c, settings));
  }
  const OffsetEvidence top = *std::max_element(
      around.begin(), around.end(), [](const OffsetEvidence& a, const OffsetEvidence& b) { return a.score() < b.score(); });
  Refined r{zoneLike, zoneLike.offsetS, kQuarterHourS / 2.0};
  // One photo at a stop could be chance; it takes a few to pin the seconds down.
  if (top.stopped < std::max<std::size_t>(kMinStopsToRefine, top.covered / 4)) return r;
  r.best.covered = top.covered;
  r.best.stopped = top.stopped;
  double nearest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < around.size();) {
    if (around[i].score() != top.score()) {
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j + 1 < around.size() && around[j + 1].score() == top.score()) ++j;
    const double centre = (around[i].offsetS + around[j].offsetS) / 2.0;
    if (std::fabs(centre - centreS) < nearest) {
      nearest = std::fabs(centre - centreS);
      r.offsetS = centre;
      r.halfWidthS = (around[j].offsetS - around[i].offsetS) / 2.0 + stepS / 2.0;
    }
    i = j + 1;
  }
  return r;
}

// Coarse steps over the whole half step first, then fine ones around the best of them.
Refined refine(const std::vector<ClockSample>& samples, const TrackTimeline& timeline, const ClockCorrection& base,
               const OffsetEvidence& zoneLike, const OffsetSearchSettings& settings) {
  const double coarseS = 3.0 * settings.fineStepS;
  const Refined coarse =
      refineAround(samples, timeline, base, zoneLike, zoneLike.offsetS, kQuarterHourS / 2.0, coarseS, settings);
  if (coarse.offsetS == zoneLike.offsetS && coarse.halfWidthS == kQuarterHourS / 2.0) return coarse;
  return refineAround(samples, timeline, base, zoneLike, coarse.offsetS, coarse.halfWidthS + coarseS,
                      settings.fineStepS, settings);
}

// Zone-like candidates whose coverage earns them the finer look.
constexpr std::size_t kCandidatesRefined = 8;

}  // namespace

OffsetEstimate estimateFromPhotos(const std::vector<ClockSample>& samples, const TrackTimeline& timeline,
                                  const OffsetSearchSettings& settings) {
  OffsetEstimate out;
  out.correction.reference = earliestClock(samples);
  out.suggestionOnly = true;
  std::vector<OffsetEvidence> candidates;
  const int steps = static_cast<int>(settings.maxZoneOffsetH * kSecondsPerHour / kQuarterHourS);
  for (int k = -steps; k <= steps; ++k) {
    ClockCorrection c = out.correction;
    c.offsetS = k * kQuarterHourS;
    candidates.push_back(scoreOffset(samples, timeline, c, settings));
  }
  // On a tie, whole hours before half hours before quarter hours (as zones are), then the smaller.
  auto rank = [](double offsetS) {
    const double hours = std::fabs(offsetS) / kSecondsPerHour;
    return hours == std::floor(hours) ? 0 : hours * 2 == std::floor(hours * 2) ? 1 : 2;
  };
  auto better = [&](const OffsetEvidence& a, const OffsetEvidence& b) {
    if (a.score() != b.score()) return a.score() > b.score();
    if (rank(a.offsetS) != rank(b.offsetS)) return rank(a.offsetS) < rank(b.offsetS);
    return std::fabs(a.offsetS) < std::fabs(b.offsetS);
  };
  // A clock a minute or two off moves photos off their stops at the exact zone offset, so each
  // candidate is judged by the best it does within half a step.
  std::stable_sort(candidates.begin(), candidates.end(), [](const OffsetEvidence& a, const OffsetEvidence& b) {
    return a.covered > b.covered;
  });
  if (candidates.empty() || candidates.front().covered == 0) return out;
  candidates.resize(std::min(candidates.size(), kCandidatesRefined));
  std::vector<Refined> refined;
  for (const OffsetEvidence& c : candidates)
    refined.push_back(refine(samples, timeline, out.correction, c, settings));
  std::stable_sort(refined.begin(), refined.end(),
                   [&](const Refined& a, const Refined& b) { return better(a.best, b.best); });
  for (std::size_t i = 0; i < refined.size() && i < kEvidenceKept; ++i) out.evidence.push_back(refined[i].best);
  out.method = OffsetMethod::Photos;
  out.correction.offsetS = refined.front().offsetS;
  out.spreadS = refined.front().halfWidthS;
  out.photosUsed = scoreOffset(samples, timeline, out.correction, settings).covered;
  return out;
}

OffsetEstimate estimateClockOffset(const std::vector<ClockSample>& samples, const std::vector<ClockReading>& readings,
                                   const TrackTimeline& timeline, const TimeZone& zone,
                                   const OffsetSearchSettings& settings) {
  if (!readings.empty()) return estimateFromClockReadings(readings, zone, earliestClock(samples), settings);
  OffsetEstimate byReferences = estimateFromReferences(samples, timeline, settings);
  if (byReferences.found() && byReferences.photosUsed > 0) return byReferences;
  OffsetEstimate byPhotos = estimateFromPhotos(samples, timeline, settings);
  // References that were tried and failed are still worth naming.
  byPhotos.outliers.insert(byPhotos.outliers.begin(), byReferences.outliers.begin(), byReferences.outliers.end());
  return byPhotos;
}

OffsetCheck checkOffset(const std::vector<ClockSample>& samples, const TrackTimeline& timeline,
                        const ClockCorrection& applied, const OffsetSearchSettings& settings) {
  OffsetCheck check;
  if (samples.empty()) return check;
  const std::size_t n = samples.size();
  ClockCorrection appliedHere = applied;
  appliedHere.reference = earliestClock(samples);
  appliedHere.offsetS = applied.offsetAt(appliedHere.reference);

  const OffsetEstimate byReferences = estimateFromReferences(samples, timeline, settings);
  if (byReferences.found() && byReferences.photosUsed > 0) {
    const double off = byReferences.correction.offsetS - appliedHere.offsetS;
    if (std::fabs(off) > kSuspectS) {
      check.looksWrong = true;
      check.message = "the photos that hold a position put the camera clock at " +
                      describeOffset(byReferences.correction) + ", not " + describeOffset(appliedHere);
      check.better = byReferences;
    }
    return check;  // references outweigh anything the photos alone could say
  }

  const OffsetEvidence now = scoreOffset(samples, timeline, appliedHere, settings);
  const OffsetEstimate byPhotos = estimateFromPhotos(samples, timeline, settings);
  if (byPhotos.found()) {
    const OffsetEvidence& best = byPhotos.evidence.front();
    const bool elsewhere = std::fabs(best.offsetS - appliedHere.offsetS) > kSuspectS;
    const std::size_t moreCovered = std::max<std::size_t>(2, n / 4);
    const std::size_t moreStopped = std::max<std::size_t>(2, (3 * n + 9) / 10);
    char text[256];
    if (elsewhere && best.covered >= now.covered + moreCovered) {
      std::snprintf(text, sizeof text, "an offset of %s puts %zu of %zu photos on the tracks, against %zu with %s",
                    formatSignedClock(best.offsetS).c_str(), best.covered, n, now.covered,
                    describeOffset(appliedHere).c_str());
      check.looksWrong = true;
    } else if (elsewhere && n >= 5 && best.covered >= now.covered && best.stopped >= now.stopped + moreStopped) {
      std::snprintf(text, sizeof text,
                    "an offset of %s puts %zu of %zu photos where the tracks stop, against %zu with %s",
                    formatSignedClock(best.offsetS).c_str(), best.stopped, n, now.stopped,
                    describeOffset(appliedHere).c_str());
      check.looksWrong = true;
    }
    if (check.looksWrong) {
      check.message = text;
      check.better = byPhotos;
      return check;
    }
  }
  std::size_t reached = 0;
  for (const ClockSample& s : samples) {
    TrackTimeline::Hit hit;
    if (timeline.locate(appliedHere.apply(s.clock), hit)) ++reached;
  }
  if (n >= 3 && reached * 2 < n) {
    char text[160];
    std::snprintf(text, sizeof text, "%zu of %zu photos fall outside the tracks with %s", n - reached, n,
                  describeOffset(appliedHere).c_str());
    check.looksWrong = true;
    check.message = text;
    if (byPhotos.found() && byPhotos.photosUsed > reached) check.better = byPhotos;
  }
  return check;
}

}  // namespace pixtrail
