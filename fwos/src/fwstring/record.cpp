// String records: life, growth and puts.
#include <algorithm>
#include <cstring>

#include "fcpp.h"
#include "fcstring.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwstring/terminated.h"
#include "fwstrprf.h"
#include "fwunicod.h"
#include "vqassert.h"

namespace {

constexpr uint32 kFirstSize = 32;

// Bytes from the terminator to the end of the buffer, both included.
size_t RoomOf(const FwStrRecord* pRecord) {
  return static_cast<size_t>(pRecord->pbLast - pRecord->pbTerminator) + 1;
}

bool IsOpen(const FwStrRecord* pRecord) {
  return pRecord != nullptr && pRecord->pbz != nullptr;
}

size_t StrlenOf(const FwByte* pbz) {
  return std::strlen(reinterpret_cast<const char*>(pbz));
}

// Whether the noted end of whole characters still is one. Some callers change a buffer in place,
// and then it may stand inside a character.
bool NoteHolds(const FwStrRecord* pRecord) {
  const FwByte* const pbNote = pRecord->pbz + pRecord->cbWellTerminated;
  if (pbNote > pRecord->pbTerminator) return false;
  if (FwStrGetByteType(*pbNote) != FW_TEXTBYTE_TRAIL) return true;
  const FwByte* pbLead = pbNote;
  while (pbLead > pRecord->pbz && pbNote - pbLead < 6 &&
         FwStrGetByteType(*--pbLead) == FW_TEXTBYTE_TRAIL) {
  }
  return FcUTF8LeadLength(*pbLead) <= pbNote - pbLead;
}

// Whether whole characters end at the terminator, or at a zero before it. Starts where an earlier
// check left off, so that a string built piece by piece is decoded once.
bool CheckTerminated(FwStrRecord* pRecord) {
  if (!NoteHolds(pRecord)) pRecord->cbWellTerminated = 0;
  const FcStrCheck check = FcStrCheckCharacters(pRecord->pbz + pRecord->cbWellTerminated,
                                                record_length(pRecord) - pRecord->cbWellTerminated);
  // At a zero the note stays, and with it what every later check finds.
  pRecord->cbWellTerminated = static_cast<uint32>(check.ptbEnd - pRecord->pbz);
  return check.fWellTerminated;
}

// Makes room for cbNeeded bytes from the terminator on; growing requests cbRequested beyond the
// capacity.
bool EnsureRoom(FwStrRecord* pRecord, size_t cbNeeded, size_t cbRequested) {
  if (RoomOf(pRecord) >= cbNeeded) return true;
  if (pRecord->fFixed) return false;
  FcStrRecordResize(pRecord, static_cast<size_t>(pRecord->pbLast - pRecord->pbz) + cbRequested + 1);
  FwAssert(RoomOf(pRecord) >= cbNeeded, "Should be growing!");
  return true;
}

void Append(FwStrRecord* pRecord, const FwByte* pb, size_t cb) {
  if (cb != 0) std::memcpy(pRecord->pbTerminator, pb, cb);
  pRecord->pbTerminator += cb;
  *pRecord->pbTerminator = 0;
}

void OpenGrowing(FwStrRecord* pRecord, uint32 cbSize) {
  pRecord->pbz = static_cast<FwString>(FwMemAlloc(cbSize, ALLOC_MUST_SUCCEED | INIT_NONE));
  pRecord->pbLast = pRecord->pbz + cbSize - 1;
  pRecord->pbTerminator = pRecord->pbz;
  pRecord->fFixed = 0;
  pRecord->fTruncated = 0;
  pRecord->cbWellTerminated = 0;
  *pRecord->pbz = 0;
}

// Fills a fixed record to its last byte.
void FillAndTruncate(FwStrRecord* pRecord, const FwByte* pb) {
  Append(pRecord, pb, RoomOf(pRecord) - 1);
  FwAssert(pRecord->pbTerminator == pRecord->pbLast, "Didn't fill up record");
  pRecord->fTruncated = 1;
}

}  // namespace

void FwStrRecordOpen(FwStrRecord* pRecord) {
  if (!FwExpect(pRecord != nullptr, "No record to Init")) return;
  OpenGrowing(pRecord, kFirstSize);
}

void FwStrRecordOpenSize(FwStrRecord* pRecord, uint32 cbSize) {
  if (!FwExpect(pRecord != nullptr, "No record to Init")) return;
  FwAssert(cbSize != 0, "Zero initial size");
  OpenGrowing(pRecord, std::max<uint32>(cbSize, 1));
}

