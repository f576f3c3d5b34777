// Error states: how a call tells its caller why it failed.
//
// A call that can fail takes its caller's state as first argument. Besides the plain failure value
// that the call returns, the state then holds the kind of error, up to two details (a type word and
// a name, such as "File" and a path) and the platform's error number if a system call was the
// cause.
//
//   FwErrorState err;                                    clear, keeps details
//   if (!FwFileDelete(&err, ptbzName) && Fw_msg_IsDescendant(fwErrorOperationDenied, err.pError))
//     ...
//   FwErrorClear(&err);                                  the state owns its strings
//
// Kinds are static objects in a tree, more general kinds above: Fw_msg_IsDescendant(ancestor, kind)
// asks whether an error is of a kind. Test pError for null first, since null is not an object.
// A template names the details by number, 0 and 1 for the first, 2 and 3 for the second.
//
// Nothing can be set before the kinds are made, at boot level 7; after that they last as long as
// the process. Setting a null state asserts "NULL" and does nothing; clearing one does nothing.
#ifndef FWERROR_H
#define FWERROR_H

#include <cstdarg>

#include "fwtree.h"

// The platform's error number: errno.
using FwPlatformError = int32;

// A kind of error.
struct FwError : FwTree {
  FwTextString ptbzFormat = nullptr;  // template of the message
};

extern const FwClassRecord FwErrorClass;

// One detail, both strings owned by the state, each may be null.
struct FwErrorItem {
  FwTextString type = nullptr;  // what name is, such as "File"; translated when rendered
  FwTextString name = nullptr;
};

inline constexpr uint32 kFwErrorStateMagic = 0x86752947;

struct FwErrorState {
  int32 fAlloc = 1;  // 1: keeps details. 0: keeps the kind only
  uint32 magic = kFwErrorStateMagic;
  FwError* pError = nullptr;          // null: success
  FwPlatformError platformError = 0;  // 0: not from the platform
  FwErrorItem items[2];
};

extern const char _Fw_msg_CreateError_Handle[];

// Makes a kind of the static object at pObj and links it under pParent, null for the root.
// pAfterThis as for Fw_msg_CreateAndLink. The format is kept, not copied.
// Asserts "Failed to add error" if the tree refuses the node.
FwObj* Fw_msg_CreateError(FwObj* pObj, FwObj* pParent, FwObj* pAfterThis, FwTextString ptbzFormat);

// Checks a state. Asserts, one for each that fails: "NULL", "Uninitialised error state",
// "error state corrupt", "platform error set but not fw error", "unexpected error details",
// "bad error object".
void FwErrorStateAssert(FwErrorState* pState);

// Makes the state clear, freeing its details, and returns the kind that it held.
FwError* FwErrorClear(FwErrorState* pState);

// Sets the state; what it held is dropped. The nStrings arguments are of type FwTextString, null
// for a detail that is missing: items[0].type, items[0].name, items[1].type, items[1].name. They
// are copied if the state keeps details.
// Asserts "Attempting to set error to FW_SUCCESS" for a null kind and goes on with fwErrorBug;
// "Too many strings" for more than 4 and goes on with 4.
void FwErrorSet(FwErrorState* pState, FwError* pError, uint32 nStrings, ...);
void FwErrorVSet(FwErrorState* pState, FwError* pError, uint32 nStrings, std::va_list args);

// Sets the state to the kind that an error number maps to, and keeps the number.
void FwPlatformErrorSet(FwErrorState* pState, FwPlatformError platformError, uint32 nStrings, ...);

// Hands on the failure in pLocalState: kind and details, not the platform's number. pLocalState
// must hold an error.
// Asserts "not returning full error information to caller" if only pState keeps details.
void FwErrorCopy(FwErrorState* pState, FwErrorState* pLocalState);

// Appends the message of the state, followed by ", (Error Code: n)" with the platform's number.
// Nothing for a clear state. Returns what formatting the template returned.
uint32 FwErrorPrintf(FwStrRecord* pRecord, FwErrorState* pState);

// The kind that an error number is classified as; null for 0.
// A number that is not known is traced and asserted, "Unable to classify platform error", and gives
// fwErrorRoot.
FwError* FwPlatformErrorMap(FwPlatformError platformError);

// The kinds, most general first. Each name stands for a pointer to its one object.
extern FwError fwErrorRoot[1];
extern FwError fwErrorParameter[1];
extern FwError fwErrorPointer[1];
extern FwError fwErrorPointerNull[1];
extern FwError fwErrorNumeric[1];
extern FwError fwErrorNumericRange[1];
extern FwError fwErrorNumericValue[1];
extern FwError fwErrorString[1];
extern FwError fwErrorStringEmpty[1];
extern FwError fwErrorStringLength[1];
extern FwError fwErrorStringCharacter[1];
extern FwError fwErrorStringSyntax[1];
extern FwError fwErrorStringValue[1];
extern FwError fwErrorDirClosed[1];
extern FwError fwErrorOperationDenied[1];
extern FwError fwErrorNonExistent[1];
extern FwError fwErrorAlreadyExists[1];
extern FwError fwErrorAccessDenied[1];
extern FwError fwErrorInUse[1];
extern FwError fwErrorOperationFailed[1];
extern FwError fwErrorAbort[1];
extern FwError fwErrorLimit[1];
extern FwError fwErrorHardwareLimit[1];
extern FwError fwErrorNoMemory[1];  // an allocation failed
extern FwError fwErrorDiskFull[1];
extern FwError fwErrorSoftwareLimit[1];
extern FwError fwErrorNoTempName[1];
extern FwError fwErrorHardware[1];
extern FwError fwErrorUnimplemented[1];
extern FwError fwErrorFatal[1];
extern FwError fwErrorBug[1];
extern FwError fwErrorCommand[1];
extern FwError fwErrorCallingCommand[1];
extern FwError fwErrorArgListTooLong[1];
extern FwError fwErrorInvalidArgument[1];
extern FwError fwErrorNoSuchFile[1];
extern FwError fwErrorExecFormat[1];
extern FwError fwErrorOutOfMemory[1];  // a process could not be started
extern FwError fwErrorFromCommand[1];

#endif
