// Windows port list: SetupAPI's class of ports, with SETUPAPI.DLL loaded at run time, each
// device's "PortName" value giving its COM name. Where SetupAPI lists nothing (older systems,
// wine), the registry's map of serial devices, HARDWARE\DEVICEMAP\SERIALCOMM, is read instead.
#ifdef _WIN32

#include <windows.h>
#include <setupapi.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>

#include "devices/TListaPuertosCOMM.hpp"

namespace pixtrail {
namespace {

int comNumber(const std::string& name) {
  if (name.size() < 4 || _strnicmp(name.c_str(), "COM", 3) != 0) return -1;
  int number = -1;
  std::from_chars(name.data() + 3, name.data() + name.size(), number);
  return number;
}

// "USB\VID_0403&PID_6001\A1B2C3" or "FTDIBUS\VID_0403+PID_6001+A1B2C3\0000".
void parseHardwareId(const std::string& id, TDescPuertoSerie& port) {
  auto hexAfter = [&id](const char* key) -> std::uint16_t {
    std::size_t at = id.find(key);
    if (at == std::string::npos) return 0;
    unsigned value = 0;
    std::from_chars(id.data() + at + 4, id.data() + std::min(id.size(), at + 8), value, 16);
    return static_cast<std::uint16_t>(value);
  };
  port.usbVendor = hexAfter("VID_");
  port.usbProduct = hexAfter("PID_");
}

}  // namespace

// The SetupAPI entry points the port list needs, resolved by name from SETUPAPI.DLL.
class TFuncSetupapi {
 public:
  TFuncSetupapi() : library_(::LoadLibraryA("SETUPAPI.DLL")) {
    if (!library_) return;
    classGuidsFromName = reinterpret_cast<decltype(classGuidsFromName)>(resolve("SetupDiClassGuidsFromNameA"));
    getClassDevs = reinterpret_cast<decltype(getClassDevs)>(resolve("SetupDiGetClassDevsA"));
    enumDeviceInfo = reinterpret_cast<decltype(enumDeviceInfo)>(resolve("SetupDiEnumDeviceInfo"));
    getRegistryProperty = reinterpret_cast<decltype(getRegistryProperty)>(resolve("SetupDiGetDeviceRegistryPropertyA"));
    openDevRegKey = reinterpret_cast<decltype(openDevRegKey)>(resolve("SetupDiOpenDevRegKey"));
    destroyList = reinterpret_cast<decltype(destroyList)>(resolve("SetupDiDestroyDeviceInfoList"));
  }
  ~TFuncSetupapi() {
    if (library_) ::FreeLibrary(library_);
  }
  TFuncSetupapi(const TFuncSetupapi&) = delete;
  TFuncSetupapi& operator=(const TFuncSetupapi&) = delete;

  bool ok() const {
    return classGuidsFromName && getClassDevs && enumDeviceInfo && getRegistryProperty && openDevRegKey && destroyList;
  }

  decltype(&SetupDiClassGuidsFromNameA) classGuidsFromName = nullptr;
  decltype(&SetupDiGetClassDevsA) getClassDevs = nullptr;
  decltype(&SetupDiEnumDeviceInfo) enumDeviceInfo = nullptr;
  decltype(&SetupDiGetDeviceRegistryPropertyA) getRegistryProperty = nullptr;
  decltype(&SetupDiOpenDevRegKey) openDevRegKey = nullptr;
  decltype(&SetupDiDestroyDeviceInfoList) destroyList = nullptr;

 private:
  void* resolve(const char* name) { return reinterpret_cast<void*>(::GetProcAddress(library_, name)); }
  HMODULE library_;
};

namespace {

std::string registryProperty(const TFuncSetupapi& api, HDEVINFO devices, SP_DEVINFO_DATA& device, DWORD property) {
  char text[512] = {};
  DWORD type = 0;
  if (!api.getRegistryProperty(devices, &device, property, &type, reinterpret_cast<BYTE*>(text), sizeof text - 1, nullptr))
    return {};
  return text;  // a multi-string's first entry is all that is wanted (hardware ids)
}

std::vector<TDescPuertoSerie> portsFromSetupapi() {
  std::vector<TDescPuertoSerie> ports;
  TFuncSetupapi api;
  if (!api.ok()) return ports;
  GUID classes[4];
  DWORD found = 0;
  if (!api.classGuidsFromName("Ports", classes, 4, &found) || found == 0) return ports;
  HDEVINFO devices = api.getClassDevs(&classes[0], nullptr, nullptr, DIGCF_PRESENT);
  if (devices == INVALID_HANDLE_VALUE) return ports;
  SP_DEVINFO_DATA device{};
  device.cbSize = sizeof device;
  for (DWORD i = 0; api.enumDeviceInfo(devices, i, &device); ++i) {
    HKEY key = api.openDevRegKey(devices, &device, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ);
    if (key == INVALID_HANDLE_VALUE) continue;
    char name[64] = {};
    DWORD size = sizeof name - 1, type = 0;
    const LONG rc = ::RegQueryValueExA(key, "PortName", nullptr, &type, reinterpret_cast<BYTE*>(name), &size);
    ::RegCloseKey(key);
    if (rc != ERROR_SUCCESS || comNumber(name) < 1) continue;  // printer ports (LPT) share the class
    TDescPuertoSerie port;
    port.name = name;
    port.path = "\\\\.\\" + port.name;
    port.product = registryProperty(api, devices, device, SPDRP_FRIENDLYNAME);
    if (port.product.empty()) port.product = registryProperty(api, devices, device, SPDRP_DEVICEDESC);
    port.manufacturer = registryProperty(api, devices, device, SPDRP_MFG);
    port.driver = registryProperty(api, devices, device, SPDRP_SERVICE);
    parseHardwareId(registryProperty(api, devices, device, SPDRP_HARDWAREID), port);
    ports.push_back(std::move(port));
  }
  api.destroyList(devices);
  return ports;
}

std::vector<TDescPuertoSerie> portsFromDeviceMap() {
  std::vector<TDescPuertoSerie> ports;
  HKEY key;
  if (::RegOpenKeyExA(HKEY_LOCAL_MACHINE, "HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, KEY_READ, &key) != ERROR_SUCCESS)
    return ports;
  for (DWORD i = 0;; ++i) {
    char device[256] = {}, name[64] = {};
    DWORD deviceSize = sizeof device, nameSize = sizeof name - 1, type = 0;
    if (::RegEnumValueA(key, i, device, &deviceSize, nullptr, &type, reinterpret_cast<BYTE*>(name), &nameSize) !=
        ERROR_SUCCESS)
      break;
    if (comNumber(name) < 1) continue;
    TDescPuertoSerie port;
    port.name = name;
    port.path = "\\\\.\\" + port.name;
    port.driver = device;  // \Device\Serial0, \Device\VCP0
    ports.push_back(std::move(port));
  }
  ::RegCloseKey(key);
  return ports;
}

}  // namespace

TListaPuertosCOMM::TListaPuertosCOMM(const PortListRoots&) {
  ports_ = portsFromSetupapi();
  if (ports_.empty()) ports_ = portsFromDeviceMap();
  std::sort(ports_.begin(), ports_.end(),
            [](const TDescPuertoSerie& a, const TDescPuertoSerie& b) { return comNumber(a.name) < comNumber(b.name); });
}

std::string TListaPuertosCOMM::pathOf(int index) const {
  // Windows numbers its ports itself: index n is COM n+1 whether listed or not.
  return index >= 0 ? "\\\\.\\COM" + std::to_string(index + 1) : std::string();
}

}  // namespace pixtrail

#endif  // _WIN32
