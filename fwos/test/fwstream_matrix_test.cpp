// Streams on real files against a model of a few lines: every line end, every small buffer, any
// order of reads, seeks and unreads, and disks that are full or broken.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <string>
#include <vector>

#include "files.h"
#include "fwstream.h"
#include "process.h"
#include "syscalls.h"

namespace {

// A buffered stream over a file.
class FileStream {
 public:
  FileStream(const std::string& path, uint32 flags, int32 nBufferSize) {
    file_ = static_cast<FwStreamIOFile*>(
        Fw_msg_CreateStreamIOFile(&FwStreamIOFileClass, err, flags, Txt(path)));
    top = Fw_msg_CreateStreamBuffered(err, flags, nBufferSize, file_);
  }
  ~FileStream() { Destroy(); }
  FileStream(const FileStream&) = delete;
  FileStream& operator=(const FileStream&) = delete;

  int32 Destroy() {
    if (top == nullptr) return 0;
    FwObj* pTop = top;
    top = nullptr;
    FwErrorClear(err);
    return Fw_msg_StreamDestroy(pTop, err, 1);
  }

  // The next line; its count is stored.
  std::string Line(int32* pn) {
    Record record;
    *pn = Fw_msg_ReadLine(top, err, record);
    return record.text();
  }

  int32 Write(const std::string& text) {
    Record record(text);
    return Fw_msg_Write(top, err, record);
  }

  int32 Seek(int64_t* pOffset, uint32 From) {
    Vq32x2 offset;
    offset.low = static_cast<uint32>(*pOffset);
    offset.high = static_cast<int32>(*pOffset >> 32);
    const int32 fDone = Fw_msg_StreamSeek(top, err, &offset, From);
    *pOffset = (int64_t{offset.high} << 32) + offset.low;
    return fDone;
  }

  int64_t Position() {
    Vq32x2 position;
    Fw_msg_GetBufferRealPosition(top, &position);
    return (int64_t{position.high} << 32) + position.low;
  }

  FwFile handle() const { return file_->handle; }

  Error err;
  FwObj* top = nullptr;

 private:
  FwStreamIOFile* file_;
};

// What a reader of lines is to give: the text from position on, up to its line end, which is one
// newline then.
struct Model {
  std::string text;
  size_t position = 0;
  bool fEOF = false;

  std::string Line() {
    std::string line;
    if (fEOF) return line;
    for (;;) {
      if (position == text.size()) {
        fEOF = true;
        return line;
      }
      const char ch = text[position++];
      if (ch != '\r' && ch != '\n') {
        line += ch;
        continue;
      }
      // Only a look behind a carriage return can meet the end.
      if (ch == '\r' && position == text.size()) fEOF = true;
      if (ch == '\r' && position < text.size() && text[position] == '\n') ++position;
      return line + '\n';
    }
  }
};

const std::vector<std::string> kTexts = {
    "",
    "\n",
    "\r",
    "\r\n",
    "x",
    "a\r\nb\rc\n",
    "\r\r\n\n\r",
    "\n\r\n\r\r",
    "one\rtwo\r\nthree\nfour",
    "one\r\ntwo\r\n\r\nthree\r\n",
    "a\r",
    "ab\r\ncd\r\r\nef\n\n\rg\r\n",
    "\xC3\xA9\r\n\xE2\x82\xAC\r\xF0\x9D\x84\x9E\n",
    std::string(40, '\r'),
    "0123456789abcdef\r\n0123456789abcde\r\n0123456789abcdefg\r\n",
};

constexpr int32 kLargestBuffer = 20;

}  // namespace

TEST(StreamMatrix, EveryLineEndReadsAlikeInEveryBuffer) {
  TemporaryTree tree;
  for (const std::string& text : kTexts) {
    const std::string path = tree.Write("text", text);
    for (int32 nSize = 1; nSize <= kLargestBuffer; ++nSize) {
      SCOPED_TRACE(testing::PrintToString(text) + " by " + std::to_string(nSize));
      FileStream stream(path, FW_OPEN_RDONLY, nSize);
      Model model{text};
      for (;;) {
        const std::string expected = model.Line();
        int32 n = 0;
        ASSERT_EQ(expected, stream.Line(&n));
        ASSERT_EQ(expected.size(), static_cast<size_t>(n));
        ASSERT_EQ(model.fEOF, Fw_msg_IsStreamAtEOF(stream.top) != 0);
        ASSERT_EQ(static_cast<int64_t>(model.position), stream.Position());
        if (n == 0) break;
      }
      EXPECT_EQ("clear", Describe(stream.err));
      EXPECT_EQ(0, Fw_msg_IsStreamError(stream.top));
      EXPECT_EQ(1, stream.Destroy());
    }
  }
}

