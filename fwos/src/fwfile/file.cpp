// Open files, and what the system knows of a file. Arguments are checked here and the work is
// handed to the platform half.
#include <algorithm>
#include <cstring>

#include "fcboot.h"
#include "fcfile.h"  // IWYU pragma: keep: its declaration makes the constant below one for all
#include "fcpp.h"
#include "fcstring.h"
#include "fpfile.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwfile/coerce.h"
#include "fwfile/validate.h"
#include "fwmem.h"
#include "fwstring.h"
#include "vqassert.h"

const FwFileOpenExtras fcFileOpenExtrasDefault = {};

namespace {

constexpr uint32 kOpenFlags = 0xff;

// With a tickle function installed no transfer holds the program longer than this takes.
constexpr uint32 kTransferChunk = 0x20000;

constexpr uint32 kReadRecordBlock = 0x400;

constexpr uint32 kExtendLocal = 4096;

using PlatformTransfer = uint32(FwErrorState*, FwFile, void*, uint32);

bool FiFileValidateHandle(FwErrorState* pErrState, FwFile fileHandle) {
  if (fileHandle >= 0) return true;
  FwErrorSet(pErrState, fwErrorNumericRange, 0);
  return false;
}

uint32 Transfer(FwErrorState* pErrState, FwFile fileHandle, void* Buffer, uint32 Size,
                PlatformTransfer* pPlatform) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, Buffer) ||
      !FiFileValidateHandle(pErrState, fileHandle))
    return 0;
  const bool fTickle = fcBootContext.control.application_tickle != nullptr;
  uint32 total = 0;
  while (!pErrState->pError && total < Size) {
    uint32 cbChunk = Size - total;
    if (fTickle) {
      if (FcAppTickle(0, 1)) {
        FwErrorSet(pErrState, fwErrorAbort, 0);
        return total;
      }
      cbChunk = std::min(cbChunk, kTransferChunk);
    }
    const uint32 cb =
        pPlatform(pErrState, fileHandle, static_cast<uint8*>(Buffer) + total, cbChunk);
    total += cb;
    if (cb != cbChunk) break;
  }
  return total;
}

uint32 RecordRoom(const FwStrRecord* pRecord) {
  return static_cast<uint32>(pRecord->pbLast - pRecord->pbTerminator);
}

std::size_t RecordCapacity(const FwStrRecord* pRecord) {
  return static_cast<std::size_t>(pRecord->pbLast - pRecord->pbz) + 1;
}

// Reads into the room of a record, and moves its terminator.
uint32 ReadIntoRecord(FwErrorState* pErrState, FwFile fileHandle, FwStrRecord* pRecord, uint32 cb) {
  const uint32 cbRead = FwFileRead(pErrState, fileHandle, pRecord->pbTerminator, cb);
  pRecord->pbTerminator += cbRead;
  *pRecord->pbTerminator = 0;
  return cbRead;
}

// Writes pSize bytes at the end of the file, with *pOffset rising by what was written.
int32 FiFileSeekExtend(FwErrorState* pErrState, FwFile fileHandle, Vq32x2* pOffset, Vq32x2* pSize) {
  const bool fArguments =
      pErrState && fileHandle >= 0 && Vq32x2Sign(pOffset) >= 0 && Vq32x2Sign(pSize) > 0;
  if (!FwExpect(fArguments, "FwFileSeekExtend: bad args")) return 0;

  uint8 local[kExtendLocal] = {};
  void* pAllocated = nullptr;
  uint32 cbBuffer = kExtendLocal;
  if (Vq32x2CompareUint32(pSize, kExtendLocal) > 0) {
    const uint32 cbWanted = std::min(Vq32x2BoundToUint32(pSize), kTransferChunk);
    pAllocated = FwMemAlloc(cbWanted, ALLOC_MAY_FAIL | INIT_ZERO);
    if (pAllocated) cbBuffer = cbWanted;
  }
  void* pBuffer = pAllocated ? pAllocated : local;
  while (!pErrState->pError && Vq32x2Sign(pSize) > 0) {
    const uint32 cbChunk = std::min(Vq32x2BoundToUint32(pSize), cbBuffer);
    const uint32 cb = FwFileWrite(pErrState, fileHandle, pBuffer, cbChunk);
    Vq32x2AddUint32(pOffset, pOffset, cb);
    Vq32x2SubtractUint32(pSize, pSize, cb);
  }
  if (pAllocated) FwMemFree(pAllocated);
  return pErrState->pError == nullptr;
}

// Makes a positive offset absolute. The end of the file is stored in *pEnd.
bool MakeOffsetAbsolute(FwErrorState* pErrState, FwFile fileHandle, Vq32x2* pOffset, uint32 From,
                        Vq32x2* pEnd) {
  if (!FwFileExtent(pErrState, fileHandle, pEnd)) return false;
  if (From == FW_SEEK_CUR) {
    Vq32x2 tmpPos;
    if (!FpFileSeek(pErrState, fileHandle, &tmpPos, FW_SEEK_CUR)) return false;
    Vq32x2Add(pOffset, pOffset, &tmpPos);
  } else if (From == FW_SEEK_END) {
    Vq32x2Add(pOffset, pOffset, pEnd);
  }
  return true;
}

