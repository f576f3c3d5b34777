#include "warehouse.h"

#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <unordered_set>
#include <utility>

#include "computation.h"
#include "error.h"
#include "fwboot.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwstrprf.h"
#include "glob.h"
#include "observer.h"
#include "settings.h"
#include "vqnexpat.h"
#include "warehouse_hooks.h"
#include "warehouse_private.h"
#include "wherror.h"
#include "wqversion.h"

namespace zor {

namespace {

// ---- Faults ----

// Where the floors' reports go while a computation runs; their callbacks carry no context.
std::vector<Fault>* collected = nullptr;

// The places of the fault that is reported next.
std::vector<Location> noted;

void collect(Fault fault) {
  if (!collected) return;
  if (std::find(collected->begin(), collected->end(), fault) == collected->end())
    collected->push_back(std::move(fault));
}

struct KindRow {
  FwError* ancestor;
  FaultKind kind;
};

// The first that the error descends from.
FaultKind kind_of(FwError* error) {
  const KindRow rows[] = {
      {whErrorEnvClash, FaultKind::kClash},
      {whErrorEnvCycle, FaultKind::kCycle},
      {whErrorEnvMixedSep, FaultKind::kSeparators},
      {whErrorNoValue, FaultKind::kUndefined},
      {fwErrorNonExistent, FaultKind::kMissing},
      {whErrorInvalid, FaultKind::kData},
      {VQN_XML_ERROR, FaultKind::kData},
  };
  for (const KindRow& row : rows)
    if (Fw_msg_IsDescendant(row.ancestor, error)) return row.kind;
  return FaultKind::kOther;
}

std::string without_prefix(std::string text) {
  constexpr std::string_view kPrefix = "Error:";
  if (!text.starts_with(kPrefix)) return text;
  return text.substr(std::min(text.size(), text.find_first_not_of(' ', kPrefix.size())));
}

// ---- What the engine tells ----

void note_clash(void*, const WH_ELEMENT*, const WH_OPERATION* insert, const WH_OPERATION* remove) {
  noted = {place_of(insert), place_of(remove)};
}

void note_cycle(void*, const WH_CONSTRAINT* constraints, int32 count) {
  noted.clear();
  for (int32 i = 0; i < count; ++i)
    noted.push_back(place_of(constraints[i].operation));
}

void collect_endless(void*, const WH_ELEMENT* element, const WH_OPERATION* insert,
                     const WH_OPERATION* remove) {
  Fault fault;
  fault.kind = FaultKind::kEndless;
  fault.places = {place_of(insert), place_of(remove)};
  fault.details = {{"value", string_of(element->value)},
                   {"environment variable", string_of(element->variable)}};
  const Location& inserting = fault.places[0];
  const Location& removing = fault.places[1];
  fault.text = fmt::format(
      "environment variable {}: {} inserts {} (at {}:{}), which its part {} removes (at {}:{}); "
      "nothing settles this, so one of the two has to go",
      fault.details[1].value, inserting.product.path(), fault.details[0].value, inserting.file,
      inserting.line, removing.product.path(), removing.file, removing.line);
  collect(std::move(fault));
}

// ---- Environments ----

// Makes an environment that of the process while it lives, as %{NAME} and the start of a
// computation read it there.
class AsProcess {
 public:
  explicit AsProcess(const Environment& environment) : saved_(environ) {
    for (const std::string& text : environment.texts())
      pointers_.push_back(const_cast<char*>(text.c_str()));
    pointers_.push_back(nullptr);
    environ = pointers_.data();
  }
  ~AsProcess() { environ = saved_; }
  AsProcess(const AsProcess&) = delete;
  AsProcess& operator=(const AsProcess&) = delete;

