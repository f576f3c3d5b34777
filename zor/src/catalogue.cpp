#include "catalogue.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <numeric>

#include "error.h"

namespace zor {

namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

Directory open_directory(int parent, const char* name) {
  const int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return nullptr;
  Directory directory(fdopendir(fd));
  if (!directory) close(fd);
  return directory;
}

bool is_directory(int parent, const dirent* entry) {
  if (entry->d_type == DT_DIR) return true;
  if (entry->d_type != DT_LNK && entry->d_type != DT_UNKNOWN) return false;
  struct stat info;
  return fstatat(parent, entry->d_name, &info, 0) == 0 && S_ISDIR(info.st_mode);
}

bool is_searched(const char* name) {
  return name[0] != '.' && std::strcmp(name, "CVS") != 0;
}

// A revision, by the elements of its path.
using Found = std::vector<std::string>;

class Walk {
 public:
  explicit Walk(Catalogue* catalogue) : catalogue_(catalogue) {}

  void visit(int parent, const char* name) {
    Directory directory = open_directory(parent, name);
    if (!directory) {
      remark(std::strerror(errno));
      return;
    }
    const int fd = dirfd(directory.get());
    if (elements_.size() >= 3 && faccessat(fd, "product.xml", F_OK, 0) == 0) {
      found_.push_back(elements_);
      return;
    }
    struct stat info;
    if (fstat(fd, &info) != 0) {
      remark(std::strerror(errno));
      return;
    }
    // A link that leads back to a directory above would be followed for ever.
    const Place place = {info.st_dev, info.st_ino};
    if (std::find(above_.begin(), above_.end(), place) != above_.end()) {
      remark("a link that leads back to a directory above it");
      return;
    }
    above_.push_back(place);
    while (const dirent* entry = readdir(directory.get())) {
      if (!is_searched(entry->d_name) || !is_directory(fd, entry)) continue;
      elements_.emplace_back(entry->d_name);
      visit(fd, entry->d_name);
      elements_.pop_back();
    }
    above_.pop_back();
  }

  std::vector<std::string>& elements() { return elements_; }
  std::vector<Found>& found() { return found_; }

 private:
  using Place = std::pair<dev_t, ino_t>;

  void remark(const char* text) { catalogue_->remarks.push_back({joined(), text}); }

  std::string joined() const {
    std::string path;
    for (const std::string& element : elements_)
      path += (path.empty() ? "" : "/") + element;
    return path;
  }

  Catalogue* catalogue_;
  std::vector<std::string> elements_;
  std::vector<Place> above_;  // the directories on the way to the one at hand
  std::vector<Found> found_;
};

void sort_by_version(std::vector<std::string>* names) {
  std::sort(names->begin(), names->end());
  std::stable_sort(names->begin(), names->end(), [](const std::string& a, const std::string& b) {
    return compare_versions(a, b) < 0;
  });
}

using Revs = std::map<std::string, std::vector<std::string>>;
using Products = std::map<std::pair<std::string, std::string>, Revs>;

CatalogueProduct product_of(const Products::value_type& entry) {
  CatalogueProduct product{entry.first.first, entry.first.second, {}};
  std::vector<std::string> versions;
  for (const auto& [version, revs] : entry.second)
    versions.push_back(version);
  sort_by_version(&versions);
  for (const std::string& version : versions) {
    product.versions.push_back({version, entry.second.at(version)});
    sort_by_version(&product.versions.back().revs);
  }
  return product;
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

std::vector<std::string> path_elements(std::string_view path) {
  std::vector<std::string> elements;
  while (!path.empty()) {
    const std::size_t slash = std::min(path.find('/'), path.size());
    if (slash > 0) elements.emplace_back(path.substr(0, slash));
    path.remove_prefix(std::min(slash + 1, path.size()));
  }
  return elements;
}

Catalogue read_catalogue(const std::string& root, const std::string& below) {
  Catalogue catalogue;
  Walk walk(&catalogue);
  walk.elements() = path_elements(below);
  const std::string start = below.empty() ? root : root + '/' + below;
  if (access(start.c_str(), R_OK | X_OK) != 0) fail("{}: {}", start, std::strerror(errno));
  walk.visit(AT_FDCWD, start.c_str());
  Products products;
  for (Found& found : walk.found()) {
    const std::size_t count = found.size();
    if (count < 4) continue;
    std::string category = found[0];
    for (std::size_t i = 1; i + 3 < count; ++i)
      category += '/' + found[i];
    products[{category, found[count - 3]}][found[count - 2]].push_back(found[count - 1]);
  }
  for (const auto& entry : products)
    catalogue.products.push_back(product_of(entry));
  std::sort(catalogue.remarks.begin(), catalogue.remarks.end(),
            [](const CatalogueRemark& a, const CatalogueRemark& b) { return a.path < b.path; });
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
        if (is_searched(entry->d_name) && is_directory(dirfd(directory.get()), entry))
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
