// Files, directories and path names.
//
// A name is UTF-8 text. Its spelling tells what it denotes: a name that ends with a separator is a
// directory, any other is a file. Every operation that takes a name passes it through one gate,
// which makes a relative name absolute by the directory in which the process was started and
// refuses the wrong kind of name.
//
// Relative names, once the process has changed its directory: most operations resolve them against
// the directory in which the process was started. FwFileGetInfo, FwFileSetInfo, FwFileCopyLink,
// FwFileTreeSize, FwFileIsExecutable and the queries for free space use the present directory. With
// FW_DELETE_FORCE, FwFileDelete and FwDirDelete change the modes of the file in the present
// directory and delete the one in the first. Absolute names avoid all of that.
//
// Operations report through the FwErrorState that they take first. Unless told otherwise an int32
// result is 1 for success and 0 for failure; a null state makes the operation return its failure
// value at once. Counts of bytes report failure only through the state:
//
//   FwErrorState err;
//   FwFile file = FwFileOpen(&err, ptbzName, FW_OPEN_RDONLY);
//   if (file == FW_FILE_INVALID) return report(&err);     (also when no access bit was given, which
//   uint32 cb = FwFileRead(&err, file, buffer, size);      sets no error)
//   if (err.pError) ...
//   FwFileClose(&err, file);
//
// Flags that an operation does not know raise the assertion "bad arg" and fwErrorUnimplemented; a
// null buffer or record gives fwErrorPointerNull. A system's failure carries the pair "File" and
// the name, or "File" alone where only a handle is known.
#ifndef FWFILE_H
#define FWFILE_H

#include "fwplatform.h"  // IWYU pragma: export
#include "fwtypes.h"
#include "vq32x2.h"

struct FwMemPool;

// ---------------------------------------------------------------------------------------------
// Records and flags

// The platform's file descriptor itself. Nothing keeps a table of the open ones.
using FwFile = int32;
inline constexpr FwFile FW_FILE_INVALID = -1;

// Open flags. Of the three access bits the lowest one set counts.
inline constexpr uint32 FW_OPEN_RDONLY = 0x01;
inline constexpr uint32 FW_OPEN_WRONLY = 0x02;
inline constexpr uint32 FW_OPEN_RDWR = 0x04;
inline constexpr uint32 FW_OPEN_APPEND = 0x08;      // writes go to the end
inline constexpr uint32 FW_OPEN_CREAT = 0x10;       // create if absent
inline constexpr uint32 FW_OPEN_TRUNC = 0x20;       // truncate on open
inline constexpr uint32 FW_OPEN_EXCL = 0x40;        // lock the whole file, without waiting
inline constexpr uint32 FW_OPEN_COPYSOURCE = 0x80;  // the source of a copy; no effect here

struct FwFileOpenExtras {
  uint32 nFork;  // the fork to open; must be 0
  VqU32x2 size;  // expected size
  FwPlatformFileOpenExtras platform;
};

// File types.
inline constexpr uint32 FW_FILE_TYPE_DIRECTORY = 0;
inline constexpr uint32 FW_FILE_TYPE_FILE = 1;
inline constexpr uint32 FW_FILE_TYPE_LINK = 2;
inline constexpr uint32 FW_FILE_TYPE_FIFO = 3;
inline constexpr uint32 FW_FILE_TYPE_CHARACTER = 4;
inline constexpr uint32 FW_FILE_TYPE_BLOCK = 5;
inline constexpr uint32 FW_FILE_TYPE_SOCKET = 6;
inline constexpr uint32 FW_FILE_TYPE_OTHER = 7;

// The owner's write permission, the one attribute that this layer reads.
inline constexpr uint32 FW_FILE_ATTR_WRITABLE = 0x80;

