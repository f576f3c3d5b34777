#include "lock.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

#include "config.h"
#include "conflict.h"
#include "error.h"
#include "files.h"
#include "formats/names.h"
#include "sha256.h"
#include "words.h"

namespace zor {

namespace {

constexpr std::string_view kFormat = "1";

// ---- Fields ----

std::string encoded(std::string_view field, bool is_name = false) {
  if (field.empty()) return "\"\"";
  const bool is_text = is_utf8(field);
  std::string text;
  for (const char c : field) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte <= 0x20 || byte == 0x7F || c == '%' || c == '"' || (is_name && c == '=') ||
        (byte >= 0x80 && !is_text))
      text += fmt::format("%{:02X}", byte);
    else
      text += c;
  }
  return text;
}

// One line at work, and where it stands.
class Line {
 public:
  Line(const std::string& name, std::size_t number, std::string_view text)
      : name_(name), number_(number), rest_(text) {}

  [[noreturn]] void fail(const std::string& reason) const {
    throw Error(fmt::format("{}:{}: {}", name_, number_, reason));
  }

  bool has_more() const { return !rest_.empty(); }

  // The next field as it stands. Two blanks in a row, or one at the end, are no lock's.
  std::string_view raw() {
    const std::size_t blank = std::min(rest_.find(' '), rest_.size());
    if (blank == 0) fail("a field is missing");
    if (blank + 1 == rest_.size()) fail("a blank at the end of the line");
    const std::string_view field = rest_.substr(0, blank);
    rest_.remove_prefix(std::min(blank + 1, rest_.size()));
    return field;
  }

  std::string field() { return decoded(raw()); }

  Binding binding() {
    const std::string_view both = raw();
    const std::size_t equals = both.find('=');
    if (equals == std::string_view::npos) fail(fmt::format("'{}' is not NAME=VALUE", both));
    return {decoded(both.substr(0, equals)), decoded(both.substr(equals + 1))};
  }

  std::vector<Binding> bindings() {
    std::vector<Binding> all;
    while (has_more())
      all.push_back(binding());
    return all;
  }

  ProductName product() {
    ProductName product;
    for (std::string ProductName::*part :
         {&ProductName::category, &ProductName::name, &ProductName::version, &ProductName::rev})
      product.*part = field();
    return product;
  }

  std::string digest() {
    const std::string_view text = raw();
    const bool good =
        text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
    if (!good) fail(fmt::format("'{}' is not a SHA-256 digest", text));
    return std::string(text);
  }

  void end() const {
    if (has_more()) fail(fmt::format("nothing may follow here, and '{}' does", rest_));
  }

 private:
  std::string decoded(std::string_view text) const {
    if (text == "\"\"") return {};
    std::string field;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] != '%') {
        field += text[i];
        continue;
      }
      const auto digit = [&](std::size_t at) {
        const std::size_t found = at < text.size()
                                      ? std::string_view("0123456789ABCDEF").find(text[at])
                                      : std::string_view::npos;
        if (found == std::string_view::npos)
          fail(fmt::format("in '{}' two digits must stand behind %", text));
        return found;
      };
      field += static_cast<char>(digit(i + 1) * 16 + digit(i + 2));
      i += 2;
    }
    if (field.find('\0') != std::string::npos) fail("a zero byte in a field");
    return field;
  }

  const std::string& name_;
  std::size_t number_;
  std::string_view rest_;
};

// ---- Reading ----

class Reader {
 public:
  Reader(std::string_view text, const std::string& name) : text_(text), name_(name) {}

  Lock read() {
    take_head();
    while (at_ < text_.size() && !ended_)
      take_line();
    if (!ended_)
      throw Error(fmt::format("{}:{}: the lock is cut short: the sum at its end is missing", name_,
                              number_ + 1));
    if (at_ < text_.size())
      throw Error(fmt::format("{}:{}: nothing may stand behind the sum", name_, number_ + 1));
    return std::move(lock_);
  }

 private:
  // The next line without its end. One that the file cuts off is not whole.
  Line next() {
    ++number_;
    const std::size_t end = text_.find('\n', at_);
    if (end == std::string_view::npos)
      throw Error(fmt::format("{}:{}: the lock is cut short in this line", name_, number_));
    const Line line(name_, number_, text_.substr(at_, end - at_));
    at_ = end + 1;
    return line;
  }

  void take_head() {
    if (!text_.starts_with("zor-lock "))
      throw Error(fmt::format("{}:1: this is no lock: 'zor-lock' must stand here", name_));
    Line line = next();
    line.raw();
    const std::string_view format = line.raw();
    if (format != kFormat)
      line.fail(
          fmt::format("the format of this lock is {}, and this zor knows only {}; a newer one "
                      "may have written it",
                      format, kFormat));
    line.end();
  }

