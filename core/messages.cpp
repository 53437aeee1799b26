#include "core/messages.hpp"

#include <cstdio>
#include <cstdlib>

namespace pixtrail {

namespace {
MessageSource messageSource = nullptr;
}  // namespace

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

void setMessageSource(MessageSource source) { messageSource = source; }

std::string fillMessage(std::string text, std::string_view argument) {
  const std::size_t at = text.find("%s");
  return at == std::string::npos ? text : text.replace(at, 2, argument);
}

std::string messageText(int number, std::string_view argument) {
  return fillMessage(messageSource ? messageSource(number) : "[" + std::to_string(number) + "]", argument);
}

}  // namespace pixtrail
