// Which varieties include which.
//
// The idea: an including variety hands on all that includes itself to each variety of each of its
// parts, and the walk goes into those for which that was news. So circles of parts come to an end,
// and a variety is entered as often as it can learn something.
//
// The result does not depend on the walk: the set of a variety is itself and the sets of all that
// include it. So as long as every query has an answer, each part list is gone through once, and the
// sets are worked out when they are first asked for, includers first. A product that does not exist
// is an answer, too, if nobody is to hear of it. Any other query without a result may report, and
// reports are counted: each time the walk comes by it has to be asked again. From the first such
// query on the walk is therefore done as described above (given_up).
//
// The bound: n varieties have sets of up to n members. A set is one bit for each variety met, and
// only the words between its first and its last member are there. Chains of parts may be long, so
// the walk has a stack of its own. That a variety is in its own set is not stored, so most sets are
// empty.
//
//   MEMBER  variety, id ------ set  [..1.11.]   ids of those that include it
//              |
//              +-- edges[top]   for its own product queried directly, where BASE-DIRECTORY is bound
//              +-- edges[part]  the product as a part: per part, the varieties of the answer
//
// Between calls the knowledge rests in the tables "ancestors" of the varieties. The sets of a long
// chain would fill memory there: beyond ancestors_stored_in_full entries a table holds only the
// including varieties next to it, from whose tables the rest follows. The entry of the variety
// itself says so, by having no value.
#include "ancestors.h"

#include <algorithm>
#include <bit>

#include "fcpp.h"
#include "fwmem.h"
#include "warehouse/private.h"

namespace {

// Identity tables. They differ from a table without functions only in not being checked at each
// add.
constexpr FwHashFunctions kIdentity = {nullptr, nullptr, nullptr, nullptr, 1};

// Makes room for the words from first to in front of end.
void reserve(BITS* bits, int32 first, int32 end) {
  if (bits->count > 0) {
    first = std::min(first, bits->first);
    end = std::max(end, bits->first + bits->count);
  }
  if (end - first == bits->count) return;
  auto* words = static_cast<uint64*>(FwMemAlloc(static_cast<size_t>(end - first) * sizeof(uint64),
                                                ALLOC_MUST_SUCCEED | INIT_ZERO));
  if (bits->count > 0) std::copy_n(bits->words, bits->count, words + (bits->first - first));
  FwMemFreeAndClear(&bits->words);
  *bits = {words, first, end - first};
}

uint64 bit_of(int32 number) {
  return uint64{1} << (number % 64);
}

// Adds what the includer has, and itself. True if something was news.
bool learn_from(MEMBER* member, const MEMBER* includer) {
  if (member == includer) return false;
  BITS* bits = &member->set;
  const BITS* more = &includer->set;
  bool news = !test_bit(bits, includer->id);
  if (news) set_bit(bits, includer->id);
  if (more->count == 0) return news;
  reserve(bits, more->first, more->first + more->count);
  for (int32 i = 0; i < more->count; ++i) {
    const int32 place = more->first + i;
    const uint64 own = place == member->id / 64 ? bit_of(member->id) : 0;
    uint64* word = &bits->words[place - bits->first];
    const uint64 added = more->words[i] & ~own & ~*word;
    *word |= added;
    if (added != 0) news = true;
  }
  return news;
}

int32 count_bits(const BITS* bits) {
  int32 n = 0;
  for (int32 i = 0; i < bits->count; ++i)
    n += std::popcount(bits->words[i]);
  return n;
}

// A variety whose parts are being gone through.
struct FRAME {
  MEMBER* member = nullptr;
  WH_PRODUCT_NAME* prodname = nullptr;  // of a part: its symbol table is made when it is needed
  WH_SYMTAB* symtab = nullptr;
  WH_CONTEXT* context = nullptr;
  EDGE* edge = nullptr;
  int32 variety = 0;  // the next one of edge
  FRAME* below = nullptr;
};

}  // namespace

int32 ancestors_stored_in_full = 1 << 16;

uint64 word_at(const BITS* bits, int32 place) {
  const int32 i = place - bits->first;
  return i >= 0 && i < bits->count ? bits->words[i] : 0;
}

bool test_bit(const BITS* bits, int32 number) {
  return (word_at(bits, number / 64) & bit_of(number)) != 0;
}

void set_bit(BITS* bits, int32 number) {
  reserve(bits, number / 64, number / 64 + 1);
  bits->words[number / 64 - bits->first] |= bit_of(number);
}

bool have_common(const BITS* one, const BITS* other) {
  return find_common(one, other, [](int32 /*number*/) { return true; });
}

