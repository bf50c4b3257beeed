// The native road: the library's own reader (TOVStgOpenStorage and the TOVI classes),
// with output exactly as the tool always gave it.
#include <optional>

#include "StstgInput.h"
#include "StstgPipe.h"
#include "StstgPropertyLabels.h"
#include "StstgRoad.h"
#include "StstgText.h"
#include "TOVIPropertySetStorage.h"
#include "TOVIPropertyStorage.h"
#include "TOVIPropertyStorageHandle.h"
#include "TOVXImageDamage.h"
#include "TOVXNativeOwners.h"
#include "TOVXProperty.h"
#include "TOVXStreamRead.h"
#include "TOVXTreeWalk.h"

namespace ststg {

namespace {

// The outcome and sizes of a read, without its bytes.
StreamRead outcomeOf(const TOVXStreamRead& read) {
    using From = TOVXStreamRead::Outcome;
    using To = StreamRead::Outcome;
    StreamRead out;
    switch (read.outcome) {
        case From::Read: out.outcome = To::Read; break;
        case From::NoSuchStorage: out.outcome = To::NoSuchStorage; break;
        case From::IsStorage: out.outcome = To::IsStorage; break;
        case From::NoSuchStream: out.outcome = To::NoSuchStream; break;
        case From::Unreadable: out.outcome = To::Unreadable; break;
    }
    out.declaredSize = read.declaredSize;
    out.storagesOpened = read.storagesOpened;
    return out;
}

StreamRead converted(const TOVXStreamRead& read) {
    StreamRead out = outcomeOf(read);
    out.bytes.assign(read.bytes.begin(), read.bytes.end());
    return out;
}

bool allZero(const unsigned char* bytes) {
    for (int i = 0; i < 16; ++i)
        if (bytes[i] != 0) return false;
    return true;
}

Reach reachOf(const TOVXTreeWalk::Item& item) {
    using Descent = TOVXTreeWalk::Descent;
    if (item.descent == Descent::Refused) return Reach::StorageRefused;
    if (item.descent == Descent::AlreadyListed) return Reach::StorageRepeated;
    if (item.descent == Descent::BeyondDirectory) return Reach::BeyondDirectory;
    if (item.shadowed) return Reach::HiddenByNamesake;
    return Reach::Whole;
}

EntryKind kindOf(const TOVXTreeWalk::Item& item) {
    TOVStStorageDirEntry entry = item.entry;
    if (item.path.empty()) return EntryKind::Start;
    if (entry.isStorage()) return EntryKind::Storage;
    if (entry.isStream()) return EntryKind::Stream;
    return EntryKind::Other;
}

PropertySetView viewOf(TOVIPropertyStorage& set) {
    PropertySetView view;
    unsigned char id[16];
    set.GetPropertyStorageID(id);
    view.id = guidText(id);
    view.name = set.GetPropertyStorageName();
    for (const TOVXPropertyHandle& property : set.GetPropertyArray()) {
        if (static_cast<TOVXProperty*>(property) == nullptr) continue;
        PropertyRow row;
        row.id = property->GetID();
        row.name = property->GetPropertyName();
        row.type = static_cast<int>(property->GetValueType());
        row.value = property->GetValue();
        row.kindWord = valueKindWord(row.type, "not found");
        view.rows.push_back(row);
    }
    return view;
}

// Streams whose pages were lent to a pipe: never released, and reachable to the end.
std::vector<TOVXStreamBytes>& keptUntilExit() {
    static std::vector<TOVXStreamBytes>* kept = new std::vector<TOVXStreamBytes>();
    return *kept;
}

class NativeRoad : public Road {
public:
    explicit NativeRoad(TOVXStoragePtr root) : root_(std::move(root)) {}

    const char* name() const override { return "native"; }
    bool humanForms() const override { return false; }

    std::string walk(const NamePath& start, const EntryVisitor& visit) override {
        TOVXStoragePtr held;
        TOVIStorage* storage = openPath(start, held);
        if (storage == nullptr) return "no storage " + shownPath(start) + " that can be opened";
        // A walk from the root sees every entry, so the damage of the file comes with it.
        TOVXImageDamage* damage = start.empty() ? &walkDamage_.emplace(*root_) : nullptr;
        TOVXTreeWalk::walk(*storage, [&](const TOVXTreeWalk::Item& item) {
            if (damage != nullptr) damage->look(item);
            TOVStStorageDirEntry entry = item.entry;  // the visit's class id points into it
            visit(entryOf(item, entry));
        });
        return std::string();
    }

    StreamRead read(const NamePath& path) override { return converted(TOVXStreamRead::atPath(*root_, path)); }

