// The buffered stream.
#include <cstring>

#include "fcclass.h"
#include "fcpp.h"
#include "fwmem.h"
#include "fwstream/streams.h"
#include "fwstring.h"
#include "vqassert.h"
#include "vqmemcpy.h"

namespace {

using GetUnderlyingStreamFn = FwObj*(FwObj* pObj);
using SetLineBufferingFn = void(FwObj* pObj, int32 fBufferLines);
using ReadLineFn = int32(FwObj* pObj, FwErrorState* pErrState, FwStrRecord* pStrRec);
using WriteFn = ReadLineFn;
using FlushFn = int32(FwObj* pObj, FwErrorState* pErrState);
using GetBufferRealPositionFn = void(FwObj* pObj, Vq32x2* pPosition);
using UnreadBytesFn = void(FwObj* pObj, FwErrorState* pErrorState, int32 numBytesToUnread);

constexpr int32 kNoByte = -1;
constexpr uint8 kLineFeed = 10;
constexpr uint8 kCarriageReturn = 13;

// No character is longer than this in UTF-8.
constexpr std::size_t kMaxCharacter = 6;

FwStreamBuffered* Buffered(FwObj* pObj) {
  return static_cast<FwStreamBuffered*>(pObj);
}

void EmptyBuffer(FwStreamBuffered* pBuff) {
  pBuff->pCurrentPosition = pBuff->pBytes;
  pBuff->nBytesInBuffer = 0;
}

// Bytes of the buffer before the current position.
int32 BytesTaken(const FwStreamBuffered* pBuff) {
  return static_cast<int32>(pBuff->pCurrentPosition - pBuff->pBytes);
}

// Bytes not yet taken or not yet flushed. The count is negative once reading met the end.
int32 BytesPending(const FwStreamBuffered* pBuff) {
  return std::max(pBuff->nBytesInBuffer, 0);
}

int32 Room(const FwStreamBuffered* pBuff) {
  return pBuff->nBufferSizeInBytes - BytesTaken(pBuff);
}

FwObj* Underlying(const FwStreamBuffered* pBuff) {
  return pBuff->pUnderlyingStream;
}

// ---------------------------------------------------------------------------------------------
// Life

FwObj* FcStreamBuffered_method_Create(FwObj* pObj, const FwClassRecord* pClassRecord,
                                      FwErrorState* pErrState, uint32 openFlags,
                                      int32 nBufferSizeInBytes, FwObj* pUnderlyingStream) {
  if (pObj == nullptr) {
    pObj = FwClassAlloc(pClassRecord, ALLOC_MUST_SUCCEED);
    if (pObj == nullptr) return nullptr;
  }
  if (nBufferSizeInBytes < 1 || pUnderlyingStream == nullptr) {
    SetStreamError(pErrState, fwErrorParameter);
    FwMemFree(pObj);
    return nullptr;
  }
  auto* create = FcSuperMethod<Fw_msg_CreateStreamCore_Fn>(_Fw_msg_CreateStreamCore_Handle,
                                                           FwStreamBufferedClass);
  if (create(pObj, pClassRecord, pErrState, openFlags, pUnderlyingStream) == nullptr)
    return nullptr;

  FwStreamBuffered* pBuff = Buffered(pObj);
  pBuff->pBytes = static_cast<uint8*>(
      FwMemAlloc(static_cast<std::size_t>(nBufferSizeInBytes), ALLOC_MAY_FAIL | INIT_NONE));
  if (pBuff->pBytes == nullptr) {
    SetStreamError(pErrState, fwErrorNoMemory);
    FcSuperMethod<Fw_msg_Destroy_Fn>(_Fw_msg_Destroy_Handle, FwStreamBufferedClass)(pObj);
    return nullptr;
  }
  pBuff->pBytes[0] = 0;
  pBuff->nBufferSizeInBytes = nBufferSizeInBytes;
  EmptyBuffer(pBuff);
  pBuff->positionInStream = Vq32x2{};
  pBuff->lineBuffered = 0;
  return pObj;
}

// Hands all that is buffered to a stream. 1, or 0 and the buffered stream is in error.
int32 flushStreamBuffer(FwObj* pStream, FwStreamBuffered* pBuff, FwErrorState* pErrState) {
  const int32 nBytes = BytesPending(pBuff);
  if (Fw_msg_StreamWrite(pStream, pErrState, pBuff->pBytes, static_cast<uint32>(nBytes)) !=
      nBytes) {
    pBuff->fError = 1;
    return 0;
  }
  Vq32x2AddInt32(&pBuff->positionInStream, &pBuff->positionInStream, nBytes);
  EmptyBuffer(pBuff);
  return 1;
}

// Whether there are bytes that the stream below has still to get.
bool MustFlush(const FwStreamBuffered* pBuff) {
  return IsForWriting(Underlying(pBuff)) && BytesPending(pBuff) > 0;
}

int32 FcStreamBuffered_method_Destroy(FwObj* pObj, FwErrorState* pErrState,
                                      int32 fCloseUnderlyingStream) {
  if (!FwExpect(pObj != nullptr, "NULL Object passed to Fw_msg_StreamDestroy")) return 0;
  FwStreamBuffered* pBuff = Buffered(pObj);
  if (MustFlush(pBuff)) flushStreamBuffer(Underlying(pBuff), pBuff, pErrState);
  FwMemFreeAndClear(&pBuff->pBytes);
  return FcSuperMethod<Fw_msg_StreamDestroy_Fn>(
      _Fw_msg_StreamDestroy_Handle, FwStreamBufferedClass)(pObj, pErrState, fCloseUnderlyingStream);
}

FwObj* FcStreamBuffered_method_GetUnderlyingStream(FwObj* pObj) {
  return Underlying(Buffered(pObj));
}

void FcStreamBuffered_method_SetLineBuffering(FwObj* pObj, int32 fBufferLines) {
  Buffered(pObj)->lineBuffered = fBufferLines;
}

// ---------------------------------------------------------------------------------------------
// Reading

// Fills the empty buffer and takes its first byte.
int32 _fwBufferedStreamFillBuffer(FwStreamBuffered* pBuff, FwErrorState* pErrState) {
  const int32 nBytes = Fw_msg_StreamRead(Underlying(pBuff), pErrState, pBuff->pBytes,
                                         static_cast<uint32>(pBuff->nBufferSizeInBytes));
  if (nBytes <= 0) {
    if (nBytes < 0)
      pBuff->fError = 1;
    else
      pBuff->fEOF = 1;
    pBuff->nBytesInBuffer = -1;
    return kNoByte;
  }
  pBuff->pCurrentPosition = pBuff->pBytes + 1;
  pBuff->nBytesInBuffer = nBytes - 1;
  Vq32x2AddInt32(&pBuff->positionInStream, &pBuff->positionInStream, nBytes);
  return pBuff->pBytes[0];
}

int32 GetByte(FwStreamBuffered* pBuff, FwErrorState* pErrState) {
  if (pBuff->nBytesInBuffer > 0) {
    pBuff->nBytesInBuffer--;
    return *pBuff->pCurrentPosition++;
  }
  return _fwBufferedStreamFillBuffer(pBuff, pErrState);
}

void PutByteBack(FwStreamBuffered* pBuff) {
  FwAssert(BytesTaken(pBuff) > 0, "Nowhere to put byte back to");
  if (BytesTaken(pBuff) == 0) return;
  pBuff->pCurrentPosition--;
  pBuff->nBytesInBuffer++;
}

int32 FcStreamBuffered_method_ReadLine(FwObj* pObj, FwErrorState* pErrState, FwStrRecord* pStrRec) {
  FwStreamBuffered* pBuff = Buffered(pObj);
  if (pBuff->fError != 0) return -1;
  if (pBuff->fEOF != 0) return 0;
  int32 byte = GetByte(pBuff, pErrState);
  if (byte == kNoByte) {
    FwAssert(pBuff->fEOF != 0 || pBuff->fError != 0, "Stream is in unknown state");
    return pBuff->fEOF != 0 ? 0 : -1;
  }

  const uint32 cbBefore = record_length(pStrRec);
  const auto growth = [=] { return static_cast<int32>(record_length(pStrRec) - cbBefore); };
  for (;;) {
    FwStrPutRawByte(pStrRec, static_cast<uint8>(byte));
    if (byte == kLineFeed || byte == kCarriageReturn) break;
    byte = GetByte(pBuff, pErrState);
    if (byte == kNoByte) break;
  }
  if (byte == kCarriageReturn) {
    const int32 next = GetByte(pBuff, pErrState);
    if (next != kNoByte && next != kLineFeed) PutByteBack(pBuff);
    // A fixed record may have had no room for it.
    if (growth() > 0 && pStrRec->pbTerminator[-1] == kCarriageReturn)
      pStrRec->pbTerminator[-1] = kLineFeed;
  }
  return growth();
}

// ---------------------------------------------------------------------------------------------
// Writing

// Moves as many bytes into the buffer as fit and returns their number.
int32 FillRoom(FwStreamBuffered* pBuff, uint8* pb, int32 nBytes) {
  const int32 nFitting = std::min(nBytes, Room(pBuff));
  VqMemCpy_Assert(pBuff->pCurrentPosition, pb, nFitting);
  pBuff->pCurrentPosition += nFitting;
  pBuff->nBytesInBuffer = BytesPending(pBuff) + nFitting;
  return nFitting;
}

int32 fillBufferForWriting(FwStreamBuffered* pBuff, FwErrorState* pErrState, uint8* prb,
                           int32 nBytesInRecord) {
  int32 nTaken = 0;
  while (nTaken < nBytesInRecord) {
    nTaken += FillRoom(pBuff, prb + nTaken, nBytesInRecord - nTaken);
    if (Room(pBuff) == 0 && flushStreamBuffer(Underlying(pBuff), pBuff, pErrState) == 0) return -1;
  }
  return nTaken;
}

// The character at the start of nBytes bytes, which need not be terminated. Its length is stored.
FwTextCharacter FirstCharacter(const uint8* ptb, int32 nBytes, int32* pnLength) {
  FwTextByte character[kMaxCharacter + 1] = {};
  std::memcpy(character, ptb, std::min(kMaxCharacter, static_cast<std::size_t>(nBytes)));
  FwTextByte* pEnd = character;
  const FwTextCharacter tc = FwStrGetTextCharacter(&pEnd);
  *pnLength = std::clamp(static_cast<int32>(pEnd - character), 1, nBytes);
  return tc;
}

// Copies a run of whole characters. It fits, unless one character is wider than the whole buffer.
bool CopyRun(FwStreamBuffered* pBuff, FwErrorState* pErrState, uint8* ptb, int32 nBytes) {
  while (nBytes > 0) {
    const int32 nFitting = FillRoom(pBuff, ptb, nBytes);
    ptb += nFitting;
    nBytes -= nFitting;
    if (nBytes > 0 && flushStreamBuffer(Underlying(pBuff), pBuff, pErrState) == 0) return false;
  }
  return true;
}

int32 fillBufferForLineBufferedWriting(FwStreamBuffered* pBuff, FwErrorState* pErrState, uint8* ptb,
                                       int32 nBytesInRecord) {
  FwObj* pStream = Underlying(pBuff);
  uint8* const pEnd = ptb + nBytesInRecord;
  uint8* pRun = ptb;
  int32 nLength = 0;
  for (uint8* p = ptb; p < pEnd; p += nLength) {
    const FwTextCharacter tc = FirstCharacter(p, static_cast<int32>(pEnd - p), &nLength);
    const auto nRun = static_cast<int32>(p - pRun);
    if (nRun + nLength > Room(pBuff)) {
      if (!CopyRun(pBuff, pErrState, pRun, nRun) ||
          flushStreamBuffer(pStream, pBuff, pErrState) == 0)
        return -1;
      pRun = p;
    }
    if (tc == kLineFeed || tc == kCarriageReturn) {
      uint8 lineFeed = kLineFeed;
      if (!CopyRun(pBuff, pErrState, pRun, static_cast<int32>(p - pRun)) ||
          !CopyRun(pBuff, pErrState, &lineFeed, 1) ||
          flushStreamBuffer(pStream, pBuff, pErrState) == 0)
        return -1;
      pRun = p + nLength;
    }
  }
  return CopyRun(pBuff, pErrState, pRun, static_cast<int32>(pEnd - pRun)) ? nBytesInRecord : -1;
}

int32 FcStreamBuffered_method_StreamWrite(FwObj* pObj, FwErrorState* pErrState, void* buffer,
                                          uint32 size) {
  FwStreamBuffered* pBuff = Buffered(pObj);
  if (pBuff->fError != 0) return -1;
  auto* fill = pBuff->lineBuffered != 0 ? fillBufferForLineBufferedWriting : fillBufferForWriting;
  const int32 nBytes =
      fill(pBuff, pErrState, static_cast<uint8*>(buffer), static_cast<int32>(TransferSize(size)));
  return pBuff->fError != 0 ? -1 : nBytes;
}

int32 FcStreamBuffered_method_Write(FwObj* pObj, FwErrorState* pErrState, FwStrRecord* pStrRec) {
  if (!FwExpect(pObj != nullptr, "NULL Object passed to Fw_msg_Write")) return -1;
  return Fw_msg_StreamWrite(pObj, pErrState, pStrRec->pbz, record_length(pStrRec));
}

int32 FcStreamBuffered_method_Flush(FwObj* pObj, FwErrorState* pErrState) {
  FwStreamBuffered* pBuff = Buffered(pObj);
  if (pBuff->fError != 0) return -1;
  if (!IsForWriting(pObj)) {
    EmptyBuffer(pBuff);
    return 0;
  }
  const int32 nBytes = BytesPending(pBuff);
  if (nBytes > 0) flushStreamBuffer(Underlying(pBuff), pBuff, pErrState);
  return pBuff->fError != 0 ? -1 : nBytes;
}

// ---------------------------------------------------------------------------------------------
// Positions

// Kept, as part of the interface: in both directions the buffered bytes are taken off, also those
// that are still to be written. Positions are asked for while reading.
void FcStreamBuffered_method_GetBufferRealPosition(FwObj* pObj, Vq32x2* pPosition) {
  FwStreamBuffered* pBuff = Buffered(pObj);
  Vq32x2SubtractInt32(pPosition, &pBuff->positionInStream, BytesPending(pBuff));
}

void FcStreamBuffered_method_UnreadBytes(FwObj* pObj, FwErrorState* pErrorState,
                                         int32 numBytesToUnread) {
  if (!FwExpect(numBytesToUnread >= 0, "must be positive number of bytes to unread")) return;
  FwStreamBuffered* pBuff = Buffered(pObj);
  if (numBytesToUnread <= BytesTaken(pBuff)) {
    pBuff->pCurrentPosition -= numBytesToUnread;
    pBuff->nBytesInBuffer = BytesPending(pBuff) + numBytesToUnread;
    return;
  }
  Vq32x2 position;
  Fw_msg_GetBufferRealPosition(pObj, &position);
  Vq32x2SubtractInt32(&position, &position, numBytesToUnread);
  Fw_msg_StreamSeek(pObj, pErrorState, &position, FW_SEEK_SET);
  FwAssert(pErrorState != nullptr && pErrorState->pError == nullptr, "error after seek");
}

// Where a seek is to end. False if that can't be told.
bool Destination(FwObj* pStream, FwErrorState* pErrState, Vq32x2* pCurrent, Vq32x2* pOffset,
                 uint32 From, Vq32x2* pDestination) {
  switch (From) {
    case FW_SEEK_CUR:
      Vq32x2Add(pDestination, pCurrent, pOffset);
      return true;
    case FW_SEEK_SET:
      *pDestination = *pOffset;
      return true;
    case FW_SEEK_END: {
      Vq32x2 extent;
      if (Fw_msg_StreamExtent(pStream, pErrState, &extent) == 0) return false;
      Vq32x2Add(pDestination, &extent, pOffset);
      return true;
    }
    default:
      FwAssertFailed("unknown seek type");
      return false;
  }
}

int32 FcStreamBuffered_method_Seek(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset,
                                   uint32 From) {
  FwStreamBuffered* pBuff = Buffered(pObj);
  FwObj* pStream = Underlying(pBuff);
  if (MustFlush(pBuff) && flushStreamBuffer(pStream, pBuff, pErrState) == 0) return 0;
  Vq32x2 current;
  Vq32x2SubtractInt32(&current, &pBuff->positionInStream, BytesPending(pBuff));
  Vq32x2 start;
  Vq32x2SubtractInt32(&start, &current, BytesTaken(pBuff));
  const bool toTheStart = From == FW_SEEK_SET && Vq32x2Sign(pOffset) == 0;
  Vq32x2 destination;
  if (!Destination(pStream, pErrState, &current, pOffset, From, &destination)) return 0;

  if (Vq32x2Compare(&destination, &start) < 0 ||
      Vq32x2Compare(&destination, &pBuff->positionInStream) >= 0) {
    EmptyBuffer(pBuff);
    Vq32x2 position = destination;
    if (Fw_msg_StreamSeek(pStream, pErrState, &position, FW_SEEK_SET) == 0) return 0;
    pBuff->positionInStream = destination;
  } else {
    Vq32x2 difference;
    Vq32x2Subtract(&difference, &destination, &current);
    const int32 nBytes = Vq32x2AssertToInt32(&difference);
    pBuff->pCurrentPosition += nBytes;
    pBuff->nBytesInBuffer = BytesPending(pBuff) - nBytes;
  }
  *pOffset = destination;
  if (toTheStart) pBuff->fEOF = 0;
  return 1;
}

int32 FcStreamBuffered_method_Extent(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset) {
  return Fw_msg_StreamExtent(Underlying(Buffered(pObj)), pErrState, pOffset) != 0 ? 1 : 0;
}

const FwIntercept FcStreamBufferedMethods[] = {
    {_Fw_msg_CreateStreamBuffered_Handle, FwMethodOf(FcStreamBuffered_method_Create)},
    {_Fw_msg_ReadLine_Handle, FwMethodOf(FcStreamBuffered_method_ReadLine)},
    {_Fw_msg_Write_Handle, FwMethodOf(FcStreamBuffered_method_Write)},
    {_Fw_msg_StreamWrite_Handle, FwMethodOf(FcStreamBuffered_method_StreamWrite)},
    {_Fw_msg_GetUnderlyingStream_Handle, FwMethodOf(FcStreamBuffered_method_GetUnderlyingStream)},
    {_Fw_msg_StreamSeek_Handle, FwMethodOf(FcStreamBuffered_method_Seek)},
    {_Fw_msg_StreamExtent_Handle, FwMethodOf(FcStreamBuffered_method_Extent)},
    {_Fw_msg_StreamDestroy_Handle, FwMethodOf(FcStreamBuffered_method_Destroy)},
    {_Fw_msg_SetLineBuffering_Handle, FwMethodOf(FcStreamBuffered_method_SetLineBuffering)},
    {_Fw_msg_Flush_Handle, FwMethodOf(FcStreamBuffered_method_Flush)},
    {_Fw_msg_GetBufferRealPosition_Handle,
     FwMethodOf(FcStreamBuffered_method_GetBufferRealPosition)},
    {_Fw_msg_UnreadBytes_Handle, FwMethodOf(FcStreamBuffered_method_UnreadBytes)},
    {nullptr, nullptr},
};

}  // namespace

