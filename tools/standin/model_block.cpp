#include "standin/model_block.h"

#include <utility>

#include "platform/shared_memory.h"

namespace q7standin {

namespace {

class SharedModelBlock : public ModelBlock {
  public:
    explicit SharedModelBlock(platform::OpenedBlock block) : block_(std::move(block)) {}

    std::span<const std::byte> view() const override { return block_.view(); }

  private:
    platform::OpenedBlock block_;
};

}  // namespace

std::unique_ptr<ModelBlock> openSharedModelBlock() {
    auto block = platform::OpenedBlock::open(modelBlockName, platform::BlockAccess::ReadOnly);
    if (!block) return nullptr;
    return std::make_unique<SharedModelBlock>(std::move(*block));
}

}  // namespace q7standin
