// zor complete: what the Tab key offers, for the functions that zor init prints.
//
// Of a warehouse only the directories are read that the word at the cursor names, so that the
// answer comes at once, however large the warehouse is.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "catalogue.h"
#include "commands/command.h"
#include "error.h"
#include "files.h"
#include "formats/format.h"
#include "init/init.h"
#include "lock.h"
#include "session/session.h"
#include "words.h"

namespace zor {

namespace {

struct Candidate {
  std::string text;
  std::string about;  // for shells that show it; may be empty
};
using Candidates = std::vector<Candidate>;

// ---- Command lines ----

// A word of a shell without its quotes, which may not be closed yet.
std::string unquoted(std::string_view raw) {
  std::string text;
  char quote = 0;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    const char c = raw[i];
    if (quote == 0 && (c == '\'' || c == '"')) {
      quote = c;
    } else if (c == quote) {
      quote = 0;
    } else if (c == '\\' && quote != '\'' && i + 1 < raw.size()) {
      text += raw[++i];
    } else {
      text += c;
    }
  }
  return text;
}

// A line up to the cursor as words; the last one is that at the cursor and may be empty.
std::vector<std::string> split_line(std::string_view line) {
  std::vector<std::string> words(1);
  char quote = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quote == 0 && (c == ' ' || c == '\t')) {
      if (!words.back().empty()) words.emplace_back();
      continue;
    }
    if (quote == 0 && (c == '\'' || c == '"'))
      quote = c;
    else if (c == quote)
      quote = 0;
    words.back() += c;
    if (c == '\\' && i + 1 < line.size()) words.back() += line[++i];
  }
  return words;
}

// bash makes words of their own of what stands around some characters. Puts them together again,
// and cuts from the word at the cursor what bash does not take for a part of it.
std::vector<std::string> joined_words(const std::vector<std::string>& raw, std::size_t* cut) {
  const auto is_break = [](const std::string& word) {
    return !word.empty() && word.find_first_not_of("=:@") == std::string::npos;
  };
  std::vector<std::string> words;
  *cut = 0;
  bool open = false;
  for (const std::string& word : raw) {
    const bool joins = !words.empty() && (open || (is_break(word) && word[0] != '@'));
    if (!joins) words.emplace_back();
    *cut = words.back().size();
    words.back() += unquoted(word);
    open = is_break(word);
    if (open) *cut = words.back().size();
  }
  if (!open && words.empty()) words.emplace_back();
  // An "@" in front does belong to the word that bash replaces.
  if (*cut == 1 && words.back()[0] == '@') *cut = 0;
  return words;
}

// ---- Options ----

struct Option {
  std::vector<std::string> names;
  bool takes_value = false;
  std::string about;
};

// The line "  -f,--format TEXT   what it is for" of a help text.
Option read_option(std::string_view line) {
  Option option;
  line.remove_prefix(std::min(line.find('-'), line.size()));
  const std::string_view names = line.substr(0, line.find(' '));
  for (std::size_t at = 0; at < names.size();) {
    const std::size_t comma = std::min(names.find(',', at), names.size());
    option.names.emplace_back(names.substr(at, comma - at));
    at = comma + 1;
  }
  line.remove_prefix(names.size());
  option.takes_value = line.size() > 1 && line[1] >= 'A' && line[1] <= 'Z';
  const std::size_t gap = line.find("  ");
  const std::size_t about = gap == line.npos ? gap : line.find_first_not_of(' ', gap);
  if (about != line.npos) option.about = line.substr(about);
  return option;
}

// Those that the subcommand's own help shows, so that there is no second list of them.
std::vector<Option> options_of(const Command& command, const Environment& environment) {
  Context probe;
  probe.words = {"--help"};
  probe.environment = environment;
  std::string text;
  try {
    command.run(&probe);
  } catch (const Help& help) {
    text = help.text;
  } catch (const Error&) {
    return {};
  }
  std::vector<Option> options;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::string_view line = std::string_view(text).substr(at, end - at);
    if (line.starts_with("  -")) options.push_back(read_option(line));
    at = end + 1;
  }
  return options;
}

