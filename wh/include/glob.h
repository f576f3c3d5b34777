// Patterns over path elements, and the searches for files and for products that use them.
//
// A pattern and its subject are both cut into tokens, and these are compared element by element:
//
//   *           any run of characters within an element, none included
//   ?           exactly one character of an element
//   **          as a whole element: any number of whole elements, none included
//   **text**    as a whole pattern: text anywhere in the path
//   path|file   path, if it leads to a directory that holds file (which may have * and ?)
//
// So a plain * does not cross a slash, and an absolute pattern matches only an absolute subject.
// Repeated and trailing separators count for nothing. There is no escape character. Case counts.
#ifndef GLOB_H
#define GLOB_H

#include "fwerror.h"
#include "fwtypes.h"
#include "fwvector.h"

// 1 if string, cut up in the same way as a path, matches the pattern. A | in either looks at the
// disk, from the current directory if string is relative. Takes time in proportion to the product
// of the two lengths at most, and writes into neither.
int wh_glob_matches(FwTextString pattern, FwTextString string);

// 1 if the text has *, ? or |.
int wh_has_globs(FwTextString pattern);

// The searches are for programs on this library; the tools look nothing up by pattern.
//
// Adds to results the paths below dir that match, each beginning with dir, directories with a
// trailing separator; sorts all of results and removes duplicates. The caller owns the strings.
// 1 if it added any. An absolute pattern sets fwErrorStringSyntax; directories that can't be read
// count as empty.
int wh_find_files(FwErrorState* err, FwTextString pattern, FwTextString dir, FwVector* results);

// Adds to results the directories that hold a product.xml and match, looking nowhere below such a
// directory, in hidden ones or in those named CVS; sorts and removes duplicates as above. A
// relative pattern is matched against the path below base, an absolute one against the whole path.
// 1 if it added any. A directory that can't be opened leaves its fault in err.
int wh_find_products(FwErrorState* err, FwTextString pattern, FwTextString base, FwVector* results);

// Sorts the strings by their bytes and frees each that equals the one before it.
void sort_results(FwVector* results);

#endif
