#include "fwobserv.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "failing_allocation.h"
#include "fcobserv.h"
#include "recorder.h"

namespace {

// What the callbacks saw, as text, and what they are to do.
std::vector<std::string> events;
std::function<void(const std::string&)> on_event;

void Note(const std::string& event) {
  events.push_back(event);
  if (on_event) on_event(event);
}

// Observers, subjects and contexts are their names.
std::string Name(void* pv) {
  return pv == nullptr ? "-" : static_cast<char*>(pv);
}

void Changed(void* pObserver, void* pSubject, FwObj* /*pChange*/, void* pContext) {
  Note(Name(pObserver) + " sees " + Name(pSubject) + " " + Name(pContext));
}

void Changed2(void* pObserver, void* pSubject, FwObj* /*pChange*/, void* /*pContext*/) {
  Note(Name(pObserver) + " sees " + Name(pSubject) + " too");
}

void Ended(void* pObserver, void* pSubject, const FwClassRecord* pChangeClass, void* pContext) {
  Note(Name(pObserver) + " ends " + Name(pSubject) + " " + pChangeClass->pszClassName + " " +
       Name(pContext));
}

char o1[] = "o1";
char o2[] = "o2";
char o3[] = "o3";
char s1[] = "s1";
char s2[] = "s2";
char c1[] = "c1";
char c2[] = "c2";

void Start(void* pObserver, void* pSubject, const FwClassRecord* pChangeClass = &FwChangeClass,
           void* pContext = nullptr, FwObserveEndCallback* pRelease = Ended) {
  FwObserveStart(pObserver, pSubject, pChangeClass, Changed, pContext, pRelease);
}

using Events = std::vector<std::string>;

class FwObserv : public testing::Test {
 protected:
  void SetUp() override {
    events.clear();
    on_event = nullptr;
  }
  void TearDown() override {
    on_event = nullptr;
    for (void* p : {o1, o2, o3})
      FwObserveEnd(p, nullptr, nullptr);
    EXPECT_EQ(nullptr, fiObservationScans);
    EXPECT_EQ(0, fiObserveCritical);
  }

  static Events Notified(void* pSubject) {
    events.clear();
    FwNotifyChange(pSubject);
    return events;
  }
};

}  // namespace

