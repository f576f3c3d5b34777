#include "computation.h"

#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "recipe.h"
#include "wherror.h"

namespace {

// The computation at work, for the callback below, which gets nothing but the error.
WH_COMPUTATION* current = nullptr;

bool failed(const WH_COMPUTATION* all) {
  return all->err->pError != nullptr;
}

// The callback of the passes that walk products: a file missing there is no fault.
void report_except_missing(FwErrorState* err) {
  if (is_ErrorNonExistent(err)) {
    FwErrorClear(err);
    return;
  }
  current->report(err);
  ++current->errors;
}

template <typename LIST>
LIST* group(FwVector* groups, int32 i) {
  return static_cast<LIST*>(FwVectorGetElement(groups, i));
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
  return 1;
}

int wh_computation_find_latest(WH_COMPUTATION* all) {
  for (int32 i = 0; i < FwVectorLength(all->group_querylists); ++i) {
    FwVector* queries = &group<WH_PRODUCT_QUERY_LIST>(all->group_querylists, i)->queries;
    for (int32 j = 0; j < FwVectorLength(queries); ++j)
      find_latest(all, static_cast<WH_PRODUCT_QUERY*>(FwVectorGetElement(queries, j)));
  }
  return all->errors == 0;
}

// Kept: the state isn't cleared between queries; behind a fault each further query is reported as
// failing too, and users are told of each.
int wh_computation_load(WH_COMPUTATION* all) {
  all->context = make_context(make_cv(FWT("BASE-DIRECTORY"), all->abs_basedir, nullptr));
  FwVectorOpen(&all->group_speclists, 2);
  for (int32 i = 0; i < FwVectorLength(all->group_querylists); ++i) {
    auto* querylist = group<WH_PRODUCT_QUERY_LIST>(all->group_querylists, i);
    FwVectorAddElement(&all->group_speclists,
                       query_products_pd(all->err, all->index, querylist, all->report));
  }
  return wh_errors == 0;
}

// That each group starts from the result of the one before is why a later group overrides an
// earlier one, while products inside a group may clash.
int wh_computation_compute(WH_COMPUTATION* all) {
  const int32 groups = FwVectorLength(&all->group_speclists);
  all->newenv = dup_environ(all->oldenv);
  // report_except_missing, which all passes get, does not tell of them.
  all->index->missing_is_silent = 1;
  for (int32 i = 0; all->emulate && i < groups; ++i)
    wh_legacy_setenv(all->index, all->newenv, group<WH_PRODUCT_SPEC_LIST>(&all->group_speclists, i),
                     all->context, report_except_missing, all->set);
  if (failed(all)) {
    all->report(all->err);
    return 0;
  }
  check_environments();
  for (int32 i = 0; i < groups; ++i) {
    wh_change_env(all->index, &all->newenv, all->index->base,
                  group<WH_PRODUCT_SPEC_LIST>(&all->group_speclists, i), report_except_missing,
                  all->set);
    check_environments();
  }
  return wh_errors == 0;
}

void wh_computation_close(WH_COMPUTATION* all) {
  if (all->group_speclists.state == FW_VECTOR_OPEN) {
    for (int32 i = 0; i < FwVectorLength(&all->group_speclists); ++i) {
      auto* speclist = group<WH_PRODUCT_SPEC_LIST>(&all->group_speclists, i);
      free_speclist(&speclist);
    }
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
