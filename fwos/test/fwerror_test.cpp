#include "fwerror.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

#include "fcboot.h"
#include "fperror.h"
#include "fwstring.h"
#include "recorder.h"

namespace {

constexpr FwTextString kNone = nullptr;

std::string Text(FwTextString ptbz) {
  return ptbz == nullptr ? "(null)" : FWC(ptbz);
}

// Both details of a state: type=name, type=name.
std::string Details(const FwErrorState& state) {
  return Text(state.items[0].type) + "=" + Text(state.items[0].name) + ", " +
         Text(state.items[1].type) + "=" + Text(state.items[1].name);
}

std::string Printed(FwErrorState* pState, uint32* pnResult = nullptr) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  const uint32 nResult = FwErrorPrintf(&record, pState);
  if (pnResult != nullptr) *pnResult = nResult;
  const std::string text = Text(record.pbz);
  FwStrRecordAbandon(&record);
  return text;
}

}  // namespace

TEST(FwError, AStateStartsClearAndKeepsDetails) {
  FwErrorState err;
  EXPECT_EQ(1, err.fAlloc);
  EXPECT_EQ(0x86752947u, err.magic);
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ(0, err.platformError);
  EXPECT_EQ("(null)=(null), (null)=(null)", Details(err));
  FwErrorStateAssert(&err);
}

TEST(FwError, TheFieldsOfAStateAreInTheirOrder) {
  EXPECT_EQ(0u, offsetof(FwErrorState, fAlloc));
  EXPECT_EQ(4u, offsetof(FwErrorState, magic));
  EXPECT_EQ(8u, offsetof(FwErrorState, pError));
  EXPECT_EQ(16u, offsetof(FwErrorState, platformError));
  EXPECT_EQ(24u, offsetof(FwErrorState, items));
  EXPECT_EQ(16u, sizeof(FwErrorItem));
}

TEST(FwError, AStateWithoutDetailsStoresTheKindOnly) {
  FwErrorState err;
  err.fAlloc = 0;
  FwErrorSet(&err, fwErrorStringSyntax, 2, FWT("File"), FWT("x"));
  EXPECT_EQ(fwErrorStringSyntax, err.pError);
  EXPECT_EQ("(null)=(null), (null)=(null)", Details(err));
  EXPECT_EQ(fwErrorStringSyntax, FwErrorClear(&err));
}

TEST(FwError, DetailsArePrivateCopies) {
  char type[] = "File";
  char name[] = "x";
  FwErrorState err;
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT(type), FWT(name));
  type[0] = name[0] = '?';
  EXPECT_EQ("File=x, (null)=(null)", Details(err));
  FwErrorClear(&err);
}

TEST(FwError, TheLastSetterWins) {
  // The first details are freed: a leak is reported otherwise.
  FwErrorState err;
  FwErrorSet(&err, fwErrorStringSyntax, 4, FWT("a"), FWT("b"), FWT("c"), FWT("d"));
  FwErrorSet(&err, fwErrorInUse, 2, FWT("File"), FWT("y"));
  EXPECT_EQ(fwErrorInUse, err.pError);
  EXPECT_EQ("File=y, (null)=(null)", Details(err));
  FwErrorClear(&err);
}

TEST(FwError, ThreeStringsLeaveTheLastNameNull) {
  FwErrorState err;
  FwErrorSet(&err, fwErrorFromCommand, 3, FWT("a"), FWT("b"), FWT("c"));
  EXPECT_EQ("a=b, c=(null)", Details(err));
  FwErrorClear(&err);
}

TEST(FwError, ANullArgumentLeavesItsPlaceNull) {
  FwErrorState err;
  FwErrorSet(&err, fwErrorFromCommand, 4, FWT("a"), kNone, kNone, FWT("d"));
  EXPECT_EQ("a=(null), (null)=d", Details(err));
  FwErrorClear(&err);
}

