#include "BenchWorkloads.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "PropertyStreamBuilder.h"

namespace tovxbench {

namespace {

std::string numbered(const char* prefix, int index, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%s%0*d", prefix, digits, index);
    return text;
}

// A set of 20 properties as office programs write them: a code page, texts, counts, a date.
tovxtest::Bytes propertySet(int index) {
    using namespace tovxtest;
    PropertyStreamBuilder builder;
    builder.section(formatId(static_cast<uint8_t>(index)));  // a format id of its own for each of up to 256 sets
    builder.value(1, typed(2, le16(1252)));
    for (uint32_t id = 2; id < 12; ++id)
        builder.value(id, typed(30, narrowString("value " + std::to_string(index) + " of property " + std::to_string(id))));
    for (uint32_t id = 12; id < 18; ++id) builder.value(id, typed(3, le32(id * 1000 + static_cast<uint32_t>(index))));
    builder.value(18, typed(64, le64(132000000000000000ull + static_cast<uint64_t>(index))));
    builder.value(19, typed(11, le32(index % 2 != 0 ? 0xFFFF : 0)));  // a 16-bit boolean padded to 4
    builder.value(20, typed(5, le64(0x400921FB54442D18ull)));
    return builder.build();
}

}  // namespace

std::u16string wide(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

std::string smallStreamName(int index) { return numbered("Small", index, 6); }
std::string childName(int index) { return numbered("Stream", index, 7); }
std::string levelName(int depth) { return numbered("Level", depth, 5); }
// The name that the platform's service gives a set of this format id: the unit 5, then the
// id's 128 stored bits in fives, each a letter or a digit 0 to 5.
std::string propertySetName(int index) {
    static const char kAlphabet[] = "abcdefghijklmnopqrstuvwxyz012345";
    const tovxtest::Bytes id = tovxtest::formatId(static_cast<uint8_t>(index + 1));
    std::string name = "\x05";
    for (size_t character = 0; character < 26; ++character) {
        unsigned value = 0;
        for (unsigned bit = 0; bit < 5; ++bit) {
            const size_t position = character * 5 + bit;
            if (position < 128 && ((id[position / 8] >> (position % 8)) & 1) != 0) value |= 1u << bit;
        }
        name += kAlphabet[value];
    }
    return name;
}

tovxtest::CfbBuilder bigStreamWorkload(uint64_t streamBytes, int smallStreams, uint16_t sectorShift) {
    tovxtest::CfbBuilder builder(sectorShift);
    builder.addGeneratedStream(tovxtest::CfbBuilder::kRoot, wide(kBigStreamName), streamBytes, 1);
    for (int i = 1; i <= smallStreams; ++i)
        builder.addStream(tovxtest::CfbBuilder::kRoot, wide(smallStreamName(i)),
                          tovxtest::patternBytes(64 + static_cast<size_t>(i * 37 % 2937), static_cast<uint8_t>(i)));
    const int folder = builder.addStorage(tovxtest::CfbBuilder::kRoot, wide(kFolderName));
    builder.addStream(folder, wide(kInnerStreamName), tovxtest::patternBytes(64 * 1024, 2));
    builder.addStream(folder, wide(smallStreamName(1)), tovxtest::patternBytes(100, 3));
    return builder;
}

tovxtest::CfbBuilder wideRootWorkload(int children, int streamBytes) {
    tovxtest::CfbBuilder builder;
    for (int i = 1; i <= children; ++i)
        builder.addStream(tovxtest::CfbBuilder::kRoot, wide(childName(i)),
                          std::vector<uint8_t>(static_cast<size_t>(streamBytes), static_cast<uint8_t>(i)));
    return builder;
}

tovxtest::CfbBuilder deepTreeWorkload(int depth) {
    tovxtest::CfbBuilder builder;
    int parent = tovxtest::CfbBuilder::kRoot;
    for (int level = 1; level <= depth; ++level) {
        builder.addStream(parent, u"Data", tovxtest::patternBytes(100, static_cast<uint8_t>(level)));
        parent = builder.addStorage(parent, wide(levelName(level)));
    }
    return builder;
}

tovxtest::CfbBuilder propertySetWorkload(int extraSets) {
    tovxtest::CfbBuilder builder;
    builder.addStream(tovxtest::CfbBuilder::kRoot, u"\x05SummaryInformation", propertySet(0));
    builder.addStream(tovxtest::CfbBuilder::kRoot, u"\x05" u"DocumentSummaryInformation", propertySet(1));
    for (int i = 1; i <= extraSets; ++i) builder.addStream(tovxtest::CfbBuilder::kRoot, wide(propertySetName(i)), propertySet(i + 1));
    return builder;
}

bool writeWorkload(const tovxtest::CfbBuilder& builder, const std::string& path) { return builder.layout().writeFile(path); }

WorkloadFile::WorkloadFile(const tovxtest::CfbBuilder& builder) {
    const char* folder = std::getenv("TMPDIR");
    std::string pattern = std::string(folder != nullptr && *folder != 0 ? folder : "/tmp") + "/tovx-bench-XXXXXX.cfb";
    const int fd = mkstemps(&pattern[0], 4);
    if (fd < 0) return;
    close(fd);
    if (writeWorkload(builder, pattern))
        path_ = pattern;
    else
        std::remove(pattern.c_str());
    // On disk before any timing starts: a gigabyte still being written back would slow the
    // benchmark that happens to run first.
    const int written = path_.empty() ? -1 : open(path_.c_str(), O_RDONLY);
    if (written >= 0) {
        fsync(written);
        close(written);
    }
}

WorkloadFile::~WorkloadFile() {
    if (!path_.empty()) std::remove(path_.c_str());
}

}  // namespace tovxbench
