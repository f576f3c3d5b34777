// The warehouse floor under failing allocations and failing system calls: its readers, searches and
// tables. A record is whole, or there is none and the state tells why; nothing is left behind.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "caller.h"
#include "environ.h"
#include "environ/table.h"
#include "faults.h"
#include "fwerror.h"
#include "glob.h"
#include "partlist.h"
#include "process.h"
#include "prodinfo.h"
#include "read_support.h"
#include "recipe.h"
#include "recorder.h"
#include "settings.h"
#include "sweep.h"
#include "warehouse.h"

namespace {

// A state that clears itself.
struct Error : FwErrorState {
  ~Error() { FwErrorClear(this); }
  operator FwErrorState*() { return this; }
  std::string text() {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    FwErrorPrintf(&record, this);
    std::string rendered = FWC(record.pbz);
    FwStrRecordAbandon(&record);
    return rendered;
  }
};

class Text {
 public:
  explicit Text(std::string text) : text_(std::move(text)) {}
  operator FwTextString() { return FWT(text_.data()); }

 private:
  std::string text_;
};

std::string Failed(const FwErrorState& err, bool record) {
  if (!err.pError) return "silent";
  return record ? "failed, with a record" : "failed";
}

// ---- Readers

const char* const kProduct =
    "<!DOCTYPE PRODUCT-INFO><PRODUCT-INFO product=\"p\" visible=\"yes\">"
    "<DESCRIPTION lang=\"en\">What it is</DESCRIPTION><VARIETIES>"
    "<VARIETY name=\"v\"><VAR n=\"platform\" v=\"linux-x86\"/><VAR n=\"kind\" v=\"plain\"/>"
    "<SEGMENT host=\"h\" here=\"1\"/></VARIETY><VARIETY/></VARIETIES></PRODUCT-INFO>\n";
const char* const kParts =
    "<PARTLIST><PARTSPEC><PATTERN host=\"h\"><VAR n=\"kind\" v=\"plain\"/></PATTERN><PARTS>"
    "<PRODUCT category=\"c\" name=\"n\" version=\"1\" rev=\"2\"><PATTERN/></PRODUCT>"
    "<FILE name=\"a\"/></PARTS></PARTSPEC></PARTLIST>\n";
const char* const kSettings =
    "<ENV-SETTINGS><ENV-GROUP><PATTERN><MATCH><VAR n=\"a\" v=\"b\"/></MATCH></PATTERN>"
    "<ENV-INSERT sep=\";\"><NAME>N</NAME><VALUE>V &amp; W</VALUE><BEFORE>x</BEFORE>"
    "<AFTER>y</AFTER></ENV-INSERT><ENV-REMOVE><NAME>N</NAME><VALUE>o</VALUE></ENV-REMOVE>"
    "<ENV-DELETE>D</ENV-DELETE></ENV-GROUP></ENV-SETTINGS>\n";
const char* const kRecipe =
    "<RECIPE><STEP><PATTERN/><SETENV op=\"set\" name=\"N\" value=\"V\"/>"
    "<SETENV op=\"append\" name=\"P\" value=\"%(BASE-CNVR)\"/></STEP></RECIPE>\n";

// Reads a file by one of the readers and answers with a dump of all that it holds.
template <class T>
void SweepReader(const char* content, T* (*read)(FwErrorState* err, FwTextString file),
                 void (*release)(T**), Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  TemporaryTree tree;
  const std::string file = tree.Write("f.xml", content);
  FrameworkSweep sweep;
  sweep.may_answer = {"failed"};
  sweep.wanted = 150;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    T* record = read(err, Text(file));
    DisarmFault();
    std::string answer = record ? Dump(record) : "";
    if (!record || err.pError) {
      // What could be read and not closed in order is whole, and told.
      answer = record && answer.empty() ? "cut" : Failed(err, false);
    }
    release(&record);
    return answer;
  };
  EXPECT_GT(sweep.Allocations(), 10);
  for (const int error : {EIO, EACCES, EMFILE, EINTR, ENOSPC, ENOMEM})
    for (const FaultCall call : {kOpen, kRead, kClose})
      EXPECT_EQ(1, sweep.SystemCalls(call, error)) << FaultCallName(call);
  EXPECT_EQ(1, sweep.SystemCalls(kRead, 0));
}

