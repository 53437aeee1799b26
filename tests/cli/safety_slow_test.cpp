// Attacks on the command line: planted names and links, concurrent and killed runs, other users,
// hostile and endless inputs. Each scenario checks that no user data is lost or changed unasked
// and that the program ends in its own message.

#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/SafeFile.hpp"
#include "core/input_limits.hpp"
#include "photos/TJpegExif.hpp"
#include "tests/support/test_support.hpp"
#include "tests/support/walk_track.hpp"

namespace pixtrail {
namespace {

namespace fs = std::filesystem;
using test::shellQuote;

const std::string kCli = shellQuote(PIXTRAIL_CLI_PATH);

bool isTagged(const fs::path& photo) {
  TJpegExif exif;
  std::string message;
  ExifGpsPosition gps;
  return exif.Read(photo, message) && exif.ReadGps(gps, message) && std::fabs(gps.lat - 40.0467) < 0.001;
}

// The image data after the EXIF segment, which tagging must leave byte for byte.
std::string restAfterExif(const std::string& jpeg) {
  const std::size_t app1 = jpeg.find("\xFF\xE1");
  const std::size_t length = (static_cast<unsigned char>(jpeg[app1 + 2]) << 8) | static_cast<unsigned char>(jpeg[app1 + 3]);
  return jpeg.substr(app1 + 2 + length);
}

std::vector<std::string> temporariesIn(const fs::path& folder) {
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator(folder))
    if (isTemporaryFileName(entry.path().filename().string())) found.push_back(entry.path().filename().string());
  return found;
}

class Attack : public test::WalkFixture {
 protected:
  fs::path photo(const std::string& name) { return dir / "photos" / name; }
  std::string geotag(const std::string& args) {
    return kCli + " " + run(args);
  }
};

// Two in-place runs over one folder, one killed at a random moment, many times: every photo is
// untouched or completely tagged with its image data intact (never empty, never half-written), the
// survivor reports no spurious error, and the next run clears what the killed one left.
TEST_F(Attack, TwoInPlaceRunsWithOneKilledNeverDamageAPhoto) {
  constexpr int kPhotos = 200;
  constexpr int kTrials = 12;
  const std::string folder = shellQuote((dir / "photos").string());
  const std::string rest = restAfterExif(original);
  const auto reset = [&] {
    for (int i = 0; i < kPhotos; ++i) test::writeFileBytes(photo("p" + std::to_string(i) + ".jpg"), original);
  };
  // The kills land at fractions of the last whole run, measured as the trials go, so that a fast
  // or a loaded machine still interrupts runs half way.
  reset();
  auto start = std::chrono::steady_clock::now();
  test::runCommand(geotag("--in-place " + folder));
  double wholeRunS = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const std::string killedStatus = shellQuote((dir / "killed-status").string());
  int survivorsClean = 0, killed = 0;
  for (int trial = 0; trial < kTrials; ++trial) {
    reset();
    char delay[32];
    std::snprintf(delay, sizeof delay, "%.3f", wholeRunS * (0.05 + 0.05 * trial));
    const std::string both = "(timeout -s KILL " + std::string(delay) + " " + geotag("--in-place " + folder) +
                             " >/dev/null 2>&1; echo $? >" + killedStatus + ") & " + geotag("--in-place " + folder) +
                             " >/dev/null; echo $?; wait";
    start = std::chrono::steady_clock::now();
    const test::CommandOutput run = test::runCommand(both);
    wholeRunS = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (run.out.starts_with("0")) ++survivorsClean;
    if (test::readFileBytes(dir / "killed-status").starts_with("137")) ++killed;
    for (int i = 0; i < kPhotos; ++i) {
      const fs::path file = photo("p" + std::to_string(i) + ".jpg");
      ASSERT_TRUE(fs::exists(file)) << file;
      ASSERT_GT(fs::file_size(file), 0u) << file;
      const std::string bytes = test::readFileBytes(file);
      ASSERT_TRUE(bytes == original || (isTagged(file) && restAfterExif(bytes) == rest)) << "trial " << trial << ": " << file;
    }
  }
  EXPECT_EQ(survivorsClean, kTrials) << "the run that was not killed must finish without errors";
  EXPECT_GT(killed, 0) << "no run was killed before its end; the test proved nothing";
  test::runCommand(geotag("--in-place " + folder));
  EXPECT_EQ(temporariesIn(dir / "photos"), std::vector<std::string>{}) << "leftovers cleared by the next run";
}

// Links and files planted under the names the old program used for its temporaries.
TEST_F(Attack, PlantedTemporaryNamesAndLinksAreLeftAlone) {
  test::writeFileBytes(photo("a.jpg"), original);
  test::writeFileBytes(dir / "victim", "not a photo");
  fs::create_symlink(dir / "victim", photo("a.jpg.tmp"));
  fs::create_directory(dir / "out");
  fs::create_symlink(dir / "victim", dir / "out" / "a.jpg.tmp");
  test::writeFileBytes(dir / "copy.gpx.tmp", "the user's own file");

  EXPECT_EQ(test::runCommand(geotag("--out " + shellQuote((dir / "out").string()) + " " +
                                    shellQuote(photo("a.jpg").string()))).status, 0);
  EXPECT_EQ(test::runCommand(geotag("--in-place " + shellQuote(photo("a.jpg").string()))).status, 0);
  EXPECT_EQ(test::runCommand(kCli + " convert " + shellQuote((dir / "walk.trk").string()) + " " +
                             shellQuote((dir / "copy.gpx").string())).status, 0);
  EXPECT_EQ(test::readFileBytes(dir / "victim"), "not a photo");
  EXPECT_TRUE(isTagged(photo("a.jpg")));
  // The longest name a file can have leaves no room for a suffix: the temporary is named apart.
  const fs::path longest = photo(std::string(251, 'n') + ".jpg");
  test::writeFileBytes(longest, original);
  EXPECT_EQ(test::runCommand(geotag("--in-place " + shellQuote(longest.string()))).status, 0);
  EXPECT_TRUE(isTagged(longest));
  EXPECT_TRUE(isTagged(dir / "out" / "a.jpg"));
  EXPECT_TRUE(fs::is_symlink(photo("a.jpg.tmp")));
  EXPECT_EQ(test::readFileBytes(dir / "copy.gpx.tmp"), "the user's own file");

  // The unpacked log of an IGZ never touches the folder: a link planted there stays unfollowed,
  // and a read-only folder is no obstacle.
  fs::create_directory(dir / "flights");
  const std::string igz = (dir / "flights" / "f.igz").string();
  zipFile zip = zipOpen(igz.c_str(), APPEND_STATUS_CREATE);
  ASSERT_NE(zip, nullptr);
  const std::string log = test::readFileBytes(test::testData("formats/igc2.igc"));
  zip_fileinfo info{};
  ASSERT_EQ(zipOpenNewFileInZip(zip, "f.IGC", &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, 6), ZIP_OK);
  ASSERT_EQ(zipWriteInFileInZip(zip, log.data(), static_cast<unsigned>(log.size())), ZIP_OK);
  zipCloseFileInZip(zip);
  zipClose(zip, nullptr);
  fs::create_symlink(dir / "victim", dir / "flights" / "f.igz.igc.tmp");
  fs::permissions(dir / "flights", fs::perms::owner_read | fs::perms::owner_exec);
  const test::CommandOutput info2 = test::runCommand(kCli + " info " + shellQuote(igz));
  fs::permissions(dir / "flights", fs::perms::owner_all);
  EXPECT_EQ(info2.status, 0) << info2.err;
  EXPECT_EQ(test::readFileBytes(dir / "victim"), "not a photo");
}

// What the user had stays: a link stays a link (refused with a message), hard links are not
// split, a read-only photo is refused unless asked, and the run goes on to its summary.
TEST_F(Attack, InPlaceKeepsLinksHardLinksAndReadOnlyPhotos) {
  for (const char* name : {"real.jpg", "shared.jpg", "locked.jpg", "plain.jpg"}) test::writeFileBytes(photo(name), original);
  fs::create_directory(dir / "elsewhere");
  test::writeFileBytes(dir / "elsewhere" / "target.jpg", original);
  fs::create_symlink(dir / "elsewhere" / "target.jpg", photo("link.jpg"));
  fs::create_hard_link(photo("shared.jpg"), dir / "elsewhere" / "second-name.jpg");
  ASSERT_EQ(::chmod(photo("locked.jpg").c_str(), 0444), 0);
  const auto mtime = fs::last_write_time(photo("plain.jpg")) - std::chrono::hours(24 * 365);
  fs::last_write_time(photo("plain.jpg"), mtime);

  const test::CommandOutput run = test::runCommand(geotag("--in-place --keep-mtime " + shellQuote((dir / "photos").string())));
  EXPECT_EQ(run.status, 1) << run.err;
  EXPECT_NE(run.out.find("2 tagged"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("3 failed"), std::string::npos) << run.out;
  EXPECT_NE(run.err.find("symbolic link"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("hard links"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("read-only"), std::string::npos) << run.err;
  EXPECT_TRUE(fs::is_symlink(photo("link.jpg")));
  EXPECT_EQ(test::readFileBytes(dir / "elsewhere" / "target.jpg"), original);
  EXPECT_EQ(test::readFileBytes(dir / "elsewhere" / "second-name.jpg"), original);
  EXPECT_EQ(fs::hard_link_count(photo("shared.jpg")), 2u);
  EXPECT_EQ(test::readFileBytes(photo("locked.jpg")), original);
  EXPECT_TRUE(isTagged(photo("plain.jpg")));
  EXPECT_EQ(fs::last_write_time(photo("plain.jpg")), mtime);

  const test::CommandOutput asked = test::runCommand(geotag("--in-place --read-only " + shellQuote(photo("locked.jpg").string())));
  EXPECT_EQ(asked.status, 0) << asked.err;
  EXPECT_TRUE(isTagged(photo("locked.jpg")));
  EXPECT_EQ(fs::status(photo("locked.jpg")).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
}

// Another user allowed to write in the folder must not take the photo over: when the owner
// cannot be kept, the photo is left as it was.
TEST_F(Attack, AnotherUserCannotTakeAPhotoOver) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to create the second user's situation";
  if (test::runCommand("setpriv --reuid=65534 --regid=65534 --clear-groups " + kCli + " --version").status != 0)
    GTEST_SKIP() << "cannot run the program as a second user here";
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod((dir / "photos").c_str(), 0777), 0);
  test::writeFileBytes(photo("theirs.jpg"), original);
  ASSERT_EQ(::chmod(photo("theirs.jpg").c_str(), 0666), 0);
  ASSERT_EQ(::chown(photo("theirs.jpg").c_str(), 4321, 4321), 0);
  ASSERT_EQ(::chmod((dir / "walk.trk").c_str(), 0644), 0);

  const test::CommandOutput run = test::runCommand("setpriv --reuid=65534 --regid=65534 --clear-groups " +
                                                   geotag("--in-place " + shellQuote(photo("theirs.jpg").string())));
  EXPECT_EQ(run.status, 1) << run.out << run.err;
  EXPECT_NE(run.err.find("owner"), std::string::npos) << run.err;
  struct stat st {};
  ASSERT_EQ(::stat(photo("theirs.jpg").c_str(), &st), 0);
  EXPECT_EQ(st.st_uid, 4321u);
  EXPECT_EQ(test::readFileBytes(photo("theirs.jpg")), original);
  EXPECT_EQ(temporariesIn(dir / "photos"), std::vector<std::string>{});
}

// Every output name is settled before the first photo is written.
TEST_F(Attack, OutputNamesAreCheckedBeforeAnyPhotoIsWritten) {
  test::writeFileBytes(photo("a.jpg"), original);
  test::writeFileBytes(dir / "marked.gpx", "earlier work");
  const std::string photos = shellQuote((dir / "photos").string());
  const test::CommandOutput exists = test::runCommand(geotag("--in-place --mark-track " +
                                                             shellQuote((dir / "marked.gpx").string()) + " " + photos));
  EXPECT_EQ(exists.status, 2);
  EXPECT_NE(exists.err.find("File already exists"), std::string::npos) << exists.err;
  EXPECT_EQ(test::readFileBytes(dir / "marked.gpx"), "earlier work");
  EXPECT_EQ(test::readFileBytes(photo("a.jpg")), original) << "refused before the photos";

  const test::CommandOutput badName = test::runCommand(geotag("--in-place --mark-track " +
                                                              shellQuote((dir / "marked.xyz").string()) + " " + photos));
  EXPECT_EQ(badName.status, 2);
  EXPECT_NE(badName.err.find("Unknown file format saving tracks: xyz"), std::string::npos) << badName.err;
  EXPECT_EQ(test::readFileBytes(photo("a.jpg")), original);

  const test::CommandOutput replaced = test::runCommand(geotag("--in-place --overwrite --mark-track " +
                                                               shellQuote((dir / "marked.gpx").string()) + " " + photos));
  EXPECT_EQ(replaced.status, 0) << replaced.err;
  EXPECT_NE(test::readFileBytes(dir / "marked.gpx"), "earlier work");

  // Two photos of one name from two folders would share one output: neither is written.
  fs::create_directory(dir / "more");
  test::writeFileBytes(dir / "more" / "a.jpg", original);
  test::writeFileBytes(dir / "more" / "b.jpg", original);
  const test::CommandOutput clash = test::runCommand(geotag("--out " + shellQuote((dir / "out").string()) + " " +
                                                            shellQuote((dir / "photos").string()) + " " +
                                                            shellQuote((dir / "more").string())));
  EXPECT_EQ(clash.status, 1);
  EXPECT_NE(clash.err.find("Another photo would be written to the same file"), std::string::npos) << clash.err;
  EXPECT_FALSE(fs::exists(dir / "out" / "a.jpg"));
  EXPECT_TRUE(isTagged(dir / "out" / "b.jpg"));
}

// Of several runs converting to one new name at once, exactly one succeeds.
TEST_F(Attack, ConcurrentConvertsToOneNameNeverBothSucceed) {
  const std::string command = "for i in 1 2 3 4 5 6; do (" + kCli + " convert " +
                              shellQuote((dir / "walk.trk").string()) + " " + shellQuote((dir / "same.gpx").string()) +
                              " >/dev/null 2>&1; echo $?) & done; wait";
  const test::CommandOutput run = test::runCommand(command);
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '0'), 1) << run.out;
  EXPECT_NE(test::readFileBytes(dir / "same.gpx").find("</gpx>"), std::string::npos);
}

// Hostile and endless inputs end in the program's message, within time and memory bounds.
TEST_F(Attack, EndlessAndHostileInputsEndInAMessage) {
  const std::string limited = "timeout 60 prlimit --as=1500000000 " + kCli;
  // An endless line on a pipe.
  const test::CommandOutput nmea = test::runCommand("head -c 300000000 /dev/zero | " + limited + " nmea - >/dev/null");
  EXPECT_EQ(nmea.status, 1) << nmea.err;
  EXPECT_NE(nmea.err.find("line too long"), std::string::npos) << nmea.err;
  // Devices and FIFOs where a file is expected, and a huge (sparse) track file.
  ASSERT_EQ(::mkfifo((dir / "pipe.jpg").c_str(), 0644), 0);
  test::writeFileBytes(dir / "huge.gpx", "");
  ASSERT_EQ(::truncate((dir / "huge.gpx").c_str(), 3LL << 30), 0);
  fs::create_symlink("/dev/zero", dir / "zero.gpx");
  struct Case {
    std::string args, reason;
    bool fails;  // an unreadable gps.ini is a warning: the defaults carry on
  };
  for (const Case& c : {Case{"--config /dev/zero datums", "Not a regular file: /dev/zero", false},
                        Case{"info " + shellQuote((dir / "zero.gpx").string()), "Not a regular file", true},
                        Case{"exif " + shellQuote((dir / "pipe.jpg").string()), "Not a regular file", true},
                        Case{"info " + shellQuote((dir / "huge.gpx").string()), "File too large", true}}) {
    const auto start = std::chrono::steady_clock::now();
    const test::CommandOutput run = test::runCommand(limited + " " + c.args + " >/dev/null");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)) << c.args;
    EXPECT_EQ(run.status != 0, c.fails) << c.args << ": " << run.err;
    EXPECT_LT(run.status, 3) << c.args << ": " << run.err;  // a message, not a signal
    EXPECT_NE(run.err.find(c.reason), std::string::npos) << c.args << ": " << run.err;
  }

  // A zip bomb: an IGZ whose log unpacks past the limit, under a memory limit, leaving nothing.
  const std::string igz = (dir / "bomb.igz").string();
  zipFile zip = zipOpen(igz.c_str(), APPEND_STATUS_CREATE);
  ASSERT_NE(zip, nullptr);
  zip_fileinfo info{};
  ASSERT_EQ(zipOpenNewFileInZip(zip, "bomb.IGC", &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, 1), ZIP_OK);
  const std::string zeros(limits::kMiB, '0');
  for (std::size_t i = 0; i <= limits::kMaxUnpackedBytes / limits::kMiB; ++i)
    ASSERT_EQ(zipWriteInFileInZip(zip, zeros.data(), static_cast<unsigned>(zeros.size())), ZIP_OK);
  zipCloseFileInZip(zip);
  zipClose(zip, nullptr);
  ASSERT_LT(fs::file_size(igz), 4 * limits::kMiB);
  const test::CommandOutput bomb = test::runCommand(limited + " info " + shellQuote(igz));
  EXPECT_EQ(bomb.status, 2) << bomb.err;
  EXPECT_NE(bomb.err.find("too large"), std::string::npos) << bomb.err;
  std::vector<std::string> left;
  for (const auto& entry : fs::directory_iterator(dir.path())) left.push_back(entry.path().filename().string());
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::string>{"bomb.igz", "huge.gpx", "photos", "pipe.jpg", "walk.trk", "zero.gpx"}));
}

// A file name that is not UTF-8 still gives valid JSON, and a broken photo is skipped with the
// summary of the rest.
TEST_F(Attack, JsonStaysValidAndABrokenPhotoDoesNotStopTheRun) {
  test::writeFileBytes(photo("caf\xE9.jpg"), original);
  test::writeFileBytes(photo("broken.jpg"), "not a photo at all");
  const test::CommandOutput json = test::runCommand(geotag("--in-place --json " + shellQuote((dir / "photos").string())));
  EXPECT_EQ(json.status, 1) << json.err;
  const nlohmann::json doc = nlohmann::json::parse(json.out, nullptr, false);
  ASSERT_FALSE(doc.is_discarded()) << json.out;
  ASSERT_EQ(doc.size(), 2u);
  int tagged = 0;
  for (const auto& row : doc) tagged += row["status"] == "tagged";
  EXPECT_EQ(tagged, 1);
  EXPECT_TRUE(isTagged(photo("caf\xE9.jpg")));
}

}  // namespace
}  // namespace pixtrail
