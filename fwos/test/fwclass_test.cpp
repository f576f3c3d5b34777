#include "fwclass.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "fcclass.h"
#include "fwerror.h"
#include "fwmem.h"
#include "fwobserv.h"
#include "fwprog.h"
#include "fwstream.h"
#include "fwtree.h"
#include "recorder.h"

namespace {

// A class of two generations, as an application would write it: Shape, and Square below it.
struct Shape : FwObject {
  int32 sides = 0;
  int32 created = 0;
};

struct Square : Shape {
  int32 width = 0;
};

std::vector<std::string> calls;

extern const FwClassRecord ShapeClass;
extern const FwClassRecord SquareClass;

FwObj* Shape_method_Create(FwObj* pObj, const FwClassRecord* pClassRecord) {
  calls.emplace_back("create shape");
  if (pObj == nullptr) pObj = FwClassAlloc(pClassRecord, ALLOC_MUST_SUCCEED);
  static_cast<Shape*>(pObj)->sides = 4;
  return FcSuperMethod<Fw_msg_Create_Fn>(_Fw_msg_Create_Handle, ShapeClass)(pObj, pClassRecord);
}

void Shape_method_Destroy(FwObj* pObj) {
  calls.emplace_back("destroy shape");
  FcSuperMethod<Fw_msg_Destroy_Fn>(_Fw_msg_Destroy_Handle, ShapeClass)(pObj);
}

FwObj* Square_method_Create(FwObj* pObj, const FwClassRecord* pClassRecord) {
  calls.emplace_back("create square");
  if (pObj == nullptr) pObj = FwClassAlloc(pClassRecord, ALLOC_MUST_SUCCEED);
  static_cast<Square*>(pObj)->width = 7;
  return FcSuperMethod<Fw_msg_Create_Fn>(_Fw_msg_Create_Handle, SquareClass)(pObj, pClassRecord);
}

const FwIntercept ShapeMethods[] = {{_Fw_msg_Create_Handle, FwMethodOf(Shape_method_Create)},
                                    {_Fw_msg_Destroy_Handle, FwMethodOf(Shape_method_Destroy)},
                                    {nullptr, nullptr}};
const FwIntercept SquareMethods[] = {{_Fw_msg_Create_Handle, FwMethodOf(Square_method_Create)},
                                     {nullptr, nullptr}};

const FwClassRecord ShapeClass = {FW_CLASS_COOKIE, "Shape",      sizeof(Shape),
                                  &FwObjectClass,  ShapeMethods, 0};
const FwClassRecord SquareClass = {FW_CLASS_COOKIE, "Square",      sizeof(Square),
                                   &ShapeClass,     SquareMethods, 0};

// No table at all, and an empty one, are both allowed.
const FwClassRecord PlainClass = {FW_CLASS_COOKIE, "Plain", sizeof(FwObject),
                                  &FwObjectClass,  nullptr, 0};
const FwIntercept NoMethods[] = {{nullptr, nullptr}};
const FwClassRecord EmptyClass = {FW_CLASS_COOKIE, "Empty",   sizeof(FwObject),
                                  &PlainClass,     NoMethods, 0};

const char kUnknownMessage[] = "UnknownMessage";

struct DestroyedNote {
  void* pSubject = nullptr;
  void* pElement = nullptr;
  int notified = 0;
  std::vector<std::string> order;
};

void NoteDestroyed(void* /*pObserver*/, void* pSubject, FwObj* pChange, void* pContext) {
  auto* note = static_cast<DestroyedNote*>(pContext);
  note->pSubject = pSubject;
  note->pElement = static_cast<FwChangeDestroy*>(pChange)->pElement;
  note->notified++;
  note->order.emplace_back("notified");
}

void NoteEnded(void* /*pObserver*/, void* /*pSubject*/, const FwClassRecord* /*pChangeClass*/,
               void* pContext) {
  static_cast<DestroyedNote*>(pContext)->order.emplace_back("ended");
}

void IgnoreChange(void* /*pObserver*/, void* /*pSubject*/, FwObj* /*pChange*/, void* /*pContext*/) {
}

}  // namespace

TEST(FwClass, SendingCreateToTheTreeClassIsProhibited) {
  ExpectAsserts expected({"Class prohibits message"});
  EXPECT_EQ(nullptr, Fw_msg_Create(nullptr, &FwTreeClass));
}

