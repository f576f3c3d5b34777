#include "recipe/records.h"

#include "fcpp.h"
#include "fwhash.h"

namespace {

constexpr int kStepsRoom = 10;
constexpr int kCommandsRoom = 10;
constexpr uint32 kDeferredRoom = 10;

void free_run_arg(WH_RUN_ARG** arg) {
  if ((*arg)->type == wh_arg_data)
    free_record(&(*arg)->u.data);
  else
    wh_free((*arg)->u.str);
  FwMemFreeAndClear(arg);
}

// Calls work with the union's member for the type of the command.
template <class WORK>
void with_record(WH_COMMAND* command, WORK work) {
  switch (command->type) {
    case wh_cmd:
      return work(command->u.cmd);
    case wh_make:
      return work(command->u.make);
    case wh_run:
      return work(command->u.run);
    case wh_copy:
      return work(command->u.copy);
    case wh_append:
      return work(command->u.append);
    case wh_delete:
      return work(command->u.del);
    case wh_create:
      return work(command->u.create);
    case wh_dir:
      return work(command->u.dir);
    case wh_setenv:
      return work(command->u.setenv);
    case wh_setreg:
      return work(command->u.setreg);
    case wh_shortcut:
      return work(command->u.shortcut);
    case wh_java:
      return work(command->u.java);
    case wh_message:
      return work(command->u.message);
  }
}

}  // namespace

WH_RUN_ARG* make_run_arg(FwTextString str) {
  auto* arg = make<WH_RUN_ARG>();
  arg->type = wh_arg_str;
  arg->u.str = str;
  return arg;
}

WH_RUN_ARG* make_run_arg(WH_DATA* data) {
  auto* arg = make<WH_RUN_ARG>();
  arg->type = wh_arg_data;
  arg->u.data = data;
  return arg;
}

void free_run_args(FwVector* args) {
  for (WH_RUN_ARG* arg : elements<WH_RUN_ARG>(args))
    free_run_arg(&arg);
  FwVectorAbandon(args, 0);
}

WH_COMMAND* make_command(WH_COMMAND_TYPE type, void* value) {
  auto* command = make<WH_COMMAND>();
  command->type = type;
  with_record(command,
              [value]<class RECORD>(RECORD*& record) { record = static_cast<RECORD*>(value); });
  return command;
}

void free_command(WH_COMMAND** command) {
  if (*command == nullptr) return;
  with_record(*command, []<class RECORD>(RECORD*& record) { free_record(&record); });
  FwMemFreeAndClear(command);
}

WH_STEP* make_step(FwTextString ui) {
  auto* step = make<WH_STEP>();
  FwVectorOpen(&step->commands, kCommandsRoom);
  step->ui = ui;
  return step;
}

void free_step(WH_STEP** step) {
  free_pattern(&(*step)->pattern);
  FwVector* commands = &(*step)->commands;
  for (WH_COMMAND* command : elements<WH_COMMAND>(commands))
    free_command(&command);
  FwVectorAbandon(commands, 0);
  wh_free((*step)->ui);
  FwMemFreeAndClear(step);
}

WH_RECIPE* make_recipe() {
  auto* recipe = make<WH_RECIPE>();
  FwVectorOpen(&recipe->steps, kStepsRoom);
  return recipe;
}

void free_recipe(WH_RECIPE** recipe) {
  if (*recipe == nullptr) return;
  FwVector* steps = &(*recipe)->steps;
  for (WH_STEP* step : elements<WH_STEP>(steps))
    free_step(&step);
  FwVectorAbandon(steps, 0);
  FwMemPoolDestroy(&(*recipe)->places);
  FwMemFreeAndClear(recipe);
}

WH_RECIPE_DATA* make_recipe_data(FwTextString ui) {
  auto* data = make<WH_RECIPE_DATA>();
  data->ui = dup_str(ui);
  data->deferred = FwHashCreateTable(kDeferredRoom, &FwHash_StringCopyFunctions, nullptr);
  return data;
}

void free_recipe_data(WH_RECIPE_DATA** data) {
  if (*data == nullptr) return;
  wh_free((*data)->ui);
  FwHashFreeTable(&(*data)->deferred);
  FwMemFreeAndClear(data);
}
