#include "TOVXStorageReader.h"

#include <filesystem>
#include <system_error>

#include "TOVXMemoryManager.h"
#include "TOVXResourceBounds.h"
#include "TOVXStorageReaderInternal.h"
#include "TOVXTemporaryFile.h"

namespace {

// The creating site that TOVXTemporaryFile is told, with the line of each caller.
const char kTemporaryFileTag[] = "TOVXStStorage.m\\src\\TOVXStorageReader";
constexpr unsigned int kIsStorageFileLine = 51;
constexpr unsigned int kOpenStorageLine = 104;

constexpr DWORD kOpenFileMode = STGM_READ | STGM_SHARE_DENY_WRITE;
// The last resort after a failed copy: the caller's file again, shutting nobody out.
constexpr DWORD kLastResortMode = STGM_READ | STGM_SHARE_DENY_NONE | STGM_DIRECT_SWMR;
constexpr DWORD kChildMode = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr uint32_t kTransferBytes = 512;

// A zero-terminated 16-bit copy of a text for one platform call, exactly as long as the
// text needs, given back when it goes out of scope.
class WideText {
public:
    explicit WideText(const TOVXString& text) {
        const int units = text.getConvertToWideCharacterSize();
        units_ = static_cast<unsigned short*>(tovxAllocate(static_cast<unsigned int>(units) * 2u));
        if (units_ != nullptr) text.convertToWideCharacter(units_, units);
    }
    ~WideText() { tovxDeallocate(units_); }
    WideText(const WideText&) = delete;
    WideText& operator=(const WideText&) = delete;

    // Null only when no memory was left; callers then fail as if the platform had refused.
    const WCHAR* get() const { return reinterpret_cast<const WCHAR*>(units_); }

private:
    unsigned short* units_;
};

// The platform refuses a file that another process holds, and some names: both are
// worth a try through a copy.
bool isRetryCode(HRESULT code) { return code == STG_E_SHAREVIOLATION || code == STG_E_INVALIDNAME; }

// A copy keeps the source's attributes; a read-only one loses that bit and keeps the others.
void clearReadOnly(const WCHAR* path) {
    const DWORD attributes = GetFileAttributesW(path);
    // An unreadable set of attributes is left alone rather than written back as all ones.
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_READONLY) == 0) return;
    SetFileAttributesW(path, attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
}

// Copies `source` onto the temporary file `copy`; true when the platform reports success
// with 1, the only value it counts as success.
bool copyWithoutReadOnly(const WCHAR* source, const WCHAR* copy) {
    if (CopyFileW(source, copy, FALSE) != 1) return false;
    clearReadOnly(copy);
    return true;
}

// The temporary copy is removed as soon as the platform has done with the path: a storage
// open on it goes on reading through its open file until CloseStorage, and nothing stays
// behind. Where the system cannot remove a file in use, the copy stays, and the caller
// removes it after CloseStorage by the path that OpenStorage gave it.
void removeTemporaryFile(const TOVXFilePath& path) noexcept {
    tovxWithoutThrowing([&] {
        const std::string utf8 = path.GetPath().ToUtf8();
        if (utf8.empty()) return;
        std::error_code ignored;
        std::filesystem::remove(std::filesystem::u8path(utf8), ignored);
    });
}

// Walks the direct children of `storage`, handing each record to `use`; every name the
// platform hands out is freed once, whether `use` took it or not. False when the walk
// could not start. A failing Next ends the walk as the end of the list does. Memory that runs
// out in `use` ends the walk too; the enumerator and the name are given back all the same.
template <typename Use>
bool walkChildren(IStorage* storage, Use use) {
    IEnumSTATSTG* elements = nullptr;
    const HRESULT code = storage->EnumElements(0, nullptr, 0, &elements);
    if (FAILED(code) || elements == nullptr) return false;
    const TOVXReleasedAtEnd<IEnumSTATSTG> enumerator(elements);
    STATSTG record = {};
    while (elements->Next(1, &record, nullptr) == S_OK) {
        const TOVXFreedAtEnd<WCHAR> name(record.pwcsName);
        use(record);
    }
    return true;
}

TOVXString recordName(const STATSTG& record) {
    return TOVXString(reinterpret_cast<const unsigned short*>(record.pwcsName));
}

