// Binds the framework to the tool: starts it with the tool's callbacks, and reports assertions and
// traces.
//
//   wh_boot_fw(argc, argv);      once, before anything else
//   wh_init();                   makes the error kinds, notes the host platform (warehouse.h)
//   ...
//   FwShutdown();
//
// The hooks VqCustomAssert and VqCustomTrace stand in a source of their own, which only the tool
// links: a test program of this floor brings its own. Both print on standard output, where the
// script goes as well, so a failed assertion puts a line into it.
#ifndef WHBOOTFW_H
#define WHBOOTFW_H

// 1 if traces are printed.
extern int wh_trace;

// Starts the framework under the name argv[0], once in the life of the process: a further call does
// nothing.
void wh_boot_fw(int argc, char** argv);

#endif
