#ifndef TOVX_STG_PROPERTY_SET_STREAM_H
#define TOVX_STG_PROPERTY_SET_STREAM_H

// One property-set stream, read whole and parsed: its header, and for each section the code
// page, the dictionary and the table of properties. Values are decoded when they are read.

#include "StgCompoundFile.h"
#include "StgPropertyValueReader.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tovxstg {

struct StgPropertySection {
    struct Property {
        PROPID id;
        size_t offset;  // from the section's start
        VARTYPE type;
    };
    FMTID fmtid{};
    size_t offset = 0;  // from the stream's start
    uint16_t codePage = 0;
    std::vector<Property> properties;  // table order; the dictionary and undecodable values left out
    std::vector<std::pair<PROPID, std::u16string>> names;

    // The property of this id, or null; and the first name that the dictionary gives this id,
    // or null. Each lookup takes log n, so that reading every property costs n log n.
    const Property* property(PROPID id) const;
    const std::u16string* name(PROPID id) const;

    // Positions in `properties` and in `names` in ascending order of id (ties in table order).
    std::vector<uint32_t> propertiesById;
    std::vector<uint32_t> namesById;
};

class StgPropertySetStream {
public:
    // Reads and parses the stream of directory entry `entry`. STG_E_INVALIDHEADER when it holds
    // no property set, STG_E_READFAULT on a read error. `bytesRead`, when given, receives how
    // many bytes the stream's chain gave, whether they parsed or not.
    static HRESULT read(const std::shared_ptr<const StgCompoundFile>& file, uint32_t entry,
                        std::shared_ptr<const StgPropertySetStream>& parsed, uint64_t* bytesRead = nullptr);

    const CLSID& clsid() const { return clsid_; }
    DWORD osVersion() const { return osVersion_; }
    const std::vector<StgPropertySection>& sections() const { return sections_; }

    // Decodes the value of property `id` of `section`; false when there is none.
    bool value(const StgPropertySection& section, PROPID id, PROPVARIANT& value) const;

private:
    HRESULT parse();
    void parseSection(StgPropertySection& section);
    // Decodes the value at `offset` of a section into `value` while the budget lasts, and takes
    // the bytes that it spans from the budget; false, and nothing decoded, once it is spent.
    bool decode(const StgPropertyValueReader& reader, size_t offset, PROPVARIANT& value);

    std::vector<uint8_t> bytes_;
    // Bytes of the stream that decoding values and names may still pass over in the parse
    // (tovxbounds::valueBudget): values that share or overlap their bytes would otherwise make
    // the parse cost the square of the stream's size. Past it, further values are left out.
    uint64_t budget_ = 0;
    CLSID clsid_{};
    DWORD osVersion_ = 0;
    std::vector<StgPropertySection> sections_;
};

}  // namespace tovxstg

#endif
