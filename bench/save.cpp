// Saves of the model against a plain write of the same bytes to the same folder, and against the
// writers of other programs; processed saves against the merge by itself and a plain write; and the
// memory that saves take beside the model (in rows whose times are bytes).
//
//   q7bench_save [--smoke]
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "api/session.h"
#include "bench/measure.h"
#include "bench/peers.h"
#include "bench/scenes.h"
#include "geometry/q7_model_utils.h"
#include "q7plugin.h"
#include "tests/temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using bench::Job;
using bench::Options;
using bench::Peer;
using bench::Shape;

using SaveExport = void (*)(void* session, const Q7Char* path);

bench::HostText hostText(const fs::path& path) {
#if defined(_WIN32)
    return path.wstring();
#else
    return path.u16string();
#endif
}

void save(const bench::Session& session, SaveExport saveTo, const fs::path& file) {
    saveTo(session.handle, hostText(file).c_str());
}

// The file goes after the clock has stopped, so that no run pays for the former one's pages.
bench::Timed timedSave(const bench::Session& session, SaveExport saveTo, const fs::path& file) {
    return [&session, saveTo, file] {
        const double took = bench::millisecondsOf([&] { save(session, saveTo, file); });
        fs::remove(file);
        return took;
    };
}

using Bytes = std::vector<char>;

// What the save writes, in memory that was touched.
Bytes savedBytes(const bench::Session& session, SaveExport saveTo, const fs::path& file) {
    save(session, saveTo, file);
    Bytes bytes(static_cast<std::size_t>(fs::file_size(file)));
    std::ifstream stream(file, std::ios::binary);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream || bytes.empty()) throw std::runtime_error("the saved file cannot be read back");
    stream.close();
    fs::remove(file);
    return bytes;
}

void plainWrite(const Bytes& bytes, const fs::path& file) {
    constexpr std::size_t piece = 65536;
    std::FILE* out = std::fopen(file.string().c_str(), "wb");
    if (!out) throw std::runtime_error("no file can be written");
    bool isWhole = true;
    for (std::size_t done = 0; isWhole && done < bytes.size(); done += piece) {
        const std::size_t left = bytes.size() - done;
        const std::size_t next = left < piece ? left : piece;
        isWhole = std::fwrite(bytes.data() + done, 1, next, out) == next;
    }
    isWhole = std::fclose(out) == 0 && isWhole;
    if (!isWhole) throw std::runtime_error("no room for the file");
}

Peer plainWriter(const std::shared_ptr<const Bytes>& bytes, const fs::path& file) {
    return {"plain write of the same bytes", [bytes, file] {
                const double took = bench::millisecondsOf([&] { plainWrite(*bytes, file); });
                fs::remove(file);
                return took;
            }};
}

// The library in the host's process and the one linked here lay out their records alike.
const Model& modelOf(const bench::Session& session) {
    return *static_cast<const ::Session*>(session.handle)->core->model;
}

// Other programs take their time.
int slowRepetitions(const Options& options) {
    return options.smoke ? 1 : 3;
}

std::vector<Peer> otherWriters([[maybe_unused]] const Shape& shape,
                               [[maybe_unused]] const fs::path& folder) {
    std::vector<Peer> peers;
#if defined(Q7BENCH_ASSIMP)
    for (Peer& peer : bench::assimpWriters(shape, folder))
        peers.push_back(std::move(peer));
#else
    std::fprintf(stderr, "save: Assimp's writers are not in this build\n");
#endif
#if defined(Q7BENCH_TINYGLTF)
    for (Peer& peer : bench::tinygltfWriters(shape, folder))
        peers.push_back(std::move(peer));
#else
    std::fprintf(stderr, "save: tinygltf is not in this build\n");
#endif
    return peers;
}

void compareWithPlainWrite(const Job& job, const bench::Session& session, const Options& options,
                           const fs::path& folder) {
    const auto bytes =
        std::make_shared<const Bytes>(savedBytes(session, Q7SaveRawToFile, folder / "raw.q7mesh"));
    bench::compare(job, {plainWriter(bytes, folder / "plain")}, options.repetitions());
}

Job rawSave(const char* name, std::size_t items, const char* unit, const bench::Session& session,
            const fs::path& folder) {
    return {name, static_cast<double>(items), unit,
            timedSave(session, Q7SaveRawToFile, folder / "raw.q7mesh")};
}

void oneLargeMesh(const Options& options, const fs::path& folder) {
    for (const std::size_t triangles : options.sizes(10000000, 10000)) {
        const bench::Session session;
        bench::largeMesh(session, triangles);
        const Job job = rawSave("raw save: one mesh", triangles, "triangles", session, folder);
        compareWithPlainWrite(job, session, options, folder);
        const Shape shape = {1, triangles, 1, 1000};
        bench::compare(job, otherWriters(shape, folder), slowRepetitions(options));
    }
}

