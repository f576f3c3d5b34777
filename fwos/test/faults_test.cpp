// The framework under failing allocations and failing system calls.
//
// What asks for memory that must be had ends the program; the rest tells, or does with less. An
// answer is whole, or it is the report of a failure, and neither leaves memory behind.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>

#include "child.h"
#include "faults_answers.h"
#include "fcstrmat.h"
#include "files.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwhash.h"
#include "fwmem.h"
#include "fwobserv.h"
#include "fwprog.h"
#include "fwstream.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "fwtransl.h"
#include "fwtree.h"
#include "fwunicod.h"
#include "fwvector.h"
#include "process.h"
#include "recorder.h"
#include "sweep.h"

namespace {

std::string ContentOf(const std::string& path) {
  return Exists(path) ? ReadFile(path) : "(none)";
}

// A tree that is laid out anew for each run.
struct Tree {
  TemporaryTree tree;
  std::string root = tree / "t";

  void LayOut(const std::vector<std::pair<std::string, std::string>>& files) const {
    std::filesystem::remove_all(root);
    std::filesystem::create_directories(root);
    for (const auto& [name, content] : files)
      tree.Write("t/" + name, content);
  }
};

// ---- Boot and containers

TEST(Faults, BootingAndShuttingDown) {
  FrameworkSweep sweep;
  sweep.task = [] { return std::string(FwBootDone() ? "booted" : "not booted"); };
  EXPECT_GT(sweep.Allocations(), 5);
  for (const int error : {ENOENT, EACCES, ENOMEM, EIO, EINTR}) {
    sweep.SystemCalls(kGetCwd, error);
    sweep.SystemCalls(kRealPath, error);
    sweep.SystemCalls(kSetLocale, error);
  }
}

TEST(Faults, TextStringsAndRecords) {
  FrameworkSweep sweep;
  sweep.may_answer = {"no copy"};
  sweep.task = [] {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    for (int i = 0; i < 200; ++i)
      FwStrPrintf(&record, 0, FWT("%d:"), i);
    FwStrRecordShorten(&record, 600);
    FwStrPutReal(&record, 1.25, 3);
    FwTextString closed = FwStrRecordClose(&record);
    FwVector parts = {};
    FwVectorOpen(&parts, 1);
    FwStrTextSplitByChar(closed, ':', &parts);
    FwStrRecordOpenSize(&record, 1);
    FwStrTextJoin(&parts, FwVectorLength(&parts), FWT("--"), &record);
    FwVectorAbandon(&parts, 1);
    FwMemFree(closed);
    FwUTF16String wide = FwStrToUTF16(record.pbz);
    FwTextString narrow = FwUTF16ToStr(wide, nullptr);
    FwMemFree(wide);
    FwTextString copy = FwStrDuplicateFailNull(narrow);
    std::string answer = copy ? Text(copy) : "no copy";
    FwMemFreeAndClear(&copy);
    FwMemFree(narrow);
    FwStrRecordAbandon(&record);
    return answer;
  };
  EXPECT_GT(sweep.Allocations(), 200);
}

TEST(Faults, ConversionToAnotherLocale) {
  FrameworkSweep sweep;
  sweep.task = [] {
    PlainLocale plain;
    char* local = FwStrUTF8ToLocal(FWT("Umlaut \xC3\xA4"));
    FwTextString back = FwStrLocalToUTF8("plain");
    std::string answer = std::string(local) + Text(back);
    FwMemFree(local);
    FwMemFree(back);
    return answer;
  };
  EXPECT_GT(sweep.Allocations(), 5);
  // The conversion is then left out.
  sweep.may_answer = {"Umlaut \xC3\xA4plain"};
  const auto converted = sweep.task;
  sweep.task = [&converted] {
    CollectReports reports;
    return converted();
  };
  for (const int error : {EINVAL, ENOMEM, EMFILE})
    EXPECT_EQ(2, sweep.SystemCalls(kIconvOpen, error)) << error;
}

TEST(Faults, Vectors) {
  FrameworkSweep sweep;
  sweep.task = [] {
    FwVector vector = {};
    FwVectorOpen(&vector, 1);
    for (int i = 0; i < 50; ++i)
      FwVectorInsertElement(&vector, FwStrDuplicate(FWT(std::to_string(i * 37 % 50).c_str())), 0);
    FwVectorQSort(&vector, FwVectorStringCompare);
    std::string answer;
    for (int i = 0; i < FwVectorLength(&vector); ++i)
      answer += Text(static_cast<FwTextString>(FwVectorGetElement(&vector, i))) + " ";
    FwVectorAbandon(&vector, 1);
    return answer;
  };
  EXPECT_GT(sweep.Allocations(), 50);
}

// An entry that can't be added is told and is not there; all others are.
TEST(Faults, HashTables) {
  FrameworkSweep sweep;
  sweep.may_answer = {"no table", "told"};
  sweep.task = [] {
    Error err;
    FwHashTable* table = FwHashCreateTable(1, &FwHash_StringCopyFunctions, err);
    if (!table) return std::string(err.pError == fwErrorNoMemory ? "no table" : "silent");
    std::set<std::string> kept;
    bool told = true;
    for (int i = 0; i < 40; ++i) {
      Error add;
      const std::string key = std::to_string(i % 30);
      if (FwHashAddEntry(table, Txt(key), Txt("v" + key), add))
        kept.insert(key);
      else if (add.pError != fwErrorNoMemory)
        told = false;
    }
    DisarmFault();
    std::string answer;
    for (int i = 0; i < 30; ++i) {
      FwHashEntry* entry = FwHashLookupEntry(table, Txt(std::to_string(i)), nullptr);
      if ((entry != nullptr) != (kept.count(std::to_string(i)) > 0)) told = false;
      answer += entry ? Text(static_cast<FwTextString>(entry->value)) + " " : "";
    }
    if (table->nUsedEntries != kept.size()) told = false;
    FwHashFreeTable(&table);
    if (!told) return std::string("silent");
    return kept.size() == 30 ? answer : "told";
  };
  EXPECT_GT(sweep.Allocations(), 60);
}

TEST(Faults, ErrorStates) {
  FrameworkSweep sweep;
  sweep.task = [] {
    Error err, copy;
    FwErrorSet(err, fwErrorFromCommand, 4, FWT("Error status"), FWT("3"), FWT("Command"), FWT("c"));
    FwErrorCopy(copy, err);
    FwPlatformErrorSet(err, ENOENT, 2, FWT("File"), FWT("/f"));
    Record record;
    FwErrorPrintf(record, copy);
    FwErrorPrintf(record, err);
    return record.text();
  };
  EXPECT_GT(sweep.Allocations(), 8);
}

TEST(Faults, ObjectsTreesAndObservers) {
  FrameworkSweep sweep;
  sweep.may_answer = {"no object"};
  sweep.task = [] {
    FwObj* progress = Fw_msg_Create_Progress(nullptr, &FwProgressCounterClass, 2);
    if (!progress) return std::string("no object");
    FwObj* root = Fw_msg_CreateAndLink(&FwTreeClass, nullptr, nullptr);
    FwObj* child = root ? Fw_msg_CreateAndLink(&FwTreeClass, root, FW_TREE_LINK_LAST) : nullptr;
    int notified = 0;
    if (child) {
      FwObserveStart(
          &notified, child, &FwChangeClass,
          [](void* observer, void*, FwObj*, void*) { ++*static_cast<int*>(observer); }, nullptr,
          nullptr);
      FwNotifyChange(child);
      FwObserveEnd(&notified, child, &FwChangeClass);
    }
    const bool whole = child != nullptr;
    if (root) Fw_msg_Destroy(root);
    Fw_msg_Destroy(progress);
    return whole ? "notified " + std::to_string(notified) : std::string("no object");
  };
  EXPECT_GT(sweep.Allocations(), 5);
}

TEST(Faults, MatchingOfMessages) {
  FrameworkSweep sweep;
  sweep.task = [] {
    Record printed, rebuilt;
    FwStrPrintf(printed, 1, FWT("Error: %[0]t %[1]s from %[2]t %[3]s"), FWT("Error status"),
                FWT("3"), FWT("Command"), FWT("make"));
    const int32 matched =
        fFcStrNMatchTemplate(printed.pbz, 0xFFFFFFFF, FWT("Error: %[0]t %[1]s from %[2]t %[3]s"),
                             FWT("%[2]t %[3]s: %[0]t %[1]s"), rebuilt);
    return std::to_string(matched) + rebuilt.text();
  };
  EXPECT_GT(sweep.Allocations(), 5);
}

// ---- Files

// A copy is whole, or it is told that it failed, and then no target is left.
struct CopyOfAFile : Tree {
  const std::string content = std::string(70000, 'x') + "end";
  FrameworkSweep sweep;
  CopyOfAFile() {
    sweep.prepare = [this] {
      LayOut({{"old", content}, {"other/keep", "k"}});
      // Its attributes and its access time are not those of a new file.
      const utimbuf times = {1000000000, 1000000000};
      EXPECT_EQ(0, utime((root + "/old").c_str(), &times));
      EXPECT_EQ(0, chmod((root + "/old").c_str(), 0640));
    };
    sweep.may_answer = kFailures;
    sweep.task = [this] {
      CollectReports reports;
      Error err;
      const int32 copied = FwFileCopy(err, Txt(root + "/old"), Txt(root + "/new"), 0);
      DisarmFault();
      const std::string found = ContentOf(root + "/new");
      if (copied) return found == content ? std::string("copied") : "cut";
      if (!err.pError) return std::string("silent");
      return found == "(none)" ? Failure(err) : "half a copy";
    };
  }
};

TEST(Faults, CopyingAFile) {
  CopyOfAFile copy;
  EXPECT_GT(copy.sweep.Allocations(), 5);
  for (const int error : ErrorsAndInterruption()) {
    SCOPED_TRACE(error);
    for (const FaultCall call : {kOpen, kRead, kWrite, kClose, kStatFs, kChangeMode, kSetTimes})
      EXPECT_GT(copy.sweep.SystemCalls(call, error), 0) << FaultCallName(call);
    EXPECT_GT(copy.sweep.SystemCallsOnce(kStat, error), 0);
  }
  // A target that can't be looked at can't be deleted either.
  copy.sweep.may_answer.push_back("half a copy");
  EXPECT_GT(copy.sweep.SystemCalls(kStat, EIO), 0);
}

TEST(Faults, AShortWriteWhileCopyingIsMadeGood) {
  CopyOfAFile copy;
  copy.sweep.may_answer = {};
  EXPECT_EQ(2, copy.sweep.SystemCalls(kWrite, 0));
}

// Without a target nothing can be cleaned up, and what can't be deleted stays.
TEST(Faults, RenamingAndDeletingAFile) {
  Tree tree;
  FrameworkSweep sweep;
  sweep.prepare = [&] { tree.LayOut({{"old", "content"}}); };
  sweep.may_answer = kFailures;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    const int32 renamed = FwFileRename(err, Txt(tree.root + "/old"), Txt(tree.root + "/new"), 0);
    if (!renamed) {
      DisarmFault();
      if (ContentOf(tree.root + "/old") != "content") return std::string("lost");
      return err.pError ? Failure(err) : "silent";
    }
    const int32 deleted = FwFileDelete(err, Txt(tree.root + "/new"), FW_DELETE_FORCE);
    DisarmFault();
    if (!deleted)
      return ContentOf(tree.root + "/new") == "content" && err.pError ? Failure(err) : "lost";
    return std::string(Exists(tree.root + "/new") ? "still there" : "done");
  };
  EXPECT_GT(sweep.Allocations(), 0);
  for (const int error : ErrorsAndInterruption())
    for (const FaultCall call : {kStat, kRename, kUnlink})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
}

