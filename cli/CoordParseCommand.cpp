#include "cli/CoordParseCommand.hpp"

#include <memory>

#include "app/track_settings.hpp"
#include "cli/coord_inputs.hpp"
#include "coords/coordinate_text.hpp"
#include "core/text.hpp"

namespace pixtrail::cli {

void setupCoordParse(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<CoordParseOptions>();
  CLI::App* command = parent.add_subcommand("parse", "Read typed coordinates: prints DEGREES lat|lon per text");
  command->add_option("--format", options->format,
                      "Read texts of format 3 (grads from Paris) or 4 (signed degrees) instead of typed text")
      ->check(CLI::Range(0, 4));
  command->add_flag("--lat", options->latitude, "Format 4 texts are latitudes (default: longitudes)");
  command->add_flag("--batch", options->batch, "Read one text per line from stdin");
  command->add_option("texts", options->texts, "Texts such as 40 25' 30\" N or 3.5W");
  command->callback([options, &global, &result] { result.status = runCoordParse(*options, global); });
}

int runCoordParse(const CoordParseOptions& options, const GlobalOptions& global) {
  if (!options.batch && options.texts.empty()) {
    std::fprintf(stderr, "TEXT expected (or --batch)\n");
    return kExitUsage;
  }
  CommandSettings all;
  if (!startCommand(global, all)) return kExitUsage;
  const CoordinateTextSettings& settings = all.coordinateText;
  auto parse = [&](std::string_view input, std::string& output, std::string& why) {
    double value = 0.0;
    bool isLatitude = options.latitude;
    if (!formattedTextToAngle(utf8ToLatin1(input), options.format, value, isLatitude, why, settings)) return false;
    output = formatText("%.9f %s", value, isLatitude ? "lat" : "lon");
    return true;
  };
  return runInputs(options.batch, options.texts, parse);
}

}  // namespace pixtrail::cli
