// csh and tcsh.
#include <clocale>
#include <cstdlib>
#include <string_view>

#include "formats/kept.h"
#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

// Whether a backslash is read as one in the locale of this process, and so of the shell that
// started it. In glibc's Shift-JIS it is a yen sign, which quotes nothing.
bool is_backslash_itself() {
  const locale_t here = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (!here) return true;
  const locale_t before = uselocale(here);
  wchar_t character = 0;
  const bool itself = std::mbtowc(&character, "\\", 1) == 1 && character == L'\\';
  uselocale(before);
  freelocale(here);
  return itself;
}

// In single quotes a line end needs a backslash before it, and so does the mark of history. A
// single quote stands in double ones. A backslash of the value stands outside the quotes, doubled,
// where the shell variable backslash_quote changes nothing.
//
// tcsh reads its input as characters of the locale, and in some encodings a backslash may be the
// second byte of a character. No encoding has a quote there, so the quotes are closed and opened
// between a byte outside ASCII and any backslash. Each such byte stands between quotes of its own:
// some pairs of bytes are a character that would be written back as another pair.
void append_quoted(std::string* text, std::string_view value) {
  const bool has_backslash = value.find('\\') != std::string_view::npos;
  const char* const backslash = !has_backslash || is_backslash_itself() ? "'\\\\'" : "\\";
  *text += '\'';
  bool after_ascii = true;
  for (const char c : value) {
    if (!after_ascii) *text += "''";
    after_ascii = static_cast<unsigned char>(c) < 0x80;
    if (c == '\'')
      *text += "'\"'\"'";
    else if (c == '\\')
      *text += backslash;
    else if (c == '\n')
      *text += "\\\n";
    else if (c == '!')
      *text += "\\!";
    else
      *text += c;
  }
  *text += '\'';
}

}  // namespace

std::string refuse_for_csh(const Change& change) {
  if (!is_identifier(change.name)) return "is not a valid name for a variable of a shell";
  if (change.value && change.value->find_first_of("\n!") != std::string::npos &&
      !is_backslash_itself())
    return "holds a line end or a '!', which csh can't quote in this locale";
  return reason_of_keepers({&kCsh}, change.name);
}

void write_csh(std::string* text, const Change& change) {
  if (!change.value) {
    *text += "unsetenv " + change.name + ";\n";
    return;
  }
  *text += "setenv " + change.name + ' ';
  append_quoted(text, *change.value);
  *text += ";\n";
}

}  // namespace zor
