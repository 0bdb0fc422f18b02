// Random sequences of calls, as no sane host makes them, on several sessions at once. What each session
// saves and sends is compared with plain models of what it is to hold. It ends at the first difference.
//
//   q7fuzz_host_calls [CALLS [SEED]]
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "common/stream_reader.h"
#include "fuzz/model_calls.h"
#include "fuzz/record_calls.h"
#include "tests/temporary_folder.h"

namespace {

using namespace q7fuzz;

// A session of the library beside the plain ones.
class Pair {
  public:
    Pair(Random& random, const std::filesystem::path& folder)
        : handle_(CreateSession()), model_(random, handle_, folder), records_(random, handle_) {}
    ~Pair() { DestroySession(handle_); }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    void call(Random& random) {
        using ModelStep = void (ModelCalls::*)();
        using RecordStep = void (RecordCalls::*)();
        static constexpr std::array<ModelStep, 18> modelSteps = {
            &ModelCalls::begin,        &ModelCalls::begin,        &ModelCalls::begin,
            &ModelCalls::addTriangles, &ModelCalls::addTriangles, &ModelCalls::addTriangles,
            &ModelCalls::addTriangles, &ModelCalls::end,          &ModelCalls::end,
            &ModelCalls::end,          &ModelCalls::duplicate,    &ModelCalls::duplicate,
            &ModelCalls::remove,       &ModelCalls::addMesh,      &ModelCalls::addMaterial,
            &ModelCalls::addTyped,     &ModelCalls::typedValues,  &ModelCalls::settings};
        static constexpr std::array<RecordStep, 8> recordSteps = {
            &RecordCalls::paths,  &RecordCalls::collections, &RecordCalls::collections,
            &RecordCalls::values, &RecordCalls::values,      &RecordCalls::animations,
            &RecordCalls::frames, &RecordCalls::curves};
        if (random.oneIn(3)) {
            (records_.*recordSteps[random.below(recordSteps.size())])();
        } else {
            (model_.*modelSteps[random.below(modelSteps.size())])();
        }
        model_.count();
    }
    ModelCalls& model() { return model_; }
    RecordCalls& records() { return records_; }
    void* handle() const { return handle_; }

  private:
    void* handle_;
    ModelCalls model_;
    RecordCalls records_;
};

// What asks about the process and the renderer, and changes no session.
void ask(Random& random, void* session) {
    std::array<char, 64> id{};
    const std::uint32_t idSize = Q7GetCid(id.data(), static_cast<std::uint32_t>(id.size()));
    require(idSize == std::string(id.data()).size() + 1, "size of the client id");
    std::array<Q7Char, 1024> text{};
    const auto room = static_cast<std::uint32_t>(random.below(text.size()));
    const std::uint32_t logSize = Q7GetLogDir(text.data(), room);
    require(logSize > 0 && (logSize > room) == (text[0] == 0), "the folder of logs");
    require(Q7GetRenderVersion(text.data(), room) > 0, "size of the version");
    require(std::string(Q7GetPluginVersion()) == "0.5.7.0", "version of the library");
    std::uint8_t flag = 9;
    require(GetQ7RenderStatus(random.oneIn(2) ? &flag : nullptr) == 4 && (flag == 9 || flag == 0),
            "status of the renderer");
    Q7RenderWindowSize();
    SetQ7RenderPath(toHost(random.name()).c_str());
    require(StartLinkQ7Render(toHost(random.name()).c_str()) == 0, "a link that there is");
    require(GetSendModelType(session, toHost(random.name()).c_str()) == 0, "way of sending");
    require(Q7GroupSyncConnect(session) == ConnectRet_Accepted, "a connection for groups");
    DisConnect(session);
    const Q7AnimProperty point(1, 2, 3, 4, 5);
    Q7AnimProperty copy(0, 0, 0, 0, 0);
    copy = point;
    Q7AnimProperty moved(0, 0, 0, 0, 0);
    moved = std::move(copy);
    require(moved.RV == 5, "a point of a curve");
}

// The library's own text, of which the plain model knows nothing.
Text defaultMaterialText(const std::filesystem::path& folder) {
    void* const session = CreateSession();
    const std::array<float, 9> corner = {};
    MaxAddTriangle(session, toHost(u"m").c_str(), corner.data(), nullptr, nullptr);
    MaxEndNode(session);
    const auto file = folder / "default.q7mesh";
    Q7SaveRawToFile(session, toHost(file.u16string()).c_str());
    DestroySession(session);
    return q7tools::readStreamFile(file).materials.at(0).xml;
}

void step(Random& random, Pair& pair, StandIn& renderer) {
    pair.call(random);
    // The rarer, the longer it takes.
    if (random.oneIn(8)) pair.model().save();
    if (random.oneIn(100)) pair.model().send(renderer);
    if (random.oneIn(300)) pair.records().sendMessages(renderer);
    if (random.oneIn(300)) pair.model().refused();
    if (random.oneIn(500)) ask(random, pair.handle());
    if (random.oneIn(2000)) pair.model().saveArchive();
}

void run(std::uint64_t calls, std::uint64_t seed) {
    constexpr std::size_t sessions = 3;
    const TemporaryFolder folder;
    StandIn renderer(folder.path());
    // From here on the port is known, and messages go.
    require(StartLinkQ7Render(toHost(u"plug-in").c_str()) == 0, "no link to the stand-in");
    Q7SetDccPluginInfo(toHost(u"host_calls").c_str());
    PlainSession::defaultText = defaultMaterialText(folder.path());
    Random random(seed);
    std::vector<std::unique_ptr<Pair>> pairs(sessions);
    for (std::uint64_t done = 0; done < calls; ++done) {
        auto& pair = pairs[random.below(sessions)];
        if (!pair || random.oneIn(250)) pair = std::make_unique<Pair>(random, folder.path());
        try {
            step(random, *pair, renderer);
        } catch (const std::exception& error) {
            throw Difference(std::string(error.what()) + " after call " + std::to_string(done) +
                             " of seed " + std::to_string(seed));
        }
    }
    pairs.clear();
    renderer.end();
    std::printf("%llu calls of seed %llu: no difference\n", static_cast<unsigned long long>(calls),
                static_cast<unsigned long long>(seed));
}

}  // namespace

int main(int argc, char** argv) {
    const auto number = [&](int argument, std::uint64_t otherwise) {
        return argc > argument ? std::strtoull(argv[argument], nullptr, 10) : otherwise;
    };
    const std::uint64_t calls = number(1, 1000000);
    if (argc > 3 || calls == 0) {
        std::fprintf(stderr, "usage: q7fuzz_host_calls [CALLS [SEED]]\n");
        return 2;
    }
    try {
        run(calls, number(2, std::random_device()()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "host_calls: %s\n", error.what());
        return 1;
    }
    return 0;
}
