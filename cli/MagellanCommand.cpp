#include "cli/MagellanCommand.hpp"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/TrackCommandSupport.hpp"
#include "core/text.hpp"
#include "devices/MagellanDisk.hpp"
#include "devices/Protocolo_magellan.hpp"
#include "tracks/TRuta.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail::cli {

namespace {
namespace fs = std::filesystem;

constexpr std::string_view kRefused = "The unit refused the transfer (PMGNCMD,UNABLE)";

MagellanKind kindOf(const std::string& word) {
  if (word == "routes") return MagellanKind::kRoutes;
  if (word == "tracks") return MagellanKind::kTracks;
  return MagellanKind::kWaypoints;
}

// "COMn" is the n-th port listed; anything else is a device path.
std::unique_ptr<TPuertoCom> openPort(const MagellanOptions& options) {
  auto port = createPuertoCom();
  const std::string& name = options.port;
  if (name.size() > 3 && equalsIgnoreCase(name.substr(0, 3), "COM") &&
      name.find_first_not_of("0123456789", 3) == std::string::npos)
    port->open(std::stoi(name.substr(3)) - 1, true);
  else
    port->openPath(name, true);
  port->setBuffers();
  port->setState(options.baud);
  port->setTimeouts();
  return port;
}

MagellanLinkSettings linkSettings(const MagellanOptions& options) {
  MagellanLinkSettings s;
  s.handshake = options.handshake;
  if (options.timeoutMs > 0) s.sentenceTimeoutMs = s.ackTimeoutMs = options.timeoutMs;
  return s;
}

MagellanDisk openDisk(const MagellanOptions& options) {
  return options.disk.empty() ? MagellanDisk::find() : MagellanDisk(options.disk);
}

int refused() {
  std::fprintf(stderr, "%s\n", std::string(kRefused).c_str());
  return kExitSomeFailed;
}

int detect(const MagellanOptions& options) {
  nlohmann::json out;
  if (!options.port.empty()) {
    auto port = openPort(options);
    Protocolo_magellan link(*port, linkSettings(options));
    MagellanVersion v;
    if (!link.detect(v, options.timeoutMs > 0 ? options.timeoutMs : 3000)) {
      std::fprintf(stderr, "No Magellan unit answered on %s\n", options.port.c_str());
      return kExitSomeFailed;
    }
    out = {{"protocol", "Magellan"}, {"product", v.product}, {"software", v.software}, {"description", v.description}};
  } else {
    const MagellanDisk disk = openDisk(options);
    const MagellanUnitDescription& d = disk.description();
    out = {{"protocol", "Magellan"}, {"product", d.model},       {"software", d.softwareVersion},
           {"description", d.model}, {"serial", d.serialNumber}, {"disk", disk.root().string()}};
  }
  if (options.json)
    std::printf("%s\n", out.dump().c_str());
  else
    std::printf("Magellan\n");
  return kExitOk;
}

void report(const MagellanOptions& options, std::size_t count, const std::string& file) {
  if (options.json) {
    std::printf("%s\n",
                nlohmann::json{{"action", options.action}, {"kind", options.kind}, {"count", count}, {"file", file}}
                    .dump()
                    .c_str());
  } else {
    const char* noun = options.kind == "tracks" ? "track points" : options.kind.c_str();
    std::printf("%zu %s %s\n", count, noun, options.action == "download" ? "received" : "sent");
  }
}

int download(const MagellanOptions& options, const TrackFileSettings& settings) {
  std::error_code ec;
  if (!options.overwrite && fs::exists(options.output, ec)) {
    std::fprintf(stderr, "%s: File already exists (use --overwrite)\n", options.output.c_str());
    return kExitSomeFailed;
  }
  std::unique_ptr<TPuertoCom> port;
  std::optional<Protocolo_magellan> link;
  std::optional<MagellanDisk> disk;
  if (!options.port.empty()) {
    port = openPort(options);
    link.emplace(*port, linkSettings(options));
  } else {
    disk.emplace(openDisk(options));
  }
  std::string message;
  bool saved = false;
  std::size_t count = 0;
  TrackFileSettings save = settings;
  save.keepBackup = options.overwrite;
  switch (kindOf(options.kind)) {
    case MagellanKind::kWaypoints: {
      TBalizas w;
      if (link ? !link->downloadWaypoints(w) : (disk->downloadWaypoints(w), false)) return refused();
      count = w.waypoints.size();
      saved = saveWaypoints(w, options.output, save, message);
      break;
    }
    case MagellanKind::kRoutes: {
      TRutas r;
      if (link ? !link->downloadRoutes(r) : (disk->downloadRoutes(r), false)) return refused();
      r.magellanText = true;  // a .rte keeps the unit's own form
      count = r.routes.size();
      saved = saveRoutes(r, options.output, save, message);
      break;
    }
    case MagellanKind::kTracks: {
      TVolGPS t;
      if (link ? !link->downloadTracks(t) : (disk->downloadTracks(t), false)) return refused();
      count = t.pointCount();
      std::string ignored;
      t.Recalculate(settings.track, ignored);
      saved = saveTrack(t, options.output, settings, message);
      break;
    }
  }
  if (!saved) {
    std::fprintf(stderr, "%s: %s\n", options.output.c_str(), message.c_str());
    return kExitSomeFailed;
  }
  report(options, count, options.output);
  return kExitOk;
}

int upload(const MagellanOptions& options, const TrackFileSettings& settings) {
  std::string message;
  const std::string name = options.name.empty() ? fs::path(options.input).stem().string() : options.name;
  std::unique_ptr<TPuertoCom> port;
  std::optional<Protocolo_magellan> link;
  std::optional<MagellanDisk> disk;
  auto connect = [&] {
    if (!options.port.empty()) {
      port = openPort(options);
      link.emplace(*port, linkSettings(options));
    } else {
      disk.emplace(openDisk(options));
    }
  };
  std::size_t count = 0;
  std::string written;
  auto unreadable = [&] {
    std::fprintf(stderr, "%s: %s\n", options.input.c_str(), message.c_str());
    return kExitUsage;
  };
  switch (kindOf(options.kind)) {
    case MagellanKind::kWaypoints: {
      TBalizas w;
      if (!openWaypoints(options.input, w, settings, message)) return unreadable();
      connect();
      count = w.waypoints.size();
      if (link) link->uploadWaypoints(w);
      else written = disk->uploadWaypoints(w, name, options.overwrite).string();
      break;
    }
    case MagellanKind::kRoutes: {
      TRutas r;
      if (!openRoutes(options.input, r, settings, message)) return unreadable();
      connect();
      count = r.routes.size();
      if (link) link->uploadRoutes(r);
      else written = disk->uploadRoutes(r, name, options.overwrite).string();
      break;
    }
    case MagellanKind::kTracks: {
      TVolGPS t;
      if (!openTrack(options.input, t, settings, message)) return unreadable();
      connect();
      count = t.pointCount();
      if (link) link->uploadTracks(t);
      else written = disk->uploadTracks(t, name, options.overwrite).string();
      break;
    }
  }
  report(options, count, written);
  return kExitOk;
}

int erase(const MagellanOptions& options) {
  const MagellanKind kind = kindOf(options.kind);
  if (!options.port.empty()) {
    auto port = openPort(options);
    Protocolo_magellan(*port, linkSettings(options)).deleteAll(kind);
    std::printf("%s deleted\n", options.kind.c_str());
  } else {
    const std::size_t n = openDisk(options).deleteAll(kind);
    std::printf("%zu %s files deleted\n", n, options.kind.c_str());
  }
  return kExitOk;
}

void addLinkOptions(CLI::App* cmd, MagellanOptions& o) {
  auto* port = cmd->add_option("--port", o.port, "Serial port: a device path or COMn")->option_text("PORT");
  cmd->add_option("--disk", o.disk, "Root of a unit mounted as a USB disk (where USBTRANS is)")
      ->option_text("DIR")
      ->excludes(port);
  cmd->add_option("--baud", o.baud, "Serial speed (default 9600)")->option_text("N");
  cmd->add_option("--timeout", o.timeoutMs, "Longest wait for the unit, ms")->option_text("MS");
  cmd->add_flag("!--no-handshake", o.handshake, "Do not acknowledge sentences (faster, less safe)");
}

}  // namespace

