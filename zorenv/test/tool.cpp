#include "tool.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

std::string TestDirectory() {
  const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
  std::string name = std::string(test->test_suite_name()) + "." + test->name();
  std::replace(name.begin(), name.end(), '/', '_');
  return "/zor-tests/" + name;
}

std::string Element(std::string_view name, std::string_view content) {
  const std::string n(name);
  return "<" + n + ">" + std::string(content) + "</" + n + ">";
}

std::string Attributes(std::string_view attributes) {
  return attributes.empty() ? "" : " " + std::string(attributes);
}

}  // namespace

Warehouse::Warehouse(std::string_view directory)
    : TemporaryTree(std::string(directory) + TestDirectory()) {
  Directory("root");
}

void Warehouse::File(std::string_view directory, std::string_view name, std::string_view content) {
  Write("root/" + std::string(directory) + "/" + std::string(name), content);
}

void Warehouse::Product(std::string_view directory, std::string_view operations) {
  ProductWithParts(directory, operations, "");
}

void Warehouse::ProductWithParts(std::string_view directory, std::string_view operations,
                                 std::string_view parts) {
  File(directory, "product.xml", ProductXml(Variety()));
  File(directory, "partlist.xml", PartListXml(parts));
  if (!operations.empty()) File(directory, "env.xml", EnvXml(operations));
}

void Warehouse::Undo(std::string_view directory, std::string_view operations) {
  File(directory, "unenv.xml", EnvXml(operations));
}

std::string ProductXml(std::string_view varieties) {
  return "<PRODUCT-INFO>" + Element("VARIETIES", varieties) + "</PRODUCT-INFO>\n";
}

std::string EnvXml(std::string_view operations) {
  return "<ENV-SETTINGS><ENV-GROUP><PATTERN/>" + std::string(operations) +
         "</ENV-GROUP></ENV-SETTINGS>\n";
}

std::string PartListXml(std::string_view parts) {
  if (parts.empty()) return "<PARTLIST/>\n";
  return "<PARTLIST><PARTSPEC><PATTERN/>" + Element("PARTS", parts) + "</PARTSPEC></PARTLIST>\n";
}

std::string RecipeXml(std::string_view commands) {
  return "<RECIPE><STEP><PATTERN/>" + std::string(commands) + "</STEP></RECIPE>\n";
}

std::string Variety(std::string_view variables) {
  return Element("VARIETY", std::string(variables) + "<SEGMENT here=\"1\"/>");
}

std::string Insert(std::string_view name, std::string_view value, std::string_view constraints,
                   std::string_view attributes) {
  return "<ENV-INSERT" + Attributes(attributes) + ">" + Element("NAME", name) +
         Element("VALUE", value) + std::string(constraints) + "</ENV-INSERT>";
}

std::string Remove(std::string_view name, std::string_view pattern, std::string_view attributes) {
  return "<ENV-REMOVE" + Attributes(attributes) + ">" + Element("NAME", name) +
         Element("VALUE", pattern) + "</ENV-REMOVE>";
}

std::string Delete(std::string_view name) {
  return Element("ENV-DELETE", name);
}
std::string Before(std::string_view pattern) {
  return Element("BEFORE", pattern);
}
std::string After(std::string_view pattern) {
  return Element("AFTER", pattern);
}

std::string Part(std::string_view name, std::string_view version, std::string_view rev) {
  return "<PRODUCT category=\"C\" name=\"" + std::string(name) + "\" version=\"" +
         std::string(version) + "\" rev=\"" + std::string(rev) + "\"><PATTERN/></PRODUCT>";
}

std::vector<std::string> PlainEnvironment(std::vector<std::string> more) {
  std::vector<std::string> environment = {"PATH=/usr/bin:/bin", "LC_ALL=C.UTF-8"};
  environment.insert(environment.end(), more.begin(), more.end());
  return environment;
}

RunResult Zorenv(const std::vector<std::string>& arguments, RunOptions options) {
  std::vector<std::string> argv = {ZORENV_PROGRAM};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  if (!options.environment) options.environment = PlainEnvironment();
  if (!options.argv0) options.argv0 = "zorenv";
  return RunProgram(argv, options);
}

RunResult Zorenv(const Warehouse& warehouse, const std::vector<std::string>& arguments,
                 std::vector<std::string> more) {
  std::vector<std::string> all = {"-r", warehouse.Root()};
  all.insert(all.end(), arguments.begin(), arguments.end());
  RunOptions options;
  options.environment = PlainEnvironment(std::move(more));
  options.directory = warehouse.path();
  return Zorenv(all, options);
}

void Expect(const RunResult& result, std::string_view out, std::string_view err, int status,
            Caller caller) {
  const CalledFrom from(caller);
  EXPECT_EQ(out, result.out);
  EXPECT_EQ(err, result.err);
  EXPECT_EQ(status, result.status);
  EXPECT_EQ(0, result.signal);
  EXPECT_FALSE(result.timed_out);
}
