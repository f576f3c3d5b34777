// Finding, loading and walking products.
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <sstream>

#include "computation.h"
#include "words.h"

namespace model {

namespace {

Error FileError(int number, const std::string& path) {
  if (number == ENOENT) return {"Error: File " + path + " Does not exist", true};
  if (number == ENOTDIR) return {"Error: File " + path + " String parameter illegal value"};
  return {"a file error that the model does not know: " + std::to_string(number)};
}

// 0, or what keeps the path from being reached.
int Unreachable(const std::string& path) {
  struct stat facts;
  return stat(path.c_str(), &facts) == 0 ? 0 : errno;
}

bool IsDirectory(const std::string& path) {
  struct stat facts;
  return stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

const std::string* Lookup(const std::string& name, const Symbols& symbols) {
  for (const Bindings& context : symbols.contexts)
    for (const auto& [n, value] : context)
      if (n == name) return &value;
  return nullptr;
}

std::string PlatCategory(const std::string& category) {
  std::string joined;
  for (const std::string& element : SplitAtAny(category, "/\\:"))
    joined += (joined.empty() ? "" : "%(PFS)") + element;
  return joined;
}

}  // namespace

// Numbers other than 0, in any spelling that the generator uses.
bool LoadedVariety::complete() const {
  if (data->segments.empty()) return false;
  for (const Maybe& here : data->segments)
    if (!here || std::atoi(here->c_str()) == 0) return false;
  return true;
}

// ---- The latest version and rev ----

bool Computation::LatestBit(Error& err, std::string& field, std::string& path) {
  EndWithSeparator(path);
  if (field != "+") {
    Append(path, field);
    if (const int number = Unreachable(path)) err = FileError(number, path);
    return !err;
  }
  const int number = Unreachable(path);
  if (number != 0) {
    err = FileError(number, path);
    return false;
  }
  const std::vector<std::string> entries = Entries(path);
  if (entries.empty()) {
    err = {"Error: Operation failed"};
    return false;
  }
  std::string latest = entries[0];
  for (const std::string& entry : entries)
    if (CompareVersions(entry, latest) > 0) latest = entry;
  path += latest;
  if (!err) field = latest;
  return !err;
}

void Computation::FindLatest(Error& err, ProductName& name) {
  std::string path = root_;
  AppendAll(path, name.category);
  Append(path, name.name);
  if (LatestBit(err, name.version, path)) LatestBit(err, name.rev, path);
}

// ---- The index ----

std::string Computation::PathOf(const std::string& directory, const ProductName& name) const {
  std::string path = directory;
  AppendAll(path, name.category);
  Append(path, name.name);
  Append(path, name.version);
  Append(path, name.rev);
  return path;
}

std::string Computation::FilePath(const std::string& directory, const ProductName& name,
                                  const std::string& file) const {
  std::string path = PathOf(directory, name);
  AppendAll(path, file);
  return path;
}

// With an error standing already a file that can be opened counts as read no further than its first
// byte: that error stands.
template <class Content>
static bool ReadFileOf(Error& err, const std::string& path, const DataFile<Content>* file) {
  if (const int number = Unreachable(path)) {
    err = FileError(number, path);
    return false;
  }
  if (err) return false;
  if (file != nullptr && file->fault) {
    err = {file->fault->complaint + (file->fault->names_the_file ? path : "")};
    return false;
  }
  return true;
}

Loaded* Computation::Fetch(Error& err, const ProductName& name, bool optional) {
  for (Loaded& loaded : index_)
    if (loaded.name == name) return &loaded;
  return Load(err, name, optional);
}

Loaded* Computation::Load(Error& err, const ProductName& name, bool optional) {
  const auto path = [&](const char* file) { return FilePath(root_, name, file); };
  const auto found = on_disk_.find(PathOf("", name));
  const Product* data = found == on_disk_.end() ? nullptr : found->second;
  static const Product kNothing;
  const Product& product = data == nullptr ? kNothing : *data;

  if (!ReadFileOf(err, path("product.xml"), &product.info)) {
    if (optional && err.missing) err.Clear();
    return nullptr;
  }
  if (!ReadFileOf(err, path("partlist.xml"), &product.parts)) return nullptr;
  const auto may_be_missing = [&](const char* name_of_file, const auto& file) {
    if (ReadFileOf(err, path(name_of_file), &file)) return true;
    if (err.missing) err.Clear();
    return !err;
  };
  if (!may_be_missing("setup.xml", product.setup) || !may_be_missing("prep.xml", product.prep) ||
      !may_be_missing("unset.xml", product.unset) || !may_be_missing("env.xml", product.env) ||
      !may_be_missing("unenv.xml", product.unenv))
    return nullptr;
  index_.emplace_back();
  Loaded& loaded = index_.back();
  loaded.name = name;
  loaded.data = data;
  for (const Variety& variety : product.info.content)
    loaded.varieties.emplace_back().data = &variety;
  return &loaded;
}

void Computation::Unvisit() {
  for (Loaded& loaded : index_)
    for (LoadedVariety& variety : loaded.varieties)
      variety.visited = false;
}

// ---- Queries ----

std::unique_ptr<Spec> Computation::RunQuery(Error& err, const Query& query, const Report& report) {
  Loaded* product = Fetch(err, query.name, query.optional);
  if (err) {
    report(err);
    return nullptr;
  }
  if (product == nullptr) return nullptr;
  auto spec = std::make_unique<Spec>();
  spec->product = product;
  for (LoadedVariety& variety : product->varieties)
    if (Meets(variety, query.pattern)) spec->varieties.push_back(&variety);
  return spec;
}

std::unique_ptr<Spec> Computation::RunHostQuery(Error& err, const Query& query,
                                                const Report& report) {
  auto spec = RunQuery(err, query, report);
  if (!spec) return nullptr;
  bool has_platform = false;
  for (const Variable& condition : query.pattern[0])
    has_platform |= condition.name == "platform";
  bool depends = false;
  if (!spec->product->varieties.empty())
    for (const Variable& variable : spec->product->varieties.front().data->variables)
      depends |= variable.name == "platform";
  if (!has_platform && depends)
    std::erase_if(spec->varieties, [&](LoadedVariety* variety) {
      return !MeetsCondition(*variety, {"platform", HostPlatform()});
    });
  return spec;
}

std::unique_ptr<Spec> Computation::RunPartQuery(const Part& part, const Symbols& symbols,
                                                const Report& report) {
  Error err;
  Query query;
  query.name.category = Expand(err, part.category.value_or("%(THIS-CATEGORY)"), symbols);
  query.name.name = Expand(err, part.name.value_or("%(THIS-NAME)"), symbols);
  query.name.version = Expand(err, part.version.value_or("%(THIS-VERSION)"), symbols);
  query.name.rev = Expand(err, part.rev.value_or("%(THIS-REV)"), symbols);
  for (char& c : query.name.category)
    if (c == '\\' || c == ':') c = '/';
  if (err) {
    report(err);
    return nullptr;
  }
  query.pattern = ExpandPattern(err, part.pattern, symbols);
  if (err) {
    report(err);
    return nullptr;
  }
  query.optional = part.optional;
  auto spec = RunQuery(err, query, report);
  // A fault that the query has reported is reported once more.
  if (err) {
    report(err);
    return nullptr;
  }
  return spec;
}

// ---- Conditions ----

bool Computation::Matches(const std::string& pattern, const std::string& subject) const {
  return GlobMatches(pattern, subject, run_.base);
}

bool Computation::MeetsCondition(const LoadedVariety& variety, const Variable& condition) const {
  if (!condition.name) return false;
  const Variable* variable = nullptr;
  for (const Variable& candidate : variety.data->variables)
    if (variable == nullptr && candidate.name == condition.name) variable = &candidate;
  if (variable == nullptr || !variable->value || !condition.value) return false;
  const std::string &has = *variable->value, &wanted = *condition.value;
  if (*condition.name == "platform" || *condition.name == "target") {
    if (PlatformsOverlap(wanted, has)) return true;
    std::string rest = wanted;
    for (;;) {
      const std::size_t comma = rest.find(',');
      if (PlatformsOverlap(rest.substr(0, comma), has)) return true;
      if (comma == std::string::npos) break;
      rest.erase(0, comma + 1);
    }
  }
  if (wanted.find(',') == std::string::npos) return Matches(wanted, has);
  for (const std::string& one : Split(wanted, ","))
    if (Matches(one, has)) return true;
  return false;
}

bool Computation::Meets(const LoadedVariety& variety, const Pattern& pattern) const {
  if (pattern.empty()) return true;
  for (const std::vector<Variable>& alternative : pattern) {
    bool all = true;
    for (const Variable& condition : alternative)
      all = all && MeetsCondition(variety, condition);
    if (all) return true;
  }
  return false;
}

// ---- Expansion ----

Symbols Computation::SymbolsOf(const ProductName& name, const std::string& source) const {
  const std::string cn = "%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)";
  const std::string cnv = cn + "%(FS)%(THIS-VERSION)", cnvr = cnv + "%(FS)%(THIS-REV)";
  Symbols symbols;
  symbols.source = FilePath("", name, source);
  symbols.contexts.push_back(
      {{"FS", "/"},
       {"EXE", ""},
       {"DLL", ".so"},
       {"LIB", ".a"},
       {"THIS-CNVR", "%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)%(FS)%(THIS-REV)"},
       {"PLAT-THIS-CNVR",
        "%(PLAT-CATEGORY)%(PFS)%(THIS-NAME)%(PFS)%(THIS-VERSION)%(PFS)%(THIS-REV)"},
       {"BASE-CN", "%(BASE-DIRECTORY)" + cn},
       {"FROM-CN", "%(INSTALLED-FROM)" + cn},
       {"BASE-CNV", "%(BASE-DIRECTORY)" + cnv},
       {"FROM-CNV", "%(INSTALLED-FROM)" + cnv},
       {"BASE-CNVR", "%(BASE-DIRECTORY)" + cnvr},
       {"FROM-CNVR", "%(INSTALLED-FROM)" + cnvr},
       {"BINPATH", "%(BASE-DIRECTORY)"},
       {"HOST-PLATFORM", HostPlatform()}});
  symbols.contexts.push_back({{"THIS-CATEGORY", name.category},
                              {"THIS-NAME", name.name},
                              {"THIS-REV", name.rev},
                              {"THIS-VERSION", name.version},
                              {"PLAT-CATEGORY", PlatCategory(name.category)}});
  return symbols;
}

Bindings Computation::VarietyBindings(const LoadedVariety& variety) const {
  Bindings bindings;
  for (const Variable& variable : variety.data->variables) {
    if (!variable.name || !variable.value) continue;
    if (*variable.name == "platform" || *variable.name == "target") {
      const std::string letter = *variable.name == "platform" ? "P" : "T";
      const auto under = [&](const char* family) {
        return PlatformIncludes(family, *variable.value);
      };
      if (under("pc")) {
        bindings.insert(bindings.end(), {{letter + "LIB", ".lib"},
                                         {letter + "DLL", ".dll"},
                                         {letter + "EXE", ".exe"},
                                         {letter + "FS", "\\"}});
      } else if (under("unix") || under("macos")) {
        bindings.insert(bindings.end(), {{letter + "LIB", ".a"},
                                         {letter + "DLL", under("hpux") ? ".sl" : ".so"},
                                         {letter + "EXE", ""},
                                         {letter + "FS", under("unix") ? "/" : ":"}});
      }
    }
    bindings.push_back({*variable.name, *variable.value});
  }
  return bindings;
}

bool Computation::AppendFile(Error& err, const std::string& name, std::string& output) {
  const std::string path = name.starts_with("/") ? name : run_.base + "/" + name;
  if (const int number = Unreachable(path)) {
    err = FileError(number, path);
    return false;
  }
  if (IsDirectory(path)) {
    err = {"Error: Operation denied"};
    return false;
  }
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  output += content.str();
  if (output.ends_with("\r\n"))
    output.resize(output.size() - 2);
  else if (output.ends_with("\n") || output.ends_with("\r"))
    output.pop_back();
  return true;
}

std::string Computation::ExpandOnce(Error& err, const std::string& text, const Symbols& symbols,
                                    bool& expanded) {
  std::string output;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] != '%') {
      output += text[i++];
      continue;
    }
    const char open = i + 1 < text.size() ? text[i + 1] : '\0';
    const char close = open == '(' ? ')' : open == '[' ? ']' : open == '{' ? '}' : '\0';
    std::size_t end = std::string::npos;
    if (close != '\0') end = text.find_first_of(std::string("%") + close, i + 2);
    if (end == std::string::npos || text[end] == '%') {
      output += '%';
      if (open == '\0') break;
      output += open;
      i += 2;
      continue;
    }
    const std::string name = text.substr(i + 2, end - i - 2);
    i = end + 1;
    if (open == '(') {
      if (const std::string* value = Lookup(name, symbols)) {
        output += *value;
        expanded = true;
      } else {
        output += name;
        err = {"Error: % variable " + name + " is not defined in File " + symbols.source};
      }
    } else if (open == '[') {
      if (!err && AppendFile(err, name, output)) expanded = true;
    } else if (const Maybe value = GetEnv(name)) {
      if (!err) {
        output += *value;
        expanded = true;
      }
    } else {
      err = {"Error: % variable " + name + " is not defined in File " + symbols.source};
    }
  }
  return output;
}

