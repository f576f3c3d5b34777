// Message translation files: reading, looking up, layering, locks.
#include "fwtransl.h"
#include "caller.h"

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
  std::string LoadText(const std::string& name, const std::string& text,
                       Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    std::string path = Write(name, text);
    FwErrorState err;
    EXPECT_TRUE(Load(path, &err)) << name;
    EXPECT_EQ(nullptr, err.pError) << name;
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
    EXPECT_EQ(nullptr, FcTranslationDatabase.pMsgFiles);
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
    EXPECT_EQ(c.nExpected, FcTransl_StringHashFunction(FWT(c.psz), c.cLength, c.fTemplate))
        << c.psz << " " << c.cLength;
  }
}

TEST(FcTranslKeys, KeyHoldsTheFirstSixBytes) {
  FcTranslKeyString abKey;
  CaptureLog log;
  uint32 nHash = FcTranslCalculateMessageKey(FWT("abcdefgh"), abKey, 0);
  EXPECT_STREQ("abcdef", FWC(abKey));
  EXPECT_EQ(nHash, FcTransl_StringHashFunction(FWT("abcdef"), kFcTranslWhole, 0));
  FcTranslCalculateMessageKey(FWT("abc"), 2, abKey, 0);
  EXPECT_STREQ("ab", FWC(abKey));
  // A printed message and its template have one key.
  nHash = FcTranslCalculateMessageKey(FWT("5% of %s"), abKey, 0);
  EXPECT_STREQ("5% of ", FWC(abKey));
  EXPECT_EQ(nHash, FcTranslCalculateMessageKey(FWT("5%% of %s"), abKey, 1));
  EXPECT_STREQ("5% of ", FWC(abKey));
  // A doubled sign takes two of the bytes given, and what stands behind it is still read.
  FcTranslCalculateMessageKey(FWT("%%ab"), 3, abKey, 1);
  EXPECT_STREQ("%a", FWC(abKey));
  FcTranslCalculateMessageKey(FWT("%%ab"), 4, abKey, 1);
  EXPECT_STREQ("%ab", FWC(abKey));
  EXPECT_EQ(Lines{}, log.Take());
}

TEST(FcTranslKeys, LogsAnItemInTheFirstSixCharactersOfATemplate) {
  FcTranslKeyString abKey;
  CaptureLog log;
  FcTranslCalculateMessageKey(FWT("a %s failed"), abKey, 1);
  EXPECT_STREQ("a s fa", FWC(abKey));
  EXPECT_EQ(Lines{"ERROR: % in first 6 characters of template 'a %s failed'\n"}, log.Take());
  FcTranslCalculateMessageKey(FWT("ab%"), abKey, 1);
  EXPECT_STREQ("ab", FWC(abKey));
  EXPECT_EQ(Lines{"ERROR: % in first 6 characters of template 'ab%'\n"}, log.Take());
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
    EXPECT_EQ(c.fExpected,
              FcTranslMessageMatchesTemplate(FWT(c.pszMessage), c.cMessage, FWT(c.pszTemplate),
                                             c.cTemplate, c.fTemplate))
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
    EXPECT_EQ(nullptr, FcTranslNodeEnglish(pEmpty));
  }
  pEmpty->pNext = pNode;
  FwHashEntry entry = {};
  {
    ExpectAsserts expected({"FcTranslHashAddNode: internal error"});
    EXPECT_TRUE(FcTranslHashAddNode(&entry, pNode, pEmpty, 1, nullptr));
  }
  EXPECT_EQ(nullptr, entry.value);
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
  EXPECT_NE(pBlock, vocabulary.file()->pNodeBlock);
  EXPECT_EQ(pBlock, vocabulary.file()->pNodeBlock->pNext);
}

// --- Loading: the header ---

