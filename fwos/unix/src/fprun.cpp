// Programs run as children, by fork and exec; how they end becomes a status.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "fwerror.h"
#include "fwmem.h"
#include "fwrun.h"
#include "fwvector.h"

namespace {

constexpr int kCouldNotRun = -1;

// The output of a child.
struct OutputPipe {
  int nRead = -1;
  int nWrite = -1;
};

// What the caller gets of a status: the report and the result.
uint32 set_err(FwErrorState* pError, int value, FwTextString text) {
  if (value == kCouldNotRun) {
    FwErrorSet(pError, fwErrorCallingCommand, 2, FWT("Command"), text);
  } else if (value != 0) {
    char szValue[16];
    std::snprintf(szValue, sizeof szValue, "%d", value);
    FwErrorSet(pError, fwErrorFromCommand, 4, FWT("Error status"), FWT(szValue), FWT("Command"),
               text);
  }
  return static_cast<uint32>(value);
}

// fork, with what is buffered for the standard output written first: it comes before the child's
// output, and no copy of it is left in the child.
pid_t Fork() {
  std::fflush(stdout);
  return ::fork();
}

// Makes the write end the child's standard output.
void RedirectOutput(const OutputPipe& output) {
  ::close(output.nRead);
  if (output.nWrite == STDOUT_FILENO) return;
  ::dup2(output.nWrite, STDOUT_FILENO);
  ::close(output.nWrite);
}

// A directory that can't be entered leaves the child where it is.
void ChangeDirectory(FwTextString cwd) {
  if (cwd && ::chdir(FWC(cwd)) != 0) return;
}

// The child's end when the program could not be started. Nothing of the parent's is flushed or run
// at exit.
[[noreturn]] void NotStarted() {
  ::_exit(1);
}

[[noreturn]] void CommandChild(FwTextString command, FwTextString cwd, const OutputPipe* pOutput) {
  if (pOutput) RedirectOutput(*pOutput);
  ChangeDirectory(cwd);
  ::execl("/bin/sh", "sh", "-c", FWC(command), static_cast<char*>(nullptr));
  NotStarted();
}

[[noreturn]] void ProgramChild(FwTextString program, FwVector* args, FwTextString cwd,
                               const OutputPipe* pOutput) {
  const int nArgs = FwVectorLength(args);
  auto** ppsz = static_cast<char**>(FwMemAlloc(
      (static_cast<std::size_t>(nArgs) + 2) * sizeof(char*), ALLOC_MUST_SUCCEED | INIT_ZERO));
  ppsz[0] = FWC(program);
  for (int i = 0; i < nArgs; ++i)
    ppsz[i + 1] = static_cast<char*>(FwVectorGetElement(args, i));
  if (pOutput) RedirectOutput(*pOutput);
  ChangeDirectory(cwd);
  ::execvp(ppsz[0], ppsz);
  NotStarted();
}

// The exit status of a child, or -1 if a signal ended it.
int WaitFor(pid_t pid) {
  int nStatus;
  pid_t waited;
  do {
    waited = ::waitpid(pid, &nStatus, 0);
  } while (waited < 0 && errno == EINTR);
  if (waited < 0) return kCouldNotRun;
  return (nStatus & 0x7f) == 0 ? (nStatus >> 8) & 0xff : kCouldNotRun;
}

bool MakePipe(FwErrorState* pError, FwTextString text, OutputPipe* pOutput) {
  int nEnds[2];
  if (::pipe(nEnds) != 0) {
    set_err(pError, kCouldNotRun, text);
    return false;
  }
  pOutput->nRead = nEnds[0];
  pOutput->nWrite = nEnds[1];
  return true;
}

// The parent's side of a pipe form, after the fork. A failed fork leaves both ends open.
FwFile ReadFrom(FwErrorState* pError, FwTextString text, pid_t child, const OutputPipe& output,
                int* pid) {
  if (pid) *pid = child < 0 ? 0 : child;
  if (child < 0) {
    set_err(pError, kCouldNotRun, text);
    return FW_FILE_INVALID;
  }
  ::close(output.nWrite);
  return FwFileFromPlatformFileHandle(output.nRead);
}

}  // namespace

uint32 FwRunCommand(FwErrorState* pError, FwTextString command, FwTextString cwd) {
  return FwDoRunCommand(pError, command, cwd, 0);
}

uint32 FwDoRunCommand(FwErrorState* pError, FwTextString command, FwTextString cwd, int) {
  const pid_t child = Fork();
  if (child == 0) CommandChild(command, cwd, nullptr);
  return set_err(pError, child < 0 ? kCouldNotRun : WaitFor(child), command);
}

FwFile FwRunPipeFromCommand(FwErrorState* pError, FwTextString command, FwTextString cwd) {
  return FwDoRunPipeFromCommand(pError, command, cwd, nullptr);
}

FwFile FwDoRunPipeFromCommand(FwErrorState* pError, FwTextString command, FwTextString cwd,
                              int* pid) {
  OutputPipe output;
  if (!MakePipe(pError, command, &output)) return FW_FILE_INVALID;
  const pid_t child = Fork();
  if (child == 0) CommandChild(command, cwd, &output);
  return ReadFrom(pError, command, child, output, pid);
}

uint32 FwRunCommandSilent(FwErrorState* err, FwTextString command, FwTextString cwd) {
  int pid = 0;
  // Kept, as part of the interface: the read end is neither read nor closed.
  if (FwDoRunPipeFromCommand(err, command, cwd, &pid) == FW_FILE_INVALID)
    return static_cast<uint32>(kCouldNotRun);
  int nStatus = 0;
  // Kept, as part of the interface: not repeated when interrupted, and a death by a signal is not
  // told from an exit.
  ::waitpid(pid, &nStatus, 0);
  return static_cast<uint32>((nStatus >> 8) & 0xff);
}

uint32 FwRunProgram(FwErrorState* pError, FwTextString program, FwVector* args, FwTextString cwd,
                    int fWait) {
  const pid_t child = Fork();
  if (child == 0) ProgramChild(program, args, cwd, nullptr);
  if (child < 0) return set_err(pError, kCouldNotRun, program);
  return set_err(pError, fWait ? WaitFor(child) : 0, program);
}

FwFile FwRunPipeFromProgram(FwErrorState* pError, FwTextString program, FwVector* args,
                            FwTextString cwd) {
  OutputPipe output;
  if (!MakePipe(pError, program, &output)) return FW_FILE_INVALID;
  const pid_t child = Fork();
  if (child == 0) ProgramChild(program, args, cwd, &output);
  return ReadFrom(pError, program, child, output, nullptr);
}
