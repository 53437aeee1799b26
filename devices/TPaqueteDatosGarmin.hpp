#pragma once
// A Garmin packet and its two link-layer frames: the serial frame (DLE, id, size, data, checksum,
// DLE ETX, with every DLE inside doubled) and the USB frame (a 12-byte header before the data).
// The decoders raise TErrorPr with the link's own messages; they never read past what they are given.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "devices/TErrorPr.hpp"

namespace pixtrail {

inline constexpr unsigned char kDle = 0x10;
inline constexpr unsigned char kEtx = 0x03;

// Packet ids of the basic link protocol and the USB protocol layer.
namespace garmin_pid {
inline constexpr std::uint16_t kAck = 6, kNak = 21;
inline constexpr std::uint16_t kCommandData = 10, kXferCmplt = 12, kDateTimeData = 14;
inline constexpr std::uint16_t kPositionData = 17, kRecords = 27, kRteHdr = 29, kRteWptData = 30;
inline constexpr std::uint16_t kAlmanacData = 31, kTrkData = 34, kWptData = 35, kPvtData = 51;
inline constexpr std::uint16_t kRteLinkData = 98, kTrkHdr = 99;
inline constexpr std::uint16_t kCourse = 1061, kCourseLap = 1063, kCourseTrkHdr = 1064, kCourseTrkData = 1065;
inline constexpr std::uint16_t kCourseLimits = 1066;
inline constexpr std::uint16_t kExtProductData = 248, kProtocolArray = 253;
inline constexpr std::uint16_t kProductRqst = 254, kProductData = 255;
// USB protocol layer (packet type 0).
inline constexpr std::uint16_t kUsbDataAvailable = 2, kUsbStartSession = 5, kUsbSessionStarted = 6;
}  // namespace garmin_pid

struct TPaqueteDatosGarmin {
  std::uint16_t id = 0;
  std::string data;       // the data bytes
  bool usbLayer = false;  // a packet of the USB protocol layer rather than the application layer

  TPaqueteDatosGarmin() = default;
  TPaqueteDatosGarmin(std::uint16_t packetId, std::string bytes = {}, bool usb = false)
      : id(packetId), data(std::move(bytes)), usbLayer(usb) {}

  // Equal id, length and bytes; the layer flag does not take part.
  friend bool operator==(const TPaqueteDatosGarmin& a, const TPaqueteDatosGarmin& b) {
    return a.id == b.id && a.data == b.data;
  }
  // "Pid=<id> datos.len=<length>", as the protocol errors name a packet.
  std::string describe() const;
};

// The serial frame of a packet (only the id's low byte and data of up to 255 bytes travel).
std::string serialFrame(const TPaqueteDatosGarmin& packet);
std::uint8_t serialChecksum(std::uint8_t id, std::string_view data);

// Scans a serial frame as it arrives and tells how many bytes the whole frame needs. Feed it the
// bytes read so far (first byte the leading DLE); it raises on a DLE sequence that cannot occur.
class SerialFrameScanner {
 public:
  // Returns the expected stuffed length of the frame, counting the bytes seen so far.
  std::size_t scan(std::string_view bytes);

 private:
  std::size_t position_ = 1;
  std::size_t stuffed_ = 0;
};

// Removes the stuffing and checks the frame; raises with the link's message on any fault.
TPaqueteDatosGarmin decodeSerialFrame(std::string_view frame);

// The USB frame: byte 0 the packet type (20 application, 0 USB layer), bytes 4-5 the id, byte 8 the
// data length's low byte (only the low byte is ever written, so more than 255 bytes cannot travel).
inline constexpr std::size_t kUsbHeaderSize = 12;
inline constexpr std::uint8_t kUsbApplicationLayer = 20;
inline constexpr std::uint8_t kUsbProtocolLayer = 0;
std::string usbFrame(const TPaqueteDatosGarmin& packet);
TPaqueteDatosGarmin decodeUsbPacket(std::string_view bytes);

}  // namespace pixtrail
