// Tables whose order shows in scripts: open addressing with linear probing, at most half full,
// removal by moving later entries back.
#ifndef MODEL_TABLE_H
#define MODEL_TABLE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace model {

inline std::uint32_t Hash(const std::string& key) {
  std::uint32_t h = 0;
  for (const char c : key) {
    const std::uint32_t t = h * 16 + static_cast<unsigned char>(c);
    h = t ^ (t >> 28);
  }
  return h;
}

template <class Value>
class Table {
 public:
  explicit Table(std::size_t to_hold) {
    std::size_t size = 1;
    while (size < 2 * to_hold)
      size = 2 * size + 1;
    slots_.resize(size);
  }

  // Every add grows a table that is half full first, also one that comes to nothing or finds its
  // key.
  void MakeRoom() {
    if (slots_.size() > 2 * used_) return;
    std::vector<Slot> old(2 * slots_.size() + 1);
    old.swap(slots_);
    for (const Slot& slot : old)
      if (slot.used) slots_[Place(slot.key)] = slot;
  }

  void Add(const std::string& key, Value value) {
    MakeRoom();
    Slot& slot = slots_[Place(key)];
    if (!slot.used) ++used_;
    slot = {true, key, std::move(value)};
  }

  const Value* Find(const std::string& key) const {
    const std::size_t place = Place(key);
    return place < slots_.size() && slots_[place].used ? &slots_[place].value : nullptr;
  }

  bool Remove(const std::string& key) {
    std::size_t hole = Place(key);
    if (hole == slots_.size() || !slots_[hole].used) return false;
    slots_[hole] = {};
    --used_;
    for (std::size_t at = Next(hole); slots_[at].used; at = Next(at)) {
      const std::size_t ideal = Ideal(slots_[at].key);
      if (ideal == at) continue;
      if (ideal == hole || (ideal < hole && hole < at) || (hole < at && at < ideal) ||
          (at < ideal && ideal < hole)) {
        slots_[hole] = slots_[at];
        slots_[at] = {};
        hole = at;
      }
    }
    return true;
  }

  // Null for an empty slot.
  const std::string* KeyAt(std::size_t slot) const {
    return slots_[slot].used ? &slots_[slot].key : nullptr;
  }

  // In slot order.
  std::vector<std::string> Keys() const {
    std::vector<std::string> keys;
    for (const Slot& slot : slots_)
      if (slot.used) keys.push_back(slot.key);
    return keys;
  }

  std::size_t slots() const { return slots_.size(); }
  std::size_t used() const { return used_; }

 private:
  struct Slot {
    bool used = false;
    std::string key;
    Value value{};
  };

  std::size_t Ideal(const std::string& key) const { return Hash(key) % slots_.size(); }
  std::size_t Next(std::size_t slot) const { return slot + 1 == slots_.size() ? 0 : slot + 1; }
  // The key's slot, or the one that it would have; none in a full table without the key.
  std::size_t Place(const std::string& key) const {
    std::size_t slot = Ideal(key);
    for (std::size_t tried = 0; tried < slots_.size(); ++tried, slot = Next(slot))
      if (!slots_[slot].used || slots_[slot].key == key) return slot;
    return slots_.size();
  }

  std::vector<Slot> slots_;
  std::size_t used_ = 0;
};

}  // namespace model

#endif
