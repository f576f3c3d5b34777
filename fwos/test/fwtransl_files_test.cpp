// Message files against a plain model of them: what a file holds, wherever it ends and however its
// lines do; and what a stack of files answers, in whatever order they come and go. Texts that are
// read on demand and texts that are preloaded must read alike.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "caller.h"
#include "fcboot.h"
#include "fcmem.h"
#include "fctransl.h"
#include "files.h"
#include "fwmem.h"
#include "fwmem/level.h"
#include "fwtransl.h"
#include "process.h"
#include "recorder.h"
#include "sweep.h"

namespace {

using Lines = std::vector<std::string>;

Lines logged;

void Log(const char* pszFormat, ...) {
  char szLine[1024];
  va_list VaList;
  va_start(VaList, pszFormat);
  std::vsnprintf(szLine, sizeof szLine, pszFormat, VaList);
  va_end(VaList);
  logged.push_back(szLine);
}

// ---- The model of a file

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n';
}

std::string Trimmed(std::string text) {
  while (!text.empty() && IsSpace(text.back()))
    text.pop_back();
  while (!text.empty() && IsSpace(text.front()))
    text.erase(0, 1);
  return text;
}

std::string WithoutNewlines(std::string text) {
  while (text.ends_with("\n"))
    text.pop_back();
  return text;
}

// Each line with its newline, whatever it was; comments left out.
Lines LinesOf(const std::string& content) {
  Lines lines;
  std::string line;
  const auto end_line = [&] {
    const std::string text = line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
    if (!line.empty() && !text.starts_with(";")) lines.push_back(line);
    line.clear();
  };
  for (size_t i = 0; i < content.size(); ++i) {
    if (content[i] != '\r' && content[i] != '\n') {
      line += content[i];
      continue;
    }
    if (content.compare(i, 2, "\r\n") == 0) ++i;
    line += "\n";
    end_line();
  }
  end_line();
  return lines;
}

struct Model {
  bool loaded = false;
  std::string error = "clear";
  Lines log;
  std::map<std::string, std::string> fixed, templates;

  explicit Model(const std::string& content) : lines_(LinesOf(content)) {
    if (content.substr(0, 1024).find("[Header]") == std::string::npos) return;
    if (!FindSection("Header")) {
      log.push_back("ERROR: In file 'F': Unable to find header section\n");
      return;
    }
    if (!ReadHeader()) return;
    loaded = true;
    if (FindSection("Fixed Strings")) ReadPairs(&fixed);
    if (FindSection("Message Templates")) ReadPairs(&templates);
  }

 private:
  // The next line, with blank ones or without; null at the end.
  const std::string* Next(bool skip_blank) {
    while (at_ < lines_.size()) {
      const std::string& line = lines_[at_++];
      if (!skip_blank || !Trimmed(line).empty()) return &line;
    }
    return nullptr;
  }

  bool FindSection(const std::string& name) {
    at_ = 0;
    while (const std::string* line = Next(true))
      if (Trimmed(*line).starts_with("[" + name + "]")) return true;
    return false;
  }

  bool ReadHeader() {
    std::map<std::string, std::string> tags;
    for (;;) {
      const std::string* line = Next(true);
      if (!line) return false;
      const std::string text = Trimmed(*line);
      if (text == "end") break;
      const size_t equals = text.find('=');
      if (equals == std::string::npos || equals == 0)
        log.push_back(
            "WARNING: In file 'F': Ignoring invalid line in header (not 'tag=value'): \"" + text +
            "\"\n");
      else
        tags[text.substr(0, equals)] = text.substr(equals + 1);
    }
    for (const char* tag : {"Locale", "US Text", "Local Text"}) {
      if (tags.count(tag)) continue;
      log.push_back(std::string("ERROR: In file 'F': Required header tag \"") + tag +
                    "\" not found\n");
      if (error == "clear") error = std::string("NonExistent Header tag ") + tag;
    }
    english_ = tags["US Text"];
    local_ = tags["Local Text"];
    return error == "clear";
  }

