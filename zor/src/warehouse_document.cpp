#include <expat.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <type_traits>

#include "document.h"
#include "render/text.h"
#include "syntax.h"
#include "warehouse_private.h"

namespace zor {

namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";  // of byte order

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

void append_utf8(std::string* text, std::uint32_t character) {
  const auto put = [&](std::uint32_t byte) { *text += static_cast<char>(byte); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | character >> 6);
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | character >> 12);
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | character >> 18);
    put(0x80 | (character >> 12 & 0x3F));
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  }
}

std::string from_utf16(std::string_view content) {
  const bool big_endian = content[0] == '\xFE' || content[0] == '\0';
  const bool has_mark = content[0] != '\0' && content[1] != '\0';
  const auto unit = [&](std::size_t i) -> std::uint32_t {
    const auto first = static_cast<unsigned char>(content[i]);
    const auto second = static_cast<unsigned char>(content[i + 1]);
    return big_endian ? first << 8U | second : second << 8U | first;
  };
  std::string text;
  for (std::size_t i = has_mark ? 2 : 0; i + 1 < content.size(); i += 2) {
    std::uint32_t character = unit(i);
    if (character >= 0xD800 && character < 0xDC00 && i + 3 < content.size()) {
      i += 2;
      character = 0x10000 + ((character & 0x3FF) << 10) + (unit(i) & 0x3FF);
    }
    append_utf8(&text, character);
  }
  return text;
}

bool declares_latin1(std::string_view content) {
  if (!content.starts_with("<?xml")) return false;
  const std::string declaration = folded(content.substr(0, content.find('>')));
  return declaration.find("iso-8859-1") != std::string::npos;
}

std::string from_latin1(std::string_view content) {
  std::string text;
  for (const char c : content)
    append_utf8(&text, static_cast<unsigned char>(c));
  return text;
}

// A parser that is used again and again, as making one costs more than reading a small file.
class Parser {
 public:
  Parser() : parser_(made()) {
    static const unsigned long kSalt = std::random_device()() | 1UL;
    if (!parser_) return;
    XML_ParserReset(parser_, "UTF-8");
    XML_SetHashSalt(parser_, kSalt);
  }
  XML_Parser get() const { return parser_; }

 private:
  static XML_Parser made() {
    struct Free {
      void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };
    static const std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> kParser(
        XML_ParserCreate("UTF-8"));
    return kParser.get();
  }

  XML_Parser parser_;
};

// Builds the tree while the parser reads. Pointers into it stay valid, as an element gets no
// sibling while it is open.
class Builder {
 public:
  Builder(XML_Parser parser, Element* root) : parser_(parser), root_(root) {}

  void start(const XML_Char* name, const XML_Char** attributes) {
    Element* element = root_;
    if (!open_.empty()) element = &open_.back()->children.emplace_back();
    element->name = name;
    element->at = at();
    std::size_t count = 0;
    while (attributes[2 * count])
      ++count;
    element->attributes.reserve(count);
    for (; *attributes; attributes += 2)
      element->attributes.push_back({attributes[0], attributes[1]});
    open_.push_back(element);
  }

  void end() { open_.pop_back(); }

  void characters(const XML_Char* text, int length) {
    Element& element = *open_.back();
    if (element.text.empty()) element.text_at = at();
    element.text.append(text, static_cast<std::size_t>(length));
    element.text_end =
        at() + static_cast<std::size_t>(std::max(0, XML_GetCurrentByteCount(parser_)));
  }

 private:
  std::size_t at() const { return static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_)); }

  XML_Parser parser_;
  Element* root_;
  std::vector<Element*> open_;
};

void start(void* data, const XML_Char* name, const XML_Char** attributes) {
  static_cast<Builder*>(data)->start(name, attributes);
}

void end(void* data, const XML_Char*) {
  static_cast<Builder*>(data)->end();
}

void characters(void* data, const XML_Char* text, int length) {
  static_cast<Builder*>(data)->characters(text, length);
}

std::size_t behind_blanks(std::string_view text, std::size_t at) {
  while (at < text.size() && is_blank(text[at]))
    ++at;
  return at;
}

bool ends_name(char c) {
  return is_blank(c) || c == '=' || c == '>' || c == '/';
}

std::size_t behind_name(std::string_view text, std::size_t at) {
  while (at < text.size() && !ends_name(text[at]))
    ++at;
  return at;
}

// A line ends with "\n", "\r\n" or "\r".
std::vector<std::size_t> lines_of(std::string_view content) {
  std::vector<std::size_t> lines = {0};
  for (std::size_t at = 0; at < content.size(); ++at) {
    const bool first_half = content[at] == '\r' && content.substr(at, 2) == "\r\n";
    if (!first_half && (content[at] == '\n' || content[at] == '\r')) lines.push_back(at + 1);
  }
  return lines;
}

// Where readings along are kept while one lives.
std::unordered_map<std::string, std::unique_ptr<ReadingAlong::Reading>>* readings = nullptr;

struct WrittenAttribute {
  Span name;
  Span value;
};

