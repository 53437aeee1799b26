#include "tracks/track_file_native.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <cstdio>
#include <memory>

#include "core/input_limits.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_datum.hpp"

namespace pixtrail {

namespace {
constexpr std::string_view kCrLf = "\r\n";
constexpr float kLowestWrittenAltitudeM = -1000.0f;  // below it the file says kUnknownAltitudeText
constexpr float kLowestSpeedMs = -1.0f;
constexpr float kLowestWrittenCadence = -0.5f;
constexpr std::size_t kReadChunkBytes = 1 << 22;

// Blank-separated fields without allocating. Only fields 0 to 19 mean something; the count still
// stops at kMaxPointFields like the reader's split.
constexpr std::size_t kMeaningfulPointFields = 20;
struct Fields {
  std::array<std::string_view, kMeaningfulPointFields> items;
  std::size_t count = 0;
  explicit Fields(std::string_view line) {
    std::size_t i = 0;
    const std::size_t n = line.size();
    while (i < n && count < kMaxPointFields) {
      while (i < n && (line[i] == ' ' || line[i] == '\t')) ++i;
      const std::size_t start = i;
      while (i < n && line[i] != ' ' && line[i] != '\t') ++i;
      if (i == start) continue;
      if (count < items.size()) items[count] = line.substr(start, i - start);
      ++count;
    }
  }
};


// The content of a header line: what follows the letter and its separator of one or two blanks.
std::string_view content(std::string_view line, std::size_t separator) {
  line.remove_prefix(1);
  for (std::size_t k = 0; k < separator && !line.empty() && line[0] == ' '; ++k) line.remove_prefix(1);
  return line;
}

void appendTextLine(char letter, std::string_view separator, std::string_view text, std::string& out) {
  out += letter;
  out += separator;
  out += text;
  out += kCrLf;
}

std::string withoutLineBreaks(std::string text) {
  for (char& c : text)
    if (c == '\r' || c == '\n') c = ' ';
  return text;
}

constexpr std::string_view kTwoBlankTexts = "PQNJIbDdZRs";

// A mark beside the track goes on a linked-object line after the point it follows in time, so
// that readers that know no marks still keep it with that point:
// "a  foto|NAME|POSITION FIELDS|DD-MMM-YY HH:MM:SS|ALTITUDE".
constexpr std::string_view kMarkPrefix = "a  foto|";

DateTimeValue markTime(const TrackMark& m) {
  DateTimeValue v = 0.0;
  return m.time.toValue(v) ? v : -std::numeric_limits<DateTimeValue>::infinity();
}

bool appendMarkLine(const TrackMark& m, const FileCoordinates& file, std::string& out, std::string& message) {
  const std::size_t start = out.size();
  std::string name = withoutLineBreaks(m.name);
  std::replace(name.begin(), name.end(), '|', ' ');
  out += kMarkPrefix;
  out += name + '|';
  if (!appendPositionFields(m.position, file, out, message)) {
    out.resize(start);
    return false;
  }
  out += '|';
  appendPointDate(m.time, out);
  out += ' ';
  appendPointTime(m.time, out);
  out += '|';
  if (m.position.alt < kLowestWrittenAltitudeM) out += kUnknownAltitudeText; else appendReal(m.position.alt, out);
  out += kCrLf;
  return true;
}

// The mark line's content after kMarkPrefix; false when it is not one.
bool parseMarkLine(std::string_view content, const FileCoordinates& file, TrackMark& out) {
  const auto parts = splitFields(content, '|');
  if (parts.size() != 4) return false;
  const Fields position(parts[1]), when(parts[2]);
  TrackMark m;
  m.name = parts[0];
  std::string ignored;
  if (position.count != 3 ||
      !readPositionFields(position.items[0], position.items[1], position.items[2], file, m.position, ignored))
    return false;
  if (when.count > 0) parsePointDate(when.items[0], m.time);
  if (when.count > 1) parsePointTime(when.items[1], m.time);
  float alt = kUnknownAltitude;
  parseNumberInto(trim(parts[3]), alt);
  m.position.alt = alt;
  out = std::move(m);
  return true;
}
}  // namespace

bool parsePointLine(std::string_view line, const FileCoordinates& file, TPuntVol& point) {
  const Fields f(line);
  std::string ignored;
  if (f.count < 6 || f.items[0] != "T" ||
      !readPositionFields(f.items[1], f.items[2], f.items[3], file, point.position, ignored))
    return false;
  // From here on a field that does not read (an unknown month, a real in an integer field) keeps
  // its default and the point stays: only the position makes a point unusable.
  parsePointDate(f.items[4], point.time);
  parsePointTime(f.items[5], point.time);
  point.segmentStart = f.count <= 6 || f.items[6] != "N";
  float altitude = kUnknownAltitude;
  if (f.count > 7) parseNumberInto(f.items[7], altitude);
  point.setAltitude(altitude);
  // Fields 8 to 19, each read only when the line has it.
  auto field = [&](std::size_t i, auto& target) {
    if (f.count > i) parseNumberInto(f.items[i], target);
  };
  field(8, point.speedMs), field(9, point.courseDeg), field(10, point.temperatureC);
  field(11, point.satellites), field(12, point.hdop), field(13, point.pressureHpa);
  field(14, point.fixType), field(15, point.verticalSpeedMs), field(16, point.powerW);
  field(17, point.heartRate), field(18, point.cadenceRpm), field(19, point.distanceFromStartM);
  if (!(point.speedMs >= kLowestSpeedMs)) point.speedMs = kLowestSpeedMs;
  point.stateFlags |= TPuntVol::kValidData;
  return true;
}

bool appendPointLine(const TPuntVol& point, const FileCoordinates& file, bool preferGpsAltitude,
                     std::string& out, std::string& message) {
  const std::size_t start = out.size();
  out += "T  ";
  if (!appendPositionFields(point.position, file, out, message)) {
    out.resize(start);
    return false;
  }
  out += ' ';
  appendPointDate(point.time, out);
  out += ' ';
  appendPointTime(point.time, out);
  out += point.segmentStart ? " s " : " N ";
  const float altitude = point.altitude(preferGpsAltitude);
  if (altitude < kLowestWrittenAltitudeM) out += kUnknownAltitudeText; else appendReal(altitude, out);
  for (const float v : {point.speedMs, point.courseDeg, point.temperatureC}) {
    out += ' ';
    appendReal(v, out);
  }
  out += ' ';
  appendInteger(point.satellites, out);
  for (const float v : {point.hdop, point.pressureHpa}) {
    out += ' ';
    appendReal(v, out);
  }
  out += ' ';
  appendInteger(point.fixType, out);
  for (const float v : {point.verticalSpeedMs, point.powerW}) {
    out += ' ';
    appendReal(v, out);
  }
  const bool writeCadence = point.cadenceRpm >= kLowestWrittenCadence;  // false for NaN too
  if (point.heartRate > 0 || writeCadence) {
    out += ' ';
    appendInteger(point.heartRate, out);
  }
  if (writeCadence) {
    out += ' ';
    appendReal(point.cadenceRpm, out);
  }
  return true;
}

std::filesystem::path nativeTrackFileName(const std::filesystem::path& requested) {
  std::filesystem::path name = requested;
  // On a file system that tells cases apart, "b.trk" is not "b.TRK": an extension that differs
  // only in case is kept as the user typed it.
  const std::string ext = requested.extension().string();
  if (!equalsIgnoreCase(ext, ".PLE") && !equalsIgnoreCase(ext, ".TRK")) name.replace_extension(".TRK");
  return name;
}

bool formatNativeTrack(const TVolGPS& track, const NativeTrackWriteOptions& options, std::string& out,
                       std::string& message) {
  // Written as they stand, 1066 would read back as 1966: such years are refused, not changed.
  const std::string range = " cannot be written (this format holds " + std::to_string(kFirstTwoDigitYear) + " to " +
                            std::to_string(kLastTwoDigitYear) + ")";
  for (std::size_t i = 0; i < track.points.size(); ++i) {
    if (pointDateFits(track.points[i].time)) continue;
    appendMessage(message, "Point " + std::to_string(i + 1) + ": the year " +
                               std::to_string(track.points[i].time.year) + range);
    return false;
  }
  if (!pointDateFits(track.headerRecord.start)) {
    appendMessage(message, "Track start: the year " + std::to_string(track.headerRecord.start.year) + range);
    return false;
  }
  std::string datumName;
  if (!datumNameForFile(options.file.datum, datumName, message)) return false;
  if (!isFileCoordinateMode(options.file.mode)) {
    appendMessage(message, "Unknown coordinate mode in file: " + std::to_string(options.file.mode));
    return false;
  }
  out.reserve(out.size() + 512 + track.pointCount() * 96);
  appendTextLine('G', "  ", datumName, out);
  appendTextLine('U', "  ", std::to_string(options.file.mode), out);
  for (const char letter : std::string_view("PQNJIbDd"))
    if (!track.headerText(letter).empty()) appendTextLine(letter, "  ", track.headerText(letter), out);
  char buffer[160];
  std::snprintf(buffer, sizeof buffer, "%u %u %u %d %f", track.colour & 0xFFu, (track.colour >> 8) & 0xFFu,
                (track.colour >> 16) & 0xFFu, track.width, track.drawParameter);
  appendTextLine('C', "  ", buffer, out);
  if (track.hasTimeOffset) appendTextLine('L', "  ", formatTimeOffset(track.timeOffsetS), out);
  const TrackDisplaySettings& v = track.display;
  std::string values;
  for (const float x : {v.value1, v.value2}) appendReal(x, values), values += ' ';
  for (const int x : {v.value3, v.value4, v.value5, v.value6}) appendInteger(x, values), values += ' ';
  appendDouble(v.value7, values);
  values += ' ';
  appendReal(v.value8, values);
  values += ' ';
  appendInteger(v.flag, values);
  appendTextLine('V', "  ", values, out);
  // The comment's lines are split at carriage returns; the line feed after each is dropped.
  std::string_view comment = track.comment;
  while (!comment.empty()) {
    const std::size_t cr = comment.find('\r');
    appendTextLine('M', "  ", comment.substr(0, cr), out);
    if (cr == std::string_view::npos) break;
    comment.remove_prefix(cr + 1);
    if (!comment.empty() && comment[0] == '\n') comment.remove_prefix(1);
  }
  for (const char letter : std::string_view("ZRs"))
    if (!track.headerText(letter).empty()) appendTextLine(letter, "  ", track.headerText(letter), out);
  const TrackHeaderRecord& e = track.headerRecord;
  std::string record;
  appendPointDate(e.start, record);
  record += ' ';
  appendPointTime(e.start, record);
  record += '|' + formatTimeOffset(e.durationS);
  for (const std::uint8_t flag : e.flags) record += '|' + std::to_string(flag);
  appendTextLine('E', " ", record, out);
  for (const char letter : std::string_view("ijkgef"))
    if (!track.headerText(letter).empty()) appendTextLine(letter, " ", track.headerText(letter), out);
  if (track.zValues) {
    std::string z;
    for (std::size_t k = 0; k < 4; ++k) {
      if (k) z += ',';
      appendDouble((*track.zValues)[k], z);
    }
    appendTextLine('z', "  ", z, out);
  }
  std::vector<const TrackMark*> marks;
  for (const TrackMark& m : track.marks) marks.push_back(&m);
  std::stable_sort(marks.begin(), marks.end(),
                   [](const TrackMark* a, const TrackMark* b) { return markTime(*a) < markTime(*b); });
  std::size_t nextMark = 0;
  for (std::size_t i = 0; i < track.pointCount(); ++i) {
    const TPuntVol& p = track.point(i);
    if (!appendPointLine(p, options.file, options.preferGpsAltitude, out, message)) return false;
    out += kCrLf;
    if (p.coursePoint) {
      const TCoursePoint& c = *p.coursePoint;
      out += "t ";
      appendInteger(c.icon, out);
      out += '|' + withoutLineBreaks(c.comment) + '|';
      appendInteger(c.value16, out);
      out += '|';
      appendReal(c.valueReal, out);
      if (c.linked) out += '|' + withoutLineBreaks(c.linked->line);
      out += kCrLf;
    }
    if (p.linked) {
      out += withoutLineBreaks(p.linked->line);
      out += kCrLf;
    }
    const DateTimeValue next = i + 1 < track.pointCount() ? track.pointTime(i + 1)
                                                           : std::numeric_limits<DateTimeValue>::infinity();
    for (; nextMark < marks.size() && markTime(*marks[nextMark]) < next; ++nextMark)
      if (!appendMarkLine(*marks[nextMark], options.file, out, message)) return false;
  }
  return true;
}

namespace {
// Line-by-line state of the reader: the file's coordinates so far and the point read last.
class NativeTrackParser {
 public:
  NativeTrackParser(TVolGPS& track, FileCoordinates& file, std::string& message)
      : track_(track), file_(file), message_(message) {}

