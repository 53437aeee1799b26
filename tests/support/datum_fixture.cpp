#include "tests/support/datum_fixture.hpp"

#include <gtest/gtest.h>

#include <string>

#include "coords/TListaDatums.hpp"

namespace pixtrail::test {

namespace {
bool loaded = false;
}

void loadShippedDatums() {
  if (!loaded) {
    std::string message;
    ASSERT_TRUE(datumTable().load(PIXTRAIL_BUILD_DATA_DIR, message))
        << "cannot load the built datum table: " << message;
    loaded = true;
  }
  datumTable().setWorkingDatum(kDatumWgs84);
}

}  // namespace pixtrail::test
