#include "standin/published_blocks.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <span>
#include <thread>
#include <utility>

namespace q7standin {

using platform::CreatedBlock;

namespace {

constexpr std::uint32_t portSize = 2;
constexpr std::uint32_t statusSize = 4;
constexpr std::size_t statusOffset = 0;
constexpr std::size_t flagOffset = 2;

void store(std::span<std::byte> view, std::size_t offset, std::uint16_t value) {
    // Clients read the words while they are written; the view starts at a page.
    auto* word = reinterpret_cast<std::uint16_t*>(view.data() + offset);
    std::atomic_ref<std::uint16_t>(*word).store(value);
}

// What a process that was killed has left behind may be of any size, so it goes first.
CreatedBlock makeBlock(WideView name, std::uint32_t size) {
    CreatedBlock block = CreatedBlock::create(name, size);
    if (block.alreadyExisted()) {
        { const CreatedBlock removed = std::move(block); }
        block = CreatedBlock::create(name, size);
    }
    block.markAsOwned();
    return block;
}

}  // namespace

bool isRendererAlive() {
    const auto isOwned = [] {
        const auto block =
            platform::OpenedBlock::open(statusBlockName, platform::BlockAccess::ReadOnly);
        return block && block->isOwned();
    };
    // A client that looks at the block of a renderer that has just ended holds it for a moment.
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (!isOwned()) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return true;
}

std::optional<PublishedBlocks> PublishedBlocks::publish(std::uint16_t port, std::uint16_t status,
                                                        std::uint16_t flag) {
    // The status last: who sees it looks for the port next.
    CreatedBlock portBlock = makeBlock(portBlockName, portSize);
    if (portBlock.view().size() < portSize) return std::nullopt;
    store(portBlock.view(), 0, port);
    CreatedBlock statusBlock = makeBlock(statusBlockName, statusSize);
    if (statusBlock.view().size() < statusSize) return std::nullopt;
    PublishedBlocks blocks(std::move(portBlock), std::move(statusBlock));
    blocks.setFlag(flag);
    blocks.setStatus(status);
    return blocks;
}

PublishedBlocks::PublishedBlocks(CreatedBlock portBlock, CreatedBlock statusBlock)
    : portBlock_(std::move(portBlock)), statusBlock_(std::move(statusBlock)) {}

void PublishedBlocks::setStatus(std::uint16_t status) {
    store(statusBlock_.view(), statusOffset, status);
}

void PublishedBlocks::setFlag(std::uint16_t flag) {
    store(statusBlock_.view(), flagOffset, flag);
}

}  // namespace q7standin
