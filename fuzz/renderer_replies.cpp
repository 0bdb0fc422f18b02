// A renderer that answers as no sane one does, and dies at every point of an exchange, under a host that goes
// on. After each step the host's sessions are what they were, and in between a sane renderer gets whole
// sends. It ends at the first difference.
//
//   q7fuzz_renderer [STEPS [SEED]]
//
// A seed brings the same plans again; when bytes and ends of connections arrive is the network's matter. The
// library waits for an answer without a limit, so every plan ends its connection in the end.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "q7plugin.h"
#include "tests/host.h"
#include "tests/platform/installation.h"
#include "tests/renderer_peer.h"

namespace {

class Difference : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

void require(bool holds, const std::string& what) {
    if (!holds) throw Difference(what);
}

class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    std::uint64_t next() { return engine_(); }
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(engine_() % limit); }
    bool oneIn(std::size_t many) { return below(many) == 0; }
    std::string bytes(std::size_t count) {
        std::string made(count, '\0');
        for (char& each : made)
            each = static_cast<char>(engine_());
        return made;
    }
    template <class Value>
    Value oneOf(std::initializer_list<Value> values) {
        return values.begin()[below(values.size())];
    }

  private:
    std::mt19937_64 engine_;
};

std::string bytesOf(std::uint32_t word) {
    return {reinterpret_cast<const char*>(&word), sizeof word};
}

void waitABit(Random& random) {
    std::this_thread::sleep_for(std::chrono::microseconds(random.below(2000)));
}

#if !defined(_WIN32)

// Where the system keeps the blocks that a dead process leaves.
std::filesystem::path leftBlock(WideView name) {
    return std::filesystem::path("/dev/shm") / wideToUtf8(name);
}

void clearBlock(WideView name) {
    std::error_code ignored;
    std::filesystem::remove_all(leftBlock(name), ignored);
}

// A block of nobody's: of any size, empty, far larger than what is wanted, or no block at all.
void leaveBlock(WideView name, Random& random) {
    clearBlock(name);
    const std::filesystem::path path = leftBlock(name);
    std::error_code ignored;
    if (random.oneIn(6)) {
        std::filesystem::create_directory(path, ignored);
        return;
    }
    // Under another name first: this is not the one who shortens a block that is in use.
    const std::filesystem::path made = leftBlock(WideString(name) + u"X");
    // At a port of somebody else's there might be one who never answers.
    const std::string content = random.bytes(random.below(6) * random.below(2000));
    std::ofstream(made, std::ios::binary)
        << (name == testPortBlock ? std::string(content.size(), '\0') : content);
    if (random.oneIn(4)) std::filesystem::resize_file(made, std::uintmax_t{1} << 30, ignored);
    std::filesystem::rename(made, path, ignored);
}

// The block that is in use, shorter than it was.
void cutBlock(WideView name, Random& random) {
    std::error_code ignored;
    std::filesystem::resize_file(leftBlock(name), random.below(3) * random.below(3000), ignored);
}

#else

// Nothing of a process outlives it here, and blocks keep their size.
void leaveBlock(WideView, Random&) {}

void cutBlock(WideView, Random&) {}

void clearBlock(WideView) {}

#endif

void clearBlocks() {
    for (const WideView name : {testStatusBlock, testPortBlock, testModelBlock})
        clearBlock(name);
}

// What the renderer's two blocks show, right or wrong.
class Blocks {
  public:
    explicit Blocks(std::uint16_t port) : port_(port) { publish(4); }
    ~Blocks() {
        status_.reset();
        portBlock_.reset();
        clearBlocks();
    }
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;

    void publish(std::uint16_t status) { publish(status, port_); }
    void publish(std::uint16_t status, std::uint16_t port) {
        make(portBlock_, testPortBlock, bytesOf(port).substr(0, 2), 2);
        make(status_, testStatusBlock, bytesOf(status), 4);
    }

