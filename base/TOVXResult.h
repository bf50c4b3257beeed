#ifndef TOVX_RESULT_H
#define TOVX_RESULT_H

#include <cstdint>

// The library's result codes. A code is a signed 32-bit value on every platform.
enum : int32_t {
    TOVX_OK = 0,
    TOVX_E_FAIL = 0x1000001,          // found nothing, or failed
    TOVX_E_NULL_STORAGE = 0x1000008,  // a null storage was handed in
    TOVX_E_NULL_POINTER = 0x100000B,  // a null interface pointer was handed in
};

class TOVXResult {
public:
    TOVXResult(int32_t code = TOVX_OK) : code_(code) {}
    TOVXResult& operator=(int32_t code) { code_ = code; return *this; }
    bool IsSuccess() const { return code_ == TOVX_OK; }
    int32_t Code() const { return code_; }

private:
    int32_t code_;
};

#endif