TEST(Faults, ReadingAFileIntoARecord) {
  Tree tree;
  std::string content;
  for (int i = 0; i < 900; ++i)
    content += std::to_string(i) + "\n";
  FrameworkSweep sweep;
  sweep.prepare = [&] { tree.LayOut({{"f", content}}); };
  sweep.may_answer = kFailures;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    const FwFile file = FwFileOpen(err, Txt(tree.root + "/f"), FW_OPEN_RDONLY);
    if (file == FW_FILE_INVALID) return Failure(err);
    Record line, rest;
    FwFileReadLineRecord(err, file, line);
    if (!err.pError) FwFileReadRecord(err, file, rest);
    FwFileClose(err, file);
    if (err.pError) return Failure(err);
    return line.text() + "\n" + rest.text() == content ? std::string("whole") : "cut";
  };
  EXPECT_GT(sweep.Allocations(), 3);
  for (const int error : ErrorsAndInterruption())
    for (const FaultCall call : {kOpen, kRead, kClose})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
  // Reading goes on behind a short read.
  sweep.may_answer = {};
  sweep.SystemCalls(kRead, 0);
}

TEST(Faults, WritingAFileBehindItsEnd) {
  Tree tree;
  FrameworkSweep sweep;
  sweep.prepare = [&] { tree.LayOut({{"f", "begin"}}); };
  sweep.may_answer = kFailures;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    const FwFile file = FwFileOpen(err, Txt(tree.root + "/f"), FW_OPEN_WRONLY);
    if (file == FW_FILE_INVALID) return Failure(err);
    Vq32x2 offset;
    offset.low = 20000;
    if (FwFileSeek(err, file, &offset, FW_SEEK_SET)) FwFileWriteString(err, file, FWT("end"));
    FwFileClose(err, file);
    DisarmFault();
    if (err.pError) return Failure(err);
    return ContentOf(tree.root + "/f") == "begin" + std::string(19995, '\0') + "end"
               ? std::string("extended")
               : "cut";
  };
  EXPECT_GT(sweep.Allocations(), 1);
  for (const int error : Errors())
    for (const FaultCall call : {kOpen, kWrite, kSeek, kStat, kClose})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
  // An interrupted fstat is repeated, so it may be so only once.
  for (const FaultCall call : {kOpen, kWrite, kSeek, kStat, kClose})
    sweep.SystemCallsOnce(call, EINTR);
}

