#pragma once
// What a Garmin product speaks: the record types and protocols learnt from its protocol array (or
// the defaults of units that send none), and the cache "protocol.dat" that remembers them per
// product so that a unit seen once need not be asked again.
//
// protocol.dat layout (little-endian; a string is a 16-bit length and its bytes):
//   string "prots"              list name
//   u32    record count
//   per record: u16 property count, then per property: string key, i32 value
// Only the stored keys are written ("id", "D1XX", "D20X", "D21X", "D30X", "D31X", "D50X", "D60X",
// "L0XX", "A2XX", "A5XX"); keys a reader does not know are skipped, missing ones keep defaults.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pixtrail {

struct Capacidades_garmin {
  std::int32_t productId = -1;
  std::int32_t D1XX = 100;
  std::int32_t D20X = 201;
  std::int32_t D21X = -1;
  std::int32_t D30X = 300;
  std::int32_t D31X = -1;
  std::int32_t D50X = -1;
  std::int32_t D60X = 600;
  std::int32_t D70X = -1;
  std::int32_t D80X = -1;
  std::int32_t L0XX = 1;
  std::int32_t A0XX = -1;
  std::int32_t A1XX = -1;
  std::int32_t A2XX = 200;
  std::int32_t A3XX = -1;
  std::int32_t A5XX = -1;
  std::int32_t A6XX = -1;
  std::int32_t A7XX = -1;
  std::int32_t A8XX = -1;
  std::int32_t A9XX = -1;
  std::uint8_t hasA1006 = 0;
  std::uint8_t hasA906 = 0;

  // Takes one protocol-array entry: tag 'A', 'D' or 'L' and its number.
  void apply(char tag, int number);
  bool isA302() const { return A3XX == 302; }

  friend bool operator==(const Capacidades_garmin&, const Capacidades_garmin&) = default;
};

// The stored keys with their values, in the order they are written.
std::vector<std::pair<std::string_view, std::int32_t>> storedProperties(const Capacidades_garmin& caps);

// The capability cache. Reading a missing or damaged file gives an empty cache (the units are then
// simply asked again); writing goes through a temporary file and a rename.
class GarminCapabilityCache {
 public:
  explicit GarminCapabilityCache(std::filesystem::path file) : file_(std::move(file)) {}

  bool load(std::string& message);
  bool save(std::string& message) const;
  std::optional<Capacidades_garmin> find(std::int32_t productId) const;
  // Replaces the record of the same product id.
  void store(const Capacidades_garmin& caps);
  const std::vector<Capacidades_garmin>& records() const { return records_; }

  // The file's bytes and their reading, apart from the disk (also what the fuzz harness feeds).
  std::string serialize() const;
  bool parse(std::string_view bytes, std::string& message);

 private:
  std::filesystem::path file_;
  std::vector<Capacidades_garmin> records_;
};

}  // namespace pixtrail
