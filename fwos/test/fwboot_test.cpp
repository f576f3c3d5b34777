#include "fwboot.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "child.h"
#include "fcboot.h"
#include "fwerror.h"
#include "recorder.h"

namespace {

// The context that the test program booted with, as it can be booted again.
FwBootContext SameContext() {
  FwBootContext context = fcBootContext;
  context.control.platform.argvUTF8 = nullptr;
  return context;
}

FwControlContext& Control() {
  return fcBootContext.control;
}

TEST(FwBoot, BringsEverythingUp) {
  EXPECT_TRUE(FwBootDone());
  EXPECT_EQ(14u, fcBootLevel);
  EXPECT_STREQ("fwos_test", FWC(Control().ptbzAppName));
  // Without a function of the application's the default one logs, that is, asserts.
  EXPECT_EQ(FcDefaultLogf, FwGetLogFunction());
}

TEST(FwBoot, IsDoneAboveTheLastModulesOwnLevel) {
  const uint32 level = fcBootLevel;
  fcBootLevel = 13;
  EXPECT_FALSE(FwBootDone());
  fcBootLevel = 14;
  EXPECT_TRUE(FwBootDone());
  fcBootLevel = 0;
  EXPECT_FALSE(FwBootDone());
  fcBootLevel = level;
}

TEST(FwBoot, TwoBootsNeedTwoShutdowns) {
  ExpectGoodInChild([] {
    FwBootContext other;  // not looked at
    FwBoot(&other);
    EXPECT_STREQ("fwos_test", FWC(Control().ptbzAppName));
    FwShutdown();
    EXPECT_TRUE(FwBootDone());
    FwShutdown();
    EXPECT_FALSE(FwBootDone());
    EXPECT_EQ(0u, fcBootLevel);
  });
}

TEST(FwBoot, AShutdownWithoutABootDoesNothing) {
  ExpectGoodInChild([] {
    FwBootContext context = SameContext();
    FwShutdown();
    FwShutdown();
    FwShutdown();
    EXPECT_EQ(0u, fcBootLevel);
    FwBoot(&context);
    EXPECT_TRUE(FwBootDone());
  });
}

TEST(FwBoot, CanBeDoneAgainAfterTheShutdown) {
  ExpectGoodInChild([] {
    FwBootContext context = SameContext();
    for (int i = 0; i < 3; ++i) {
      SCOPED_TRACE(i);
      FwShutdown();
      EXPECT_FALSE(FwBootDone());
      FwBoot(&context);
      EXPECT_TRUE(FwBootDone());
      FwErrorState err;
      FwErrorSet(&err, fwErrorOperationFailed, 0);
      EXPECT_EQ(fwErrorOperationFailed, err.pError);
      FwErrorClear(&err);
    }
  });
}

std::vector<uint32> levels_seen;

void* AllocNotingTheLevel(std::size_t cb) {
  if (levels_seen.empty() || levels_seen.back() != fcBootLevel) levels_seen.push_back(fcBootLevel);
  EXPECT_FALSE(FwBootDone());
  return std::malloc(cb);
}

TEST(FwBoot, StartsTheModulesInOrderAtTheirOddLevels) {
  ExpectGoodInChild([] {
    FwBootContext context = SameContext();
    FwShutdown();
    context.memory.alloc = AllocNotingTheLevel;
    context.memory.free = std::free;
    FwBoot(&context);
    EXPECT_TRUE(FwBootDone());
    // Strings, files and translation take memory; the others need none.
    EXPECT_EQ((std::vector<uint32>{5, 9, 11}), levels_seen);
  });
}

uint32 fail_at_level;

void* AllocFailingAtALevel(std::size_t cb) {
  return fcBootLevel == fail_at_level ? nullptr : std::malloc(cb);
}

void ExitUnwinding(FwTextString ptbzText) {
  EXPECT_STREQ("Run out of memory", FWC(ptbzText));
  EXPECT_EQ(fail_at_level, fcBootLevel);
  FwShutdown();
  EXPECT_EQ(0u, fcBootLevel);
  EXPECT_EQ(FcDefaultExitErrorf, Control().exiterrorf);
  std::fflush(stdout);
  std::_Exit(testing::Test::HasFailure() ? 3 : 7);
}

TEST(FwBoot, OneThatFailsHalfWayIsUnwoundFromWhereItStood) {
  for (const uint32 level : {5u, 9u, 11u}) {
    SCOPED_TRACE(level);
    fail_at_level = level;
    EXPECT_EXIT(
        {
          FwBootContext context = SameContext();
          FwShutdown();
          context.memory.alloc = AllocFailingAtALevel;
          context.memory.free = std::free;
          context.control.exiterrorf = ExitUnwinding;
          FwBoot(&context);
        },
        testing::ExitedWithCode(7), "");
  }
}

TEST(FwBoot, WithoutAContextAssertsAndStartsNothing) {
  ExpectGoodInChild([] {
    FwBootContext context = SameContext();
    FwShutdown();
    {
      ExpectAsserts expected({"FwBoot() must be called with non-null argument."});
      FwBoot(nullptr);
    }
    EXPECT_EQ(0u, fcBootLevel);
    FwBoot(&context);
    EXPECT_TRUE(FwBootDone());
  });
}

TEST(FwBoot, AssertsWhatTheApplicationMustProvide) {
  ExpectGoodInChild([] {
    FwBootContext context = SameContext();
    FwShutdown();
    context.control.ptbzAppName = nullptr;
    context.control.exiterrorf = nullptr;
    ExpectAsserts expected({"Application must provide a name.",
                            "Application must provide an exiterror function",
                            "FC_EXITERRORF failed to call application provided function"});
    FwBoot(&context);
    EXPECT_TRUE(FwBootDone());
    EXPECT_STREQ("", FWC(Control().ptbzAppName));
    Control().exiterrorf(FWT("text"));
  });
}

TEST(FwBoot, AssertsThatTheLevelIsZero) {
  ExpectGoodInChild([] {
    FwBootContext context = SameContext();
    FwShutdown();
    fcBootLevel = 1;
    ExpectAsserts expected({"Wrong boot level", "Wrong boot level"});  // also before the first row
    FwBoot(&context);
  });
}

TEST(FwShutdown, PutsTheDefaultFunctionsBack) {
  ExpectGoodInChild([] {
    FwShutdown();
    ExpectAsserts expected({"Cannot call FC_EXITERRORF when framework not booted",
                            "Cannot call FC_LOGF when framework not booted"});
    EXPECT_EQ(FcDefaultExitErrorf, Control().exiterrorf);
    EXPECT_EQ(FcDefaultLogf, Control().logf);
    Control().exiterrorf(FWT("text"));
    Control().logf("%d", 1);
  });
}

std::string logged;

void LogHere(const char* pszFormat, ...) {
  logged = pszFormat;
}

TEST(FwGetLogFunction, IsTheApplications) {
  FwLogfFn* const old = Control().logf;
  Control().logf = LogHere;
  FwGetLogFunction()("format");
  EXPECT_EQ("format", logged);
  Control().logf = nullptr;
  {
    ExpectAsserts expected(
        {"FwGetLogFunction called before FwBoot has initialized the log function"});
    EXPECT_EQ(nullptr, FwGetLogFunction());
  }
  Control().logf = old;
}

TEST(FwStrArgv, GivesTheElementsInUTF8) {
  const FwPlatformControlContext saved = Control().platform;
  FwTextString elements[] = {FWT("zero"), FWT("one"), nullptr};
  Control().platform.argc = 2;
  Control().platform.argvUTF8 = elements;
  EXPECT_STREQ("zero", FWC(FwStr_argv(0)));
  EXPECT_STREQ("one", FWC(FwStr_argv(1)));
  EXPECT_EQ(nullptr, FwStr_argv(2));
  {
    ExpectAsserts expected(
        {"Tried to lookup invalid element of argv", "Tried to lookup invalid element of argv"});
    EXPECT_EQ(nullptr, FwStr_argv(3));
    EXPECT_EQ(nullptr, FwStr_argv(-1));
  }
  Control().platform = saved;
  EXPECT_STREQ(saved.argv[0], FWC(FwStr_argv(0)));
}

TEST(FwStrArgv, AssertsWithoutAnArgv) {
  const FwPlatformControlContext saved = Control().platform;
  Control().platform = {};
  {
    ExpectAsserts expected({"Tried to lookup invalid element of argv"});
    EXPECT_EQ(nullptr, FwStr_argv(0));
  }
  Control().platform = saved;
}

int32 tickle_a, tickle_b, tickle_result;

int32 Tickle(int32 a, int32 b) {
  tickle_a = a;
  tickle_b = b;
  return tickle_result;
}

TEST(FcAppTickle, IsZeroWithoutAFunction) {
  EXPECT_EQ(0, FcAppTickle(1, 1));
}

TEST(FcAppTickle, GivesTheFunctionsResult) {
  Control().application_tickle = Tickle;
  tickle_result = 0;
  EXPECT_EQ(0, FcAppTickle(5, 0));
  EXPECT_EQ(5, tickle_a);
  EXPECT_EQ(0, tickle_b);
  tickle_result = -3;
  EXPECT_EQ(-3, FcAppTickle(0, 1));
  {
    ExpectAsserts expected({"abort requested when not allowed"});
    EXPECT_EQ(-3, FcAppTickle(0, 0));
  }
  Control().application_tickle = nullptr;
}

TEST(FcAssertBootLevel, AssertsBelowTheLevel) {
  FcAssertBootLevel(14);
  FcAssertBootLevelEqual(14);
  FcAssertBootLevelNoMoreThan(14);
  ExpectAsserts expected({"FrameWork insufficiently booted", "Wrong boot level", "Wrong boot level",
                          "Wrong boot level"});
  FcAssertBootLevel(15);
  FcAssertBootLevelEqual(13);
  FcAssertBootLevelEqual(15);
  FcAssertBootLevelNoMoreThan(13);
}

TEST(FcAssertBootLevel, FiresWhenTheGuardIsDisturbed) {
  ExpectAsserts expected({"FrameWork insufficiently booted"});
  vqassert_val = 0;
  FcAssertBootLevel(0);
  vqassert_val = kVqAssertIntact;
}

TEST(FwIsBootThread, HoldsOnTheThreadThatBooted) {
  EXPECT_TRUE(FwIsBootThread());
  int on_another = 1;
  std::thread([&] { on_another = FwIsBootThread(); }).join();
  EXPECT_FALSE(on_another);
}

TEST(Interrupt, EndsTheProgramThroughTheExitErrorFunctionWithoutAText) {
  EXPECT_EXIT(std::raise(SIGINT), testing::ExitedWithCode(1), "^\\(null\\)\n$");
}

void OwnHandler(int) {}

TEST(Interrupt, IsCaughtWhileBootedAndGivenBackByTheShutdown) {
  ExpectGoodInChild([] {
    FwBootContext context = SameContext();
    FwShutdown();
    struct sigaction own = {}, now = {};
    own.sa_handler = OwnHandler;
    sigaction(SIGINT, &own, nullptr);
    FwBoot(&context);
    sigaction(SIGINT, nullptr, &now);
    EXPECT_NE(OwnHandler, now.sa_handler);
    FwShutdown();
    sigaction(SIGINT, nullptr, &now);
    EXPECT_EQ(OwnHandler, now.sa_handler);
  });
}

}  // namespace
