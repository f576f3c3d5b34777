// The keys under which entries are filed, and the comparison that decides.
#include "fcboot.h"
#include "fcstrprf.h"
#include "fctransl.h"

namespace {

bool AtEnd(FwTextByte* ptb, uint32 cbLeft) {
  return cbLeft == 0 || *ptb == 0;
}

// A length that is counted down, unless it stands for the whole string.
uint32 Less(uint32 cbLeft, uint32 n) {
  if (cbLeft == kFcTranslWhole) return cbLeft;
  return cbLeft > n ? cbLeft - n : 0;
}

}  // namespace

uint32 FcTransl_StringHashFunction(FwTextString ptbzString, uint32 cLength, int32 fTemplate) {
  uint32 nHash = 0;
  FwTextByte* ptb = ptbzString;
  while (!AtEnd(ptb, cLength)) {
    FwTextByte tb = *ptb++;
    cLength = Less(cLength, 1);
    if (tb == kFcStrMarker) continue;
    if (fTemplate && tb == '%' && !AtEnd(ptb, cLength) && *ptb == '%') {
      ptb++;
      cLength = Less(cLength, 1);
    }
    nHash = nHash * 16 + tb;
    uint32 nTop = nHash & 0xF0000000;
    nHash ^= nTop >> 24;
    nHash &= ~nTop;
  }
  // A key may not be zero.
  return nHash == 0 ? 1 : nHash;
}

uint32 FcTranslCalculateMessageKey(FwTextString ptbzMessage, uint32 cLength,
                                   FcTranslKeyString pbKeyString, int32 fTemplate) {
  uint32 cbKey = 0;
  FwTextByte* ptb = ptbzMessage;
  while (cbKey < kFcTranslKeyLength && !AtEnd(ptb, cLength)) {
    if (fTemplate && *ptb == '%') {
      ptb++;
      cLength = Less(cLength, 1);
      if (AtEnd(ptb, cLength) || *ptb != '%') {
        fcBootContext.control.logf("ERROR: %% in first %d characters of template '%s'\n",
                                   static_cast<int>(kFcTranslKeyLength), FWC(ptbzMessage));
        if (AtEnd(ptb, cLength)) break;
      }
    }
    pbKeyString[cbKey++] = *ptb++;
    cLength = Less(cLength, 1);
  }
  pbKeyString[cbKey] = 0;
  return FcTransl_StringHashFunction(pbKeyString, kFcTranslWhole, 0);
}

int32 FcTranslMessageMatchesTemplate(FwTextString ptbzMessage, uint32 cMessageLength,
                                     FwTextString ptbzTemplate, uint32 cTemplateLength,
                                     int32 fMessageTemplate) {
  if (cMessageLength != kFcTranslWhole && cTemplateLength != kFcTranslWhole &&
      cMessageLength != cTemplateLength) {
    return 0;
  }
  FwTextByte* ptbMessage = ptbzMessage;
  FwTextByte* ptbTemplate = ptbzTemplate;
  for (;;) {
    while (!AtEnd(ptbMessage, cMessageLength) && *ptbMessage == kFcStrMarker) {
      ptbMessage++;
    }
    bool fMessageEnd = AtEnd(ptbMessage, cMessageLength);
    bool fTemplateEnd = AtEnd(ptbTemplate, cTemplateLength);
    if (fMessageEnd || fTemplateEnd) return fMessageEnd && fTemplateEnd;
    if (fMessageTemplate && ptbTemplate[0] == '%' && ptbTemplate[1] == '%') ptbTemplate++;
    if (*ptbMessage++ != *ptbTemplate++) return 0;
    cMessageLength = Less(cMessageLength, 1);
    cTemplateLength = Less(cTemplateLength, 1);
  }
}
