#include "partlist.h"

#include "fcpp.h"
#include "fwmem.h"
#include "whreaddata.h"
#include "wqmem.h"

namespace {

constexpr int kMediaRoom = 2;

// ---- Records ------------------------------------------------------------------------------------

// Takes over the strings.
WH_FILE_PART* make_file_part(FwTextString file, FwTextString builtas, FwTextString packas) {
  auto* part = make<WH_FILE_PART>();
  part->file = file;
  part->builtas = builtas;
  part->packas = packas;
  FwVectorOpen(&part->media, kMediaRoom);
  return part;
}

void free_file_part(WH_FILE_PART** part) {
  if (*part == nullptr) return;
  wh_free((*part)->file);
  wh_free((*part)->builtas);
  wh_free((*part)->packas);
  FwVectorAbandon(&(*part)->media, 1);
  FwMemFreeAndClear(part);
}

WH_PART* make_part(WH_PART_TYPE type, ELEMENT* element) {
  auto* part = make<WH_PART>();
  part->type = type;
  part->place = place_of(element->user);
  return part;
}

void free_parts(WH_PART** parts) {
  while (*parts != nullptr) {
    WH_PART* part = *parts;
    *parts = part->next;
    if (part->type == part_product)
      free_query(&part->u.product);
    else
      free_file_part(&part->u.file);
    wh_free(part);
  }
}

void free_partspecs(WH_PARTSPEC** partspecs) {
  while (*partspecs != nullptr) {
    WH_PARTSPEC* partspec = *partspecs;
    *partspecs = partspec->next;
    free_pattern(&partspec->pattern);
    free_parts(&partspec->parts);
    wh_free(partspec);
  }
}

// ---- The format ---------------------------------------------------------------------------------

struct DFA : READER {
  WH_PARTSPEC* partspecs = nullptr;
  WH_PARTSPEC** partspec = nullptr;  // the links at the ends of the chains being read
  WH_PART** part = nullptr;
};

void start_partlist(DFA* dfa, ELEMENT* element) {
  check_doctype(element);
  dfa->partspec = &dfa->partspecs;
}

void start_partspec(DFA* dfa, ELEMENT*) {
  *dfa->partspec = make<WH_PARTSPEC>();
}

void end_partspec(DFA* dfa) {
  dfa->partspec = &(*dfa->partspec)->next;
}

void start_condition(DFA* dfa, ELEMENT* element) {
  start_pattern(dfa, element, &(*dfa->partspec)->pattern);
}

void start_parts(DFA* dfa, ELEMENT*) {
  dfa->part = &(*dfa->partspec)->parts;
}

// A field of a product's name. What a PRODUCT leaves out is the including product's own.
FwTextString own_field(const char* name, FwTextString own, ELEMENT* element) {
  return attr_default(name, element->atts, own, &element->seen);
}

void start_product(DFA* dfa, ELEMENT* element) {
  const OwnedText category(own_field("category", FWT("%(THIS-CATEGORY)"), element));
  const OwnedText name(own_field("name", FWT("%(THIS-NAME)"), element));
  const OwnedText version(own_field("version", FWT("%(THIS-VERSION)"), element));
  const OwnedText rev(own_field("rev", FWT("%(THIS-REV)"), element));
  int optional = num_attr("optional", element->atts, &element->seen);
  *dfa->part = make_part(part_product, element);
  (*dfa->part)->u.product =
      make_query(make_prodname(category, name, version, rev), nullptr, optional);
}

void start_query(DFA* dfa, ELEMENT* element) {
  start_pattern(dfa, element, &(*dfa->part)->u.product->pattern);
}

void start_file(DFA* dfa, ELEMENT* element) {
  FwTextString file = attr("name", element->atts, &element->seen);
  FwTextString builtas = attr("built-as", element->atts, &element->seen);
  FwTextString packas = attr("pack-as", element->atts, &element->seen);
  *dfa->part = make_part(part_file, element);
  (*dfa->part)->u.file = make_file_part(file, builtas, packas);
}

void start_pack(DFA* dfa, ELEMENT* element) {
  WH_PART* part = *dfa->part;
  FwVector* media = part->type == part_product ? &part->u.product->media : &part->u.file->media;
  FwVectorAddElement(media, attr_default("medium", element->atts, FWT("all"), &element->seen));
}

void end_part(DFA* dfa) {
  dfa->part = &(*dfa->part)->next;
}

enum STATE {
  st_init,
  st_in_partlist,
  st_partspec_start,
  st_partspec_middle,
  st_partspec_end,
  st_in_pattern,
  st_in_match,
  st_in_var,
  st_in_parts,
  st_product_start,
  st_product_middle,
  st_in_file,
  st_in_pack,
  st_error,
  st_final,
};

constexpr START_RULE<DFA> kStarts[] = {
    {st_init, "PARTLIST", st_in_partlist, start_partlist},
    {st_in_partlist, "PARTSPEC", st_partspec_start, start_partspec},
    {st_partspec_start, "PATTERN", st_in_pattern, start_condition, st_partspec_middle},
    {st_partspec_middle, "PARTS", st_in_parts, start_parts},
    {st_in_pattern, "MATCH", st_in_match, start_match<DFA>},
    {st_in_match, "VAR", st_in_var, start_var<DFA>},
    {st_in_parts, "PRODUCT", st_product_start, start_product},
    {st_in_parts, "FILE", st_in_file, start_file},
    {st_product_start, "PATTERN", st_in_pattern, start_query, st_product_middle},
    {st_product_middle, "PACK", st_in_pack, start_pack, st_product_middle},
    {st_in_file, "PACK", st_in_pack, start_pack, st_in_file},
};

constexpr END_RULE<DFA> kEnds[] = {
    {st_in_partlist, "PARTLIST", st_final},
    {st_partspec_end, "PARTSPEC", st_in_partlist, end_partspec},
    {st_in_pattern, "PATTERN", kReturn, end_pattern},
    {st_in_match, "MATCH", st_in_pattern, end_match},
    {st_in_var, "VAR", st_in_match, end_var},
    {st_in_parts, "PARTS", st_partspec_end},
    {st_product_middle, "PRODUCT", st_in_parts, end_part},
    {st_in_file, "FILE", st_in_parts, end_part},
    {st_in_pack, "PACK", kReturn},
};

constexpr MACHINE kMachine{kStarts, kEnds, st_error, st_final, 1};

}  // namespace

WH_PARTLIST* read_partlist(FwErrorState* err, FwTextString file, WH_XML_PARSE_FLAGS flags) {
  DFA dfa;
  dfa.flags = flags;
  PARSER parser{&dfa,    start_element<kMachine>, end_element<kMachine>, doctype_element,
                nullptr, &kFormatOf<kMachine>};
  int done = run_reader(err, file, &parser, kMachine.final, VQN_XML_ERROR);
  FwMemPool* places = take_places(&dfa);
  release_reader(&dfa);
  if (!done) {
    free_partspecs(&dfa.partspecs);
    FwMemPoolDestroy(&places);
    return nullptr;
  }
  WH_PARTLIST* partlist = make_partlist(dfa.partspecs);
  partlist->places = places;
  return partlist;
}

WH_PARTLIST* make_partlist(WH_PARTSPEC* partspecs) {
  auto* partlist = make<WH_PARTLIST>();
  partlist->partspecs = partspecs;
  return partlist;
}

void free_partlist(WH_PARTLIST** partlist) {
  if (*partlist == nullptr) return;
  free_partspecs(&(*partlist)->partspecs);
  FwMemPoolDestroy(&(*partlist)->places);
  FwMemFreeAndClear(partlist);
}