    // The stream is written from the buffer that the library gathered it in, in one go; a
    // large one is lent to a pipe page by page, which saves copying it (a quarter of the time
    // of a 1 GiB cat), and is then kept to the end of the process, while the reader may still
    // be copying from its pages.
    StreamRead copy(const NamePath& path, FILE* out) override {
        TOVXStreamRead read = TOVXStreamRead::atPath(*root_, path);
        StreamRead result = outcomeOf(read);
        constexpr size_t kWorthLending = 1 << 20;
        const size_t lent = read.bytes.size() >= kWorthLending ? lendToPipe(out, read.bytes.data(), read.bytes.size()) : 0;
        if (lent < read.bytes.size()) std::fwrite(read.bytes.data() + lent, 1, read.bytes.size() - lent, out);
        result.copied = read.bytes.size();
        if (lent > 0) keptUntilExit().push_back(std::move(read.bytes));
        return result;
    }

    bool propertySets(const NamePath& path, std::vector<PropertySetView>& sets) override {
        if (path.empty()) {
            rootSets(sets);
            return true;
        }
        TOVXStoragePtr held;
        TOVIStorage* storage = openPath(path, held);
        if (storage == nullptr) return false;
        storageSets(*storage, sets);
        return true;
    }

protected:
    void assessDamage() override {
        const TOVXImageDamage damage = walkDamage_ ? *walkDamage_ : TOVXImageDamage::scan(*root_);
        for (const std::string& line : damage.describe()) this->damage().addKind(line);
    }

private:
    // The storage that `path` leads to; a sub-storage has an image of its own, so only the
    // deepest one is kept open, in `held`.
    TOVIStorage* openPath(const NamePath& path, TOVXStoragePtr& held) {
        TOVIStorage* current = root_.get();
        for (const TOVXString& name : path) {
            TOVIStorage* next = nullptr;
            if (current->openStorage(name, &next) != 0 || next == nullptr) return nullptr;
            held.reset(next);
            current = next;
        }
        return current;
    }

    static Entry entryOf(const TOVXTreeWalk::Item& item, const TOVStStorageDirEntry& entry) {
        const unsigned char* clsid = entry.getClsID();
        TOVIStorage* parent = item.parent;
        const TOVXString name = entry.getName();
        return Entry{item.path,
                     kindOf(item),
                     static_cast<int>(entry.getType()),
                     kindName(entry.getType()),
                     true,
                     entry.getSize(),
                     reachOf(item),
                     allZero(clsid) ? nullptr : clsid,
                     0,  // the library keeps no times
                     0,
                     [parent, name] { return parent != nullptr ? converted(TOVXStreamRead::child(*parent, name)) : StreamRead(); }};
    }

    // The root's sets as the library's container holds them, in container order.
    void rootSets(std::vector<PropertySetView>& sets) {
        TOVIPropertySetStorage* container = root_->getPropertySetStorage();
        if (container == nullptr) return;
        TOVXDynamicArray<TOVIPropertyStorage*> list;
        container->GetPropertyStorages(list);
        for (TOVIPropertyStorage* set : list) {
            sets.push_back(viewOf(*set));
            set->LowerReference();
        }
    }

    // The library discovers sets at the root only: below it each child stream whose name
    // begins with \x05 is parsed here, as the discovery parses the root's, in directory order.
    static void storageSets(TOVIStorage& storage, std::vector<PropertySetView>& sets) {
        TOVXDynamicArray<TOVStStorageDirEntry> children;
        storage.enumElements(children);
        for (TOVStStorageDirEntry child : children) {
            const TOVXString name = child.getName();
            if (!child.isStream() || name.length() == 0 || name.At(0) != 5) continue;
            const TOVXStreamRead read = TOVXStreamRead::child(storage, name);
            if (read.outcome != TOVXStreamRead::Outcome::Read || read.bytes.empty()) continue;
            TOVIPropertyStorageHandle set(tovxNew<TOVIPropertyStorage>());
            TOVIPropertyStorage* parsed = set;
            if (parsed != nullptr && parsed->InitializeFromBuffer(read.bytes.data(), static_cast<int>(read.bytes.size())))
                sets.push_back(viewOf(*parsed));
        }
    }

    TOVXStoragePtr root_;
    std::optional<TOVXImageDamage> walkDamage_;
};

TOVXStoragePtr openRoot(const std::string& path) {
    TOVIStorage* storage = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(path), &storage) != 0 || storage == nullptr) return nullptr;
    return TOVXStoragePtr(storage);
}

}  // namespace

std::unique_ptr<Road> openNativeRoad(const std::string& path, const std::string& shown, const Console& console, bool quiet) {
    TOVXStoragePtr root = openRoot(path);
    if (root != nullptr) return std::make_unique<NativeRoad>(std::move(root));
    if (!quiet)
        console.fail(shown, refusalReason(path, "compound file not accepted: damaged header or a layout this library does not read"));
    return nullptr;
}

std::vector<std::string> nativeDamage(const std::string& path) {
    TOVXStoragePtr root = openRoot(path);
    if (root == nullptr) return {};
    return TOVXImageDamage::scan(*root).describe();
}

}  // namespace ststg
