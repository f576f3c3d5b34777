// The run of the tool, step by step: the command line, the environment to start from, the
// computation, and what comes out.
#include <cstdio>

#include "commandline.h"
#include "computation.h"
#include "emission.h"
#include "environ.h"
#include "fwboot.h"
#include "fwerror.h"
#include "fwmem.h"
#include "mymain.h"
#include "output.h"
#include "whbootfw.h"
#include "wherror.h"

namespace {

// One run. It has static storage because the early ends of a run leave everything to the end of the
// process, and a leak checker counts memory that is still reachable as held.
struct RUN {
  COMMAND_LINE line;
  WH_COMPUTATION computation;
};

constinit RUN the_run = {};

bool failed(const FwErrorState& err) {
  return err.pError != nullptr;
}

// Settles the form of the output and the starting point. False: the options exclude each other, and
// the user has been told.
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

// The environment to start from: the process's own where this platform lacks the area asked for.
bool take_old_environment(RUN* run) {
  COMMAND_LINE* line = &run->line;
  run->computation.oldenv = line->oldenv;
  if (!run->computation.oldenv) {
    run->computation.oldenv = wh_get_process_env(&line->err);
    line->proc = 1;
  }
  // No script is made of an environment in which a variable is missing because memory ran out.
  if (wh_env_incomplete) FwMemExitMemoryExhausted();
  if (!failed(line->err)) return true;
  report_error(&line->err);
  return false;
}

// What the command line says about the computation.
void prepare(RUN* run) {
  COMMAND_LINE* line = &run->line;
  run->computation.group_querylists = &line->group_querylists;
  run->computation.set = line->set;
  run->computation.emulate = line->emulate;
  run->computation.ignore_missing = line->ignore_missing;
  run->computation.report = report_error;
  run->computation.err = &line->err;
}

// The first mode that is set wins.
void emit(RUN* run) {
  COMMAND_LINE* line = &run->line;
  if (line->bat) {
    print_bat(run->computation.oldenv, run->computation.newenv);
  } else if (line->sh) {
    print_sh(run->computation.oldenv, run->computation.newenv);
  } else if (line->csh) {
    print_csh(run->computation.oldenv, run->computation.newenv);
  } else if (line->posh) {
    print_posh(run->computation.oldenv, run->computation.newenv);
  } else if (line->execute) {
    execute_program(&line->err, run->computation.newenv, line->program, &line->args);
  } else if (line->proc) {
    wh_set_process_env(&line->err, run->computation.newenv);
  } else if (line->user) {
    wh_set_user_env(&line->err, run->computation.newenv);
    if (!failed(line->err))
      std::printf("The USER Environment Variable section of Windows Registry has been updated\n");
  } else if (line->sys) {
    wh_set_system_env(&line->err, run->computation.newenv);
    if (!failed(line->err))
      std::printf("The SYSTEM Environment Variable section of Windows Registry has been updated\n");
  }
}

// From the command line to the end of the emission. False: the run has failed, and the user was
// told.
bool run_steps(RUN* run, int argc, char** argv) {
  read_command_line(&run->line, argc, argv);
  if (!settle_modes(&run->line) || !take_old_environment(run)) return false;
  prepare(run);
  if (!wh_computation_open(&run->computation, run->line.basedir) ||
      !wh_computation_find_latest(&run->computation) || !wh_computation_load(&run->computation) ||
      !wh_computation_compute(&run->computation))
    return false;
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
  const bool taken = output_taken();
  if (!done) return 1;
  index_close(run->computation.index);
  FwShutdown();
  return !taken || run->computation.errors || wh_errors ? 1 : 0;
}
