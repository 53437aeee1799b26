#include "cli/PortsCommand.hpp"

#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "devices/TListaPuertosCOMM.hpp"

namespace pixtrail::cli {

void setupPorts(CLI::App& parent, const GlobalOptions&, CommandResult& result) {
  auto options = std::make_shared<PortsOptions>();
  CLI::App* cmd = parent.add_subcommand("ports", "List the serial ports a receiver can be plugged into");
  cmd->add_flag("--json", options->json, "A JSON array");
  cmd->callback([options, &result] { result.status = runPorts(*options); });
}

int runPorts(const PortsOptions& options) {
  const TListaPuertosCOMM list;
  nlohmann::json rows = nlohmann::json::array();
  int index = 0;
  for (const TDescPuertoSerie& port : list.ports()) {
    const std::string name = "COM" + std::to_string(index + 1);
    if (options.json) {
      char ids[16];
      std::snprintf(ids, sizeof ids, "%04x:%04x", port.usbVendor, port.usbProduct);
      rows.push_back({{"index", index},
                      {"name", name},
                      {"path", port.path},
                      {"description", port.description()},
                      {"usb", port.isUsb() ? nlohmann::json(ids) : nlohmann::json(nullptr)}});
    } else {
      std::printf("%-6s %-22s %s\n", name.c_str(), port.path.c_str(), port.description().c_str());
    }
    ++index;
  }
  if (options.json) std::printf("%s\n", rows.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
  else if (index == 0) std::fprintf(stderr, "No serial ports found\n");
  return kExitOk;
}

}  // namespace pixtrail::cli