struct FwFileInfo {
  uint32 type;           // FW_FILE_TYPE_...
  uint32 attributes;     // the whole mode word, file type bits included
  VqU32x2 modifiedTime;  // seconds since the epoch in high, nanoseconds in low, which stay 0 here
  VqU32x2 size[1];       // length of each fork in bytes
  FwPlatformFileInfo platform;
};

// FwFileGetInfo, FwDirNext
inline constexpr uint32 FW_INFO_NOFOLLOW = 0x1;  // report on a link itself, not on its target

// FwFileSetInfo
inline constexpr uint32 FW_INFO_ATTRIBUTES = 0x1;
inline constexpr uint32 FW_INFO_MODIFIED_TIME = 0x2;
inline constexpr uint32 FW_INFO_ACCESS_TIME = 0x80000000;

// FwFileDelete, FwDirDelete
inline constexpr uint32 FW_DELETE_FORCE = 0x1;  // make writable first
inline constexpr uint32 FW_DELETE_DEFER = 0x2;  // may be put off; ignored by this platform

// FwFileCopy, FwFileRename, FwFileCopyTree
inline constexpr uint32 FW_FILE_OVERWRITE = 0x20000;  // an existing target may be replaced

// Origins of FwFileSeek.
inline constexpr uint32 FW_SEEK_SET = 0;
inline constexpr uint32 FW_SEEK_CUR = 1;
inline constexpr uint32 FW_SEEK_END = 2;

// FwDirOpen
inline constexpr uint32 FW_DIR_SNAPSHOT = 0x1;  // read all entries now

// FwDirCreate
inline constexpr uint32 FW_DIR_CREATE_PARENTS = 0x10000;
inline constexpr uint32 FW_DIR_EXISTS_OK = 0x20000;

// FwFileSetInfoTree
inline constexpr uint32 FW_TREE_MAKE_WRITABLE = 0x1;

// An entry of a snapshot. The name is stored behind the link, in one piece of the pool.
struct FwDirEntry {
  FwDirEntry* pNext;
  FwTextByte atbzName[1];
};

// A directory being enumerated. The absolute name, with its trailing separator, is stored in the
// same block.
struct FwDir {
  FpDir platDirInfo;
  FwDirEntry* pSnapshot;   // first entry
  FwDirEntry* pNextEntry;  // next entry to hand out
  FwMemPool* pLocalPool;   // holds the snapshot; null means that there is none
  FwTextByte atbzDirname[1];
};

struct FwFileDiskFreeInfo {
  VqU32x2 free;      // bytes available to ordinary users
  VqU32x2 size;      // bytes in all
  uint32 allocSize;  // bytes in an allocation unit
};

struct FwFileTreeSizeInfo {
  VqU32x2 exact;  // sum of file sizes in bytes
  VqU32x2 taken;  // the same, each file rounded up to the block size
  uint32 files;   // leaf items
  uint32 dirs;    // directories opened
};

// ---------------------------------------------------------------------------------------------
// Path names: text only, nothing here touches the disk but FwFilenameContainsFilename. A name is
// absolute if its first byte is the separator, and the root is that one byte.
// Null arguments assert "NULL".

// The program's absolute directory and the current directory at boot, both with a trailing
// separator, and the program's absolute name; null where they could not be found. They belong to
// the framework. The current directory is not refreshed.
FwTextString FwAppDir();
FwTextString FwCurrentDir();
FwTextString FwAppFileName();

// 1 and *pptbzFilename moved past the root if the name has one, else 0. pRecord may be null and is
// not used on this platform.
int32 FwFileParseRoot(FwStrRecord* pRecord, FwTextString* pptbzFilename);
// Appends the root and returns 1 if ptbzInput is empty; any other input adds nothing and returns 0.
int32 FwFileBuildRoot(FwStrRecord* pRecord, FwTextString ptbzInput);
int32 FwFileSkipRoot(FwTextString* pptbzFilename);
int32 FwFileIsAbsolute(FwTextString ptbzFilename);
// Whether the name is a root and nothing after it; "//" is not.
int32 FwFileIsRoot(FwTextString ptbzFilename);
// Appends the root, if any; returns the position after it.
FwTextString FwFileCopyRoot(FwStrRecord* pRecord, FwTextString ptbzFilename);

