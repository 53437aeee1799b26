#include "devices/TPaqueteDatosGarmin.hpp"

#include "core/byte_order.hpp"

namespace pixtrail {

std::string TPaqueteDatosGarmin::describe() const {
  return "Pid=" + std::to_string(id) + " datos.len=" + std::to_string(data.size());
}

std::uint8_t serialChecksum(std::uint8_t id, std::string_view data) {
  unsigned sum = id + static_cast<std::uint8_t>(data.size());
  for (const unsigned char c : data) sum += c;
  return static_cast<std::uint8_t>(-sum & 0xFF);
}

std::string serialFrame(const TPaqueteDatosGarmin& packet) {
  const std::string_view data = std::string_view(packet.data).substr(0, 255);
  const auto id = static_cast<std::uint8_t>(packet.id & 0xFF);
  std::string frame;
  frame.reserve(data.size() * 2 + 10);
  frame += static_cast<char>(kDle);
  auto stuffed = [&frame](std::uint8_t byte) {
    frame += static_cast<char>(byte);
    if (byte == kDle) frame += static_cast<char>(kDle);
  };
  stuffed(id);
  stuffed(static_cast<std::uint8_t>(data.size()));
  for (const unsigned char c : data) stuffed(c);
  stuffed(serialChecksum(id, data));
  frame += static_cast<char>(kDle);
  frame += static_cast<char>(kEtx);
  return frame;
}

std::size_t SerialFrameScanner::scan(std::string_view bytes) {
  const auto at = [&bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const std::size_t size = bytes.size() > 2 ? at(2) : 0;
  // A DLE that is the last byte so far waits for its partner.
  while (position_ + 1 < bytes.size()) {
    if (at(position_) != kDle) {
      ++position_;
      continue;
    }
    const unsigned char next = at(position_ + 1);
    if (next == kEtx) {
      if (position_ + 2 != size + 6 + stuffed_) throw TErrorPr("Error: Mensaje continua tras 0x10 0x03");
      position_ += 2;
      continue;
    }
    if (next != kDle) throw TErrorPr("Error: Caracter no correcto tras 0x10");
    ++stuffed_;
    position_ += 2;
  }
  return size + 6 + stuffed_;
}

TPaqueteDatosGarmin decodeSerialFrame(std::string_view frame) {
  std::string raw;
  raw.reserve(frame.size());
  for (std::size_t i = 0; i < frame.size(); ++i) {
    raw += frame[i];
    const bool inner = i > 0 && i + 1 < frame.size() - 1;
    if (inner && static_cast<unsigned char>(frame[i]) == kDle && static_cast<unsigned char>(frame[i + 1]) == kDle)
      ++i;
  }
  const auto at = [&raw](std::size_t i) { return static_cast<unsigned char>(raw[i]); };
  if (raw.size() < 6) throw TErrorPr("Paquete erroneo, demasiado corto");
  if (at(0) != kDle) throw TErrorPr("Paquete no empieza por DLE");
  const std::size_t size = at(2);
  if (size + 6 != raw.size())
    throw TErrorPr("Paquete de longitud discordante " + std::to_string(size + 6) + " " + std::to_string(raw.size()));
  if (at(size + 4) != kDle) throw TErrorPr("Paquete no acaba por DLE");
  if (at(size + 5) != kEtx) throw TErrorPr("Paquete no acaba por EOF");
  TPaqueteDatosGarmin packet(at(1), raw.substr(3, size));
  if (serialChecksum(at(1), packet.data) != at(size + 3)) throw TErrorPr("Error de Checksum");
  return packet;
}

std::string usbFrame(const TPaqueteDatosGarmin& packet) {
  std::string frame(kUsbHeaderSize, '\0');
  frame[0] = static_cast<char>(packet.usbLayer ? kUsbProtocolLayer : kUsbApplicationLayer);
  frame[4] = static_cast<char>(packet.id & 0xFF);
  frame[5] = static_cast<char>(packet.id >> 8);
  // Only the low byte of the length is written; callers never build longer packets.
  frame[8] = static_cast<char>(packet.data.size() & 0xFF);
  frame += packet.data;
  return frame;
}

TPaqueteDatosGarmin decodeUsbPacket(std::string_view bytes) {
  if (bytes.size() < kUsbHeaderSize) throw TErrorPr("Paquete USB corto");
  const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
  const std::uint32_t length = readU32(p + 8, ByteOrder::little);
  if (static_cast<std::uint64_t>(length) + kUsbHeaderSize != bytes.size())
    throw TErrorPr("Paquete USB de longitud discordante");
  return TPaqueteDatosGarmin(readU16(p + 4, ByteOrder::little), std::string(bytes.substr(kUsbHeaderSize)),
                             p[0] == kUsbProtocolLayer);
}

}  // namespace pixtrail
