// The stand-in as a process, and what it keeps of a send.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "common/stream_reader.h"
#include "tests/platform/child_program.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"

// What a model holds, wherever in a stream it stands. Meshes come in any order.
inline auto contentOf(const q7tools::StreamModel& model) {
    using Material = std::tuple<WideString, WideString>;
    using Instance = std::tuple<WideString, WideString, std::array<float, 16>>;
    using Mesh = std::tuple<WideString, std::vector<float>, std::vector<float>, std::vector<float>,
                            std::vector<std::uint8_t>, std::vector<std::int32_t>>;
    std::vector<Material> materials;
    for (const auto& material : model.materials)
        materials.emplace_back(material.name, material.xml);
    std::vector<Instance> instances;
    for (const auto& instance : model.instances)
        instances.emplace_back(instance.mesh, instance.material, instance.transform);
    std::vector<Mesh> meshes;
    for (const auto& mesh : model.meshes) {
        meshes.emplace_back(mesh.name, mesh.positions, mesh.normals, mesh.uvs, mesh.colors,
                            mesh.indices);
    }
    std::sort(meshes.begin(), meshes.end());
    return std::tuple(model.version, model.headerText, materials, instances, meshes);
}

class Standin {
  public:
    // Ready for a client. In no case does it live for longer than a minute.
    explicit Standin(std::vector<std::string> options)
        : program_(std::filesystem::absolute(Q7_STANDIN).make_preferred(),
                   withCommonOnes(std::move(options)), folder_.path()) {
        becomesTrue([this] { return isReady() || program_.hasEnded(); });
        EXPECT_TRUE(isReady()) << program_.printed();
    }

    bool keeps(const std::string& name) const {
        return std::filesystem::exists(folder_ / "received" / name);
    }
    q7tools::StreamModel model(const std::string& name) const {
        return q7tools::readStreamFile(folder_ / "received" / name);
    }
    // How many acknowledgements it has given.
    int acknowledgements() const {
        constexpr std::string_view line = "sent: acknowledgement ";
        const std::string text = readFile(folder_ / "transcript.txt");
        int count = 0;
        for (std::size_t at = text.find(line); at != std::string::npos;
             at = text.find(line, at + 1)) {
            ++count;
        }
        return count;
    }

    std::optional<int> exitCode() { return program_.exitCode(); }
    std::string printed() const { return program_.printed(); }

  private:
    static std::vector<std::string> withCommonOnes(std::vector<std::string> options) {
        options.insert(options.end(), {"--ready-file", "ready", "--out", "received", "--transcript",
                                       "transcript.txt", "--exit-after", "60000"});
        return options;
    }
    bool isReady() const { return std::filesystem::exists(folder_ / "ready"); }

    TemporaryFolder folder_;
    ChildProgram program_;
};
