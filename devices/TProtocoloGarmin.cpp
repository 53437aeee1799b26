#include "devices/TProtocoloGarmin.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

#include "core/byte_order.hpp"
#include "devices/TGarminIcons.hpp"
#include "tracks/track_datum.hpp"

namespace pixtrail {

namespace {

using namespace garmin_pid;

constexpr int kWaitAfterSendMs = 5;
constexpr int kIdentifyPauseMs = 200;
constexpr int kTransactionFirstRead = 7;
constexpr int kReceiveFirstRead = 8;
constexpr int kTrackPointAttempts = 3;
// The largest serial frame: every byte between the DLEs stuffed.
constexpr int kMaxSerialFrame = 2 * (255 + 3) + 3;

void pause(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

std::string u16Data(std::uint16_t value) {
  std::string data;
  appendU16(data, value, ByteOrder::little);
  return data;
}

std::uint16_t u16At(const std::string& data, std::size_t at = 0) {
  return readU16(reinterpret_cast<const unsigned char*>(data.data() + at), ByteOrder::little);
}

std::string decimalDump(std::string_view bytes) {
  std::string dump;
  for (const unsigned char c : bytes) dump += std::to_string(c) + " ";
  return dump;
}

void raiseIfNak(const TPaqueteDatosGarmin& packet) {
  if (packet.id == kNak && !packet.usbLayer) throw TErrorPr("NAK " + packet.describe(), packet.describe());
}

}  // namespace

TProtocoloGarmin::TProtocoloGarmin(TPuertoCom& port, GarminSettings settings)
    : port_(&port), settings_(std::move(settings)) {}

TProtocoloGarmin::TProtocoloGarmin(GarminUsbLink& usb, GarminSettings settings)
    : usb_(&usb), settings_(std::move(settings)) {}

// ---- link level ----

void TProtocoloGarmin::sendPacket(const TPaqueteDatosGarmin& packet, bool purgeFirst) {
  if (usb_) {
    usb_->writeBulk(usbFrame(packet));
    return;
  }
  if (purgeFirst) port_->purge();
  const std::string frame = serialFrame(packet);
  port_->write(frame.data(), frame.size());
}

TPaqueteDatosGarmin TProtocoloGarmin::transaction(const TPaqueteDatosGarmin& packet) {
  sendPacket(packet);
  if (usb_) return receiveUsb(settings_.timeoutMs);
  pause(kWaitAfterSendMs);
  return receiveSerial(kTransactionFirstRead, settings_.timeoutMs);
}

TPaqueteDatosGarmin TProtocoloGarmin::receive(int timeoutMs) {
  const int timeout = timeoutMs > 0 ? timeoutMs : settings_.timeoutMs;
  return usb_ ? receiveUsb(timeout) : receiveSerial(kReceiveFirstRead, timeout);
}

TPaqueteDatosGarmin TProtocoloGarmin::receiveSerial(int firstRead, int timeoutMs) {
  char buffer[kMaxSerialFrame + 1];
  const int got = port_->read(timeoutMs, buffer, firstRead, true);
  if (got == 0) throw TErrorPrNoResponde("No contesta");
  if (got < 3) throw TErrorPr("Mensaje RX corto");
  if (static_cast<unsigned char>(buffer[0]) != kDle)
    throw TErrorPr("Comunication error: A Garmin serial packet does not starts with DLE");
  std::string frame(buffer, static_cast<std::size_t>(got));
  SerialFrameScanner scanner;
  for (;;) {
    const std::size_t expected = scanner.scan(frame);
    if (expected < frame.size())
      throw TErrorPr("No Calculo bien los faltan " + std::to_string(expected) + " " + std::to_string(frame.size()),
                     decimalDump(frame));
    const std::size_t missing = expected - frame.size();
    if (missing == 0) break;
    if (frame.size() + missing > static_cast<std::size_t>(kMaxSerialFrame))
      throw TErrorPr("Paquete de longitud discordante " + std::to_string(expected) + " " + std::to_string(frame.size()));
    const int more = port_->read(timeoutMs, buffer, static_cast<int>(missing), true);
    if (more == 0) throw TErrorPr("Mensaje RX corto, en bucle Transrec");
    frame.append(buffer, static_cast<std::size_t>(more));
  }
  TPaqueteDatosGarmin packet = decodeSerialFrame(frame);
  raiseIfNak(packet);
  return packet;
}

TPaqueteDatosGarmin TProtocoloGarmin::readInterruptPacket(int timeoutMs) {
  std::string bytes;
  char chunk[kGarminInterruptPacketSize];
  for (;;) {
    const int got = usb_->readInterrupt(chunk, kGarminInterruptPacketSize, timeoutMs);
    if (got < 0) throw TErrorPr("Error Recibe_USB");
    if (got == 0 && bytes.empty()) throw TErrorPrNoResponde("No contesta");
    bytes.append(chunk, static_cast<std::size_t>(got));
    if (got < kGarminInterruptPacketSize) break;
  }
  return decodeUsbPacket(bytes);
}

TPaqueteDatosGarmin TProtocoloGarmin::receiveUsb(int timeoutMs) {
  std::string bulk(kGarminBulkReadSize, '\0');
  if (bulkPending_) {
    const int got = usb_->readBulk(bulk.data(), kGarminBulkReadSize, timeoutMs);
    if (got > 0) {
      TPaqueteDatosGarmin packet = decodeUsbPacket(std::string_view(bulk).substr(0, static_cast<std::size_t>(got)));
      raiseIfNak(packet);
      return packet;
    }
    bulkPending_ = false;
  }
  TPaqueteDatosGarmin packet = readInterruptPacket(timeoutMs);
  if (!(packet.usbLayer && packet.id == kUsbDataAvailable)) {
    raiseIfNak(packet);
    return packet;
  }
  // "Data available": the answer waits on the bulk pipe; one more interrupt read is allowed when
  // the bulk pipe has nothing yet.
  for (int attempt = 0; attempt < 2; ++attempt) {
    const int got = usb_->readBulk(bulk.data(), kGarminBulkReadSize, timeoutMs);
    if (got > 0) {
      bulkPending_ = true;
      packet = decodeUsbPacket(std::string_view(bulk).substr(0, static_cast<std::size_t>(got)));
      raiseIfNak(packet);
      return packet;
    }
    if (attempt == 0) {
      packet = readInterruptPacket(timeoutMs);
      if (!(packet.usbLayer && packet.id == kUsbDataAvailable)) {
        raiseIfNak(packet);
        return packet;
      }
    }
  }
  throw TErrorPr("usb error 02 null 2 times");
}

void TProtocoloGarmin::acknowledge(std::uint16_t id) { sendPacket(TPaqueteDatosGarmin(kAck, u16Data(id))); }

void TProtocoloGarmin::sendExpectingAck(const TPaqueteDatosGarmin& packet, const char* noAckMessage) {
  if (usb_) {
    sendPacket(packet);
    return;
  }
  TPaqueteDatosGarmin answer;
  try {
    answer = transaction(packet);
  } catch (const TErrorPrNoResponde&) {
    throw TErrorPrNoResponde(noAckMessage, packet.describe());
  }
  if (answer.id != kAck) throw TErrorPr(noAckMessage, answer.describe());
}

void TProtocoloGarmin::sendCommand(std::uint16_t code) {
  sendExpectingAck(TPaqueteDatosGarmin(kCommandData, u16Data(code)), "No hay respuesta ACK al enviar Orden");
}

TPaqueteDatosGarmin TProtocoloGarmin::receiveAcked(int timeoutMs) {
  checkCancel();
  TPaqueteDatosGarmin packet = receive(timeoutMs);
  if (!packet.usbLayer && packet.id != kAck) acknowledge(packet.id);  // an ACK is never acknowledged
  return packet;
}

std::uint16_t TProtocoloGarmin::receiveRecordCount() {
  // A serial unit may repeat the ACK of the command before the records packet.
  TPaqueteDatosGarmin packet = receiveAcked();
  while (packet.id == kAck) packet = receive();
  if (packet.id != kRecords || packet.data.size() < 2) throw TErrorPr("Error en la recepción del número de paquetes", packet.describe());
  return u16At(packet.data);
}

void TProtocoloGarmin::sendRecordCount(std::size_t count) {
  sendExpectingAck(TPaqueteDatosGarmin(kRecords, u16Data(static_cast<std::uint16_t>(count))),
                   "No hay respuesta ACK al enviar Orden");
}

void TProtocoloGarmin::sendTransferComplete(std::uint16_t command) {
  try {
    sendExpectingAck(TPaqueteDatosGarmin(kXferCmplt, u16Data(command)), "Error en Envia_Transfer_Complete");
  } catch (const TErrorPrNoResponde& e) {
    throw TErrorPr("Error en Envia_Transfer_Complete", e.detail());
  }
}

void TProtocoloGarmin::checkCancel() const {
  if (settings_.cancelled && settings_.cancelled()) throw TErrorPr("Transfer cancelled");
}

void TProtocoloGarmin::report(std::size_t done, std::size_t total) const {
  if (settings_.progress) settings_.progress(done, total);
}

void TProtocoloGarmin::requireIdentified() {
  if (!identified_) identify();
}

// ---- identification ----

GarminProduct TProtocoloGarmin::identify() {
  GarminProduct product;
  if (usb_) {
    sendPacket(TPaqueteDatosGarmin(kUsbStartSession, {}, true));
    try {
      receiveUsb(settings_.timeoutMs);  // session started
    } catch (const TErrorPrNoResponde&) {
    }
  } else {
    // A line that echoes would make every later answer look like our own request.
    const TPaqueteDatosGarmin probe(kAck, std::string("\xFE\x00", 2));
    sendPacket(probe, true);
    pause(kWaitAfterSendMs);
    try {
      if (receiveSerial(kTransactionFirstRead, std::min(settings_.timeoutMs, kIdentifyPauseMs)) == probe)
        throw TErrorPr("Error: the line echoes what is sent");
    } catch (const TErrorPrNoResponde&) {
    }
    checkCancel();
    pause(kIdentifyPauseMs);
    port_->purge();
  }

  sendPacket(TPaqueteDatosGarmin(kProductRqst));
  TPaqueteDatosGarmin packet = receive();
  while (packet.id == kAck || (packet.usbLayer && packet.id == kUsbDataAvailable)) packet = receive();
  if (packet.id != kProductData) throw TErrorPr("Error en el Pid_Product_Data", packet.describe());
  if (!packet.usbLayer && !usb_) acknowledge(packet.id);
  if (packet.data.size() < 4) throw TErrorPr("Error en el Pid_Product_Data", packet.describe());
  product.productId = u16At(packet.data);
  product.softwareVersion = static_cast<std::int16_t>(u16At(packet.data, 2));
  for (std::size_t at = 4; at < packet.data.size();) {
    const std::string text = readGarminString(packet.data, at);
    if (text.empty()) continue;
    if (!product.description.empty()) product.description += ' ';
    product.description += text;
  }

  Capacidades_garmin caps;
  bool haveArray = false;
  bool askedAgain = false;
  for (;;) {
    try {
      packet = receive();
    } catch (const TErrorPrNoResponde&) {
      if (askedAgain) break;
      // Some units wait for the ACK of the product data before they go on.
      askedAgain = true;
      acknowledge(kProductData);
      pause(kIdentifyPauseMs);
      continue;
    }
    if (!usb_) acknowledge(packet.id);
    if (packet.id == kExtProductData) {
      for (std::size_t at = 0; at < packet.data.size();) {
        const std::string text = readGarminString(packet.data, at);
        if (!text.empty()) product.description += "; " + text;
      }
      continue;
    }
    if (packet.id != kProtocolArray) throw TErrorPr("Error en el Pid_Product_Array", packet.describe());
    for (std::size_t at = 0; at + 3 <= packet.data.size(); at += 3) {
      const char tag = packet.data[at];
      const int number = u16At(packet.data, at + 1);
      char entry[16];
      std::snprintf(entry, sizeof entry, "%c%03d", tag, number);
      if (!product.protocols.empty()) product.protocols += ' ';
      product.protocols += entry;
      caps.apply(tag, number);
    }
    haveArray = true;
    break;
  }
  caps.productId = product.productId;

  if (!settings_.capabilityCache.empty()) {
    GarminCapabilityCache cache(settings_.capabilityCache);
    std::string message;
    const bool loaded = cache.load(message);
    if (haveArray) {
      cache.store(caps);
      if (!cache.save(message) && settings_.log) settings_.log(message);
    } else if (loaded) {
      if (const auto cached = cache.find(product.productId)) {
        caps = *cached;
        product.fromCache = true;
      }
    }
  }
  product.capabilities = caps;
  product_ = product;
  identified_ = true;
  return product;
}

// ---- waypoints ----

GarminWaypoint TProtocoloGarmin::toWire(const TBaliza& b) const {
  GarminWaypoint w;
  const TCoord wgs = toFileDatum(b.position, kDatumWgs84);
  w.ident = b.name;
  w.comment = b.description;
  w.lat = wgs.lat;
  w.lon = wgs.lon;
  w.altM = b.position.alt;
  w.proximityM = b.displayValue4;
  w.symbol = TGarminIcons::numberForSymbol(b.symbol);
  return w;
}

TBaliza TProtocoloGarmin::fromWire(const GarminWaypoint& w) const {
  TBaliza b;
  b.name = w.ident;
  b.description = w.comment;
  TCoord wgs{w.lon, w.lat, w.altM};
  b.position = fromFileDatum(wgs, kDatumWgs84);
  b.position.alt = w.altM;
  b.symbol = TGarminIcons::symbolForNumber(w.symbol);
  b.displayValue4 = w.proximityM;
  return b;
}

void TProtocoloGarmin::receiveWaypoints(TBalizas& out) {
  requireIdentified();
  const Capacidades_garmin& caps = product_.capabilities;
  sendCommand(garmin_cmd::kXferWpt);
  const std::size_t count = receiveRecordCount();
  std::size_t done = 0;
  for (;;) {
    const TPaqueteDatosGarmin packet = receiveAcked();
    if (packet.id == kXferCmplt) break;
    if (packet.id != kWptData) throw TErrorPr("Error en un paquete, Bajar Balizas", packet.describe());
    if (caps.L0XX != 1) throw TErrorPr("Error en L0XX en Pid_Wpt_Data()");
    out.waypoints.emplace(fromWire(decodeWaypoint(caps.D1XX, packet.data)));
    report(++done, count);
  }
}

std::size_t TProtocoloGarmin::sendWaypoints(const TBalizas& waypoints) {
  requireIdentified();
  const int type = product_.capabilities.D1XX;
  std::vector<std::string> records;
  for (std::size_t i = 0; i < waypoints.waypoints.size(); ++i)
    records.push_back(encodeWaypoint(type, toWire(waypoints.waypoints[i])));
  sendRecordCount(records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    checkCancel();
    sendExpectingAck(TPaqueteDatosGarmin(kWptData, records[i]), "No hay respuesta al enviar baliza");
    report(i + 1, records.size());
  }
  sendTransferComplete(garmin_cmd::kXferWpt);
  return records.size();
}

// ---- routes ----

void TProtocoloGarmin::receiveRoutes(TRutas& out) {
  requireIdentified();
  const Capacidades_garmin& caps = product_.capabilities;
  sendCommand(garmin_cmd::kXferRte);
  const std::size_t count = receiveRecordCount();
  TRuta* route = nullptr;
  std::size_t done = 0;
  for (;;) {
    const TPaqueteDatosGarmin packet = receiveAcked();
    if (packet.id == kXferCmplt) break;
    if (packet.id == kRteHdr) {
      const GarminRouteHeader h = decodeRouteHeader(caps.D20X, packet.data);
      route = &out.routes.emplace();
      route->name = h.ident.empty() ? "Route " + std::to_string(h.number) : h.ident;
    } else if (packet.id == kRteWptData) {
      if (caps.L0XX != 1) throw TErrorPr("Error en L0XX en Pid_Rte_Wpt_Data()");
      if (!route) route = &out.routes.emplace();
      route->waypoints.emplace(fromWire(decodeWaypoint(caps.D1XX, packet.data)));
    } else if (packet.id == kRteLinkData) {
      decodeRouteLink(caps.D21X > 0 ? caps.D21X : 210, packet.data);
    } else {
      throw TErrorPr("Error en Pid al recibir paquete de ruta", packet.describe());
    }
    report(++done, count);
  }
}

std::size_t TProtocoloGarmin::sendRoutes(const TRutas& routes) {
  requireIdentified();
  const Capacidades_garmin& caps = product_.capabilities;
  const bool links = caps.A2XX == 201;
  std::vector<TPaqueteDatosGarmin> packets;
  for (std::size_t r = 0; r < routes.routes.size(); ++r) {
    const TRuta& route = routes.routes[r];
    GarminRouteHeader h;
    h.number = static_cast<std::uint8_t>(r);
    h.ident = route.name;
    packets.emplace_back(kRteHdr, encodeRouteHeader(caps.D20X, h));
    for (std::size_t i = 0; i < route.waypoints.size(); ++i) {
      if (links && i > 0) packets.emplace_back(kRteLinkData, encodeRouteLink(caps.D21X > 0 ? caps.D21X : 210, {}));
      packets.emplace_back(kRteWptData, encodeWaypoint(caps.D1XX, toWire(route.waypoints[i])));
    }
  }
  sendRecordCount(packets.size());
  for (std::size_t i = 0; i < packets.size(); ++i) {
    checkCancel();
    sendExpectingAck(packets[i], "No hay respuesta al enviar baliza");
    report(i + 1, packets.size());
  }
  sendTransferComplete(garmin_cmd::kXferRte);
  return routes.routes.size();
}

// ---- tracks ----

void TProtocoloGarmin::receiveTracks(std::vector<TVolGPS>& out) {
  requireIdentified();
  const Capacidades_garmin& caps = product_.capabilities;
  sendCommand(garmin_cmd::kXferTrk);
  const std::size_t count = receiveRecordCount();
  std::vector<TVolGPS> tracks;
  TVolGPS* track = nullptr;
  bool newSegment = true;
  std::size_t done = 0;
  for (;;) {
    const TPaqueteDatosGarmin packet = receiveAcked();
    if (packet.id == kXferCmplt) break;
    if (packet.id == kTrkHdr) {
      const GarminTrackHeader h = decodeTrackHeader(caps.D31X, packet.data);
      track = &tracks.emplace_back();
      track->headerText('P') = h.ident;
      newSegment = true;
    } else if (packet.id == kTrkData) {
      const GarminTrackPoint g = decodeTrackPoint(caps.D30X, packet.data);
      if (!track) {
        track = &tracks.emplace_back();
        track->headerText('P') = "ACTIVE LOG";
      }
      if (!g.validPosition) {
        newSegment = true;
        continue;
      }
      auto point = std::make_unique<TPuntVol>();
      point->position = fromFileDatum(TCoord{g.lon, g.lat, g.altM}, kDatumWgs84);
      point->setAltitude(g.altM);
      if (hasAltitude(g.altM)) point->gpsAltitudeM = g.altM;
      point->time = TPuntTiempo::fromRecord(recordFromGarminTime(g.time));
      point->segmentStart = (newSegment || g.newTrack) ? 1 : 0;
      if (g.heartRate > 0) point->heartRate = g.heartRate;
      if (g.cadence != 0xFF) point->cadenceRpm = g.cadence;
      if (caps.D30X == 302) point->temperatureC = g.temperatureC;
      point->stateFlags = TPuntVol::kValidData;
      track->points.add(std::move(point));
      newSegment = false;
    } else {
      throw TErrorPr("Error en un paquete, Bajar Tracks", packet.describe());
    }
    report(++done, count);
  }
  if (tracks.empty()) throw TErrorPr("No trk sections in this GPS!");
  std::string message;
  for (auto& t : tracks) {
    if (!t.points.empty()) t.points[0].segmentStart = 1;
    t.Recalculate(TrackSettings{}, message);
    out.push_back(std::move(t));
  }
}

std::size_t TProtocoloGarmin::sendTracks(const std::vector<const TVolGPS*>& tracks) {
  requireIdentified();
  const Capacidades_garmin& caps = product_.capabilities;
  const bool headers = caps.A3XX == 301 || caps.A3XX == 302;
  const int headerType = caps.D31X > 0 ? caps.D31X : 310;
  std::vector<TPaqueteDatosGarmin> packets;
  for (std::size_t t = 0; t < tracks.size(); ++t) {
    const TVolGPS& track = *tracks[t];
    if (headers) {
      GarminTrackHeader h;
      h.ident = track.headerText('P').empty() ? "TRACK " + std::to_string(t + 1) : track.headerText('P');
      h.index = static_cast<std::uint16_t>(t);
      packets.emplace_back(kTrkHdr, encodeTrackHeader(headerType, h));
    }
    for (std::size_t i = 0; i < track.points.size(); ++i) {
      const TPuntVol& p = track.points[i];
      GarminTrackPoint g;
      const TCoord wgs = toFileDatum(p.position, kDatumWgs84);
      g.lat = wgs.lat;
      g.lon = wgs.lon;
      g.altM = p.altitude(true);
      g.time = garminTimeFromRecord(p.time.toRecord());
      g.newTrack = i == 0 || p.segmentStart != 0;
      g.heartRate = p.heartRate > 0 && p.heartRate < 256 ? static_cast<std::uint8_t>(p.heartRate) : 0;
      g.cadence = p.cadenceRpm >= 0 && p.cadenceRpm < 255 ? static_cast<std::uint8_t>(p.cadenceRpm) : 0xFF;
      g.temperatureC = p.temperatureC;
      packets.emplace_back(kTrkData, encodeTrackPoint(caps.D30X, g));
    }
  }
  sendRecordCount(packets.size());
  for (std::size_t i = 0; i < packets.size(); ++i) {
    checkCancel();
    for (int attempt = 1;; ++attempt) {
      try {
        sendExpectingAck(packets[i], "No hay respuesta ACK al enviar Orden");
        break;
      } catch (const TErrorPr&) {
        if (packets[i].id != kTrkData || attempt >= kTrackPointAttempts) throw;
        if (settings_.log) settings_.log("Reintento Envio Punto track " + std::to_string(i));
      }
    }
    report(i + 1, packets.size());
  }
  sendTransferComplete(garmin_cmd::kXferTrk);
  return tracks.size();
}

void TProtocoloGarmin::sendRecords(const std::vector<TPaqueteDatosGarmin>& packets, std::uint16_t command) {
  sendRecordCount(packets.size());
  for (std::size_t i = 0; i < packets.size(); ++i) {
    checkCancel();
    sendExpectingAck(packets[i], "No hay respuesta ACK al enviar Orden");
    report(i + 1, packets.size());
  }
  sendTransferComplete(command);
}

std::vector<GarminCourse> TProtocoloGarmin::receiveCourses() {
  requireIdentified();
  sendCommand(garmin_cmd::kXferCourses);
  const std::size_t count = receiveRecordCount();
  std::vector<GarminCourse> courses;
  for (std::size_t done = 0;;) {
    const TPaqueteDatosGarmin packet = receiveAcked();
    if (packet.id == kXferCmplt) break;
    if (packet.id != kCourse) throw TErrorPr("Estructura Garmin desconocida D1006", packet.describe());
    courses.push_back(decodeCourse(packet.data));
    report(++done, count);
  }
  return courses;
}

void TProtocoloGarmin::sendCourse(const TVolGPS& track) {
  requireIdentified();
  sendCommand(garmin_cmd::kXferCourseLimits);
  const TPaqueteDatosGarmin limitsPacket = receiveAcked();
  if (limitsPacket.id != kCourseLimits) throw TErrorPr("Estructura Garmin desconocida D1013", limitsPacket.describe());
  const GarminCourseLimits limits = decodeCourseLimits(limitsPacket.data);
  const std::vector<GarminCourse> onUnit = receiveCourses();
  std::vector<std::string> names;
  std::uint16_t nextTrack = 0;
  for (const auto& c : onUnit) {
    names.push_back(c.name);
    nextTrack = std::max<std::uint16_t>(nextTrack, static_cast<std::uint16_t>(c.trackIndex + 1));
  }
  checkCourse(track, names, limits.maxCourses > onUnit.size() ? limits.maxCourses - onUnit.size() : 0);
  if (track.points.empty()) return;

  GarminCourse course;
  course.index = static_cast<std::uint16_t>(onUnit.size());
  course.name = track.headerText('P');
  course.trackIndex = nextTrack;
  sendRecords({TPaqueteDatosGarmin(kCourse, encodeCourse(course))}, garmin_cmd::kXferCourses);

  const TCoord first = toFileDatum(track.points[0].position, kDatumWgs84);
  const TCoord last = toFileDatum(track.points.back().position, kDatumWgs84);
  DateTimeValue start = 0, end = 0;
  track.points[0].time.toValue(start);
  track.points.back().time.toValue(end);
  GarminCourseLap lap;
  lap.courseIndex = course.index;
  lap.totalTimeCs = static_cast<std::uint32_t>(std::max(0.0, std::round((end - start) * kSecondsPerDay * 100.0)));
  lap.totalDistanceM = static_cast<float>(track.summary().distanceM);
  lap.beginLat = first.lat;
  lap.beginLon = first.lon;
  lap.endLat = last.lat;
  lap.endLon = last.lon;
  sendRecords({TPaqueteDatosGarmin(kCourseLap, encodeCourseLap(lap))}, garmin_cmd::kXferCourseLaps);

  std::vector<TPaqueteDatosGarmin> packets;
  GarminTrackHeader header;
  header.index = nextTrack;
  packets.emplace_back(kCourseTrkHdr, encodeTrackHeader(311, header));
  for (std::size_t i = 0; i < track.points.size(); ++i) {
    const TPuntVol& p = track.points[i];
    const TCoord wgs = toFileDatum(p.position, kDatumWgs84);
    GarminTrackPoint g;
    g.lat = wgs.lat;
    g.lon = wgs.lon;
    g.altM = p.altitude(true);
    g.time = garminTimeFromRecord(p.time.toRecord());
    g.distanceM = p.distanceFromStartM;
    packets.emplace_back(kCourseTrkData, encodeTrackPoint(304, g));
  }
  sendRecords(packets, garmin_cmd::kXferCourseTracks);
}

void TProtocoloGarmin::checkCourse(const TVolGPS& track, const std::vector<std::string>& onUnit, std::size_t room) {
  for (std::size_t i = 0; i < track.points.size(); ++i) {
    DateTimeValue value = 0;
    if (!track.points[i].time.toValue(value)) throw TErrorPr("Tracks must have a correct time to be sent as a course");
  }
  const std::string& name = track.headerText('P');
  for (const auto& existing : onUnit)
    if (existing == name) throw TErrorPr("Error: Track cannot be sent, the track name is repeated: " + name);
  if (room == 0) throw TErrorPr("No more courses fit in the GPS. Please, first delete some courses");
}

// ---- date, position, PVT ----

DateTimeRecord TProtocoloGarmin::readDateTime() {
  requireIdentified();
  sendCommand(garmin_cmd::kXferTime);
  const TPaqueteDatosGarmin packet = receiveAcked();
  if (packet.id != kDateTimeData) throw TErrorPr("Error en el Pid, != Pid_Date_Time_Data", packet.describe());
  return decodeDateTime(product_.capabilities.D60X, packet.data);
}

TCoord TProtocoloGarmin::readPosition() {
  requireIdentified();
  sendCommand(garmin_cmd::kXferPosn);
  const TPaqueteDatosGarmin packet = receiveAcked();
  if (packet.id != kPositionData) throw TErrorPr("Error en el Pid, != L001::Pid_Position_Data", packet.describe());
  const int type = product_.capabilities.D70X > 0 ? product_.capabilities.D70X : 700;
  return fromFileDatum(decodePosition(type, packet.data), kDatumWgs84);
}

void TProtocoloGarmin::startPvt() {
  requireIdentified();
  sendCommand(garmin_cmd::kStartPvt);
}

GarminPvt TProtocoloGarmin::readPvt() {
  const TPaqueteDatosGarmin packet = receiveAcked();
  if (packet.id != kPvtData) throw TErrorPr("Error, no se recibe paquete PVT (1)", packet.describe());
  const int type = product_.capabilities.D80X > 0 ? product_.capabilities.D80X : 800;
  return decodePvt(type, packet.data);
}

void TProtocoloGarmin::stopPvt() {
  const TPaqueteDatosGarmin stop(kCommandData, u16Data(garmin_cmd::kStopPvt));
  sendPacket(stop);
  if (usb_) return;
  // Fixes already on the way arrive before the ACK; they are acknowledged and let go.
  constexpr int kFixesInFlight = 10;
  for (int i = 0; i < kFixesInFlight; ++i) {
    TPaqueteDatosGarmin packet;
    try {
      packet = receive();
    } catch (const TErrorPrNoResponde&) {
      throw TErrorPrNoResponde("No hay respuesta ACK al enviar Orden", stop.describe());
    }
    if (packet.id == kAck) return;
    acknowledge(packet.id);
  }
  throw TErrorPr("No hay respuesta ACK al enviar Orden", stop.describe());
}

void TProtocoloGarmin::turnOff() { sendPacket(TPaqueteDatosGarmin(kCommandData, u16Data(garmin_cmd::kTurnOffPwr))); }

bool detectGarmin(TPuertoCom& port, std::string& product, int timeoutMs) {
  GarminSettings settings;
  settings.timeoutMs = timeoutMs;
  try {
    TProtocoloGarmin garmin(port, settings);
    product = garmin.identify().description;
    return true;
  } catch (const TErrorPr&) {
    return false;
  }
}

}  // namespace pixtrail
