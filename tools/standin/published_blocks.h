// The two blocks in which a renderer tells of itself.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/shared_memory.h"
#include "support/text.h"

namespace q7standin {

inline constexpr WideView statusBlockName = u"E35404FC215ED0F65A4EC1CCBB898CC8";
inline constexpr WideView portBlockName = u"BD7A725E37C60EEFD473703CF7EC26DD";

// Whether there is a status block that some process owns, and that is not just about to go.
bool isRendererAlive();

// The blocks are there as long as the object is, and go with a process that is killed.
class PublishedBlocks {
  public:
    // Takes over blocks that are there already. Nothing when they cannot be made.
    static std::optional<PublishedBlocks> publish(std::uint16_t port, std::uint16_t status,
                                                  std::uint16_t flag);

    void setStatus(std::uint16_t status);
    void setFlag(std::uint16_t flag);

  private:
    PublishedBlocks(platform::CreatedBlock portBlock, platform::CreatedBlock statusBlock);

    platform::CreatedBlock portBlock_;
    platform::CreatedBlock statusBlock_;
};

}  // namespace q7standin
