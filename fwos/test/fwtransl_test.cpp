// Message translation files: reading, looking up, layering, locks.
#include "fwtransl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "child.h"
#include "failing_allocation.h"
#include "fcboot.h"
#include "fctransl.h"
#include "fwerror.h"
#include "fwmem.h"
#include "fwstream.h"
#include "fwstrprf_format.h"
#include "fwtransl_vocabulary.h"
#include "process.h"
#include "recorder.h"

namespace {

const std::string kHeader = "[Header]\nLocale=de\nUS Text=#EN\nLocal Text=#DE\nend\n";

std::string HeaderWith(const std::string& tags) {
  return "[Header]\nLocale=de\nUS Text=#EN\nLocal Text=#DE\n" + tags + "end\n";
}

std::string Pair(const std::string& english, const std::string& local) {
  return "#EN\n" + english + "\n#DE\n" + local + "\n";
}

std::string Fixed(const std::string& pairs) {
  return "[Fixed Strings]\n" + pairs + "#EN\nend\n";
}

std::string Templates(const std::string& pairs) {
  return "[Message Templates]\n" + pairs + "#EN\nend\n";
}

// Collects what is logged, until the end of the scope.
class CaptureLog {
 public:
  CaptureLog() : outer_(fcBootContext.control.logf) {
    lines_.clear();
    fcBootContext.control.logf = Log;
  }
  ~CaptureLog() { fcBootContext.control.logf = outer_; }
  CaptureLog(const CaptureLog&) = delete;
  CaptureLog& operator=(const CaptureLog&) = delete;
  std::vector<std::string> Take() { return std::exchange(lines_, {}); }

 private:
  static void Log(const char* pszFormat, ...) {
    char szLine[1024];
    va_list VaList;
    va_start(VaList, pszFormat);
    std::vsnprintf(szLine, sizeof szLine, pszFormat, VaList);
    va_end(VaList);
    lines_.push_back(szLine);
  }
  static std::vector<std::string> lines_;
  FwLogfFn* outer_;
};

std::vector<std::string> CaptureLog::lines_;

// Switches the layer's traces on, until the end of the scope.
class Tracing {
 public:
  Tracing() { g_fTrace_fwtransl = 1; }
  ~Tracing() { g_fTrace_fwtransl = 0; }
  Tracing(const Tracing&) = delete;
  Tracing& operator=(const Tracing&) = delete;
};

class FwTransl : public testing::Test {
 protected:
  // Writes a message file and returns its path.
  std::string Write(const std::string& name, const std::string& text) {
    return tree_.Write(name, text);
  }

  int32 Load(const std::string& path, FwErrorState* pErrState = nullptr) {
    paths_.push_back(path);
    return FwTranslLoadMessageFile(FWT(path.c_str()), nullptr, pErrState);
  }

  // Writes and loads a file that has no faults.
  std::string LoadText(const std::string& name, const std::string& text) {
    std::string path = Write(name, text);
    FwErrorState err;
    EXPECT_TRUE(Load(path, &err)) << name;
    EXPECT_EQ(err.pError, nullptr) << name;
    FwErrorClear(&err);
    return path;
  }

  // Unloads a file, and frees what that leaves behind: its header table and its font name.
  int32 Unload(const std::string& path, int32 fForce = 0) {
    FcTranslFile* pFile = FcTranslationDatabase.pMsgFiles;
    while (pFile != nullptr && path != FWC(pFile->ptbzFileName))
      pFile = pFile->pNext;
    FwHashTable* headerTags = pFile == nullptr ? nullptr : pFile->headerTags;
    FwTextString ptbzFontName = pFile == nullptr ? nullptr : pFile->locale.ptbzFontName;
    int32 fUnloaded = FwTranslUnloadMessageFile(FWT(path.c_str()), fForce, nullptr);
    if (fUnloaded) {
      FwHashFreeTable(&headerTags);
      FwMemFreeAndClear(&ptbzFontName);
    }
    return fUnloaded;
  }

  // The translation of a fixed string, or "(none)". No lock stays behind.
  std::string Lookup(const std::string& english) {
    FwTextString ptbzEnglish = nullptr;
    FwTextString ptbzLocal = nullptr;
    if (!FwTranslLookupFixedPair(FWT(english.c_str()), &ptbzEnglish, &ptbzLocal)) return "(none)";
    std::string local = FWC(ptbzLocal);
    FwTranslReleaseFixedPair(ptbzEnglish);
    return local;
  }

  // What FwTranslMessage does and gives, as "1: text".
  std::string Translate(const std::string& message) {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    int32 nDone = FwTranslMessage(FWT(message.c_str()), &record);
    return std::to_string(nDone) + ": " + Taken(&record);
  }

  // Loads a file with one pair section and gives what was logged, paths left out.
  std::vector<std::string> LogOf(const std::string& text) {
    CaptureLog log;
    std::string path = Write("logged", text);
    Load(path);
    std::vector<std::string> lines = log.Take();
    for (std::string& line : lines) {
      std::size_t n = line.find(path);
      if (n != std::string::npos) line.replace(n, path.size(), "F");
    }
    return lines;
  }

  void TearDown() override {
    for (const std::string& path : paths_)
      Unload(path, 1);
    EXPECT_EQ(FcTranslationDatabase.pMsgFiles, nullptr);
  }

  TemporaryTree tree_;

 private:
  std::vector<std::string> paths_;
};

using Lines = std::vector<std::string>;

}  // namespace

// --- Keys and comparison ---

