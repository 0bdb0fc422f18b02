// Live sends against what the link itself costs: the same words and acknowledgements with nothing
// behind them for many small meshes, plain copies into a fresh block for one large mesh.
//
//   q7bench_live_send [--smoke]
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/measure.h"
#include "bench/scenes.h"
#include "platform/listener.h"
#include "platform/shared_memory.h"
#include "platform/socket.h"

namespace {

using bench::HostText;
using bench::Session;

constexpr int patience = 60000;
// Positions, normals, uvs, colors and indices.
constexpr int arraysPerMesh = 5;
constexpr const Q7Char* modelPath = Q7T("bench");

// Reads the client's words in as few calls as it can, so that little of the time is the reader's.
class Reader {
  public:
    explicit Reader(platform::SocketHandle socket) : socket_(socket) {}

    std::uint32_t word() {
        fill(4);
        std::uint32_t value = 0;
        std::memcpy(&value, buffer_.data() + next_, 4);
        next_ += 4;
        return value;
    }
    void skipString() {
        const std::size_t bytes = 2 * static_cast<std::size_t>(word());
        fill(bytes);
        next_ += bytes;
    }
    void acknowledge() {
        const std::uint32_t any = 1;
        platform::sendBytes(socket_, &any, 4);
    }

  private:
    void fill(std::size_t bytes) {
        while (buffer_.size() - next_ < bytes) {
            buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(next_));
            next_ = 0;
            const std::size_t held = buffer_.size();
            buffer_.resize(held + 65536);
            const auto got = platform::receiveBytes(socket_, buffer_.data() + held, 65536);
            if (got <= 0) throw std::runtime_error("the client closed too early");
            buffer_.resize(held + static_cast<std::size_t>(got));
        }
    }

    platform::SocketHandle socket_;
    std::vector<char> buffer_;
    std::size_t next_ = 0;
};

// One pass of a model; the first of two carries the paths.
void receivePass(Reader& reader, bool withPaths) {
    reader.word();
    reader.skipString();
    for (int list = 0; list < 2; ++list) {
        reader.word();
        reader.acknowledge();
    }
    const std::uint32_t meshes = reader.word();
    for (std::uint32_t mesh = 0; mesh < meshes; ++mesh) {
        reader.skipString();
        for (int array = 0; array < arraysPerMesh; ++array) {
            reader.word();
            reader.acknowledge();
        }
    }
    if (withPaths) {
        reader.word();
        reader.acknowledge();
    }
    reader.acknowledge();
}

// A renderer that takes what comes and looks at none of it.
class Renderer {
  public:
    Renderer()
        : status_(platform::CreatedBlock::create(u"E35404FC215ED0F65A4EC1CCBB898CC8", 4)),
          port_(platform::CreatedBlock::create(u"BD7A725E37C60EEFD473703CF7EC26DD", 2)) {
        if (status_.view().size() < 4 || port_.view().size() < 2) {
            throw std::runtime_error("no shared memory");
        }
        platform::startSockets();
        listener_ = platform::listenOnLoopback();
        const std::uint32_t linked = 4;
        const std::uint16_t number = port();
        std::memcpy(status_.view().data(), &linked, sizeof linked);
        std::memcpy(port_.view().data(), &number, sizeof number);
    }
    ~Renderer() { platform::closeSocket(listener_); }
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    std::uint16_t port() const { return platform::portOf(listener_); }

    // Serves one connection of both passes while the body runs.
    void serve(const std::function<void()>& body) {
        std::thread thread([this] {
            const auto socket = platform::acceptClient(listener_, patience);
            // Two acknowledgements in a row would wait for each other.
            platform::sendWithoutDelay(socket);
            try {
                Reader reader(socket);
                reader.word();
                reader.skipString();
                const std::uint32_t accepted = 0;
                platform::sendBytes(socket, &accepted, sizeof accepted);
                receivePass(reader, true);
                receivePass(reader, false);
            } catch (const std::exception& error) {
                std::fprintf(stderr, "live_send: %s\n", error.what());
                failed_ = true;
            }
            platform::closeSocket(socket);
        });
        body();
        thread.join();
        if (failed_) throw std::runtime_error("the exchange did not come to its end");
    }

  private:
    platform::CreatedBlock status_;
    platform::CreatedBlock port_;
    platform::SocketHandle listener_ = platform::noSocket;
    bool failed_ = false;
};

// A client that does what a send does on the socket, and nothing else.
class BareClient {
  public:
    explicit BareClient(std::uint16_t port) : socket_(platform::openSocket()) {
        if (!platform::connectSocket(socket_, "127.0.0.1", port)) {
            throw std::runtime_error("no connection");
        }
        platform::sendWithoutDelay(socket_);
    }
    ~BareClient() { platform::closeSocket(socket_); }
    BareClient(const BareClient&) = delete;
    BareClient& operator=(const BareClient&) = delete;

    void sendWord(std::uint32_t word) { platform::sendBytes(socket_, &word, sizeof word); }
    void sendString(std::size_t units) {
        sendWord(static_cast<std::uint32_t>(units));
        text_.resize(2 * units);
        platform::sendBytes(socket_, text_.data(), text_.size());
    }
    void awaitWord() {
        std::uint32_t word = 0;
        platform::receiveBytes(socket_, &word, sizeof word);
    }
    void round() {
        sendWord(1);
        awaitWord();
    }
    void pass(std::size_t meshes, std::size_t nameUnits, bool withPaths) {
        sendWord(11);
        sendString(100);
        round();
        round();
        sendWord(static_cast<std::uint32_t>(meshes));
        for (std::size_t mesh = 0; mesh < meshes; ++mesh) {
            sendString(nameUnits);
            for (int array = 0; array < arraysPerMesh; ++array)
                round();
        }
        if (withPaths) round();
        awaitWord();
    }