    void publishAnything(Random& random) {
        publish(random.oneOf<std::uint16_t>({1, 2, 4, 4, 4, 0, 77, 0xFFFF}), anyPort(random));
        put(status_, 2, random.bytes(2));
        for (const WideView name : {testStatusBlock, testPortBlock}) {
            if (!random.oneIn(12)) continue;
            auto& block = name == testStatusBlock ? status_ : portBlock_;
            if (random.oneIn(3)) {
                block.reset();
                leaveBlock(name, random);
            } else {
                const auto size = static_cast<std::uint32_t>(random.oneOf({1, 2, 3, 5, 70000}));
                make(block, name, random.bytes(2), size);
                // A port of somebody else's might never answer.
                if (name == testPortBlock) put(block, 0, bytesOf(anyPort(random)).substr(0, 2));
            }
        }
    }
    // As another process does it, while the library looks.
    void change(Random& random) const {
        write(testStatusBlock, bytesOf(random.oneOf<std::uint32_t>({0, 1, 4, 0x00FF0002})));
        write(testPortBlock, bytesOf(anyPort(random)).substr(0, 2));
    }
    static void endHandOver(Random& random) {
        write(testStatusBlock, bytesOf(random.oneIn(2) ? 4 : 0x00010002));
    }

  private:
    using Block = std::optional<platform::CreatedBlock>;

    // Two that nobody listens at, and the one that stands for none.
    std::uint16_t anyPort(Random& random) const {
        return random.oneOf<std::uint16_t>({port_, port_, port_, port_, 0, 1, 65535});
    }
    static void make(Block& block, WideView name, const std::string& content, std::uint32_t size) {
        block.reset();
        clearBlock(name);
        block.emplace(platform::CreatedBlock::create(name, size));
        put(block, 0, content);
    }
    static void put(const Block& block, std::size_t offset, const std::string& bytes) {
        const auto view = block->view();
        if (offset >= view.size()) return;
        std::memcpy(view.data() + offset, bytes.data(),
                    std::min(bytes.size(), view.size() - offset));
    }
    static void write(WideView name, const std::string& bytes) {
        const auto block = platform::OpenedBlock::open(name, platform::BlockAccess::ReadWrite);
        if (!block) return;
        const std::size_t size = std::min(bytes.size(), block->view().size());
        if (size != 0) std::memcpy(block->view().data(), bytes.data(), size);
    }

    const std::uint16_t port_;
    Block portBlock_;
    Block status_;
};

// One connection with a renderer that follows the library's messages and answers as it likes.
class Conversation {
  public:
    Conversation(Peer& peer, Random& random, const Blocks* blocks)
        : peer_(peer),
          random_(random),
          blocks_(blocks),
          decency_(random.oneOf<std::size_t>({2, 10, 50, 100000})) {}

    void run() {
        try {
            maybeEnd();
            command(peer_.word());
            peer_.allBytes();
        } catch (const PeerClosed&) {
            // The library had enough, as it may at any time.
        } catch (const Ended&) {
            // This side had.
        }
    }

  private:
    struct Ended {};

    void command(std::uint32_t word) {
        switch (word) {
            case 7:
            case 8:
            case 11:
                return connection(1);
            case 17:
                return connection(2);
            case 9:
                string();
                return answer(bytesOf(random_.oneOf<std::uint32_t>({0, 5, 0x80000000})));
            case 10:
                string();
                return metaData();
            case 3:
            case 4:
            case 5:
            case 6:
            case 12:
            case 13:
            case 14:
            case 15:
            case 18:
                return message();
            default:
                throw Difference("the library began with the word " + std::to_string(word));
        }
    }

    void message() {
        // Unread bytes make an end a reset, and a client that is never read from waits.
        if (random_.oneIn(3)) {
            peer_.bytes(random_.below(40));
            end();
        }
    }

    void connection(int strings) {
        for (int i = 0; i < strings; ++i)
            string();
        answer(bytesOf(random_.oneIn(8) ? static_cast<std::uint32_t>(random_.below(6)) : 0));
        for (;;)
            model();
    }

