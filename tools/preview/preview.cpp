#include "preview/preview.h"

#include <algorithm>
#include <deque>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "common/text_output.h"
#include "preview/materials.h"
#include "preview/texture_files.h"
#include "support/parallel_for.h"

namespace q7preview {

using q7tools::counted;
using q7tools::StreamInstance;
using q7tools::StreamMaterial;
using q7tools::StreamMesh;
using q7tools::StreamModel;

namespace {

// That of the triangle which a send may have for materials that nothing uses.
constexpr WideView generatorMesh = u"@g@m@q7_";
// What is clearer would hardly be seen.
constexpr double leastOpacity = 0.4;
constexpr std::size_t mostTextureBytes = std::size_t{512} << 20;
constexpr std::size_t trianglesOfChunk = 1024;
constexpr std::size_t chunksAtOnce = 64;

// The textures that materials name, each read once.
class TextureShelf {
  public:
    explicit TextureShelf(const TextureSource& source) : source_(source) {}

    const Texture* find(const WideString& path) {
        const auto [place, isNew] = textures_.try_emplace(path);
        if (isNew) place->second = read(path);
        return place->second ? &*place->second : nullptr;
    }

    std::size_t count() const { return count_; }
    std::size_t missing() const { return textures_.size() - count_; }

  private:
    std::optional<Texture> read(const WideString& path) {
        if (bytes_ >= mostTextureBytes) return std::nullopt;
        try {
            const auto file = source_(path);
            if (!file) return std::nullopt;
            Texture texture(readImage(*file));
            bytes_ += texture.bytes();
            ++count_;
            return texture;
        } catch (const ImageError&) {
            return std::nullopt;
        }
    }

    const TextureSource& source_;
    std::unordered_map<WideString, std::optional<Texture>> textures_;
    std::size_t bytes_ = 0;
    std::size_t count_ = 0;
};

// The surfaces of the materials that instances name.
class Surfaces {
  public:
    Surfaces(const StreamModel& model, TextureShelf& shelf) : shelf_(shelf) {
        texts_.reserve(model.materials.size());
        for (const StreamMaterial& material : model.materials)
            texts_.emplace(material.name, material.xml);
    }

    const Surface* find(WideView name) {
        const auto [place, isNew] = surfaces_.try_emplace(name);
        if (isNew) place->second = make(name);
        return &place->second;
    }

  private:
    Surface make(WideView name) {
        const auto text = texts_.find(name);
        const MaterialLook look = text == texts_.end() ? MaterialLook() : lookOf(text->second);
        Surface surface;
        surface.color = colorOf(look.color ? *look.color : colorOfName(name));
        surface.opacity = std::max(look.opacity, leastOpacity);
        surface.number = static_cast<unsigned>(surfaces_.size());
        if (!look.texture.empty()) surface.texture = shelf_.find(look.texture);
        return surface;
    }

    TextureShelf& shelf_;
    std::unordered_map<WideView, WideView> texts_;
    std::unordered_map<WideView, Surface> surfaces_;
};

// A mesh and which of its arrays can be used.
struct MeshUse {
    const StreamMesh* mesh = nullptr;
    std::size_t triangles = 0;
    bool hasNormals = false;
    bool hasUvs = false;
    std::vector<bool> isUsed;  // for each vertex
};

MeshUse useOf(const StreamMesh& mesh) {
    MeshUse use{&mesh, mesh.triangleCount(), false, false, {}};
    use.hasNormals = !mesh.normals.empty() && mesh.normals.size() == mesh.positions.size();
    use.hasUvs = !mesh.uvs.empty() && mesh.uvs.size() == mesh.vertexCount() * 2;
    use.isUsed.resize(mesh.vertexCount());
    // The first indices of a merged mesh are its vertices in their order.
    for (std::size_t i = 0; i < 3 * use.triangles; ++i) {
        const auto index = static_cast<std::size_t>(mesh.indices[i]);
        if (index < use.isUsed.size()) use.isUsed[index] = true;
    }
    return use;
}

// A transform as the model has it, and what turns normals: they stay perpendicular to their surface.
struct Placement {
    Vector rows[4];
    Vector normalRows[3];