TEST(StreamMatrix, AnyOrderOfReadsSeeksAndUnreadsFollowsTheModel) {
  TemporaryTree tree;
  const std::string text = "ab\r\ncd\r\r\nefghijk\n\n\rlmnopqrstuvwxyz\r\n0123\r\n\r\nend";
  const auto size = static_cast<int64_t>(text.size());
  const std::string path = tree.Write("text", text);
  // No buffer holds all of the file: the next test shows why.
  for (int32 nBuffer = 1; nBuffer < size; nBuffer += nBuffer < 12 ? 1 : 11) {
    std::mt19937 random(static_cast<unsigned>(nBuffer));
    const auto up_to = [&](int64_t n) {
      return std::uniform_int_distribution<int64_t>(0, n)(random);
    };
    FileStream stream(path, FW_OPEN_RDONLY, nBuffer);
    Model model{text};
    for (int step = 0; step < 1000; ++step) {
      const auto at = static_cast<int64_t>(model.position);
      const int64_t action = up_to(9);
      SCOPED_TRACE("buffer " + std::to_string(nBuffer) + ", step " + std::to_string(step) +
                   ", action " + std::to_string(action) + " at " + std::to_string(at));
      if (action < 5) {
        int32 n = 0;
        const std::string expected = model.Line();
        ASSERT_EQ(expected, stream.Line(&n));
        ASSERT_EQ(expected.size(), static_cast<size_t>(n));
      } else if (action < 9) {
        // To the start now and then, so that the end is left again.
        const int64_t destination = up_to(5) == 0 ? 0 : up_to(size);
        const uint32 From = static_cast<uint32>(up_to(2));
        int64_t offset = From == FW_SEEK_SET   ? destination
                         : From == FW_SEEK_CUR ? destination - at
                                               : destination - size;
        ASSERT_EQ(1, stream.Seek(&offset, From));
        ASSERT_EQ(destination, offset);
        model.position = static_cast<size_t>(destination);
        if (From == FW_SEEK_SET && destination == 0) model.fEOF = false;
      } else if (at > 1) {
        // Not to the very start: that is a seek there, or isn't.
        const int64_t n = up_to(at - 1);
        Fw_msg_UnreadBytes(stream.top, stream.err, static_cast<int32>(n));
        model.position -= static_cast<size_t>(n);
      }
      ASSERT_EQ(static_cast<int64_t>(model.position), stream.Position());
      ASSERT_EQ(model.fEOF, Fw_msg_IsStreamAtEOF(stream.top) != 0);
    }
    EXPECT_EQ("clear", Describe(stream.err));
  }
}

TEST(StreamMatrix, ASeekToTheStartOfTheBufferLeavesTheFileBelowAtItsEnd) {
  TemporaryTree tree;
  FileStream stream(tree.Write("text", "ab\ncd\n"), FW_OPEN_RDONLY, 16);
  int32 n = 0;
  while (stream.Line(&n) != "") {
  }
  // Within the buffer nothing is asked of the file, so its own end is not cleared.
  int64_t offset = 0;
  EXPECT_EQ(1, stream.Seek(&offset, FW_SEEK_SET));
  EXPECT_EQ("ab\n", stream.Line(&n));
  // Out of the buffer and back again, the file has nothing to read.
  offset = 6;
  EXPECT_EQ(1, stream.Seek(&offset, FW_SEEK_SET));
  offset = 3;
  EXPECT_EQ(1, stream.Seek(&offset, FW_SEEK_SET));
  EXPECT_EQ("", stream.Line(&n));
  EXPECT_EQ(0, n);
  // The start of the file clears both.
  offset = 0;
  EXPECT_EQ(1, stream.Seek(&offset, FW_SEEK_SET));
  EXPECT_EQ("ab\n", stream.Line(&n));
}

TEST(StreamMatrix, BytesUnreadAcrossARefillAreReadAgain) {
  TemporaryTree tree;
  const std::string path = tree.Write("text", "12345\n789ab\ncdefg\n");
  for (int32 nBuffer = 1; nBuffer <= 20; ++nBuffer) {
    SCOPED_TRACE(nBuffer);
    FileStream stream(path, FW_OPEN_RDONLY, nBuffer);
    int32 n = 0;
    stream.Line(&n);
    stream.Line(&n);
    // Two bytes of the first line, which a small buffer has dropped long ago.
    Fw_msg_UnreadBytes(stream.top, stream.err, 8);
    EXPECT_EQ("5\n", stream.Line(&n));
    EXPECT_EQ("789ab\n", stream.Line(&n));
    EXPECT_EQ("cdefg\n", stream.Line(&n));
    EXPECT_EQ("", stream.Line(&n));
    EXPECT_EQ("clear", Describe(stream.err));
  }
}

