#pragma once
// A connected port on the slave side of a pty, the test playing the unit on the master side.
#ifndef _WIN32

#include <gtest/gtest.h>

#include <memory>

#include "devices/TConfigPuertos.hpp"
#include "tests/devices/pty_pair.hpp"

namespace pixtrail::test {

class PtyDeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(pty.ok());
    TConfigPuerto config;
    ASSERT_TRUE(TConfigPuerto::fromText(pty.slavePath(), config));
    device = std::make_unique<TGPSConectado>(config, 256, 50);
    device->open();
  }
  PtyPair pty;
  std::unique_ptr<TGPSConectado> device;
};

}  // namespace pixtrail::test

#endif
