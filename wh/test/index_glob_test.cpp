// The indexes of texts and patterns, and constraints with shared lists, against plain trying of
// each pair.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "engine_support.h"
#include "environ/apply.h"
#include "environ/constraints.h"
#include "environ/names_table.h"
#include "glob.h"
#include "glob/index.h"
#include "wherror.h"

namespace {

using Strings = std::vector<std::string>;
using Numbers = std::vector<int32>;

class Random {
 public:
  explicit Random(unsigned seed) : source_(seed) {}
  size_t Below(size_t n) { return source_() % n; }
  std::string Text(const Strings& letters, size_t at_most) {
    std::string text;
    for (size_t n = Below(at_most + 1); n > 0; --n)
      text += letters[Below(letters.size())];
    return text;
  }

 private:
  std::mt19937 source_;
};

// Bytes that are no text may be beside a pattern, but no file is named by them: what looks at the
// disk has an alphabet of its own.
struct Letters {
  Strings text;
  Strings pattern;
};
const Letters kAlphabets[] = {
    {{"/", "/", "/", "a", "b", "ab", "opt", "p1", "1", "A", ".", "*?", "\xE9", "\x80", "\xC3\xA9"},
     {"/", "/", "/**/", "*", "?", "**", "a", "b", "ab", "p", "opt", "/p1", "\xE9", "\xC3",
      "\xC3\xA9"}},
    {{"/", "/", "/", "a", "b", "ab", "opt", "p1", "1", "A", ".", "*?", "\xC3\xA9", "|x"},
     {"/", "/", "/**/", "*", "?", "**", "a", "b", "ab", "p", "opt", "/p1", "\xC3\xA9", "|x",
      "|*"}}};

Numbers Taken(POSITIONS* positions) {
  Numbers numbers(positions->list, positions->list + positions->count);
  free_positions(positions);
  return numbers;
}

TEST(GlobIndex, FindsTheTextsThatEachTryWouldFindWhileItGrows) {
  Random random(1);
  int met = 0;
  for (size_t round = 0; round < 40; ++round) {
    const Letters& letters = kAlphabets[round % 2];
    std::deque<std::string> kept;
    TEXTS texts;
    for (int i = 0; i < 150; ++i) {
      for (size_t n = random.Below(4); n > 0; --n)
        add_text(&texts, Fwt(kept.emplace_back(random.Text(letters.text, 6))));
      std::string pattern = random.Text(letters.pattern, 6);
      Numbers tried;
      for (size_t k = 0; k < kept.size(); ++k)
        if (wh_glob_matches(Fwt(pattern), Fwt(kept[k]))) tried.push_back(static_cast<int32>(k));
      GLOB glob;
      open_glob(&glob, Fwt(pattern));
      POSITIONS found;
      find_texts(&texts, &glob, &found);
      close_glob(&glob);
      ASSERT_EQ(tried, Taken(&found)) << pattern;
      met += !tried.empty();
    }
    close_texts(&texts);
  }
  EXPECT_GT(met, 500);
}

TEST(GlobIndex, NamesEveryPatternThatAcceptsATextWhileItGrows) {
  Random random(2);
  int met = 0;
  size_t named = 0, tried = 0;
  for (size_t round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    const Letters& letters = kAlphabets[round % 2];
    std::deque<std::string> kept;
    PATTERNS patterns;
    for (int i = 0; i < 150; ++i) {
      SCOPED_TRACE(i);
      for (size_t n = random.Below(4); n > 0; --n) {
        GLOB glob;
        // Two patterns in a row stand under one position.
        const auto position = static_cast<int32>(kept.size() / 2);
        open_glob(&glob, Fwt(kept.emplace_back(random.Text(letters.pattern, 6))));
        add_pattern(&patterns, &glob, position);
        close_glob(&glob);
      }
      std::string text = random.Text(letters.text, 6);
      TOKENS tokens;
      parse(&tokens, Fwt(text));
      POSITIONS found;
      find_patterns(&patterns, Fwt(text), &tokens, &found);
      free_tokens(&tokens);
      const Numbers numbers = Taken(&found);
      ASSERT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
      ASSERT_EQ(numbers.end(), std::adjacent_find(numbers.begin(), numbers.end()));
      for (size_t k = 0; k < kept.size(); ++k) {
        if (!wh_glob_matches(Fwt(kept[k]), Fwt(text))) continue;
        ++met;
        ASSERT_TRUE(std::binary_search(numbers.begin(), numbers.end(), static_cast<int32>(k / 2)))
            << kept[k] << " accepts " << text;
      }
      named += numbers.size();
      tried += (kept.size() + 1) / 2;
    }
    close_patterns(&patterns);
  }
  EXPECT_GT(met, 500);
  EXPECT_LT(named, tried * 2 / 3);
}

// ---- Constraints ----

// The plain way to order a variable's elements: it notes each constraint, and walks through the
// predecessors in the order of notes.
class PlainOrder {
 public:
  PlainOrder(const NODE_LIST& nodes) {
    for (int32 i = 0; i < FwVectorLength(&nodes.list); ++i)
      elements_.push_back({Str(node_at(&nodes, i)->value), st_new, {}});
  }
  void Constrain(size_t place, const std::string& pattern, bool before) {
    for (size_t i = 0; i < elements_.size(); ++i)
      if (i != place && wh_glob_matches(Fwt(pattern), Fwt(elements_[i].value)))
        elements_[before ? i : place].pred.push_back(before ? place : i);
  }
  void Sort(size_t place) {
    Element& element = elements_[place];
    if (element.state == st_visited) return;
    if (element.state == st_visiting) {
      cycle = element.value;
      element.state = st_visited;
      return;
    }
    element.state = st_visiting;
    for (size_t pred : element.pred)
      Sort(pred);
    result += (result.empty() ? "" : ":") + element.value;
    element.state = st_visited;
  }

