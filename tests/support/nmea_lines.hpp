#pragma once
// NMEA lines for tests, checksummed here by the definition (XOR of the body) rather than by the
// code under test, and lines read into sentences that a test expects to parse.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "tracks/nmea_sentence.hpp"

namespace pixtrail::test {

// "$" + body + "*hh", and CR LF unless `lineEnd` is false.
inline std::string nmeaLine(std::string_view body, bool lineEnd = true) {
  unsigned sum = 0;
  for (const unsigned char c : body) sum ^= c;
  char check[4];
  std::snprintf(check, sizeof check, "%02X", sum);
  return "$" + std::string(body) + "*" + check + (lineEnd ? "\r\n" : "");
}

template <class Sentence = NmeaSentence>
Sentence parsedLine(std::string_view line) {
  Sentence s;
  TErrorNMEA error;
  EXPECT_TRUE(s.Parse(line, error)) << line;
  return s;
}

}  // namespace pixtrail::test
