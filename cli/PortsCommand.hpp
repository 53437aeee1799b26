#pragma once
// `pixtrail ports [--json]`: the serial ports found, in the order COMn counts them.

#include <CLI/CLI.hpp>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct PortsOptions {
  bool json = false;
};

void setupPorts(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runPorts(const PortsOptions& options);

}  // namespace pixtrail::cli
