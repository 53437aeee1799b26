#include "core/messages.hpp"

#include <cstdio>
#include <cstdlib>

namespace pixtrail {

void appendMessage(std::string& message, std::string_view text) {
  if (text.empty()) return;
  if (!message.empty() && message.back() != '\n') message += '\n';
  message += text;
}

void fatalError(std::string_view shortMessage) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(shortMessage.size()), shortMessage.data());
  std::fflush(stderr);
  std::exit(kFatalExitStatus);
}

}  // namespace pixtrail
