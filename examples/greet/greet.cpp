// A small application of the framework alone: the page that a guest house hands to its guests, in
// English and in the language of a message file. Later files override earlier ones.
//
//   greet [--memory] [--trace] [--impatient] [FILE]...
//
//   --memory     use debug level 2 of the memory manager, and tell at the end what was not freed
//   --trace      show what the translation layer traces
//   --impatient  ask the framework to give up as soon as it asks whether to go on
//
// Exit status 0, or 1 with the reason on standard error.
#include <unistd.h>

#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fwos.h"
#include "vqassert.h"

namespace {

struct Options {
  bool fMemory = false;
  bool fTrace = false;
  bool fImpatient = false;
};

Options options;

// --- What the framework calls ---

// Without a text it is an interrupt, and this runs in the signal's handler: write and _exit only.
void ExitError(FwTextString ptbzText) {
  if (ptbzText == nullptr) {
    static const char kInterrupted[] = "greet: interrupted\n";
    [[maybe_unused]] ssize_t n = write(STDERR_FILENO, kInterrupted, sizeof kInterrupted - 1);
  } else {
    std::fprintf(stderr, "greet: %s\n", FWC(ptbzText));
  }
  _exit(1);
}

void Log(const char* pszFormat, ...) {
  std::fputs("greet: ", stderr);
  va_list arguments;
  va_start(arguments, pszFormat);
  std::vfprintf(stderr, pszFormat, arguments);
  va_end(arguments);
}

// Called before each piece of reading. Anything but 0 ends the operation with an error.
int32 Tickle(int32, int32) {
  return options.fImpatient ? 1 : 0;
}

// The raw allocator: the C library's, counting what is live.
int blocks = 0;

void* Allocate(std::size_t cb) {
  void* pv = std::malloc(cb);
  if (pv != nullptr) ++blocks;
  return pv;
}

void Free(void* pv) {
  --blocks;
  std::free(pv);
}

void Boot() {
  // The framework takes the encoding of texts from the locale. Numbers are up to the application.
  std::setlocale(LC_NUMERIC, "");
  FwBootContext context;
  context.control.ptbzAppName = FWT("greet");
  context.control.exiterrorf = ExitError;
  context.control.logf = Log;
  context.control.application_tickle = Tickle;
  // argc and argv are left out: the framework would keep the arguments in UTF-8 for as long as the
  // process lives. It takes its own directory from them, which nothing here needs.
  context.memory.alloc = Allocate;
  context.memory.free = Free;
  context.memory.debug_level = options.fMemory ? 2 : 0;
  FwBoot(&context);
}

// --- What greet does ---

// Prints why a file could not be loaded. Errors are messages as well, so this comes out in the
// language of the files before it.
void Complain(FwTextString ptbzFile, FwErrorState* pErrState) {
  FwStrRecord reason, translated;
  FwStrRecordOpen(&reason);
  FwStrRecordOpen(&translated);
  // A file with no header in its first 1024 bytes fails without an error.
  if (FwErrorPrintf(&reason, pErrState) == 0)
    FwStrPutTextString(&reason, FWT("This is no message file"));
  FwTranslMessage(reason.pbz, &translated);
  std::fprintf(stderr, "greet: %s: %s\n", FWC(ptbzFile), FWC(translated.pbz));
  FwStrRecordAbandon(&reason);
  FwStrRecordAbandon(&translated);
}

bool LoadVocabulary(char* pszFile) {
  // Arguments come in the encoding of the locale, the framework's texts are UTF-8.
  FwTextString ptbzFile = FwStrLocalToUTF8(pszFile);
  FwErrorState err;
  const bool fLoaded = FwTranslLoadMessageFile(ptbzFile, nullptr, &err) != 0;
  if (!fLoaded) Complain(ptbzFile, &err);
  FwErrorClear(&err);
  FwMemFree(ptbzFile);
  return fLoaded;
}

// Prints a message in English and, if it has one, its translation below.
void Say(const char* pszFormat, ...) {
  FwStrRecord english, message, translated;
  FwStrRecordOpen(&english);
  FwStrRecordOpen(&message);
  FwStrRecordOpen(&translated);
  va_list arguments;
  va_start(arguments, pszFormat);
  FwStrVPrintf(&english, 0, FWT(pszFormat), arguments);  // to be read
  FwStrVPrintf(&message, 1, FWT(pszFormat), arguments);  // to be translated
  va_end(arguments);
  std::printf("%s\n", FWC(english.pbz));
  if (FwTranslMessage(message.pbz, &translated) == FW_TRANSL_TRANSLATED)
    std::printf("    %s\n", FWC(translated.pbz));
  FwStrRecordAbandon(&english);
  FwStrRecordAbandon(&message);
  FwStrRecordAbandon(&translated);
}

// Prints a heading. The texts of a pair are the layer's own, lent until the release.
void Head(const char* pszHeading) {
  FwTextString ptbzEnglish, ptbzLocal;
  const bool fFound = FwTranslLookupFixedPair(FWT(pszHeading), &ptbzEnglish, &ptbzLocal) != 0;
  std::printf("%s", pszHeading);
  if (fFound) std::printf(" / %s", FWC(ptbzLocal));
  std::printf("\n\n");
  if (fFound) FwTranslReleaseFixedPair(ptbzEnglish);
}

void SayLetters(uint32 cLetters) {
  // Which alternative comes first, the number behind it; the first has no use for the number.
  if (cLetters == 1)
    Say("There %(is a letter%|are %u letters%) for you.", 0u);
  else
    Say("There %(is a letter%|are %u letters%) for you.", 1u, cLetters);
}

void SayFerry(const char* pszTo, uint32 nHour, uint32 nMinute, int32 cMinutesLate) {
  Say("The ferry to %s leaves at %u:%02u%{, %d minutes late%}.", cMinutesLate != 0 ? 1u : 0u, pszTo,
      nHour, nMinute, cMinutesLate);
}

void PrintPage() {
  Head("Lantern House");
  Say("Good morning!");
  Say("Welcome to our %t, %s.", "guest house", "Ines");
  Say("Your key is %c%02X.", 'B', 31);
  SayLetters(1);
  SayLetters(12);
  SayFerry("Grey Isle", 9, 5, 0);
  SayFerry("Saint Orla", 11, 40, 25);
  Say("Today's %t costs %.2f crowns and goes well with %t.", "soup", 4.5, "bread");
  Say("Today's %t costs %.2f crowns and goes well with %t.", "pie", 12.25, "quince jelly");
  Say("Breakfast, which %d%% of our guests take, is from 7 to 10.", 90);
  Say("Breakfast is on the terrace.\nPlease ring the bell.");
  Say("Mind the step between %t and %t.", "hall", "kitchen");
}

bool ReadOptions(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--memory") == 0)
      options.fMemory = true;
    else if (std::strcmp(argv[i], "--trace") == 0)
      options.fTrace = true;
    else if (std::strcmp(argv[i], "--impatient") == 0)
      options.fImpatient = true;
    else if (argv[i][0] == '-')
      return false;
  }
  return true;
}

}  // namespace

