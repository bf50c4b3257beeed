#ifndef TOVX_STREAM_READ_H
#define TOVX_STREAM_READ_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "TOVIStorage.h"
#include "TOVXString.h"

// The bytes of one stream found by name, or why there are none. The stream is opened
// once; only when no stream comes back are the storage's children looked at, once, to
// tell an empty stream from a storage of that name, a missing name and an unreadable entry.
struct TOVXStreamRead {
    enum class Outcome {
        Read,           // `bytes` holds the stream; an empty stream gives no bytes
        NoSuchStorage,  // a name on the way down leads to no storage that can be opened
        NoSuchStream,   // no child of the last name at all
        IsStorage,      // the last name is a storage's, and no stream's
        Unreadable,     // a stream of that name with bytes, which openStream does not give
    };

    Outcome outcome = Outcome::NoSuchStream;
    std::vector<unsigned char> bytes;
    // The size the stream's entry declares. More than bytes.size() when the file or the
    // chain ends before the stream does.
    uint32_t declaredSize = 0;
    // With NoSuchStorage, how many names led to storages before the one that did not.
    size_t storagesOpened = 0;

    // The first stream called `name` among the immediate children of `storage`, as a
    // lookup by name finds it.
    static TOVXStreamRead child(TOVIStorage& storage, const TOVXString& name);
    // The stream that `names` lead to from `root`: every name but the last opens a storage.
    static TOVXStreamRead atPath(TOVIStorage& root, const std::vector<TOVXString>& names);
};

#endif