TEST(Faults, ReadingProductInformation) {
  TemporaryTree tree;
  tree.Write("c/n/1/2/product.xml", kProduct);
  FrameworkSweep sweep;
  sweep.may_answer = {"failed"};
  sweep.wanted = 150;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    std::string category = "c";
    WH_PRODUCT_NAME* name = make_prodname(Text(category), FWT("n"), FWT("1"), FWT("2"));
    WH_PRODUCT_INFO* info = read_prodinfo(err, name, Text(tree.path()), 0, WH_XML_PF_NO_CHECKS);
    DisarmFault();
    const std::string answer = info && !err.pError ? Dump(info) : Failed(err, false);
    free_prodinfo(&info);
    free_prodname(&name);
    return answer;
  };
  EXPECT_GT(sweep.Allocations(), 20);
  for (const int error : {EIO, EACCES, EMFILE, EINTR, ENOSPC, ENOMEM})
    for (const FaultCall call : {kOpen, kRead, kClose})
      EXPECT_EQ(1, sweep.SystemCalls(call, error)) << FaultCallName(call);
}

TEST(Faults, ReadingAPartList) {
  SweepReader<WH_PARTLIST>(
      kParts,
      [](FwErrorState* err, FwTextString f) { return read_partlist(err, f, WH_XML_PF_NO_CHECKS); },
      free_partlist);
}

TEST(Faults, ReadingSettings) {
  SweepReader<WH_ENV_SETTINGS>(
      kSettings,
      [](FwErrorState* err, FwTextString f) {
        return read_env_settings(err, f, WH_XML_PF_NO_CHECKS);
      },
      free_env_settings);
}

TEST(Faults, ReadingARecipe) {
  SweepReader<WH_RECIPE>(
      kRecipe,
      [](FwErrorState* err, FwTextString f) { return read_recipe(err, f, WH_XML_PF_NO_CHECKS); },
      free_recipe);
}

// The faults that a file may have take the same ways out.
TEST(Faults, ReadingAFaultyFile) {
  for (const std::string& content :
       {std::string(kSettings).substr(0, 200), std::string("<ENV-SETTINGS><OTHER/></ENV-SETTINGS>"),
        std::string()}) {
    SCOPED_TRACE(content);
    TemporaryTree tree;
    const std::string file = tree.Write("f.xml", content);
    FrameworkSweep sweep;
    sweep.wanted = 60;
    sweep.task = [&] {
      Error err;
      WH_ENV_SETTINGS* settings = read_env_settings(err, Text(file), WH_XML_PF_NO_CHECKS);
      return settings ? std::string("settings") : err.text();
    };
    EXPECT_GT(sweep.Allocations(), 5);
  }
}

// ---- Searches

TEST(Faults, SearchingTheLatest) {
  TemporaryTree tree;
  for (const char* version : {"1.0", "1.10", "1.9", "beta"})
    tree.Directory(std::string("c/n/") + version + "/3");
  FrameworkSweep sweep;
  sweep.may_answer = {"failed"};
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    std::string category = "c";
    WH_PRODUCT_NAME* name = make_prodname(Text(category), FWT("n"), FWT("+"), FWT("+"));
    wh_latest_prodname(err, name, Text(tree.path()));
    DisarmFault();
    const std::string answer = err.pError ? "failed" : Fields(name);
    free_prodname(&name);
    return answer;
  };
  EXPECT_GT(sweep.Allocations(), 10);
  for (const int error : {EIO, EACCES, EMFILE, ENOSPC, ENOMEM})
    for (const FaultCall call : {kOpenDir, kReadDir, kCloseDir})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
  for (const FaultCall call : {kOpenDir, kCloseDir})
    sweep.SystemCalls(call, EINTR);
  sweep.may_answer = {};
  sweep.SystemCallsOnce(kReadDir, EINTR);
}

