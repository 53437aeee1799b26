// gps.ini through Boost.PropertyTree's INI reader and writer. The whole file is kept in memory
// so that writing back preserves every section and key other parts of the program own.

#include "app/Configuration.hpp"

#include <boost/property_tree/ini_parser.hpp>
#include <charconv>
#include <limits>
#include <sstream>

#include "core/SafeFile.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {

namespace {

using Path = boost::property_tree::ptree::path_type;
constexpr char kPathSeparator = '\x1f';  // keys may hold '.', which is PropertyTree's default


// The value node of a setting, its section and key matched without regard to case as the INI
// functions of the program's first platform match them; the first match wins, as there.
boost::property_tree::ptree* valueNode(boost::property_tree::ptree& tree, const Setting& s) {
  for (auto& [section, keys] : tree) {
    if (!equalsIgnoreCase(section, s.section())) continue;
    for (auto& [key, value] : keys)
      if (equalsIgnoreCase(key, s.key())) return &value;
  }
  return nullptr;
}

// Where a setting the file does not hold yet goes: the section as the file spells it, if any.
boost::property_tree::ptree& sectionNode(boost::property_tree::ptree& tree, const Setting& s) {
  for (auto& [section, keys] : tree)
    if (equalsIgnoreCase(section, s.section())) return keys;
  return tree.put_child(Path(s.section(), kPathSeparator), {});
}

// The program's text files end lines with CR LF.
std::string withCrLf(const std::string& text) {
  std::string out;
  out.reserve(text.size() + text.size() / 16);
  for (char c : text) {
    if (c == '\n' && (out.empty() || out.back() != '\r')) out += '\r';
    out += c;
  }
  return out;
}

}  // namespace

Setting::Setting(Configuration& owner, std::string_view section, std::string_view key)
    : owner_(owner), section_(section), key_(key) {
  owner_.registerSetting(this);
}

void Setting::changed() { owner_.settingChanged(*this); }

template <>
std::string TypedSetting<std::int32_t>::toText() const { return std::to_string(value_); }
template <>
bool TypedSetting<std::int32_t>::fromText(std::string_view text) {
  const auto v = parseInteger(text);
  if (!v || *v < std::numeric_limits<std::int32_t>::min() || *v > std::numeric_limits<std::int32_t>::max())
    return false;
  value_ = static_cast<std::int32_t>(*v);
  return true;
}

template <>
std::string TypedSetting<double>::toText() const {
  char buffer[64];
  const auto r = std::to_chars(buffer, buffer + sizeof buffer, value_);
  return std::string(buffer, r.ptr);
}
template <>
bool TypedSetting<double>::fromText(std::string_view text) {
  const auto v = parseDouble(text);
  if (!v) return false;
  value_ = *v;
  return true;
}

template <>
std::string TypedSetting<std::string>::toText() const { return value_; }
template <>
bool TypedSetting<std::string>::fromText(std::string_view text) {
  value_ = std::string(text);
  return true;
}

template <>
std::string TypedSetting<bool>::toText() const { return value_ ? "1" : "0"; }
template <>
bool TypedSetting<bool>::fromText(std::string_view text) {
  const std::string_view t = trim(text);
  if (equalsIgnoreCase(t, "true") || equalsIgnoreCase(t, "yes")) return value_ = true, true;
  if (equalsIgnoreCase(t, "false") || equalsIgnoreCase(t, "no")) return value_ = false, true;
  // Any integer, as the INI files of the program's first platform read booleans.
  const auto v = parseInteger(t);
  if (!v) return false;
  value_ = *v != 0;
  return true;
}

bool Configuration::load(const std::filesystem::path& file, std::string& message) {
  detach();
  file_ = file;
  std::error_code ec;
  if (!std::filesystem::exists(file, ec)) {
    writable_ = true;  // created on the first change
    return true;
  }
  std::string content;
  if (!readWholeFile(file, content, message, limits::kMaxSettingsFileBytes) || !parse(content, file.string(), message))
    return false;
  writable_ = true;
  return true;
}

bool Configuration::loadText(std::string_view content, std::string& message) {
  detach();
  return parse(content, "gps.ini", message);
}

bool Configuration::parse(std::string_view content, const std::string& name, std::string& message) {
  try {
    std::istringstream in{std::string(content)};
    boost::property_tree::ini_parser::read_ini(in, tree_);
  } catch (const boost::property_tree::ptree_error& e) {
    // Keep the user's file as it is: it is read again after it has been mended.
    const auto* parse = dynamic_cast<const boost::property_tree::ini_parser_error*>(&e);
    appendMessage(message, "Error reading " + name +
                               (parse ? ": line " + std::to_string(parse->line()) + ": " + parse->message()
                                      : std::string(": ") + e.what()));
    tree_.clear();
    return false;
  }
  for (Setting* s : settings_) {
    if (const auto* value = valueNode(tree_, *s)) s->fromText(value->data());
  }
  return true;
}

bool Configuration::save(std::string& message) {
  if (!writable_ || file_.empty()) {
    appendMessage(message, "No configuration file to write");
    return false;
  }
  for (const Setting* s : settings_) {
    if (auto* value = valueNode(tree_, *s)) value->put_value(s->toText());
    else sectionNode(tree_, *s).put(Path(s->key(), kPathSeparator), s->toText());
  }
  std::ostringstream out;
  boost::property_tree::ini_parser::write_ini(out, tree_);
  std::error_code ec;
  if (file_.has_parent_path()) std::filesystem::create_directories(file_.parent_path(), ec);
  // A gps.ini kept elsewhere and linked into the user's own folder (a dotfiles repository) is
  // written where it lives; the link stays.
  std::filesystem::path target = file_;
  if (std::filesystem::is_symlink(file_, ec)) target = std::filesystem::canonical(file_, ec);
  if (ec) target = file_;
  return writeFileSafely(target, withCrLf(out.str()), SafeWriteOptions{}, message);
}

void Configuration::detach() {
  for (Setting* s : settings_) s->reset();
  tree_.clear();
  file_.clear();
  writable_ = false;
  lastWriteError_.clear();
}

Setting* Configuration::find(std::string_view section, std::string_view key) const {
  for (Setting* s : settings_)
    if (equalsIgnoreCase(s->section(), section) && equalsIgnoreCase(s->key(), key)) return s;
  return nullptr;
}

void Configuration::settingChanged(const Setting&) {
  if (!writable_ || file_.empty()) return;
  std::string message;
  if (!save(message)) lastWriteError_ = message;
}

Configuration& configuration() {
  static Configuration config;
  return config;
}

}  // namespace pixtrail