    void model() {
        const std::uint32_t version = word();
        // The paths, which have their answer already.
        if (version == 1) return;
        require(version == 11, "the library sent the version " + std::to_string(version));
        string();
        word();
        acknowledge();
        word();
        acknowledge();
        for (std::uint32_t meshes = word(); meshes > 0; --meshes) {
            string();
            for (int array = 0; array < 5; ++array) {
                word();
                acknowledge();
            }
        }
        // One for the end and one for the paths: if there are none, it is for what comes next.
        acknowledge();
        isAhead_ = true;
        acknowledge();
    }

    void acknowledge() {
        meddle();
        answer(random_.oneIn(2) ? bytesOf(0) : random_.bytes(4));
    }

    void metaData() {
        std::string text = random_.oneOf<std::string>(
            {"", "text", std::string("a\0b", 3), "\xED\xA0\x80\xED\xBF\xBF", "\xF0\x9F\x98\x80",
             "\xFF\xC0\x80\xF8\xE4\xB8", std::string(5000, '\xE4'), random_.bytes(300)});
        auto count = static_cast<std::uint32_t>(text.size());
        if (random_.oneIn(2)) {
            count = random_.oneOf<std::uint32_t>(
                {0, 1, count + 1, count + 1000, 0xFFFFFFFF, 0x80000000, 0x7FFFFFFF, 0x04000001});
        }
        // As long as one that is taken can be.
        if (random_.oneIn(2000)) count = 0x04000000;
        answer(bytesOf(count) + text);
        // The library waits for a text of which nothing comes.
        if (random_.oneIn(2)) waitABit(random_);
        end();
    }

    void answer(const std::string& right) {
        maybeEnd();
        if (!random_.oneIn(decency_)) return peer_.send(right);
        isAhead_ = true;
        switch (random_.below(9)) {
            case 0:
                peer_.send(right.substr(0, random_.below(right.size())));
                return end();
            case 1:
                return peer_.send(right + random_.bytes(1 + random_.below(64)));
            case 2:
                return peer_.send(bytesOf(random_.oneOf<std::uint32_t>(
                                      {0xFFFFFFFF, 0x80000000, 0x7FFFFFFF, 0x01000000, 65536})) +
                                  right.substr(4));
            case 3:
                return peer_.sendTorn(right.substr(0, 300));
            case 4:
                waitABit(random_);
                return peer_.send(right);
            case 5:
                // The answers to what has not been said yet.
                return peer_.send(right + std::string(4 * random_.below(20), '\0'));
            case 6:
                waitABit(random_);
                return end();
            case 7:
                return peer_.send(random_.bytes(right.size()));
            default:
                return end();
        }
    }

    // With the library's block while the library waits.
    void meddle() {
        if (blocks_ && random_.oneIn(20)) blocks_->change(random_);
        if (!random_.oneIn(10)) return;
        // While the library writes into it this would end the process, as the system has it.
        if (!isAhead_ && random_.oneIn(2)) cutBlock(testModelBlock, random_);
        if (random_.oneIn(2)) {
            const auto block =
                platform::OpenedBlock::open(testModelBlock, platform::BlockAccess::ReadWrite);
            if (!block) return;
            for (int i = 0; i < 20 && !block->view().empty(); ++i)
                block->view()[random_.below(block->view().size())] = std::byte{0xFF};
            return;
        }
        // Replaces it, where a name can be taken away.
        platform::CreatedBlock::create(testModelBlock,
                                       static_cast<std::uint32_t>(random_.below(3) * 5000));
        if (random_.oneIn(2)) leaveBlock(testModelBlock, random_);
    }

    std::uint32_t word() {
        maybeEnd();
        return peer_.word();
    }
    void string() {
        maybeEnd();
        peer_.string();
    }
    void maybeEnd() {
        if (random_.oneIn(20 * decency_)) end();
    }
    void end() {
        if (random_.oneIn(2)) {
            peer_.reset();
        } else {
            peer_.close();
        }
        throw Ended();
    }

    Peer& peer_;
    Random& random_;
    // Where they may change.
    const Blocks* blocks_;
    // One answer in as many is not what it should be.
    const std::size_t decency_;
    // Whether the library may have gone on without waiting.
    bool isAhead_ = false;
};