  std::string result;
  std::string cycle;  // the element that closed the last one

 private:
  struct Element {
    std::string value;
    int state;
    std::vector<size_t> pred;
  };
  std::vector<Element> elements_;
};

std::string SomePattern(Random* random, size_t share_of_all) {
  static const Strings kSome = {"/o/**", "/o/1*", "/**", "/o/2?", "/o/3", "/n/*", "**/4", "/o/*"};
  return random->Below(4) < share_of_all ? kSome[random->Below(kSome.size())]
                                         : kSome[random->Below(2)];
}

std::vector<NODE*> ListNodes(VAR_OPS* var_ops) {
  NODE_LIST nodes;
  open_nodes(&nodes, var_ops);
  std::vector<NODE*> list;
  for (int32 i = 0; i < FwVectorLength(&nodes.list); ++i)
    list.push_back(node_at(&nodes, i));
  close_nodes(&nodes);
  return list;
}

// Random constraints between the nodes, mostly of those under /n and by patterns of those under /o,
// so that there is not always a cycle.
PlainOrder ConstrainAtRandom(Random* random, VAR_OPS* var_ops) {
  CONSTRAINTS constraints;
  open_constraints(&constraints, var_ops);
  PlainOrder plain(constraints.nodes);
  const auto count = static_cast<size_t>(FwVectorLength(&constraints.nodes.list));
  std::deque<std::string> patterns;
  const size_t share_of_all = random->Below(4);
  for (size_t n = random->Below(60); n > 0; --n) {
    const size_t place = random->Below(count);
    NODE* node = node_at(&constraints.nodes, static_cast<int32>(place));
    if (random->Below(4) && node->value[1] != 'n') continue;
    const bool before = random->Below(5) < 3;
    FwVector list;
    FwVectorOpen(&list, 2);
    for (size_t k = random->Below(3); k < 3; ++k) {
      const std::string& pattern = patterns.emplace_back(SomePattern(random, share_of_all));
      FwVectorAddElement(&list, Fwt(pattern));
      plain.Constrain(place, pattern, before);
    }
    (before ? constrain_before : constrain_after)(&constraints, node, &list);
    FwVectorAbandon(&list, 0);
  }
  close_constraints(&constraints);
  return plain;
}

TEST(Constraints, SharedListsSortAsConstraintsNotedOneByOne) {
  std::mt19937 shuffling(4);
  Random random(3);
  int cycles = 0, sorted = 0;
  for (int round = 0; round < 600; ++round) {
    SCOPED_TRACE(round);
    VAR_OPS* var_ops = make_var_ops();
    var_ops->sep = ':';
    for (size_t i = 25 + random.Below(60); i > 0; --i)
      get_node(var_ops, Fwt((random.Below(3) ? "/o/" : "/n/") + std::to_string(random.Below(90))));
    const std::vector<NODE*> nodes = ListNodes(var_ops);
    PlainOrder plain = ConstrainAtRandom(&random, var_ops);
    std::vector<size_t> order(nodes.size());
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), shuffling);
    Error err;
    for (size_t i : order) {
      plain.Sort(i);
      sort_node(nodes[i], FWT("V"), var_ops, &err);
    }
    EXPECT_EQ(plain.result, Str(var_ops->result.pbz)) << "round " << round;
    if (plain.cycle.empty()) {
      EXPECT_EQ(nullptr, err.pError);
      ++sorted;
    } else {
      EXPECT_EQ(whErrorEnvCycle, err.pError);
      EXPECT_EQ(
          "*** Error:  value " + plain.cycle + " has cyclic constraints in environment variable V",
          err.text());
      ++cycles;
    }
    FwHashTable* variables = make_names_table();
    FwHashAddEntry(variables, FWT("V"), var_ops, nullptr);
    free_variables(&variables);
  }
  EXPECT_GT(cycles, 30);
  EXPECT_GT(sorted, 30);
}

}  // namespace
