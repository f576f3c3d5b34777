// What is armed and counted.
#ifndef TESTKIT_FAULTS_STATE_H
#define TESTKIT_FAULTS_STATE_H

#include "faults.h"

struct FaultState {
  bool armed = false;
  bool met = false;
  Fault fault;
  long calls[kFaultCalls] = {};
  long live = 0;  // blocks of FailingAlloc
};

extern FaultState* fault_state;

// From here on child processes count in the same place.
void ShareFaultState();

#endif
