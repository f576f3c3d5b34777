// Variables kept taken apart during a replay, against carrying out each command on the table.
#include "recipe/lists.h"
#include "caller.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "environ.h"
#include "model_support.h"
#include "recorder.h"

namespace {

using Strings = std::vector<std::string>;

int32 AddLine(FwHashEntry* entry, void* lines, FwErrorState*) {
  static_cast<Strings*>(lines)->push_back(Str(static_cast<FwTextString>(entry->key)) + "=" +
                                          Str(static_cast<FwTextString>(entry->value)));
  return 1;
}

// All variables in slot order, and the size of the table.
Strings Dump(WH_ENVIRON* env) {
  Strings lines = {std::to_string(env->variables->nTableSize)};
  wh_enumerate_environ(env, AddLine, &lines, nullptr);
  return lines;
}

struct Command {
  std::string op;
  std::string name;
  std::string value;
  bool has_value = true;
};

Strings Plainly(const std::vector<Command>& commands, WH_ENVIRON* start) {
  WH_ENVIRON* env = dup_environ(start);
  for (const Command& command : commands) {
    Text op(command.op), name(command.name), value(command.value);
    WH_SETENV setenv = {op, name, command.has_value ? static_cast<FwTextString>(value) : nullptr,
                        nullptr};
    emulate_setenv(nullptr, &setenv, env);
  }
  Strings lines = Dump(env);
  free_environ(&env);
  return lines;
}

Strings WithLists(const std::vector<Command>& commands, WH_ENVIRON* start,
                  Caller caller = Caller::Here()) {
  const CalledFrom from(caller);
  WH_ENVIRON* env = dup_environ(start);
  LISTS* lists = open_lists(env);
  for (const Command& command : commands) {
    Text op(command.op), name(command.name), value(command.value);
    WH_SETENV setenv = {op, name, command.has_value ? static_cast<FwTextString>(value) : nullptr,
                        nullptr};
    edit_in_lists(lists, &setenv);
  }
  close_lists(&lists);
  EXPECT_EQ(nullptr, lists);
  Strings result = Dump(env);
  free_environ(&env);
  return result;
}

TEST(Lists, GiveWhatTheCommandsGiveOneByOne) {
  const Strings ops = {"append", "prepend", "unappend", "unprepend", "APPEND", "set", "delete"};
  const Strings values = {"",
                          "/a",
                          ":",
                          "/a:/b",
                          "/c::/d:",
                          "\xC3\xA9",
                          "/a",
                          "\xE9",
                          "/x\xE9",
                          "\xC0\xBA",
                          "/b",
                          "\xE2\x82",
                          "/a:/a",
                          "\x80:/a",
                          "/a:\xC3\xA9:",
                          "\xE0\x80\xBA"};
  const Strings starts = {"", "/a:/b:/a", "/z\xE9", ":/a::", "\xC3\xA9:/b"};
  // What is not well-formed asserts, in both ways.
  CollectReports reports;
  std::mt19937 random(1);
  auto below = [&](size_t n) { return random() % n; };
  for (int round = 0; round < 2000; ++round) {
    WH_ENVIRON* start = make_environ();
    // About as many as make the table grow during the replay.
    for (size_t i = 0, n = below(2) ? below(10) : 55 + below(12); i < n; ++i) {
      Text name("F" + std::to_string(i));
      wh_set_ev(start, name, FWT("f"));
    }
    for (const char* name : {"P", "Q"})
      if (below(2)) {
        Text value(starts[below(starts.size())]);
        wh_set_ev(start, FWT(name), value);
      }
    // A small choice finds each value again, a large one makes lists long enough for an index.
    const bool many = below(2) != 0;
    std::vector<Command> commands(below(90));
    for (Command& command : commands) {
      command.op = ops[below(below(4) ? 4 : ops.size())];
      command.name = below(8) ? (below(2) ? "P" : "Q") : "N" + std::to_string(below(30));
      command.value =
          many && below(10) ? "/o/" + std::to_string(below(60)) : values[below(values.size())];
      command.has_value = below(20) != 0;
    }
    EXPECT_EQ(Plainly(commands, start), WithLists(commands, start)) << "round " << round;
    free_environ(&start);
    if (HasFailure()) break;
  }
}

TEST(Lists, WhatTheLastCommandPutInStaysWhole) {
  WH_ENVIRON* start = make_environ();
  wh_set_ev(start, FWT("P"), FWT("/a"));
  EXPECT_EQ("P=/a:/b::", WithLists({{"append", "P", "/b::"}}, start)[1]);
  EXPECT_EQ("P=/a:/b:/c", WithLists({{"append", "P", "/b::"}, {"append", "P", "/c"}}, start)[1]);
  EXPECT_EQ("P=:/a", WithLists({{"prepend", "P", ""}}, start)[1]);
  free_environ(&start);
}

TEST(Lists, WithoutACommandNothingChanges) {
  WH_ENVIRON* start = make_environ();
  wh_set_ev(start, FWT("P"), FWT("/a::/b"));
  EXPECT_EQ(Dump(start), WithLists({}, start));
  free_environ(&start);
}

TEST(Lists, OnlyWholeAndShortestCharactersAreWellFormed) {
  for (const char* text : {"", "/usr/bin:x", "\xC2\x80", "\xC3\xA9", "\xE0\xA0\x80", "\xEF\xBF\xBF",
                           "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF",
                           "a\xC3\xA9"
                           "b"})
    EXPECT_TRUE(is_well_formed(FWT(text))) << text;
  for (const char* text :
       {"\x80", "\xBF", "\xC0\xBA", "\xC1\xBF", "\xC3", "\xC3:", "\xE0\x80\xBA", "\xE0\x9F\xBF",
        "\xE2\x82", "\xE2\x82:", "\xF0\x80\x80\xBA", "\xF0\x8F\xBF\xBF", "\xF5\x80\x80\x80",
        "\xF8\x88\x80\x80\x80", "\xFE", "\xFF", "a\xE9"})
    EXPECT_FALSE(is_well_formed(FWT(text))) << text;
}

}  // namespace
