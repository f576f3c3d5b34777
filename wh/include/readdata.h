// What the readers of data files have in common, as their callers see it.
//
// Each reader takes a word of WH_XML_PF_ bits that says which conditions it reports as errors. An
// expansion form in a file that is meant to be final is a fault, and a validating tool asks for it;
// a tool that only works with the files passes WH_XML_PF_NO_CHECKS.
//
// The frame that the readers stand on needs the parser's header, and so is private to them.
#ifndef READDATA_H
#define READDATA_H

#include "fwtypes.h"

// Conditions in a data file. As a reader's argument: those to report. As the result of a look at an
// attribute: those that were met.
using WH_XML_PARSE_FLAGS = uint32;

inline constexpr WH_XML_PARSE_FLAGS WH_XML_PF_NO_CHECKS = 0;
inline constexpr WH_XML_PARSE_FLAGS WH_XML_PF_NO_ERRORS = 0;
inline constexpr WH_XML_PARSE_FLAGS WH_XML_PF_ROUND_BRACKETS = 1;     // an attribute holds %(
inline constexpr WH_XML_PARSE_FLAGS WH_XML_PF_SQUARE_BRACKETS = 2;    // an attribute holds %[
inline constexpr WH_XML_PARSE_FLAGS WH_XML_PF_SQUIGGLY_BRACKETS = 4;  // an attribute holds %{
inline constexpr WH_XML_PARSE_FLAGS WH_XML_PF_DOCTYPE_MISMATCH =
    8;  // DOCTYPE isn't the root's name
inline constexpr WH_XML_PARSE_FLAGS WH_XML_PF_ALL_CHECKS = 15;

// Not a condition: the reader also stores where the records come from. For programs on this
// library.
inline constexpr WH_XML_PARSE_FLAGS WH_XML_PF_PLACES = 16;

// Where an element begins. Operations, commands of recipes, parts, varieties and variables have one
// if they were read with WH_XML_PF_PLACES, otherwise null. It belongs to the record of the whole
// file and lives as long.
struct WH_PLACE {
  FwTextString file;  // the path as it was given to the reader
  int32 line;         // from 1
  int32 column;       // in characters, from 1
};

// The bracket forms that stand in a text. A percent sign always takes the character after it along,
// so that "%%(" holds none.
WH_XML_PARSE_FLAGS scan_for_expansions(FwTextString s);

// The number that a text begins with, behind white space, in decimal. 0 for a null text, one that
// begins with no number, and a number beyond 32 bits.
int string_to_num(FwTextString str);

#endif
