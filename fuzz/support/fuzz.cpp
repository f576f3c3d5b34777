#include "fuzz.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "fwboot.h"
#include "vqassert.h"
#include "warehouse.h"
#include "wqmem.h"

namespace fuzz {

namespace {

const Allow* allowed = nullptr;
long blocks = 0;

// An input can't ask for more than this by itself, so a larger request is a finding.
constexpr std::size_t kLargestBlock = std::size_t{1} << 28;

void* CountedAlloc(std::size_t size) {
  if (size > kLargestBlock) return nullptr;
  void* block = std::malloc(size);
  if (block != nullptr) ++blocks;
  return block;
}

void CountedFree(void* block) {
  --blocks;
  std::free(block);
}

[[noreturn]] void ExitError(FwTextString text) {
  // An interrupt: the user ends the fuzzing.
  if (text == nullptr) _exit(1);
  Fail("the framework ended the program", FWC(text));
}

void LogNothing(const char*, ...) {}

void Boot() {
  static bool done = false;
  if (done) return;
  done = true;
  setenv("LC_ALL", Locale(), 1);
  static char name[] = "fuzz";
  static char* argv[] = {name, nullptr};
  static FwBootContext context;
  context.control.ptbzAppName = FWT("fuzz");
  context.control.exiterrorf = ExitError;
  context.control.logf = LogNothing;
  context.control.platform.argc = 1;
  context.control.platform.argv = argv;
  context.memory.alloc = CountedAlloc;
  context.memory.free = CountedFree;
  // The framework notes the current directory once; libFuzzer's own paths may be relative to it.
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(Directory());
  FwBoot(&context);
  std::filesystem::current_path(before);
  wh_init();
  vq_assert_history = 0;
}

}  // namespace

[[gnu::weak]] const char* Locale() {
  return "C.UTF-8";
}

[[gnu::weak]] bool BootsItself() {
  return false;
}

std::string Input::Line() {
  const unsigned char* const start = data_;
  while (data_ != end_ && *data_ != '\n' && *data_ != 0)
    ++data_;
  std::string line(start, data_);
  if (data_ != end_) ++data_;
  return line;
}

std::string Input::Rest() {
  std::string rest(data_, end_);
  data_ = end_;
  return rest;
}

unsigned char Input::Byte() {
  return data_ == end_ ? 0 : *data_++;
}

unsigned Input::Below(unsigned limit) {
  const unsigned char byte = Byte();
  return (byte >= '0' && byte <= '9' ? byte - unsigned{'0'} : unsigned{byte}) % limit;
}

void Fail(const char* what, const std::string& detail) {
  std::fprintf(stderr, "finding: %s\n%s%s", what, detail.c_str(), detail.empty() ? "" : "\n");
  std::fflush(stderr);
  std::abort();
}

Allow::Allow(std::vector<std::string_view> asserts)
    : asserts_(std::move(asserts)), outer_(allowed) {
  allowed = this;
}

Allow Malformed(std::string_view text) {
  if (WellFormed(text)) return Allow({});
  return Allow({"Badly encoded UTF-8 character (malformed header in leading byte)",
                "Badly encoded UTF-8 character (overly long encoding)", "Badly terminated string",
                "Bad shorten", "No lead byte found"});
}

Allow::~Allow() {
  allowed = outer_;
}

int Allow::seen() const {
  return seen_;
}

bool Allowed(const char* text) {
  for (const Allow* guard = allowed; guard != nullptr; guard = guard->outer_)
    for (const std::string_view each : guard->asserts_)
      if (each == text) {
        ++guard->seen_;
        return true;
      }
  return false;
}

std::string Take(FwTextString text) {
  std::string taken = text != nullptr ? FWC(text) : "(null)";
  wh_free(text);
  return taken;
}

bool WellFormed(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || text.size() - i < length) return false;
    for (std::size_t k = 1; k < length; ++k)
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
    const auto second = length > 1 ? static_cast<unsigned char>(text[i + 1]) : 0u;
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
      return false;
    i += length;
  }
  return true;
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F && c != '"' && c != '\\') {
      quoted += c;
    } else {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02X", unsigned{byte});
      quoted += escape;
    }
  }
  return quoted + "\"";
}

const std::string& Directory() {
  // Never destroyed: it is still needed when the process ends.
  static const std::string& path = *new std::string([] {
    const char* const above = std::getenv("TMPDIR");
    std::string made = above != nullptr                ? above
                       : access("/dev/shm", W_OK) == 0 ? "/dev/shm"
                                                       : "/tmp";
    made += "/fuzz.XXXXXX";
    if (mkdtemp(made.data()) == nullptr) Fail("no temporary directory", made);
    std::atexit([] {
      std::error_code ignored;
      std::filesystem::remove_all(Directory(), ignored);
    });
    return made;
  }());
  return path;
}

std::string WriteFile(const std::string& relative, std::string_view content) {
  std::string path = Directory() + "/" + relative;
  int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (file < 0) {
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  }
  if (file < 0) Fail("a temporary file can't be made", path);
  if (write(file, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
    Fail("a temporary file can't be written", path);
  close(file);
  return path;
}

long Blocks() {
  return blocks;
}

}  // namespace fuzz

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (!fuzz::BootsItself()) fuzz::Boot();
  // What stays the first time may be kept by the framework for later; it may not grow each time.
  long left = 0;
  for (int attempt = 0; attempt < 2; ++attempt) {
    const long before = fuzz::Blocks();
    fuzz::Input input(data, size);
    fuzz::Try(input);
    left = fuzz::Blocks() - before;
    if (left == 0 || fuzz::BootsItself()) return 0;
  }
  fuzz::Fail("blocks are left allocated", std::to_string(left));
}