void FwStrRecordOpenOn(FwStrRecord* pRecord, FwString pb, uint32 cbSize) {
  if (!FwExpect(pRecord != nullptr, "No record to Init")) return;
  *pRecord = {};
  if (!FwExpect(pb != nullptr, "No initial byte string")) return;
  if (!FwExpect(cbSize != 0, "Can't have 0 size")) return;
  pRecord->pbz = pb;
  pRecord->pbLast = pb + cbSize - 1;
  pRecord->pbTerminator = pb + FcStrNSize(pb, cbSize) - 1;
  pRecord->fFixed = 1;
  FwAssert(CheckTerminated(pRecord), "Badly terminated string");
}

FwString FwStrRecordClose(FwStrRecord* pRecord) {
  if (!FwExpect(pRecord != nullptr, "NULL param")) return nullptr;
  FwString pbz = pRecord->pbz;
  if (!FwExpect(pbz != nullptr, "NULL buffer from closed record")) return nullptr;
  if (!pRecord->fFixed && pRecord->pbTerminator != pRecord->pbLast) {
    const size_t cbSize = size_t{record_length(pRecord)} + 1;
    pbz = static_cast<FwString>(FwMemAlloc(cbSize, ALLOC_MUST_SUCCEED | INIT_NONE));
    std::memcpy(pbz, pRecord->pbz, cbSize);
    FwMemFree(pRecord->pbz);
  }
  pRecord->pbz = nullptr;
  return pbz;
}

void FwStrRecordAbandon(FwStrRecord* pRecord) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return;
  if (!pRecord->fFixed) FwMemFree(pRecord->pbz);
  pRecord->pbz = nullptr;
}

uint32 FwStrRecordShorten(FwStrRecord* pRecord, uint32 cbLength) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return 0;
  if (cbLength <= record_length(pRecord)) {
    pRecord->pbTerminator = pRecord->pbz + cbLength;
    *pRecord->pbTerminator = 0;
    pRecord->fTruncated = 0;
  }
  FwAssert(CheckTerminated(pRecord), "Bad shorten");
  return record_length(pRecord);
}

size_t FcStrGetGrowBufferSize(size_t cbRequest) {
  // A request near the end of the range is beyond any allocator, as is the answer.
  if (cbRequest > SIZE_MAX / 8) return SIZE_MAX;
  size_t cbSize = kFirstSize;
  while (cbSize <= 2 * cbRequest)
    cbSize *= 2;
  return cbSize;
}

void FcStrRecordResize(FwStrRecord* pRecord, size_t cbSize) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return;
  if (!FwExpect(!pRecord->fFixed, "Can't resize fixed record")) return;
  if (!FwExpect(cbSize != 0, "Never resize to 0")) return;

  const size_t cbCapacity = static_cast<size_t>(pRecord->pbLast - pRecord->pbz) + 1;
  if (cbSize == cbCapacity) return;
  FwAssert(*pRecord->pbTerminator == 0, "Bad old terminator");
  const size_t cbNew = cbSize > cbCapacity ? FcStrGetGrowBufferSize(cbSize) : cbSize;
  auto* pbNew = static_cast<FwString>(FwMemAlloc(cbNew, ALLOC_MUST_SUCCEED | INIT_NONE));
  size_t cbLength = record_length(pRecord);
  if (cbLength >= cbNew) {
    FwTextByte* ptbStraddling = nullptr;
    cbLength = cbNew - 1;
    if (!fFcStrNWellTerminated(pRecord->pbz, static_cast<uint32>(cbLength), &ptbStraddling))
      cbLength = static_cast<size_t>(ptbStraddling - pRecord->pbz);
  }
  std::memcpy(pbNew, pRecord->pbz, cbLength);
  pbNew[cbLength] = 0;
  FwMemFree(pRecord->pbz);
  pRecord->pbz = pbNew;
  pRecord->pbLast = pbNew + cbNew - 1;
  pRecord->pbTerminator = pbNew + cbLength;
  FwAssert(pRecord->pbTerminator <= pRecord->pbLast, "Bad resize");
}

uint32 FwStrPutTextCharacter(FwStrRecord* pRecord, FwTextCharacter tc) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return 0;
  if (!FwExpect(tc != 0, "Attempt to insert zero text character") || pRecord->fTruncated) return 0;

  FwTextByte ab[6];
  const uint32 cb = FwCharacterToUTF8(tc, ab);
  if (!EnsureRoom(pRecord, cb + 1, cb)) return 0;
  const bool fWellTerminated = pRecord->cbWellTerminated == record_length(pRecord);
  Append(pRecord, ab, cb);
  // Behind whole characters one more needs no look, and neither does a byte that can't lead one.
  if (fWellTerminated && (cb > 1 || FcUTF8LeadLength(ab[0]) <= 1)) {
    pRecord->cbWellTerminated += cb;
    return cb;
  }
  FwAssert(CheckTerminated(pRecord), "Badly terminated string");
  return cb;
}

