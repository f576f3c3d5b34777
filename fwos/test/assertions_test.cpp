// Reports that no sound call brings about: of records that were disturbed from outside, and of what
// can't happen unless memory was overwritten. The latter fire with the value that every assertion
// tests disturbed.
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "caller.h"
#include "fcstrmat.h"
#include "files.h"
#include "fpfile/names.h"
#include "fpstring.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwhash.h"
#include "fwmem.h"
#include "fwmem/level.h"
#include "fwobserv.h"
#include "fwstream.h"
#include "fwstring.h"
#include "fwstrprf_format.h"
#include "fwunicod.h"
#include "process.h"
#include "recorder.h"
#include "sweep.h"

namespace {

using Texts = std::vector<std::string>;

// Expects an operation to assert each of these texts when every assertion fires.
template <class F>
void ExpectDisturbed(const Texts& texts, F operation, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  CollectReports reports;
  vqassert_val = 0;
  operation();
  vqassert_val = kVqAssertIntact;
  for (const std::string& text : texts)
    EXPECT_NE(reports.asserts().end(),
              std::find(reports.asserts().begin(), reports.asserts().end(), text))
        << text;
}

// The same in a child process, for what can't be done twice in one.
template <class F>
void ExpectDisturbedInChild(const Texts& texts, F operation, Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  const ChildRun run = RunInChild([&]() -> int {
    const bool failed_before = testing::Test::HasFailure();
    ExpectDisturbed(texts, operation);
    std::fflush(stdout);
    _exit(testing::Test::HasFailure() && !failed_before);
  });
  EXPECT_EQ(0, run.status) << run.out << run.err;
}

}  // namespace

// ---- Disturbed records

TEST(DisturbedRecords, ATableWithMoreSlotsThanItTellsLosesEntriesWhenItGrows) {
  FwHashTable* pTable = FwHashCreateTable(20, nullptr, nullptr);
  ASSERT_NE(nullptr, pTable);
  const auto key = [](uintptr_t n) { return reinterpret_cast<void*>(n); };
  for (uintptr_t n = 1; n <= 8; ++n)
    FwHashAddEntry(pTable, key(n), key(n), nullptr);
  // Its 20 slots taken for 2, so that the next table has 5, of which none is left for the last 3.
  pTable->nTableSize = 2;
  {
    const std::string text =
        "FcHashGrowTable: Enlarged table wil not hold all entries of old table";
    ExpectAsserts expected({text, text, text});
    // Added or not: there is no slot for it either.
    EXPECT_EQ(nullptr, FwHashAddEntry(pTable, key(9), key(9), nullptr));
  }
  EXPECT_EQ(5u, pTable->nTableSize);
  EXPECT_EQ(5u, pTable->nUsedEntries);
  FwHashFreeTable(&pTable);
}

TEST(DisturbedRecords, ATableWithMoreSlotsThanItTellsLosesEntriesWhenItIsRehashed) {
  FwHashTable* pTable = FwHashCreateTable(20, nullptr, nullptr);
  ASSERT_NE(nullptr, pTable);
  const auto key = [](uintptr_t n) { return reinterpret_cast<void*>(n); };
  for (uintptr_t n = 1; n <= 8; ++n)
    FwHashAddEntry(pTable, key(n), key(n), nullptr);
  pTable->nTableSize = 6;
  {
    const std::string text =
        "FcHashGrowTable: Rehashed table will not hold all entries of old table";
    ExpectAsserts expected({text, text, "FwHashRehashTable: mismatch in table sizes"});
    FwHashRehashTable(
        pTable,
        [](FwHashEntry* pOld, FwHashEntry* pNew, void*, FwErrorState*) {
          *pNew = *pOld;
          return pOld->key;
        },
        nullptr, nullptr);
  }
  EXPECT_EQ(6u, pTable->nUsedEntries);
  FwHashFreeTable(&pTable);
}