void setupMagellan(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<MagellanOptions>();
  CLI::App* mag = parent.add_subcommand("magellan", "Magellan units: serial line or USB disk");
  mag->require_subcommand(1);
  const auto kinds = CLI::IsMember({"waypoints", "routes", "tracks"});

  CLI::App* detectCmd = mag->add_subcommand("detect", "Is a Magellan unit there, and which");
  addLinkOptions(detectCmd, *options);
  detectCmd->add_flag("--json", options->json, "JSON: protocol, product, software, description");

  CLI::App* downloadCmd = mag->add_subcommand("download", "Records from the unit into a file");
  downloadCmd->add_option("kind", options->kind, "waypoints, routes or tracks")->required()->check(kinds);
  addLinkOptions(downloadCmd, *options);
  downloadCmd->add_option("-o,--output", options->output, "Output file; its extension chooses the format")->required();
  downloadCmd->add_flag("--overwrite", options->overwrite, "Replace the output file if it exists");
  downloadCmd->add_flag("--json", options->json, "JSON: action, kind, count, file");

  CLI::App* uploadCmd = mag->add_subcommand("upload", "Records from a file to the unit");
  uploadCmd->add_option("kind", options->kind, "waypoints, routes or tracks")->required()->check(kinds);
  uploadCmd->add_option("file", options->input, "Waypoint, route or track file")->required();
  addLinkOptions(uploadCmd, *options);
  uploadCmd->add_option("--name", options->name, "File name on a disk unit (default: the input's)");
  uploadCmd->add_flag("--overwrite", options->overwrite, "Replace a disk unit's file of that name");
  uploadCmd->add_flag("--json", options->json, "JSON: action, kind, count, file");

  CLI::App* deleteCmd = mag->add_subcommand("delete", "Delete every record of a kind on the unit");
  deleteCmd->add_option("kind", options->kind, "waypoints, routes or tracks")->required()->check(kinds);
  addLinkOptions(deleteCmd, *options);

  for (CLI::App* cmd : {detectCmd, downloadCmd, uploadCmd, deleteCmd}) {
    cmd->callback([options, cmd, &global, &result]() {
      options->action = cmd->get_name();
      result.status = runMagellan(*options, global);
    });
  }
}

int runMagellan(const MagellanOptions& options, const GlobalOptions& global) {
  TrackFileSettings settings;
  if (!startTrackCommand(global, settings)) return kExitUsage;
  try {
    if (options.action == "detect") return detect(options);
    if (options.action == "download") return download(options, settings);
    if (options.action == "upload") return upload(options, settings);
    return erase(options);
  } catch (const TErrorPr& e) {
    std::fprintf(stderr, "%s%s%s\n", e.text().c_str(), e.detail().empty() ? "" : ": ", e.detail().c_str());
    // A unit silent on the line may be sitting in its USB disk mode.
    if (e.noAnswer() && !options.port.empty() && !findMagellanDiskRoot(removableDriveRoots()).empty())
      std::fprintf(stderr, "%s\n", std::string(magellan_text::kSwitchToNmea).c_str());
    return kExitSomeFailed;
  }
}

}  // namespace pixtrail::cli