const char _Fw_msg_CreateStreamBuffered_Handle[] = "Fw_msg_CreateStreamBuffered";
const char _Fw_msg_GetUnderlyingStream_Handle[] = "Fw_msg_GetUnderlyingStream";
const char _Fw_msg_SetLineBuffering_Handle[] = "Fw_msg_SetLineBuffering";
const char _Fw_msg_ReadLine_Handle[] = "Fw_msg_ReadLine";
const char _Fw_msg_Write_Handle[] = "Fw_msg_Write";
const char _Fw_msg_Flush_Handle[] = "Fw_msg_Flush";
const char _Fw_msg_GetBufferRealPosition_Handle[] = "Fw_msg_GetBufferRealPosition";
const char _Fw_msg_UnreadBytes_Handle[] = "Fw_msg_UnreadBytes";

const FwClassRecord FwStreamBufferedClass = {FW_CLASS_COOKIE,          "StreamBufferedClass",
                                             sizeof(FwStreamBuffered), &FwStreamCoreClass,
                                             FcStreamBufferedMethods,  0};

FwObj* Fw_msg_CreateStreamBuffered(FwErrorState* pErrState, uint32 openFlags,
                                   int32 nBufferSizeInBytes, FwObj* pUnderlyingStream) {
  auto* method = FwClassFindMethodAs<Fw_msg_CreateStreamBuffered_Fn>(
      _Fw_msg_CreateStreamBuffered_Handle, &FwStreamBufferedClass);
  return method == nullptr ? nullptr
                           : method(nullptr, &FwStreamBufferedClass, pErrState, openFlags,
                                    nBufferSizeInBytes, pUnderlyingStream);
}

