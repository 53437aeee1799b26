#pragma once
// The error objects of the device protocols. Unlike file and photo operations, transfers raise
// these; the command or dialog that started the transfer catches them and shows the text. The
// connection stays open after one is raised.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace pixtrail {

class TErrorPr : public std::runtime_error {
 public:
  TErrorPr(std::string text, std::string detail = {}, std::uint8_t severity = 0,
           bool noAnswer = false)
      : std::runtime_error(text),
        text_(std::move(text)),
        detail_(std::move(detail)),
        severity_(severity),
        noAnswer_(noAnswer) {}

  const std::string& text() const { return text_; }
  const std::string& detail() const { return detail_; }
  std::uint8_t severity() const { return severity_; }
  // True when the device did not answer at all (as opposed to answering wrongly).
  bool noAnswer() const { return noAnswer_; }

 private:
  std::string text_;
  std::string detail_;
  std::uint8_t severity_;
  bool noAnswer_;
};

class TErrorPrNoResponde : public TErrorPr {
 public:
  explicit TErrorPrNoResponde(std::string text, std::string detail = {})
      : TErrorPr(std::move(text), std::move(detail), 0, true) {}
};

}  // namespace pixtrail
