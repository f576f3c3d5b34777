// What lies on disk.
#include <dirent.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "check/product.h"
#include "files.h"
#include "render/text.h"

namespace zor::check {

namespace {

struct Entry {
  std::string name;
  bool is_directory = false;
  bool is_file = false;  // for sure, and no link
};

std::vector<Entry> entries_of(const std::string& directory) {
  std::vector<Entry> entries;
  const Directory open(opendir(directory.c_str()));
  if (!open) return entries;
  while (const dirent* entry = readdir(open.get())) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    entries.push_back(
        {std::string(name), is_directory(open.get(), *entry), entry->d_type == DT_REG});
  }
  std::sort(entries.begin(), entries.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
  return entries;
}

bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Names that editors and people give to what they put aside.
bool is_copy(const std::string& name) {
  static constexpr std::string_view kEnds[] = {"~", ".bak", ".old", ".orig", ".save", ".tmp"};
  return std::any_of(std::begin(kEnds), std::end(kEnds),
                     [&](std::string_view end) { return name.ends_with(end); });
}

bool has_huge_number(const std::string& version) {
  std::size_t at = 0;
  while (at < version.size()) {
    if (!is_digit(version[at])) {
      ++at;
      continue;
    }
    std::size_t end = at;
    while (end < version.size() && is_digit(version[end]))
      ++end;
    while (at + 1 < end && version[at] == '0')
      ++at;
    const std::string number = version.substr(at, end - at);
    if (number.size() > 10 || (number.size() == 10 && number > "4294967295")) return true;
    at = end;
  }
  return false;
}

// The rules on one directory, whose entries are versions, or revisions of one.
class Level {
 public:
  Level(const std::string& root, const std::string& path, const std::vector<Entry>& entries,
        bool of_versions)
      : root_(root), path_(path), word_(of_versions ? "version" : "revision") {
    for (const Entry& entry : entries)
      look_at(entry, of_versions);
  }

  // With what lies in them.
  struct Good {
    std::string name;
    std::vector<Entry> entries;
  };
  const std::vector<Good>& good() const { return good_; }
  std::vector<Finding>& findings() { return findings_; }

  void tell(const char* rule, const std::string& name, std::string text, const char* help) {
    findings_.push_back(
        {name.empty() ? path_ : path_ + '/' + name, 0, 0, 0, 0, rule, std::move(text), help, ""});
  }

 private:
  void look_at(const Entry& entry, bool of_versions) {
    const std::string directory = root_ + '/' + path_ + '/' + entry.name;
    std::vector<Entry> entries;
    if (of_versions && entry.is_directory) entries = entries_of(directory);
    const auto is_product = [&](const Entry& rev) {
      return exists(directory + '/' + rev.name + "/product.xml");
    };
    if (!entry.is_directory) {
      tell("ZW101", entry.name,
           fmt::format("a file lies beside {}s and counts as one of them", word_),
           "Keep nothing but versions beside versions, and nothing but revisions beside revisions; "
           "move the file elsewhere.");
    } else if (of_versions ? std::none_of(entries.begin(), entries.end(), is_product)
                           : !exists(directory + "/product.xml")) {
      tell("ZW102", entry.name,
           fmt::format("the directory counts as a {}, but there is no product.xml {}", word_,
                       of_versions ? "in any directory of it" : "in it"),
           "Move the directory elsewhere, or put the product into it.");
    } else if (is_copy(entry.name)) {
      tell("ZW111", entry.name,
           fmt::format("what looks like a copy counts as a {}, and as a higher one than the "
                       "original",
                       word_),
           "Move the copy to where no versions lie.");
    } else {
      good_.push_back({entry.name, std::move(entries)});
      if (!is_digit(entry.name[0]) && of_versions)
        tell("ZW108", entry.name,
             "the version does not begin with a digit: zorenv takes the word for a product's name, "
             "and letters are above all digits, so this is the latest version",
             "Begin the names of versions with a digit.");
      if (has_huge_number(entry.name))
        tell("ZW105", entry.name,
             fmt::format("a number above 4294967295 counts as 0, so this {} is below 1", word_),
             "Write dates with dots, such as 2024.01.15.");
    }
  }