  private:
    platform::SocketHandle socket_;
    std::string text_;
};

void sendTo(Renderer& renderer, const Session& session) {
    renderer.serve([&] {
        Q7RawSyncConnect(session.handle);
        Q7SendRaw(session.handle);
        DisConnect(session.handle);
    });
}

std::size_t materialUnits() {
    return bench::numbered("material", 0).size();
}

void smallMeshes(Renderer& renderer, std::size_t meshes, int repetitions) {
    const Session session;
    SetModelFilePath(session.handle, modelPath);
    bench::manyMeshes(session, meshes, 12, 1);
    const std::size_t nameUnits = bench::numbered("node", 0).size() + 1 + materialUnits();
    const auto bareRounds = [&] {
        renderer.serve([&] {
            BareClient client(renderer.port());
            client.sendWord(11);
            client.sendString(5);
            client.awaitWord();
            client.pass(meshes, nameUnits, true);
            client.pass(meshes, nameUnits, false);
        });
    };
    bench::compare({"live, meshes of 12 triangles", static_cast<double>(meshes), "meshes",
                    bench::timed([&] { sendTo(renderer, session); })},
                   {{"bare acknowledgement rounds", bench::timed(bareRounds)}}, repetitions);
}

void largeMesh(Renderer& renderer, std::size_t triangles, int repetitions) {
    const Session session;
    SetModelFilePath(session.handle, modelPath);
    bench::largeMesh(session, triangles);
    const std::size_t positions = triangles * 9 * sizeof(float);
    const std::size_t uvs = triangles * 6 * sizeof(float);
    const std::size_t indices = triangles * 3 * sizeof(std::int32_t);
    const std::vector<std::byte> source(positions, std::byte{1});
    const auto copies = [&] {
        for (int pass = 0; pass < 2; ++pass) {
            auto block =
                platform::CreatedBlock::create(u"q7bench", static_cast<std::uint32_t>(positions));
            if (block.view().size() < positions) throw std::runtime_error("no memory");
            for (const std::size_t size : {positions, positions, uvs, indices})
                std::memcpy(block.view().data(), source.data(), size);
        }
    };
    bench::compare({"live, one large mesh", static_cast<double>(triangles), "triangles",
                    bench::timed([&] { sendTo(renderer, session); })},
                   {{"copies into a fresh block", bench::timed(copies)}}, repetitions);
}

// Both passes of records of the given size through a fresh block, and nothing else: neither the paths
// nor the instances that a send makes for materials.
double copyRecords(std::size_t bytes) {
    const std::vector<std::byte> source(bytes, std::byte{1});
    return bench::millisecondsOf([&] {
        for (int pass = 0; pass < 2; ++pass) {
            auto block =
                platform::CreatedBlock::create(u"q7bench", static_cast<std::uint32_t>(bytes));
            if (block.view().size() < bytes) throw std::runtime_error("no memory");
            std::memcpy(block.view().data(), source.data(), bytes);
        }
    });
}

// The units of a name as numbered() makes them, and the count in front of it.
std::size_t nameBytes(const char* prefix) {
    return 4 + 2 * bench::numbered(prefix, 0).size();
}

void manyPlaces(Renderer& renderer, std::size_t instances, int repetitions) {
    const Session session;
    SetModelFilePath(session.handle, modelPath);
    bench::manyInstances(session, instances);
    const std::size_t meshName = nameBytes("node") + 2 * (1 + materialUnits());
    const std::size_t record = meshName + nameBytes("material") + sizeof bench::identity;
    bench::compare(
        {"live, one mesh in many places", static_cast<double>(instances), "instances",
         bench::timed([&] { sendTo(renderer, session); })},
        {{"copies of the instances alone", [&] { return copyRecords(instances * record); }}},
        repetitions);
}

// Each material gets an instance of its own.
void manyMaterials(Renderer& renderer, std::size_t materials, int repetitions) {
    const Session session;
    SetModelFilePath(session.handle, modelPath);
    SetGenMatInstances(session.handle, 1);
    bench::manyMeshes(session, 1, 12, 1);
    const HostText text(400, Q7T('x'));
    for (std::size_t i = 1; i < materials; ++i)
        AddMaterial(session.handle, bench::numbered("material", i).c_str(), text.c_str());
    const std::size_t record = nameBytes("material") + 4 + 2 * text.size();
    bench::compare(
        {"live, materials that each get an instance", static_cast<double>(materials), "materials",
         bench::timed([&] { sendTo(renderer, session); })},
        {{"copies of the materials alone", [&] { return copyRecords(materials * record); }}},
        repetitions);
}

void run(const bench::Options& options) {
    Renderer renderer;
    // A renderer that is linked already: this reads its port.
    if (StartLinkQ7Render(Q7T("")) != 0) throw std::runtime_error("the library found no renderer");
    for (const std::size_t meshes : options.sizes(10000, 20))
        smallMeshes(renderer, meshes, options.repetitions());
    for (const std::size_t triangles : options.sizes(10000000, 10000))
        largeMesh(renderer, triangles, options.repetitions());
    for (const std::size_t instances : options.sizes(1000000, 100))
        manyPlaces(renderer, instances, options.repetitions());
    for (const std::size_t materials : options.sizes(100000, 100))
        manyMaterials(renderer, materials, options.repetitions());
}

}  // namespace

int main(int argc, char** argv) {
    return bench::runBenchmark(argc, argv, run);
}
