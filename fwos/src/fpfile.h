// The platform half of the file layer: what a port supplies. Arguments are validated by the layer
// above; these operations translate flags, call the system and map its failure.
#ifndef FPFILE_H
#define FPFILE_H

#include "fwfile.h"

// Fills FcAppDir, FcCurrentDir and FcAppFileName. No failure is reported.
void FpFileInit();
void FpFileShutdown();

// Whether an absolute name is short enough for the platform.
int32 FpFilenameLengthOK(FwTextString ptbzFilename);

FwFile FpFileOpenExtended(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags,
                          FwFileOpenExtras* pExtras);
void FpFileInitOpenExtrasFromInfo(FwFileOpenExtras* pExtras, FwFileInfo* pInfo);
// One call of the system each; interrupted calls are not repeated. 0 with an error on failure.
uint32 FpFileRead(FwErrorState* pErrState, FwFile Handle, void* Buffer, uint32 Size);
uint32 FpFileWrite(FwErrorState* pErrState, FwFile Handle, void* Buffer, uint32 Size);
// The offset must fit in 32 bits.
int32 FpFileSeek(FwErrorState* pErrState, FwFile Handle, Vq32x2* pOffset, uint32 From);
int32 FpFileExtent(FwErrorState* pErrState, FwFile Handle, Vq32x2* pExtent);
int32 FpFileClose(FwErrorState* pErrState, FwFile Handle);

// 2: the platform did nothing and the generic copy is wanted.
int32 FpFileCopy(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                 uint32 flags);
int32 FpFileCopyLink(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                     FwFileInfo* pOldInfo, uint32 flags);
// 2: the names lie on different devices.
int32 FpFileRename(FwErrorState* pErrState, FwTextString ptbzOldname, FwTextString ptbzNewname,
                   uint32 flags);
int32 FpFileDelete(FwErrorState* pErrState, FwTextString ptbzFilename, uint32 flags, int* deferred);

int32 FpFileGetInfo(FwErrorState* pErrState, FwTextString ptbzFilename, FwFileInfo* pInfo,
                    uint32 flags);
int32 FpFileSetInfo(FwErrorState* pErrState, FwTextString ptbzFilename, FwFileInfo* pInfo,
                    uint32 flags);

// Which file it is that a FwFileInfo tells of.
struct FpFileId {
  uint64 device;
  uint64 number;
  bool operator==(const FpFileId&) const = default;
};
FpFileId FpFileIdOf(const FwFileInfo& info);

int32 FpFilenamesReferToSameFile(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                 FwTextString ptbzFilename2);
int32 FpFilenamesReferToSameDisk(FwErrorState* pErrState, FwTextString ptbzFilename1,
                                 FwTextString ptbzFilename2);
int32 FpFileDiskFree(FwErrorState* pErrState, FwTextString ptbzFilename,
                     FwFileDiskFreeInfo* pDFInfo);

int32 FpDirCreate(FwErrorState* pErrState, FwTextString ptbzDirname);
int32 FpDirOpen(FwErrorState* pErrState, FwDir* DirHandle);
int32 FpDirNext(FwErrorState* pErrState, FwDir* DirHandle, FwStrRecord* pRecord, FwFileInfo* pInfo,
                uint32 flags);
int32 FpDirClose(FwErrorState* pErrState, FwDir* DirHandle);

#endif