TEST(FcTranslKeys, HashFoldsTheTopFourBits) {
  const struct {
    const char* psz;
    uint32 cLength;
    int32 fTemplate;
    uint32 nExpected;
  } cases[] = {
      {"", kFcTranslWhole, 0, 1},
      {"a", kFcTranslWhole, 0, 97},
      {"ab", kFcTranslWhole, 0, 97 * 16 + 98},
      {"abc", 2, 0, 97 * 16 + 98},
      {"abcdefgh", kFcTranslWhole, 0, 0x89abaa8},
      {"a\x08"
       "b",
       kFcTranslWhole, 0, 97 * 16 + 98},
      {"a\x08"
       "b",
       2, 0, 97},
      {"a\x08"
       "b",
       3, 0, 97 * 16 + 98},
      {"\x08", kFcTranslWhole, 0, 1},
      {"%%", kFcTranslWhole, 1, 37},
      {"%%", kFcTranslWhole, 0, 37 * 16 + 37},
      {"%a", kFcTranslWhole, 1, 37 * 16 + 97},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FcTransl_StringHashFunction(FWT(c.psz), c.cLength, c.fTemplate), c.nExpected)
        << c.psz << " " << c.cLength;
  }
}

TEST(FcTranslKeys, KeyHoldsTheFirstSixBytes) {
  FcTranslKeyString abKey;
  CaptureLog log;
  uint32 nHash = FcTranslCalculateMessageKey(FWT("abcdefgh"), abKey, 0);
  EXPECT_STREQ(FWC(abKey), "abcdef");
  EXPECT_EQ(nHash, FcTransl_StringHashFunction(FWT("abcdef"), kFcTranslWhole, 0));
  FcTranslCalculateMessageKey(FWT("abc"), 2, abKey, 0);
  EXPECT_STREQ(FWC(abKey), "ab");
  // A printed message and its template have one key.
  nHash = FcTranslCalculateMessageKey(FWT("5% of %s"), abKey, 0);
  EXPECT_STREQ(FWC(abKey), "5% of ");
  EXPECT_EQ(FcTranslCalculateMessageKey(FWT("5%% of %s"), abKey, 1), nHash);
  EXPECT_STREQ(FWC(abKey), "5% of ");
  EXPECT_EQ(log.Take(), Lines{});
}

TEST(FcTranslKeys, LogsAnItemInTheFirstSixCharactersOfATemplate) {
  FcTranslKeyString abKey;
  CaptureLog log;
  FcTranslCalculateMessageKey(FWT("a %s failed"), abKey, 1);
  EXPECT_STREQ(FWC(abKey), "a s fa");
  EXPECT_EQ(log.Take(), Lines{"ERROR: % in first 6 characters of template 'a %s failed'\n"});
  FcTranslCalculateMessageKey(FWT("ab%"), abKey, 1);
  EXPECT_STREQ(FWC(abKey), "ab");
  EXPECT_EQ(log.Take(), Lines{"ERROR: % in first 6 characters of template 'ab%'\n"});
}

TEST(FcTranslKeys, ComparisonSkipsMarkersAndJoinsDoubledPercents) {
  // NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order of the call
  const struct {
    const char* pszMessage;
    uint32 cMessage;
    const char* pszTemplate;
    uint32 cTemplate;
    int32 fTemplate;
    int32 fExpected;
  } cases[] = {
      {"abc", kFcTranslWhole, "abc", kFcTranslWhole, 0, 1},
      {"abc", kFcTranslWhole, "abcd", kFcTranslWhole, 0, 0},
      {"abcd", kFcTranslWhole, "abc", kFcTranslWhole, 0, 0},
      {"abc", kFcTranslWhole, "abd", kFcTranslWhole, 0, 0},
      {"abcx", 3, "abc", kFcTranslWhole, 0, 1},
      {"abcx", 3, "abcy", 3, 0, 1},
      {"abc", 3, "abc", 2, 0, 0},
      {"a\x08"
       "bc\x08",
       kFcTranslWhole, "abc", kFcTranslWhole, 0, 1},
      {"a\x08"
       "bc",
       3, "abc", 3, 0, 1},
      {"5%x", kFcTranslWhole, "5%%x", kFcTranslWhole, 1, 1},
      {"5%x", kFcTranslWhole, "5%%x", kFcTranslWhole, 0, 0},
      {"5%x", 3, "5%%x", 3, 1, 1},
      {"", kFcTranslWhole, "", kFcTranslWhole, 0, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FcTranslMessageMatchesTemplate(FWT(c.pszMessage), c.cMessage, FWT(c.pszTemplate),
                                             c.cTemplate, c.fTemplate),
              c.fExpected)
        << c.pszMessage << " " << c.pszTemplate;
  }
}

// --- Nodes ---

TEST(FcTranslNodes, AssertMisuse) {
  Vocabulary vocabulary("misuse");
  FcTranslNode* pNode = vocabulary.AddFixed("one", "eins");
  {
    ExpectAsserts expected({"FcTranslNodeInitData: Node data already loaded"});
    EXPECT_FALSE(FcTranslNodeInitData(pNode));
  }
  FcTranslNode* pEmpty = FcTranslGetNextNode(vocabulary.file());
  {
    ExpectAsserts expected({"Node data not loaded!"});
    EXPECT_EQ(FcTranslNodeEnglish(pEmpty), nullptr);
  }
  pEmpty->pNext = pNode;
  FwHashEntry entry = {};
  {
    ExpectAsserts expected({"FcTranslHashAddNode: internal error"});
    EXPECT_TRUE(FcTranslHashAddNode(&entry, pNode, pEmpty, 1, nullptr));
  }
  EXPECT_EQ(entry.value, nullptr);
  pEmpty->pNext = nullptr;
}

TEST(FcTranslNodes, ComeInBlocksOf100) {
  Vocabulary vocabulary("blocks");
  FcTranslNode* pFirst = FcTranslGetNextNode(vocabulary.file());
  FcTranslNodeBlock* pBlock = vocabulary.file()->pNodeBlock;
  for (int i = 1; i < 100; i++)
    FcTranslGetNextNode(vocabulary.file());
  EXPECT_EQ(vocabulary.file()->pNodeBlock, pBlock);
  EXPECT_EQ(&pBlock->aNodes[0], pFirst);
  FcTranslGetNextNode(vocabulary.file());
  EXPECT_NE(vocabulary.file()->pNodeBlock, pBlock);
  EXPECT_EQ(vocabulary.file()->pNodeBlock->pNext, pBlock);
}

