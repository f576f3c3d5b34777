// Classes and messages: the object system under errors, trees, changes, progress counters and
// streams.
//
// A class is a constant record; it names its superclass (single inheritance) and a table of
// methods. A message is identified by the address of its name. The method for a message is found by
// walking from the class towards the root, through a cache of the last results. A row with a null
// method prohibits the message: it withdraws what a superclass offers.
//
// An instance begins with the pointer to its class, then come the fields of each class from the
// root downwards:
//
//   FwObject     FwTree                                   FwError
//   pClassRecord | pNext, pParent, pChildren              | ptbzFormat
//
// For each message there is one ordinary function of its name, its sender, which finds the method
// and calls it. Constructors are dispatched on the class given, everything else on the instance's
// class:
//
//   FwObj* pCounter = Fw_msg_Create_Progress(nullptr, &FwProgressCounterClass, total);  on the heap
//   Fw_msg_Destroy(pCounter);
//
// A class of one's own is defined like this:
//
//   const FwIntercept ShapeMethods[] = {{_Fw_msg_Create_Handle, FwMethodOf(Shape_method_Create)},
//                                       {_Fw_msg_Destroy_Handle, FwMethodOf(Shape_method_Destroy)},
//                                       {nullptr, nullptr}};
//   const FwClassRecord ShapeClass = {FW_CLASS_COOKIE, "Shape", sizeof(Shape), &FwObjectClass,
//                                     ShapeMethods, 0};
//
// A constructor allocates if it is given no memory, sets its fields and then sends the same message
// to its superclass with the class that it was given; a destructor does its own work and then sends
// on to its superclass, which frees. Sending on is FwClassFindMethod on pSuperClassRecord.
//
// Records and handles that several sources share are declared extern and defined once: a second
// copy would have another address and so be another class or message. All of this belongs to one
// thread.
#ifndef FWCLASS_H
#define FWCLASS_H

#include "fwtypes.h"

// The address of the message's name; the text serves debugging only.
using FwMessageID = const char*;

// A method of any signature. The sender casts it to the message's own.
using FwMethod = void();

// One row of a method table. A null messageID ends the table; a null method prohibits the message.
struct FwIntercept {
  FwMessageID messageID;
  FwMethod* method;
};

inline constexpr int32 FW_CLASS_COOKIE = 0xdeaf;

// Instances live in memory that the caller provides, never on the heap.
inline constexpr uint32 FW_CLASS_NON_HEAP = 0x1;

struct FwClassRecord {
  int32 classMagicCookie;  // FW_CLASS_COOKIE
  const char* pszClassName;
  int32 nBytesInInstance;
  const FwClassRecord* pSuperClassRecord;  // null for the root
  const FwIntercept* pMethodTable;         // may be null
  uint32 flags;                            // FW_CLASS_NON_HEAP or 0
};

// The root's instance. Instances of other classes derive from it.
struct FwObject {
  const FwClassRecord* pClassRecord = nullptr;
};

extern const FwClassRecord FwObjectClass;

extern const char _Fw_msg_Create_Handle[];
extern const char _Fw_msg_Destroy_Handle[];
extern const char _Fw_msg_classInheritsFrom_Handle[];

// A function as an entry of a method table. A macro, as the call of a function that casts would be
// made when the program starts, and tables are needed before that.
#define FwMethodOf(function) (reinterpret_cast<FwMethod*>(function))

// Allocates an instance, all zero. AllocFlag is ALLOC_MAY_FAIL or ALLOC_MUST_SUCCEED.
// Asserts "Not a class", or "No memory provided for non heap object" for a class whose instances
// never come from the heap; null then.
FwObj* FwClassAlloc(const FwClassRecord* pClassRecord, uint32 AllocFlag);

// The method of a class, its own or the nearest inherited one.
// Asserts "Not a class"; "Message not found", or "Class prohibits message"; null then.
FwMethod* FwClassFindMethod(FwMessageID messageID, const FwClassRecord* pClassRecord);

// The same as a pointer to a function of the message's signature.
template <class Signature>
Signature* FwClassFindMethodAs(FwMessageID messageID, const FwClassRecord* pClassRecord) {
  return reinterpret_cast<Signature*>(FwClassFindMethod(messageID, pClassRecord));
}

// The class of an instance.
inline const FwClassRecord* FwClassOf(FwObj* pObj) {
  return static_cast<FwObject*>(pObj)->pClassRecord;
}

// The senders of the root's messages. Like every sender they do nothing, and return null or 0, when
// no method is found.

// Constructs an instance in the memory at pObj, or on the heap for null. Memory of the caller's is
// not cleared. Null if memory is exhausted.
FwObj* Fw_msg_Create(FwObj* pObj, const FwClassRecord* pClassRecord);
using Fw_msg_Create_Fn = FwObj*(FwObj* pObj, const FwClassRecord* pClassRecord);

// Destroys an instance and frees its memory, unless its class is FW_CLASS_NON_HEAP: the flag
// decides, not where the instance lives. Observers of the class hear of it, and all observations
// in which the instance takes part end.
void Fw_msg_Destroy(FwObj* pObj);
using Fw_msg_Destroy_Fn = void(FwObj* pObj);

// 1 if the instance's class is pClass or inherits from it, otherwise 0.
int32 Fw_msg_classInheritsFrom(FwObj* pObj, const FwClassRecord* pClass);
using Fw_msg_classInheritsFrom_Fn = int32(FwObj* pObj, const FwClassRecord* pClass);

// The cache of results, for inspection: entries in use, searches that it answered, and searches
// that had to walk the tables.
extern uint32 fcCacheUsed;
extern uint32 fcCacheHits;
extern uint32 fcCacheMisses;

#endif