TEST(FwError, ClearingReturnsTheKindAndEmptiesTheState) {
  FwErrorState err;
  FwPlatformErrorSet(&err, EACCES, 2, FWT("File"), FWT("x"));
  EXPECT_EQ(EACCES, err.platformError);
  EXPECT_EQ(fwErrorAccessDenied, FwErrorClear(&err));
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ(0, err.platformError);
  EXPECT_EQ("(null)=(null), (null)=(null)", Details(err));
  EXPECT_EQ(0x86752947u, err.magic);
  EXPECT_EQ(1, err.fAlloc);
}

TEST(FwError, ClearingAClearStateChangesNothing) {
  FwErrorState err;
  EXPECT_EQ(nullptr, FwErrorClear(&err));
  FwErrorStateAssert(&err);
}

TEST(FwError, SettingSuccessIsReportedAndEndsAsABug) {
  FwErrorState err;
  ExpectAsserts expected({"Attempting to set error to FW_SUCCESS"});
  FwErrorSet(&err, nullptr, 2, FWT("File"), FWT("x"));
  EXPECT_EQ(fwErrorBug, err.pError);
  EXPECT_EQ("File=x, (null)=(null)", Details(err));
  FwErrorClear(&err);
}

TEST(FwError, TooManyStringsAreReportedAndFourAreTaken) {
  FwErrorState err;
  ExpectAsserts expected({"Too many strings"});
  FwErrorSet(&err, fwErrorBug, 5, FWT("a"), FWT("b"), FWT("c"), FWT("d"), FWT("e"));
  EXPECT_EQ("a=b, c=d", Details(err));
  FwErrorClear(&err);
}

TEST(FwError, TheStatesOwnDetailsMayBeArguments) {
  FwErrorState err;
  FwErrorSet(&err, fwErrorNonExistent, 2, FWT("File"), FWT("x"));
  FwErrorSet(&err, fwErrorAccessDenied, 2, err.items[0].name, err.items[0].type);
  EXPECT_EQ("x=File, (null)=(null)", Details(err));
  FwErrorCopy(&err, &err);
  EXPECT_EQ(fwErrorAccessDenied, err.pError);
  EXPECT_EQ("x=File, (null)=(null)", Details(err));
  FwErrorClear(&err);
}

TEST(FwError, ANullStateIsReportedAndNothingHappens) {
  FwErrorState err;
  FwErrorSet(&err, fwErrorBug, 0);
  ExpectAsserts expected({"NULL", "NULL", "NULL", "NULL", "NULL"});
  FwErrorStateAssert(nullptr);
  FwErrorSet(nullptr, fwErrorBug, 2, FWT("a"), FWT("b"));
  FwPlatformErrorSet(nullptr, ENOENT, 0);
  FwErrorCopy(nullptr, &err);
  FwErrorCopy(&err, nullptr);
  EXPECT_EQ(nullptr, FwErrorClear(nullptr));
  EXPECT_EQ("", Printed(nullptr));
  EXPECT_EQ(fwErrorBug, err.pError);
}

TEST(FwError, EachBrokenInvariantHasItsText) {
  FwError foreign;
  struct Row {
    const char* pszText;
    void (*pfnBreak)(FwErrorState*, FwError*);
  };
  const Row rows[] = {
      {"Uninitialised error state", [](FwErrorState* p, FwError*) { p->magic = 0; }},
      {"error state corrupt", [](FwErrorState* p, FwError*) { p->fAlloc = 2; }},
      {"platform error set but not fw error",
       [](FwErrorState* p, FwError*) { p->platformError = 2; }},
      {"unexpected error details", [](FwErrorState* p, FwError*) { p->items[0].type = FWT("a"); }},
      {"unexpected error details", [](FwErrorState* p, FwError*) { p->items[0].name = FWT("a"); }},
      {"unexpected error details", [](FwErrorState* p, FwError*) { p->items[1].type = FWT("a"); }},
      {"unexpected error details",
       [](FwErrorState* p, FwError*) {
         p->pError = fwErrorBug;
         p->fAlloc = 0;
         p->items[1].name = FWT("a");
       }},
      {"bad error object", [](FwErrorState* p, FwError* pForeign) { p->pError = pForeign; }},
  };
  for (const Row& row : rows) {
    FwErrorState err;
    row.pfnBreak(&err, &foreign);
    ExpectAsserts expected({row.pszText});
    FwErrorStateAssert(&err);
  }
}

