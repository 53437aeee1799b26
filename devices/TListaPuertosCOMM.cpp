// Linux port list: /sys/class/tty holds every tty; those backed by a device (USB adapters, ACM
// modems, on-board UARTs) or bound over Bluetooth (rfcomm) are ports. The USB descriptors come
// from the sysfs parents of the tty's device, and /dev/serial/by-id gives the stable name.
#include "devices/TListaPuertosCOMM.hpp"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <map>
#include <system_error>
#include <tuple>

namespace pixtrail {

// Shared by both systems' lists.
std::string TDescPuertoSerie::description() const {
  std::string text;
  if (!manufacturer.empty()) text = manufacturer;
  if (!product.empty()) text += (text.empty() ? "" : " ") + product;
  if (text.empty()) text = driver.empty() ? name : driver;
  if (isUsb()) {
    char ids[16];
    std::snprintf(ids, sizeof ids, "%04x:%04x", usbVendor, usbProduct);
    text += " (" + std::string(ids) + (usbSerial.empty() ? "" : ", " + usbSerial) + ")";
  }
  return text;
}

#ifndef _WIN32
namespace fs = std::filesystem;

namespace {

std::string readSysText(const fs::path& file) {
  std::ifstream in(file);
  std::string text;
  std::getline(in, text);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
    text.pop_back();
  return text;
}

std::uint16_t readHex16(const fs::path& file) {
  std::string text = readSysText(file);
  unsigned value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value, 16);
  return static_cast<std::uint16_t>(value);
}

// Adapters first (they are what a GPS is plugged into), on-board UARTs last; within a kind by
// number, so ttyUSB10 follows ttyUSB9.
struct SortKey {
  int rank;
  std::string prefix;
  long number;
  bool operator<(const SortKey& other) const {
    return std::tie(rank, prefix, number) < std::tie(other.rank, other.prefix, other.number);
  }
};

SortKey sortKey(const std::string& name) {
  std::size_t digits = name.size();
  while (digits > 0 && name[digits - 1] >= '0' && name[digits - 1] <= '9') --digits;
  std::string prefix = name.substr(0, digits);
  long number = -1;
  std::from_chars(name.data() + digits, name.data() + name.size(), number);
  int rank = 3;
  if (prefix == "ttyUSB") rank = 0;
  else if (prefix == "ttyACM") rank = 1;
  else if (prefix == "rfcomm") rank = 2;
  else if (prefix == "ttyS") rank = 4;
  return {rank, prefix, number};
}

bool isPort(const fs::path& ttyDir, const std::string& name) {
  std::error_code ec;
  if (name.rfind("rfcomm", 0) == 0) return true;
  if (!fs::exists(ttyDir / "device", ec)) return false;  // virtual consoles, ptys
  // The kernel registers every possible legacy UART; only those with a chip behind them count.
  if (name.rfind("ttyS", 0) == 0) return readSysText(ttyDir / "type") != "0" &&
                                         !readSysText(ttyDir / "type").empty();
  return true;
}

void fillUsbDetails(const fs::path& ttyDir, TDescPuertoSerie& port) {
  std::error_code ec;
  fs::path device = fs::canonical(ttyDir / "device", ec);
  if (ec) return;
  fs::path driverLink = ttyDir / "device" / "driver";
  if (fs::is_symlink(driverLink, ec)) port.driver = fs::read_symlink(driverLink, ec).filename().string();
  // USB interface → USB device: the descriptors sit a level or two above the tty's device.
  for (fs::path dir = device; !dir.empty() && dir != dir.root_path(); dir = dir.parent_path()) {
    if (fs::exists(dir / "idVendor", ec)) {
      port.usbVendor = readHex16(dir / "idVendor");
      port.usbProduct = readHex16(dir / "idProduct");
      port.usbSerial = readSysText(dir / "serial");
      port.manufacturer = readSysText(dir / "manufacturer");
      port.product = readSysText(dir / "product");
      return;
    }
  }
}

std::map<std::string, std::string> byIdLinks(const fs::path& devRoot) {
  std::map<std::string, std::string> links;  // tty name → by-id path
  std::error_code ec;
  fs::path folder = devRoot / "serial" / "by-id";
  for (const auto& entry : fs::directory_iterator(folder, ec)) {
    std::error_code linkEc;
    fs::path target = fs::read_symlink(entry.path(), linkEc);
    if (linkEc) continue;
    links[target.filename().string()] = entry.path().string();
  }
  return links;
}

}  // namespace

TListaPuertosCOMM::TListaPuertosCOMM(const PortListRoots& roots) {
  std::error_code ec;
  std::map<SortKey, TDescPuertoSerie> found;
  std::map<std::string, std::string> links = byIdLinks(roots.dev);
  for (const auto& entry : fs::directory_iterator(roots.sysClassTty, ec)) {
    std::string name = entry.path().filename().string();
    if (!isPort(entry.path(), name)) continue;
    TDescPuertoSerie port;
    port.name = name;
    port.path = (roots.dev / name).string();
    if (auto link = links.find(name); link != links.end()) port.byIdPath = link->second;
    fillUsbDetails(entry.path(), port);
    if (port.driver.empty() && name.rfind("rfcomm", 0) == 0) port.driver = "rfcomm";
    found.emplace(sortKey(name), std::move(port));
  }
  for (auto& [key, port] : found) ports_.push_back(std::move(port));
}

std::string TListaPuertosCOMM::pathOf(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= ports_.size()) return {};
  return ports_[static_cast<std::size_t>(index)].path;
}

#endif  // _WIN32

}  // namespace pixtrail
