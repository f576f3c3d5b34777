// What the tests of the front end share.
#ifndef ZOR_TEST_ZOR_H
#define ZOR_TEST_ZOR_H

#include <string>
#include <vector>

#include "process.h"
#include "tool.h"

// Runs the front end in the plain environment and more.
RunResult Zor(const std::vector<std::string>& arguments, std::vector<std::string> more = {});
// On the warehouse of the examples.
RunResult ZorOnExamples(const std::vector<std::string>& arguments);

// Expects a JSON document that the schema share/schemas/json/NAME.schema.json describes, down to
// its last member.
void ExpectValid(const std::string& document, const std::string& name);

// file:line:column of a text's first occurrence in a file of one-byte characters.
std::string Place(const std::string& file, const std::string& text);

// The root of that warehouse.
std::string Examples();

#endif
