// Conversions to and from a local encoding that is not UTF-8: that of the C locale. An input is a
// text.
//
// - Text for the system has an underline in place of each character that is not ASCII, and ends
//   where it ended, whatever the bytes.
// - Text from the system is taken up to the first byte that is not ASCII, the rest is complained
//   of. Kept: the two conversions use each other's converter. So it is read as UTF-8, and iconv
//   leaves out tag characters, U+E0000 to U+E007F, without a complaint.
#include <cstdio>
#include <string>
#include <string_view>

#include "fuzz.h"
#include "fwunicod.h"

const char* fuzz::Locale() {
  return "C";
}

namespace {

std::string Underlined(const std::string& text) {
  std::string underlined;
  for (const char c : text) {
    if (static_cast<signed char>(c) >= 0)
      underlined += c;
    else if ((c & 0xC0) != 0x80)
      underlined += '_';
  }
  return underlined;
}

bool Ascii(const std::string& text) {
  for (const char c : text)
    if (static_cast<signed char>(c) < 0) return false;
  return true;
}

bool IsTagCharacter(std::string_view at) {
  return at.size() >= 4 && (at.starts_with("\xF3\xA0\x80") || at.starts_with("\xF3\xA0\x81")) &&
         (at[3] & 0xC0) == 0x80;
}

std::string TakenFromTheSystem(std::string_view text) {
  std::string taken;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (static_cast<signed char>(text[i]) >= 0)
      taken += text[i];
    else if (IsTagCharacter(text.substr(i)))
      i += 3;
    else
      break;
  }
  return taken;
}

}  // namespace

void fuzz::Try(Input& input) {
  // Failures of the conversion are told there.
  [[maybe_unused]] static FILE* const kQuiet = std::freopen("/dev/null", "w", stdout);
  Text text(input.Rest());
  const std::string plain = text.str();
  std::vector<std::string_view> asserts;
  if (!Ascii(plain))
    asserts = {"Invalid multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]",
               "Incomplete multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]"};
  if (!WellFormed(plain))
    asserts.push_back("Badly encoded UTF-8 character (malformed header in leading byte)");
  if (!WellFormed(plain)) asserts.push_back("Badly encoded UTF-8 character (overly long encoding)");
  const Allow allow(asserts);

  const std::string local = Take(reinterpret_cast<FwTextString>(FwStrUTF8ToLocal(text)));
  if (!Ascii(local)) Fail("a byte that is not ASCII stays", Quoted(plain) + " " + Quoted(local));
  if (WellFormed(plain) && local != Underlined(plain))
    Fail("another local text", Quoted(plain) + " " + Quoted(local));
  if (local.size() > plain.size()) Fail("the text grew", Quoted(plain));

  const std::string uni = Take(FwStrLocalToUTF8(plain.c_str()));
  if (uni != TakenFromTheSystem(plain))
    Fail("another text from the system", Quoted(plain) + " " + Quoted(uni));
}
