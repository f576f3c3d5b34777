// The translation layer's private half: its records, its rooms, its place in the boot sequence.
//
// Both tables map a hash value to a chain of nodes, newest first. An older node with the same text
// stays in the chain behind the one that overrides it:
//
//   fixedStrings: hash -> node(file 2, "file") -> node(file 1, "file") -> node(file 1, "elif")
//
// A node's data is one block:  [lock count, 1 byte][English text, 0][local text, 0]
#ifndef FCTRANSL_H
#define FCTRANSL_H

#include "fwhash.h"
#include "fwstring.h"
#include "fwtransl.h"
#include "fwtypes.h"

struct FcTranslDatabase;
struct FcTranslFile;

struct FcTranslNode {
  FcTranslNode* pNext;  // with the same hash
  FcTranslFile* pFile;
  uint32 location;  // file offset of the first line of the English text
  FwByte* pbData;   // null until loaded
};

inline constexpr uint32 kFcTranslNodesInBlock = 100;

struct FcTranslNodeBlock {
  FcTranslNodeBlock* pNext;
  uint32 nNextNodeToUse;
  FcTranslNode aNodes[kFcTranslNodesInBlock];
};

struct FcTranslFile {
  FcTranslFile* pNext;  // older
  FcTranslDatabase* pDatabase;
  FwTextString ptbzFileName;
  FwObj* pFileObj;  // the buffered stream; null once closed
  FwHashTable* headerTags;
  FwID_Text atbzUSText;
  FwID_Text atbzLocalText;
  FwTranslLocale locale;
  FcTranslNodeBlock* pNodeBlock;  // newest first
  int32 nMaxOverrides;
  int32 nOverrides;
};

struct FcTranslDatabase {
  FwHashTable* fixedStrings;
  FwHashTable* msgTemplates;
  FcTranslFile* pMsgFiles;  // newest first
};

// Which file's locked nodes are counted, and how many there are.
struct FcTranslNodeInUseCount {
  FwTextString ptbzFileName;
  int32 nCount;
};

extern FcTranslDatabase FcTranslationDatabase;

extern const FwHashFunctions FcTranslTableFunctions;

// Working storage of all reading: one line, and the two texts of a pair.
extern FwStrRecord FcTransLineRecord;
extern FwStrRecord FcTransEnglishRecord;
extern FwStrRecord FcTransLocalRecord;

// --- Keys and comparison ---

inline constexpr uint32 kFcTranslWhole = 0xFFFFFFFF;  // a length: up to the terminator
inline constexpr uint32 kFcTranslKeyLength = 6;
using FcTranslKeyString = FwTextByte[kFcTranslKeyLength + 1];

// Hashes at most cLength bytes, markers left out; with fTemplate, %% as one %. Never 0.
uint32 FcTransl_StringHashFunction(FwTextString ptbzString, uint32 cLength, int32 fTemplate);

// Copies the first 6 bytes to the key and hashes it. In a template %% counts as one %; a single %
// is passed over, and logged.
uint32 FcTranslCalculateMessageKey(FwTextString ptbzMessage, uint32 cLength,
                                   FcTranslKeyString pbKeyString, int32 fTemplate);
inline uint32 FcTranslCalculateMessageKey(FwTextString ptbzMessage, FcTranslKeyString pbKeyString,
                                          int32 fTemplate) {
  return FcTranslCalculateMessageKey(ptbzMessage, kFcTranslWhole, pbKeyString, fTemplate);
}

// Equality apart from markers in the message and, with fMessageTemplate, %% for % in the template.
int32 FcTranslMessageMatchesTemplate(FwTextString ptbzMessage, uint32 cMessageLength,
                                     FwTextString ptbzTemplate, uint32 cTemplateLength,
                                     int32 fMessageTemplate);

// --- Nodes ---

// The texts of a loaded node. Assert "Node data not loaded!", null.
FwTextString FcTranslNodeEnglish(FcTranslNode* pNode);
FwTextString FcTranslNodeLocal(FcTranslNode* pNode);

// A fresh node of the file, which owns it.
FcTranslNode* FcTranslGetNextNode(FcTranslFile* pFile);

// Copies the texts of the two records into the node's data. 0 if memory is exhausted.
// Asserts "FcTranslNodeInitData: Node data already loaded", 0.
int32 FcTranslNodeInitData(FcTranslNode* pNode);

// Whether the node's texts are there, read from the file if they were not.
bool FcTranslEnsureData(FcTranslNode* pNode);

// The chain under a hash value, or null.
FcTranslNode* FcTranslFindChain(FwHashTable* pTable, uint32 nHash);

// The add function of both tables; value is the new node. Asserts "FcTranslHashAddNode: internal
// error" for a node that is in a chain.
int32 FcTranslHashAddNode(FwHashEntry* pEntry, void* key, void* value, int32 fNew,
                          FwErrorState* pErrState);

int32 FcTranslSameFile(FcTranslFile* pFile1, FcTranslFile* pFile2);

// Unlinks all nodes of a file, of every file for null. Frees nothing.
void FcTranslRemoveNodes(FcTranslDatabase* pDatabase, FwTextString ptbzFileName);

void FcTranslLockNode(FcTranslNode* pNode);
void FcTranslUnlockNode(FcTranslNode* pNode);

// The locked nodes of a file, in both tables.
int32 FcTranslCountLockedNodes(FcTranslDatabase* pDatabase, FwTextString ptbzFileName);

// The newest fixed string equal to the text, loaded, or null.
FcTranslNode* FcTranslFindFixedStringNode(FcTranslDatabase* pDatabase, FwTextString ptbzEnglish,
                                          uint32 cLength);

// Frees the blocks of a file with the texts of their nodes.
void FcTranslFreeNodeBlocks(FcTranslFile* pFile);

// --- Reading ---

// Moves the file's stream, and tells where it stands.
int32 FcTranslSetFileOffset(FcTranslFile* pFile, uint32 nOffset, FwErrorState* pErrState);
uint32 FcTranslGetFileOffset(FcTranslFile* pFile, FwErrorState* pErrState);

// Read a line into the line record, comments left out, and return its text; null at the end, which
// is no error, and on error. The second takes a line that isn't blank, trimmed.
FwTextString FcTranslFileGetNextLine(FcTranslFile* pFile, int32 fSkipBlankLines,
                                     uint32* pLineOffset, FwErrorState* pErrState);
FwTextString FcTranslFileGetNextLineText(FcTranslFile* pFile, FwErrorState* pErrState);

// Moves to the line behind the head of a section.
int32 FcTranslFileFindSection(FcTranslFile* pFile, FwTextString ptbzSection,
                              FwErrorState* pErrState);

// Reads a pair into the two text records, and tells where its English text begins. 0 at the end of
// the section, and for a fault, which is logged.
int32 FcTranslFileReadStringPair(FcTranslFile* pFile, uint32* pOffset, FwErrorState* pErrState);

// Reads the texts of a node from its file.
int32 FcTranslLoadNodeData(FcTranslNode* pNode);

// Reads the header into the file's record.
int32 FcTranslFileLoadHeader(FcTranslFile* pFile, int32* pfPreload, FwErrorState* pErrState);

// Ends reading from the file.
void FcTranslFileCloseStream(FcTranslFile* pFile);

// Frees a file's record with all that it owns. Its nodes must be in no chain.
void FcTranslFreeFile(FcTranslFile* pFile);

#endif