// --- Loading: the header ---

TEST_F(FwTransl, LoadsAFileWithoutStringSections) {
  LoadText("empty", kHeader);
  EXPECT_EQ(Lookup("file"), "(none)");
  EXPECT_EQ(Translate("file"), "0: file");
  FcTranslFile* pFile = FcTranslationDatabase.pMsgFiles;
  EXPECT_STREQ(FWC(pFile->locale.atbzLanguage), "de");
  EXPECT_STREQ(FWC(pFile->atbzUSText), "#EN");
  EXPECT_STREQ(FWC(pFile->atbzLocalText), "#DE");
  EXPECT_EQ(pFile->locale.ptbzFontName, nullptr);
  EXPECT_EQ(pFile->locale.fontSize, 0);
  EXPECT_EQ(pFile->nMaxOverrides, 50);
  EXPECT_EQ(pFile->nOverrides, 0);
}

TEST_F(FwTransl, RefusesAHeaderBehindTheFirst1024BytesWithoutAWord) {
  CaptureLog log;
  FwErrorState err;
  std::string comment = ";" + std::string(1024 - 10, 'x') + "\n";
  ASSERT_EQ(comment.size(), 1016u);
  EXPECT_TRUE(Load(Write("within", comment + kHeader), &err));
  EXPECT_FALSE(Load(Write("beyond", "\n" + comment + kHeader), &err));
  EXPECT_FALSE(Load(Write("none", ""), &err));
  EXPECT_EQ(err.pError, nullptr);
  EXPECT_EQ(log.Take(), Lines{});
}

TEST_F(FwTransl, WantsTheHeaderAtTheStartOfALine) {
  EXPECT_EQ(LogOf("x [Header]\n"), Lines{"ERROR: In file 'F': Unable to find header section\n"});
  EXPECT_EQ(FcTranslationDatabase.pMsgFiles, nullptr);
}

TEST_F(FwTransl, ReadsAHeaderWithBlanksAndComments) {
  LoadText("blanks",
           "noise\n\n \t[Header] rest ignored\n; comment\n  Locale=de  \n\t; comment\n\n"
           "US Text=#EN\nLocal Text=#DE\n\n  end \n" +
               Fixed(Pair("file", "Datei")));
  EXPECT_EQ(Lookup("file"), "Datei");
}

TEST_F(FwTransl, ReportsEveryMissingTagAndSetsTheErrorToTheFirst) {
  CaptureLog log;
  std::string path = Write("missing", "[Header]\nLocal Text =#DE\nend\n");
  FwErrorState err;
  EXPECT_FALSE(Load(path, &err));
  EXPECT_EQ(
      log.Take(),
      (Lines{"ERROR: In file '" + path + "': Required header tag \"Locale\" not found\n",
             "ERROR: In file '" + path + "': Required header tag \"US Text\" not found\n",
             "ERROR: In file '" + path + "': Required header tag \"Local Text\" not found\n"}));
  EXPECT_EQ(err.pError, fwErrorNonExistent);
  EXPECT_STREQ(FWC(err.items[0].type), "Header tag");
  EXPECT_STREQ(FWC(err.items[0].name), "Locale");
  FwErrorClear(&err);
}

TEST_F(FwTransl, SkipsHeaderLinesThatAreNoTags) {
  EXPECT_EQ(LogOf(HeaderWith(" no tag \n=value\n")),
            (Lines{"WARNING: In file 'F': Ignoring invalid line in header (not 'tag=value'): "
                   "\"no tag\"\n",
                   "WARNING: In file 'F': Ignoring invalid line in header (not 'tag=value'): "
                   "\"=value\"\n"}));
  EXPECT_NE(FcTranslationDatabase.pMsgFiles, nullptr);
}

TEST_F(FwTransl, FailsWithATraceAtTheEndOfAnUnfinishedHeader) {
  Tracing tracing;
  ExpectTraces expected({"FcTranslFileLoadHeader: FcTranslFileGetNextLineText returned NULL"});
  FwErrorState err;
  EXPECT_FALSE(Load(Write("unfinished", "[Header]\nLocale=de\n"), &err));
  EXPECT_EQ(err.pError, nullptr);
  FwErrorClear(&err);
}

TEST_F(FwTransl, KeepsTheValueBehindTheFirstEqualsSign) {
  LoadText("values", HeaderWith("Font Name=a = b=\nFont Size=12\nMaxOverrides=7\nPreload=Yes\n"));
  FcTranslFile* pFile = FcTranslationDatabase.pMsgFiles;
  EXPECT_STREQ(FWC(pFile->locale.ptbzFontName), "a = b=");
  EXPECT_EQ(pFile->locale.fontSize, 12);
  EXPECT_EQ(pFile->nMaxOverrides, 7);
  EXPECT_NE(pFile->pFileObj, nullptr);
  CollectReports reports;  // of the font name that goes, at the debugging levels
  EXPECT_TRUE(Unload(tree_ / "values"));
}

TEST_F(FwTransl, CutsLongValuesTo31Bytes) {
  std::string language = std::string(30, 'l') +
                         "\xC3\xA9"
                         "x";
  std::string path = Write("long", "[Header]\nLocale=" + language + "\nUS Text=#EN\nLocal Text=" +
                                       std::string(40, '#') + "\nend\n");
  EXPECT_TRUE(Load(path));
  FcTranslFile* pFile = FcTranslationDatabase.pMsgFiles;
  EXPECT_EQ(std::string(FWC(pFile->locale.atbzLanguage)), std::string(30, 'l') + "x");
  EXPECT_EQ(std::string(FWC(pFile->atbzLocalText)), std::string(31, '#'));
}

