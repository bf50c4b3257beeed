#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "TOVStStorageFileInfo.h"
#include "TestFiles.h"

namespace {

// The number stored under `key` in the oracle's text, at or after `from`; -1 when absent.
// The few numbers needed here are plain integers under keys that appear once where looked for.
long numberAfter(const std::string& json, const std::string& key, size_t from = 0) {
    const size_t at = json.find("\"" + key + "\":", from);
    return at == std::string::npos ? -1 : std::stol(json.substr(at + key.size() + 3));
}

}  // namespace

// Entry by entry, names, kinds and sizes are compared with the oracle through the tool (tests/corpus/compare_tree.py);
// here each file's image is held against the sizes the oracle's header and root imply.
TEST(CorpusImage, EveryFileLoadsWithTablesOfTheSizesTheOracleImplies) {
    const std::string dir = tovxtest::corpusDir();
    if (dir.empty()) GTEST_SKIP() << "corpus not found beside the project (../shared/corpus/files)";
    int checked = 0;
    for (const auto& item : std::filesystem::directory_iterator(dir + "/files")) {
        const std::string name = item.path().filename().string();
        SCOPED_TRACE(name);
        TOVStStorageFileInfo image{TOVXFilePath(item.path().string())};
        if (name == "gsf-v4-4096-sectors.bin") {  // more directory sectors than the header check allows
            EXPECT_FALSE(image.checkValidity());
            EXPECT_GT(image.getHeader().directorySectorCount, 5u);
            continue;
        }
        ASSERT_TRUE(image.checkValidity());
        ASSERT_GT(image.dirTable().Count(), 0);
        EXPECT_EQ(image.dirTable().At(0)->getType(), 5);

        const std::vector<uint8_t> bytes = tovxtest::readWholeFile(dir + "/oracle/" + name + ".json");
        const std::string oracle(bytes.begin(), bytes.end());
        const int sectorSize = static_cast<int>(numberAfter(oracle, "sector_size"));
        const int words = sectorSize / 4;
        EXPECT_EQ(static_cast<int>(image.sectorSize()), sectorSize);
        // The corpus files with large sectors fill the header's FAT list with zeros after word 109, and a
        // zero names sector 0, read again each time.
        const int zeroWords = sectorSize == 4096 ? 1005 - 109 : 0;
        EXPECT_EQ(image.fatTable().Count(), (numberAfter(oracle, "num_fat_sectors") + zeroWords) * words);
        EXPECT_EQ(image.miniFatTable().Count(), numberAfter(oracle, "num_mini_fat_sectors") * words);
        EXPECT_EQ(image.difTable().Count(), numberAfter(oracle, "num_difat_sectors") * words);
        EXPECT_EQ(image.dirTable().Count() % (sectorSize / 128), 0);  // whole directory sectors
        const size_t root = oracle.find("\"type\": \"root\"");
        ASSERT_NE(root, std::string::npos);
        EXPECT_EQ(image.miniStreamBytes().Count(), numberAfter(oracle, "size", root));
        ++checked;
    }
    EXPECT_GT(checked, 40);
}
