// Hands a scene to the library as any plug-in does: through the exported functions alone.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string_view>
#include <vector>

#include "send/live.h"
#include "send/scene.h"

namespace q7send {

// What a model stream holds: the model as it was described, or a copy in which the meshes of each
// material that have a single instance are merged into one.
enum class StreamForm { raw, processed };

struct SendTotals {
    std::size_t nodes = 0;       // of the library, duplicates included
    std::size_t duplicates = 0;  // nodes that repeat another one's geometry
    std::size_t materials = 0;
    std::size_t instances = 0;
    std::uint64_t triangles = 0;      // of all nodes
    std::uint64_t geometryBytes = 0;  // of the arrays that were handed over
};

// A session of the library.
class SceneSender {
  public:
    SceneSender();
    SceneSender(const SceneSender&) = delete;
    SceneSender& operator=(const SceneSender&) = delete;
    ~SceneSender();

    // To be called once. The program's version is part of the name under which it makes itself
    // known. Progress goes from 0 to 1.
    SendTotals describe(const Scene& scene, std::string_view programVersion,
                        const std::function<void(double)>& progress);

    // The library tells nothing of files that it cannot write: see verify.h.
    void saveStream(const std::filesystem::path& path, StreamForm form);
    void saveMaterials(const std::filesystem::path& path);

    // From here on the textures that the scene's file holds itself are known by these files, in the
    // order of their indices, in what is saved and sent. An empty path names none.
    void setEmbeddedTextures(const Scene& scene, const std::vector<std::filesystem::path>& files);

    // Whether the library made the archive, by its own account: with the model, or with a file in
    // its place. Paths are absolute.
    bool saveArchive(const std::filesystem::path& path, StreamForm form);
    bool saveArchiveOf(const std::filesystem::path& packed, const std::filesystem::path& path);

    // Sends to the renderer that is linked: see live.h.
    SentLive sendLive(LiveForm form, bool genMaterials, const MessageCounts& messages);

  private:
    void* session_;
};

}  // namespace q7send