// A renderer for some steps of the host.
class HostileRenderer {
  public:
    HostileRenderer() : blocks_(platform::portOf(listener_)) {}
    ~HostileRenderer() { platform::closeSocket(listener_); }
    HostileRenderer(const HostileRenderer&) = delete;
    HostileRenderer& operator=(const HostileRenderer&) = delete;

    Blocks& blocks() { return blocks_; }

    // Serves all connections that the step makes.
    void during(std::uint64_t seed, bool isHandOver, const std::function<void()>& step) {
        std::exception_ptr error;
        std::atomic<bool> done = false;
        std::thread thread([&] {
            Random random(seed);
            do {
                try {
                    serveOne(random, isHandOver);
                } catch (...) {
                    if (!error) error = std::current_exception();
                }
            } while (!done || hasCaller());
        });
        const auto finish = [&] {
            done = true;
            wake();
            thread.join();
        };
        try {
            step();
        } catch (...) {
            finish();
            throw;
        }
        finish();
        if (error) std::rethrow_exception(error);
    }

  private:
    void serveOne(Random& random, bool isHandOver) {
        const auto socket = platform::acceptClient(listener_, patience);
        if (socket == platform::noSocket) {
            std::fprintf(stderr, "renderer_replies: a step does not end\n");
            std::_Exit(1);
        }
        Peer peer(socket);
        if (random.oneIn(20)) waitABit(random);
        Conversation(peer, random, isHandOver ? nullptr : &blocks_).run();
        if (isHandOver) Blocks::endHandOver(random);
    }
    bool hasCaller() const { return platform::waitForData(listener_, 0); }
    // By a connection on which nothing comes.
    void wake() const {
        const auto socket = platform::openSocket();
        platform::connectSocket(socket, "127.0.0.1", platform::portOf(listener_));
        platform::closeSocket(socket);
    }

    const platform::SocketHandle listener_ = platform::listenOnLoopback();
    Blocks blocks_;
};

using Connect = ConnectRet(void*);
using Send = void(void*);

// MinGW takes no address of a function whose name was given to the assembler.
ConnectRet connectRaw(void* session) {
    return Q7RawSyncConnect(session);
}
ConnectRet connectProcessed(void* session) {
    return Q7ProcessedSyncConnect(session);
}
ConnectRet connectGroup(void* session) {
    return Q7GroupSyncConnect(session);
}

// Room that shows who writes beyond it.
class GuardedBuffer {
  public:
    explicit GuardedBuffer(std::size_t size) : units_(size + margin, mark) {}
    Q7Char* data() { return units_.data(); }
    // Nothing behind the first ones was written to.
    bool isUntouchedFrom(std::size_t first) const {
        return std::all_of(units_.begin() + static_cast<std::ptrdiff_t>(first), units_.end(),
                           [](Q7Char unit) { return unit == mark; });
    }
    Q7Char at(std::size_t index) const { return units_.at(index); }

  private:
    static constexpr std::size_t margin = 64;
    static constexpr Q7Char mark = 0x7E7E;
    std::vector<Q7Char> units_;
};

// A session that steps act on, and what it must remain.
class Victim {
  public:
    explicit Victim(bool isPlain) {
        SetTextureFolder(host_.session, Q7T("C:\\textures"));
        SetModelFilePath(host_.session, Q7T("C:\\model"));
        AddMaterial(host_.session, Q7T("text"), Q7T("<m/>"));
        Q7AddMaterial(host_.session, Q7T("typed"));
        host_.addNode(Q7T("a"), {Q7T("text"), Q7T("typed")}, Q7T("/root/a"));
        host_.addNode(Q7T("\u4E2D"), {Q7T("made")}, Q7T("/root/\u4E2D"));
        MaxDuplicateNode(host_.session, Q7T("a"), Q7T("twin"), translation(1, 2, 3).data());
        Q7AddLight(host_.session, Q7T("lamp"));
        Q7SetEntityFloatProperty(host_.session, 1, Q7T("lamp"), Q7T("power"), 0.1F);
        Q7SetPathElementName(host_.session, Q7T("1"), Q7T("one"));
        if (!isPlain) addWhatSendsChange();
        saved_ = host_.savedBytes();
        materials_ = host_.savedMaterials();
        count_ = Q7InstanceCount(host_.session);
    }

