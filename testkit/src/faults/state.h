// What is armed and counted.
#ifndef TESTKIT_FAULTS_STATE_H
#define TESTKIT_FAULTS_STATE_H

#include "faults.h"

struct FaultState {
  bool armed = false;
  bool met = false;
  Fault fault;
  long calls[kFaultCalls] = {};
  long live = 0;        // blocks of FailingAlloc
  long long room = -1;  // bytes that files still take; below 0: no limit
};

extern FaultState* fault_state;

// From here on child processes count in the same place.
void ShareFaultState();

#endif