// The two hooks through which every floor reports. A broken contract is a fault of this program.
void VqCustomAssert(char* pszFilename, int nLine, char* pszMessage, int) {
  std::fprintf(stderr, "greet: %s, at line %d of %s\n", pszMessage, nLine, pszFilename);
}

void VqCustomTrace(char*, int, char* pszFormat, va_list arguments) {
  std::fputs("greet: ", stderr);
  std::vfprintf(stderr, pszFormat, arguments);
  std::fputs("\n", stderr);
}

int main(int argc, char** argv) {
  if (!ReadOptions(argc, argv)) {
    std::fprintf(stderr, "usage: greet [--memory] [--trace] [--impatient] [FILE]...\n");
    return 1;
  }
  Boot();
  g_fTrace_fwtransl = options.fTrace ? 1 : 0;
  bool fReady = true;
  for (int i = 1; i < argc && fReady; ++i)
    fReady = argv[i][0] == '-' || LoadVocabulary(argv[i]);
  if (fReady) PrintPage();
  FwMemCheckBlocks();  // at debug level 2, whether anything was written outside its block
  FwShutdown();        // unloads what was loaded
  if (options.fMemory) std::fprintf(stderr, "greet: %d blocks were not freed\n", blocks);
  return fReady ? 0 : 1;
}
