// The warehouse model: the records that name and describe products, the expansion language, the
// matching of varieties, and the index of the products loaded so far.
//
// A warehouse is a directory tree. Below its base directory a product lives at
//
//   category/name/version/rev/        category may hold several path elements
//
// and describes itself in data files there. A product comes in varieties, each a set of variables
// (platform = linux-x86, ...). A query names a product and a pattern that its varieties must meet;
// its result is a spec:
//
//   WH_PRODUCT_QUERY --> index_fetch --> WH_PRODUCT (owned by the index)
//                                          + the varieties that match = WH_PRODUCT_SPEC
//
//   wh_boot_fw(argc, argv);
//   wh_init();
//   WH_INDEX* index = index_open(base);
//   WH_PRODUCT_SPEC_LIST* specs = query_products_pd(&err, index, querylist, report_error);
//   ...
//   free_speclist(&specs);
//   index_close(index);
//
// Text in data files may refer to values by %(NAME), to files by %[FILE] and to the process
// environment by %{NAME}. What a name means is told by a symbol table, a stack of contexts:
//
//   global context | THIS-... of the product | BASE-DIRECTORY of the caller | variables of a
//   variety
//
// The first context that binds a name wins, so nobody can override a global name.
//
// Records are made by make_... and dup_..., which copy the strings given unless they say that they
// take ownership, and freed by free_..., which takes the pointer's address, accepts a null pointer
// and leaves null. Any string of a record may be null where the data file left an attribute out.
// Memory exhaustion ends the program, so nothing here returns null for the lack of it.
#ifndef WAREHOUSE_H
#define WAREHOUSE_H

#include "wh_base.h"     // IWYU pragma: export
#include "wh_index.h"    // IWYU pragma: export
#include "wh_match.h"    // IWYU pragma: export
#include "wh_records.h"  // IWYU pragma: export
#include "wh_symbols.h"  // IWYU pragma: export

#endif
