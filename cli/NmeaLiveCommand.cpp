#include "cli/NmeaLiveCommand.hpp"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>

#ifdef _WIN32
#include <io.h>
#define isatty _isatty
#define fileno _fileno
#else
#include <unistd.h>
#endif

#include "app/Configuration.hpp"
#include "app/Startup.hpp"
#include "cli/NmeaCommand.hpp"
#include "cli/TrackCommandSupport.hpp"
#include "devices/GpsdClient.hpp"
#include "devices/PortLineReader.hpp"
#include "devices/TConfigPuertos.hpp"
#include "devices/protocol_detection.hpp"
#include "tracks/track_file_dispatch.hpp"
#include "tracks/track_format_nmea.hpp"

namespace pixtrail::cli {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kWakeMs = 200;  // how often the loop looks at Ctrl-C and the clock

// Set from the signal handler, which may touch nothing else.
volatile std::sig_atomic_t stopSignal = 0;
extern "C" void onStopSignal(int) { stopSignal = 1; }

// The receiver's sentences as they came: at the end they are read back as an NMEA log, so the
// recorded track gets that reader's epochs, dates and midnight handling.
struct Recorder {
  std::string path;
  std::string log;
  void take(std::string_view line) {
    if (path.empty()) return;
    log.append(line);
    if (log.back() != '\n') log += "\r\n";
  }
};

class LiveSession {
 public:
  LiveSession(const NmeaLiveOptions& options, const NmeaSettings& settings)
      : options_(options), protocol_(settings), tty_(!options.json && isatty(fileno(stdout))) {
    recorder_.path = options.record;
  }

  void handle(std::string_view line) {
    ++lines_;
    lastLine_ = Clock::now();
    warnedSilent_ = false;
    const bool changed = protocol_.processLine(line, fix_, sinceLastPosition_, previousType_);
    if (protocol_.lastParsed() && (protocol_.lastSentence().checksumCorrect() || !protocol_.settings().useChecksum))
      recorder_.take(line);
    if (changed && fix_.fixValid) {
      ++positions_;
      lastPosition_ = lastLine_;
      warnedNoPosition_ = false;
    }
    out_.clear();
    if (tty_) {
      if (!protocol_.lastParsed()) return;
      statusLine();
    } else if (options_.json) {
      appendNmeaJsonLine(out_, lines_, protocol_, changed, fix_);
    } else {
      if (!protocol_.lastParsed()) std::fprintf(stderr, "line %lld: %s\n", lines_, protocol_.lastError().message.c_str());
      appendNmeaTextLine(out_, lines_, protocol_, changed, fix_);
    }
    std::fwrite(out_.data(), 1, out_.size(), stdout);
    std::fflush(stdout);
  }

  // Once per silence longer than the NMEA time-out, and once per stretch of sentences without a
  // position that long.
  void checkSilence(int timeoutMs) {
    const auto now = Clock::now();
    const auto limit = std::chrono::milliseconds(timeoutMs);
    if (!warnedSilent_ && now - lastLine_ >= limit) {
      warnedSilent_ = true;
      endStatusLine();
      std::fprintf(stderr, "%s\n", std::string(kNmeaSilent).c_str());
    } else if (!warnedNoPosition_ && now - lastLine_ < limit && now - lastPosition_ >= limit) {
      warnedNoPosition_ = true;
      endStatusLine();
      std::fprintf(stderr, "No se reciben mensajes NMEA de posicion\n");
    }
  }

  void endStatusLine() {
    if (tty_ && lines_ > 0) std::fputs("\n", stdout);
  }

  // Saves the recording; false (with the message on stderr) when it could not be written.
  bool save() {
    if (recorder_.path.empty()) return true;
    std::string message;
    TVolGPS track;
    NmeaLogOptions logOptions;
    // A receiver that sends no date (GGA only) is recording today, in UTC as NMEA times are.
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
#ifdef _WIN32
    gmtime_s(&utc, &now);
#else
    gmtime_r(&now, &utc);
#endif
    DateTimeRecord today;
    today.day = utc.tm_mday;
    today.month = utc.tm_mon + 1;
    today.year = utc.tm_year + 1900;
    logOptions.date = today;
    readNmeaLogText(recorder_.log, recorder_.path, logOptions, track, message);
    message.clear();
    if (track.points.size() == 0) {
      std::fprintf(stderr, "%s: no positions received, nothing recorded\n", recorder_.path.c_str());
      return false;
    }
    TrackFileSettings settings;
    if (!startTrackCommand(options_.global, settings)) return false;
    if (!saveTrack(track, recorder_.path, settings, message)) {
      std::fprintf(stderr, "%s: %s\n", recorder_.path.c_str(), message.c_str());
      return false;
    }
    std::fprintf(stderr, "%zu positions recorded in %s\n", track.points.size(), track.fileName.c_str());
    return true;
  }

 private:
  void statusLine() {
    char text[256];
    std::snprintf(text, sizeof text, "\r\033[K%s %s %.7f %.7f", fix_.time.empty() ? "------" : fix_.time.c_str(),
                  fix_.fixValid ? "fix   " : "no fix", fix_.position.lat, fix_.position.lon);
    out_ = text;
    if (hasAltitude(fix_.position.alt)) {
      std::snprintf(text, sizeof text, " %.1f m", static_cast<double>(fix_.position.alt));
      out_ += text;
    }
    if (fix_.satellites >= 0) out_ += " sats " + std::to_string(fix_.satellites);
    if (fix_.speedMs >= 0) {
      std::snprintf(text, sizeof text, " %.1f km/h", fix_.speedMs * 3.6);
      out_ += text;
    }
    if (!recorder_.path.empty()) out_ += " rec " + std::to_string(positions_);
  }

