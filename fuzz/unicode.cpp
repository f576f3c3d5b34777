// Characters and encodings, in a UTF-8 locale. An input is a text; all its bytes are also taken for
// the units of a UTF-16 string.
//
// - Reading a character agrees with a plain decoder of the six-byte form; writing it gives its
//   bytes back if they were well-formed.
// - Walking forward and backward meets the same characters; their number is that of the bytes that
//   continue none.
// - Well-formed text comes back from UTF-16, but for the characters of two units, of which one half
//   decides.
// - A UTF-16 string that was fixed is valid, and a valid one stays as it is.
// - Conversions to and from the local encoding are copies.
// - A copy into a small buffer has the characters that fit, whole.
// - Tokens joined again give the text, less the separators that part nothing.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwunicod.h"
#include "fwvector.h"

namespace {

struct Character {
  FwTextCharacter code = 0;
  uint32 length = 0;  // as its lead byte tells
  bool well_formed = true;
};

// The six-byte form. A byte that leads nothing is its own signed value, of length 0; followers are
// not tested, but a zero among them ends the reading and counts as zero bits.
Character Decode(const std::string& text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
  };
  Character character;
  const unsigned lead = byte(at);
  if (lead < 0x80) return {static_cast<FwTextCharacter>(lead), 1, true};
  for (uint32 length = 2; length <= 6; ++length)
    if ((lead & (0xFFu << (7 - length)) & 0xFF) == ((0xFF00u >> length) & 0xFF))
      character.length = length;
  if (character.length == 0)
    return {static_cast<FwTextCharacter>(static_cast<signed char>(lead)), 0, false};
  uint32 code = lead & (0x7Fu >> character.length);
  bool ended = false;
  for (uint32 i = 1; i < character.length; ++i) {
    ended = ended || byte(at + i) == 0;
    code = (code << 6) | (ended ? 0 : byte(at + i) & 0x3F);
    character.well_formed = character.well_formed && (byte(at + i) & 0xC0) == 0x80;
  }
  static const uint32 kLeast[] = {0, 0, 0x80, 0x800, 0x10000, 0x200000, 0x4000000};
  character.code = static_cast<FwTextCharacter>(code);
  character.well_formed = character.well_formed && code >= kLeast[character.length];
  return character;
}

using Characters = std::vector<FwTextCharacter>;

// The characters of the text; well_formed becomes false if one is not.
Characters CheckReading(const std::string& text, bool& well_formed) {
  Characters characters;
  fuzz::Text writable(text);
  FwTextByte* const start = writable;
  for (std::size_t at = 0; at < text.size();) {
    const Character expected = Decode(text, at);
    FwTextCharacter code = 0;
    const uint32 length = FwUTF8ToCharacter(&code, start + at);
    const std::string detail = fuzz::Quoted(text.substr(at, 6)) + " " + std::to_string(code) + " " +
                               std::to_string(length);
    if (length != expected.length || code != expected.code) fuzz::Fail("another character", detail);
    FwTextByte bytes[8] = {};
    if (expected.well_formed &&
        (FwCharacterToUTF8(code, bytes) != length || text.compare(at, length, FWC(bytes)) != 0))
      fuzz::Fail("a character is written in another way", detail);

    FwTextByte* cursor = start + at;
    FwStrGetTextCharacter(&cursor);
    const std::size_t step = std::min(std::max<std::size_t>(length, 1), text.size() - at);
    // A zero inside a character ends the text before the lead byte says so; text has none.
    if (cursor != start + at + step) fuzz::Fail("another step", detail);
    well_formed = well_formed && expected.well_formed;
    characters.push_back(expected.code);
    at += step;
  }
  return characters;
}

void CheckWalking(const std::string& text, const Characters& characters) {
  fuzz::Text writable(text);
  FwTextByte* cursor = nullptr;
  for (std::size_t i = characters.size(); i-- > 0;)
    if (FwStrGetPreviousTextCharacter(writable, &cursor) != characters[i])
      fuzz::Fail("another character on the way back", fuzz::Quoted(text));
  if (FwStrGetPreviousTextCharacter(writable, &cursor) != 0)
    fuzz::Fail("a character before the first", fuzz::Quoted(text));
  if (FwStrCountCharacters(writable) != characters.size())
    fuzz::Fail("another number of characters", fuzz::Quoted(text));
  if (!FwStrValidate(writable)) fuzz::Fail("good text is called bad", fuzz::Quoted(text));
}

void CheckUTF16(const std::string& text, const Characters& characters) {
  Characters there;
  std::u16string units;
  for (const FwTextCharacter c : characters) {
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return;
    if (c < 0x10000) {
      units += static_cast<char16_t>(c);
      there.push_back(c);
      continue;
    }
    const auto offset = static_cast<uint32>(c) - 0x10000;
    units += static_cast<char16_t>(0xD800 + (offset >> 10));
    units += static_cast<char16_t>(0xDC00 + (offset & 0x3FF));
    there.push_back(
        static_cast<FwTextCharacter>((((offset >> 10) << 10) | (offset >> 10)) + 0x10000));
  }
  fuzz::Text writable(text);
  FwUTF16String converted = FwStrToUTF16(writable);
  if (FwUniCountChars(converted) != units.size() ||
      !std::equal(units.begin(), units.end(), converted))
    fuzz::Fail("another UTF-16 string", fuzz::Quoted(text));
  if (!FwUTF16Validate(FWVALIDATE_RETURN, &converted))
    fuzz::Fail("a converted string is not valid", fuzz::Quoted(text));
  std::string expected;
  for (const FwTextCharacter c : there) {
    FwTextByte bytes[8] = {};
    expected.append(FWC(bytes), FwCharacterToUTF8(c, bytes));
  }
  uint32 length = 0;
  const std::string back = fuzz::Take(FwUTF16ToStr(converted, &length));
  FwMemFree(converted);
  if (back != expected || length != expected.size())
    fuzz::Fail("another text from UTF-16", fuzz::Quoted(text) + " " + fuzz::Quoted(back));
}