TEST(StreamMatrix, ASeekBehindTheEndOfAFileForReadingIsAnErrorForGood) {
  TemporaryTree tree;
  const std::string path = tree.Write("text", "abc\n");
  FileStream stream(path, FW_OPEN_RDONLY, 8);
  int64_t offset = 5;
  EXPECT_EQ(0, stream.Seek(&offset, FW_SEEK_SET));
  EXPECT_EQ("Parameter File", Describe(stream.err));
  EXPECT_EQ("abc\n", ReadFile(path));
  FwErrorClear(stream.err);
  int32 n = 0;
  EXPECT_EQ("", stream.Line(&n));
  EXPECT_EQ(-1, n);
}

// ---------------------------------------------------------------------------------------------
// Writing

TEST(StreamMatrix, WritesReachTheFileByWholeBuffers) {
  TemporaryTree tree;
  for (int32 nBuffer = 1; nBuffer <= kLargestBuffer; ++nBuffer) {
    const std::string path = tree / "out";
    unlink(path.c_str());
    FileStream stream(path, FW_OPEN_WRONLY | FW_OPEN_CREAT, nBuffer);
    std::string all;
    size_t nPending = 0;
    for (const std::string& text : kTexts) {
      SCOPED_TRACE(testing::PrintToString(text) + " by " + std::to_string(nBuffer));
      ASSERT_EQ(static_cast<int32>(text.size()), stream.Write(text));
      all += text;
      nPending = (nPending + text.size()) % static_cast<size_t>(nBuffer);
      ASSERT_EQ(all.substr(0, all.size() - nPending), ReadFile(path));
      // Kept: a position takes off what is buffered, though it is what is still to be written.
      ASSERT_EQ(static_cast<int64_t>(all.size() - 2 * nPending), stream.Position());
      if (text.size() == 1) {
        ASSERT_EQ(static_cast<int32>(nPending), Fw_msg_Flush(stream.top, stream.err));
        nPending = 0;
        ASSERT_EQ(all, ReadFile(path));
      }
    }
    EXPECT_EQ(1, stream.Destroy());
    EXPECT_EQ(all, ReadFile(path));
  }
}

TEST(StreamMatrix, LineBufferedWritesReachTheFileUpToTheLastLineEnd) {
  TemporaryTree tree;
  for (int32 nBuffer = 1; nBuffer <= kLargestBuffer; ++nBuffer) {
    const std::string path = tree / "out";
    unlink(path.c_str());
    FileStream stream(path, FW_OPEN_WRONLY | FW_OPEN_CREAT, nBuffer);
    Fw_msg_SetLineBuffering(stream.top, 1);
    std::string all;
    for (const std::string& text : kTexts) {
      SCOPED_TRACE(testing::PrintToString(text) + " by " + std::to_string(nBuffer));
      ASSERT_EQ(static_cast<int32>(text.size()), stream.Write(text));
      for (const char ch : text)
        all += ch == '\r' ? '\n' : ch;
      const std::string written = ReadFile(path);
      ASSERT_EQ(all.substr(0, written.size()), written);
      const size_t nLines = all.rfind('\n') == std::string::npos ? 0 : all.rfind('\n') + 1;
      ASSERT_GE(written.size(), nLines);
      // What fits behind the last line end is still in the buffer.
      if (all.size() - nLines <= static_cast<size_t>(nBuffer)) {
        ASSERT_EQ(nLines, written.size());
      }
    }
    EXPECT_GE(Fw_msg_Flush(stream.top, stream.err), 0);
    EXPECT_EQ(all, ReadFile(path));
    EXPECT_EQ("clear", Describe(stream.err));
  }
}

TEST(StreamMatrix, TheFullDeviceIsNoticedWhenTheBufferIsWritten) {
  for (const int32 fLines : {0, 1}) {
    SCOPED_TRACE(fLines);
    FileStream stream("/dev/full", FW_OPEN_WRONLY, 8);
    Fw_msg_SetLineBuffering(stream.top, fLines);
    EXPECT_EQ(3, stream.Write("abc"));
    EXPECT_EQ("clear", Describe(stream.err));
    EXPECT_EQ(-1, Fw_msg_Flush(stream.top, stream.err));
    EXPECT_EQ("DiskFull File", Describe(stream.err));
    EXPECT_EQ(1, Fw_msg_IsStreamError(stream.top));
    FwErrorClear(stream.err);
    // For good, and without asking again.
    EXPECT_EQ(-1, stream.Write("abc"));
    EXPECT_EQ(-1, Fw_msg_Flush(stream.top, stream.err));
    EXPECT_EQ("clear", Describe(stream.err));
  }
}

