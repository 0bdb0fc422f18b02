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

#include "platform/listener.h"
#include "platform/shared_memory.h"
#include "platform/socket.h"
#include "q7plugin.h"

#if defined(_WIN32)
#define Q7T(text) L##text
#else
#define Q7T(text) u##text
#endif

namespace {

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

double millisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    return took.count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Alternates the two, so that what else the machine does meets both alike.
void compare(const char* what, const char* limit, int repetitions,
             const std::function<double()>& measured, const std::function<double()>& bound) {
    std::vector<double> times;
    std::vector<double> limits;
    for (int i = 0; i < repetitions; ++i) {
        times.push_back(measured());
        limits.push_back(bound());
    }
    std::printf("%-36s %10.1f ms   %-32s %10.1f ms   ratio %.2f\n", what, median(times), limit,
                median(limits), median(times) / median(limits));
    std::fflush(stdout);
}

class Session {
  public:
    Session() : handle(CreateSession()) { SetModelFilePath(handle, modelPath); }
    ~Session() { DestroySession(handle); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void sendTo(Renderer& renderer) const {
        renderer.serve([this] {
            Q7RawSyncConnect(handle);
            Q7SendRaw(handle);
            DisConnect(handle);
        });
    }

    void* const handle;
};

constexpr std::array<float, 16> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

std::basic_string<Q7Char> nodeName(std::size_t number) {
    const std::string digits = std::to_string(100000000 + number);
    return {digits.begin(), digits.end()};
}

void smallMeshes(Renderer& renderer, std::size_t meshes, int repetitions) {
    const Session session;
    const std::vector<float> numbers(12 * 9);
    for (std::size_t i = 0; i < meshes; ++i) {
        MaxBeginNode(session.handle, nodeName(i).c_str(), identity.data());
        MaxAddTriangles(session.handle, Q7T("m"), 12, numbers.data(), numbers.data(),
                        numbers.data(), CoordOrder::XYZ);
        MaxEndNode(session.handle);
    }
    const std::size_t nameUnits = nodeName(0).size() + 2;
    const std::string what = std::to_string(meshes) + " meshes of 12 triangles";
    compare(
        what.c_str(), "bare acknowledgement rounds", repetitions,
        [&] { return millisecondsOf([&] { session.sendTo(renderer); }); },
        [&] {
            return millisecondsOf([&] {
                renderer.serve([&] {
                    BareClient client(renderer.port());
                    client.sendWord(11);
                    client.sendString(5);
                    client.awaitWord();
                    client.pass(meshes, nameUnits, true);
                    client.pass(meshes, nameUnits, false);
                });
            });
        });
}

void largeMesh(Renderer& renderer, std::size_t triangles, int repetitions) {
    constexpr int batch = 1000;
    const Session session;
    const std::vector<float> numbers(batch * 9, 0.5F);
    MaxBeginNodeHint(session.handle, Q7T("large"), identity.data(),
                     static_cast<std::uint32_t>(triangles));
    for (std::size_t done = 0; done < triangles; done += batch) {
        MaxAddTriangles(session.handle, Q7T("m"), batch, numbers.data(), numbers.data(),
                        numbers.data(), CoordOrder::XYZ);
    }
    MaxEndNode(session.handle);
    const std::size_t positions = triangles * 9 * sizeof(float);
    const std::size_t uvs = triangles * 6 * sizeof(float);
    const std::size_t indices = triangles * 3 * sizeof(std::int32_t);
    const std::vector<std::byte> source(positions, std::byte{1});
    const std::string what = "1 mesh of " + std::to_string(triangles) + " triangles";
    compare(
        what.c_str(), "copies into a fresh block", repetitions,
        [&] { return millisecondsOf([&] { session.sendTo(renderer); }); },
        [&] {
            return millisecondsOf([&] {
                for (int pass = 0; pass < 2; ++pass) {
                    auto block = platform::CreatedBlock::create(
                        u"q7bench", static_cast<std::uint32_t>(positions));
                    if (block.view().size() < positions) throw std::runtime_error("no memory");
                    for (const std::size_t size : {positions, positions, uvs, indices})
                        std::memcpy(block.view().data(), source.data(), size);
                }
            });
        });
}

void run(bool smoke) {
    Renderer renderer;
    // A renderer that is linked already: this reads its port.
    if (StartLinkQ7Render(Q7T("")) != 0) throw std::runtime_error("the library found no renderer");
    const int repetitions = smoke ? 1 : 5;
    smallMeshes(renderer, smoke ? 20 : 10000, repetitions);
    largeMesh(renderer, smoke ? 10000 : 10000000, repetitions);
}

}  // namespace

int main(int argc, char** argv) {
    const bool smoke = argc == 2 && std::string_view(argv[1]) == "--smoke";
    if (argc > 1 && !smoke) {
        std::fprintf(stderr, "live_send: unknown option %s (there is --smoke)\n", argv[1]);
        return 2;
    }
    try {
        run(smoke);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "live_send: %s\n", error.what());
        return 1;
    }
    return 0;
}