TEST(Faults, LockingAFile) {
  Tree tree;
  FrameworkSweep sweep;
  sweep.prepare = [&] { tree.LayOut({}); };
  sweep.may_answer = kFailures;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    const FwFile file =
        FwFileOpen(err, Txt(tree.root + "/f"), FW_OPEN_WRONLY | FW_OPEN_CREAT | FW_OPEN_EXCL);
    if (file == FW_FILE_INVALID) return err.pError ? Failure(err) : "silent";
    FwFileClose(err, file);
    return std::string("locked");
  };
  for (const int error : {EACCES, EAGAIN, EDEADLK, ENOLCK, EINTR})
    EXPECT_EQ(1, sweep.SystemCalls(kLock, error)) << error;
}

// The file is under its old name, or whole under the new one, or under both if the old one can't be
// deleted; never half, and never gone.
TEST(Faults, RenamingAFileBetweenDevices) {
  const std::string there = OtherDevice() + "/zor-faults-" + std::to_string(getpid());
  Tree tree;
  if (OtherDevice().empty()) GTEST_SKIP() << "one device only";
  const TemporaryTree target(there);
  const std::string content = std::string(70000, 'x') + "end";
  FrameworkSweep sweep;
  sweep.prepare = [&] {
    tree.LayOut({{"old", content}});
    std::filesystem::remove(there + "/new");
  };
  sweep.may_answer = kFailures;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    const int32 renamed = FwFileRename(err, Txt(tree.root + "/old"), Txt(there + "/new"), 0);
    DisarmFault();
    const std::string left = ContentOf(tree.root + "/old"), made = ContentOf(there + "/new");
    if (renamed) return std::string(left == "(none)" && made == content ? "renamed" : "cut");
    if (left != content) return std::string("lost");
    if (made != "(none)" && made != content) return std::string("half a copy");
    return err.pError ? Failure(err) : "silent";
  };
  EXPECT_GT(sweep.Allocations(), 5);
  for (const int error : Errors()) {
    SCOPED_TRACE(error);
    for (const FaultCall call : {kOpen, kRead, kWrite, kClose, kStatFs, kRename, kUnlink})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
    EXPECT_GT(sweep.SystemCallsOnce(kStat, error), 0);
  }
}

