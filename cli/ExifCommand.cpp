#include "cli/ExifCommand.hpp"

#include "cli/json_text.hpp"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "app/Configuration.hpp"
#include "app/Startup.hpp"
#include "coords/TListaDatums.hpp"
#include "core/text.hpp"
#include "photos/TJpegExif.hpp"
#include "photos/exif_tag_labels.hpp"

namespace pixtrail::cli {

namespace {

struct PhotoReport {
  std::string file;
  TJpegExif exif;
  bool hasTime = false;
  DateTimeRecord time;
  bool hasPosition = false;
  TCoord position;
  int datum = kDatumWgs84;
};

nlohmann::json toJson(const PhotoReport& r) {
  nlohmann::json tags = nlohmann::json::array();
  for (const TTifTag& tag : r.exif.tags())
    tags.push_back({{"dir", tag.directory},
                    {"key", tag.key},
                    {"type", tag.type},
                    {"count", tag.count},
                    {"label", latin1ToUtf8(exifTagLabel(tag.directory, tag.key))},
                    {"value", latin1ToUtf8(tag.valueText())}});
  nlohmann::json position;  // null without a position
  if (r.hasPosition)
    position = {{"lat", r.position.lat},
                {"lon", r.position.lon},
                {"alt", r.position.alt},
                {"datum", datumTable().datum(r.datum).name}};
  return {{"file", r.file},
          {"byte_order", r.exif.isIntel() ? "II" : "MM"},
          {"time", r.hasTime ? nlohmann::json(formatIsoDateTime(r.time)) : nlohmann::json()},
          {"position", position},
          {"tags", tags}};
}

void printText(const PhotoReport& r) {
  std::printf("%s: %s\n", r.file.c_str(), r.exif.isIntel() ? "II" : "MM");
  std::printf("time: %s\n", r.hasTime ? formatIsoDateTime(r.time).c_str() : "-");
  if (r.hasPosition)
    std::printf("position: %.9f %.9f %.4f %s\n", r.position.lat, r.position.lon, r.position.alt,
                datumTable().datum(r.datum).name.c_str());
  else
    std::printf("position: -\n");
  std::printf("%s\n", latin1ToUtf8(r.exif.Dump()).c_str());
}

}  // namespace

void setupExif(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<ExifCommandOptions>();
  CLI::App* cmd = parent.add_subcommand("exif", "Show a photo's EXIF entries, capture time and stored position");
  cmd->add_flag("--json", options->json, "One JSON object per photo (an array for several)");
  cmd->add_flag("--exact-quirks", options->exactQuirks,
                "Find GPS entries by key across directories, as the described reader does");
  cmd->add_option("photos", options->files, "JPEG photos")->required();
  cmd->callback([options, &global, &result]() { result.status = runExif(*options, global); });
}

int runExif(const ExifCommandOptions& options, const GlobalOptions& global) {
  std::string message;
  CommandSettings settings;
  if (!startCommand(global, settings)) return kExitUsage;
  nlohmann::json all = nlohmann::json::array();
  std::size_t failed = 0;
  for (const std::string& file : options.files) {
    PhotoReport report;
    report.file = file;
    report.exif.setGpsQuirks(options.exactQuirks || settings.exifExactQuirks ? GpsQuirks::Exact
                                                                                             : GpsQuirks::Safe);
    std::string readMessage;
    if (!report.exif.Read(file, readMessage)) {
      std::fprintf(stderr, "%s: %s\n", file.c_str(), readMessage.c_str());
      ++failed;
      continue;
    }
    if (!readMessage.empty()) std::fprintf(stderr, "%s: %s\n", file.c_str(), readMessage.c_str());
    std::string quiet;  // no time or no position is a normal answer here
    report.hasTime = report.exif.ReadDateTime(report.time, quiet);
    report.hasPosition = report.exif.ReadPosition(report.position, report.datum, quiet);
    if (options.json) all.push_back(toJson(report));
    else printText(report);
  }
  if (options.json && !all.empty()) std::printf("%s\n", jsonText(all.size() == 1 ? all[0] : all).c_str());
  if (failed == 0) return kExitOk;
  return failed == options.files.size() ? kExitUsage : kExitSomeFailed;
}

}  // namespace pixtrail::cli
