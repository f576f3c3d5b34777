// The framework's basic types: bytes, text, characters and the generic object pointer.
//
// Text is zero-terminated UTF-8 in unsigned bytes. Names tell what a pointer promises: a z (ptbz,
// pbz) is terminated, a bare ptb is counted by a separate length in bytes.
#ifndef FWTYPES_H
#define FWTYPES_H

#include "vqtypes.h"

using FwByte = uint8;
using FwTextByte = FwByte;         // a byte of UTF-8 text
using FwRawByte = FwByte;          // a byte of unknown or local encoding, never decoded
using FwString = FwByte*;          // the buffer of a string record, text or raw
using FwTextString = FwTextByte*;  // terminated, well-formed UTF-8
using FwRawString = FwRawByte*;    // terminated bytes
using FwTextCharacter = int32;  // a code point; 0 ends a text, a negative value is not a character

// Any instance of a class (fwclass.h). Every instance begins with its class record.
using FwObj = void;

struct FwClassRecord;
struct FwError;
struct FwErrorState;
struct FwHashTable;
struct FwStrRecord;
struct FwVector;

// The text of a literal. Never write to it, though its type allows it.
inline FwTextString FWT(const char* psz) {
  return reinterpret_cast<FwTextString>(const_cast<char*>(psz));
}

// The text as the C library takes it.
inline char* FWC(FwTextString ptbz) {
  return reinterpret_cast<char*>(ptbz);
}

#endif
