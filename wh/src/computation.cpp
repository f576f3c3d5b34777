#include "computation.h"

#include "fcpp.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "observer.h"
#include "recipe.h"
#include "wherror.h"

namespace {

// The computation at work, for the callback below, which gets nothing but the error.
WH_COMPUTATION* current = nullptr;

bool failed(const WH_COMPUTATION* all) {
  return all->err->pError != nullptr;
}

// The callback of the passes that walk products, for which a missing file is not a fault.
void report_except_missing(FwErrorState* err) {
  if (is_ErrorNonExistent(err)) {
    FwErrorClear(err);
    return;
  }
  current->report(err);
  ++current->errors;
}

void check_environments() {
  if (wh_env_incomplete) FwMemExitMemoryExhausted();
}

void find_latest(WH_COMPUTATION* all, WH_PRODUCT_QUERY* query) {
  query->optional = all->ignore_missing;
  wh_latest_prodname(all->err, query->prodname, all->abs_basedir);
  if (!failed(all)) return;
  if (all->ignore_missing) {
    report_except_missing(all->err);
  } else {
    all->report(all->err);
    ++all->errors;
  }
}

// The settings of one group, on the result of the one before. 0 after a contradiction without end.
int compute_group(WH_COMPUTATION* all, int32 i, WH_PRODUCT_SPEC_LIST* speclist) {
  const WH_OBSERVER* observer = all->observer;
  if (!observer) {
    wh_change_env(all->index, &all->newenv, all->index->base, speclist, report_except_missing,
                  all->set);
    return 1;
  }
  if (observer->group) observer->group(observer->context, i);
  WH_ENVIRON* result = wh_apply_env_observed(all->index, all->newenv, all->index->base, speclist,
                                             report_except_missing, all->set, observer);
  if (!result) return 0;
  free_environ(&all->newenv);
  all->newenv = result;
  return 1;
}

}  // namespace

int wh_computation_open(WH_COMPUTATION* all, FwTextString basedir) {
  current = all;
  all->abs_basedir = FwFileAbsolutePath(all->err, basedir);
  if (!all->abs_basedir) {
    all->report(all->err);
    return 0;
  }
  FwFileRemoveTrailingSeparator(all->abs_basedir);
  all->index = index_open(all->abs_basedir);
  if (all->places) all->index->parse_flags = WH_XML_PF_PLACES;
  return 1;
}

int wh_computation_find_latest(WH_COMPUTATION* all) {
  for (auto* querylist : elements<WH_PRODUCT_QUERY_LIST>(all->group_querylists))
    for (WH_PRODUCT_QUERY* query : elements<WH_PRODUCT_QUERY>(&querylist->queries))
      find_latest(all, query);
  return all->errors == 0;
}

// Kept, as the text of the output: the state isn't cleared between queries, so behind a fault each
// further query is reported as failing too.
int wh_computation_load(WH_COMPUTATION* all) {
  all->context = make_context(make_cv(FWT("BASE-DIRECTORY"), all->abs_basedir, nullptr));
  FwVectorOpen(&all->group_speclists, 2);
  for (auto* querylist : elements<WH_PRODUCT_QUERY_LIST>(all->group_querylists))
    FwVectorAddElement(&all->group_speclists,
                       query_products_pd(all->err, all->index, querylist, all->report));
  return wh_errors == 0;
}

// That each group starts from the result of the one before is why a later group overrides an
// earlier one, while products inside a group may clash.
int wh_computation_compute(WH_COMPUTATION* all) {
  all->newenv = dup_environ(all->oldenv);
  // report_except_missing, which all passes get, does not tell of them.
  all->index->missing_is_silent = 1;
  if (all->emulate)
    for (auto* speclist : elements<WH_PRODUCT_SPEC_LIST>(&all->group_speclists))
      wh_legacy_setenv(all->index, all->newenv, speclist, all->context, report_except_missing,
                       all->set);
  if (failed(all)) {
    all->report(all->err);
    return 0;
  }
  check_environments();
  int32 i = 0;
  for (auto* speclist : elements<WH_PRODUCT_SPEC_LIST>(&all->group_speclists)) {
    if (!compute_group(all, i++, speclist)) return 0;
    check_environments();
  }
  return wh_errors == 0;
}

void wh_computation_close(WH_COMPUTATION* all) {
  if (all->group_speclists.state == FW_VECTOR_OPEN) {
    for (auto* speclist : elements<WH_PRODUCT_SPEC_LIST>(&all->group_speclists))
      free_speclist(&speclist);
    FwVectorAbandon(&all->group_speclists, 0);
  }
  free_context(&all->context);
  if (all->index) index_close(all->index);
  all->index = nullptr;
  if (all->abs_basedir) FwMemFree(all->abs_basedir);
  all->abs_basedir = nullptr;
  free_environ(&all->newenv);
  free_environ(&all->oldenv);
  FwErrorClear(all->err);
}
