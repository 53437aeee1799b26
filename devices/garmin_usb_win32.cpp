// Garmin USB pipes through the vendor's Windows driver: the device path from SetupAPI (loaded at
// run time, so that a system without it still starts), interrupt reads by DeviceIoControl, bulk
// reads and writes by ReadFile and WriteFile.
#ifdef _WIN32

#include <windows.h>
#include <setupapi.h>

#include <vector>

#include "devices/garmin_usb_link.hpp"

namespace pixtrail {

namespace {

// The device interface class of the vendor's USB driver.
constexpr GUID kGarminInterfaceClass = {0x2c9c45c2, 0x8e7d, 0x4c08, {0xa1, 0x2d, 0x81, 0x6b, 0xba, 0xe7, 0x22, 0xc0}};

using GetClassDevsFn = HDEVINFO(WINAPI*)(const GUID*, PCSTR, HWND, DWORD);
using EnumInterfacesFn = BOOL(WINAPI*)(HDEVINFO, PSP_DEVINFO_DATA, const GUID*, DWORD, PSP_DEVICE_INTERFACE_DATA);
using InterfaceDetailFn = BOOL(WINAPI*)(HDEVINFO, PSP_DEVICE_INTERFACE_DATA, PSP_DEVICE_INTERFACE_DETAIL_DATA_A, DWORD,
                                        PDWORD, PSP_DEVINFO_DATA);
using DestroyListFn = BOOL(WINAPI*)(HDEVINFO);

template <typename Fn>
Fn resolve(HMODULE module, const char* name) {
  return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// The first present device of the driver's interface class.
std::string garminUsbDevicePath() {
  char systemDir[MAX_PATH] = {};
  GetSystemDirectoryA(systemDir, MAX_PATH);
  HMODULE setupapi = LoadLibraryA((std::string(systemDir) + "\\setupapi.dll").c_str());
  if (!setupapi) throw TErrorPr("Error connecting USB", "File setupapi.dll not found");
  struct Unload {
    HMODULE m;
    ~Unload() { FreeLibrary(m); }
  } unload{setupapi};
  const auto getClassDevs = resolve<GetClassDevsFn>(setupapi, "SetupDiGetClassDevsA");
  const auto enumInterfaces = resolve<EnumInterfacesFn>(setupapi, "SetupDiEnumDeviceInterfaces");
  const auto interfaceDetail = resolve<InterfaceDetailFn>(setupapi, "SetupDiGetDeviceInterfaceDetailA");
  const auto destroyList = resolve<DestroyListFn>(setupapi, "SetupDiDestroyDeviceInfoList");
  if (!getClassDevs || !enumInterfaces || !interfaceDetail || !destroyList)
    throw TErrorPr("Error connecting USB", "The procedure SetupDiEnumDeviceInterfaces could not be found in setupapi.dll.");

  HDEVINFO devices = getClassDevs(&kGarminInterfaceClass, nullptr, nullptr, DIGCF_PRESENT | DIGCF_INTERFACEDEVICE);
  if (devices == INVALID_HANDLE_VALUE)
    throw TErrorPr("Error connecting USB", " (err1=" + std::to_string(GetLastError()) + ")");
  struct Destroy {
    HDEVINFO d;
    DestroyListFn f;
    ~Destroy() { f(d); }
  } destroy{devices, destroyList};
  SP_DEVICE_INTERFACE_DATA interfaceData{};
  interfaceData.cbSize = sizeof interfaceData;
  if (!enumInterfaces(devices, nullptr, &kGarminInterfaceClass, 0, &interfaceData)) {
    const DWORD error = GetLastError();
    throw TErrorPr("Error connecting USB", error == ERROR_NO_MORE_ITEMS ? std::string("ERROR_NO_MORE_ITEMS")
                                                                        : " (err2=" + std::to_string(error) + ")");
  }
  DWORD size = 0;
  interfaceDetail(devices, &interfaceData, nullptr, 0, &size, nullptr);
  std::vector<char> buffer(size > sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A) ? size : sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A));
  auto* detail = reinterpret_cast<PSP_DEVICE_INTERFACE_DETAIL_DATA_A>(buffer.data());
  detail->cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_A);
  if (!interfaceDetail(devices, &interfaceData, detail, static_cast<DWORD>(buffer.size()), nullptr, nullptr))
    throw TErrorPr("Error connecting USB", " (err3=" + std::to_string(GetLastError()) + ")");
  return detail->DevicePath;
}

constexpr DWORD kIoctlAsyncIn = 0x00222140;

std::string lastError() { return " lasterror= " + std::to_string(GetLastError()); }

class DriverGarminLink : public GarminUsbLink {
 public:
  DriverGarminLink() {
    path_ = garminUsbDevicePath();
    handle_ = CreateFileA(path_.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                          FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle_ == INVALID_HANDLE_VALUE) throw TErrorPr("Error connecting USB", " (error in CreateFile)" + lastError());
  }
  ~DriverGarminLink() override {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  }

  int readInterrupt(char* buffer, int size, int) override {
    DWORD got = 0;
    if (!DeviceIoControl(handle_, kIoctlAsyncIn, nullptr, 0, buffer, static_cast<DWORD>(size), &got, nullptr))
      throw TErrorPr("Error Recibe_USB", lastError());
    return static_cast<int>(got);
  }
  int readBulk(char* buffer, int size, int) override {
    DWORD got = 0;
    if (!ReadFile(handle_, buffer, static_cast<DWORD>(size), &got, nullptr)) throw TErrorPr("Error Recibe_USB", lastError());
    return static_cast<int>(got);
  }
  void writeBulk(std::string_view bytes) override {
    DWORD done = 0;
    if (!WriteFile(handle_, bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr) || done != bytes.size())
      throw TErrorPr("Error en la transmisión", lastError());
  }
  std::string where() const override { return path_; }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
  std::string path_;
};

}  // namespace

std::unique_ptr<GarminUsbLink> openGarminUsb() { return std::make_unique<DriverGarminLink>(); }

}  // namespace pixtrail

#endif
