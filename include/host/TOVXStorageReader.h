#ifndef TOVX_STORAGE_READER_H
#define TOVX_STORAGE_READER_H

// The host stack's storage access: thin free functions over the platform's
// structured-storage service. Each answers with a boolean or a pointer and never passes
// a platform status on. Every interface pointer handed out is one reference owned by the
// caller, given back with CloseStorage or CloseStream; the library records no link
// between a storage and what was opened from it.

#include <cstdint>
#include <cstdio>

#include "TOVXDynamicArray.h"
#include "TOVXFilePath.h"
#include "TOVXStStorageElement.h"
#include "TOVXStorageApi.h"
#include "TOVXString.h"

// Probing and opening.

// True when the platform takes `path` for a compound file. A file that the platform
// refuses because another process holds it, or by its name, is probed through a
// temporary copy, which is removed again before the call returns.
bool IsStorageFile(const TOVXFilePath& path);
// Opens `path` for reading. When the platform refuses the file because another process
// holds it, or by its name, the file is copied to a temporary file and the copy opened;
// `temporaryPath` then receives the copy's path, and keeps what the caller gave it
// otherwise. Null when nothing could be opened.
IStorage* OpenStorage(const TOVXFilePath& path, TOVXFilePath& temporaryPath);
// Opens the child storage `name` of `parent`; null for a null parent or when the
// platform refuses.
IStorage* OpenStorage(IStorage* parent, const TOVXString& name);
// Gives one reference back; null does nothing. Always true.
bool CloseStorage(IStorage* storage);

// Child enumeration. All of them append to `out` in the platform's order.

// Every child with its kind; true when `out` holds at least one element afterwards.
bool GetChildElements(IStorage* storage, TOVXDynamicArray<TOVXStStorageElement>& out);
// The names of the child storages, of the child streams, or of all children; true
// when the platform let the walk start.
bool GetStorageNames(IStorage* storage, TOVXDynamicArray<TOVXString>& out);
bool GetStreamNames(IStorage* storage, TOVXDynamicArray<TOVXString>& out);
bool GetStreamStorageNames(IStorage* storage, TOVXDynamicArray<TOVXString>& out);

// Stream access. Sizes and positions are the low 32 bits of the platform's.

IStream* OpenStream(IStorage* storage, const TOVXString& name);
// True only when all `count` bytes came.
bool ReadStream(IStream* stream, char* buffer, uint32_t count);
bool ReadStream(IStream* stream, unsigned char* buffer, uint32_t count);
// `origin` goes to the platform as it is: 0 from the start, 1 from here, 2 from the end.
bool SeekStream(IStream* stream, int32_t offset, int origin);
bool TellStream(IStream* stream, uint32_t& position);
bool GetStreamSize(IStream* stream, uint32_t& size);
bool CloseStream(IStream* stream);
// Copies `count` bytes from the stream's position (0: all up to its end) in chunks of
// 512 bytes. The path form creates or empties the file and closes it; the file form
// writes where `file` stands and leaves it open. True when every byte was copied.
bool WriteStreamToFile(IStream* stream, TOVXFilePath& path, uint32_t count);
bool WriteStreamToFile(IStream* stream, FILE* file, uint32_t count);

unsigned char AsUChar(signed char value);

#endif
