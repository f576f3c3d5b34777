// The records of a recipe: how they are made and freed, and which of their fields are text.
//
// Each record lists its strings as pointers to members. Its release and its expansion run over the
// same lists, so that neither forgets a field.
#ifndef RECIPE_RECORDS_H
#define RECIPE_RECORDS_H

#include <array>

#include "fcpp.h"
#include "fwmem.h"
#include "recipe.h"
#include "wqmem.h"

inline constexpr int kArgsRoom = 4;

template <class RECORD>
using TEXT_FIELD = FwTextString RECORD::*;

template <class RECORD>
struct ALL_EXPANDED {
  static constexpr std::array<TEXT_FIELD<RECORD>, 0> kOthers{};
};

// The strings of a record: those that are expanded, and the others.
template <class RECORD>
struct FIELDS;

template <>
struct FIELDS<WH_CMD> : ALL_EXPANDED<WH_CMD> {
  static constexpr std::array kExpanded{&WH_CMD::command, &WH_CMD::cwd, &WH_CMD::feedback};
};

template <>
struct FIELDS<WH_RUN> : ALL_EXPANDED<WH_RUN> {
  static constexpr std::array kExpanded{&WH_RUN::program, &WH_RUN::cwd, &WH_RUN::feedback};
};

template <>
struct FIELDS<WH_COPY> : ALL_EXPANDED<WH_COPY> {
  static constexpr std::array kExpanded{&WH_COPY::from, &WH_COPY::to, &WH_COPY::onlyifabsent};
};

template <>
struct FIELDS<WH_DATA> : ALL_EXPANDED<WH_DATA> {
  static constexpr std::array kExpanded{&WH_DATA::contents, &WH_DATA::file, &WH_DATA::creator,
                                        &WH_DATA::type,     &WH_DATA::mode, &WH_DATA::eol};
};

template <>
struct FIELDS<WH_DELETE> {
  static constexpr std::array kExpanded{&WH_DELETE::path};
  static constexpr std::array kOthers{&WH_DELETE::ifempty};
};

template <>
struct FIELDS<WH_DIR> : ALL_EXPANDED<WH_DIR> {
  static constexpr std::array kExpanded{&WH_DIR::path, &WH_DIR::mode};
};

template <>
struct FIELDS<WH_SETENV> : ALL_EXPANDED<WH_SETENV> {
  static constexpr std::array kExpanded{&WH_SETENV::op, &WH_SETENV::name, &WH_SETENV::value,
                                        &WH_SETENV::context};
};

template <>
struct FIELDS<WH_SETREG> : ALL_EXPANDED<WH_SETREG> {
  static constexpr std::array kExpanded{&WH_SETREG::op,    &WH_SETREG::hive, &WH_SETREG::key,
                                        &WH_SETREG::value, &WH_SETREG::data, &WH_SETREG::type};
};

template <>
struct FIELDS<FwFileShortcut> {
  static constexpr std::array kExpanded{&FwFileShortcut::op,      &FwFileShortcut::name,
                                        &FwFileShortcut::program, &FwFileShortcut::args,
                                        &FwFileShortcut::icon,    &FwFileShortcut::folder,
                                        &FwFileShortcut::workdir};
  static constexpr std::array kOthers{&FwFileShortcut::defaulticon};
};

template <>
struct FIELDS<WH_JAVA> : ALL_EXPANDED<WH_JAVA> {
  static constexpr std::array kExpanded{&WH_JAVA::name, &WH_JAVA::entry, &WH_JAVA::location};
};

template <>
struct FIELDS<WH_MESSAGE> : ALL_EXPANDED<WH_MESSAGE> {
  static constexpr std::array kExpanded{&WH_MESSAGE::title, &WH_MESSAGE::text};
};

// Frees the arguments and the vector that holds them.
void free_run_args(FwVector* args);

// A zeroed record, its list of arguments open if it has one.
template <class RECORD>
RECORD* make_record() {
  auto* record = make<RECORD>();
  if constexpr (requires { record->args.nCurrentSize; }) FwVectorOpen(&record->args, kArgsRoom);
  return record;
}

// Frees a record with its strings and arguments and nulls the pointer. A null record is accepted.
template <class RECORD>
void free_record(RECORD** record) {
  if (*record == nullptr) return;
  for (TEXT_FIELD<RECORD> field : FIELDS<RECORD>::kExpanded)
    wh_free((*record)->*field);
  for (TEXT_FIELD<RECORD> field : FIELDS<RECORD>::kOthers)
    wh_free((*record)->*field);
  if constexpr (requires { (*record)->args.nCurrentSize; }) free_run_args(&(*record)->args);
  FwMemFreeAndClear(record);
}

// Arguments take over what they are made of.
WH_RUN_ARG* make_run_arg(FwTextString str);
WH_RUN_ARG* make_run_arg(WH_DATA* data);

// A step takes over ui.
WH_STEP* make_step(FwTextString ui);
void free_step(WH_STEP** step);

WH_RECIPE* make_recipe();

#endif
