// A data file as it is written: its elements and attributes, also those that mean nothing, with
// their places. What a data file means is for the readers to say; this is for those who look at how
// it is put down.
#ifndef ZOR_DOCUMENT_H
#define ZOR_DOCUMENT_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zor {

struct Attribute {
  std::string name;
  std::string value;
};

struct Element {
  std::string name;
  std::size_t at = 0;  // of its start tag, in the document's content
  std::vector<Attribute> attributes;
  std::string text;  // directly in it
  std::size_t text_at = 0;
  std::size_t text_end = 0;
  std::vector<Element> children;

  // Null if there is none.
  const std::string* find(std::string_view attribute) const;
  const Element* child(std::string_view name) const;
};

// From 1; columns count characters.
struct Position {
  int line = 0;
  int column = 0;
};

// A piece of the content, in bytes.
struct Span {
  std::size_t at = 0;
  std::size_t end = 0;
};

struct Document {
  Document() = default;
  Document(std::string text, Element tree) : content(std::move(text)), root(std::move(tree)) {}

  std::string content;  // in UTF-8, without a byte order mark
  Element root;

  Position position(std::size_t at) const;
  // The start tag.
  Span tag(const Element& element) const;
  // The value of an attribute, without its quotes; the start tag if it is not written there.
  Span value(const Element& element, std::string_view attribute) const;
  // The name of an attribute, likewise.
  Span name(const Element& element, std::string_view attribute) const;

 private:
  mutable std::vector<std::size_t> lines_;  // where each line begins, once that was asked
};

// Whether a text is in UTF-16, by its byte order mark or, as the parser takes it, by a zero as one
// of the first two bytes.
bool is_utf16(std::string_view content);

// The text of a data file in UTF-8, without a byte order mark, whatever it is encoded in.
std::string decoded(std::string content);

// Nothing if the text is no XML.
std::optional<Document> parse_document(std::string content);

// Makes documents of the data files that the readers read while it lives, in one go with what they
// do. One may live at a time.
class ReadingAlong {
 public:
  ReadingAlong();
  ~ReadingAlong();
  ReadingAlong(const ReadingAlong&) = delete;
  ReadingAlong& operator=(const ReadingAlong&) = delete;

  // That of a file, by the path that its reader was given; nothing if it was not read, or taken
  // before. The file must have been found well-formed.
  std::optional<Document> take(const std::string& path);

  struct Reading;

 private:
  std::unordered_map<std::string, std::unique_ptr<Reading>> readings_;
};

}  // namespace zor

#endif
