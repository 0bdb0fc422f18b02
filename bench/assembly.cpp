// A real assembly, handed over and saved, against Assimp's writers of the same file.
//
//   q7bench_assembly [--smoke]
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "common/files.h"
#include "send/scene_reader.h"
#include "send/scene_sender.h"

namespace {

namespace fs = std::filesystem;
using bench::Options;

class TemporaryFolder {
  public:
    TemporaryFolder() { fs::create_directories(path); }
    ~TemporaryFolder() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const fs::path path = fs::temp_directory_path() / "q7bench_assembly";
};

// The pieces that a plain program writes.
void writePlainly(const std::vector<std::byte>& bytes, const fs::path& file) {
    constexpr std::size_t piece = 1U << 16;
    std::FILE* const out = std::fopen(file.string().c_str(), "wb");
    if (out == nullptr) throw std::runtime_error("cannot write");
    bool isWhole = true;
    for (std::size_t done = 0; done < bytes.size(); done += piece) {
        const std::size_t size = std::min(piece, bytes.size() - done);
        isWhole = std::fwrite(&bytes[done], 1, size, out) == size && isWhole;
    }
    if (std::fclose(out) != 0 || !isWhole) throw std::runtime_error("the disk is full");
}

bench::Peer assimpWriter(const char* name, const char* format, const aiScene* scene,
                         const fs::path& file) {
    const auto write = [=] {
        Assimp::Exporter exporter;
        if (exporter.Export(scene, format, file.string()) != AI_SUCCESS) {
            throw std::runtime_error(exporter.GetErrorString());
        }
    };
    return {name, bench::timed(write)};
}

void run(const Options& options) {
    const fs::path file = Q7BENCH_ASSEMBLY;
    if (!fs::exists(file)) {
        std::fprintf(stderr, "assembly: the package assimp-testmodels is not installed\n");
        return;
    }
    const TemporaryFolder folder;
    const q7send::Scene scene = q7send::readScene(file, [](double) {});
    const fs::path stream = folder.path / "assembly.q7mesh";
    std::uint64_t triangles = 0;
    const auto takeInAndSave = [&] {
        q7send::SceneSender sender;
        triangles = sender.describe(scene, "0", [](double) {}).triangles;
        sender.saveStream(stream, q7send::StreamForm::raw);
    };
    takeInAndSave();
    const std::vector<std::byte> bytes = q7tools::readWholeFile(stream);
    Assimp::Importer importer;
    const aiScene* const read = importer.ReadFile(file.string(), aiProcess_Triangulate);
    if (read == nullptr) throw std::runtime_error(importer.GetErrorString());
    bench::compare({"real assembly: taken in and saved", static_cast<double>(triangles),
                    "triangles", bench::timed(takeInAndSave)},
                   {{"plain write of the same bytes",
                     bench::timed([&] { writePlainly(bytes, folder.path / "plain"); })},
                    assimpWriter("Assimp, GLB", "glb2", read, folder.path / "assimp.glb"),
                    assimpWriter("Assimp, OBJ", "obj", read, folder.path / "assimp.obj")},
                   options.smoke ? 1 : 15);
}

}  // namespace

int main(int argc, char** argv) {
    return bench::runBenchmark(argc, argv, run);
}
