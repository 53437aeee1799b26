#include "cli/coord_inputs.hpp"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "app/Startup.hpp"
#include "coords/TListaDatums.hpp"
#include "coords/TListaProyecciones.hpp"
#include "coords/TProyeccionECEF.hpp"
#include "core/text.hpp"

namespace pixtrail::cli {

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
    // Whole blocks of stdin split into lines here: iostream's getline would cost more than the
    // projection itself.
    std::string pending;
    std::vector<char> block(1 << 20);
    for (;;) {
      const std::size_t got = std::fread(block.data(), 1, block.size(), stdin);
      pending.append(block.data(), got);
      std::size_t start = 0;
      for (std::size_t end; (end = pending.find('\n', start)) != std::string::npos; start = end + 1) {
        std::string_view line(pending.data() + start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        one(line);
      }
      pending.erase(0, start);
      if (out.size() > (1u << 16)) flush();
      if (got < block.size()) break;
    }
    if (!pending.empty()) one(pending);  // a last line without its newline
  } else {
    for (const std::string& input : inputs) one(input);
  }
  flush();
  std::fflush(stdout);
  return status;
}

namespace {

// The next blank-separated field of `rest`, consumed; empty at the end.
std::string_view nextField(std::string_view& rest) {
  std::size_t start = 0;
  while (start < rest.size() && (rest[start] == ' ' || rest[start] == '\t')) ++start;
  std::size_t end = start;
  while (end < rest.size() && rest[end] != ' ' && rest[end] != '\t') ++end;
  const std::string_view field = rest.substr(start, end - start);
  rest.remove_prefix(end);
  return field;
}

}  // namespace

bool readNumbers(std::string_view input, std::size_t count, std::vector<double>& numbers,
                 std::vector<std::string>* rest, std::string& message) {
  numbers.clear();
  std::string_view remaining = input;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view field = nextField(remaining);
    if (field.empty()) {
      message = "expected " + std::to_string(count) + " numbers: " + std::string(input);
      return false;
    }
    const auto value = parseDouble(field);
    if (!value || !std::isfinite(*value)) {
      message = "not a number: " + std::string(field);
      return false;
    }
    numbers.push_back(*value);
  }
  if (rest != nullptr) rest->clear();
  for (std::string_view field = nextField(remaining); !field.empty(); field = nextField(remaining)) {
    if (rest == nullptr) {
      message = "unexpected text: " + std::string(field);
      return false;
    }
    rest->emplace_back(field);
  }
  return true;
}

void appendFixed(std::string& out, double value, int decimals) {
  // Fast path: the value scaled to an integer of at most 15 digits, so that the scaling is exact
  // to far below the last printed digit; to_chars otherwise.
  static constexpr double kPowers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
  const double magnitude = std::fabs(value);
  if (decimals >= 0 && decimals <= 9 && magnitude * kPowers[decimals] < 1e15) {
    const auto scaled = static_cast<unsigned long long>(std::llround(magnitude * kPowers[decimals]));
    char digits[24] = {};
    const auto end = std::to_chars(digits, digits + sizeof digits, scaled).ptr;
    std::string_view text(digits, static_cast<std::size_t>(end - digits));
    if (std::signbit(value)) out += '-';
    const std::size_t d = static_cast<std::size_t>(decimals);
    if (text.size() <= d) {
      out += "0.";
      out.append(d - text.size(), '0');
      out += text;
    } else {
      out += text.substr(0, text.size() - d);
      if (d > 0) out.append(1, '.').append(text.substr(text.size() - d));
    }
    return;
  }
  char buffer[400];  // the longest double in fixed notation, with its decimals
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  if (result.ec == std::errc()) out.append(buffer, result.ptr);
  else out += "nan";
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
  if (!startCommand(global)) return false;
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