TEST(Faults, CopyingALink) {
  Tree tree;
  FrameworkSweep sweep;
  sweep.prepare = [&] {
    tree.LayOut({});
    tree.tree.Link("t/link", "no where");
  };
  sweep.may_answer = kFailures;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    const int32 copied =
        FwFileCopyLink(err, Txt(tree.root + "/link"), Txt(tree.root + "/new"), nullptr, 0);
    DisarmFault();
    if (copied) return std::string(Exists(tree.root + "/new") ? "copied" : "silent");
    if (Exists(tree.root + "/new")) return std::string("left behind");
    return err.pError ? Failure(err) : "silent";
  };
  sweep.Allocations();
  for (const int error : ErrorsAndInterruption())
    for (const FaultCall call : {kStat, kReadLink, kMakeLink})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
}

// ---- Directories and trees of files

// A listing is whole, or it is told that it isn't.
TEST(Faults, ListingADirectory) {
  Tree tree;
  std::vector<std::pair<std::string, std::string>> files;
  files.reserve(60);
  for (int i = 0; i < 60; ++i)
    files.emplace_back("file-with-a-name-of-some-length-" + std::to_string(i), "");
  tree.LayOut(files);
  for (const uint32 flags : {uint32{0}, uint32{FW_DIR_SNAPSHOT}}) {
    SCOPED_TRACE(flags);
    FrameworkSweep sweep;
    sweep.may_answer = kFailures;
    sweep.task = [&] {
      CollectReports reports;
      Error err;
      FwDir* dir = FwDirOpen(err, Txt(tree.root + "/"), flags);
      if (!dir) return err.pError ? Failure(err) : "silent";
      std::multiset<std::string> names;
      Record name;
      FwFileInfo info;
      while (FwDirNext(err, dir, name, &info, 0)) {
        names.insert(name.text());
        FwStrRecordShorten(name, 0);
      }
      FwDirClose(err, dir);
      if (err.pError) return Failure(err);
      std::string answer;
      for (const std::string& found : names)
        answer += found + " ";
      return answer;
    };
    EXPECT_GT(sweep.Allocations(), 4);
    for (const int error : Errors())
      for (const FaultCall call : {kOpenDir, kReadDir, kCloseDir, kStat})
        EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
    // Reading goes on after an interruption.
    for (const FaultCall call : {kOpenDir, kCloseDir})
      sweep.SystemCalls(call, EINTR);
    sweep.may_answer = {};
    sweep.SystemCallsOnce(kReadDir, EINTR);
  }
}

