#include "fwmem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "fcboot.h"
#include "fcmem.h"
#include "recorder.h"

namespace {

constexpr FwMemAllocFlag kMust = ALLOC_MUST_SUCCEED | INIT_NONE;
constexpr FwMemAllocFlag kMay = ALLOC_MAY_FAIL | INIT_NONE;

// Another debug level or raw allocator until the end of the scope. Blocks of the rest of the
// program keep the level that they were made with, so they must not be freed meanwhile.
class MemContext {
 public:
  explicit MemContext(uint32 debug_level, alloc_fp alloc = nullptr, free_fp free = nullptr)
      : context_(fcBootContext.memory), list_(FcMhalListHead), count_(cFcAllocatedBlocks) {
    fcBootContext.memory = {alloc, free, debug_level};
    FcMemInit();
    cFcAllocatedBlocks = 0;
  }
  ~MemContext() {
    fcBootContext.memory = context_;
    FcMemInit();
    FcMhalListHead = list_;
    cFcAllocatedBlocks = count_;
  }
  MemContext(const MemContext&) = delete;
  MemContext& operator=(const MemContext&) = delete;

 private:
  FwMemContext context_;
  FwListHead_t list_;
  int32 count_;
};

// An application's own allocator: it never reuses memory, so freed blocks stay readable.
struct Arena {
  static constexpr std::size_t kSize = 1 << 16;
  alignas(16) static unsigned char bytes[kSize];
  static std::size_t used;
  static bool exhausted;
  static std::vector<std::size_t> sizes;  // of the requests
  static std::vector<void*> freed;

  Arena() {
    used = 0;
    exhausted = false;
    sizes.clear();
    freed.clear();
    std::memset(bytes, 0x11, sizeof bytes);
  }
  ~Arena() {
    sizes = {};
    freed = {};
  }
  static void* Alloc(std::size_t cb) {
    sizes.push_back(cb);
    const std::size_t rounded = (cb + 7) / 8 * 8;
    if (exhausted || rounded > kSize - used) return nullptr;
    void* pv = bytes + used;
    used += rounded;
    return pv;
  }
  static void Free(void* pv) { freed.push_back(pv); }
};
alignas(16) unsigned char Arena::bytes[kSize];
std::size_t Arena::used;
bool Arena::exhausted;
std::vector<std::size_t> Arena::sizes;
std::vector<void*> Arena::freed;

uint8* Alloc(uint32 cb, FwMemAllocFlag flags = kMust, const char* file = "src/alloc.cpp") {
  return static_cast<uint8*>(FcMemAlloc_INTERNAL(cb, flags, const_cast<char*>(file), 11));
}

void Free(void* pv) {
  FcMemFree_INTERNAL(pv, const_cast<char*>("free.cpp"), 22);
}

void FreeSize(void* pv, uint32 cb) {
  FcMemFreeSize_INTERNAL(pv, cb, const_cast<char*>("free.cpp"), 22);
}

// The complaint of a free at level 1, which doesn't know where the block comes from, and at
// level 2.
std::string Call(const std::string& text) {
  return "Free: Call in free.cpp line 22: " + text;
}
std::string CallAndAllocation(const std::string& text) {
  return Call("Allocation in alloc.cpp line 11: " + text);
}

bool AllBytes(const uint8* pb, std::size_t cb, uint8 value) {
  return std::all_of(pb, pb + cb, [value](uint8 b) { return b == value; });
}

FcMemLightAllocation_t* LightOf(void* pv) {
  return static_cast<FcMemLightAllocation_t*>(pv) - 1;
}

FcMemHeavyAllocation_t* HeavyOf(void* pv) {
  return static_cast<FcMemHeavyAllocation_t*>(pv) - 1;
}

TEST(FwMem, HeadersKeepBlocksAlignedAndEndAtTheCallersBytes) {
  EXPECT_EQ(8u, sizeof(FcMemLightAllocation_t));
  EXPECT_EQ(0u, sizeof(FcMemHeavyAllocation_t) % 8);
  EXPECT_EQ(sizeof(FcMemHeavyAllocation_t), offsetof(FcMemHeavyAllocation_t, rgbStartFence) + 4);
}

TEST(FwMemFlags, AValueOf15AssertsDuplicateFlags) {
  ExpectAsserts expected({"Duplicate flags"});
  Free(Alloc(4, 15));
}

TEST(FwMemFlags, IncompleteOnesAssertInOrder) {
  struct {
    FwMemAllocFlag flags;
    std::vector<std::string> texts;
  } rows[] = {
      {0, {"Unspecified ALLOC_ flag", "Unspecified INIT_ flag"}},
      {1, {"Unspecified INIT_ flag"}},
      {2, {"Unspecified INIT_ flag"}},
      {3, {"Unspecified INIT_ flag"}},
      {4, {"Unspecified ALLOC_ flag"}},
      {5, {}},
      {6, {}},
      {7, {}},
      {8, {"Unspecified ALLOC_ flag"}},
      {9, {}},
      {10, {}},
      {11, {}},
      {12, {"Unspecified ALLOC_ flag"}},
      {13, {}},
      {14, {}},
      {15, {"Duplicate flags"}},
      {16, {"Bad flag", "Unspecified ALLOC_ flag", "Unspecified INIT_ flag"}},
      {26, {"Bad flag"}},
      {31, {"Bad flag", "Duplicate flags"}},
  };
  for (auto& row : rows) {
    SCOPED_TRACE(row.flags);
    {
      ExpectAsserts expected(row.texts);
      Free(Alloc(4, row.flags));
    }
    ExpectAsserts expected(row.texts);
    FwMemPool* pool = FwMemPoolCreate(0, 0, 0, 4, row.flags);
    FwMemPoolDestroy(&pool);
  }
}

TEST(FwMemFlags, BothAllocBitsWithInitZeroBehaveAsMustSucceed) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  EXPECT_TRUE(AllBytes(Alloc(100, 7), 100, 0));
  EXPECT_EXIT((Arena::exhausted = true, Alloc(100, 7)), testing::ExitedWithCode(1),
              "Run out of memory");
}