// How many bytes a count of 0 stands for: from the stream's position to its end, in
// unsigned 32-bit arithmetic. False when the size or the position cannot be read.
bool resolveCount(IStream* stream, uint32_t& count) {
    if (count != 0) return true;
    STATSTG status = {};
    if (FAILED(stream->Stat(&status, STATFLAG_DEFAULT))) return false;
    CoTaskMemFree(status.pwcsName);
    uint32_t position = 0;
    if (!TellStream(stream, position)) return false;
    count = static_cast<uint32_t>(status.cbSize.QuadPart) - position;
    return true;
}

// Copies up to `count` bytes in chunks; a chunk that cannot be read whole ends the copy
// and none of it is written. Gives the bytes copied.
uint32_t copyChunks(IStream* stream, FILE* file, uint32_t count) {
    unsigned char buffer[kTransferBytes];
    uint32_t copied = 0;
    while (copied < count) {
        const uint32_t chunk = count - copied < kTransferBytes ? count - copied : kTransferBytes;
        ULONG read = 0;
        const HRESULT code = stream->Read(buffer, chunk, &read);
        if (FAILED(code) || read < chunk) break;
        // A short write is not looked at: only the reads decide the result.
        static_cast<void>(std::fwrite(buffer, 1, chunk, file));
        copied += chunk;
    }
    return copied;
}

}  // namespace

bool tovxReleaseInterface(IUnknown* object) {
    if (object != nullptr) object->Release();
    return true;
}

// Memory that runs out in a host function gives its failure result (TOVXResourceBounds.h).
bool IsStorageFile(const TOVXFilePath& path) try {
    const WideText wide(path.GetPath());
    if (wide.get() == nullptr) return false;
    HRESULT code = StgIsStorageFile(wide.get());
    if (isRetryCode(code)) {
        TOVXTemporaryFile temporary(TOVXFilePath(), kTemporaryFileTag, kIsStorageFileLine);
        TOVXFilePath copyPath;
        temporary.GetPath(copyPath);
        {
            const WideText wideCopy(copyPath.GetPath());
            if (wideCopy.get() != nullptr && copyWithoutReadOnly(wide.get(), wideCopy.get()))
                code = StgIsStorageFile(wideCopy.get());
        }
        removeTemporaryFile(copyPath);  // the probe leaves no temporary file behind
    }
    return code == S_OK;
} catch (...) {
    return false;
}

// Nothing that may run out of memory follows a successful open.
IStorage* OpenStorage(const TOVXFilePath& path, TOVXFilePath& temporaryPath) try {
    const WideText wide(path.GetPath());
    if (wide.get() == nullptr) return nullptr;
    IStorage* storage = nullptr;
    HRESULT code = StgOpenStorage(wide.get(), nullptr, kOpenFileMode, nullptr, 0, &storage);
    if (isRetryCode(code) && storage == nullptr) {
        TOVXTemporaryFile temporary(TOVXFilePath(), kTemporaryFileTag, kOpenStorageLine);
        temporary.GetPath(temporaryPath);
        {
            const WideText wideCopy(temporaryPath.GetPath());
            if (wideCopy.get() != nullptr && copyWithoutReadOnly(wide.get(), wideCopy.get()))
                code = StgOpenStorage(wideCopy.get(), nullptr, kOpenFileMode, nullptr, 0, &storage);
            else
                code = StgOpenStorage(wide.get(), nullptr, kLastResortMode, nullptr, 0, &storage);
        }
        removeTemporaryFile(temporaryPath);
    }
    return SUCCEEDED(code) ? storage : nullptr;
} catch (...) {
    return nullptr;
}

IStorage* OpenStorage(IStorage* parent, const TOVXString& name) try {
    if (parent == nullptr) return nullptr;
    const WideText wide(name);
    if (wide.get() == nullptr) return nullptr;
    IStorage* child = nullptr;
    const HRESULT code = parent->OpenStorage(wide.get(), nullptr, kChildMode, nullptr, 0, &child);
    return SUCCEEDED(code) ? child : nullptr;
} catch (...) {
    return nullptr;
}

bool CloseStorage(IStorage* storage) { return tovxReleaseInterface(storage); }