void manySmallMeshes(const Options& options, const fs::path& folder) {
    for (const std::size_t meshes : options.sizes(100000, 200)) {
        const bench::Session session;
        bench::manyMeshes(session, meshes, 12, 20);
        const Job job =
            rawSave("raw save: meshes of 12 triangles", meshes, "meshes", session, folder);
        compareWithPlainWrite(job, session, options, folder);
        const Shape shape = {meshes, 12, 20, 12};
        bench::compare(job, otherWriters(shape, folder), slowRepetitions(options));
    }
}

void manyPlacements(const Options& options, const fs::path& folder) {
    for (const std::size_t instances : options.sizes(1000000, 1000)) {
        const bench::Session session;
        bench::manyInstances(session, instances);
        const Job job =
            rawSave("raw save: one mesh in many places", instances, "instances", session, folder);
        compareWithPlainWrite(job, session, options, folder);
    }
}

constexpr std::size_t mergedTriangles = 192;
constexpr std::size_t mergedMaterials = 20;

void mergeableMeshes(const bench::Session& session, std::size_t meshes) {
    bench::manyMeshes(session, meshes, mergedTriangles, mergedMaterials, bench::turned);
}

void processedSaves(const Options& options, const fs::path& folder) {
    for (const std::size_t meshes : options.sizes(5000, 40)) {
        const bench::Session session;
        mergeableMeshes(session, meshes);
        const fs::path file = folder / "processed.q7mesh";
        const Bytes bytes = savedBytes(session, Q7SaveProcessedToFile, file);
        const bench::Timed limit = [&] {
            const double took = bench::millisecondsOf([&] {
                // A copy shares the meshes; the merged ones go with it, as in a save.
                Model copy = modelOf(session);
                Q7ModelUtils::MergeSingleInstancedMesh(copy);
                plainWrite(bytes, folder / "plain");
            });
            fs::remove(folder / "plain");
            return took;
        };
        const Job job = {"processed save: meshes of 192 triangles", static_cast<double>(meshes),
                         "meshes", timedSave(session, Q7SaveProcessedToFile, file)};
        bench::compare(job, {{"merge and plain write of its bytes", limit}}, options.repetitions());
    }
}

#if defined(__linux__)
// In bytes; the name as the system words it.
double memoryFigure(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(name + ":", 0) == 0) return 1024 * std::stod(line.substr(name.size() + 1));
    }
    throw std::runtime_error("the system tells no " + name);
}

// The most that the work takes at any time beyond what the process has before it; none where the system
// does not start its count anew.
std::optional<double> extraMemory(const std::function<void()>& work) {
#if defined(__GLIBC__)
    // What was freed and kept would hide what is taken.
    malloc_trim(0);
#endif
    std::ofstream clearing("/proc/self/clear_refs");
    if (!(clearing << "5" << std::flush)) return std::nullopt;
    const double before = memoryFigure("VmRSS");
    work();
    return memoryFigure("VmHWM") - before;
}

// In memory: running indices, which are all that these meshes have, take none.
double geometryBytes(const Model& model) {
    std::size_t bytes = 0;
    for (const auto& [name, mesh] : model.meshes) {
        bytes += 4 * (mesh->positions.size() + mesh->normals.size() + mesh->uvs.size());
        bytes += mesh->colors.size();
    }
    return static_cast<double>(bytes);
}

double mergedBytes(const Model& model) {
    Model merged = model;
    Q7ModelUtils::MergeSingleInstancedMesh(merged);
    return geometryBytes(merged) - geometryBytes(model);
}

void printMemory(const char* job, double geometry, const std::function<void()>& work,
                 const char* peer, double limit) {
    if (const auto extra = extraMemory(work)) {
        bench::printRow({job, geometry, "bytes", {}}, *extra, peer, limit);
    } else {
        std::fprintf(stderr, "%s is left out: the system does not count anew\n", job);
    }
}

void memoryOfSaves(const Options& options, const fs::path& folder) {
    // So many that the buffer of a save, which does not grow, hardly counts beside them.
    for (const std::size_t meshes : options.sizes(20000, 40)) {
        const bench::Session session;
        mergeableMeshes(session, meshes);
        const double geometry = geometryBytes(modelOf(session));
        const double merged = mergedBytes(modelOf(session));
        const fs::path file = folder / "memory.q7mesh";
        const auto raw = [&] { save(session, Q7SaveRawToFile, file); };
        printMemory("raw save: extra memory", geometry, raw, "1 MiB", 1048576);
        const auto processed = [&] { save(session, Q7SaveProcessedToFile, file); };
        printMemory("processed save: extra memory", geometry, processed,
                    "merged geometry, without running indices", merged);
        fs::remove(file);
    }
}
#else
void memoryOfSaves(const Options&, const fs::path&) {
    std::fprintf(stderr, "save: extra memory is measured on Linux only\n");
}
#endif

void run(const Options& options) {
    const TemporaryFolder folder;
    oneLargeMesh(options, folder.path());
    manySmallMeshes(options, folder.path());
    manyPlacements(options, folder.path());
    processedSaves(options, folder.path());
    memoryOfSaves(options, folder.path());
}

}  // namespace

int main(int argc, char** argv) {
    return bench::runBenchmark(argc, argv, run);
}