TEST(FwClass, AProhibitionIsReportedFromTheCacheToo) {
  ExpectAsserts expected({"Class prohibits message", "Class prohibits message"});
  EXPECT_EQ(nullptr, FwClassFindMethod(_Fw_msg_Create_Handle, &FwChangeAddClass));
  EXPECT_EQ(nullptr, FwClassFindMethod(_Fw_msg_Create_Handle, &FwChangeAddClass));
}

TEST(FwClass, AProhibitionStopsTheSearchThroughTheSuperclasses) {
  // FwErrorClass prohibits what FwTreeClass offers.
  EXPECT_NE(nullptr, FwClassFindMethod(_Fw_msg_CreateAndLink_Handle, &FwTreeClass));
  ExpectAsserts expected({"Class prohibits message"});
  EXPECT_EQ(nullptr, Fw_msg_CreateAndLink(&FwErrorClass, nullptr, nullptr));
}

TEST(FwClass, InheritanceIsFoundThroughClassesBetween) {
  FwChangeCreate change;
  ASSERT_EQ(&change, Fw_msg_CreateWith(&change, &FwChangeCreateClass, nullptr));
  EXPECT_EQ(1, Fw_msg_classInheritsFrom(&change, &FwChangeCreateClass));
  EXPECT_EQ(1, Fw_msg_classInheritsFrom(&change, &FwChangeAddClass));
  EXPECT_EQ(1, Fw_msg_classInheritsFrom(&change, &FwChangeMemberShipClass));
  EXPECT_EQ(1, Fw_msg_classInheritsFrom(&change, &FwObjectClass));
  EXPECT_EQ(0, Fw_msg_classInheritsFrom(&change, &FwChangeRemoveClass));
  EXPECT_EQ(0, Fw_msg_classInheritsFrom(&change, nullptr));
}

TEST(FwClass, ASecondDispatchIsServedByTheCache) {
  FwMethod* method = FwClassFindMethod(_Fw_msg_Destroy_Handle, &EmptyClass);
  ASSERT_NE(nullptr, method);
  const uint32 hits = fcCacheHits;
  const uint32 misses = fcCacheMisses;
  EXPECT_EQ(method, FwClassFindMethod(_Fw_msg_Destroy_Handle, &EmptyClass));
  EXPECT_EQ(hits + 1, fcCacheHits);
  EXPECT_EQ(misses, fcCacheMisses);
}

TEST(FwClass, ASubclassAndItsSuperclassAreCachedSeparately) {
  const FwClassRecord fresh = {FW_CLASS_COOKIE, "Fresh", sizeof(FwObject),
                               &FwObjectClass,  nullptr, 0};
  FwMethod* inherited = FwClassFindMethod(_Fw_msg_Destroy_Handle, &FwObjectClass);
  const uint32 misses = fcCacheMisses;
  const uint32 used = fcCacheUsed;
  EXPECT_EQ(inherited, FwClassFindMethod(_Fw_msg_Destroy_Handle, &fresh));
  EXPECT_EQ(misses + 1, fcCacheMisses);
  EXPECT_LE(fcCacheUsed, used + 1);
  EXPECT_LE(fcCacheUsed, 512u);
}

TEST(FwClass, TheCacheNeverAnswersForAnotherPair) {
  // More pairs than the cache has entries, twice over: each answer must be its own class's.
  std::vector<FwClassRecord> classes;
  classes.reserve(1500);
  for (int i = 0; i < 1500; i++)
    classes.push_back({FW_CLASS_COOKIE, "Many", sizeof(FwObject),
                       i % 2 == 0 ? &FwObjectClass : &ShapeClass, nullptr, 0});
  FwMethod* ofObject = FwClassFindMethod(_Fw_msg_Destroy_Handle, &FwObjectClass);
  FwMethod* ofShape = FwClassFindMethod(_Fw_msg_Destroy_Handle, &ShapeClass);
  ASSERT_NE(ofObject, ofShape);
  for (int round = 0; round < 2; round++) {
    SCOPED_TRACE(round);
    for (std::size_t i = 0; i < classes.size(); i++) {
      SCOPED_TRACE(i);
      ASSERT_EQ(i % 2 == 0 ? ofObject : ofShape,
                FwClassFindMethod(_Fw_msg_Destroy_Handle, &classes[i]));
    }
  }
  EXPECT_LE(fcCacheUsed, 512u);
}

TEST(FwClass, AllocatingANonHeapClassIsRefused) {
  ExpectAsserts expected({"No memory provided for non heap object"});
  EXPECT_EQ(nullptr, FwClassAlloc(&FwChangeClass, ALLOC_MAY_FAIL));
}

