// The Linux port list over a made-up /sys/class/tty and /dev.
#ifndef _WIN32

#include "devices/TListaPuertosCOMM.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {
namespace fs = std::filesystem;

class FakeMachine {
 public:
  FakeMachine() {
    fs::create_directories(sys());
    fs::create_directories(dev() / "serial" / "by-id");
  }
  fs::path sys() const { return dir.path() / "sys" / "class" / "tty"; }
  fs::path dev() const { return dir.path() / "dev"; }
  fs::path devices() const { return dir.path() / "sys" / "devices"; }

  // A tty whose `device` link points at `devicePath` (relative to sys/devices); empty = virtual.
  void tty(const std::string& name, const std::string& devicePath = {}, const std::string& type = {}) {
    fs::create_directories(sys() / name);
    std::ofstream(dev() / name) << "";
    if (!devicePath.empty()) {
      fs::create_directories(devices() / devicePath);
      fs::create_directory_symlink(devices() / devicePath, sys() / name / "device");
    }
    if (!type.empty()) std::ofstream(sys() / name / "type") << type << "\n";
  }
  void usb(const std::string& usbDevice, const std::string& vendor, const std::string& product,
           const std::string& serial, const std::string& maker, const std::string& name) {
    fs::path d = devices() / usbDevice;
    fs::create_directories(d);
    std::ofstream(d / "idVendor") << vendor << "\n";
    std::ofstream(d / "idProduct") << product << "\n";
    std::ofstream(d / "serial") << serial << "\n";
    std::ofstream(d / "manufacturer") << maker << "\n";
    std::ofstream(d / "product") << name << "\n";
  }
  PortListRoots roots() const { return {sys(), dev()}; }

 private:
  test::TempDir dir;
};

TEST(PortList, OrdersAdaptersFirstAndSkipsTtysWithoutAPort) {
  FakeMachine m;
  m.tty("tty0");                                   // virtual console
  m.tty("ttyS0", "platform/serial8250/tty/ttyS0", "4");
  m.tty("ttyS1", "platform/serial8250/tty/ttyS1", "0");  // registered, no chip
  m.tty("ttyUSB10", "usb1/1-2/1-2:1.0/ttyUSB10");
  m.tty("ttyUSB2", "usb1/1-1/1-1:1.0/ttyUSB2");
  m.tty("ttyACM0", "usb1/1-3/1-3:1.0/tty/ttyACM0");
  m.tty("rfcomm0");
  TListaPuertosCOMM list(m.roots());
  std::vector<std::string> names;
  for (const auto& port : list.ports()) names.push_back(port.name);
  EXPECT_EQ(names, (std::vector<std::string>{"ttyUSB2", "ttyUSB10", "ttyACM0", "rfcomm0", "ttyS0"}));
  // Index 2 is the third port, as COM3 is on Windows.
  EXPECT_EQ(list.pathOf(2), (m.dev() / "ttyACM0").string());
  EXPECT_EQ(list.pathOf(5), "");
  EXPECT_EQ(list.pathOf(-100), "");
}

TEST(PortList, DescribesUsbAdaptersFromTheirDescriptors) {
  FakeMachine m;
  m.usb("usb1/1-1", "067b", "2303", "", "Prolific Technology Inc.", "USB-Serial Controller");
  m.tty("ttyUSB0", "usb1/1-1/1-1:1.0/ttyUSB0");
  m.usb("usb1/1-3", "091e", "0003", "3412345678", "", "");
  m.tty("ttyACM0", "usb1/1-3/1-3:1.0/tty/ttyACM0");
  fs::create_symlink("../../ttyUSB0", m.dev() / "serial" / "by-id" / "usb-Prolific_USB-Serial-if00-port0");
  m.tty("ttyS0", "platform/serial8250/tty/ttyS0", "4");

  TListaPuertosCOMM list(m.roots());
  ASSERT_EQ(list.size(), 3u);
  const TDescPuertoSerie& prolific = list.ports()[0];
  EXPECT_EQ(prolific.usbVendor, 0x067b);
  EXPECT_EQ(prolific.usbProduct, 0x2303);
  EXPECT_EQ(prolific.byIdPath, (m.dev() / "serial" / "by-id" / "usb-Prolific_USB-Serial-if00-port0").string());
  EXPECT_EQ(prolific.description(), "Prolific Technology Inc. USB-Serial Controller (067b:2303)");
  // No strings in the descriptor: the ids and serial still tell the units apart.
  EXPECT_EQ(list.ports()[1].description(), "ttyACM0 (091e:0003, 3412345678)");
  EXPECT_FALSE(list.ports()[2].isUsb());
  EXPECT_EQ(list.ports()[2].description(), "ttyS0");
}

TEST(PortList, MissingFoldersGiveAnEmptyList) {
  TListaPuertosCOMM list(PortListRoots{"/nonexistent/sys", "/nonexistent/dev"});
  EXPECT_EQ(list.size(), 0u);
}

}  // namespace
}  // namespace pixtrail

#endif
