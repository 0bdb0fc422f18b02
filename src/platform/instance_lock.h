// Keeps a program from running twice on a machine.
#pragma once

#include <memory>
#include <optional>

#include "support/text.h"

namespace platform {

// Held as long as the object is, at most as long as its process.
class InstanceLock {
  public:
    // Nothing when another process holds the lock of that name, or this one does already.
    static std::optional<InstanceLock> take(WideView name);

    InstanceLock(InstanceLock&&) noexcept;
    InstanceLock& operator=(InstanceLock&&) noexcept;
    ~InstanceLock();

  private:
    struct Holder;
    explicit InstanceLock(std::unique_ptr<Holder> holder);
    std::unique_ptr<Holder> holder_;
};

}  // namespace platform
