#include "catalogue.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <numeric>
#include <span>

#include "error.h"
#include "files.h"
#include "words.h"

namespace zor {

namespace {

Directory open_directory(int parent, const char* name) {
  const int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return nullptr;
  Directory directory(fdopendir(fd));
  if (!directory) close(fd);
  return directory;
}

// A revision, by the elements of its path: the last three are name, version and rev.
struct Found {
  std::string category;
  std::string name;
  std::string version;
  std::string rev;

  auto operator<=>(const Found&) const = default;
};

// Few calls for each directory count here: a site has tens of thousands. What kind an entry is of
// comes with its name; a revision is known by asking for its product.xml, without opening it; and
// only where a link is followed it is asked whether it leads back.
class Walk {
 public:
  Walk(Catalogue* catalogue, const std::string& below) : catalogue_(catalogue) {
    for (const std::string& element : path_elements(below))
      enter(element.c_str());
  }

  // The directory of this name in the parent, whose path is the one at hand.
  void visit(int parent, const char* name, bool by_link) {
    Directory directory = open_directory(parent, name);
    if (!directory) {
      remark(std::strerror(errno));
      return;
    }
    const int fd = dirfd(directory.get());
    if (by_link && leads_back(fd)) {
      remark("a link that leads back to a directory above it");
      return;
    }
    above_.push_back(fd);
    const std::size_t found_before = found_.size();
    std::vector<std::string> files;
    while (const dirent* entry = readdir(directory.get())) {
      if (!is_searched(entry->d_name)) continue;
      if (!is_directory(directory.get(), *entry)) {
        files.emplace_back(entry->d_name);
        continue;
      }
      const std::size_t length = enter(entry->d_name);
      if (slashes_ >= 2 && has_product_file(fd, entry->d_name))
        add_found();
      else
        visit(fd, entry->d_name, entry->d_type != DT_DIR);
      leave(length);
    }
    above_.pop_back();
    tell_files(files, found_before);
    if (slashes_ >= 3 && std::any_of(files.begin(), files.end(), is_data_file))
      catalogue_->without_info.push_back(path_);
  }

  // Adds the directory at hand if it is itself a revision.
  bool is_revision(const std::string& start) {
    if (path_.empty() || slashes_ < 2 || !has_product_file(AT_FDCWD, start)) return false;
    add_found();
    return true;
  }

  std::vector<Found>& found() { return found_; }

 private:
  // Adds an element to the path, and gives the length that leave takes.
  std::size_t enter(const char* name) {
    const std::size_t length = path_.size();
    if (length > 0) {
      path_ += '/';
      ++slashes_;
    }
    path_ += name;
    return length;
  }

  void leave(std::size_t length) {
    if (length > 0) --slashes_;
    path_.resize(length);
  }

  static bool is_data_file(const std::string& name) {
    return std::find(std::begin(kDataFiles), std::end(kDataFiles), name) != std::end(kDataFiles);
  }

  static bool has_product_file(int parent, const std::string& name) {
    return faccessat(parent, (name + "/product.xml").c_str(), F_OK, 0) == 0;
  }

  // Whether it is one of the directories above.
  bool leads_back(int fd) const {
    struct stat info;
    if (fstat(fd, &info) != 0) return false;
    return std::any_of(above_.begin(), above_.end(), [&](int other) {
      struct stat there;
      return fstat(other, &there) == 0 && there.st_dev == info.st_dev &&
             there.st_ino == info.st_ino;
    });
  }

  // A product.xml three levels deep belongs to nothing that can be named.
  void add_found() {
    if (slashes_ < 3) return;
    Found found;
    std::string_view rest = path_;
    for (std::string Found::*field : {&Found::rev, &Found::version, &Found::name}) {
      const std::size_t slash = rest.rfind('/');
      found.*field = rest.substr(slash + 1);
      rest = rest.substr(0, slash);
    }
    found.category = rest;
    found_.push_back(std::move(found));
  }

