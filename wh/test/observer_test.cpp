// What an observer is told of a computation, and that it changes nothing.
#include "observer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "computation.h"
#include "engine_support.h"
#include "model/generator.h"
#include "model/model.h"
#include "recorder.h"

namespace {

using Strings = std::vector<std::string>;

std::string Name(const WH_OPERATION* operation) {
  if (!operation) return "-";
  const WH_ENV_OP* op = operation->op;
  const char* const kinds[] = {"insert", "remove", "delete"};
  std::string name = Str(operation->origin->product->prodinfo->prodname->name);
  if (op->place) name += ":" + std::to_string(op->place->line);
  return name + " " + kinds[op->type] + " " + Str(op->name);
}

std::string Name(const WH_ELEMENT& element) {
  return Str(element.variable) + "=" + Str(element.value);
}

std::string Name(const WH_CONSTRAINT& constraint) {
  return Str(constraint.first) + "<" + Str(constraint.second) + " (" + Name(constraint.operation) +
         ")";
}

// The product, and what it was reached through: by the line of the part, if places are known.
std::string Chain(const WH_STATION* station) {
  std::string chain;
  for (; station; station = station->includer) {
    chain += Str(station->product->prodinfo->prodname->name);
    if (station->part && station->part->place)
      chain += "@" + std::to_string(station->part->place->line);
    if (station->includer) chain += "<";
  }
  return chain;
}

// An observer that writes down all it is told.
class Diary {
 public:
  Diary() {
    observer_.context = this;
    observer_.group = [](void* diary, int32 group) {
      Write(diary, "group " + std::to_string(group));
    };
    observer_.collected = [](void* diary, const WH_OPERATION* operation) {
      Write(diary, "collected " + std::to_string(operation->number) + " " + Name(operation) + " " +
                       Chain(operation->origin));
    };
    observer_.overruled = [](void* diary, const WH_ELEMENT* element, const WH_OPERATION* loser,
                             const WH_OPERATION* winner) {
      Write(diary, "overruled " + Name(*element) + ": " + Name(loser) + " by " + Name(winner));
    };
    observer_.removed = [](void* diary, const WH_ELEMENT* element, const WH_OPERATION* remove) {
      Write(diary, "removed " + Name(*element) + ": " + Name(remove));
    };
    observer_.inserted_twice = [](void* diary, const WH_ELEMENT* element, const WH_OPERATION* first,
                                  const WH_OPERATION* second) {
      Write(diary, "twice " + Name(*element) + ": " + Name(first) + ", " + Name(second));
    };
    observer_.clash = [](void* diary, const WH_ELEMENT* element, const WH_OPERATION* insert,
                         const WH_OPERATION* remove) {
      Write(diary, "clash " + Name(*element) + ": " + Name(insert) + ", " + Name(remove));
    };
    observer_.endless = [](void* diary, const WH_ELEMENT* element, const WH_OPERATION* insert,
                           const WH_OPERATION* remove) {
      Write(diary, "endless " + Name(*element) + ": " + Name(insert) + ", " + Name(remove));
    };
    observer_.constrained = [](void* diary, const WH_CONSTRAINT* constraint) {
      Write(diary, "constrained " + Str(constraint->variable) + " " + Name(*constraint));
    };
    observer_.cycle = [](void* diary, const WH_CONSTRAINT* constraints, int32 count) {
      std::string line = "cycle " + Str(constraints->variable);
      for (int32 i = 0; i < count; ++i)
        line += " " + Name(constraints[i]);
      Write(diary, line);
    };
    observer_.placed = [](void* diary, const WH_POSITION* position) {
      std::string line = "placed " + Name(position->element) + " " +
                         std::to_string(position->position) + (position->kept ? " kept" : "");
      if (position->insert) line += " by " + Name(position->insert);
      if (position->constraint.operation) line += " for " + Name(position->constraint);
      Write(diary, line);
    };
    observer_.rebuilt = [](void* diary, FwTextString variable, FwTextString old_value,
                           FwTextString new_value) {
      Write(diary, "rebuilt " + Str(variable) + ": " + Str(old_value) + " to " + Str(new_value));
    };
  }

