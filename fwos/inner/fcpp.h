// The inner C++ layer: what the sources of all floors use to hold, walk and make the framework's
// records. It is not installed, and no public header includes it.
//
// The interfaces are C-like: records, functions on them, a call that releases each. Inside a
// source the releases, the casts and the counting are written once, here:
//
//   OpenRecord path;                                 a string record, open until it goes
//   FwStrPutTextString(&path, dir);                  it is an FwStrRecord
//   LocalError err;                                  an FwErrorState that clears itself
//   OwnedText name(FwStrDuplicate(text));            frees the text
//   for (WH_VARIETY* v : elements<WH_VARIETY>(&varieties->seq)) ...
//   for (FwHashEntry& entry : entries(table)) ...    in slot order
//   auto* part = make<WH_PART>();                    zeroed; exhausted memory ends the program
//
// Owners release at the end of their scope, the youngest first. A function that ends the program
// releases nothing. Everything is inline and costs what the calls by hand would cost. Names are
// lower-case where they are functions, so that they read the same on each floor.
#ifndef FCPP_H
#define FCPP_H

#include <algorithm>
#include <cstddef>
#include <new>
#include <string_view>
#include <type_traits>

#include "fwerror.h"
#include "fwhash.h"
#include "fwmem.h"
#include "fwstring.h"
#include "fwtypes.h"
#include "fwvector.h"
#include "vqassert.h"

// --- Making ---

// Makes a zeroed record, equal to T{}. Reports of live blocks name the caller's file and line.
template <class T>
T* make(const char* pszFile = __builtin_FILE(), uint32 nLine = __builtin_LINE()) {
  return FwMemNew<T>(ALLOC_MUST_SUCCEED | INIT_ZERO, pszFile, nLine);
}

// A record in a pool, which frees it. What T owns is not released.
template <class T>
T* make_in(FwMemPool* pPool, const T& value) {
  static_assert(std::is_trivially_destructible_v<T>);
  return ::new (FwMemPoolAlloc(pPool, sizeof(T))) T(value);
}

// --- Text ---

// The text, or an empty one for null.
inline FwTextString or_empty(FwTextString ptbz) {
  return ptbz == nullptr ? FWT("") : ptbz;
}

// The bytes of an open record, without its terminator.
inline uint32 record_length(const FwStrRecord* pRecord) {
  return static_cast<uint32>(pRecord->pbTerminator - pRecord->pbz);
}

// The same as a view, good until the record changes.
inline std::string_view record_view(const FwStrRecord* pRecord) {
  return {FWC(pRecord->pbz), record_length(pRecord)};
}

// Owns a block that holds a text, or null.
class OwnedText {
 public:
  OwnedText() = default;
  explicit OwnedText(FwTextString ptbz) : ptbz_(ptbz) {}
  ~OwnedText() { reset(nullptr); }
  OwnedText(const OwnedText&) = delete;
  OwnedText& operator=(const OwnedText&) = delete;

  operator FwTextString() const { return ptbz_; }
  FwTextString get() const { return ptbz_; }
  // Frees what is held and takes over another text.
  void reset(FwTextString ptbz) {
    if (ptbz_ != nullptr) FwMemFree(ptbz_);
    ptbz_ = ptbz;
  }
  // Gives the text to the caller.
  FwTextString take() {
    FwTextString ptbz = ptbz_;
    ptbz_ = nullptr;
    return ptbz;
  }

 private:
  FwTextString ptbz_ = nullptr;
};
static_assert(sizeof(OwnedText) == sizeof(FwTextString));

// A growing record, open from the start. Once it is closed, by take or by FwStrRecordClose, the end
// of the scope releases nothing.
class OpenRecord : public FwStrRecord {
 public:
  OpenRecord() { FwStrRecordOpen(this); }
  // With a first buffer of so many bytes, the terminator included.
  explicit OpenRecord(uint32 cbSize) { FwStrRecordOpenSize(this, cbSize); }
  ~OpenRecord() { FwStrRecordAbandon(this); }
  OpenRecord(const OpenRecord&) = delete;
  OpenRecord& operator=(const OpenRecord&) = delete;

  uint32 length() const { return record_length(this); }
  std::string_view view() const { return record_view(this); }
  void clear() { FwStrRecordShorten(this, 0); }
  // Closes the record and gives its text to the caller.
  FwTextString take() { return FwStrRecordClose(this); }
};
static_assert(sizeof(OpenRecord) == sizeof(FwStrRecord));

// --- Errors ---

// A clear error state for calls whose failure the caller decides about.
class LocalError : public FwErrorState {
 public:
  LocalError() = default;
  ~LocalError() { clear(); }
  LocalError(const LocalError&) = delete;
  LocalError& operator=(const LocalError&) = delete;

  bool failed() const { return pError != nullptr; }
  // Also returns the kind that it held, as FwErrorClear.
  FwError* clear() { return FwErrorClear(this); }
};
static_assert(sizeof(LocalError) == sizeof(FwErrorState));

// --- Vectors ---

// The elements of an open vector, typed. The walk goes by position and asks for the length at each
// step, so elements may be added at the end while it lasts.
template <class T>
class VectorView {
 public:
  struct End {};
  struct Place {
    const FwVector* pVector;
    int32 nPosition;

