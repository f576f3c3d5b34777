#include "wqversion.h"

#include <algorithm>

#include "fcpp.h"
#include "fwmem.h"

namespace {

// A copy of the text; with dots, it has one behind every character.
FwTextString working_copy(FwTextString version, bool dots) {
  if (!dots) return FwStrDuplicate(version);
  OpenRecord record;
  FwTextByte* next = version;
  while (*next) {
    FwTextByte* character = next;
    FwStrGetTextCharacter(&next);
    FwStrNPutTextString(&record, character, static_cast<uint32>(next - character));
    FwStrPutTextCharacter(&record, '.');
  }
  return record.take();
}

// The groups of one element: runs of digits and runs of other characters.
FwVector* parse_element(FwTextString text) {
  auto* element = make<FwVector>();
  FwVectorOpen(element, 3);
  FwTextByte* next = text;
  while (*next) {
    FwTextByte* group = next;
    int32 digits = FwStrIsDigit(FwStrGetTextCharacter(&next));
    for (FwTextByte* ahead = next; *ahead; next = ahead)
      if (FwStrIsDigit(FwStrGetTextCharacter(&ahead)) != digits) break;
    FwVectorAddElement(element, FwStrNDuplicate(group, static_cast<int>(next - group)));
  }
  return element;
}

// 1, 0 or -1.
template <class T>
int sign_of(T left, T right) {
  return left > right ? 1 : left < right ? -1 : 0;
}

// By the character and not by its byte: a digit in an overlong encoding is one, too.
bool begins_with_digit(FwTextString group) {
  return FwStrIsDigit(FwStrGetTextCharacter(&group)) != 0;
}

int compare_groups(FwTextString group1, FwTextString group2) {
  if (begins_with_digit(group1) && begins_with_digit(group2)) {
    // Kept, as the defined result: a group too long for 32 bits reads as 0.
    uint32 number1 = 0;
    uint32 number2 = 0;
    FwStrToUL(&group1, 10, &number1);
    FwStrToUL(&group2, 10, &number2);
    return sign_of(number1, number2);
  }
  for (;;) {
    FwTextCharacter tc1 = FwStrGetTextCharacter(&group1);
    FwTextCharacter tc2 = FwStrGetTextCharacter(&group2);
    // Kept, as part of the interface: only equality is blind to case. What differs otherwise is
    // ordered as it stands, so B is below a.
    if (tc1 == 0 || tc2 == 0 || FwStrToUpper(tc1) != FwStrToUpper(tc2)) return sign_of(tc1, tc2);
  }
}

int compare_elements(const FwVector* element1, const FwVector* element2) {
  int32 count1 = FwVectorLength(element1);
  int32 count2 = FwVectorLength(element2);
  for (int32 k = 0; k < std::min(count1, count2); ++k)
    if (int order = compare_groups(nth<FwTextByte>(element1, k), nth<FwTextByte>(element2, k)))
      return order;
  return sign_of(count1, count2);
}

}  // namespace

WQ_PARSED_VERSION* wq_parse_version(FwTextString version) {
  return wq_parse_version_dots(version, 0);
}

WQ_PARSED_VERSION* wq_parse_version_dots(FwTextString version, int addDots) {
  auto* pv = make<WQ_PARSED_VERSION>();
  pv->version = FwStrDuplicate(version);
  FwVectorOpen(&pv->elements, 3);
  const OwnedText copy(working_copy(version, addDots && !FwStrChr(version, '.')));
  FwTextString rest = copy;
  while (FwTextString element = FwStrTok(&rest, FWT(".")))
    FwVectorAddElement(&pv->elements, parse_element(element));
  return pv;
}

int wq_pv_compare(WQ_PARSED_VERSION* pv1, WQ_PARSED_VERSION* pv2) {
  bool dotted1 = FwStrChr(pv1->version, '.');
  bool dotted2 = FwStrChr(pv2->version, '.');
  if (dotted1 == dotted2) return wq_pv_compare_dots(pv1, pv2);
  WQ_PARSED_VERSION* with_dots1 = wq_parse_version_dots(pv1->version, 1);
  WQ_PARSED_VERSION* with_dots2 = wq_parse_version_dots(pv2->version, 1);
  int order = wq_pv_compare_dots(with_dots1, with_dots2);
  free_parsed_version(&with_dots1);
  free_parsed_version(&with_dots2);
  return order;
}

int wq_pv_compare_dots(WQ_PARSED_VERSION* pv1, WQ_PARSED_VERSION* pv2) {
  int32 count1 = FwVectorLength(&pv1->elements);
  int32 count2 = FwVectorLength(&pv2->elements);
  for (int32 j = 0; j < std::min(count1, count2); ++j)
    if (int order =
            compare_elements(nth<FwVector>(&pv1->elements, j), nth<FwVector>(&pv2->elements, j)))
      return order;
  return sign_of(count1, count2);
}

void wq_put_parsed_version(FwStrRecord* rec, WQ_PARSED_VERSION* pv) {
  FwStrPutTextString(rec, pv->version);
}

void free_parsed_version(WQ_PARSED_VERSION** pv) {
  if (!*pv) return;
  for (FwVector* element : elements<FwVector>(&(*pv)->elements))
    FwVectorAbandon(element, 1);
  FwVectorAbandon(&(*pv)->elements, 1);
  FwMemFree((*pv)->version);
  FwMemFreeAndClear(pv);
}

int wq_compare_versions(FwTextString v1, FwTextString v2) {
  WQ_PARSED_VERSION* pv1 = wq_parse_version(v1);
  WQ_PARSED_VERSION* pv2 = wq_parse_version(v2);
  int order = wq_pv_compare(pv1, pv2);
  free_parsed_version(&pv1);
  free_parsed_version(&pv2);
  return order;
}

int wq_compare_ver_rev(FwTextString ver1, FwTextString rev1, FwTextString ver2, FwTextString rev2) {
  int order = wq_compare_versions(ver1, ver2);
  return order ? order : wq_compare_versions(rev1, rev2);
}
