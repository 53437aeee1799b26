#include "cli/GarminCommand.hpp"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>

#include "app/Configuration.hpp"
#include "app/Startup.hpp"
#include "cli/TrackCommandSupport.hpp"
#include "core/text.hpp"
#include "devices/TListaPuertosCOMM.hpp"
#include "devices/TProtocoloGarmin.hpp"
#include "tracks/TRuta.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail::cli {

namespace {

constexpr std::size_t kProgressFromRecords = 20;  // fewer records finish before a bar is worth drawing
constexpr std::size_t kProgressWidth = 40;

void drawProgress(std::size_t done, std::size_t total) {
  if (total < kProgressFromRecords) return;
  const std::size_t filled = std::min(kProgressWidth, done * kProgressWidth / total);
  std::fprintf(stderr, "\r[%s%s] %zu/%zu", std::string(filled, '#').c_str(),
               std::string(kProgressWidth - filled, ' ').c_str(), done, total);
  if (done >= total) std::fprintf(stderr, "\r%s\r", std::string(kProgressWidth + 24, ' ').c_str());
  std::fflush(stderr);
}

int fail(const std::string& what, const std::string& message, int status) {
  std::fprintf(stderr, "%s: %s\n", what.c_str(), message.c_str());
  return status;
}

// The line to the unit, kept open for the command's run.
struct Connection {
  std::unique_ptr<TPuertoCom> port;
  std::unique_ptr<GarminUsbLink> usb;
  std::unique_ptr<TProtocoloGarmin> garmin;
};

void connect(const GarminOptions& options, GarminSettings settings, Connection& c) {
  if (options.usb) {
    c.usb = openGarminUsb();
    c.garmin = std::make_unique<TProtocoloGarmin>(*c.usb, std::move(settings));
    return;
  }
  c.port = createPuertoCom(4096, static_cast<std::uint32_t>(configuration().commTimeoutChars2Ms.get()));
  const std::string& name = options.port;
  int index = -1;
  if (name.size() > 3 && equalsIgnoreCase(name.substr(0, 3), "COM") &&
      name.find_first_not_of("0123456789", 3) == std::string::npos)
    index = std::stoi(name.substr(3)) - 1;
  if (index >= 0) c.port->open(index, true);
  else c.port->openPath(name, true);
  c.port->setBuffers();
  c.port->setState(static_cast<std::uint32_t>(options.baud));
  c.port->setTimeouts();
  c.garmin = std::make_unique<TProtocoloGarmin>(*c.port, std::move(settings));
}

int info(TProtocoloGarmin& garmin, bool json) {
  const GarminProduct p = garmin.identify();
  if (json) {
    nlohmann::ordered_json caps;
    for (const auto& [key, value] : storedProperties(p.capabilities)) caps[std::string(key)] = value;
    caps["D70X"] = p.capabilities.D70X;
    caps["D80X"] = p.capabilities.D80X;
    caps["A3XX"] = p.capabilities.A3XX;
    caps["has_A1006"] = p.capabilities.hasA1006 != 0;
    caps["has_A906"] = p.capabilities.hasA906 != 0;
    nlohmann::ordered_json out{{"product_id", p.productId},
                               {"software_version", p.softwareVersion / 100.0},
                               {"description", p.description},
                               {"protocols", p.protocols},
                               {"capabilities_from_cache", p.fromCache},
                               {"capabilities", caps}};
    std::printf("%s\n", out.dump().c_str());
    return kExitOk;
  }
  const Capacidades_garmin& c = p.capabilities;
  std::printf("product:     %d\nsoftware:    %.2f\ndescription: %s\nprotocols:   %s\n", p.productId,
              p.softwareVersion / 100.0, p.description.c_str(),
              p.protocols.empty() ? (p.fromCache ? "(none sent; from protocol.dat)" : "(none sent; defaults)")
                                  : p.protocols.c_str());
  std::printf("records:     waypoints D%03d, routes A%03d D%03d%s, tracks D%03d%s, time D%03d\n", c.D1XX, c.A2XX, c.D20X,
              c.D21X > 0 ? (" D" + std::to_string(c.D21X)).c_str() : "", c.D30X,
              c.D31X > 0 ? (" D" + std::to_string(c.D31X)).c_str() : "", c.D60X);
  return kExitOk;
}

int download(const GarminOptions& options, const TrackFileSettings& settings, TProtocoloGarmin& garmin) {
  std::error_code ec;
  if (!options.overwrite && std::filesystem::exists(options.file, ec))
    return fail(options.file, "File already exists (use --overwrite)", kExitSomeFailed);
  std::string message;
  TrackFileSettings save = settings;
  save.keepBackup = options.overwrite;
  if (options.kind == "waypoints") {
    TBalizas w;
    garmin.receiveWaypoints(w);
    if (!saveWaypoints(w, options.file, save, message)) return fail(options.file, message, kExitUsage);
    std::printf("%zu waypoints received: %s\n", w.waypoints.size(), options.file.c_str());
    return kExitOk;
  }
  if (options.kind == "routes") {
    TRutas r;
    garmin.receiveRoutes(r);
    if (!saveRoutes(r, options.file, save, message)) return fail(options.file, message, kExitUsage);
    std::printf("%zu routes received: %s\n", r.routes.size(), options.file.c_str());
    return kExitOk;
  }
  std::vector<TVolGPS> tracks;
  garmin.receiveTracks(tracks);
  // One file: each track of the unit becomes a segment of the saved track.
  TVolGPS all = std::move(tracks.front());
  std::size_t points = all.points.size();
  for (std::size_t t = 1; t < tracks.size(); ++t) {
    for (std::size_t i = 0; i < tracks[t].points.size(); ++i) {
      std::unique_ptr<TPuntVol> p = tracks[t].points[i].clone();
      if (i == 0) p->segmentStart = 1;
      all.points.add(std::move(p));
    }
    points += tracks[t].points.size();
  }
  all.Recalculate(TrackSettings{}, message);
  if (!saveTrack(all, options.file, save, message)) return fail(options.file, message, kExitUsage);
  std::printf("%zu tracks, %zu points received: %s\n", tracks.size(), points, all.fileName.c_str());
  return kExitOk;
}

int upload(const GarminOptions& options, const TrackFileSettings& settings, TProtocoloGarmin& garmin) {
  std::string message;
  if (options.kind == "waypoints") {
    TBalizas w;
    if (!openWaypoints(options.file, w, settings, message)) return fail(options.file, message, kExitUsage);
    std::printf("%zu waypoints sent\n", garmin.sendWaypoints(w));
    return kExitOk;
  }
  if (options.kind == "routes") {
    TRutas r;
    if (!openRoutes(options.file, r, settings, message)) return fail(options.file, message, kExitUsage);
    std::printf("%zu routes sent\n", garmin.sendRoutes(r));
    return kExitOk;
  }
  TVolGPS track;
  if (!openTrack(options.file, track, settings, message)) return fail(options.file, message, kExitUsage);
  if (track.headerText('P').empty()) track.headerText('P') = std::filesystem::path(options.file).stem().string();
  if (options.asCourse) {
    garmin.sendCourse(track);
    std::printf("1 course, %zu points sent\n", track.points.size());
    return kExitOk;
  }
  garmin.sendTracks({&track});
  std::printf("1 track, %zu points sent\n", track.points.size());
  return kExitOk;
}

int pvt(TProtocoloGarmin& garmin, int count, bool json) {
  garmin.startPvt();
  for (int i = 0; i < count; ++i) {
    const GarminPvt fix = garmin.readPvt();
    const std::string time = formatIsoDateTime(fix.utc());
    const double speedMs = std::hypot(fix.eastMs, fix.northMs);
    if (json) {
      const nlohmann::ordered_json line{{"time", time},       {"lat", fix.lat},   {"lon", fix.lon},
                                        {"alt", fix.altM + fix.mslHeightM}, {"fix", fix.fix},
                                        {"epe", fix.epeM},     {"speed_ms", speedMs}};
      std::printf("%s\n", line.dump().c_str());
    } else {
      std::printf("%s %.9f %.9f %.4f fix=%d epe=%.1f speed=%.2f\n", time.c_str(), fix.lat, fix.lon,
                  fix.altM + fix.mslHeightM, fix.fix, fix.epeM, speedMs);
    }
    std::fflush(stdout);
  }
  garmin.stopPvt();
  return kExitOk;
}

}  // namespace

