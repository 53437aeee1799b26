#include "devices/MagellanDisk.hpp"

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>

#ifdef _WIN32
#include <windows.h>
#endif

#include "core/SafeFile.hpp"
#include "core/text.hpp"
#include "tracks/track_format_magellan.hpp"
#include "tracks/track_format_nmea.hpp"

namespace pixtrail {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kUnitFolder = "USBTRANS";
constexpr std::string_view kUnitFile = "UNIT_ID.DAT";

struct KindFolders {
  std::array<std::string_view, 3> folders;  // the first takes new files
  std::string_view extension;
  std::size_t writable;                     // how many of the folders the deletion empties
};
// Indexed by MagellanKind.
constexpr KindFolders kKinds[] = {
    {{"Waypoints", "MyPOIs", "My POIs"}, ".upt", 1},
    {{"Routes", "", ""}, ".rte", 1},
    {{"TrackLogs", "Track Logs", ""}, ".log", 2},
};

const KindFolders& foldersOf(MagellanKind kind) { return kKinds[static_cast<int>(kind)]; }

// The entry of `dir` called `name` in any case; empty when there is none.
fs::path childIgnoringCase(const fs::path& dir, std::string_view name) {
  std::error_code ec;
  if (fs::exists(dir / std::string(name), ec)) return dir / std::string(name);
  for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec))
    if (equalsIgnoreCase(it->path().filename().string(), name)) return it->path();
  return {};
}

std::string trimmed(std::string_view s) { return std::string(trim(s)); }

#ifndef _WIN32
// Mount paths in /proc/self/mounts escape blanks and the like as octal ("\040").
std::string unescapeMountPath(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 3 < text.size()) {
      const std::string_view digits = text.substr(i + 1, 3);
      if (digits.size() == 3 && std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '7'; })) {
        out += static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0'));
        i += 3;
        continue;
      }
    }
    out += text[i];
  }
  return out;
}

// The kernel's removable flag of a block device or of the disk a partition lies on.
bool blockDeviceRemovable(const std::string& device) {
  if (device.rfind("/dev/", 0) != 0) return false;
  std::error_code ec;
  const fs::path node = fs::canonical(device, ec);
  if (ec) return false;
  const fs::path sys = fs::canonical(fs::path("/sys/class/block") / node.filename(), ec);
  if (ec) return false;
  for (const fs::path& dir : {sys, sys.parent_path()}) {
    std::ifstream flag(dir / "removable");
    char c = 0;
    if (flag >> c) return c == '1';
  }
  return false;
}
#endif

}  // namespace

MagellanUnitDescription readUnitIdText(std::string_view text) {
  MagellanUnitDescription d;
  const std::pair<std::string_view, std::string*> keys[] = {{"Model", &d.model},
                                                            {"SW Version", &d.softwareVersion},
                                                            {"Serial Number", &d.serialNumber},
                                                            {"USB Device", &d.usbDevice}};
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    std::size_t sep = line.find('=');
    if (sep == std::string_view::npos) sep = line.find(':');
    if (sep == std::string_view::npos) continue;
    const std::string key = trimmed(line.substr(0, sep));
    for (const auto& [name, field] : keys)
      if (equalsIgnoreCase(key, name)) *field = trimmed(line.substr(sep + 1));
  }
  return d;
}

std::vector<fs::path> removableDriveRoots() {
  std::vector<fs::path> roots;
#ifdef _WIN32
  const DWORD drives = GetLogicalDrives();
  for (int i = 0; i < 26; ++i) {
    if (!(drives & (1u << i))) continue;
    const std::string root = std::string(1, static_cast<char>('A' + i)) + ":\\";
    if (GetDriveTypeA(root.c_str()) == DRIVE_REMOVABLE) roots.emplace_back(root);
  }
#else
  std::ifstream mounts("/proc/self/mounts");
  std::string line;
  while (std::getline(mounts, line)) {
    std::istringstream fields(line);
    std::string device, mountPoint;
    if (!(fields >> device >> mountPoint)) continue;
    const std::string path = unescapeMountPath(mountPoint);
    // Desktops mount USB disks there, whether or not the kernel calls the device removable.
    const bool desktopMount = path.rfind("/media/", 0) == 0 || path.rfind("/run/media/", 0) == 0;
    if (desktopMount || blockDeviceRemovable(device)) roots.emplace_back(path);
  }
#endif
  return roots;
}

fs::path findMagellanDiskRoot(const std::vector<fs::path>& roots) {
  for (const fs::path& root : roots) {
    const fs::path folder = childIgnoringCase(root, kUnitFolder);
    if (!folder.empty() && !childIgnoringCase(folder, kUnitFile).empty()) return root;
  }
  return {};
}

MagellanDisk::MagellanDisk(const fs::path& root) : root_(root) {
  const fs::path folder = childIgnoringCase(root, kUnitFolder);
  const fs::path file = folder.empty() ? fs::path() : childIgnoringCase(folder, kUnitFile);
  std::string text, message;
  if (file.empty() || !readWholeFile(file, text, message))
    throw TErrorPr(std::string(magellan_text::kNoUsbDisk), root.string());
  description_ = readUnitIdText(text);
}