TEST_F(FwTransl, SetsTheErrorOfAFileThatCannotBeOpened) {
  Tracing tracing;
  std::string path = tree_ / "absent";
  ExpectTraces expected({"FwTranslLoadMessageFile: Unable to open file '" + path + "'"});
  FwErrorState err;
  EXPECT_FALSE(Load(path, &err));
  EXPECT_NE(err.pError, nullptr);
  FwErrorClear(&err);
  // Without a state the failure is the result alone.
  ExpectTraces expectedAgain({"FwTranslLoadMessageFile: Unable to open file '" + path + "'"});
  EXPECT_FALSE(Load(path));
}

TEST_F(FwTransl, LoadsAFileOnce) {
  std::string path = LoadText("once", kHeader);
  Tracing tracing;
  ExpectTraces expected(
      {"FwTranslLoadMessageFile: Message file '" + path + "' already loaded, skipping..."});
  EXPECT_TRUE(Load(path));
  EXPECT_EQ(FcTranslationDatabase.pMsgFiles->pNext, nullptr);
}

TEST_F(FwTransl, ReadsThroughTheStreamClassThatIsGiven) {
  std::string path = Write("class", kHeader + Fixed(Pair("file", "Datei")));
  EXPECT_TRUE(FwTranslLoadMessageFile(FWT(path.c_str()), &FwStreamIOFileClass, nullptr));
  EXPECT_EQ(Lookup("file"), "Datei");
  EXPECT_TRUE(Unload(path));
}

TEST_F(FwTransl, ReportsExhaustedMemory) {
  std::string path = Write("memory", kHeader);
  const std::string traces[] = {
      "FwTranslLoadMessageFile: Failed to allocate memory for FcTranslFile when loading '" + path +
          "'",
      "FwTranslLoadMessageFile: Failed to duplicate filename when loading '" + path + "'"};
  for (int nSuccesses : {0, 1}) {
    Tracing tracing;
    ExpectTraces expected({traces[nSuccesses]});
    FwErrorState err;
    {
      FailAllocationsAfter failing(nSuccesses);
      EXPECT_FALSE(FwTranslLoadMessageFile(FWT(path.c_str()), nullptr, &err));
    }
    EXPECT_EQ(FwErrorClear(&err), fwErrorNoMemory);
    EXPECT_EQ(FcTranslationDatabase.pMsgFiles, nullptr);
  }
}

// --- Loading: pairs ---

TEST_F(FwTransl, JoinsTheLinesOfATextAndDropsNewlinesAtItsEnd) {
  LoadText("lines", kHeader + Fixed("\n \n#EN\n\n\none\n\ntwo\n\n\n#DE\n\neins\n\nzwei\n\n"));
  EXPECT_EQ(Lookup("one\n\ntwo"), "\neins\n\nzwei");
}

TEST_F(FwTransl, DropsACommentInsideAText) {
  LoadText("comment", kHeader + Fixed(Pair("one\n; gone\ntwo", "eins\n \t;gone\nzwei")));
  EXPECT_EQ(Lookup("one\ntwo"), "eins\nzwei");
}

TEST_F(FwTransl, ReadsCarriageReturnsAsLineEnds) {
  std::string text = kHeader + Fixed(Pair("file", "Datei"));
  std::string crlf;
  for (char ch : text)
    crlf += ch == '\n' ? "\r\n" : std::string(1, ch);
  LoadText("crlf", crlf);
  EXPECT_EQ(Lookup("file"), "Datei");
}

TEST_F(FwTransl, FindsSectionsInAnyOrder) {
  LoadText("order",
           Templates(Pair("Error: %s", "Fehler: %s")) + Fixed(Pair("file", "Datei")) + kHeader);
  EXPECT_EQ(Lookup("file"), "Datei");
  EXPECT_EQ(Translate("Error: x"), "1: Fehler: x");
}

TEST_F(FwTransl, TakesALineForAnIntroducerThatHasAtMostOneByteMore) {
  EXPECT_EQ(LogOf(kHeader + "[Fixed Strings]\n#EN\na\n#DE\n#ENx\nb\n#EN\n#ENxy\n#DE\nc\n#ENx"),
            Lines{"ERROR: In file 'F': Missing \"end\"\n"});
  EXPECT_EQ(Lookup("a"), "#ENx\nb");
  EXPECT_EQ(Lookup("#ENxy"), "c");
}

TEST_F(FwTransl, EndsASectionAtATextThatBeginsWithEnd) {
  LoadText("end", kHeader + Fixed(Pair("a", "A") + Pair("endless", "endlos") + Pair("b", "B")));
  EXPECT_EQ(Lookup("a"), "A");
  EXPECT_EQ(Lookup("endless"), "(none)");
  EXPECT_EQ(Lookup("b"), "(none)");
  LoadText("inner", kHeader + Fixed(Pair("the\nend", "das\nend")));
  EXPECT_EQ(Lookup("the\nend"), "das\nend");
}

TEST_F(FwTransl, EndsAnEmptySectionAtOnce) {
  CaptureLog log;
  LoadText("nothing", kHeader + "[Fixed Strings]\nend\n[Message Templates]\n#EN\nend\n");
  EXPECT_EQ(log.Take(), Lines{});
}

TEST_F(FwTransl, LosesAPairWithoutAClosingIntroducer) {
  EXPECT_EQ(LogOf(kHeader + "[Fixed Strings]\n" + Pair("a", "A") + Pair("b", "B")),
            Lines{"ERROR: In file 'F': Unexpected EOF when reading Local text\n"});
  EXPECT_EQ(Lookup("a"), "A");
  EXPECT_EQ(Lookup("b"), "(none)");
}

TEST_F(FwTransl, LogsAFileThatEndsInsideAnEnglishText) {
  EXPECT_EQ(LogOf(kHeader + "[Fixed Strings]\n#EN\na\n"),
            Lines{"ERROR: In file 'F': Unexpected EOF when reading English text\n"});
}

