// A plain model of the tables whose slot order the records of a script follow: open addressing with
// linear probing, doubled before an add that finds the table half full. Written anew from what is
// promised to users, so that the tests don't take the program's word for it.
#ifndef SLOTS_H
#define SLOTS_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

class SlotTable {
 public:
  using Entry = std::pair<std::string, std::string>;

  // With room for so many entries: the smallest of 1, 3, 7, 15 ... that is not below twice their
  // number.
  explicit SlotTable(std::size_t to_hold = 50);

  void Add(const std::string& name, const std::string& value);
  void Remove(const std::string& name);
  // In slot order.
  std::vector<Entry> Entries() const;
  std::optional<std::string> Find(const std::string& name) const;
  std::size_t size() const { return slots_.size(); }

  // A table with the same entries, added in slot order.
  SlotTable Copy() const;
  // What a script's records assign: of the table's entries in slot order, those that the other
  // lacks or holds with another value, in the form of the sh dialect; and what it removes.
  std::string Assignments(const SlotTable& old) const;
  std::string Removals(const SlotTable& now) const;

 private:
  std::size_t SlotFor(const std::string& name) const;

  std::vector<std::optional<Entry>> slots_;
  std::size_t used_ = 0;
};

#endif