TEST_F(FwTransl, LoadsAFileWithoutStringSections) {
  LoadText("empty", kHeader);
  EXPECT_EQ("(none)", Lookup("file"));
  EXPECT_EQ("0: file", Translate("file"));
  FcTranslFile* pFile = FcTranslationDatabase.pMsgFiles;
  EXPECT_STREQ("de", FWC(pFile->locale.atbzLanguage));
  EXPECT_STREQ("#EN", FWC(pFile->atbzUSText));
  EXPECT_STREQ("#DE", FWC(pFile->atbzLocalText));
  EXPECT_EQ(nullptr, pFile->locale.ptbzFontName);
  EXPECT_EQ(0, pFile->locale.fontSize);
  EXPECT_EQ(50, pFile->nMaxOverrides);
  EXPECT_EQ(0, pFile->nOverrides);
}

TEST_F(FwTransl, RefusesAHeaderBehindTheFirst1024BytesWithoutAWord) {
  CaptureLog log;
  FwErrorState err;
  std::string comment = ";" + std::string(1024 - 10, 'x') + "\n";
  ASSERT_EQ(1016u, comment.size());
  EXPECT_TRUE(Load(Write("within", comment + kHeader), &err));
  EXPECT_FALSE(Load(Write("beyond", "\n" + comment + kHeader), &err));
  EXPECT_FALSE(Load(Write("none", ""), &err));
  EXPECT_EQ(nullptr, err.pError);
  EXPECT_EQ(Lines{}, log.Take());
}

TEST_F(FwTransl, WantsTheHeaderAtTheStartOfALine) {
  EXPECT_EQ(Lines{"ERROR: In file 'F': Unable to find header section\n"}, LogOf("x [Header]\n"));
  EXPECT_EQ(nullptr, FcTranslationDatabase.pMsgFiles);
}

TEST_F(FwTransl, ReadsAHeaderWithBlanksAndComments) {
  LoadText("blanks",
           "noise\n\n \t[Header] rest ignored\n; comment\n  Locale=de  \n\t; comment\n\n"
           "US Text=#EN\nLocal Text=#DE\n\n  end \n" +
               Fixed(Pair("file", "Datei")));
  EXPECT_EQ("Datei", Lookup("file"));
}

TEST_F(FwTransl, ReportsEveryMissingTagAndSetsTheErrorToTheFirst) {
  CaptureLog log;
  std::string path = Write("missing", "[Header]\nLocal Text =#DE\nend\n");
  FwErrorState err;
  EXPECT_FALSE(Load(path, &err));
  EXPECT_EQ(
      (Lines{"ERROR: In file '" + path + "': Required header tag \"Locale\" not found\n",
             "ERROR: In file '" + path + "': Required header tag \"US Text\" not found\n",
             "ERROR: In file '" + path + "': Required header tag \"Local Text\" not found\n"}),
      log.Take());
  EXPECT_EQ(fwErrorNonExistent, err.pError);
  EXPECT_STREQ("Header tag", FWC(err.items[0].type));
  EXPECT_STREQ("Locale", FWC(err.items[0].name));
  FwErrorClear(&err);
}

TEST_F(FwTransl, SkipsHeaderLinesThatAreNoTags) {
  EXPECT_EQ((Lines{"WARNING: In file 'F': Ignoring invalid line in header (not 'tag=value'): "
                   "\"no tag\"\n",
                   "WARNING: In file 'F': Ignoring invalid line in header (not 'tag=value'): "
                   "\"=value\"\n"}),
            LogOf(HeaderWith(" no tag \n=value\n")));
  EXPECT_NE(nullptr, FcTranslationDatabase.pMsgFiles);
}

TEST_F(FwTransl, FailsWithATraceAtTheEndOfAnUnfinishedHeader) {
  Tracing tracing;
  ExpectTraces expected({"FcTranslFileLoadHeader: FcTranslFileGetNextLineText returned NULL"});
  FwErrorState err;
  EXPECT_FALSE(Load(Write("unfinished", "[Header]\nLocale=de\n"), &err));
  EXPECT_EQ(nullptr, err.pError);
  FwErrorClear(&err);
}