TEST(DisturbedRecords, ASnapshotWithoutItsSeparator) {
  TemporaryTree tree;
  tree.Write("file", "");
  Error err;
  FwDir* pDir = FwDirOpen(err, Txt(tree.path() + "/"), FW_DIR_SNAPSHOT);
  ASSERT_NE(nullptr, pDir);
  FwTextString ptbzName = reinterpret_cast<FwTextString>(pDir) + offsetof(FwDir, atbzDirname);
  ptbzName[tree.path().size()] = 'x';
  {
    Record name;
    FwFileInfo info;
    ExpectAsserts expected({"dirname is malformed"});
    EXPECT_EQ(0, FwDirNext(err, pDir, name, &info, 0));
    EXPECT_EQ("file", name.text());
  }
  EXPECT_EQ("NonExistent File " + tree.path() + "x/file", Describe(err));
  FwErrorClear(err);
  EXPECT_EQ(1, FwDirClose(err, pDir));
}

// Ways to bind that break the rules of the search.
class DisturbedSearch : public testing::Test {
 protected:
  // Searches with one item, bound by this function, and expects this text.
  void ExpectReport(const char* text, pfnFcMatRebind pfnRebind, Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    FwTextByte abEnglish[] = "_abcdef";
    FwTextByte abTemplate[] = "_%d";
    FcMatContext ctmat = {};
    ctmat.pbzEnglishEnd = abEnglish + 7;
    ctmat.pbzTemplateEnd = abTemplate + 3;
    ctmat.pbzEnglishIgnorableStart = ctmat.pbzEnglishEnd;
    FcMatBinding list = {};
    list.nType = FC_MAT_BRANCH_LIST;
    FcMatBinding binding = {};
    binding.nType = FC_MAT_VARIABLE;
    binding.ptbzTemplate = abTemplate + 1;
    binding.cbTemplateBindingLength = 2;
    binding.pbdbrLast = &list;
    binding.pfnRebind = pfnRebind;
    ExpectAsserts expected({text});
    EXPECT_FALSE(fFcMatScanArgList(&ctmat, &binding, 1, abEnglish + 1, abTemplate + 1));
  }
};

TEST_F(DisturbedSearch, GoesNeitherBackNorPastTheEnd) {
  ExpectReport("Going back in English",
               [](FcMatContext*, FcMatBinding*, FwTextByte** pptbEnglish, FwTextByte**) {
                 --*pptbEnglish;
                 return true;
               });
  ExpectReport("Going back in template",
               [](FcMatContext*, FcMatBinding*, FwTextByte**, FwTextByte** pptbTemplate) {
                 *pptbTemplate -= 3;
                 return true;
               });
  ExpectReport("Overflow in English",
               [](FcMatContext* pctmat, FcMatBinding*, FwTextByte** pptbEnglish, FwTextByte**) {
                 *pptbEnglish = pctmat->pbzEnglishEnd + 1;
                 return true;
               });
}

TEST_F(DisturbedSearch, LeavesTheTextWhenNothingBinds) {
  ExpectReport("English changed",
               [](FcMatContext*, FcMatBinding*, FwTextByte** pptbEnglish, FwTextByte**) {
                 ++*pptbEnglish;
                 return false;
               });
}

TEST_F(DisturbedSearch, TriesNothingInAnotherAlternative) {
  // The first try binds, and switches the alternative; the second one fails.
  ExpectReport("Binding off", [](FcMatContext*, FcMatBinding* pbd, FwTextByte**, FwTextByte**) {
    return const_cast<FcMatBinding*>(pbd->pbdbrLast)->iCurrent++ == 0;
  });
}

// ---- What the system can bring about

