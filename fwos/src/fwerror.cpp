#include "fwerror.h"

#include <algorithm>
#include <iterator>

#include "fcboot.h"
#include "fcclass.h"
#include "fckind.h"
#include "fcpp.h"
#include "fperror.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "vqassert.h"

FwError fwErrorRoot[1];
FwError fwErrorParameter[1];
FwError fwErrorPointer[1];
FwError fwErrorPointerNull[1];
FwError fwErrorNumeric[1];
FwError fwErrorNumericRange[1];
FwError fwErrorNumericValue[1];
FwError fwErrorString[1];
FwError fwErrorStringEmpty[1];
FwError fwErrorStringLength[1];
FwError fwErrorStringCharacter[1];
FwError fwErrorStringSyntax[1];
FwError fwErrorStringValue[1];
FwError fwErrorDirClosed[1];
FwError fwErrorOperationDenied[1];
FwError fwErrorNonExistent[1];
FwError fwErrorAlreadyExists[1];
FwError fwErrorAccessDenied[1];
FwError fwErrorInUse[1];
FwError fwErrorOperationFailed[1];
FwError fwErrorAbort[1];
FwError fwErrorLimit[1];
FwError fwErrorHardwareLimit[1];
FwError fwErrorNoMemory[1];
FwError fwErrorDiskFull[1];
FwError fwErrorSoftwareLimit[1];
FwError fwErrorNoTempName[1];
FwError fwErrorHardware[1];
FwError fwErrorUnimplemented[1];
FwError fwErrorFatal[1];
FwError fwErrorBug[1];
FwError fwErrorCommand[1];
FwError fwErrorCallingCommand[1];
FwError fwErrorArgListTooLong[1];
FwError fwErrorInvalidArgument[1];
FwError fwErrorNoSuchFile[1];
FwError fwErrorExecFormat[1];
FwError fwErrorOutOfMemory[1];
FwError fwErrorFromCommand[1];

