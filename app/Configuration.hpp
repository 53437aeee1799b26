#pragma once
// The configuration: every setting of gps.ini as a typed object bound to a section and a key,
// carrying its default. Loaded once at start-up; a change is written back to the file at once
// (through a temporary file and a rename), keeping the sections and keys it does not know.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <boost/property_tree/ptree.hpp>

#include "app/LanguageFile.hpp"
#include "coords/coordinate_text.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

class Configuration;

class Setting {
 public:
  Setting(Configuration& owner, std::string_view section, std::string_view key);
  virtual ~Setting() = default;
  Setting(const Setting&) = delete;
  Setting& operator=(const Setting&) = delete;

  const std::string& section() const { return section_; }
  const std::string& key() const { return key_; }
  // The value as gps.ini writes it, and back; a text that does not fit the type leaves the value.
  virtual std::string toText() const = 0;
  virtual bool fromText(std::string_view text) = 0;
  virtual void reset() = 0;

 protected:
  void changed();

 private:
  Configuration& owner_;
  std::string section_, key_;
};

template <typename T>
class TypedSetting : public Setting {
 public:
  TypedSetting(Configuration& owner, std::string_view section, std::string_view key, T defaultValue)
      : Setting(owner, section, key), default_(defaultValue), value_(defaultValue) {}
  const T& get() const { return value_; }
  const T& defaultValue() const { return default_; }
  operator const T&() const { return value_; }
  // Stores the value; a real change is written back to gps.ini.
  void set(const T& value) {
    if (value == value_) return;
    value_ = value;
    changed();
  }
  std::string toText() const override;
  bool fromText(std::string_view text) override;
  void reset() override { value_ = default_; }

 private:
  T default_;
  T value_;
};

using IntSetting = TypedSetting<std::int32_t>;
using RealSetting = TypedSetting<double>;
using TextSetting = TypedSetting<std::string>;
using BoolSetting = TypedSetting<bool>;

class Configuration {
 public:
  Configuration() = default;
  Configuration(const Configuration&) = delete;
  Configuration& operator=(const Configuration&) = delete;

  // Reads gps.ini; a missing file leaves every default. A file that cannot be parsed gives a
  // message, leaves the defaults and is never written over.
  bool load(const std::filesystem::path& file, std::string& message);
  // Reads settings from gps.ini text without a file behind them (nothing is ever written).
  bool loadText(std::string_view content, std::string& message);
  // Writes every setting (and whatever else the file held) back to the loaded file.
  bool save(std::string& message);
  // Back to defaults and no file: nothing is read or written (tests, --config none).
  void detach();
  const std::filesystem::path& file() const { return file_; }
  // The message of the last automatic write-back that failed, if any.
  const std::string& lastWriteError() const { return lastWriteError_; }

  const std::vector<Setting*>& settings() const { return settings_; }
  Setting* find(std::string_view section, std::string_view key) const;

  // Messages by number, from the language file opened at start-up.
  LanguageFile language;

 private:
  friend class Setting;
  void registerSetting(Setting* setting) { settings_.push_back(setting); }
  void settingChanged(const Setting& setting);
  bool parse(std::string_view content, const std::string& name, std::string& message);

  std::vector<Setting*> settings_;  // before every setting member: they register in it
  std::filesystem::path file_;
  boost::property_tree::ptree tree_;
  bool writable_ = false;
  std::string lastWriteError_;

