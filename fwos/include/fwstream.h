// Streams: a file, or anything else that moves bytes, with a buffer and lines on top.
//
// A stream reads or writes, never both. Layers are stacked: a stream that does the transfer at the
// bottom, a buffered stream above it.
//
//   FwObj* pFile = Fw_msg_CreateStreamIOFile(&FwStreamIOFileClass, &err, FW_OPEN_RDONLY, ptbzName);
//   if (pFile == nullptr) return report(&err);
//   FwObj* pStream = Fw_msg_CreateStreamBuffered(&err, FW_OPEN_RDONLY, 0x2000, pFile);
//   if (pStream == nullptr) Fw_msg_StreamDestroy(pFile, &err, 0);
//   ...
//   while (Fw_msg_ReadLine(pStream, &err, &record) > 0) ...
//   Fw_msg_StreamDestroy(pStream, &err, 1);          both
//
// The buffer when reading:                               when writing:
//
//   |  taken  |  not yet taken  |  unused  |               |  not yet flushed  |  free  |
//   ^ pBytes  ^ pCurrentPosition                           ^ pBytes            ^ pCurrentPosition
//             <-nBytesInBuffer->                           <--nBytesInBuffer-->
//
// Two flags tell how a stream stands: fError is sticky for its life, fEOF is cleared by a seek to
// position 0 only. Counts of bytes are -1 on error, with the reason in the error state, which must
// not be null. A kind of stream of one's own is a subclass of FwStreamIOClass that has the transfer
// messages, which the abstract classes prohibit.
#ifndef FWSTREAM_H
#define FWSTREAM_H

#include "fwclass.h"
#include "fwfile.h"
#include "vq32x2.h"

struct FwStreamCore : FwObject {
  int8 fEOF = 0;
  int8 fError = 0;
  uint16 openFlags = 0;                // FW_OPEN_...; FW_OPEN_WRONLY: a stream for writing
  FwObj* pUnderlyingStream = nullptr;  // null at the bottom
  int32 reentrancy = 0;                // not 0 while Fw_msg_Write runs
};

struct FwStreamBuffered : FwStreamCore {
  uint8* pBytes = nullptr;
  int32 nBufferSizeInBytes = 0;
  uint8* pCurrentPosition = nullptr;
  int32 nBytesInBuffer = 0;  // -1 once reading has met the end or an error
  Vq32x2 positionInStream;   // of the stream below: bytes read from it, or written to it
  int32 lineBuffered = 0;    // flush at each line end
};

struct FwStreamIO : FwStreamCore {};

struct FwStreamIOFile : FwStreamIO {
  FwFile handle = FW_FILE_INVALID;
};

extern const FwClassRecord FwStreamCoreClass;
extern const FwClassRecord FwStreamBufferedClass;
extern const FwClassRecord FwStreamIOClass;
extern const FwClassRecord FwStreamIOFileClass;

extern const char _Fw_msg_CreateStreamCore_Handle[];
extern const char _Fw_msg_CreateStreamBuffered_Handle[];
extern const char _Fw_msg_CreateStreamIO_Handle[];
extern const char _Fw_msg_CreateStreamIOFile_Handle[];
extern const char _Fw_msg_StreamRead_Handle[];
extern const char _Fw_msg_StreamWrite_Handle[];
extern const char _Fw_msg_StreamSeek_Handle[];
extern const char _Fw_msg_StreamExtent_Handle[];
extern const char _Fw_msg_StreamDestroy_Handle[];
extern const char _Fw_msg_GetUnderlyingStream_Handle[];
extern const char _Fw_msg_SetLineBuffering_Handle[];
extern const char _Fw_msg_ReadLine_Handle[];
extern const char _Fw_msg_Write_Handle[];
extern const char _Fw_msg_Flush_Handle[];
extern const char _Fw_msg_GetBufferRealPosition_Handle[];
extern const char _Fw_msg_UnreadBytes_Handle[];

// ---------------------------------------------------------------------------------------------
// Transfer, for any stream

// Bytes read, 0 at the end, -1 on error. A buffered stream prohibits it: read its lines.
int32 Fw_msg_StreamRead(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size);

// Bytes written, -1 on error.
int32 Fw_msg_StreamWrite(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size);

// Moves to *pOffset from the origin From (FW_SEEK_...) and stores the new position there. 1 or 0.
int32 Fw_msg_StreamSeek(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset, uint32 From);

// The length. 1 or 0.
int32 Fw_msg_StreamExtent(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset);

