#pragma once
// Reads a large XML file piecewise, so that a 100 MB track never sits in memory whole. The outer
// elements named as containers (gpx, trk, trkseg, rte in GPX) are walked tag by tag; every other
// element is cut out whole and parsed by pugixml, many siblings in one fragment, and handed over
// as a node. Text and attributes of containers are not kept.
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace pixtrail {

class XmlElementHandler {
 public:
  virtual ~XmlElementHandler() = default;
  virtual void containerStart(std::string_view localName) = 0;
  virtual void containerEnd(std::string_view localName) = 0;
  // A whole element below the containers; `depth` counts the containers open around it.
  virtual void element(const pugi::xml_node& node, int depth) = 0;
};

struct XmlStreamOptions {
  // Local names (no namespace prefix) walked tag by tag instead of handed over whole.
  std::function<bool(std::string_view)> isContainer;
  std::size_t readChunkBytes = 1 << 20;
};

// Reads until the end of `file`. False with a message naming `fileName` on malformed XML; the
// handler has then seen everything up to the fault.
bool streamXmlElements(std::FILE* file, const std::string& fileName, const XmlStreamOptions& options,
                       XmlElementHandler& handler, std::string& message);

// The name after any namespace prefix.
std::string_view localName(const char* qualifiedName);

// First child element with this local name, or an empty node.
pugi::xml_node childByLocalName(const pugi::xml_node& node, std::string_view name);

}  // namespace pixtrail