  // The search for the latest takes any entry for a version or a rev.
  void tell_files(const std::vector<std::string>& files, std::size_t found_before) {
    if (files.empty() || found_before == found_.size()) return;
    const Found& last = found_.back();
    const std::string product = last.category + '/' + last.name;
    const char* what = path_ == product                        ? "version"
                       : path_ == product + '/' + last.version ? "rev"
                                                               : nullptr;
    if (!what) return;
    for (const std::string& file : files)
      catalogue_->remarks.push_back(
          {path_ + '/' + file,
           fmt::format("a file where each entry counts as a {}, also when the latest is looked for",
                       what)});
  }

  void remark(const char* text) { catalogue_->remarks.push_back({path_, text}); }

  Catalogue* catalogue_;
  std::string path_;         // of the directory at hand, below the root
  std::size_t slashes_ = 0;  // in it
  std::vector<int> above_;   // the open directories on the way
  std::vector<Found> found_;
};

void sort_by_version(std::vector<std::string>* names) {
  if (names->size() < 2) return;
  std::sort(names->begin(), names->end());
  std::stable_sort(names->begin(), names->end(), [](const std::string& a, const std::string& b) {
    return compare_versions(a, b) < 0;
  });
}

// The versions of a product, of its revisions in any order.
std::vector<CatalogueVersion> versions_of(std::span<Found> revisions) {
  std::map<std::string, std::vector<std::string>> revs;
  for (Found& found : revisions)
    revs[std::move(found.version)].push_back(std::move(found.rev));
  std::vector<std::string> names;
  names.reserve(revs.size());
  for (const auto& entry : revs)
    names.push_back(entry.first);
  sort_by_version(&names);
  std::vector<CatalogueVersion> versions;
  versions.reserve(names.size());
  for (std::string& name : names) {
    auto& of_version = revs.at(name);
    sort_by_version(&of_version);
    versions.push_back({std::move(name), std::move(of_version)});
  }
  return versions;
}

// The number of insertions, removals, replacements and exchanges of neighbours between two words.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before(b.size() + 1);
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(last.begin(), last.end(), 0);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = a[i - 1] == b[j - 1];
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], before[j - 2] + 1);
    }
    before.swap(last);
    last.swap(row);
  }
  return last[b.size()];
}

}  // namespace

bool is_searched(std::string_view name) {
  return !name.starts_with('.') && name != "CVS";
}

std::vector<std::string> path_elements(std::string_view path) {
  std::vector<std::string> elements;
  while (!path.empty()) {
    const std::size_t slash = std::min(path.find('/'), path.size());
    if (slash > 0) elements.emplace_back(path.substr(0, slash));
    path.remove_prefix(std::min(slash + 1, path.size()));
  }
  return elements;
}

std::string normal_path(std::string_view path) {
  return joined(path_elements(path), "/");
}

std::string no_warehouse(const std::string& root, bool given) {
  const char* const read_on = "\n  see zor(1), ENVIRONMENT";
  if (!given)
    return fmt::format(
        "neither -r nor ZORROOT says where the warehouse is, and the current directory is none\n"
        "  say it with -r DIRECTORY, or for all commands with export ZORROOT=DIRECTORY{}",
        read_on);
  struct stat info = {};
  const int reason = stat(root.c_str(), &info) == 0 ? ENOTDIR : errno;
  const std::size_t slash = root.rfind('/');
  const std::string above = slash == std::string::npos ? "." : root.substr(0, slash + 1);
  std::vector<std::string> names;
  if (Directory directory = open_directory(AT_FDCWD, above.c_str()))
    while (const dirent* entry = readdir(directory.get()))
      if (is_searched(entry->d_name) && is_directory(directory.get(), *entry))
        names.emplace_back(entry->d_name);
  const std::vector<std::string> near =
      nearest(slash == std::string::npos ? root : root.substr(slash + 1), names, 1);
  return fmt::format(
      "there is no warehouse {}: {}\n  that is where -r or ZORROOT says it is\n  {}{}", root,
      std::strerror(reason),
      near.empty()
          ? "say where it is, with -r DIRECTORY or export ZORROOT=DIRECTORY"
          : fmt::format("did you mean {}{}?", slash == std::string::npos ? "" : above, near[0]),
      read_on);
}

