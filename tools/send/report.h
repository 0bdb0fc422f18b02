// What q7-send tells when it is done.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "send/scene.h"
#include "send/scene_sender.h"

namespace q7send {

struct WrittenFile {
    std::filesystem::path path;
    std::uintmax_t size = 0;
};

// What went to the renderer, and how long that took.
struct Delivery {
    LiveForm form = LiveForm::raw;
    double seconds = 0;
};

// "512 bytes", "1.5 kB", "23.0 MB": units of a thousand.
std::string sizeText(std::uintmax_t bytes);

// A line for each kind of thing that the scene has and the files do not, or nothing.
std::string notes(const Scene& scene, const SendTotals& totals);

// One line: what went where, and to the renderer how fast.
std::string closingLine(const std::filesystem::path& model, const SendTotals& totals,
                        const std::optional<Delivery>& delivery,
                        const std::vector<WrittenFile>& files);

}  // namespace q7send
