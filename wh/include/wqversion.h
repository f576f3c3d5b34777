// The order of version and revision names, which are directory names and so free text.
//
// A version is cut at dots into elements and these into groups, runs of digits or of other
// characters: 1.10b2 is (1) (10 b 2). Comparison is lexicographic over elements and over groups;
// groups of digits compare as numbers, all others as text, whichever has more left over is above.
// If only one of the two has a dot, both are read with a dot behind every character: 18 against 1.8
// is 1.8 against 1.8.
//
// Mixing dotted and undotted names, the order is not transitive (16 equals 1.6, 1.6 is above 150,
// 150 is above 16): look for a maximum by a scan in a given order, never by sorting.
#ifndef WQVERSION_H
#define WQVERSION_H

#include "fwstring.h"
#include "fwtypes.h"
#include "fwvector.h"

struct WQ_PARSED_VERSION {
  FwVector elements;               // of FwVector*, one per element, each of FwTextString groups
  FwTextString version = nullptr;  // the text as given
};

// A new parse of the version; free_parsed_version frees it. With addDots, an undotted text is read
// with a dot behind every character.
WQ_PARSED_VERSION* wq_parse_version(FwTextString version);
WQ_PARSED_VERSION* wq_parse_version_dots(FwTextString version, int addDots);

// -1, 0 or 1. The second compares the parses as they are.
int wq_pv_compare(WQ_PARSED_VERSION* pv1, WQ_PARSED_VERSION* pv2);
int wq_pv_compare_dots(WQ_PARSED_VERSION* pv1, WQ_PARSED_VERSION* pv2);

// Appends the text of the version to the record.
void wq_put_parsed_version(FwStrRecord* rec, WQ_PARSED_VERSION* pv);

// Frees a parse and sets *pv to null. A null *pv is accepted.
void free_parsed_version(WQ_PARSED_VERSION** pv);

// -1, 0 or 1 for two texts. The second, for programs on this library, compares revisions if the
// versions are equal.
int wq_compare_versions(FwTextString v1, FwTextString v2);
int wq_compare_ver_rev(FwTextString ver1, FwTextString rev1, FwTextString ver2, FwTextString rev2);

#endif