TEST(Faults, CreatingAndDeletingDirectories) {
  Tree tree;
  FrameworkSweep sweep;
  sweep.prepare = [&] { tree.LayOut({{"d/f", "x"}, {"d/e/g", "y"}}); };
  sweep.may_answer = kFailures;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    FwDirCreate(err, Txt(tree.root + "/a/b/c/"), FW_DIR_CREATE_PARENTS);
    if (!err.pError) FwDirDelete(err, Txt(tree.root + "/d/"), FW_DELETE_FORCE);
    DisarmFault();
    if (err.pError) return Failure(err);
    return std::string(Exists(tree.root + "/a/b/c") && !Exists(tree.root + "/d") ? "done"
                                                                                 : "silent");
  };
  EXPECT_GT(sweep.Allocations(), 5);
  for (const int error : Errors())
    for (const FaultCall call :
         {kMakeDir, kStat, kOpenDir, kReadDir, kCloseDir, kUnlink, kRemoveDir})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
}

TEST(Faults, CopyingATree) {
  Tree tree;
  FrameworkSweep sweep;
  sweep.prepare = [&] {
    tree.LayOut({{"old/f", "content"}, {"old/d/g", "more"}, {"old/d/e/h", "deep"}});
    tree.tree.Link("t/old/link", "f");
  };
  sweep.may_answer = kFailures;
  sweep.wanted = 20;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    const int32 copied =
        FwFileCopyTree(err, Txt(tree.root + "/old"), Txt(tree.root + "/new"), nullptr, 0);
    DisarmFault();
    if (!copied) return err.pError ? Failure(err) : "silent";
    const std::string found = ContentOf(tree.root + "/new/f") + ContentOf(tree.root + "/new/d/g") +
                              ContentOf(tree.root + "/new/d/e/h") +
                              ContentOf(tree.root + "/new/link");
    return found == "contentmoredeepcontent" ? std::string("copied") : "cut: " + found;
  };
  EXPECT_GT(sweep.Allocations(), 20);
  for (const int error : Errors())
    for (const FaultCall call : {kOpen, kRead, kWrite, kClose, kStat, kStatFs, kOpenDir, kReadDir,
                                 kCloseDir, kMakeDir, kReadLink, kMakeLink})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
  sweep.may_answer = {};
  sweep.SystemCalls(kWrite, 0);
}