MagellanDisk MagellanDisk::find() {
  const fs::path root = findMagellanDiskRoot(removableDriveRoots());
  if (root.empty()) throw TErrorPr(std::string(magellan_text::kNoUsbDisk));
  return MagellanDisk(root);
}

std::vector<fs::path> MagellanDisk::files(MagellanKind kind) const {
  const KindFolders& k = foldersOf(kind);
  std::vector<fs::path> out;
  for (const std::string_view name : k.folders) {
    if (name.empty()) continue;
    const fs::path folder = childIgnoringCase(root_, name);
    if (folder.empty()) continue;
    std::vector<fs::path> here;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
      if (it->is_regular_file(ec) && equalsIgnoreCase(it->path().extension().string(), k.extension))
        here.push_back(it->path());
    std::sort(here.begin(), here.end());
    out.insert(out.end(), here.begin(), here.end());
  }
  return out;
}

namespace {
std::string readDataFile(const fs::path& file) {
  std::string text, message;
  if (!readWholeFile(file, text, message)) throw TErrorPr(message, file.string());
  return text;
}
}  // namespace

void MagellanDisk::downloadWaypoints(TBalizas& out) const {
  const std::vector<fs::path> list = files(MagellanKind::kWaypoints);
  if (list.empty()) throw TErrorPr(std::string(magellan_text::kNoWaypointsInGps), root_.string());
  TBalizas read;
  for (const fs::path& file : list) {
    std::string message;
    if (!parseMagellanWaypointText(readDataFile(file), read, message)) throw TErrorPr(message, file.string());
  }
  while (!read.waypoints.empty()) out.waypoints.add(read.waypoints.release(0));
}

void MagellanDisk::downloadRoutes(TRutas& out) const {
  const std::vector<fs::path> list = files(MagellanKind::kRoutes);
  if (list.empty()) throw TErrorPr(std::string(magellan_text::kNoRoutesInGps), root_.string());
  TRutas read;
  for (const fs::path& file : list) {
    std::string message;
    if (!parseMagellanRouteText(readDataFile(file), read, message)) throw TErrorPr(message, file.string());
  }
  while (!read.routes.empty()) out.routes.add(read.routes.release(0));
}

void MagellanDisk::downloadTracks(TVolGPS& out) const {
  const std::vector<fs::path> list = files(MagellanKind::kTracks);
  if (list.empty()) throw TErrorPr(std::string(magellan_text::kNoTracks), root_.string());
  TVolGPS all;
  for (const fs::path& file : list) {
    TVolGPS log;
    std::string message;
    if (!readMagellanLogText(readDataFile(file), file.string(), log, message)) throw TErrorPr(message, file.string());
    if (log.pointCount() > 0) log.point(0).segmentStart = 1;
    while (!log.points.empty()) all.points.add(log.points.release(0));
  }
  while (!all.points.empty()) out.points.add(all.points.release(0));
}

fs::path MagellanDisk::writeFolder(MagellanKind kind) const {
  const KindFolders& k = foldersOf(kind);
  for (std::size_t i = 0; i < k.writable; ++i) {
    const fs::path folder = childIgnoringCase(root_, k.folders[i]);
    if (!folder.empty()) return folder;
  }
  return root_ / std::string(k.folders[0]);
}

fs::path MagellanDisk::write(MagellanKind kind, std::string_view name, std::string_view text, bool replace) const {
  const fs::path folder = writeFolder(kind);
  std::error_code ec;
  fs::create_directories(folder, ec);
  fs::path target = folder / std::string(name);
  target += foldersOf(kind).extension;
  SafeWriteOptions options;
  options.mustNotExist = !replace;
  std::string message;
  if (!writeFileSafely(target, text, options, message)) throw TErrorPr(message, target.string());
  return target;
}

fs::path MagellanDisk::uploadWaypoints(const TBalizas& waypoints, std::string_view name, bool replace) const {
  return write(MagellanKind::kWaypoints, name, magellanWaypointText(waypoints), replace);
}

fs::path MagellanDisk::uploadRoutes(const TRutas& routes, std::string_view name, bool replace) const {
  return write(MagellanKind::kRoutes, name, magellanRouteText(routes), replace);
}

fs::path MagellanDisk::uploadTracks(const TVolGPS& track, std::string_view name, bool replace) const {
  return write(MagellanKind::kTracks, name, magellanLogText(track), replace);
}

std::size_t MagellanDisk::deleteAll(MagellanKind kind) const {
  const KindFolders& k = foldersOf(kind);
  std::size_t removed = 0;
  for (std::size_t i = 0; i < k.writable; ++i) {
    const fs::path folder = childIgnoringCase(root_, k.folders[i]);
    if (folder.empty()) continue;
    std::vector<fs::path> doomed;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
      if (it->is_regular_file(ec) && equalsIgnoreCase(it->path().extension().string(), k.extension))
        doomed.push_back(it->path());
    for (const fs::path& file : doomed) removed += fs::remove(file, ec) ? 1 : 0;
  }
  return removed;
}

}  // namespace pixtrail