TEST(StrangeFiles, ATypeThatHasNoNameIsTraced) {
  const int file = epoll_create1(0);
  ASSERT_GE(file, 0);
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  struct stat status;
  ASSERT_EQ(0, stat(path.c_str(), &status));
  if (status.st_mode & S_IFMT) {
    close(file);
    GTEST_SKIP() << "such a file has a type here";
  }
  char hex[16];
  std::snprintf(hex, sizeof hex, "%08X", static_cast<unsigned>(status.st_mode));
  ExpectTraces expected(
      {std::string("Please add code for new Unix file type ") + hex + " of file " + path + "\n"});
  Error err;
  FwFileInfo info;
  EXPECT_EQ(1, FwFileGetInfo(err, Txt(path), &info, 0));
  EXPECT_EQ(uint32{FW_FILE_TYPE_OTHER}, uint32{info.type});
  close(file);
}

TEST(StrangeFiles, AnErrorThatTheSystemDoesNotTell) {
  Error err;
  ExpectAsserts expected({"OS error, but errno not set", "Attempting to set error to FW_SUCCESS"});
  errno = 0;
  FpFileSetSystemError(err, FWT("/f"));
}

// ---- What can't happen

TEST(DisturbedAssertions, OfFiles) {
  TemporaryTree tree;
  tree.Write("file", "content");
  tree.Link("old/link", "nowhere");
  Error err;
  ExpectDisturbed({"FwDirCreate should have ensured trailing sep", "not sep"},
                  [&] { EXPECT_EQ(1, FwDirCreate(err, Txt(tree / "new/"), 0)); });
  EXPECT_TRUE(Exists(tree / "new"));
  ExpectDisturbed({"invalid -ve handle", "bad sign", "FwFileSeekExtend: bad args"}, [&] {
    const FwFile file = FwFileOpen(err, Txt(tree / "file"), FW_OPEN_WRONLY);
    Vq32x2 offset = {};
    EXPECT_EQ(1, FwFileSeek(err, file, &offset, FW_SEEK_SET));
    offset.low = 10;
    EXPECT_EQ(1, FwFileSeek(err, file, &offset, FW_SEEK_SET));
    EXPECT_EQ(1, FwFileClose(err, file));
  });
  EXPECT_EQ(std::string("content\0\0\0", 10), ReadFile(tree / "file"));
  // Kept: it asks for a mode that no link has.
  ExpectDisturbed({"Not a link"}, [&] {
    EXPECT_EQ(1, FwFileCopyTree(err, Txt(tree / "old"), Txt(tree / "copy"), nullptr, 0));
  });
  EXPECT_EQ("clear", Describe(err));
}

TEST(DisturbedAssertions, OfMemory) {
  ExpectDisturbed({"alloc block not aligned"}, [] {
    FwMemPool* pPool = FwMemPoolCreate(0, 0, 0, 8, ALLOC_MUST_SUCCEED | INIT_NONE);
    EXPECT_NE(nullptr, FwMemPoolAlloc(pPool, 8));
    FwMemPoolDestroy(&pPool);
  });
  ExpectDisturbedInChild({"Light struct not 8 byte aligned", "Heavy struct not 8 byte aligned"},
                         [] { FcMemInit(); });
  ExpectDisturbedInChild({"Bad message"}, [] {
    char szFile[] = "file";
    void* pv = pvFcMemAlloc_DBGLEV_1(8, szFile, 1);
    FcMemFree_DBGLEV_1(pv, 9, szFile, 2);
  });
}

TEST(DisturbedAssertions, OfRecords) {
  ExpectDisturbed({"Should be growing!", "Bad resize"}, [] {
    FwStrRecord record;
    FwStrRecordOpenSize(&record, 2);
    EXPECT_EQ(6u, FwStrPutTextString(&record, FWT("abcdef")));
    EXPECT_EQ("abcdef", Taken(&record));
  });
  ExpectDisturbed({"Wasn't expecting terminator", "Put too much in"}, [] {
    FwTextByte buffer[4] = "";
    FwStrRecord record;
    FwStrRecordOpenOn(&record, buffer, sizeof buffer);
    EXPECT_EQ(3u, FwStrNPutTextString(&record, FWT("abcdef"), 6));
    EXPECT_STREQ("abc", FWC(buffer));
  });
  ExpectDisturbed({"Didn't fill up record"}, [] {
    FwTextByte buffer[4] = "";
    FwStrRecord record;
    FwStrRecordOpenOn(&record, buffer, sizeof buffer);
    EXPECT_EQ(3u, FwStrPutRawString(&record, FWT("abcdef")));
    EXPECT_STREQ("abc", FWC(buffer));
  });
  ExpectDisturbed({"src too long"}, [] {
    FwTextByte buffer[4];
    EXPECT_EQ(2, FwStrNCpy(buffer, FWT("ab"), sizeof buffer));
  });
}

