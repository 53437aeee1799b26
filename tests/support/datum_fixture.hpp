#pragma once
// The datum table shipped with the build, loaded once for every test that needs real datums.

namespace pixtrail::test {

// Loads datumsb.dat from the build's data folder into datumTable() (once per test program) and
// makes WGS 84 the working datum. Fails the calling test when the table cannot be loaded; call it
// as ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums()) so that such a test stops there.
void loadShippedDatums();

}  // namespace pixtrail::test