TEST(FwMemLevel0, IsAThinForward) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  EXPECT_EQ(Arena::bytes, pb);
  EXPECT_EQ(std::vector<std::size_t>{10}, Arena::sizes);
  EXPECT_TRUE(AllBytes(pb, 10, 0x11));
  Free(pb);
  EXPECT_TRUE(AllBytes(pb, 10, 0x11));
  EXPECT_EQ(std::vector<void*>{pb}, Arena::freed);
  EXPECT_EQ(0, cFcAllocatedBlocks);
}

TEST(FwMemLevel0, FreeWithASizeFillsTheBlock) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  FreeSize(pb, 8);
  EXPECT_TRUE(AllBytes(pb, 8, 0xC7));
  EXPECT_TRUE(AllBytes(pb + 8, 2, 0x11));
  EXPECT_EQ(std::vector<void*>{pb}, Arena::freed);
}

TEST(FwMemLevel0, FreeingTwicePassesStraightToTheRawRelease) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  Free(pb);
  Free(pb);
  EXPECT_EQ((std::vector<void*>{pb, pb}), Arena::freed);
}

TEST(FwMemLevel0, ChecksAndReportsNothing) {
  MemContext context(0);
  ExpectTraces none({});
  FwMemReport();
  FwMemCheckBlocks();
  int local;
  EXPECT_EQ(1, fFwMemPtrValid(&local));
  EXPECT_EQ(1, fFwMemPtrValid(nullptr));
}

TEST(FwMem, InitZeroFillsAtEveryLevel) {
  for (uint32 level : {0u, 1u, 2u}) {
    SCOPED_TRACE(level);
    Arena arena;
    MemContext context(level, Arena::Alloc, Arena::Free);
    uint8* pb = Alloc(33, ALLOC_MUST_SUCCEED | INIT_ZERO);
    EXPECT_TRUE(AllBytes(pb, 33, 0));
    Free(pb);
  }
}

TEST(FwMem, ExhaustionHasTheOutcomeThatTheFlagsSelect) {
  for (uint32 level : {0u, 1u, 2u}) {
    SCOPED_TRACE(level);
    Arena arena;
    MemContext context(level, Arena::Alloc, Arena::Free);
    Arena::exhausted = true;
    EXPECT_EQ(nullptr, Alloc(10, ALLOC_MAY_FAIL | INIT_NONE));
    EXPECT_EQ(nullptr, Alloc(10, ALLOC_MAY_FAIL | INIT_ZERO));
    EXPECT_EQ(0, cFcAllocatedBlocks);
    EXPECT_EXIT(Alloc(10, kMust), testing::ExitedWithCode(1), "^Run out of memory\n$");
  }
}

TEST(FwMem, ASizeBeyondTheAllocatorsCountsAsExhaustion) {
  const std::size_t huge = std::size_t{kFwMemMaxSize} + 1;
  EXPECT_EQ(nullptr, FwMemAlloc(huge, kMay));
  EXPECT_EQ(nullptr, FwMemAlloc(huge << 8, kMay));
  EXPECT_EXIT(FwMemAlloc(huge, kMust), testing::ExitedWithCode(1), "Run out of memory");
}

TEST(FwMem, ExhaustionEndsTheProgramEvenWithoutTheApplicationsFunction) {
  EXPECT_EXIT(
      {
        fcBootContext.control.exiterrorf = FcDefaultExitErrorf;
        CollectReports reports;
        FwMemExitMemoryExhausted();
      },
      testing::ExitedWithCode(1), "");
}

TEST(FwMem, SizeZeroAssertsAndStillGivesAnAddress) {
  {
    MemContext context(0);
    ExpectAsserts expected({"Won't allocate 0 size block"});
    void* pv = Alloc(0);
    ASSERT_NE(nullptr, pv);
    Free(pv);
  }
  for (uint32 level : {1u, 2u}) {
    SCOPED_TRACE(level);
    MemContext context(level);
    const std::string complaint =
        level == 1 ? Call("Block has 0 size") : CallAndAllocation("Block has 0 size");
    ExpectAsserts expected({"Won't allocate 0 size block", "No size", complaint});
    void* pv = Alloc(0);
    ASSERT_NE(nullptr, pv);
    Free(pv);
    EXPECT_EQ(0, cFcAllocatedBlocks);
  }
}

