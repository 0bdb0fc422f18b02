#include "link/link_state.h"

#include <cstddef>
#include <cstring>
#include <span>

#include "platform/shared_memory.h"
#include "support/console.h"

namespace {

using Word = std::uint16_t;
using Block = std::span<std::byte>;

// A block may be too short to hold the word.
Word wordAt(Block block, std::size_t index) {
    Word word = 0;
    if (block.size() >= (index + 1) * sizeof(Word)) {
        std::memcpy(&word, block.data() + index * sizeof(Word), sizeof(Word));
    }
    return word;
}

void clearWordAt(Block block, std::size_t index) {
    if (block.size() >= (index + 1) * sizeof(Word)) {
        std::memset(block.data() + index * sizeof(Word), 0, sizeof(Word));
    }
}

}  // namespace

bool LinkState::readStatus(bool clearFlag) {
    const auto block =
        platform::OpenedBlock::open(statusBlockName, platform::BlockAccess::ReadWrite);
    // A block that cannot be looked into is as good as none.
    if (!block || block->view().empty()) {
        status = RenderStatus::notAvailable;
        return false;
    }
    status = wordAt(block->view(), 0);
    linkFlag = wordAt(block->view(), 1);
    if (clearFlag) clearWordAt(block->view(), 1);
    return true;
}

bool LinkState::readPort() {
    const auto block = platform::OpenedBlock::open(portBlockName, platform::BlockAccess::ReadOnly);
    if (!block || block->view().empty()) {
        printLine("Port share mem error!");
        return false;
    }
    port = wordAt(block->view(), 0);
    return true;
}

std::uint32_t LinkState::renderStatus(std::uint8_t* flag) {
    readStatus(flag != nullptr);
    if (flag) *flag = static_cast<std::uint8_t>(linkFlag);
    return static_cast<std::uint32_t>(status);
}

LinkState& linkState() {
    static LinkState state;
    return state;
}

bool statusBlockExists() {
    return platform::OpenedBlock::open(statusBlockName, platform::BlockAccess::ReadWrite)
        .has_value();
}
