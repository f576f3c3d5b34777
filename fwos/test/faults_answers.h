// What failing system calls make of a task's answer.
#ifndef FWOS_TEST_FAULTS_ANSWERS_H
#define FWOS_TEST_FAULTS_ANSWERS_H

#include <cerrno>
#include <string>
#include <vector>

#include "faults.h"
#include "files.h"

// The errors that a system call can give. An interruption has no kind of its own, and some calls
// are repeated after it.
inline std::vector<int> Errors() {
  if (!WholeSweeps()) return {EIO};
  return {EIO, EACCES, EMFILE, ENOSPC, ENOMEM};
}
inline std::vector<int> ErrorsAndInterruption() {
  std::vector<int> errors = Errors();
  errors.push_back(EINTR);
  return errors;
}

// What is left of a state, as a failure is told: its kind alone.
inline std::string Failure(const FwErrorState& err) {
  const std::string text = Describe(err);
  return text.substr(0, text.find(' '));
}

// All that a platform's error may come to.
inline const std::vector<std::string> kFailures = {
    "NoMemory",        "AccessDenied", "DiskFull",  "SoftwareLimit",  "another kind",   "another",
    "OperationFailed", "NonExistent",  "Parameter", "CallingCommand", "OperationDenied"};

#endif
