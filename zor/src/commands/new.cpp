// zor new: the data files of a new product.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

#include "catalogue.h"
#include "commands/command.h"
#include "error.h"
#include "facts.h"
#include "files.h"
#include "formats/names.h"

namespace zor {

namespace {

// ---- Its name ----

// What a name may hold besides letters, digits and characters outside ASCII: nothing that means
// something in a request, in a data file, in a list of directories or to a shell.
constexpr std::string_view kSigns = "._+-~,=";

void require_plain(const std::string& element, const char* what) {
  if (!is_searched(element))
    misuse("'{}' can't be a {}: directories of that name are not searched", element, what);
  const bool plain =
      is_utf8(element) && std::all_of(element.begin(), element.end(), [](unsigned char c) {
        return c >= 0x80 || std::isalnum(c) ||
               kSigns.find(static_cast<char>(c)) != std::string_view::npos;
      });
  if (!plain || element[0] == '-' || element == "+")
    misuse(
        "'{}' can't be a {}: it may have letters, digits and any of {} in it, and not begin with -",
        element, what, kSigns);
}

ProductName name_in(const std::string& word) {
  const std::vector<std::string> elements = path_elements(word);
  if (elements.size() < 4)
    misuse("say which product, in full: category/name/version/revision, as in tools/loom/1.0/1");
  const std::size_t rest = elements.size() - 3;
  ProductName product = {elements[0], elements[rest], elements[rest + 1], elements[rest + 2]};
  for (std::size_t i = 1; i < rest; ++i)
    product.category += '/' + elements[i];
  for (std::size_t i = 0; i < rest; ++i)
    require_plain(elements[i], "category");
  require_plain(product.name, "name");
  require_plain(product.version, "version");
  require_plain(product.rev, "revision");
  if (product.name[0] >= '0' && product.name[0] <= '9')
    misuse("'{}' can't be a name: what begins with a digit is taken for a version", product.name);
  return product;
}

// ---- Its files ----

struct File {
  std::string name;
  std::string content;
};

std::string product_xml(const std::string& title) {
  return fmt::format(R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- What the product is. zorenv-warehouse(5) tells all that may stand in these files. -->
<PRODUCT-INFO name="{}" flags="visible">
  <!-- <DESCRIPTION lang="en">One sentence for those who search.</DESCRIPTION> -->
  <VARIETIES>
    <!-- This one is for every host. One for hosts of a kind has a variable in front of its segment:
         <VAR n="platform" v="linux-x86"/>, and then all others need one as well. -->
    <VARIETY name="any">
      <SEGMENT host="all-all" here="1"/>
    </VARIETY>
  </VARIETIES>
</PRODUCT-INFO>
)",
                     title);
}

constexpr const char* kPartList = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- What the product is made of. -->
<PARTLIST>
  <PARTSPEC>
    <PATTERN/>
    <PARTS>
      <!-- Files of the product: <FILE name="bin/loom"/>
           Other products, which come with this one and are overruled by it:
           <PRODUCT category="libs" name="thread" version="1.0" rev="1"><PATTERN/></PRODUCT> -->
    </PARTS>
  </PARTSPEC>
</PARTLIST>
)";

// The operation on PATH stands in a comment if there is no directory to put there.
std::string settings(const char* about, std::string operation, bool has_commands) {
  if (!has_commands)
    operation = "    <!-- Commands of the product, once it has a directory of them:\n" + operation +
                "    -->\n";
  return fmt::format(R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- {} -->
<ENV-SETTINGS>
  <ENV-GROUP>
    <PATTERN/>
{}  </ENV-GROUP>
</ENV-SETTINGS>
)",
                     about, operation);
}

std::vector<File> files_of(const ProductName& product, bool has_commands) {
  const std::string insert = R"(    <ENV-INSERT>
      <NAME>PATH</NAME>
      <VALUE>%(BASE-CNVR)/bin</VALUE>
      <BEFORE>/usr/bin</BEFORE>
      <BEFORE>/bin</BEFORE>
    </ENV-INSERT>
)";
  const std::string remove = R"(    <ENV-REMOVE>
      <NAME>PATH</NAME>
      <VALUE>%(BASE-CNVR)/bin</VALUE>
    </ENV-REMOVE>
)";
  // Last what makes a product of the directory.
  return {{"partlist.xml", kPartList},
          {"env.xml", settings("What the product needs in the environment.", insert, has_commands)},
          {"unenv.xml",
           settings("How to take back what env.xml sets; zor undo-file writes such a file.", remove,
                    has_commands)},
          {"product.xml", product_xml(product.name)}};
}

