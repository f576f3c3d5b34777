#include "recorder.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "vqassert.h"

namespace {

std::vector<std::string> asserts_seen;
std::vector<std::string> traces_seen;
bool asserts_expected = false;
bool traces_expected = false;

}  // namespace

void VqCustomAssert(char* pszFilename, int nLine, char* pszMessage, int) {
  if (asserts_expected)
    asserts_seen.emplace_back(pszMessage);
  else
    ADD_FAILURE_AT(pszFilename, nLine) << "unexpected assertion: " << pszMessage;
}

void VqCustomTrace(char* pszFilename, int nLine, char* pszFormat, va_list vlist) {
  char text[2048];
  std::vsnprintf(text, sizeof text, pszFormat, vlist);
  if (traces_expected)
    traces_seen.emplace_back(text);
  else
    ADD_FAILURE_AT(pszFilename, nLine) << "unexpected trace: " << text;
}

ExpectAsserts::ExpectAsserts(std::vector<std::string> texts, Caller caller)
    : expected_(std::move(texts)),
      outer_active_(asserts_expected),
      history_(vq_assert_history),
      caller_(caller) {
  outer_.swap(asserts_seen);
  asserts_expected = true;
  vq_assert_history = 0;
}

ExpectAsserts::~ExpectAsserts() {
  const CalledFrom from(caller_);
  EXPECT_EQ(expected_, asserts_seen);
  asserts_seen.swap(outer_);
  asserts_expected = outer_active_;
  vq_assert_history = history_;
}

ExpectTraces::ExpectTraces(std::vector<std::string> texts, Caller caller)
    : expected_(std::move(texts)), outer_active_(traces_expected), caller_(caller) {
  outer_.swap(traces_seen);
  traces_expected = true;
}

ExpectTraces::~ExpectTraces() {
  const CalledFrom from(caller_);
  EXPECT_EQ(expected_, traces_seen);
  traces_seen.swap(outer_);
  traces_expected = outer_active_;
}

CollectReports::CollectReports()
    : outer_assert_active_(asserts_expected),
      outer_trace_active_(traces_expected),
      history_(vq_assert_history) {
  outer_asserts_.swap(asserts_seen);
  outer_traces_.swap(traces_seen);
  asserts_expected = traces_expected = true;
  vq_assert_history = 0;
}

CollectReports::~CollectReports() {
  asserts_seen.swap(outer_asserts_);
  traces_seen.swap(outer_traces_);
  asserts_expected = outer_assert_active_;
  traces_expected = outer_trace_active_;
  vq_assert_history = history_;
}

const std::vector<std::string>& CollectReports::asserts() const {
  return asserts_seen;
}
const std::vector<std::string>& CollectReports::traces() const {
  return traces_seen;
}
