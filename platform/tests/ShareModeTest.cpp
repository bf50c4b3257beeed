// Share modes between two opens of one file, in one process and in two, as the real service
// answers them: an exclusive open shuts every other out, and waits for none to be there.

#include "StgTestSupport.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using stgtest::Ref;

namespace {

struct Pair {
    DWORD first;
    DWORD second;
    HRESULT status;
};

// 0x10 exclusive, 0x20 deny-write, 0x10040 deny-none (transacted), 0x30 deny-read.
const Pair kPairs[] = {
    {0x10, 0x20, STG_E_SHAREVIOLATION},    {0x10, 0x10, STG_E_SHAREVIOLATION},
    {0x10, 0x10040, STG_E_SHAREVIOLATION}, {0x20, 0x20, S_OK},
    {0x20, 0x10, STG_E_LOCKVIOLATION},     {0x20, 0x10040, S_OK},
    {0x10040, 0x20, S_OK},                 {0x10040, 0x10, STG_E_LOCKVIOLATION},
    {0x10040, 0x10040, S_OK},              {0x30, 0x20, STG_E_SHAREVIOLATION},
};

TEST(StgShareModes, SecondOpenInTheSameProcess) {
    const tovxtest::ScratchFile file(stgtest::sampleFile());
    for (const Pair& pair : kPairs) {
        SCOPED_TRACE(testing::Message() << std::hex << pair.first << " then " << pair.second);
        Ref<IStorage> first;
        ASSERT_EQ(stgtest::openFile(file.path(), pair.first, first), S_OK);
        Ref<IStorage> second;
        EXPECT_EQ(stgtest::openFile(file.path(), pair.second, second), pair.status);
        EXPECT_EQ(second.get() == nullptr, pair.status != S_OK);
    }
    // Once the holder is gone, the file is free again.
    Ref<IStorage> exclusive;
    EXPECT_EQ(stgtest::openFile(file.path(), 0x10, exclusive), S_OK);
}

TEST(StgShareModes, ProbeYieldsToAnExclusiveHolderOnly) {
    const tovxtest::ScratchFile file(stgtest::sampleFile());
    const std::vector<WCHAR> path = stgtest::wide(file.path());
    Ref<IStorage> holder;
    ASSERT_EQ(stgtest::openFile(file.path(), 0x20, holder), S_OK);
    EXPECT_EQ(StgIsStorageFile(path.data()), S_OK);
    ASSERT_EQ(stgtest::openFile(file.path(), 0x10, holder), S_OK);  // the deny-write open went first
    EXPECT_EQ(StgIsStorageFile(path.data()), STG_E_SHAREVIOLATION);
    // A copy is a plain read, so the host's retry through a temporary copy works.
    const tovxtest::ScratchFile copy({});
    EXPECT_EQ(CopyFileW(path.data(), stgtest::wide(copy.path()).data(), FALSE), TRUE);
    EXPECT_EQ(StgIsStorageFile(stgtest::wide(copy.path()).data()), S_OK);
}

TEST(StgShareModes, ReadOnlyFileCanBeHeldExclusively) {
    const tovxtest::ScratchFile file(stgtest::sampleFile());
    ASSERT_EQ(chmod(file.path().c_str(), 0444), 0);  // no descriptor open for writing is needed
    Ref<IStorage> first;
    ASSERT_EQ(stgtest::openFile(file.path(), 0x10, first), S_OK);
    Ref<IStorage> second;
    EXPECT_EQ(stgtest::openFile(file.path(), 0x20, second), STG_E_SHAREVIOLATION);
}

TEST(StgShareModes, SecondOpenInAnotherProcess) {
    const tovxtest::ScratchFile file(stgtest::sampleFile());
    for (const Pair& pair : kPairs) {
        SCOPED_TRACE(testing::Message() << std::hex << "holder " << pair.first << ", then " << pair.second);
        int ready[2];
        int done[2];
        ASSERT_EQ(pipe(ready), 0);
        ASSERT_EQ(pipe(done), 0);
        const pid_t holder = fork();
        ASSERT_GE(holder, 0);
        if (holder == 0) {
            // The holder: open, say so, and keep the file until told to go.
            IStorage* storage = nullptr;
            const char opened = StgOpenStorage(stgtest::wide(file.path()).data(), nullptr, pair.first, nullptr, 0,
                                               &storage) == S_OK ? 'y' : 'n';
            char go = 0;
            if (write(ready[1], &opened, 1) != 1 || read(done[0], &go, 1) != 1) _exit(2);
            if (storage != nullptr) storage->Release();
            _exit(0);
        }
        char opened = 0;
        ASSERT_EQ(read(ready[0], &opened, 1), 1);
        EXPECT_EQ(opened, 'y');
        Ref<IStorage> second;
        EXPECT_EQ(stgtest::openFile(file.path(), pair.second, second), pair.status);
        second.reset();
        ASSERT_EQ(write(done[1], "x", 1), 1);
        int status = 0;
        waitpid(holder, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        for (int descriptor : {ready[0], ready[1], done[0], done[1]}) close(descriptor);
    }
}

}  // namespace