namespace {

using CreateErrorFn = FwObj*(FwObj* pObj, FwObj* pParent, FwObj* pAfterThis,
                             FwTextString ptbzFormat);

constexpr uint32 kMaxStrings = 4;

constexpr ErrorRow kKinds[] = {
    {fwErrorRoot, nullptr, "Error: Uncategorized error"},
    {fwErrorParameter, fwErrorRoot, "Error: Parameter rejected"},
    {fwErrorPointer, fwErrorParameter, "Error: Pointer parameter rejected"},
    {fwErrorPointerNull, fwErrorPointer, "Error: Pointer parameter NULL"},
    {fwErrorNumeric, fwErrorParameter, "Error: Numeric parameter rejected"},
    {fwErrorNumericRange, fwErrorNumeric, "Error: Numeric parameter out of range"},
    {fwErrorNumericValue, fwErrorNumeric, "Error: Numeric parameter illegal value"},
    {fwErrorString, fwErrorParameter, "Error: %[0]t %[1]s String parameter rejected"},
    {fwErrorStringEmpty, fwErrorString, "Error: %[0]t String parameter empty"},
    {fwErrorStringLength, fwErrorString, "Error: %[0]t %[1]s String parameter too long"},
    {fwErrorStringCharacter, fwErrorString,
     "Error: %[0]t %[1]s String parameter illegal character"},
    {fwErrorStringSyntax, fwErrorString, "Error: %[0]t %[1]s String parameter syntax incorrect"},
    {fwErrorStringValue, fwErrorString, "Error: %[0]t %[1]s String parameter illegal value"},
    {fwErrorDirClosed, fwErrorParameter, "Error: %[0]t %[1]s Directory already closed"},
    {fwErrorOperationDenied, fwErrorRoot, "Error: Operation denied"},
    {fwErrorNonExistent, fwErrorOperationDenied, "Error: %[0]t %[1]s Does not exist"},
    {fwErrorAlreadyExists, fwErrorOperationDenied, "Error: %[0]t %[1]s Already exists"},
    {fwErrorAccessDenied, fwErrorOperationDenied, "Error: %[0]t %[1]s Access denied"},
    {fwErrorInUse, fwErrorOperationDenied, "Error: %[0]t %[1]s In use"},
    {fwErrorOperationFailed, fwErrorRoot, "Error: Operation failed"},
    {fwErrorAbort, fwErrorOperationFailed, "Error: Operation aborted"},
    {fwErrorLimit, fwErrorOperationFailed, "Error: Limit reached"},
    {fwErrorHardwareLimit, fwErrorLimit, "Error: Hardware limit reached"},
    {fwErrorNoMemory, fwErrorHardwareLimit, "Error: Run out of memory"},
    {fwErrorDiskFull, fwErrorHardwareLimit, "Error: File storage device full"},
    {fwErrorSoftwareLimit, fwErrorLimit, "Error: Software limit"},
    {fwErrorNoTempName, fwErrorSoftwareLimit, "Error: Could not invent temporary file name"},
    {fwErrorHardware, fwErrorOperationFailed, "Error: %[0]t %[1]s Hardware error"},
    {fwErrorUnimplemented, fwErrorOperationFailed, "Error: Unimplemented operation"},
    {fwErrorFatal, fwErrorOperationFailed, "Error: Fatal internal error"},
    {fwErrorBug, fwErrorFatal, "Error: Program logic error"},
    {fwErrorCommand, fwErrorOperationFailed, "Error running command"},
    {fwErrorCallingCommand, fwErrorCommand, "Could not call %[0]t %[1]s"},
    {fwErrorArgListTooLong, fwErrorCallingCommand,
     "Could not call %[0]t %[1]s : Argument list exceeds 1024 bytes"},
    {fwErrorInvalidArgument, fwErrorCallingCommand,
     "Could not call %[0]t %[1]s : Mode argument is invalid"},
    {fwErrorNoSuchFile, fwErrorCallingCommand,
     "Could not call %[0]t %[1]s : File or path  not found"},
    {fwErrorExecFormat, fwErrorCallingCommand,
     "Could not call %[0]t %[1]s : Specified file is not executable or has invalid executable-file "
     "format"},
    {fwErrorOutOfMemory, fwErrorCallingCommand,
     "Could not call %[0]t %[1]s : Not enough memory is available to execute new process"},
    {fwErrorFromCommand, fwErrorCommand, "Error: %[0]t %[1]s from %[2]t %[3]s"},
};

FwObj* FcError_method_Create(FwObj* pObj, FwObj* pParent, FwObj* pAfterThis,
                             FwTextString ptbzFormat) {
  auto* create = FcSuperMethod<Fw_msg_CreateAndLink_Fn>(_Fw_msg_CreateAndLink_Handle, FwErrorClass);
  // Memory allocated for the caller could not be a kind: kinds are static objects.
  FwObj* pCreated = create(pObj, &FwErrorClass, pParent, pAfterThis);
  if (!FwExpect(pCreated != nullptr, "Failed to add error")) return nullptr;
  static_cast<FwError*>(pCreated)->ptbzFormat = ptbzFormat;
  return pCreated;
}

const FwIntercept FcErrorMethods[] = {
    {_Fw_msg_CreateError_Handle, FwMethodOf(FcError_method_Create)},
    {_Fw_msg_CreateAndLink_Handle, nullptr},
    {nullptr, nullptr},
};

FwTextString& Detail(FwErrorState* pState, uint32 index) {
  FwErrorItem& item = pState->items[index / 2];
  return index % 2 == 0 ? item.type : item.name;
}

bool HasDetails(const FwErrorState* pState) {
  return std::any_of(
      std::begin(pState->items), std::end(pState->items),
      [](const FwErrorItem& item) { return item.type != nullptr || item.name != nullptr; });
}

}  // namespace

const char _Fw_msg_CreateError_Handle[] = "Fw_msg_CreateError";

const FwClassRecord FwErrorClass = {FW_CLASS_COOKIE, "Error",        sizeof(FwError),
                                    &FwTreeClass,    FcErrorMethods, FW_CLASS_NON_HEAP};

FwObj* Fw_msg_CreateError(FwObj* pObj, FwObj* pParent, FwObj* pAfterThis, FwTextString ptbzFormat) {
  auto* method = FwClassFindMethodAs<CreateErrorFn>(_Fw_msg_CreateError_Handle, &FwErrorClass);
  return method == nullptr ? nullptr : method(pObj, pParent, pAfterThis, ptbzFormat);
}

