// The USB stand-in library (see usb_shim_protocol.hpp). Loaded with LD_PRELOAD, it takes the place
// of libusb-1.0 for the calls a Garmin client makes: one device of vendor 091e with an
// interrupt-IN, a bulk-IN and a bulk-OUT endpoint, whose transfers go to the simulator's socket.

#include <libusb.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "tests/sim/sim_line.hpp"

namespace {

using pixtrail::sim::readAll;
using pixtrail::sim::writeAll;

int gSocket = -1;
libusb_device* const kDevice = reinterpret_cast<libusb_device*>(0x1000);
libusb_device_handle* const kHandle = reinterpret_cast<libusb_device_handle*>(0x2000);
libusb_context* const kContext = reinterpret_cast<libusb_context*>(0x3000);
constexpr unsigned char kInterruptIn = 0x83, kBulkIn = 0x81, kBulkOut = 0x02;

void putU32(char* p, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<char>((v >> (8 * i)) & 0xFF);
}

int transfer(std::uint8_t op, unsigned char* data, int length, int* transferred, unsigned timeout) {
  if (transferred) *transferred = 0;
  if (gSocket < 0 || length < 0) return LIBUSB_ERROR_NO_DEVICE;
  char header[9];
  header[0] = static_cast<char>(op);
  putU32(header + 1, static_cast<std::uint32_t>(length));
  putU32(header + 5, timeout);
  if (!writeAll(gSocket, {header, sizeof header})) return LIBUSB_ERROR_IO;
  if (op == 3 && length > 0 && !writeAll(gSocket, {reinterpret_cast<const char*>(data), static_cast<std::size_t>(length)}))
    return LIBUSB_ERROR_IO;
  char resultBytes[4];
  if (!readAll(gSocket, resultBytes, 4)) return LIBUSB_ERROR_IO;
  std::int32_t result = 0;
  for (int i = 0; i < 4; ++i) result |= static_cast<std::int32_t>(static_cast<unsigned char>(resultBytes[i])) << (8 * i);
  if (result < 0) return result;
  if (op != 3 && result > 0 && !readAll(gSocket, reinterpret_cast<char*>(data), static_cast<std::size_t>(result)))
    return LIBUSB_ERROR_IO;
  if (transferred) *transferred = result;
  return 0;
}

}  // namespace