TEST_F(FwTransl, LogsASectionWithoutEnd) {
  EXPECT_EQ(LogOf(kHeader + "[Fixed Strings]\n" + Pair("a", "A") + "#EN\n"),
            Lines{"ERROR: In file 'F': Missing \"end\"\n"});
  EXPECT_EQ(Lookup("a"), "A");
}

TEST_F(FwTransl, KeepsStrayIntroducersAsText) {
  EXPECT_EQ(
      LogOf(kHeader + Fixed("#EN\na\n#EN\nb\n#DE\nA\n#DE\nB\n")),
      (Lines{"WARNING: In file 'F': US introducer found while reading US text \"a\n\"\n",
             "WARNING: In file 'F': Local introducer found while reading local text \"A\n\"\n"}));
  CaptureLog log;  // reading it again warns again
  EXPECT_EQ(Lookup("a\n#EN\nb"), "A\n#DE\nB");
  EXPECT_EQ(log.Take().size(), 2u);
}

TEST_F(FwTransl, WarnsOfEmptyTexts) {
  EXPECT_EQ(LogOf(kHeader + Fixed("#EN\n#DE\n\n")),
            (Lines{"WARNING: In file 'F': US English string contains no real text\n",
                   "WARNING: In file 'F': Local string contains no real text\n"}));
}

TEST_F(FwTransl, WarnsOfADuplicateAndKeepsTheFirst) {
  for (const char* pszPreload : {"", "Preload=yes\n"}) {
    EXPECT_EQ(
        LogOf(HeaderWith(pszPreload) + Fixed(Pair("a", "A1") + Pair("a", "A2") + Pair("b", "B"))),
        Lines{"WARNING: In file 'F': Duplicate US text \"a\"\n"});
    EXPECT_EQ(Lookup("a"), "A1");
    EXPECT_EQ(Lookup("b"), "B");
    EXPECT_TRUE(Unload(tree_ / "logged"));
  }
}

TEST_F(FwTransl, LogsThroughTheDefaultOfTheBootContext) {
  ExpectAsserts expected({"Cannot call FC_LOGF when framework not booted"});
  EXPECT_FALSE(Load(Write("default", "; [Header]\n")));
}

TEST_F(FwTransl, TellsTextsOfOneHashApart) {
  // "ba" and "aq" hash alike: 98 * 16 + 97 = 97 * 16 + 113.
  for (const char* pszPreload : {"", "Preload=yes\n"}) {
    std::string path = LoadText(
        "collision",
        HeaderWith(pszPreload) + Fixed(Pair("ba", "one") + Pair("aq", "two") + Pair("c", "three")));
    EXPECT_EQ(Lookup("ba"), "one");
    EXPECT_EQ(Lookup("aq"), "two");
    EXPECT_EQ(Lookup("c"), "three");
    EXPECT_TRUE(Unload(path));
  }
}

TEST_F(FwTransl, ReadsTextsWhenTheyAreNeeded) {
  std::string filler = std::string(3000, 'x');
  std::string pairs;
  for (int i = 0; i < 10; i++) {
    pairs += Pair("text " + std::to_string(i), std::to_string(i) + filler);
  }
  LoadText("demand", kHeader + Fixed(pairs));
  FcTranslNodeBlock* pBlock = FcTranslationDatabase.pMsgFiles->pNodeBlock;
  ASSERT_EQ(pBlock->nNextNodeToUse, 10u);
  EXPECT_EQ(pBlock->aNodes[7].pbData, nullptr);
  EXPECT_EQ(Lookup("text 7"), "7" + filler);
  EXPECT_NE(pBlock->aNodes[7].pbData, nullptr);
  EXPECT_EQ(pBlock->aNodes[3].pbData, nullptr);
  EXPECT_EQ(Lookup("text 3"), "3" + filler);
  EXPECT_EQ(Lookup("text 9"), "9" + filler);
}

TEST_F(FwTransl, ReadsOnDemandFromAFileWhoseLastLineHasNoNewline) {
  LoadText("last", kHeader + "[Fixed Strings]\n" + Pair("a", "A") + Pair("b", "B") + "#EN\nend");
  EXPECT_EQ(Lookup("b"), "B");
  EXPECT_EQ(Lookup("a"), "A");
}

TEST_F(FwTransl, PassesOverAnEntryThatCannotBeReadAnyMore) {
  std::string english(9000, 'a');
  std::string path = LoadText("cut", kHeader + Fixed(Pair(english, "A")));
  std::size_t nLocation = kHeader.size() + std::string("[Fixed Strings]\n#EN\n").size();
  tree_.Write("cut", kHeader);
  Tracing tracing;
  ExpectTraces expected({"FcTranslSetFileOffset: ERROR: Failed to seek to offset " +
                         std::to_string(nLocation) + " in '" + path + "'"});
  EXPECT_EQ(Lookup(english), "(none)");
}

TEST_F(FwTransl, ReadsAllTextsAtOnceWithPreload) {
  LoadText("preload", HeaderWith("Preload=yes\n") + Fixed(Pair("file", "Datei")) +
                          Templates(Pair("Error: %s", "Fehler: %s")));
  EXPECT_EQ(FcTranslationDatabase.pMsgFiles->pFileObj, nullptr);
  tree_.Write("preload", "");
  EXPECT_EQ(Lookup("file"), "Datei");
  EXPECT_EQ(Translate("Error: x"), "1: Fehler: x");
}

// --- Layers ---

