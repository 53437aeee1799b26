#include "devices/Capacidades_garmin.hpp"

#include <algorithm>

#include "core/SafeFile.hpp"
#include "core/byte_order.hpp"
#include "core/messages.hpp"

namespace pixtrail {

namespace {

constexpr std::string_view kListName = "prots";

// The stored keys: the one place that names them, for writing and reading alike.
struct StoredKey {
  std::string_view key;
  std::int32_t Capacidades_garmin::*field;
};
constexpr StoredKey kStoredKeys[] = {
    {"id", &Capacidades_garmin::productId}, {"D1XX", &Capacidades_garmin::D1XX},
    {"D20X", &Capacidades_garmin::D20X},    {"D21X", &Capacidades_garmin::D21X},
    {"D30X", &Capacidades_garmin::D30X},    {"D31X", &Capacidades_garmin::D31X},
    {"D50X", &Capacidades_garmin::D50X},    {"D60X", &Capacidades_garmin::D60X},
    {"L0XX", &Capacidades_garmin::L0XX},    {"A2XX", &Capacidades_garmin::A2XX},
    {"A5XX", &Capacidades_garmin::A5XX},
};

void appendString(std::string& out, std::string_view text) {
  appendU16(out, static_cast<std::uint16_t>(text.size()), ByteOrder::little);
  out.append(text);
}

class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}
  bool u16(std::uint16_t& v) { return take(2, [&](const unsigned char* p) { v = readU16(p, ByteOrder::little); }); }
  bool u32(std::uint32_t& v) { return take(4, [&](const unsigned char* p) { v = readU32(p, ByteOrder::little); }); }
  bool i32(std::int32_t& v) { return take(4, [&](const unsigned char* p) { v = readI32(p, ByteOrder::little); }); }
  bool string(std::string_view& s) {
    std::uint16_t n = 0;
    if (!u16(n) || bytes_.size() - at_ < n) return false;
    s = bytes_.substr(at_, n);
    at_ += n;
    return true;
  }

 private:
  template <typename F>
  bool take(std::size_t n, F f) {
    if (bytes_.size() - at_ < n) return false;
    f(reinterpret_cast<const unsigned char*>(bytes_.data() + at_));
    at_ += n;
    return true;
  }
  std::string_view bytes_;
  std::size_t at_ = 0;
};

}  // namespace

void Capacidades_garmin::apply(char tag, int number) {
  if (tag == 'A') {
    std::int32_t* const slots[] = {&A0XX, &A1XX, &A2XX, &A3XX, nullptr, &A5XX, &A6XX, &A7XX, &A8XX, &A9XX};
    const int group = number / 100;
    if (group >= 0 && group < 10 && slots[group]) *slots[group] = number;
    if (number == 1006) hasA1006 = 1;
    if (number == 906) hasA906 = 1;
  } else if (tag == 'D') {
    switch (number / 10) {
      case 20: D20X = number; break;
      case 21: D21X = number; break;
      case 30: D30X = number; break;
      case 31: D31X = number; break;
      case 50: D50X = number; break;
      case 60: D60X = number; break;
      case 70: D70X = number; break;
      case 80:
        if (D80X == -1) D80X = number;  // the first D8xx wins
        break;
      default:
        if (number / 100 == 1) D1XX = number;  // the last D1xx wins
    }
  } else if (tag == 'L') {
    L0XX = number;
  }
}

std::vector<std::pair<std::string_view, std::int32_t>> storedProperties(const Capacidades_garmin& caps) {
  std::vector<std::pair<std::string_view, std::int32_t>> properties;
  for (const auto& k : kStoredKeys) properties.emplace_back(k.key, caps.*k.field);
  return properties;
}

bool GarminCapabilityCache::load(std::string& message) {
  records_.clear();
  std::error_code ec;
  if (!std::filesystem::exists(file_, ec)) return true;
  std::string bytes;
  if (!readWholeFile(file_, bytes, message)) return false;
  return parse(bytes, message);
}

bool GarminCapabilityCache::save(std::string& message) const {
  std::error_code ec;
  if (file_.has_parent_path()) std::filesystem::create_directories(file_.parent_path(), ec);
  return writeFileSafely(file_, serialize(), SafeWriteOptions{}, message);
}

std::optional<Capacidades_garmin> GarminCapabilityCache::find(std::int32_t productId) const {
  for (const auto& r : records_)
    if (r.productId == productId) return r;
  return std::nullopt;
}

void GarminCapabilityCache::store(const Capacidades_garmin& caps) {
  const auto same = std::find_if(records_.begin(), records_.end(),
                                 [&](const Capacidades_garmin& r) { return r.productId == caps.productId; });
  if (same != records_.end())
    *same = caps;
  else
    records_.push_back(caps);
}

std::string GarminCapabilityCache::serialize() const {
  std::string out;
  appendString(out, kListName);
  appendU32(out, static_cast<std::uint32_t>(records_.size()), ByteOrder::little);
  for (const auto& r : records_) {
    const auto properties = storedProperties(r);
    appendU16(out, static_cast<std::uint16_t>(properties.size()), ByteOrder::little);
    for (const auto& [key, value] : properties) {
      appendString(out, key);
      appendI32(out, value, ByteOrder::little);
    }
  }
  return out;
}

bool GarminCapabilityCache::parse(std::string_view bytes, std::string& message) {
  std::vector<Capacidades_garmin> records;
  Reader in(bytes);
  std::string_view name;
  std::uint32_t count = 0;
  bool ok = in.string(name) && name == kListName && in.u32(count);
  for (std::uint32_t i = 0; ok && i < count; ++i) {
    Capacidades_garmin caps;
    std::uint16_t properties = 0;
    ok = in.u16(properties);
    for (std::uint16_t p = 0; ok && p < properties; ++p) {
      std::string_view key;
      std::int32_t value = 0;
      ok = in.string(key) && in.i32(value);
      for (const auto& k : kStoredKeys)
        if (ok && k.key == key) caps.*k.field = value;
    }
    if (ok) records.push_back(caps);
  }
  if (!ok) {
    appendMessage(message, "Error reading " + file_.filename().string());
    return false;
  }
  records_ = std::move(records);
  return true;
}

}  // namespace pixtrail
