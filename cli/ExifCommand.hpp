#pragma once
// `pixtrail exif`: a photo's EXIF entries with their labels, its capture time and stored position.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct ExifCommandOptions {
  std::vector<std::string> files;
  bool json = false;
  bool exactQuirks = false;
};

void setupExif(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runExif(const ExifCommandOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
