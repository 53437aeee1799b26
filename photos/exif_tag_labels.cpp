#include "photos/exif_tag_labels.hpp"

#include <array>

#include "photos/TJpegExif.hpp"

namespace pixtrail {

namespace {

struct TagLabel {
  bool gps;  // GPS tag numbers and the others overlap, so the family is part of the key
  std::uint16_t tagNumber;
  std::string_view label;
};

// The labels stand as the system shows them, spellings included.
constexpr std::array<TagLabel, 52> kLabels = {{
    {false, 0x010E, "Image Description"},
    {false, 0x010F, "Make"},
    {false, 0x0110, "Model"},
    {false, 0x0112, "Orientation"},
    {false, 0x011A, "X Resolution"},
    {false, 0x011B, "Y Resolution"},
    {false, 0x0128, "Resolution Unit"},
    {false, 0x0131, "Software Used"},
    {false, 0x0132, "Date Time"},
    {false, 0x0213, "YCBCRPositioning"},
    {false, 0x8769, "EXIF IFD Pointer"},
    {false, 0x8825, "GPS IFD Offset"},
    {false, 0x829A, "ExposureTime"},
    {false, 0x829D, "Fnumber"},
    {false, 0x8822, "Exposure Program"},
    {false, 0x8827, "ISO Speed ratings"},
    {false, 0x9000, "EXIF Version"},
    {false, 0x9003, "Date Time Original"},
    {false, 0x9004, "Date Time Digitized"},
    {false, 0x9101, "Components configuration"},
    {false, 0x9102, "Compressed Bits per pixel"},
    {false, 0x9204, "Exposure Bias Value"},
    {false, 0x9205, "MAX Aperture Ratio Value"},
    {false, 0x9206, "Subject Distance"},
    {false, 0x9207, "METERING Mode"},
    {false, 0x9208, "Light source"},
    {false, 0x9209, "Flash"},
    {false, 0x920A, "Focal Length"},
    {false, 0x927C, "Make RNote"},
    {false, 0x9286, "User comments"},
    {false, 0xA000, "Make Value"},  // the FlashPix version's slot, under the system's label
    {false, 0xA001, "Color Space"},
    {false, 0xA002, "Pixel XDimension"},
    {false, 0xA003, "Pixel YDimension"},
    {false, 0xA005, "Interoperability IFD Pointer"},
    {false, 0xA300, "File Source"},
    {false, 0xA301, "Scene Type"},
    {false, 0x0103, "Compression"},
    {false, 0x0201, "JPEG Interchange Format"},
    {false, 0x0202, "JPEG Interchange Format Length"},
    {false, 0x0111, "Strip Offsets"},
    {false, 0x0117, "Strip Byte Counts"},
    {false, 0x0214, "Reference Black-White"},
    {true, 0, "GPS-Version"},
    {true, 1, "GPS-Lat. Ref"},
    {true, 2, "GPS-Latitude"},
    {true, 3, "GPS-Lon. Ref"},
    {true, 4, "GPS-Longitude"},
    {true, 5, "GPS-Alt. Ref"},
    {true, 6, "GPS-Altitide"},
    {true, 7, "GPS-Timestamp"},
    {true, 18, "GPS-Datum"},
}};

}  // namespace

std::string_view exifTagLabel(std::uint32_t directory, std::uint16_t key) {
  const bool gps = directory == kGpsIfd;
  const std::uint16_t number = tagNumberOf(directory, key);
  for (const TagLabel& row : kLabels)
    if (row.gps == gps && row.tagNumber == number) return row.label;
  return {};
}

}  // namespace pixtrail