  void line(std::string_view l) {
    if (!l.empty() && l.back() == '\r') l.remove_suffix(1);
    if (l.empty() || failed_) return;
    const char letter = l[0];
    if (letter == 'T') return point(l);
    if (letter == 'a' || letter == 'A') return linked(l);
    // One row per letter with content of its own; the plain texts are handled after the table.
    static constexpr std::array<Handler, 10> kHandlers = {{
        {'G', 2, &NativeTrackParser::datum}, {'U', 2, &NativeTrackParser::mode},
        {'C', 2, &NativeTrackParser::colour}, {'L', 2, &NativeTrackParser::offset},
        {'V', 2, &NativeTrackParser::display}, {'M', 2, &NativeTrackParser::comment},
        {'E', 1, &NativeTrackParser::header}, {'z', 2, &NativeTrackParser::zLine},
        {'t', 1, &NativeTrackParser::coursePoint}, {'F', 0, &NativeTrackParser::fLine},
    }};
    for (const Handler& h : kHandlers)
      if (h.letter == letter) return (this->*h.take)(content(l, h.separator));
    if (kTwoBlankTexts.find(letter) != std::string_view::npos) track_.headerText(letter) = content(l, 2);
    else if (std::string_view("ijkgef").find(letter) != std::string_view::npos)
      track_.headerText(letter) = content(l, 1);
  }
  bool finish() {
    if (aberrant_) appendMessage(message_, kAberrantPointsMessage);
    return !failed_;
  }

