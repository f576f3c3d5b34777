// Diagnostics of the two-level index, for a debugger's use.
#include "dump.h"

#include <cstdio>

#include "fcpp.h"
#include "list.h"
#include "values.h"

namespace {

unsigned long address(const void* p) {
  return static_cast<unsigned long>(reinterpret_cast<uintptr_t>(p));
}

const char* text(const void* string) {
  return string ? static_cast<const char*>(string) : "";
}

void print_ops(const char* word, const FwVector* ops) {
  for (int32 i = 0; i < count_of(ops); ++i) {
    auto* eop = nth<EXPANDED_OP>(ops, i);
    std::printf("      %s %lx, variety %lx\n", word, address(eop), address(eop->variety));
  }
}

}  // namespace

int32 dumpinst(FwHashEntry* entry, void* /*context*/, FwErrorState* err) {
  auto* var_ops = static_cast<VAR_OPS*>(entry->value);
  std::printf("\n%s\n", text(entry->key));
  FwHashEnumerateEntries(var_ops->values, print_val_ops, nullptr, err);
  std::printf("   insert\n      ......tbd\n");
  std::printf("   remove\n");
  for (int32 i = 0; i < FwVectorLength(&var_ops->removes); ++i) {
    auto* eop = nth<EXPANDED_OP>(&var_ops->removes, i);
    std::printf("      REMOVE elements from rempat %lx, op %lx, ", address(eop), address(eop->op));
    dumpvariety(eop->variety);
    const FwVector* values = &eop->op->u.rem->values;
    for (int32 v = 0; v < FwVectorLength(values); ++v)
      std::printf("          %s: %s\n", text(eop->op->name), text(nth<FwTextByte>(values, v)));
  }
  std::printf("   delete: %d\n", var_ops->del);
  return 1;
}

int32 print_val_ops(FwHashEntry* entry, void* /*context*/, FwErrorState* /*err*/) {
  auto* val_ops = static_cast<VAL_OPS*>(entry->value);
  std::printf("   print_val_ops %s (%lx)\n", text(entry->key), address(val_ops));
  FwVector removes;
  open_vector(&removes, 2);
  list_removes(&val_ops->rem, &removes);
  print_ops("rem", &removes);
  FwVectorAbandon(&removes, 0);
  print_ops("ins", &val_ops->ins);
  return 1;
}

void dumpvariety(WH_VARIETY* variety) {
  std::printf("variety %lx: ", address(variety));
  for (WH_VAR* var = variety->vars; var; var = var->next)
    std::printf("%s%s=%s", var == variety->vars ? "" : ", ", text(var->n), text(var->v));
  std::printf("\n");
}
