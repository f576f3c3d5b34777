// Starts the framework's modules in the order of their needs, and takes them down in reverse.
//
//   FwBootContext context = {};
//   context.control.ptbzAppName = FWT("greet");
//   context.control.exiterrorf = MyExitError;          prints its text and ends the process
//   context.control.platform.argc = argc;
//   context.control.platform.argv = argv;
//   FwBoot(&context);
//   ...
//   FwShutdown();
//
// Boots nest: only the first FwBoot and the FwShutdown that balances it do anything. A level
// counter goes up by two with each module, so that any function can assert that what it needs is
// there.
#ifndef FWBOOT_H
#define FWBOOT_H

#include "fwmem.h"
#include "fwtypes.h"

// Ends the process; the text says why. An interrupt calls it from the signal handler with a null
// text. It must not return.
using FwExitErrorfFn = void(FwTextString ptbzText);

// Called with printf's arguments.
using FwLogfFn = void(const char* pszFormat, ...);

// Called now and then by long operations; a result other than 0 asks for an abort.
using FwApplicationTickleFn = int32(int32 a, int32 b);

struct FwPlatformControlContext {
  int argc = 0;
  char** argv = nullptr;
  FwTextString* argvUTF8 = nullptr;  // set by the boot: argv in UTF-8, ended by a null
};

struct FwControlContext {
  FwTextString ptbzAppName = nullptr;    // required
  FwExitErrorfFn* exiterrorf = nullptr;  // required
  FwLogfFn* logf = nullptr;
  FwApplicationTickleFn* application_tickle = nullptr;
  FwPlatformControlContext platform;
};

struct FwStringContext {
  // Nonzero: the locale is set up when text outside ASCII or local numerics first need it, which
  // spares most runs of a short program the reading of its files. For programs that don't ask the
  // C library themselves for anything that depends on the locale: its setlocale call comes late.
  int32 fLocaleOnDemand = 0;
};

// The sections of modules that have nothing to be set.
struct FwErrorContext {};
struct FwFileContext {};
struct FwTranslateContext {};

struct FwBootContext {
  FwControlContext control;
  FwMemContext memory;
  FwStringContext string;
  FwErrorContext error;
  FwFileContext file;
  FwTranslateContext translate;
};

// Starts the framework; the context is copied whole, what it points at must stay.
// Asserts "FwBoot() must be called with non-null argument." (and starts nothing), "Application must
// provide a name.", "Application must provide an exiterror function", "Wrong boot level".
void FwBoot(FwBootContext* context);

// Balances one FwBoot; the last one takes the framework down, also from a boot that failed
// half-way. Does nothing without a boot.
void FwShutdown();

// 1 once all modules are up.
int FwBootDone();

// The program's argument i in UTF-8; i may be argc, which gives null. The text stays the
// framework's. Asserts "Tried to lookup invalid element of argv", null.
FwTextString FwStr_argv(int i);

// The function to log with. Asserts "FwGetLogFunction called before FwBoot has initialized the log
// function" if there is none.
FwLogfFn* FwGetLogFunction();

// 1 on the thread that booted the framework.
int FwIsBootThread();

#endif