std::string Computation::Expand(Error& err, std::string text, const Symbols& symbols) {
  for (;;) {
    bool expanded = false;
    const std::string output = ExpandOnce(err, text, symbols, expanded);
    if (!expanded) return output;
    // A text that comes out as it went in would do so each time.
    if (output == text) throw Exhausted();
    text = output;
  }
}

Maybe Computation::ExpandMaybe(Error& err, const Maybe& text, const Symbols& symbols) {
  if (!text) return text;
  return Expand(err, *text, symbols);
}

Pattern Computation::ExpandPattern(Error& err, const Pattern& pattern, const Symbols& symbols) {
  Pattern expanded;
  for (const std::vector<Variable>& alternative : pattern) {
    expanded.emplace_back();
    for (const Variable& variable : alternative) {
      Maybe name = ExpandMaybe(err, variable.name, symbols);
      Maybe value = ExpandMaybe(err, variable.value, symbols);
      expanded.back().push_back({name, value});
    }
  }
  return expanded;
}

// ---- Walks ----

void Computation::TraverseSpec(Walk& walk, const Spec& spec) {
  Symbols symbols = SymbolsOf(spec.product->name, walk.source);
  for (LoadedVariety* variety : spec.varieties) {
    if (variety->visited || !variety->complete()) continue;
    variety->visited = true;
    walk.visit(walk, symbols, *variety, *spec.product);
  }
}