TEST(StreamMatrix, AWriteThatMeetsAFullDiskFails) {
  struct {
    const char* name;
    int32 fLines;
    std::string text;
  } const cases[] = {
      {"a full buffer", 0, std::string(12, 'x')},
      {"a line end", 1, "abc\n"},
      {"a character that does not fit any more", 1, "abcdefg\xC3\xA9"},
      {"a line end that does not fit any more", 1, "abcdefgh\n"},
      {"a character wider than the buffer", 1, "abcdefghi"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FileStream stream("/dev/full", FW_OPEN_WRONLY, 8);
    Fw_msg_SetLineBuffering(stream.top, c.fLines);
    EXPECT_EQ(-1, stream.Write(c.text));
    EXPECT_EQ("DiskFull File", Describe(stream.err));
    EXPECT_EQ(1, Fw_msg_IsStreamError(stream.top));
  }
}

TEST(StreamMatrix, ACharacterWiderThanTheBufferFailsOnAFullDisk) {
  FileStream stream("/dev/full", FW_OPEN_WRONLY, 1);
  Fw_msg_SetLineBuffering(stream.top, 1);
  EXPECT_EQ(-1, stream.Write("\xE2\x82\xAC"));
  EXPECT_EQ("DiskFull File", Describe(stream.err));
}

TEST(StreamMatrix, AShortWriteIsAnErrorWithoutAReason) {
  TemporaryTree tree;
  const std::string path = tree / "out";
  FileStream stream(path, FW_OPEN_WRONLY | FW_OPEN_CREAT, 16);
  EXPECT_EQ(10, stream.Write("0123456789"));
  {
    FullDisk full(4);
    EXPECT_EQ(-1, Fw_msg_Flush(stream.top, stream.err));
  }
  EXPECT_EQ("clear", Describe(stream.err));
  EXPECT_EQ(1, Fw_msg_IsStreamError(stream.top));
  EXPECT_EQ("0123", ReadFile(path));
}

TEST(StreamMatrix, ASeekThatCannotFlushFails) {
  FileStream stream("/dev/full", FW_OPEN_WRONLY, 8);
  EXPECT_EQ(3, stream.Write("abc"));
  int64_t offset = 0;
  EXPECT_EQ(0, stream.Seek(&offset, FW_SEEK_SET));
  EXPECT_EQ("DiskFull File", Describe(stream.err));
}

// ---------------------------------------------------------------------------------------------
// Broken below

TEST(StreamMatrix, AReadErrorComesAfterTheBytesBeforeIt) {
  TemporaryTree tree;
  const std::string path = tree.Write("text", "abcdefgh");
  FileStream stream(path, FW_OPEN_RDONLY, 3);
  BrokenDisk broken(2);
  int32 n = 0;
  EXPECT_EQ("abcdef", stream.Line(&n));
  EXPECT_EQ(6, n);
  EXPECT_EQ(fwErrorHardware, stream.err.pError);
  EXPECT_EQ(EIO, stream.err.platformError);
  EXPECT_EQ("", stream.Line(&n));
  EXPECT_EQ(-1, n);
}

TEST(StreamMatrix, AReadErrorBehindACarriageReturnKeepsTheLine) {
  TemporaryTree tree;
  const std::string path = tree.Write("text", "ab\r\ncd");
  FileStream stream(path, FW_OPEN_RDONLY, 3);
  BrokenDisk broken(1);
  int32 n = 0;
  EXPECT_EQ("ab\n", stream.Line(&n));
  EXPECT_EQ(3, n);
  EXPECT_EQ(fwErrorHardware, stream.err.pError);
  EXPECT_EQ("", stream.Line(&n));
  EXPECT_EQ(-1, n);
}

TEST(StreamMatrix, ADescriptorClosedBehindItsBackIsAnError) {
  TemporaryTree tree;
  const std::string path = tree.Write("text", "abc\n");
  {
    FileStream stream(path, FW_OPEN_RDONLY, 8);
    close(stream.handle());
    int32 n = 0;
    EXPECT_EQ("", stream.Line(&n));
    EXPECT_EQ(-1, n);
    EXPECT_EQ("Parameter File", Describe(stream.err));
    // The file can't be closed again: the result says so.
    EXPECT_EQ(0, stream.Destroy());
    EXPECT_EQ("Parameter File", Describe(stream.err));
  }
  FileStream stream(path, FW_OPEN_WRONLY, 8);
  close(stream.handle());
  EXPECT_EQ(3, stream.Write("xyz"));
  EXPECT_EQ(-1, Fw_msg_Flush(stream.top, stream.err));
  EXPECT_EQ("Parameter File", Describe(stream.err));
  Vq32x2 extent;
  FwErrorClear(stream.err);
  EXPECT_EQ(0, Fw_msg_StreamExtent(stream.top, stream.err, &extent));
  EXPECT_EQ("Parameter File", Describe(stream.err));
  FwErrorClear(stream.err);
  EXPECT_EQ(0, stream.Destroy());
}
