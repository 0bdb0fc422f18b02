#include "platform/private_library.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <string_view>

#include "platform/executable_path.h"

namespace platform {
namespace {

// The folder of the library or program that this code is in, with a separator behind it. Empty when that
// was loaded by a relative path: the system remembers what it was relative to, and looks there by itself.
std::string ownFolder() {
    static const char inThisFile = 0;
    Dl_info info = {};
    void* found = nullptr;
    if (dladdr1(&inThisFile, &info, &found, RTLD_DL_LINKMAP) == 0) return {};
    const std::string_view name = static_cast<const link_map*>(found)->l_name;
    const std::string path = name.empty() ? executablePath().string() : std::string(name);
    return path.starts_with('/') ? path.substr(0, path.rfind('/') + 1) : std::string();
}

#if defined(RTLD_DEEPBIND)
const void* objectOf(const char* name) {
    Dl_info info = {};
    void* const address = dlsym(RTLD_DEFAULT, name);
    return address != nullptr && dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}
#endif

// Whether calls within a library can be made to stay in it. Not in a host whose memory comes from an
// allocator of its own: what the C library got there would be given back to the C library's. The runtimes
// of sanitizers are such hosts, too.
int ownNamesFirst() {
#if defined(RTLD_DEEPBIND)
    const void* const system = objectOf("gnu_get_libc_version");
    if (system != nullptr && objectOf("malloc") == system && objectOf("free") == system) {
        return RTLD_DEEPBIND;
    }
#endif
    return 0;
}

}  // namespace

PrivateLibrary::PrivateLibrary(const std::string& fileName) {
    const std::string besideThis = ownFolder() + fileName;
    for (const std::string& file : {besideThis, fileName}) {
        if (handle_ == nullptr)
            handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | ownNamesFirst());
    }
}

PrivateLibrary::~PrivateLibrary() {
    if (handle_ != nullptr) dlclose(handle_);
}

void* PrivateLibrary::findAddress(const char* name) const {
    return handle_ != nullptr ? dlsym(handle_, name) : nullptr;
}

bool PrivateLibrary::reaches(std::initializer_list<const char*> names) const {
    if (ownNamesFirst() != 0) return true;
    return std::all_of(names.begin(), names.end(), [this](const char* name) {
        void* const ofTheProcess = dlsym(RTLD_DEFAULT, name);
        return ofTheProcess == nullptr || ofTheProcess == findAddress(name);
    });
}

}  // namespace platform