TEST(Faults, SizeAndAttributesOfATree) {
  Tree tree;
  FrameworkSweep sweep;
  sweep.prepare = [&] {
    tree.LayOut({{"old/f", "content"}, {"old/d/g", "more"}});
    EXPECT_EQ(0, chmod((tree.root + "/old/d/g").c_str(), 0444));
  };
  sweep.may_answer = kFailures;
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    FwFileTreeSizeInfo size;
    FwFileTreeSize(err, Txt(tree.root + "/old"), &size, 0);
    if (err.pError) return Failure(err);
    if (!FwFileSetInfoTree(err, Txt(tree.root + "/old"), FW_TREE_MAKE_WRITABLE))
      return err.pError ? Failure(err) : "silent";
    return std::to_string(size.files) + " files, " + std::to_string(size.exact.low) + " bytes";
  };
  EXPECT_GT(sweep.Allocations(), 5);
  for (const int error : Errors())
    for (const FaultCall call : {kStat, kOpenDir, kReadDir, kCloseDir, kChangeMode})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
}

// ---- Streams

TEST(Faults, WritingAndReadingThroughAStream) {
  Tree tree;
  std::string content;
  for (int i = 0; i < 100; ++i)
    content += "line " + std::to_string(i) + "\n";
  FrameworkSweep sweep;
  sweep.prepare = [&] { tree.LayOut({}); };
  sweep.may_answer = kFailures;
  sweep.may_answer.push_back("short");
  sweep.task = [&] {
    CollectReports reports;
    Error err;
    const std::string path = tree.root + "/f";
    // Written ...
    FwObj* file = Fw_msg_CreateStreamIOFile(&FwStreamIOFileClass, err,
                                            FW_OPEN_WRONLY | FW_OPEN_CREAT, Txt(path));
    if (!file) return Failure(err);
    FwObj* stream = Fw_msg_CreateStreamBuffered(err, FW_OPEN_WRONLY | FW_OPEN_CREAT, 64, file);
    if (!stream) {
      Error ignored;
      Fw_msg_StreamDestroy(file, ignored, 0);
      return Failure(err);
    }
    Record record(content);
    const int32 written = Fw_msg_Write(stream, err, record);
    const int32 flushed = Fw_msg_Flush(stream, err);
    const int32 closed = Fw_msg_StreamDestroy(stream, err, 1);
    if (err.pError) return Failure(err);
    if (written < 0 || flushed < 0) return std::string("short");
    if (!closed) return std::string("silent");
    // ... and read again.
    file = Fw_msg_CreateStreamIOFile(&FwStreamIOFileClass, err, FW_OPEN_RDONLY, Txt(path));
    if (!file) return Failure(err);
    stream = Fw_msg_CreateStreamBuffered(err, FW_OPEN_RDONLY, 64, file);
    if (!stream) {
      Error ignored;
      Fw_msg_StreamDestroy(file, ignored, 0);
      return Failure(err);
    }
    Record read;
    int32 got = 0;
    while ((got = Fw_msg_ReadLine(stream, err, read)) > 0) {
    }
    Fw_msg_StreamDestroy(stream, err, 1);
    if (err.pError) return Failure(err);
    return got == 0 && read.text() == content ? std::string("whole") : "cut";
  };
  EXPECT_GT(sweep.Allocations(), 6);
  for (const int error : ErrorsAndInterruption())
    for (const FaultCall call : {kOpen, kRead, kWrite, kClose})
      EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
  // A short write is told; a short read is no end.
  sweep.may_answer = {"short"};
  sweep.SystemCalls(kWrite, 0);
  sweep.may_answer = {};
  sweep.SystemCalls(kRead, 0);
}

