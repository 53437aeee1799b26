#include "cli/DetectCommand.hpp"

#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "app/Configuration.hpp"
#include "app/Startup.hpp"
#include "devices/TConfigPuertos.hpp"
#include "devices/protocol_detection.hpp"

namespace pixtrail::cli {

void setupDetect(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<DetectOptions>();
  CLI::App* cmd = parent.add_subcommand("detect", "Find out which protocol the receiver on a port speaks");
  cmd->add_option("--port", options->port, "Serial port (COMn as `pixtrail ports` lists, or a device path)")
      ->required()
      ->option_text("PORT");
  cmd->add_option("--baud", options->baud, "Line speed for every protocol (default: each one's usual)")
      ->option_text("N");
  cmd->add_option("--timeout", options->timeoutMs, "Wait for each answer in ms (default: gps.ini's)")
      ->option_text("MS");
  cmd->add_flag("--json", options->json, "{\"protocol\", \"product\", \"description\"}");
  cmd->add_flag("-v,--verbose", options->verbose, "Show each step on stderr");
  cmd->callback([options, &global, &result] {
    options->configFile = global.configFile;
    result.status = runDetect(*options);
  });
}

int runDetect(const DetectOptions& options) {
  Configuration& config = configuration();
  std::string message;
  config.load(options.configFile.empty() ? defaultConfigFile() : std::filesystem::path(options.configFile), message);
  if (!message.empty()) std::fprintf(stderr, "%s\n", message.c_str());

  TConfigPuerto port;
  if (!TConfigPuerto::fromText(options.port, port)) {
    std::fprintf(stderr, "%s: not a port\n", options.port.c_str());
    return kExitUsage;
  }
  port.baud = options.baud ? options.baud : 4800;
  TGPSConectado device(port, 4096, static_cast<std::uint32_t>(std::max(config.commTimeoutChars2Ms.get(), 1)));
  pixtrail::DetectOptions detect;
  detect.tryFirst = static_cast<GpsProtocol>(config.lastAutodetectProtocol.get());
  detect.baud = options.baud;
  detect.timeoutMs = options.timeoutMs > 0 ? options.timeoutMs : config.commNmeaTimeoutMs.get();
  detect.nmea.useChecksum = config.useNmeaChecksum.get();
  if (options.verbose) detect.log = [](std::string_view line) { std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data()); };
  DetectResult result;
  try {
    device.open();
    result = detectProtocol(device.port(), detect);
  } catch (const TErrorPr& error) {
    std::fprintf(stderr, "%s%s%s\n", error.text().c_str(), error.detail().empty() ? "" : ": ", error.detail().c_str());
    return kExitSomeFailed;
  }
  if (result.protocol == GpsProtocol::none) {
    std::fprintf(stderr, "%s\n", result.message.c_str());
    return kExitSomeFailed;
  }
  config.lastAutodetectProtocol.set(static_cast<std::int32_t>(result.protocol));
  if (!config.lastWriteError().empty()) std::fprintf(stderr, "%s\n", config.lastWriteError().c_str());
  const std::string name(protocolName(result.protocol));
  if (options.json) {
    nlohmann::json out = {{"protocol", name},
                          {"product", result.product},
                          {"description", name + " at " + std::to_string(result.baud) + " baud on " + port.displayName()}};
    std::printf("%s\n", out.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
  } else {
    std::printf("%s\n", name.c_str());
  }
  return kExitOk;
}

}  // namespace pixtrail::cli
