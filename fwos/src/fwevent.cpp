#include "fwevent.h"

#include "fcboot.h"
#include "fcevent.h"
#include "fpevent.h"

namespace {

// Above 0 while events are blocked.
int fiEventSemaphore;

}  // namespace

void FwEventBlock() {
  ++fiEventSemaphore;
}

void FwEventUnblock() {
  --fiEventSemaphore;
}

int FwEventAreEventsBlocked() {
  return fiEventSemaphore != 0;
}

int FwEventHandle() {
  return FwEventAreEventsBlocked() ? 0 : FcEventHandle();
}

int FcEventHandle() {
  FwEventBlock();
  const int result = FpEventHandle();
  FwEventUnblock();
  return result;
}

void FwEventRemainIdle() {
  FpEventWait(50000);
}

void FcEventInitNonGui() {
  FpEventCatchInterrupt();
}

void FcEventShutdownNonGui() {
  FpEventReleaseInterrupt();
}