 private:
  std::vector<char*> pointers_;
  char** saved_;
};

struct Pass {
  WH_ENVIRON* other;
  std::vector<Change>* changes;
};

int32 take_changed(FwHashEntry* entry, void* context, FwErrorState*) {
  const auto* pass = static_cast<Pass*>(context);
  auto* name = static_cast<FwTextString>(entry->key);
  auto* value = static_cast<FwTextString>(entry->value);
  FwTextString old = wh_lookup_ev(name, pass->other);
  if (!old || !wh_env_equal(old, value))
    pass->changes->push_back({name_from_table(FWC(name)), FWC(value)});
  return 1;
}

int32 take_removed(FwHashEntry* entry, void* context, FwErrorState*) {
  const auto* pass = static_cast<Pass*>(context);
  auto* name = static_cast<FwTextString>(entry->key);
  // What has no name can be set, but not taken out of a process's environment.
  if (*name == 0) return 1;
  if (!wh_lookup_ev(name, pass->other)) pass->changes->push_back({name_from_table(FWC(name)), {}});
  return 1;
}

Environment changed(const Environment& base, WH_ENVIRON* oldenv, WH_ENVIRON* newenv) {
  std::vector<Change> changes;
  Pass pass = {oldenv, &changes};
  wh_enumerate_environ(newenv, take_changed, &pass, nullptr);
  pass.other = newenv;
  wh_enumerate_environ(oldenv, take_removed, &pass, nullptr);
  Environment environment = base;
  environment.apply(changes);
  return environment;
}

// ---- Questions and answers ----

WH_PRODUCT_QUERY* make_query(const Query& query) {
  WH_PATTERN* pattern = make_pattern();
  WH_VAR** end = &pattern->vars;
  for (Binding condition : query.conditions) {
    *end = make_var(text(condition.name), text(condition.value));
    end = &(*end)->next;
  }
  return ::make_query(make_name(query.product), pattern, 0);
}

// Lists of queries for the floors below, released with the object.
class QueryLists {
 public:
  explicit QueryLists(const std::vector<Group>& groups) {
    FwVectorOpen(&lists_, static_cast<int32>(groups.size()) + 1);
    for (const Group& group : groups) {
      WH_PRODUCT_QUERY_LIST* list = make_querylist();
      for (const Query& query : group)
        add_query(list, make_query(query));
      FwVectorAddElement(&lists_, list);
    }
  }
  ~QueryLists() {
    for (int32 i = 0; i < FwVectorLength(&lists_); ++i) {
      auto* list = element<WH_PRODUCT_QUERY_LIST>(lists_, i);
      free_querylist(&list);
    }
    FwVectorAbandon(&lists_, 0);
  }
  QueryLists(const QueryLists&) = delete;
  QueryLists& operator=(const QueryLists&) = delete;

  FwVector* get() { return &lists_; }

