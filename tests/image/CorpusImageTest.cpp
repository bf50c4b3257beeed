#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "MiniJson.h"
#include "TOVStStorageFileInfo.h"
#include "TestFiles.h"

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

        tovxtest::JsonValue oracle;
        const std::vector<uint8_t> text = tovxtest::readWholeFile(dir + "/oracle/" + name + ".json");
        ASSERT_TRUE(tovxtest::parseJson(std::string(text.begin(), text.end()), oracle));
        const int sectorSize = static_cast<int>(oracle["sector_size"].number);
        const int words = sectorSize / 4;
        const tovxtest::JsonValue& header = oracle["header"];
        EXPECT_EQ(static_cast<int>(image.sectorSize()), sectorSize);
        // The corpus files with large sectors fill the header's FAT list with zeros after word 109, and a
        // zero names sector 0, read again each time.
        const int zeroWords = sectorSize == 4096 ? 1005 - 109 : 0;
        EXPECT_EQ(image.fatTable().Count(), (static_cast<int>(header["num_fat_sectors"].number) + zeroWords) * words);
        EXPECT_EQ(image.miniFatTable().Count(), static_cast<int>(header["num_mini_fat_sectors"].number) * words);
        EXPECT_EQ(image.difTable().Count(), static_cast<int>(header["num_difat_sectors"].number) * words);
        EXPECT_EQ(image.dirTable().Count() % (sectorSize / 128), 0);  // whole directory sectors
        for (const tovxtest::JsonValue& entry : oracle["entries"].items) {
            if (entry["type"].ascii() == "root") {
                EXPECT_EQ(image.miniStreamBytes().Count(), static_cast<int>(entry["size"].number));
            }
        }
        ++checked;
    }
    EXPECT_GT(checked, 40);
}
