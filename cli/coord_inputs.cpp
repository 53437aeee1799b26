#include "cli/coord_inputs.hpp"

#include <cmath>
#include <cstdio>
#include <iostream>

#include "app/Startup.hpp"
#include "coords/TListaDatums.hpp"
#include "coords/TListaProyecciones.hpp"
#include "coords/TProyeccionECEF.hpp"
#include "core/text.hpp"

namespace pixtrail::cli {

bool startCoordinates(const GlobalOptions& global, std::string& message) {
  StartupOptions options;
  options.dataDir = global.dataDir;
  options.configFile = global.configFile;
  options.workingDatum = global.datum;
  return startSystem(options, message);
}

int runInputs(bool batch, const std::vector<std::string>& inputs, const InputHandler& handle) {
  int status = kExitOk;
  std::string out, output, message;
  auto one = [&](std::string_view input) {
    output.clear();
    message.clear();
    if (handle(input, output, message)) {
      out.append(output).push_back('\n');
      return;
    }
    status = kExitSomeFailed;
    for (char& c : message)
      if (c == '\n') c = ';';
    if (batch) out.append("error: ").append(message).push_back('\n');  // keeps lines aligned
    else std::fprintf(stderr, "error: %s\n", message.c_str());
  };
  auto flush = [&] {
    std::fwrite(out.data(), 1, out.size(), stdout);
    out.clear();
  };
  if (batch) {
    std::ios::sync_with_stdio(false);
    std::string line;
    while (std::getline(std::cin, line)) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      one(line);
      if (out.size() > (1u << 16)) flush();
    }
  } else {
    for (const std::string& input : inputs) one(input);
  }
  flush();
  std::fflush(stdout);
  return status;
}

bool readNumbers(std::string_view input, std::size_t count, std::vector<double>& numbers,
                 std::vector<std::string>* rest, std::string& message) {
  const auto fields = splitOnBlanks(input);
  if (fields.size() < count) {
    message = "expected " + std::to_string(count) + " numbers: " + std::string(input);
    return false;
  }
  numbers.clear();
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = parseDouble(fields[i]);
    if (!value || !std::isfinite(*value)) {
      message = "not a number: " + std::string(fields[i]);
      return false;
    }
    numbers.push_back(*value);
  }
  if (rest != nullptr) {
    rest->clear();
    for (std::size_t i = count; i < fields.size(); ++i) rest->emplace_back(fields[i]);
  } else if (fields.size() > count) {
    message = "unexpected text: " + std::string(fields[count]);
    return false;
  }
  return true;
}

std::string joinArguments(const std::vector<std::string>& arguments) {
  std::string joined;
  for (const std::string& a : arguments) {
    if (!joined.empty()) joined += ' ';
    joined += a;
  }
  return joined;
}

void addProjectionOptions(CLI::App& command, ProjectionChoice& choice) {
  command.add_option("--proj", choice.projection,
                     "Projection short name (\"UTM\", \"Swiss Grid\", \"Lambert 2SP\", ...) or a Transverse "
                     "Mercator definition file")
      ->required()
      ->option_text("NAME");
  command.add_option("--param", choice.parameters,
                     "Projection parameter: lon0, lat0, k0, fe, fn, lat1, lat2, zone, band, hemisphere")
      ->option_text("KEY=VALUE")
      ->allow_extra_args(false);  // one KEY=VALUE per --param, so positionals stay positional
  command.add_option("--datum", choice.datum, "Datum of the latitudes and longitudes (default: the working datum)")
      ->option_text("DATUM");
}

bool prepareProjection(const ProjectionChoice& choice, const GlobalOptions& global, PreparedProjection& out) {
  std::string message;
  auto fail = [&message] {
    std::fprintf(stderr, "%s\n", message.c_str());
    return false;
  };
  if (!startCoordinates(global, message)) return fail();
  if (!choice.datum.empty() && (out.datum = datumTable().findByName(choice.datum)) < 0) {
    message = "Unknown datum: " + choice.datum;
    return fail();
  }
  const TListaProyecciones list;
  out.projection = list.create(choice.projection, message);
  if (!out.projection) return fail();
  for (const std::string& parameter : choice.parameters) {
    const std::size_t equals = parameter.find('=');
    if (equals == std::string::npos) {
      message = "--param wants KEY=VALUE: " + parameter;
      return fail();
    }
    if (!out.projection->setParameterText(parameter.substr(0, equals), parameter.substr(equals + 1), message))
      return fail();
  }
  out.geocentric = dynamic_cast<const TProyeccionECEF*>(out.projection.get()) != nullptr;
  return true;
}

}  // namespace pixtrail::cli
