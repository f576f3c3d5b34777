// Assertions and traces, the way in which every floor reports a broken contract.
//
// An assertion reports and returns: each caller has a defined path behind it. The program
// that links this floor decides what happens to the report. It supplies the two hooks
// VqCustomAssert and VqCustomTrace; the tool prints both on standard output, a test program records
// them.
//
//   FwAssert(pVector != nullptr, "NULL");      fires if the condition fails or vqassert_val was
//                                              disturbed
//
//   if (!FwExpect(p != nullptr, "NULL")) return 0;   fires as well, and is the condition
//
//   VqTraceSetFileAndLine(__FILE__, __LINE__);
//   VqTrace("%d allocated blocks", n);         always in this pair; FwTrace(...) does both
//
// A site (file, line and message, compared as pointers) is reported once: the table of the last 256
// sites suppresses repeats. Messages and file names must therefore be literals or last forever.
#ifndef VQASSERT_H
#define VQASSERT_H

#include <cstdarg>

#include "vqtypes.h"

inline constexpr uint32 kVqAssertIntact = 0x1DEAD10;

// Holds kVqAssertIntact. Changing it makes every assertion site fire.
extern uint32 vqassert_val;

// 1 suppresses repeats of a site, 0 reports each time.
extern int vq_assert_history;

// Number of assertions now being reported.
extern int vq_assert_depth;

struct VqAssertSite {
  char* file;
  int line;
  char* message;
};

inline constexpr int kVqAssertHistorySize = 256;

// The sites reported, most recent first, and how many there are.
extern VqAssertSite vq_assert_history_table[kVqAssertHistorySize];
extern int vq_assert_history_count;

// Reports a failed assertion through VqCustomAssert, unless the site was reported before, and
// returns.
void VqAssert(char* pszFilename, int nLine, char* pszMessage);

// The number of assertions now being reported. For programs on this library.
int32 VqAssertDepth();

// Notes the position of the trace that must follow at once.
// Asserts "Error - VqTrace not called after VqTraceSetFileAndLine" if a position is waiting
// already.
void VqTraceSetFileAndLine(char* pszFilename, int nLine);

// Hands a trace to VqCustomTrace, with the position noted.
// Asserts "Error - VqTraceSetFileAndLine not called before VqTrace" if none was; the trace then has
// the position of the one before, "" and 0 at first.
void VqTrace(char* pszFormat, ...);

// Supplied by the program. flag is 1 for the warning that an assertion failed while another was
// being reported. They may run before there is any memory, so they must not allocate.
void VqCustomAssert(char* pszFilename, int nLine, char* pszMessage, int flag);
void VqCustomTrace(char* pszFilename, int nLine, char* pszFormat, va_list vlist);

// The condition of FwAssert. It is a function so that a site has two branches and no others: the
// condition holds, or it does not.
inline bool VqAssertHolds(bool fCondition) {
  return fCondition && vqassert_val == kVqAssertIntact;
}

// The message is a string literal: the history tells sites apart by its address.
#define FwAssert(condition, text)                                               \
  do {                                                                          \
    if (!VqAssertHolds(condition))                                              \
      VqAssert(const_cast<char*>(__FILE__), __LINE__, const_cast<char*>(text)); \
  } while (0)

// The condition of FwExpect: reports as FwAssert does and returns the condition itself, so that a
// call that fires only because vqassert_val was disturbed goes on as usual. This is a function too,
// so that a site has the branches of the if around it and no others.
[[nodiscard]] inline bool VqExpect(bool fCondition, char* pszFilename, int nLine,
                                   char* pszMessage) {
  if (!VqAssertHolds(fCondition)) VqAssert(pszFilename, nLine, pszMessage);
  return fCondition;
}

// An assertion whose path is a branch on the same condition: asserts as FwAssert does and is the
// condition, which is evaluated once. Where two contracts are reported before one branch on both,
// they stay assertions: && and || would skip the second report.
#define FwExpect(condition, text) \
  VqExpect(condition, const_cast<char*>(__FILE__), __LINE__, const_cast<char*>(text))

// Reports unconditionally: for the failure branch of a plain test.
#define FwAssertFailed(text) \
  VqAssert(const_cast<char*>(__FILE__), __LINE__, const_cast<char*>(text))

// Arguments must not trace themselves.
#define FwTrace(format, ...)                                       \
  do {                                                             \
    VqTraceSetFileAndLine(const_cast<char*>(__FILE__), __LINE__);  \
    VqTrace(const_cast<char*>(format) __VA_OPT__(, ) __VA_ARGS__); \
  } while (0)

#endif
