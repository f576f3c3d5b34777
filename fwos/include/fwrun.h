// Running commands and programs: a command line through "/bin/sh" or a program with its arguments,
// each either waited for or read from through a pipe.
//
// The child inherits the environment of the process as it stands and runs in cwd; it stays where it
// is if cwd is null or can't be entered. Names and arguments cross unconverted. A child that can't
// be started exits with status 1, which the caller can't tell from a command's own status 1.
//
// The waiting forms return the exit status. Other than 0 it sets fwErrorFromCommand ("Error
// status", status, "Command", text). A child that died by a signal or could not be made gives -1
// and fwErrorCallingCommand ("Command", text). So does any child of a process that ignores SIGCHLD:
// the system keeps no statuses for it.
#ifndef FWRUN_H
#define FWRUN_H

#include "fwfile.h"
#include "fwtypes.h"

uint32 FwRunCommand(FwErrorState* pError, FwTextString command, FwTextString cwd);
// quiet has no effect.
uint32 FwDoRunCommand(FwErrorState* pError, FwTextString command, FwTextString cwd, int quiet);

// The read end of a pipe that takes the command's standard output, for FwFileRead and FwFileClose,
// or -1 with fwErrorCallingCommand. Doesn't wait; *pid, if given, is the child's id.
FwFile FwRunPipeFromCommand(FwErrorState* pError, FwTextString command, FwTextString cwd);
FwFile FwDoRunPipeFromCommand(FwErrorState* pError, FwTextString command, FwTextString cwd,
                              int* pid);

// Runs a command with its standard output unread, and returns its exit status without an error.
// A command that writes more than a pipe holds blocks forever, and each call loses a descriptor.
uint32 FwRunCommandSilent(FwErrorState* err, FwTextString command, FwTextString cwd);

// Runs a program, searched along "PATH". args is an open vector of FwTextString without the
// program's name, which is put before them. Without fWait the result is 0, and the child remains a
// zombie until the process ends.
uint32 FwRunProgram(FwErrorState* pError, FwTextString program, FwVector* args, FwTextString cwd,
                    int fWait);
FwFile FwRunPipeFromProgram(FwErrorState* pError, FwTextString program, FwVector* args,
                            FwTextString cwd);

#endif
