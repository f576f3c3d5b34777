#include "source_text.h"

#include <strings.h>

#include <algorithm>
#include <utility>

#include "document.h"
#include "error.h"
#include "files.h"

namespace zor {

namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";  // of UTF-8

// What stands between the quotes behind encoding= in a declaration at the head of the text.
std::string encoding_in(const std::string& text) {
  const std::size_t end = std::min(text.find("?>"), text.size());
  if (text.find("<?xml") > end) return {};
  std::size_t at = text.find("encoding");
  if (at >= end) return {};
  at = text.find_first_of("\"'", at);
  if (at >= end) return {};
  const std::size_t close = text.find(text[at], at + 1);
  return close < end ? text.substr(at + 1, close - at - 1) : "";
}

bool is_name_byte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80 || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9') || byte == '-' || byte == '_' || byte == '.' || byte == ':';
}

}  // namespace

SourceText SourceText::of_file(const std::string& path) {
  std::string text;
  try {
    text = content_of(path);
  } catch (const Error&) {
    // The reader has told of it.
  }
  const bool has_mark =
      text.starts_with(kMark) || text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE");
  if (is_utf16(text))
    text = decoded(std::move(text));
  else if (has_mark)
    text.erase(0, kMark.size());
  return SourceText(std::move(text), has_mark);
}

SourceText::SourceText(std::string text, bool has_mark)
    : text_(std::move(text)), encoding_(encoding_in(text_)), has_mark_(has_mark) {
  one_byte_characters_ = strcasecmp(encoding_.c_str(), "iso-8859-1") == 0;
}

std::size_t SourceText::step(std::size_t at, Place* place) const {
  const auto byte = static_cast<unsigned char>(text_[at++]);
  if (byte == '\n' || byte == '\r') {
    if (byte == '\r' && at < text_.size() && text_[at] == '\n') ++at;
    *place = {place->line + 1, 1};
    return at;
  }
  if (byte >= 0xC0 && !one_byte_characters_)
    while (at < text_.size() && (static_cast<unsigned char>(text_[at]) & 0xC0) == 0x80)
      ++at;
  ++place->column;
  return at;
}

SourceText::Place SourceText::shown(Place of_parser) const {
  if (has_mark_ && of_parser.line == 1) of_parser.column = std::max(1, of_parser.column - 1);
  return of_parser;
}

std::size_t SourceText::offset(Place wanted) const {
  Place place = {1, 1};
  std::size_t at = 0;
  while (at < text_.size() && place.line < wanted.line) {
    // Whole lines at once.
    const std::size_t end = text_.find_first_of("\r\n", at);
    if (end == std::string::npos) return text_.size();
    at = step(end, &place);
  }
  while (at < text_.size() && place.line == wanted.line && place.column < wanted.column)
    at = step(at, &place);
  return at;
}

SourceText::Place SourceText::place(std::size_t offset) const {
  Place place = {1, 1};
  std::size_t at = 0;
  while (at < std::min(offset, text_.size()))
    at = step(at, &place);
  return place;
}

std::string SourceText::name_at(std::size_t offset) const {
  std::size_t end = std::min(offset, text_.size());
  const std::size_t begin = end;
  while (end < text_.size() && is_name_byte(text_[end]))
    ++end;
  return text_.substr(begin, end - begin);
}

}  // namespace zor
