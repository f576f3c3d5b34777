// What a format needs if its output is a message: no malformed characters, and a marker behind each
// string when there are several, so that the strings can be told apart again.
#include "fcpp.h"
#include "fcstrprf.h"
#include "fwstring.h"

namespace {

void FcPrfReplaceUnprintable(FcPrfContext* pctpr) {
  FwTextByte* ptb = pctpr->RecordFormat.pbz;
  while (*ptb != 0) {
    // Kept, as the text of the output: the byte behind the bad character is replaced, where the
    // cursor stands, and not the character. A terminator stays.
    if (FwStrGetTextCharacter(&ptb) < 0 && *ptb != 0) *ptb = '?';
  }
}

bool IsString(const FcStrFormatSpec& format) {
  return format.bTypeName == 's' || format.bTypeName == 't';
}

// Whether the format has two string items or more. False as the result: a fault in an item.
bool fFcStrNeedsMarkers(FcPrfContext* pctpr, bool* pfNeedsMarkers) {
  uint32 nStrings = 0;
  for (uint32 i = 0; i < pctpr->cNumPercents; i++) {
    FcStrFormatSpec format;
    if (!FcStrGetFormatSpec(pctpr->paptbPercent[i], &format)) return false;
    if (IsString(format)) nStrings++;
  }
  *pfNeedsMarkers = nStrings >= 2;
  return true;
}

// Copies the format with a marker behind each string item, and moves the percents over to the copy.
void InsertMarkers(FcPrfContext* pctpr) {
  FwStrRecord RecordMarked;
  FwByte* pbzOld = pctpr->RecordFormat.pbz;
  std::size_t cbOld = record_length(&pctpr->RecordFormat);
  // With room for all of it the buffer doesn't move, so the percents can point into it at once.
  FwStrRecordOpenSize(&RecordMarked, static_cast<uint32>(cbOld + pctpr->cNumPercents + 1));
  FwTextByte* ptbFrom = pbzOld;
  for (uint32 i = 0; i < pctpr->cNumPercents; i++) {
    FcStrFormatSpec format;
    FcStrGetFormatSpec(pctpr->paptbPercent[i], &format);
    FwTextByte* ptbAfter = format.ptbLocation + format.cbFormatSpecLength;
    FwByte* pbNew = RecordMarked.pbTerminator + (format.ptbLocation - ptbFrom);
    if (ptbAfter > ptbFrom) {
      FwStrNPutRawString(&RecordMarked, ptbFrom, static_cast<uint32>(ptbAfter - ptbFrom));
      ptbFrom = ptbAfter;
    }
    if (IsString(format)) FwStrPutRawByte(&RecordMarked, kFcStrMarker);
    pctpr->paptbPercent[i] = pbNew;
  }
  if (*ptbFrom != 0) FwStrPutRawString(&RecordMarked, ptbFrom);
  FwStrRecordAbandon(&pctpr->RecordFormat);
  pctpr->RecordFormat = RecordMarked;
}

}  // namespace

bool FcPrfHandleMessages(FcPrfContext* pctpr) {
  FcPrfReplaceUnprintable(pctpr);
  bool fNeedsMarkers = false;
  if (!fFcStrNeedsMarkers(pctpr, &fNeedsMarkers)) return false;
  if (fNeedsMarkers) InsertMarkers(pctpr);
  return true;
}