 private:
  FwVector lists_ = {};
};

bool holds(const WH_VARIETY_SEQ* sequence, const WH_VARIETY* variety) {
  for (int32 i = 0; i < FwVectorLength(const_cast<FwVector*>(&sequence->seq)); ++i)
    if (element<WH_VARIETY>(sequence->seq, i) == variety) return true;
  return false;
}

void take_choices(Answer* answer, WH_COMPUTATION* all) {
  if (all->group_speclists.state != FW_VECTOR_OPEN) return;
  for (int32 i = 0; i < FwVectorLength(&all->group_speclists); ++i) {
    const FwVector& specs = element<WH_PRODUCT_SPEC_LIST>(all->group_speclists, i)->specs;
    answer->groups.emplace_back();
    for (int32 j = 0; j < FwVectorLength(const_cast<FwVector*>(&specs)); ++j)
      answer->groups.back().push_back(choice_of(element<WH_PRODUCT_SPEC>(specs, j)));
  }
}

void take_names(Answer* answer, FwVector* lists) {
  for (int32 i = 0; i < FwVectorLength(lists); ++i) {
    const FwVector& queries = element<WH_PRODUCT_QUERY_LIST>(*lists, i)->queries;
    answer->taken.emplace_back();
    for (int32 j = 0; j < FwVectorLength(const_cast<FwVector*>(&queries)); ++j)
      answer->taken.back().push_back(name_of(element<WH_PRODUCT_QUERY>(queries, j)->prodname));
  }
}

// Those that the settings state, of each name the first.
void take_separators(Answer* answer, std::unordered_set<std::string>* known,
                     const WH_ENV_SETTINGS* settings) {
  for (const WH_ENV_GROUP* group : elements<WH_ENV_GROUP>(settings->groups))
    for (const WH_ENV_OP* operation : elements<WH_ENV_OP>(group->ops)) {
      const FwTextCharacter separator =
          operation->type == wh_env_insert ? operation->u.ins->sep : operation->u.rem->sep;
      if (separator != 0 && known->insert(string_of(operation->name)).second)
        answer->separators.push_back({string_of(operation->name), string_of(separator)});
    }
}

void take_products(Answer* answer, const WH_COMPUTATION* all) {
  if (!all->index) return;
  answer->root = string_of(all->abs_basedir);
  std::unordered_set<std::string> known;
  for (const WH_PRODUCT* product : elements<WH_PRODUCT>(all->index->entries)) {
    answer->products.push_back(name_of(product->prodinfo->prodname));
    const WH_ENV_SETTINGS* settings = all->set ? product->envset : product->envunset;
    if (settings) take_separators(answer, &known, settings);
  }
}

// ---- What was asked for ----

// A part as far as its name stands in the part list; varieties may give parts of names.
struct PartName {
  ProductName name;
  const WH_PART* part;
};

std::vector<PartName> parts_of(const WH_PRODUCT* product) {
  std::vector<PartName> parts;
  WH_SYMTAB* symtab = symtab_from_prodname(product->prodinfo->prodname, FWT("partlist.xml"));
  for (const WH_PARTSPEC* spec = product->partlist->partspecs; spec; spec = spec->next)
    for (const WH_PART* part = spec->parts; part; part = part->next) {
      if (part->type != part_product) continue;
      FwErrorState err;
      WH_PRODUCT_NAME* name = wh_expand_prodname(&err, part->u.product->prodname, symtab);
      if (!err.pError) parts.push_back({name_of(name), part});
      free_prodname(&name);
      FwErrorClear(&err);
    }
  free_symtab(&symtab);
  return parts;
}

void take_missing_parts(Answer* answer, const WH_COMPUTATION* all) {
  if (!all->index || !all->index->missing) return;
  for (const WH_PRODUCT* product : elements<WH_PRODUCT>(all->index->entries))
    for (const PartName& each : parts_of(product)) {
      if (each.part->u.product->optional || !each.part->place) continue;
      WH_PRODUCT_NAME* name = make_name(each.name);
      if (FwHashLookupEntry(all->index->missing, name, nullptr))
        answer->missing_parts.push_back(
            {each.name,
             {name_of(product->prodinfo->prodname), string_of(each.part->place->file),
              each.part->place->line, each.part->place->column},
             why_missing(answer->root, each.name)});
      free_prodname(&name);
    }
}

// Whether there is a fault other than those of contradicting operations.
bool wants_words(const Answer& answer) {
  return std::any_of(answer.faults.begin(), answer.faults.end(),
                     [](const Fault& fault) { return fault.kind > FaultKind::kSeparators; });
}

// Also the parts of what could be loaded, as far as their names stand in part lists.
Asked asked_in(const Question& question, const Environment& base, const Answer& answer,
               const WH_COMPUTATION* all) {
  Asked asked = {absolute_root(question.root), !question.root.empty(), {}, &base};
  for (const Group& group : question.groups)
    for (const Query& query : group)
      asked.products.push_back(query.product);
  for (const auto& group : answer.taken)
    asked.products.insert(asked.products.end(), group.begin(), group.end());
  if (all->index)
    for (const WH_PRODUCT* product : elements<WH_PRODUCT>(all->index->entries))
      for (const PartName& part : parts_of(product))
        asked.products.push_back(part.name);
  return asked;
}

// ---- What an answer depends on ----

// Where the names of files go that stand in %[FILE], while a computation runs that is to tell.
std::vector<std::string>* asked_files = nullptr;

void note_asked_file(FwTextString name) {
  if (asked_files) asked_files->push_back(string_of(name));
}

// Notes them while it lives.
class NotingFiles {
 public:
  explicit NotingFiles(std::vector<std::string>* files) {
    asked_files = files;
    if (files) wh_file_observer = note_asked_file;
  }
  ~NotingFiles() {
    asked_files = nullptr;
    wh_file_observer = nullptr;
  }
  NotingFiles(const NotingFiles&) = delete;
  NotingFiles& operator=(const NotingFiles&) = delete;
};

int32 take_missing(FwHashEntry* entry, void* context, FwErrorState*) {
  static_cast<std::vector<std::string>*>(context)->push_back(
      name_of(static_cast<WH_PRODUCT_NAME*>(entry->key)).path());
  return 1;
}

// Adds what was read, and what was looked for in vain, to the files that %[FILE] asked for.
void take_reads(Answer* answer, WH_COMPUTATION* all) {
  if (!all->index) return;
  const std::string above = answer->root + '/';
  for (std::string& file : answer->reads) {
    if (!file.starts_with('/')) file = fmt::format("{}/{}", string_of(FwCurrentDir()), file);
    if (file.starts_with(above)) file.erase(0, above.size());
  }
  std::vector<std::string> paths;
  for (const ProductName& product : answer->products)
    paths.push_back(product.path());
  if (all->index->missing)
    FwHashEnumerateEntries(all->index->missing, take_missing, &paths, nullptr);
  for (const auto& group : answer->taken)
    for (const ProductName& product : group)
      paths.push_back(product.path());
  for (const std::string& path : paths)
    for (const char* file : kDataFiles)
      answer->reads.push_back(fmt::format("{}/{}", path, file));
  std::sort(answer->reads.begin(), answer->reads.end());
  answer->reads.erase(std::unique(answer->reads.begin(), answer->reads.end()), answer->reads.end());
}

// Lets the host count as another platform while it lives.
class AsPlatform {
 public:
  explicit AsPlatform(std::string name) : before_(host_platform_name()) {
    if (!name.empty()) wh_set_host_platform(text(name));
  }
  ~AsPlatform() {
    if (string_of(wh_host_platform) != before_) wh_set_host_platform(text(before_));
  }
  AsPlatform(const AsPlatform&) = delete;
  AsPlatform& operator=(const AsPlatform&) = delete;

