// Archives: what goes into them, and what came to be in them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "send/output_file.h"
#include "send/scene.h"
#include "send/scene_sender.h"
#include "send/scratch_folder.h"

namespace q7send {

// By file name: how large the textures of that name are. An archive keeps one of them.
using TextureSizes = std::map<std::string, std::vector<std::uintmax_t>>;

// An archive that comes into being whole or not at all. The library fills archives beside them, and
// takes up what lies there; so it makes this one in a folder of its own.
class ArchiveOutput {
  public:
    // `packed` is the file that is to take the model's place. Throws q7tools::FileError, as all here.
    ArchiveOutput(const std::filesystem::path& target, std::optional<std::filesystem::path> packed);

    const std::filesystem::path& target() const { return file_.target(); }

    // Writes the textures that the scene holds itself for the time until the archive is made, and
    // looks up the others.
    void placeTextures(const Scene& scene);

    // After placeTextures. What else is saved and sent goes before this: it would name files that
    // are to go.
    void save(SceneSender& sender, const Scene& scene, StreamForm form);

    // Looks into what the library has made: it must hold all that was sent. Gives its size.
    std::uintmax_t verify(const SendTotals& sent, StreamForm form) const;
    // How many texture files it must have, and how many more there were with one of their names.
    std::size_t textureCount() const { return textures_.size(); }
    std::size_t displacedTextureCount() const;

    void commit();

  private:
    void placeTexture(const SceneTexture& texture);
    void lookUpTextures(const SceneMaterial& material);

    OutputFile file_;
    ScratchFolder scratch_;
    std::optional<std::filesystem::path> packed_;
    std::vector<std::filesystem::path> placed_;  // of the scene's own; empty without content
    std::set<std::filesystem::path> paths_;      // of all textures that are to be packed
    TextureSizes textures_;
};

}  // namespace q7send
