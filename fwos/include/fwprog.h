// A counter that long operations on files report their progress to.
//
//   FwObj* progress = Fw_msg_Create_Progress(nullptr, &FwProgressCounterClass, nFiles);
//   ... FwFileCopyTree(..., progress) ...     sends Fw_msg_Progress for each file
//   Fw_msg_Destroy(progress);
//
// An application that wants to show it, or to stop the work, makes a subclass with a method of its
// own for Fw_msg_Progress.
#ifndef FWPROG_H
#define FWPROG_H

#include "fwclass.h"

extern const FwClassRecord FwProgressCounterClass;
extern const char _Fw_msg_Create_Progress_Handle[];
extern const char _Fw_msg_Progress_Handle[];

struct FwProgressCounter : FwObject {
  uint32 count = 0;
  uint32 total = 0;
};

// Makes a counter at 0 of total; obj null means on the heap. Null if memory ran out.
FwObj* Fw_msg_Create_Progress(FwObj* obj, const FwClassRecord* pClassRecord, uint32 total);
using Fw_msg_Create_Progress_Fn = FwObj*(FwObj* obj, const FwClassRecord* pClassRecord,
                                         uint32 total);

// Counts the file, unless the name is null. The result is 0 to stop the work; the counter's own
// method never does. A null obj reports nothing.
int32 Fw_msg_Progress(FwObj* obj, FwTextString filename);
using Fw_msg_Progress_Fn = int32(FwObj* obj, FwTextString filename);

#endif
