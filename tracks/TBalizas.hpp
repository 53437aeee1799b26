#pragma once
// Waypoints: TBaliza (a named position with an altitude, a description and display properties) and
// TBalizas (a waypoint file), with the native waypoint lines "W", "w" and "t" and the file (WPT):
// header lines "G" (datum) and "U" (coordinate mode) as in track files, then the waypoints.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "core/TCoord.hpp"
#include "core/VectorP.hpp"
#include "tracks/track_text.hpp"

namespace pixtrail {

// The label font of a waypoint: name, size and four style values.
struct TBalizaFont {
  std::string name;
  std::int32_t size = 0;
  std::int32_t bold = 0, italic = 0, underline = 0, charset = 0;
  friend bool operator==(const TBalizaFont&, const TBalizaFont&) = default;
};

// Display type labels offered to the user, by display type 1 to 3 (4: the name alone).
inline constexpr std::string_view kDisplayTypeLabels[] = {"Symbol & Name", "Symbol", "Symbol & Description"};

// The user's defaults for new waypoints; a "w" line is written only when a waypoint differs.
struct WaypointDefaults {
  std::int32_t displayType = 1;
  float displayValue1 = 0.0f;
  std::int32_t displayValue2 = 0;
  std::uint8_t displayFlag1 = 0;
};

class TBaliza {
 public:
  TBaliza() = default;
  TBaliza(const TBaliza& other) { *this = other; }
  TBaliza& operator=(const TBaliza& other);
  TBaliza(TBaliza&&) noexcept = default;
  TBaliza& operator=(TBaliza&&) noexcept = default;

  std::string name;
  TCoord position;  // working datum; alt is the waypoint's altitude, -9999 when unknown
  std::string description;
  std::string symbol;
  std::int32_t displayType = 1;   // 1 to 4
  float displayValue1 = 0.0f;     // label offset, pixels
  std::int32_t displayValue2 = 0;  // label colour
  std::int32_t displayValue3 = 0;  // symbol size, pixels (0: default)
  std::uint8_t displayFlag1 = 0;  // label in a box
  std::uint8_t displayFlag2 = 0;  // hidden
  std::string displayText;        // text of the "w" line between the flags and display value 4
  float displayValue4 = 0.0f;     // proximity radius, m
  std::unique_ptr<TBalizaFont> font;
};

class TBalizas {
 public:
  std::string fileName;
  VectorP<TBaliza> waypoints;
  FileCoordinates file;  // datum and coordinate mode the file was read with
};

inline constexpr std::string_view kWptErrorMessage = "Error in WPT file";

// The lines of one waypoint (each ending in CR LF), positions in `file`'s datum and mode.
bool appendWaypointLines(const TBaliza& w, const FileCoordinates& file, const WaypointDefaults& defaults,
                         std::string& out, std::string& message);
// One "W" line; on failure `out` is untouched. Too few fields: kWptErrorMessage.
bool readWaypointLine(std::string_view line, const FileCoordinates& file, TBaliza& out, std::string& message);
// The "w" and "t" lines complete the waypoint read last.
bool readWaypointDisplayLine(std::string_view line, TBaliza& w);
bool readWaypointFontLine(std::string_view line, TBaliza& w);

// The name as a single field: trimmed, "VOID" when empty, padded to six, blanks as "_".
std::string waypointNameField(std::string_view name);

// Whole files. Reading also recognises OziExplorer waypoint files by their first line.
bool formatWaypointFile(const TBalizas& file, const FileCoordinates& coordinates, const WaypointDefaults& defaults,
                        std::string& out, std::string& message);
// A bad "W" line drops that waypoint (with its message) and the rest of the file is read; false
// only when the file cannot be read at all (unknown datum or coordinate mode, unknown version).
// Waypoints without a "w" line take `defaults`.
bool parseWaypointFile(std::string_view text, TBalizas& file, std::string& message,
                       const WaypointDefaults& defaults = {});

// One line of an OziExplorer waypoint file (track_format_ozi_wpt.cpp).
bool readOziExplorerWaypointLine(std::string_view line, TBaliza& out, std::string& message);

}  // namespace pixtrail