TEST(FwMem, AnUnknownSizeCannotBeAllocated) {
  for (uint32 level : {1u, 2u}) {
    SCOPED_TRACE(level);
    MemContext context(level);
    ExpectAsserts expected({"No size"});
    EXPECT_EQ(nullptr, Alloc(0xFFFFFFFF, kMay));
  }
}

TEST(FwMem, AMissingFileNameAsserts) {
  ExpectAsserts expected({"No filename", "No filename", "No filename"});
  void* pv = FcMemAlloc_INTERNAL(4, kMust, nullptr, 0);
  FcMemFree_INTERNAL(pv, nullptr, 0);
  pv = Alloc(4);
  FcMemFreeSize_INTERNAL(pv, 4, nullptr, 0);
}

TEST(FwMem, NothingIsFreedForABadAddress) {
  for (uint32 level : {0u, 1u, 2u}) {
    SCOPED_TRACE(level);
    Arena arena;
    MemContext context(level, Arena::Alloc, Arena::Free);
    uint8* pb = Alloc(16);
    ExpectAsserts expected({"No block to free", "Unaligned block to free",
                            "Unaligned block to free", "No block to free",
                            "Unaligned block to free"});
    Free(nullptr);
    Free(pb + 1);
    Free(pb + 2);
    FreeSize(nullptr, 16);
    FreeSize(pb + 3, 16);
    EXPECT_TRUE(Arena::freed.empty());
  }
}

TEST(FwMem, FreeWithoutASizeToFreeAsserts) {
  {
    Arena arena;
    MemContext context(0, Arena::Alloc, Arena::Free);
    ExpectAsserts expected({"No size to free", "No size to free"});
    uint8* pb = Alloc(16);
    FreeSize(pb, 0);
    FreeSize(pb, 0xFFFFFFFF);
    EXPECT_TRUE(AllBytes(pb, 16, 0x11));
    EXPECT_EQ(2u, Arena::freed.size());
  }
  MemContext context(1);
  ExpectAsserts expected({"No size to free",
                          Call("Size parameter in call does not match with block's size parameter"),
                          "No size to free"});
  FreeSize(Alloc(16), 0);
  FreeSize(Alloc(16), 0xFFFFFFFF);
}

TEST(FwMem, AsksForTheBootLevel) {
  const uint32 level = fcBootLevel;
  ExpectAsserts expected(std::vector<std::string>(7, "FrameWork insufficiently booted"));
  void* pv = Alloc(4);
  fcBootLevel = 3;
  Free(pv);
  pv = Alloc(4);
  FreeSize(pv, 4);
  FwMemCheckBlocks();
  fFwMemPtrValid(&pv);
  FwMemPool* pool = FwMemPoolCreate(0, 0, 0, 4, kMay);
  {
    CollectReports traces;  // of the report, at debug levels above 0
    FwMemReport();
    EXPECT_EQ(std::vector<std::string>{"FrameWork insufficiently booted"}, traces.asserts());
  }
  fcBootLevel = 4;
  FwMemPoolDestroy(&pool);
  Free(Alloc(4));
  fcBootLevel = level;
  FcAssertBootLevel(15);
}

TEST(FwMemInit, AssertsABadContext) {
  {
    ExpectAsserts expected({"Debug level is above limit"});
    MemContext context(3);
    EXPECT_EQ(2u, nFcDebugLevel);
  }
  ExpectAsserts expected({"alloc_fp and free_fp must be NULL or not together",
                          "alloc_fp and free_fp must be NULL or not together"});
  Arena arena;
  {
    MemContext context(0, Arena::Alloc, nullptr);
    Free(Alloc(4));
  }
  {
    MemContext context(0, nullptr, Arena::Free);
    Free(Alloc(4));
  }
  EXPECT_TRUE(Arena::sizes.empty());
  EXPECT_TRUE(Arena::freed.empty());
}

// Levels 1 and 2