// Seeks to a positive offset, extending the file up to it.
int32 SeekForward(FwErrorState* pErrState, FwFile fileHandle, Vq32x2* pOffset, uint32 From,
                  bool* pfExtended) {
  Vq32x2 end;
  if (!MakeOffsetAbsolute(pErrState, fileHandle, pOffset, From, &end)) return 0;
  if (Vq32x2Compare(pOffset, &end) <= 0)
    return FpFileSeek(pErrState, fileHandle, pOffset, FW_SEEK_SET);
  Vq32x2 tmpPos;
  if (!FpFileSeek(pErrState, fileHandle, &tmpPos, FW_SEEK_END)) return 0;
  Vq32x2Subtract(&tmpPos, pOffset, &end);
  *pOffset = end;
  *pfExtended = true;
  return FiFileSeekExtend(pErrState, fileHandle, pOffset, &tmpPos);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Handles

FwFile FwFileOpen(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags) {
  FwFileOpenExtras extras = fcFileOpenExtrasDefault;
  return FwFileOpenExtended(pErrState, ptbzFilename, flags, &extras);
}

FwFile FwFileOpenExtended(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags,
                          FwFileOpenExtras* pExtras) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, pExtras)) return FW_FILE_INVALID;
  const bool fFork = pExtras->nFork == 0;
  FwAssert(!(flags & ~kOpenFlags) && fFork, "bad arg");
  if (!fFiFileFlags(pErrState, flags, kOpenFlags)) return FW_FILE_INVALID;
  if (!fFork) {
    FwErrorSet(pErrState, fwErrorNumericRange, 0);
    return FW_FILE_INVALID;
  }
  const FiCoercedName absolute(pErrState, ptbzFilename, kCoerceFile);
  if (!absolute) return FW_FILE_INVALID;
  const FwFile fileHandle = FpFileOpenExtended(pErrState, absolute, flags, pExtras);
  FwAssert(fileHandle >= FW_FILE_INVALID, "invalid -ve handle");
  return fileHandle;
}

FwFile FwFileFromPlatformFileHandle(int32 handle) {
  return handle;
}

int32 FwFileClose(FwErrorState* pErrState, FwFile fileHandle) {
  if (!fFiFileState(pErrState) || !FiFileValidateHandle(pErrState, fileHandle)) return 0;
  return FpFileClose(pErrState, fileHandle);
}

// ---------------------------------------------------------------------------------------------
// Transfer

uint32 FwFileRead(FwErrorState* pErrState, FwFile fileHandle, void* Buffer, uint32 Size) {
  return Transfer(pErrState, fileHandle, Buffer, Size, FpFileRead);
}

uint32 FwFileWrite(FwErrorState* pErrState, FwFile fileHandle, void* Buffer, uint32 Size) {
  return Transfer(pErrState, fileHandle, Buffer, Size, FpFileWrite);
}

void FwFileWriteString(FwErrorState* pErrState, FwFile fileHandle, FwTextString string) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, string)) return;
  FwFileWrite(pErrState, fileHandle, string, static_cast<uint32>(std::strlen(FWC(string))));
}

uint32 FwFileReadRecord(FwErrorState* pErrState, FwFile fileHandle, FwStrRecord* pRecord) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, pRecord)) return 0;
  const uint32 cbBefore = record_length(pRecord);
  if (pRecord->fFixed) {
    ReadIntoRecord(pErrState, fileHandle, pRecord, RecordRoom(pRecord));
    return record_length(pRecord) - cbBefore;
  }
  uint32 cbRead = 1;
  while (!pErrState->pError && cbRead) {
    if (RecordRoom(pRecord) < kReadRecordBlock)
      FcStrRecordResize(pRecord, RecordCapacity(pRecord) + kReadRecordBlock + 1);
    cbRead = ReadIntoRecord(pErrState, fileHandle, pRecord, kReadRecordBlock);
  }
  return record_length(pRecord) - cbBefore;
}

uint32 FwFileReadLineRecord(FwErrorState* pErrState, FwFile fileHandle, FwStrRecord* pRecord) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, pRecord)) return 0;
  const uint32 cbBefore = record_length(pRecord);
  for (;;) {
    if (RecordRoom(pRecord) == 0) {
      if (pRecord->fFixed) break;
      const std::size_t cbWanted = 2 * RecordCapacity(pRecord) + 2;
      FcStrRecordResize(pRecord, cbWanted ? cbWanted : 0x20);
    }
    uint8 byte;
    if (!FwFileRead(pErrState, fileHandle, &byte, 1) || byte == 0 || byte == '\n') break;
    *pRecord->pbTerminator++ = byte;
    *pRecord->pbTerminator = 0;
  }
  return record_length(pRecord) - cbBefore;
}