TEST(DisturbedAssertions, OfCharactersAndLocales) {
  ExpectDisturbed(
      {"Badly encoded UTF-8 character (malformed header in leading byte [no trailing zero])"}, [] {
        FwTextString ptbz = FWT("\xC3\xA9");
        EXPECT_EQ(0xE9, FwStrGetTextCharacter(&ptbz));
      });
  ExpectDisturbedInChild({"Something screwy - no locale set"}, [] {
    FpStrShutdown();
    FpStrInit();
  });
  ExpectDisturbedInChild(
      {"Invalid multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]",
       "Incomplete multibyte sequence passed to FwStrLocalToUTF8() [iconv failed]",
       "Memory allocation error in FwStrLocalToUTF8() [iconv failed]"},
      [] {
        PlainLocale plain;
        FwTextString ptbz = FwStrLocalToUTF8("caf\xE9");
        EXPECT_STREQ("caf", FWC(ptbz));
        FwMemFree(ptbz);
      });
}

TEST(DisturbedAssertions, OfFormattedOutputAndMatching) {
  ExpectDisturbed({"Bad cbOutput"}, [] { EXPECT_EQ("5 x", Format("%d x", 5)); });
  ExpectDisturbed({"Bad template start"}, [] {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    EXPECT_TRUE(fFcStrNMatchTemplate(FWT("in 5"), 4, FWT("in %d"), FWT("%d"), &record));
    EXPECT_EQ("5", Taken(&record));
  });
  ExpectDisturbed({"No marker"}, [] {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    EXPECT_TRUE(fFcStrNMatchTemplate(FWT("a\x08!"), 3, FWT("%s!"), FWT("%s"), &record));
    EXPECT_EQ("a", Taken(&record));
  });
  ExpectDisturbed({"Binding here should succeed"}, [] {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    EXPECT_TRUE(fFcStrNMatchTemplate(FWT("a!"), 2, FWT("%t!"), FWT("%t"), &record));
    EXPECT_EQ("a", Taken(&record));
  });
}

TEST(DisturbedAssertions, OfStreams) {
  TemporaryTree tree;
  const std::string path = tree.Write("file", "a\rb\n");
  Error err;
  FwObj* pFile = Fw_msg_CreateStreamIOFile(&FwStreamIOFileClass, err, FW_OPEN_RDONLY, Txt(path));
  FwObj* pStream = Fw_msg_CreateStreamBuffered(err, FW_OPEN_RDONLY, 64, pFile);
  ASSERT_NE(nullptr, pStream);
  ExpectDisturbed({"Nowhere to put byte back to", "Stream is in unknown state"}, [&] {
    Record line;
    EXPECT_EQ(2, Fw_msg_ReadLine(pStream, err, line));
    EXPECT_EQ("a\n", line.text());
    EXPECT_EQ(2, Fw_msg_ReadLine(pStream, err, line));
    EXPECT_EQ(0, Fw_msg_ReadLine(pStream, err, line));
  });
  EXPECT_EQ(1, Fw_msg_StreamDestroy(pStream, err, 1));
}

TEST(DisturbedAssertions, OfChanges) {
  FwChangeAdd change = {};
  ExpectDisturbed({"create failed"}, [&] {
    EXPECT_EQ(&change, Fw_msg_CreateWith(&change, &FwChangeAddClass, nullptr));
  });
}