Catalogue read_catalogue(const std::string& root, const std::string& below) {
  Catalogue catalogue;
  Walk walk(&catalogue, below);
  const std::string start = below.empty() ? root : root + '/' + below;
  if (access(start.c_str(), R_OK | X_OK) != 0) {
    const int reason = errno;
    if (below.empty() && (reason == ENOENT || reason == ENOTDIR))
      fail("{}", no_warehouse(root, true));
    fail("{}: {}", start, std::strerror(reason));
  }
  if (!walk.is_revision(start)) walk.visit(AT_FDCWD, start.c_str(), false);
  std::vector<Found>& found = walk.found();
  std::sort(found.begin(), found.end());
  for (std::size_t i = 0; i < found.size();) {
    std::size_t end = i + 1;
    while (end < found.size() && found[end].category == found[i].category &&
           found[end].name == found[i].name)
      ++end;
    CatalogueProduct product{found[i].category, found[i].name, {}};
    product.versions = versions_of(std::span(found).subspan(i, end - i));
    catalogue.products.push_back(std::move(product));
    i = end;
  }
  std::sort(catalogue.remarks.begin(), catalogue.remarks.end(),
            [](const CatalogueRemark& a, const CatalogueRemark& b) { return a.path < b.path; });
  std::sort(catalogue.without_info.begin(), catalogue.without_info.end());
  return catalogue;
}

std::vector<CatalogueProduct> products_named(const Catalogue& catalogue, const std::string& name) {
  std::vector<CatalogueProduct> products;
  for (const CatalogueProduct& product : catalogue.products)
    if (product.name == name) products.push_back(product);
  return products;
}

bool product_exists(const std::string& root, const ProductName& product) {
  const auto is_open = [](const std::string& field) { return field.empty() || field == "+"; };
  const std::string above = root + '/' + product.category + '/' + product.name;
  const auto names_in = [](const std::string& path) {
    std::vector<std::string> names;
    if (Directory directory = open_directory(AT_FDCWD, path.c_str()))
      while (const dirent* entry = readdir(directory.get()))
        if (is_searched(entry->d_name) && is_directory(directory.get(), *entry))
          names.emplace_back(entry->d_name);
    return names;
  };
  const auto versions = is_open(product.version) ? names_in(above) : std::vector{product.version};
  for (const std::string& version : versions) {
    const std::string inside = fmt::format("{}/{}", above, version);
    const auto revs = is_open(product.rev) ? names_in(inside) : std::vector{product.rev};
    for (const std::string& rev : revs)
      if (access(fmt::format("{}/{}/product.xml", inside, rev).c_str(), F_OK) == 0) return true;
  }
  return false;
}

std::vector<std::string> nearest(const std::string& word,
                                 const std::vector<std::string>& candidates, std::size_t count) {
  std::vector<std::pair<std::size_t, std::string>> ranked;
  for (const std::string& candidate : candidates) {
    const std::size_t far = distance(word, candidate);
    // A third of the letters may differ; a word that goes on with others is near as well.
    if (far <= std::max<std::size_t>(1, word.size() / 3) ||
        (word.size() >= 3 && candidate.starts_with(word)))
      ranked.emplace_back(far, candidate);
  }
  std::sort(ranked.begin(), ranked.end());
  ranked.erase(std::unique(ranked.begin(), ranked.end()), ranked.end());
  std::vector<std::string> words;
  for (std::size_t i = 0; i < ranked.size() && i < count; ++i)
    words.push_back(ranked[i].second);
  return words;
}

}  // namespace zor
