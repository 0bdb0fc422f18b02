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
    std::optional<std::size_t> textures = {};  // of an archive
};

// What went to the renderer.
struct Delivery {
    LiveForm form = LiveForm::raw;
    SentLive sent = {};
    MessageCounts messages = {};
};

// What an archive has beside the scene.
struct Archived {
    std::size_t textures = 0;
    std::size_t displaced = 0;  // left out, since one of their name is there
    bool isOnlyOutput = true;
};

// "512 bytes", "1.5 kB", "23.0 MB": units of a thousand.
std::string sizeText(std::uintmax_t bytes);

// A line for each kind of thing that the scene has and the files do not, or nothing.
std::string notes(const Scene& scene, const SendTotals& totals,
                  const std::optional<Archived>& archived = {});

// What went to the renderer beside the scene, and a note when nobody can know whether all arrived.
std::string deliveryLines(const Delivery& delivery);

// One line: what went where, and to the renderer how fast.
std::string closingLine(const std::filesystem::path& model, const SendTotals& totals,
                        const std::optional<Delivery>& delivery,
                        const std::vector<WrittenFile>& files);

}  // namespace q7send