    explicit Placement(const std::array<float, 16>& transform) {
        for (std::size_t i = 0; i < 4; ++i) {
            rows[i] = {transform[4 * i], transform[4 * i + 1], transform[4 * i + 2]};
        }
        for (std::size_t i = 0; i < 3; ++i)
            normalRows[i] = cross(rows[(i + 1) % 3], rows[(i + 2) % 3]);
    }

    Vector point(const float* from) const {
        return rows[0] * from[0] + rows[1] * from[1] + rows[2] * from[2] + rows[3];
    }
    Vector normal(const float* from) const {
        return normalRows[0] * from[0] + normalRows[1] * from[1] + normalRows[2] * from[2];
    }
};

struct PlacedMesh {
    const MeshUse* use = nullptr;
    const Surface* surface = nullptr;
    Placement placement;
    std::uint64_t end = 0;  // the number of triangles up to here
};

class Scene {
  public:
    Scene(const StreamModel& model, Surfaces& surfaces, Preview& preview) {
        std::unordered_map<WideView, const StreamMesh*> meshes;
        meshes.reserve(model.meshes.size());
        for (const StreamMesh& mesh : model.meshes)
            meshes.emplace(mesh.name, &mesh);
        std::unordered_map<const StreamMesh*, const MeshUse*> uses;
        placed_.reserve(model.instances.size());
        std::uint64_t end = 0;
        for (const StreamInstance& instance : model.instances) {
            if (instance.mesh == generatorMesh) continue;
            const auto mesh = meshes.find(instance.mesh);
            if (mesh == meshes.end()) {
                ++preview.missingMeshes;
                continue;
            }
            const MeshUse*& use = uses[mesh->second];
            if (use == nullptr) use = &uses_.emplace_back(useOf(*mesh->second));
            end += use->triangles;
            placed_.push_back(
                {use, surfaces.find(instance.material), Placement(instance.transform), end});
        }
    }

    std::uint64_t triangles() const { return placed_.empty() ? 0 : placed_.back().end; }

    void addTo(Fit& fit) const {
        for (const PlacedMesh& placed : placed_) {
            const std::vector<bool>& isUsed = placed.use->isUsed;
            const std::vector<float>& positions = placed.use->mesh->positions;
            for (std::size_t i = 0; i < isUsed.size(); ++i) {
                if (isUsed[i]) fit.add(placed.placement.point(&positions[3 * i]));
            }
        }
    }

    // Projects the triangles from one number to another. Gives how many of them cannot be drawn.
    std::uint64_t project(std::uint64_t first, std::uint64_t last, const View& view,
                          const Rasteriser& rasteriser,
                          std::vector<ScreenTriangle>& projected) const {
        std::uint64_t skipped = 0;
        auto placed = std::ranges::upper_bound(placed_, first, {}, &PlacedMesh::end);
        while (first < last) {
            const std::uint64_t start = placed->end - placed->use->triangles;
            const std::uint64_t stop = std::min(last, placed->end);
            for (; first < stop; ++first) {
                const auto triangle =
                    triangleOf(*placed, static_cast<std::size_t>(first - start), view);
                if (triangle) {
                    rasteriser.project(*triangle, projected);
                } else {
                    ++skipped;
                }
            }
            ++placed;
        }
        return skipped;
    }

  private:
    static std::optional<ViewTriangle> triangleOf(const PlacedMesh& placed, std::size_t number,
                                                  const View& view) {
        const MeshUse& use = *placed.use;
        ViewTriangle triangle;
        triangle.surface = placed.surface;
        for (std::size_t i = 0; i < 3; ++i) {
            const auto index = static_cast<std::size_t>(use.mesh->indices[3 * number + i]);
            if (index >= use.isUsed.size()) return std::nullopt;
            Corner& corner = triangle.corners[i];
            corner.position = view.toView(placed.placement.point(&use.mesh->positions[3 * index]));
            if (!isFinite(corner.position)) return std::nullopt;
            if (use.hasNormals) {
                corner.normal =
                    unit(view.turned(placed.placement.normal(&use.mesh->normals[3 * index])));
            }
            if (use.hasUvs) {
                corner.u = use.mesh->uvs[2 * index];
                corner.v = use.mesh->uvs[2 * index + 1];
            }
        }
        return triangle;
    }

