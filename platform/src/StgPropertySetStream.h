#ifndef TOVX_STG_PROPERTY_SET_STREAM_H
#define TOVX_STG_PROPERTY_SET_STREAM_H

// One property-set stream, read whole and parsed: its header, and for each section the code
// page, the dictionary and the table of properties. Values are decoded when they are read.

#include "StgCompoundFile.h"

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
};

class StgPropertySetStream {
public:
    // Reads and parses the stream of directory entry `entry`. STG_E_INVALIDHEADER when it holds
    // no property set, STG_E_READFAULT on a read error.
    static HRESULT read(const std::shared_ptr<const StgCompoundFile>& file, uint32_t entry,
                        std::shared_ptr<const StgPropertySetStream>& parsed);

    const CLSID& clsid() const { return clsid_; }
    DWORD osVersion() const { return osVersion_; }
    const std::vector<StgPropertySection>& sections() const { return sections_; }

    // Decodes the value of property `id` of `section`; false when there is none.
    bool value(const StgPropertySection& section, PROPID id, PROPVARIANT& value) const;

private:
    HRESULT parse();
    void parseSection(StgPropertySection& section) const;

    std::vector<uint8_t> bytes_;
    CLSID clsid_{};
    DWORD osVersion_ = 0;
    std::vector<StgPropertySection> sections_;
};

}  // namespace tovxstg

#endif
