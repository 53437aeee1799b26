#include "cli/CoordFormatCommand.hpp"

#include <memory>

#include "app/track_settings.hpp"
#include "cli/coord_inputs.hpp"
#include "coords/coordinate_text.hpp"
#include "core/text.hpp"

namespace pixtrail::cli {

void setupCoordFormat(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<CoordFormatOptions>();
  CLI::App* command = parent.add_subcommand(
      "format", "Print LAT LON as the latitude and longitude texts, separated by a tab");
  command->add_option("--format", options->format,
                      "0 decimal degrees, 1 degrees and minutes, 2 degrees minutes seconds, 3 grads from "
                      "Paris, 4 signed degrees")
      ->check(CLI::Range(0, 4));
  command->add_flag("--batch", options->batch, "Read one LAT LON per line from stdin");
  command->add_option("values", options->values, "LAT LON");
  command->callback([options, &global, &result] { result.status = runCoordFormat(*options, global); });
}

int runCoordFormat(const CoordFormatOptions& options, const GlobalOptions& global) {
  if (!options.batch && options.values.size() != 2) {
    std::fprintf(stderr, "LAT LON expected (or --batch)\n");
    return kExitUsage;
  }
  CommandSettings all;
  if (!startCommand(global, all)) return kExitUsage;
  const CoordinateTextSettings& settings = all.coordinateText;
  auto format = [&](std::string_view input, std::string& output, std::string& why) {
    std::vector<double> v;
    if (!readNumbers(input, 2, v, nullptr, why)) return false;
    // The texts are 8-bit inside the program; the terminal gets UTF-8.
    output = latin1ToUtf8(latitudeText(v[0], options.format, settings) + '\t' + longitudeText(v[1], options.format, settings));
    return true;
  };
  return runInputs(options.batch, {joinArguments(options.values)}, format);
}

}  // namespace pixtrail::cli