TEST(FwMemLevel1, PutsALightHeaderBeforeTheBlock) {
  Arena arena;
  MemContext context(1, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  EXPECT_EQ(Arena::bytes + 8, pb);
  EXPECT_EQ(std::vector<std::size_t>{18}, Arena::sizes);
  EXPECT_EQ(0x59682F96u, LightOf(pb)->nMagic);
  EXPECT_EQ(10u, LightOf(pb)->cbSize);
  EXPECT_TRUE(AllBytes(pb, 10, 0xB9));
  EXPECT_EQ(0x11, pb[10]);
  EXPECT_EQ(1, cFcAllocatedBlocks);
  Free(pb);
  EXPECT_EQ(0x1E65FB4Eu, LightOf(pb)->nMagic);
  EXPECT_TRUE(AllBytes(pb, 10, 0xC7));
  EXPECT_EQ(0x11, pb[10]);
  EXPECT_EQ(0, cFcAllocatedBlocks);
  EXPECT_EQ(std::vector<void*>{Arena::bytes}, Arena::freed);
}

TEST(FwMemLevel1, FreeingTwiceReportsIt) {
  ExpectAsserts expected({Call("Block apparently already freed")});
  MemContext context(1);
  uint8* pb = Alloc(10);
  Free(pb);
  Free(pb);
  EXPECT_EQ(0, cFcAllocatedBlocks);
}

TEST(FwMemLevel1, FreeingTwiceGoesOnWithTheApplicationsAllocator) {
  ExpectAsserts expected(
      {Call("Block apparently already freed"), Call("Allocated block count has gone below 0")});
  Arena arena;
  MemContext context(1, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  Free(pb);
  std::memset(pb, 0x22, 10);
  Free(pb);
  EXPECT_TRUE(AllBytes(pb, 10, 0x22));
  EXPECT_EQ(2u, Arena::freed.size());
  EXPECT_EQ(-1, cFcAllocatedBlocks);
}

TEST(FwMemLevel1, AnAddressHandedOutAgainIsLive) {
  MemContext context(1);
  for (int i = 0; i < 1000; ++i)
    Free(Alloc(24));
  EXPECT_EQ(0, cFcAllocatedBlocks);
}

TEST(FwMemLevel1, AForeignBlockIsReportedAndLeftAlone) {
  ExpectAsserts expected({Call("Block apparently corrupted/not allocated by FrameWork")});
  MemContext context(1);
  alignas(8) uint8 foreign[64];
  std::memset(foreign, 0x33, sizeof foreign);
  Free(foreign + 32);
  EXPECT_TRUE(AllBytes(foreign, sizeof foreign, 0x33));
  EXPECT_EQ(0, cFcAllocatedBlocks);
}

TEST(FwMemLevel1, AWrongSizeIsReportedAndFillsNothing) {
  ExpectAsserts expected(
      {Call("Size parameter in call does not match with block's size parameter")});
  Arena arena;
  MemContext context(1, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  FreeSize(pb, 9);
  EXPECT_TRUE(AllBytes(pb, 10, 0xB9));
  EXPECT_EQ(0x1E65FB4Eu, LightOf(pb)->nMagic);
  EXPECT_EQ(1u, Arena::freed.size());
}

TEST(FwMemLevel1, TheRightSizeFills) {
  Arena arena;
  MemContext context(1, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  FreeSize(pb, 10);
  EXPECT_TRUE(AllBytes(pb, 10, 0xC7));
}

TEST(FwMemLevel1, ReportsTheCountOnly) {
  ExpectTraces expected({"FwMemReport: 2 allocated blocks"});
  MemContext context(1);
  uint8* a = Alloc(10);
  uint8* b = Alloc(20);
  FwMemReport();
  FwMemCheckBlocks();
  EXPECT_EQ(1, fFwMemPtrValid(&a));
  Free(a);
  Free(b);
}

TEST(FwMemLevel2, PutsAHeavyHeaderAndFencesAroundTheBlock) {
  Arena arena;
  MemContext context(2, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10, kMust, "some/dir/name_of_20_chars.c");
  const FcMemHeavyAllocation_t* heavy = HeavyOf(pb);
  EXPECT_EQ(Arena::bytes + sizeof *heavy, pb);
  EXPECT_EQ(std::vector<std::size_t>{sizeof *heavy + 10 + 4}, Arena::sizes);
  EXPECT_EQ(0x59682F96u, heavy->mlal.nMagic);
  EXPECT_EQ(10u, heavy->mlal.cbSize);
  EXPECT_EQ(11u, heavy->nLine);
  EXPECT_STREQ("name_of_20_char", heavy->szFilename);
  EXPECT_EQ(0, std::memcmp(pb - 4, "\xDE\xAD\xBE\xEF", 4));
  EXPECT_EQ(0, std::memcmp(pb + 10, "\xEF\xAD\xDE\xBE", 4));
  EXPECT_TRUE(AllBytes(pb, 10, 0xB9));
  EXPECT_EQ(1, fFcListItemInList_(&FcMhalListHead, &HeavyOf(pb)->lse));
  Free(pb);
  EXPECT_EQ(0x1E65FB4Eu, heavy->mlal.nMagic);
  EXPECT_TRUE(AllBytes(pb, 10, 0xC7));
  EXPECT_EQ(0, std::memcmp(pb + 10, "\xEF\xAD\xDE\xBE", 4));
  EXPECT_EQ(nullptr, plseFcListGetFirst_(&FcMhalListHead));
}

TEST(FwMemLevel2, RecordsTheBaseNameOfTheFile) {
  struct {
    const char* path;
    const char* name;
  } rows[] = {
      {"plain.cpp", "plain.cpp"},
      {"/abs/olute.cpp", "olute.cpp"},
      {"dir/", ""},
      {"x/exactly15chars.", "exactly15chars."},
      {"x/exactly_16_chars", "exactly_16_char"},
  };
  MemContext context(2);
  for (auto& row : rows) {
    SCOPED_TRACE(row.path);
    uint8* pb = Alloc(1, kMust, row.path);
    EXPECT_STREQ(row.name, HeavyOf(pb)->szFilename);
    Free(pb);
  }
}

TEST(FwMemLevel2, AWriteBehindTheBlockIsReportedWithBothPlaces) {
  ExpectAsserts expected({CallAndAllocation("Detected allocation end overwrite")});
  MemContext context(2);
  uint8* pb = Alloc(10);
  pb[10] = 0;
  Free(pb);
  EXPECT_EQ(0, cFcAllocatedBlocks);
  EXPECT_EQ(nullptr, plseFcListGetFirst_(&FcMhalListHead));
}

TEST(FwMemLevel2, AWriteBeforeTheBlockIsReported) {
  ExpectAsserts expected({CallAndAllocation("Detected allocation start overwrite")});
  MemContext context(2);
  uint8* pb = Alloc(10);
  HeavyOf(pb)->rgbStartFence[3] = 0;
  Free(pb);
}

TEST(FwMemLevel2, TheContentsAreGoneBeforeTheFencesAreChecked) {
  ExpectAsserts expected({CallAndAllocation("Detected allocation end overwrite")});
  Arena arena;
  MemContext context(2, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  pb[10] = 0x77;
  Free(pb);
  EXPECT_TRUE(AllBytes(pb, 10, 0xC7));
  EXPECT_EQ(0x77, pb[10]);
}

TEST(FwMemLevel2, CorruptedLinksAreReportedAndMended) {
  ExpectAsserts expected({CallAndAllocation("Block has corrupted record"),
                          CallAndAllocation("Memory block lost from list"),
                          CallAndAllocation("Memory block lost from list")});
  MemContext context(2);
  uint8* a = Alloc(10);
  uint8* b = Alloc(10);
  uint8* c = Alloc(10);
  FwListEntry_t& lse = HeavyOf(b)->lse;
  lse.plseNext = reinterpret_cast<pFwListEntry_t>(reinterpret_cast<uint8*>(lse.plseNext) + 1);
  Free(b);
  HeavyOf(c)->lse.plsePrev = &HeavyOf(c)->lse;
  Free(c);
  EXPECT_EQ(&HeavyOf(a)->lse, plseFcListGetFirst_(&FcMhalListHead));
  EXPECT_EQ(&HeavyOf(a)->lse, plseFcListGetLast_(&FcMhalListHead));
  Free(a);
  EXPECT_EQ(0, cFcAllocatedBlocks);
}

TEST(FwMemLevel2, FreeingTwiceEndsInThatComplaint) {
  ExpectAsserts expected(
      {Call("Memory block lost from list"), Call("Block apparently already freed")});
  MemContext context(2);
  uint8* pb = Alloc(10);
  Free(pb);
  Free(pb);
  EXPECT_EQ(0, cFcAllocatedBlocks);
}

TEST(FwMemLevel2, FreeingTwiceReadsTheHeaderWithTheApplicationsAllocator) {
  ExpectAsserts expected({CallAndAllocation("Memory block lost from list"),
                          CallAndAllocation("Block apparently already freed"),
                          CallAndAllocation("Allocated block count has gone below 0")});
  Arena arena;
  MemContext context(2, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  Free(pb);
  Free(pb);
  EXPECT_EQ(2u, Arena::freed.size());
}

TEST(FwMemLevel2, AForeignBlockEndsAsNotAllocatedHere) {
  ExpectAsserts expected({Call("Memory block lost from list"),
                          Call("Block apparently corrupted/not allocated by FrameWork")});
  MemContext context(2);
  alignas(8) uint8 foreign[128];
  std::memset(foreign, 0x33, sizeof foreign);
  Free(foreign + 64);
  EXPECT_TRUE(AllBytes(foreign, sizeof foreign, 0x33));
}

TEST(FwMemLevel2, AnOverwrittenMagicIsReportedAndTheBlockReleased) {
  ExpectAsserts expected(
      {CallAndAllocation("Block apparently corrupted/not allocated by FrameWork")});
  MemContext context(2);
  uint8* pb = Alloc(10);
  HeavyOf(pb)->mlal.nMagic = 0;
  Free(pb);
  EXPECT_EQ(0, cFcAllocatedBlocks);
  EXPECT_EQ(nullptr, plseFcListGetFirst_(&FcMhalListHead));
}

TEST(FwMemLevel2, AWrongSizeIsReportedAndFillsNothing) {
  ExpectAsserts expected(
      {CallAndAllocation("Size parameter in call does not match with block's size parameter")});
  Arena arena;
  MemContext context(2, Arena::Alloc, Arena::Free);
  uint8* pb = Alloc(10);
  FreeSize(pb, 11);
  EXPECT_TRUE(AllBytes(pb, 10, 0xB9));
}

TEST(FwMemLevel2, ReportsEachLiveBlock) {
  MemContext context(2);
  uint8* a = Alloc(10);
  uint8* b = Alloc(20, kMust, "x/other.cpp");
  auto line = [](uint8* pb, int cb, const char* file) {
    char text[160];
    std::snprintf(text, sizeof text, "fFcMhalDoReport: %d bytes allocated at %x, by %s at line 11",
                  cb, static_cast<uint32>(reinterpret_cast<std::uintptr_t>(pb)), file);
    return std::string(text);
  };
  {
    ExpectTraces expected(
        {"FwMemReport: 2 allocated blocks", line(a, 10, "alloc.cpp"), line(b, 20, "other.cpp")});
    FwMemReport();
  }
  Free(a);
  Free(b);
  ExpectTraces expected({"FwMemReport: 0 allocated blocks"});
  FwMemReport();
}

TEST(FwMemLevel2, CheckBlocksComplainsOfEachDamagedOne) {
  // Function names are cut to 12 bytes.
  ExpectAsserts expected(
      {"FwMemCheckBl: Allocation in alloc.cpp line 11: Detected allocation end overwrite",
       "FwMemCheckBl: Allocation in other.cpp line 11: Detected allocation start overwrite"});
  MemContext context(2);
  uint8* a = Alloc(10);
  uint8* b = Alloc(20, kMust, "x/other.cpp");
  uint8* c = Alloc(30);
  a[10] = 0;
  HeavyOf(b)->rgbStartFence[0] = 0;
  FwMemCheckBlocks();
  a[10] = 0xEF;
  HeavyOf(b)->rgbStartFence[0] = 0xDE;
  FwMemCheckBlocks();
  Free(a);
  Free(b);
  Free(c);
}

TEST(FwMemLevel2, PtrValidHoldsFromTheFirstByteToTheOneBehindTheLast) {
  Arena arena;
  MemContext context(2, Arena::Alloc, Arena::Free);
  uint8* a = Alloc(10);
  uint8* b = Alloc(20);
  EXPECT_EQ(0, fFwMemPtrValid(a - 1));
  EXPECT_EQ(1, fFwMemPtrValid(a));
  EXPECT_EQ(1, fFwMemPtrValid(a + 9));
  EXPECT_EQ(1, fFwMemPtrValid(a + 10));
  EXPECT_EQ(0, fFwMemPtrValid(a + 11));
  EXPECT_EQ(1, fFwMemPtrValid(b + 20));
  EXPECT_EQ(0, fFwMemPtrValid(nullptr));
  Free(b);
  EXPECT_EQ(0, fFwMemPtrValid(b));
  Free(a);
}

bool RemoveWhileWalking(FcMemHeavyAllocation_t* heavy, void* pv) {
  std::vector<uint32>& seen = *static_cast<std::vector<uint32>*>(pv);
  seen.push_back(heavy->mlal.cbSize);
  if (heavy->mlal.cbSize == 3) return false;
  Free(heavy + 1);
  return true;
}

TEST(FwMemLevel2, IterateLetsTheCallbackRemoveTheBlockAndStop) {
  MemContext context(2);
  uint8* last = nullptr;
  for (uint32 cb = 1; cb <= 4; ++cb)
    last = Alloc(cb);
  std::vector<uint32> seen;
  FcMhalIterate(RemoveWhileWalking, &seen);
  EXPECT_EQ((std::vector<uint32>{1, 2, 3}), seen);
  Free(reinterpret_cast<FcMemHeavyAllocation_t*>(plseFcListGetFirst_(&FcMhalListHead)) + 1);
  Free(last);
  EXPECT_EQ(0, cFcAllocatedBlocks);
}

// The forms that callers use

TEST(FwMemFreeAndClear, FreesWhatIsThereAndClears) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  int* pn = static_cast<int*>(FwMemAlloc(sizeof(int), kMust));
  FwMemFreeAndClear(&pn);
  EXPECT_EQ(nullptr, pn);
  EXPECT_EQ(1u, Arena::freed.size());
  FwMemFreeAndClear(&pn);
  EXPECT_EQ(1u, Arena::freed.size());
}

TEST(FwMemFreeAndClear, AssertsWithoutAnAddress) {
  ExpectAsserts expected({"NULL ppvBlock", "NULL ppvBlock"});
  FwMemFreeAndClear(static_cast<void**>(nullptr));
  FwMemFreeAndClear(nullptr);
}

TEST(FwMem, MacrosTellFileAndLineOfTheCall) {
  MemContext context(2);
  void* pv = FwMemAlloc(5, kMust);
  EXPECT_STREQ("fwmem_test.cpp", HeavyOf(pv)->szFilename);
  EXPECT_EQ(static_cast<uint32>(__LINE__ - 2), HeavyOf(pv)->nLine);
  FwMemFreeSize(pv, 5);
  pv = FwMemNew<int32>(kMust);
  EXPECT_STREQ("fwmem_test.cpp", HeavyOf(pv)->szFilename);
  EXPECT_EQ(static_cast<uint32>(__LINE__ - 2), HeavyOf(pv)->nLine);
  FwMemFree(pv);
}

struct WithInitialiser {
  int32 a;
  int32 b = 7;
};

TEST(FwMem, NewStartsARecordWithItsInitialisersOnZero) {
  WithInitialiser* p = FwMemNew<WithInitialiser>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  EXPECT_EQ(0, p->a);
  EXPECT_EQ(7, p->b);
  FwMemFree(p);
}

// Pools

AllocOnlyPool* Inside(FwMemPool* pool) {
  return reinterpret_cast<AllocOnlyPool*>(pool);
}

uint8* Piece(FwMemPool* pool, uint32 cb) {
  return static_cast<uint8*>(FwMemPoolAlloc(pool, cb));
}

TEST(FwMemPool, OfInitialSize0HasTheRestOfAKilobyte) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  FwMemPool* pool = FwMemPoolCreate(0, 0, 0, 4, kMay);
  ASSERT_NE(nullptr, pool);
  EXPECT_EQ(std::vector<std::size_t>{1024 - 8}, Arena::sizes);
  EXPECT_EQ(0u, pool->nClass);
  EXPECT_EQ(4u, pool->alignment);
  EXPECT_EQ(0u, pool->cbGrowExtra);
  EXPECT_EQ(9u, pool->allocFlags);
  const uint32 usable = 1024 - 8 - sizeof(AllocOnlyPool);
  EXPECT_EQ(usable, Inside(pool)->firstBlock.nFreeBytes);
  uint8* pb = Piece(pool, usable);
  EXPECT_EQ(Arena::bytes + sizeof(AllocOnlyPool), pb);
  EXPECT_EQ(1u, Arena::sizes.size());
  FwMemPoolDestroy(&pool);
  EXPECT_EQ(nullptr, pool);
  EXPECT_EQ(std::vector<void*>{Arena::bytes}, Arena::freed);
}

TEST(FwMemPool, AsksForRoundedSizes) {
  struct {
    uint32 cbInitial;
    uint32 alignment;
    std::size_t raw;
  } rows[] = {
      // header 48, alignment, 8
      {1024 - 48 - 8 - 8, 8, 1024 - 8},
      {1024 - 48 - 8 - 8 + 1, 8, 2048 - 8},
      {1024 - 48 - 1 - 8, 1, 1024 - 8},
      {1024 - 48 - 1 - 8 + 1, 1, 2048 - 8},
      {5000, 4, 5120 - 8},
  };
  for (auto& row : rows) {
    SCOPED_TRACE(row.cbInitial);
    Arena arena;
    MemContext context(0, Arena::Alloc, Arena::Free);
    FwMemPool* pool = FwMemPoolCreate(0, row.cbInitial, 0, row.alignment, kMay);
    EXPECT_EQ(std::vector<std::size_t>{row.raw}, Arena::sizes);
    FwMemPoolDestroy(&pool);
  }
}

TEST(FwMemPool, PiecesFollowEachOtherAligned) {
  for (uint32 alignment : {1u, 2u, 4u, 8u}) {
    SCOPED_TRACE(alignment);
    Arena arena;
    MemContext context(0, Arena::Alloc, Arena::Free);
    FwMemPool* pool = FwMemPoolCreate(0, 100, 0, alignment, kMay);
    uint8* first = Piece(pool, 1);
    uint8* second = Piece(pool, 3);
    EXPECT_EQ(first + alignment, second);
    EXPECT_EQ(second + std::max(alignment, (3 + alignment - 1) / alignment * alignment),
              Piece(pool, 1));
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(first) % alignment);
    FwMemPoolDestroy(&pool);
  }
}

TEST(FwMemPool, GrowsByABlockSizedToTheRequestAndKeepsTheOld) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  FwMemPool* pool = FwMemPoolCreate(0, 0, 0, 8, kMay);
  uint8* first = Piece(pool, 8);
  uint8* large = Piece(pool, 4000);
  ASSERT_NE(nullptr, large);
  // header 24, request 4000, alignment 8, and 8 make 4040
  EXPECT_EQ((std::vector<std::size_t>{1016, 4096 - 8}), Arena::sizes);
  SubAllocBlock* newest = Inside(pool)->pChain;
  EXPECT_NE(&Inside(pool)->firstBlock, newest);
  EXPECT_EQ(&Inside(pool)->firstBlock, newest->pNextBlock);
  EXPECT_EQ(4088u - 24 - 4000, newest->nFreeBytes);
  // The newest block has 64 bytes left: a small piece goes there, a larger one into the old block.
  EXPECT_EQ(large + 4000, Piece(pool, 8));
  EXPECT_EQ(first + 8, Piece(pool, 100));
  EXPECT_EQ(2u, Arena::sizes.size());
  FwMemPoolDestroy(&pool);
  EXPECT_EQ((std::vector<void*>{newest, Arena::bytes}), Arena::freed);
}

TEST(FwMemPool, NewBlocksHoldTheExtraBytes) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  FwMemPool* pool = FwMemPoolCreate(0, 0, 2001, 8, kMay);
  EXPECT_EQ(2008u, pool->cbGrowExtra);
  ASSERT_NE(nullptr, Piece(pool, 2000));
  // header 24, request 2000, extra 2008, alignment 8, and 8 make 4048
  EXPECT_EQ((std::vector<std::size_t>{1016, 4096 - 8}), Arena::sizes);
  FwMemPoolDestroy(&pool);
}

TEST(FwMemPool, IsInvisibleToReportsAndCounts) {
  ExpectTraces expected({"FwMemReport: 0 allocated blocks"});
  Arena arena;
  MemContext context(2, Arena::Alloc, Arena::Free);
  FwMemPool* pool = FwMemPoolCreate(0, 0, 0, 8, kMay);
  uint8* pb = Piece(pool, 16);
  EXPECT_TRUE(AllBytes(pb, 16, 0x11));  // never filled
  EXPECT_EQ(0, fFwMemPtrValid(pb));
  FwMemReport();
  FwMemPoolDestroy(&pool);
}

TEST(FwMemPool, InitZeroFillsTheRoundedSize) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  FwMemPool* pool = FwMemPoolCreate(0, 0, 0, 8, ALLOC_MAY_FAIL | INIT_ZERO);
  uint8* pb = Piece(pool, 9);
  EXPECT_TRUE(AllBytes(pb, 16, 0));
  EXPECT_EQ(0x11, pb[16]);
  FwMemPoolDestroy(&pool);
}