  WH_OBSERVER* observer() { return &observer_; }
  // The lines that begin with one of the words, or all.
  Strings lines(const Strings& words = {}) const {
    Strings chosen;
    for (const std::string& line : lines_)
      for (const std::string& word : words)
        if (line.starts_with(word + " ")) chosen.push_back(line);
    return words.empty() ? lines_ : chosen;
  }

 private:
  static void Write(void* diary, const std::string& line) {
    static_cast<Diary*>(diary)->lines_.push_back(line);
  }

  WH_OBSERVER observer_ = {};
  Strings lines_;
};

// The settings of the products, observed. Places are asked for.
WH_ENVIRON* Observe(const Warehouse& w, const Strings& products, WH_ENVIRON* input,
                    const WH_OBSERVER* observer) {
  w.index()->parse_flags = WH_XML_PF_PLACES;
  WH_PRODUCT_SPEC_LIST* specs = w.Query(products);
  WH_ENVIRON* output =
      wh_apply_env_observed(w.index(), input, Fwt(w.path()), specs, Reports::Collect, 1, observer);
  free_speclist(&specs);
  return output;
}

TEST(Observer, OperationsComeInTheirOrderWithTheChainOfPartsBehindThem) {
  Warehouse w;
  w.Add("A", Insert("V", "a"), {"B", "D"});
  w.Add("B", Insert("V", "b") + Remove("W", {"x"}), {"C"});
  w.Add("C", Insert("V", "c") + Delete("U"));
  w.Add("D", Insert("V", "d"), {"C"});
  w.Add("E", Insert("V", "e"), {"D"});
  Diary diary;
  const Environment output(Observe(w, {"A", "E"}, Environment(), diary.observer()));
  EXPECT_EQ((Strings{"collected 0 C:2 insert V C@1<B@1<A", "collected 1 C:3 delete U C@1<B@1<A",
                     "collected 2 B:2 insert V B@1<A", "collected 3 B:3 remove W B@1<A",
                     "collected 4 D:2 insert V D@1<A", "collected 5 A:2 insert V A",
                     "collected 6 E:2 insert V E"}),
            diary.lines({"collected"}));
}

TEST(Observer, EachVarietyOfAPartIsReachedThroughThatPart) {
  Warehouse w;
  w.Add("A", Insert("V", "a"), {"B"});
  const std::string segment = "<SEGMENT host='all' here='1'/>";
  w.AddVarieties("B", "<VARIETY>" + segment + "</VARIETY><VARIETY>" + segment + "</VARIETY>",
                 Insert("V", "b"), {"C"});
  w.Add("C", Insert("V", "c"));
  Diary diary;
  const Environment output(Observe(w, {"A"}, Environment(), diary.observer()));
  EXPECT_EQ((Strings{"collected 0 C:2 insert V C@1<B@1<A", "collected 1 B:2 insert V B@1<A",
                     "collected 2 B:2 insert V B@1<A", "collected 3 A:2 insert V A"}),
            diary.lines({"collected"}));
}

TEST(Observer, IsToldWhatGivesWayAndWhatStandsAgainstWhat) {
  Warehouse w;
  w.Add("A", Insert("V", "same", Before("old")) + Remove("V", {"gone", "part"}), {"B"});
  w.Add("B", Insert("V", "same") + Insert("V", "part"));
  w.Add("C", Insert("V", "clash") + Insert("V", "same"));
  w.Add("D", Remove("V", {"clash"}));
  const std::string clash =
      "*** Error:  value clash is both inserted and removed in environment variable V";
  Reports reports;
  Diary diary;
  const Environment output(
      Observe(w, {"A", "C", "D"}, Environment(Pairs{{"V", "old:gone:gone"}}), diary.observer()));
  Strings lines = diary.lines({"overruled", "removed", "twice", "clash"});
  std::sort(lines.begin(), lines.end());  // the elements come in the order of their slots
  EXPECT_EQ(
      (Strings{"clash V=clash: C:2 insert V, D:2 remove V",
               "overruled V=part: B:3 insert V by A:3 remove V",
               "overruled V=same: B:2 insert V by A:2 insert V", "removed V=gone: A:3 remove V",
               "removed V=part: A:3 remove V", "twice V=same: A:2 insert V, C:3 insert V"}),
      lines);
  EXPECT_EQ(Strings{clash}, reports.lines());
}

// A remove that arrives before the first insert counts again with each of them, and is told once.
TEST(Observer, ARemoveIsToldOnceHoweverManyInsertsFollow) {
  Warehouse w;
  w.Add("A", Remove("V", {"x"}), {"B", "C", "D"});
  w.Add("B", Remove("V", {"x"}));
  w.Add("C", Insert("V", "x"));
  w.Add("D", Insert("V", "x"));
  Diary diary;
  const Environment output(Observe(w, {"A"}, Environment(Pairs{{"V", "x"}}), diary.observer()));
  Strings lines = diary.lines({"overruled", "removed", "clash"});
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ((Strings{"overruled V=x: B:2 remove V by A:2 remove V",
                     "overruled V=x: C:2 insert V by A:2 remove V",
                     "overruled V=x: D:2 insert V by A:2 remove V", "removed V=x: A:2 remove V"}),
            lines);
}

TEST(Observer, AContradictionWithoutEndIsToldAndEndsTheComputation) {
  Warehouse w;
  w.Add("A", Insert("V", "x") + Insert("W", "y"), {"B"});
  w.Add("B", Remove("V", {"x"}) + Remove("W", {"*"}) + Remove("U", {"z"}));
  Reports reports;
  Diary diary;
  EXPECT_EQ(nullptr, Observe(w, {"A"}, Environment(Pairs{{"U", "z"}}), diary.observer()));
  Strings lines = diary.lines({"endless", "removed", "placed", "rebuilt"});
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ((Strings{"endless V=x: A:2 insert V, B:2 remove V",
                     "endless W=y: A:3 insert W, B:3 remove W", "removed U=z: B:4 remove U"}),
            lines);
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(Observer, AContradictionEndsAlsoIfNobodyListensToIt) {
  Warehouse w;
  w.Add("A", Insert("V", "x"), {"B"});
  w.Add("B", Remove("V", {"x"}));
  const WH_OBSERVER deaf = {};
  EXPECT_EQ(nullptr, Observe(w, {"A"}, Environment(), &deaf));
}

// A says that its element comes in front of /usr/bin, its part B that its own comes behind A's and
// that /bin is to go.
TEST(Observer, ElementsArePlacedOneAfterTheOtherAndByWhatConstraint) {
  Warehouse w;
  w.Add("A", Insert("PATH", "/opt/a/bin", Before("/usr/bin")), {"B"});
  w.Add("B", Insert("PATH", "/opt/b/bin", After("/opt/a/bin")) + Remove("PATH", {"/bin"}) +
                 Insert("TOOLS", "x"));
  Diary diary;
  const Environment output(
      Observe(w, {"A"}, Environment(Pairs{{"PATH", "/usr/bin:/bin"}}), diary.observer()));
  EXPECT_EQ("/opt/a/bin:/usr/bin:/opt/b/bin", output["PATH"]);
  EXPECT_EQ(
      (Strings{
          "placed PATH=/opt/a/bin 0 by A:2 insert PATH for /opt/a/bin</usr/bin (A:2 insert PATH)",
          "placed PATH=/usr/bin 1 kept", "placed PATH=/opt/b/bin 2 by B:2 insert PATH",
          "rebuilt PATH: /usr/bin:/bin to /opt/a/bin:/usr/bin:/opt/b/bin",
          "placed TOOLS=x 0 by B:4 insert TOOLS", "rebuilt TOOLS: (null) to x"}),
      diary.lines({"placed", "rebuilt"}));
  Strings constraints = diary.lines({"constrained"});
  std::sort(constraints.begin(), constraints.end());
  EXPECT_EQ((Strings{"constrained PATH /opt/a/bin</opt/b/bin (B:2 insert PATH)",
                     "constrained PATH /opt/a/bin</usr/bin (A:2 insert PATH)"}),
            constraints);
}

TEST(Observer, AVariableThatIsDeletedIsRebuiltToNothing) {
  Warehouse w;
  w.Add("A", Delete("V") + Remove("W", {"**"}));
  Diary diary;
  const Environment output(
      Observe(w, {"A"}, Environment(Pairs{{"V", "a:b"}, {"W", "a"}}), diary.observer()));
  Strings lines = diary.lines({"rebuilt"});
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ((Strings{"rebuilt V: a:b to (null)", "rebuilt W: a to "}), lines);
}

// New elements of one character come in the order of their letters, so the sort starts from a,
// which waits for c, which waits for b, which waits for a.
TEST(Observer, ACircleIsToldWithAllItsConstraintsInOrder) {
  Warehouse w;
  w.Add("A", Insert("V", "a", Before("b")));
  w.Add("B", Insert("V", "b", Before("c")));
  w.Add("C", Insert("V", "c", Before("a")) + Insert("V", "d", After("c")));
  Reports reports;
  Diary diary;
  const Environment output(Observe(w, {"A", "B", "C"}, Environment(), diary.observer()));
  EXPECT_EQ(std::nullopt, output["V"]);
  EXPECT_EQ(Strings{"cycle V a<b (A:2 insert V) b<c (B:2 insert V) c<a (C:2 insert V)"},
            diary.lines({"cycle"}));
  EXPECT_EQ(Strings{"*** Error:  value a has cyclic constraints in environment variable V"},
            reports.lines());
}

TEST(Observer, NewsOfAClashAndOfACircleComeBeforeTheirReports) {
  static Strings* order;
  Strings told;
  order = &told;
  Warehouse w;
  w.Add("A", Insert("V", "a", Before("b")) + Insert("W", "x"));
  w.Add("B", Insert("V", "b", Before("a")) + Remove("W", {"x"}));
  WH_OBSERVER observer = {};
  observer.clash = [](void*, const WH_ELEMENT*, const WH_OPERATION*, const WH_OPERATION*) {
    order->push_back("clash");
  };
  observer.cycle = [](void*, const WH_CONSTRAINT*, int32) { order->push_back("cycle"); };
  WH_PRODUCT_SPEC_LIST* specs = w.Query({"A", "B"});
  const Environment output(wh_apply_env_observed(
      w.index(), Environment(), Fwt(w.path()), specs,
      [](FwErrorState*) { order->push_back("report"); }, 1, &observer));
  free_speclist(&specs);
  EXPECT_EQ((Strings{"clash", "report", "cycle", "report"}), told);
}

// ---- Random warehouses ----

struct Counts {
  int told = 0;
  int endless = 0;
};

// Counts all that it is told.
WH_OBSERVER Counting(Counts* counts) {
  WH_OBSERVER observer = {};
  observer.context = counts;
  observer.group = [](void* context, int32) { ++static_cast<Counts*>(context)->told; };
  observer.collected = [](void* context, const WH_OPERATION*) {
    ++static_cast<Counts*>(context)->told;
  };
  const auto pair = [](void* context, const WH_ELEMENT*, const WH_OPERATION* one,
                       const WH_OPERATION* other) {
    EXPECT_NE(nullptr, one);
    EXPECT_NE(nullptr, other);
    ++static_cast<Counts*>(context)->told;
  };
  observer.overruled = pair;
  observer.inserted_twice = pair;
  observer.clash = pair;
  observer.endless = [](void* context, const WH_ELEMENT*, const WH_OPERATION*,
                        const WH_OPERATION*) { ++static_cast<Counts*>(context)->endless; };
  observer.removed = [](void* context, const WH_ELEMENT*, const WH_OPERATION*) {
    ++static_cast<Counts*>(context)->told;
  };
  observer.constrained = [](void* context, const WH_CONSTRAINT* constraint) {
    EXPECT_NE(nullptr, constraint->operation);
    ++static_cast<Counts*>(context)->told;
  };
  observer.cycle = [](void* context, const WH_CONSTRAINT* constraints, int32 count) {
    for (int32 i = 0; i < count; ++i) {
      EXPECT_NE(nullptr, constraints[i].operation);
      EXPECT_STREQ(FWC(constraints[i].second), FWC(constraints[(i + 1) % count].first));
    }
    ++static_cast<Counts*>(context)->told;
  };
  observer.placed = [](void* context, const WH_POSITION*) {
    ++static_cast<Counts*>(context)->told;
  };
  observer.rebuilt = [](void* context, FwTextString, FwTextString, FwTextString) {
    ++static_cast<Counts*>(context)->told;
  };
  return observer;
}

struct Outcome {
  int steps = 0;
  Pairs environment;  // in the order of slots
  Strings reports;

  bool operator==(const Outcome&) const = default;
};

void Lay(const model::Case& run) {
  for (const auto& [name, content] : model::Layout(run)) {
    const std::filesystem::path path = run.base + "/" + name;
    std::filesystem::create_directories(content ? path.parent_path() : path);
    if (content) std::ofstream(path, std::ios::binary) << *content;
  }
}

// All products of the case, two in each group.
Outcome Compute(const model::Case& run, const WH_OBSERVER* observer) {
  Reports reports;
  wh_errors = 0;
  FwVector groups = {};
  FwVectorOpen(&groups, 2);
  for (std::size_t i = 0; i < run.products.size(); ++i) {
    if (i % 2 == 0) FwVectorAddElement(&groups, make_querylist());
    WH_PRODUCT_NAME* name = name_from_path(Fwt(run.products[i].directory));
    if (!name) continue;
    auto* group = static_cast<WH_PRODUCT_QUERY_LIST*>(
        FwVectorGetElement(&groups, FwVectorLength(&groups) - 1));
    add_query(group, make_query(name, make_pattern(), 0));
  }
  FwErrorState err;
  WH_COMPUTATION all = {};
  all.group_querylists = &groups;
  all.set = all.emulate = 1;
  all.report = Reports::Collect;
  all.err = &err;
  all.observer = observer;
  all.places = observer ? 1 : 0;
  all.oldenv = make_environ();
  for (const std::string& variable : run.environment) {
    const std::size_t equals = std::min(variable.find('='), variable.size());
    const std::size_t value = std::min(equals + 1, variable.size());
    wh_set_ev(all.oldenv, Fwt(variable.substr(0, equals)), Fwt(variable.substr(value)));
  }
  Outcome outcome;
  if (wh_computation_open(&all, Fwt(run.base + "/root")) && ++outcome.steps &&
      wh_computation_find_latest(&all) && ++outcome.steps && wh_computation_load(&all) &&
      ++outcome.steps && wh_computation_compute(&all))
    ++outcome.steps;
  if (all.newenv) outcome.environment = Environment(dup_environ(all.newenv)).list();
  outcome.reports = reports.lines();
  wh_computation_close(&all);
  for (int32 i = 0; i < FwVectorLength(&groups); ++i) {
    auto* group = static_cast<WH_PRODUCT_QUERY_LIST*>(FwVectorGetElement(&groups, i));
    free_querylist(&group);
  }
  FwVectorAbandon(&groups, 0);
  wh_errors = 0;
  return outcome;
}

TEST(Observer, ChangesNothingOnRandomWarehouses) {
  const char* factor = std::getenv("ZOR_TEST_ROUNDS");
  const int rounds = 80 * (factor ? std::stoi(factor) : 1);
  const TemporaryTree tree;
  int computed = 0, endless = 0, told = 0;
  for (int seed = 1; seed <= rounds; ++seed) {
    const model::Case run =
        model::Generate(static_cast<unsigned long long>(seed), tree / std::to_string(seed));
    std::filesystem::create_directories(run.base);
    Lay(run);
    SCOPED_TRACE("seed " + std::to_string(seed));
    CollectReports of_floors;
    Counts counts;
    const WH_OBSERVER observer = Counting(&counts);
    testing::internal::CaptureStdout();
    const Outcome observed = Compute(run, &observer);
    const std::string printed = testing::internal::GetCapturedStdout();
    if (counts.endless == 0) {
      testing::internal::CaptureStdout();
      const Outcome alone = Compute(run, nullptr);
      EXPECT_EQ(testing::internal::GetCapturedStdout(), printed);
      EXPECT_EQ(alone.steps, observed.steps);
      EXPECT_EQ(alone.environment, observed.environment);
      EXPECT_EQ(alone.reports, observed.reports);
      computed += alone.steps >= 3;
    } else {
      EXPECT_EQ(3, observed.steps);
      ++endless;
    }
    told += counts.told;
    std::filesystem::remove_all(run.base);
    if (HasFailure()) break;
  }
  EXPECT_GT(computed, rounds / 4);
  EXPECT_GT(endless, rounds / 20);
  EXPECT_GT(told, rounds * 10);
}

}  // namespace