  static bool Introduces(const std::string& line, const std::string& introducer) {
    return line.starts_with(introducer) && line.size() < introducer.size() + 2;
  }

  bool ReadPair(std::string* english, std::string* local) {
    const std::string* line = Next(true);
    if (line && Introduces(*line, english_)) line = Next(true);
    if (!line) {
      log.push_back("ERROR: In file 'F': Missing \"end\"\n");
      return false;
    }
    if (line->starts_with("end")) return false;
    for (; !line || !Introduces(*line, local_); line = Next(false)) {
      if (!line) {
        log.push_back("ERROR: In file 'F': Unexpected EOF when reading English text\n");
        return false;
      }
      if (Introduces(*line, english_))
        log.push_back("WARNING: In file 'F': US introducer found while reading US text \"" +
                      *english + "\"\n");
      *english += *line;
    }
    *english = WithoutNewlines(*english);
    if (english->empty())
      log.push_back("WARNING: In file 'F': US English string contains no real text\n");
    while (!(line = Next(false)) || !Introduces(*line, english_)) {
      if (!line) {
        log.push_back("ERROR: In file 'F': Unexpected EOF when reading Local text\n");
        return false;
      }
      if (Introduces(*line, local_))
        log.push_back("WARNING: In file 'F': Local introducer found while reading local text \"" +
                      *local + "\"\n");
      *local += *line;
    }
    *local = WithoutNewlines(*local);
    if (local->empty()) log.push_back("WARNING: In file 'F': Local string contains no real text\n");
    return true;
  }

  void ReadPairs(std::map<std::string, std::string>* pairs) {
    for (;;) {
      std::string english, local;
      if (!ReadPair(&english, &local)) return;
      if (!pairs->emplace(english, local).second)
        log.push_back("WARNING: In file 'F': Duplicate US text \"" + english + "\"\n");
    }
  }

  const Lines lines_;
  size_t at_ = 0;
  std::string english_, local_;
};

// ---- The files

const char* const kTexts[] = {"file", "open file",  "two\nlines", "two\n\nlines",
                              "",     "gap",        "\xC3\xA9",   "end",
                              "#DE",  "first\n#EN", "again",      "with = sign"};

// The answers of what is loaded: for each text what it is translated to.
std::string Lookup(const std::string& english) {
  FwTextString ptbzEnglish = nullptr;
  FwTextString ptbzLocal = nullptr;
  if (!FwTranslLookupFixedPair(FWT(english.c_str()), &ptbzEnglish, &ptbzLocal)) return "(none)";
  std::string local = FWC(ptbzLocal);
  FwTranslReleaseFixedPair(ptbzEnglish);
  return local;
}

std::string Translate(const std::string& message) {
  Record record;
  const int32 nDone = FwTranslMessage(FWT(message.c_str()), record);
  return std::to_string(nDone) + ": " + record.text();
}

std::string Expected(const std::map<std::string, std::string>& pairs, const std::string& english) {
  const auto found = pairs.find(english);
  return found == pairs.end() ? "(none)" : found->second;
}

FcTranslFile* Find(const std::string& path) {
  FcTranslFile* pFile = FcTranslationDatabase.pMsgFiles;
  while (pFile != nullptr && path != FWC(pFile->ptbzFileName))
    pFile = pFile->pNext;
  return pFile;
}

class MessageFiles : public testing::Test {
 protected:
  MessageFiles() : outer_(fcBootContext.control.logf) {
    fcBootContext.control.logf = Log;
    logged.clear();
  }
  ~MessageFiles() override {
    while (FcTranslationDatabase.pMsgFiles != nullptr)
      Unload(FWC(FcTranslationDatabase.pMsgFiles->ptbzFileName), 1);
    fcBootContext.control.logf = outer_;
  }

  // Unloads a file, and frees its table of tags, which stays behind.
  static int32 Unload(const std::string& path, int32 fForce) {
    FcTranslFile* pFile = Find(path);
    FwHashTable* headerTags = pFile == nullptr ? nullptr : pFile->headerTags;
    const int32 fUnloaded = FwTranslUnloadMessageFile(FWT(path.c_str()), fForce, nullptr);
    if (fUnloaded) FwHashFreeTable(&headerTags);
    return fUnloaded;
  }

