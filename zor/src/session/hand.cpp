#include "session/hand.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <unordered_map>
#include <unordered_set>

namespace zor {

namespace {

using Set = std::unordered_set<std::string_view>;

Set set_of(const Elements& elements) {
  return {elements.begin(), elements.end()};
}

// Each element where it stands first.
Elements unique(const Elements& elements) {
  Set seen;
  Elements once;
  for (const std::string& element : elements)
    if (seen.insert(element).second) once.push_back(element);
  return once;
}

// Marks the members of a longest ascending subsequence.
std::vector<bool> longest_ascent(const std::vector<std::size_t>& numbers) {
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::vector<std::size_t> tails;  // of the ascents of each length, the index of the least end
  std::vector<std::size_t> before(numbers.size(), kNone);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto tail =
        std::lower_bound(tails.begin(), tails.end(), numbers[i],
                         [&](std::size_t at, std::size_t number) { return numbers[at] < number; });
    if (tail != tails.begin()) before[i] = *(tail - 1);
    if (tail == tails.end())
      tails.push_back(i);
    else
      *tail = i;
  }
  std::vector<bool> marked(numbers.size());
  for (std::size_t i = tails.empty() ? kNone : tails.back(); i != kNone; i = before[i])
    marked[i] = true;
  return marked;
}

// Elements in an order that is being made. It views their texts.
class Order {
 public:
  void append(std::string_view element) { insert(elements_.end(), element); }

  // Puts list[at] beside its nearest neighbour in the list that is there and may be one. False if
  // there is none.
  template <class MayBe>
  bool put_beside_neighbour(const Elements& list, std::size_t at, MayBe may_be) {
    const auto find = [&](std::size_t i) {
      return may_be(list[i]) ? places_.find(list[i]) : places_.end();
    };
    for (std::size_t i = at; i-- > 0;)
      if (const auto neighbour = find(i); neighbour != places_.end()) {
        insert(std::next(neighbour->second), list[at]);
        return true;
      }
    for (std::size_t i = at + 1; i < list.size(); ++i)
      if (const auto neighbour = find(i); neighbour != places_.end()) {
        insert(neighbour->second, list[at]);
        return true;
      }
    return false;
  }

  Elements elements() const { return {elements_.begin(), elements_.end()}; }

 private:
  using List = std::list<std::string_view>;

  void insert(List::iterator before, std::string_view element) {
    places_.emplace(element, elements_.insert(before, element));
  }

  List elements_;
  std::unordered_map<std::string_view, List::iterator> places_;
};

}  // namespace

Elements split_list(std::string_view value, std::string_view separator) {
  Elements elements;
  if (value.empty()) return elements;
  for (std::size_t at = 0;;) {
    const std::size_t end = separator.empty() ? value.npos : value.find(separator, at);
    elements.emplace_back(value.substr(at, end - at));
    if (end == value.npos) return elements;
    at = end + separator.size();
  }
}

std::string join_list(const Elements& elements, std::string_view separator) {
  std::string value;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (i > 0) value += separator;
    value += elements[i];
  }
  return value;
}

bool is_change_of_list(std::string_view from, std::string_view to, std::string_view separator) {
  const Elements old = split_list(from, separator);
  if (old.size() > 1) return true;
  const Elements now = split_list(to, separator);
  return old.size() == 1 && std::find(now.begin(), now.end(), old[0]) != now.end();
}

void take_up(Hand* hand, const Elements& from, const Elements& to) {
  const Elements old = unique(from);
  hand->shape = unique(to);
  std::unordered_map<std::string_view, std::size_t> places;
  for (std::size_t i = 0; i < old.size(); ++i)
    places[old[i]] = i;
  Elements common;
  std::vector<std::size_t> numbers;
  const Set was_added = set_of(hand->added);
  Set away = set_of(hand->without);
  Elements added;
  Elements moved;
  Set moves = set_of(hand->moved);
  for (const std::string& element : hand->shape) {
    if (const auto place = places.find(element); place != places.end()) {
      common.push_back(element);
      numbers.push_back(place->second);
    } else if (away.contains(element)) {
      moves.insert(element);
    }
  }
  const std::vector<bool> stayed = longest_ascent(numbers);
  for (std::size_t i = 0; i < common.size(); ++i)
    if (!stayed[i]) moves.insert(common[i]);
  for (const std::string& element : hand->shape) {
    if (was_added.contains(element) || (!places.contains(element) && !away.contains(element)))
      added.push_back(element);
    else if (moves.contains(element))
      moved.push_back(element);
  }
  const Set now = set_of(hand->shape);
  Elements without;
  const auto add_gone = [&](const Elements& elements) {
    for (const std::string& element : elements)
      if (!now.contains(element)) without.push_back(element);
  };
  add_gone(hand->without);
  add_gone(old);
  hand->added = added;
  hand->moved = moved;
  hand->without = unique(without);
}

Elements with_hand(const Hand& hand, const Elements& list) {
  const Set shape = set_of(hand.shape);
  const Set away = set_of(hand.without);
  Set placed = set_of(hand.added);
  Set there = set_of(list);
  there.insert(hand.added.begin(), hand.added.end());
  placed.insert(hand.moved.begin(), hand.moved.end());
  Order result;
  for (const std::string& element : hand.shape)
    if (there.contains(element)) result.append(element);
  // What the user has not seen yet goes where the products want it, as far as that can be told from
  // neighbours that were not put elsewhere.
  const auto stayed = [&](const std::string& element) { return !placed.contains(element); };
  const auto any = [](const std::string&) { return true; };
  for (std::size_t i = 0; i < list.size(); ++i)
    if (!shape.contains(list[i]) && !away.contains(list[i]) &&
        !result.put_beside_neighbour(list, i, stayed) && !result.put_beside_neighbour(list, i, any))
      result.append(list[i]);
  return result.elements();
}

void forget_lost(Hand* hand, const Elements& base, const Elements& computed) {
  Set there = set_of(base);
  there.insert(computed.begin(), computed.end());
  const auto lost = [&](const std::string& element) { return !there.contains(element); };
  std::erase_if(hand->moved, lost);
  std::erase_if(hand->without, lost);
  if (hand->empty()) hand->shape.clear();
}

}  // namespace zor
