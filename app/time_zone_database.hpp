#pragma once
// Where the time-zone library finds the IANA database. Linux has it (the system's zoneinfo);
// Windows has none, so the Windows build ships the text database as tzdata/ beside the program
// (or in the data folder), with CLDR's map of Windows zone names for "local".

namespace pixtrail {

#ifdef _WIN32
// Points the library at that folder, once, before its first use.
void locateTimeZoneDatabase();
#else
inline void locateTimeZoneDatabase() {}
#endif

}  // namespace pixtrail
