#include "prodinfo.h"

#include <cstring>

#include "fcpp.h"
#include "fwhash.h"
#include "fwmem.h"
#include "whreaddata.h"
#include "wqmem.h"

namespace {

constexpr int kDescriptionsRoom = 3;

// ---- Records ------------------------------------------------------------------------------------

// Takes over both strings; a null lang becomes an empty one.
WH_DESC* make_desc(FwTextString lang, FwTextString text) {
  auto* desc = make<WH_DESC>();
  desc->lang = lang != nullptr ? lang : FwStrDuplicate(FWT(""));
  desc->text = text;
  return desc;
}

void free_desc(WH_DESC** desc) {
  if (*desc == nullptr) return;
  wh_free((*desc)->lang);
  wh_free((*desc)->text);
  FwMemFreeAndClear(desc);
}

WH_DESCRIPTIONS* make_descriptions() {
  auto* descriptions = make<WH_DESCRIPTIONS>();
  FwVectorOpen(&descriptions->descs, kDescriptionsRoom);
  return descriptions;
}

void add_desc(WH_DESCRIPTIONS* descriptions, WH_DESC* desc) {
  FwVectorAddElement(&descriptions->descs, desc);
}

void free_descriptions(WH_DESCRIPTIONS** descriptions) {
  if (*descriptions == nullptr) return;
  FwVector* descs = &(*descriptions)->descs;
  for (WH_DESC* desc : elements<WH_DESC>(descs))
    free_desc(&desc);
  FwVectorAbandon(descs, 0);
  FwMemFreeAndClear(descriptions);
}

// Takes over host.
WH_SEG* make_seg(FwTextString host, int here) {
  auto* seg = make<WH_SEG>();
  seg->host = host;
  seg->here = here;
  return seg;
}

void free_segs(WH_SEG** segs) {
  while (*segs != nullptr) {
    WH_SEG* seg = *segs;
    *segs = seg->next;
    wh_free(seg->host);
    wh_free(seg);
  }
}

// Takes over both strings. A null description makes none.
WH_VARIETY* make_variety(FwTextString name, int chosen, FwTextString description) {
  auto* variety = make<WH_VARIETY>();
  variety->name = name;
  variety->chosen = chosen;
  variety->descriptions = make_descriptions();
  if (description != nullptr) add_desc(variety->descriptions, make_desc(nullptr, description));
  return variety;
}

void free_variety(WH_VARIETY** variety) {
  if (*variety == nullptr) return;
  wh_free((*variety)->name);
  free_vars(&(*variety)->vars);
  free_segs(&(*variety)->segs);
  free_descriptions(&(*variety)->descriptions);
  if ((*variety)->ancestors != nullptr) FwHashFreeTable(&(*variety)->ancestors);
  FwMemFreeAndClear(variety);
}

WH_PRODUCT_NAME* dup_prodname(WH_PRODUCT_NAME* prodname) {
  auto* copy = make<WH_PRODUCT_NAME>();
  copy->category = dup_str(prodname->category);
  copy->name = dup_str(prodname->name);
  copy->version = dup_str(prodname->version);
  copy->rev = dup_str(prodname->rev);
  return copy;
}

bool is_separator(FwTextByte tb) {
  return tb == ',' || FwStrIsWhiteSpace(tb);
}

// Whether string is one of the words of list, which commas and white space separate. Either may be
// null. For ASCII words only: the word's characters are counted and compared with bytes.
int string_in_csl(FwTextString string, FwTextString list) {
  if (string == nullptr || list == nullptr) return 0;
  uint32 length = FwStrCountCharacters(string);
  for (;;) {
    while (*list != 0 && is_separator(*list))
      ++list;
    if (*list == 0) return 0;
    FwTextString word = list;
    while (*list != 0 && !is_separator(*list))
      ++list;
    if (static_cast<std::size_t>(list - word) == length && std::memcmp(word, string, length) == 0)
      return 1;
  }
}

// ---- The format ---------------------------------------------------------------------------------

struct DFA : READER {
  WH_PRODUCT_INFO* prodinfo = nullptr;
  FwTextString platform = nullptr;  // of the variety being read; not owned, null if it has no value
  WH_DESC* desc = nullptr;
  WH_VARIETY* variety = nullptr;
  WH_SEG** seg = nullptr;
};

void start_product_info(DFA* dfa, ELEMENT* element) {
  const OwnedText words(attr("flags", element->atts, &element->seen));
  check_doctype(element);
  dfa->prodinfo->nicename = attr("name", element->atts, &element->seen);
  dfa->prodinfo->visible = string_in_csl(FWT("visible"), words);
}

void start_description(DFA* dfa, ELEMENT* element) {
  dfa->desc = make_desc(attr("lang", element->atts, &element->seen), nullptr);
  opentext(dfa);
}

void end_description(DFA* dfa) {
  dfa->desc->text = closetext(dfa);
  dfa->prodinfo->description = dfa->desc->text;
  add_desc(dfa->prodinfo->descriptions, dfa->desc);
  dfa->desc = nullptr;
}

void start_variety(DFA* dfa, ELEMENT* element) {
  FwTextString description = attr("desc", element->atts, &element->seen);
  int chosen = num_attr("chosen", element->atts, &element->seen);
  FwTextString name = attr("name", element->atts, &element->seen);
  dfa->variety = make_variety(name, chosen, description);
  dfa->variety->place = place_of(element->user);
  dfa->var = &dfa->variety->vars;
  dfa->seg = &dfa->variety->segs;
  dfa->platform = FWT("all-all");
}

void end_variety(DFA* dfa) {
  if (dfa->variety->segs == nullptr) dfa->variety->segs = make_seg(dup_str(dfa->platform), 0);
  add_variety(dfa->prodinfo->varieties, dfa->variety);
  dfa->variety = nullptr;
}

void start_variety_var(DFA* dfa, ELEMENT* element) {
  WH_VAR* var = var_entry(dfa, element);
  if (var->n != nullptr && FwStrCompare(var->n, FWT("platform")) == 0) dfa->platform = var->v;
}

void start_segment(DFA* dfa, ELEMENT* element) {
  int here = num_attr("here", element->atts, &element->seen);
  *dfa->seg = make_seg(attr("host", element->atts, &element->seen), here);
}

void end_segment(DFA* dfa) {
  dfa->seg = &(*dfa->seg)->next;
}

enum STATE {
  st_error = -1,
  st_initial = 0,
  st_in_product = 1,
  st_in_description = 2,
  st_in_varieties = 3,
  st_in_variety = 4,
  st_in_var = 5,
  st_after_varieties = 6,
  st_in_segment = 7,
  st_after_description = 9,
  st_final = 100,
};

constexpr START_RULE<DFA> kStarts[] = {
    {st_initial, "PRODUCT-INFO", st_in_product, start_product_info, st_after_varieties},
    {st_initial, "VARIETIES", st_in_varieties, nullptr, st_final},
    {st_in_product, "DESCRIPTION", st_in_description, start_description},
    {st_in_product, "VARIETIES", st_in_varieties},
    {st_in_varieties, "VARIETY", st_in_variety, start_variety},
    {st_in_variety, "VAR", st_in_var, start_variety_var},
    {st_in_variety, "SEGMENT", st_in_segment, start_segment},
    {st_after_description, "VARIETIES", st_in_varieties},
};

constexpr END_RULE<DFA> kEnds[] = {
    {st_in_description, "DESCRIPTION", st_after_description, end_description},
    {st_in_varieties, "VARIETIES", kReturn},
    {st_in_variety, "VARIETY", st_in_varieties, end_variety},
    {st_in_var, "VAR", st_in_variety, end_var},
    {st_after_varieties, "PRODUCT-INFO", st_final},
    {st_in_segment, "SEGMENT", st_in_variety, end_segment},
};

constexpr MACHINE kMachine{kStarts, kEnds, st_error, st_final, 1};

// The first element makes the record, whatever its name.
void start_el(void* userData, const XML_Char* name, const XML_Char** atts) {
  auto* dfa = static_cast<DFA*>(static_cast<USERDATA*>(userData)->dfa);
  if (dfa->prodinfo == nullptr) {
    dfa->prodinfo = make<WH_PRODUCT_INFO>();
    dfa->prodinfo->descriptions = make_descriptions();
    dfa->prodinfo->varieties = make_variety_seq();
  }
  start_element<kMachine>(userData, name, atts);
}

}  // namespace

