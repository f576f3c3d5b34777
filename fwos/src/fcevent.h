// Events: names shared inside the framework.
#ifndef FCEVENT_H
#define FCEVENT_H

// FwEventHandle without the test whether events are blocked.
int FcEventHandle();

#endif
