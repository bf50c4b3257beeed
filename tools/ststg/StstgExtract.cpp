#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "StstgCommandList.h"
#include "StstgFolderNames.h"
#include "StstgInput.h"
#include "StstgSafeFolder.h"
#include "StstgText.h"

namespace ststg {

namespace {

// Progress is shown for files from this size on, and only to a terminal.
constexpr uintmax_t kProgressFromBytes = 4u << 20;

class Extractor {
public:
    Extractor(OpenedInput& input, const std::string& target, SafeFolder& folder, bool replace, const Console& console)
        : input_(input), folder_(folder), replace_(replace), console_(console), showProgress_(wantsProgress(input, console)) {
        levels_.push_back(Level{FolderNames(), true, target});
    }

    void visit(const Entry& entry) {
        if (entry.path.empty()) return;  // the storage extracted is the target folder itself
        settle(entry.path.size());
        Level& parent = levels_.back();
        if (entry.kind == EntryKind::Storage) addFolder(entry, parent);
        else if (entry.kind == EntryKind::Stream) addFile(entry, parent);
        else warn(entry.path, "neither storage nor stream, skipped");
    }

    // The one stream that PATH names, written into the target folder.
    void addSingle(const NamePath& path, const StreamRead& read) {
        ++streamsMeant_;
        write(levels_.back(), path, read);
    }

    // Says how far the extract got; the exit code.
    int finish() {
        if (showProgress_ && streamsWritten_ > 0) std::fputc('\n', console_.err);
        if (streamsWritten_ < streamsMeant_)
            console_.fail(input_.shown(), "extract incomplete: " + std::to_string(streamsWritten_) + " of " +
                                              std::to_string(streamsMeant_) + " streams written" +
                                              (firstFailure_.empty() ? "" : " (" + firstFailure_ + ")"));
        return writeFailed_ ? kExitFailure : kExitOk;
    }

private:
    struct Level {
        FolderNames names;
        bool usable;        // false when the folder could not be made: what belongs in it is skipped
        std::string shown;  // the folder as messages name it
    };

    static bool wantsProgress(const OpenedInput& input, const Console& console) {
        std::error_code error;
        const uintmax_t size = std::filesystem::file_size(std::filesystem::u8path(input.path()), error);
        return !error && size >= kProgressFromBytes && ::isatty(::fileno(console.err)) == 1;
    }

    // Leaves the folders of storages that are done, up to the parent of an entry at `depth`.
    void settle(size_t depth) {
        while (levels_.size() > depth) {
            const bool entered = levels_.back().usable;
            levels_.pop_back();
            std::string why;
            if (entered && !folder_.leave(why)) stopWith(levels_.back().shown, why);
        }
    }

    void addFolder(const Entry& entry, Level& parent) {
        if (!parent.usable || stopped_) {
            levels_.push_back(Level{FolderNames(), false, std::string()});
            return;
        }
        const std::string name = parent.names.claim(safeFileName(entry.path.back()));
        const std::string shown = parent.shown + "/" + name;
        std::string why;
        if (!folder_.enter(name, why)) {
            writeFailure(shown, why);
            levels_.push_back(Level{FolderNames(), false, shown});
            return;
        }
        if (entry.reach == Reach::StorageRefused) problem(entry.path, "storage cannot be opened; its contents are not extracted");
        if (entry.reach == Reach::StorageRepeated) warn(entry.path, "leads to a storage extracted already; left empty");
        if (entry.reach == Reach::BeyondDirectory) warn(entry.path, "the file lists entries more than once; its contents are not extracted");
        levels_.push_back(Level{FolderNames(), true, shown});
    }

    void addFile(const Entry& entry, Level& parent) {
        if (entry.reach == Reach::HiddenByNamesake) {
            if (parent.usable) parent.names.claim(safeFileName(entry.path.back()));  // as every name claims its own
            warn(entry.path, "an earlier stream of the same name hides it; not extracted");
            return;
        }
        ++streamsMeant_;
        if (!parent.usable || stopped_) return;
        write(parent, entry.path, entry.read());
    }