 private:
  std::string before_;
};

bool ends_silently = false;

// The program can't go on: memory is exhausted. Nothing has been printed yet that a shell might
// evaluate, and nothing is from here on.
void exit_for_ever(FwTextString message) {
  const char* const reason = message ? FWC(message) : "interrupted";
  if (ends_silently) _exit(kTrouble);
  for (const char* piece : {"zor: ", reason, "; nothing was changed\n"})
    if (write(STDERR_FILENO, piece, std::strlen(piece)) < 0) break;
  _exit(kTrouble);
}

}  // namespace

WH_OBSERVER collecting_observer() {
  WH_OBSERVER observer = {};
  observer.clash = note_clash;
  observer.cycle = note_cycle;
  observer.endless = collect_endless;
  return observer;
}

Location place_of(const WH_OPERATION* operation) {
  return place_of(operation->origin->product, operation->op->place);
}

Location place_of(const WH_PRODUCT* product, const WH_PLACE* place) {
  return {name_of(product->prodinfo->prodname), string_of(place->file), place->line, place->column};
}

std::string name_from_table(std::string_view name) {
  std::string bytes;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const auto byte = static_cast<unsigned char>(name[i]);
    if ((byte == 0xC2 || byte == 0xC3) && i + 1 < name.size())
      bytes +=
          static_cast<char>(((byte & 3) << 6) | (static_cast<unsigned char>(name[++i]) & 0x3F));
    else
      bytes += name[i];
  }
  return bytes;
}

void end_silently() {
  ends_silently = true;
}

Choice choice_of(const WH_PRODUCT_SPEC* spec) {
  const WH_PRODUCT_INFO* info = spec->product->prodinfo;
  Choice choice;
  choice.product = name_of(info->prodname);
  const FwVector& all = info->varieties->seq;
  for (int32 i = 0; i < FwVectorLength(const_cast<FwVector*>(&all)); ++i) {
    auto* from = element<WH_VARIETY>(all, i);
    Variety variety;
    variety.name = string_of(from->name);
    for (const WH_VAR* var = from->vars; var; var = var->next)
      variety.variables.push_back({string_of(var->n), string_of(var->v)});
    variety.complete = wh_variety_is_complete(from) != 0;
    variety.chosen = holds(spec->varieties, from);
    choice.varieties.push_back(std::move(variety));
  }
  return choice;
}

WH_PRODUCT_NAME* make_name(ProductName name) {
  return make_prodname(text(name.category), text(name.name), text(name.version), text(name.rev));
}

ProductName name_of(const WH_PRODUCT_NAME* name) {
  return {string_of(name->category), string_of(name->name), string_of(name->version),
          string_of(name->rev)};
}

void collect_error(FwErrorState* err) {
  if (!err->pError) return;
  Fault fault;
  fault.kind = kind_of(err->pError);
  for (const FwErrorItem& item : err->items)
    if (item.name) fault.details.push_back({string_of(item.type), string_of(item.name)});
  FwStrRecord record;
  FwStrRecordOpen(&record);
  const auto or_empty = [](FwTextString text) { return text ? text : FWT(""); };
  FwStrPrintf(&record, 0, err->pError->ptbzFormat, or_empty(err->items[0].type),
              or_empty(err->items[0].name),
              err->items[1].name ? or_empty(err->items[1].type) : FWT(""),
              or_empty(err->items[1].name));
  fault.text = without_prefix(string_of(record.pbz));
  fault.places = std::exchange(noted, {});
  FwStrRecordAbandon(&record);
  ++wh_errors;
  collect(std::move(fault));
}

