#pragma once
// The projections the user can pick from: one instance of each, in the order of the one
// registry table in TListaProyecciones.cpp, plus any Transverse Mercator definition files added.
// Create it after the datum table is loaded: the national grids look their datums up then.

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "coords/TProyeccion.hpp"
#include "core/VectorP.hpp"

namespace pixtrail {

class TListaProyecciones {
 public:
  TListaProyecciones();

  int size() const { return static_cast<int>(projections_.size()); }
  const TProyeccion& projection(int index) const { return projections_[static_cast<std::size_t>(index)]; }
  // Case-insensitive short name; the first match, or -1.
  int findByShortName(std::string_view name) const;
  // Reads a Transverse Mercator definition file and appends it; false + message when rejected.
  bool addTransverseMercatorFile(const std::filesystem::path& file, std::string& message);
  // A fresh copy of the projection named `nameOrFile` (a short name, or else a Transverse
  // Mercator definition file); null + message when there is none.
  std::unique_ptr<TProyeccion> create(std::string_view nameOrFile, std::string& message) const;

 private:
  VectorP<TProyeccion> projections_;
};

}  // namespace pixtrail
