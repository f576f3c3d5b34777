// Trees of files: copying, attributes, sizes.
//
// A side-file dir/.AppleDouble/name holds the extra data of dir/name. It is looked for at the top
// of a tree only: below, the directories of side-files are ordinary ones.

#include <cstring>

#include "fcpp.h"
#include "fpfile.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwfile/coerce.h"
#include "fwfile/validate.h"
#include "fwprog.h"
#include "fwstring.h"
#include "vqassert.h"

namespace {

// A directory that is being filled, with the one around it.
struct Filled {
  FpFileId id;
  const Filled* pOuter;
};

// What a part of a tree is copied by.
struct TreeCopy {
  FwObj* progress;
  FwTextString ptbzExcept;             // name of directories to be skipped; null or empty: none
  const Filled* pInnermost = nullptr;  // the target's directory, null at the top
};

// A record that starts with a name.
struct PathRecord : OpenRecord {
  explicit PathRecord(FwTextString ptbz) { FwStrPutTextString(this, ptbz); }
};

// Tells a name that was handled; sets fwErrorAbort if the work is to stop.
bool Report(FwErrorState* err, FwObj* progress, FwTextString ptbzName) {
  if (!progress || Fw_msg_Progress(progress, ptbzName)) return true;
  FwErrorSet(err, fwErrorAbort, 0);
  return false;
}

bool Exists(FwTextString ptbzName) {
  LocalError err;
  return FwFileGetInfo(&err, ptbzName, nullptr, 0);
}

// Sets out to the name of the side-file, and returns its length.
uint32 FiFileAppleName(FwStrRecord* out, FwTextString path) {
  FwTextString ptbzLeaf = FwFileSkipToLeafname(path);
  FwStrRecordShorten(out, 0);
  FwStrNPutTextString(out, path, static_cast<uint32>(ptbzLeaf - path));
  FwFilenameConcatenate(out, FWT(".AppleDouble"));
  FwFilenameConcatenate(out, ptbzLeaf);
  return record_length(out);
}

// ---------------------------------------------------------------------------------------------
// Copying

bool IsSame(const FwFileInfo& info1, const FwFileInfo& info2) {
  return FpFileIdOf(info1) == FpFileIdOf(info2);
}

// As FwFileGetInfo, with what goes wrong left unsaid.
bool Look(FwTextString ptbzName, FwFileInfo* info, uint32 flags) {
  LocalError err;
  return FwFileGetInfo(&err, ptbzName, info, flags);
}

// Whether the target is the source under another name, or what a link at the source leads to.
// Removing it would take away the only copy.
bool IsSource(FwTextString ptbzOld, FwTextString ptbzNew) {
  FwFileInfo target;
  if (!Look(ptbzNew, &target, FW_INFO_NOFOLLOW)) return false;
  FwFileInfo source = {};
  if (Look(ptbzOld, &source, FW_INFO_NOFOLLOW) && IsSame(source, target)) return true;
  return target.type != FW_FILE_TYPE_LINK && source.type == FW_FILE_TYPE_LINK &&
         Look(ptbzOld, &source, 0) && IsSame(source, target);
}

// Whether the name, of which the last elements need not exist, lies in the directory.
bool LiesWithin(FwTextString ptbzName, const FwFileInfo& directory) {
  PathRecord path(ptbzName);
  OwnedText real(realpath_UTF8(path.pbz));
  while (!real && *path.pbz && !FwFileIsRoot(path.pbz)) {
    FwFileRemoveLastPathElement(&path);
    real.reset(realpath_UTF8(path.pbz));
  }
  path.clear();
  if (real) FwStrPutTextString(&path, real);
  bool fWithin = false;
  while (!fWithin && *path.pbz) {
    FwFileInfo info;
    fWithin = Look(path.pbz, &info, 0) && IsSame(info, directory);
    if (FwFileIsRoot(path.pbz)) break;
    FwFileRemoveLastPathElement(&path);
  }
  return fWithin;
}

void RefuseTarget(FwErrorState* err, FwTextString ptbzNew) {
  FwErrorSet(err, fwErrorAlreadyExists, 2, FWT("File"), ptbzNew);
}

// Makes the target's directory and removes what stands in the target's place.
void ClearTheWay(FwErrorState* err, FwTextString ptbzOld, FwTextString ptbzNew) {
  const OwnedText directory(
      FwStrNDuplicate(ptbzNew, static_cast<int>(FwFileSkipToLeafname(ptbzNew) - ptbzNew)));
  FwDirCreate(err, directory, FW_DIR_CREATE_PARENTS | FW_DIR_EXISTS_OK);
  if (err->pError) return;
  if (IsSource(ptbzOld, ptbzNew)) return RefuseTarget(err, ptbzNew);
  if (!FwFileDelete(err, ptbzNew, FW_DELETE_FORCE) && err->pError &&
      Fw_msg_IsDescendant(fwErrorNonExistent, err->pError))
    FwErrorClear(err);
}

void FiFileCopyLeaf(FwErrorState* err, FwTextString oldpath, FwTextString newpath,
                    FwObj* progress) {
  if (err->pError) return;
  ClearTheWay(err, oldpath, newpath);
  if (!err->pError) FwFileCopy(err, oldpath, newpath, FW_FILE_OVERWRITE);
  Report(err, progress, newpath);
}

void FiFileCopyLink(FwErrorState* err, FwTextString oldpath, FwTextString newpath, FwFileInfo* info,
                    FwObj* progress) {
  if (err->pError) return;
  ClearTheWay(err, oldpath, newpath);
  if (!err->pError) FwFileCopyLink(err, oldpath, newpath, info, 0);
  Report(err, progress, newpath);
}

void FiFileCopyTree(FwErrorState* err, FwStrRecord* oldpath, FwStrRecord* newpath,
                    FwFileInfo* newinfo, const TreeCopy& copy);

// Copies what oldpath denotes. A type that can't be copied is an error in errType.
void CopyByType(FwErrorState* err, FwErrorState* errType, FwStrRecord* oldpath,
                FwStrRecord* newpath, FwFileInfo* info, const TreeCopy& copy) {
  switch (info->type) {
    case FW_FILE_TYPE_FILE:
      FiFileCopyLeaf(err, oldpath->pbz, newpath->pbz, copy.progress);
      break;
    case FW_FILE_TYPE_DIRECTORY:
      FwFileEnsureTrailingSeparator(newpath);
      FiFileCopyTree(err, oldpath, newpath, info, copy);
      break;
    case FW_FILE_TYPE_LINK:
      FiFileCopyLink(err, oldpath->pbz, newpath->pbz, info, copy.progress);
      break;
    default:
      FwErrorSet(errType, fwErrorUnimplemented, 0);
  }
}

bool fSkipped(const FwFileInfo& info, FwTextString ptbzName, const TreeCopy& copy) {
  return info.type == FW_FILE_TYPE_DIRECTORY && copy.ptbzExcept && *copy.ptbzExcept &&
         std::strcmp(FWC(ptbzName), FWC(copy.ptbzExcept)) == 0;
}

// Copies the entries of a directory. What goes wrong with one of them is in errEntry and stops the
// walk; what goes wrong with the walk itself is in err.
void CopyEntries(FwErrorState* err, FwErrorState* errEntry, FwDir* pDir, FwStrRecord* oldpath,
                 FwStrRecord* newpath, const TreeCopy& copy) {
  const uint32 cbOld = record_length(oldpath);
  const uint32 cbNew = record_length(newpath);
  OpenRecord name;
  FwFileInfo info;
  while (!errEntry->pError && FwDirNext(err, pDir, &name, &info, FW_INFO_NOFOLLOW)) {
    if (!fSkipped(info, name.pbz, copy)) {
      FwFilenameConcatenate(oldpath, name.pbz);
      FwFilenameConcatenate(newpath, name.pbz);
      CopyByType(errEntry, err, oldpath, newpath, &info, copy);
      FwStrRecordShorten(oldpath, cbOld);
      FwStrRecordShorten(newpath, cbNew);
    }
    name.clear();
  }
}

void FiFileCopyTree(FwErrorState* err, FwStrRecord* oldpath, FwStrRecord* newpath,
                    FwFileInfo* newinfo, const TreeCopy& copy) {
  if (err->pError) return;
  FwFileEnsureTrailingSeparator(oldpath);
  FwFileEnsureTrailingSeparator(newpath);
  // A link in the target may lead back into the source.
  for (const Filled* p = copy.pInnermost; p; p = p->pOuter)
    if (p->id == FpFileIdOf(*newinfo)) return RefuseTarget(err, newpath->pbz);
  FwDirCreate(err, newpath->pbz, FW_DIR_CREATE_PARENTS | FW_DIR_EXISTS_OK);
  if (err->pError) return;
  FwFileInfo target;
  if (!FwFileGetInfo(err, newpath->pbz, &target, 0)) return;
  if (IsSame(target, *newinfo)) return RefuseTarget(err, newpath->pbz);
  if (!Report(err, copy.progress, newpath->pbz)) return;
  const Filled filled = {FpFileIdOf(target), copy.pInnermost};
  FwDir* pDir = FwDirOpen(err, oldpath->pbz, 0);
  if (!pDir) return;
  LocalError errEntry;
  CopyEntries(err, &errEntry, pDir, oldpath, newpath, {copy.progress, copy.ptbzExcept, &filled});
  FwDirClose(err, pDir);
  // Last, so that a directory that turns read-only could be filled.
  FwFileSetInfo(err, newpath->pbz, newinfo, FW_INFO_ATTRIBUTES);
  if (errEntry.failed()) FwErrorCopy(err, &errEntry);
}

void CopySideFile(FwErrorState* err, FwTextString ptbzOld, FwTextString ptbzNew, FwObj* progress) {
  // A directory's name has no leaf, so there is no file to look for.
  if (FwFileEndsWithSeparator(ptbzOld)) return;
  OpenRecord oldSide;
  OpenRecord newSide;
  FiFileAppleName(&oldSide, ptbzOld);
  if (Exists(oldSide.pbz)) {
    FiFileAppleName(&newSide, ptbzNew);
    FiFileCopyLeaf(err, oldSide.pbz, newSide.pbz, progress);
  }
}

// A copy onto the source, under whatever name, or into it. Nothing may be made or removed then.
bool IsOntoOrInto(FwTextString ptbzOld, FwTextString ptbzNew, const FwFileInfo& source) {
  FwFileInfo target;
  if (source.type == FW_FILE_TYPE_LINK) return IsSource(ptbzOld, ptbzNew);
  if (Look(ptbzNew, &target, 0) && IsSame(source, target)) return true;
  return source.type == FW_FILE_TYPE_DIRECTORY && LiesWithin(ptbzNew, source);
}

int32 CopyTree(FwErrorState* err, FwTextString oldname, FwTextString newname, const TreeCopy& copy,
               bool fSideFile) {
  const FiCoercedName absoluteOld(err, oldname, kCoerceAny);
  if (!absoluteOld) return 0;
  const FiCoercedName absoluteNew(err, newname, kCoerceAny);
  if (!absoluteNew) return 0;
  PathRecord oldpath(absoluteOld);
  PathRecord newpath(absoluteNew);
  FwFileInfo info;
  if (!FwFileGetInfo(err, oldpath.pbz, &info, FW_INFO_NOFOLLOW)) {
    // err tells.
  } else if (IsOntoOrInto(oldpath.pbz, newpath.pbz, info)) {
    RefuseTarget(err, newpath.pbz);
  } else {
    if (fSideFile) CopySideFile(err, oldpath.pbz, newpath.pbz, copy.progress);
    CopyByType(err, err, &oldpath, &newpath, &info, copy);
  }
  return err->pError == nullptr;
}

}  // namespace

