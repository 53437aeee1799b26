#include "tracks/xml_element_stream.hpp"

#include <cstring>
#include <vector>

#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {

std::string_view localName(const char* qualifiedName) {
  const char* colon = std::strrchr(qualifiedName, ':');
  return colon ? std::string_view(colon + 1) : std::string_view(qualifiedName);
}

pugi::xml_node childByLocalName(const pugi::xml_node& node, std::string_view name) {
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling())
    if (child.type() == pugi::node_element && localName(child.name()) == name) return child;
  return {};
}

namespace {

// A fragment this large is parsed at once; it bounds the memory beside the points themselves.
constexpr std::size_t kBatchBytes = 4 << 20;

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool endsName(char c) { return isSpace(c) || c == '/' || c == '>'; }

class Reader {
 public:
  Reader(std::FILE* file, const std::string& fileName, const XmlStreamOptions& options,
         XmlElementHandler& handler, std::string& message)
      : file_(file), fileName_(fileName), options_(options), handler_(handler), message_(message) {}

  bool run() {
    if (!skipByteOrderMark()) return false;
    for (;;) {
      compact();
      std::size_t lt = 0;
      if (!find(pos_, "<", lt)) break;
      pos_ = lt;
      if (!available(pos_ + 2)) return fail("unexpected end of file");
      const char next = buf_[pos_ + 1];
      bool ok = false;
      if (next == '?') ok = skipDeclaration();
      else if (startsWith(pos_, "<!--")) ok = skipPast(pos_, "-->");
      else if (next == '!') ok = skipDoctypeOrCdata();
      else if (next == '/') ok = endTag();
      else ok = startTag();
      if (!ok) return false;
    }
    if (!stack_.empty()) return fail("unexpected end of file inside <" + stack_.back() + ">");
    if (!sawElement_) return fail("no XML element found");
    return true;
  }

 private:
  bool fail(const std::string& what) {
    appendMessage(message_, fileName_ + ": malformed XML: " + what);
    return false;
  }

  bool readMore() {
    if (eof_) return false;
    const std::size_t old = buf_.size();
    buf_.resize(old + options_.readChunkBytes);
    const std::size_t got = std::fread(buf_.data() + old, 1, options_.readChunkBytes, file_);
    buf_.resize(old + got);
    if (got == 0) eof_ = true;
    return got > 0;
  }

  bool available(std::size_t endIndex) {
    while (buf_.size() < endIndex)
      if (!readMore()) return false;
    return true;
  }

  void compact() {
    if (pos_ == 0) return;
    buf_.erase(buf_.begin(), buf_.begin() + static_cast<std::ptrdiff_t>(pos_));
    pos_ = 0;
  }

  bool startsWith(std::size_t at, std::string_view text) {
    return available(at + text.size()) && std::string_view(buf_.data() + at, text.size()) == text;
  }

  // Finds `needle` at or after `from`, reading on as needed.
  bool find(std::size_t from, std::string_view needle, std::size_t& at) {
    std::size_t searchFrom = from;
    for (;;) {
      const std::string_view hay(buf_.data(), buf_.size());
      const std::size_t hit = hay.find(needle, searchFrom);
      if (hit != std::string_view::npos) {
        at = hit;
        return true;
      }
      if (buf_.size() >= needle.size()) searchFrom = std::max(from, buf_.size() - needle.size() + 1);
      if (!readMore()) return false;
    }
  }

  bool skipPast(std::size_t from, std::string_view terminator) {
    std::size_t at = 0;
    if (!find(from, terminator, at)) return fail("unterminated markup");
    pos_ = at + terminator.size();
    return true;
  }

  bool skipByteOrderMark() {
    if (startsWith(0, "\xEF\xBB\xBF")) pos_ = 3;
    else if (startsWith(0, "\xFF\xFE") || startsWith(0, "\xFE\xFF"))
      return fail("UTF-16 text is not read; save the file as UTF-8");
    return true;
  }

  bool skipDeclaration() {
    std::size_t end = 0;
    if (!find(pos_, "?>", end)) return fail("unterminated declaration");
    const std::string_view decl(buf_.data() + pos_, end - pos_);
    if (decl.starts_with("<?xml")) {
      const std::size_t e = decl.find("encoding");
      if (e != std::string_view::npos) {
        const std::size_t q = decl.find_first_of("\"'", e);
        const std::size_t q2 = q == std::string_view::npos ? q : decl.find(decl[q], q + 1);
        if (q2 != std::string_view::npos) {
          const std::string_view enc = decl.substr(q + 1, q2 - q - 1);
          // pugixml converts Latin-1 to UTF-8; Windows-1252 differs only in rarely used signs.
          if (startsWithIgnoreCase(enc, "ISO-8859") || equalsIgnoreCase(enc, "latin1") ||
              equalsIgnoreCase(enc, "windows-1252"))
            encoding_ = pugi::encoding_latin1;
        }
      }
    }
    pos_ = end + 2;
    return true;
  }

  bool skipDoctypeOrCdata() {
    if (startsWith(pos_, "<![CDATA[")) return skipPast(pos_, "]]>");
    // A DOCTYPE with an internal subset ends at "]>".
    std::size_t gt = 0, bracket = 0;
    if (!find(pos_, ">", gt)) return fail("unterminated declaration");
    const std::string_view head(buf_.data() + pos_, gt - pos_);
    if (head.find('[') != std::string_view::npos && find(pos_, "]>", bracket)) {
      pos_ = bracket + 2;
      return true;
    }
    pos_ = gt + 1;
    return true;
  }

