#ifdef _WIN32

#include <windows.h>

#include <date/tz.h>

#include <filesystem>
#include <mutex>
#include <string>

#include "app/Startup.hpp"
#include "app/time_zone_database.hpp"

namespace pixtrail {

namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kFolderName = L"tzdata";

fs::path programFolder() {
  std::wstring name(MAX_PATH, L'\0');
  for (;;) {
    const DWORD n = ::GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
    if (n == 0) return {};
    if (n < name.size()) return fs::path(name.substr(0, n)).parent_path();
    name.resize(name.size() * 2);
  }
}

// The library opens its files by narrow name, in the ANSI code page: a folder that code page
// cannot spell is given by its short (8.3) name.
std::string narrowName(const fs::path& folder) {
  std::wstring wide = folder.wstring();
  const auto toAnsi = [](const std::wstring& w, std::string& out) {
    BOOL lossy = FALSE;
    const int n = ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, w.c_str(), -1, nullptr, 0, nullptr, &lossy);
    if (n <= 0 || lossy) return false;
    out.assign(static_cast<std::size_t>(n), '\0');
    ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, w.c_str(), -1, out.data(), n, nullptr, nullptr);
    out.pop_back();
    return true;
  };
  std::string out;
  if (toAnsi(wide, out)) return out;
  std::wstring shortName(MAX_PATH, L'\0');
  const DWORD n = ::GetShortPathNameW(wide.c_str(), shortName.data(), static_cast<DWORD>(shortName.size()));
  if (n > 0 && n < shortName.size() && toAnsi(shortName.substr(0, n), out)) return out;
  return folder.string();
}

}  // namespace

void locateTimeZoneDatabase() {
  static std::once_flag once;
  std::call_once(once, [] {
    // An installed or unpacked program carries it beside itself; a build has it in its data folder.
    std::error_code ec;
    fs::path folder = programFolder() / kFolderName;
    if (!fs::is_directory(folder, ec)) folder = defaultDataDir() / kFolderName;
    date::set_install(narrowName(folder));
  });
}

}  // namespace pixtrail

#endif  // _WIN32
