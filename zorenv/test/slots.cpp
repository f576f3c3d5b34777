#include "slots.h"

namespace {

std::uint32_t Hash(const std::string& name) {
  std::uint32_t h = 0;
  for (unsigned char byte : name) {
    const std::uint32_t t = h * 16 + byte;
    h = t ^ (t >> 28);
  }
  return h;
}

}  // namespace

SlotTable::SlotTable(std::size_t to_hold) {
  std::size_t size = 1;
  while (size < 2 * to_hold)
    size = 2 * size + 1;
  slots_.resize(size);
}

std::size_t SlotTable::SlotFor(const std::string& name) const {
  std::size_t slot = Hash(name) % slots_.size();
  while (slots_[slot] && slots_[slot]->first != name)
    slot = (slot + 1) % slots_.size();
  return slot;
}

void SlotTable::Add(const std::string& name, const std::string& value) {
  if (slots_.size() <= 2 * used_) {
    std::vector<std::optional<Entry>> old(2 * slots_.size() + 1);
    old.swap(slots_);
    for (auto& entry : old)
      if (entry) slots_[SlotFor(entry->first)] = entry;
  }
  const std::size_t slot = SlotFor(name);
  if (!slots_[slot]) ++used_;
  slots_[slot] = {name, value};
}

void SlotTable::Remove(const std::string& name) {
  const std::size_t slot = SlotFor(name);
  if (!slots_[slot]) return;
  slots_[slot].reset();
  --used_;
  // The entries of the run behind the hole are taken out and put back in their order: each comes to
  // the first free slot of its own, as if the removed one had never been there.
  for (std::size_t i = (slot + 1) % slots_.size(); slots_[i]; i = (i + 1) % slots_.size()) {
    const Entry moved = *slots_[i];
    slots_[i].reset();
    slots_[SlotFor(moved.first)] = moved;
  }
}

std::vector<SlotTable::Entry> SlotTable::Entries() const {
  std::vector<Entry> entries;
  for (const auto& slot : slots_)
    if (slot) entries.push_back(*slot);
  return entries;
}

std::optional<std::string> SlotTable::Find(const std::string& name) const {
  const auto& slot = slots_[SlotFor(name)];
  if (!slot) return std::nullopt;
  return slot->second;
}

SlotTable SlotTable::Copy() const {
  SlotTable copy;
  for (const Entry& entry : Entries())
    copy.Add(entry.first, entry.second);
  return copy;
}

std::string SlotTable::Assignments(const SlotTable& old) const {
  std::string text;
  for (const Entry& entry : Entries())
    if (old.Find(entry.first) != entry.second)
      text += entry.first + "='" + entry.second + "'; export " + entry.first + "\n";
  return text;
}

std::string SlotTable::Removals(const SlotTable& now) const {
  std::string text;
  for (const Entry& entry : Entries())
    if (!now.Find(entry.first)) text += "unset " + entry.first + " ;\n";
  return text;
}
