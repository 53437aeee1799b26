#include "cli/CoordShiftCommand.hpp"

#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>

#include "app/Startup.hpp"
#include "coords/TListaDatums.hpp"
#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail::cli {

namespace {

// "LAT LON [ALT]" in decimal degrees and metres, shifted and printed as the command prints it.
bool shiftFields(const std::vector<std::string_view>& fields, int from, int to, std::string& out,
                 std::string& message) {
  if (fields.size() < 2 || fields.size() > 3) {
    appendMessage(message, "Expected LAT LON [ALT]");
    return false;
  }
  const auto lat = parseDouble(fields[0]);
  const auto lon = parseDouble(fields[1]);
  const auto alt = fields.size() == 3 ? parseDouble(fields[2]) : std::optional<double>(0.0);
  if (!lat || !lon || !alt) {
    appendMessage(message, "Not a number in: " + std::string(fields[0]) + " " + std::string(fields[1]) +
                               (fields.size() == 3 ? " " + std::string(fields[2]) : ""));
    return false;
  }
  // Beyond these limits the input is a typing error, not a position.
  if (!isPlausibleLatLon(*lat, *lon, kMaxEastLonDeg) || !std::isfinite(*alt)) {
    appendMessage(message, "Position out of range");
    return false;
  }
  TCoord p{*lon, *lat, static_cast<float>(*alt)};
  if (!datumTable().Transforma_Grados_Datum(p, from, to, message)) return false;
  if (!std::isfinite(p.lat) || !std::isfinite(p.lon)) {
    appendMessage(message, "The shift gives no position here");
    return false;
  }
  char line[96];
  if (fields.size() == 3) std::snprintf(line, sizeof line, "%.9f %.9f %.4f", p.lat, p.lon, *alt);
  else std::snprintf(line, sizeof line, "%.9f %.9f", p.lat, p.lon);
  out = line;
  return true;
}

}  // namespace

void setupCoordShift(CLI::App& coord, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<CoordShiftOptions>();
  CLI::App* cmd = coord.add_subcommand("shift", "Shift a position from one datum to another");
  cmd->add_option("--from", options->from, "Datum of the position (name as in `pixtrail datums`)")
      ->required()
      ->option_text("DATUM");
  cmd->add_option("--to", options->to, "Datum wanted")->required()->option_text("DATUM");
  cmd->add_flag("--batch", options->batch, "Read LAT LON [ALT] lines from stdin, one output line each");
  cmd->add_option("position", options->position, "LAT LON [ALT] in decimal degrees and metres")
      ->expected(0, 3);
  cmd->callback([options, &global, &result] { result.status = runCoordShift(*options, global); });
}

int runCoordShift(const CoordShiftOptions& options, const GlobalOptions& global) {
  if (options.batch != options.position.empty()) {
    std::fprintf(stderr, "%s\n", options.batch ? "--batch takes no position" : "Expected LAT LON [ALT]");
    return kExitUsage;
  }
  if (!startCommand(global)) return kExitUsage;
  std::string message;
  const TListaDatums& table = datumTable();
  const int from = table.findByName(options.from);
  const int to = table.findByName(options.to);
  for (const auto& [index, name] : {std::pair{from, &options.from}, std::pair{to, &options.to}})
    if (index < 0) {
      std::fprintf(stderr, "Unknown datum: %s\n", name->c_str());
      return kExitUsage;
    }

  if (!options.batch) {
    std::vector<std::string_view> fields(options.position.begin(), options.position.end());
    std::string out;
    message.clear();
    if (!shiftFields(fields, from, to, out, message)) {
      std::fprintf(stderr, "%s\n", message.c_str());
      return kExitUsage;
    }
    std::printf("%s\n", out.c_str());
    return kExitOk;
  }
  int status = kExitOk;
  for (std::string line; std::getline(std::cin, line);) {
    std::string out;
    message.clear();
    if (shiftFields(splitOnBlanks(line), from, to, out, message)) {
      std::printf("%s\n", out.c_str());
    } else {
      std::printf("error: %s\n", message.c_str());
      status = kExitSomeFailed;
    }
  }
  return status;
}

}  // namespace pixtrail::cli