FwObj* Fw_msg_GetUnderlyingStream(FwObj* pObj) {
  auto* method = FwClassFindMethodAs<GetUnderlyingStreamFn>(_Fw_msg_GetUnderlyingStream_Handle,
                                                            FwClassOf(pObj));
  return method == nullptr ? nullptr : method(pObj);
}

void Fw_msg_SetLineBuffering(FwObj* pObj, int32 fBufferLines) {
  auto* method =
      FwClassFindMethodAs<SetLineBufferingFn>(_Fw_msg_SetLineBuffering_Handle, FwClassOf(pObj));
  if (method != nullptr) method(pObj, fBufferLines);
}

int32 Fw_msg_ReadLine(FwObj* pObj, FwErrorState* pErrState, FwStrRecord* pStrRec) {
  auto* method = FwClassFindMethodAs<ReadLineFn>(_Fw_msg_ReadLine_Handle, FwClassOf(pObj));
  return method == nullptr ? -1 : method(pObj, pErrState, pStrRec);
}

int32 Fw_msg_Write(FwObj* pObj, FwErrorState* pErrState, FwStrRecord* pStrRec) {
  if (!FwExpect(pObj != nullptr, "NULL Object passed to Fw_msg_Write")) return -1;
  FwStreamCore* pStream = Core(pObj);
  if (!FwExpect(pStream->reentrancy == 0, "reentrancy  in StreamWrite")) {
    pStream->fError = 1;
    return -1;
  }
  pStream->reentrancy++;
  auto* method = FwClassFindMethodAs<WriteFn>(_Fw_msg_Write_Handle, FwClassOf(pObj));
  const int32 nBytes = method == nullptr ? -1 : method(pObj, pErrState, pStrRec);
  pStream->reentrancy--;
  return nBytes;
}

int32 Fw_msg_Flush(FwObj* pObj, FwErrorState* pErrState) {
  auto* method = FwClassFindMethodAs<FlushFn>(_Fw_msg_Flush_Handle, FwClassOf(pObj));
  return method == nullptr ? -1 : method(pObj, pErrState);
}

void Fw_msg_GetBufferRealPosition(FwObj* pObj, Vq32x2* pPosition) {
  auto* method = FwClassFindMethodAs<GetBufferRealPositionFn>(_Fw_msg_GetBufferRealPosition_Handle,
                                                              FwClassOf(pObj));
  if (method != nullptr) method(pObj, pPosition);
}

void Fw_msg_UnreadBytes(FwObj* pObj, FwErrorState* pErrorState, int32 numBytesToUnread) {
  auto* method = FwClassFindMethodAs<UnreadBytesFn>(_Fw_msg_UnreadBytes_Handle, FwClassOf(pObj));
  if (method != nullptr) method(pObj, pErrorState, numBytesToUnread);
}
