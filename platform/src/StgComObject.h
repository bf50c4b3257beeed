#ifndef TOVX_STG_COM_OBJECT_H
#define TOVX_STG_COM_OBJECT_H

// Reference counting and interface lookup shared by every object of the service. An object
// starts with the one reference that its maker hands out, and deletes itself at the last Release.

#include "TOVXStorageApi.h"

#include <atomic>

namespace tovxstg {

template <class Interface>
class StgComObject : public Interface {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        if (object == nullptr) return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || answersTo(riid)) {
            *object = static_cast<Interface*>(this);
            AddRef();
            return S_OK;
        }
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

protected:
    StgComObject() = default;
    virtual ~StgComObject() = default;
    StgComObject(const StgComObject&) = delete;
    StgComObject& operator=(const StgComObject&) = delete;
    // The interfaces besides IUnknown that this object answers to with itself.
    virtual bool answersTo(REFIID riid) const = 0;

private:
    std::atomic<ULONG> references_{1};
};

// One reference to an interface, released when the holder goes: how a child keeps its parent.
template <class Interface>
class StgReference {
public:
    StgReference() = default;
    explicit StgReference(Interface* object) : object_(object) {
        if (object_ != nullptr) object_->AddRef();
    }
    StgReference(const StgReference& other) : StgReference(other.object_) {}
    StgReference& operator=(const StgReference&) = delete;
    ~StgReference() {
        if (object_ != nullptr) object_->Release();
    }
    Interface* get() const { return object_; }
    Interface* operator->() const { return object_; }

private:
    Interface* object_ = nullptr;
};

}  // namespace tovxstg

#endif
