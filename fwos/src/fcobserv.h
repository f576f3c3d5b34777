// The state of the observer service.
//
// An observation is a member of three lists at once: its observer's, its subject's and its change
// class's. Three tables map those keys to the heads of their lists, newest member first.
//
//   table[1]: subject ---> observation <---> observation <---> observation
//                            list 0 ...        list 0 ...        list 0 ...
//
// A function that walks a list while callbacks run keeps its place in a scan, known to the service:
// when an observation ends, every scan that stands on it is moved on first.
#ifndef FCOBSERV_H
#define FCOBSERV_H

#include "fwhash.h"
#include "fwobserv.h"

inline constexpr uint32 kFiObserver = 0;
inline constexpr uint32 kFiSubject = 1;
inline constexpr uint32 kFiChangeClass = 2;
inline constexpr uint32 kFiFields = 3;

struct FiObservation {
  FiObservation* apNextByField[kFiFields] = {};
  FiObservation* apPrevByField[kFiFields] = {};
  void* aContentsOfField[kFiFields] = {};
  FwNotifyCallback* pCallback = nullptr;
  void* pContext = nullptr;
  FwObserveEndCallback* pRelease = nullptr;
};

// A place in a list, on the stack of the function that walks it.
struct FiObservationScan {
  FiObservationScan* pNext;     // the next running scan
  FiObservation* pObservation;  // null at the end
  uint32 nField;                // which list
  int32 fSkipped;               // moved on already, the next step stays
};

extern FwHashTable* fiObservationsByField[kFiFields];
extern FiObservationScan* fiObservationScans;

// Non-zero while the lists are being changed. A guard, not a lock: the service must not be entered
// again then.
extern int32 fiObserveCritical;

// Whether anything was ever registered: the tables are made by the first registration.
extern int32 fiObserveInitialised;

void FiObservationScanStart(FiObservationScan* pScan, uint32 nField, FiObservation* pFirst);
void FiObservationScanNext(FiObservationScan* pScan);

// Asserts "pScan not on list".
void FiObservationScanEnd(FiObservationScan* pScan);

#endif