TEST_F(FwTransl, LetsALaterFileOverrideAndReturnsToTheOlderAtUnload) {
  LoadText("old", kHeader + Fixed(Pair("a", "old a") + Pair("b", "old b")));
  FcTranslFile* pOld = FcTranslationDatabase.pMsgFiles;
  std::string later = LoadText("new", kHeader + Fixed(Pair("a", "new a") + Pair("c", "new c")));
  EXPECT_EQ(pOld->nOverrides, 1);
  EXPECT_EQ(Lookup("a"), "new a");
  EXPECT_EQ(Lookup("b"), "old b");
  EXPECT_EQ(Lookup("c"), "new c");
  EXPECT_TRUE(Unload(later));
  EXPECT_EQ(pOld->nOverrides, 0);
  EXPECT_EQ(Lookup("a"), "old a");
  EXPECT_EQ(Lookup("c"), "(none)");
}

TEST_F(FwTransl, UnloadsAnOverriddenFileFromUnderTheOther) {
  std::string old = LoadText("old", kHeader + Fixed(Pair("a", "old")));
  LoadText("new", kHeader + Fixed(Pair("a", "new")));
  FcTranslFile* pNew = FcTranslationDatabase.pMsgFiles;
  EXPECT_TRUE(Unload(old));
  EXPECT_EQ(pNew->nOverrides, 0);
  EXPECT_EQ(Lookup("a"), "new");
}

TEST_F(FwTransl, StacksOverridesOfThreeFiles) {
  LoadText("one", kHeader + Fixed(Pair("a", "1")));
  FcTranslFile* pOne = FcTranslationDatabase.pMsgFiles;
  std::string two = LoadText("two", kHeader + Fixed(Pair("a", "2")));
  FcTranslFile* pTwo = FcTranslationDatabase.pMsgFiles;
  std::string three = LoadText("three", kHeader + Fixed(Pair("a", "3")));
  EXPECT_EQ(pOne->nOverrides, 1);
  EXPECT_EQ(pTwo->nOverrides, 1);
  EXPECT_EQ(Lookup("a"), "3");
  // Not first of its text in the chain, so nothing is given back.
  EXPECT_TRUE(Unload(two));
  EXPECT_EQ(pOne->nOverrides, 1);
  EXPECT_TRUE(Unload(three));
  EXPECT_EQ(pOne->nOverrides, 0);
  EXPECT_EQ(Lookup("a"), "1");
}

TEST_F(FwTransl, LimitsOverridesByTheOlderFile) {
  LoadText("closed", HeaderWith("MaxOverrides=0\n") + Fixed(Pair("a", "old")));
  std::string pairs;
  std::string newPairs;
  for (int i = 0; i < 51; i++) {
    pairs += Pair("text " + std::to_string(i), "old");
    newPairs += Pair("text " + std::to_string(i), "new");
  }
  LoadText("fifty", kHeader + Fixed(pairs));
  FcTranslFile* pFifty = FcTranslationDatabase.pMsgFiles;
  CaptureLog log;
  LoadText("later", kHeader + Fixed(Pair("a", "new") + newPairs));
  EXPECT_EQ(log.Take(), Lines{});
  EXPECT_EQ(Lookup("a"), "old");
  EXPECT_EQ(pFifty->nOverrides, 50);
  EXPECT_EQ(Lookup("text 0"), "new");
  EXPECT_EQ(Lookup("text 49"), "new");
  EXPECT_EQ(Lookup("text 50"), "old");
}

TEST_F(FwTransl, GivesTheFontOfTheNewestFileThatHasOne) {
  FwTextString ptbzFontName = FWT("x");
  int32 nFontSize = 9;
  FwTranslGetFontInfo(&ptbzFontName, &nFontSize);
  EXPECT_EQ(ptbzFontName, nullptr);
  EXPECT_EQ(nFontSize, 0);
  LoadText("named", HeaderWith("Font Name=Courier\nFont Size=x\n"));
  LoadText("plain", kHeader);
  FwTranslGetFontInfo(&ptbzFontName, &nFontSize);
  EXPECT_STREQ(FWC(ptbzFontName), "Courier");
  EXPECT_EQ(nFontSize, 0);
  LoadText("sized", HeaderWith("Font Size=14\n"));
  FwTranslGetFontInfo(&ptbzFontName, &nFontSize);
  EXPECT_EQ(ptbzFontName, nullptr);
  EXPECT_EQ(nFontSize, 14);
  CollectReports reports;  // of the font names that go, at the debugging levels
  for (const char* psz : {"named", "plain", "sized"})
    EXPECT_TRUE(Unload(tree_ / psz));
}

TEST_F(FwTransl, GivesUpTheAddressOfAFontNameAtUnload) {
  std::string path = LoadText("font", HeaderWith("Font Name=Courier\n"));
  CollectReports reports;
  EXPECT_TRUE(Unload(path));
  if (fcBootContext.memory.debug_level == 0) {
    EXPECT_EQ(reports.asserts().size(), 0u);
  } else {
    EXPECT_TRUE(std::any_of(
        reports.asserts().begin(), reports.asserts().end(), [](const std::string& text) {
          return text.ends_with("Block apparently corrupted/not allocated by FrameWork");
        }));
  }
}

// Whatever the allocator: an application's own never sees the address of the field.
TEST_F(FwTransl, AllocatorsAreNotGivenTheAddressOfAFontName) {
  static const void* pvOfField;
  static int nSeen;
  const auto watch = [](void* pv) {
    const auto n = reinterpret_cast<std::uintptr_t>(pv);
    const auto nField = reinterpret_cast<std::uintptr_t>(pvOfField);
    if (n <= nField && n + 64 > nField) {
      ++nSeen;
      return;
    }
    std::free(pv);
  };
  const std::string path = Write("font", HeaderWith("Font Name=Courier\n"));
  for (uint32 nLevel : {0u, 1u, 2u}) {
    ExpectGoodInChild([&] {
      fcBootContext.memory = {std::malloc, watch, nLevel};
      FcMemInit();
      nSeen = 0;
      FwErrorState err;
      ASSERT_TRUE(FwTranslLoadMessageFile(FWT(path.c_str()), nullptr, &err));
      FwTextString* pptbz = &FcTranslationDatabase.pMsgFiles->locale.ptbzFontName;
      // The record of the file itself begins further back.
      pvOfField = pptbz;
      ASSERT_GT(
          reinterpret_cast<char*>(pptbz) - reinterpret_cast<char*>(FcTranslationDatabase.pMsgFiles),
          64);
      CollectReports reports;
      EXPECT_EQ(1, FwTranslUnloadMessageFile(FWT(path.c_str()), 0, nullptr));
      EXPECT_EQ(0, nSeen) << "level " << nLevel;
      const bool fTold = std::any_of(
          reports.asserts().begin(), reports.asserts().end(), [](const std::string& text) {
            return text.ends_with("Block apparently corrupted/not allocated by FrameWork");
          });
      EXPECT_EQ(nLevel > 0, fTold) << "level " << nLevel;
    });
  }
}

