#ifndef TOVX_ARRAY_H
#define TOVX_ARRAY_H

// Untyped arrays. Copies share one element block with a count of holders and
// take a block of their own only when they are about to change it, so copying a
// whole table costs O(1) whatever its size.

struct TOVXArrayBlock;

// How to copy and destroy elements that are not plain bytes. A null pointer means plain values.
struct TOVXArrayElementOps {
    void (*copy)(void* target, const void* source, int count);  // copy-construct into raw memory
    void (*destroy)(void* elements, int count);
};

struct TOVXArrayHeader {
    int capacity;           // slots reserved
    int count;              // slots in use
    TOVXArrayBlock* block;  // the element block, possibly shared with copies
    int elementSize;        // bytes per element
    void* data;             // first element, inside `block`
};

class TOVXArrayFreeCallback {
public:
    virtual ~TOVXArrayFreeCallback() = default;
    virtual void FreeElements() = 0;
};

// Null `ops` copy and move elements byte for byte, which suits plain values.
TOVXArrayHeader* tovxArrayAllocate(int capacity, int elementSize, const TOVXArrayElementOps* ops = nullptr);
// Returns 0, or -1 when memory ran out; `count` then stays as it was.
int tovxArrayAdd(TOVXArrayHeader*& header, void* element);
// Appends `count` plain elements with one copy; returns 0, or -1 when memory ran out.
int tovxArrayAddRun(TOVXArrayHeader*& header, const void* elements, int count);
// Makes `count` more plain elements in use and gives the first of them, for the caller to fill
// in place; their contents are undefined until then. Null when memory ran out (`count` then
// stays as it was) or `count` is not above 0.
void* tovxArrayExtend(TOVXArrayHeader*& header, int count);
int tovxArrayCount(TOVXArrayHeader* header);
int tovxArrayClear(TOVXArrayHeader*& header);
TOVXArrayHeader* tovxArrayCopy(TOVXArrayHeader* header);
void tovxArrayFree(TOVXArrayHeader*& header, TOVXArrayFreeCallback* callback);
int tovxArrayReallocSize(TOVXArrayHeader*& header, int capacity);
// True when another array holds the same element block: its elements are not this array's to release.
bool tovxArrayIsShared(const TOVXArrayHeader* header);
// Gives the array a block of its own when it shares one, keeping its elements and capacity;
// returns 0, or -1 when memory ran out and the block is still shared.
int tovxArrayDetach(TOVXArrayHeader*& header);

#endif
