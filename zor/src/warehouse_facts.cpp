// The data files of one product, taken over from the records of the warehouse floor.
#include <unistd.h>

#include <algorithm>
#include <map>

#include "error.h"
#include "facts.h"
#include "fwfile.h"
#include "fwmem.h"
#include "vqosarch.h"
#include "warehouse_private.h"

namespace zor {

namespace {

// One product, loaded into an index of its own.
class Loaded {
 public:
  Loaded(std::string root, const ProductName& product) : collecting_(&faults_) {
    const Asked asked = {absolute_root(root), !root.empty(), {product}};
    if (root.empty()) root = ".";
    FwTextString base = FwFileAbsolutePath(&err_, text(root));
    if (base) {
      FwFileRemoveTrailingSeparator(base);
      root_ = string_of(base);
      index_ = index_open(base);
      index_->parse_flags |= WH_XML_PF_PLACES;
      FwMemFree(base);
      name_ = make_name(product);
      product_ = index_fetch(&err_, index_, name_, 0);
    }
    if (!product_) collect_error(&err_);
    FwErrorClear(&err_);
    explain_faults(&faults_, asked);
  }
  ~Loaded() {
    free_prodname(&name_);
    if (index_) index_close(index_);
  }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;

  // Throws Error if there was anything wrong.
  WH_PRODUCT* get() const {
    std::string all;
    for (const Fault& fault : faults_)
      all += (all.empty() ? "" : "\n") + fault.text;
    if (!all.empty()) throw Error(all);
    return product_;
  }
  const std::string& root() const { return root_; }
  WH_INDEX* index() const { return index_; }
  WH_PRODUCT_NAME* name() const { return name_; }

 private:
  std::vector<Fault> faults_;
  Collecting collecting_;
  FwErrorState err_;
  std::string root_;  // absolute
  WH_INDEX* index_ = nullptr;
  WH_PRODUCT_NAME* name_ = nullptr;
  WH_PRODUCT* product_ = nullptr;
};

Condition condition_of(const WH_PATTERN* pattern) {
  Condition condition;
  for (; pattern; pattern = pattern->next)
    condition.push_back({string_of(pattern->host), bindings_of(pattern->vars)});
  return condition;
}

// Marks those that a request without conditions takes.
void mark_for_host(const Loaded& loaded, std::vector<VarietyFacts>* varieties) {
  WH_PATTERN* pattern = make_pattern();
  WH_PRODUCT_QUERY* query = make_query(make_name(name_of(loaded.name())), pattern, 0);
  FwErrorState err;
  if (WH_PRODUCT_SPEC* spec = query_product_pd(&err, loaded.index(), query, nullptr)) {
    const auto taken = elements<WH_VARIETY>(spec->varieties->seq);
    const auto all = elements<WH_VARIETY>(loaded.get()->prodinfo->varieties->seq);
    for (std::size_t i = 0; i < all.size(); ++i)
      (*varieties)[i].for_host = std::find(taken.begin(), taken.end(), all[i]) != taken.end();
    free_spec(&spec);
  }
  free_query(&query);
  FwErrorClear(&err);
}

// What the texts of a product mean for one of its varieties.
class Meaning {
 public:
  Meaning(const Loaded& loaded, WH_VARIETY* variety, const char* file) {
    std::string source = file;
    std::string root = loaded.root();
    symtab_ = symtab_from_prodname(loaded.name(), text(source));
    add_context(symtab_, make_context(make_cv(FWT("BASE-DIRECTORY"), text(root), nullptr)));
    add_context(symtab_, context_from_variety(variety));
  }
  ~Meaning() { free_symtab(&symtab_); }
  Meaning(const Meaning&) = delete;
  Meaning& operator=(const Meaning&) = delete;

  std::string of(FwTextString form) { return expanded(form, symtab_); }