constexpr struct {
  const char* word;
  const char* about;
} kRequestWords[] = {
    {"-p", "a product, as zorenv takes it"},
    {"-v", "a condition, as zorenv takes it"},
    {"--and", "begin a group that overrides"},
    {"-u", "undo, with the files for that"},
    {"--ignore-missing", "a product that does not exist is no fault"},
};

// ---- Directories ----

bool is_directory(const dirent& entry, const std::string& path) {
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat information;
  return stat(path.c_str(), &information) == 0 && S_ISDIR(information.st_mode);
}

std::vector<std::string> directories_in(const std::string& path) {
  std::vector<std::string> names;
  const Directory stream(opendir(path.c_str()));
  while (const dirent* entry = stream ? readdir(stream.get()) : nullptr)
    if (is_searched(entry->d_name) &&
        is_directory(*entry, fmt::format("{}/{}", path, entry->d_name)))
      names.emplace_back(entry->d_name);
  std::sort(names.begin(), names.end());
  return names;
}

bool is_revision(const std::string& path) {
  return access((path + "/product.xml").c_str(), F_OK) == 0;
}

// How many levels below the directory its first product.xml lies, at most that many; 0 for none.
int depth_of_products(const std::string& path, int most) {
  for (const std::string& name : directories_in(path)) {
    const std::string inside = fmt::format("{}/{}", path, name);
    if (is_revision(inside)) return 1;
    const int below = most > 1 ? depth_of_products(inside, most - 1) : 0;
    if (below > 0) return below + 1;
  }
  return 0;
}

// The directories that a path may go on with. What can be a request as it stands and be gone on
// with, too, ends with a slash.
Candidates paths_below(const std::string& root, const std::string& word) {
  Candidates candidates;
  const std::size_t slash = word.rfind('/');
  const std::string above = slash == word.npos ? "" : word.substr(0, slash + 1);
  const std::string directory = fmt::format("{}/{}", root, above);
  for (const std::string& name : directories_in(directory)) {
    if (!name.starts_with(word.substr(above.size()))) continue;
    candidates.push_back({above + name + (is_revision(directory + name) ? "" : "/"), ""});
  }
  return candidates;
}

// ---- Kinds of words ----

class Completer {
 public:
  Completer(const Context& context, std::vector<std::string> words)
      : context_(context), words_(std::move(words)), word_(words_.back()) {
    words_.pop_back();
    root_ = context_.environment.find("ZORROOT").value_or(".");
  }

  Candidates candidates() {
    if (words_.empty()) return subcommands();
    for (const Command& command : context_.commands)
      if (words_[0] == command.name) return of_subcommand(command);
    return {};
  }

 private:
  Candidates subcommands() const {
    Candidates candidates;
    for (const Command& command : context_.commands)
      if (command.summary) candidates.push_back({command.name, command.summary});
    return candidates;
  }

  Candidates of_subcommand(const Command& command) {
    const std::vector<Option> options = options_of(command, context_.environment);
    const Option* pending = nullptr;  // whose value comes next
    for (std::size_t i = 1; i < words_.size(); ++i) {
      if (words_[i] == "--") return {};
      if (pending) {
        take_value(*pending, words_[i]);
        pending = nullptr;
        continue;
      }
      const Option* option = find_option(options, words_[i]);
      pending = option && option->takes_value ? option : nullptr;
      take_field(words_[i]);
    }
    if (pending) return values_of(*pending, "", word_);
    if (const std::size_t equals = word_.find('='); word_.starts_with("--") && equals != word_.npos)
      if (const Option* option = find_option(options, word_.substr(0, equals)))
        return values_of(*option, word_.substr(0, equals + 1), word_.substr(equals + 1));
    if (word_.starts_with('-')) return option_words(command, options);
    return arguments_of(command);
  }

  static const Option* find_option(const std::vector<Option>& options, const std::string& word) {
    for (const Option& option : options)
      if (std::find(option.names.begin(), option.names.end(), word) != option.names.end())
        return &option;
    return nullptr;
  }