TEST_F(FwObserv, AServiceNeverUsedLooksNothingUp) {
  // In a process of its own, so that no other test has used the service.
  EXPECT_EXIT(
      {
        fiObserveInitialised = 0;
        for (FwHashTable*& pTable : fiObservationsByField)
          pTable = nullptr;  // a look-up would trace
        FwNotifyChange(s1);
        FwObserveEnd(o1, nullptr, nullptr);
        FwObserveEndDestroyed(o1);
        FwObserveEnd(nullptr, nullptr, nullptr);
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(FwObserv, RegisteringTwiceLeavesOneObservation) {
  Start(o1, s1);
  Start(o1, s1, &FwChangeClass, nullptr, nullptr);  // the release function doesn't count
  EXPECT_EQ((Events{"o1 sees s1 -"}), Notified(s1));
  events.clear();
  FwObserveEnd(o1, nullptr, nullptr);
  EXPECT_EQ((Events{"o1 ends s1 ChangeClass -"}), events);
}

TEST_F(FwObserv, AnotherContextIsAnotherObservation) {
  Start(o1, s1, &FwChangeClass, c1);
  Start(o1, s1, &FwChangeClass, c2);
  EXPECT_EQ((Events{"o1 sees s1 c2", "o1 sees s1 c1"}), Notified(s1));
}

TEST_F(FwObserv, AnotherCallbackOrClassIsAnotherObservation) {
  Start(o1, s1);
  FwObserveStart(o1, s1, &FwChangeClass, Changed2, nullptr, nullptr);
  Start(o1, s1, &FwChangeAddClass);
  EXPECT_EQ((Events{"o1 sees s1 too", "o1 sees s1 -"}), Notified(s1));
}

TEST_F(FwObserv, ObserversAreVisitedNewestFirst) {
  Start(o1, s1);
  Start(o2, s1);
  Start(o3, s1);
  Start(o3, s2);
  EXPECT_EQ((Events{"o3 sees s1 -", "o2 sees s1 -", "o1 sees s1 -"}), Notified(s1));
  EXPECT_EQ((Events{"o3 sees s2 -"}), Notified(s2));
  EXPECT_EQ(Events{}, Notified(o1));
}

TEST_F(FwObserv, AClassReceivesTheChangesThatInheritFromIt) {
  struct Row {
    const FwClassRecord* pObserved;
    std::string seen;  // letters of the notifications that arrive
  };
  FwValue value;
  value.type = 1;
  FwValueChange valueChange;
  valueChange.pNewValue = &value;
  const std::vector<std::pair<char, std::function<void()>>> notifications = {
      {'c', [] { FwNotifyChange(s1); }},
      {'m', [] { FwNotifyChangeMembers(s1, c1); }},
      {'s', [] { FwNotifyChangeMemberShip(s1, c1); }},
      {'a', [] { FwNotifyChangeAdd(s1, c1); }},
      {'C', [] { FwNotifyChangeCreate(s1, c1); }},
      {'r', [] { FwNotifyChangeRemove(s1, c1); }},
      {'d', [] { FwNotifyChangeDestroy(s1, c1); }},
      {'n', [] { FwNotifyChangeRename(s1, FWT(c1), FWT(c2)); }},
      {'v', [&] { FwNotifyChangeMemberValue(s1, c1, &valueChange); }},
  };
  const Row rows[] = {
      {&FwChangeClass, "cmsaCrdnv"},        {&FwChangeMembersClass, "msaCrdnv"},
      {&FwChangeMemberShipClass, "saCrdn"}, {&FwChangeAddClass, "aC"},
      {&FwChangeCreateClass, "C"},          {&FwChangeRenameClass, "n"},
      {&FwChangeRemoveClass, "rd"},         {&FwChangeDestroyClass, "d"},
      {&FwChangeMemberValueClass, "v"},
  };
  for (const Row& row : rows) {
    Start(o1, s1, row.pObserved);
    std::string seen;
    for (const auto& [letter, notify] : notifications) {
      events.clear();
      notify();
      if (!events.empty()) seen += letter;
    }
    EXPECT_EQ(row.seen, seen) << row.pObserved->pszClassName;
    FwObserveEnd(o1, nullptr, nullptr);
  }
}

namespace {

FwChangeRename last_rename;
FwChangeMemberValue last_value;
const FwClassRecord* last_class;

void KeepChange(void* /*pObserver*/, void* /*pSubject*/, FwObj* pChange, void* /*pContext*/) {
  last_class = FwClassOf(pChange);
  if (last_class == &FwChangeRenameClass)
    last_rename = *static_cast<FwChangeRename*>(pChange);
  else if (last_class == &FwChangeMemberValueClass)
    last_value = *static_cast<FwChangeMemberValue*>(pChange);
}

}  // namespace

TEST_F(FwObserv, ARenameCarriesBothNamesAndTheOldOneAsElement) {
  FwObserveStart(o1, s1, &FwChangeClass, KeepChange, nullptr, nullptr);
  FwNotifyChangeRename(s1, FWT(c1), FWT(c2));
  EXPECT_EQ(&FwChangeRenameClass, last_class);
  EXPECT_EQ(c1, last_rename.pElement);
  EXPECT_EQ(FWT(c1), last_rename.pOldName);
  EXPECT_EQ(FWT(c2), last_rename.pNewName);
}

TEST_F(FwObserv, AChangeOfValueCarriesElementAndValues) {
  FwValue value;
  value.type = 3;
  FwValueChange valueChange;
  valueChange.pOldValue = &value;
  valueChange.pNewValue = &value;
  FwObserveStart(o1, s1, &FwChangeClass, KeepChange, nullptr, nullptr);
  FwNotifyChangeMemberValue(s1, c1, &valueChange);
  EXPECT_EQ(&FwChangeMemberValueClass, last_class);
  EXPECT_EQ(c1, last_value.pElement);
  EXPECT_EQ(&valueChange, last_value.pValueChange);
}

TEST_F(FwObserv, ARenameWithoutANameIsReported) {
  ExpectAsserts expected(
      {"old name is NULL in FwNotifyChangeRename", "new name is NULL in FwNotifyChangeRename"});
  FwNotifyChangeRename(s1, nullptr, nullptr);
}

TEST_F(FwObserv, AChangeOfValueThatIsNotSetIsReported) {
  FwValue set;
  set.type = 1;
  FwValue unset;
  struct Row {
    FwValue* pOld;
    FwValue* pNew;
    bool reported;
  };
  const Row rows[] = {{nullptr, &set, false},  {&set, &set, false},      {&unset, &set, true},
                      {nullptr, &unset, true}, {nullptr, nullptr, true}, {&set, nullptr, true}};
  for (const Row& row : rows) {
    FwValueChange change;
    change.pOldValue = row.pOld;
    change.pNewValue = row.pNew;
    ExpectAsserts expected(row.reported ? Events{"Error: Uninitialised ChangeValue fields"}
                                        : Events{});
    FwNotifyChangeMemberValue(s1, c1, &change);
  }
  ExpectAsserts expected({"Error: Uninitialised ChangeValue fields"});
  FwNotifyChangeMemberValue(s1, c1, nullptr);
}

TEST_F(FwObserv, EndingTheCurrentObservationGoesOnWithTheNext) {
  Start(o1, s1);
  Start(o2, s1);
  Start(o3, s1);
  on_event = [](const std::string& event) {
    if (event == "o2 sees s1 -") FwObserveEnd(o2, s1, nullptr);
  };
  EXPECT_EQ((Events{"o3 sees s1 -", "o2 sees s1 -", "o2 ends s1 ChangeClass -", "o1 sees s1 -"}),
            Notified(s1));
  EXPECT_EQ((Events{"o3 sees s1 -", "o1 sees s1 -"}), Notified(s1));
}

TEST_F(FwObserv, EndingTheLastObservationFromItselfEndsTheScan) {
  Start(o1, s1);
  Start(o2, s1);
  on_event = [](const std::string& event) {
    if (event == "o1 sees s1 -") FwObserveEnd(o1, nullptr, nullptr);
  };
  EXPECT_EQ((Events{"o2 sees s1 -", "o1 sees s1 -", "o1 ends s1 ChangeClass -"}), Notified(s1));
}

TEST_F(FwObserv, EndingTheNextObservationSkipsIt) {
  Start(o1, s1);
  Start(o2, s1);
  Start(o3, s1);
  on_event = [](const std::string& event) {
    if (event == "o3 sees s1 -") FwObserveEnd(o2, s1, nullptr);
  };
  EXPECT_EQ((Events{"o3 sees s1 -", "o2 ends s1 ChangeClass -", "o1 sees s1 -"}), Notified(s1));
}

TEST_F(FwObserv, EndingCurrentAndNextAtOnceGoesOnBehindThem) {
  Start(o1, s1);
  Start(o2, s1);
  Start(o3, s1);
  on_event = [](const std::string& event) {
    if (event == "o3 sees s1 -") {
      FwObserveEnd(o3, s1, nullptr);
      FwObserveEnd(o2, s1, nullptr);
    }
  };
  EXPECT_EQ((Events{"o3 sees s1 -", "o3 ends s1 ChangeClass -", "o2 ends s1 ChangeClass -",
                    "o1 sees s1 -"}),
            Notified(s1));
}

TEST_F(FwObserv, ANestedScanOfTheSameListSurvivesToo) {
  Start(o1, s1);
  Start(o2, s1);
  Start(o3, s1);
  int depth = 0;
  on_event = [&depth](const std::string& event) {
    if (event == "o2 sees s1 -" && depth == 0) {
      depth++;
      FwNotifyChange(s1);  // visits all three while the outer scan stands on o2
      depth--;
    } else if (event == "o2 sees s1 -" && depth == 1) {
      FwObserveEnd(o2, s1, nullptr);  // both scans stand on it
    }
  };
  EXPECT_EQ((Events{"o3 sees s1 -", "o2 sees s1 -",  // outer
                    "o3 sees s1 -", "o2 sees s1 -", "o2 ends s1 ChangeClass -",
                    "o1 sees s1 -",  // inner
                    "o1 sees s1 -"}),
            Notified(s1));  // outer again
}

TEST_F(FwObserv, AnObservationStartedByACallbackWaitsForTheNextChange) {
  Start(o1, s1);
  on_event = [](const std::string&) { Start(o2, s1); };
  EXPECT_EQ((Events{"o1 sees s1 -"}), Notified(s1));
  EXPECT_EQ((Events{"o2 sees s1 -", "o1 sees s1 -"}), Notified(s1));
}

TEST_F(FwObserv, EndingByObserverReachesAllItsSubjectsLastMatchedReleasedFirst) {
  Start(o1, s1, &FwChangeClass, c1);
  Start(o1, s2, &FwChangeAddClass, c2);
  Start(o2, s1);
  FwObserveEnd(o1, nullptr, nullptr);
  // Matched newest first, released in the opposite order.
  EXPECT_EQ((Events{"o1 ends s1 ChangeClass c1", "o1 ends s2 ChangeAddClass c2"}), events);
  EXPECT_EQ((Events{"o2 sees s1 -"}), Notified(s1));
  EXPECT_EQ(Events{}, Notified(s2));
}

TEST_F(FwObserv, EachNonNullArgumentNarrowsWhatEnds) {
  const auto start_all = [] {
    for (void* pObserver : {o1, o2}) {
      for (void* pSubject : {s1, s2}) {
        Start(pObserver, pSubject, &FwChangeAddClass);
        Start(pObserver, pSubject, &FwChangeClass);
      }
    }
    events.clear();
  };
  struct Row {
    void* pObserver;
    void* pSubject;
    const FwClassRecord* pClass;
    std::size_t ended;
  };
  const Row rows[] = {
      {o1, nullptr, nullptr, 4},
      {nullptr, s1, nullptr, 4},
      {nullptr, nullptr, &FwChangeClass, 4},
      {o1, s1, nullptr, 2},
      {o1, nullptr, &FwChangeAddClass, 2},
      {nullptr, s2, &FwChangeClass, 2},
      {o1, s2, &FwChangeClass, 1},
      {o1, s1, &FwChangeRemoveClass, 0},
      {o3, nullptr, nullptr, 0},
      {nullptr, o1, nullptr, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    start_all();
    FwObserveEnd(row.pObserver, row.pSubject, row.pClass);
    EXPECT_EQ(row.ended, events.size());
    for (const std::string& event : events) {
      SCOPED_TRACE(event);
      EXPECT_NE(std::string::npos, event.find(" ends "));
      if (row.pObserver != nullptr) {
        EXPECT_EQ(0u, event.find(Name(row.pObserver))) << event;
      }
      if (row.pSubject != nullptr) {
        EXPECT_NE(std::string::npos, event.find(Name(row.pSubject))) << event;
      }
    }
    FwObserveEnd(o1, nullptr, nullptr);
    FwObserveEnd(o2, nullptr, nullptr);
    for (const FwHashTable* pTable : fiObservationsByField)
      EXPECT_EQ(0u, pTable->nUsedEntries);
  }
}

TEST_F(FwObserv, EndingForASubjectWithoutObservationsReturnsAtOnce) {
  Start(o1, s1, &FwChangeClass);
  events.clear();
  FwObserveEnd(nullptr, s2, nullptr);
  FwObserveEnd(o1, s2, &FwChangeClass);
  EXPECT_EQ(Events{}, events);
  EXPECT_EQ(1u, Notified(s1).size());
  FwObserveEnd(o1, nullptr, nullptr);
}

TEST_F(FwObserv, AnArgumentThatMatchesNothingReleasesNothing) {
  Start(o1, s1, &FwChangeClass);
  Start(o2, s2, &FwChangeAddClass);
  events.clear();
  // Each is known, but not together.
  FwObserveEnd(o1, s2, nullptr);
  FwObserveEnd(o1, s1, &FwChangeAddClass);
  FwObserveEnd(o2, nullptr, &FwChangeClass);
  EXPECT_EQ(Events{}, events);
  EXPECT_EQ(1u, Notified(s1).size());
  FwObserveEnd(o1, nullptr, nullptr);
  FwObserveEnd(o2, nullptr, nullptr);
}

TEST_F(FwObserv, AnObservationWithoutReleaseEndsSilently) {
  Start(o1, s1, &FwChangeClass, nullptr, nullptr);
  FwObserveEnd(o1, nullptr, nullptr);
  EXPECT_EQ(Events{}, events);
  EXPECT_EQ(Events{}, Notified(s1));
}

TEST_F(FwObserv, AReleaseFunctionMayUseTheService) {
  Start(o1, s1);
  Start(o2, s1);
  on_event = [](const std::string& event) {
    if (event.find("o1 ends") == 0) {
      Start(o3, s2);
      FwNotifyChange(s2);
      FwObserveEnd(o2, nullptr, nullptr);
    }
  };
  FwObserveEnd(o1, nullptr, nullptr);
  EXPECT_EQ((Events{"o1 ends s1 ChangeClass -", "o3 sees s2 -", "o2 ends s1 ChangeClass -"}),
            events);
}

TEST_F(FwObserv, DestructionEndsWhereTheObjectIsSubjectBeforeWhereItObserves) {
  Start(o1, s1);
  Start(o2, o1);
  FwObserveEndDestroyed(o1);
  EXPECT_EQ((Events{"o2 ends o1 ChangeClass -", "o1 ends s1 ChangeClass -"}), events);
}

TEST_F(FwObserv, ObservingOneselfIsReleasedOnce) {
  Start(o1, o1);
  FwObserveEndDestroyed(o1);
  EXPECT_EQ((Events{"o1 ends o1 ChangeClass -"}), events);
}

TEST_F(FwObserv, NullArgumentsAreReported) {
  {
    ExpectAsserts expected({"NULL", "NULL", "NULL", "NULL"});
    FwObserveStart(nullptr, s1, &FwChangeClass, Changed, nullptr, nullptr);
    FwObserveStart(o1, nullptr, &FwChangeClass, Changed, nullptr, nullptr);
    FwObserveStart(o1, s1, nullptr, Changed, nullptr, nullptr);
    FwObserveStart(o1, s1, &FwChangeClass, nullptr, nullptr, nullptr);
  }
  {
    FwChange change;
    Fw_msg_Create(&change, &FwChangeClass);
    ExpectAsserts expected({"NULL", "NULL"});
    FwNotify(nullptr, &change);
    FwNotify(s1, nullptr);
  }
  Start(o1, s1);
  ExpectAsserts expected({"FwObserveEnd all arguments NULL"});
  FwObserveEnd(nullptr, nullptr, nullptr);
}

TEST_F(FwObserv, AChangeClassThatIsNotAClassIsReported) {
  FwClassRecord broken = FwChangeClass;
  broken.classMagicCookie = 0;
  ExpectAsserts expected({"Not a class"});
  Start(o1, s1, &broken);
  EXPECT_EQ(Events{}, Notified(s1));
}

TEST_F(FwObserv, ReentryFromTheCriticalRegionIsReported) {
  Start(o1, s1);
  events.clear();
  FwChange change;
  Fw_msg_Create(&change, &FwChangeClass);
  fiObserveCritical = 1;
  {
    ExpectAsserts expected({"FwObserv reentry from critical region",
                            "FwObserv reentry from critical region",
                            "FwObserv reentry from critical region"});
    Start(o2, s1);
    FwNotify(s1, &change);
    FwObserveEnd(o1, nullptr, nullptr);
  }
  fiObserveCritical = 0;
  EXPECT_EQ(Events{}, events);
  EXPECT_EQ((Events{"o1 sees s1 -"}), Notified(s1));
}

TEST_F(FwObserv, AScanThatIsNotRunningIsReported) {
  FiObservationScan scan;
  FiObservationScanStart(&scan, kFiSubject, nullptr);
  FiObservationScanEnd(&scan);
  ExpectAsserts expected({"pScan not on list"});
  FiObservationScanEnd(&scan);
}

TEST_F(FwObserv, AListThatItsTableDoesNotKnowIsReported) {
  Start(o1, s1);
  Start(o2, s1);
  FwHashRemoveEntry(fiObservationsByField[kFiSubject], s1, nullptr);
  FwHashRemoveEntry(fiObservationsByField[kFiObserver], o1, nullptr);
  {
    // o2's is the head of the list of s1, which its table has lost.
    ExpectAsserts expected({"Observation database corrupt"});
    FwObserveEnd(o2, nullptr, nullptr);
  }
  // o1's is alone in the lists of o1 and s1, which are both lost.
  ExpectAsserts expected({"Observation database corrupt", "Observation database corrupt"});
  FwObserveEnd(nullptr, nullptr, &FwChangeClass);
}

TEST_F(FwObserv, ChangesOfMembersLiveOnTheStack) {
  ExpectAsserts expected({"Changes should allocated on stack"});
  EXPECT_EQ(nullptr, Fw_msg_CreateWith(nullptr, &FwChangeAddClass, c1));
}

TEST_F(FwObserv, AChangeOfMembersStoresItsElementAndItsClass) {
  FwChangeAdd change;
  EXPECT_EQ(&change, Fw_msg_CreateWith(&change, &FwChangeAddClass, c1));
  EXPECT_EQ(&FwChangeAddClass, change.pClassRecord);
  EXPECT_EQ(c1, change.pElement);
}

TEST_F(FwObserv, ExhaustedMemoryEndsTheProgram) {
  Start(o1, s1);
  EXPECT_EXIT(
      {
        FailAllocationsAfter failing(0);
        Start(o2, s2);
      },
      testing::ExitedWithCode(1), "Run out of memory");
  EXPECT_EXIT(
      {
        fiObserveInitialised = 0;
        FailAllocationsAfter failing(0);
        Start(o2, s2);
      },
      testing::ExitedWithCode(1), "Run out of memory");
}

TEST_F(FwObserv, ManyObservationsOfOneClassGrowTheTables) {
  static char names[40][16];
  for (int i = 0; i < 40; i++) {
    std::snprintf(names[i], sizeof names[i], "n%d", i);
    Start(o1, names[i]);
  }
  for (char* name : names)
    EXPECT_EQ((Events{std::string("o1 sees ") + name + " -"}), Notified(name)) << name;
  events.clear();
  FwObserveEnd(nullptr, nullptr, &FwChangeClass);
  EXPECT_EQ(40u, events.size());
}
