// Inside the memory manager: the functions of each debug level, chosen once at boot.
#ifndef FWMEM_LEVEL_H
#define FWMEM_LEVEL_H

#include "fcmem.h"

// The raw allocator.
extern alloc_fp pfnFcMemAlloc;
extern free_fp pfnFcMemFree;

// The level's pair.
using FcMemDbgAllocFn = void*(uint32 cbSize, char* pszFile, uint32 nLine);
using FcMemDbgFreeFn = void(void* pvBlock, uint32 cbSize, char* pszFile, uint32 nLine);
extern FcMemDbgAllocFn* pfnFcMemDbgAlloc;
extern FcMemDbgFreeFn* pfnFcMemDbgFree;

FcMemDbgAllocFn pvFcMemAlloc_DBGLEV_NONE;
FcMemDbgFreeFn FcMemFree_DBGLEV_NONE;
FcMemDbgAllocFn pvFcMemAlloc_DBGLEV_1;
FcMemDbgFreeFn FcMemFree_DBGLEV_1;
FcMemDbgAllocFn pvFcMemAlloc_DBGLEV_2;
FcMemDbgFreeFn FcMemFree_DBGLEV_2;

// Asserts flags that don't state both choices.
void FcMemCheckFlags(FwMemAllocFlag AllocFlags);

#endif
