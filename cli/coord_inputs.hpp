#pragma once
// What the coordinate subcommands (project, unproject, format, parse, grid) share: starting the
// system, and running inputs one by one, from the arguments or, with --batch, one per stdin line.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/CommandContext.hpp"
#include "coords/TProyeccion.hpp"

namespace pixtrail::cli {


// One input in, one output line (without its newline) or a message out.
using InputHandler = std::function<bool(std::string_view input, std::string& output, std::string& message)>;

// Runs every input; in batch mode the inputs are stdin's lines and a failing line prints
// "error: MESSAGE" in its place. Returns the exit status (1 when any input failed).
int runInputs(bool batch, const std::vector<std::string>& inputs, const InputHandler& handle);

// Reads `count` numbers, then up to `optional` more fields as text, from an input's blank-separated
// fields; false with a message naming what is wrong.
bool readNumbers(std::string_view input, std::size_t count, std::vector<double>& numbers,
                 std::vector<std::string>* rest, std::string& message);

std::string joinArguments(const std::vector<std::string>& arguments);

// Appends `value` with a fixed number of decimals ("%.*f" without printf's cost, which would
// dominate a --batch run).
void appendFixed(std::string& out, double value, int decimals);

template <typename... Values>
std::string formatText(const char* format, Values... values) {
  char buffer[160];
  std::snprintf(buffer, sizeof buffer, format, values...);
  return buffer;
}

// The projection options of project, unproject and grid.
struct ProjectionChoice {
  std::string projection;               // short name or Transverse Mercator definition file
  std::vector<std::string> parameters;  // KEY=VALUE
  std::string datum;                    // datum of the geographic side; empty: the working datum
};
void addProjectionOptions(CLI::App& command, ProjectionChoice& choice);

struct PreparedProjection {
  std::unique_ptr<TProyeccion> projection;
  int datum = kWorkingDatum;
  bool geocentric = false;  // ECEF: a third coordinate travels beside easting and northing
};
// Starts the system and builds the chosen projection with its parameters; on failure prints the
// message on stderr and returns false (a usage error).
bool prepareProjection(const ProjectionChoice& choice, const GlobalOptions& global, PreparedProjection& out);

}  // namespace pixtrail::cli