  // What was logged, the path left out.
  static Lines Logged(const std::string& path) {
    for (std::string& line : logged)
      if (const size_t at = line.find(path); at != std::string::npos)
        line.replace(at, path.size(), "F");
    return std::exchange(logged, {});
  }

  // Loads a file with this content and compares all that it answers with the model.
  void ExpectAsTheModel(const std::string& content, bool preloaded,
                        Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    const Model model(content);
    const std::string path = tree_.Write("file", content);
    Error err;
    logged.clear();
    ASSERT_EQ(model.loaded, FwTranslLoadMessageFile(FWT(path.c_str()), nullptr, err) == 1);
    ASSERT_EQ(model.error, Describe(err));
    ASSERT_EQ(model.log, Logged(path));
    if (!model.loaded) {
      ASSERT_EQ(nullptr, FcTranslationDatabase.pMsgFiles);
      return;
    }
    ASSERT_EQ(preloaded, FcTranslationDatabase.pMsgFiles->pFileObj == nullptr);
    for (const char* english : kTexts)
      ASSERT_EQ(Expected(model.fixed, english), Lookup(english)) << english;
    for (const auto& [english, local] : model.fixed)
      ASSERT_EQ(local, Lookup(english)) << english;
    // Templates without items are their own messages.
    for (const auto& [english, local] : model.templates) {
      if (english.find('%') != std::string::npos || model.fixed.count(english)) continue;
      if (Trimmed(english).empty() || english.starts_with("\n")) continue;
      ASSERT_EQ("1: " + local, Translate(english)) << english;
    }
    const bool known = model.templates.count("Error: %s of %d") != 0;
    ASSERT_EQ(known ? "1: 5: x y" : "0: Error: x y of 5", Translate("Error: x y of 5"));
    ASSERT_EQ(1, Unload(path, 0));
    logged.clear();
  }

  TemporaryTree tree_;

 private:
  FwLogfFn* outer_;
};

// The value of the tag Preload, by which a file is loaded in one way or the other. Both have the
// same length.
const char* const kModes[] = {"not", "yes"};

std::string Header(const std::string& preload) {
  return "; a file\n\n [Header] of it\nLocale=de\nUS Text=#EN\n;Locale=x\nLocal "
         "Text=#DE\nPreload=" +
         preload + "\nno tag\n=none\nFont Size=9\nend\n";
}

const std::string kFixed =
    "[Fixed Strings]\n\n#EN\nfile\n#DE\nDatei\n#EN\n  \ntwo\n;dropped\nlines\n\n#DE\n\nzwei\n"
    " ; dropped\nZeilen\n\n\n#EN\ntwo\n\nlines\n#DE\nx\n#EN\nfirst\n#EN\n#DE\ny\n#DE\nz\n#EN\n"
    "file\n#DE\nagain\n#EN\ngap\n#DE\n\n#EN\n\xC3\xA9\n#DE\n\xC3\xBC\n#EN\nwith = "
    "sign\n#DE\n=\n#EN\n"
    "end of it\n";
const std::string kTemplates =
    "rest\n\t[Message Templates]\n#EN\nError: %s of %d\n#DE\n%[1]d: %[0]s\n#EN\nDone at last\n#DE\n"
    "Endlich\n#EN\nend\n";

std::string Rich(const std::string& preload) {
  return Header(preload) + kFixed + kTemplates;
}

std::string WithLineEnds(std::string text, const std::string& line_end) {
  for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += line_end.size())
    text.replace(at, 1, line_end);
  return text;
}

}  // namespace

