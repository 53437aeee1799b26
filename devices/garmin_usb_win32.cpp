// Garmin USB pipes through the vendor's Windows driver: interrupt reads by DeviceIoControl, bulk
// reads and writes by ReadFile and WriteFile on the device path that the connection layer finds.
#ifdef _WIN32

#include <windows.h>

#include "devices/garmin_usb_link.hpp"

namespace pixtrail {

// The driver's device path (SetupAPI discovery of the connection layer).
std::string garminUsbDevicePath();

namespace {

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