void setupGarmin(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<GarminOptions>();
  CLI::App* cmd = parent.add_subcommand("garmin", "Talk to a Garmin unit on a serial line or USB");
  cmd->require_subcommand(1);
  auto link = [options](CLI::App* sub) {
    auto* port = sub->add_option("--port", options->port, "Serial line: a device path or COMn")->option_text("PORT");
    auto* usb = sub->add_flag("--usb", options->usb, "The first Garmin unit on USB");
    port->excludes(usb);
    sub->add_option("--baud", options->baud, "Line speed")->check(CLI::PositiveNumber);
    sub->add_option("--timeout", options->timeoutMs, "Read time-out, ms (default: Comm_Timeout_Garmin)")
        ->check(CLI::PositiveNumber);
  };
  const std::vector<std::string> kinds{"waypoints", "routes", "tracks"};
  struct Action { const char* name; const char* help; };
  for (const Action a : {Action{"info", "Identify the unit and its protocols"},
                         Action{"download", "Receive waypoints, routes or tracks into a file"},
                         Action{"upload", "Send the waypoints, routes or tracks of a file"},
                         Action{"time", "The unit's date and time (UTC)"},
                         Action{"position", "The unit's position"},
                         Action{"pvt", "Position, velocity and time fixes as they come"}}) {
    CLI::App* sub = cmd->add_subcommand(a.name, a.help);
    link(sub);
    const std::string action = a.name;
    if (action == "download" || action == "upload") {
      sub->add_option("kind", options->kind, "waypoints, routes or tracks")->required()->check(CLI::IsMember(kinds));
      if (action == "download") {
        sub->add_option("-o,--output", options->file, "File to save; its extension chooses the format")->required();
        sub->add_flag("--overwrite", options->overwrite, "Replace the file if it exists (the old one kept as .bak)");
      } else {
        sub->add_option("file", options->file, "File to send; its extension chooses the reader")->required();
        sub->add_flag("--as-course", options->asCourse, "Send a track as a course (units that keep courses)");
      }
    } else {
      sub->add_flag("--json", options->json, "JSON output");
    }
    if (action == "pvt") sub->add_option("--count", options->count, "Fixes to print")->check(CLI::PositiveNumber);
    sub->callback([options, action, &global, &result]() {
      options->action = action;
      if (options->port.empty() && !options->usb) {
        std::fprintf(stderr, "garmin %s: give --port PORT or --usb\n", action.c_str());
        result.status = kExitUsage;
        return;
      }
      result.status = runGarmin(*options, global);
    });
  }
}

