#include "coords/TListaProyecciones.hpp"

#include <array>
#include <system_error>

#include "coords/TProyeccionAlbers.hpp"
#include "coords/TProyeccionECEF.hpp"
#include "coords/TProyeccionLambert.hpp"
#include "coords/TProyeccionLatLon.hpp"
#include "coords/TProyeccionMercator.hpp"
#include "coords/TProyeccionPolyconic.hpp"
#include "coords/TProyeccionSuiza.hpp"
#include "coords/TProyeccionTransversalMercator.hpp"
#include "coords/TProyeccionUTM.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {
namespace {

using Factory = std::unique_ptr<TProyeccion> (*)();

template <typename T>
std::unique_ptr<TProyeccion> make() {
  return std::make_unique<T>();
}

// The registry: one line per projection, in the order lists show them. A Transverse Mercator
// definition file has no line here; it joins through addTransverseMercatorFile.
constexpr std::array<Factory, 22> kRegistry = {
    &make<TProyeccionUTM>,
    &make<TProyeccionDefault>,
    &make<TProyeccionLatLon>,
    &make<TProyeccionLatLonGrados>,
    &make<TProyeccionTransversalMercator>,
    &make<TProyeccionSuecia>,
    &make<TProyeccion_TM_BNG>,
    &make<TProyeccion_TM_Irish>,
    &make<TProyeccionHolanda>,
    &make<TProyeccionSuiza>,
    &make<TProyeccionMercator>,
    &make<TProyeccionLambert_1SP>,
    &make<TProyeccionLambert_2SP>,
    &make<TProyeccionLambert_I>,
    &make<TProyeccionLambert_II>,
    &make<TProyeccionLambert_II_etendu>,
    &make<TProyeccionLambert_III>,
    &make<TProyeccionLambert_IV>,
    &make<TProyeccionLambert_Alps>,
    &make<TProyeccionPolyconic>,
    &make<TProyeccionAlbers>,
    &make<TProyeccionECEF>,
};

}  // namespace

TListaProyecciones::TListaProyecciones() {
  projections_.reserve(kRegistry.size());
  for (const Factory factory : kRegistry) projections_.add(factory());
}

int TListaProyecciones::findByShortName(std::string_view name) const {
  for (int i = 0; i < size(); ++i)
    if (equalsIgnoreCase(projection(i).shortName(), trim(name))) return i;
  return -1;
}

bool TListaProyecciones::addTransverseMercatorFile(const std::filesystem::path& file, std::string& message) {
  auto projection = std::make_unique<TProyeccion_TM_File>();
  if (!projection->load(file, message)) return false;
  projections_.add(std::move(projection));
  return true;
}

std::unique_ptr<TProyeccion> TListaProyecciones::create(std::string_view nameOrFile, std::string& message) const {
  const int index = findByShortName(nameOrFile);
  if (index >= 0) return projection(index).clone();
  std::error_code error;
  const std::filesystem::path file{std::string(nameOrFile)};
  if (std::filesystem::is_regular_file(file, error)) {
    auto fromFile = std::make_unique<TProyeccion_TM_File>();
    if (fromFile->load(file, message)) return fromFile;
    return nullptr;
  }
  appendMessage(message, "Unknown projection: " + std::string(nameOrFile));
  return nullptr;
}

}  // namespace pixtrail
