#include "send/scratch_folder.h"

#include <random>
#include <string>
#include <system_error>

#include "common/files.h"

namespace q7send {

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder(const fs::path& parent, const fs::path& subject) {
    std::random_device random;
    for (;;) {
        const fs::path candidate = parent / (".q7-send-" + std::to_string(random()) + ".tmp");
        std::error_code error;
        if (fs::create_directory(candidate, error)) {
            path_ = candidate;
            return;
        }
        if (error) throw q7tools::FileError(subject, error.message());
    }
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

}  // namespace q7send
