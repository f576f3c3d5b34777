// Texts with markers: comparing them, and taking the markers out.
#include <algorithm>
#include <cstring>

#include "fcstrmat.h"
#include "vqassert.h"

namespace {

// The first byte of that value in [ptb, ptbEnd), or the end.
FwTextByte* FindByte(FwTextByte* ptb, FwTextByte* ptbEnd, FwTextByte tb) {
  return std::find(ptb, ptbEnd, tb);
}

}  // namespace

bool fFcMatStringNEqualIgnoreMarkers(FwTextByte** pptbTemplate, uint32 cbTemplateLength,
                                     FwTextByte** pptbEnglish, uint32 cbEnglishLength) {
  FwTextByte* ptbTemplate = *pptbTemplate;
  FwTextByte* const ptbTemplateEnd = ptbTemplate + cbTemplateLength;
  FwTextByte* ptbEnglish = *pptbEnglish;
  FwTextByte* const ptbEnglishEnd = ptbEnglish + cbEnglishLength;
  for (uint32 nRound = 1; nRound < kFcMatMaxRounds; nRound++) {
    FwTextByte* ptbRunEnd = FindByte(ptbEnglish, ptbEnglishEnd, kFcStrMarker);
    ptbRunEnd = FindByte(ptbEnglish, ptbRunEnd, '%');
    std::ptrdiff_t cbRun = std::min(ptbRunEnd - ptbEnglish, ptbTemplateEnd - ptbTemplate);
    if (!std::equal(ptbEnglish, ptbEnglish + cbRun, ptbTemplate)) return false;
    ptbEnglish += cbRun;
    ptbTemplate += cbRun;
    if (ptbTemplate == ptbTemplateEnd) {
      *pptbTemplate = ptbTemplate;
      *pptbEnglish = ptbEnglish;
      return true;
    }
    if (ptbEnglish == ptbEnglishEnd) return false;
    if (*ptbEnglish == '%') {
      if (ptbTemplateEnd - ptbTemplate < 2 || ptbTemplate[0] != '%' || ptbTemplate[1] != '%') {
        return false;
      }
      ptbTemplate += 2;
    }
    ptbEnglish++;
  }
  FwAssertFailed("Infinite loop?");
  return false;
}

int32 fFcStrNEqualIgnoreMarkers(FwTextString ptbzTemplate, FwTextString ptbzEnglish,
                                uint32 cbTemplateLength) {
  if (cbTemplateLength == 0xFFFFFFFF) {
    cbTemplateLength = static_cast<uint32>(std::strlen(FWC(ptbzTemplate)));
  }
  uint32 cbEnglishLength = static_cast<uint32>(std::strlen(FWC(ptbzEnglish)));
  return fFcMatStringNEqualIgnoreMarkers(&ptbzTemplate, cbTemplateLength, &ptbzEnglish,
                                         cbEnglishLength);
}

int32 FcStrStripMarkers(FwStrRecord* prcd) {
  FwByte* pbEnd = std::remove(prcd->pbz, prcd->pbTerminator, kFcStrMarker);
  bool fStripped = pbEnd != prcd->pbTerminator;
  prcd->pbTerminator = pbEnd;
  *pbEnd = 0;
  return fStripped;
}

void FcStrRecordDeleteAt(FwStrRecord* prcd, FwTextByte* ptbzDelete) {
  if (!FwExpect(ptbzDelete < prcd->pbTerminator, "Bad iDeleteAt")) return;
  std::memmove(ptbzDelete, ptbzDelete + 1,
               static_cast<std::size_t>(prcd->pbTerminator - ptbzDelete));
  prcd->pbTerminator--;
}