 private:
  struct Handler {
    char letter;
    std::size_t separator;
    void (NativeTrackParser::*take)(std::string_view);
  };


  void point(std::string_view l) {
    auto p = std::make_unique<TPuntVol>();
    if (parsePointLine(l, file_, *p)) {
      last_ = &track_.appendPoint(std::move(p));
    } else {
      aberrant_ = true;
      last_ = nullptr;  // its "t" and linked-object lines go with it
    }
  }
  // Positions in an unknown datum would be misplaced: such a file is refused.
  void datum(std::string_view c) {
    int index = kDatumWgs84;
    if (datumFromFileName(trim(c), index, message_)) file_.datum = index;
    else failed_ = true;
  }
  void mode(std::string_view c) {
    int m = 0;
    if (parseNumberInto(trim(c), m) && isFileCoordinateMode(m)) file_.mode = m;
    else appendMessage(message_, "Unknown coordinate mode in file: " + std::string(trim(c)));
  }
  void colour(std::string_view c) {
    const Fields f(c);
    unsigned r = 0, g = 0, b = 0;
    if (f.count > 0 && parseNumberInto(f.items[0], r) && f.count > 1 && parseNumberInto(f.items[1], g) && f.count > 2 &&
        parseNumberInto(f.items[2], b))
      track_.colour = (r & 0xFFu) | ((g & 0xFFu) << 8) | ((b & 0xFFu) << 16);
    if (f.count > 3) parseNumberInto(f.items[3], track_.width);
    if (f.count > 4) parseNumberInto(f.items[4], track_.drawParameter);
  }
  void offset(std::string_view c) {
    double s = 0.0;
    if (parseTimeOffset(trim(c), s)) {
      track_.hasTimeOffset = true;
      track_.timeOffsetS = s;
    }
  }
  void display(std::string_view c) {
    const Fields f(c);
    TrackDisplaySettings& v = track_.display;
    auto at = [&](std::size_t i, auto& target) { if (f.count > i) parseNumberInto(f.items[i], target); };
    at(0, v.value1), at(1, v.value2), at(2, v.value3), at(3, v.value4), at(4, v.value5);
    at(5, v.value6), at(6, v.value7), at(7, v.value8), at(8, v.flag);
  }
  void comment(std::string_view c) {
    track_.comment += c;
    track_.comment += kCrLf;
  }
  void header(std::string_view c) {
    const auto parts = splitFields(c, '|');
    TrackHeaderRecord& e = track_.headerRecord;
    const Fields when(parts[0]);
    if (when.count > 0) parsePointDate(when.items[0], e.start);
    if (when.count > 1) parsePointTime(when.items[1], e.start);
    if (parts.size() > 1) parseTimeOffset(trim(parts[1]), e.durationS);
    for (std::size_t k = 0; k < 3 && k + 2 < parts.size(); ++k) parseNumberInto(trim(parts[k + 2]), e.flags[k]);
  }
  void zLine(std::string_view c) {
    const auto parts = splitFields(c, ',');
    std::array<double, 4> z{};
    for (std::size_t k = 0; k < 4; ++k)
      if (k >= parts.size() || !parseNumberInto(trim(parts[k]), z[k])) return;
    track_.zValues = z;
  }
  void coursePoint(std::string_view c) {
    if (!last_) return;
    auto cp = std::make_unique<TCoursePoint>();
    const auto parts = splitFields(c, '|');
    parseNumberInto(trim(parts[0]), cp->icon);
    if (parts.size() > 1) cp->comment = parts[1];
    if (parts.size() > 2) parseNumberInto(trim(parts[2]), cp->value16);
    if (parts.size() > 3) parseNumberInto(trim(parts[3]), cp->valueReal);
    if (parts.size() > 4) {
      // The linked object's own text may hold "|".
      const std::size_t at = static_cast<std::size_t>(parts[4].data() - c.data());
      cp->linked = std::make_unique<TObjetoEnlazado>(TObjetoEnlazado{std::string(c.substr(at))});
    }
    last_->coursePoint = std::move(cp);
  }
  void fLine(std::string_view) { track_.readWithFLine = true; }
  // Linked-object lines are kept whole and written back as they came.
  void linked(std::string_view l) {
    TrackMark mark;
    if (l.starts_with(kMarkPrefix) && parseMarkLine(l.substr(kMarkPrefix.size()), file_, mark)) {
      track_.marks.push_back(std::move(mark));
      return;
    }
    if (last_) last_->linked = std::make_unique<TObjetoEnlazado>(TObjetoEnlazado{std::string(l)});
  }

