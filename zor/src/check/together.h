// The rules on all products together.
#ifndef ZOR_CHECK_TOGETHER_H
#define ZOR_CHECK_TOGETHER_H

#include <map>
#include <string>
#include <vector>

#include "check/product.h"

namespace zor::check {

class Together {
 public:
  void add(Facts& facts);
  void tell(std::vector<Finding>* findings) const;

 private:
  void tell_of_separators(std::vector<Finding>* findings) const;
  void tell_of_circles(std::vector<Finding>* findings) const;
  void tell_of_strangers(std::vector<Finding>* findings) const;

  // Of each variable and separator the first place, and how many there are.
  struct Uses {
    StatedSeparator first;
    int count = 0;
  };
  std::map<std::string, std::map<std::string, Uses>> separators_;
  std::vector<Link> links_;
  std::vector<Claim> claims_;
};

}  // namespace zor::check

#endif
