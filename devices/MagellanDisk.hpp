#pragma once
// Magellan units that show themselves to the computer as a USB disk: found by their
// "USBTRANS\UNIT_ID.DAT" on a removable drive (or in a folder the user names), described by that
// key-value file, and holding waypoints (.upt), routes (.rte) and track logs (.log) in their data
// folders as the Magellan text forms. Failures are raised as TErrorPr, like the serial link's.
//
// Folder names are compared without regard to case (the units format their disks FAT, which does
// not keep case apart). Each kind has its folders, the first existing one taking new files:
//   waypoints  "Waypoints", then the points of interest in "MyPOIs" or "My POIs" (read only)
//   routes     "Routes"
//   tracks     "TrackLogs" or "Track Logs"
// A kind whose folder does not exist yet gets the first name when a file is written.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "devices/Protocolo_magellan.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/TRuta.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

struct MagellanUnitDescription {
  std::string model;            // "Model"
  std::string softwareVersion;  // "SW Version"
  std::string serialNumber;     // "Serial Number"
  std::string usbDevice;        // "USB Device"
};

// "Key=Value" or "Key: Value" lines, keys compared without regard to case; other lines ignored.
MagellanUnitDescription readUnitIdText(std::string_view text);

// The mount points of removable drives: on Linux the mounted filesystems of block devices the
// kernel marks removable, and whatever the desktop mounts under /media or /run/media; on Windows
// the removable drive letters.
std::vector<std::filesystem::path> removableDriveRoots();

// The first root holding "USBTRANS/UNIT_ID.DAT"; empty when none does.
std::filesystem::path findMagellanDiskRoot(const std::vector<std::filesystem::path>& roots);

class MagellanDisk {
 public:
  // Raises "OrvexGPS did not detect a Magellan GPS connected as a USB disk." when `root` is not
  // a unit's disk.
  explicit MagellanDisk(const std::filesystem::path& root);
  // The unit on the removable drives, with the same message when there is none.
  static MagellanDisk find();

  const std::filesystem::path& root() const { return root_; }
  const MagellanUnitDescription& description() const { return description_; }

  // The kind's files, by folder then by name.
  std::vector<std::filesystem::path> files(MagellanKind kind) const;

  // Every file of the kind, in that order. No file: "Threre are no waypoints in this GPS",
  // "Threre are no routes in this GPS", or for tracks "Error reading tracks, there are no
  // PMGNTRK messages". A file that cannot be read raises its reader's message with the file as
  // detail. Each track log begins a segment of its own.
  void downloadWaypoints(TBalizas& out) const;
  void downloadRoutes(TRutas& out) const;
  void downloadTracks(TVolGPS& out) const;

  // Writes NAME.upt / .rte / .log into the kind's folder through a temporary file and a rename.
  // An existing file of that name is kept (raised) unless `replace`. Returns the path written.
  std::filesystem::path uploadWaypoints(const TBalizas& waypoints, std::string_view name, bool replace) const;
  std::filesystem::path uploadRoutes(const TRutas& routes, std::string_view name, bool replace) const;
  std::filesystem::path uploadTracks(const TVolGPS& track, std::string_view name, bool replace) const;

  // Removes the kind's files from the folder new files go to (points of interest stay). Returns
  // how many were removed.
  std::size_t deleteAll(MagellanKind kind) const;

 private:
  std::filesystem::path writeFolder(MagellanKind kind) const;
  std::filesystem::path write(MagellanKind kind, std::string_view name, std::string_view text, bool replace) const;

  std::filesystem::path root_;
  MagellanUnitDescription description_;
};

}  // namespace pixtrail