TEST(FwMemPool, ExhaustionHasTheOutcomeThatTheFlagsSelect) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  FwMemPool* may = FwMemPoolCreate(0, 0, 0, 8, kMay);
  FwMemPool* must = FwMemPoolCreate(0, 0, 0, 8, kMust);
  Arena::exhausted = true;
  EXPECT_EQ(nullptr, FwMemPoolAlloc(may, 2000));
  EXPECT_NE(nullptr, FwMemPoolAlloc(may, 100));
  EXPECT_EXIT(FwMemPoolAlloc(must, 2000), testing::ExitedWithCode(1), "Run out of memory");
  EXPECT_EQ(nullptr, FwMemPoolCreate(0, 0, 0, 8, kMay));
  EXPECT_EQ(nullptr, FwMemPoolCreate(0, 0, 0, 8, kMust));
  FwMemPoolDestroy(&may);
  FwMemPoolDestroy(&must);
}

TEST(FwMemPool, SizesThatNoBlockCanHaveAreExhaustion) {
  Arena arena;
  MemContext context(0, Arena::Alloc, Arena::Free);
  EXPECT_EQ(nullptr, FwMemPoolCreate(0, 0xFFFFFFFF, 0, 8, kMay));
  FwMemPool* pool = FwMemPoolCreate(0, 0, 0xFFFFFFFF, 8, kMay);
  ASSERT_NE(nullptr, pool);
  EXPECT_EQ(nullptr, FwMemPoolAlloc(pool, 0xFFFFFFF8));
  EXPECT_EQ(1u, Arena::sizes.size());
  FwMemPoolDestroy(&pool);
}

