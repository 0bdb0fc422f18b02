#include <assimp/Exporter.hpp>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/assimp_scene.h"

namespace {

// These take more than ten seconds, ten times as many would take half an hour.
constexpr std::size_t mostMeshesForGlb = 10000;

bench::Timed writerOf(const std::shared_ptr<const aiScene>& scene, const std::string& format,
                      const std::filesystem::path& file) {
    return [scene, format, file] {
        Assimp::Exporter exporter;
        const double took = bench::millisecondsOf([&] {
            if (exporter.Export(scene.get(), format, file.string()) != AI_SUCCESS)
                throw std::runtime_error("Assimp, " + format + ": " + exporter.GetErrorString());
        });
        std::filesystem::remove(file);
        return took;
    };
}

}  // namespace

std::vector<bench::Peer> bench::assimpWriters(const Shape& shape,
                                              const std::filesystem::path& folder) {
    const auto scene = std::make_shared<aiScene>();
    fillScene(*scene, shape);
    std::vector<Peer> writers = {{"Assimp, OBJ", writerOf(scene, "obj", folder / "assimp.obj")}};
    if (shape.meshes <= mostMeshesForGlb) {
        writers.push_back({"Assimp, GLB", writerOf(scene, "glb2", folder / "assimp.glb")});
    } else {
        std::fprintf(stderr,
                     "Assimp, GLB left out for %zu meshes: its time grows with the square of their "
                     "number\n",
                     shape.meshes);
    }
    return writers;
}
