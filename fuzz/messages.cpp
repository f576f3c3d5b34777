// Message files. An input is a file, a line "####", a second file, such a line again, and texts to
// look up and to translate, a line each.
//
// - A file that is read on demand gives the same as one that is read at once.
// - Unloading the second file brings back what the first one gave.
// - A fixed string that is found is the text that was asked for, and its translation is that local
//   text; while it is locked its file is not unloaded, and afterwards it is.
// - A text that has no translation comes out as it is, but for its markers; newlines around a text
//   stay around it.
// - Loading fails with nothing loaded, and unloading frees all but the tags of the header and the
//   font's name, which are left on purpose.
#include <algorithm>
#include <string>
#include <vector>

#include "fcboot.h"
#include "fctransl.h"
#include "fuzz.h"
#include "fwerror.h"
#include "fwmem.h"
#include "fwtransl.h"
#include "plain_format.h"

namespace {

using Lines = std::vector<std::string>;

struct Answer {
  bool fixed = false;
  std::string local;
  int result = 0;
  std::string text;

  bool operator==(const Answer&) const = default;
};

std::string Trimmed(const std::string& line) {
  const std::size_t first = line.find_first_not_of(" \t");
  return first == std::string::npos ? "" : line.substr(first);
}

// The file with its choice of preloading replaced.
std::string WithPreload(const Lines& lines, const std::string& preload) {
  std::string file;
  bool chosen = false;
  for (const std::string& line : lines) {
    if (line.find("Preload") != std::string::npos) continue;
    file += line + "\n";
    if (!chosen && Trimmed(line).starts_with("[Header]")) {
      file += "Preload=" + preload + "\n";
      chosen = true;
    }
  }
  return file;
}

Lines ReadFile(fuzz::Input& input) {
  Lines lines;
  while (!input.Ended()) {
    lines.push_back(input.Line());
    if (lines.back() != "####") continue;
    lines.pop_back();
    break;
  }
  return lines;
}

bool Load(const std::string& path) {
  fuzz::Text name(path);
  FwErrorState err;
  const FcTranslFile* const newest = FcTranslationDatabase.pMsgFiles;
  const bool loaded = FwTranslLoadMessageFile(name, nullptr, &err) != 0;
  if (loaded && err.pError != nullptr) fuzz::Fail("loaded, with an error");
  if (loaded == (FcTranslationDatabase.pMsgFiles == newest))
    fuzz::Fail("loaded, and not there, or the other way round");
  FwErrorClear(&err);
  return loaded;
}

void Unload(const std::string& path) {
  fuzz::Text name(path);
  // Unloading leaves these two on purpose; here they would add up.
  FwHashTable* tags = FcTranslationDatabase.pMsgFiles->headerTags;
  FwTextString font = FcTranslationDatabase.pMsgFiles->locale.ptbzFontName;
  FwErrorState err;
  if (!FwTranslUnloadMessageFile(name, 0, &err)) fuzz::Fail("a file is in use for no reason");
  FwErrorClear(&err);
  FwHashFreeTable(&tags);
  if (font != nullptr) FwMemFree(font);
}

std::string WithoutMarkers(std::string text) {
  std::erase(text, '\x08');
  return text;
}

void CheckFixed(const std::string& path, const std::string& query, Answer& answer) {
  fuzz::Text text(query), name(path);
  FwTextString english = nullptr, local = nullptr;
  if (!FwTranslLookupFixedPair(text, &english, &local)) return;
  answer.fixed = true;
  answer.local = FWC(local);
  if (WithoutMarkers(query) != FWC(english))
    fuzz::Fail("another fixed string", fuzz::Quoted(query));
  FwErrorState err;
  if (FcTranslationDatabase.pMsgFiles->pNext == nullptr && FwTranslUnloadMessageFile(name, 0, &err))
    fuzz::Fail("a file is unloaded while it is in use", fuzz::Quoted(query));
  FwErrorClear(&err);
  FwTranslReleaseFixedPair(english);
}

Answer Ask(const std::string& path, const std::string& query) {
  Answer answer;
  CheckFixed(path, query, answer);
  fuzz::Text text(query);
  FwStrRecord record = {};
  FwStrRecordOpen(&record);
  answer.result = FwTranslMessage(text, &record);
  answer.text = FWC(record.pbz);
  FwStrRecordAbandon(&record);

  const std::string detail = fuzz::Quoted(query) + " " + fuzz::Quoted(answer.text);
  const std::size_t first = query.find_first_not_of("\r");
  if (first == std::string::npos) {
    if (answer.result != FW_TRANSL_NONE || answer.text != query)
      fuzz::Fail("nothing is translated", detail);
    return answer;
  }
  const std::size_t last = query.find_last_not_of("\r") + 1;
  if (!answer.text.starts_with(query.substr(0, first)) ||
      (answer.result == FW_TRANSL_TRANSLATED && !answer.text.ends_with(query.substr(last))))
    fuzz::Fail("line ends do not stay", detail);
  const std::string stripped = WithoutMarkers(query);
  if (answer.result == FW_TRANSL_NONE && answer.text != query)
    fuzz::Fail("changed without translation", detail);
  if (answer.result == FW_TRANSL_STRIPPED && (answer.text != stripped || stripped == query))
    fuzz::Fail("stripped of something else", detail);
  if (answer.fixed && first == 0 && last == query.size() &&
      (answer.result != FW_TRANSL_TRANSLATED || answer.text != answer.local))
    fuzz::Fail("a fixed string is translated in another way", detail);
  return answer;
}

// A header may stand inside a text, and with it the choice of preloading.
void ForgetPreload(std::string& text) {
  for (std::size_t at = 0; (at = text.find("Preload=not", at)) != std::string::npos;)
    text.replace(at, 11, "Preload=yes");
}

std::vector<Answer> AskAll(const std::string& path, const Lines& queries) {
  std::vector<Answer> answers;
  answers.reserve(queries.size());
  for (const std::string& query : queries) {
    answers.push_back(Ask(path, query));
    ForgetPreload(answers.back().local);
    ForgetPreload(answers.back().text);
  }
  return answers;
}

}  // namespace