void Computation::TraverseParts(Walk& walk, Symbols& symbols, const LoadedVariety& variety,
                                const Loaded& product) {
  if (!variety.complete()) return;
  symbols.contexts.push_back(VarietyBindings(variety));
  for (const PartGroup& group : product.data->parts.content) {
    if (!Meets(variety, group.pattern)) continue;
    for (const Part& part : group.parts) {
      if (part.is_file) continue;
      if (auto spec = RunPartQuery(part, symbols, walk.report)) TraverseSpec(walk, *spec);
    }
  }
  symbols.contexts.pop_back();
}

// ---- Old recipes ----

void Computation::EmulateSetenv(const Command& command, Environment& environment) {
  const std::string op = command.op.value_or("set");
  if (!command.name) return;
  const std::string& name = *command.name;
  if (EqualFolded(op, "set")) {
    // A value that isn't there is refused, but only after the table has made room for it.
    if (command.value)
      environment.Add(name, *command.value);
    else
      environment.MakeRoom();
    return;
  }
  if (EqualFolded(op, "delete")) {
    environment.Remove(name);
    return;
  }
  std::vector<std::string> elements;
  if (const std::string* value = environment.Find(name)) elements = Split(*value, ":");
  if (command.value) {
    std::erase(elements, *command.value);
    if (EqualFolded(op, "append")) elements.push_back(*command.value);
    if (EqualFolded(op, "prepend")) elements.insert(elements.begin(), *command.value);
  }
  std::string joined;
  for (std::size_t i = 0; i < elements.size(); ++i)
    joined += (i == 0 ? "" : ":") + elements[i];
  environment.Add(name, joined);
}

