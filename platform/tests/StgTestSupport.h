#ifndef TOVX_STG_TEST_SUPPORT_H
#define TOVX_STG_TEST_SUPPORT_H

// Small helpers for the stand-in's tests: wide texts, and interface pointers released when they go.

#include "TOVXStorageApi.h"

#include <string>
#include <vector>

namespace stgtest {

// A zero-terminated 16-bit text from UTF-8.
std::vector<WCHAR> wide(const std::string& text);
std::string narrow(const WCHAR* text);  // UTF-8 of a zero-terminated 16-bit text

template <class Interface>
class Ref {
public:
    Ref() = default;
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    ~Ref() { reset(); }
    Interface** out() { reset(); return &pointer_; }
    Interface* operator->() const { return pointer_; }
    Interface* get() const { return pointer_; }
    void reset() {
        if (pointer_ != nullptr) pointer_->Release();
        pointer_ = nullptr;
    }

private:
    Interface* pointer_ = nullptr;
};

HRESULT openFile(const std::string& path, DWORD mode, Ref<IStorage>& storage);

// The 16 bytes of a format id as a property-set stream stores it.
std::vector<uint8_t> storedId(const GUID& id);

// A compound file for the status tables: streams "CaseTest" (100 bytes, mini), "Документ" (5000
// bytes), "ÆØÅ", a storage "SubStg" holding "Inner", a document summary stream of two sections (a
// Unicode user-defined one naming id 2 "Named" and leaving id 3 unnamed), "\005Junk" (no
// property set) and a set under the base-32 name "\005baaaaaaaaaaaaaaaaaaaaaaaaa".
std::vector<uint8_t> sampleFile();

}  // namespace stgtest

#endif