TEST(FwClass, AllocatingAnInstanceOfWhatIsNotAClassIsRefused) {
  FwClassRecord broken = FwObjectClass;
  broken.classMagicCookie = 0xdead;
  ExpectAsserts expected({"Not a class", "Not a class"});
  EXPECT_EQ(nullptr, FwClassAlloc(nullptr, ALLOC_MAY_FAIL));
  EXPECT_EQ(nullptr, FwClassAlloc(&broken, ALLOC_MAY_FAIL));
}

TEST(FwClass, FindingAMethodOfWhatIsNotAClassIsRefused) {
  FwClassRecord broken = FwObjectClass;
  broken.classMagicCookie = 0;
  ExpectAsserts expected({"Not a class", "Not a class"});
  EXPECT_EQ(nullptr, FwClassFindMethod(_Fw_msg_Create_Handle, nullptr));
  EXPECT_EQ(nullptr, FwClassFindMethod(_Fw_msg_Create_Handle, &broken));
}

TEST(FwClass, AMessageThatNoClassKnowsIsNotFound) {
  ExpectAsserts expected({"Message not found"});
  EXPECT_EQ(nullptr, FwClassFindMethod(kUnknownMessage, &SquareClass));
}

TEST(FwClass, MessagesAreTheAddressNotTheText) {
  const char copy[] = "Fw_msg_Create";
  ExpectAsserts expected({"Message not found"});
  EXPECT_EQ(nullptr, FwClassFindMethod(copy, &FwObjectClass));
}

TEST(FwClass, AHeapInstanceStartsAllZero) {
  auto* square = static_cast<Square*>(FwClassAlloc(&SquareClass, ALLOC_MUST_SUCCEED));
  ASSERT_NE(nullptr, square);
  EXPECT_EQ(nullptr, square->pClassRecord);
  EXPECT_EQ(0, square->sides);
  EXPECT_EQ(0, square->width);
  FwMemFree(square);
}

TEST(FwClass, ConstructorsAndDestructorsRunThroughTheSuperclasses) {
  calls.clear();
  auto* square = static_cast<Square*>(Fw_msg_Create(nullptr, &SquareClass));
  ASSERT_NE(nullptr, square);
  EXPECT_EQ(&SquareClass, square->pClassRecord);
  EXPECT_EQ(4, square->sides);
  EXPECT_EQ(7, square->width);
  Fw_msg_Destroy(square);
  EXPECT_EQ((std::vector<std::string>{"create square", "create shape", "destroy shape"}), calls);
}

TEST(FwClass, TheRootConstructsInMemoryOfTheCallersWithoutClearingIt) {
  Shape shape;
  shape.created = 5;
  EXPECT_EQ(&shape, FwClassFindMethodAs<Fw_msg_Create_Fn>(_Fw_msg_Create_Handle, &FwObjectClass)(
                        &shape, &ShapeClass));
  EXPECT_EQ(&ShapeClass, shape.pClassRecord);
  EXPECT_EQ(5, shape.created);
}

TEST(FwClass, TheRootRefusesToAllocateANonHeapInstance) {
  ExpectAsserts expected({"No memory provided for non heap object"});
  EXPECT_EQ(nullptr, Fw_msg_Create(nullptr, &FwChangeClass));
}

TEST(FwClass, DestroyingANonHeapObjectLeavesItsMemoryAlone) {
  FwChange change;
  ASSERT_EQ(&change, Fw_msg_Create(&change, &FwChangeClass));
  Fw_msg_Destroy(&change);  // freeing the stack would end the program
  EXPECT_EQ(&FwChangeClass, change.pClassRecord);
}

TEST(FwClass, AHeapClassFreesTheCallersMemoryToo) {
  // The flag is on the class: what the caller allocated is gone with the object. A leak is reported
  // if it were not.
  void* memory = FwMemAlloc(sizeof(FwObject), ALLOC_MUST_SUCCEED | INIT_NONE);
  ASSERT_EQ(memory, Fw_msg_Create(memory, &PlainClass));
  Fw_msg_Destroy(memory);
}