TEST_F(FwTransl, KeepsTheValueBehindTheFirstEqualsSign) {
  LoadText("values", HeaderWith("Font Name=a = b=\nFont Size=12\nMaxOverrides=7\nPreload=Yes\n"));
  FcTranslFile* pFile = FcTranslationDatabase.pMsgFiles;
  EXPECT_STREQ("a = b=", FWC(pFile->locale.ptbzFontName));
  EXPECT_EQ(12, pFile->locale.fontSize);
  EXPECT_EQ(7, pFile->nMaxOverrides);
  EXPECT_NE(nullptr, pFile->pFileObj);
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
  EXPECT_EQ(std::string(30, 'l') + "x", std::string(FWC(pFile->locale.atbzLanguage)));
  EXPECT_EQ(std::string(31, '#'), std::string(FWC(pFile->atbzLocalText)));
}

TEST_F(FwTransl, SetsTheErrorOfAFileThatCannotBeOpened) {
  Tracing tracing;
  std::string path = tree_ / "absent";
  ExpectTraces expected({"FwTranslLoadMessageFile: Unable to open file '" + path + "'"});
  FwErrorState err;
  EXPECT_FALSE(Load(path, &err));
  EXPECT_NE(nullptr, err.pError);
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
  EXPECT_EQ(nullptr, FcTranslationDatabase.pMsgFiles->pNext);
}

TEST_F(FwTransl, ReadsThroughTheStreamClassThatIsGiven) {
  std::string path = Write("class", kHeader + Fixed(Pair("file", "Datei")));
  EXPECT_TRUE(FwTranslLoadMessageFile(FWT(path.c_str()), &FwStreamIOFileClass, nullptr));
  EXPECT_EQ("Datei", Lookup("file"));
  EXPECT_TRUE(Unload(path));
}

TEST_F(FwTransl, ReportsExhaustedMemory) {
  std::string path = Write("memory", kHeader);
  const std::string traces[] = {
      "FwTranslLoadMessageFile: Failed to allocate memory for FcTranslFile when loading '" + path +
          "'",
      "FwTranslLoadMessageFile: Failed to duplicate filename when loading '" + path + "'"};
  for (int nSuccesses : {0, 1}) {
    SCOPED_TRACE(nSuccesses);
    Tracing tracing;
    ExpectTraces expected({traces[nSuccesses]});
    FwErrorState err;
    {
      FailAllocationsAfter failing(nSuccesses);
      EXPECT_FALSE(FwTranslLoadMessageFile(FWT(path.c_str()), nullptr, &err));
    }
    EXPECT_EQ(fwErrorNoMemory, FwErrorClear(&err));
    EXPECT_EQ(nullptr, FcTranslationDatabase.pMsgFiles);
  }
}

// --- Loading: pairs ---

TEST_F(FwTransl, JoinsTheLinesOfATextAndDropsNewlinesAtItsEnd) {
  LoadText("lines", kHeader + Fixed("\n \n#EN\n\n\none\n\ntwo\n\n\n#DE\n\neins\n\nzwei\n\n"));
  EXPECT_EQ("\neins\n\nzwei", Lookup("one\n\ntwo"));
}

TEST_F(FwTransl, DropsACommentInsideAText) {
  LoadText("comment", kHeader + Fixed(Pair("one\n; gone\ntwo", "eins\n \t;gone\nzwei")));
  EXPECT_EQ("eins\nzwei", Lookup("one\ntwo"));
}

TEST_F(FwTransl, ReadsCarriageReturnsAsLineEnds) {
  std::string text = kHeader + Fixed(Pair("file", "Datei"));
  std::string crlf;
  for (char ch : text)
    crlf += ch == '\n' ? "\r\n" : std::string(1, ch);
  LoadText("crlf", crlf);
  EXPECT_EQ("Datei", Lookup("file"));
}

TEST_F(FwTransl, FindsSectionsInAnyOrder) {
  LoadText("order",
           Templates(Pair("Error: %s", "Fehler: %s")) + Fixed(Pair("file", "Datei")) + kHeader);
  EXPECT_EQ("Datei", Lookup("file"));
  EXPECT_EQ("1: Fehler: x", Translate("Error: x"));
}

