#include "vqassert.h"

#include <cstring>

uint32 vqassert_val = kVqAssertIntact;
int vq_assert_history = 1;
int vq_assert_depth = 0;
VqAssertSite vq_assert_history_table[kVqAssertHistorySize];
int vq_assert_history_count = 0;

namespace {

char* pszFilenameSaved = const_cast<char*>("");
int nLineSaved;
bool fFileAndLineSaved;

void move_to_front(int position, const VqAssertSite& site) {
  std::memmove(vq_assert_history_table + 1, vq_assert_history_table,
               static_cast<std::size_t>(position) * sizeof(VqAssertSite));
  vq_assert_history_table[0] = site;
}

// Whether the site was reported before; in any case it is the most recent one afterwards.
bool VqRememberAssert(char* file, int line, char* message) {
  const VqAssertSite site{file, line, message};
  for (int i = 0; i < vq_assert_history_count; ++i) {
    const VqAssertSite& seen = vq_assert_history_table[i];
    if (seen.file == file && seen.line == line && seen.message == message) {
      move_to_front(i, site);
      return true;
    }
  }
  if (vq_assert_history_count < kVqAssertHistorySize) ++vq_assert_history_count;
  move_to_front(vq_assert_history_count - 1, site);
  return false;
}

}  // namespace

void VqAssert(char* pszFilename, int nLine, char* pszMessage) {
  if (vq_assert_history && VqRememberAssert(pszFilename, nLine, pszMessage)) return;
  if (++vq_assert_depth > 1)
    VqCustomAssert(const_cast<char*>(__FILE__), __LINE__,
                   const_cast<char*>("*** ASSERT within ASSERT! ***"), 1);
  VqCustomAssert(pszFilename, nLine, pszMessage, 0);
  --vq_assert_depth;
}

int32 VqAssertDepth() {
  return vq_assert_depth;
}

void VqTraceSetFileAndLine(char* pszFilename, int nLine) {
  FwAssert(!fFileAndLineSaved, "Error - VqTrace not called after VqTraceSetFileAndLine");
  pszFilenameSaved = pszFilename;
  nLineSaved = nLine;
  fFileAndLineSaved = true;
}

void VqTrace(char* pszFormat, ...) {
  FwAssert(fFileAndLineSaved, "Error - VqTraceSetFileAndLine not called before VqTrace");
  fFileAndLineSaved = false;
  va_list args;
  va_start(args, pszFormat);
  VqCustomTrace(pszFilenameSaved, nLineSaved, pszFormat, args);
  va_end(args);
}
