#include "vqmemcpy.h"

#include <cstdint>
#include <cstring>

#include "vqassert.h"

namespace {

constexpr int32 kWord = 4;
constexpr int32 kGroup = 8 * kWord;

std::uintptr_t address_of(const void* pv) {
  return reinterpret_cast<std::uintptr_t>(pv);
}

// How far the target lies above the source.
std::intptr_t delta_of(const void* pvTarget, const void* pvSource) {
  return static_cast<std::intptr_t>(address_of(pvTarget) - address_of(pvSource));
}

bool same_modulo_word(const uint8* s1, const uint8* s2) {
  return (address_of(s1) - address_of(s2)) % kWord == 0;
}

// Through a local, so that the compiler may take it as any other word, whatever lies there.
void copy_word(uint8* s1, const uint8* s2) {
  uint32 word;
  std::memcpy(&word, s2, kWord);
  std::memcpy(s1, &word, kWord);
}

}  // namespace

void VqMemCpy_Assert(void* s1, void* s2, int32 count) {
  const std::intptr_t delta = delta_of(s1, s2);
  // A count of 0 or below has nothing to copy and nothing to overlap.
  if (delta == 0 || count <= 0) return;
  const bool fOverlap = delta < count && -delta < count;
  if (FwExpect(!fOverlap, "VqMemCpy called with overlapping blocks.\n"))
    std::memcpy(s1, s2, static_cast<std::size_t>(count));
}

void bcopy_safe(char* s2, char* s1, int32 count) {
  const std::intptr_t delta = delta_of(s1, s2);
  uint8* const target = reinterpret_cast<uint8*>(s1);
  uint8* const source = reinterpret_cast<uint8*>(s2);
  if (delta == 0) return;
  if (delta > 0 && delta < count)
    scpyb(target, source, count);
  else if (delta < 0 && -delta < count)
    scpyf(target, source, count);
  else
    VqMemCpy_Assert(s1, s2, count);
}

// Each byte or word is read before a byte at or behind it is written, so the order of the moves is
// what makes overlap harmless. It must stay as it is written.

void scpyf(uint8* s1, uint8* s2, int32 count) {
  if (count < kGroup || !same_modulo_word(s1, s2)) {
    for (; count >= 8; count -= 8, s1 += 8, s2 += 8) {
      s1[0] = s2[0];
      s1[1] = s2[1];
      s1[2] = s2[2];
      s1[3] = s2[3];
      s1[4] = s2[4];
      s1[5] = s2[5];
      s1[6] = s2[6];
      s1[7] = s2[7];
    }
  } else {
    for (; address_of(s1) % kWord != 0; --count)
      *s1++ = *s2++;
    for (; count >= kGroup; count -= kGroup, s1 += kGroup, s2 += kGroup) {
      copy_word(s1, s2);
      copy_word(s1 + 4, s2 + 4);
      copy_word(s1 + 8, s2 + 8);
      copy_word(s1 + 12, s2 + 12);
      copy_word(s1 + 16, s2 + 16);
      copy_word(s1 + 20, s2 + 20);
      copy_word(s1 + 24, s2 + 24);
      copy_word(s1 + 28, s2 + 28);
    }
    for (; count >= kWord; count -= kWord, s1 += kWord, s2 += kWord)
      copy_word(s1, s2);
  }
  switch (count) {
    case 7:
      *s1++ = *s2++;
      [[fallthrough]];
    case 6:
      *s1++ = *s2++;
      [[fallthrough]];
    case 5:
      *s1++ = *s2++;
      [[fallthrough]];
    case 4:
      *s1++ = *s2++;
      [[fallthrough]];
    case 3:
      *s1++ = *s2++;
      [[fallthrough]];
    case 2:
      *s1++ = *s2++;
      [[fallthrough]];
    case 1:
      *s1 = *s2;
      [[fallthrough]];
    case 0:
      break;
    default:
      FwAssertFailed("Count too large finishing scpyf\n");
  }
}

void scpyb(uint8* s1, uint8* s2, int32 count) {
  s1 += count;
  s2 += count;
  if (count < kGroup || !same_modulo_word(s1, s2)) {
    for (; count >= 8; count -= 8) {
      s1 -= 8;
      s2 -= 8;
      s1[7] = s2[7];
      s1[6] = s2[6];
      s1[5] = s2[5];
      s1[4] = s2[4];
      s1[3] = s2[3];
      s1[2] = s2[2];
      s1[1] = s2[1];
      s1[0] = s2[0];
    }
  } else {
    for (; address_of(s1) % kWord != 0; --count)
      *--s1 = *--s2;
    for (; count >= kGroup; count -= kGroup) {
      s1 -= kGroup;
      s2 -= kGroup;
      copy_word(s1 + 28, s2 + 28);
      copy_word(s1 + 24, s2 + 24);
      copy_word(s1 + 20, s2 + 20);
      copy_word(s1 + 16, s2 + 16);
      copy_word(s1 + 12, s2 + 12);
      copy_word(s1 + 8, s2 + 8);
      copy_word(s1 + 4, s2 + 4);
      copy_word(s1, s2);
    }
    for (; count >= kWord; count -= kWord) {
      s1 -= kWord;
      s2 -= kWord;
      copy_word(s1, s2);
    }
  }
  switch (count) {
    case 7:
      *--s1 = *--s2;
      [[fallthrough]];
    case 6:
      *--s1 = *--s2;
      [[fallthrough]];
    case 5:
      *--s1 = *--s2;
      [[fallthrough]];
    case 4:
      *--s1 = *--s2;
      [[fallthrough]];
    case 3:
      *--s1 = *--s2;
      [[fallthrough]];
    case 2:
      *--s1 = *--s2;
      [[fallthrough]];
    case 1:
      *--s1 = *--s2;
      [[fallthrough]];
    case 0:
      break;
    default:
      FwAssertFailed("Count too large finishing scpyb\n");
  }
}
