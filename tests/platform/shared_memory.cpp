#include "platform/shared_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <fstream>

#include "tests/platform/child_process.h"
#include "tests/platform/owned_block.h"
#endif
#include "tests/platform/sized_block.h"

using platform::BlockAccess;
using platform::CreatedBlock;
using platform::OpenedBlock;

namespace {

// A name that no other test and no other run uses.
WideString newName() {
    static int count = 0;
#if defined(_WIN32)
    const unsigned long process = GetCurrentProcessId();
#else
    const int process = getpid();
#endif
    return utf8ToWide("Q7TEST" + std::to_string(process) + "X" + std::to_string(++count));
}

void put(std::span<std::byte> view, const std::string& text) {
    ASSERT_GE(view.size(), text.size());
    std::memcpy(view.data(), text.data(), text.size());
}

std::string get(std::span<std::byte> view, std::size_t size) {
    return {reinterpret_cast<const char*>(view.data()), std::min(size, view.size())};
}

bool exists(const WideString& name) {
    return OpenedBlock::open(name, BlockAccess::ReadWrite).has_value();
}

bool canBeWritten(std::span<std::byte> view) {
#if defined(_WIN32)
    MEMORY_BASIC_INFORMATION region = {};
    VirtualQuery(view.data(), &region, sizeof region);
    return region.Protect == PAGE_READWRITE;
#else
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line)) {
        std::size_t read = 0;
        const auto begin = std::stoull(line, &read, 16);
        if (begin != reinterpret_cast<std::uintptr_t>(view.data())) continue;
        return line.substr(line.find(' ') + 1, 2) == "rw";
    }
    ADD_FAILURE() << "not mapped";
    return false;
#endif
}

}  // namespace

TEST(SharedMemory, OpeningMakesNothing) {
    const WideString name = newName();
    EXPECT_FALSE(OpenedBlock::open(name, BlockAccess::ReadWrite));
    EXPECT_FALSE(OpenedBlock::open(name, BlockAccess::ReadOnly));
    EXPECT_FALSE(CreatedBlock::create(name, 4).alreadyExisted());
}

TEST(SharedMemory, ANewBlockIsZeroAndAsLargeAsAskedFor) {
    for (const std::uint32_t size : {1U, 2U, 4U, 4096U, 100000U}) {
        const CreatedBlock block = CreatedBlock::create(newName(), size);
        EXPECT_FALSE(block.alreadyExisted());
        ASSERT_GE(block.view().size(), size);
        EXPECT_EQ(get(block.view(), size), std::string(size, '\0'));
        block.view()[size - 1] = std::byte{7};
        EXPECT_EQ(block.view()[size - 1], std::byte{7});
    }
}

TEST(SharedMemory, BothSidesSeeWhatTheOtherWrites) {
    const WideString name = newName();
    const CreatedBlock created = CreatedBlock::create(name, 8);
    put(created.view(), "made");
    const auto writing = OpenedBlock::open(name, BlockAccess::ReadWrite);
    const auto reading = OpenedBlock::open(name, BlockAccess::ReadOnly);
    ASSERT_TRUE(writing && reading);
    EXPECT_EQ(get(writing->view(), 4), "made");
    EXPECT_EQ(get(reading->view(), 4), "made");
    put(writing->view().subspan(4), "back");
    EXPECT_EQ(get(created.view(), 8), "madeback");
    EXPECT_EQ(get(reading->view(), 8), "madeback");
    EXPECT_TRUE(canBeWritten(created.view()));
    EXPECT_TRUE(canBeWritten(writing->view()));
    EXPECT_FALSE(canBeWritten(reading->view()));
}

TEST(SharedMemory, AnOpenedBlockIsMappedWhole) {
    const WideString name = newName();
    const CreatedBlock created = CreatedBlock::create(name, 100000);
    put(created.view().subspan(99997), "end");
    const auto opened = OpenedBlock::open(name, BlockAccess::ReadOnly);
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->view().size(), created.view().size());
    EXPECT_EQ(get(opened->view().subspan(99997), 3), "end");
}

