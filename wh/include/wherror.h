// The warehouse's own kinds of error, and their report to the user.
//
// All descend from fwErrorRoot. They exist from wh_init (warehouse.h) to the end of the process. A
// kind is asked for with Fw_msg_IsDescendant, never by equality.
#ifndef WHERROR_H
#define WHERROR_H

#include "fwerror.h"

extern FwError whErrorNoValue[1];  // a name that is not defined
extern FwError whErrorMissing[1];
extern FwError whErrorCancel[1];
extern FwError whErrorEnv[1];       // the family of conflicts between settings
extern FwError whErrorEnvClash[1];  // a value both inserted and removed
extern FwError whErrorEnvCycle[1];  // order constraints in a circle
extern FwError whErrorMixedSetup[1];
extern FwError whErrorEnvTooBig[1];
extern FwError whErrorEnvMixedSep[1];  // one variable, two separators
extern FwError whErrorInvalid[1];      // the family of faults in data files
extern FwError whErrorHostNeeded[1];
extern FwError whErrorDoctypeMismatch[1];
extern FwError whErrorRoundBrackets[1];
extern FwError whErrorSquareBrackets[1];
extern FwError whErrorSquigglyBrackets[1];
extern FwError whErrorCouldNotReadWarehouse[1];
extern FwError whErrorRegistry[1];
extern FwError whErrorDataStorage[1];

// The number of errors that report_error has printed.
extern int wh_errors;

// Makes the kinds of the data-file parser and of this unit. Called once, by wh_init.
void wh_init_errors();

// Prints "*** ", the error's message and a line end on standard error, and counts it in wh_errors.
// A state without an error prints and counts nothing. The state keeps its error.
void report_error(FwErrorState* err);

#endif