int runGarmin(const GarminOptions& options, const GlobalOptions& global) {
  CommandSettings all;
  if (!startCommand(global, all)) return kExitUsage;
  const TrackFileSettings& settings = all.trackFiles;
  GarminSettings garminSettings;
  garminSettings.timeoutMs = options.timeoutMs > 0 ? options.timeoutMs : all.garminTimeoutMs;
  garminSettings.capabilityCache = defaultConfigFile().parent_path() / "protocol.dat";
  if (!global.configFile.empty()) garminSettings.capabilityCache = std::filesystem::path(global.configFile).parent_path() / "protocol.dat";
  if (::isatty(STDERR_FILENO) && !options.json) garminSettings.progress = drawProgress;
  garminSettings.log = [](const std::string& text) { std::fprintf(stderr, "%s\n", text.c_str()); };
  try {
    Connection c;
    connect(options, garminSettings, c);
    TProtocoloGarmin& garmin = *c.garmin;
    if (options.action == "info") return info(garmin, options.json);
    if (options.action == "download") return download(options, settings, garmin);
    if (options.action == "upload") return upload(options, settings, garmin);
    if (options.action == "time") {
      const std::string time = formatIsoDateTime(garmin.readDateTime());
      if (options.json) std::printf("%s\n", nlohmann::json{{"time", time}}.dump().c_str());
      else std::printf("%s\n", time.c_str());
      return kExitOk;
    }
    if (options.action == "position") {
      const TCoord here = garmin.readPosition();
      if (options.json) std::printf("%s\n", nlohmann::ordered_json{{"lat", here.lat}, {"lon", here.lon}}.dump().c_str());
      else std::printf("%.9f %.9f\n", here.lat, here.lon);
      return kExitOk;
    }
    return pvt(garmin, options.count, options.json);
  } catch (const TErrorPr& e) {
    if (garminSettings.progress) std::fprintf(stderr, "\n");
    std::fprintf(stderr, "%s%s%s\n", e.text().c_str(), e.detail().empty() ? "" : ": ", e.detail().c_str());
    return kExitSomeFailed;
  }
}

}  // namespace pixtrail::cli