TEST_F(MessageFiles, ReadAsTheModelInBothModes) {
  const std::string header = "[Header]\nLocale=de\nUS Text=#EN\nLocal Text=#DE\nPreload=";
  const std::string tail[] = {
      "",
      "\nend",
      "\nend\n",
      "\nend\n" + kFixed,
      "\nend\n" + kTemplates,
      "\nend\n" + kTemplates + kFixed,
      "\nend\n" + kFixed + kFixed + kTemplates + kTemplates,
      "\nEnd\n" + kFixed,
      "\nend \n[Fixed Strings]\nend\n",
      "\nend\n[Fixed Strings]\n#EN\nend\n",
      "\nend\n[Fixed Strings]\nendless\n#DE\nx\n",
      "\nend\n[Fixed Strings]\nfile\n#DE\nDatei\n#EN\nend\n",
      "\nend\n[Fixed Strings]\n#EN\nfile\n#DE\nDatei\n#EN\n",
      "\nend\n[Fixed Strings]\n#EN\nfile\n#DE\nDatei\n#EN",
      "\nend\n[Fixed Strings]\n#EN\nfile\n#DE\nDatei\n",
      "\nend\n[Fixed Strings]\n#EN\nfile\n#DE\n#EN\nend\n",
      "\nend\n[Fixed Strings]\n#EN\n\n\n#DE\nx\n#EN\nend\n",
      "\nend\n[Fixed Strings]\n#EN \nfile\n#DE\nx\n#EN\nend\n",
      "\nend\n[Fixed Strings]\n #EN\nfile\n#DE\nx\n#EN\nend\n",
      "\nend\n[Fixed Strings]\n#ENX\nfile\n#DE\nx\n#EN\nend\n",
      "\nend\n[Fixed Strings]x\n#EN\nfile\n#DE\nx\n#EN\nend\n",
      "\nend\n[fixed strings]\n#EN\nfile\n#DE\nx\n#EN\nend\n",
      "\nend\n[Fixed Strings\n#EN\nfile\n#DE\nx\n#EN\nend\n",
      "\nend\n[Message Templates]\n#EN\nDone at last\n#DE\nFertig\n#EN\nend\n[Fixed Strings]",
      "\nend\n[Fixed Strings]\n#EN\nfile\n#DE\n[Message Templates]\n#EN\ngap\n#DE\ny\n#EN\nend\n",
  };
  for (const std::string& rest : tail)
    for (const char* mode : kModes)
      for (const char* line_end : {"\n", "\r\n", "\r"}) {
        SCOPED_TRACE(mode);
        SCOPED_TRACE(rest);
        ExpectAsTheModel(WithLineEnds(std::string(header).append(mode).append(rest), line_end),
                         std::string(mode) == "yes");
        if (HasFatalFailure()) return;
      }
}

// The end of the file then comes in every state of the reader.
TEST_F(MessageFiles, ReadAsTheModelWhereverTheyEnd) {
  for (const char* line_end : {"\n", "\r\n", "\r"}) {
    const std::string contents[] = {WithLineEnds(Rich(kModes[0]), line_end),
                                    WithLineEnds(Rich(kModes[1]), line_end)};
    for (size_t cb = 0; cb <= contents[0].size(); ++cb)
      for (const int mode : {0, 1}) {
        const std::string content = contents[mode].substr(0, cb);
        // A record can't be cut to a length that splits a character.
        if (content.ends_with("\xC3")) continue;
        // A value that is cut is another value.
        const bool preloaded = mode == 1 && content.find("Preload=yes") != std::string::npos;
        SCOPED_TRACE(content);
        ExpectAsTheModel(content, preloaded);
        if (HasFatalFailure()) return;
      }
  }
}

TEST_F(MessageFiles, HaveTheirHeaderWhollyWithinTheFirst1024Bytes) {
  for (const char* mode : kModes) {
    std::string rest = "[Header]\nLocale=de\nUS Text=#EN\nLocal Text=#DE\nPreload=";
    rest.append(mode).append("\nend\n").append(kFixed).append(kTemplates);
    for (const size_t cb : {1u, 500u, 1008u, 1014u, 1015u, 1016u, 1017u, 1018u, 1023u, 1024u, 1025u,
                            2048u, 8184u, 8192u}) {
      SCOPED_TRACE(cb);
      std::string head = cb == 1 ? "" : ";";
      if (cb > 1) head.append(cb - 2, 'x');
      head += '\n';
      ExpectAsTheModel(head + rest, std::string(mode) == "yes");
      if (HasFatalFailure()) return;
    }
  }
}