WH_PRODUCT_INFO* read_prodinfo_file(FwErrorState* err, WH_PRODUCT_NAME* prodname, FwTextString file,
                                    int optional, WH_XML_PARSE_FLAGS flags) {
  DFA dfa;
  dfa.flags = flags;
  PARSER parser{
      &dfa, start_el, end_element<kMachine>, doctype_element, text_data, &kFormatOf<kMachine>};
  int done = run_reader(err, file, &parser, kMachine.final, VQN_XML_ERROR);
  if (done) dfa.prodinfo->places = take_places(&dfa);
  release_reader(&dfa);
  if (!done) {
    if (optional && is_ErrorNonExistent(err)) FwErrorClear(err);
    free_desc(&dfa.desc);
    free_variety(&dfa.variety);
    free_prodinfo(&dfa.prodinfo);
    return nullptr;
  }
  dfa.prodinfo->prodname = dup_prodname(prodname);
  if (dfa.prodinfo->description == nullptr) dfa.prodinfo->description = FwStrDuplicate(FWT(""));
  return dfa.prodinfo;
}

WH_PRODUCT_INFO* read_prodinfo(FwErrorState* err, WH_PRODUCT_NAME* prodname, FwTextString dir,
                               int optional, WH_XML_PARSE_FLAGS flags) {
  const OwnedText file(wh_filepath(dir, prodname, FWT("product.xml")));
  return read_prodinfo_file(err, prodname, file, optional, flags);
}

void free_prodinfo(WH_PRODUCT_INFO** prodinfo) {
  if (*prodinfo == nullptr) return;
  WH_PRODUCT_INFO* info = *prodinfo;
  wh_free(info->nicename);
  // The description is the text of the last WH_DESC, unless there is none.
  if (info->descriptions == nullptr || FwVectorLength(&info->descriptions->descs) == 0)
    wh_free(info->description);
  free_descriptions(&info->descriptions);
  free_prodname(&info->prodname);
  free_varieties(&info->varieties);
  FwMemPoolDestroy(&info->places);
  FwMemFreeAndClear(prodinfo);
}

void free_varieties(WH_VARIETY_SEQ** varieties) {
  if (*varieties == nullptr) return;
  FwVector* seq = &(*varieties)->seq;
  for (WH_VARIETY* variety : elements<WH_VARIETY>(seq))
    free_variety(&variety);
  free_variety_seq(varieties);
}
