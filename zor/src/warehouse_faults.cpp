// Faults of data files, and of what lies on disk, put into words for people.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "catalogue.h"
#include "diagnosis.h"
#include "files.h"
#include "formats/names.h"
#include "warehouse_private.h"
#include "words.h"

namespace zor {

namespace {

using Names = std::vector<std::string>;

constexpr const char* kVersions = "zorenv-warehouse(5), VERSIONS";
constexpr const char* kTree = "zorenv-warehouse(5), DESCRIPTION";

// The parts of a text in the form of told().
std::string lines(const std::string& text, const std::string& why, const std::string& help,
                  const std::string& read_on) {
  std::string all = text;
  for (const std::string& line : {why, help})
    if (!line.empty()) all += "\n  " + line;
  return all + "\n  see " + read_on;
}

std::string detail(const Fault& fault, std::string_view type) {
  for (const Binding& each : fault.details)
    if (each.name == type) return each.value;
  return {};
}

bool is_open(const std::string& field) {
  return field.empty() || field == "+";
}

bool is_directory(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

// All entries of a directory, or only the directories that may belong to the warehouse; sorted.
Names entries_of(const std::string& path, bool only_directories) {
  Names names;
  const Directory directory(opendir(path.c_str()));
  while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (only_directories && (!is_searched(name) || !is_directory(path + '/' + name))) continue;
    names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// "; there are a, b and c" or that there is nothing; with the one that was meant, if one is near.
std::string there_are(const std::string& word, Names names) {
  constexpr std::size_t kMost = 12;
  if (names.empty()) return "; there are none";
  const std::string near = meant(word, names);
  const std::size_t more = names.size() > kMost ? names.size() - kMost : 0;
  if (more > 0) {
    names.resize(kMost);
    names.push_back(fmt::format("{} more", more));
  }
  return fmt::format("; there {} {}{}", names.size() == 1 ? "is" : "are", enumerated(names),
                     near.empty() ? "" : fmt::format(" (did you mean {}?)", near));
}

// ---- What is the latest ----

std::string highest(const Names& names) {
  std::string latest;
  for (const std::string& name : names)
    if (latest.empty() || compare_versions(name, latest) > 0) latest = name;
  return latest;
}

// The highest version or rev below a path that leads to a product.
std::string highest_good(const std::string& root, const ProductName& product, bool of_version) {
  Names good;
  for (const std::string& name :
       entries_of(fmt::format("{}/{}/{}{}", root, product.category, product.name,
                              of_version ? "" : '/' + product.version),
                  true)) {
    ProductName candidate = product;
    (of_version ? candidate.version : candidate.rev) = name;
    if (of_version) candidate.rev = "+";
    if (product_exists(root, candidate)) good.push_back(name);
  }
  return highest(good);
}

// What is wrong with an entry that was taken for the latest version or rev because it is the
// highest beside others; empty if nothing is.
std::string entry_trouble(const std::string& path, bool of_version) {
  struct stat info = {};
  if (!exists(path)) return lstat(path.c_str(), &info) == 0 ? "leads nowhere" : "is not there";
  if (!is_directory(path)) return "is a file";
  if (of_version) return entries_of(path, false).empty() ? "is an empty directory" : "";
  return exists(path + "/product.xml") ? "" : "has no product.xml";
}

// Why no latest version and rev of the product can be taken; nothing if they can.
std::optional<std::string> latest_trouble(const std::string& root, ProductName product) {
  std::string path = fmt::format("{}/{}/{}", root, product.category, product.name);
  for (const bool of_version : {true, false}) {
    std::string& field = of_version ? product.version : product.rev;
    const char* const word = of_version ? "version" : "revision";
    const std::string above = path;
    const bool open = is_open(field);
    if (open) {
      field = highest(entries_of(path, false));
      if (field.empty())
        return lines(
            fmt::format("{} is empty, and should hold a directory for each {}", path, word),
            fmt::format("so {}/{} has no {} to take", product.category, product.name, word),
            "remove the directory, or put the product into it", kTree);
    }
    path += '/' + field;
    std::string trouble = entry_trouble(path, of_version);
    // It is the version that is out of place if nothing in it is a rev.
    if (!of_version && trouble.empty()) return std::nullopt;
    if (trouble.empty() && of_version && open && is_open(product.rev)) {
      const ProductName here = {product.category, product.name, field, "+"};
      if (!product_exists(root, here)) trouble = "has no revision with a product.xml";
    }
    if (trouble.empty()) continue;
    const std::string good = highest_good(root, product, of_version);
    if (!open)
      return lines(fmt::format("{} {}, so it is not a {} of {}/{}", path, trouble, word,
                               product.category, product.name),
                   "", good.empty() ? "" : fmt::format("{} {} is there", word, good), kTree);
    return lines(
        fmt::format("{} is taken for the latest {} of {}/{}, and {}", path, word, product.category,
                    product.name, trouble),
        fmt::format(
            "where no {0} is named the highest entry is taken, whatever it is, and so nobody "
            "can use the product without naming a {0}",
            word),
        good.empty()
            ? fmt::format("move {} out of {} if it is not a {}", field, above, word)
            : fmt::format("move {} out of {} if it is not a {}; until then name one: {}/{}/{}",
                          field, above, word, product.category, product.name,
                          of_version ? good : product.version + '/' + good),
        kVersions);
  }
  return std::nullopt;
}

// ---- What is missing ----

// Ways in which a product may have been meant that -p was not given as it takes it.
std::string other_reading(const std::string& root, const ProductName& product) {
  const std::string whole =
      product.name == "Contents" ? product.category : product.category + '/' + product.name;
  const Names elements = path_elements(whole);
  for (std::size_t i = 1; i + 1 <= elements.size(); ++i) {
    ProductName candidate = {
        joined({elements.begin(), elements.begin() + static_cast<long>(i)}, "/"), elements[i], "+",
        "+"};
    if (i + 1 < elements.size()) candidate.version = elements[i + 1];
    if (i + 2 < elements.size()) candidate.rev = elements[i + 2];
    const bool same = candidate.category == product.category && candidate.name == product.name;
    if (same || i + 3 < elements.size() || !product_exists(root, candidate)) continue;
    std::string line = fmt::format("-p {} {}", candidate.category, candidate.name);
    for (const std::string& field : {candidate.version, candidate.rev})
      if (field != "+") line += ' ' + field;
    return line;
  }
  return {};
}

// "-p gcc", where gcc is no category but the name of products.
std::string by_name(const std::string& root, const std::string& name) {
  Names lines;
  for (const CatalogueProduct& product : products_named(read_catalogue(root), name))
    lines.push_back(fmt::format("-p {} {}", product.category, product.name));
  return enumerated(lines, "or");
}

std::string missing_element(const Asked& asked, const ProductName& product) {
  const std::string meant_line = other_reading(asked.root, product);
  const std::string told_as = fmt::format(
      "-p takes category, name, version and revision as words "
      "of their own");
  const std::string path_form = fmt::format("{}/{}", product.category, product.name);
  if (!meant_line.empty())
    return lines(
        fmt::format("there is no product {} in the category {}", product.name, product.category),
        told_as, fmt::format("did you mean {}?", meant_line), "zor(1), Requests");
  std::string above = asked.root;
  std::string done;
  for (const std::string& element : path_elements(product.category)) {
    if (!is_directory(above + '/' + element)) {
      if (!asked.root_given) return no_warehouse(asked.root, false);
      const std::string named = by_name(asked.root, element);
      return lines(fmt::format("there is no category {}{} in {}{}", done, element, asked.root,
                               there_are(element, entries_of(above, true))),
                   "",
                   named.empty() ? "zor avail lists all products"
                                 : fmt::format("{} is the name of a product: {}", element, named),
                   "zor(1), Requests");
    }
    above += '/' + element;
    done += element + '/';
  }
  const char* const words[] = {"product", "version", "revision"};
  const std::string* const fields[] = {&product.name, &product.version, &product.rev};
  std::string whole = product.category;
  for (int i = 0; i < 3; ++i) {
    if (is_open(*fields[i])) break;
    if (!is_directory(above + '/' + *fields[i]))
      return lines(fmt::format("{} has no {} {}{}", whole, words[i], *fields[i],
                               there_are(*fields[i], entries_of(above, true))),
                   "", fmt::format("zor avail '{}*' lists them", whole), "zor(1), Requests");
    above += '/' + *fields[i];
    whole += '/' + *fields[i];
  }
  return {};
}

// A data file that each product must have.
std::string missing_file(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string file = path.substr(slash + 1);
  const std::string directory = path.substr(0, slash);
  const bool is_list = file == "partlist.xml";
  return lines(
      fmt::format("{} has no {}", directory, file),
      fmt::format("each product must have one, so this one can't be used (File {} Does not "
                  "exist)",
                  path),
      is_list ? "a product without parts has <PARTLIST/> in it"
              : "write one, or move the directory away",
      fmt::format("zorenv-warehouse(5), {}", is_list ? "PARTLIST.XML" : "PRODUCT.XML"));
}

// The product among those that were asked for, below whose directory of versions the path lies, or
// on the way to which.
const ProductName* asked_for(const Asked& asked, const std::string& path) {
  for (const ProductName& product : asked.products) {
    const std::string base = fmt::format("{}/{}/{}/", asked.root, product.category, product.name);
    if ((path + '/').starts_with(base) || base.starts_with(path + '/')) return &product;
  }
  return nullptr;
}

std::string missing(const Fault& fault, const Asked& asked) {
  if (!is_directory(asked.root)) return no_warehouse(asked.root, asked.root_given);
  std::string path = detail(fault, "File");
  while (path.size() > 1 && path.ends_with('/'))
    path.pop_back();
  const ProductName* product = asked_for(asked, path);
  if (product) {
    std::string text = missing_element(asked, *product);
    if (!text.empty()) return text;
    if (const auto trouble = latest_trouble(asked.root, *product)) {
      const bool open = is_open(product->version) || is_open(product->rev);
      if (open) return *trouble;
    }
  }
  const std::string leaf = path.substr(path.rfind('/') + 1);
  if ((leaf == "product.xml" || leaf == "partlist.xml") &&
      is_directory(path.substr(0, path.rfind('/'))))
    return missing_file(path);
  return {};
}

// ---- Names that are not defined ----

std::string undefined(const Fault& fault, const Asked& asked, std::vector<Location>* places) {
  const std::string name = detail(fault, "% variable");
  const std::string file = asked.root + '/' + detail(fault, "File");
  const std::size_t slash = file.rfind('/');
  const std::string directory = file.substr(0, slash);
  Names files = {file};
  for (const char* other : kDataFiles)
    if (directory + '/' + other != file) files.push_back(directory + '/' + other);
  const auto uses = uses_of_name(files, name);
  const bool of_environment =
      !uses.empty() &&
      std::all_of(uses.begin(), uses.end(), [](const NameUse& use) { return use.of_environment; });
  std::string place = file;
  if (!uses.empty()) {
    const NameUse& use = uses.front();
    place = fmt::format("{}:{}:{}", use.file, use.line, use.column);
    for (const NameUse& each : uses)
      places->push_back({{}, each.file, each.line, each.column});
  }
  if (of_environment)
    return lines(
        fmt::format("{}: % variable {} is not defined: %{{{}}} stands for an environment "
                    "variable, and there is none of that name",
                    place, name, name),
        "there is no default for one, so the product can't be used without it",
        fmt::format("set it before, as in {}=... zor ...; or write its value into the file "
                    "in place of %{{{}}}",
                    name, name),
        "zorenv-warehouse(5), EXPANSION");
  const Names names = defined_names(directory);
  const std::string near = meant(name, names);
  return lines(
      fmt::format("{}: % variable {} is not defined{}{}", place, name,
                  uses.empty() || uses.front().name == name
                      ? ""
                      : fmt::format(", which %({}) leads to", uses.front().name),
                  near.empty() || near == name ? "" : fmt::format(" (did you mean %({})?)", near)),
      fmt::format("defined are {}", enumerated(names)),
      "write one of these, or give the variety a VAR of that name in product.xml",
      "zorenv-warehouse(5), EXPANSION");
}

// ---- Permissions ----

std::string denied(const std::string& path) {
  std::string blocked = path;
  // The first that can't be passed on the way.
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    const std::string above = path.substr(0, slash);
    if (access(above.c_str(), X_OK) != 0) {
      blocked = above;
      break;
    }
  }
  while (blocked.size() > 1 && blocked.ends_with('/'))
    blocked.pop_back();
  const bool directory = is_directory(blocked);
  return lines(fmt::format("{}: permission denied", path),
               blocked == path || blocked + '/' == path
                   ? fmt::format("you may not read this {}", directory ? "directory" : "file")
                   : fmt::format("you may not enter the directory {}", blocked),
               fmt::format("whoever looks after the warehouse can open it to all: chmod {} {}",
                           directory ? "a+rx" : "a+r", blocked),
               kTree);
}

// ---- One fault ----

std::string of_data_file(const std::string& path, std::vector<Location>* places) {
  std::string text;
  for (const Diagnosis& each : diagnose_file(path)) {
    text += (text.empty() ? "" : "\n") + told(each);
    if (each.line > 0) places->push_back({{}, each.file, each.line, each.column});
  }
  return text;
}

// The data files of products that were asked for, or are their parts, that are directories.
std::string directories_for_files(const Asked& asked) {
  std::string text;
  for (const ProductName& product : asked.products)
    for (const char* file : kDataFiles) {
      const std::string path = fmt::format("{}/{}/{}", asked.root, product.path(), file);
      if (!is_directory(path)) continue;
      std::vector<Location> none;
      text += (text.empty() ? "" : "\n") + of_data_file(path, &none);
    }
  return text;
}

std::string first_trouble(const Asked& asked) {
  if (!is_directory(asked.root)) return no_warehouse(asked.root, asked.root_given);
  for (const ProductName& product : asked.products)
    if (is_open(product.version) || is_open(product.rev))
      if (const auto trouble = latest_trouble(asked.root, product)) return *trouble;
  return {};
}

std::string other(const Fault& fault, const Asked& asked) {
  const std::string path = detail(fault, "File");
  if (fault.text.find("denied") != std::string::npos)
    return path.empty() ? directories_for_files(asked) : denied(path);
  for (const ProductName& product : asked.products) {
    const std::string line =
        product.name.find('/') == std::string::npos ? "" : other_reading(asked.root, product);
    if (!line.empty())
      return lines(
          fmt::format("the name of a product holds no slash, but here is {}", product.name),
          "-p takes category, name, version and revision as words of their own",
          fmt::format("did you mean {}?", line), "zor(1), Requests");
  }
  return first_trouble(asked);
}

// ---- Bytes that are no text ----

// What the engine says only of texts that come from outside: data files are read as XML.
bool is_of_bytes(const Fault& fault) {
  return fault.text.starts_with("Badly encoded UTF-8") ||
         fault.text.starts_with("Badly terminated string");
}

// Nothing if there are no such bytes in what was asked.
std::string strange_bytes(const Asked& asked) {
  if (!is_utf8(asked.root))
    return lines(fmt::format("the path {} is not UTF-8, and can't be read", asked.root), "",
                 "rename the directory, or reach it by a link", kTree);
  for (const ProductName& product : asked.products)
    for (const std::string* element :
         {&product.category, &product.name, &product.version, &product.rev})
      if (!is_utf8(*element))
        return lines(fmt::format("{} is not UTF-8, and can't be read as a name", *element), "",
                     "rename its directory", kTree);
  Names names;
  for (const std::string& text : asked.base ? asked.base->texts() : Names())
    if (!is_utf8(text)) names.push_back(text.substr(0, text.find('=')));
  if (names.empty()) return {};
  return lines(fmt::format("the environment variable{} {} {} bytes that are not UTF-8",
                           names.size() == 1 ? "" : "s", enumerated(names),
                           names.size() == 1 ? "holds" : "hold"),
               "what these products change is taken apart as text, and can't be here",
               "write the value in UTF-8, or unset the variable", "zorenv(1), DIAGNOSTICS");
}

}  // namespace

std::string why_missing(const std::string& root, const ProductName& product) {
  const std::string path = fmt::format("{}/{}", root, product.path());
  for (const char* file : {"product.xml", "partlist.xml"})
    if (is_directory(path) && !exists(path + '/' + file)) return fmt::format("it has no {}", file);
  // What is + in a request stands for nothing but itself in a part list.
  std::string above = fmt::format("{}/{}/{}", root, product.category, product.name);
  for (const auto& [word, field] :
       {std::pair("version", product.version), std::pair("revision", product.rev)}) {
    if (field == "+")
      return fmt::format("a part list names the {}, and + is none{}", word,
                         there_are(field, entries_of(above, true)));
    above += '/' + field;
  }
  const std::string text = missing_element({root, true, {}, nullptr}, product);
  return text.substr(0, text.find('\n'));
}

void explain_faults(std::vector<Fault>* faults, const Asked& asked) {
  std::vector<Fault> explained;
  for (Fault& fault : *faults) {
    std::string text;
    std::vector<Location> places;
    const std::string path = detail(fault, "File");
    if (fault.kind == FaultKind::kUndefined) {
      text = undefined(fault, asked, &places);
    } else if (fault.kind == FaultKind::kMissing) {
      text = missing(fault, asked);
    } else if (fault.kind == FaultKind::kData) {
      text = of_data_file(path, &places);
    } else if (fault.kind == FaultKind::kAssertion && is_of_bytes(fault)) {
      text = strange_bytes(asked);
      if (!text.empty()) fault.kind = FaultKind::kOther;
    } else if (fault.kind == FaultKind::kOther) {
      // Of some faults of XML the engine has no word of its own, and says so before.
      const bool is_denied = fault.text.find("denied") != std::string::npos;
      if (!path.empty() && !is_denied) text = of_data_file(path, &places);
      if (!text.empty() && !explained.empty() && explained.back().kind == FaultKind::kAssertion) {
        explained.pop_back();
        fault.kind = FaultKind::kData;
      }
      if (text.empty()) text = other(fault, asked);
    }
    const auto same = [&](const Fault& before) { return before.text == text; };
    if (!text.empty() && std::any_of(explained.begin(), explained.end(), same)) continue;
    if (!text.empty()) fault.text = std::move(text);
    if (!places.empty()) fault.places = std::move(places);
    explained.push_back(std::move(fault));
  }
  *faults = std::move(explained);
}

}  // namespace zor