TEST(FwMemPool, CreateAssertsBadArguments) {
  ExpectAsserts expected({"bad args", "bad args", "bad args", "bad args"});
  EXPECT_EQ(nullptr, FwMemPoolCreate(1, 0, 0, 8, kMay));
  EXPECT_EQ(nullptr, FwMemPoolCreate(0, 0, 0, 0, kMay));
  EXPECT_EQ(nullptr, FwMemPoolCreate(0, 0, 0, 3, kMay));
  EXPECT_EQ(nullptr, FwMemPoolCreate(0, 0, 0, 16, kMay));
}

TEST(FwMemPool, AllocAssertsBadArguments) {
  FwMemPool* pool = FwMemPoolCreate(0, 0, 0, 8, kMay);
  ExpectAsserts expected({"bad args", "bad args", "bad args", "bad args"});
  EXPECT_EQ(nullptr, FwMemPoolAlloc(nullptr, 8));
  EXPECT_EQ(nullptr, FwMemPoolAlloc(pool, 0));
  EXPECT_EQ(nullptr, FwMemPoolAlloc(pool, 0xFFFFFFF9));
  pool->nClass = 1;
  EXPECT_EQ(nullptr, FwMemPoolAlloc(pool, 8));
  pool->nClass = 0;
  FwMemPoolDestroy(&pool);
}