Collecting::Collecting(std::vector<Fault>* faults)
    : before_(std::exchange(collected, faults)), errors_before_(std::exchange(wh_errors, 0)) {
  noted.clear();
}

Collecting::~Collecting() {
  collected = before_;
  wh_errors = errors_before_;
}

void report_assertion(const char* message, const char* file, int line) {
  collect({FaultKind::kAssertion, fmt::format("{} (at {}:{})", message, file, line), {}});
}

std::string ProductName::path() const {
  return category + '/' + name + '/' + version + '/' + rev;
}

Engine::Engine(int argc, char** argv) {
  static FwBootContext context;
  context.control.ptbzAppName = FWT("zor");
  context.control.exiterrorf = exit_for_ever;
  context.control.platform.argc = argc;
  context.control.platform.argv = argv;
  // Under cron and the like, where no locale is set, names outside ASCII would be cut.
  const char* locale = std::setlocale(LC_CTYPE, "");
  const bool plain = locale && (std::strcmp(locale, "C") == 0 || std::strcmp(locale, "POSIX") == 0);
  const Environment environment = Environment::of_process();
  Environment in_utf8 = environment;
  if (plain) in_utf8.set("LC_ALL", "C.UTF-8");
  AsProcess working(in_utf8);
  FwBoot(&context);
  wh_init();
}

Engine::~Engine() {
  FwShutdown();
}

Answer compute(const Question& question, const Environment& base) {
  return compute(question, base, {});
}

Answer compute(const Question& question, const Environment& base, const Inside& inside) {
  Answer answer;
  Collecting collecting(&answer.faults);
  AsProcess process(base);
  AsPlatform platform(question.platform);
  NotingFiles noting(question.list_reads ? &answer.reads : nullptr);
  QueryLists lists(question.groups);
  FwErrorState err;
  WH_COMPUTATION all = {};
  all.group_querylists = lists.get();
  all.set = question.undo ? 0 : 1;
  all.emulate = 1;
  all.ignore_missing = question.ignore_missing ? 1 : 0;
  all.report = collect_error;
  all.err = &err;
  const WH_OBSERVER observer = inside.observer ? *inside.observer : collecting_observer();
  all.observer = &observer;
  all.places = 1;
  all.oldenv = wh_get_process_env(&err);
  std::string root = question.root;
  // Its own index gives way while the computation lasts.
  WH_INDEX* index = inside.index;
  const auto share_index = [&] {
    if (index) std::swap(all.index, index);
    return true;
  };
  answer.done = wh_computation_open(&all, root.empty() ? FwCurrentDir() : text(root)) &&
                share_index() && wh_computation_find_latest(&all) && wh_computation_load(&all) &&
                (question.choices_only || wh_computation_compute(&all)) && answer.faults.empty();
  take_choices(&answer, &all);
  if (index) {
    std::swap(all.index, index);
    wh_computation_close(&all);
    return answer;
  }
  take_names(&answer, lists.get());
  take_products(&answer, &all);
  if (question.list_reads) take_reads(&answer, &all);
  if (inside.look && all.group_speclists.state == FW_VECTOR_OPEN) inside.look(&all);
  take_missing_parts(&answer, &all);
  if (wants_words(answer)) explain_faults(&answer.faults, asked_in(question, base, answer, &all));
  if (answer.done && !question.choices_only)
    answer.environment = changed(base, all.oldenv, all.newenv);
  wh_computation_close(&all);
  return answer;
}

std::string absolute_root(const std::string& root) {
  std::string given = root;
  FwErrorState err;
  FwTextString absolute = FwFileAbsolutePath(&err, given.empty() ? FwCurrentDir() : text(given));
  if (!absolute) {
    FwErrorClear(&err);
    return root;
  }
  FwFileRemoveTrailingSeparator(absolute);
  std::string result = string_of(absolute);
  FwMemFree(absolute);
  return result;
}

int compare_versions(const std::string& first, const std::string& second) {
  std::string one = first;
  std::string two = second;
  return wq_compare_versions(text(one), text(two));
}

std::string host_platform_name() {
  return string_of(wh_host_platform);
}

bool is_pattern(const std::string& candidate) {
  std::string one = candidate;
  return wh_has_globs(text(one)) != 0;
}

bool pattern_matches(const std::string& pattern, const std::string& candidate) {
  std::string one = pattern;
  std::string two = candidate;
  return wh_glob_matches(text(one), text(two)) != 0;
}

}  // namespace zor
