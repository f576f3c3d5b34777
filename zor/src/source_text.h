// The text of a file, by lines and columns as its reader counts them.
#ifndef ZOR_SOURCE_TEXT_H
#define ZOR_SOURCE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zor {

class SourceText {
 public:
  struct Place {
    int line;    // from 1
    int column;  // in characters, from 1
  };

  // Empty if the file can't be read. It is without a byte order mark, and UTF-16 becomes UTF-8.
  static SourceText of_file(const std::string& path);

  // The place that people see where the parser says so. It counts a byte order mark as a character
  // of the first line.
  Place shown(Place of_parser) const;
  const std::string& text() const { return text_; }
  std::string_view from(std::size_t offset) const {
    return std::string_view(text_).substr(offset < text_.size() ? offset : text_.size());
  }
  // The byte at a place; the end of the text for places behind it.
  std::size_t offset(Place place) const;
  Place place(std::size_t offset) const;
  // In the XML declaration; empty if there is none.
  const std::string& encoding() const { return encoding_; }
  // The name that begins at a byte, as XML has names; may be empty.
  std::string name_at(std::size_t offset) const;

 private:
  SourceText(std::string text, bool has_mark);

  // Steps over one character and counts it.
  std::size_t step(std::size_t at, Place* place) const;

  std::string text_;
  std::string encoding_;
  bool has_mark_;
  bool one_byte_characters_ = false;
};

}  // namespace zor

#endif