 public:
  // -- Receiver links (section General)
  BoolSetting commFastGarmin{*this, "General", "Comm_Fast_Garmin", true};
  IntSetting commTimeoutChars2Ms{*this, "General", "Comm_Timeout_Chars2", 100};
  IntSetting commTimeoutGarminMs{*this, "General", "Comm_Timeout_Garmin", 500};
  IntSetting commNmeaTimeoutMs{*this, "General", "Comm_NNEA_Timeout", 2000};
  BoolSetting fixBrisko114{*this, "General", "Fix_Brisko_Bug_114", true};
  RealSetting commGpsTimeDifference{*this, "General", "Comm_GPS_time_difference", 13.0};
  IntSetting commTimeWaitGalileoMs{*this, "General", "Comm_TimeWait_Galileo", 800};
  BoolSetting commRegisterAll{*this, "General", "Comm_Register_All", false};
  BoolSetting shutdownGpsAtEnd{*this, "General", "Shutdown_GPS_at_end", false};
  IntSetting lastAutodetectProtocol{*this, "General", "Last_Autodetect_Protocol", 0};
  IntSetting numNmeaErrorMessages{*this, "General", "Num_Mensajes_NMEA_Error", 50};
  BoolSetting useNmeaChecksum{*this, "General", "Use_Checksum_NMEA", true};
  TextSetting nmeaMovingMapSentence{*this, "General", "Comanda_NMEA_MovingMap", ""};
  IntSetting reopenPortTimeoutMs{*this, "General", "Tout_Reabrir_Puerto", 5000};
  IntSetting extraPortNumber{*this, "General", "Num_Puerto_Extra", -1};
  IntSetting totalPorts{*this, "General", "total_puertos", 1};
  IntSetting connection{*this, "General", "Connection", 0};
  BoolSetting activateBroadcast{*this, "General", "Activate Broadcast", false};
  TextSetting bluetoothId{*this, "General", "Id_bluetooth", ""};
  TextSetting bluetoothUuid{*this, "General", "Id_bluetooth_uuid", ""};
  IntSetting bluetoothClass{*this, "General", "Id_bluetooth_class", 0};
  IntSetting bluetoothPort{*this, "General", "Id_bluetooth_port", 0};
  // -- Application
  TextSetting languageFile{*this, "General", "Fichero_Idioma", "language_en.txt"};
  RealSetting routeWaypointRadiusM{*this, "Balizas", "Radio_Default_Balizas_Ruta", 400.0};
  // The user's defaults for new waypoints: a waypoint that differs gets a "w" line in WPT files.
  IntSetting waypointDisplayType{*this, "Balizas", "Tipo_Visualizacion", WaypointDefaults{}.displayType};
  RealSetting waypointLabelOffset{*this, "Balizas", "Desplazamiento_Etiqueta", WaypointDefaults{}.displayValue1};
  IntSetting waypointLabelColour{*this, "Balizas", "Color_Etiqueta", WaypointDefaults{}.displayValue2};
  BoolSetting waypointLabelBox{*this, "Balizas", "Etiqueta_Recuadro", WaypointDefaults{}.displayFlag1 != 0};
  IntSetting workingDatum{*this, "Coordenadas", "Datum_Trabajo", 0};
  // -- Coordinate texts
  IntSetting angleFormat{*this, "Coordenadas", "Formato_Coordenadas", CoordinateTextSettings{}.angleFormat};
  // Compatibility: grads from Paris with the longitude's own hemisphere letter (see coordinate_text.hpp).
  BoolSetting parisLetterFromLongitude{*this, "Coordenadas", "Letra_Paris_Por_Longitud",
                                       CoordinateTextSettings{}.parisLetterFromLongitude};
  BoolSetting utmAsGeographic{*this, "Coordenadas", "UTM_Como_Geograficas", CoordinateTextSettings{}.utmAsGeographic};
  // -- Tracks and their files
  BoolSetting preferGpsAltitude{*this, "Tracks", "Altitud_GPS_Preferida", TrackSettings{}.preferGpsAltitude};
  RealSetting maxGapSeconds{*this, "Tracks", "Max_Hueco_Segundos", TrackSettings{}.maxGapSeconds};
  IntSetting fileCoordinateMode{*this, "Coordenadas", "Modo_Coordenadas_Ficheros", 0};
  TextSetting fileDatum{*this, "Coordenadas", "Datum_Ficheros", "WGS 84"};
  // -- Desktop program
  TextSetting displayProjection{*this, "Coordenadas", "Proyeccion_Pantalla", ""};  // short name; empty: none
  BoolSetting mapTiles{*this, "Internet", "Mapa_Teselas", true};
  TextSetting tileUrl{*this, "Internet", "Url_Teselas", "https://tile.openstreetmap.org/{z}/{x}/{y}.png"};
  TextSetting tileAttribution{*this, "Internet", "Atribucion_Teselas", "\xA9 OpenStreetMap contributors"};
  TextSetting recentFiles{*this, "AutoOpen", "Ficheros_Recientes", ""};  // "|"-separated, newest first
  // -- Photos: write GPS entries with the described quirks byte for byte (off: the safe writer)
  BoolSetting exifExactQuirks{*this, "Fotos", "Exif_Exact_Quirks", false};
};

// The one configuration object of the program.
Configuration& configuration();

}  // namespace pixtrail