TEST_F(FwTransl, NullTextsAssertAndFindNothing) {
  LoadText("words", std::string(kHeader) + Fixed(Pair("a", "A")));
  FwTextString ptbzEnglish = FWT("x");
  FwTextString ptbzLocal = FWT("x");
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    ExpectAsserts expected({"NULL ptbz", "NULL ptbz", "NULL ptbz", "NULL ptbz", "NULL param"});
    EXPECT_EQ(0, FwTranslLookupFixedPair(nullptr, &ptbzEnglish, &ptbzLocal));
    EXPECT_EQ(nullptr, ptbzEnglish);
    EXPECT_EQ(nullptr, ptbzLocal);
    EXPECT_EQ(0, FwTranslLookupFixedPairN(nullptr, 3, &ptbzEnglish, &ptbzLocal));
    FwTranslReleaseFixedPair(nullptr);
    EXPECT_EQ(FW_TRANSL_NONE, FwTranslMessage(nullptr, &record));
    EXPECT_EQ(FW_TRANSL_NONE, FwTranslMessage(FWT("a"), nullptr));
  }
  EXPECT_STREQ("", FWC(record.pbz));
  FwStrRecordAbandon(&record);
}

TEST_F(FwTransl, TracesTheUnloadOfAnUnknownFile) {
  Tracing tracing;
  ExpectTraces expected({"FwTranslUnloadMessageFile: 'unknown' not loaded"});
  EXPECT_TRUE(Unload("unknown"));
}

// --- Locks ---

TEST_F(FwTransl, KeepsALockedFileUnlessForced) {
  std::string path = LoadText("locked", kHeader + Fixed(Pair("file", "Datei")));
  FwTextString ptbzEnglish = nullptr;
  FwTextString ptbzLocal = nullptr;
  ASSERT_TRUE(FwTranslLookupFixedPairN(FWT("files"), 4, &ptbzEnglish, &ptbzLocal));
  EXPECT_STREQ(FWC(ptbzEnglish), "file");
  EXPECT_STREQ(FWC(ptbzLocal), "Datei");
  {
    Tracing tracing;
    ExpectTraces expected(
        {"FcTranslCountLockedNodesCallback: 'file' is in use",
         "FwTranslUnloadMessageFile: Unable to unload '" + path + "' because it is in use"});
    EXPECT_FALSE(Unload(path));
  }
  EXPECT_EQ(Lookup("file"), "Datei");
  FwTranslReleaseFixedPair(ptbzEnglish);
  EXPECT_TRUE(Unload(path));
}

TEST_F(FwTransl, WantsOneReleaseForEachLookup) {
  std::string path = LoadText("counted", kHeader + Fixed(Pair("file", "Datei")));
  FwTextString ptbzEnglish = nullptr;
  FwTextString ptbzLocal = nullptr;
  for (int i = 0; i < 3; i++)
    FwTranslLookupFixedPair(FWT("file"), &ptbzEnglish, &ptbzLocal);
  for (int i = 0; i < 2; i++)
    FwTranslReleaseFixedPair(ptbzEnglish);
  EXPECT_FALSE(Unload(path));
  FwTranslReleaseFixedPair(ptbzEnglish);
  EXPECT_TRUE(Unload(path));
}

TEST_F(FwTransl, LocksForGoodAt255) {
  std::string path = LoadText("limit", kHeader + Fixed(Pair("file", "Datei")));
  FwTextString ptbzEnglish = nullptr;
  FwTextString ptbzLocal = nullptr;
  for (int i = 0; i < 254; i++)
    FwTranslLookupFixedPair(FWT("file"), &ptbzEnglish, &ptbzLocal);
  {
    ExpectAsserts expected({"FcTranslLockNode: lock count has reached 255"});
    EXPECT_TRUE(FwTranslLookupFixedPair(FWT("file"), &ptbzEnglish, &ptbzLocal));
    EXPECT_TRUE(FwTranslLookupFixedPair(FWT("file"), &ptbzEnglish, &ptbzLocal));
  }
  for (int i = 0; i < 256; i++)
    FwTranslReleaseFixedPair(ptbzEnglish);
  EXPECT_FALSE(Unload(path));
  EXPECT_TRUE(Unload(path, 1));
}

TEST_F(FwTransl, AssertsOfWrongReleases) {
  LoadText("wrong", kHeader + Fixed(Pair("file", "Datei")));
  FwTextString ptbzEnglish = nullptr;
  FwTextString ptbzLocal = nullptr;
  ASSERT_TRUE(FwTranslLookupFixedPair(FWT("file"), &ptbzEnglish, &ptbzLocal));
  {
    ExpectAsserts expected({"FwTranslReleaseFixedPair: No matching fixed string"});
    FwTranslReleaseFixedPair(FWT("unknown"));
  }
  {
    ExpectAsserts expected(
        {"FwTranslReleaseFixedPair: Match found, but ptbzFixedEnglish != pointer from node"});
    std::string copy = "file";
    FwTranslReleaseFixedPair(FWT(copy.c_str()));
  }
  FwTranslReleaseFixedPair(ptbzEnglish);
  ExpectAsserts expected({"FcTranslUnlockNode: node is not locked"});
  FwTranslReleaseFixedPair(ptbzEnglish);
}

