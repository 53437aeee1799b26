#include "devices/protocol_detection.hpp"

#include <array>
#include <vector>

#include "core/messages.hpp"
#include "devices/PortLineReader.hpp"
#include "devices/Protocolo_magellan.hpp"
#include "devices/TDatosGPSActual.hpp"
#include "devices/TProtocoloGarmin.hpp"

namespace pixtrail {
namespace {

constexpr int kNmeaMaxPasses = 20;
constexpr int kNmeaMaxUnhelpful = 4;  // sentences that neither fix nor list satellites

// Order matters only after the protocol found last time: NMEA first because it costs nothing to
// listen, while Garmin and Magellan probes send requests that an NMEA unit may echo or choke on.
constexpr std::array kProbes = {
    ProtocolProbe{GpsProtocol::nmea, "NMEA", 4800, &detectNmeaProbe},
    ProtocolProbe{GpsProtocol::garmin, "Garmin", 9600, &detectGarmin},
    ProtocolProbe{GpsProtocol::magellan, "Magellan", 9600, &detectMagellan},
};

void say(const std::function<void(std::string_view)>& log, std::string_view text) {
  if (log) log(text);
}

}  // namespace

std::string_view protocolName(GpsProtocol protocol) {
  switch (protocol) {
    case GpsProtocol::nmea: return "NMEA";
    case GpsProtocol::garmin: return "Garmin";
    case GpsProtocol::magellan: return "Magellan";
    case GpsProtocol::none: break;
  }
  return "";
}

std::span<const ProtocolProbe> protocolProbes() { return kProbes; }

bool detectNmea(TPuertoCom& port, std::string& product, const NmeaDetectOptions& options) {
  if (options.excluded) {
    say(options.log, "Not Trying NMEA protocol... ");
    product = "NMEA";
    return false;
  }
  port.purge();
  say(options.log, "Trying NMEA protocol...");
  PortLineReader reader(port);
  TProtocoloNMEA protocol(options.settings);
  int unhelpful = 0;
  std::string line;
  for (int pass = 0; pass < kNmeaMaxPasses; ++pass) {
    if (options.cancel && options.cancel->load()) throw TErrorPr("Cancelled");
    switch (reader.readLine(options.timeoutMs, line)) {
      case PortLineReader::Result::silent: throw TErrorPrNoResponde(std::string(kNmeaSilent));
      case PortLineReader::Result::noLine: throw TErrorPr(std::string(kNmeaNoNmeaBytes));
      case PortLineReader::Result::line: break;
    }
    if (line.find('$') == std::string::npos) throw TErrorPr(std::string(kNmeaNoNmeaBytes), line);
    // Each line against a fresh fix: only a sentence that fills it on its own counts.
    TDatosGPSActual fresh;
    int sinceLastPosition = 0;
    std::string previousType;
    const bool changed = protocol.processLine(line, fresh, sinceLastPosition, previousType);
    if (!protocol.lastParsed()) throw TErrorPr(protocol.lastError().message, line);
    if (changed || protocol.lastSentence().type() == "GSV") {
      product = std::string(protocol.lastSentence().type());
      say(options.log, "NMEA protocol detected!");
      return true;
    }
    if (++unhelpful > kNmeaMaxUnhelpful) throw TErrorPr(std::string(kNmeaBadSentences), line);
  }
  if (options.beep) options.beep();
  throw TErrorPr(std::string(kNmeaNotYet));
}

bool detectNmeaProbe(TPuertoCom& port, std::string& product, int timeoutMs) {
  NmeaDetectOptions options;
  options.timeoutMs = timeoutMs;
  return detectNmea(port, product, options);
}

DetectResult detectProtocol(TPuertoCom& port, const DetectOptions& options,
                            std::span<const ProtocolProbe> probes) {
  std::vector<const ProtocolProbe*> order;
  for (const ProtocolProbe& row : probes)
    if (row.protocol == options.tryFirst) order.push_back(&row);
  for (const ProtocolProbe& row : probes)
    if (row.protocol != options.tryFirst) order.push_back(&row);

  DetectResult result;
  for (const ProtocolProbe* row : order) {
    if (options.cancel && options.cancel->load()) break;
    const std::uint32_t baud = options.baud ? options.baud : row->defaultBaud;
    std::string product;
    try {
      port.setState(baud);
      if (row->protocol == GpsProtocol::nmea) {
        // The NMEA probe logs its own steps; it gets the caller's log and cancel flag here.
        NmeaDetectOptions nmea;
        if (options.timeoutMs > 0) nmea.timeoutMs = options.timeoutMs;
        nmea.settings = options.nmea;
        nmea.log = options.log;
        nmea.cancel = options.cancel;
        if (!detectNmea(port, product, nmea)) continue;
      } else {
        say(options.log, "Trying " + std::string(row->name) + " protocol...");
        if (!row->probe(port, product, options.timeoutMs > 0 ? options.timeoutMs : 500)) {
          appendMessage(result.message, std::string(row->name) + ": no answer");
          continue;
        }
        say(options.log, std::string(row->name) + " protocol detected!");
      }
    } catch (const TErrorPr& error) {
      say(options.log, error.text());
      appendMessage(result.message, error.text());
      continue;
    }
    result.protocol = row->protocol;
    result.product = product;
    result.baud = baud;
    result.message.clear();
    return result;
  }
  return result;
}

}  // namespace pixtrail
