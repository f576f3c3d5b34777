// The assertion recorder: supplies the hooks of the standard floor to a test program.
//
//   ExpectAsserts expected({"Invalid position in vector"});
//   FwVectorPopElement(&vector);
//
// An assertion or trace that no such guard expects fails the running test. Guards switch the
// suppression of repeats off, so each report of a site counts.
#ifndef TESTKIT_RECORDER_H
#define TESTKIT_RECORDER_H

#include <string>
#include <vector>

#include "caller.h"

// Expects exactly these assertion texts, in this order and each as often as it is listed, until the
// end of the scope.
class ExpectAsserts {
 public:
  explicit ExpectAsserts(std::vector<std::string> texts, Caller caller = Caller::Here());
  ~ExpectAsserts();
  ExpectAsserts(const ExpectAsserts&) = delete;
  ExpectAsserts& operator=(const ExpectAsserts&) = delete;

 private:
  std::vector<std::string> expected_;
  std::vector<std::string> outer_;
  bool outer_active_;
  int history_;
  Caller caller_;
};

// Expects exactly these formatted trace texts, in this order and each as often as it is listed,
// until the end of the scope.
class ExpectTraces {
 public:
  explicit ExpectTraces(std::vector<std::string> texts, Caller caller = Caller::Here());
  ~ExpectTraces();
  ExpectTraces(const ExpectTraces&) = delete;
  ExpectTraces& operator=(const ExpectTraces&) = delete;

 private:
  std::vector<std::string> expected_;
  std::vector<std::string> outer_;
  bool outer_active_;
  Caller caller_;
};

// Collects assertion and trace texts without judging them, until the end of the scope.
class CollectReports {
 public:
  CollectReports();
  ~CollectReports();
  CollectReports(const CollectReports&) = delete;
  CollectReports& operator=(const CollectReports&) = delete;
  const std::vector<std::string>& asserts() const;
  const std::vector<std::string>& traces() const;

 private:
  std::vector<std::string> outer_asserts_;
  std::vector<std::string> outer_traces_;
  bool outer_assert_active_;
  bool outer_trace_active_;
  int history_;
};

#endif