  void take_line() {
    const std::size_t start = at_;
    Line line = next();
    const std::string_view word = line.raw();
    if (word == "root") {
      lock_.root = line.field();
    } else if (word == "platform") {
      lock_.platform = line.field();
    } else if (word == "undo") {
      lock_.undo = true;
    } else if (word == "group") {
      lock_.groups.emplace_back();
    } else if (word == "product") {
      if (lock_.groups.empty()) line.fail("a product in front of the first group");
      ProductName product = line.product();
      lock_.groups.back().push_back({{std::move(product), line.bindings()}, {}});
    } else if (word == "variety") {
      if (lock_.groups.empty() || lock_.groups.back().empty())
        line.fail("a variety in front of the first product");
      std::string name = line.field();
      lock_.groups.back().back().varieties.push_back({std::move(name), line.bindings()});
    } else if (word == "loaded") {
      lock_.loaded.push_back(line.product());
    } else if (word == "file") {
      std::string digest = line.digest();
      lock_.files.push_back({line.field(), std::move(digest)});
    } else if (word == "absent") {
      lock_.files.push_back({line.field(), ""});
    } else if (word == "sum") {
      if (line.digest() != sha256(text_.substr(0, start)))
        line.fail("the lock was altered: its lines do not give this sum");
      ended_ = true;
    } else {
      line.fail(fmt::format("'{}' is no line of a lock", word));
    }
    line.end();
  }

  std::string_view text_;
  const std::string& name_;
  std::size_t at_ = 0;
  std::size_t number_ = 0;
  bool ended_ = false;
  Lock lock_;
};

// ---- Comparing ----

std::string place_of(const std::string& path, const std::string& root) {
  return path.starts_with('/') ? path : root + '/' + path;
}

bool is_absent(int reason) {
  return reason == ENOENT || reason == ENOTDIR;
}

// Empty for a file that does not exist.
std::string digest_of(const std::string& path) {
  std::string digest = sha256_of_file(path);
  if (digest.empty() && !is_absent(errno)) fail("{}: {}", path, std::strerror(errno));
  return digest;
}

std::vector<LockedVariety> chosen_of(const Choice& choice) {
  std::vector<LockedVariety> chosen;
  for (const Variety& variety : choice.varieties)
    if (variety.chosen) chosen.push_back({variety.name, variety.variables});
  return chosen;
}

std::vector<ProductName> sorted(std::vector<ProductName> products) {
  std::sort(products.begin(), products.end());
  return products;
}

// How a computation came out that ought to be that of the lock.
std::vector<std::string> differences(const Lock& lock, const Answer& answer) {
  std::vector<std::string> lines;
  const std::set<ProductName> locked(lock.loaded.begin(), lock.loaded.end());
  const std::set<ProductName> loaded(answer.products.begin(), answer.products.end());
  for (const ProductName& product : loaded)
    if (!locked.contains(product))
      lines.push_back(fmt::format("not in the lock: {}", product.path()));
  for (const ProductName& product : locked)
    if (!loaded.contains(product))
      lines.push_back(fmt::format("no longer a part: {}", product.path()));
  std::set<std::string> files;
  for (const LockedFile& file : lock.files)
    files.insert(file.path);
  for (const std::string& path : answer.reads)
    if (!files.contains(path)) lines.push_back("not in the lock: " + path);
  for (std::size_t i = 0; i < lock.groups.size() && i < answer.groups.size(); ++i)
    for (std::size_t j = 0; j < lock.groups[i].size() && j < answer.groups[i].size(); ++j)
      if (lock.groups[i][j].varieties != chosen_of(answer.groups[i][j]))
        lines.push_back(fmt::format("other varieties: {}", lock.groups[i][j].query.product.path()));
  return lines;
}

[[noreturn]] void fail_changed(const std::string& name, const std::string& root,
                               const std::string& lines) {
  std::string text = fmt::format("{} does not hold any more in {}:\n  ", name, root);
  for (const char c : lines)
    text += c == '\n' ? "\n  " : std::string(1, c);
  throw Error(text);
}

// What a lock holds as a request.
Request request_of(const Lock& lock, const std::string& root) {
  Request request;
  request.root = root;
  request.undo = lock.undo;
  request.platform = lock.platform;
  request.list_reads = true;
  for (const auto& group : lock.groups) {
    request.groups.emplace_back();
    for (const LockedProduct& product : group)
      request.groups.back().push_back({product.query, product.query.product.path(), false});
  }
  return request;
}

// Operating system and architecture without versions.
std::pair<std::string, std::string> kind_of(const std::string& platform) {
  const std::size_t dash = std::min(platform.rfind('-'), platform.size());
  return {platform.substr(0, std::min(platform.find('_'), dash)), platform.substr(dash)};
}

}  // namespace