TEST(SharedMemory, CreatingTakesTheBlockThatIsThere) {
    const WideString name = newName();
    const CreatedBlock first = CreatedBlock::create(name, 5000);
    put(first.view(), "first");
    for (const std::uint32_t size : {5000U, 100000U, 2U}) {
        const CreatedBlock second = CreatedBlock::create(name, size);
        EXPECT_TRUE(second.alreadyExisted());
#if defined(_WIN32)
        EXPECT_EQ(second.view().size(), first.view().size());
#else
        EXPECT_EQ(second.view().size(), 5000U);
#endif
        EXPECT_EQ(get(second.view(), 5), "first");
        second.view().back() = std::byte{7};
        EXPECT_EQ(first.view().back(), std::byte{7});
        first.view().back() = std::byte{0};
#if !defined(_WIN32)
        // The next one would not find it: closing takes the name away.
        break;
#endif
    }
}

TEST(SharedMemory, TheNameGoesWithTheLastBlock) {
    const WideString name = newName();
    { const CreatedBlock block = CreatedBlock::create(name, 4); }
    EXPECT_FALSE(exists(name));
    {
        const CreatedBlock first = CreatedBlock::create(name, 4);
        const CreatedBlock second = CreatedBlock::create(name, 4);
        EXPECT_FALSE(first.alreadyExisted());
        EXPECT_TRUE(second.alreadyExisted());
    }
    EXPECT_FALSE(exists(name));
    EXPECT_FALSE(CreatedBlock::create(name, 4).alreadyExisted());
}

TEST(SharedMemory, AnOpenedBlockOutlivesItsMaker) {
    const WideString name = newName();
    std::optional<CreatedBlock> created = CreatedBlock::create(name, 4);
    put(created->view(), "kept");
    const auto opened = OpenedBlock::open(name, BlockAccess::ReadWrite);
    created.reset();
    ASSERT_TRUE(opened);
    EXPECT_EQ(get(opened->view(), 4), "kept");
}

TEST(SharedMemory, AnOwnedBlockIsThereAsLongAsItsOwnerHasIt) {
    const WideString name = newName();
    std::optional<CreatedBlock> created = CreatedBlock::create(name, 4);
    put(created->view(), "kept");
    created->markAsOwned();
    const auto opened = OpenedBlock::open(name, BlockAccess::ReadWrite);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(opened->isOwned());
    EXPECT_EQ(get(opened->view(), 4), "kept");
    const CreatedBlock moved = std::move(*created);
    created.reset();
    EXPECT_TRUE(exists(name));
}

TEST(SharedMemory, MovingKeepsTheBlock) {
    const WideString name = newName();
    CreatedBlock first = CreatedBlock::create(name, 4);
    put(first.view(), "kept");
    {
        CreatedBlock second = std::move(first);
        EXPECT_EQ(get(second.view(), 4), "kept");
        EXPECT_TRUE(exists(name));
        first = std::move(second);
    }
    EXPECT_EQ(get(first.view(), 4), "kept");
    auto opened = OpenedBlock::open(name, BlockAccess::ReadOnly);
    ASSERT_TRUE(opened);
    const OpenedBlock moved = std::move(*opened);
    EXPECT_EQ(get(moved.view(), 4), "kept");
}

TEST(SharedMemory, ABlockWithoutBytesHasAnEmptyView) {
    const CreatedBlock block = CreatedBlock::create(newName(), 0);
    EXPECT_FALSE(block.alreadyExisted());
    EXPECT_TRUE(block.view().empty());
}

TEST(SharedMemory, BytesAreCopiedAsFarAsTheBlockGoes) {
    const WideString name = newName();
    const CreatedBlock created = CreatedBlock::create(name, 4096);
    put(created.view(), "made");
    put(created.view().subspan(4092), "tail");
    const auto opened = OpenedBlock::open(name, BlockAccess::ReadWrite);
    ASSERT_TRUE(opened);
    std::array<std::byte, 8> bytes = {};
    EXPECT_EQ(opened->read(0, bytes), 8U);
    EXPECT_EQ(get(bytes, 4), "made");
    EXPECT_EQ(opened->read(4092, bytes), 4U);
    EXPECT_EQ(get(bytes, 4), "tail");
    EXPECT_EQ(opened->read(4096, bytes), 0U);
    EXPECT_EQ(opened->read(1U << 20, bytes), 0U);
    EXPECT_EQ(opened->read(0, {}), 0U);
    const std::string text = "seen and more";
    const auto seen = std::as_bytes(std::span(text)).first(4);
    opened->write(4092, std::as_bytes(std::span(text)));
    opened->write(4093, seen);
    opened->write(4096, seen);
    EXPECT_EQ(created.view().size(), 4096U);
    EXPECT_EQ(get(created.view().subspan(4092), 4), "tail");
    opened->write(4092, seen);
    opened->write(0, seen.first(3));
    EXPECT_EQ(get(created.view(), 4), "seee");
    EXPECT_EQ(get(created.view().subspan(4092), 4), "seen");
}

