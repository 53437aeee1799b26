#include "cli/NmeaCommand.hpp"

#include <charconv>
#include <cstdio>
#include <memory>

#include "app/Configuration.hpp"
#include "app/Startup.hpp"
#include "core/input_limits.hpp"
#include "core/text.hpp"
#include "devices/TProtocoloNMEA.hpp"

namespace pixtrail::cli {

namespace {

constexpr std::size_t kReadChunk = 1 << 20;
constexpr std::size_t kFlushAt = 1 << 20;

// JSON string contents: the system's 8-bit text becomes UTF-8, control characters are escaped.
void appendJsonString(std::string& out, std::string_view text) {
  out += '"';
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += ch;
    } else if (c < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
      out += escaped;
    } else if (c >= 0x80) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += ch;
    }
  }
  out += '"';
}

void appendNumber(std::string& out, double value) {
  char text[32];
  const auto [end, ec] = std::to_chars(text, text + sizeof text, value);
  out.append(text, ec == std::errc() ? end : text);
}

// Altitudes are held as 32-bit reals: their shortest form, not the double's digits.
void appendNumber(std::string& out, float value) {
  char text[32];
  const auto [end, ec] = std::to_chars(text, text + sizeof text, value);
  out.append(text, ec == std::errc() ? end : text);
}

void appendInteger(std::string& out, long long value) {
  char text[24];
  const auto [end, ec] = std::to_chars(text, text + sizeof text, value);
  out.append(text, ec == std::errc() ? end : text);
}

}  // namespace

void appendNmeaJsonLine(std::string& out, long long lineNumber, const TProtocoloNMEA& protocol, bool changed,
                        const TDatosGPSActual& fix) {
  out += "{\"line\":";
  appendInteger(out, lineNumber);
  out += ",\"type\":";
  if (protocol.lastParsed()) appendJsonString(out, protocol.lastSentence().type());
  else out += "null";
  out += ",\"checksum_ok\":";
  out += protocol.lastParsed() && protocol.lastSentence().checksumCorrect() ? "true" : "false";
  out += ",\"changed\":";
  out += changed ? "true" : "false";
  out += ",\"error\":";
  if (protocol.lastParsed()) out += "null";
  else appendJsonString(out, protocol.lastError().message);
  out += ",\"fix\":{\"valid\":";
  out += fix.fixValid ? "true" : "false";
  out += ",\"lat\":";
  appendNumber(out, fix.position.lat);
  out += ",\"lon\":";
  appendNumber(out, fix.position.lon);
  out += ",\"alt\":";
  if (hasAltitude(fix.position.alt)) appendNumber(out, fix.position.alt);
  else out += "null";
  out += ",\"sats\":";
  if (fix.satellites >= 0) appendInteger(out, fix.satellites);
  else out += "null";
  out += ",\"hdop\":";
  appendNumber(out, fix.hdop);
  out += ",\"speed_ms\":";
  if (fix.speedMs >= 0.0) appendNumber(out, fix.speedMs);
  else out += "null";
  out += ",\"course_rad\":";
  if (fix.courseRad >= 0.0) appendNumber(out, fix.courseRad);
  else out += "null";
  out += ",\"time\":";
  appendJsonString(out, fix.time);
  out += ",\"date\":";
  appendJsonString(out, fix.date);
  out += ",\"differential\":";
  out += fix.differential ? "true" : "false";
  out += "}}\n";
}

void appendNmeaTextLine(std::string& out, long long lineNumber, const TProtocoloNMEA& protocol, bool changed,
                        const TDatosGPSActual& fix) {
  if (!protocol.lastParsed()) return;  // the message went to stderr
  const TComandaNMEA_Rx& s = protocol.lastSentence();
  char text[256];
  const char* checksum = s.checksumCorrect() ? "ok" : s.checksumText().empty() ? "none" : "bad";
  std::snprintf(text, sizeof text, "%lld %.*s checksum=%s %s %s %.9f %.9f", lineNumber,
                static_cast<int>(s.type().size()), s.type().data(), checksum, changed ? "changed" : "-",
                fix.fixValid ? "valid" : "invalid", fix.position.lat, fix.position.lon);
  out += latin1ToUtf8(text);
  if (hasAltitude(fix.position.alt)) {
    std::snprintf(text, sizeof text, " alt=%.4f", static_cast<double>(fix.position.alt));
    out += text;
  }
  if (fix.satellites >= 0) out += " sats=" + std::to_string(fix.satellites);
  std::snprintf(text, sizeof text, " hdop=%g", fix.hdop);
  out += text;
  if (fix.speedMs >= 0.0) {
    std::snprintf(text, sizeof text, " speed_ms=%.3f", fix.speedMs);
    out += text;
  }
  if (fix.courseRad >= 0.0) {
    std::snprintf(text, sizeof text, " course_rad=%.5f", fix.courseRad);
    out += text;
  }
  if (!fix.time.empty()) out += " time=" + latin1ToUtf8(fix.time);
  if (!fix.date.empty()) out += " date=" + latin1ToUtf8(fix.date);
  if (fix.differential) out += " differential";
  out += '\n';
}

namespace {

struct FileCloser {
  void operator()(std::FILE* f) const {
    if (f != nullptr && f != stdin) std::fclose(f);
  }
};

bool blank(std::string_view line) { return trim(line).empty(); }

}  // namespace