    void* session() const { return host_.session; }
    const std::string& saved() const { return saved_; }

    void requireUntouched() const {
        require(HasConnected(host_.session) == 0, "still connected");
        require(Q7InstanceCount(host_.session) == count_, "count of instances");
        require(host_.savedBytes() == saved_, "the model has changed");
        require(host_.savedMaterials() == materials_, "the materials have changed");
    }

  private:
    // A mesh that is baked for the send, generated instances, and more than fits into small buffers.
    void addWhatSendsChange() {
        const std::array<float, 16> shear = {1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};
        Q7BeginNode(host_.session, Q7T("sheared"), shear.data(), Q7T("/root/s"));
        host_.addTriangle(Q7T("text"));
        Q7EndNode(host_.session);
        const std::vector<float> many(9 * 3000, 0.5F);
        Q7BeginNode(host_.session, Q7T("large"), identity.data(), Q7T("/root/l"));
        MaxAddTriangles(host_.session, Q7T("typed"), 3000, many.data(), many.data(), nullptr,
                        CoordOrder::XYZ);
        Q7EndNode(host_.session);
        SetGenMatInstances(host_.session, 1);
    }

    Host host_;
    std::string saved_;
    std::string materials_;
    std::uint64_t count_ = 0;
};

// The sends to a sane renderer.
struct WholeSends {
    std::string rawWithPaths;
    WideString paths;
    std::string raw;
    std::string processed;
    std::string lights;

    bool operator==(const WholeSends&) const = default;
};

FakeRenderer::Script acceptingModels(std::vector<ReceivedModel>& models,
                                     std::vector<bool> withPaths) {
    return [&models, withPaths = std::move(withPaths)](Peer& peer) {
        peer.word();
        peer.string();
        peer.sendWord(0);
        for (const bool paths : withPaths)
            models.push_back(ModelReceiver(peer).receive(paths));
        require(peer.atEnd(), "bytes behind the models");
    };
}

WholeSends sendWhole(void* session) {
    WholeSends sends;
    std::vector<ReceivedModel> models;
    clearBlocks();
    FakeRenderer renderer(4);
    renderer.serve({acceptingModels(models, {true, false}), acceptingModels(models, {false}),
                    [&](Peer& peer) { sends.lights = peer.allBytes(); },
                    [](Peer& peer) {
                        peer.word();
                        peer.string();
                        peer.send(bytesOf(2) + "ok");
                        require(peer.atEnd(), "bytes behind a question");
                    }});
    const std::uint32_t code = StartLinkQ7Render(Q7T("file"));
    require(code == 0, "a sane renderer was not linked, but " + std::to_string(code));
    require(Q7RawSyncConnect(session) == ConnectRet_Accepted, "a raw connection was refused");
    Q7SendRaw(session);
    DisConnect(session);
    require(Q7ProcessedSyncConnect(session) == ConnectRet_Accepted, "a connection was refused");
    Q7SendProcessed(session);
    DisConnect(session);
    Q7SendLights(session);
    const std::uint32_t text = Q7GetMetaData(session, nullptr, 0);
    require(text == 3, "the metadata did not arrive, but " + std::to_string(text) + " at status " +
                           std::to_string(GetQ7RenderStatus(nullptr)));
    renderer.finish();
    sends.rawWithPaths = models.at(0).stream;
    sends.paths = models[0].pathsJson;
    sends.raw = models.at(1).stream;
    sends.processed = models.at(2).stream;
    return sends;
}

// The host's side of a step.
class Steps {
  public:
    Steps(Random& random, void* session, void* other)
        : random_(random), session_(session), other_(other) {}

