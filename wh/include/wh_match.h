// Which varieties meet a condition.
#ifndef WH_MATCH_H
#define WH_MATCH_H

#include "fwtypes.h"
#include "wh_records.h"

// The operators of wh_test_op, by number.
enum WH_TEST_OP : int {
  wh_op_error = -1,
  wh_op_is = 0,
  wh_op_eq = 1,
  wh_op_lt = 2,
  wh_op_le = 3,
  wh_op_gt = 4,
  wh_op_ge = 5,
  wh_op_ne = 6,
  wh_op_matches = 7
};

// The value of the variety's first variable of that name, or null. It stays the variety's.
FwTextString var_lookup(FwTextString name, WH_VARIETY* variety);

// For programs on this library. The first value of a variable "platform" that includes the host's
// platform, or null. It stays the variety's.
FwTextString platform_variant_matching_host(WH_PRODUCT_INFO* prodinfo);

// Whether lhs, the value that a variety has, stands in the relation op to rhs, the value of the
// condition. An unknown operator is told on standard output and gives 0.
int wh_test_op(FwTextString lhs, int op, FwTextString rhs);
// The same for any one of the comma-separated parts of rhs.
int wh_test_op_multi(FwTextString lhs, int op, FwTextString rhs);
// Whether the variety's variable meets the condition; 0 if it has no such variable, whatever op
// says. "platform" and "target" are also met by a platform that overlaps.
int wh_test_var(WH_VARIETY* variety, FwTextString name, int op, FwTextString value);

// Whether the variety meets one of the alternatives. A null pattern matches everything, a null host
// leaves the alternatives' hosts out of account.
int matchvar(WH_VARIETY* variety, WH_PATTERN* pattern, FwTextString host);
// Those of varieties that match, in order. The caller frees the sequence.
WH_VARIETY_SEQ* matching_varieties(WH_VARIETY_SEQ* varieties, WH_PATTERN* pattern,
                                   FwTextString host);

#endif