TEST_F(FwTransl, TakesALineForAnIntroducerThatHasAtMostOneByteMore) {
  EXPECT_EQ(Lines{"ERROR: In file 'F': Missing \"end\"\n"},
            LogOf(kHeader + "[Fixed Strings]\n#EN\na\n#DE\n#ENx\nb\n#EN\n#ENxy\n#DE\nc\n#ENx"));
  EXPECT_EQ("#ENx\nb", Lookup("a"));
  EXPECT_EQ("c", Lookup("#ENxy"));
}

TEST_F(FwTransl, EndsASectionAtATextThatBeginsWithEnd) {
  LoadText("end", kHeader + Fixed(Pair("a", "A") + Pair("endless", "endlos") + Pair("b", "B")));
  EXPECT_EQ("A", Lookup("a"));
  EXPECT_EQ("(none)", Lookup("endless"));
  EXPECT_EQ("(none)", Lookup("b"));
  LoadText("inner", kHeader + Fixed(Pair("the\nend", "das\nend")));
  EXPECT_EQ("das\nend", Lookup("the\nend"));
}

TEST_F(FwTransl, EndsAnEmptySectionAtOnce) {
  CaptureLog log;
  LoadText("nothing", kHeader + "[Fixed Strings]\nend\n[Message Templates]\n#EN\nend\n");
  EXPECT_EQ(Lines{}, log.Take());
}

TEST_F(FwTransl, LosesAPairWithoutAClosingIntroducer) {
  EXPECT_EQ(Lines{"ERROR: In file 'F': Unexpected EOF when reading Local text\n"},
            LogOf(kHeader + "[Fixed Strings]\n" + Pair("a", "A") + Pair("b", "B")));
  EXPECT_EQ("A", Lookup("a"));
  EXPECT_EQ("(none)", Lookup("b"));
}

TEST_F(FwTransl, LogsAFileThatEndsInsideAnEnglishText) {
  EXPECT_EQ(Lines{"ERROR: In file 'F': Unexpected EOF when reading English text\n"},
            LogOf(kHeader + "[Fixed Strings]\n#EN\na\n"));
}

TEST_F(FwTransl, LogsASectionWithoutEnd) {
  EXPECT_EQ(Lines{"ERROR: In file 'F': Missing \"end\"\n"},
            LogOf(kHeader + "[Fixed Strings]\n" + Pair("a", "A") + "#EN\n"));
  EXPECT_EQ("A", Lookup("a"));
}

TEST_F(FwTransl, KeepsStrayIntroducersAsText) {
  EXPECT_EQ(
      (Lines{"WARNING: In file 'F': US introducer found while reading US text \"a\n\"\n",
             "WARNING: In file 'F': Local introducer found while reading local text \"A\n\"\n"}),
      LogOf(kHeader + Fixed("#EN\na\n#EN\nb\n#DE\nA\n#DE\nB\n")));
  CaptureLog log;  // reading it again warns again
  EXPECT_EQ("A\n#DE\nB", Lookup("a\n#EN\nb"));
  EXPECT_EQ(2u, log.Take().size());
}

TEST_F(FwTransl, WarnsOfEmptyTexts) {
  EXPECT_EQ((Lines{"WARNING: In file 'F': US English string contains no real text\n",
                   "WARNING: In file 'F': Local string contains no real text\n"}),
            LogOf(kHeader + Fixed("#EN\n#DE\n\n")));
}