  std::string root_;
  std::string path_;
  const char* word_;
  std::vector<Good> good_;
  std::vector<Finding> findings_;
};

void move_to(std::vector<Finding>* all, std::vector<Finding>& more) {
  all->insert(all->end(), std::make_move_iterator(more.begin()),
              std::make_move_iterator(more.end()));
}

void tell_of_recipe(Product* product, const char* recipe, const char* other, bool other_there) {
  if (!product->has_files(recipe)) return;
  product->tell("ZW110", product->path() + '/' + recipe,
                fmt::format("{} no longer counts, since the product has settings files{}", recipe,
                            other_there ? "" : fmt::format(", and there is no {}", other)),
                "Move both recipes over to env.xml and unenv.xml at once, and delete them.");
}

}  // namespace

std::vector<Finding> check_versions(const std::string& root, const std::string& product) {
  std::vector<Finding> findings;
  const std::string name = product.substr(product.rfind('/') + 1);
  Level versions(root, product, entries_of(root + '/' + product), true);
  if (is_digit(name[0]) || name[0] == '+')
    versions.tell("ZW109", "",
                  "the product's name begins with a digit or +, so that zorenv takes it for a "
                  "version",
                  "Give the product a name that begins with a letter.");
  std::string dotted;
  std::string plain;
  for (const auto& [version, entries] : versions.good()) {
    Level revs(root, product + '/' + version, entries, false);
    move_to(&findings, revs.findings());
    if (!is_digit(version[0])) continue;
    std::string& kind = version.find('.') == std::string::npos ? plain : dotted;
    if (kind.empty()) kind = version;
  }
  if (!dotted.empty() && !plain.empty())
    versions.tell("ZW104", "",
                  fmt::format("versions with dots, such as {}, and without, such as {}, lie side "
                              "by side; between such two, {} is read as if it had a dot behind "
                              "each character",
                              dotted, plain, plain),
                  "Choose one form for all versions of a product.");
  move_to(&findings, versions.findings());
  return findings;
}

bool check_files(Product* product) {
  bool readable = true;
  for (const Entry& entry : entries_of(product->directory())) {
    const auto* const same =
        std::find_if(std::begin(kDataFiles), std::end(kDataFiles),
                     [&](const char* file) { return folded(entry.name) == file; });
    if (same == std::end(kDataFiles)) continue;
    const std::string path = product->path() + '/' + entry.name;
    if (entry.name != *same) {
      product->tell("ZW107", path, fmt::format("this is not {}, and nobody reads it", *same),
                    "Write the names of data files in small letters.");
      continue;
    }
    const std::string full = product->root() + '/' + path;
    struct stat info = {};
    if (entry.is_file) info.st_mode = S_IFREG;
    const bool known = entry.is_file || stat(full.c_str(), &info) == 0;
    if (known && S_ISREG(info.st_mode) && access(full.c_str(), R_OK) == 0) {
      product->add_file(*same);
      continue;
    }
    const std::string what = !known ? fmt::format(
                                          "the link leads nowhere ({}); the file counts as "
                                          "missing",
                                          std::strerror(errno))
                             : S_ISDIR(info.st_mode) ? "this is a directory; the product fails"
                             : S_ISREG(info.st_mode) ? "the file can't be read by you"
                             : S_ISFIFO(info.st_mode)
                                 ? "this is a pipe; a run waits until somebody "
                                   "writes into it"
                                 : "this is no regular file";
    product->tell("ZW103", path, what, "Put a regular file in its place that everybody may read.");
    // A link that leads nowhere keeps nobody from reading the others.
    readable = readable && !known;
  }
  if (!readable) return false;
  if (!product->has_files("partlist.xml")) {
    product->tell("ZW106", product->path(),
                  "there is no partlist.xml: the product fails, and where it is a part it is "
                  "skipped",
                  "Add a partlist.xml; that of a product without parts is <PARTLIST/>.");
    readable = false;
  }
  const bool env = product->has_files("env.xml");
  const bool unenv = product->has_files("unenv.xml");
  if (env || unenv) {
    tell_of_recipe(product, "setup.xml", "env.xml", env);
    tell_of_recipe(product, "unset.xml", "unenv.xml", unenv);
  }
  return readable;
}

}  // namespace zor::check
