#include <cstdio>

#include "commandline.h"
#include "emission.h"
#include "environ.h"
#include "fwboot.h"
#include "fwerror.h"
#include "fwfile.h"
#include "fwmem.h"
#include "fwvector.h"
#include "mymain.h"
#include "output.h"
#include "recipe.h"
#include "warehouse.h"
#include "whbootfw.h"
#include "wherror.h"

namespace {

// One run. It has static storage because the early ends of a run leave everything to the end of the
// process, where what is still reachable counts as held, not as lost.
struct RUN {
  COMMAND_LINE line;
  FwTextString abs_basedir;
  WH_INDEX* index;
  WH_CONTEXT* context;       // BASE-DIRECTORY
  FwVector group_speclists;  // a WH_PRODUCT_SPEC_LIST* for each group
  WH_ENVIRON* oldenv;
  WH_ENVIRON* newenv;
};

constinit RUN the_run = {};

// Failures that the driver itself has seen.
int errors = 0;

bool failed(const FwErrorState& err) {
  return err.pError != nullptr;
}

// The callback of the passes that walk products: a file missing there is no fault.
void report_except_missing(FwErrorState* err) {
  if (is_ErrorNonExistent(err)) {
    FwErrorClear(err);
    return;
  }
  report_error(err);
  ++errors;
}

// Settles what comes out, and from what. False: the options exclude each other, and the user was
// told.
bool settle_modes(COMMAND_LINE* line) {
  const int output = line->sh + line->bat + line->csh + line->posh + line->execute;
  const int in_and_out = line->sys + line->user;
  if (output >= 2) {
    std::printf("only one of --bat, --sh, --csh, --posh, --exec is allowed\n");
    return false;
  }
  if (output == 0 && in_and_out == 0) line->posh = 1;
  if (line->proc + in_and_out >= 2) {
    std::printf("only one of --proc, --user, --sys is allowed\n");
    return false;
  }
  return true;
}

// No script is made of environments in which a variable is missing because memory ran out.
void check_environments() {
  if (wh_env_incomplete) FwMemExitMemoryExhausted();
}

// The environment to start from. Areas that this platform lacks give way to the process's own.
bool take_old_environment(RUN* run) {
  COMMAND_LINE* line = &run->line;
  run->oldenv = line->oldenv;
  if (!run->oldenv) {
    run->oldenv = wh_get_process_env(&line->err);
    line->proc = 1;
  }
  check_environments();
  if (!failed(line->err)) return true;
  report_error(&line->err);
  return false;
}

bool open_index(RUN* run) {
  FwErrorState* err = &run->line.err;
  run->abs_basedir = FwFileAbsolutePath(err, run->line.basedir);
  if (!run->abs_basedir) {
    report_error(err);
    return false;
  }
  FwFileRemoveTrailingSeparator(run->abs_basedir);
  run->index = index_open(run->abs_basedir);
  return true;
}

template <typename LIST>
LIST* group(FwVector* groups, int32 i) {
  return static_cast<LIST*>(FwVectorGetElement(groups, i));
}

// Replaces each open field by what is on disk.
bool find_latest(RUN* run) {
  COMMAND_LINE* line = &run->line;
  for (int32 i = 0; i < FwVectorLength(&line->group_querylists); ++i) {
    FwVector* queries = &group<WH_PRODUCT_QUERY_LIST>(&line->group_querylists, i)->queries;
    for (int32 j = 0; j < FwVectorLength(queries); ++j) {
      auto* query = static_cast<WH_PRODUCT_QUERY*>(FwVectorGetElement(queries, j));
      query->optional = line->ignore_missing;
      wh_latest_prodname(&line->err, query->prodname, run->abs_basedir);
      if (!failed(line->err)) continue;
      // Kept: a reported error stays, so that the queries behind it are reported as failing too.
      if (line->ignore_missing) {
        report_except_missing(&line->err);
      } else {
        report_error(&line->err);
        ++errors;
      }
    }
  }
  return errors == 0;
}

// Kept: the state isn't cleared between queries; behind a fault each further query is reported as
// failing too.
bool load_products(RUN* run) {
  COMMAND_LINE* line = &run->line;
  const int32 groups = FwVectorLength(&line->group_querylists);
  FwVectorOpen(&run->group_speclists, 2);
  for (int32 i = 0; i < groups; ++i) {
    auto* querylist = group<WH_PRODUCT_QUERY_LIST>(&line->group_querylists, i);
    FwVectorAddElement(&run->group_speclists,
                       query_products_pd(&line->err, run->index, querylist, report_error));
  }
  return wh_errors == 0;
}

// Replays the old recipes of all groups, then computes the settings of each group on the result of
// the one before. That is why a later group overrides an earlier one, while products inside a group
// may clash.
bool compute_new_environment(RUN* run) {
  COMMAND_LINE* line = &run->line;
  const int32 groups = FwVectorLength(&run->group_speclists);
  run->newenv = dup_environ(run->oldenv);
  // report_except_missing, which all passes get, does not tell of them.
  run->index->missing_is_silent = 1;
  if (line->emulate) {
    for (int32 i = 0; i < groups; ++i)
      wh_legacy_setenv(run->index, run->newenv,
                       group<WH_PRODUCT_SPEC_LIST>(&run->group_speclists, i), run->context,
                       report_except_missing, line->set);
    if (failed(line->err)) {
      report_error(&line->err);
      return false;
    }
  }
  check_environments();
  for (int32 i = 0; i < groups; ++i) {
    WH_ENVIRON* result = wh_apply_env(run->index, run->newenv, run->index->base,
                                      group<WH_PRODUCT_SPEC_LIST>(&run->group_speclists, i),
                                      report_except_missing, line->set);
    free_environ(&run->newenv);
    run->newenv = result;
    check_environments();
  }
  return wh_errors == 0;
}

// The first mode that is set wins.
void emit(RUN* run) {
  COMMAND_LINE* line = &run->line;
  if (line->bat) {
    print_bat(run->oldenv, run->newenv);
  } else if (line->sh) {
    print_sh(run->oldenv, run->newenv);
  } else if (line->csh) {
    print_csh(run->oldenv, run->newenv);
  } else if (line->posh) {
    print_posh(run->oldenv, run->newenv);
  } else if (line->execute) {
    execute_program(&line->err, run->newenv, line->program, &line->args);
  } else if (line->proc) {
    wh_set_process_env(&line->err, run->newenv);
  } else if (line->user) {
    wh_set_user_env(&line->err, run->newenv);
    if (!failed(line->err))
      std::printf("The USER Environment Variable section of Windows Registry has been updated\n");
  } else if (line->sys) {
    wh_set_system_env(&line->err, run->newenv);
    if (!failed(line->err))
      std::printf("The SYSTEM Environment Variable section of Windows Registry has been updated\n");
  }
}

// From the command line to the end of the emission. False: the run has failed, and the user was
// told.
bool run_steps(RUN* run, int argc, char** argv) {
  read_command_line(&run->line, argc, argv);
  if (!settle_modes(&run->line) || !take_old_environment(run) || !open_index(run) ||
      !find_latest(run))
    return false;
  run->context = make_context(make_cv(FWT("BASE-DIRECTORY"), run->abs_basedir, nullptr));
  if (!load_products(run) || !compute_new_environment(run)) return false;
  emit(run);
  if (failed(run->line.err) || wh_errors) report_error(&run->line.err);
  return true;
}

}  // namespace

int mymain(int argc, char** argv) {
  open_output();
  wh_boot_fw(argc, argv);
  wh_init();

  RUN* run = &the_run;
  const bool done = run_steps(run, argc, argv);
  // While the framework is still there to find the words.
  if (!output_taken()) ++errors;
  if (!done) return 1;
  index_close(run->index);
  FwShutdown();
  return errors || wh_errors ? 1 : 0;
}
