// What boot calls of the error states.
#ifndef FCERROR_H
#define FCERROR_H

// Makes the kinds of error; they stay for good, a second boot makes them anew.
void FcErrorInit();
void FcErrorShutdown();

#endif