  TVolGPS& track_;
  FileCoordinates& file_;
  std::string& message_;
  TPuntVol* last_ = nullptr;
  bool aberrant_ = false;
  bool failed_ = false;
};
}  // namespace

bool parseNativeTrack(std::string_view text, TVolGPS& track, FileCoordinates& file, std::string& message) {
  NativeTrackParser parser(track, file, message);
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    parser.line(text.substr(0, end));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return parser.finish();
}

bool readNativeTrackStream(std::FILE* in, const std::string& fileName, TVolGPS& track, FileCoordinates& file,
                           std::string& message) {
  NativeTrackParser parser(track, file, message);
  std::string buffer;
  std::string chunk(kReadChunkBytes, '\0');
  for (std::size_t got; (got = std::fread(chunk.data(), 1, chunk.size(), in)) > 0;) {
    buffer.append(chunk.data(), got);
    std::size_t start = 0;
    for (std::size_t end; (end = buffer.find('\n', start)) != std::string::npos; start = end + 1)
      parser.line(std::string_view(buffer).substr(start, end - start));
    buffer.erase(0, start);
    if (buffer.size() > limits::kMaxLineBytes) {
      appendMessage(message, fileName + ": line too long");
      return false;
    }
  }
  if (std::ferror(in)) {
    appendMessage(message, "Error reading " + fileName);
    return false;
  }
  if (!buffer.empty()) parser.line(buffer);
  return parser.finish();
}

}  // namespace pixtrail