TEST(SharedMemory, ANameOfAnotherKindOfObjectGivesNoBlock) {
    const WideString name = newName();
    const NameOfAnotherObject other(name);
    for (int again = 0; again < 2; ++again) {
        const CreatedBlock block = CreatedBlock::create(name, 4);
        EXPECT_TRUE(block.view().empty());
        EXPECT_FALSE(exists(name));
    }
}

#if defined(_WIN32)

TEST(SharedMemory, ABlockThatMayNotBeWrittenToHasAnEmptyView) {
    const WideString name = newName();
    const ReadOnlyBlock block(name);
    ASSERT_TRUE(block.wasMade());
    if (!block.isKeptByTheSystem()) GTEST_SKIP() << "this system has no read-only blocks";
    const auto opened = OpenedBlock::open(name, BlockAccess::ReadWrite);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(opened->view().empty());
    std::array<std::byte, 8> bytes = {};
    EXPECT_EQ(opened->read(0, bytes), 0U);
    opened->write(0, bytes);
    const CreatedBlock created = CreatedBlock::create(name, 4);
    EXPECT_TRUE(created.alreadyExisted());
    EXPECT_TRUE(created.view().empty());
}

TEST(SharedMemory, ABlockLivesUntilItsLastHandleIsClosed) {
    const WideString name = newName();
    const CreatedBlock first = CreatedBlock::create(name, 4);
    { const CreatedBlock second = CreatedBlock::create(name, 4); }
    EXPECT_TRUE(exists(name));
}

#else

namespace {

struct stat statusOf(const WideString& name) {
    struct stat status = {};
    const int descriptor = shm_open(objectName(name).c_str(), O_RDWR, 0);
    EXPECT_GE(descriptor, 0);
    EXPECT_EQ(fstat(descriptor, &status), 0);
    close(descriptor);
    return status;
}

auto openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries));
}

}  // namespace

TEST(SharedMemory, IsReservedAtOnceForThisUserOnly) {
    const WideString name = newName();
    const CreatedBlock block = CreatedBlock::create(name, 40'000'000);
    EXPECT_EQ(block.view().size(), 40'000'000U);
    const struct stat status = statusOf(name);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(status.st_size, 40'000'000);
    EXPECT_GE(status.st_blocks * 512, 40'000'000);
}

TEST(SharedMemory, OtherProcessesSeeTheBlock) {
    const WideString name = newName();
    const CreatedBlock block = CreatedBlock::create(name, 8);
    put(block.view(), "host");
    const pid_t child = startChild([&name] {
        const auto opened = OpenedBlock::open(name, BlockAccess::ReadWrite);
        if (!opened || get(opened->view(), 4) != "host") return 1;
        put(opened->view(), "seen");
        return 0;
    });
    EXPECT_EQ(exitCodeOf(child), 0);
    EXPECT_EQ(get(block.view(), 4), "seen");
    EXPECT_TRUE(exists(name));
}

TEST(SharedMemory, ABlockThatAKilledProcessLeftIsTakenAndReplaced) {
    const WideString name = newName();
    const pid_t child = startChild([&name] {
        const CreatedBlock block = CreatedBlock::create(name, 4);
        put(block.view(), "left");
        raise(SIGKILL);
        return 0;
    });
    EXPECT_EQ(exitCodeOf(child), -1);
    std::optional<CreatedBlock> block = CreatedBlock::create(name, 4);
    EXPECT_TRUE(block->alreadyExisted());
    EXPECT_EQ(get(block->view(), 4), "left");
    block.reset();
    block = CreatedBlock::create(name, 4);
    EXPECT_FALSE(block->alreadyExisted());
    EXPECT_EQ(get(block->view(), 4), std::string(4, '\0'));
}

