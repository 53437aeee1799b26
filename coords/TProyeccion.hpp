#pragma once
// Base of every map projection: geographic positions (degrees, in a datum of the table) to plane
// coordinates and back, with the editable parameters of each projection declared as data so that
// one generic form (or the command line's --param) can show and set them.

#include <array>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "coords/tm_series.hpp"
#include "core/TCoord.hpp"
#include "core/messages.hpp"

namespace pixtrail {

// A projected position: easting and northing (metres; degrees for Lat/Long), the altitude carried
// through, and for UTM the zone and band letter.
struct GridCoord {
  double x = 0.0;
  double y = 0.0;
  float alt = kUnknownAltitude;
  int zone = 0;   // UTM only; 0 = none
  char band = 0;  // UTM only; 0 = none
  double z = 0.0; // geocentric Z, ECEF only
};

enum class PlaneUnit { kMetres, kDegrees };

// One editable parameter: its command-line key, the form's label (the system's text), its range
// and its value before anyone edits it.
struct ParameterDeclaration {
  std::string_view key;
  std::string_view label;
  double minimum;
  double maximum;
  double initial;
};

// The series' view of a datum row's ellipsoid (-1 = working datum).
EllipsoidShape ellipsoidOfDatum(int datum);
// Meridian arc (metres) at a latitude, footpoint latitude of an arc, prime-vertical radius
// (false when it cannot be computed), all in degrees on a datum's ellipsoid.
double meridianArcOnDatum(double lat, int datum);
double footpointLatitudeOnDatum(double arcM, int datum);
bool primeVerticalRadiusOnDatum(double lat, int datum, double& radiusM);

// Marks a projection whose fixed datum is missing from the table.
inline constexpr int kDatumNotFound = -2;

class TProyeccion {
 public:
  static constexpr std::size_t kMaxParameters = 8;
  static constexpr const char* kCannotProjectMessage = "Position cannot be projected";
  static constexpr const char* kCannotUnprojectMessage = "Grid position cannot be converted";

  // The virtual operations, in the order the rest of the program relies on.
  virtual ~TProyeccion();
  // Parameters as text fields and back (one field per declared parameter, "%.10g").
  virtual std::vector<std::string> writeParameters() const;
  virtual bool readParameters(const std::vector<std::string>& fields);
  // `datum`: the datum of the geographic position (-1 = working datum). Projections with a fixed
  // datum shift into it first; on failure the message is appended and `out` is untouched.
  virtual bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const = 0;
  // The grid is in the projection's own datum (or `datum` when it has none); the result in `datum`.
  virtual bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const = 0;
  virtual std::unique_ptr<TProyeccion> clone() const = 0;
  virtual std::string shortName() const = 0;
  virtual std::string secondName() const = 0;
  // The second name, followed by the unit word when the datum table is in maintenance mode.
  virtual std::string description(bool maintenanceMode) const;
  virtual std::span<const ParameterDeclaration> parameterDeclarations() const;
  // A track point's position: altitude kept, then the plain operation.
  virtual bool projectPoint(const TCoord& pointPosition, int datum, GridCoord& out, std::string& message) const;
  virtual bool unprojectPoint(const GridCoord& grid, int datum, TCoord& out, std::string& message) const;
  // Neutral queries that particular projections refine.
  virtual void localScaleFactors(const TCoord& geo, int datum, double& kx, double& ky) const;
  virtual double nominalScale() const { return -1.0; }
  virtual bool hasGridReference() const { return false; }
  // Letter grid reference of a projected position with `digits` digits (2 to 10, even).
  virtual bool gridReference(const GridCoord& grid, int digits, std::string& out, std::string& message) const;

  PlaneUnit unit() const { return unit_; }
  // The projection's own datum; kWorkingDatum when it runs on the position's datum.
  int fixedDatum() const { return fixedDatum_; }

  // Declared parameters by key ("lon0", "k0", ...). Unknown key or out of range: false + message.
  bool setParameter(std::string_view key, double value, std::string& message);
  virtual bool setParameterText(std::string_view key, std::string_view value, std::string& message);
  bool parameter(std::string_view key, double& value) const;

 protected:
  explicit TProyeccion(PlaneUnit unit);
  TProyeccion(const TProyeccion&) = default;
  TProyeccion& operator=(const TProyeccion&) = default;

  // Starts the parameters at their declared initial values; the constructor of each class with
  // parameters calls it once its declarations are reachable.
  void initialiseParameters();
  // Recomputes derived constants after a parameter changed.
  virtual void parametersChanged() {}
  double param(std::size_t index) const { return parameters_[index]; }

  // Looks up a fixed datum by name; kDatumNotFound when the table lacks it.
  void useFixedDatum(std::string_view datumName);
  void usePositionDatum() { fixedDatum_ = kWorkingDatum; fixedDatumName_.clear(); }
  // The datum this projection computes in for a position given in `datum`, or false + message.
  bool workingDatumFor(int datum, int& projectionDatum, std::string& message) const;
  // Shifts a position given in `datum` into the projection's datum `own`, and back.
  bool toOwnDatum(TCoord& position, int datum, int& own, std::string& message) const;
  bool fromOwnDatum(TCoord& position, int own, int datum, std::string& message) const;

  // The shape every projection shares around its formulas: shift into its datum, run
  // `forward(position, ownDatum, grid) -> bool`, keep the altitude; outputs only on success.
  template <typename Forward>
  bool forwardVia(const TCoord& geo, int datum, GridCoord& out, std::string& message,
                  Forward&& forward, const char* failure = kCannotProjectMessage) const {
    TCoord position = geo;
    int own = 0;
    if (!toOwnDatum(position, datum, own, message)) return false;
    GridCoord grid;
    if (!forward(position, own, grid)) {
      appendMessage(message, failure);
      return false;
    }
    grid.alt = geo.alt;
    out = grid;
    return true;
  }
  template <typename Inverse>
  bool inverseVia(const GridCoord& grid, int datum, TCoord& out, std::string& message,
                  Inverse&& inverse, const char* failure = kCannotUnprojectMessage) const {
    int own = 0;
    if (!workingDatumFor(datum, own, message)) return false;
    TCoord position;
    position.alt = grid.alt;  // carried over unless the inverse computes a height
    if (!inverse(grid, own, position)) {
      appendMessage(message, failure);
      return false;
    }
    if (!fromOwnDatum(position, own, datum, message)) return false;
    out = position;
    return true;
  }

 private:
  PlaneUnit unit_;
  int fixedDatum_ = kWorkingDatum;
  std::string fixedDatumName_;
  std::array<double, kMaxParameters> parameters_{};
};

}  // namespace pixtrail