int32 FwFileCopyTree(FwErrorState* err, FwTextString oldname, FwTextString newname, FwObj* progress,
                     uint32 flags) {
  if (!fFiFileState(err)) return 0;
  FwAssert(!(flags & ~FW_FILE_OVERWRITE), "bad arg");
  if (!fFiFileFlags(err, flags, FW_FILE_OVERWRITE)) return 0;
  return CopyTree(err, oldname, newname, {progress, nullptr}, true);
}

int32 FwFileCopyTreeEx(FwErrorState* err, FwTextString oldname, FwTextString newname,
                       FwObj* progress, uint32 flags, FwTextString ptbzExcept) {
  if (!fFiFileState(err)) return 0;
  FwAssert(!(flags & ~FW_FILE_OVERWRITE), "bad arg");
  if (!fFiFileFlags(err, flags, FW_FILE_OVERWRITE)) return 0;
  return CopyTree(err, oldname, newname, {progress, ptbzExcept}, false);
}

// ---------------------------------------------------------------------------------------------
// Attributes

namespace {

void SetSideFileInfo(FwErrorState* err, FwTextString ptbzName, FwFileInfo* info) {
  OpenRecord side;
  FiFileAppleName(&side, ptbzName);
  if (Exists(side.pbz)) FwFileSetInfo(err, side.pbz, info, FW_INFO_ATTRIBUTES);
}

void SetDirectoryInfo(FwErrorState* err, FwTextString ptbzName, FwFileInfo* info, uint32 flags) {
  PathRecord path(ptbzName);
  FwFileEnsureTrailingSeparator(&path);
  LocalError errEntry;
  // Before the walk, which could fail on a read-only directory.
  FwFileSetInfo(&errEntry, path.pbz, info, FW_INFO_ATTRIBUTES);
  errEntry.clear();
  if (FwDir* pDir = FwDirOpen(err, path.pbz, 0)) {
    const uint32 cbPath = path.length();
    FwFileInfo entry;
    while (!errEntry.failed() && FwDirNext(err, pDir, &path, &entry, FW_INFO_NOFOLLOW)) {
      FwFileSetInfoTree(&errEntry, path.pbz, flags);
      FwStrRecordShorten(&path, cbPath);
    }
    FwDirClose(err, pDir);
    if (errEntry.failed()) FwErrorCopy(err, &errEntry);
  }
}

}  // namespace