// ---- Translation

// Texts come out translated, or as they are where that can't be had.
TEST(Faults, TranslatingThroughAMessageFile) {
  Tree tree;
  const std::string text =
      "[Header]\nLocale=de\nUS Text=#EN\nLocal Text=#DE\nFont Name=Courier\nend\n"
      "[Fixed Strings]\n#EN\nfile\n#DE\nDatei\n#EN\nother\n#DE\nanderes\n#EN\nend\n"
      "[Message Templates]\n#EN\nError: %s is missing\n#DE\nFehler: %s fehlt\n#EN\nend\n";
  tree.LayOut({{"plain", text}, {"preload", "[Header]\nPreload=yes\n" + text.substr(9)}});
  for (const char* name : {"/plain", "/preload"}) {
    SCOPED_TRACE(name);
    FrameworkSweep sweep;
    sweep.may_answer = kFailures;
    for (const char* fixed : {"-", "Datei"})
      for (const char* message : {"Fehler: x fehlt", "Error: x is missing"})
        sweep.may_answer.push_back(std::string(fixed) + " " + message);
    sweep.task = [&] {
      CollectReports reports;
      Error err;
      if (!FwTranslLoadMessageFile(Txt(tree.root + name), nullptr, err)) return Failure(err);
      std::string answer = "-";
      FwTextString english, local;
      if (FwTranslLookupFixedPair(FWT("file"), &english, &local)) {
        answer = Text(local);
        FwTranslReleaseFixedPair(english);
      }
      Record printed, translated;
      FwStrPrintf(printed, 1, FWT("Error: %s is missing"), FWT("x"));
      FwTranslMessage(printed.pbz, translated);
      FwTranslUnloadMessageFile(Txt(tree.root + name), 0, err);
      return answer + " " + translated.text();
    };
    EXPECT_GT(sweep.Allocations(), 15);
    for (const int error : ErrorsAndInterruption())
      for (const FaultCall call : {kOpen, kRead, kSeek, kClose})
        EXPECT_GT(sweep.SystemCalls(call, error), 0) << FaultCallName(call);
    sweep.SystemCalls(kRead, 0);
  }
}

}  // namespace
