// Garmin USB pipes through libusb-1.0 (Linux and other POSIX systems).
#ifndef _WIN32

#include <libusb.h>

#include <fstream>

#include "devices/garmin_usb_link.hpp"

namespace pixtrail {

namespace {

// The kernel's own driver for these units turns them into a tty; while it holds the interface,
// libusb cannot claim it.
bool kernelGarminDriverLoaded() {
  std::ifstream modules("/proc/modules");
  std::string line;
  while (std::getline(modules, line))
    if (line.rfind("garmin_gps ", 0) == 0) return true;
  return false;
}

std::string usbError(const char* call, int code) {
  return std::string(call) + ": " + libusb_error_name(code);
}

class LibusbGarminLink : public GarminUsbLink {
 public:
  LibusbGarminLink() {
    if (const int rc = libusb_init(&context_); rc != 0) throw TErrorPr("Error connecting USB", usbError("libusb_init", rc));
    try {
      openFirstUnit();
    } catch (...) {
      release();
      throw;
    }
  }
  ~LibusbGarminLink() override { release(); }

  int readInterrupt(char* buffer, int size, int timeoutMs) override {
    return transfer(interruptIn_, buffer, size, timeoutMs, true);
  }
  int readBulk(char* buffer, int size, int timeoutMs) override {
    return transfer(bulkIn_, buffer, size, timeoutMs, false);
  }
  void writeBulk(std::string_view bytes) override {
    int done = 0;
    std::string copy(bytes);
    const int rc = libusb_bulk_transfer(handle_, bulkOut_, reinterpret_cast<unsigned char*>(copy.data()),
                                        static_cast<int>(copy.size()), &done, 1000);
    if (rc != 0 || done != static_cast<int>(copy.size()))
      throw TErrorPr("Error en la transmisión", usbError("libusb_bulk_transfer", rc));
    // A write that fills whole packets is closed by an empty one, as the unit expects.
    if (!copy.empty() && copy.size() % maxPacketOut_ == 0)
      libusb_bulk_transfer(handle_, bulkOut_, nullptr, 0, &done, 1000);
  }
  std::string where() const override { return where_; }

 private:
  int transfer(unsigned char endpoint, char* buffer, int size, int timeoutMs, bool interrupt) {
    int done = 0;
    auto* data = reinterpret_cast<unsigned char*>(buffer);
    const unsigned timeout = static_cast<unsigned>(timeoutMs > 0 ? timeoutMs : 1);
    const int rc = interrupt ? libusb_interrupt_transfer(handle_, endpoint, data, size, &done, timeout)
                             : libusb_bulk_transfer(handle_, endpoint, data, size, &done, timeout);
    if (rc == LIBUSB_ERROR_TIMEOUT) return done;
    if (rc != 0) throw TErrorPr("Error Recibe_USB", usbError(interrupt ? "libusb_interrupt_transfer" : "libusb_bulk_transfer", rc));
    return done;
  }

  void openFirstUnit() {
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(context_, &list);
    if (count < 0) throw TErrorPr("Error connecting USB", usbError("libusb_get_device_list", static_cast<int>(count)));
    libusb_device* unit = nullptr;
    for (ssize_t i = 0; i < count && !unit; ++i) {
      libusb_device_descriptor d{};
      if (libusb_get_device_descriptor(list[i], &d) == 0 && d.idVendor == kGarminUsbVendor) unit = list[i];
    }
    int rc = unit ? libusb_open(unit, &handle_) : LIBUSB_ERROR_NO_DEVICE;
    if (unit) {
      where_ = "USB bus " + std::to_string(libusb_get_bus_number(unit)) + " device " +
               std::to_string(libusb_get_device_address(unit));
      if (rc == 0) rc = findEndpoints(unit);
    }
    libusb_free_device_list(list, 1);
    if (!unit) throw TErrorPr("Error connecting USB", "no Garmin unit (vendor 091e) on USB");
    if (rc == LIBUSB_ERROR_ACCESS)
      throw TErrorPr("Error connecting USB", "no permission to open the unit (" + where_ + "): install the udev rules");
    if (rc != 0) throw TErrorPr("Error connecting USB", usbError("libusb_open", rc));
    const char* const kHeldByKernel =
        "the kernel's garmin_gps module holds the unit; unload it (modprobe -r garmin_gps) for USB access";
    if (libusb_kernel_driver_active(handle_, 0) == 1) throw TErrorPr("Error connecting USB", kHeldByKernel);
    rc = libusb_claim_interface(handle_, 0);
    if (rc == LIBUSB_ERROR_BUSY && kernelGarminDriverLoaded()) throw TErrorPr("Error connecting USB", kHeldByKernel);
    if (rc != 0) throw TErrorPr("Error connecting USB", usbError("libusb_claim_interface", rc));
    claimed_ = true;
  }

  int findEndpoints(libusb_device* unit) {
    libusb_config_descriptor* config = nullptr;
    if (const int rc = libusb_get_active_config_descriptor(unit, &config); rc != 0) return rc;
    for (int a = 0; config->bNumInterfaces > 0 && a < config->interface[0].num_altsetting; ++a) {
      const libusb_interface_descriptor& alt = config->interface[0].altsetting[a];
      for (int e = 0; e < alt.bNumEndpoints; ++e) {
        const libusb_endpoint_descriptor& ep = alt.endpoint[e];
        const int kind = ep.bmAttributes & LIBUSB_TRANSFER_TYPE_MASK;
        const bool in = (ep.bEndpointAddress & LIBUSB_ENDPOINT_IN) != 0;
        if (kind == LIBUSB_TRANSFER_TYPE_INTERRUPT && in) interruptIn_ = ep.bEndpointAddress;
        if (kind == LIBUSB_TRANSFER_TYPE_BULK && in) bulkIn_ = ep.bEndpointAddress;
        if (kind == LIBUSB_TRANSFER_TYPE_BULK && !in) {
          bulkOut_ = ep.bEndpointAddress;
          if (ep.wMaxPacketSize > 0) maxPacketOut_ = ep.wMaxPacketSize;
        }
      }
    }
    libusb_free_config_descriptor(config);
    return interruptIn_ && bulkIn_ && bulkOut_ ? 0 : LIBUSB_ERROR_NOT_FOUND;
  }

  void release() {
    if (handle_) {
      if (claimed_) libusb_release_interface(handle_, 0);
      libusb_close(handle_);
      handle_ = nullptr;
    }
    if (context_) libusb_exit(context_);
    context_ = nullptr;
  }

  libusb_context* context_ = nullptr;
  libusb_device_handle* handle_ = nullptr;
  bool claimed_ = false;
  unsigned char interruptIn_ = 0, bulkIn_ = 0, bulkOut_ = 0;
  std::size_t maxPacketOut_ = 64;
  std::string where_;
};

}  // namespace

std::unique_ptr<GarminUsbLink> openGarminUsb() { return std::make_unique<LibusbGarminLink>(); }

}  // namespace pixtrail

#endif