void fuzz::Try(Input& input) {
  const Lines first = ReadFile(input);
  const Lines second = ReadFile(input);
  const Lines queries = ReadFile(input);
  std::string all;
  for (const Lines* lines : {&first, &second, &queries})
    for (const std::string& line : *lines)
      all += line + "\n";
  // Matching an unmarked text takes a time that the number of its strings is the exponent of, and
  // long numbers print much.
  if (std::count(all.begin(), all.end(), '%') > 10 || queries.size() > 12) return;
  for (const std::string& query : queries)
    if (query.size() > 28) return;
  if (all.find('%') != std::string::npos && HasLongNumber(all)) return;

  // Emptied chains stay in the tables.
  FcTranslShutdown();
  FcTranslInit();
  std::vector<std::string_view> asserts = Complaints();
  asserts.insert(asserts.end(), {"Bad shorten", "No lead byte found"});
  const Allow allow(asserts);

  const std::string path = WriteFile("a.msg", WithPreload(first, "yes"));
  const long before = Blocks();
  const bool loaded = Load(path);
  if (!loaded && Blocks() != before) Fail("a file that is not loaded leaves blocks");
  std::vector<Answer> preloaded;
  if (loaded) {
    preloaded = AskAll(path, queries);
    Unload(path);
  }
  WriteFile("a.msg", WithPreload(first, "not"));
  if (Load(path) != loaded) Fail("one of the two ways fails");
  if (!loaded) return;
  if (AskAll(path, queries) != preloaded) Fail("read on demand, the answers are others");

  const std::string other = WriteFile("b.msg", WithPreload(second, "not"));
  if (Load(other)) {
    AskAll(other, queries);
    Unload(other);
    if (AskAll(path, queries) != preloaded) Fail("another file leaves its traces");
  }
  Unload(path);
}