void setupNmea(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<NmeaOptions>();
  CLI::App* cmd = parent.add_subcommand("nmea", "Decode an NMEA log line by line into the current fix");
  cmd->add_option("input", options->input, "NMEA log, or - for standard input")->option_text("FILE|-");
  addNmeaLiveOptions(*cmd, options->live);
  cmd->add_flag("--json", options->json, "One JSON object per line");
  cmd->add_flag("--no-checksum", options->ignoreChecksum,
                "Take sentences whose checksum fails or is missing (as Use_Checksum_NMEA=0 in gps.ini)");
  cmd->add_option("--prefer", options->preferredSentence,
                  "Preferred position sentence: GGA, RMC or GLL (default: gps.ini's Comanda_NMEA_MovingMap)")
      ->option_text("TYPE");
  cmd->callback([options, cmd, &global, &result] {
    options->configFile = global.configFile;
    options->live.gpsd = cmd->count("--gpsd") > 0;
    options->live.global = global;
    options->live.configFile = global.configFile;
    options->live.json = options->json;
    options->live.ignoreChecksum = options->ignoreChecksum;
    options->live.preferredSentence = options->preferredSentence;
    const bool live = options->live.hasSource();
    if (live == !options->input.empty()) {
      std::fprintf(stderr, "Give either a log FILE (or -) or one of --port, --mailslot, --gpsd\n");
      result.status = kExitUsage;
      return;
    }
    result.status = live ? runNmeaLive(options->live) : runNmea(*options);
  });
}

NmeaSettings loadNmeaSettings(const std::string& configFile, bool ignoreChecksum,
                              const std::string& preferredSentence) {
  Configuration& config = configuration();
  std::string message;
  config.load(configFile.empty() ? defaultConfigFile() : std::filesystem::path(configFile), message);
  if (!message.empty()) std::fprintf(stderr, "%s\n", message.c_str());
  return NmeaSettings{config.useNmeaChecksum.get() && !ignoreChecksum,
                      preferredSentence.empty() ? config.nmeaMovingMapSentence.get() : preferredSentence};
}

int runNmea(const NmeaOptions& options) {
  std::unique_ptr<std::FILE, FileCloser> in(options.input == "-" ? stdin : std::fopen(options.input.c_str(), "rb"));
  if (!in) {
    std::fprintf(stderr, "Error opening %s\n", options.input.c_str());
    return kExitUsage;
  }
  // Only the two settings of the dispatch are needed: no datum table, no language file.
  const NmeaSettings settings = loadNmeaSettings(options.configFile, options.ignoreChecksum, options.preferredSentence);
  TProtocoloNMEA protocol(settings);
  TDatosGPSActual fix;
  int sinceLastPosition = 0;
  std::string previousType;
  long long lineNumber = 0;
  int status = kExitOk;
  std::string out;
  out.reserve(kFlushAt + 4096);
  std::string carry;
  std::vector<char> chunk(kReadChunk);

  const auto handle = [&](std::string_view line) {
    ++lineNumber;
    if (blank(line)) return;
    const bool changed = protocol.processLine(line, fix, sinceLastPosition, previousType);
    if (!protocol.lastParsed()) {
      std::fprintf(stderr, "line %lld: %s\n", lineNumber, protocol.lastError().message.c_str());
      status = kExitSomeFailed;
    }
    if (options.json) appendNmeaJsonLine(out, lineNumber, protocol, changed, fix);
    else appendNmeaTextLine(out, lineNumber, protocol, changed, fix);
    if (out.size() >= kFlushAt) {
      std::fwrite(out.data(), 1, out.size(), stdout);
      out.clear();
    }
  };

  bool overlong = false;  // skipping the rest of a line that was too long
  for (;;) {
    const std::size_t got = std::fread(chunk.data(), 1, chunk.size(), in.get());
    if (got == 0) break;
    std::string_view data(chunk.data(), got);
    std::size_t lf = data.find('\n');
    if (overlong) {
      if (lf == std::string_view::npos) continue;
      overlong = false;
      data.remove_prefix(lf + 1);
      lf = data.find('\n');
    }
    if (!carry.empty() && lf != std::string_view::npos) {
      carry.append(data.substr(0, lf + 1));
      handle(carry);
      carry.clear();
      data.remove_prefix(lf + 1);
      lf = data.find('\n');
    }
    while (lf != std::string_view::npos) {
      handle(data.substr(0, lf + 1));
      data.remove_prefix(lf + 1);
      lf = data.find('\n');
    }
    carry.append(data);
    if (carry.size() > limits::kMaxLineBytes) {
      // An endless line (a binary stream, /dev/zero) is reported once and skipped to its end.
      ++lineNumber;
      std::fprintf(stderr, "line %lld: line too long (over %zu bytes), skipped\n", lineNumber, limits::kMaxLineBytes);
      status = kExitSomeFailed;
      carry.clear();
      carry.shrink_to_fit();
      overlong = true;
    }
  }
  if (std::ferror(in.get())) {
    std::fprintf(stderr, "Error reading %s\n", options.input.c_str());
    status = kExitUsage;
  }
  if (!carry.empty()) handle(carry);
  std::fwrite(out.data(), 1, out.size(), stdout);
  std::fflush(stdout);
  return status;
}

}  // namespace pixtrail::cli
