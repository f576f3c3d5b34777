// The check for whole characters, with the place where it ended.
#ifndef FWSTRING_TERMINATED_H
#define FWSTRING_TERMINATED_H

#include "fwtypes.h"

struct FcStrCheck {
  bool fWellTerminated;
  // The limit or the zero in front of it; the start of the last character if that straddles one of
  // the two.
  FwTextByte* ptbEnd;
};

// Looks at cbLength bytes, or up to a zero among them; nothing behind that zero is read.
FcStrCheck FcStrCheckCharacters(FwTextByte* ptb, uint32 cbLength);

#endif