void free_bits(BITS* bits) {
  FwMemFreeAndClear(&bits->words);
  *bits = BITS{};
}

namespace {

FwHashTable* make_identity_table(uint32 size) {
  FwHashTable* table = FwHashCreateTable(size, &kIdentity, nullptr);
  if (!table) FwMemExitMemoryExhausted();
  return table;
}

void add_identity(FwHashTable* table, void* key, void* value) {
  if (!FwHashAddEntry(table, key, value, nullptr)) FwMemExitMemoryExhausted();
}

MEMBER* get_member(ANCESTRY* ancestry, WH_VARIETY* variety) {
  if (FwHashEntry* entry = FwHashLookupEntry(ancestry->members, variety, nullptr))
    return static_cast<MEMBER*>(entry->value);
  auto* member = FwMemNew<MEMBER>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  member->variety = variety;
  member->id = FwVectorLength(&ancestry->by_id);
  FwVectorAddElement(&ancestry->by_id, member);
  add_identity(ancestry->members, variety, member);
  return member;
}

// Takes over what an earlier call has found about the member.
void load(ANCESTRY* ancestry, MEMBER* member) {
  if (member->loaded) return;
  member->loaded = true;
  WH_VARIETY* variety = member->variety;
  if (!variety->ancestors) return;
  member->known = true;
  LocalVector pending(4, Elements::kKept);  // those whose tables are to be added
  FwVectorAddElement(&pending, variety);
  for (WH_VARIETY* source : elements<WH_VARIETY>(&pending)) {
    if (!source->ancestors) continue;
    FwHashEntry* self = FwHashLookupEntry(source->ancestors, source, nullptr);
    const bool complete = self && self->value;
    for (const FwHashEntry& entry : entries(source->ancestors)) {
      const MEMBER* ancestor = get_member(ancestry, static_cast<WH_VARIETY*>(entry.key));
      if (ancestor == member || test_bit(&member->set, ancestor->id)) continue;
      set_bit(&member->set, ancestor->id);
      if (!complete) FwVectorAddElement(&pending, entry.key);
    }
  }
}

// The parts of a list that apply to the variety, not yet asked for.
void list_edges(EDGES* edges, WH_VARIETY* variety, WH_PARTLIST* partlist) {
  edges->known = true;
  EDGE** tail = &edges->first;
  for (WH_PARTSPEC* spec = partlist->partspecs; spec; spec = spec->next) {
    if (!matchvar(variety, spec->pattern, nullptr)) continue;
    for (WH_PART* part = spec->parts; part; part = part->next) {
      if (part->type != part_product) continue;
      *tail = FwMemNew<EDGE>(ALLOC_MUST_SUCCEED | INIT_ZERO);
      (*tail)->query = part->u.product;
      tail = &(*tail)->next;
    }
  }
}

// Whether the parts of a variety are the same under both symbol tables, once both are known. A
// variable of the variety that is named like one of the caller's could make a difference.
bool same_edges(const MEMBER* member) {
  if (!member->edges[edges_top].known || !member->edges[edges_part].known) return true;
  const EDGE* top = member->edges[edges_top].first;
  const EDGE* part = member->edges[edges_part].first;
  for (; top && part && top->answered && part->answered; top = top->next, part = part->next) {
    int32 count = FwVectorLength(&top->varieties);
    if (top->product != part->product || count != FwVectorLength(&part->varieties)) return false;
    if (!std::equal(top->varieties.pElements, top->varieties.pElements + count,
                    part->varieties.pElements))
      return false;
  }
  return !top && !part;
}

FRAME* push_frame(FRAME* below, MEMBER* member, EDGE_KIND kind, WH_PARTLIST* partlist) {
  EDGES* edges = &member->edges[kind];
  if (!edges->known) list_edges(edges, member->variety, partlist);
  auto* frame = FwMemNew<FRAME>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  frame->member = member;
  frame->edge = edges->first;
  frame->below = below;
  ++member->open;
  return frame;
}

FRAME* pop_frame(ANCESTRY* ancestry, FRAME* frame) {
  FRAME* below = frame->below;
  MEMBER* member = frame->member;
  --member->open;
  if (member->open == 0 && !same_edges(member)) ancestry->given_up = true;
  if (!ancestry->given_up) FwVectorAddElement(&ancestry->walked, member);
  if (frame->context) {
    remove_context(frame->symtab, frame->context);
    free_context(&frame->context);
  }
  if (frame->prodname) free_symtab(&frame->symtab);
  FwMemFree(frame);
  return below;
}

// Asks for a part.
void query_edge(ANCESTRY* ancestry, FRAME* frame, WH_INDEX* index, WH_ERROR_FUNC errorfunc) {
  // Kept, as the text of the output: an error names env.xml also if unenv.xml is being applied.
  if (!frame->symtab) frame->symtab = symtab_from_prodname(frame->prodname, FWT("env.xml"));
  if (!frame->context) {
    frame->context = context_from_variety(frame->member->variety);
    add_context(frame->symtab, frame->context);
  }
  EDGE* edge = frame->edge;
  // What reads the environment may print, so it is asked as often as the walk comes by, too.
  if (ancestry->missing && !ancestry->given_up && may_read_environment(edge->query, frame->symtab))
    return;
  bool missing;
  WH_PRODUCT_SPEC* spec = query_part(index, edge->query, frame->symtab, errorfunc, &missing);
  edge->answered = spec || missing;
  ancestry->missing |= missing;
  if (missing) open_vector(&edge->varieties, 0);
  if (!spec) return;
  edge->product = spec->product;
  const FwVector* varieties = &spec->varieties->seq;
  open_vector(&edge->varieties, FwVectorLength(varieties));
  for (int32 i = 0; i < FwVectorLength(varieties); ++i) {
    auto* variety = nth<WH_VARIETY>(varieties, i);
    if (wh_variety_is_complete(variety))
      FwVectorAddElement(&edge->varieties, get_member(ancestry, variety));
  }
  give_back_spec(index, spec);
}

// Gives the variety a set.
void know(ANCESTRY* ancestry, MEMBER* member) {
  load(ancestry, member);
  member->known = true;
}

// What the variety of a part learns from the one that includes it. True if something was news.
bool teach(ANCESTRY* ancestry, MEMBER* member, const MEMBER* includer) {
  load(ancestry, member);
  bool first = !member->known;
  know(ancestry, member);
  if (!learn_from(member, includer) && !first) return false;
  add_position(&member->includers, includer->id);
  return true;
}

// Whether the walk is to go through the parts of a variety that it has come to.
bool enter(ANCESTRY* ancestry, MEMBER* member, const MEMBER* includer) {
  if (ancestry->given_up) return teach(ancestry, member, includer);
  if (member->open > 0) ancestry->circular = true;
  return !member->edges[edges_part].known;
}

// Goes on by one variety, or by one part if those of the last one are through.
FRAME* step(ANCESTRY* ancestry, FRAME* frame, WH_INDEX* index, WH_ERROR_FUNC errorfunc) {
  EDGE* edge = frame->edge;
  if (!edge) return pop_frame(ancestry, frame);
  if (!edge->answered) query_edge(ancestry, frame, index, errorfunc);
  if (!edge->answered) ancestry->given_up = true;
  if (!edge->answered || frame->variety == FwVectorLength(&edge->varieties)) {
    frame->edge = edge->next;
    frame->variety = 0;
    return frame;
  }
  auto* member = nth<MEMBER>(&edge->varieties, frame->variety++);
  if (!enter(ancestry, member, frame->member)) return frame;
  FRAME* above = push_frame(frame, member, edges_part, edge->product->partlist);
  above->prodname = edge->product->prodinfo->prodname;
  return above;
}

// Not the variety itself, whose entry is there.
void store_ancestor(ANCESTRY* ancestry, const MEMBER* member, int32 id) {
  WH_VARIETY* ancestor = nth<MEMBER>(&ancestry->by_id, id)->variety;
  if (ancestor != member->variety) add_identity(member->variety->ancestors, ancestor, ancestor);
}

// Writes back what the variety has learnt. stored counts the entries of all tables.
void store_member(ANCESTRY* ancestry, MEMBER* member, int32* stored) {
  if (!member->known || (member->variety->ancestors && member->includers.count == 0)) return;
  int32 count = count_bits(&member->set) + 1;
  bool full = count <= ancestors_stored_in_full - *stored;
  // As large as a table for 4 would have grown to.
  FwHashTable** table = &member->variety->ancestors;
  if (!*table) *table = make_identity_table(static_cast<uint32>(full ? std::max(count - 1, 4) : 4));
  add_identity(*table, member->variety, full ? member->variety : nullptr);
  if (full) {
    *stored += count;
    find_common(&member->set, &member->set, [&](int32 id) {
      store_ancestor(ancestry, member, id);
      return false;
    });
  } else {
    for (int32 i = 0; i < member->includers.count; ++i)
      store_ancestor(ancestry, member, member->includers.list[i]);
  }
}

// ---- The sets, made from the answers of all queries ----

// Teaches all that a member includes. True if something was news.
bool teach_parts(ANCESTRY* ancestry, const MEMBER* member) {
  bool news = false;
  for (const EDGES& edges : member->edges)
    for (const EDGE* edge = edges.first; edge; edge = edge->next)
      for (int32 i = 0; edge->answered && i < FwVectorLength(&edge->varieties); ++i)
        news |= teach(ancestry, nth<MEMBER>(&edge->varieties, i), member);
  return news;
}

// Makes the sets of what has been walked. What includes a variety comes before it, unless it is
// included in turn; then one pass is not enough.
void settle(ANCESTRY* ancestry) {
  const FwVector* walked = &ancestry->walked;
  bool news = ancestry->settled < FwVectorLength(walked);
  ancestry->settled = FwVectorLength(walked);
  while (news) {
    news = false;
    for (int32 i = FwVectorLength(walked) - 1; i >= 0; --i) {
      auto* member = nth<MEMBER>(walked, i);
      know(ancestry, member);
      news |= teach_parts(ancestry, member) && ancestry->circular;
    }
  }
}

// ---- The walk through all that a chosen variety includes ----

FRAME* first_frame(MEMBER* member, WH_PARTLIST* partlist, WH_SYMTAB* symtab) {
  FRAME* frame = push_frame(nullptr, member, edges_top, partlist);
  frame->symtab = symtab;
  return frame;
}

// Goes once through each part list that is new. False if that is not enough to tell the sets:
// nothing has been reported then.
bool explore(ANCESTRY* ancestry, MEMBER* member, WH_INDEX* index, WH_PARTLIST* partlist,
             WH_SYMTAB* symtab) {
  if (member->edges[edges_top].known) return true;
  const int32 walked = FwVectorLength(&ancestry->walked);
  FRAME* frame = first_frame(member, partlist, symtab);
  while (frame)
    frame = ancestry->given_up ? pop_frame(ancestry, frame) : step(ancestry, frame, index, nullptr);
  if (!ancestry->given_up) return true;
  while (FwVectorLength(&ancestry->walked) > walked)
    FwVectorPopElement(&ancestry->walked);
  return false;
}

// Goes through the part lists as often as a variety learns something.
void walk(ANCESTRY* ancestry, MEMBER* member, WH_INDEX* index, WH_PARTLIST* partlist,
          WH_SYMTAB* symtab, WH_ERROR_FUNC errorfunc) {
  know(ancestry, member);
  FRAME* frame = first_frame(member, partlist, symtab);
  while (frame)
    frame = step(ancestry, frame, index, errorfunc);
}

void free_member(MEMBER* member) {
  for (EDGES& edges : member->edges)
    while (EDGE* edge = edges.first) {
      edges.first = edge->next;
      if (edge->answered) FwVectorAbandon(&edge->varieties, 0);
      FwMemFree(edge);
    }
  free_bits(&member->set);
  free_positions(&member->includers);
  FwMemFree(member);
}

}  // namespace

