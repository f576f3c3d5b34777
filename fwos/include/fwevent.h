// Events of the application, handled between the steps of long work.
//
//   FwEventBlock();            while they must not be handled; pairs nest
//   FwEventUnblock();
//
// Unix has no source of events: there is nothing to handle, but blocking and waiting work.
#ifndef FWEVENT_H
#define FWEVENT_H

void FwEventBlock();
void FwEventUnblock();

// 1 between FwEventBlock and its FwEventUnblock.
int FwEventAreEventsBlocked();

// Handles what events there are, blocking further ones meanwhile. 0 if blocked, or if there was
// none.
int FwEventHandle();

// Waits 50 milliseconds.
void FwEventRemainIdle();

#endif
