// Observers: publish and subscribe between objects.
//
// An observer registers for a class of change to a subject. When the subject changes, a change
// object is built on the stack and every observer is called whose change class the object inherits
// from, newest registration first:
//
//   FwObserveStart(pView, pModel, &FwChangeAddClass, ViewAdded, pContext, nullptr);
//   FwNotifyChangeCreate(pModel, pElement);     calls ViewAdded: a create is an add, too
//   FwObserveEnd(pView, nullptr, nullptr);      everything that pView observes
//
// A callback may start and end observations and may notify. Observers and subjects are plain
// addresses to this unit; any address will do. The destruction of an object (fwclass.h) notifies
// with the object's class as subject, and ends its observations.
//
// Faults are assertions, exhausted memory ends the program. One thread only.
#ifndef FWOBSERV_H
#define FWOBSERV_H

#include "fwclass.h"

using FwNotifyCallback = void(void* pObserver, void* pSubject, FwObj* pChange, void* pContext);

// Called when an observation has ended; may use this service.
using FwObserveEndCallback = void(void* pObserver, void* pSubject,
                                  const FwClassRecord* pChangeClass, void* pContext);

using FwValueType = int32;  // at least 1 when set

struct FwValue {
  FwValueType type = 0;
  union {
    int32 signedValue;
    uint32 unsignedValue;
    double realValue;
    FwString stringValue;
    void* pointerValue = nullptr;
  } value;
};

struct FwValueChange {
  FwValue* pOldValue = nullptr;  // may be null
  FwValue* pNewValue = nullptr;
};

// The change objects. They exist for the duration of the notification, on the notifier's stack.
struct FwChange : FwObject {};

struct FwChangeMembers : FwChange {
  void* pElement = nullptr;
};

struct FwChangeMemberShip : FwChangeMembers {};
struct FwChangeAdd : FwChangeMemberShip {};
struct FwChangeCreate : FwChangeAdd {};
struct FwChangeRemove : FwChangeMemberShip {};
struct FwChangeDestroy : FwChangeRemove {};

struct FwChangeRename : FwChangeMemberShip {
  FwString pOldName = nullptr;
  FwString pNewName = nullptr;
};

struct FwChangeMemberValue : FwChangeMembers {
  FwValueChange* pValueChange = nullptr;
};

extern const FwClassRecord FwChangeClass;
extern const FwClassRecord FwChangeMembersClass;
extern const FwClassRecord FwChangeMemberShipClass;
extern const FwClassRecord FwChangeAddClass;
extern const FwClassRecord FwChangeCreateClass;
extern const FwClassRecord FwChangeRenameClass;
extern const FwClassRecord FwChangeRemoveClass;
extern const FwClassRecord FwChangeDestroyClass;
extern const FwClassRecord FwChangeMemberValueClass;

extern const char _Fw_msg_CreateWith_Handle[];

// Constructs a change of members at pObj. Asserts "Changes should allocated on stack" for a null
// pObj, "create failed" if the superclass refuses; null then.
FwObj* Fw_msg_CreateWith(FwObj* pObj, const FwClassRecord* pClassRecord, void* pElement);
using Fw_msg_CreateWith_Fn = FwObj*(FwObj* pObj, const FwClassRecord* pClassRecord, void* pElement);

// Registers an observation; one with the same observer, subject, class, callback and context is
// there only once. pRelease may be null.
// Asserts "FwObserv reentry from critical region", "NULL", "Not a class"; nothing is registered
// then.
void FwObserveStart(void* pObserver, void* pSubject, const FwClassRecord* pChangeClass,
                    FwNotifyCallback* pCallback, void* pContext, FwObserveEndCallback* pRelease);

// Ends all observations that match the arguments that are not null, and calls their pRelease.
// Asserts "FwObserv reentry from critical region", "FwObserveEnd all arguments NULL".
void FwObserveEnd(void* pObserver, void* pSubject, const FwClassRecord* pChangeClass);

// Ends the observations of which pDestroyed is the subject, then those in which it observes. The
// address may be stale already.
void FwObserveEndDestroyed(void* pDestroyed);

// Delivers a change object to the observers of pSubject.
// Asserts "FwObserv reentry from critical region", "NULL".
void FwNotify(void* pSubject, FwObj* pChange);

// Each builds its change object and delivers it.
void FwNotifyChange(void* pSubject);
void FwNotifyChangeMembers(void* pSubject, void* pElement);
void FwNotifyChangeMemberShip(void* pSubject, void* pElement);
void FwNotifyChangeAdd(void* pSubject, void* pElement);
void FwNotifyChangeCreate(void* pSubject, void* pElement);
void FwNotifyChangeRemove(void* pSubject, void* pElement);
void FwNotifyChangeDestroy(void* pSubject, void* pElement);

// The element is the old name. Asserts "old name is NULL in FwNotifyChangeRename", "new name is
// NULL in FwNotifyChangeRename".
void FwNotifyChangeRename(void* pSubject, FwTextString pOldName, FwTextString pNewName);

// Asserts "Error: Uninitialised ChangeValue fields" unless the new value is set and the old one is
// set or null.
void FwNotifyChangeMemberValue(void* pSubject, void* pElement, FwValueChange* pValueChange);

#endif