    void write(Level& parent, const NamePath& path, const StreamRead& read) {
        const std::string name = parent.names.claim(safeFileName(path.back()));
        if (read.outcome != StreamRead::Outcome::Read) {
            problem(path, "cannot be read; not extracted");
            if (firstFailure_.empty()) firstFailure_ = shownPath(path) + ": cannot be read";
            return;
        }
        if (read.bytes.size() < read.declaredSize)
            problem(path, "the file holds only " + std::to_string(read.bytes.size()) + " of " + std::to_string(read.declaredSize) + " bytes");
        std::string why;
        const SafeFolder::Written written = folder_.writeFile(name, read.bytes.data(), read.bytes.size(), replace_, why);
        if (written != SafeFolder::Written::Yes) {
            writeFailure(parent.shown + "/" + name, why);
            if (written == SafeFolder::Written::NoRoom) stopped_ = true;  // no later file would fare better
            return;
        }
        ++streamsWritten_;
        bytesWritten_ += read.bytes.size();
        reportProgress();
    }

    void reportProgress() {
        if (!showProgress_) return;
        std::fprintf(console_.err, "\rststg: %s: %zu streams, %.1f MiB written", input_.shown().c_str(), streamsWritten_,
                     static_cast<double>(bytesWritten_) / (1 << 20));
        std::fflush(console_.err);
    }

    void warn(const NamePath& path, const std::string& message) {
        if (showProgress_ && streamsWritten_ > 0) std::fputc('\n', console_.err);
        console_.fail(input_.shown(), shownPath(path) + ": " + message);
    }

    // Something of the file that could not be read: damage.
    void problem(const NamePath& path, const std::string& message) {
        warn(path, message);
        input_.road().damage().addProblem();
    }

    void writeFailure(const std::string& shown, const std::string& why) {
        if (showProgress_ && streamsWritten_ > 0) std::fputc('\n', console_.err);
        console_.fail(shown, why);
        if (firstFailure_.empty()) firstFailure_ = shown + ": " + why;
        writeFailed_ = true;
    }

    void stopWith(const std::string& shown, const std::string& why) {
        writeFailure(shown, why);
        stopped_ = true;
    }

    OpenedInput& input_;
    SafeFolder& folder_;
    bool replace_;
    const Console& console_;
    bool showProgress_;
    std::vector<Level> levels_;  // levels_[d] holds the entries at depth d + 1
    size_t streamsMeant_ = 0;    // streams that a name reaches
    size_t streamsWritten_ = 0;
    uintmax_t bytesWritten_ = 0;
    std::string firstFailure_;
    bool writeFailed_ = false;
    bool stopped_ = false;  // after a failure that every later file would meet too
};

}  // namespace

int extractCommand(const Invocation& invocation, const Console& console) {
    NamePath names;
    std::string error;
    const std::vector<std::string> path(invocation.operands.begin() + 2, invocation.operands.end());
    if (!path.empty() && !parseNamePath(path, names, error)) return usageError(console, "extract", error);
    OpenedInput input;
    if (!input.open(invocation.operands[0], invocation.road, console)) return kExitFailure;
    // A PATH that leads to a stream writes that one stream; one that leads nowhere writes nothing.
    StreamRead single = names.empty() ? StreamRead() : input.road().read(names);
    if (!names.empty() && single.outcome != StreamRead::Outcome::Read && single.outcome != StreamRead::Outcome::IsStorage) {
        console.fail(input.shown(), streamFailureText(single, names));
        return input.finish(kExitFailure, invocation.strict, console);
    }
    const std::string& target = invocation.operands[1];
    SafeFolder folder;
    if (!folder.openTarget(target, error)) {
        console.fail(target, error);
        return input.finish(kExitFailure, invocation.strict, console);
    }
    Extractor extractor(input, target, folder, invocation.force, console);
    std::string failure;
    if (!names.empty() && single.outcome == StreamRead::Outcome::Read) extractor.addSingle(names, single);
    else failure = input.road().walk(names, [&](const Entry& entry) { extractor.visit(entry); });
    int code = extractor.finish();
    if (!failure.empty()) {
        console.fail(input.shown(), failure);
        code = kExitFailure;
    }
    return input.finish(code, invocation.strict, console);
}

}  // namespace ststg
