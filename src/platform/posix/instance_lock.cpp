#include "platform/instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace platform {
namespace {

// Whoever held the lock takes its object's name away, perhaps after it was opened here.
bool hasName(int descriptor) {
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && status.st_nlink > 0;
}

}  // namespace

// The system gives the lock of an open file back when its process ends, in whatever way.
struct InstanceLock::Holder {
    Holder(std::string objectsName, int openDescriptor)
        : name(std::move(objectsName)), descriptor(openDescriptor) {}
    ~Holder() {
        shm_unlink(name.c_str());
        close(descriptor);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    std::string name;
    int descriptor;
};

InstanceLock::InstanceLock(std::unique_ptr<Holder> holder) : holder_(std::move(holder)) {}
InstanceLock::InstanceLock(InstanceLock&&) noexcept = default;
InstanceLock& InstanceLock::operator=(InstanceLock&&) noexcept = default;
InstanceLock::~InstanceLock() = default;

std::optional<InstanceLock> InstanceLock::take(WideView name) {
    std::string object = "/" + wideToUtf8(name);
    for (;;) {
        const int descriptor = shm_open(object.c_str(), O_RDWR | O_CREAT, 0600);
        if (descriptor < 0) return std::nullopt;
        const bool isLocked = flock(descriptor, LOCK_EX | LOCK_NB) == 0;
        if (isLocked && hasName(descriptor)) {
            return InstanceLock(std::make_unique<Holder>(std::move(object), descriptor));
        }
        close(descriptor);
        if (!isLocked) return std::nullopt;
    }
}

}  // namespace platform