// The buffer of the stream holds 8192 bytes: each place in a pair falls on its end.
TEST_F(MessageFiles, ReadAcrossTheEndOfTheBuffer) {
  for (size_t cb = 8192 - kFixed.size(); cb <= 8192; cb += 3)
    for (const char* mode : kModes) {
      SCOPED_TRACE(testing::Message() << cb << ' ' << mode);
      const std::string header = Header(mode);
      const std::string filler = ";" + std::string(cb - header.size() - 2, 'x') + "\n";
      for (const char* line_end : {"\n", "\r\n"}) {
        SCOPED_TRACE(line_end);
        ExpectAsTheModel(header + filler + WithLineEnds(kFixed + kTemplates, line_end),
                         std::string(mode) == "yes");
        if (HasFatalFailure()) return;
      }
    }
}

// ---- Layers

namespace {

struct ModelFile {
  std::string path;
  int nMaxOverrides = 50;
  int nOverrides = 0;
  std::map<std::string, std::string> entries;
};

// In the order of each file.
const Lines kWords = {"a", "b", "c", "an entry", "two\nlines", "%%"};

// What a stack of files answers: for each text the files that hold it, the newest first.
struct ModelStack {
  std::map<std::string, std::vector<ModelFile*>> chains;

  void Load(ModelFile* file) {
    for (const std::string& word : kWords) {
      if (!file->entries.count(word)) continue;
      std::vector<ModelFile*>& chain = chains[word];
      if (!chain.empty() && chain[0]->nOverrides >= chain[0]->nMaxOverrides) continue;
      if (!chain.empty()) chain[0]->nOverrides++;
      chain.insert(chain.begin(), file);
    }
  }

  void Unload(ModelFile* file) {
    for (auto& [english, chain] : chains) {
      const auto found = std::find(chain.begin(), chain.end(), file);
      if (found == chain.end()) continue;
      if (found == chain.begin() && chain.size() > 1) chain[1]->nOverrides--;
      chain.erase(found);
    }
  }

  ModelFile* Top(const std::string& english) {
    const std::vector<ModelFile*>& chain = chains[english];
    return chain.empty() ? nullptr : chain[0];
  }
};

struct ModelLock {
  ModelFile* file;
  std::string word;
  FwTextString ptbzEnglish;
};

// Message files that are loaded, unloaded and locked at random, beside the model. The words are
// fixed strings and templates at once: as messages they are looked for among the fixed strings
// first.
class StackedFiles : public MessageFiles {
 protected:
  size_t Any(size_t n) { return static_cast<size_t>(random_() % n); }

  void Load(const std::string& name) {
    auto file = std::make_unique<ModelFile>();
    file->nMaxOverrides = static_cast<int>(Any(4));
    std::string pairs;
    for (const std::string& word : kWords) {
      if (Any(2) == 0) continue;
      file->entries[word] = name + word;
      pairs.append("#EN\n").append(word).append("\n#DE\n").append(name).append(word) += "\n";
    }
    file->path =
        tree_.Write(name, "[Header]\nLocale=de\nUS Text=#EN\nLocal Text=#DE\nMaxOverrides=" +
                              std::to_string(file->nMaxOverrides) + "\nPreload=" + kModes[Any(2)] +
                              "\nend\n[Fixed Strings]\n" + pairs + "#EN\nend\n");
    ASSERT_EQ(1, FwTranslLoadMessageFile(FWT(file->path.c_str()), nullptr, nullptr));
    stack_.Load(file.get());
    loaded_.push_back(std::move(file));
  }

