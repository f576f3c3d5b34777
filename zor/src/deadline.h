// A bound on the time that zor takes, so that no login hangs on a disk that does not answer or on
// data files that contradict each other without end.
#ifndef ZOR_DEADLINE_H
#define ZOR_DEADLINE_H

#include <string>
#include <string_view>

namespace zor {

// While it lives, the process ends with status 2 and one message once the time is over. Nothing may
// have been printed by then. There is at most one, and none may live where another program is
// started.
class Deadline {
 public:
  // The number of seconds as it was typed, with a fraction or not; 0 is no bound. Throws Error if
  // it is no number.
  explicit Deadline(const std::string& seconds);
  ~Deadline();
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;
};

// What the message will say that zor was doing, such as "looking for the products".
void now_doing(std::string_view what);

}  // namespace zor

#endif
