#pragma once
// The serial ports found on this machine, in the order that port indexes count them: index n of
// TPuertoCom::open() is the n-th entry here (on Windows the list holds COM n+1 at index n only when
// the ports are numbered without gaps, so open() there uses the COM number directly).

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace pixtrail {

struct TDescPuertoSerie {
  std::string path;         // what open gives to the system: /dev/ttyUSB0, \\.\COM3
  std::string name;         // short name: ttyUSB0, COM3
  std::string byIdPath;     // the stable /dev/serial/by-id link, when there is one
  std::string driver;       // kernel driver (ftdi_sio, cdc_acm, pl2303, rfcomm, serial8250)
  std::uint16_t usbVendor = 0;   // 0 when not a USB device
  std::uint16_t usbProduct = 0;
  std::string usbSerial;
  std::string manufacturer;
  std::string product;

  bool isUsb() const { return usbVendor != 0 || usbProduct != 0; }
  // One readable line for a person choosing a port: "FTDI FT232R USB UART (0403:6001, A1B2C3)".
  std::string description() const;
};

// Where the list is read from; tests point these at a made-up tree.
struct PortListRoots {
  std::filesystem::path sysClassTty = "/sys/class/tty";
  std::filesystem::path dev = "/dev";
};

class TListaPuertosCOMM {
 public:
  // Reads the machine's ports now; an unreadable folder gives an empty list, not an error.
  explicit TListaPuertosCOMM(const PortListRoots& roots = {});

  const std::vector<TDescPuertoSerie>& ports() const { return ports_; }
  std::size_t size() const { return ports_.size(); }
  // The device path of port `index`, empty when there is no such port.
  std::string pathOf(int index) const;

 private:
  std::vector<TDescPuertoSerie> ports_;
};

}  // namespace pixtrail
