#include "recipe/lists.h"

#include <cstring>

#include "fcpp.h"
#include "fwhash.h"
#include "fwmem.h"
#include "fwstring.h"

namespace {

constexpr FwTextByte kSeparator = ':';
// A list of so few elements is searched without an index.
constexpr int kFewItems = 16;

struct ITEM {
  FwTextString text = nullptr;
  ITEM* before = nullptr;
  ITEM* after = nullptr;
  ITEM* equal = nullptr;  // the next one with the same text, in no order
};

struct LIST {
  FwTextString name = nullptr;
  ITEM* first = nullptr;
  ITEM* last = nullptr;
  ITEM* fresh = nullptr;  // not to be found by its text: it may be empty or hold separators
  int count = 0;
  FwHashTable* index = nullptr;  // text to the first ITEM with it; null while there are few
};

// Over the text with all letters in one case: so it serves wh_env_equal on each platform.
uint32 item_hash(void* key) {
  uint32 hash = kFnvStart;
  for (auto* ptb = static_cast<FwTextString>(key); *ptb != 0; ptb++)
    hash = fnv_add(hash, *ptb | 0x20U);
  return hash;
}

int32 equal_items(void* key1, void* key2) {
  return wh_env_equal(static_cast<FwTextString>(key1), static_cast<FwTextString>(key2));
}

constexpr FwHashFunctions kItemFunctions = {item_hash, equal_items, nullptr, nullptr, 1};
constexpr FwHashFunctions kListFunctions = {wh_env_hash, wh_env_compare, nullptr, nullptr, 1};

FwHashTable* make_table(const FwHashFunctions* functions) {
  FwHashTable* table = FwHashCreateTable(13, functions, nullptr);
  if (table == nullptr) FwMemExitMemoryExhausted();
  return table;
}

void add_to_table(FwHashTable* table, void* key, void* value) {
  if (!FwHashAddEntry(table, key, value, nullptr)) FwMemExitMemoryExhausted();
}

// ---- Items ----

// Puts an item behind another one, null for the front.
void link_item(LIST* list, ITEM* item, ITEM* before) {
  item->before = before;
  item->after = before != nullptr ? before->after : list->first;
  (item->before != nullptr ? item->before->after : list->first) = item;
  (item->after != nullptr ? item->after->before : list->last) = item;
  list->count++;
}

void unlink_item(LIST* list, ITEM* item) {
  (item->before != nullptr ? item->before->after : list->first) = item->after;
  (item->after != nullptr ? item->after->before : list->last) = item->before;
  list->count--;
}

void free_item(ITEM* item) {
  FwMemFree(item->text);
  FwMemFree(item);
}

// Takes over text.
ITEM* make_item(FwTextString text) {
  auto* item = make<ITEM>();
  item->text = text;
  return item;
}

void index_item(LIST* list, ITEM* item) {
  if (auto* first = value_of<ITEM>(list->index, item->text)) {
    item->equal = first->equal;
    first->equal = item;
  } else {
    add_to_table(list->index, item->text, item);
  }
}

void index_items(LIST* list) {
  list->index = make_table(&kItemFunctions);
  for (ITEM* item = list->first; item != nullptr; item = item->after)
    if (item != list->fresh) index_item(list, item);
}

// Puts the elements of text behind an item, null for the front.
void insert_elements(LIST* list, FwTextString text, ITEM* before) {
  LocalVector split(10, Elements::kKept);
  FwStrTextSplitByChar(text, kSeparator, &split);
  for (FwTextString element : texts(&split)) {
    ITEM* item = make_item(element);
    link_item(list, item, before);
    if (list->index != nullptr) index_item(list, item);
    before = item;
  }
}

// Makes of the item put in last what joining and splitting would make of it.
void take_in_fresh(LIST* list) {
  ITEM* fresh = list->fresh;
  if (fresh == nullptr) return;
  list->fresh = nullptr;
  if (*fresh->text != 0 && std::strchr(FWC(fresh->text), kSeparator) == nullptr) {
    if (list->index != nullptr) index_item(list, fresh);
    return;
  }
  insert_elements(list, fresh->text, fresh);
  unlink_item(list, fresh);
  free_item(fresh);
}

void remove_equal(LIST* list, FwTextString value) {
  if (list->index == nullptr && list->count > kFewItems) index_items(list);
  if (list->index == nullptr) {
    for (ITEM *item = list->first, *after; item != nullptr; item = after) {
      after = item->after;
      if (!wh_env_equal(item->text, value)) continue;
      unlink_item(list, item);
      free_item(item);
    }
    return;
  }
  auto* item = value_of<ITEM>(list->index, value);
  if (item == nullptr) return;
  FwHashRemoveEntry(list->index, value, nullptr);
  while (item != nullptr) {
    ITEM* equal = item->equal;
    unlink_item(list, item);
    free_item(item);
    item = equal;
  }
}

// ---- Lists ----

LIST* find_list(FwHashTable* lists, FwTextString name) {
  return value_of<LIST>(lists, name);
}

LIST* make_list(FwHashTable* lists, FwTextString name, FwTextString value) {
  auto* list = make<LIST>();
  list->name = FwStrDuplicate(name);
  if (value != nullptr) insert_elements(list, value, nullptr);
  add_to_table(lists, list->name, list);
  return list;
}

void free_list(LIST* list) {
  while (ITEM* item = list->first) {
    list->first = item->after;
    free_item(item);
  }
  if (list->index != nullptr) FwHashFreeTable(&list->index);
  FwMemFree(list->name);
  FwMemFree(list);
}

void drop_list(FwHashTable* lists, FwTextString name) {
  LIST* list = find_list(lists, name);
  if (list == nullptr) return;
  FwHashRemoveEntry(lists, name, nullptr);
  free_list(list);
}

FwTextString joined(const LIST* list) {
  std::size_t size = 1;
  for (const ITEM* item = list->first; item != nullptr; item = item->after)
    size += std::strlen(FWC(item->text)) + 1;
  auto* text = static_cast<FwTextByte*>(FwMemAlloc(size, ALLOC_MUST_SUCCEED | INIT_NONE));
  FwTextByte* end = text;
  for (const ITEM* item = list->first; item != nullptr; item = item->after) {
    if (item != list->first) *end++ = kSeparator;
    const std::size_t length = std::strlen(FWC(item->text));
    std::memcpy(end, item->text, length);
    end += length;
  }
  *end = 0;
  return text;
}

// Gives the variable its value in place: each command has made its entry already, and a further
// addition could let the table grow and its order change.
void write_list(WH_ENVIRON* env, const LIST* list) {
  FwHashEntry* entry = FwHashLookupEntry(env->variables, list->name, nullptr);
  if (entry == nullptr) return;
  FwMemFree(entry->value);
  entry->value = joined(list);
}

// The list on which the command is to work; null if it is to work on the table itself.
LIST* list_for(FwHashTable* lists, WH_ENVIRON* env, const WH_SETENV* setenv) {
  LIST* list = find_list(lists, setenv->name);
  if (setenv->value != nullptr && !is_well_formed(setenv->value)) {
    if (list != nullptr) write_list(env, list);
    drop_list(lists, setenv->name);
    return nullptr;
  }
  if (list != nullptr) return list;
  FwTextString value = wh_lookup_ev(setenv->name, env);
  if (value != nullptr && !is_well_formed(value)) return nullptr;
  return make_list(lists, setenv->name, value);
}

void edit(LIST* list, const WH_SETENV* setenv, SETENV_OP op) {
  take_in_fresh(list);
  if (setenv->value == nullptr) return;
  remove_equal(list, setenv->value);
  if (op == op_remove) return;
  list->fresh = make_item(FwStrDuplicate(setenv->value));
  link_item(list, list->fresh, op == op_append ? list->last : nullptr);
}

}  // namespace