uint32 FwStrPutTextString(FwStrRecord* pRecord, FwTextString ptbz) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return 0;
  if (!FwExpect(ptbz != nullptr, "NULL ptbz") || pRecord->fTruncated) return 0;

  const size_t cbLength = StrlenOf(ptbz);
  if (EnsureRoom(pRecord, cbLength + 1, cbLength + 1)) {
    Append(pRecord, ptbz, cbLength);
    FwAssert(CheckTerminated(pRecord), "Badly terminated string");
    return static_cast<uint32>(cbLength);
  }
  uint32 cbAdded = 0;
  FwTextByte* ptb = ptbz;
  for (FwTextCharacter tc; !pRecord->fTruncated && (tc = FwStrGetTextCharacter(&ptb)) != 0;)
    cbAdded += FwStrPutTextCharacter(pRecord, tc);
  FwAssert(pRecord->pbTerminator <= pRecord->pbLast, "Overflow");
  FwAssert(CheckTerminated(pRecord), "Badly terminated string");
  return cbAdded;
}

uint32 FwStrNPutTextString(FwStrRecord* pRecord, FwTextByte* ptb, uint32 cbLength) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return 0;
  FwAssert(ptb != nullptr, "NULL ptb");
  FwAssert(cbLength < 0x7FFFFFFF, "Bad cbLength");
  if (ptb == nullptr || cbLength >= 0x7FFFFFFF || pRecord->fTruncated) return 0;

  const size_t cbSource = strnlen(reinterpret_cast<const char*>(ptb), cbLength);
  if (EnsureRoom(pRecord, cbSource + 1, cbSource + 1)) {
    Append(pRecord, ptb, cbSource);
    FwAssert(CheckTerminated(pRecord), "Badly terminated string");
    return static_cast<uint32>(cbSource);
  }
  uint32 cbAdded = 0;
  FwTextByte* const ptbEnd = ptb + cbSource;
  while (!pRecord->fTruncated && ptb < ptbEnd) {
    // Looked at beforehand: the text needn't be terminated.
    if (std::max<uint32>(FcUTF8LeadLength(*ptb), 1) > static_cast<size_t>(ptbEnd - ptb)) break;
    const FwTextCharacter tc = FwStrGetTextCharacter(&ptb);
    if (!FwExpect(tc != 0, "Wasn't expecting terminator")) break;
    cbAdded += FwStrPutTextCharacter(pRecord, tc);
  }
  FwAssert(cbAdded <= cbSource, "Put too much in");
  FwAssert(CheckTerminated(pRecord), "Badly terminated string");
  return cbAdded;
}

uint32 FwStrPutRawByte(FwStrRecord* pRecord, FwRawByte rb) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return 0;
  // Kept, as part of the interface: a record already truncated takes nothing and still tells 1, one
  // that has just run out of room tells 0.
  if (pRecord->fTruncated) return 1;
  if (!EnsureRoom(pRecord, 2, 1)) {
    pRecord->fTruncated = 1;
    return 0;
  }
  Append(pRecord, &rb, 1);
  return 1;
}

uint32 FwStrPutRawString(FwStrRecord* pRecord, FwRawString prbz) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return 0;
  if (!FwExpect(prbz != nullptr, "No raw byte string to put") || pRecord->fTruncated) return 0;

  const size_t cbLength = StrlenOf(prbz);
  if (EnsureRoom(pRecord, cbLength + 1, cbLength + 1)) {
    Append(pRecord, prbz, cbLength);
    return static_cast<uint32>(cbLength);
  }
  const auto cbRoom = static_cast<uint32>(RoomOf(pRecord) - 1);
  FillAndTruncate(pRecord, prbz);
  return cbRoom;
}

