#include "fpevent.h"

#include <sys/select.h>

#include <csignal>

#include "fcboot.h"

namespace {

struct sigaction previousInterrupt;

// The null text tells the application that it is called from a signal handler.
extern "C" void FiForceQuit(int) {
  fcBootContext.control.exiterrorf(nullptr);
}

}  // namespace

int FpEventHandle() {
  return 0;
}

void FpEventCatchInterrupt() {
  struct sigaction action = {};
  action.sa_handler = FiForceQuit;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, &previousInterrupt);
}

void FpEventReleaseInterrupt() {
  sigaction(SIGINT, &previousInterrupt, nullptr);
}

void FpEventWait(int nMicroseconds) {
  timeval time = {};
  time.tv_usec = nMicroseconds;
  select(0, nullptr, nullptr, nullptr, &time);
}