// ---------------------------------------------------------------------------------------------
// Positions

int32 FwFileSeek(FwErrorState* pErrState, FwFile fileHandle, Vq32x2* pOffset, uint32 From) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, pOffset)) return 0;
  const int32 nSign = Vq32x2Sign(pOffset);
  const bool fAskPosition = From == FW_SEEK_CUR && nSign == 0;
  bool fExtended = false;
  int32 fSuccess = 0;
  if (FiFileValidateHandle(pErrState, fileHandle)) {
    if (From > FW_SEEK_END || (nSign < 0 && From == FW_SEEK_SET)) {
      FwErrorSet(pErrState, fwErrorNumericRange, 0);
    } else if (nSign > 0) {
      fSuccess = SeekForward(pErrState, fileHandle, pOffset, From, &fExtended);
    } else {
      FwAssert(nSign == 0 || nSign == -1, "bad sign");
      fSuccess = FpFileSeek(pErrState, fileHandle, pOffset, From);
    }
  }
  if (fSuccess || fExtended) return fSuccess;

  LocalError err;
  Vq32x2 position;
  if (fAskPosition || !FpFileSeek(&err, fileHandle, &position, FW_SEEK_CUR)) {
    position.low = 0xffffffff;
    position.high = -1;
  }
  *pOffset = position;
  return 0;
}

int32 FwFileExtent(FwErrorState* pErrState, FwFile fileHandle, Vq32x2* pExtent) {
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, pExtent) ||
      !FiFileValidateHandle(pErrState, fileHandle))
    return 0;
  return FpFileExtent(pErrState, fileHandle, pExtent);
}

// ---------------------------------------------------------------------------------------------
// Information

int32 FwFileGetInfo(FwErrorState* pErrState, FwTextString ptbzFilename, FwFileInfo* pInfo,
                    uint32 flags) {
  if (!fFiFileState(pErrState)) return 0;
  FwAssert(!(flags & ~FW_INFO_NOFOLLOW), "bad arg");
  if (!fFiFileFlags(pErrState, flags, FW_INFO_NOFOLLOW)) return 0;
  if (!fFiFileCanBeAbsolute(pErrState, ptbzFilename)) return 0;
  // Kept, as part of the interface: only that the name can be made absolute counts. The platform
  // gets it as it stands, so a relative one is looked up in the real current directory.
  return FpFileGetInfo(pErrState, ptbzFilename, pInfo, flags);
}

int32 FwFileSetInfo(FwErrorState* pErrState, FwTextString ptbzFilename, FwFileInfo* pInfo,
                    uint32 flags) {
  constexpr uint32 kFlags = FW_INFO_ATTRIBUTES | FW_INFO_MODIFIED_TIME | FW_INFO_ACCESS_TIME;
  if (!fFiFileState(pErrState) || !fFiFileArgument(pErrState, pInfo)) return 0;
  FwAssert(!(flags & ~kFlags), "bad arg");
  if (!fFiFileFlags(pErrState, flags, kFlags)) return 0;
  if (!fFiFileCanBeAbsolute(pErrState, ptbzFilename)) return 0;
  if (!(flags & FW_INFO_ATTRIBUTES) || (pInfo->attributes & FW_FILE_ATTR_WRITABLE))
    return FpFileSetInfo(pErrState, ptbzFilename, pInfo, flags);
  // The times are set before the file turns read-only.
  return FpFileSetInfo(pErrState, ptbzFilename, pInfo, flags & ~FW_INFO_ATTRIBUTES) &&
         FpFileSetInfo(pErrState, ptbzFilename, pInfo, FW_INFO_ATTRIBUTES);
}

long double FwFileTimeToSeconds(VqU32x2* pFileTime) {
  return static_cast<long double>(pFileTime->low) * 1e-9L +
         static_cast<long double>(pFileTime->high);
}

namespace {

using PlatformCompare = int32(FwErrorState*, FwTextString, FwTextString);

int32 CompareNames(FwErrorState* pErrState, FwTextString ptbzFilename1, FwTextString ptbzFilename2,
                   PlatformCompare* pPlatform) {
  if (!fFiFileState(pErrState)) return 0;
  const FiCoercedName absolute1(pErrState, ptbzFilename1, kCoerceAny);
  if (!absolute1) return 0;
  const FiCoercedName absolute2(pErrState, ptbzFilename2, kCoerceAny);
  return absolute2 && pPlatform(pErrState, absolute1, absolute2);
}

}  // namespace

int32 FwFilenamesReferToSameFile(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                 FwTextString ptbzFilename2) {
  return CompareNames(pErrState, ptbzFilename1, ptbzFilename2, FpFilenamesReferToSameFile);
}

int32 FwFilenamesReferToSameDisk(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                 FwTextString ptbzFilename2) {
  return CompareNames(pErrState, ptbzFilename1, ptbzFilename2, FpFilenamesReferToSameDisk);
}
