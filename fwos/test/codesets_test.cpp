// Systems that don't tell the code set of a locale: a short table of locales tells it then.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <langinfo.h>

#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

#include "files.h"
#include "fpstring.h"
#include "fwunicod.h"
#include "recorder.h"

namespace {

bool told = true;

}  // namespace

extern "C" char* nl_langinfo(nl_item item) noexcept {
  static auto* const kNext = reinterpret_cast<char* (*)(nl_item)>(dlsym(RTLD_NEXT, "nl_langinfo"));
  return item == CODESET && !told ? nullptr : kNext(item);
}

namespace {

// Sets the framework up for a locale without its code set, and for the test program's own again at
// the end.
class UntoldCodeset {
 public:
  UntoldCodeset(const char* locale, const char* language) {
    FpStrShutdown();
    Put("LC_ALL", locale, &locale_);
    Put("LANG", language, &language_);
    // No locale is installed there, so "C" stays what it is.
    Put("LOCPATH", "/nonexistent", &path_);
    told = false;
    FpStrInit();
  }
  ~UntoldCodeset() {
    FpStrShutdown();
    told = true;
    Restore("LC_ALL", locale_);
    Restore("LANG", language_);
    Restore("LOCPATH", path_);
    setlocale(LC_ALL, "C");
    FpStrInit();
  }
  UntoldCodeset(const UntoldCodeset&) = delete;
  UntoldCodeset& operator=(const UntoldCodeset&) = delete;

 private:
  static void Put(const char* name, const char* value, std::optional<std::string>* before) {
    if (const char* old = std::getenv(name)) *before = old;
    setenv(name, value, 1);
  }
  static void Restore(const char* name, const std::optional<std::string>& before) {
    if (before)
      setenv(name, before->c_str(), 1);
    else
      unsetenv(name);
  }

  std::optional<std::string> locale_, language_, path_;
};

TEST(UntoldCodesets, AreFoundByTheNameOfTheLocale) {
  struct Row {
    const char* language;
    const char* name;
  };
  for (const Row& row : {Row{"inv", "inv"}, Row{"", "en_US"}}) {
    SCOPED_TRACE(row.language);
    UntoldCodeset untold("C", row.language);
    EXPECT_STREQ(row.name, FWC(FpLocaleStr));
    EXPECT_EQ(1, fUnicode);
    EXPECT_EQ(0, fFpStrLocalIsUTF8());
    // The converters are crossed: this is ISO-8859-1.
    EXPECT_EQ("caf\xE9", Take(FwStrLocalToUTF8("caf\xC3\xA9")));
    char* local = FwStrUTF8ToLocal(FWT("caf\xE9"));
    EXPECT_EQ("caf\xC3\xA9", Take(FWT(local)));
  }
}

TEST(UntoldCodesets, OfOtherLocalesLeaveTextAsItIs) {
  ExpectAsserts expected(
      {"Locale conversions not set up correctly: non-ascii filenames, etc, will not work"});
  UntoldCodeset untold("C.UTF-8", "");
  EXPECT_STREQ("C.UTF-8", FWC(FpLocaleStr));
  EXPECT_EQ(0, fUnicode);
  EXPECT_EQ("caf\xC3\xA9", Take(FwStrLocalToUTF8("caf\xC3\xA9")));
}

}  // namespace
