#pragma once
// Transverse Mercator with user parameters, the national grids that run on it with fixed
// constants (Swedish, British, Irish, Dutch), and Transverse Mercator read from a definition file.
// Method: the series of tm_series.hpp (Snyder 1987) on the ellipsoid of the projection's datum.
// Accuracy: 1 mm within 3.5 degrees of the central meridian, 1 cm to 5.75 degrees (README).

#include <filesystem>

#include "coords/TProyeccion.hpp"

namespace pixtrail {

class TProyeccionTransversalMercator : public TProyeccion {
 public:
  TProyeccionTransversalMercator();
  bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const override;
  bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const override;
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
  std::span<const ParameterDeclaration> parameterDeclarations() const override;
  const TMParameters& tmParameters() const { return tm_; }

 protected:
  // A grid with fixed constants on a named datum of the table.
  TProyeccionTransversalMercator(const TMParameters& fixed, std::string_view datumName);
  void parametersChanged() override;
  void setFixedParameters(const TMParameters& fixed) { tm_ = fixed; }

 private:
  TMParameters tm_;
};

// One national grid carried by the Transverse Mercator series: its name, datum and constants.
struct TMPreset {
  std::string_view name;
  std::string_view datum;
  TMParameters parameters;
};

// The Dutch grid is deliberately this Transverse Mercator, not the stereographic RD definition.
inline constexpr TMPreset kSwedishGrid{"Swedish Grid", "RT 90", {15.808277777778, 0, 1.0, 1500000, 0}};
inline constexpr TMPreset kDutchGrid{"Dutch RD grid", "Rijksdriehoeksmeting", {5.38763, 0, 0.9999079, 155000, -5316592}};
inline constexpr TMPreset kBritishGrid{"BGN (British National Grid)", "Ord Srvy Grt Britn", {-2, 49, 0.9996013, 400000, -100000}};
inline constexpr TMPreset kIrishGrid{"Irish Grid", "Ireland 1965", {-8, 53.5, 1.000035, 200000, 250000}};

// The shared body of the preset grids; `Self` is the final class, so clone() keeps it.
template <typename Self, const TMPreset& kPreset>
class TMPresetProjection : public TProyeccionTransversalMercator {
 public:
  TMPresetProjection() : TProyeccionTransversalMercator(kPreset.parameters, kPreset.datum) {}
  std::unique_ptr<TProyeccion> clone() const override {
    return std::make_unique<Self>(static_cast<const Self&>(*this));
  }
  std::string shortName() const override { return std::string(kPreset.name); }
  std::string secondName() const override { return std::string(kPreset.name); }
  std::span<const ParameterDeclaration> parameterDeclarations() const override { return {}; }
};

class TProyeccionSuecia final : public TMPresetProjection<TProyeccionSuecia, kSwedishGrid> {};
class TProyeccionHolanda final : public TMPresetProjection<TProyeccionHolanda, kDutchGrid> {};

class TProyeccion_TM_BNG final : public TMPresetProjection<TProyeccion_TM_BNG, kBritishGrid> {
 public:
  bool hasGridReference() const override { return true; }
  bool gridReference(const GridCoord& grid, int digits, std::string& out, std::string& message) const override;
};

class TProyeccion_TM_Irish final : public TMPresetProjection<TProyeccion_TM_Irish, kIrishGrid> {
 public:
  bool hasGridReference() const override { return true; }
  bool gridReference(const GridCoord& grid, int digits, std::string& out, std::string& message) const override;
};

// Transverse Mercator defined by a text file of KEY=VALUE lines: VERSION (1), PROJECTION
// ("Transveral Mercator", byte for byte, as the files are written), NAME, LON_ORIGIN, LAT_ORIGIN,
// SCALE_FACTOR, FN, FE, PREFERED_DATUM. Any other key rejects the whole file.
class TProyeccion_TM_File final : public TProyeccionTransversalMercator {
 public:
  TProyeccion_TM_File() = default;
  bool load(const std::filesystem::path& file, std::string& message);
  // The file's text; on failure the object is left as it was.
  bool parse(std::string_view text, std::string& message);
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override { return name_; }
  std::string secondName() const override { return name_; }
  std::span<const ParameterDeclaration> parameterDeclarations() const override { return {}; }

 private:
  std::string name_;
};

}  // namespace pixtrail
