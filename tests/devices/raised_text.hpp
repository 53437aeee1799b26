#pragma once
// The text of the error an action raises, or "(nothing raised)"; `noAnswer`, when given, receives
// whether the error was a unit that did not answer.
#include <functional>
#include <string>

#include "devices/TErrorPr.hpp"

namespace pixtrail::test {

inline std::string raisedText(const std::function<void()>& action, bool* noAnswer = nullptr) {
  try {
    action();
  } catch (const TErrorPr& e) {
    if (noAnswer) *noAnswer = e.noAnswer();
    return e.text();
  }
  return "(nothing raised)";
}

}  // namespace pixtrail::test
