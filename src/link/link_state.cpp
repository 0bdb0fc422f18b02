#include "link/link_state.h"

#include <array>
#include <cstddef>
#include <span>

#include "platform/shared_memory.h"
#include "support/console.h"

namespace {

using Word = std::uint16_t;

// A block may be too short to hold the word.
Word wordAt(const platform::OpenedBlock& block, std::size_t index) {
    std::array<Word, 1> word = {};
    if (block.read(index * sizeof(Word), std::as_writable_bytes(std::span(word))) < sizeof(Word)) {
        return 0;
    }
    return word[0];
}

void clearWordAt(const platform::OpenedBlock& block, std::size_t index) {
    constexpr std::array<Word, 1> zero = {};
    block.write(index * sizeof(Word), std::as_bytes(std::span(zero)));
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
    status = wordAt(*block, 0);
    linkFlag = wordAt(*block, 1);
    if (clearFlag) clearWordAt(*block, 1);
    return true;
}

bool LinkState::readPort() {
    const auto block = platform::OpenedBlock::open(portBlockName, platform::BlockAccess::ReadOnly);
    if (!block || block->view().empty()) {
        printLine("Port share mem error!");
        return false;
    }
    port = wordAt(*block, 0);
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