  void UnloadOne() {
    const size_t n = Any(loaded_.size());
    ModelFile* file = loaded_[n].get();
    const auto in_it = [file](const ModelLock& lock) { return lock.file == file; };
    const bool locked = std::any_of(locks_.begin(), locks_.end(), in_it);
    const int32 fForce = Any(4) == 0;
    const bool goes = fForce || !locked;
    ASSERT_EQ(goes, Unload(file->path, fForce) == 1);
    if (!goes) return;
    stack_.Unload(file);
    // The locks on its entries are gone with it.
    std::erase_if(locks_, in_it);
    loaded_.erase(loaded_.begin() + static_cast<std::ptrdiff_t>(n));
  }

  void LockOne() {
    const std::string& word = kWords[Any(kWords.size())];
    ModelFile* top = stack_.Top(word);
    FwTextString ptbzEnglish = nullptr;
    FwTextString ptbzLocal = nullptr;
    ASSERT_EQ(top != nullptr,
              FwTranslLookupFixedPair(FWT(word.c_str()), &ptbzEnglish, &ptbzLocal) == 1);
    if (top == nullptr) return;
    ASSERT_EQ(top->entries[word], FWC(ptbzLocal));
    locks_.push_back({top, word, ptbzEnglish});
  }

  void ReleaseOne() {
    const size_t n = Any(locks_.size());
    const ModelLock lock = locks_[n];
    // An entry that was overridden meanwhile is not found, and stays locked.
    const bool found = stack_.Top(lock.word) == lock.file;
    ExpectAsserts expected(
        found ? Lines{}
              : Lines{"FwTranslReleaseFixedPair: Match found, but ptbzFixedEnglish != pointer "
                      "from node"});
    FwTranslReleaseFixedPair(lock.ptbzEnglish);
    if (found) locks_.erase(locks_.begin() + static_cast<std::ptrdiff_t>(n));
  }

  void Step(const std::string& name) {
    const size_t what = Any(10);
    if (what < 5)
      Load(name);
    else if (what < 7 && !loaded_.empty())
      UnloadOne();
    else if (what < 9)
      LockOne();
    else if (!locks_.empty())
      ReleaseOne();
  }

  void ExpectAnswersOfTheModel() {
    for (const std::string& word : kWords) {
      SCOPED_TRACE(word);
      ModelFile* top = stack_.Top(word);
      ASSERT_EQ(top == nullptr ? "(none)" : top->entries[word], Lookup(word));
      ASSERT_EQ(top == nullptr ? "0: " + word : "1: " + top->entries[word], Translate(word));
    }
    for (const auto& file : loaded_)
      ASSERT_EQ(file->nOverrides, Find(file->path)->nOverrides) << file->path;
  }

  void UnloadAll() {
    while (FcTranslationDatabase.pMsgFiles != nullptr)
      ASSERT_EQ(1, Unload(FWC(FcTranslationDatabase.pMsgFiles->ptbzFileName), 1));
    stack_ = {};
    loaded_.clear();
    locks_.clear();
  }

 private:
  std::mt19937 random_{20};
  ModelStack stack_;
  std::vector<std::unique_ptr<ModelFile>> loaded_;
  std::vector<ModelLock> locks_;
};

}  // namespace

TEST_F(StackedFiles, TheLatestThatMayOverrideAnEntryGivesIt) {
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    for (int step = 0; step < 25; ++step) {
      SCOPED_TRACE(step);
      Step("f" + std::to_string(round) + "-" + std::to_string(step));
      ExpectAnswersOfTheModel();
      if (HasFatalFailure()) return;
    }
    UnloadAll();
  }
}

// ---- Exhausted memory

namespace {

// A message file whose tags and texts are loaded, with what was traced about it.
std::string LoadTraced(const std::string& path) {
  CollectReports reports;
  g_fTrace_fwtransl = 1;
  Error err;
  const int32 fLoaded = FwTranslLoadMessageFile(FWT(path.c_str()), nullptr, err);
  g_fTrace_fwtransl = 0;
  DisarmFault();
  std::string answer = fLoaded ? "loaded" : Describe(err);
  for (const std::string& text : reports.asserts())
    answer += "; assertion " + text;
  for (std::string text : reports.traces()) {
    if (const size_t at = text.find(path); at != std::string::npos)
      text.replace(at, path.size(), "F");
    answer += "; " + text;
  }
  if (!fLoaded && FcTranslationDatabase.pMsgFiles != nullptr) answer += "; and there is a file";
  return answer;
}

}  // namespace