    void any() {
        try {
            one();
        } catch (const std::invalid_argument&) {
            // So a version is told that is none, and one that is too large.
        } catch (const std::out_of_range&) {
        }
        DisConnect(session_);
        DisConnect(other_);
    }

    void handOver() {
        const std::uint32_t code = StartLinkQ7Render(Q7T("C:\\plug-in file"));
        require(code == 0 || code == 4 || code == 6 || code == 8,
                "code " + std::to_string(code) + " of the handshake");
    }

  private:
    void one() {
        switch (random_.below(10)) {
            case 0:
                return message();
            case 1:
                return metaData();
            case 2:
                return modelType();
            case 3:
                return status();
            case 4:
                return version();
            case 5:
                // To nobody.
                return Q7SendRaw(session_);
            default:
                return send();
        }
    }

    void send() {
        Connect* const connect =
            random_.oneOf<Connect*>({connectRaw, connectProcessed, connectGroup});
        const auto result = static_cast<int>(connect(session_));
        require(result == 0 || result == 2 || result == 4 || result == 6 || result == 7,
                "result " + std::to_string(result) + " of a connect");
        require((HasConnected(session_) == 1) == (result == 0), "connected or not");
        for (std::size_t i = random_.below(3); i > 0; --i) {
            if (random_.oneIn(3)) {
                Q7SendProcessed(session_);
            } else {
                Q7SendRaw(session_);
            }
            if (random_.oneIn(4)) message();
            if (random_.oneIn(10)) metaData();
            if (random_.oneIn(20)) DisConnect(other_);
            // Closes the first one.
            if (random_.oneIn(20)) connectGroup(other_);
        }
    }

    void message() {
        static constexpr char data[36] = {};
        switch (random_.below(8)) {
            case 0:
                return SendCameraTransformFov(session_, data, 1);
            case 1:
                return Q7SendCamera(session_);
            case 2:
                return Q7SendMetaData(session_);
            case 3:
                return Q7SendScenes(session_);
            case 4:
                return Q7SendLights(session_);
            case 5:
                AddScene(session_, Q7T("name"), Q7T("label"), data, 1);
                return SendScenes(session_, random_.oneIn(4) ? Q7T("") : Q7T("text"));
            case 6:
                // Too much for the buffers between the two sides.
                return SendLightsDataXml(
                    session_, Q7T("first"),
                    HostString(random_.oneIn(20) ? 4000000 : 5, Q7Char('x')).c_str());
            default:
                Q7AddCameraAnims(session_, Q7T("animation"));
                return Q7SendCameraAnims(session_);
        }
    }

    void metaData() {
        const auto size = static_cast<std::uint32_t>(random_.oneOf({0, 1, 2, 3, 5, 100, 6000}));
        GuardedBuffer buffer(size);
        const bool hasBuffer = !random_.oneIn(4);
        const std::uint32_t result =
            Q7GetMetaData(session_, hasBuffer ? buffer.data() : nullptr, size);
        const bool isStored = hasBuffer && result != UINT32_MAX && size > result - 1;
        require(result != 0, "no result");
        require(buffer.isUntouchedFrom(isStored ? result : 0), "written beyond the text");
        require(!isStored || buffer.at(result - 1) == 0, "no terminator");
    }

    void modelType() {
        require(GetSendModelType(session_, Q7T("name")) >= 0, "a negative type");
        require(GetSendModelType(session_, nullptr) == 0, "a type of nothing");
    }

    void status() {
        std::uint8_t flag = 0;
        require(GetQ7RenderStatus(&flag) <= 0xFFFF, "status");
        require(GetQ7RenderStatus(nullptr) <= 0xFFFF, "status");
    }

    void version() {
        const auto size = static_cast<std::uint32_t>(random_.below(8));
        GuardedBuffer buffer(size);
        const std::uint32_t result = Q7GetRenderVersion(buffer.data(), size);
        // The terminator goes one further where the text alone fits.
        require(buffer.isUntouchedFrom(size >= result - 1 ? result : 0),
                "written beyond the version");
    }

    Random& random_;
    void* session_;
    void* other_;
};

