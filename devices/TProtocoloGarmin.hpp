#pragma once
// The host side of the Garmin protocol over a serial line or USB: framing, time-outs and retries of
// packets, identification of the unit and its capabilities, and the transfers of waypoints, routes,
// tracks, date/time, position and the PVT stream between the unit and the program's objects.
//
// Errors are raised as TErrorPr (TErrorPrNoResponde when the unit does not answer); the line stays
// open after one. Positions travel in WGS 84 and are converted from and to the working datum.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "core/TCoord.hpp"
#include "devices/Capacidades_garmin.hpp"
#include "devices/TPaqueteDatosGarmin.hpp"
#include "devices/TPuertoCom.hpp"
#include "devices/garmin_records.hpp"
#include "devices/garmin_usb_link.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/TRuta.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

// Device command codes (A010).
namespace garmin_cmd {
inline constexpr std::uint16_t kAbort = 0, kXferAlm = 1, kXferPosn = 2, kXferRte = 4, kXferTime = 5;
inline constexpr std::uint16_t kXferTrk = 6, kXferWpt = 7, kTurnOffPwr = 8, kStartPvt = 49, kStopPvt = 50;
inline constexpr std::uint16_t kXferLaps = 117, kXferCourses = 561, kXferCourseLaps = 562;
inline constexpr std::uint16_t kXferCoursePoints = 563, kXferCourseTracks = 564, kXferCourseLimits = 565;
}  // namespace garmin_cmd

struct GarminSettings {
  int timeoutMs = 500;                  // "Comm_Timeout_Garmin"
  std::filesystem::path capabilityCache;  // protocol.dat; empty: no cache
  std::function<bool()> cancelled;      // polled between packets; true aborts the transfer
  std::function<void(std::size_t done, std::size_t total)> progress;
  std::function<void(const std::string&)> log;  // retries and other notes
};

struct GarminProduct {
  std::int32_t productId = -1;
  std::int32_t softwareVersion = 0;
  std::string description;
  std::string protocols;  // "A010 D108 ...", empty when the unit sent no protocol array
  Capacidades_garmin capabilities;
  bool fromCache = false;  // capabilities taken from protocol.dat
};

class TProtocoloGarmin {
 public:
  TProtocoloGarmin(TPuertoCom& port, GarminSettings settings = {});
  TProtocoloGarmin(GarminUsbLink& usb, GarminSettings settings = {});

  // Link level.
  void sendPacket(const TPaqueteDatosGarmin& packet, bool purgeFirst = false);
  TPaqueteDatosGarmin transaction(const TPaqueteDatosGarmin& packet);
  // The next packet; `timeoutMs` > 0 replaces the configured time-out for this call.
  TPaqueteDatosGarmin receive(int timeoutMs = -1);
  void acknowledge(std::uint16_t id);
  // Sends packet id 10 with the code; on a serial line waits for its ACK.
  void sendCommand(std::uint16_t code);

  GarminProduct identify();
  const GarminProduct& product() const { return product_; }
  // Uses these capabilities instead of asking the unit (a unit identified earlier).
  void setProduct(const GarminProduct& product) { product_ = product; identified_ = true; }

  void receiveWaypoints(TBalizas& out);
  std::size_t sendWaypoints(const TBalizas& waypoints);
  void receiveRoutes(TRutas& out);
  std::size_t sendRoutes(const TRutas& routes);
  // One TVolGPS per track on the unit; a unit with a single log gives "ACTIVE LOG".
  void receiveTracks(std::vector<TVolGPS>& out);
  std::size_t sendTracks(const std::vector<const TVolGPS*>& tracks);
  // Sends a track as a course (units with A1006): the unit's courses and limits are read first,
  // then the course, its single lap and its track. Raises the course rules' messages.
  void sendCourse(const TVolGPS& track);
  // The names of the courses on the unit.
  std::vector<GarminCourse> receiveCourses();
  // The checks a track must pass before it goes to the unit as a course; `onUnit` are the names of
  // the courses already there, `room` how many more it takes.
  static void checkCourse(const TVolGPS& track, const std::vector<std::string>& onUnit, std::size_t room);

  DateTimeRecord readDateTime();
  TCoord readPosition();
  void startPvt();
  GarminPvt readPvt();
  void stopPvt();
  void turnOff();

  bool usb() const { return usb_ != nullptr; }

 private:
  TPaqueteDatosGarmin receiveSerial(int firstRead, int timeoutMs);
  TPaqueteDatosGarmin receiveUsb(int timeoutMs);
  TPaqueteDatosGarmin readInterruptPacket(int timeoutMs);
  // Sends and waits for the unit's ACK of it (serial only); raises `noAckMessage` without one.
  void sendExpectingAck(const TPaqueteDatosGarmin& packet, const char* noAckMessage);
  TPaqueteDatosGarmin receiveAcked(int timeoutMs = -1);
  std::uint16_t receiveRecordCount();
  void sendRecordCount(std::size_t count);
  void sendRecords(const std::vector<TPaqueteDatosGarmin>& packets, std::uint16_t command);
  void sendTransferComplete(std::uint16_t command);
  void checkCancel() const;
  void requireIdentified();
  void report(std::size_t done, std::size_t total) const;

  GarminWaypoint toWire(const TBaliza& w) const;
  TBaliza fromWire(const GarminWaypoint& w) const;

  TPuertoCom* port_ = nullptr;
  GarminUsbLink* usb_ = nullptr;
  GarminSettings settings_;
  GarminProduct product_;
  bool identified_ = false;
  bool bulkPending_ = false;
};

// Asks whether a Garmin unit answers on `port`; on success `product` is its description. For the
// connection layer's auto-detection; never raises.
bool detectGarmin(TPuertoCom& port, std::string& product, int timeoutMs = 500);

}  // namespace pixtrail