TEST_F(FwTransl, WarnsOfADuplicateAndKeepsTheFirst) {
  for (const char* pszPreload : {"", "Preload=yes\n"}) {
    SCOPED_TRACE(pszPreload);
    EXPECT_EQ(
        Lines{"WARNING: In file 'F': Duplicate US text \"a\"\n"},
        LogOf(HeaderWith(pszPreload) + Fixed(Pair("a", "A1") + Pair("a", "A2") + Pair("b", "B"))));
    EXPECT_EQ("A1", Lookup("a"));
    EXPECT_EQ("B", Lookup("b"));
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
    SCOPED_TRACE(pszPreload);
    std::string path = LoadText(
        "collision",
        HeaderWith(pszPreload) + Fixed(Pair("ba", "one") + Pair("aq", "two") + Pair("c", "three")));
    EXPECT_EQ("one", Lookup("ba"));
    EXPECT_EQ("two", Lookup("aq"));
    EXPECT_EQ("three", Lookup("c"));
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
  ASSERT_EQ(10u, pBlock->nNextNodeToUse);
  EXPECT_EQ(nullptr, pBlock->aNodes[7].pbData);
  EXPECT_EQ("7" + filler, Lookup("text 7"));
  EXPECT_NE(nullptr, pBlock->aNodes[7].pbData);
  EXPECT_EQ(nullptr, pBlock->aNodes[3].pbData);
  EXPECT_EQ("3" + filler, Lookup("text 3"));
  EXPECT_EQ("9" + filler, Lookup("text 9"));
}

TEST_F(FwTransl, ReadsOnDemandFromAFileWhoseLastLineHasNoNewline) {
  LoadText("last", kHeader + "[Fixed Strings]\n" + Pair("a", "A") + Pair("b", "B") + "#EN\nend");
  EXPECT_EQ("B", Lookup("b"));
  EXPECT_EQ("A", Lookup("a"));
}

TEST_F(FwTransl, PassesOverAnEntryThatCannotBeReadAnyMore) {
  std::string english(9000, 'a');
  std::string path = LoadText("cut", kHeader + Fixed(Pair(english, "A")));
  std::size_t nLocation = kHeader.size() + std::string("[Fixed Strings]\n#EN\n").size();
  tree_.Write("cut", kHeader);
  Tracing tracing;
  ExpectTraces expected({"FcTranslSetFileOffset: ERROR: Failed to seek to offset " +
                         std::to_string(nLocation) + " in '" + path + "'"});
  EXPECT_EQ("(none)", Lookup(english));
}

TEST_F(FwTransl, ReadsAllTextsAtOnceWithPreload) {
  LoadText("preload", HeaderWith("Preload=yes\n") + Fixed(Pair("file", "Datei")) +
                          Templates(Pair("Error: %s", "Fehler: %s")));
  EXPECT_EQ(nullptr, FcTranslationDatabase.pMsgFiles->pFileObj);
  tree_.Write("preload", "");
  EXPECT_EQ("Datei", Lookup("file"));
  EXPECT_EQ("1: Fehler: x", Translate("Error: x"));
}

// --- Layers ---

TEST_F(FwTransl, LetsALaterFileOverrideAndReturnsToTheOlderAtUnload) {
  LoadText("old", kHeader + Fixed(Pair("a", "old a") + Pair("b", "old b")));
  FcTranslFile* pOld = FcTranslationDatabase.pMsgFiles;
  std::string later = LoadText("new", kHeader + Fixed(Pair("a", "new a") + Pair("c", "new c")));
  EXPECT_EQ(1, pOld->nOverrides);
  EXPECT_EQ("new a", Lookup("a"));
  EXPECT_EQ("old b", Lookup("b"));
  EXPECT_EQ("new c", Lookup("c"));
  EXPECT_TRUE(Unload(later));
  EXPECT_EQ(0, pOld->nOverrides);
  EXPECT_EQ("old a", Lookup("a"));
  EXPECT_EQ("(none)", Lookup("c"));
}

TEST_F(FwTransl, UnloadsAnOverriddenFileFromUnderTheOther) {
  std::string old = LoadText("old", kHeader + Fixed(Pair("a", "old")));
  LoadText("new", kHeader + Fixed(Pair("a", "new")));
  FcTranslFile* pNew = FcTranslationDatabase.pMsgFiles;
  EXPECT_TRUE(Unload(old));
  EXPECT_EQ(0, pNew->nOverrides);
  EXPECT_EQ("new", Lookup("a"));
}

TEST_F(FwTransl, StacksOverridesOfThreeFiles) {
  LoadText("one", kHeader + Fixed(Pair("a", "1")));
  FcTranslFile* pOne = FcTranslationDatabase.pMsgFiles;
  std::string two = LoadText("two", kHeader + Fixed(Pair("a", "2")));
  FcTranslFile* pTwo = FcTranslationDatabase.pMsgFiles;
  std::string three = LoadText("three", kHeader + Fixed(Pair("a", "3")));
  EXPECT_EQ(1, pOne->nOverrides);
  EXPECT_EQ(1, pTwo->nOverrides);
  EXPECT_EQ("3", Lookup("a"));
  // Not first of its text in the chain, so nothing is given back.
  EXPECT_TRUE(Unload(two));
  EXPECT_EQ(1, pOne->nOverrides);
  EXPECT_TRUE(Unload(three));
  EXPECT_EQ(0, pOne->nOverrides);
  EXPECT_EQ("1", Lookup("a"));
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
  EXPECT_EQ(Lines{}, log.Take());
  EXPECT_EQ("old", Lookup("a"));
  EXPECT_EQ(50, pFifty->nOverrides);
  EXPECT_EQ("new", Lookup("text 0"));
  EXPECT_EQ("new", Lookup("text 49"));
  EXPECT_EQ("old", Lookup("text 50"));
}

TEST_F(FwTransl, GivesTheFontOfTheNewestFileThatHasOne) {
  FwTextString ptbzFontName = FWT("x");
  int32 nFontSize = 9;
  FwTranslGetFontInfo(&ptbzFontName, &nFontSize);
  EXPECT_EQ(nullptr, ptbzFontName);
  EXPECT_EQ(0, nFontSize);
  LoadText("named", HeaderWith("Font Name=Courier\nFont Size=x\n"));
  LoadText("plain", kHeader);
  FwTranslGetFontInfo(&ptbzFontName, &nFontSize);
  EXPECT_STREQ("Courier", FWC(ptbzFontName));
  EXPECT_EQ(0, nFontSize);
  LoadText("sized", HeaderWith("Font Size=14\n"));
  FwTranslGetFontInfo(&ptbzFontName, &nFontSize);
  EXPECT_EQ(nullptr, ptbzFontName);
  EXPECT_EQ(14, nFontSize);
  CollectReports reports;  // of the font names that go, at the debugging levels
  for (const char* psz : {"named", "plain", "sized"})
    EXPECT_TRUE(Unload(tree_ / psz)) << psz;
}

TEST_F(FwTransl, GivesUpTheAddressOfAFontNameAtUnload) {
  std::string path = LoadText("font", HeaderWith("Font Name=Courier\n"));
  CollectReports reports;
  EXPECT_TRUE(Unload(path));
  if (fcBootContext.memory.debug_level == 0) {
    EXPECT_EQ(0u, reports.asserts().size());
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
    SCOPED_TRACE(nLevel);
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
  EXPECT_STREQ("file", FWC(ptbzEnglish));
  EXPECT_STREQ("Datei", FWC(ptbzLocal));
  {
    Tracing tracing;
    ExpectTraces expected(
        {"FcTranslCountLockedNodesCallback: 'file' is in use",
         "FwTranslUnloadMessageFile: Unable to unload '" + path + "' because it is in use"});
    EXPECT_FALSE(Unload(path));
  }
  EXPECT_EQ("Datei", Lookup("file"));
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
  EXPECT_EQ("0: \n\r\n", Translate("\n\r\n"));
  EXPECT_EQ("0: ", Translate(""));
}

TEST_F(FwTransl, TranslatesAFixedStringBetweenItsLineEnds) {
  LoadText("fixed", kHeader + Fixed(Pair("Done.", "Fertig.")));
  EXPECT_EQ("1: Fertig.", Translate("Done."));
  EXPECT_EQ("1: Fertig.\r\n", Translate("Done.\r\n"));
  EXPECT_EQ("1: \n\nFertig.\n", Translate("\n\nDone.\n"));
  EXPECT_EQ("0: Done", Translate("Done"));
  // No lock is left.
  EXPECT_TRUE(Unload(tree_ / "fixed"));
}

TEST_F(FwTransl, TranslatesByTemplate) {
  LoadText("templates", kHeader + Fixed(Pair("file", "Datei")) +
                            Templates(Pair("Error: %t %s not found", "Fehler: %[0]t %[1]s fehlt") +
                                      Pair("100%% done in %d s", "100%% fertig in %d s") +
                                      Pair("Error: %d of %d", "Fehler: %[0]d von %[1]d")));
  std::string message = FormatMessage("Error: %t %s not found", "file", "a b.xml");
  EXPECT_EQ("1: Fehler: Datei a b.xml fehlt\n", Translate(message + "\n"));
  EXPECT_EQ("1: Fehler: 1 von 2", Translate("Error: 1 of 2"));
  EXPECT_EQ("1: \r\n100% fertig in 5 s\r\n", Translate("\r\n100% done in 5 s\r\n"));
}

TEST_F(FwTransl, LeavesOtherMessagesAndTakesTheirMarkersOut) {
  LoadText("others", kHeader + Templates(Pair("Error: %s, %s", "Fehler: %s, %s")));
  EXPECT_EQ("0: Error: a\n", Translate("Error: a\n"));
  EXPECT_EQ("2: Alarm: a, b\n", Translate("Alarm: a\x08, b\x08\n"));
  EXPECT_EQ("2: Error: a; b", Translate("Error: a\x08; b\x08"));
  EXPECT_EQ("1: Fehler: a, b", Translate("Error: a\x08, b\x08"));
}

TEST_F(FwTransl, MatchesAShortMessageWithItsLineEnd) {
  LoadText("short", kHeader + Templates(Pair("Hi", "Ho") + Pair("12345%%", "6")));
  EXPECT_EQ("1: Ho\n", Translate("Hi\n"));
  EXPECT_EQ("1: 6\n", Translate("12345%\n"));
}

TEST_F(FwTransl, TriesTheTemplatesOfTheNewestFileFirst) {
  LoadText("old", kHeader + Templates(Pair("Error: %s", "alt: %s")));
  std::string later = LoadText("new", kHeader + Templates(Pair("Error: %s.", "neu: %s")));
  EXPECT_EQ("1: neu: x", Translate("Error: x."));
  EXPECT_EQ("1: alt: x", Translate("Error: x"));
  EXPECT_TRUE(Unload(later));
  EXPECT_EQ("1: alt: x.", Translate("Error: x."));
}

TEST_F(FwTransl, CannotReachATemplateThatBeginsWithAnItem) {
  EXPECT_EQ(Lines{"ERROR: % in first 6 characters of template '%s failed'\n"},
            LogOf(kHeader + Templates(Pair("%s failed", "%s kaputt"))));
  EXPECT_EQ("0: disk failed", Translate("disk failed"));
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
    EXPECT_EQ(0u, reports.asserts().size());
    FwTranslLoadMessageFile(FWT(absent.c_str()), nullptr, nullptr);
    FwTranslUnloadMessageFile(FWT("x"), 0, nullptr);
    FwTranslLookupFixedPair(FWT("x"), &ptbz1, &ptbz2);
    FwTranslLookupFixedPairN(FWT("x"), 1, &ptbz1, &ptbz2);
    FwTranslMessage(FWT("x"), &record);
    EXPECT_EQ((Lines{text, text, text, text, text}), reports.asserts());
    FwTranslReleaseFixedPair(FWT("x"));
    fcBootLevel = nLevel;
    EXPECT_EQ(7u, reports.asserts().size());
  }
  FwStrRecordAbandon(&record);
}

TEST_F(FwTransl, FreesLoadedFilesAtShutdown) {
  LoadText("one", HeaderWith("Font Name=Courier\n") + Fixed(Pair("a", "A")));
  LoadText("two", HeaderWith("Preload=yes\n") + Fixed(Pair("a", "B")));
  EXPECT_EQ("B", Lookup("a"));
  FcTranslShutdown();
  EXPECT_EQ(nullptr, FcTranslationDatabase.pMsgFiles);
  EXPECT_EQ(nullptr, FcTranslationDatabase.fixedStrings);
  FcTranslInit();
  EXPECT_EQ("(none)", Lookup("a"));
}