// Ends a stream, and with fCloseUnderlyingStream all those below it. What is buffered for writing
// is flushed. 1, or 0 if a stream could not be closed in order.
int32 Fw_msg_StreamDestroy(FwObj* pObj, FwErrorState* pErrState, int32 fCloseUnderlyingStream);

using Fw_msg_StreamRead_Fn = int32(FwObj* pObj, FwErrorState* pErrState, void* buffer, uint32 size);
using Fw_msg_StreamWrite_Fn = int32(FwObj* pObj, FwErrorState* pErrState, void* buffer,
                                    uint32 size);
using Fw_msg_StreamSeek_Fn = int32(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset,
                                   uint32 From);
using Fw_msg_StreamExtent_Fn = int32(FwObj* pObj, FwErrorState* pErrState, Vq32x2* pOffset);
using Fw_msg_StreamDestroy_Fn = int32(FwObj* pObj, FwErrorState* pErrState,
                                      int32 fCloseUnderlyingStream);

// ---------------------------------------------------------------------------------------------
// Construction. A stream that can't be made is null, with the error set; errors have the type word
// "Stream" alone. FW_OPEN_RDWR is refused: fwErrorNumericValue, and the assertion "Cannot support
// readable and writable streams for now".

// A buffered stream over pUnderlyingStream, which must be in good order and have the same
// openFlags. It does not own it, until it is destroyed with it. The buffer is of 1 byte or more.
FwObj* Fw_msg_CreateStreamBuffered(FwErrorState* pErrState, uint32 openFlags,
                                   int32 nBufferSizeInBytes, FwObj* pUnderlyingStream);

// A stream on a file, opened as FwFileOpen does. Flags that no stream can have end the program.
FwObj* Fw_msg_CreateStreamIOFile(const FwClassRecord* pClassRecord, FwErrorState* pErrState,
                                 uint32 openFlags, FwTextString ptbzFilename);

// The constructors that subclasses send to their superclass. A null result means that the instance
// is gone, even if it was the caller's: don't touch it.
using Fw_msg_CreateStreamCore_Fn = FwObj*(FwObj* pObj, const FwClassRecord* pClassRecord,
                                          FwErrorState* pErrState, uint32 openFlags,
                                          FwObj* pUnderlyingStream);
using Fw_msg_CreateStreamBuffered_Fn = FwObj*(FwObj* pObj, const FwClassRecord* pClassRecord,
                                              FwErrorState* pErrState, uint32 openFlags,
                                              int32 nBufferSizeInBytes, FwObj* pUnderlyingStream);

// Needs memory of the caller's. Kept, as the defined result: given null, it returns an instance
// that was never constructed.
using Fw_msg_CreateStreamIO_Fn = FwObj*(FwObj* pObj, const FwClassRecord* pClassRecord,
                                        FwErrorState* pErrState, uint32 openFlags);
using Fw_msg_CreateStreamIOFile_Fn = FwObj*(FwObj* pObj, const FwClassRecord* pClassRecord,
                                            FwErrorState* pErrState, uint32 openFlags,
                                            FwTextString ptbzFilename);

// ---------------------------------------------------------------------------------------------
// Buffered streams

FwObj* Fw_msg_GetUnderlyingStream(FwObj* pObj);
void Fw_msg_SetLineBuffering(FwObj* pObj, int32 fBufferLines);

// Appends the next line, which ends with a single newline whether it was CR, LF or CR LF; the last
// line of a file may lack it. Bytes added, 0 at the end, -1 on error.
int32 Fw_msg_ReadLine(FwObj* pObj, FwErrorState* pErrState, FwStrRecord* pStrRec);

// Writes the record's bytes up to its terminator. Bytes, -1 on error.
// Asserts "reentrancy  in StreamWrite" when the write of a stream writes to the stream again.
int32 Fw_msg_Write(FwObj* pObj, FwErrorState* pErrState, FwStrRecord* pStrRec);

// Hands what is buffered to the stream below; a stream for reading drops it. Bytes flushed, -1 on
// error.
int32 Fw_msg_Flush(FwObj* pObj, FwErrorState* pErrState);

// The position in the stream below of the next byte to read.
void Fw_msg_GetBufferRealPosition(FwObj* pObj, Vq32x2* pPosition);

// Goes back, in the buffer if it reaches back so far, otherwise by a seek.
// Asserts "must be positive number of bytes to unread", "error after seek".
void Fw_msg_UnreadBytes(FwObj* pObj, FwErrorState* pErrorState, int32 numBytesToUnread);

// The flags, 1 or 0. Plain functions, not dispatched.
int32 Fw_msg_IsStreamAtEOF(FwObj* pObj);
int32 Fw_msg_IsStreamError(FwObj* pObj);

#endif