Lock lock_of(const Request& request, const Answer& answer) {
  Lock lock;
  lock.root = answer.root;
  lock.platform = host_platform_name();
  lock.undo = request.undo;
  for (std::size_t i = 0; i < answer.groups.size(); ++i) {
    lock.groups.emplace_back();
    // Products that do not exist, where they need not, have no choice.
    std::size_t at = 0;
    for (const Choice& choice : answer.groups[i]) {
      const auto& asked = request.groups[i];
      while (at + 1 < asked.size() && (asked[at].query.product.name != choice.product.name ||
                                       asked[at].query.product.category != choice.product.category))
        ++at;
      lock.groups.back().push_back(
          {{choice.product, asked[at].query.conditions}, chosen_of(choice)});
      ++at;
    }
  }
  lock.loaded = sorted(answer.products);
  for (const std::string& path : answer.reads)
    lock.files.push_back({path, digest_of(place_of(path, lock.root))});
  return lock;
}

std::string written(const Lock& lock) {
  const auto name_fields = [](const ProductName& product) {
    return fmt::format("{} {} {} {}", encoded(product.category), encoded(product.name),
                       encoded(product.version), encoded(product.rev));
  };
  const auto binding_fields = [](const std::vector<Binding>& bindings) {
    std::string text;
    for (const Binding& binding : bindings)
      text += fmt::format(" {}={}", encoded(binding.name, true), encoded(binding.value));
    return text;
  };
  std::string text = fmt::format("zor-lock {}\nroot {}\nplatform {}\n", kFormat, encoded(lock.root),
                                 encoded(lock.platform));
  if (lock.undo) text += "undo\n";
  for (const auto& group : lock.groups) {
    text += "group\n";
    for (const LockedProduct& product : group) {
      text += fmt::format("product {}{}\n", name_fields(product.query.product),
                          binding_fields(product.query.conditions));
      for (const LockedVariety& variety : product.varieties)
        text +=
            fmt::format("variety {}{}\n", encoded(variety.name), binding_fields(variety.variables));
    }
  }
  for (const ProductName& product : lock.loaded)
    text += fmt::format("loaded {}\n", name_fields(product));
  for (const LockedFile& file : lock.files)
    text += file.digest.empty() ? fmt::format("absent {}\n", encoded(file.path))
                                : fmt::format("file {} {}\n", file.digest, encoded(file.path));
  return text + fmt::format("sum {}\n", sha256(text));
}

Lock read_lock(std::string_view text, const std::string& name) {
  return Reader(text, name).read();
}

std::string saved_path(const std::string& name, const Environment& environment) {
  if (name.empty() || name[0] == '.' || name.find('/') != std::string::npos)
    misuse("'{}' can't be the name of a saved set: it must hold no slash and not begin with a dot",
           name);
  const std::string directory = user_directory(environment);
  if (directory.empty()) fail("neither HOME nor XDG_CONFIG_HOME says where sets are saved");
  return fmt::format("{}/saved/{}.lock", directory, name);
}

std::vector<std::string> saved_names(const Environment& environment) {
  const std::string path = saved_path("x", environment);
  const std::string directory = path.substr(0, path.rfind('/'));
  constexpr std::string_view kEnding = ".lock";
  std::vector<std::string> names;
  const Directory stream(opendir(directory.c_str()));
  while (const dirent* entry = stream ? readdir(stream.get()) : nullptr) {
    const std::string_view name = entry->d_name;
    if (!name.starts_with('.') && name.ends_with(kEnding))
      names.emplace_back(name.substr(0, name.size() - kEnding.size()));
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::string> changes_since(const Lock& lock, const std::string& root) {
  std::vector<std::string> lines;
  for (const LockedFile& file : lock.files) {
    const std::string digest = digest_of(place_of(file.path, root));
    if (digest == file.digest) continue;
    const char* what = digest.empty() ? "missing" : file.digest.empty() ? "added" : "changed";
    lines.push_back(fmt::format("{}: {}", what, file.path));
  }
  return lines;
}

Answer answer_to(const Lock& lock, const std::string& root, const Environment& base,
                 const std::string& name) {
  const std::string place = absolute_root(root.empty() ? lock.root : root);
  const std::vector<std::string> changes = changes_since(lock, place);
  if (!changes.empty()) fail_changed(name, place, joined(changes, "\n"));
  const Request request = request_of(lock, place);
  Answer answer = compute(request.question(), base);
  if (!answer.done) fail_changed(name, place, explained(request, base, answer));
  const std::vector<std::string> other = differences(lock, answer);
  if (!other.empty()) fail_changed(name, place, joined(other, "\n"));
  return answer;
}

std::string remark_on_host(const Lock& lock, const std::string& name) {
  const std::string host = host_platform_name();
  if (kind_of(host) == kind_of(lock.platform)) return {};
  return fmt::format("zor: {} is for {}, and this host is {}\n", name, lock.platform, host);
}

}  // namespace zor
