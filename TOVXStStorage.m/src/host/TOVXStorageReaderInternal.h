#ifndef TOVX_STORAGE_READER_INTERNAL_H
#define TOVX_STORAGE_READER_INTERNAL_H

// Functions of the storage reader that the host stack shares but does not export.

#include "TOVXDynamicArray.h"
#include "TOVXStorageApi.h"
#include "TOVXString.h"

// Gives an interface's reference back when it goes out of scope, so that memory running out
// half way through a function leaves no platform object behind.
template <typename Interface>
class TOVXReleasedAtEnd {
public:
    explicit TOVXReleasedAtEnd(Interface*& object) : object_(object) {}
    ~TOVXReleasedAtEnd() {
        if (object_ != nullptr) object_->Release();
        object_ = nullptr;
    }
    TOVXReleasedAtEnd(const TOVXReleasedAtEnd&) = delete;
    TOVXReleasedAtEnd& operator=(const TOVXReleasedAtEnd&) = delete;

private:
    Interface*& object_;
};

// The same for a text that the platform handed over, given back with CoTaskMemFree.
template <typename Text>
class TOVXFreedAtEnd {
public:
    explicit TOVXFreedAtEnd(Text*& text) : text_(text) {}
    ~TOVXFreedAtEnd() {
        CoTaskMemFree(text_);
        text_ = nullptr;
    }
    TOVXFreedAtEnd(const TOVXFreedAtEnd&) = delete;
    TOVXFreedAtEnd& operator=(const TOVXFreedAtEnd&) = delete;

private:
    Text*& text_;
};

// Gives one reference back; null does nothing. Always true. CloseStorage, CloseStream,
// ClosePropertySetStorage and ClosePropertyStorage are this one function.
bool tovxReleaseInterface(IUnknown* object);

// The names of the children of `storage` of one kind: 1 storages, 0 streams; any other
// kind matches none. True when the platform let the walk start.
bool GetFilteredChildNames(IStorage* storage, TOVXDynamicArray<TOVXString>& out, int kind);

#endif
