// A walk north past the capture time of the Canon sample photo (2003-12-04 06:46:52): fixes a
// minute apart from 06:40 to 06:55, 0.001 degree (111 m) north each, and a fixture that geotags
// copies of that photo with it.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/test_support.hpp"

namespace pixtrail::test {

inline void writeWalkTrack(const std::filesystem::path& file) {
  std::string text = "G  WGS 84\r\nU  0\r\n";
  for (int m = 40; m <= 55; ++m) {
    char line[96];
    std::snprintf(line, sizeof line, "T  - %.7f\xBAN 3.7000000\xBAW 04-DEC-03 06:%02d:00 N 650.0\r\n",
                  40.0 + 0.001 * m, m);
    text += line;
  }
  writeFileBytes(file, text);
}

class WalkFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    writeWalkTrack(dir / "walk.trk");
    std::filesystem::create_directory(dir / "photos");
    original = readFileBytes(testData("photos/Canon.jpg"));
  }
  // The geotag command line with the walk as its track, without the program's name.
  std::string run(const std::string& args) {
    return "geotag --track " + shellQuote((dir / "walk.trk").string()) + " " + args;
  }
  TempDir dir;
  std::string original;
};

}  // namespace pixtrail::test