 private:
  WH_SYMTAB* symtab_;
};

template <typename T>
bool contains(const std::vector<T>& all, const T& one) {
  return std::find(all.begin(), all.end(), one) != all.end();
}

void add_files(const Loaded& loaded, WH_VARIETY* variety, ProductFacts* facts) {
  Meaning meaning(loaded, variety, "partlist.xml");
  for (const WH_PARTSPEC* spec = loaded.get()->partlist->partspecs; spec; spec = spec->next) {
    if (!matchvar(variety, spec->pattern, nullptr)) continue;
    for (const WH_PART* part = spec->parts; part; part = part->next) {
      if (part->type != part_file) continue;
      const std::string path = meaning.of(part->u.file->file);
      const auto same = [&](const FilePart& other) { return other.path == path; };
      if (path.empty() || std::any_of(facts->files.begin(), facts->files.end(), same)) continue;
      const std::string full = path[0] == '/' ? path : facts->directory + '/' + path;
      facts->files.push_back({path, access(full.c_str(), F_OK) == 0});
    }
  }
}

void add_parts(const WH_PARTLIST* list, ProductFacts* facts) {
  for (const WH_PARTSPEC* spec = list->partspecs; spec; spec = spec->next)
    for (const WH_PART* part = spec->parts; part; part = part->next)
      if (part->type == part_product)
        facts->parts.push_back({condition_of(spec->pattern), name_of(part->u.product->prodname),
                                condition_of(part->u.product->pattern)});
}

// Empty if none is set.
std::string separator_of(FwTextCharacter character) {
  return character == 0 ? "" : string_of(character);
}

Operation operation_of(const WH_ENV_OP* op) {
  Operation operation;
  operation.variable = string_of(op->name);
  if (op->type == wh_env_insert) {
    operation.separator = separator_of(op->u.ins->sep);
    operation.values = {string_of(op->u.ins->value)};
    operation.before = strings_of(op->u.ins->before);
    operation.after = strings_of(op->u.ins->after);
    return operation;
  }
  operation.kind = op->type == wh_env_remove ? OperationKind::kRemove : OperationKind::kDelete;
  operation.separator = separator_of(op->u.rem->sep);
  if (op->type == wh_env_remove) operation.values = strings_of(op->u.rem->values);
  return operation;
}

void add_operations(const WH_ENV_SETTINGS* settings, ProductFacts* facts) {
  for (const WH_ENV_GROUP* group : elements<WH_ENV_GROUP>(settings->groups))
    for (const WH_ENV_OP* op : elements<WH_ENV_OP>(group->ops)) {
      Operation operation = operation_of(op);
      operation.file = facts->product.path() + "/env.xml";
      operation.line = op->place->line;
      operation.when = condition_of(group->pattern);
      facts->operations.push_back(std::move(operation));
    }
}

void add_operations(const WH_RECIPE* recipe, ProductFacts* facts) {
  for (const WH_STEP* step : elements<WH_STEP>(recipe->steps))
    for (const WH_COMMAND* command : elements<WH_COMMAND>(step->commands)) {
      if (command->type != wh_setenv) continue;
      const WH_SETENV* from = command->u.setenv;
      Operation operation;
      operation.kind = OperationKind::kRecipe;
      operation.file = facts->product.path() + "/setup.xml";
      operation.line = command->place->line;
      operation.when = condition_of(step->pattern);
      operation.variable = string_of(from->name);
      operation.values = {string_of(from->value)};
      operation.word = string_of(from->op);
      facts->operations.push_back(std::move(operation));
    }
}

// Replayed only for products that have no settings files.
bool replays_recipes(const WH_PRODUCT* product) {
  return !product->envset && !product->envunset;
}

bool adds_element(FwTextString word) {
  return FwStrEqualFolded(word, FWT("append")) || FwStrEqualFolded(word, FWT("prepend")) ||
         FwStrEqualFolded(word, FWT("set"));
}

void add_path(const std::string& directory, ProductFacts* facts) {
  if (!directory.empty() && !contains(facts->path, directory)) facts->path.push_back(directory);
}

void add_path(const Loaded& loaded, WH_VARIETY* variety, ProductFacts* facts) {
  const WH_PRODUCT* product = loaded.get();
  if (product->envset) {
    Meaning meaning(loaded, variety, "env.xml");
    for (const WH_ENV_GROUP* group : elements<WH_ENV_GROUP>(product->envset->groups)) {
      if (!matchvar(variety, group->pattern, nullptr)) continue;
      for (const WH_ENV_OP* op : elements<WH_ENV_OP>(group->ops))
        if (op->type == wh_env_insert && meaning.of(op->name) == "PATH")
          add_path(meaning.of(op->u.ins->value), facts);
    }
  }
  if (product->setup && replays_recipes(product)) {
    Meaning meaning(loaded, variety, "setup.xml");
    for (const WH_STEP* step : elements<WH_STEP>(product->setup->steps)) {
      if (!matchvar(variety, step->pattern, nullptr)) continue;
      for (const WH_COMMAND* command : elements<WH_COMMAND>(step->commands))
        if (command->type == wh_setenv && meaning.of(command->u.setenv->name) == "PATH" &&
            adds_element(command->u.setenv->op))
          add_path(meaning.of(command->u.setenv->value), facts);
    }
  }
}

// The words that include the host, the narrowest first. A word stands for the platform of that name
// between before and behind.
std::vector<std::string> words_of_host(const char* (*word)(int number), const std::string& before,
                                       const std::string& behind) {
  std::vector<std::string> words;
  const auto includes = [&](const std::string& wide, std::string narrow) {
    std::string general = before + wide + behind;
    return platform_includes(general.data(), narrow.data()) != 0;
  };
  for (int i = 0; word(i); ++i)
    if (includes(word(i), host_platform_name())) words.emplace_back(word(i));
  std::map<std::string, int> wider;
  for (const std::string& narrow : words) {
    const std::string platform = fmt::format("{}{}{}", before, narrow, behind);
    for (const std::string& wide : words)
      wider[narrow] += includes(wide, platform) ? 1 : 0;
  }
  std::stable_sort(words.begin(), words.end(),
                   [&](const std::string& a, const std::string& b) { return wider[a] > wider[b]; });
  return words;
}

}  // namespace

const char* word_for(OperationKind kind) {
  switch (kind) {
    case OperationKind::kInsert:
      return "insert";
    case OperationKind::kRemove:
      return "remove";
    case OperationKind::kDelete:
      return "delete";
    case OperationKind::kRecipe:
      break;
  }
  return "recipe";
}

std::vector<Binding> bindings_of(const WH_VAR* vars) {
  std::vector<Binding> bindings;
  for (; vars; vars = vars->next)
    bindings.push_back({string_of(vars->n), string_of(vars->v)});
  return bindings;
}

std::string expanded(FwTextString form, WH_SYMTAB* symtab) {
  FwErrorState err;
  FwTextString meaning = wh_expand(&err, form, symtab);
  std::string result = err.pError ? "" : string_of(meaning);
  if (meaning) FwMemFree(meaning);
  FwErrorClear(&err);
  return result;
}

std::vector<std::string> strings_of(const FwVector& vector) {
  std::vector<std::string> strings;
  for (FwTextByte* each : elements<FwTextByte>(vector))
    strings.push_back(string_of(each));
  return strings;
}

VarietyFacts facts_of(WH_VARIETY* from) {
  VarietyFacts variety;
  variety.name = string_of(from->name);
  for (const WH_DESC* description : elements<WH_DESC>(from->descriptions->descs))
    variety.description = string_of(description->text);
  variety.variables = bindings_of(from->vars);
  for (const WH_SEG* segment = from->segs; segment; segment = segment->next)
    variety.segments.push_back({string_of(segment->host), segment->here != 0});
  variety.complete = wh_variety_is_complete(from) != 0;
  return variety;
}

ProductFacts read_product(const std::string& root, const ProductName& product) {
  const Loaded loaded(root, product);
  const WH_PRODUCT* from = loaded.get();
  ProductFacts facts;
  facts.product = name_of(loaded.name());
  facts.directory = loaded.root() + '/' + facts.product.path();
  facts.title = string_of(from->prodinfo->nicename);
  facts.visible = from->prodinfo->visible != 0;
  for (const WH_DESC* description : elements<WH_DESC>(from->prodinfo->descriptions->descs))
    facts.descriptions.push_back({string_of(description->lang), string_of(description->text)});
  const auto varieties = elements<WH_VARIETY>(from->prodinfo->varieties->seq);
  for (WH_VARIETY* variety : varieties)
    facts.varieties.push_back(facts_of(variety));
  mark_for_host(loaded, &facts.varieties);
  add_parts(from->partlist, &facts);
  for (std::size_t i = 0; i < varieties.size(); ++i) {
    if (!facts.varieties[i].complete) continue;
    add_files(loaded, varieties[i], &facts);
    if (facts.varieties[i].for_host) add_path(loaded, varieties[i], &facts);
  }
  if (from->envset) add_operations(from->envset, &facts);
  if (from->setup && replays_recipes(from)) add_operations(from->setup, &facts);
  for (const auto& [recipe, name] :
       {std::pair(from->setup, "setup.xml"), std::pair(from->prep, "prep.xml"),
        std::pair(from->unset, "unset.xml")})
    if (recipe) facts.recipes.emplace_back(name);
  return facts;
}

std::vector<std::vector<std::string>> read_meanings(const std::string& root,
                                                    const ProductName& product) {
  const Loaded loaded(root, product);
  const WH_PRODUCT* from = loaded.get();
  std::vector<std::vector<std::string>> meanings;
  if (!from->envset) return meanings;
  const auto varieties = elements<WH_VARIETY>(from->prodinfo->varieties->seq);
  for (const WH_ENV_GROUP* group : elements<WH_ENV_GROUP>(from->envset->groups))
    for (const WH_ENV_OP* op : elements<WH_ENV_OP>(group->ops)) {
      const bool inserts = op->type == wh_env_insert;
      std::vector<FwTextString> forms;
      if (inserts) forms = {op->u.ins->value};
      if (op->type == wh_env_remove) forms = elements<FwTextByte>(op->u.rem->values);
      meanings.emplace_back();
      for (WH_VARIETY* variety : varieties) {
        if (!wh_variety_is_complete(variety) || !matchvar(variety, group->pattern, nullptr))
          continue;
        Meaning meaning(loaded, variety, "env.xml");
        for (FwTextString form : forms)
          if (std::string value = meaning.of(form); !contains(meanings.back(), value))
            meanings.back().push_back(std::move(value));
      }
    }
  return meanings;
}

ProductName latest_of(const std::string& root, const ProductName& product) {
  std::vector<Fault> faults;
  const Collecting collecting(&faults);
  FwErrorState err;
  std::string base = root.empty() ? "." : root;
  WH_PRODUCT_NAME* name = make_name(product);
  if (FwTextString absolute = FwFileAbsolutePath(&err, text(base))) {
    wh_latest_prodname(&err, name, absolute);
    FwMemFree(absolute);
  }
  ProductName latest = name_of(name);
  free_prodname(&name);
  if (err.pError) collect_error(&err);
  FwErrorClear(&err);
  explain_faults(&faults, {absolute_root(root), !root.empty(), {product}});
  if (!faults.empty()) throw Error(faults[0].text);
  return latest;
}

PlatformWords platform_words() {
  return {words_of_host(platform_system_word, "", "-all"),
          words_of_host(platform_architecture_word, "all-", "")};
}

}  // namespace zor