ANCESTRY* make_ancestry() {
  auto* ancestry = FwMemNew<ANCESTRY>(ALLOC_MUST_SUCCEED | INIT_ZERO);
  ancestry->members = make_identity_table(13);
  FwVectorOpen(&ancestry->by_id, 20);
  FwVectorOpen(&ancestry->walked, 20);
  return ancestry;
}

void free_ancestry(ANCESTRY** ancestry) {
  if (!*ancestry) return;
  settle(*ancestry);
  const FwVector* by_id = &(*ancestry)->by_id;
  int32 stored = 0;
  for (int32 i = 0; i < FwVectorLength(by_id); ++i)
    store_member(*ancestry, nth<MEMBER>(by_id, i), &stored);
  for (int32 i = 0; i < FwVectorLength(by_id); ++i)
    free_member(nth<MEMBER>(by_id, i));
  FwVectorAbandon(&(*ancestry)->by_id, 0);
  FwVectorAbandon(&(*ancestry)->walked, 0);
  FwHashFreeTable(&(*ancestry)->members);
  FwMemFreeAndClear(ancestry);
}

void find_ancestors(WH_VARIETY* variety, WH_INDEX* index, ANCESTRY* ancestry, WH_PARTLIST* partlist,
                    WH_SYMTAB* symtab, WH_ERROR_FUNC errorfunc) {
  MEMBER* member = get_member(ancestry, variety);
  if (!ancestry->given_up && explore(ancestry, member, index, partlist, symtab)) return;
  settle(ancestry);
  walk(ancestry, member, index, partlist, symtab, errorfunc);
}

MEMBER* know_member(ANCESTRY* ancestry, WH_VARIETY* variety) {
  settle(ancestry);
  MEMBER* member = get_member(ancestry, variety);
  load(ancestry, member);
  return member;
}