void Computation::Legacy(Environment& environment, const std::vector<Spec>& specs, bool set) {
  Unvisit();
  Walk walk;
  walk.source = set ? "env.xml" : "unenv.xml";
  walk.report = [this](Error& err) { ReportExceptMissing(err); };
  walk.visit = [&](Walk& self, Symbols& symbols, LoadedVariety& variety, Loaded& product) {
    symbols.contexts.push_back({{"BASE-DIRECTORY", root_}});
    TraverseParts(self, symbols, variety, product);
    const DataFile<std::vector<Step>>& recipe = set ? product.data->setup : product.data->unset;
    if (recipe.there && !product.data->env.there && !product.data->unenv.there) {
      symbols.contexts.push_back(VarietyBindings(variety));
      for (const Step& step : recipe.content) {
        Error err;
        const Pattern pattern = ExpandPattern(err, step.pattern, symbols);
        if (!err && Meets(variety, pattern)) {
          for (const Command& command : step.commands) {
            if (!command.other.empty()) continue;
            Command expanded;
            expanded.op = Expand(err, command.op.value_or("set"), symbols);
            expanded.name = ExpandMaybe(err, command.name, symbols);
            expanded.value = ExpandMaybe(err, command.value, symbols);
            if (!err) EmulateSetenv(expanded, environment);
          }
        }
        if (err) self.report(err);
      }
      symbols.contexts.pop_back();
    }
    symbols.contexts.pop_back();
  };
  for (const Spec& spec : specs)
    TraverseSpec(walk, spec);
}

}  // namespace model