  const NmeaLiveOptions& options_;
  TProtocoloNMEA protocol_;
  TDatosGPSActual fix_;
  int sinceLastPosition_ = 0;
  std::string previousType_;
  long long lines_ = 0;
  long long positions_ = 0;
  bool tty_;
  bool warnedSilent_ = false;
  bool warnedNoPosition_ = false;
  Clock::time_point lastLine_ = Clock::now();
  Clock::time_point lastPosition_ = lastLine_;
  std::string out_;
  Recorder recorder_;
};

bool timeUp(const NmeaLiveOptions& options, Clock::time_point start) {
  if (stopSignal) return true;
  return options.seconds > 0 &&
         Clock::now() - start >= std::chrono::duration<double>(options.seconds);
}

void printError(const TErrorPr& error) {
  std::fprintf(stderr, "%s%s%s\n", error.text().c_str(), error.detail().empty() ? "" : ": ", error.detail().c_str());
}

}  // namespace

void addNmeaLiveOptions(CLI::App& cmd, NmeaLiveOptions& options) {
  cmd.add_option("--port", options.port, "Live fix from this serial port (COMn as `pixtrail ports` lists, or a device path)")
      ->option_text("PORT");
  cmd.add_option("--baud", options.baud, "Line speed (default 4800)")->option_text("N");
  cmd.add_flag("--mailslot", options.mailslot, "Live fix from the sentences another program forwards to the mailslot");
  cmd.add_option("--gpsd", options.gpsdAddress, "Live fix from a running gpsd (default localhost:2947)")
      ->expected(0, 1)
      ->option_text("[HOST:PORT]");
  cmd.add_option("--record", options.record, "Save the positions received as a track (format by extension)")
      ->option_text("FILE");
  cmd.add_option("--seconds", options.seconds, "Stop after this many seconds (default: at Ctrl-C)")
      ->option_text("N")
      ->check(CLI::NonNegativeNumber);
  cmd.add_option("--timeout", options.timeoutMs, "Silence in ms before a warning (default Comm_NNEA_Timeout)")
      ->option_text("MS");
}

int runNmeaLive(const NmeaLiveOptions& options) {
  if ((!options.port.empty()) + options.mailslot + options.gpsd > 1) {
    std::fprintf(stderr, "Give only one of --port, --mailslot, --gpsd\n");
    return kExitUsage;
  }
  std::error_code ec;
  if (!options.record.empty() && std::filesystem::exists(options.record, ec)) {
    std::fprintf(stderr, "%s: File already exists\n", options.record.c_str());
    return kExitUsage;
  }
  const NmeaSettings settings = loadNmeaSettings(options.configFile, options.ignoreChecksum, options.preferredSentence);
  const Configuration& config = configuration();
  const int silenceMs = options.timeoutMs > 0 ? options.timeoutMs : config.commNmeaTimeoutMs.get();
  const auto charTimeoutMs = static_cast<std::uint32_t>(std::max(config.commTimeoutChars2Ms.get(), 1));

  stopSignal = 0;
  std::signal(SIGINT, onStopSignal);
  std::signal(SIGTERM, onStopSignal);
  LiveSession session(options, settings);
  const auto handle = [&session](std::string_view line) { session.handle(line); };
  const auto start = Clock::now();
  int status = kExitOk;

  try {
    if (options.gpsd) {
      GpsdClient gpsd;
      gpsd.connect(options.gpsdAddress, silenceMs);
      while (!timeUp(options, start)) {
        if (!gpsd.pump(kWakeMs, handle)) {
          std::fprintf(stderr, "gpsd closed the connection\n");
          status = kExitSomeFailed;
          break;
        }
        session.checkSilence(silenceMs);
      }
    } else {
      TConfigPuerto port;
      port.baud = options.baud;
      if (options.mailslot) port.index = kMailslotPortIndex;
      else if (!TConfigPuerto::fromText(options.port, port)) {
        std::fprintf(stderr, "%s: not a port\n", options.port.c_str());
        return kExitUsage;
      }
      // Before the device: its watch thread posts to the loop until the device stops it.
      NotificationLoop loop;
      TGPSConectado device(port, 4096, charTimeoutMs);
      device.open();
      device.port().purge();  // what sat in the buffers is from before this run
      PortLineReader reader(device.port());
      if (device.port().isMailslot()) {
        // A mailslot has no comm events: each read waits for the next message.
        while (!timeUp(options, start)) {
          reader.pump(kWakeMs, handle);
          session.checkSilence(silenceMs);
        }
      } else {
        device.watch(loop);
        while (!timeUp(options, start)) {
          const auto note = loop.wait(kWakeMs);
          session.checkSilence(silenceMs);
          if (!note) continue;
          if (note->kind == CommNotification::Kind::data) {
            reader.pump(static_cast<int>(charTimeoutMs), handle);
            device.watcher()->consumed();
            continue;
          }
          // The line went away: keep what reached us, then report.
          try {
            while (reader.pump(0, handle) > 0) {
            }
          } catch (const TErrorPr&) {
          }
          if (std::string rest = reader.takeRest(); !rest.empty()) handle(rest);
          session.endStatusLine();
          std::fprintf(stderr, "%s\n", note->text.c_str());
          status = kExitSomeFailed;
          break;
        }
      }
    }
  } catch (const TErrorPr& error) {
    session.endStatusLine();
    printError(error);
    status = kExitSomeFailed;
  }
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
  if (status == kExitOk) session.endStatusLine();
  if (!session.save() && status == kExitOk) status = kExitSomeFailed;
  return status;
}

}  // namespace pixtrail::cli