class Run {
  public:
    explicit Run(std::uint64_t seed) : random_(seed) {
        removeLeftBlocks();
        for (std::size_t i = 0; i < victims_.size(); ++i)
            whole_[i] = sendWhole(victims_[i].session());
        // What nothing is added to arrives as it would be saved.
        require(whole_[0].raw == victims_[0].saved(), "the model arrived otherwise than saved");
    }

    void steps(std::uint64_t count) {
        while (done_ < count) {
            renderersLife(std::min<std::uint64_t>(count - done_, 1 + random_.below(30)));
            installation_.setVersion("2.5.0");
            const std::size_t victim = random_.below(victims_.size());
            require(sendWhole(victims_[victim].session()) == whole_[victim],
                    "a sane renderer got something else");
            requireUntouched();
        }
    }
    std::uint64_t done() const { return done_; }

  private:
    void renderersLife(std::uint64_t steps) {
        HostileRenderer renderer;
        require(StartLinkQ7Render(Q7T("file")) == 0, "a linked renderer was not found");
        for (std::uint64_t i = 0; i < steps; ++i, ++done_)
            step(renderer);
    }

    void step(HostileRenderer& renderer) {
        const std::size_t first = random_.below(victims_.size());
        Steps steps(random_, victims_[first].session(), victims_[1 - first].session());
        if (random_.oneIn(10)) {
            installation_.setVersion(
                random_.oneOf<const char*>({"1.9", "2.4", "2.5.0", "", "beta", "99999999999"}));
        }
        const std::uint64_t seed = random_.next();
        // Each takes the library a third of a second.
        if (random_.oneIn(400)) {
            renderer.blocks().publish(random_.oneOf<std::uint16_t>({1, 1, 2, 4}));
            renderer.during(seed, true, [&] { steps.handOver(); });
            renderer.blocks().publish(4);
        } else {
            if (random_.oneIn(3)) renderer.blocks().publishAnything(random_);
            if (random_.oneIn(10)) leaveBlock(testModelBlock, random_);
            if (random_.oneIn(10)) clearBlock(testModelBlock);
            renderer.during(seed, false, [&] { steps.any(); });
            if (random_.oneIn(2)) renderer.blocks().publish(4);
        }
        requireUntouched();
    }

    void requireUntouched() const {
        for (const Victim& victim : victims_)
            victim.requireUntouched();
    }

    Random random_;
    Installation installation_{"2.5.0"};
    std::array<Victim, 2> victims_ = {Victim(true), Victim(false)};
    std::array<WholeSends, 2> whole_;
    std::uint64_t done_ = 0;
};

void run(std::uint64_t count, std::uint64_t seed) {
    platform::startSockets();
    Run run(seed);
    try {
        run.steps(count);
    } catch (const std::exception& error) {
        throw Difference(std::string(error.what()) + " in step " + std::to_string(run.done()) +
                         " of seed " + std::to_string(seed));
    }
    std::fprintf(stderr, "%llu steps of seed %llu: no difference\n",
                 static_cast<unsigned long long>(count), static_cast<unsigned long long>(seed));
}

}  // namespace

int main(int argc, char** argv) {
    const auto number = [&](int argument, std::uint64_t otherwise) {
        return argc > argument ? std::strtoull(argv[argument], nullptr, 10) : otherwise;
    };
    const std::uint64_t steps = number(1, 100000);
    if (argc > 3 || steps == 0) {
        std::fprintf(stderr, "usage: q7fuzz_renderer [STEPS [SEED]]\n");
        return 2;
    }
#if !defined(_WIN32)
    // Hosts do not handle it, whoever started this one.
    std::signal(SIGPIPE, SIG_DFL);
    constexpr char nothing[] = "/dev/null";
#else
    constexpr char nothing[] = "NUL";
#endif
    // The library prints a line for each block that is missing.
    if (!std::freopen(nothing, "w", stdout)) return 2;
    try {
        run(steps, number(2, std::random_device()()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "renderer_replies: %s\n", error.what());
        return 1;
    }
    return 0;
}