// Memory that runs out gives false; `out` may then hold some of the children.
bool GetChildElements(IStorage* storage, TOVXDynamicArray<TOVXStStorageElement>& out) try {
    if (storage == nullptr) return false;
    walkChildren(storage, [&out](const STATSTG& record) {
        out.Add(TOVXStStorageElement(recordName(record), record.type == STGTY_STORAGE ? 1 : 0));
    });
    // Counts what `out` held before the call as well.
    return out.Count() > 0;
} catch (...) {
    return false;
}

bool GetFilteredChildNames(IStorage* storage, TOVXDynamicArray<TOVXString>& out, int kind) try {
    if (storage == nullptr) return false;
    return walkChildren(storage, [&out, kind](const STATSTG& record) {
        const bool wanted = (kind == 1 && record.type == STGTY_STORAGE) || (kind == 0 && record.type == STGTY_STREAM);
        if (wanted) out.Add(recordName(record));
    });
} catch (...) {
    return false;
}

bool GetStorageNames(IStorage* storage, TOVXDynamicArray<TOVXString>& out) {
    return GetFilteredChildNames(storage, out, 1);
}

bool GetStreamNames(IStorage* storage, TOVXDynamicArray<TOVXString>& out) {
    return GetFilteredChildNames(storage, out, 0);
}

bool GetStreamStorageNames(IStorage* storage, TOVXDynamicArray<TOVXString>& out) try {
    if (storage == nullptr) return false;
    return walkChildren(storage, [&out](const STATSTG& record) { out.Add(recordName(record)); });
} catch (...) {
    return false;
}

IStream* OpenStream(IStorage* storage, const TOVXString& name) try {
    if (storage == nullptr) return nullptr;
    const WideText wide(name);
    if (wide.get() == nullptr) return nullptr;
    IStream* stream = nullptr;
    const HRESULT code = storage->OpenStream(wide.get(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &stream);
    return SUCCEEDED(code) ? stream : nullptr;
} catch (...) {
    return nullptr;
}

bool ReadStream(IStream* stream, unsigned char* buffer, uint32_t count) {
    if (stream == nullptr) return false;
    ULONG read = 0;
    const HRESULT code = stream->Read(buffer, count, &read);
    return SUCCEEDED(code) && read == count;
}

bool ReadStream(IStream* stream, char* buffer, uint32_t count) {
    return ReadStream(stream, reinterpret_cast<unsigned char*>(buffer), count);
}

bool SeekStream(IStream* stream, int32_t offset, int origin) {
    if (stream == nullptr) return false;
    LARGE_INTEGER move;
    move.QuadPart = offset;
    ULARGE_INTEGER position;
    return SUCCEEDED(stream->Seek(move, static_cast<DWORD>(origin), &position));
}

bool TellStream(IStream* stream, uint32_t& position) {
    if (stream == nullptr) return false;
    LARGE_INTEGER none;
    none.QuadPart = 0;
    ULARGE_INTEGER current;
    current.QuadPart = 0;
    if (FAILED(stream->Seek(none, STREAM_SEEK_CUR, &current))) return false;
    position = static_cast<uint32_t>(current.QuadPart);
    return true;
}

bool GetStreamSize(IStream* stream, uint32_t& size) {
    if (stream == nullptr) return false;
    STATSTG status = {};
    if (FAILED(stream->Stat(&status, STATFLAG_DEFAULT))) return false;
    CoTaskMemFree(status.pwcsName);
    size = static_cast<uint32_t>(status.cbSize.QuadPart);
    return true;
}

bool CloseStream(IStream* stream) { return tovxReleaseInterface(stream); }

bool WriteStreamToFile(IStream* stream, TOVXFilePath& path, uint32_t count) {
    if (stream == nullptr || !resolveCount(stream, count)) return false;
    FILE* file = path.OpenFile("w+b");
    if (file == nullptr) return false;
    const uint32_t copied = copyChunks(stream, file, count);
    std::fclose(file);  // also after a short copy: what came stays in the file
    return copied == count;
}

bool WriteStreamToFile(IStream* stream, FILE* file, uint32_t count) {
    // The size is worked out before the file is looked at.
    if (stream == nullptr || !resolveCount(stream, count)) return false;
    if (file == nullptr) return false;
    return copyChunks(stream, file, count) == count;  // the file stays the caller's, unflushed
}

unsigned char AsUChar(signed char value) { return static_cast<unsigned char>(value); }
