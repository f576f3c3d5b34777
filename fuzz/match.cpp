// Matching of printed messages against templates. An input is a template, a translated template,
// and the values of the template's arguments, a line each; or, where the first byte is "=", the
// templates and a text that need not come from them.
//
// - A message of two strings or more, printed from a template of plain items, matches that
//   template: the translated one then prints the very arguments, as far as it asks for them by
//   their types, and nothing where it does not.
// - A text that matches a template of strings, with branches and options or without, is printed
//   again by that template itself.
// - Comparing and stripping of markers agree with a plain loop.
#include "fcstrmat.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz.h"
#include "fwstring.h"
#include "plain_format.h"

namespace {

constexpr char kMarker = 8;

class Lines : public fuzz::Values {
 public:
  explicit Lines(fuzz::Input& input) : input_(input) {}
  unsigned Selector() override {
    return static_cast<unsigned>(std::atoi(input_.Line().c_str())) % 4;
  }
  fuzz::Argument Value(std::size_t, fuzz::Argument::Type type) override {
    fuzz::Argument argument;
    argument.type = type;
    if (type == fuzz::Argument::kNothing) return argument;
    argument.text = input_.Line();
    argument.number = static_cast<int>(std::strtoll(argument.text.c_str(), nullptr, 10));
    argument.real = std::atoi(argument.text.c_str());
    return argument;
  }

 private:
  fuzz::Input& input_;
};

// The arguments that a template was printed with.
class Bound : public fuzz::Values {
 public:
  explicit Bound(const std::vector<fuzz::Argument>& arguments) : arguments_(arguments) {}
  unsigned Selector() override { return 0; }
  fuzz::Argument Value(std::size_t slot, fuzz::Argument::Type) override {
    return slot < arguments_.size() ? arguments_[slot] : fuzz::Argument();
  }

 private:
  const std::vector<fuzz::Argument>& arguments_;
};

// The items of a template, each as "s" or "[0]s" or "%"; empty if one is of another form than those
// given.
bool HasOnly(const std::string& text, const char* conversions, bool positions) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') continue;
    if (++i == text.size()) return false;
    if (positions && text[i] == '[') {
      i = text.find(']', i);
      if (i == std::string::npos || ++i >= text.size()) return false;
    }
    if (std::string(conversions).find(text[i]) == std::string::npos) return false;
  }
  return true;
}

// Printing wants of the structure what matching does not look at.
bool WellNested(const std::string& text) {
  std::string open;
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] != '%') continue;
    const char c = text[++i];
    if (c == '(' || c == '{') open += c;
    if (c != '|' && c != ')' && c != '}') continue;
    if (open.empty() || (open.back() == '{') != (c == '}')) return false;
    if (c != '|') open.pop_back();
  }
  return open.empty();
}

// Digits that follow a number in the printed text would be taken for its own.
bool NumbersEnd(const std::string& text) {
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] != '%') continue;
    ++i;
    if (text[i] == '[') i = text.find(']', i) + 1;
    if (text[i] != 'd' && text[i] != 'u' && text[i] != 'x') continue;
    if (i + 1 < text.size() &&
        (std::isalnum(static_cast<unsigned char>(text[i + 1])) || text[i + 1] == '%'))
      return false;
  }
  return true;
}

struct Match {
  bool matches = false;
  std::string text;
};

Match MatchTemplate(const std::string& english, const std::string& original,
                    const std::string& translated) {
  fuzz::Text text(english), first(original), second(translated);
  FwStrRecord record = {};
  FwStrRecordOpen(&record);
  Match match;
  match.matches = fFcStrNMatchTemplate(text, static_cast<uint32>(-1), first, second, &record) != 0;
  match.text = FWC(record.pbz);
  FwStrRecordAbandon(&record);
  if (text.str() != english || first.str() != original || second.str() != translated)
    fuzz::Fail("a text was written to", fuzz::Quoted(english));
  return match;
}

std::string WithoutMarkers(std::string text) {
  std::erase(text, kMarker);
  return text;
}

// Strings without markers end anywhere: the search takes a time that their number is the exponent
// of.
bool TakesLong(const std::string& original, const std::string& english) {
  const auto items = std::count(original.begin(), original.end(), '%');
  return items > 10 || english.size() > 120 ||
         (english.find(kMarker) == std::string::npos && items > 3 && english.size() > 30);
}

