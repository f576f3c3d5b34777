// What users do to variables by hand between two steps of a session.
//
// A variable is compared with what the session made of it last:
//
//   its value now                        what becomes of the change
//   the same                             nothing was changed
//   elements more                        they stay, whatever products remove or go
//   elements fewer                       they stay away for as long as the base or a product
//                                        that is loaded all the time has them
//   an element that was taken away       it is there as if nothing had been done
//     is there again
//   elements in another order            they keep it
//   an element twice                     the first counts
//   removed                              it stays away; a line says so
//   set, and the session had removed it  it stays as it is; a line says so
//   another value that is no list: one   it stays as it is; a line says so
//     element, and none is left of what
//     was there
//   set to what the session would make   it is the session's again
//     of it
//
// So the elements that the user has seen keep the order in which they were left. What comes later
// goes beside the neighbours beside which its product puts it.
//
// A variable that the session does not change is the user's own, and so is one that it changes no
// more: what was done by hand to either is part of the base from then on.
#ifndef ZOR_SESSION_HAND_H
#define ZOR_SESSION_HAND_H

#include <string>
#include <string_view>
#include <vector>

namespace zor {

using Elements = std::vector<std::string>;

// The elements of a value. An empty value has none; elsewhere an empty element counts as one.
Elements split_list(std::string_view value, std::string_view separator);
std::string join_list(const Elements& elements, std::string_view separator);

// What was done to the elements of a variable.
struct Hand {
  Elements shape;    // all elements as the user left them
  Elements added;    // by the user
  Elements moved;    // there, but elsewhere before: the fewest that tell the order
  Elements without;  // taken away

  bool empty() const { return added.empty() && moved.empty() && without.empty(); }
};

// Whether the change from one value to the other is one of elements.
bool is_change_of_list(std::string_view from, std::string_view to, std::string_view separator);

// Adds the change from one list to the other to what was done before.
void take_up(Hand* hand, const Elements& from, const Elements& to);

// The list as it is with what was done by hand.
Elements with_hand(const Hand& hand, const Elements& list);

// Forgets what was done to elements that neither of the lists has.
void forget_lost(Hand* hand, const Elements& base, const Elements& computed);

}  // namespace zor

#endif
