// Path names as text, the gate that makes them absolute, and the directories of the process.
#include <cstring>

#include "fcboot.h"
#include "fcpp.h"
#include "fpfile.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwfile/coerce.h"
#include "fwmem.h"
#include "fwstring.h"
#include "vqassert.h"

FwTextString FcAppDir = nullptr;
FwTextString FcCurrentDir = nullptr;
FwTextString FcAppFileName = nullptr;

namespace {

constexpr FwTextByte kSeparator = '/';

std::size_t Length(FwTextString ptbz) {
  return std::strlen(FWC(ptbz));
}

bool EndsWithSeparator(const FwStrRecord* pRecord) {
  return pRecord->pbTerminator != pRecord->pbz && pRecord->pbTerminator[-1] == kSeparator;
}

// The last separator, or null.
FwTextString LastSeparator(FwTextString ptbz) {
  return reinterpret_cast<FwTextString>(std::strrchr(FWC(ptbz), kSeparator));
}

// Whether a path is one element of ASCII characters. Bytes beyond these are left to the string
// unit: it reports those that are badly encoded.
bool IsPlainElement(FwTextString ptbzPath) {
  if (!ptbzPath || !*ptbzPath) return false;
  for (FwTextString ptbz = ptbzPath; *ptbz; ++ptbz)
    if (*ptbz >= 0x80 || *ptbz == '/' || *ptbz == '\\' || *ptbz == ':') return false;
  return true;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// The process directories

void FcFileInit() {
  FpFileInit();
  FwAssert(
      !FcAppDir || (FwFileIsAbsolute(FcAppDir) && FwFileEndsWithSeparator(FcAppDir) != nullptr),
      "bad app dir");
  FwAssert(!FcCurrentDir ||
               (FwFileIsAbsolute(FcCurrentDir) && FwFileEndsWithSeparator(FcCurrentDir) != nullptr),
           "bad current dir");
  FwAssert(!FcAppFileName || FwFileIsAbsolute(FcAppFileName), "bad app file name");
}

void FcFileShutdown() {
  FpFileShutdown();
  FwMemFreeAndClear(&FcAppDir);
  FwMemFreeAndClear(&FcCurrentDir);
  FwMemFreeAndClear(&FcAppFileName);
}

void FcFileTest() {}

FwTextString FwAppDir() {
  return FcAppDir;
}

FwTextString FwCurrentDir() {
  return FcCurrentDir;
}

FwTextString FwAppFileName() {
  return FcAppFileName;
}

// ---------------------------------------------------------------------------------------------
// The root: only these two know what one looks like.

int32 FwFileParseRoot(FwStrRecord*, FwTextString* pptbzFilename) {
  if (!FwExpect(pptbzFilename && *pptbzFilename, "NULL") || **pptbzFilename != kSeparator) return 0;
  ++*pptbzFilename;
  return 1;
}

int32 FwFileBuildRoot(FwStrRecord* pRecord, FwTextString ptbzInput) {
  if (!FwExpect(pRecord && ptbzInput, "NULL") || *ptbzInput) return 0;
  FwStrPutTextCharacter(pRecord, kSeparator);
  return 1;
}

int32 FwFileSkipRoot(FwTextString* pptbzFilename) {
  return FwFileParseRoot(nullptr, pptbzFilename);
}

int32 FwFileIsAbsolute(FwTextString ptbzFilename) {
  return FwFileSkipRoot(&ptbzFilename);
}

int32 FwFileIsRoot(FwTextString ptbzFilename) {
  return FwFileSkipRoot(&ptbzFilename) && !*ptbzFilename;
}

FwTextString FwFileCopyRoot(FwStrRecord* pRecord, FwTextString ptbzFilename) {
  if (!FwExpect(pRecord && ptbzFilename, "NULL")) return ptbzFilename;
  FwTextString ptbzRest = ptbzFilename;
  if (FwFileParseRoot(pRecord, &ptbzRest)) FwFileBuildRoot(pRecord, FWT(""));
  return ptbzRest;
}

// ---------------------------------------------------------------------------------------------
// Elements

FwTextString FwFileSkipPathElement(FwTextString ptbzInput) {
  while (*ptbzInput && *ptbzInput != kSeparator)
    ++ptbzInput;
  return ptbzInput;
}

FwTextString FwFileCopyPathElement(FwStrRecord* pRecord, FwTextString ptbzInput) {
  if (!FwExpect(pRecord && ptbzInput, "NULL")) return ptbzInput;
  FwTextString ptbzEnd = FwFileSkipPathElement(ptbzInput);
  FwStrNPutTextString(pRecord, ptbzInput, static_cast<uint32>(ptbzEnd - ptbzInput));
  return ptbzEnd;
}

FwTextString FwFileSkipToLeafname(FwTextString ptbzFilename) {
  FwFileSkipRoot(&ptbzFilename);
  if (!ptbzFilename) return nullptr;
  FwTextString ptbzLast = LastSeparator(ptbzFilename);
  return ptbzLast ? ptbzLast + 1 : ptbzFilename;
}

FwTextString FwFileLastPathElement(FwTextString path) {
  FwFileSkipRoot(&path);
  if (!path) return nullptr;
  FwTextString ptbzElement = path + Length(path);
  if (ptbzElement != path && ptbzElement[-1] == kSeparator) --ptbzElement;
  while (ptbzElement != path && ptbzElement[-1] != kSeparator)
    --ptbzElement;
  return ptbzElement;
}

void FwFileRemoveLastPathElement(FwStrRecord* path) {
  if (path->pbTerminator == path->pbz) return;
  FwAssert(*path->pbTerminator == 0, "String not well terminated in FwFileRemoveLastPathElement");
  FwAssert(path->pbTerminator[-1] != 0, "Terminator points too far in FwFileRemoveLastPathElement");

  FwTextByte* ptbLast = path->pbTerminator;
  FwStrGetPreviousTextCharacter(path->pbz, &ptbLast);
  if (ptbLast == path->pbz) {
    FwStrRecordShorten(path, 0);
    return;
  }
  FwFileRemoveTrailingSeparatorRec(path);
  while (path->pbTerminator != path->pbz && !EndsWithSeparator(path)) {
    ptbLast = path->pbTerminator;
    FwStrGetPreviousTextCharacter(path->pbz, &ptbLast);
    FwStrRecordShorten(path, static_cast<uint32>(ptbLast - path->pbz));
  }
}

void FwFileRemoveFirstPathElement(FwStrRecord* path) {
  FwTextString ptbzRest = FwFileSkipPathElement(path->pbz);
  if (*ptbzRest) ++ptbzRest;
  FwTextString ptbzCopy = FwStrDuplicate(ptbzRest);
  FwStrRecordShorten(path, 0);
  FwStrPutTextString(path, ptbzCopy);
  FwMemFree(ptbzCopy);
}

// ---------------------------------------------------------------------------------------------
// Separators

FwTextString FwFileEndsWithSeparator(FwTextString ptbzFilename) {
  if (!FwExpect(ptbzFilename, "NULL") || !*ptbzFilename) return nullptr;
  FwTextString ptbzLast = ptbzFilename + Length(ptbzFilename) - 1;
  return *ptbzLast == kSeparator ? ptbzLast : nullptr;
}

void FwFileNativeSeparators(FwStrRecord* pRecord) {
  if (!pRecord) return;
  for (FwByte* pb = pRecord->pbz; *pb; ++pb)
    if (*pb == '\\') *pb = kSeparator;
}

int32 FwFileEnsureTrailingSeparator(FwStrRecord* pRecord) {
  if (!FwExpect(pRecord, "NULL") || pRecord->pbTerminator == pRecord->pbz ||
      EndsWithSeparator(pRecord))
    return 0;
  return FwStrPutTextCharacter(pRecord, kSeparator) != 0;
}

int32 FwFileEnsureTrailingSeparatorRealloc(FwTextString* pptbzFilename) {
  FwTextString ptbzOld = *pptbzFilename;
  if (!ptbzOld || !*ptbzOld || FwFileEndsWithSeparator(ptbzOld)) return 0;
  *pptbzFilename = FwFilenameConcatenateAlloc(ptbzOld, FWT(""));
  FwMemFree(ptbzOld);
  return 1;
}

int32 FwFileRemoveTrailingSeparator(FwTextString ptbzFilename) {
  FwTextString ptbzLast = FwFileEndsWithSeparator(ptbzFilename);
  if (!ptbzLast || FwFileIsRoot(ptbzFilename)) return 0;
  *ptbzLast = 0;
  return 1;
}

// Kept, as part of the interface: without the test for the root that the string form makes, so "/"
// becomes empty.
int32 FwFileRemoveTrailingSeparatorRec(FwStrRecord* pRecord) {
  if (!FwExpect(pRecord, "NULL") || !EndsWithSeparator(pRecord)) return 0;
  FwStrRecordShorten(pRecord, record_length(pRecord) - 1);
  return 1;
}

// ---------------------------------------------------------------------------------------------
// Joining

void FwFilenameConcatenate(FwStrRecord* pRecord, FwTextString ptbzRel) {
  if (!FwExpect(pRecord && ptbzRel, "NULL")) return;
  FwFileEnsureTrailingSeparator(pRecord);
  if (*ptbzRel == kSeparator) ++ptbzRel;
  FwStrPutTextString(pRecord, ptbzRel);
}

void FwFilenameConcatenateEx(FwStrRecord* dir, FwTextString path) {
  // Most are, and need no copy to be cut up.
  if (IsPlainElement(path)) {
    FwFilenameConcatenate(dir, path);
    return;
  }
  const OwnedText copy(FwStrDuplicate(path));
  FwTextString ptbzNext = copy;
  while (FwTextString ptbzElement = FwStrTok(&ptbzNext, FWT("/\\:")))
    FwFilenameConcatenate(dir, ptbzElement);
}

FwTextString FwFilenameConcatenateAlloc(FwTextString ptbzAbs, FwTextString ptbzRel) {
  // Exactly the size of the result, if ptbzRel has no separator to drop, so that closing the record
  // need not move it.
  const bool fSeparator = *ptbzAbs && !FwFileEndsWithSeparator(ptbzAbs);
  OpenRecord rec(static_cast<uint32>(Length(ptbzAbs) + fSeparator + Length(ptbzRel) + 1));
  FwStrPutTextString(&rec, ptbzAbs);
  FwFilenameConcatenate(&rec, ptbzRel);
  return rec.take();
}

// ---------------------------------------------------------------------------------------------
// Absolute names

FwTextString FiFileCoerceFilename(FwErrorState* pErrState, FwTextString ptbzFilename,
                                  uint32 flags) {
  if (!ptbzFilename) {
    FwAssertFailed("NULL filename");
    FwErrorSet(pErrState, fwErrorPointerNull, 0);
    return nullptr;
  }
  FwTextString ptbzAbsolute = ptbzFilename;
  if (!FwFileIsAbsolute(ptbzFilename)) {
    if (!FcCurrentDir) {
      FwErrorSet(pErrState, fwErrorStringSyntax, 2, FWT("File"), ptbzFilename);
      return nullptr;
    }
    ptbzAbsolute = FwFilenameConcatenateAlloc(FcCurrentDir, ptbzFilename);
  }
  if (flags == kCoerceAny) return ptbzAbsolute;

  bool fRefused = false;
  if (!FwFileEndsWithSeparator(ptbzAbsolute)) {
    // Kept, as part of the interface: tested against both bits together, so a directory name
    // without its separator passes where the root is welcome.
    if (!(flags & (kCoerceFile | kCoerceRoot))) {
      FwAssertFailed("directory name missing trailing directory separator ");
      fRefused = true;
    }
  } else if (!FwFileIsRoot(ptbzAbsolute)) {
    if (!(flags & kCoerceDirectory)) {
      FwAssertFailed("trailing directory separator when file name expected");
      fRefused = true;
    }
  } else if (!(flags & kCoerceRoot)) {
    FwAssertFailed("root directory when file name expected");
    fRefused = true;
  }
  if (!fRefused) return ptbzAbsolute;
  FwErrorSet(pErrState, fwErrorStringValue, 2, FWT("File"), ptbzFilename);
  FiFileFreeCoerced(ptbzAbsolute, ptbzFilename);
  return nullptr;
}

void FiFileFreeCoerced(FwTextString ptbzCoerced, FwTextString ptbzFilename) {
  if (ptbzCoerced && ptbzCoerced != ptbzFilename) FwMemFree(ptbzCoerced);
}

FwTextString FwFileAbsolutePath(FwErrorState* pErrState, FwTextString ptbzPath) {
  FwTextString ptbzAbsolute = FiFileCoerceFilename(pErrState, ptbzPath, kCoerceAny);
  return ptbzAbsolute && ptbzAbsolute == ptbzPath ? FwStrDuplicate(ptbzPath) : ptbzAbsolute;
}

int32 FwFilenameLengthOK(FwTextString ptbzFilename) {
  LocalError err;
  const OwnedText absolute(FwFileAbsolutePath(&err, ptbzFilename));
  return absolute && FpFilenameLengthOK(absolute);
}

FwTextString FwFilenameContainsFilename(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                        FwTextString ptbzFilename2) {
  if (!ptbzFilename1 && !ptbzFilename2) return FwStrDuplicate(FWT(""));
  if (!ptbzFilename1 || !ptbzFilename2) return nullptr;
  if (std::strcmp(FWC(ptbzFilename1), FWC(ptbzFilename2)) == 0)
    return FwStrDuplicate(ptbzFilename2);

  // Kept, as part of the interface: the caller's own string loses its separator.
  FwFileRemoveTrailingSeparator(ptbzFilename1);

  OpenRecord head;
  FwTextString ptbzTail = FwFileCopyRoot(&head, ptbzFilename2);
  ptbzTail = FwFileCopyPathElement(&head, ptbzTail);
  // Kept, as part of the interface: the loop ends with the last element copied, so the whole of the
  // second name is compared as text only, above.
  while (*ptbzTail) {
    if (FwFilenamesReferToSameFile(pErrState, ptbzFilename1, head.pbz)) return head.take();
    if (*ptbzTail == kSeparator) {
      FwStrPutTextCharacter(&head, kSeparator);
      ++ptbzTail;
    }
    ptbzTail = FwFileCopyPathElement(&head, ptbzTail);
  }
  return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Extensions

FwTextByte* FwFileFindExtension(FwStrRecord* filename) {
  FwTextByte* ptb = filename->pbTerminator;
  for (;;) {
    FwTextByte* const ptbAfter = ptb;
    const FwTextCharacter tc = FwStrGetPreviousTextCharacter(filename->pbz, &ptb);
    if (tc == 0 || tc == kSeparator) return nullptr;
    if (tc == '.') return ptbAfter;
  }
}

int32 FwFileCheckExtension(FwStrRecord* filename, FwTextString wanted_ext) {
  FwTextByte* ptbzExtension = FwFileFindExtension(filename);
  return ptbzExtension && std::strcmp(FWC(ptbzExtension), FWC(wanted_ext)) == 0;
}

int32 FwFileChangeExtension(FwTextString filename, FwStrRecord* result, FwTextString new_ext) {
  FwStrRecordShorten(result, 0);
  FwStrPutTextString(result, filename);
  FwTextByte* ptbzExtension = FwFileFindExtension(result);
  if (!ptbzExtension) return 0;
  const auto cbStem = static_cast<uint32>(ptbzExtension - result->pbz);
  if (!new_ext) {
    FwStrRecordShorten(result, cbStem - 1);
    return 1;
  }
  FwStrRecordShorten(result, cbStem);
  FwStrPutTextString(result, new_ext);
  return 1;
}