TEST(FwMemPool, FreeChecksItsArgumentsAndReclaimsNothing) {
  FwMemPool* pool = FwMemPoolCreate(0, 0, 0, 4, kMay);
  uint8* pb = Piece(pool, 8);
  const uint32 left = Inside(pool)->firstBlock.nFreeBytes;
  FwMemPoolFree(pool, pb);
  EXPECT_EQ(left, Inside(pool)->firstBlock.nFreeBytes);
  ExpectAsserts expected({"bad pool arg", "No block to free", "Unaligned block to free"});
  FwMemPoolFree(nullptr, pb);
  FwMemPoolFree(pool, nullptr);
  FwMemPoolFree(pool, pb + 1);
  FwMemPoolDestroy(&pool);
}

TEST(FwMemPool, DestroyOfNoPoolDoesNothing) {
  FwMemPool* pool = nullptr;
  FwMemPoolDestroy(&pool);
  FwMemPoolDestroy(nullptr);
}

TEST(FwMemPool, DestroyAssertsAnUnknownClass) {
  FwMemPool* pool = FwMemPoolCreate(0, 0, 0, 4, kMay);
  pool->nClass = 2;
  {
    ExpectAsserts expected({"bad pool class"});
    FwMemPoolDestroy(&pool);
  }
  ASSERT_NE(nullptr, pool);
  pool->nClass = 0;
  FwMemPoolDestroy(&pool);
}

}  // namespace
