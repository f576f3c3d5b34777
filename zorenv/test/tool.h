// What the whole-process tests share: warehouses of a few lines, and runs of the built tool on
// them.
#ifndef TOOL_H
#define TOOL_H

#include <string>
#include <string_view>
#include <vector>

#include "caller.h"
#include "model/usage.h"  // IWYU pragma: export: tests of usage include this one
#include "process.h"

// A warehouse on disk, at a path of its own: the order of records follows hash slots, and so the
// paths.
class Warehouse : public TemporaryTree {
 public:
  // Below DIRECTORY/zor-tests, named after the running test and so locked by it.
  explicit Warehouse(std::string_view directory = "/tmp");

  // The directory of a product, "C/Contents/1.0/1" for what -p C finds, relative to the root.
  std::string Root() const { return *this / "root"; }

  // A product that fits any host, with no parts, and with these operations as its "env.xml", if
  // any.
  void Product(std::string_view directory, std::string_view operations = "");
  // The same with parts: the elements of a PARTS.
  void ProductWithParts(std::string_view directory, std::string_view operations,
                        std::string_view parts);
  // The operations of its "unenv.xml".
  void Undo(std::string_view directory, std::string_view operations);
  // One of its files, verbatim.
  void File(std::string_view directory, std::string_view name, std::string_view content);
};

// The text of a data file.
std::string ProductXml(std::string_view varieties);
std::string EnvXml(std::string_view operations);
std::string PartListXml(std::string_view parts);
std::string RecipeXml(std::string_view commands);

// A variety that is here, with these VAR elements.
std::string Variety(std::string_view variables = "");

// Operations.
std::string Insert(std::string_view name, std::string_view value, std::string_view constraints = "",
                   std::string_view attributes = "");
std::string Remove(std::string_view name, std::string_view pattern,
                   std::string_view attributes = "");
std::string Delete(std::string_view name);
std::string Before(std::string_view pattern);
std::string After(std::string_view pattern);
// A PRODUCT element of a part list, of the category C.
std::string Part(std::string_view name, std::string_view version = "1.0",
                 std::string_view rev = "1");

// "-p C Name" of version 1.0, rev 1.
inline std::string InC(std::string_view name) {
  return "C/" + std::string(name) + "/1.0/1";
}

// The environment that runs start from: a plain PATH in a UTF-8 locale.
std::vector<std::string> PlainEnvironment(std::vector<std::string> more = {});

// Runs the tool.
RunResult Zorenv(const std::vector<std::string>& arguments, RunOptions options);
// On this warehouse, in the plain environment and more.
RunResult Zorenv(const Warehouse& warehouse, const std::vector<std::string>& arguments,
                 std::vector<std::string> more = {});

// Expects the three answers of a run, whole.
void Expect(const RunResult& result, std::string_view out, std::string_view err, int status,
            Caller caller = Caller::Here());

#endif
