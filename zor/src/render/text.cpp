#include "render/text.h"

#include <fmt/format.h>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>

namespace zor {

namespace {

constexpr std::size_t kBetween = 2;  // blanks between columns

// Characters are those of the locale, but of UTF-8 where the locale has none beyond ASCII.
class Characters {
 public:
  Characters() {
    if (std::strcmp(nl_langinfo(CODESET), "ANSI_X3.4-1968") != 0) return;
    own_ = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (own_) before_ = uselocale(own_);
  }
  ~Characters() {
    if (!own_) return;
    uselocale(before_);
    freelocale(own_);
  }
  Characters(const Characters&) = delete;
  Characters& operator=(const Characters&) = delete;

 private:
  locale_t own_ = nullptr;
  locale_t before_ = nullptr;
};

bool is_plain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c < 0x7F; });
}

struct Character {
  std::size_t length;
  int width;  // below 0 if it can't be shown
};

Character first_of(std::string_view text) {
  wchar_t wide = 0;
  std::mbstate_t state = {};
  const std::size_t length = std::mbrtowc(&wide, text.data(), text.size(), &state);
  if (length == 0 || length > text.size()) return {1, -1};
  return {length, std::iswcntrl(static_cast<std::wint_t>(wide)) ? -1 : wcwidth(wide)};
}

// The widths of the columns if the words stand in so many rows.
std::vector<std::size_t> widths_in_rows(const std::vector<std::size_t>& words, std::size_t rows) {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i % rows == 0) widths.push_back(0);
    widths.back() = std::max(widths.back(), words[i]);
  }
  return widths;
}

bool fits(const std::vector<std::size_t>& widths, std::size_t width) {
  std::size_t sum = 0;
  for (const std::size_t column : widths)
    sum += column + kBetween;
  return sum <= width + kBetween;
}

}  // namespace

Screen Screen::of_output(const Environment& environment) {
  Screen screen;
  screen.is_terminal = isatty(STDOUT_FILENO) != 0;
  if (!screen.is_terminal) return screen;
  const std::string_view type = environment.find("TERM").value_or("");
  screen.has_colour =
      environment.find("NO_COLOR").value_or("").empty() && !type.empty() && type != "dumb";
  winsize size = {};
  const int columns = std::atoi(std::string(environment.find("COLUMNS").value_or("")).c_str());
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
    screen.width = size.ws_col;
  else if (columns > 0)
    screen.width = static_cast<std::size_t>(columns);
  return screen;
}

std::string without_controls(std::string_view text, bool keep_lines) {
  if (is_plain(text)) return std::string(text);
  const Characters characters;
  std::string safe;
  while (!text.empty()) {
    const Character character = first_of(text);
    if (character.width >= 0 || (keep_lines && text[0] == '\n')) {
      safe += text.substr(0, character.length);
    } else {
      for (const char c : text.substr(0, character.length))
        safe += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
    }
    text.remove_prefix(character.length);
  }
  return safe;
}

std::size_t columns_of(std::string_view text) {
  if (is_plain(text)) return text.size();
  const Characters characters;
  std::size_t columns = 0;
  while (!text.empty()) {
    const Character character = first_of(text);
    columns += static_cast<std::size_t>(std::max(0, character.width));
    text.remove_prefix(character.length);
  }
  return columns;
}

std::string folded(std::string_view text) {
  std::string all;
  if (is_plain(text)) {
    for (const char c : text)
      all += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return all;
  }
  const Characters characters;
  while (!text.empty()) {
    wchar_t wide = 0;
    std::mbstate_t state = {};
    std::size_t length = std::mbrtowc(&wide, text.data(), text.size(), &state);
    if (length == 0 || length > text.size()) {
      all += text[0];
      length = 1;
    } else {
      char bytes[MB_LEN_MAX];
      state = {};
      const std::size_t count = std::wcrtomb(
          bytes, static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(wide))), &state);
      if (count <= sizeof bytes) all.append(bytes, count);
    }
    text.remove_prefix(length);
  }
  return all;
}

std::string in_columns(const std::vector<std::string>& words, std::size_t width) {
  if (words.empty()) return {};
  std::vector<std::size_t> sizes;
  sizes.reserve(words.size());
  for (const std::string& word : words)
    sizes.push_back(columns_of(word));
  // The fewest rows that fit lie between what full lines would need and one word a line.
  std::size_t sum = 0;
  for (const std::size_t size : sizes)
    sum += size + kBetween;
  std::size_t rows = std::max<std::size_t>(1, std::min(words.size(), sum / (width + kBetween)));
  while (rows < words.size() && !fits(widths_in_rows(sizes, rows), width))
    ++rows;
  const std::vector<std::size_t> widths = widths_in_rows(sizes, rows);
  std::string lines;
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t i = row, column = 0; i < words.size(); i += rows, ++column) {
      lines += words[i];
      const bool last = i + rows >= words.size();
      if (!last) lines.append(widths[column] - sizes[i] + kBetween, ' ');
    }
    lines += '\n';
  }
  return lines;
}

}  // namespace zor
