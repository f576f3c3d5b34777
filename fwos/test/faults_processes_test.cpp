// Programs and commands under failing system calls: started and waited for, or told that they were
// not.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "caller.h"
#include "faults_answers.h"
#include "files.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwrun.h"
#include "fwvector.h"
#include "recorder.h"
#include "sweep.h"

namespace {

// A status, and whether it was the program's own or that of a failure.
std::string Ended(uint32 status, const Error& err) {
  return std::to_string(status) + (err.pError == fwErrorFromCommand ? " another"
                                   : err.pError                     ? " " + Failure(err)
                                                                    : "");
}

// What a pipe gives, which is closed.
std::string ReadToTheEnd(FwFile file, Error& err) {
  if (file == FW_FILE_INVALID) return err.pError ? Failure(err) : "silent";
  Record record;
  FwFileReadRecord(err, file, record);
  FwFileClose(err, file);
  return err.pError ? Failure(err) : record.text();
}

// The calls of starting a program and waiting for its end.
void SweepStartAndWait(FrameworkSweep& sweep, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  for (const int error : {EAGAIN, ENOMEM})
    EXPECT_EQ(1, sweep.SystemCalls(kFork, error)) << error;
  for (const int error : {ENOENT, EACCES, ENOMEM, E2BIG})
    EXPECT_EQ(1, sweep.SystemCalls(kExec, error)) << error;
  EXPECT_EQ(1, sweep.SystemCallsOnce(kWait, ECHILD));
  sweep.may_answer = {};
  EXPECT_EQ(1, sweep.SystemCallsOnce(kWait, EINTR));
}

// The calls of starting a program and reading what it prints.
void SweepStartAndRead(FrameworkSweep& sweep, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  for (const int error : {EMFILE, ENFILE})
    EXPECT_EQ(1, sweep.SystemCalls(kPipe, error)) << error;
  for (const int error : {EAGAIN, ENOMEM})
    EXPECT_EQ(1, sweep.SystemCalls(kFork, error)) << error;
  for (const int error : {ENOENT, EACCES, ENOMEM})
    EXPECT_EQ(1, sweep.SystemCalls(kExec, error)) << error;
  for (const int error : {EIO, EINTR})
    EXPECT_GT(sweep.SystemCalls(kRead, error), 0) << error;
}

TEST(Faults, RunningACommand) {
  FrameworkSweep sweep;
  sweep.counts_blocks = false;
  sweep.may_answer = {"4294967295 CallingCommand", "1 another"};
  sweep.task = [] {
    Error err;
    const uint32 status = FwRunCommand(err, FWT("exit 0"), FWT("/"));
    return Ended(status, err);
  };
  sweep.Allocations();
  SweepStartAndWait(sweep);
}

// A child that can't give its output to the pipe still has the parent's standard output.
TEST(Faults, ReadingFromAProgram) {
  FrameworkSweep sweep;
  sweep.counts_blocks = false;
  sweep.may_answer = kFailures;
  sweep.may_answer.push_back("");
  sweep.task = [] {
    CollectReports reports;
    Error err;
    FwVector args = {};
    FwVectorOpen(&args, 1);
    FwVectorAddElement(&args, FWT("hello"));
    const FwFile file = FwRunPipeFromProgram(err, FWT("echo"), &args, nullptr);
    FwVectorAbandon(&args, 0);
    return ReadToTheEnd(file, err);
  };
  SweepStartAndRead(sweep);
}

TEST(Faults, RunningAProgram) {
  FrameworkSweep sweep;
  sweep.counts_blocks = false;
  sweep.may_answer = {"4294967295 CallingCommand", "1 another"};
  sweep.task = [] {
    Error err;
    FwVector args = {};
    FwVectorOpen(&args, 1);
    const uint32 status = FwRunProgram(err, FWT("true"), &args, FWT("/"), 1);
    FwVectorAbandon(&args, 0);
    return Ended(status, err);
  };
  SweepStartAndWait(sweep);
}

TEST(Faults, ReadingFromACommand) {
  FrameworkSweep sweep;
  sweep.counts_blocks = false;
  sweep.may_answer = kFailures;
  sweep.may_answer.push_back("");
  sweep.task = [] {
    CollectReports reports;
    Error err;
    const FwFile file = FwRunPipeFromCommand(err, FWT("echo hello"), FWT("/"));
    return ReadToTheEnd(file, err);
  };
  SweepStartAndRead(sweep);
  // What can't be put into the pipe comes out where the parent writes, perhaps when it has ended.
  sweep.may_answer = {""};
  for (const int error : {EBUSY, EINTR, EMFILE})
    EXPECT_EQ(1, sweep.SystemCalls(kDup2, error)) << error;
}

TEST(Faults, RunningACommandSilently) {
  FrameworkSweep sweep;
  sweep.counts_blocks = false;
  sweep.may_answer = {"4294967295 CallingCommand", "4294967295", "1", "0"};
  sweep.task = [] {
    Error err;
    const uint32 status = FwRunCommandSilent(err, FWT("exit 3"), FWT("/"));
    return std::to_string(status) + (err.pError ? " " + Failure(err) : "");
  };
  for (const int error : {EMFILE, ENFILE})
    EXPECT_EQ(1, sweep.SystemCalls(kPipe, error)) << error;
  for (const int error : {EAGAIN, ENOMEM})
    EXPECT_EQ(1, sweep.SystemCalls(kFork, error)) << error;
  for (const int error : {ENOENT, EACCES, ENOMEM})
    EXPECT_EQ(1, sweep.SystemCalls(kExec, error)) << error;
}

}  // namespace