  // The '>' closing the tag that opens at `at`, quotes respected.
  bool tagEnd(std::size_t at, std::size_t& gt) {
    char quote = 0;
    for (std::size_t i = at + 1;; ++i) {
      if (!available(i + 1)) return fail("unterminated tag");
      const char c = buf_[i];
      if (quote) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == '>') {
        gt = i;
        return true;
      }
    }
  }

  // The qualified name of the tag opening at `at` ("<name" or "</name"); false when the buffer
  // ends inside the name and `mayRead` is off.
  bool tagName(std::size_t at, bool mayRead, std::string& name) {
    std::size_t i = at + 1;
    if (i < buf_.size() && buf_[i] == '/') ++i;
    const std::size_t start = i;
    for (;; ++i) {
      if (i >= buf_.size() && !(mayRead && available(i + 1))) return false;
      if (endsName(buf_[i])) break;
    }
    name.assign(buf_.data() + start, i - start);
    return !name.empty();
  }

  bool isContainer(const std::string& qname) {
    return options_.isContainer && options_.isContainer(localName(qname.c_str()));
  }

  bool endTag() {
    std::string name;
    std::size_t gt = 0;
    if (!tagName(pos_, true, name) || !tagEnd(pos_, gt)) return fail("bad end tag");
    if (stack_.empty() || stack_.back() != name) return fail("unexpected </" + name + ">");
    stack_.pop_back();
    handler_.containerEnd(localName(name.c_str()));
    pos_ = gt + 1;
    return true;
  }

  bool startTag() {
    std::string name;
    std::size_t gt = 0;
    if (!tagName(pos_, true, name) || !tagEnd(pos_, gt)) return fail("bad start tag");
    sawElement_ = true;
    if (!isContainer(name)) return batch(name);
    handler_.containerStart(localName(name.c_str()));
    if (buf_[gt - 1] == '/') handler_.containerEnd(localName(name.c_str()));
    else stack_.push_back(name);
    pos_ = gt + 1;
    return true;
  }

  // The end of the elements from `start` that are complete in the buffer and lie before the next
  // container tag of the same level, at most about kBatchBytes; 0 when none is complete yet.
  // A tight scan: this runs over every byte of a large track.
  std::size_t completeSiblings(std::size_t start, bool& hitContainer) {
    const char* const base = buf_.data();
    const char* const end = base + buf_.size();
    const char* p = base + start;
    const char* boundary = nullptr;
    int depth = 0;
    hitContainer = false;
    while (p < end) {
      p = static_cast<const char*>(std::memchr(p, '<', static_cast<std::size_t>(end - p)));
      if (!p || p + 1 >= end) break;
      const char c = p[1];
      const char* close = nullptr;
      if (c == '!' || c == '?') {
        const std::string_view rest(p, static_cast<std::size_t>(end - p));
        const std::string_view terminator =
            rest.starts_with("<!--") ? "-->" : rest.starts_with("<![CDATA[") ? "]]>" : ">";
        const std::size_t at = rest.find(terminator);
        if (at == std::string_view::npos) break;
        p += at + terminator.size();
        if (depth == 0) boundary = p;
        continue;
      }
      if (depth == 0) {
        const char* n = p + (c == '/' ? 2 : 1);
        const char* e = n;
        while (e < end && !endsName(*e)) ++e;
        if (e == end) break;
        if (c == '/' || isContainer(std::string(n, e))) {
          hitContainer = true;
          break;
        }
      }
      char quote = 0;
      for (close = p + 1; close < end; ++close) {
        if (quote) {
          if (*close == quote) quote = 0;
        } else if (*close == '"' || *close == '\'') {
          quote = *close;
        } else if (*close == '>') {
          break;
        }
      }
      if (close == end) break;
      if (c == '/') --depth;
      else if (close[-1] != '/') ++depth;
      p = close + 1;
      if (depth == 0) {
        boundary = p;
        if (static_cast<std::size_t>(p - (base + start)) >= kBatchBytes) break;
      }
    }
    return boundary ? static_cast<std::size_t>(boundary - base) : 0;
  }

  // Cuts out the element at pos_ and the sibling elements following it that are complete in the
  // buffer, and parses them as one fragment.
  bool batch(const std::string& name) {
    const std::size_t start = pos_;
    std::size_t cursor = 0;
    for (;;) {
      bool hitContainer = false;
      cursor = completeSiblings(start, hitContainer);
      if (cursor > start) break;
      if (hitContainer || !readMore()) return fail("unterminated <" + name + ">");
    }
    pugi::xml_parse_result result = doc_.load_buffer_inplace(
        buf_.data() + start, cursor - start, pugi::parse_escapes | pugi::parse_fragment, encoding_);
    if (!result) return fail(std::string(result.description()));
    const int depth = static_cast<int>(stack_.size());
    for (pugi::xml_node node = doc_.first_child(); node; node = node.next_sibling())
      if (node.type() == pugi::node_element) handler_.element(node, depth);
    pos_ = cursor;
    return true;
  }

  std::FILE* file_;
  const std::string& fileName_;
  const XmlStreamOptions& options_;
  XmlElementHandler& handler_;
  std::string& message_;
  std::vector<char> buf_;
  std::size_t pos_ = 0;
  bool eof_ = false;
  bool sawElement_ = false;
  std::vector<std::string> stack_;
  pugi::xml_document doc_;
  pugi::xml_encoding encoding_ = pugi::encoding_utf8;
};

}  // namespace

bool streamXmlElements(std::FILE* file, const std::string& fileName, const XmlStreamOptions& options,
                       XmlElementHandler& handler, std::string& message) {
  Reader reader(file, fileName, options, handler, message);
  return reader.run();
}

}  // namespace pixtrail
