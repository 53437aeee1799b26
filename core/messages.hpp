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

}  // namespace pixtrail
