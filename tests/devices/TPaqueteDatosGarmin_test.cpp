// Serial and USB frames of Garmin packets. Expected frames are worked out by hand from the link
// rules: checksum = two's complement of (id + size + data), every inner DLE doubled.
#include <gtest/gtest.h>

#include "devices/TPaqueteDatosGarmin.hpp"
#include "tests/devices/raised_text.hpp"

namespace pixtrail {
namespace {

std::string bytes(std::initializer_list<int> values) {
  std::string s;
  for (int v : values) s += static_cast<char>(v);
  return s;
}

using test::raisedText;

TEST(GarminSerialFrame, ChecksumAndStuffing) {
  const struct { TPaqueteDatosGarmin packet; std::string frame; const char* why; } rows[] = {
      {{6, bytes({0x0A, 0x00})}, bytes({0x10, 0x06, 0x02, 0x0A, 0x00, 0xEE, 0x10, 0x03}), "ACK of a command"},
      {{0x0A, bytes({0x10})}, bytes({0x10, 0x0A, 0x01, 0x10, 0x10, 0xE5, 0x10, 0x03}), "DLE in the data doubled"},
      {{0x0A, bytes({0xE4, 0x00})}, bytes({0x10, 0x0A, 0x02, 0xE4, 0x00, 0x10, 0x10, 0x10, 0x03}),
       "checksum 0x10 doubled"},
      {{254, ""}, bytes({0x10, 0xFE, 0x00, 0x02, 0x10, 0x03}), "empty product request"},
      {{27, std::string(16, '\x01')}, bytes({0x10, 0x1B, 0x10, 0x10}) + std::string(16, '\x01') + bytes({0xC5, 0x10, 0x03}),
       "size 16 doubled"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(serialFrame(r.packet), r.frame) << r.why;
    EXPECT_EQ(decodeSerialFrame(r.frame), r.packet) << r.why;
    SerialFrameScanner scanner;
    EXPECT_EQ(scanner.scan(r.frame), r.frame.size()) << r.why;
  }
}

TEST(GarminSerialFrame, ScannerCountsStuffingAsBytesArrive) {
  const std::string frame = serialFrame({0x0A, bytes({0x10, 0x10, 0x20})});
  SerialFrameScanner scanner;
  // The first five bytes hold one stuffed pair (3 + 6 + 1), the first seven both (3 + 6 + 2).
  EXPECT_EQ(scanner.scan(frame.substr(0, 5)), 10u);
  EXPECT_EQ(scanner.scan(frame.substr(0, 7)), 11u);
  EXPECT_EQ(scanner.scan(frame), frame.size());
}

TEST(GarminSerialFrame, RefusesWhatNoUnitSends) {
  const struct { std::string frame; const char* message; } scanRows[] = {
      {bytes({0x10, 0x0A, 0x04, 0x10, 0x03, 0x00, 0x00}), "Error: Mensaje continua tras 0x10 0x03"},
      {bytes({0x10, 0x0A, 0x02, 0x10, 0x05, 0x00, 0x00}), "Error: Caracter no correcto tras 0x10"},
  };
  for (const auto& r : scanRows) {
    SerialFrameScanner scanner;
    EXPECT_EQ(raisedText([&] { scanner.scan(r.frame); }), r.message);
  }
  const struct { std::string frame; std::string message; } decodeRows[] = {
      {bytes({0x10, 0x0A, 0x00, 0xF6, 0x10}), "Paquete erroneo, demasiado corto"},
      {bytes({0x11, 0x0A, 0x00, 0xF6, 0x10, 0x03}), "Paquete no empieza por DLE"},
      {bytes({0x10, 0x0A, 0x01, 0xF6, 0x10, 0x03}), "Paquete de longitud discordante 7 6"},
      {bytes({0x10, 0x0A, 0x00, 0xF6, 0x11, 0x03}), "Paquete no acaba por DLE"},
      {bytes({0x10, 0x0A, 0x00, 0xF6, 0x10, 0x04}), "Paquete no acaba por EOF"},
      {bytes({0x10, 0x0A, 0x00, 0xF7, 0x10, 0x03}), "Error de Checksum"},
  };
  for (const auto& r : decodeRows) EXPECT_EQ(raisedText([&] { decodeSerialFrame(r.frame); }), r.message);
}

TEST(GarminPacket, EqualityIgnoresLayerFlag) {
  EXPECT_EQ(TPaqueteDatosGarmin(6, "ab", true), TPaqueteDatosGarmin(6, "ab", false));
  EXPECT_NE(TPaqueteDatosGarmin(6, "ab"), TPaqueteDatosGarmin(6, "ac"));
  EXPECT_NE(TPaqueteDatosGarmin(6, "ab"), TPaqueteDatosGarmin(7, "ab"));
  EXPECT_NE(TPaqueteDatosGarmin(6, "ab"), TPaqueteDatosGarmin(6, "abc"));
  EXPECT_EQ(TPaqueteDatosGarmin(21, "xy").describe(), "Pid=21 datos.len=2");
}

TEST(GarminUsbFrame, HeaderAndLengthLowByte) {
  EXPECT_EQ(usbFrame({254, ""}), bytes({20, 0, 0, 0, 0xFE, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(usbFrame({5, "", true}), bytes({0, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0}));
  const std::string big = usbFrame({0x123, std::string(300, 'x')});
  EXPECT_EQ(static_cast<unsigned char>(big[4]), 0x23);
  EXPECT_EQ(static_cast<unsigned char>(big[5]), 0x01);
  EXPECT_EQ(static_cast<unsigned char>(big[8]), 44);  // 300 mod 256
  EXPECT_EQ(big[9], 0);

  const TPaqueteDatosGarmin back = decodeUsbPacket(usbFrame({35, "abc"}));
  EXPECT_EQ(back, TPaqueteDatosGarmin(35, "abc"));
  EXPECT_FALSE(back.usbLayer);
  EXPECT_TRUE(decodeUsbPacket(bytes({0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0})).usbLayer);
  // A length above 255 reads back through all four bytes.
  std::string wide = bytes({20, 0, 0, 0, 34, 0, 0, 0, 0x2C, 0x01, 0, 0}) + std::string(300, 'y');
  EXPECT_EQ(decodeUsbPacket(wide).data.size(), 300u);

  EXPECT_EQ(raisedText([] { decodeUsbPacket(std::string(11, '\0')); }), "Paquete USB corto");
  EXPECT_EQ(raisedText([] { decodeUsbPacket(usbFrame({35, "abc"}) + "d"); }), "Paquete USB de longitud discordante");
  EXPECT_EQ(raisedText([&] { decodeUsbPacket(big); }), "Paquete USB de longitud discordante");
}

}  // namespace
}  // namespace pixtrail