  static bool is_named(const Option& option, std::string_view name) {
    return std::find(option.names.begin(), option.names.end(), name) != option.names.end();
  }

  void take_value(const Option& option, const std::string& value) {
    if (is_named(option, "--root")) root_ = value;
  }

  // Follows the words of zorenv's form of a request.
  void take_field(const std::string& word) {
    if (expects_root_) {
      root_ = word;
      expects_root_ = false;
    } else if (skip_ > 0) {
      --skip_;
    } else if (word == "-p") {
      in_product_ = true;
      fields_.clear();
    } else if (word == "-v" && in_product_) {
      skip_ = 2;
    } else if (word == "-r") {
      expects_root_ = true;
    } else if (word.starts_with('-')) {
      in_product_ = false;
    } else {
      fields_.push_back(word);
    }
  }

  Candidates values_of(const Option& option, const std::string& before,
                       const std::string& word) const {
    Candidates candidates;
    if (is_named(option, "--format")) {
      for (const Format& format : formats())
        candidates.push_back({before + std::string(format.name), std::string(format.summary)});
    } else if (is_named(option, "--shell")) {
      candidates = shell_names(before);
    } else if (is_named(option, "--root")) {
      candidates = directories(before, word);
    }
    return candidates;
  }

  static Candidates shell_names(const std::string& before) {
    Candidates candidates;
    for (const Shell& shell : shells())
      candidates.push_back({before + std::string(shell.name), ""});
    return candidates;
  }

  static Candidates directories(const std::string& before, const std::string& word) {
    Candidates candidates;
    const std::size_t slash = word.rfind('/');
    const std::string above = slash == word.npos ? "" : word.substr(0, slash + 1);
    for (const std::string& name : directories_in(above.empty() ? "." : above))
      candidates.push_back({before + above + name + '/', ""});
    return candidates;
  }

  Candidates option_words(const Command& command, const std::vector<Option>& options) const {
    Candidates candidates;
    for (const Option& option : options)
      for (const std::string& name : option.names)
        candidates.push_back({name, option.about});
    if (takes_request(command))
      for (const auto& row : kRequestWords)
        if (!find_option(options, row.word)) candidates.push_back({row.word, row.about});
    return candidates;
  }