// The bytes as units, up to a zero one.
void CheckUnits(const std::string& bytes) {
  std::vector<FwUTF16Char> units(bytes.size() / 2 + 1);
  std::memcpy(units.data(), bytes.data(), bytes.size() / 2 * 2);
  units.back() = 0;
  units.resize(static_cast<std::size_t>(std::find(units.begin(), units.end(), 0) - units.begin()) +
               1);
  bool valid = true;
  std::size_t counted = 0;
  for (std::size_t i = 0; units[i] != 0; ++i, ++counted) {
    if (units[i] < 0xD800 || units[i] > 0xDFFF) continue;
    valid = valid && units[i] < 0xDC00 && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF;
    if (units[i + 1] != 0) ++i, ++counted;
  }
  const fuzz::Allow allow(
      {"Invalid UTF16 character (bad leading unit", "Invalid UTF16 character (bad second unit)"});
  if (FwUTF16CountChars(units.data()) != counted) fuzz::Fail("another number of units");
  FwUTF16String copy = FwUTF16StrDuplicate(units.data());
  if ((FwUTF16Validate(FWVALIDATE_RETURN, &copy) != 0) != valid)
    fuzz::Fail("another judgement of a UTF-16 string", fuzz::Quoted(bytes));
  if ((FwUTF16Validate(FWVALIDATE_FIX, &copy) != 0) != valid)
    fuzz::Fail("fixing judges in another way", fuzz::Quoted(bytes));
  if (valid && !std::equal(units.begin(), units.end(), copy))
    fuzz::Fail("a valid string is changed", fuzz::Quoted(bytes));
  if (FwUTF16Validate(FWVALIDATE_RETURN, &copy) == 0)
    fuzz::Fail("a fixed string is not valid", fuzz::Quoted(bytes));
  FwMemFree(copy);
  uint32 length = 0;
  const std::string whole = fuzz::Take(FwUTF16ToStr(units.data(), nullptr));
  const std::string part = fuzz::Take(FwUTF16ToStrN(units.data(), &length, 3));
  if (!whole.starts_with(part) || length != part.size())
    fuzz::Fail("the first characters are others", fuzz::Quoted(bytes));
}

void CheckCopies(const std::string& text, bool well_formed) {
  fuzz::Text writable(text);
  const std::string uni = fuzz::Take(FwStrLocalToUTF8(text.c_str()));
  const std::string local = fuzz::Take(reinterpret_cast<FwTextString>(FwStrUTF8ToLocal(writable)));
  if (uni != text || local != text) fuzz::Fail("a conversion is no copy", fuzz::Quoted(text));

  FwTextByte buffer[12];
  FwStrNCpy(buffer, writable, sizeof buffer);
  // A character that doesn't fit is passed over; a shorter one behind it may fit.
  std::string expected;
  if (text.size() < sizeof buffer) {
    expected = text;
  } else {
    for (std::size_t at = 0, length = 1; well_formed && at < text.size(); at += length) {
      length = Decode(text, at).length;
      if (expected.size() + length < sizeof buffer) expected += text.substr(at, length);
    }
  }
  if (well_formed && expected != FWC(buffer))
    fuzz::Fail("another copy", fuzz::Quoted(text) + " " + fuzz::Quoted(FWC(buffer)));
}

void CheckTokens(const std::string& text) {
  std::string expected;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != ',' && text[i] != ';')
      expected += text[i];
    else if (!expected.empty() && expected.back() != '\n')
      expected += '\n';
  }
  if (expected.ends_with('\n')) expected.pop_back();
  fuzz::Text writable(text), separators(",;"), joint("\n");
  FwVector tokens;
  FwVectorOpen(&tokens, 2);
  FwStrTextSplit(writable, separators, &tokens);
  FwStrRecord joined = {};
  FwStrRecordOpen(&joined);
  FwStrTextJoin(&tokens, 0, joint, &joined);
  if (expected != FWC(joined.pbz)) fuzz::Fail("tokens joined", fuzz::Quoted(text));
  FwStrRecordAbandon(&joined);
  FwVectorAbandon(&tokens, 1);
}

}  // namespace

void fuzz::Try(Input& input) {
  const std::string bytes = input.Rest();
  const std::string text = bytes.c_str();
  CheckUnits(bytes);
  std::vector<std::string_view> asserts;
  if (!WellFormed(text))
    asserts = {"Badly encoded UTF-8 character (malformed header in leading byte)",
               "Badly encoded UTF-8 character (overly long encoding)",
               "Badly terminated string",
               "Bad shorten",
               "No lead byte found",
               "Badly formed multibyte string"};
  const Allow allow(asserts);
  bool well_formed = true;
  const Characters characters = CheckReading(text, well_formed);
  if (WellFormed(text) && !well_formed) Fail("the plain decoder is wrong", Quoted(text));
  if (well_formed) {
    CheckWalking(text, characters);
    CheckUTF16(text, characters);
    if (text.find('\n') == std::string::npos) CheckTokens(text);
  } else {
    Text writable(text);
    FwStrValidate(writable);
    FwMemFree(FwStrToUTF16(writable));
  }
  CheckCopies(text, well_formed);
}
