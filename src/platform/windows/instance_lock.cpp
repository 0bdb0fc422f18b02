#include "platform/instance_lock.h"

#include <windows.h>

#include <string>
#include <utility>

namespace platform {

struct InstanceLock::Holder {
    explicit Holder(HANDLE mutexHandle) : mutex(mutexHandle) {}
    ~Holder() { CloseHandle(mutex); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    HANDLE mutex;
};

InstanceLock::InstanceLock(std::unique_ptr<Holder> holder) : holder_(std::move(holder)) {}
InstanceLock::InstanceLock(InstanceLock&&) noexcept = default;
InstanceLock& InstanceLock::operator=(InstanceLock&&) noexcept = default;
InstanceLock::~InstanceLock() = default;

// The mutex is never waited for: that it exists is the lock.
std::optional<InstanceLock> InstanceLock::take(WideView name) {
    const std::wstring object(name.begin(), name.end());
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, object.c_str());
    if (mutex == nullptr) return std::nullopt;
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
        CloseHandle(mutex);
        return std::nullopt;
    }
    return InstanceLock(std::make_unique<Holder>(mutex));
}

}  // namespace platform
