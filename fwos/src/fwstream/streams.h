// What the sources of the stream classes share.
#ifndef FWSTREAM_STREAMS_H
#define FWSTREAM_STREAMS_H

#include <algorithm>

#include "fwerror.h"
#include "fwstream.h"

// Counts of bytes travel as int32.
inline constexpr uint32 kMaxTransfer = 0x7fffffff;

inline uint32 TransferSize(uint32 size) {
  return std::min(size, kMaxTransfer);
}

inline FwStreamCore* Core(FwObj* pObj) {
  return static_cast<FwStreamCore*>(pObj);
}

inline bool IsForWriting(FwObj* pObj) {
  return (Core(pObj)->openFlags & FW_OPEN_WRONLY) != 0;
}

inline void SetStreamError(FwErrorState* pErrState, FwError* pError) {
  FwErrorSet(pErrState, pError, 1, FWT("Stream"));
}

#endif