struct LISTS {
  WH_ENVIRON* env = nullptr;
  FwHashTable* by_name = nullptr;  // name to LIST; null until there is one
};

LISTS* open_lists(WH_ENVIRON* env) {
  auto* lists = make<LISTS>();
  lists->env = env;
  return lists;
}

void edit_in_lists(LISTS* lists, WH_SETENV* setenv) {
  const SETENV_OP op = op_of(setenv);
  LIST* list = nullptr;
  if (setenv->name != nullptr && (op == op_set || op == op_delete)) {
    // Kept, as the defined result: a variable can't be set without a value, so it stays what it
    // was.
    if (lists->by_name != nullptr && (op == op_delete || setenv->value != nullptr))
      drop_list(lists->by_name, setenv->name);
  } else if (setenv->name != nullptr) {
    if (lists->by_name == nullptr) lists->by_name = make_table(&kListFunctions);
    list = list_for(lists->by_name, lists->env, setenv);
  }
  if (list == nullptr) {
    emulate_setenv(nullptr, setenv, lists->env);
    return;
  }
  edit(list, setenv, op);
  // Each command adds the variable, even one that exists: an add is what makes the table grow.
  wh_set_ev(lists->env, setenv->name, FWT(""));
}

void close_lists(LISTS** lists) {
  if (*lists == nullptr) return;
  if ((*lists)->by_name != nullptr) {
    for (FwHashEntry& entry : entries((*lists)->by_name))
      write_list((*lists)->env, static_cast<LIST*>(entry.value));
    for (FwHashEntry& entry : entries((*lists)->by_name))
      free_list(static_cast<LIST*>(entry.value));
    FwHashFreeTable(&(*lists)->by_name);
  }
  FwMemFreeAndClear(lists);
}

bool is_well_formed(FwTextString text) {
  // What follows the first byte: so many further ones, the first of them in this range.
  for (const FwTextByte* ptb = text; *ptb != 0;) {
    const FwTextByte lead = *ptb++;
    if (lead < 0x80) continue;
    if (lead < 0xC2 || lead > 0xF4) return false;
    const int more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    if ((lead == 0xE0 && *ptb < 0xA0) || (lead == 0xF0 && *ptb < 0x90)) return false;
    for (int i = 0; i < more; i++)
      if ((*ptb++ & 0xC0) != 0x80) return false;
  }
  return true;
}
