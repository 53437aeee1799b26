#pragma once
// UTM, and the automatic UTM choice, on any datum of the table.
// Method: the Transverse Mercator series of tm_series.hpp (Snyder 1987) with the program's own
// zone and band rules, kept with their quirks (see TProyeccionUTM.cpp).
// Accuracy: 1 mm against GeographicLib inside every zone (tests/coords/TProyeccionUTM_oracle_test.cpp).

#include "coords/TProyeccion.hpp"

namespace pixtrail {

inline constexpr double kUtmScaleFactor = 0.9996;
inline constexpr double kUtmFalseEasting = 500000.0;
inline constexpr double kUtmSouthFalseNorthing = 10000000.0;
// Northings at or beyond this are refused by the inverse.
inline constexpr double kUtmNorthingLimit = 9886785.0;

// The two edges where the zone and band rules give no usable grid position: longitude -180 (zone
// 0) and latitude exactly -80 (the letter is left as it was). kUsable takes them as zone 1 and
// band "C"; kExact keeps the rules' results, for files that must match them.
enum class UtmEdges { kUsable, kExact };

// trunc(lon / 6), one less for negative longitudes, plus 31: -6 gives 29 and 180 gives 61.
int utmZone(double lon, UtmEdges edges = UtmEdges::kUsable);
// Band letter of a latitude (lower bound exclusive); exactly -80 is "C", or keeps `current` with
// kExact.
char utmBandLetter(double lat, char current, UtmEdges edges = UtmEdges::kUsable);
// Transverse Mercator parameters of a zone and letter; false for a letter outside 'A'..'Z'.
bool utmParameters(int zone, char letter, TMParameters& parameters);

// Shifts from `sourceDatum` to `targetDatum`, then projects there. A forced zone (non-zero) and
// letter replace the computed ones.
bool geographicToUtm(const TCoord& geo, int sourceDatum, int targetDatum, GridCoord& out,
                     std::string& message, int forcedZone = 0, char forcedLetter = 0,
                     UtmEdges edges = UtmEdges::kUsable);
// The UTM position is in `sourceDatum`; the result in `targetDatum`, altitude carried over.
bool utmToGeographic(const GridCoord& utm, int sourceDatum, int targetDatum, TCoord& out,
                     std::string& message);

class TProyeccionUTM : public TProyeccion {
 public:
  TProyeccionUTM();
  bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const override;
  bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const override;
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
  std::span<const ParameterDeclaration> parameterDeclarations() const override;
  // "band" takes a letter; the other parameters numbers.
  bool setParameterText(std::string_view key, std::string_view value, std::string& message) override;
  // Zone 0 means "from the longitude"; band 0 "from the latitude".
  int zone() const;
  char band() const;
  bool south() const;
};

// The automatic choice: UTM with the zone always taken from the position.
class TProyeccionDefault : public TProyeccionUTM {
 public:
  TProyeccionDefault();
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
  std::span<const ParameterDeclaration> parameterDeclarations() const override;
};

}  // namespace pixtrail