std::optional<WrittenAttribute> written(std::string_view content, const Element& element,
                                        std::string_view attribute) {
  std::size_t at = behind_name(content, element.at + 1);
  while (true) {
    at = behind_blanks(content, at);
    const Span name = {at, behind_name(content, at)};
    if (name.end == name.at) return std::nullopt;
    at = behind_blanks(content, name.end);
    if (at >= content.size() || content[at] != '=') return std::nullopt;
    at = behind_blanks(content, at + 1);
    if (at >= content.size()) return std::nullopt;
    const std::size_t close = std::min(content.find(content[at], at + 1), content.size());
    if (content.substr(name.at, name.end - name.at) == attribute)
      return WrittenAttribute{name, {at + 1, close}};
    at = std::min(close + 1, content.size());
  }
}

}  // namespace

const std::string* Element::find(std::string_view attribute) const {
  for (const Attribute& each : attributes)
    if (each.name == attribute) return &each.value;
  return nullptr;
}

const Element* Element::child(std::string_view wanted) const {
  for (const Element& each : children)
    if (each.name == wanted) return &each;
  return nullptr;
}

Position Document::position(std::size_t at) const {
  at = std::min(at, content.size());
  if (lines_.empty()) lines_ = lines_of(content);
  const auto next = std::upper_bound(lines_.begin(), lines_.end(), at);
  const auto characters =
      std::count_if(content.begin() + static_cast<std::ptrdiff_t>(*(next - 1)),
                    content.begin() + static_cast<std::ptrdiff_t>(at),
                    [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
  return {static_cast<int>(next - lines_.begin()), static_cast<int>(characters) + 1};
}

Span Document::tag(const Element& element) const {
  return {element.at, behind_name(content, element.at + 1)};
}

Span Document::value(const Element& element, std::string_view attribute) const {
  const auto place = written(content, element, attribute);
  return place ? place->value : tag(element);
}

Span Document::name(const Element& element, std::string_view attribute) const {
  const auto place = written(content, element, attribute);
  return place ? place->name : tag(element);
}

bool is_utf16(std::string_view content) {
  return content.starts_with("\xFE\xFF") || content.starts_with("\xFF\xFE") ||
         (content.size() > 1 && (content[0] == '\0' || content[1] == '\0'));
}

std::string decoded(std::string content) {
  if (is_utf16(content)) return from_utf16(content);
  if (content.starts_with(kMark)) return content.substr(kMark.size());
  return declares_latin1(content) ? from_latin1(content) : std::move(content);
}

std::optional<Document> parse_document(std::string content) {
  Document document;
  document.content = decoded(std::move(content));
  const Parser parser;
  if (!parser.get()) return std::nullopt;
  Builder builder(parser.get(), &document.root);
  XML_SetUserData(parser.get(), &builder);
  XML_SetElementHandler(parser.get(), start, end);
  XML_SetCharacterDataHandler(parser.get(), characters);
  const XML_Status status = XML_Parse(parser.get(), document.content.data(),
                                      static_cast<int>(document.content.size()), 1);
  if (status != XML_STATUS_OK) return std::nullopt;
  return document;
}

// ---- Reading along ----

struct ReadingAlong::Reading {
  std::unique_ptr<Element> root;
  Builder builder;
  WH_XML_HANDLERS reader;
  std::string content;
};

namespace {

// The file that is read. One is at a time.
ReadingAlong::Reading* reading = nullptr;

void start_along(void* user, const char* name, const char** attributes) {
  reading->builder.start(name, attributes);
  reading->reader.start(user, name, attributes);
}

void end_along(void* user, const char* name) {
  reading->builder.end();
  reading->reader.end(user, name);
}

void text_along(void* user, const char* bytes, int count) {
  reading->builder.characters(bytes, count);
  if (reading->reader.text) reading->reader.text(user, bytes, count);
}

void note_bytes(const char* block, uint32 length) {
  reading->content.append(block, length);
}

void read_along(XML_Parser parser, FwTextString filename, WH_XML_HANDLERS* handlers) {
  auto root = std::make_unique<Element>();
  const Builder builder(parser, root.get());
  auto& entry = (*readings)[string_of(filename)];
  entry = std::make_unique<ReadingAlong::Reading>(
      ReadingAlong::Reading{std::move(root), builder, *handlers, {}});
  reading = entry.get();
  *handlers = {start_along, end_along, text_along, note_bytes};
}

}  // namespace

ReadingAlong::ReadingAlong() {
  readings = &readings_;
  wh_xml_tap = read_along;
}

ReadingAlong::~ReadingAlong() {
  wh_xml_tap = nullptr;
  readings = nullptr;
}

std::optional<Document> ReadingAlong::take(const std::string& path) {
  auto found = readings_.extract(path);
  if (!found) return std::nullopt;
  std::string& content = found.mapped()->content;
  // The parser counts the bytes of the file, whatever it is encoded in.
  if (is_utf16(content) || content.starts_with(kMark) || declares_latin1(content))
    return parse_document(std::move(content));
  return Document(std::move(content), std::move(*found.mapped()->root));
}

}  // namespace zor
