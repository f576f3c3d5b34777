// Patterns over path elements. An input is a pattern and a subject, a line each.
//
// - The answer is that of a plain backtracking matcher, where that one ends in time: for short
//   texts of well-formed characters with few stars.
// - A search of a small tree finds just the files whose paths below it match the pattern, sorted,
//   none twice.
// - A pattern has globs if it has one of their characters.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "fuzz.h"
#include "fwerror.h"
#include "fwvector.h"
#include "glob.h"
#include "model/words.h"

namespace {

constexpr std::size_t kShort = 40;
constexpr int kFewStars = 4;

bool Plain(const std::string& text) {
  return text.size() <= kShort && std::count(text.begin(), text.end(), '*') <= kFewStars &&
         fuzz::WellFormed(text);
}

// The parts after the bar look at the disk: only below the tree.
bool StaysInTheTree(const std::string& pattern, const std::string& subject) {
  const std::string both = pattern + "\n" + subject;
  return both.find('|') == std::string::npos ||
         (both.find("..") == std::string::npos && !subject.starts_with("/"));
}

// The directory in which the framework was booted, so that relative paths start there.
const std::string& Tree() {
  [[maybe_unused]] static const bool kMade = [] {
    for (const char* file : {"a", "ab", "b/a", "b/b/c.d", "b/b/.e", "c/d", ".f", "b/\xC3\xA9"})
      fuzz::WriteFile(file, "");
    return std::filesystem::create_directory(fuzz::Directory() + "/d");
  }();
  return fuzz::Directory();
}

// Files behind a bar are looked for in the process's real current directory: the tree, until the
// end of the scope.
class InTree {
 public:
  InTree() : before_(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (before_ < 0 || chdir(Tree().c_str()) != 0) fuzz::Fail("no way into the tree", Tree());
  }
  ~InTree() {
    if (fchdir(before_) != 0) fuzz::Fail("no way back out of the tree");
    close(before_);
  }
  InTree(const InTree&) = delete;
  InTree& operator=(const InTree&) = delete;

 private:
  const int before_;
};

// Paths below the tree, without a trailing separator; the tree's own is empty.
const std::vector<std::string>& Paths() {
  static const std::vector<std::string> kPaths = [] {
    std::vector<std::string> all = {""};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Tree()))
      all.push_back(entry.path().string().substr(Tree().size() + 1));
    return all;
  }();
  return kPaths;
}

// An element "." or "..", or none in front of a bar, is a path of its own in a search.
bool HasDotElement(const std::string& pattern) {
  for (const std::string& element : model::SplitAtAny(pattern, "/|*"))
    if (element == "." || element == "..") return true;
  return false;
}

std::vector<std::string> Found(const std::string& pattern) {
  // The root inside "**/text**" is told so where the search meets it.
  const fuzz::Allow allow({"unexpected T_ROOT in search_dir\n"});
  fuzz::Text writable(pattern), tree(Tree());
  FwErrorState err;
  FwVector results;
  FwVectorOpen(&results, 4);
  const int found = wh_find_files(&err, writable, tree, &results);
  if ((err.pError != nullptr) != pattern.starts_with("/"))
    fuzz::Fail("only an absolute pattern is refused", fuzz::Quoted(pattern));
  std::vector<std::string> paths;
  paths.reserve(static_cast<std::size_t>(FwVectorLength(&results)));
  for (int32 i = 0; i < FwVectorLength(&results); ++i)
    paths.emplace_back(FWC(static_cast<FwTextString>(FwVectorGetElement(&results, i))));
  if ((found != 0) != !paths.empty())
    fuzz::Fail("the result tells whether any was found", fuzz::Quoted(pattern));
  FwVectorAbandon(&results, 1);
  FwErrorClear(&err);
  return paths;
}

void CheckSearch(const std::string& pattern) {
  std::vector<std::string> found = Found(pattern);
  if (!std::is_sorted(found.begin(), found.end()) ||
      std::adjacent_find(found.begin(), found.end()) != found.end())
    fuzz::Fail("what is found is sorted and stands once", fuzz::Quoted(pattern));
  for (std::string& path : found) {
    if (!path.starts_with(Tree() + "/")) fuzz::Fail("a path begins with the tree", path);
    path.erase(0, Tree().size() + 1);
    if (path.ends_with("/")) path.pop_back();
  }
  if (!Plain(pattern) || HasDotElement(pattern) || pattern.starts_with("/")) return;
  std::sort(found.begin(), found.end());
  for (const std::string& path : Paths()) {
    // As a subject the tree's own name is empty, which names no directory to look into.
    if (path.empty() && pattern.find('|') != std::string::npos) continue;
    const bool matches = model::GlobMatches(pattern, path, Tree());
    if (matches != std::binary_search(found.begin(), found.end(), path))
      fuzz::Fail(
          matches ? "a path that matches is not found" : "a path is found that doesn't match",
          fuzz::Quoted(pattern) + " " + fuzz::Quoted(path));
  }
}

}  // namespace

void fuzz::Try(Input& input) {
  const std::string pattern = input.Line();
  const std::string subject = input.Line();
  if (!StaysInTheTree(pattern, subject)) return;

  const Allow allow = Malformed(pattern + "\n" + subject);
  const InTree in_tree;
  Text pattern_text(pattern), subject_text(subject);
  const bool matches = wh_glob_matches(pattern_text, subject_text) != 0;
  if (pattern_text.str() != pattern || subject_text.str() != subject)
    Fail("a text was written to", Quoted(pattern));
  if (Plain(pattern) && Plain(subject) && matches != model::GlobMatches(pattern, subject, Tree()))
    Fail(matches ? "a match that plain backtracking does not see"
                 : "no match where plain backtracking sees one",
         Quoted(pattern) + " " + Quoted(subject));

  const bool globs = pattern.find_first_of("*?|") != std::string::npos;
  if ((wh_has_globs(pattern_text) != 0) != globs) Fail("globs are told wrong", Quoted(pattern));

  if (pattern.find("..") == std::string::npos &&
      std::count(pattern.begin(), pattern.end(), '*') <= 2 * kFewStars)
    CheckSearch(pattern);
}
