// The settlement of one value between the operations that touch it.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "caller.h"
#include "engine_support.h"
#include "environ/ancestors.h"
#include "environ/list.h"
#include "environ/observation.h"
#include "environ/resolve.h"
#include "fcpp.h"
#include "recorder.h"

namespace {

using Strings = std::vector<std::string>;

const char kClash[] =
    "*** Error:  value VALUE is both inserted and removed in environment variable VARIABLE";

// Varieties named by letters, and which of them include which. A letter of either list stands for
// an operation of that variety.
class Value {
 public:
  // Each pair is (includer, included); the relation is taken as it is, so chains are written out.
  explicit Value(const std::vector<std::pair<char, char>>& includes) : includes_(includes) {
    ancestry_ = make_ancestry();
    open_vector(&val_ops_.ins, 2);
    val_ops_.rem.pool =
        FwMemPoolCreate(0, 256, 8192, alignof(void*), ALLOC_MUST_SUCCEED | INIT_NONE);
  }
  ~Value() {
    free_ancestry(&ancestry_);
    for (auto& [name, variety] : varieties_)
      FwHashFreeTable(&variety.ancestors);
    FwVectorAbandon(&val_ops_.ins, 0);
    FwMemPoolDestroy(&val_ops_.rem.pool);
  }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;

  void Add(const std::string& ins, const std::string& rem) {
    for (char name : ins)
      FwVectorAddElement(&val_ops_.ins, Op(name));
    for (char name : rem)
      enter_remove_run(&val_ops_.rem, Op(name), 1);
  }

  // An insert arrives, and what has arrived before of removes is tried on it.
  void Insert(char name) {
    if (enter_insert(&val_ops_, Op(name))) return;
    for (EXPANDED_OP* remove : removes_)
      enter_removal(&val_ops_, remove);
  }
  // The same where none of them accepts the value any more: they had looked for a file.
  void InsertUnaccepted(char name) { enter_insert(&val_ops_, Op(name)); }
  // A remove arrives and is tried on the value as it was inserted, and on so many equal elements.
  void Remove(char name, int elements) {
    removes_.push_back(Op(name));
    if (count_of(&val_ops_.ins) > 0) enter_removal(&val_ops_, removes_.back());
    for (int i = 0; i < elements; ++i)
      enter_removal(&val_ops_, removes_.back());
  }

  // From then on an observer watches; of each operation it knows the letter.
  void Watch(OBSERVATION* observation) {
    observation_ = observation;
    for (EXPANDED_OP& op : ops_) {
      OPERATION* told = &told_.emplace_back();
      told->number = static_cast<unsigned char>(Name(op.variety));
      op.told = told;
    }
  }

  void Resolve(WH_ERROR_FUNC error, Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    FwHashEntry entry = {FWT("VALUE"), &val_ops_};
    res_context context = {error, FWT("VARIABLE"), ancestry_, observation_};
    EXPECT_EQ(1, resolve(&entry, &context, nullptr));
  }

  // What is left, as "inserts/removes", with "!" behind it for a clash.
  std::string Result(const std::string& ins, const std::string& rem) {
    Add(ins, rem);
    return Result();
  }
  std::string Result() {
    Reports reports;
    Resolve(Reports::Collect);
    std::string result = Lists();
    for (const std::string& line : reports.lines())
      result += line == kClash ? "!" : line;
    return result;
  }

  std::string Lists() {
    FwVector rem;
    open_vector(&rem, 10);
    list_removes(&val_ops_.rem, &rem);
    std::string lists = Names(&val_ops_.ins) + "/" + Names(&rem);
    FwVectorAbandon(&rem, 0);
    return lists;
  }
  int runs() const {
    int count = 0;
    for (const REMOVE_RUN* run = val_ops_.rem.first; run; run = run->next)
      ++count;
    return count;
  }
  const FwVector* ins() const { return &val_ops_.ins; }

