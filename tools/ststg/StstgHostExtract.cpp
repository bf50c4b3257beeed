#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <system_error>

#include "StstgCommands.h"
#include "StstgFolderNames.h"
#include "StstgHostCommon.h"
#include "StstgText.h"

namespace fs = std::filesystem;

namespace ststg {
namespace host {

namespace {

// Names compared as the platform's lookup compares them, without case (ASCII letters here).
std::string folded(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// One folder of the output: the file names given out in it, and the stream names met in
// its storage.
struct Folder {
    fs::path path;
    bool usable = true;  // false when it could not be made: what belongs in it is skipped
    FolderNames fileNames;
    std::set<std::string> streamNames;
};

class HostExtractor {
public:
    HostExtractor(const std::string& file, const fs::path& target, const Console& console)
        : file_(file), console_(console) {
        folders_.push_back(Folder{target, true, FolderNames(), {}});
    }

    void visit(const HostItem& item) {
        if (item.path.empty()) return;  // the root is the target folder itself
        folders_.resize(item.path.size());  // leave the folders of storages already done
        Folder& parent = folders_.back();
        if (!parent.usable) {
            if (item.isStorage) folders_.push_back(Folder{fs::path(), false, FolderNames(), {}});
            return;
        }
        if (item.isStorage) addFolder(item, parent);
        else addFile(item, parent);
    }

    bool failed() const { return failed_; }

private:
    void addFolder(const HostItem& item, Folder& parent) {
        const fs::path path = parent.path / fs::u8path(parent.fileNames.claim(safeFileName(item.path.back())));
        std::error_code error;
        fs::create_directory(path, error);
        if (error) {
            writeFailure(path, error.message());
            folders_.push_back(Folder{path, false, FolderNames(), {}});
            return;
        }
        if (!item.opened) warn(item, "storage cannot be opened; its contents are not extracted");
        folders_.push_back(Folder{path, true, FolderNames(), {}});
    }

    void addFile(const HostItem& item, Folder& parent) {
        const fs::path path = parent.path / fs::u8path(parent.fileNames.claim(safeFileName(item.path.back())));
        // A lookup by name finds the earlier namesake: this stream cannot be reached.
        if (!parent.streamNames.insert(folded(item.path.back().ToUtf8())).second) {
            warn(item, "an earlier stream of the same name hides it; not extracted");
            return;
        }
        IStream* stream = OpenStream(item.parent, item.path.back());
        if (stream == nullptr) {
            warn(item, "cannot be opened; not extracted");
            return;
        }
        TOVXFilePath target(path.u8string());
        const bool whole = WriteStreamToFile(stream, target, 0);
        CloseStream(stream);
        std::error_code error;
        if (!fs::exists(path, error)) writeFailure(path, "cannot be written");
        else if (!whole) warn(item, "cannot be read to its end; the file holds what came");
    }

    void warn(const HostItem& item, const std::string& message) { console_.fail(file_, shownPath(item.path) + ": " + message); }

    void writeFailure(const fs::path& path, const std::string& message) {
        console_.fail(path.u8string(), message);
        failed_ = true;
    }

    std::string file_;
    const Console& console_;
    std::vector<Folder> folders_;  // folders_[d] holds the entries at depth d + 1
    bool failed_ = false;
};

}  // namespace

int extractCommand(const std::vector<std::string>& arguments, const Console& console) {
    std::vector<std::string> operands;
    for (const std::string& argument : arguments) {
        if (argument.size() > 1 && argument[0] == '-') return usageError(console, "extract", "unknown option '" + argument + "'");
        operands.push_back(argument);
    }
    if (operands.size() != 2) return usageError(console, "extract", operands.size() < 2 ? "missing FILE or DIR" : "too many arguments");
    const std::string& file = operands[0];
    const OpenedFile opened(file, console);
    if (opened.root() == nullptr) return kExitFailure;

    const fs::path target = fs::u8path(operands[1]);
    std::error_code error;
    fs::create_directories(target, error);
    if (error || !fs::is_directory(target)) {
        console.fail(operands[1], error ? error.message() : "not a directory");
        return kExitFailure;
    }
    const uint64_t fileBytes = fs::file_size(fs::u8path(file), error);
    HostExtractor extractor(file, target, console);
    const bool whole = walkHostTree(opened.root(), error ? 0 : fileBytes, [&](const HostItem& item) { extractor.visit(item); });
    if (!whole) console.fail(file, "more elements than the file can hold; extraction stops");
    return extractor.failed() || !whole ? kExitFailure : kExitOk;
}

}  // namespace host
}  // namespace ststg
