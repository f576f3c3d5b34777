// The locale on demand: nothing of it is there until text outside ASCII or local numerics need it.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

#include "fcboot.h"
#include "fcstrprf.h"
#include "fpstring.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwunicod.h"

namespace {

const char* const kNames[] = {"LC_ALL", "LC_CTYPE", "LANG", "LOCPATH", "GCONV_PATH"};

// Sets the framework up on demand in an environment with no other variables of locales than these,
// and at once for the test program's own again at the end.
class OnDemand {
 public:
  explicit OnDemand(std::initializer_list<std::pair<const char*, const char*>> variables) {
    FpStrShutdown();
    setlocale(LC_ALL, "C");
    for (size_t i = 0; i < std::size(kNames); i++) {
      if (const char* value = std::getenv(kNames[i])) saved_[i] = value;
      unsetenv(kNames[i]);
    }
    for (const auto& [name, value] : variables)
      setenv(name, value, 1);
    fcBootContext.string.fLocaleOnDemand = 1;
    FpStrInit();
  }
  ~OnDemand() {
    FpStrShutdown();
    fcBootContext.string.fLocaleOnDemand = 0;
    for (size_t i = 0; i < std::size(kNames); i++) {
      unsetenv(kNames[i]);
      if (saved_[i]) setenv(kNames[i], saved_[i]->c_str(), 1);
    }
    setlocale(LC_ALL, "C");
    FpStrInit();
  }
  OnDemand(const OnDemand&) = delete;
  OnDemand& operator=(const OnDemand&) = delete;

  static bool Asked() { return FpLocaleStr != nullptr; }

 private:
  std::optional<std::string> saved_[std::size(kNames)];
};

template <class T>
std::string Take(T* psz) {
  std::string text = reinterpret_cast<char*>(psz);
  FwMemFree(psz);
  return text;
}

TEST(LocaleOnDemand, TextOfAsciiDoesNotAsk) {
  OnDemand demand({{"LC_ALL", "C.UTF-8"}});
  EXPECT_EQ("plain\x7F", Take(FwStrLocalToUTF8("plain\x7F")));
  EXPECT_EQ("plain", Take(FwStrUTF8ToLocal(FWT("plain"))));
  EXPECT_EQ(nullptr, FwStrLocalToUTF8(nullptr));
  EXPECT_EQ(nullptr, FwStrUTF8ToLocal(nullptr));
  EXPECT_EQ(1, fFpStrIsLocal(FWT("/usr/bin")));
  EXPECT_FALSE(OnDemand::Asked());
  EXPECT_STREQ("C", setlocale(LC_CTYPE, nullptr));
}

TEST(LocaleOnDemand, TheFirstByteOutsideAsciiAsks) {
  {
    OnDemand demand({{"LC_ALL", "C.UTF-8"}});
    EXPECT_EQ("\xC3\xA9", Take(FwStrLocalToUTF8("\xC3\xA9")));
    ASSERT_TRUE(OnDemand::Asked());
    EXPECT_STREQ("C.UTF-8", FWC(FpLocaleStr));
    EXPECT_STREQ("C.UTF-8", setlocale(LC_CTYPE, nullptr));
    EXPECT_EQ(1, fUnicode);
  }
  {
    OnDemand demand({});
    EXPECT_EQ("caf_", Take(FwStrUTF8ToLocal(FWT("caf\xC3\xA9"))));
    EXPECT_TRUE(OnDemand::Asked());
  }
  {
    OnDemand demand({{"LANG", "POSIX"}});
    EXPECT_EQ(0, fFpStrIsLocal(FWT("caf\xC3\xA9")));
    EXPECT_TRUE(OnDemand::Asked());
    EXPECT_EQ(0, fFpStrIsLocal(FWT("cafe")));
  }
}

TEST(LocaleOnDemand, ItsNameAndItsNumeralsAsk) {
  FwStrRecord record;
  FwStrRecordOpen(&record);
  {
    OnDemand demand({{"LC_CTYPE", "C.UTF-8"}, {"LANG", "C"}});
    FwStrGetLocaleIDString(&record);
    EXPECT_STREQ("C.UTF-8", FWC(record.pbz));
  }
  FwTextString ptbz;
  double value;
  uint32 number;
  const struct {
    const char* what;
    void (*ask)(FwStrRecord*, FwTextString*, double*, uint32*);
  } rows[] = {
      {"local", [](auto*, auto*, auto*, auto*) { fFpStrLocalIsUTF8(); }},
      {"point", [](auto*, auto*, auto*, auto*) { FpStrDecimalPointChar(); }},
      {"separator", [](auto*, auto*, auto*, auto*) { FpStrThousandsSeparatorChar(); }},
      {"scan", [](auto*, auto* p, auto* r, auto*) { FpStrScanLocalReal(p, r); }},
      {"scan whole", [](auto*, auto* p, auto*, auto* n) { FpStrScanLocalUInt(p, n); }},
      {"real",
       [](auto* r, auto*, auto*, auto*) {
         FpStrPrintLocalReal(r, 1, FcNumberFormat{'f', 0, 1, false, false, 0, false});
       }},
      {"int",
       [](auto* r, auto*, auto*, auto*) {
         FpStrPrintLocalInt(r, 1, FcNumberFormat{'d', 0, 1, false, false, 0, false});
       }},
  };
  for (const auto& row : rows) {
    OnDemand demand({});
    ptbz = FWT("1");
    EXPECT_FALSE(OnDemand::Asked()) << row.what;
    row.ask(&record, &ptbz, &value, &number);
    EXPECT_TRUE(OnDemand::Asked()) << row.what;
  }
  FwStrRecordAbandon(&record);
}

TEST(LocaleOnDemand, IsTheOneThatTheEnvironmentChoseAtFirst) {
  OnDemand demand({{"LC_ALL", "C"}, {"LANG", "inv"}});
  setenv("LC_ALL", "C.UTF-8", 1);
  unsetenv("LANG");
  EXPECT_EQ("_", Take(FwStrUTF8ToLocal(FWT("\xC3\xA9"))));
  EXPECT_STREQ("inv", FWC(FpLocaleStr));
}

TEST(LocaleOnDemand, WaitsForNamesOfCAndUtf8Only) {
  for (const char* name :
       {"C", "POSIX", "", "C.UTF-8", "C.utf8", "de_DE.UTF8", "de_DE.Utf-8@euro"}) {
    OnDemand demand({{"LC_CTYPE", name}});
    EXPECT_FALSE(OnDemand::Asked()) << name;
  }
  for (const char* name : {"de_DE", "ja_JP.eucJP", "xx", "inv", "C.UTF-16", "C.UTF-88", "C.UTF",
                           "c", "C.ISO8859-1", "C@UTF-8"}) {
    OnDemand demand({{"LC_CTYPE", name}});
    EXPECT_TRUE(OnDemand::Asked()) << name;
  }
  for (const char* name : {"LOCPATH", "GCONV_PATH"}) {
    OnDemand demand({{name, "/nonexistent"}});
    EXPECT_TRUE(OnDemand::Asked()) << name;
  }
}

TEST(LocaleOnDemand, ShutdownForgetsWhatWasPutOff) {
  OnDemand demand({});
  FpStrShutdown();
  EXPECT_EQ("\xC3\xA9", Take(FwStrUTF8ToLocal(FWT("\xC3\xA9"))));
  EXPECT_FALSE(OnDemand::Asked());
}

}  // namespace
