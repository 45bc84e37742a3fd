// The audio stream record and the operations its exports share.
#pragma once

#include <cstdint>

#include "include/gvconvert.h"
#include "include/gvstream.h"

namespace gv::stream {

constexpr DWORD kBufferBytes = 0x20000;  // every transfer goes through 128 KiB blocks
constexpr int kSlots = 8;

struct Stream;

// Room for several streams over one file; nothing forms a group yet, but
// every operation already keeps its members' views and length in step.
struct Group {
  Stream *head = nullptr;
  uint64_t length = 0;
  DWORD channels = 0;
};

struct Stream {
  Stream *next = nullptr;  // next member of the group
  Group *group = nullptr;
  char name[MAX_PATH + 1] = {};
  tGVAUDIOATTRIBS file{};
  tGVAUDIOATTRIBS client{};
  DWORD openFlags = 0;
  DWORD viewMode = 0;
  HANDLE handle = INVALID_HANDLE_VALUE;
  uint64_t dataOffset = 0;
  uint64_t length = 0;
  uint64_t position = 0;
  uint64_t bytePosition = 0;
  DWORD bufferBytes = kBufferBytes;
  DWORD framesPerBuffer = 0;
  double readGain = 1.0, writeGain = 1.0;
  const double *readGainPtr = nullptr, *writeGainPtr = nullptr;  // null while 1.0
  GVCONVERTFUNC readConvert = nullptr;   // file -> client
  GVCONVERTFUNC writeConvert = nullptr;  // client -> file
  DWORD framesPerPiece = 0;
  unsigned char *convBuffer = nullptr;  // only when the formats differ
  tGVAUDIOVIEW view{};
  DWORD viewCapacity = 0;
  void *slots[kSlots] = {};
};

inline Stream *FromHandle(HGVAUDIOSTREAM h) { return reinterpret_cast<Stream *>(h); }
inline bool ReadOnly(const Stream &s) { return (s.openFlags & 0xF) == GVAS_READONLY; }
inline bool WriteOnly(const Stream &s) { return (s.openFlags & 0xF) == GVAS_WRITEONLY; }

uint64_t Length(const Stream &s);
void SetLength(Stream &s, uint64_t length);

// View state: start as 64 bits, "empty" as the record shows it.
uint64_t ViewStart(const Stream &s);
void SetViewStart(Stream &s, uint64_t start);
inline bool ViewLoaded(const Stream &s) { return s.view.nFrames != 0; }

HRESULT Read(Stream &s, void *buffer, DWORD frames, DWORD *done);
HRESULT Write(Stream &s, const void *buffer, DWORD frames, DWORD *done);
HRESULT Seek(Stream &s, int64_t position, DWORD origin, uint64_t *newPos);
HRESULT AbsSeek(Stream &s, int64_t position, DWORD origin, uint64_t *newPos);
void Commit(Stream &s);

// Group upkeep around frame and raw I/O.
void CommitMembersOverlapping(Stream &s, uint64_t first, uint64_t count);
void CommitMembersForRawIo(Stream &s, bool emptyViews);
void RefreshMembersAfterWrite(Stream &s, const void *buffer, uint64_t first, uint64_t count);

// Slot buffers.
void *AllocBuffer(Stream &s, DWORD frames);
void *GetBuffer(Stream &s, DWORD frames);
void ReleaseBuffer(Stream &s, void *buffer);

void Close(Stream *s);

}  // namespace gv::stream