TEST(FwClass, ObserversOfTheClassHearOfADestruction) {
  DestroyedNote note;
  int observer = 0;
  void* subject = const_cast<FwClassRecord*>(&PlainClass);
  FwObserveStart(&observer, subject, &FwChangeDestroyClass, NoteDestroyed, &note, nullptr);
  FwObj* pObj = Fw_msg_Create(nullptr, &PlainClass);
  const auto address = reinterpret_cast<std::uintptr_t>(pObj);
  Fw_msg_Destroy(pObj);
  EXPECT_EQ(1, note.notified);
  EXPECT_EQ(subject, note.pSubject);
  EXPECT_EQ(address, reinterpret_cast<std::uintptr_t>(note.pElement));
  FwObserveEnd(&observer, nullptr, nullptr);
}

TEST(FwClass, DestructionNotifiesBeforeItEndsTheObjectsOwnObservations) {
  DestroyedNote note;
  int observer = 0;
  FwObserveStart(&observer, const_cast<FwClassRecord*>(&PlainClass), &FwChangeClass, NoteDestroyed,
                 &note, nullptr);
  FwObj* pObj = Fw_msg_Create(nullptr, &PlainClass);
  FwObserveStart(&observer, pObj, &FwChangeClass, IgnoreChange, &note, NoteEnded);
  Fw_msg_Destroy(pObj);
  EXPECT_EQ((std::vector<std::string>{"notified", "ended"}), note.order);
  FwObserveEnd(&observer, nullptr, nullptr);
}

TEST(FwClass, MessageHandlesHoldTheNameOfTheMessage) {
  EXPECT_STREQ("Fw_msg_Create", _Fw_msg_Create_Handle);
  EXPECT_STREQ("Fw_msg_Destroy", _Fw_msg_Destroy_Handle);
  EXPECT_STREQ("Fw_msg_classInheritsFrom", _Fw_msg_classInheritsFrom_Handle);
  EXPECT_STREQ("Fw_msg_EnumerateDescendantsMatching", _Fw_msg_EnumerateDescendantsMatching_Handle);
  EXPECT_STREQ("Fw_msg_CreateError", _Fw_msg_CreateError_Handle);
  EXPECT_STREQ("Fw_msg_CreateWith", _Fw_msg_CreateWith_Handle);
}

namespace {

struct MethodRow {
  FwMessageID messageID;
  bool prohibited = false;
};

struct ClassRow {
  const FwClassRecord* pClass;
  const char* pszName;
  std::size_t nBytes;
  const FwClassRecord* pSuper;
  bool nonHeap;
  std::vector<MethodRow> methods;
};

void ExpectClasses(const std::vector<ClassRow>& rows, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  for (const ClassRow& row : rows) {
    SCOPED_TRACE(row.pszName);
    EXPECT_EQ(0xdeaf, row.pClass->classMagicCookie);
    EXPECT_STREQ(row.pszName, row.pClass->pszClassName);
    EXPECT_EQ(row.nBytes, static_cast<std::size_t>(row.pClass->nBytesInInstance));
    EXPECT_EQ(row.pSuper, row.pClass->pSuperClassRecord);
    EXPECT_EQ(row.nonHeap ? FW_CLASS_NON_HEAP : 0u, row.pClass->flags);
    const FwIntercept* pRow = row.pClass->pMethodTable;
    for (const MethodRow& method : row.methods) {
      SCOPED_TRACE(method.messageID);
      ASSERT_NE(nullptr, pRow);
      EXPECT_STREQ(method.messageID, pRow->messageID);
      EXPECT_EQ(method.messageID, pRow->messageID);
      EXPECT_EQ(method.prohibited, pRow->method == nullptr);
      pRow++;
    }
    EXPECT_TRUE(pRow == nullptr || pRow->messageID == nullptr);
  }
}

}  // namespace

TEST(FwClass, ObjectsTreesErrorsAndCountersHaveTheirRecordsAndMethods) {
  ExpectClasses({
      {&FwObjectClass,
       "ObjectClass",
       8,
       nullptr,
       false,
       {{_Fw_msg_Create_Handle}, {_Fw_msg_Destroy_Handle}, {_Fw_msg_classInheritsFrom_Handle}}},
      {&FwTreeClass,
       "TreeClass",
       32,
       &FwObjectClass,
       false,
       {{_Fw_msg_CreateAndLink_Handle},
        {_Fw_msg_Create_Handle, true},
        {_Fw_msg_Destroy_Handle},
        {_Fw_msg_GetRoot_Handle},
        {_Fw_msg_IsDescendant_Handle},
        {_Fw_msg_EnumerateChildren_Handle},
        {_Fw_msg_EnumerateChildrenMatching_Handle},
        {_Fw_msg_EnumerateDescendants_Handle},
        {_Fw_msg_EnumerateDescendantsMatching_Handle},
        {_Fw_msg_AtIndex_Handle},
        {_Fw_msg_IthMatching_Handle},
        {_Fw_msg_IndexInParent_Handle},
        {_Fw_msg_PredecessorsMatching_Handle}}},
      {&FwErrorClass,
       "Error",
       40,
       &FwTreeClass,
       true,
       {{_Fw_msg_CreateError_Handle}, {_Fw_msg_CreateAndLink_Handle, true}}},
      {&FwProgressCounterClass,
       "ProgressCounterClass",
       16,
       &FwObjectClass,
       false,
       {{_Fw_msg_Create_Progress_Handle}, {_Fw_msg_Progress_Handle}}},
  });
}

