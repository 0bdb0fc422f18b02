// A picture of a model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "common/stream_reader.h"
#include "preview/camera.h"
#include "preview/image.h"
#include "preview/rasteriser.h"

namespace q7preview {

inline constexpr Size usualSize{960, 540};

struct PreviewOptions {
    Size size = usualSize;
    Axis up = Axis::y;
    // Without one, or with one that sees nothing of the model, all of it is in the picture.
    std::optional<SceneCamera> camera;
    Threads threads = Threads::all;
};

// The file that a material calls by that path, or nothing.
using TextureSource = std::function<std::optional<std::vector<std::byte>>(const WideString& path)>;

struct Preview {
    Image image;
    std::uint64_t triangles = 0;      // of the model, also those beside the picture
    std::uint64_t missingMeshes = 0;  // instances of meshes that the stream does not hold
    std::uint64_t skippedTriangles =
        0;                            // with an index out of range or a corner that is not finite
    std::size_t textures = 0;         // that were read
    std::size_t missingTextures = 0;  // not found, or no picture that can be read
    bool sawNothing = false;          // the camera, so that it did not count
};

// Whatever the model holds. Normals and uvs count where their number fits the positions, and the
// vertices of a merged mesh are triangles, three by three. A surface has its texture, else its
// material's colour, else one by the material's name. The triangle that the library adds for the
// materials of a send is left out. The same picture on any number of threads and in every build.
Preview drawPreview(const q7tools::StreamModel& model, const PreviewOptions& options,
                    const TextureSource& textures);

// "960 x 540 pixels, 12 triangles, 1 texture": what to tell of it.
std::string previewText(const Preview& preview);

// What was left out of it: empty when nothing was.
std::string leftOutText(const Preview& preview);

// Reads a stream's file and draws it, with the texture files that it names. Throws
// q7tools::FileError, and q7tools::FormatError when it is no whole stream.
Preview drawStreamFile(const std::filesystem::path& file, const PreviewOptions& options);

}  // namespace q7preview
