// The platform half of the events.
#ifndef FPEVENT_H
#define FPEVENT_H

// Handles the platform's events; 0 if there is no source of any.
int FpEventHandle();

// Makes the interrupt signal end the program through the application's exit-error function, and
// puts back what the signal did before.
void FpEventCatchInterrupt();
void FpEventReleaseInterrupt();

// Waits so many microseconds.
void FpEventWait(int nMicroseconds);

#endif