TEST(FwError, EveryBrokenInvariantIsReported) {
  FwErrorState err;
  err.magic = 1;
  err.fAlloc = -1;
  err.platformError = 5;
  err.items[0].name = FWT("a");
  ExpectAsserts expected({"Uninitialised error state", "error state corrupt",
                          "platform error set but not fw error", "unexpected error details"});
  FwErrorStateAssert(&err);
}

TEST(FwError, DetailsOfAnErrorAreExpected) {
  FwErrorState err;
  FwErrorSet(&err, fwErrorBug, 2, FWT("a"), FWT("b"));
  FwErrorStateAssert(&err);
  FwErrorClear(&err);
}

TEST(FwError, CopyingHandsOnKindAndDetailsButNotThePlatformError) {
  FwErrorState local;
  FwErrorState err;
  FwPlatformErrorSet(&local, ENOENT, 4, FWT("File"), FWT("x"), FWT("Directory"), FWT("y"));
  FwErrorCopy(&err, &local);
  EXPECT_EQ(2, local.platformError);
  EXPECT_EQ(0, err.platformError);
  EXPECT_EQ(fwErrorNonExistent, err.pError);
  EXPECT_EQ("File=x, Directory=y", Details(err));
  EXPECT_NE(err.items[0].name, local.items[0].name);
  FwErrorClear(&err);
  FwErrorClear(&local);
}

TEST(FwError, CopyingFromAStateWithoutDetailsIsReported) {
  FwErrorState local;
  local.fAlloc = 0;
  FwErrorState err;
  FwErrorSet(&local, fwErrorBug, 0);
  {
    ExpectAsserts expected({"not returning full error information to caller"});
    FwErrorCopy(&err, &local);
  }
  EXPECT_EQ(fwErrorBug, err.pError);
  err = FwErrorState{};
  err.fAlloc = 0;
  FwErrorCopy(&err, &local);  // neither keeps details
  EXPECT_EQ(fwErrorBug, err.pError);
}

TEST(FwError, CopyingAClearStateEndsAsABug) {
  FwErrorState local;
  FwErrorState err;
  ExpectAsserts expected({"Attempting to set error to FW_SUCCESS"});
  FwErrorCopy(&err, &local);
  EXPECT_EQ(fwErrorBug, err.pError);
}

TEST(FwError, APlatformErrorOfZeroEndsAsABug) {
  FwErrorState err;
  ExpectAsserts expected({"Attempting to set error to FW_SUCCESS"});
  FwPlatformErrorSet(&err, 0, 0);
  EXPECT_EQ(fwErrorBug, err.pError);
  EXPECT_EQ(0, err.platformError);
}

TEST(FwError, PlatformErrorsMapAsTheirTableSays) {
  struct Row {
    std::initializer_list<int> numbers;
    FwError* pError;
  };
  const Row rows[] = {
      {{0}, nullptr},
      {{1, 13, 30}, fwErrorAccessDenied},
      {{2, 67}, fwErrorNonExistent},
      {{5}, fwErrorHardware},
      {{9, 22, 75}, fwErrorParameter},
      {{11, 18, 21, 35, 39}, fwErrorOperationDenied},
      {{12}, fwErrorNoMemory},
      {{14}, fwErrorPointer},
      {{16}, fwErrorInUse},
      {{17}, fwErrorAlreadyExists},
      {{20}, fwErrorStringValue},
      {{23, 24, 31, 37, 40, 70, 72, 95}, fwErrorSoftwareLimit},
      {{28, 122}, fwErrorDiskFull},
      {{36}, fwErrorStringLength},
  };
  for (const Row& row : rows) {
    for (int number : row.numbers)
      EXPECT_EQ(row.pError, FwPlatformErrorMap(number)) << number;
  }
}