// Position of the next separator, or of the terminator.
FwTextString FwFileSkipPathElement(FwTextString ptbzInput);
// Appends the text up to that position and returns the position.
FwTextString FwFileCopyPathElement(FwStrRecord* pRecord, FwTextString ptbzInput);
// Position after the root and the last separator: the empty tail for a directory name.
FwTextString FwFileSkipToLeafname(FwTextString ptbzFilename);
// Position of the last element, which keeps its trailing separator: "lib/" in "/usr/lib/".
FwTextString FwFileLastPathElement(FwTextString path);
// Cuts the last element; the separator before it stays: "/a/b" and "/a/b/" become "/a/".
void FwFileRemoveLastPathElement(FwStrRecord* path);
// Cuts all up to and including the first separator, the root's too: "/a/b" becomes "a/b".
void FwFileRemoveFirstPathElement(FwStrRecord* path);

// Position of the final separator, or null.
FwTextString FwFileEndsWithSeparator(FwTextString ptbzFilename);
// Rewrites every backslash to a separator. A null record is ignored.
void FwFileNativeSeparators(FwStrRecord* pRecord);
// Appends a separator unless the text is empty or ends with one; 1 if it appended.
int32 FwFileEnsureTrailingSeparator(FwStrRecord* pRecord);
// The same on an allocated string: a new one replaces *pptbzFilename and the old one is freed.
int32 FwFileEnsureTrailingSeparatorRealloc(FwTextString* pptbzFilename);
// Cuts a final separator in place, unless the name is the root; 1 if it cut. Writes to the string.
int32 FwFileRemoveTrailingSeparator(FwTextString ptbzFilename);
// Cuts a final separator from a record, also that of the root; 1 if it cut.
int32 FwFileRemoveTrailingSeparatorRec(FwStrRecord* pRecord);

// Appends ptbzRel, less one leading separator, behind a trailing separator. An absolute ptbzRel is
// appended too.
void FwFilenameConcatenate(FwStrRecord* pRecord, FwTextString ptbzRel);
// Appends each element of path, cut at any of slash, backslash and colon.
void FwFilenameConcatenateEx(FwStrRecord* dir, FwTextString path);
// New string, owned by the caller.
FwTextString FwFilenameConcatenateAlloc(FwTextString ptbzAbs, FwTextString ptbzRel);

// The absolute form as a new string owned by the caller, or null. Nothing is normalised, and the
// name need not exist. Null asserts "NULL filename" and sets fwErrorPointerNull; a relative name
// while the current directory is unknown sets fwErrorStringSyntax.
FwTextString FwFileAbsolutePath(FwErrorState* pErrState, FwTextString ptbzPath);
// Whether the absolute form is short enough for the platform.
int32 FwFilenameLengthOK(FwTextString ptbzFilename);

// The leading part of ptbzFilename2 that denotes the directory ptbzFilename1, by file identity, as
// a new string owned by the caller, or null. The whole of ptbzFilename2 is compared as text only.
// ptbzFilename1 loses its trailing separator and so must be writable, and must not be empty.
// Failures of the identity test stay in pErrState.
FwTextString FwFilenameContainsFilename(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                        FwTextString ptbzFilename2);

// The extension is the text after the last dot of the leaf, without the dot; null if there is none.
FwTextByte* FwFileFindExtension(FwStrRecord* filename);
int32 FwFileCheckExtension(FwStrRecord* filename, FwTextString wanted_ext);
// Sets result to filename with another extension, or without one for a null new_ext. 0 and an
// unchanged copy if the name has no extension.
int32 FwFileChangeExtension(FwTextString filename, FwStrRecord* result, FwTextString new_ext);

// ---------------------------------------------------------------------------------------------
// Files