extern "C" {

int libusb_init(libusb_context** context) {
  const char* path = std::getenv("PIXTRAIL_GARMIN_SIM_USB");
  if (!path) return LIBUSB_ERROR_OTHER;
  gSocket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  if (gSocket < 0 || ::connect(gSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    if (gSocket >= 0) ::close(gSocket);
    gSocket = -1;
    return LIBUSB_ERROR_NO_DEVICE;
  }
  if (context) *context = kContext;
  return 0;
}

void libusb_exit(libusb_context*) {
  if (gSocket >= 0) ::close(gSocket);
  gSocket = -1;
}

ssize_t libusb_get_device_list(libusb_context*, libusb_device*** list) {
  auto* devices = static_cast<libusb_device**>(std::calloc(2, sizeof(libusb_device*)));
  if (!devices) return LIBUSB_ERROR_NO_MEM;
  devices[0] = gSocket >= 0 ? kDevice : nullptr;
  *list = devices;
  return gSocket >= 0 ? 1 : 0;
}

void libusb_free_device_list(libusb_device** list, int) { std::free(list); }

int libusb_get_device_descriptor(libusb_device*, libusb_device_descriptor* d) {
  std::memset(d, 0, sizeof *d);
  d->bLength = LIBUSB_DT_DEVICE_SIZE;
  d->bDescriptorType = LIBUSB_DT_DEVICE;
  d->bcdUSB = 0x0200;
  d->bMaxPacketSize0 = 64;
  d->idVendor = 0x091e;
  d->idProduct = 0x0003;
  d->bDeviceClass = 0xFF;  // vendor specific, as the units report
  d->bDeviceSubClass = 0xFF;
  d->bDeviceProtocol = 0xFF;
  d->bNumConfigurations = 1;
  return 0;
}

uint8_t libusb_get_bus_number(libusb_device*) { return 1; }
uint8_t libusb_get_device_address(libusb_device*) { return 2; }

int libusb_get_active_config_descriptor(libusb_device*, libusb_config_descriptor** config) {
  auto* endpoints = static_cast<libusb_endpoint_descriptor*>(std::calloc(3, sizeof(libusb_endpoint_descriptor)));
  auto* alt = static_cast<libusb_interface_descriptor*>(std::calloc(1, sizeof(libusb_interface_descriptor)));
  auto* interface = static_cast<libusb_interface*>(std::calloc(1, sizeof(libusb_interface)));
  auto* c = static_cast<libusb_config_descriptor*>(std::calloc(1, sizeof(libusb_config_descriptor)));
  if (!endpoints || !alt || !interface || !c) return LIBUSB_ERROR_NO_MEM;
  const struct { unsigned char address; unsigned char kind; } kinds[] = {
      {kInterruptIn, LIBUSB_TRANSFER_TYPE_INTERRUPT}, {kBulkIn, LIBUSB_TRANSFER_TYPE_BULK}, {kBulkOut, LIBUSB_TRANSFER_TYPE_BULK}};
  for (int i = 0; i < 3; ++i) {
    endpoints[i].bLength = LIBUSB_DT_ENDPOINT_SIZE;
    endpoints[i].bDescriptorType = LIBUSB_DT_ENDPOINT;
    endpoints[i].bEndpointAddress = kinds[i].address;
    endpoints[i].bmAttributes = kinds[i].kind;
    endpoints[i].wMaxPacketSize = 64;
  }
  alt->bLength = LIBUSB_DT_INTERFACE_SIZE;
  alt->bDescriptorType = LIBUSB_DT_INTERFACE;
  alt->bNumEndpoints = 3;
  alt->bInterfaceClass = 0xFF;
  alt->endpoint = endpoints;
  interface->altsetting = alt;
  interface->num_altsetting = 1;
  c->bLength = LIBUSB_DT_CONFIG_SIZE;
  c->bDescriptorType = LIBUSB_DT_CONFIG;
  c->bNumInterfaces = 1;
  c->bConfigurationValue = 1;
  c->interface = interface;
  *config = c;
  return 0;
}

void libusb_free_config_descriptor(libusb_config_descriptor* c) {
  if (!c) return;
  std::free(const_cast<libusb_endpoint_descriptor*>(c->interface->altsetting->endpoint));
  std::free(const_cast<libusb_interface_descriptor*>(c->interface->altsetting));
  std::free(const_cast<libusb_interface*>(c->interface));
  std::free(c);
}

int libusb_open(libusb_device*, libusb_device_handle** handle) {
  *handle = kHandle;
  return 0;
}
void libusb_close(libusb_device_handle*) {}
int libusb_claim_interface(libusb_device_handle*, int) { return 0; }
int libusb_release_interface(libusb_device_handle*, int) { return 0; }
int libusb_kernel_driver_active(libusb_device_handle*, int) { return 0; }
int libusb_set_configuration(libusb_device_handle*, int) { return 0; }

int libusb_bulk_transfer(libusb_device_handle*, unsigned char endpoint, unsigned char* data, int length,
                         int* transferred, unsigned int timeout) {
  return transfer((endpoint & LIBUSB_ENDPOINT_IN) ? 2 : 3, data, length, transferred, timeout);
}

int libusb_interrupt_transfer(libusb_device_handle*, unsigned char, unsigned char* data, int length,
                              int* transferred, unsigned int timeout) {
  return transfer(1, data, length, transferred, timeout);
}

const char* libusb_strerror(int) { return "simulated USB error"; }
const char* libusb_error_name(int) { return "LIBUSB_ERROR (simulated)"; }

}  // extern "C"