    std::deque<MeshUse> uses_;
    std::vector<PlacedMesh> placed_;
};

// In chunks, so that memory does not grow with the model. Each chunk is projected by one thread, then
// each row of the picture is drawn by one.
std::uint64_t drawScene(const Scene& scene, const View& view, Threads threads,
                        Rasteriser& rasteriser) {
    std::vector<std::vector<ScreenTriangle>> chunks(chunksAtOnce);
    std::vector<std::uint64_t> skipped(chunksAtOnce);
    const std::uint64_t total = scene.triangles();
    const std::size_t piece = threads == Threads::one ? chunksAtOnce : 1;
    for (std::uint64_t start = 0; start < total; start += chunksAtOnce * trianglesOfChunk) {
        ParallelFor(chunksAtOnce, piece, [&](std::size_t from, std::size_t to) {
            for (std::size_t i = from; i < to; ++i) {
                chunks[i].clear();
                const std::uint64_t first = start + i * trianglesOfChunk;
                const std::uint64_t last = std::min(total, first + trianglesOfChunk);
                if (first < last) {
                    skipped[i] += scene.project(first, last, view, rasteriser, chunks[i]);
                }
            }
        });
        rasteriser.draw(chunks);
    }
    std::uint64_t sum = 0;
    for (const std::uint64_t count : skipped)
        sum += count;
    return sum;
}

// False when nothing of the scene is in the picture.
bool drawView(const Scene& scene, const View& view, const PreviewOptions& options,
              Preview& preview) {
    const Vector up = options.up == Axis::y ? Vector{0, 1, 0} : Vector{0, 0, 1};
    Rasteriser rasteriser(view, options.size, view.turned(up), options.threads);
    preview.skippedTriangles = drawScene(scene, view, options.threads, rasteriser);
    preview.triangles = scene.triangles() - preview.skippedTriangles;
    preview.image = rasteriser.finish();
    return !rasteriser.isEmpty();
}

}  // namespace

Preview drawPreview(const StreamModel& model, const PreviewOptions& options,
                    const TextureSource& textures) {
    Preview preview;
    TextureShelf shelf(textures);
    Surfaces surfaces(model, shelf);
    const Scene scene(model, surfaces, preview);
    preview.textures = shelf.count();
    preview.missingTextures = shelf.missing();
    Fit fit(options.size, options.up);
    scene.addTo(fit);
    const std::optional<View> whole = fit.view();
    if (options.camera) {
        const auto view = viewOf(*options.camera, options.size, options.up, fit.extent());
        if (view && drawView(scene, *view, options, preview)) return preview;
        preview.sawNothing = whole.has_value();
    }
    drawView(scene, whole.value_or(View()), options, preview);
    return preview;
}

std::string previewText(const Preview& preview) {
    const Size size = preview.image.size();
    std::string text =
        std::to_string(size.width) + " x " + std::to_string(size.height) + " pixels, ";
    text += preview.triangles == 0 ? "nothing to draw"
                                   : counted(preview.triangles, "triangle", "triangles");
    if (preview.textures != 0) text += ", " + counted(preview.textures, "texture", "textures");
    if (preview.missingTextures != 0) {
        text += ", " + counted(preview.missingTextures, "texture", "textures") + " not found";
    }
    if (preview.sawNothing) text += "; all of it, since the camera sees nothing of it";
    return text;
}

std::string leftOutText(const Preview& preview) {
    if (preview.missingMeshes == 0 && preview.skippedTriangles == 0) return {};
    return "left out: " + counted(preview.missingMeshes, "instance", "instances") +
           " of missing meshes, " +
           counted(preview.skippedTriangles, "unusable triangle", "unusable triangles");
}

Preview drawStreamFile(const std::filesystem::path& file, const PreviewOptions& options) {
    const StreamModel model = q7tools::readStreamFile(file);
    const TextureFiles files(model, file.parent_path());
    return drawPreview(model, options, [&](const WideString& path) { return files.read(path); });
}

}  // namespace q7preview