// Opens a file and returns its handle, or FW_FILE_INVALID. None of the access bits: invalid, but no
// error is set. Asserts on FW_OPEN_EXCL without FW_OPEN_CREAT or without write access.
FwFile FwFileOpen(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags);
FwFile FwFileOpenExtended(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags,
                          FwFileOpenExtras* pExtras);
FwFile FwFileFromPlatformFileHandle(int32 handle);
int32 FwFileClose(FwErrorState* pErrState, FwFile fileHandle);

// Bytes transferred; a short count without an error is the end of the file. With a tickle function
// installed the transfer goes in chunks of 128 KB and can be aborted (fwErrorAbort); without one it
// is one call of the platform. Nothing is transferred while pErrState holds an error.
uint32 FwFileRead(FwErrorState* pErrState, FwFile fileHandle, void* Buffer, uint32 Size);
uint32 FwFileWrite(FwErrorState* pErrState, FwFile fileHandle, void* Buffer, uint32 Size);
void FwFileWriteString(FwErrorState* pErrState, FwFile fileHandle, FwTextString string);
// Appends the rest of the file to a growing record, or as much as fits to a fixed one. Bytes added.
uint32 FwFileReadRecord(FwErrorState* pErrState, FwFile fileHandle, FwStrRecord* pRecord);
// Appends the rest of the line, without its newline, and consumes that. A zero byte ends a line
// too. Bytes added: an empty line and the end of the file both give 0.
uint32 FwFileReadLineRecord(FwErrorState* pErrState, FwFile fileHandle, FwStrRecord* pRecord);

// Moves to *pOffset from the origin From, and stores the new position there. A position past the
// end extends the file. On failure *pOffset is the real position, or -1 if that can't be told.
int32 FwFileSeek(FwErrorState* pErrState, FwFile fileHandle, Vq32x2* pOffset, uint32 From);
// The length of a regular file.
int32 FwFileExtent(FwErrorState* pErrState, FwFile fileHandle, Vq32x2* pExtent);

// Copies a regular file with its attributes and access time. An existing target is refused
// (fwErrorAlreadyExists) or, with FW_FILE_OVERWRITE, deleted first. A copy that fails leaves no
// target; one that was to be overwritten is gone by then if the source was found and is a file.
// Onto a link that leads nowhere the file that it names is made; a copy that fails keeps the link.
int32 FwFileCopy(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                 uint32 flags);
// Makes a link with the text of another. The names are taken as given.
int32 FwFileCopyLink(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                     FwFileInfo* pOldInfo, uint32 flags);
// Both names must have the form that fits what the old one denotes. Between devices a writable file
// is copied and deleted. A link is not renamed onto the file that it leads to
// (fwErrorAlreadyExists): that file would be gone.
int32 FwFileRename(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                   uint32 flags);
// Removes a file, or an empty directory if the name ends with a separator.
int32 FwFileDelete(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags);
// *deferred, if given, says whether the deletion was put off.
int32 FwFileDeleteEx(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags,
                     int* deferred);

// pInfo may be null, to test whether the name exists. A relative name is looked up in the process's
// real current directory.
int32 FwFileGetInfo(FwErrorState* pErrState, FwTextString ptbzFilename, FwFileInfo* pInfo,
                    uint32 flags);
int32 FwFileSetInfo(FwErrorState* pErrState, FwTextString ptbzFilename, FwFileInfo* pInfo,
                    uint32 flags);
long double FwFileTimeToSeconds(VqU32x2* pFileTime);

int32 FwFilenamesReferToSameFile(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                 FwTextString ptbzFilename2);
int32 FwFilenamesReferToSameDisk(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                 FwTextString ptbzFilename2);

// Does nothing on this platform.
void FwFileTouch(FwTextString ptbzFilename);
// 1 for a disk without free space, 0 with some, -1 if it can't be told. A full disk counts as one.
int32 FwFileIsOnCD(FwTextString ptbzFilename);
// The owner's execute permission, 0x40, or 0.
int FwFileIsExecutable(FwTextString path);

