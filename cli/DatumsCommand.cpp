#include "cli/DatumsCommand.hpp"

#include "cli/json_text.hpp"

#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "app/Startup.hpp"
#include "coords/TListaDatums.hpp"
#include "core/text.hpp"

namespace pixtrail::cli {

namespace {

std::string gridName(const TDatum& d) { return d.grid ? d.grid->file().filename().string() : ""; }
bool gridUsable(const TDatum& d) { return d.grid && d.grid->usable(); }
// A damaged grid is listed, marked, so that the user sees why its datum shifts without it.
std::string gridColumn(const TDatum& d) {
  if (!d.grid) return "-";
  return gridUsable(d) ? gridName(d) : gridName(d) + " (unusable)";
}

void printJson(const TListaDatums& table) {
  nlohmann::json out = nlohmann::json::array();
  for (int i = 0; i < table.size(); ++i) {
    const TDatum& d = table.datum(i);
    out.push_back({{"index", i},
                   {"name", latin1ToUtf8(d.name)},
                   {"a", d.a},
                   {"invf", d.inverseFlattening},
                   {"dx", d.dX},
                   {"dy", d.dY},
                   {"dz", d.dZ},
                   {"device_number", d.deviceDatumNumber},
                   {"alt_names", latin1ToUtf8(d.alternativeNames)},
                   {"ecw_name", latin1ToUtf8(d.ecwName)},
                   {"grid", d.grid ? nlohmann::json(gridName(d)) : nlohmann::json()},
                   {"grid_usable", d.grid ? nlohmann::json(gridUsable(d)) : nlohmann::json()}});
  }
  std::printf("%s\n", jsonText(out).c_str());
}

// The columns of the program's datum list, with its number formats.
void printTable(const TListaDatums& table) {
  std::printf("%4s  %-32s %-13s %-14s %8s %8s %8s %6s  %-16s %-40s %s\n", "#", "Name", "Radius(a)", "1/f",
              "Delta X", "Delta Y", "Delta Z", "Device", "Grid", "Alternative Names", "ECW name");
  for (int i = 0; i < table.size(); ++i) {
    const TDatum& d = table.datum(i);
    char a[32], invf[32], dx[32], dy[32], dz[32];
    std::snprintf(a, sizeof a, "%.11g", d.a);
    std::snprintf(invf, sizeof invf, "%f", d.inverseFlattening);
    std::snprintf(dx, sizeof dx, "%lg", d.dX);
    std::snprintf(dy, sizeof dy, "%lg", d.dY);
    std::snprintf(dz, sizeof dz, "%lg", d.dZ);
    std::printf("%4d  %-32s %-13s %-14s %8s %8s %8s %6d  %-16s %-40s %s\n", i, latin1ToUtf8(d.name).c_str(), a,
                invf, dx, dy, dz, d.deviceDatumNumber, gridColumn(d).c_str(),
                latin1ToUtf8(d.alternativeNames).c_str(), d.ecwName.empty() ? "-" : latin1ToUtf8(d.ecwName).c_str());
  }
}

}  // namespace

void setupDatums(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<DatumsOptions>();
  CLI::App* cmd = parent.add_subcommand("datums", "List the datum table: ellipsoid, shift to WGS 84, names, grid");
  cmd->add_flag("--json", options->json, "One JSON array of the rows");
  cmd->callback([options, &global, &result] { result.status = runDatums(*options, global); });
}

int runDatums(const DatumsOptions& options, const GlobalOptions& global) {
  if (!startCommand(global)) return kExitUsage;
  if (options.json) printJson(datumTable());
  else printTable(datumTable());
  return kExitOk;
}

}  // namespace pixtrail::cli