void FcErrorInit() {
  make_kinds(kKinds);
  FpErrorInit();
}

void FcErrorShutdown() {
  FpErrorShutdown();
}

void FwErrorStateAssert(FwErrorState* pState) {
  if (!FwExpect(pState != nullptr, "NULL")) return;
  FwAssert(pState->magic == kFwErrorStateMagic, "Uninitialised error state");
  FwAssert(pState->fAlloc == 0 || pState->fAlloc == 1, "error state corrupt");
  FwAssert(pState->platformError == 0 || pState->pError != nullptr,
           "platform error set but not fw error");
  FwAssert((pState->pError != nullptr && pState->fAlloc != 0) || !HasDetails(pState),
           "unexpected error details");
  FwAssert(pState->pError == nullptr || pState->pError->pClassRecord == &FwErrorClass,
           "bad error object");
}

FwError* FwErrorClear(FwErrorState* pState) {
  if (pState == nullptr) return nullptr;
  FwError* pError = pState->pError;
  pState->pError = nullptr;
  pState->platformError = 0;
  for (FwErrorItem& item : pState->items) {
    FwMemFreeAndClear(&item.type);
    FwMemFreeAndClear(&item.name);
  }
  return pError;
}

void FwErrorVSet(FwErrorState* pState, FwError* pError, uint32 nStrings, std::va_list args) {
  FwErrorStateAssert(pState);
  if (pState == nullptr) return;
  if (!FwExpect(pError != nullptr, "Attempting to set error to FW_SUCCESS")) pError = fwErrorBug;
  FwAssert(nStrings <= kMaxStrings, "Too many strings");
  nStrings = std::min(nStrings, kMaxStrings);

  // The arguments may be the state's own details, so they are copied before those are freed.
  FwTextString details[kMaxStrings] = {};
  if (pState->fAlloc != 0) {
    for (uint32 i = 0; i < nStrings; i++) {
      FwTextString ptbz = va_arg(args, FwTextString);
      if (ptbz != nullptr) details[i] = FwStrDuplicate(ptbz);
    }
  }
  FwErrorClear(pState);
  pState->pError = pError;
  for (uint32 i = 0; i < nStrings; i++)
    Detail(pState, i) = details[i];
}

void FwErrorSet(FwErrorState* pState, FwError* pError, uint32 nStrings, ...) {
  std::va_list args;
  va_start(args, nStrings);
  FwErrorVSet(pState, pError, nStrings, args);
  va_end(args);
}

void FwPlatformErrorSet(FwErrorState* pState, FwPlatformError platformError, uint32 nStrings, ...) {
  std::va_list args;
  va_start(args, nStrings);
  FwErrorVSet(pState, FwPlatformErrorMap(platformError), nStrings, args);
  va_end(args);
  if (pState != nullptr) pState->platformError = platformError;
}

void FwErrorCopy(FwErrorState* pState, FwErrorState* pLocalState) {
  if (pState == nullptr || pLocalState == nullptr) {
    FwErrorStateAssert(nullptr);
    return;
  }
  FwAssert(pState->fAlloc == 0 || pLocalState->fAlloc != 0,
           "not returning full error information to caller");
  // Kept, as part of the interface: the platform's number stays behind.
  const FwErrorItem* items = pLocalState->items;
  FwErrorSet(pState, pLocalState->pError, kMaxStrings, items[0].type, items[0].name, items[1].type,
             items[1].name);
}

uint32 FwErrorPrintf(FwStrRecord* pRecord, FwErrorState* pState) {
  if (pState == nullptr || pState->pError == nullptr) return 0;
  const FwErrorItem* items = pState->items;
  const uint32 nResult =
      FwStrPrintf(pRecord, 1, pState->pError->ptbzFormat, or_empty(items[0].type),
                  or_empty(items[0].name), or_empty(items[1].type), or_empty(items[1].name));
  FwStrPutTextString(pRecord, FWT(", (Error Code: "));
  FpPlatformErrorPrintf(pRecord, pState);
  FwStrPutTextString(pRecord, FWT(")"));
  return nResult;
}