TEST(FwError, AnUnknownPlatformErrorIsTracedAssertedAndUncategorised) {
  for (int number :
       {3, 4, 6, 7, 8, 10, 15, 19, 25, 26, 27, 29, 32, 38, 84, 110, 116, 123, 9999, -1}) {
    SCOPED_TRACE(number);
    ExpectTraces traces({"Need to add mapping for platform error " + std::to_string(number)});
    ExpectAsserts expected({"Unable to classify platform error"});
    EXPECT_EQ(fwErrorRoot, FwPlatformErrorMap(number));
  }
}

TEST(FwError, APlainFileInAPathIsNotAMissingFile) {
  EXPECT_EQ(0, Fw_msg_IsDescendant(fwErrorNonExistent, FwPlatformErrorMap(ENOTDIR)));
  EXPECT_EQ(1, Fw_msg_IsDescendant(fwErrorString, FwPlatformErrorMap(ENOTDIR)));
}

TEST(FwError, KindsAreKindsOfTheOnesAbove) {
  EXPECT_EQ(1, Fw_msg_IsDescendant(fwErrorOperationDenied, fwErrorNonExistent));
  EXPECT_EQ(1, Fw_msg_IsDescendant(fwErrorRoot, fwErrorNonExistent));
  EXPECT_EQ(0, Fw_msg_IsDescendant(fwErrorOperationFailed, fwErrorNonExistent));
  EXPECT_EQ(0, Fw_msg_IsDescendant(fwErrorNonExistent, fwErrorOperationDenied));
}

TEST(FwError, FailedAllocationsAndProcessesThatCannotStartAreDistinct) {
  EXPECT_NE(static_cast<FwError*>(fwErrorNoMemory), static_cast<FwError*>(fwErrorOutOfMemory));
  EXPECT_EQ(1, Fw_msg_IsDescendant(fwErrorLimit, fwErrorNoMemory));
  EXPECT_EQ(0, Fw_msg_IsDescendant(fwErrorLimit, fwErrorOutOfMemory));
}

namespace {

struct KindRow {
  FwError* pError;
  FwError* pParent;
  const char* pszFormat;
};

const std::vector<KindRow>& Kinds() {
  static const std::vector<KindRow> kRows = {
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
       "Could not call %[0]t %[1]s : Specified file is not executable or has invalid "
       "executable-file format"},
      {fwErrorOutOfMemory, fwErrorCallingCommand,
       "Could not call %[0]t %[1]s : Not enough memory is available to execute new process"},
      {fwErrorFromCommand, fwErrorCommand, "Error: %[0]t %[1]s from %[2]t %[3]s"},
  };
  return kRows;
}

}  // namespace

TEST(FwError, TheCatalogueIsAsItsTableSays) {
  ASSERT_EQ(39u, Kinds().size());
  for (const KindRow& row : Kinds()) {
    SCOPED_TRACE(row.pszFormat);
    EXPECT_EQ(&FwErrorClass, row.pError->pClassRecord);
    EXPECT_EQ(row.pParent, row.pError->pParent) << row.pszFormat;
    EXPECT_STREQ(row.pszFormat, FWC(row.pError->ptbzFormat));
  }
}

TEST(FwError, KindsAreChildrenInTheOrderOfTheTable) {
  for (const KindRow& parent : Kinds()) {
    std::vector<FwObj*> expected;
    for (const KindRow& row : Kinds()) {
      if (row.pParent == parent.pError) expected.push_back(row.pError);
    }
    // Other floors may add kinds of their own behind these.
    FwObj* pChild = nullptr;
    for (FwObj* pExpected : expected) {
      pChild = Fw_msg_EnumerateChildren(parent.pError, pChild);
      EXPECT_EQ(pExpected, pChild) << parent.pszFormat;
    }
  }
}