TEST(SharedMemory, ClosingTakesTheNameAwayWhoeverMadeIt) {
    const WideString name = newName();
    const CreatedBlock first = CreatedBlock::create(name, 4);
    { const CreatedBlock second = CreatedBlock::create(name, 4); }
    EXPECT_FALSE(exists(name));
    // Its memory stays while it is mapped.
    put(first.view(), "here");
    EXPECT_EQ(get(first.view(), 4), "here");
}

TEST(SharedMemory, ABlockThatHasNoBytesYetOpensEmpty) {
    const WideString name = newName();
    const int descriptor = shm_open(objectName(name).c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(descriptor, 0);
    close(descriptor);
    const auto opened = OpenedBlock::open(name, BlockAccess::ReadWrite);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(opened->view().empty());
    const CreatedBlock created = CreatedBlock::create(name, 4);
    EXPECT_TRUE(created.alreadyExisted());
    EXPECT_TRUE(created.view().empty());
}

TEST(SharedMemory, WhereThereIsNoRoomTheViewIsEmpty) {
    const WideString name = newName();
    // The limit on the size of files holds for shared memory as well. Some of the block is to be had.
    const pid_t child = startChild([&name] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {20'000'000, 20'000'000};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
        const CreatedBlock block = CreatedBlock::create(name, 40'000'000);
        if (!block.view().empty() || block.alreadyExisted()) return 2;
        const auto opened = OpenedBlock::open(name, BlockAccess::ReadWrite);
        return opened && opened->view().empty() ? 0 : 3;
    });
    EXPECT_EQ(exitCodeOf(child), 0);
    EXPECT_FALSE(exists(name));
}

TEST(SharedMemory, ANameThatCannotBeGivesAnEmptyView) {
    for (const WideString& name : {WideString(), WideString(u"a/b"), WideString(5000, u'x')}) {
        const CreatedBlock block = CreatedBlock::create(name, 4);
        EXPECT_FALSE(block.alreadyExisted());
        EXPECT_TRUE(block.view().empty());
        EXPECT_FALSE(exists(name));
    }
}