int32 FwFileSetInfoTree(FwErrorState* err, FwTextString target, uint32 flags) {
  if (!fFiFileState(err)) return 0;
  FwAssert(!(flags & ~FW_TREE_MAKE_WRITABLE), "bad arg");
  if (!fFiFileFlags(err, flags, FW_TREE_MAKE_WRITABLE)) return 0;
  const FiCoercedName absolute(err, target, kCoerceAny);
  if (!absolute) return 0;
  FwFileInfo info;
  if (FwFileGetInfo(err, absolute, &info, FW_INFO_NOFOLLOW)) {
    if (flags & FW_TREE_MAKE_WRITABLE) info.attributes |= FW_FILE_ATTR_WRITABLE;
    SetSideFileInfo(err, absolute, &info);
    if (info.type == FW_FILE_TYPE_DIRECTORY)
      SetDirectoryInfo(err, absolute, &info, flags);
    else if (info.type == FW_FILE_TYPE_FILE)
      FwFileSetInfo(err, absolute, &info, FW_INFO_ATTRIBUTES);
  }
  return err->pError == nullptr;
}

// ---------------------------------------------------------------------------------------------
// Sizes

namespace {

constexpr uint32 kSignBit = 0x80000000;

void FiFileLeafSize(FwFileInfo* info, FwFileTreeSizeInfo* sizeinfo, uint32 rblocksize) {
  ++sizeinfo->files;
  VqU32x2Add(&sizeinfo->exact, &sizeinfo->exact, &info->size[0]);
  VqU32x2Add(&sizeinfo->taken, &sizeinfo->taken, &info->size[0]);
  const uint32 cbRest = info->size[0].low & (rblocksize - 1);
  if (cbRest) VqU32x2AddUint32(&sizeinfo->taken, &sizeinfo->taken, rblocksize - cbRest);
}

void FiFileNodeSize(FwErrorState* err, FwStrRecord* path, FwFileTreeSizeInfo* sizeinfo,
                    uint32 rblocksize) {
  FwFileEnsureTrailingSeparator(path);
  FwDir* pDir = FwDirOpen(err, path->pbz, 0);
  if (!pDir) return;
  ++sizeinfo->dirs;
  const uint32 cbPath = record_length(path);
  FwFileInfo info;
  while (!err->pError && FwDirNext(err, pDir, path, &info, FW_INFO_NOFOLLOW)) {
    if (info.type == FW_FILE_TYPE_DIRECTORY)
      FiFileNodeSize(err, path, sizeinfo, rblocksize);
    else
      FiFileLeafSize(&info, sizeinfo, rblocksize);
    FwStrRecordShorten(path, cbPath);
  }
  FwDirClose(err, pDir);
}

void FiFileTreeSize(FwErrorState* err, FwStrRecord* path, FwFileTreeSizeInfo* sizeinfo,
                    uint32 rblocksize) {
  if (err->pError) return;
  FwFileInfo info;
  if (!FwFileGetInfo(err, path->pbz, &info, FW_INFO_NOFOLLOW)) {
    if (err->pError && Fw_msg_IsDescendant(fwErrorNonExistent, err->pError)) FwErrorClear(err);
    return;
  }
  if (info.type == FW_FILE_TYPE_DIRECTORY)
    FiFileNodeSize(err, path, sizeinfo, rblocksize);
  else
    FiFileLeafSize(&info, sizeinfo, rblocksize);
}

// The smallest power of two not below n, at most the sign bit.
uint32 RoundBlockSize(uint32 n) {
  uint32 rounded = 1;
  while (rounded < n && !(rounded & kSignBit))
    rounded *= 2;
  return rounded;
}

}  // namespace

uint32 FwFileTreeSize(FwErrorState* err, FwTextString path, FwFileTreeSizeInfo* sizeinfo,
                      uint32 blocksize) {
  if (!fFiFileState(err) || !fFiFileArgument(err, path) || !fFiFileArgument(err, sizeinfo))
    return 0;
  *sizeinfo = {};
  const uint32 rblocksize = RoundBlockSize(blocksize);
  OpenRecord name;
  FiFileAppleName(&name, path);
  FiFileTreeSize(err, &name, sizeinfo, rblocksize);
  name.clear();
  FwStrPutTextString(&name, path);
  FiFileTreeSize(err, &name, sizeinfo, rblocksize);
  return err->pError == nullptr;
}
