// The parts of a run, measured alone with Google Benchmark. Sizes are what a run meets: short
// strings, tens of variables, tens of elements; the larger ones show how the cost grows.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "environ.h"
#include "fwhash.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwvector.h"
#include "glob.h"
#include "partlist.h"
#include "settings.h"
#include "warehouse.h"
#include "whbootfw.h"
#include "wherror.h"
#include "wqmem.h"
#include "wqversion.h"

namespace {

using benchmark::State;

FwTextString fwt(const std::string& text) {
  return FWT(text.c_str());
}

// So many strings of the kind that a search path has.
std::vector<std::string> directories(int64_t count) {
  std::vector<std::string> all;
  for (int64_t i = 0; i < count; ++i)
    all.push_back("/opt/site/product" + std::to_string(i) + "/1.0/1/bin");
  return all;
}

std::string joined(const std::vector<std::string>& elements) {
  std::string all;
  for (const std::string& element : elements)
    all += (all.empty() ? "" : ":") + element;
  return all;
}

// ---- Hash tables --------------------------------------------------------------------------------

void HashOfAString(State& state) {
  std::string key = "/opt/site/product17/1.0/1/bin";
  for (auto _ : state)
    benchmark::DoNotOptimize(FwHash_StringHashFunction(key.data()));
}
BENCHMARK(HashOfAString);

void TableAdd(State& state) {
  std::vector<std::string> keys = directories(state.range(0));
  for (auto _ : state) {
    FwHashTable* table = FwHashCreateTable(50, &FwHash_StringCopyFunctions, nullptr);
    for (std::string& key : keys)
      FwHashAddEntry(table, key.data(), key.data(), nullptr);
    FwHashFreeTable(&table);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(TableAdd)->Range(32, 32768);

void TableLookup(State& state) {
  std::vector<std::string> keys = directories(state.range(0));
  FwHashTable* table = FwHashCreateTable(50, &FwHash_StringCopyFunctions, nullptr);
  for (std::string& key : keys)
    FwHashAddEntry(table, key.data(), key.data(), nullptr);
  for (auto _ : state)
    for (std::string& key : keys)
      benchmark::DoNotOptimize(FwHashLookupEntry(table, key.data(), nullptr));
  FwHashFreeTable(&table);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(TableLookup)->Range(32, 32768);

// ---- Strings ------------------------------------------------------------------------------------

void RecordOfStrings(State& state) {
  std::string piece = "/opt/site/product17";
  for (auto _ : state) {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    for (int64_t i = 0; i < state.range(0); ++i)
      FwStrPutTextString(&record, fwt(piece));
    FwMemFree(FwStrRecordClose(&record));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(RecordOfStrings)->Range(1, 4096);

void RecordOfCharacters(State& state) {
  for (auto _ : state) {
    FwStrRecord record;
    FwStrRecordOpen(&record);
    for (int64_t i = 0; i < state.range(0); ++i)
      FwStrPutTextCharacter(&record, 'x');
    FwStrRecordAbandon(&record);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(RecordOfCharacters)->Range(16, 65536);

void SplitAndJoin(State& state) {
  std::string value = joined(directories(state.range(0)));
  for (auto _ : state) {
    FwVector elements = {};
    FwVectorOpen(&elements, 10);
    FwStrTextSplitByChar(fwt(value), ':', &elements);
    FwStrRecord record;
    FwStrRecordOpen(&record);
    FwStrTextJoinByChar(&elements, 0, ':', &record);
    FwStrRecordAbandon(&record);
    FwVectorAbandon(&elements, 1);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(SplitAndJoin)->Range(4, 16384);

// ---- Patterns and versions ----------------------------------------------------------------------

void GlobMatch(State& state, const char* pattern, const char* subject) {
  for (auto _ : state)
    benchmark::DoNotOptimize(wh_glob_matches(FWT(pattern), FWT(subject)));
}
BENCHMARK_CAPTURE(GlobMatch, literal, "/usr/bin", "/usr/bin");
BENCHMARK_CAPTURE(GlobMatch, other, "/usr/bin", "/opt/site/product17/1.0/1/bin");
BENCHMARK_CAPTURE(GlobMatch, star, "/opt/*/product*/1.0/1/bin", "/opt/site/product17/1.0/1/bin");
BENCHMARK_CAPTURE(GlobMatch, below, "/opt/site/**", "/opt/site/product17/1.0/1/bin");
BENCHMARK_CAPTURE(GlobMatch, anywhere, "**/1.0/**", "/opt/site/product17/1.0/1/bin");

// A pattern that plain backtracking tries in exponentially many ways.
void GlobMatchHostile(State& state) {
  std::string pattern, subject(static_cast<size_t>(state.range(0)), 'a');
  for (int64_t i = 0; i < state.range(0) / 8; ++i)
    pattern += "*a";
  pattern += "*b";
  for (auto _ : state)
    benchmark::DoNotOptimize(wh_glob_matches(fwt(pattern), fwt(subject)));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(GlobMatchHostile)->RangeMultiplier(4)->Range(16, 4096)->Complexity();

void CompareVersions(State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(wq_compare_versions(FWT("1.10.3-beta2"), FWT("1.9.27")));
}
BENCHMARK(CompareVersions);

// ---- Expansion ----------------------------------------------------------------------------------

void Expand(State& state, const char* text) {
  std::string category = "tools/weaving";
  WH_PRODUCT_NAME* name = make_prodname(fwt(category), FWT("weaver"), FWT("1.10"), FWT("2"));
  WH_SYMTAB* symtab = symtab_from_prodname(name, FWT("env.xml"));
  add_context(symtab, make_context(make_cv(FWT("BASE-DIRECTORY"), FWT("/srv/warehouse"), nullptr)));
  for (auto _ : state) {
    FwErrorState err;
    wh_free(wh_expand(&err, FWT(text), symtab));
  }
  free_symtab(&symtab);
  free_prodname(&name);
}
BENCHMARK_CAPTURE(Expand, plain, "/usr/local/bin");
BENCHMARK_CAPTURE(Expand, name, "%(THIS-NAME)");
BENCHMARK_CAPTURE(Expand, directory, "%(BASE-CNVR)%(FS)bin");

void SymbolTable(State& state) {
  std::string category = "tools/weaving";
  WH_PRODUCT_NAME* name = make_prodname(fwt(category), FWT("weaver"), FWT("1.10"), FWT("2"));
  for (auto _ : state) {
    WH_SYMTAB* symtab = symtab_from_prodname(name, FWT("env.xml"));
    free_symtab(&symtab);
  }
  free_prodname(&name);
}
BENCHMARK(SymbolTable);

// ---- Data files ---------------------------------------------------------------------------------

// A directory that goes when the program ends.
class Files {
 public:
  Files() {
    std::string pattern =
        std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") + "/zor-parts-XXXXXX";
    if (!mkdtemp(pattern.data())) std::abort();
    directory_ = pattern;
  }
  ~Files() { std::filesystem::remove_all(directory_); }

  const std::string& directory() const { return directory_; }

  std::string write(const std::string& name, const std::string& contents) const {
    std::string path = directory_ + "/" + name;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (!file || std::fwrite(contents.data(), 1, contents.size(), file) != contents.size())
      std::abort();
    std::fclose(file);
    return path;
  }

 private:
  std::string directory_;
};

std::string settings(int64_t count) {
  std::string all = "<ENV-SETTINGS>\n<ENV-GROUP>\n<PATTERN/>\n";
  for (int64_t i = 0; i < count; ++i)
    all += "<ENV-INSERT><NAME>PATH</NAME><VALUE>%(BASE-CNVR)/bin" + std::to_string(i) +
           "</VALUE><BEFORE>/usr/bin</BEFORE></ENV-INSERT>\n";
  return all + "</ENV-GROUP>\n</ENV-SETTINGS>\n";
}

void ReadSettings(State& state) {
  Files files;
  std::string path = files.write("env.xml", settings(state.range(0)));
  for (auto _ : state) {
    FwErrorState err;
    WH_ENV_SETTINGS* read = read_env_settings(&err, fwt(path), WH_XML_PF_NO_CHECKS);
    free_env_settings(&read);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ReadSettings)->Range(1, 4096);

void ReadPartlist(State& state) {
  Files files;
  std::string text = "<PARTLIST>\n<PARTSPEC>\n<PATTERN/>\n<PARTS>\n";
  for (int64_t i = 0; i < state.range(0); ++i)
    text += "<PRODUCT name=\"part" + std::to_string(i) + "\"><PATTERN/></PRODUCT>\n";
  std::string path = files.write("partlist.xml", text + "</PARTS>\n</PARTSPEC>\n</PARTLIST>\n");
  for (auto _ : state) {
    FwErrorState err;
    WH_PARTLIST* read = read_partlist(&err, fwt(path), WH_XML_PF_NO_CHECKS);
    free_partlist(&read);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ReadPartlist)->Range(1, 4096);

// ---- The engine ---------------------------------------------------------------------------------

// One product that inserts so many elements into a variable that has as many.
void Apply(State& state) {
  Files files;
  std::string product = "tools/weaver/1/1/";
  files.write(product + "product.xml",
              "<PRODUCT-INFO><VARIETIES><VARIETY><SEGMENT here=\"1\"/></VARIETY></VARIETIES>"
              "</PRODUCT-INFO>\n");
  files.write(product + "partlist.xml", "<PARTLIST></PARTLIST>\n");
  files.write(product + "env.xml", settings(state.range(0)));

  FwErrorState err;
  WH_INDEX* index = index_open(fwt(files.directory()));
  WH_PRODUCT_QUERY_LIST* queries = make_querylist();
  std::string category = "tools";
  add_query(queries, make_query(make_prodname(fwt(category), FWT("weaver"), FWT("1"), FWT("1")),
                                make_pattern(), 0));
  WH_PRODUCT_SPEC_LIST* specs = query_products_pd(&err, index, queries, report_error);
  WH_ENVIRON* input = make_environ();
  wh_set_ev(input, FWT("PATH"), fwt(joined(directories(state.range(0))) + ":/usr/bin"));
  for (auto _ : state) {
    WH_ENVIRON* output = wh_apply_env(index, input, index->base, specs, report_error, 1);
    free_environ(&output);
  }
  free_environ(&input);
  free_speclist(&specs);
  free_querylist(&queries);
  index_close(index);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Apply)->Range(1, 4096);

}  // namespace

int main(int argc, char** argv) {
  wh_boot_fw(argc, argv);
  wh_init();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
