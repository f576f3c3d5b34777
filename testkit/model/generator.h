// Random small warehouses, and a run on each.
#ifndef MODEL_GENERATOR_H
#define MODEL_GENERATOR_H

#include "model.h"

namespace model {

// The same seed and base give the same case everywhere.
Case Generate(unsigned long long seed, const std::string& base);

}  // namespace model

#endif
