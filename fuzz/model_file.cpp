// A 3D file, as q7-send reads it, hands it to the library and saves it.
//
// The first line of the input is the file name's ending, by which a reader is chosen. The readers are
// Assimp's, and a crash inside one of them is theirs: q7-send ends with one line then. Here such a crash
// ends the run, so the seeds are of kinds that stand being damaged.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "common/files.h"
#include "fuzz/target.h"
#include "send/mesh_vertices.h"
#include "send/scene_reader.h"
#include "send/scene_sender.h"
#include "send/verify.h"
#include "tests/temporary_folder.h"

namespace {

using namespace q7fuzz;

constexpr std::array<std::string_view, 3> endings = {"obj", "stl", "gltf"};

void send(const q7send::Scene& scene, const std::filesystem::path& path, q7send::StreamForm form) {
    q7send::SceneSender sender;
    const q7send::SendTotals totals = sender.describe(scene, "0", [](double) {});
    const q7send::OutputFile stream(path);
    sender.saveStream(stream.temporary(), form);
    q7send::verifyStream(stream, totals, form);
}

void run(const std::filesystem::path& model, const std::filesystem::path& stream) {
    q7send::Scene scene;
    try {
        scene = q7send::readScene(
            model, [](double) {}, q7send::EmbeddedTextures::read);
    } catch (const q7tools::FileError& error) {
        require(!std::string(error.what()).empty(), "an error has no reason");
        return;
    }
    try {
        send(scene, stream, q7send::StreamForm::raw);
        q7send::unshareMergeable(scene);
        send(scene, stream, q7send::StreamForm::processed);
    } catch (const std::exception& error) {
        require(false, std::string("what was read cannot be sent: ") + error.what());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFolder folder;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t line = input.find('\n');
    const std::string_view ending = input.substr(0, line);
    if (std::find(endings.begin(), endings.end(), ending) == endings.end()) return 0;
    const std::filesystem::path model = folder / ("model." + std::string(ending));
    std::ofstream(model, std::ios::binary) << input.substr(std::min(line, size - 1) + 1);
    run(model, folder / "out.q7mesh");
    return 0;
}