TEST(Faults, LoadingAMessageFileTellsWhatItHadNoMemoryFor) {
  TemporaryTree tree;
  for (const char* mode : kModes) {
    const std::string path = tree.Write(
        "file", "[Header]\nLocale=de\nUS Text=#EN\nLocal Text=#DE\nPreload=" + std::string(mode) +
                    "\nend\n" + kTemplates);
    FrameworkSweep sweep;
    sweep.wanted = 1000;
    sweep.task = [&path] { return LoadTraced(path); };
    const std::string no_record =
        "NoMemory; FwTranslLoadMessageFile: Failed to allocate memory for FcTranslFile when "
        "loading 'F'";
    sweep.may_answer = {
        no_record,
        "NoMemory; FwTranslLoadMessageFile: Failed to duplicate filename when loading 'F'",
        "NoMemory Stream",
        "NoMemory; FcTranslFileLoadHeader: Unable to create header tag table for 'F'",
        "NoMemory; FcTranslFileLoadHeader: FwHashAddEntry returned NULL",
    };
    sweep.Allocations();
    for (const std::string& answer : sweep.may_answer)
      EXPECT_EQ(1u, sweep.answers().count(answer)) << answer;
  }
}

namespace {

// Lets each allocation fail that has the size of a grown table, until the end of the scope.
class FailGrowth {
 public:
  explicit FailGrowth(const FwHashTable* pTable) : outer_(pfnFcMemAlloc) {
    // With what the debugging levels put in front of a block.
    const size_t headers[] = {0, sizeof(FcMemLightAllocation_t),
                              sizeof(FcMemHeavyAllocation_t) + sizeof(uint32)};
    least =
        2 * pTable->nTableSize * sizeof(FwHashEntry) + headers[fcBootContext.memory.debug_level];
    raw = outer_;
    pfnFcMemAlloc = Allocate;
  }
  ~FailGrowth() { pfnFcMemAlloc = outer_; }
  FailGrowth(const FailGrowth&) = delete;
  FailGrowth& operator=(const FailGrowth&) = delete;

 private:
  static void* Allocate(size_t cb) {
    return cb >= least && cb <= least + sizeof(FwHashEntry) ? nullptr : raw(cb);
  }
  static inline size_t least;
  static inline alloc_fp raw;
  const alloc_fp outer_;
};

}  // namespace

// A table that can't grow takes entries until it is full. What was loaded is undone then.
TEST_F(MessageFiles, FailAtATableThatIsFull) {
  const struct {
    const char* section;
    const char* table;
  } rows[] = {{"Fixed Strings", "fixed string"}, {"Message Templates", "message template"}};
  for (const auto& row : rows)
    for (const char* mode : kModes) {
      SCOPED_TRACE(testing::Message() << row.section << ' ' << mode);
      std::string pairs;
      for (int i = 100; i < 400; ++i)
        pairs += "#EN\n" + std::to_string(i * i) + "\n#DE\nx\n";
      const std::string path =
          tree_.Write("file", Header(mode) + "[" + row.section + "]\n" + pairs + "#EN\nend\n");
      Error err;
      {
        FailGrowth failing(FcTranslationDatabase.fixedStrings);
        g_fTrace_fwtransl = 1;
        ExpectTraces expected({std::string("FcTranslFileScanStrings: Failed to add entry to ") +
                               row.table + " hash table"});
        EXPECT_EQ(0, FwTranslLoadMessageFile(FWT(path.c_str()), nullptr, err));
        g_fTrace_fwtransl = 0;
      }
      EXPECT_EQ("NoMemory", Describe(err));
      EXPECT_EQ(nullptr, FcTranslationDatabase.pMsgFiles);
      EXPECT_EQ("(none)", Lookup("10000"));
      EXPECT_EQ("0: 10000", Translate("10000"));
      FcTranslShutdown();
      FcTranslInit();
    }
}
