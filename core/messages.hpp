#pragma once
// The system's error conventions. File, coordinate and photo operations return a success flag and
// append their message to a text the caller owns; several messages gather, one per line.

#include <string>
#include <string_view>

namespace pixtrail {

// Appends `text` to `message`, starting a new line when `message` already holds something.
void appendMessage(std::string& message, std::string_view text);

// Unrecoverable programming errors (unknown unit code, datum index outside the table): print the
// short message and stop. Unlike assert, release builds keep it.
[[noreturn]] void fatalError(std::string_view shortMessage);

inline constexpr int kFatalExitStatus = 70;

// Numbers of the user-visible messages taken from the language file; data/language_en.txt holds
// their English texts.
namespace msg {
inline constexpr int kErrorCreatingFile = 51;        // "%s": the file name
inline constexpr int kSpeedCadenceNode = 291;        // caption of the track's speed/cadence node
inline constexpr int kProjectionUtm = 300;           // second names of projections
inline constexpr int kProjectionAutomatic = 301;
inline constexpr int kProjectionLatLong = 302;
inline constexpr int kProjectionMercator = 303;
inline constexpr int kDeviceDoesNotAnswer = 400;     // device protocol texts
inline constexpr int kDeviceNak = 401;
inline constexpr int kDeviceEcho = 402;
}  // namespace msg

// Where the library finds the texts of numbered messages: the application points this at the
// language file it loads at start-up. Until then (and for a number the file lacks) a message
// shows as "[NUMBER]", so a missing text shows rather than breaks anything.
using MessageSource = std::string (*)(int number);
void setMessageSource(MessageSource source);
// The message's text with its first "%s" replaced by `argument`.
std::string messageText(int number, std::string_view argument = {});
// `text` with its first "%s" replaced by `argument`.
std::string fillMessage(std::string text, std::string_view argument);

}  // namespace pixtrail