// The data files of another product, as they are.
std::vector<File> files_from(const std::string& root, const ProductName& product) {
  std::vector<File> files;
  for (const char* name : kDataFiles)
    if (auto content = content_if_there(fmt::format("{}/{}/{}", root, product.path(), name)))
      files.insert(files.begin(), {name, std::move(*content)});
  return files;
}

// ---- Laying it out ----

bool exists(const std::string& path) {
  struct stat info = {};
  return lstat(path.c_str(), &info) == 0;
}

bool is_directory(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Refuses a place that is taken, or in which no walk would find the product.
void require_free(const std::string& root, const ProductName& product) {
  const std::string directory = root + '/' + product.path();
  std::string taken;
  for (const char* name : kDataFiles)
    if (exists(directory + '/' + name))
      taken += fmt::format("{}{}", taken.empty() ? "" : ", ", name);
  if (!taken.empty()) fail("{} has data files already: {}; nothing was written", directory, taken);
  std::string above = root;
  const std::vector<std::string> elements = path_elements(product.path());
  for (std::size_t i = 0; i < elements.size(); ++i) {
    above += '/' + elements[i];
    if (exists(above) && !is_directory(above))
      fail("{} is there already, and is no directory; nothing was written", above);
    if (i >= 3 && i + 1 < elements.size() && exists(above + "/product.xml"))
      fail("{} is a product, and nothing is searched below one; nothing was written", above);
  }
  if (!is_directory(directory)) return;
  const Catalogue below = read_catalogue(root, product.path());
  if (!below.products.empty())
    fail("{} has products below it, which would not be found any more; nothing was written",
         directory);
}

// Directories and files of which nothing stays unless all are there.
class Layout {
 public:
  Layout() = default;
  ~Layout() {
    if (stays_) return;
    for (auto file = files_.rbegin(); file != files_.rend(); ++file)
      unlink(file->c_str());
    for (auto directory = directories_.rbegin(); directory != directories_.rend(); ++directory)
      rmdir(directory->c_str());
  }
  Layout(const Layout&) = delete;
  Layout& operator=(const Layout&) = delete;

  void make_directories(const std::string& root, const std::string& path) {
    std::string above = root;
    for (const std::string& element : path_elements(path)) {
      above += '/' + element;
      if (mkdir(above.c_str(), 0777) == 0)
        directories_.push_back(above);
      else if (errno != EEXIST)
        fail("{}: {}; nothing was written", above, std::strerror(errno));
    }
  }

  void write(const std::string& path, const std::string& content) {
    write_new_file(path, content);
    files_.push_back(path);
  }

  void stay() { stays_ = true; }

 private:
  std::vector<std::string> directories_;
  std::vector<std::string> files_;
  bool stays_ = false;
};

}  // namespace

int run_new(Context* context) {
  CommandLine line("new",
                   "Make the data files of a new product, to go on from. What is there already "
                   "stays as it is: if one of the files exists, nothing is written.",
                   "zor new tools/loom/1.0/1");
  std::string word;
  std::string root(context->environment.find("ZORROOT").value_or("."));
  std::string from;
  line.positional("PRODUCT", &word, "its category/name/version/revision");
  line.option("-r,--root", &root, "the root of the warehouse");
  line.option("--from", &from, "copy the data files of this product");
  line.parse(context->words);
  const ProductName product = name_in(word);
  if (root.empty()) root = ".";
  if (!is_directory(root)) fail("there is no directory {}", root);
  const std::string directory = absolute_root(root) + '/' + product.path();
  require_free(absolute_root(root), product);
  std::vector<File> files;
  if (from.empty()) {
    files = files_of(product, is_directory(directory + "/bin"));
  } else {
    const Query query = read_word(from, root, load_config(root, context->environment));
    files = files_from(root, latest_of(root, query.product));
  }

  Layout layout;
  layout.make_directories(absolute_root(root), product.path());
  for (const File& file : files)
    layout.write(directory + '/' + file.name, file.content);
  // What can't be read would only be found out by those who load it.
  read_product(root, product);
  layout.stay();
  for (auto file = files.rbegin(); file != files.rend(); ++file)
    context->out += directory + '/' + file->name + '\n';
  return kDone;
}

}  // namespace zor
