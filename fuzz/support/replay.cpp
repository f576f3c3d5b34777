// Replays a fuzzer's corpus without libFuzzer:
//
//   fuzz_NAME [--mutations=N] [--dict=FILE] FILE|DIRECTORY...
//
// First each file as it is, in the order of the names; then N inputs made from them by small
// pseudo-random changes, the same in every run. The report of a finding names the input; an
// input that is in no file is written to ./finding.

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz.h"

extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace {

constexpr std::size_t kMaxSize = 4096;

std::string current_name;
std::string current;

// At the end of the process, so the damage that this may do to a broken heap does not matter.
void Tell() {
  std::fprintf(stderr, "input: %s\n%s\n", current_name.c_str(), fuzz::Quoted(current).c_str());
  if (current_name.find('/') == std::string::npos) std::ofstream("finding") << current;
}

void OnSignal(int signal_number) {
  std::signal(signal_number, SIG_DFL);
  Tell();
  std::raise(signal_number);
}

void TryInput(const std::string& name, const std::string& content) {
  current_name = name;
  current = content;
  // A copy of exactly that size, so that a read past its end is seen.
  std::vector<unsigned char> bytes(content.begin(), content.end());
  bytes.shrink_to_fit();
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The words of a dictionary: lines of the form [name=]"text", with \\, \" and \xHH.
std::vector<std::string> ReadDictionary(const std::string& path) {
  std::vector<std::string> words;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const std::size_t open = line.find('"');
    const std::size_t close = line.rfind('"');
    if (line.empty() || line[0] == '#' || open == std::string::npos || close == open) continue;
    std::string word;
    for (std::size_t i = open + 1; i < close; ++i) {
      if (line[i] != '\\') {
        word += line[i];
      } else if (line[i + 1] == 'x') {
        word += static_cast<char>(std::stoi(line.substr(i + 2, 2), nullptr, 16));
        i += 3;
      } else {
        word += line[++i];
      }
    }
    words.push_back(word);
  }
  return words;
}

class Mutator {
 public:
  Mutator(const std::vector<std::string>& seeds, const std::vector<std::string>& words)
      : seeds_(seeds), words_(words) {}

  std::string Next() {
    std::string text = seeds_[Below(seeds_.size())];
    for (std::size_t changes = 1 + Below(4); changes > 0; --changes)
      Change(text);
    if (text.size() > kMaxSize) text.resize(kMaxSize);
    return text;
  }

 private:
  std::size_t Below(std::size_t limit) {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return static_cast<std::size_t>(state_ % limit);
  }

  char AnyByte() { return static_cast<char>(Below(256)); }

  void Change(std::string& text) {
    const std::size_t at = Below(text.size() + 1);
    const std::size_t length = std::min(1 + Below(12), text.size() - at);
    switch (Below(8)) {
      case 0:
        text.insert(at, 1, AnyByte());
        break;
      case 1:
        if (length > 0) text[at] = AnyByte();
        break;
      case 2:
        if (length > 0) text[at] = static_cast<char>(text[at] ^ (1 << Below(7)));
        break;
      case 3:
        text.erase(at, length);
        break;
      case 4:
        text.insert(Below(text.size() + 1), text.substr(at, length));
        break;
      case 5: {
        const std::string& other = seeds_[Below(seeds_.size())];
        const std::size_t from = Below(other.size() + 1);
        text.replace(at, length, other.substr(from, Below(64)));
        break;
      }
      default:
        if (!words_.empty()) text.insert(at, words_[Below(words_.size())]);
        break;
    }
  }

  const std::vector<std::string>& seeds_;
  const std::vector<std::string>& words_;
  std::uint64_t state_ = 0x9E3779B97F4A7C15;
};

}  // namespace

int main(int argc, char** argv) {
  for (const int each : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL})
    std::signal(each, OnSignal);
  if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(Tell);

  long mutations = 0;
  std::vector<std::string> words;
  std::vector<std::string> paths;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.rfind("--mutations=", 0) == 0)
      mutations = std::atol(argv[i] + 12);
    else if (argument.rfind("--dict=", 0) == 0)
      words = ReadDictionary(argument.substr(7));
    else if (!std::filesystem::is_directory(argument))
      paths.push_back(argument);
    else
      for (const auto& entry : std::filesystem::directory_iterator(argument))
        paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  if (paths.empty()) {
    std::fprintf(stderr, "usage: %s [--mutations=N] [--dict=FILE] FILE|DIRECTORY...\n", argv[0]);
    return 2;
  }

  std::vector<std::string> seeds;
  for (const std::string& path : paths) {
    seeds.push_back(Read(path));
    TryInput(path, seeds.back());
  }
  Mutator mutator(seeds, words);
  for (long i = 0; i < mutations; ++i)
    TryInput("mutation " + std::to_string(i), mutator.Next());
  std::printf("%zu files, %ld mutations\n", seeds.size(), mutations);
  return 0;
}
