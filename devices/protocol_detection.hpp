#pragma once
// Finding out which protocol the device on a line speaks. Each protocol contributes one probe
// row; detectProtocol() tries the protocol found last time first, then the rows in table order.
// A probe returns true when the device answered in its protocol and raises TErrorPr (or returns
// false) when it did not.

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "devices/TProtocoloNMEA.hpp"
#include "devices/TPuertoCom.hpp"

namespace pixtrail {

// The values stored in "Last_Autodetect_Protocol".
enum class GpsProtocol : std::int32_t { none = 0, nmea = 1, garmin = 2, magellan = 3 };

std::string_view protocolName(GpsProtocol protocol);  // "NMEA", "Garmin", "Magellan", ""

// `product` receives what the device says it is (Garmin's product text, Magellan's version line,
// the first NMEA sentence type); `timeoutMs` is the wait for each answer.
using ProbeFunction = bool (*)(TPuertoCom& port, std::string& product, int timeoutMs);

struct ProtocolProbe {
  GpsProtocol protocol;
  std::string_view name;
  std::uint32_t defaultBaud;  // the speed the protocol's devices use out of the box
  ProbeFunction probe;
};

std::span<const ProtocolProbe> protocolProbes();

// Log lines and messages of the NMEA detection.
inline constexpr std::string_view kNmeaSilent = " Error receiving NMEA, no message received! ";
inline constexpr std::string_view kNmeaNoNmeaBytes =
    "Error: Receiving no-nmea bytes. Perhaps the GPS is using an other protocol.";
inline constexpr std::string_view kNmeaBadSentences = "Error in NMEA sentence received";
inline constexpr std::string_view kNmeaNotYet = "NMEA no disponible aun en auto-detect";

struct NmeaDetectOptions {
  bool excluded = false;                     // the user left NMEA out of this detection
  int timeoutMs = 2000;                      // "Comm_NNEA_Timeout": the wait for each line
  NmeaSettings settings;                     // checksum checking as configured
  const std::atomic<bool>* cancel = nullptr; // the user's cancel flag
  std::function<void(std::string_view)> log;
  std::function<void()> beep;                // given up after 20 lines without a verdict
};

// NMEA: a line that changes a fresh fix, or a GSV sentence, is a receiver talking NMEA.
// Raises TErrorPr with the read, parse or verdict message. When NMEA is excluded it logs
// "Not Trying NMEA protocol... ", answers "NMEA" in `product` and returns false.
bool detectNmea(TPuertoCom& port, std::string& product, const NmeaDetectOptions& options);
// The table row: the configured settings, no cancel.
bool detectNmeaProbe(TPuertoCom& port, std::string& product, int timeoutMs);

struct DetectOptions {
  GpsProtocol tryFirst = GpsProtocol::none;  // "Last_Autodetect_Protocol"
  std::uint32_t baud = 0;                    // 0: each protocol's default speed
  int timeoutMs = 0;                         // 0: each protocol's configured time-out
  NmeaSettings nmea;                         // checksum checking while listening for NMEA
  std::function<void(std::string_view)> log;
  const std::atomic<bool>* cancel = nullptr;
};

struct DetectResult {
  GpsProtocol protocol = GpsProtocol::none;
  std::string product;
  std::uint32_t baud = 0;
  std::string message;  // why each protocol failed, one per line, when none answered
};

// Tries every probe on the open port, each at its speed; never raises: a probe's error becomes
// a line of `message`. The port is left at the speed of the protocol found.
DetectResult detectProtocol(TPuertoCom& port, const DetectOptions& options,
                            std::span<const ProtocolProbe> probes = protocolProbes());

}  // namespace pixtrail