 private:
  EXPANDED_OP* Op(char name) {
    ops_.push_back({});
    ops_.back().variety = Variety(name);
    return &ops_.back();
  }
  WH_VARIETY* Variety(char name) {
    if (auto found = varieties_.find(name); found != varieties_.end()) return &found->second;
    WH_VARIETY* variety = &varieties_[name];
    variety->ancestors = FwHashCreateTable(4, nullptr, nullptr);
    FwHashAddEntry(variety->ancestors, variety, variety, nullptr);
    for (auto [includer, included] : includes_)
      if (included == name) {
        WH_VARIETY* ancestor = Variety(includer);
        FwHashAddEntry(variety->ancestors, ancestor, ancestor, nullptr);
      }
    return variety;
  }
  std::string Names(const FwVector* ops) {
    std::string names;
    for (int32 i = 0; i < count_of(ops); ++i)
      names += Name(nth<EXPANDED_OP>(ops, i)->variety);
    return names;
  }
  char Name(const WH_VARIETY* wanted) {
    for (auto& [name, variety] : varieties_)
      if (&variety == wanted) return name;
    return '?';
  }

  std::vector<std::pair<char, char>> includes_;
  std::map<char, WH_VARIETY> varieties_;
  std::deque<EXPANDED_OP> ops_;
  std::deque<OPERATION> told_;
  OBSERVATION* observation_ = nullptr;
  std::vector<EXPANDED_OP*> removes_;
  VAL_OPS val_ops_;
  ANCESTRY* ancestry_;
};

const std::vector<std::pair<char, char>> kNone = {};
const std::vector<std::pair<char, char>> kAC = {{'A', 'C'}};
const std::vector<std::pair<char, char>> kAcBc = {{'A', 'C'}, {'B', 'C'}};

TEST(Resolve, ARemoveWhoseFileHasVanishedSinceIsNotListedAgain) {
  Value value({});
  value.Remove('A', 1);
  value.InsertUnaccepted('X');
  value.InsertUnaccepted('Y');
  EXPECT_EQ("XY/A", value.Lists());
  value.Remove('B', 0);
  EXPECT_EQ("XY/ABB", value.Lists());
  value.InsertUnaccepted('Z');
  EXPECT_EQ("XYZ/ABBB", value.Lists());
}

TEST(Resolve, IncludingVarietiesRuleOverIncludedOnesAndUnrelatedOnesClash) {
  struct {
    std::vector<std::pair<char, char>> includes;
    const char* ins;
    const char* rem;
    const char* result;
  } rows[] = {
      {kNone, "", "", "/"},
      {kNone, "A", "", "A/"},
      {kNone, "", "A", "/A"},
      // Inserts among themselves, and removes among themselves.
      {kNone, "AB", "", "AB/"},
      {kNone, "AA", "", "AA/"},
      {kAC, "AC", "", "A/"},
      {kAC, "CA", "", "A/"},
      {kAC, "CXA", "", "XA/"},
      {kAC, "CCXAC", "", "XA/"},
      {kAC, "", "CA", "/A"},
      {kAC, "", "ACXC", "/AX"},
      {kAcBc, "CAB", "", "AB/"},
      // One variety that does both keeps the insert.
      {kNone, "A", "A", "A/"},
      {kNone, "A", "AAA", "A/"},
      {kNone, "AB", "AB", "AB/"},
      // Unrelated varieties clash.
      {kNone, "A", "B", "A/B!"},
      {kNone, "AA", "BB", "AA/BB!"},
      {kNone, "A", "AB", "A/B!"},
      // A remove of the including variety takes the insert away.
      {kAC, "C", "A", "/A"},
      {kAC, "CC", "A", "/A"},
      // Kept: a second remove of it takes out the insert in front, if there is one.
      {kAC, "C", "AA", "/AA"},
      {kAC, "XC", "AA", "/AA"},
      {kAC, "CX", "AA", "X/AA!"},
      {kAC, "XYC", "AA", "X/AA!"},
      {kAC, "XYC", "AAA", "/AAA"},
      {kAC, "CC", "AAA", "/AAA"},
      {kAcBc, "C", "AB", "/AB"},
      {kAcBc, "XC", "AB", "/AB"},
      {kAcBc, "CX", "AB", "X/AB!"},
      // A remove of the insert's own variety still goes after the insert is gone.
      {kAC, "C", "AC", "/A"},
      {kAC, "C", "CA", "/A"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.result, Value(row.includes).Result(row.ins, row.rem))
        << row.ins << " and " << row.rem;
}

TEST(Resolve, InACircleTheEarlierOneWins) {
  const std::vector<std::pair<char, char>> circle = {{'A', 'B'}, {'B', 'A'}};
  EXPECT_EQ("A/", Value(circle).Result("AB", ""));
  EXPECT_EQ("B/", Value(circle).Result("BA", ""));
}

TEST(Resolve, AClashIsSilentWithoutAnErrorFunction) {
  Value value(kNone);
  value.Add("A", "B");
  Reports reports;
  value.Resolve(nullptr);
  EXPECT_EQ(1, FwVectorLength(value.ins()));
  EXPECT_EQ(Strings{}, reports.lines());
}

TEST(Resolve, AnInsertThatIncludesARemoveNeverEnds) {
  // The child ends itself from a signal, after it has looked at what was reported so far.
  static CollectReports* reports;
  static const FwVector* ins;
  static int32 left;
  struct {
    const char* ins;
    const char* rem;
    int32 left;
  } rows[] = {
      {"A", "C", 0},
      {"XA", "C", 0},
      {"AXX", "C", 0},
      // So many inserts are left as removes stand in front of the one that is included, without
      // those that went with inserts of their own variety.
      {"XYZA", "BC", 1},
      {"XYZA", "YBXDC", 2},
      {"XYZA", "BBBBBBC", 4},
  };
  std::vector<pid_t> children;
  for (const auto& row : rows) {
    children.push_back(fork());
    if (children.back() == 0) {
      Value value(kAC);
      value.Add(row.ins, row.rem);
      left = row.left;
      CollectReports collected;
      reports = &collected;
      ins = value.ins();
      signal(SIGALRM, [](int) {
        rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        bool idle = usage.ru_utime.tv_sec == 0 && usage.ru_stime.tv_sec == 0;
        bool once = reports->asserts() == Strings{"Invalid position in vector"};
        _exit(idle && once && FwVectorLength(ins) == left ? 0 : 1);
      });
      alarm(1);
      value.Resolve(nullptr);
      _exit(2);
    }
  }
  for (size_t i = 0; i < children.size(); ++i) {
    SCOPED_TRACE(i);
    int status = 0;
    ASSERT_EQ(children[i], waitpid(children[i], &status, 0));
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(0, WEXITSTATUS(status)) << rows[i].ins << " and " << rows[i].rem;
  }
}

// The procedure step by step on plain lists, and whether it ends.
struct Plain {
  std::string ins;
  std::string rem;
  const std::set<std::pair<char, char>>& includes;

  bool Over(char a, char b) const { return includes.contains({a, b}); }
  void Alike(std::string* ops) const {
    for (size_t i = 0; i < ops->size();) {
      bool gone = false;
      for (size_t j = i + 1; j < ops->size();) {
        char op1 = (*ops)[i];
        char op2 = (*ops)[j];
        if (op1 == op2) {
          ++j;
        } else if (Over(op1, op2)) {
          ops->erase(j, 1);
        } else if (Over(op2, op1)) {
          ops->erase(i, 1);
          gone = true;
          break;
        } else {
          ++j;
        }
      }
      if (!gone) ++i;
    }
  }
  bool Run() {
    Alike(&ins);
    Alike(&rem);
    for (int i = 0; i < static_cast<int>(ins.size()); ++i) {
      char op1 = ins[static_cast<size_t>(i)];
      for (size_t j = 0; j < rem.size();) {
        if (op1 == rem[j]) {
          rem.erase(j, 1);
          continue;
        }
        if (Over(op1, rem[j])) return false;
        if (Over(rem[j], op1) && i >= 0) ins.erase(static_cast<size_t>(i--), 1);
        ++j;
      }
    }
    return true;
  }
};

TEST(Resolve, EqualsThePlainProcedureOnRandomLists) {
  std::mt19937 random(4);
  int ended = 0;
  for (int round = 0; round < 4000; ++round) {
    std::vector<std::pair<char, char>> includes;
    std::set<std::pair<char, char>> relation;
    for (char a = 'A'; a <= 'E'; ++a)
      for (char b = 'A'; b <= 'E'; ++b)
        if (a != b && random() % 6 == 0) {
          // A variety that is told of its includers before they are is only told of them.
          if (relation.contains({b, a})) continue;
          relation.insert({a, b});
        }
    includes.assign(relation.begin(), relation.end());
    auto names = [&] {
      std::string made;
      for (size_t n = random() % 6; n > 0; --n)
        made += static_cast<char>('A' + random() % 5);
      return made;
    };
    Plain plain = {names(), names(), relation};
    std::string ins = plain.ins;
    std::string rem = plain.rem;
    if (!plain.Run()) continue;
    ++ended;
    std::string expected = plain.ins + "/" + plain.rem;
    if (!plain.ins.empty() && !plain.rem.empty()) expected += "!";
    ASSERT_EQ(expected, Value(includes).Result(ins, rem)) << ins << " and " << rem;
  }
  EXPECT_GT(ended, 2000);
}

// Relations between the varieties from A on, in circles or not, handed on or not.
std::set<std::pair<char, char>> RandomRelation(std::mt19937* random, char last) {
  std::set<std::pair<char, char>> relation;
  const unsigned rarity = 2 + (*random)() % 12;
  const bool circles = (*random)() % 3 == 0;
  for (char a = 'A'; a <= last; ++a)
    for (char b = 'A'; b <= last; ++b)
      if (a != b && (*random)() % rarity == 0 && (circles || !relation.contains({b, a})))
        relation.insert({a, b});
  if ((*random)() % 2 == 0) return relation;
  for (char via = 'A'; via <= last; ++via)
    for (char a = 'A'; a <= last; ++a)
      for (char b = 'A'; b <= last; ++b)
        if (a != b && relation.contains({a, via}) && relation.contains({via, b}))
          relation.insert({a, b});
  return relation;
}

// Lets random operations of the varieties up to last arrive.
void Arrive(std::mt19937* random, char last, std::size_t count, Value* value, Plain* plain) {
  std::string removes;
  for (; count > 0; --count) {
    const char name = static_cast<char>('A' + (*random)() % static_cast<size_t>(last - 'A' + 1));
    if ((*random)() % 2 == 0) {
      value->Insert(name);
      plain->ins += name;
      plain->rem += removes;
    } else {
      const size_t elements = (*random)() % 4 == 0 ? (*random)() % 4 : 0;
      value->Remove(name, static_cast<int>(elements));
      removes += name;
      plain->rem += std::string(plain->ins.size() + elements, name);
    }
  }
}

TEST(Resolve, EqualsThePlainProcedureOnWhatArrivesInAnyOrder) {
  std::mt19937 random(5);
  int ended = 0;
  int emptied = 0;
  int clashed = 0;
  for (int round = 0; round < 6000; ++round) {
    SCOPED_TRACE(round);
    const char last = static_cast<char>('A' + random() % 8);
    const std::set<std::pair<char, char>> relation = RandomRelation(&random, last);
    Value value({relation.begin(), relation.end()});
    Plain plain = {"", "", relation};
    Arrive(&random, last, random() % (round % 10 == 0 ? 40 : 12), &value, &plain);
    const std::string before = plain.ins + "/" + plain.rem;
    ASSERT_EQ(before, value.Lists());
    if (!plain.Run()) continue;
    ++ended;
    std::string expected = plain.ins + "/" + plain.rem;
    if (plain.ins.empty() != plain.rem.empty()) ++emptied;
    if (!plain.ins.empty() && !plain.rem.empty()) {
      ++clashed;
      expected += "!";
    }
    ASSERT_EQ(expected, value.Result()) << before;
  }
  EXPECT_GT(ended, 3000);
  EXPECT_GT(emptied, 1000);
  EXPECT_GT(clashed, 1000);
}

// What an observer is told of one value, letter by letter.
struct Told {
  std::string endless;    // insert, remove
  std::string overruled;  // of each the loser, then the winner
  std::string removed;
  std::string twice;
  std::string clash;

  WH_OBSERVER Observer() {
    WH_OBSERVER observer = {};
    observer.context = this;
    observer.endless = [](void* context, const WH_ELEMENT*, const WH_OPERATION* insert,
                          const WH_OPERATION* remove) {
      Add(&static_cast<Told*>(context)->endless, {insert, remove});
    };
    observer.overruled = [](void* context, const WH_ELEMENT*, const WH_OPERATION* loser,
                            const WH_OPERATION* winner) {
      Add(&static_cast<Told*>(context)->overruled, {loser, winner});
    };
    observer.removed = [](void* context, const WH_ELEMENT*, const WH_OPERATION* remove) {
      Add(&static_cast<Told*>(context)->removed, {remove});
    };
    observer.inserted_twice = [](void* context, const WH_ELEMENT*, const WH_OPERATION* first,
                                 const WH_OPERATION* second) {
      Add(&static_cast<Told*>(context)->twice, {first, second});
    };
    observer.clash = [](void* context, const WH_ELEMENT*, const WH_OPERATION* insert,
                        const WH_OPERATION* remove) {
      Add(&static_cast<Told*>(context)->clash, {insert, remove});
    };
    return observer;
  }
  static void Add(std::string* letters, std::initializer_list<const WH_OPERATION*> operations) {
    for (const WH_OPERATION* operation : operations)
      *letters += static_cast<char>(operation->number);
  }
};

TEST(Resolve, AnObserverIsToldOfAContradictionExactlyWhereThePlainProcedureStays) {
  std::mt19937 random(6);
  int endless = 0;
  for (int round = 0; round < 6000; ++round) {
    const char last = static_cast<char>('A' + random() % 8);
    const std::set<std::pair<char, char>> relation = RandomRelation(&random, last);
    Value value({relation.begin(), relation.end()});
    Plain plain = {"", "", relation};
    Arrive(&random, last, random() % 12, &value, &plain);
    const std::string before = plain.ins + "/" + plain.rem;
    SCOPED_TRACE(before);
    Told told;
    const WH_OBSERVER observer = told.Observer();
    OBSERVATION observation;
    observation.observer = &observer;
    value.Watch(&observation);
    const bool ends = plain.Run();
    value.Resolve(nullptr);
    ASSERT_EQ(ends, !observation.endless);
    ASSERT_EQ(ends, told.endless.empty());
    if (ends) {
      ASSERT_EQ(plain.ins + "/" + plain.rem, value.Lists());
      ASSERT_EQ(!plain.ins.empty() && !plain.rem.empty(), !told.clash.empty());
      continue;
    }
    ++endless;
    ASSERT_EQ(2u, told.endless.size());
    ASSERT_TRUE(relation.contains({told.endless[0], told.endless[1]}));
  }
  EXPECT_GT(endless, 300);
}

TEST(Resolve, AnObserverIsToldWhichOperationGaveWayToWhich) {
  const std::vector<std::pair<char, char>> chain = {{'A', 'B'}, {'A', 'C'}, {'B', 'C'}};
  const struct {
    const char* ins;
    const char* rem;
    const char* overruled;
    const char* removed;
    const char* twice;
    const char* clash;
  } rows[] = {
      {"CBA", "", "CABA", "", "", ""},  // the one that stands itself, not the nearest
      {"AXC", "", "CA", "", "AX", ""},
      {"XYZ", "", "", "", "XYXZ", ""},
      {"", "CBA", "CABA", "A", "", ""},
      {"", "XY", "", "XY", "", ""},
      {"A", "A", "AA", "", "", ""},  // the remove of the same variety
      {"C", "A", "CA", "A", "", ""},
      {"XC", "AA", "XACA", "AA", "", ""},  // the second remove takes out the insert in front
      {"X", "Y", "", "", "", "XY"},
      {"XC", "BY", "CB", "", "", "XB"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.ins) + "/" + row.rem);
    Value value(chain);
    value.Add(row.ins, row.rem);
    Told told;
    const WH_OBSERVER observer = told.Observer();
    OBSERVATION observation;
    observation.observer = &observer;
    value.Watch(&observation);
    value.Resolve(nullptr);
    EXPECT_EQ(row.overruled, told.overruled);
    EXPECT_EQ(row.removed, told.removed);
    EXPECT_EQ(row.twice, told.twice);
    EXPECT_EQ(row.clash, told.clash);
    EXPECT_EQ("", told.endless);
  }
}

TEST(Resolve, ARemoveThatIsEnteredOftenIsToldOfOnce) {
  Value value(kAC);
  value.Insert('C');
  value.Remove('A', 2);
  EXPECT_EQ("C/AAA", value.Lists());
  Told told;
  const WH_OBSERVER observer = told.Observer();
  OBSERVATION observation;
  observation.observer = &observer;
  value.Watch(&observation);
  value.Resolve(nullptr);
  EXPECT_EQ("CA", told.overruled);
  EXPECT_EQ("A", told.removed);
}

TEST(Resolve, ARemoveIsKeptOnceForAllInsertsThatItIsListedFor) {
  Value value(kNone);
  for (int i = 0; i < 100; ++i) {
    value.Remove('A', 0);
    value.Insert('A');
  }
  EXPECT_EQ(std::string(100, 'A') + "/" + std::string(10000, 'A'), value.Lists());
  EXPECT_EQ(100, value.runs());
  EXPECT_EQ(std::string(100, 'A') + "/", value.Result());
}

TEST(Resolve, ManyOperationsOfFewVarietiesTakeLittleTime) {
  Value value(kAC);
  EXPECT_EQ("/" + std::string(50000, 'A') + std::string(50000, 'B'),
            value.Result(std::string(30000, 'X') + "C",
                         std::string(50000, 'A') + std::string(50000, 'B')));
}

// ---- What an earlier call has left in the tables of the varieties ----

TEST(Ancestors, ATableOfTheNearestIsGoneThroughBehindOneThatIsKnown) {
  // The product's table names the nearest alone: the next one, whose table holds all others, and
  // one of these. Whichever that is, it ends no walk through the table of the next one.
  constexpr size_t kOthers = 8;
  for (size_t known = 0; known < kOthers; ++known) {
    SCOPED_TRACE(known);
    std::vector<WH_VARIETY> varieties(kOthers + 2);
    WH_VARIETY* product = &varieties[kOthers];
    WH_VARIETY* next = &varieties[kOthers + 1];
    for (WH_VARIETY* variety : {product, next}) {
      variety->ancestors = FwHashCreateTable(4, nullptr, nullptr);
      FwHashAddEntry(variety->ancestors, variety, nullptr, nullptr);
    }
    FwHashAddEntry(product->ancestors, next, next, nullptr);
    FwHashAddEntry(product->ancestors, &varieties[known], &varieties[known], nullptr);
    for (size_t i = 0; i < kOthers; ++i)
      FwHashAddEntry(next->ancestors, &varieties[i], &varieties[i], nullptr);

    ANCESTRY* ancestry = make_ancestry();
    const MEMBER* member = know_member(ancestry, product);
    EXPECT_TRUE(test_bit(&member->set, know_member(ancestry, next)->id));
    for (size_t i = 0; i < kOthers; ++i)
      EXPECT_TRUE(test_bit(&member->set, know_member(ancestry, &varieties[i])->id))
          << i << ", known " << known;
    EXPECT_FALSE(test_bit(&member->set, member->id));
    free_ancestry(&ancestry);
    for (WH_VARIETY& variety : varieties)
      FwHashFreeTable(&variety.ancestors);
  }
}

}  // namespace