TEST(FwClass, ChangesHaveTheirRecordsAndMethods) {
  ExpectClasses({
      {&FwChangeClass, "ChangeClass", 8, &FwObjectClass, true, {}},
      {&FwChangeMembersClass,
       "ChangeMembersClass",
       16,
       &FwChangeClass,
       true,
       {{_Fw_msg_CreateWith_Handle}, {_Fw_msg_Create_Handle, true}}},
      {&FwChangeMemberShipClass, "ChangeMemberShipClass", 16, &FwChangeMembersClass, true, {}},
      {&FwChangeAddClass, "ChangeAddClass", 16, &FwChangeMemberShipClass, true, {}},
      {&FwChangeCreateClass, "ChangeCreateClass", 16, &FwChangeAddClass, true, {}},
      {&FwChangeRenameClass, "ChangeRenameClass", 32, &FwChangeMemberShipClass, true, {}},
      {&FwChangeRemoveClass, "ChangeRemoveClass", 16, &FwChangeMemberShipClass, true, {}},
      {&FwChangeDestroyClass, "ChangeDestroyClass", 16, &FwChangeRemoveClass, true, {}},
      // The printable name is shared.
      {&FwChangeMemberValueClass, "ChangeMemberShipClass", 24, &FwChangeMembersClass, true, {}},
  });
}

TEST(FwClass, StreamsHaveTheirRecordsAndMethods) {
  ExpectClasses({
      {&FwStreamCoreClass,
       "StreamCoreClass",
       sizeof(FwStreamCore),
       &FwObjectClass,
       false,
       {{_Fw_msg_CreateStreamCore_Handle},
        {_Fw_msg_StreamDestroy_Handle},
        {_Fw_msg_StreamRead_Handle, true},
        {_Fw_msg_StreamWrite_Handle, true},
        {_Fw_msg_StreamSeek_Handle, true},
        {_Fw_msg_StreamExtent_Handle, true}}},
      {&FwStreamBufferedClass,
       "StreamBufferedClass",
       sizeof(FwStreamBuffered),
       &FwStreamCoreClass,
       false,
       {{_Fw_msg_CreateStreamBuffered_Handle},
        {_Fw_msg_ReadLine_Handle},
        {_Fw_msg_Write_Handle},
        {_Fw_msg_StreamWrite_Handle},
        {_Fw_msg_GetUnderlyingStream_Handle},
        {_Fw_msg_StreamSeek_Handle},
        {_Fw_msg_StreamExtent_Handle},
        {_Fw_msg_StreamDestroy_Handle},
        {_Fw_msg_SetLineBuffering_Handle},
        {_Fw_msg_Flush_Handle},
        {_Fw_msg_GetBufferRealPosition_Handle},
        {_Fw_msg_UnreadBytes_Handle}}},
      {&FwStreamIOClass,
       "StreamIOClass",
       sizeof(FwStreamIO),
       &FwStreamCoreClass,
       false,
       {{_Fw_msg_CreateStreamIO_Handle},
        {_Fw_msg_StreamRead_Handle, true},
        {_Fw_msg_StreamWrite_Handle, true},
        {_Fw_msg_StreamSeek_Handle, true},
        {_Fw_msg_StreamExtent_Handle, true}}},
      {&FwStreamIOFileClass,
       "StreamIOFileClass",
       sizeof(FwStreamIOFile),
       &FwStreamIOClass,
       false,
       {{_Fw_msg_CreateStreamIOFile_Handle},
        {_Fw_msg_StreamDestroy_Handle},
        {_Fw_msg_StreamRead_Handle},
        {_Fw_msg_StreamWrite_Handle},
        {_Fw_msg_StreamSeek_Handle},
        {_Fw_msg_StreamExtent_Handle}}},
  });
}