TEST(FwError, AFurtherKindIsMadeInItsOwnStorage) {
  static FwError kind[1];
  EXPECT_EQ(kind,
            Fw_msg_CreateError(kind, fwErrorFromCommand, FW_TREE_LINK_LAST, FWT("Error: further")));
  EXPECT_EQ(&FwErrorClass, kind->pClassRecord);
  EXPECT_EQ(1, Fw_msg_IsDescendant(fwErrorCommand, kind));
  FwErrorState err;
  FwErrorSet(&err, kind, 0);
  EXPECT_EQ("Error: further, (Error Code: 0)", Printed(&err));
  fwErrorFromCommand->pChildren = nullptr;
}

TEST(FwError, AKindThatTheTreeRefusesIsReported) {
  static FwError kind[1];
  {
    // fwErrorRoot is no child of fwErrorLimit, which has children.
    ExpectAsserts expected({"Invalid tree creation", "Failed to add error"});
    EXPECT_EQ(nullptr, Fw_msg_CreateError(kind, fwErrorLimit, fwErrorRoot, FWT("Error: x")));
  }
  ExpectAsserts expected({"No memory provided for non heap object", "Failed to add error"});
  EXPECT_EQ(nullptr, Fw_msg_CreateError(nullptr, nullptr, nullptr, FWT("Error: x")));
}

TEST(FwError, AClearStatePrintsNothing) {
  FwErrorState err;
  uint32 nResult = 1;
  EXPECT_EQ("", Printed(&err, &nResult));
  EXPECT_EQ(0u, nResult);
}

TEST(FwError, AnErrorWithoutPlatformCausePrintsCodeZero) {
  FwErrorState err;
  FwErrorSet(&err, fwErrorOperationFailed, 0);
  uint32 nResult = 0;
  EXPECT_EQ("Error: Operation failed, (Error Code: 0)", Printed(&err, &nResult));
  EXPECT_EQ(23u, nResult);  // of the template alone
}

TEST(FwError, PrintingPutsTheDetailsIntoTheTemplate) {
  FwErrorState err;
  FwPlatformErrorSet(&err, ENOENT, 2, FWT("File"), FWT("/a/b"));
  // A message with two strings marks the end of each for the translation to find.
  EXPECT_EQ("Error: File\b /a/b\b Does not exist, (Error Code: 2)", Printed(&err));
  FwErrorClear(&err);
}

TEST(FwError, MissingDetailsPrintAsNothing) {
  FwErrorState err;
  FwErrorSet(&err, fwErrorFromCommand, 0);
  EXPECT_EQ("Error: \b \b from \b \b, (Error Code: 0)", Printed(&err));
  FwErrorSet(&err, fwErrorStringEmpty, 1, FWT("Name"));
  EXPECT_EQ("Error: Name String parameter empty, (Error Code: 0)", Printed(&err));
  FwErrorClear(&err);
}

TEST(FwError, ThePlatformErrorPrintsAsADecimalNumber) {
  FwErrorState err;
  FwStrRecord record;
  FwStrRecordOpen(&record);
  FpPlatformErrorPrintf(&record, &err);
  EXPECT_EQ("", Text(record.pbz));
  FwPlatformErrorSet(&err, EDQUOT, 0);
  FpPlatformErrorPrintf(&record, &err);
  EXPECT_EQ("122", Text(record.pbz));
  FwStrRecordAbandon(&record);
}

TEST(FwError, MakingTheCatalogueAgainLeavesTheSameTree) {
  FcErrorShutdown();
  FcErrorInit();
  int nChildren = 0;
  for (FwObj* p = nullptr; (p = Fw_msg_EnumerateDescendants(fwErrorRoot, p)) != nullptr;)
    nChildren++;
  EXPECT_EQ(38, nChildren);
  EXPECT_EQ(1, Fw_msg_IsDescendant(fwErrorOperationDenied, fwErrorNonExistent));
}
