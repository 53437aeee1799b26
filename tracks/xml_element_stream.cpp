#include "tracks/xml_element_stream.hpp"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "core/input_limits.hpp"
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

// Bytes read ahead. Unlike a vector it does not zero what fread overwrites anyway: for small
// inputs a megabyte of zeroing per read costs more than the parse.
class ReadBuffer {
 public:
  char* data() { return bytes_.get(); }
  const char* data() const { return bytes_.get(); }
  std::size_t size() const { return size_; }
  char operator[](std::size_t i) const { return bytes_[i]; }
  // Appends up to `count` bytes from `file`; the number read.
  std::size_t append(std::FILE* file, std::size_t count) {
    if (size_ + count > capacity_) {
      const std::size_t capacity = std::max(size_ + count, capacity_ * 2);
      auto bigger = std::make_unique_for_overwrite<char[]>(capacity);
      if (size_ > 0) std::memcpy(bigger.get(), bytes_.get(), size_);
      bytes_ = std::move(bigger);
      capacity_ = capacity;
    }
    const std::size_t got = std::fread(bytes_.get() + size_, 1, count, file);
    size_ += got;
    return got;
  }
  void dropFront(std::size_t count) {
    std::memmove(bytes_.get(), bytes_.get() + count, size_ - count);
    size_ -= count;
  }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0, capacity_ = 0;
};

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
      if (!find(pos_, "<", lt)) {
        if (tooLarge_) return fail("text too long between elements");
        break;
      }
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

  bool readMore(std::size_t count = 0) {
    if (eof_) return false;
    const std::size_t got = buf_.append(file_, std::max(count, options_.readChunkBytes));
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
    buf_.dropFront(pos_);
    pos_ = 0;
  }

  bool startsWith(std::size_t at, std::string_view text) {
    return available(at + text.size()) && std::string_view(buf_.data() + at, text.size()) == text;
  }

  // Finds `needle` at or after `from`, reading on as needed, but not further than one element may
  // reach (tooLarge_ tells that apart from the end of the file).
  bool find(std::size_t from, std::string_view needle, std::size_t& at) {
    std::size_t searchFrom = from;
    for (;;) {
      if (buf_.size() > from && buf_.size() - from > limits::kMaxXmlElementBytes) {
        tooLarge_ = true;
        return false;
      }
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
    if (!find(from, terminator, at)) return fail(tooLarge_ ? "markup too long" : "unterminated markup");
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
      if (i - at > limits::kMaxXmlElementBytes) return fail("tag too long");
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
      if (i - start > limits::kMaxXmlNameBytes) {
        nameTooLong_ = true;
        return false;
      }
      if (i >= buf_.size() && !(mayRead && available(i + 1))) return false;
      if (endsName(buf_[i])) break;
    }
    name.assign(buf_.data() + start, i - start);
    return !name.empty();
  }

  bool isContainer(const std::string& qname) { return isContainerName(qname); }
  bool isContainerName(std::string_view qname) const {
    const std::size_t colon = qname.rfind(':');
    return options_.isContainer &&
           options_.isContainer(colon == std::string_view::npos ? qname : qname.substr(colon + 1));
  }

  // The '>' ending the tag that starts at p (quotes respected), or end. Most tags hold no quote
  // before their '>', which memchr finds at once.
  static const char* tagClose(const char* p, const char* end) {
    const auto* gt = static_cast<const char*>(std::memchr(p, '>', static_cast<std::size_t>(end - p)));
    if (!gt) return end;
    const std::size_t span = static_cast<std::size_t>(gt - p);
    if (!std::memchr(p, '"', span) && !std::memchr(p, '\'', span)) return gt;
    char quote = 0;
    for (const char* q = p + 1; q < end; ++q) {
      if (quote) {
        if (*q == quote) quote = 0;
      } else if (*q == '"' || *q == '\'') {
        quote = *q;
      } else if (*q == '>') {
        return q;
      }
    }
    return end;
  }

  bool endTag() {
    std::string name;
    std::size_t gt = 0;
    if (!tagName(pos_, true, name)) return fail(nameTooLong_ ? "name too long" : "bad end tag");
    if (!tagEnd(pos_, gt)) return false;
    if (stack_.empty() || stack_.back() != name) return fail("unexpected </" + name + ">");
    stack_.pop_back();
    handler_.containerEnd(localName(name.c_str()));
    pos_ = gt + 1;
    return true;
  }

  bool startTag() {
    std::string name;
    std::size_t gt = 0;
    if (!tagName(pos_, true, name)) return fail(nameTooLong_ ? "name too long" : "bad start tag");
    if (!tagEnd(pos_, gt)) return false;
    sawElement_ = true;
    if (!isContainer(name)) return batch(name);
    handler_.containerStart(localName(name.c_str()));
    if (buf_[gt - 1] == '/') handler_.containerEnd(localName(name.c_str()));
    else if (stack_.size() >= limits::kMaxXmlDepth) return fail("elements nested too deeply");
    else stack_.push_back(name);
    pos_ = gt + 1;
    return true;
  }

  // The end of the elements from `start` that are complete in the buffer and lie before the next
  // container tag of the same level, at most about kBatchBytes; 0 when none is complete yet.
  // A tight scan: this runs over every byte of a large track.
  std::size_t completeSiblings(std::size_t start, bool& hitContainer, bool& tooDeep) {
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
        if (c == '/' || isContainerName(std::string_view(n, static_cast<std::size_t>(e - n)))) {
          hitContainer = true;
          break;
        }
      }
      close = tagClose(p, end);
      if (close == end) break;
      if (c == '/') --depth;
      else if (close[-1] != '/' && static_cast<std::size_t>(++depth) + stack_.size() > limits::kMaxXmlDepth) {
        tooDeep = true;
        break;
      }
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
      bool hitContainer = false, tooDeep = false;
      cursor = completeSiblings(start, hitContainer, tooDeep);
      if (tooDeep) return fail("elements nested too deeply");
      if (cursor > start) break;
      if (buf_.size() - start > limits::kMaxXmlElementBytes) return fail("<" + name + "> too large");
      // Reading as much again as is pending keeps the rescans of a large element linear in total.
      if (hitContainer || !readMore(buf_.size() - start)) return fail("unterminated <" + name + ">");
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
  ReadBuffer buf_;
  std::size_t pos_ = 0;
  bool eof_ = false;
  bool tooLarge_ = false;
  bool nameTooLong_ = false;
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
