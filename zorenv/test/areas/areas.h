// Another platform's half of environments: one that keeps an environment for the system and one for
// each user, as this platform does not. It is linked in the place of the library's own, so that the
// parts of the tool are seen at work that can't be reached here.
#ifndef AREAS_H
#define AREAS_H

#include <map>
#include <string>

struct Area {
  bool exists = false;
  bool readable = true;
  bool writable = true;
  std::map<std::string, std::string> variables;
};

extern Area user_area;
extern Area system_area;

#endif