void CheckPrinted(const std::string& original, const std::string& translated,
                  const fuzz::Formatted& printed) {
  // More are refused, and so are slots that far up.
  constexpr std::size_t kMostItems = 39;
  if (printed.arguments.size() > kMostItems) return;
  if (printed.strings < 2 || !HasOnly(original, "std%ux", true) || !NumbersEnd(original)) return;
  if ((original + translated).find(kMarker) != std::string::npos) return;
  for (const fuzz::Argument& argument : printed.arguments) {
    if (argument.text.find(kMarker) != std::string::npos) return;
    if (argument.type == fuzz::Argument::kUnsigned && argument.number < 0) return;
    if (argument.type == fuzz::Argument::kNothing) return;
  }
  const std::string detail = fuzz::Quoted(printed.text) + " of " + fuzz::Quoted(original);
  {
    const Match own = MatchTemplate(printed.text, original, "");
    if (!own.matches) fuzz::Fail("a printed message does not match its template", detail);
  }
  if (translated.find_first_of(".*") != std::string::npos) return;
  Bound bound(printed.arguments);
  const fuzz::Formatted expected = fuzz::PlainFormat(translated, true, false, bound);
  if (expected.verdict == fuzz::Formatted::kUnknown || !expected.selectors.empty()) return;
  const fuzz::Allow allow(expected.verdict == fuzz::Formatted::kFault
                              ? fuzz::Complaints()
                              : std::vector<std::string_view>());
  const Match match = MatchTemplate(printed.text, original, translated);
  if (match.text != (expected.verdict == fuzz::Formatted::kFault ? "" : expected.text))
    fuzz::Fail("another translation",
               detail + ": " + fuzz::Quoted(match.text) + " not " + fuzz::Quoted(expected.text));
}

void CheckText(const std::string& english, const std::string& original,
               const std::string& translated) {
  if (TakesLong(original, english)) return;
  const fuzz::Allow allow(fuzz::Complaints());
  MatchTemplate(english, original, translated);
  const Match again = MatchTemplate(english, original, original);
  if (again.matches && HasOnly(original, "s%(|){}", false) && WellNested(original) &&
      original.find(kMarker) == std::string::npos && again.text != WithoutMarkers(english))
    fuzz::Fail(
        "a match that prints another text",
        fuzz::Quoted(english) + " of " + fuzz::Quoted(original) + ": " + fuzz::Quoted(again.text));
}

void CheckMarkers(const std::string& english, const std::string& original) {
  if (english.size() + original.size() > 250) return;
  const std::string stripped = WithoutMarkers(english);
  bool equal = true;
  for (std::size_t t = 0, e = 0; equal && t < original.size(); ++t, ++e) {
    equal = e < stripped.size() && stripped[e] == original[t];
    if (equal && stripped[e] == '%') equal = ++t < original.size() && original[t] == '%';
  }
  fuzz::Text first(original), text(english);
  if ((fFcStrNEqualIgnoreMarkers(first, text, static_cast<uint32>(-1)) != 0) != equal)
    fuzz::Fail("another comparison", fuzz::Quoted(english) + " " + fuzz::Quoted(original));

  FwStrRecord record = {};
  FwStrRecordOpen(&record);
  FwStrPutTextString(&record, text);
  const bool had = FcStrStripMarkers(&record) != 0;
  if (had != (stripped != english) || stripped != FWC(record.pbz))
    fuzz::Fail("markers are not stripped", fuzz::Quoted(english));
  FwStrRecordAbandon(&record);
}

}  // namespace

void fuzz::Try(Input& input) {
  std::string original = input.Line();
  const std::string translated = input.Line();
  if (HasLongNumber(original) || HasLongNumber(translated) || original.size() > 250 ||
      !WellFormed(original) || !WellFormed(translated))
    return;
  if (original.starts_with("=")) {
    original.erase(0, 1);
    const std::string english = input.Line();
    if (!WellFormed(english)) return;
    CheckText(english, original, translated);
    CheckMarkers(english, original);
    return;
  }
  Lines lines(input);
  const Formatted printed = PlainFormat(original, false, true, lines);
  if (printed.verdict != Formatted::kKnown || !WellFormed(printed.text)) return;
  CheckPrinted(original, translated, printed);
  CheckText(printed.text, original, translated);
  CheckMarkers(printed.text, original);
}
