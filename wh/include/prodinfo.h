// The product information file, product.xml: what a product is called, how it is described and the
// varieties in which it comes.
//
//   <PRODUCT-INFO flags="visible" name="Build tools">
//     <DESCRIPTION lang="en">Compilers and linkers.</DESCRIPTION>
//     <VARIETIES>
//       <VARIETY name="linux" desc="For Linux" chosen="1">
//         <VAR n="platform" v="linux"/>
//         <SEGMENT host="all-all" here="1"/>
//       </VARIETY>
//     </VARIETIES>
//   </PRODUCT-INFO>
//
// VARIETIES may also be the root by itself. A variety without a SEGMENT gets one that is not here,
// so that the variety is incomplete and every walk of products passes over it.
#ifndef PRODINFO_H
#define PRODINFO_H

#include "readdata.h"
#include "warehouse.h"

// One description: the elements of WH_DESCRIPTIONS. Owns both strings.
struct WH_DESC {
  FwTextString lang;  // a language tag; empty if none is given, never null
  FwTextString text;
};

// Reads product.xml of the product below the base directory dir. The result belongs to the caller,
// who frees it with free_prodinfo; it is null on failure. With optional, a file that does not exist
// gives null and no error.
// Errors: those of opening and reading; the VQN_XML_ERROR family (vqnexpat.h); the located kinds of
// wherror.h that flags ask for, which leave the result whole: the caller must look at err.
WH_PRODUCT_INFO* read_prodinfo(FwErrorState* err, WH_PRODUCT_NAME* prodname, FwTextString dir,
                               int optional, WH_XML_PARSE_FLAGS flags);

// The same with the path of the file, for programs on this library.
WH_PRODUCT_INFO* read_prodinfo_file(FwErrorState* err, WH_PRODUCT_NAME* prodname, FwTextString file,
                                    int optional, WH_XML_PARSE_FLAGS flags);

// Frees the record with all that it owns, its varieties included, and nulls the pointer. A null
// record is accepted.
void free_prodinfo(WH_PRODUCT_INFO** prodinfo);

// Frees each variety, and the sequence, and nulls the pointer. A null sequence is accepted. Only
// for the sequence that owns its varieties, that of a WH_PRODUCT_INFO.
void free_varieties(WH_VARIETY_SEQ** varieties);

#endif
