// The block through which the bulk of a model travels. Tests put memory of their own behind it.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

#include "support/text.h"

namespace q7standin {

inline constexpr WideView modelBlockName = u"84FB12B2EBCB82AB1DEDE669D1309DB6";

class ModelBlock {
  public:
    ModelBlock() = default;
    ModelBlock(const ModelBlock&) = delete;
    ModelBlock& operator=(const ModelBlock&) = delete;
    virtual ~ModelBlock() = default;

    virtual std::span<const std::byte> view() const = 0;
};

// Gives null when there is no such block.
using BlockOpener = std::function<std::unique_ptr<ModelBlock>()>;

std::unique_ptr<ModelBlock> openSharedModelBlock();

}  // namespace q7standin
