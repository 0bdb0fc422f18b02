// The scenes that blender_exporters.py exports, handed over and saved: each row tells a job, its items,
// their unit, the milliseconds and who took them. report.py puts the rows of both together.
//
//   q7bench_exporters [--smoke]
#include <filesystem>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "bench/scenes.h"
#include "tests/temporary_folder.h"

namespace {

constexpr const Q7Char* modelName = Q7T("model");

// A mesh as a host has it when it calls: arrays of the triangles of each of its materials.
struct Mesh {
    Mesh(std::size_t triangles, std::size_t materials) {
        for (std::size_t i = 0; i < materials; ++i) {
            // What the division leaves over goes to the first.
            const std::size_t rest = i == 0 ? triangles % materials : 0;
            parts.emplace_back(triangles / materials + rest);
        }
    }
    void addTo(const bench::Session& session, const std::vector<bench::HostText>& materials) const {
        for (std::size_t i = 0; i < parts.size(); ++i) {
            addTriangles(session, materials[i].c_str(), parts[i],
                         static_cast<std::size_t>(parts[i].count()));
        }
    }

    std::vector<bench::Triangles> parts;
};

std::vector<bench::HostText> addMaterials(const bench::Session& session, std::size_t count) {
    Q7SetMaterialVersion(session.handle, 1);
    std::vector<bench::HostText> names;
    for (std::size_t i = 0; i < count; ++i) {
        names.push_back(bench::numbered("material", i));
        Q7AddMaterial(session.handle, names.back().c_str());
    }
    return names;
}

void addLight(const bench::Session& session) {
    constexpr std::uint32_t light = 1;
    Q7AddLight(session.handle, Q7T("light"));
    Q7SetEntityFloatProperty(session.handle, light, Q7T("light"), Q7T("Intensity"), 1000);
}

void addCameraAnimation(const bench::Session& session) {
    constexpr std::int32_t cameraAnimation = 4;
    Q7AddCameraAnims(session.handle, Q7T("camera"));
    for (int second = 0; second < 10; ++second) {
        const std::int32_t frame =
            Q7AddAnimEntityFrame(session.handle, cameraAnimation, Q7T("camera"), second);
        const Q7AnimProperty x(second, 0, 0, 0, 0);
        Q7SetAnimProperty(session.handle, cameraAnimation, Q7T("camera"), Q7T("X"), frame, &x);
    }
}

void handOverPlaced(const bench::Session& session, const Mesh& mesh, std::size_t places) {
    const auto materials = addMaterials(session, 3);
    Q7SetMaterialStringProperty(session.handle, materials[0].c_str(), Q7T("Diffuse"),
                                Q7T("texture.png"));
    const bench::HostText source = bench::numbered("node", 0);
    MaxBeginNode(session.handle, source.c_str(), bench::identity.data());
    mesh.addTo(session, materials);
    MaxEndNode(session.handle);
    for (std::size_t i = 1; i < places; ++i) {
        MaxDuplicateNode(session.handle, source.c_str(), bench::numbered("node", i).c_str(),
                         bench::turned.data());
    }
    addLight(session);
    addCameraAnimation(session);
}

void handOverDistinct(const bench::Session& session, std::size_t meshes, std::size_t triangles) {
    addMaterials(session, 20);
    bench::manyMeshes(session, meshes, triangles, 20, bench::turned);
}

class Saved {
  public:
    void save(const bench::Session& session) const {
        const std::u16string path = (folder_.path() / "scene.q7mesh").u16string();
        Q7SaveRawToFile(session.handle, bench::HostText(path.begin(), path.end()).c_str());
    }

  private:
    TemporaryFolder folder_;
};

template <class HandOver>
void measure(const char* job, std::size_t triangles, int repetitions, const HandOver& handOver) {
    const Saved file;
    std::vector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        times.push_back(bench::millisecondsOf([&] {
            const bench::Session session;
            SetModelFilePath(session.handle, modelName);
            handOver(session);
            file.save(session);
        }));
    }
    std::printf("%s\t%zu\ttriangles\t%.4f\tlibrary\n", job, triangles, bench::median(times));
    std::fflush(stdout);
}

void run(const bench::Options& options) {
    const std::size_t large = options.smoke ? 500 : 500000;
    const std::size_t places = options.smoke ? 5 : 200;
    const Mesh mesh(large, 3);
    measure("export of one mesh in many places", large * places, options.repetitions(),
            [&](const bench::Session& session) { handOverPlaced(session, mesh, places); });
    constexpr std::size_t each = 192;
    const std::size_t meshes = options.smoke ? 50 : 5000;
    measure("export of many distinct meshes", each * meshes, options.repetitions(),
            [&](const bench::Session& session) { handOverDistinct(session, meshes, each); });
}

}  // namespace

int main(int argc, char** argv) {
    return bench::runBenchmark(argc, argv, run);
}
