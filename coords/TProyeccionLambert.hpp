#pragma once
// Lambert Conformal Conic: one standard parallel (1SP), two (2SP), the French zones on NTF with
// the Paris meridian, and the Lambert ALPS zone.
// Method: IOGP Guidance Note 7-2 (2019), section 3.1.1 (EPSG methods 9801 and 9802), with the
// latitude recovered from t by fixed-point iteration to 1e-12 rad.
// Accuracy: 1 cm against cs2cs +proj=lcc and the GIGS 5102/5103 tables (tests/coords).

#include "coords/TProyeccion.hpp"
#include "coords/coordinate_text.hpp"  // kParisMeridianDeg

namespace pixtrail {

// The constants of one Lambert cone, worked out once from its parameters.
struct LambertCone {
  double n = 0;         // cone constant
  double aF = 0;        // a x F (x k0 for one parallel)
  double rOrigin = 0;   // radius at the latitude of the false origin
  double lon0 = 0;      // degrees
  double falseEasting = 0, falseNorthing = 0;
  bool valid = false;
};

LambertCone lambertOneParallel(double a, double e, double lat0, double lon0, double k0, double fe, double fn);
LambertCone lambertTwoParallels(double a, double e, double lat1, double lat2, double latOrigin,
                                double lon0, double fe, double fn);
bool lambertForward(const LambertCone& cone, double e, double lon, double lat, double& x, double& y);
bool lambertInverse(const LambertCone& cone, double e, double x, double y, double& lon, double& lat);

// One fixed Lambert zone: its datum and constants (degrees from Greenwich).
struct LambertZone {
  std::string_view name;
  std::string_view datum;
  bool oneParallel;
  double lat1, lat2, latOrigin, lon0, k0, falseEasting, falseNorthing;
};

class TProyeccionLambert_2SP : public TProyeccion {
 public:
  TProyeccionLambert_2SP();
  bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const override;
  bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const override;
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
  std::span<const ParameterDeclaration> parameterDeclarations() const override;

 protected:
  explicit TProyeccionLambert_2SP(const LambertZone& zone);
  // The cone on the ellipsoid of `datum`: built per call, since rows of the table can change.
  virtual LambertCone coneOn(int datum) const;

 private:
  const LambertZone* zone_ = nullptr;  // null: the user's parameters
};

class TProyeccionLambert_1SP : public TProyeccionLambert_2SP {
 public:
  TProyeccionLambert_1SP();
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
  std::span<const ParameterDeclaration> parameterDeclarations() const override;

 protected:
  LambertCone coneOn(int datum) const override;
};

// French zones on NTF (Clarke 1880 IGN) with the Paris meridian, 2 deg 20' 14.025" E, as
// EPSG 27571 to 27574 (Lambert zones I to IV, "carto" false northings) and 27562 (zone II
// "Centre", 200 km false northing) give them; Lambert II etendu is EPSG 27572.
inline constexpr LambertZone kLambertI{"France Lambert I", "NTF", true, 49.5, 49.5, 49.5, kParisMeridianDeg, 0.999877341, 600000, 1200000};
inline constexpr LambertZone kLambertII{"France Lambert II", "NTF", true, 46.8, 46.8, 46.8, kParisMeridianDeg, 0.99987742, 600000, 200000};
inline constexpr LambertZone kLambertIIEtendu{"France Lambert II etendu", "NTF", true, 46.8, 46.8, 46.8, kParisMeridianDeg, 0.99987742, 600000, 2200000};
inline constexpr LambertZone kLambertIII{"France Lambert III", "NTF", true, 44.1, 44.1, 44.1, kParisMeridianDeg, 0.999877499, 600000, 3200000};
inline constexpr LambertZone kLambertIV{"France Lambert IV", "NTF", true, 42.165, 42.165, 42.165, kParisMeridianDeg, 0.99994471, 234.358, 4185861.369};
// The Austrian Lambert of the Alps (EPSG 31287, MGI / Austria Lambert) on Hermannskogel (MGI).
inline constexpr LambertZone kLambertAlps{"Lambert ALPS", "Hermannskogel", false, 49, 46, 47.5, 13.333333333333333, 1, 400000, 400000};

template <typename Self, const LambertZone& kZone>
class LambertZoneProjection : public TProyeccionLambert_2SP {
 public:
  LambertZoneProjection() : TProyeccionLambert_2SP(kZone) {}
  std::unique_ptr<TProyeccion> clone() const override {
    return std::make_unique<Self>(static_cast<const Self&>(*this));
  }
  std::string shortName() const override { return std::string(kZone.name); }
  std::string secondName() const override { return std::string(kZone.name); }
  std::span<const ParameterDeclaration> parameterDeclarations() const override { return {}; }
};

class TProyeccionLambert_I final : public LambertZoneProjection<TProyeccionLambert_I, kLambertI> {};
class TProyeccionLambert_II final : public LambertZoneProjection<TProyeccionLambert_II, kLambertII> {};
class TProyeccionLambert_II_etendu final
    : public LambertZoneProjection<TProyeccionLambert_II_etendu, kLambertIIEtendu> {};
class TProyeccionLambert_III final : public LambertZoneProjection<TProyeccionLambert_III, kLambertIII> {};
class TProyeccionLambert_IV final : public LambertZoneProjection<TProyeccionLambert_IV, kLambertIV> {};
class TProyeccionLambert_Alps final : public LambertZoneProjection<TProyeccionLambert_Alps, kLambertAlps> {};

}  // namespace pixtrail