// ---------------------------------------------------------------------------------------------
// Directories. Entries come in the platform's order, without "." and "..".
//
//   FwDir* dir = FwDirOpen(&err, ptbzDirname, FW_DIR_SNAPSHOT);
//   while (dir && FwDirNext(&err, dir, &name, nullptr, 0)) {
//     ...
//     FwStrRecordShorten(&name, 0);
//   }
//   if (dir) FwDirClose(&err, dir);

// A snapshot doesn't see later changes of the directory, and holds no descriptor.
FwDir* FwDirOpen(FwErrorState* pErrState, FwTextString ptbzDirname, uint32 flags);
// Appends the name of the next entry and, if pInfo is given, fills it. 0 at the end and on failure,
// told apart by pErrState. With pInfo and links followed, a dangling link is a failure.
int32 FwDirNext(FwErrorState* pErrState, FwDir* DirHandle, FwStrRecord* pRecord, FwFileInfo* pInfo,
                uint32 flags);
int32 FwDirClose(FwErrorState* pErrState, FwDir* DirHandle);
// 1 also if the name or the flags are refused: callers look at pErrState.
int32 FwDirCreate(FwErrorState* pErrState, FwTextString ptbzDirname, uint32 flags);
// Deletes a directory with all that it holds; the name ends with a separator. Links to directories
// are followed: what they lead to is emptied too, wherever it lies.
int32 FwDirDelete(FwErrorState* pErrState, FwTextString ptbzDirname, uint32 flags);

// Trees. progress receives Fw_msg_Progress with each name handled and ends the work (fwErrorAbort)
// by the result 0; it may be null. What was done before a failure stays. The result is 1 exactly if
// the state holds no error.
// A copy onto itself, under whatever name, or of a directory into itself is refused before anything
// is made or removed (fwErrorAlreadyExists). Files in the target are replaced in any case, but not
// one that is the source itself, or what a link in the source leads to: that ends the copy in the
// same way.
// The side-file dir/.AppleDouble/name goes with the file dir/name.
int32 FwFileCopyTree(FwErrorState* err, FwTextString oldname, FwTextString newname, FwObj* progress,
                     uint32 flags);
// Skips each subdirectory whose name equals ptbzExcept, and doesn't look for the side-file.
int32 FwFileCopyTreeEx(FwErrorState* err, FwTextString oldname, FwTextString newname,
                       FwObj* progress, uint32 flags, FwTextString ptbzExcept);
// Writes the attributes of each item back, made writable if asked.
int32 FwFileSetInfoTree(FwErrorState* err, FwTextString target, uint32 flags);
// Counts and sums; a name that does not exist counts as nothing. blocksize is rounded up to a power
// of two.
uint32 FwFileTreeSize(FwErrorState* err, FwTextString path, FwFileTreeSizeInfo* sizeinfo,
                      uint32 blocksize);
// The space on the device on which the name is or would be.
int32 FwFileDiskFree(FwErrorState* pErrState, FwTextString ptbzFilename,
                     FwFileDiskFreeInfo* pDFInfo);
int FwFileDiskFreeEx(FwErrorState* err, FwTextString path, FwFileDiskFreeInfo* diskfree);

// ---------------------------------------------------------------------------------------------
// The process. These pass names in the local encoding, as those of fwplatform.h do.

// New strings owned by the caller, or null. The name given to getenv is not converted.
FwTextString realpath_UTF8(FwTextString path);
FwTextString getenv_UTF8(FwTextString name);
FwTextString getcwd_UTF8();

// Sets a variable of the process. Without overwrite a variable that exists stays and the result is
// 1; otherwise it is putenv's. The string stays with the environment and is never freed.
int setenv_UTF8(FwTextString name, FwTextString value, int overwrite);

#endif
