#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "StstgCommands.h"
#include "StstgCommon.h"
#include "StstgFolderNames.h"
#include "StstgText.h"
#include "TOVXStreamRead.h"
#include "TOVXTreeWalk.h"

namespace fs = std::filesystem;

namespace ststg {

namespace {

// Progress is shown for files from this size on, and only to a terminal.
constexpr uintmax_t kProgressFromBytes = 4u << 20;

using Item = TOVXTreeWalk::Item;
using Descent = TOVXTreeWalk::Descent;

struct Folder {
    fs::path path;
    FolderNames names;
    bool usable = true;  // false when the folder could not be made: what belongs in it is skipped
};

class Extractor {
public:
    Extractor(const std::string& file, const fs::path& target, const Console& console, bool showProgress)
        : file_(file), console_(console), showProgress_(showProgress) {
        folders_.push_back(Folder{target, FolderNames(), true});
    }

    void visit(const Item& item) {
        if (item.path.empty()) return;  // the root is the target folder itself
        folders_.resize(item.path.size());  // leave the folders of storages already done
        TOVStStorageDirEntry entry = item.entry;
        Folder& parent = folders_.back();
        if (!parent.usable) {
            if (entry.isStorage()) folders_.push_back(Folder{fs::path(), FolderNames(), false});
            return;
        }
        if (entry.isStorage()) addFolder(item, parent);
        else if (entry.isStream()) addFile(item, parent);
        else warn(item, "neither storage nor stream, skipped");
    }

    void finish() {
        if (showProgress_ && streamsWritten_ > 0) std::fputc('\n', console_.err);
    }

    bool failed() const { return failed_; }

private:
    void addFolder(const Item& item, Folder& parent) {
        const fs::path path = parent.path / fs::u8path(parent.names.claim(safeFileName(item.path.back())));
        std::error_code error;
        fs::create_directory(path, error);
        if (error) {
            writeFailure(path, error.message());
            folders_.push_back(Folder{path, FolderNames(), false});
            return;
        }
        if (item.descent == Descent::Refused) warn(item, "storage cannot be opened; its contents are not extracted");
        if (item.descent == Descent::AlreadyListed) warn(item, "leads to a storage extracted already; left empty");
        folders_.push_back(Folder{path, FolderNames(), true});
    }

    void addFile(const Item& item, Folder& parent) {
        const fs::path path = parent.path / fs::u8path(parent.names.claim(safeFileName(item.path.back())));
        if (item.shadowed) {
            warn(item, "an earlier stream of the same name hides it; not extracted");
            return;
        }
        TOVStStorageDirEntry entry = item.entry;
        const TOVXStreamRead read = TOVXStreamRead::child(*item.parent, entry.getName());
        if (read.outcome != TOVXStreamRead::Outcome::Read) {
            warn(item, "cannot be read; not extracted");
            return;
        }
        const std::vector<unsigned char>& bytes = read.bytes;
        if (bytes.size() < entry.getSize())
            warn(item, "the file holds only " + std::to_string(bytes.size()) + " of " + std::to_string(entry.getSize()) + " bytes");
        FILE* out = TOVXFilePath(path.u8string()).OpenFile("wb");
        if (out == nullptr) {
            writeFailure(path, std::strerror(errno));
            return;
        }
        const bool written = writeAll(out, bytes);
        if (std::fclose(out) != 0 || !written) writeFailure(path, "write failed");
        ++streamsWritten_;
        bytesWritten_ += bytes.size();
        reportProgress();
    }

    void reportProgress() {
        if (!showProgress_) return;
        std::fprintf(console_.err, "\rststg: %s: %zu streams, %.1f MiB written", file_.c_str(), streamsWritten_,
                     static_cast<double>(bytesWritten_) / (1 << 20));
        std::fflush(console_.err);
    }

    void warn(const Item& item, const std::string& message) {
        if (showProgress_ && streamsWritten_ > 0) std::fputc('\n', console_.err);
        console_.fail(file_, shownPath(item.path) + ": " + message);
    }

    void writeFailure(const fs::path& path, const std::string& message) {
        console_.fail(path.u8string(), message);
        failed_ = true;
    }

    std::string file_;
    const Console& console_;
    bool showProgress_;
    std::vector<Folder> folders_;  // folders_[d] holds the entries at depth d + 1
    size_t streamsWritten_ = 0;
    uintmax_t bytesWritten_ = 0;
    bool failed_ = false;
};

bool wantsProgress(const std::string& file, const Console& console) {
    std::error_code error;
    const uintmax_t size = fs::file_size(fs::u8path(file), error);
    return !error && size >= kProgressFromBytes && ::isatty(::fileno(console.err)) == 1;
}

}  // namespace

int extractCommand(const std::vector<std::string>& arguments, const Console& console) {
    std::vector<std::string> operands;
    for (const std::string& argument : arguments) {
        if (argument.size() > 1 && argument[0] == '-') return usageError(console, "extract", "unknown option '" + argument + "'");
        operands.push_back(argument);
    }
    if (operands.size() != 2) return usageError(console, "extract", operands.size() < 2 ? "missing FILE or DIR" : "too many arguments");
    const std::string& file = operands[0];
    TOVXStoragePtr root = openCompoundFile(file, console);
    if (root == nullptr) return kExitFailure;

    const fs::path target = fs::u8path(operands[1]);
    std::error_code error;
    fs::create_directories(target, error);
    if (error || !fs::is_directory(target)) {
        console.fail(operands[1], error ? error.message() : "not a directory");
        return kExitFailure;
    }
    Extractor extractor(file, target, console, wantsProgress(file, console));
    TOVXTreeWalk::walk(*root, [&](const Item& item) { extractor.visit(item); });
    extractor.finish();
    return extractor.failed() ? kExitFailure : kExitOk;
}

}  // namespace ststg
