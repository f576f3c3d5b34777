// The part list, partlist.xml: the files and the other products that a product is made of.
//
//   <PARTLIST>
//     <PARTSPEC>
//       <PATTERN><MATCH><VAR n="platform" v="unix"/></MATCH></PATTERN>
//       <PARTS>
//         <FILE name="bin/tool" pack-as="tool"><PACK medium="cd"/></FILE>
//         <PRODUCT name="Library"><PATTERN/></PRODUCT>
//       </PARTS>
//     </PARTSPEC>
//   </PARTLIST>
//
// The pattern of a part spec is a condition on the variety that is being looked at; the pattern of
// a product is the query for the varieties of the part. Names that a PRODUCT leaves out are
// expansion forms that stand for the including product's own, so that a name alone means a sibling.
// All text is kept as it stands; traverse.h walks a list and expands the queries.
#ifndef PARTLIST_H
#define PARTLIST_H

#include "fwvector.h"
#include "readdata.h"
#include "warehouse.h"

struct WH_FILE_PART {
  FwTextString file;
  FwTextString builtas;
  FwTextString packas;
  FwVector media;  // of FwTextString, owned
};

enum WH_PART_TYPE { part_product = 0, part_file = 1 };

struct WH_PART {
  WH_PART_TYPE type;
  union {
    WH_PRODUCT_QUERY* product;
    WH_FILE_PART* file;
  } u;
  WH_PART* next;
  const WH_PLACE* place;  // not owned; null unless places were asked for (readdata.h)
};

struct WH_PARTSPEC {
  WH_PATTERN* pattern;
  WH_PART* parts;
  WH_PARTSPEC* next;
};

struct WH_PARTLIST {
  WH_PARTSPEC* partspecs;
  FwMemPool* places;  // owned: the places in the records; null for none
};

// Reads a part list. The result belongs to the caller, who frees it with free_partlist; it is null
// on failure. Errors as for read_prodinfo (prodinfo.h); a missing file is an error here.
WH_PARTLIST* read_partlist(FwErrorState* err, FwTextString file, WH_XML_PARSE_FLAGS flags);

// A list that takes over the chain.
WH_PARTLIST* make_partlist(WH_PARTSPEC* partspecs);

// Frees the list with all that it owns and nulls the pointer. A null list is accepted.
void free_partlist(WH_PARTLIST** partlist);

#endif
