// The order of versions. An input is three versions, a line each.
//
// - The order is that of a plain model, for well-formed texts; its results are -1, 0 and 1.
// - Any version equals itself, and comparing the other way round turns the result around.
// - Among versions all with a dot, or all without, and without capital letters, the order is
//   transitive. (Capitals equal small letters but are ordered by themselves, and a dotted
//   version makes an undotted one be read in another way.)
// - Revisions decide if versions are equal.
// - A parse gives its text back.
#include "wqversion.h"

#include <string>

#include "fuzz.h"
#include "fwstring.h"
#include "model/words.h"

namespace {

int Compare(const std::string& one, const std::string& other) {
  fuzz::Text a(one), b(other);
  const int result = wq_compare_versions(a, b);
  if (result < -1 || result > 1) fuzz::Fail("a result is none of -1, 0, 1", std::to_string(result));
  return result;
}

std::string Pair(const std::string& one, const std::string& other) {
  return fuzz::Quoted(one) + " " + fuzz::Quoted(other);
}

void CheckPair(const std::string& one, const std::string& other) {
  const int result = Compare(one, other);
  if (result != -Compare(other, one)) fuzz::Fail("not antisymmetric", Pair(one, other));
  if (fuzz::WellFormed(one) && fuzz::WellFormed(other) &&
      result != model::CompareVersions(one, other))
    fuzz::Fail("not the plain order", Pair(one, other) + " " + std::to_string(result));
}

bool HasDot(const std::string& text) {
  return text.find('.') != std::string::npos;
}

}  // namespace

void fuzz::Try(Input& input) {
  const std::string a = input.Line();
  const std::string b = input.Line();
  const std::string c = input.Line();
  const Allow allow = Malformed(a + "\n" + b + "\n" + c);
  if (Compare(a, a) != 0) Fail("not reflexive", Quoted(a));
  CheckPair(a, b);
  CheckPair(b, c);
  CheckPair(a, c);

  const int ab = Compare(a, b), bc = Compare(b, c), ac = Compare(a, c);
  const bool comparable =
      HasDot(a) == HasDot(b) && HasDot(b) == HasDot(c) &&
      (a + b + c).find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string::npos;
  if (comparable && ab <= 0 && bc <= 0 && (ac > 0 || (ac == 0 && (ab < 0 || bc < 0))))
    Fail("not transitive", Pair(a, b) + " " + Quoted(c));

  Text ta(a), tb(b), tc(c), td(a);
  if (wq_compare_ver_rev(ta, tb, tc, td) != (ac != 0 ? ac : -ab))
    Fail("revisions don't decide", Pair(a, b) + " " + Quoted(c));

  WQ_PARSED_VERSION* parsed = wq_parse_version_dots(ta, 1);
  FwStrRecord text = {};
  FwStrRecordOpen(&text);
  wq_put_parsed_version(&text, parsed);
  free_parsed_version(&parsed);
  if (parsed != nullptr) Fail("a freed parse leaves its pointer");
  if (a != FWC(text.pbz)) Fail("a parse changes its text", Quoted(a));
  FwStrRecordAbandon(&text);
}