uint32 FwStrNPutRawString(FwStrRecord* pRecord, FwRawByte* prb, uint32 cbLength) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return 0;
  if (!FwExpect(prb != nullptr, "No raw byte string to put") || pRecord->fTruncated) return 0;

  const uint32 cbSize = FcStrNSize(prb, cbLength);
  if (cbSize == 0) return 0;
  const size_t cbSource = prb[cbSize - 1] == 0 ? cbSize - 1 : cbSize;
  if (EnsureRoom(pRecord, cbSource + 1, cbSource + 1)) {
    Append(pRecord, prb, cbSource);
    return static_cast<uint32>(cbSource);
  }
  const auto cbRoom = static_cast<uint32>(RoomOf(pRecord) - 1);
  FwAssert(cbRoom > 0, "Non +ve size");
  FillAndTruncate(pRecord, prb);
  return cbRoom;
}

uint32 FcStrMultiPutTextCharacter(FwStrRecord* pRecord, FwTextCharacter tc, uint32 nRepeats) {
  constexpr uint32 kBuffer = 128;
  FwTextByte ab[kBuffer + 1];
  const uint32 cb = FwCharacterToUTF8(tc, ab);
  const uint32 nPerBuffer = kBuffer / cb;
  const uint32 nInBuffer = std::min(nPerBuffer, nRepeats);
  for (uint32 i = 1; i < nInBuffer; i++)
    std::memcpy(ab + i * cb, ab, cb);
  ab[std::max<uint32>(nInBuffer, 1) * cb] = 0;

  uint32 cbAdded = 0;
  for (uint32 n = nRepeats / nPerBuffer; n > 0; n--)
    cbAdded += FwStrPutTextString(pRecord, ab);
  // Kept, as the defined result: the rest is counted in characters and passed as bytes; padding,
  // the only use, has characters of one byte.
  const uint32 nRest = nRepeats % nPerBuffer;
  if (nRest > 0) cbAdded += FwStrNPutTextString(pRecord, ab, nRest);
  return cbAdded;
}

uint32 FcStrRecordInsertCharacter(FwStrRecord* pRecord, uint32 nPosition, FwTextCharacter tc) {
  FwAssert(pRecord != nullptr, "NULL param");
  if (!IsOpen(pRecord)) return 0;
  const size_t cbLength = record_length(pRecord);
  if (!FwExpect(nPosition < cbLength + 1, "Bad position")) return 0;
  if (nPosition == cbLength) return FwStrPutTextCharacter(pRecord, tc);

  FwTextByte ab[6];
  if (pRecord->fFixed && FwCharacterToUTF8(tc, ab) >= RoomOf(pRecord)) return 0;
  // Kept, as part of the interface: the copy of the tail is never freed.
  FwTextString ptbzTail = FwStrDuplicate(pRecord->pbz + nPosition);
  FwStrRecordShorten(pRecord, nPosition);
  const uint32 cbAdded = FwStrPutTextCharacter(pRecord, tc);
  FwStrPutTextString(pRecord, ptbzTail);
  return cbAdded;
}

uint32 FcStrNSize(FwByte* pabBuffer, uint32 cbSize) {
  if (!FwExpect(cbSize != 0, "No cbSize")) return 0;
  const void* pvZero = std::memchr(pabBuffer, 0, cbSize);
  return pvZero == nullptr
             ? cbSize
             : static_cast<uint32>(static_cast<const FwByte*>(pvZero) - pabBuffer) + 1;
}

int32 FwStrNCpy(FwTextString ptbzDest, FwTextString ptbzSrc, uint32 sizeDest) {
  if (!FwExpect(sizeDest != 0, "zero destination size")) return 0;
  if (!FwExpect(ptbzDest != nullptr, "NULL ptbz")) return 0;
  ptbzDest[0] = 0;
  FwStrRecord record;
  FwStrRecordOpenOn(&record, ptbzDest, sizeDest);
  const uint32 cbWritten = FwStrPutTextString(&record, ptbzSrc);
  FwAssert(!record.fTruncated, "src too long");
  FwStrRecordClose(&record);
  return static_cast<int32>(cbWritten);
}

uint32 FwStrPutInt(FwStrRecord* pRecord, int32 value) {
  return FwStrPrintInt(pRecord, value, 'd', 0, 1, 0, 0, 0, 1, 0);
}

uint32 FwStrPutIntLocal(FwStrRecord* pRecord, int32 value) {
  return FwStrPrintInt(pRecord, value, 'd', 0, 1, 0, 0, 0, 0, 0);
}

uint32 FwStrPutFloat(FwStrRecord* pRecord, double value) {
  return FwStrPrintReal(pRecord, value, 'f', 0, -2, 0, 0, 0, 1, 0);
}

uint32 FwStrPutReal(FwStrRecord* pRecord, double value, int32 nPrecision) {
  return FwStrPrintReal(pRecord, value, 'g', 0, nPrecision, 0, 0, 0, 1, 0);
}