  static bool is_one_of(const Command& command, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), command.name) != names.end();
  }

  static bool takes_request(const Command& command) {
    return is_one_of(
        command, {"diff", "env", "exec", "graph", "load", "lock", "shell", "swap", "which", "why"});
  }

  Candidates arguments_of(const Command& command) const {
    if (is_one_of(command, {"init"})) return shell_names("");
    if (is_one_of(command, {"unload"})) return loaded_words();
    if (is_one_of(command, {"swap"})) {
      Candidates candidates = request_words();
      const Candidates loaded = loaded_words();
      candidates.insert(candidates.end(), loaded.begin(), loaded.end());
      return candidates;
    }
    if (takes_request(command)) return request_words();
    if (is_one_of(command, {"restore", "save"})) return saved_words("");
    if (is_one_of(command, {"avail", "files", "impact", "search", "show", "undo-file"}))
      return paths();
    return {};
  }

  // The products of the session.
  Candidates loaded_words() const {
    Candidates candidates;
    try {
      for (const auto& group : read_session(context_.environment).contents.groups)
        for (const Pin& pin : group) {
          const ProductName& product = pin.named.query.product;
          const std::string version = product.version + '/' + product.rev;
          candidates.push_back({product.category + '/' + product.name, version});
          if (product.name != "Contents") candidates.push_back({product.name, version});
        }
    } catch (const Error&) {
      // A session that can't be read offers nothing.
    }
    return candidates;
  }

  Candidates request_words() const {
    if (expects_root_) return directories("", word_);
    if (skip_ > 0) return {};
    if (in_product_) return fields();
    if (word_.starts_with('@')) {
      Candidates candidates = saved_words("@");
      for (const auto& [name, words] : settings().sets)
        candidates.push_back({'@' + name, joined(words, " ")});
      return candidates;
    }
    Candidates candidates = paths();
    for (const auto& [name, product] : settings().aliases)
      candidates.push_back({name, product});
    return candidates;
  }

  Candidates saved_words(const std::string& before) const {
    Candidates candidates;
    try {
      for (const std::string& name : saved_names(context_.environment))
        candidates.push_back({before + name, ""});
    } catch (const Error&) {
      // Without a directory for them there are no saved names.
    }
    return candidates;
  }

  // Those of zor.toml; none if they can't be read, which other commands tell of.
  Config settings() const {
    try {
      return load_config(root_, context_.environment);
    } catch (const Error&) {
      return {};
    }
  }

  // The paths of the warehouse that the word may become, without hidden products.
  Candidates paths() const {
    Candidates candidates = paths_below(root_, word_);
    const Config config = settings();
    if (config.hidden.empty()) return candidates;
    std::erase_if(candidates, [&](const Candidate& candidate) {
      const std::vector<std::string> path = path_elements(candidate.text);
      const std::string above = joined({path.begin(), path.end() - 1}, "/");
      return is_hidden(config, {above, path.back(), {}});
    });
    return candidates;
  }

  // Behind -p: category [name] [version] [rev]
  Candidates fields() const {
    Candidates candidates;
    if (fields_.empty()) {
      for (Candidate& candidate : paths_below(root_, word_)) {
        std::string path = candidate.text.substr(0, candidate.text.size() - 1);
        const bool deeper = depth_of_products(fmt::format("{}/{}", root_, path), 6) > 3;
        candidates.push_back({deeper ? candidate.text : path, ""});
      }
      return candidates;
    }
    std::string path = root_;
    for (const std::string& field : fields_)
      path += '/' + field;
    const Config config = fields_.size() == 1 ? settings() : Config();
    for (const std::string& name : directories_in(path))
      if (!is_hidden(config, {fields_[0], name, {}})) candidates.push_back({name, ""});
    if (fields_.size() == 1)
      for (const std::string& name : directories_in(path + "/Contents"))
        candidates.push_back({name, ""});
    return candidates;
  }

  const Context& context_;
  std::vector<std::string> words_;  // before the cursor
  std::string word_;                // at the cursor
  std::string root_;
  bool in_product_ = false;  // behind -p
  bool expects_root_ = false;
  int skip_ = 0;  // words that belong to -v
  std::vector<std::string> fields_;
};

// ---- What shells take ----

// As a word that is not quoted yet.
std::string with_backslashes(std::string_view text) {
  std::string quoted;
  for (const char c : text) {
    if (std::string_view(" \t!\"#$&'()*;<>?[\\]^`{|}~").find(c) != std::string_view::npos)
      quoted += '\\';
    quoted += c;
  }
  return quoted;
}

}  // namespace

// The words may be anything, and nobody reads a message at the Tab key: what can't be completed
// has no candidates.
int run_complete(Context* context) {
  std::vector<std::string> words = context->words;
  if (words.empty()) misuse("say for which shell: zor complete bash -- WORD...");
  const std::string shell = words[0];
  words.erase(words.begin(), words.begin() + (words.size() > 1 && words[1] == "--" ? 2 : 1));
  std::size_t cut = 0;
  if (shell == "bash") {
    words = joined_words(words, &cut);
  } else if (shell == "tcsh") {
    words = split_line(context->environment.find("COMMAND_LINE").value_or(""));
    words.erase(words.begin());
  }
  if (shell == "tcsh")
    for (std::string& word : words)
      word = unquoted(word);
  if (words.empty()) words.emplace_back();
  if (shell == "fish") words.back() = unquoted(words.back());
  const std::string word = words.back();
  for (const Candidate& candidate : Completer(*context, std::move(words)).candidates()) {
    const std::string& text = candidate.text;
    if (!text.starts_with(word) || text.find_first_of("\n\t") != text.npos) continue;
    if (shell == "bash") {
      context->out += with_backslashes(std::string_view(text).substr(cut));
    } else {
      context->out += text;
      if (shell != "tcsh" && !candidate.about.empty()) context->out += '\t' + candidate.about;
    }
    context->out += '\n';
  }
  return kDone;
}

}  // namespace zor