// --- Messages ---

TEST_F(FwTransl, CopiesATextOfLineEndsOnly) {
  EXPECT_EQ(Translate("\n\r\n"), "0: \n\r\n");
  EXPECT_EQ(Translate(""), "0: ");
}

TEST_F(FwTransl, TranslatesAFixedStringBetweenItsLineEnds) {
  LoadText("fixed", kHeader + Fixed(Pair("Done.", "Fertig.")));
  EXPECT_EQ(Translate("Done."), "1: Fertig.");
  EXPECT_EQ(Translate("Done.\r\n"), "1: Fertig.\r\n");
  EXPECT_EQ(Translate("\n\nDone.\n"), "1: \n\nFertig.\n");
  EXPECT_EQ(Translate("Done"), "0: Done");
  // No lock is left.
  EXPECT_TRUE(Unload(tree_ / "fixed"));
}

TEST_F(FwTransl, TranslatesByTemplate) {
  LoadText("templates", kHeader + Fixed(Pair("file", "Datei")) +
                            Templates(Pair("Error: %t %s not found", "Fehler: %[0]t %[1]s fehlt") +
                                      Pair("100%% done in %d s", "100%% fertig in %d s") +
                                      Pair("Error: %d of %d", "Fehler: %[0]d von %[1]d")));
  std::string message = FormatMessage("Error: %t %s not found", "file", "a b.xml");
  EXPECT_EQ(Translate(message + "\n"), "1: Fehler: Datei a b.xml fehlt\n");
  EXPECT_EQ(Translate("Error: 1 of 2"), "1: Fehler: 1 von 2");
  EXPECT_EQ(Translate("\r\n100% done in 5 s\r\n"), "1: \r\n100% fertig in 5 s\r\n");
}

TEST_F(FwTransl, LeavesOtherMessagesAndTakesTheirMarkersOut) {
  LoadText("others", kHeader + Templates(Pair("Error: %s, %s", "Fehler: %s, %s")));
  EXPECT_EQ(Translate("Error: a\n"), "0: Error: a\n");
  EXPECT_EQ(Translate("Alarm: a\x08, b\x08\n"), "2: Alarm: a, b\n");
  EXPECT_EQ(Translate("Error: a\x08; b\x08"), "2: Error: a; b");
  EXPECT_EQ(Translate("Error: a\x08, b\x08"), "1: Fehler: a, b");
}

TEST_F(FwTransl, MatchesAShortMessageWithItsLineEnd) {
  LoadText("short", kHeader + Templates(Pair("Hi", "Ho") + Pair("12345%%", "6")));
  EXPECT_EQ(Translate("Hi\n"), "1: Ho\n");
  EXPECT_EQ(Translate("12345%\n"), "1: 6\n");
}

TEST_F(FwTransl, TriesTheTemplatesOfTheNewestFileFirst) {
  LoadText("old", kHeader + Templates(Pair("Error: %s", "alt: %s")));
  std::string later = LoadText("new", kHeader + Templates(Pair("Error: %s.", "neu: %s")));
  EXPECT_EQ(Translate("Error: x."), "1: neu: x");
  EXPECT_EQ(Translate("Error: x"), "1: alt: x");
  EXPECT_TRUE(Unload(later));
  EXPECT_EQ(Translate("Error: x."), "1: alt: x.");
}

TEST_F(FwTransl, CannotReachATemplateThatBeginsWithAnItem) {
  EXPECT_EQ(LogOf(kHeader + Templates(Pair("%s failed", "%s kaputt"))),
            Lines{"ERROR: % in first 6 characters of template '%s failed'\n"});
  EXPECT_EQ(Translate("disk failed"), "0: disk failed");
}

// --- Life ---

TEST_F(FwTransl, AssertsTheBootLevel) {
  FwTextString ptbz1 = nullptr;
  FwTextString ptbz2 = nullptr;
  FwStrRecord record;
  FwStrRecordOpen(&record);
  int32 n = 0;
  {
    const std::string text = "FrameWork insufficiently booted";
    std::string absent = tree_ / "absent";
    uint32 nLevel = fcBootLevel;
    CollectReports reports;
    fcBootLevel = 11;
    FwTranslGetFontInfo(&ptbz1, &n);
    EXPECT_EQ(reports.asserts().size(), 0u);
    FwTranslLoadMessageFile(FWT(absent.c_str()), nullptr, nullptr);
    FwTranslUnloadMessageFile(FWT("x"), 0, nullptr);
    FwTranslLookupFixedPair(FWT("x"), &ptbz1, &ptbz2);
    FwTranslLookupFixedPairN(FWT("x"), 1, &ptbz1, &ptbz2);
    FwTranslMessage(FWT("x"), &record);
    EXPECT_EQ(reports.asserts(), (Lines{text, text, text, text, text}));
    FwTranslReleaseFixedPair(FWT("x"));
    fcBootLevel = nLevel;
    EXPECT_EQ(reports.asserts().size(), 7u);
  }
  FwStrRecordAbandon(&record);
}

TEST_F(FwTransl, FreesLoadedFilesAtShutdown) {
  LoadText("one", HeaderWith("Font Name=Courier\n") + Fixed(Pair("a", "A")));
  LoadText("two", HeaderWith("Preload=yes\n") + Fixed(Pair("a", "B")));
  EXPECT_EQ(Lookup("a"), "B");
  FcTranslShutdown();
  EXPECT_EQ(FcTranslationDatabase.pMsgFiles, nullptr);
  EXPECT_EQ(FcTranslationDatabase.fixedStrings, nullptr);
  FcTranslInit();
  EXPECT_EQ(Lookup("a"), "(none)");
}