    T* operator*() const { return static_cast<T*>(pVector->pElements[nPosition]); }
    Place& operator++() {
      ++nPosition;
      return *this;
    }
    bool operator!=(End) const { return nPosition < pVector->nCurrentSize; }
  };

  explicit VectorView(const FwVector* pVector) : pVector_(pVector) {
    FwAssert(pVector->state == FW_VECTOR_OPEN, "Cannot walk a vector that is not open");
  }
  Place begin() const { return {pVector_, 0}; }
  End end() const { return {}; }

 private:
  const FwVector* pVector_;
};

template <class T>
VectorView<T> elements(const FwVector* pVector) {
  return VectorView<T>(pVector);
}

// One element, typed. The position must lie in front of the end.
template <class T>
T* nth(const FwVector* pVector, int32 nPosition) {
  return static_cast<T*>(pVector->pElements[nPosition]);
}

// The texts of a vector: for (FwTextString text : texts(&vector)).
inline VectorView<FwTextByte> texts(const FwVector* pVector) {
  return VectorView<FwTextByte>(pVector);
}

// What becomes of the elements of a vector when it goes.
enum class Elements { kKept, kFreed };

// A vector that is open until the end of the scope, or until FwVectorClose. Freed elements must be
// one block each.
class LocalVector : public FwVector {
 public:
  LocalVector(int32 nSize, Elements elements) : elements_(elements) { FwVectorOpen(this, nSize); }
  ~LocalVector() {
    if (state == FW_VECTOR_OPEN) FwVectorAbandon(this, elements_ == Elements::kFreed);
  }
  LocalVector(const LocalVector&) = delete;
  LocalVector& operator=(const LocalVector&) = delete;

 private:
  Elements elements_;
};

// --- Tables ---

// The entries of a table in slot order, as FwHashEnumerateEntries visits them. The walk may change
// values; it must not add or remove.
class TableView {
 public:
  struct End {};
  class Place {
   public:
    Place(FwHashEntry* pEntry, FwHashEntry* pLast) : pEntry_(pEntry), pLast_(pLast) { pass(); }
    FwHashEntry& operator*() const { return *pEntry_; }
    Place& operator++() {
      ++pEntry_;
      pass();
      return *this;
    }
    bool operator!=(End) const { return pEntry_ <= pLast_; }

   private:
    // Passes over empty slots.
    void pass() {
      while (pEntry_ <= pLast_ && pEntry_->key == nullptr)
        ++pEntry_;
    }
    FwHashEntry* pEntry_;
    FwHashEntry* pLast_;
  };

  explicit TableView(const FwHashTable* pTable) : pTable_(pTable) {}
  Place begin() const { return {pTable_->pEntries, pTable_->pLastEntry}; }
  End end() const { return {}; }

 private:
  const FwHashTable* pTable_;
};

inline TableView entries(const FwHashTable* pTable) {
  return TableView(pTable);
}

// The value that a table has for a key, typed; null if there is none.
template <class T>
T* value_of(FwHashTable* pTable, void* key) {
  FwHashEntry* pEntry = FwHashLookupEntry(pTable, key, nullptr);
  return pEntry == nullptr ? nullptr : static_cast<T*>(pEntry->value);
}

// --- Arrays ---

// A growing array of plain values, kFirst of them at first. A zeroed one is empty. It is a plain
// record itself, so that a record that is made zeroed can hold one; whose it is calls release.
template <class T, int32 kFirst = 16>
struct Array {
  T* list = nullptr;
  int32 count = 0;
  int32 room = 0;

  // Exhausted memory ends the program.
  void add(const T& value) {
    const T copy = value;  // it may stand in this array
    if (count == room) grow();
    list[count++] = copy;
  }
  // Doubles the room. A list that is not owned is left alone, and copied.
  void grow(bool owned = true) {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
    const int32 larger = room == 0 ? kFirst : 2 * room;
    auto* copy = static_cast<T*>(
        FwMemAlloc(static_cast<std::size_t>(larger) * sizeof(T), ALLOC_MUST_SUCCEED | INIT_NONE));
    std::copy_n(list, count, copy);
    if (owned && list != nullptr) FwMemFree(list);
    list = copy;
    room = larger;
  }
  void clear() { count = 0; }
  void release() {
    FwMemFreeAndClear(&list);
    count = 0;
    room = 0;
  }

  T& operator[](int32 i) { return list[i]; }
  const T& operator[](int32 i) const { return list[i]; }
  T& last() { return list[count - 1]; }
  T* begin() { return list; }
  T* end() { return list + count; }
  const T* begin() const { return list; }
  const T* end() const { return list + count; }
};
static_assert(sizeof(Array<void*>) == 16 || sizeof(void*) != 8);

// --- Hashes ---

// FNV-1a, byte by byte: for tables whose slot order shows nowhere. It keeps similar texts apart,
// which FwHash_StringHashFunction does not.
inline constexpr uint32 kFnvStart = 2166136261U;

constexpr uint32 fnv_add(uint32 hash, FwByte byte) {
  return (hash ^ byte) * 16777619U;
}

inline uint32 fnv_text(FwTextString ptbz) {
  uint32 hash = kFnvStart;
  for (const FwTextByte* ptb = ptbz; *ptb != 0; ++ptb)
    hash = fnv_add(hash, *ptb);
  return hash;
}

#endif