TEST(SharedMemory, GivesItsDescriptorsBack) {
    const auto before = openDescriptors();
    {
        const WideString name = newName();
        const CreatedBlock created = CreatedBlock::create(name, 4);
        const CreatedBlock again = CreatedBlock::create(name, 4);
        auto opened = OpenedBlock::open(name, BlockAccess::ReadOnly);
        ASSERT_TRUE(opened);
        const OpenedBlock moved = std::move(*opened);
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST(SharedMemory, AnOwnedBlockIsForThisUserOnly) {
    const WideString name = newName();
    const CreatedBlock block = CreatedBlock::create(name, 4);
    EXPECT_EQ(statusOf(name).st_mode & 07777U, 0600U);
    EXPECT_FALSE(OpenedBlock::open(name, BlockAccess::ReadOnly)->isOwned());
    block.markAsOwned();
    EXPECT_EQ(statusOf(name).st_mode & 07777U, 01600U);
}

TEST(SharedMemory, AnOwnedBlockGoesWithAKilledProcess) {
    const WideString name = newName();
    HoldingProcess owner([&name] {
        static const CreatedBlock block = CreatedBlock::create(name, 4);
        block.markAsOwned();
        return exists(name);
    });
    EXPECT_TRUE(OpenedBlock::open(name, BlockAccess::ReadOnly)->isOwned());
    owner.kill();
    EXPECT_FALSE(exists(name));
    // Its name is still taken, until the next one closes it.
    EXPECT_TRUE(CreatedBlock::create(name, 4).alreadyExisted());
    const CreatedBlock next = CreatedBlock::create(name, 4);
    EXPECT_FALSE(next.alreadyExisted());
    EXPECT_TRUE(exists(name));
}

namespace {

// A block whose owner was killed, and a lock of somebody else on one of its bytes.
class LockedDeadBlock {
  public:
    LockedDeadBlock(short type, off_t byte) {
        HoldingProcess owner(
            [this] { return make_block(objectName(name_).c_str(), "left", 4) >= 0; });
        EXPECT_TRUE(exists(name_));
        owner.kill();
        descriptor_ = shm_open(objectName(name_).c_str(), O_RDWR, 0);
        EXPECT_GE(descriptor_, 0);
        struct flock lock = first_byte();
        lock.l_type = type;
        lock.l_start = byte;
        EXPECT_EQ(fcntl(descriptor_, F_OFD_SETLK, &lock), 0);
    }
    LockedDeadBlock(const LockedDeadBlock&) = delete;
    LockedDeadBlock& operator=(const LockedDeadBlock&) = delete;
    ~LockedDeadBlock() {
        close(descriptor_);
        shm_unlink(objectName(name_).c_str());
    }

    const WideString& name() const { return name_; }

  private:
    const WideString name_ = newName();
    int descriptor_ = -1;
};

}  // namespace

TEST(SharedMemory, AReadLockKeepsNoDeadBlockAlive) {
    EXPECT_FALSE(exists(LockedDeadBlock(F_RDLCK, 0).name()));
}

TEST(SharedMemory, AWriteLockOnAnotherByteKeepsNoDeadBlockAlive) {
    EXPECT_FALSE(exists(LockedDeadBlock(F_WRLCK, 1).name()));
}

// Where the lock is somebody else's the block stays without a mark.
TEST(SharedMemory, OnlyTheHolderOfTheLockMarksABlock) {
    const WideString name = newName();
    const HoldingProcess owner([&name] {
        return make_block(objectName(name).c_str(), "left", 4) >= 0 &&
               chmod(blockPath(name).c_str(), 0600) == 0;
    });
    const CreatedBlock block = CreatedBlock::create(name, 4);
    ASSERT_TRUE(block.alreadyExisted());
    block.markAsOwned();
    EXPECT_EQ(statusOf(name).st_mode & 07777U, 0600U);
}

// A block that is not there to be mapped has nothing to lock or mark.
TEST(SharedMemory, MarkingABlockThatCouldNotBeMadeDoesNothing) {
    CreatedBlock::create(u"a/b", 4).markAsOwned();
}

// No more of the memory goes into a block than is wanted, whatever the one who left it has claimed.
TEST(SharedMemory, CreatingReservesWhatIsWanted) {
    const WideString name = newName();
    const SizedBlock left(name, off_t{1} << 30);
    const CreatedBlock block = CreatedBlock::create(name, 10000);
    EXPECT_TRUE(block.alreadyExisted());
    EXPECT_EQ(block.view().size(), 10000U);
    EXPECT_LE(statusOf(name).st_blocks * 512, 65536);
}

TEST(SharedMemory, AViewOfACreatedBlockEndsWhereTheBlockWasCut) {
    const WideString name = newName();
    const CreatedBlock block = CreatedBlock::create(name, 10000);
    for (const std::size_t size : {5000U, 0U, 9999U}) {
        std::filesystem::resize_file(blockPath(name), size);
        ASSERT_EQ(block.view().size(), size);
        std::fill(block.view().begin(), block.view().end(), std::byte{7});
    }
    std::filesystem::resize_file(blockPath(name), 20000);
    EXPECT_EQ(block.view().size(), 10000U);
}

TEST(SharedMemory, ABlockThatWasCutHasFewerBytesToCopy) {
    const WideString name = newName();
    const CreatedBlock block = CreatedBlock::create(name, 10000);
    const auto opened = OpenedBlock::open(name, BlockAccess::ReadWrite);
    ASSERT_TRUE(opened);
    std::array<std::byte, 8> bytes = {};
    std::filesystem::resize_file(blockPath(name), 5);
    EXPECT_EQ(opened->read(0, bytes), 5U);
    opened->write(4, bytes);
    EXPECT_EQ(std::filesystem::file_size(blockPath(name)), 5U);
    std::filesystem::resize_file(blockPath(name), 0);
    EXPECT_EQ(opened->read(0, bytes), 0U);
    opened->write(0, bytes);
    EXPECT_EQ(std::filesystem::file_size(blockPath(name)), 0U);
}

TEST(SharedMemory, ABlockOfSomebodyElsesIsNone) {
    const WideString name = newName();
    const SizedBlock block(name, 4096);
    block.closeToAll();
    const pid_t child = startChild([&name] {
        if (!becomesAStranger()) return 1;
        if (exists(name)) return 2;
        const CreatedBlock created = CreatedBlock::create(name, 4);
        return created.alreadyExisted() && created.view().empty() ? 0 : 3;
    });
    EXPECT_EQ(exitCodeOf(child), 0);
}

#endif
