#pragma once
// pixtrail datums [--json]: the datum table in table order.

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct DatumsOptions {
  bool json = false;
};

void setupDatums(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runDatums(const DatumsOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