// A directory that can't be read has no files; products that can't be found are told.
TEST(Faults, SearchingFilesAndProducts) {
  TemporaryTree tree;
  for (const char* file : {"a/b/product.xml", "a/c/product.xml", "a/c/d/x.txt", "e/y.txt"})
    tree.Write(file, "");
  FrameworkSweep sweep;
  sweep.task = [&] {
    Error err;
    FwVector found = {};
    FwVectorOpen(&found, 1);
    wh_find_files(err, FWT("**/*.xml"), Text(tree.path()), &found);
    wh_find_products(err, FWT("a/*"), Text(tree.path()), &found);
    std::string answer;
    for (int i = 0; i < FwVectorLength(&found); ++i)
      answer += Str(static_cast<FwTextString>(FwVectorGetElement(&found, i))) + "\n";
    FwVectorAbandon(&found, 1);
    return err.pError ? std::string("failed") : answer;
  };
  sweep.may_answer = {"failed"};
  EXPECT_GT(sweep.Allocations(), 50);
}

// ---- Tables of variables

class FaultsOfTables : public testing::Test {
 protected:
  void TearDown() override { wh_env_incomplete = 0; }
};

std::string Dump(WH_ENVIRON* env) {
  std::string out;
  wh_enumerate_environ(
      env,
      [](FwHashEntry* entry, void* text, FwErrorState*) {
        *static_cast<std::string*>(text) += Str(static_cast<FwTextString>(entry->key)) + "=" +
                                            Str(static_cast<FwTextString>(entry->value)) + " ";
        return int32{1};
      },
      &out, nullptr);
  return out;
}

// What is lost is not reported, but it is known.
TEST_F(FaultsOfTables, ATableThatIsIncompleteIsKnownToBe) {
  FrameworkSweep sweep;
  sweep.may_answer = {"incomplete"};
  sweep.task = [] {
    WH_ENVIRON* env = make_environ();
    for (int i = 0; i < 70; ++i)
      wh_set_ev(env, Text("N" + std::to_string(i % 68)), Text(std::to_string(i)));
    WH_ENVIRON* copy = dup_environ(env);
    DisarmFault();
    const std::string answer = Dump(env) + Dump(copy);
    free_environ(&env);
    free_environ(&copy);
    return wh_env_incomplete ? "incomplete" : answer;
  };
  EXPECT_GT(sweep.Allocations(), 250);
}

// A table that can't grow takes what fits, and nothing is lost or freed twice.
TEST_F(FaultsOfTables, VariablesThatAreMovedAreOneTablesOrTheOthers) {
  FrameworkSweep sweep;
  sweep.may_answer = {"incomplete"};
  sweep.wanted = 1000;
  sweep.task = [] {
    WH_ENVIRON* env = make_environ();
    WH_ENVIRON* fuller = make_environ();
    for (int i = 0; i < 140; ++i)
      wh_set_ev(env, Text("N" + std::to_string(i)), Text(std::to_string(i)));
    wh_enumerate_environ(
        env,
        [](FwHashEntry* entry, void* to, FwErrorState*) {
          move_ev(static_cast<WH_ENVIRON*>(to), entry);
          return int32{1};
        },
        fuller, nullptr);
    DisarmFault();
    const std::string answer = Dump(env) + "/" + Dump(fuller);
    free_environ(&env);
    free_environ(&fuller);
    return wh_env_incomplete ? "incomplete" : answer;
  };
  EXPECT_GT(sweep.Allocations(), 280);
  EXPECT_EQ(1u, sweep.answers().count("incomplete"));
}

TEST_F(FaultsOfTables, ARefusedVariableIsNotALoss) {
  ExpectTraces traces(
      {"FwHashAddEntry: NULL key", "FwHash_StringAddCopyFunction: Error - NULL value"});
  WH_ENVIRON* env = make_environ();
  wh_set_ev(env, nullptr, FWT("value"));
  wh_set_ev(env, FWT("name"), nullptr);
  EXPECT_EQ(0, wh_env_incomplete);
  EXPECT_EQ("", Dump(env));
  free_environ(&env);
}

}  // namespace
