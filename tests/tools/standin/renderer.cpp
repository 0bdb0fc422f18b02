#include "standin/renderer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <optional>
#include <sstream>
#include <thread>

#include "common/files.h"
#include "platform/listener.h"
#include "platform/render_windows.h"
#include "platform/shared_memory.h"
#include "platform/socket.h"
#include "platform/window_lookup.h"
#include "standin/model_block.h"
#include "standin/published_blocks.h"
#include "standin/window_names.h"
#include "tests/tools/standin/harness.h"
#include "tests/tools/standin/model_script.h"

namespace {

using namespace standintest;
using platform::CreatedBlock;
using q7standin::Options;
using Lines = std::vector<std::string>;

std::optional<std::uint16_t> wordIn(WideView name, std::size_t offset) {
    const auto block = platform::OpenedBlock::open(name, platform::BlockAccess::ReadOnly);
    if (!block || block->view().size() < offset + 2) return std::nullopt;
    std::uint16_t word = 0;
    std::memcpy(&word, block->view().data() + offset, sizeof word);
    return word;
}

// A plug-in's side of the link, with real sockets and a real block.
class RawClient {
  public:
    RawClient() {
        platform::startSockets();
        socket_ = platform::openSocket();
        const auto port = wordIn(q7standin::portBlockName, 0);
        EXPECT_TRUE(port);
        EXPECT_TRUE(platform::connectSocket(socket_, "127.0.0.1", port.value_or(0)));
        platform::sendWithoutDelay(socket_);
    }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;
    ~RawClient() { platform::closeSocket(socket_); }

    void send(const StreamBuilder& builder) const {
        const auto bytes = builder.bytes();
        // What the renderer made of it shows in its answer.
        platform::sendBytes(socket_, bytes.data(), bytes.size());
    }

    // The next answer's word; nothing when the connection has ended.
    std::optional<std::uint32_t> answer() const {
        std::uint32_t word = 0;
        std::size_t size = 0;
        while (size < sizeof word) {
            EXPECT_TRUE(platform::waitForData(socket_, 20000));
            const auto received = platform::receiveBytes(
                socket_, reinterpret_cast<char*>(&word) + size, sizeof word - size);
            if (received <= 0) return std::nullopt;
            size += static_cast<std::size_t>(received);
        }
        return word;
    }

    // The sample scene in either form. True when every answer came.
    bool sendModel(bool withPaths) const {
        const Scene scene;
        const CreatedBlock block = CreatedBlock::create(q7standin::modelBlockName, 4096);
        EXPECT_GE(block.view().size(), 4096U);
        StreamBuilder materials;
        for (const Scene::Material& material : scene.materials)
            materials.material(material.name, material.xml);
        StreamBuilder instances;
        for (const Scene::Instance& instance : scene.instances)
            instances.instance(instance.mesh, instance.material, instance.transform);
        send(StreamBuilder().word(scene.version).text(scene.header));
        bool isAnswered = round(block, materials, countOf(scene.materials)) &&
                          round(block, instances, countOf(scene.instances));
        send(StreamBuilder().word(countOf(scene.meshes)));
        for (const Scene::Mesh& mesh : scene.meshes) {
            send(StreamBuilder().text(mesh.name));
            isAnswered = isAnswered && sendArrays(block, mesh);
        }
        if (isAnswered && withPaths)
            isAnswered = round(block, StreamBuilder().text(samplePaths), 1);
        return isAnswered && answer();
    }

  private:
    bool round(const CreatedBlock& block, const StreamBuilder& content, std::uint32_t count) const {
        std::ranges::copy(content.bytes(), block.view().begin());
        send(StreamBuilder().word(count));
        return answer().has_value();
    }

    bool sendArrays(const CreatedBlock& block, const Scene::Mesh& mesh) const {
        return round(block, floatsAlone(mesh.positions), countOf(mesh.positions)) &&
               round(block, floatsAlone(mesh.normals), countOf(mesh.normals)) &&
               round(block, floatsAlone(mesh.uvs), countOf(mesh.uvs)) && round(block, {}, 0) &&
               round(block, intsAlone(mesh.indices), countOf(mesh.indices));
    }

    platform::SocketHandle socket_ = platform::noSocket;
};

// A renderer in a thread. Every one ends by itself at last, so that no test hangs.
class RunningRenderer : public testing::Test {
  protected:
    RunningRenderer() {
        options.readyFile = folder.path() / "ready";
        options.exitAfter = 60000;
    }
    ~RunningRenderer() override { end(); }

    void start() {
        thread = std::thread([this] {
            result =
                q7standin::runRenderer(options, {.out = out,
                                                 .errors = errors,
                                                 .wasInterrupted = [this] { return stop.load(); },
                                                 .die = [] {}});
            ended = true;
        });
        while (!fs::exists(*options.readyFile) && !ended)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

    // Until the plug-in file has been taken: the renderer serves one connection after the other.
    static void handOver() {
        { RawClient().send(StreamBuilder().word(3).text(u"p.ini")); }
        const RawClient client;
        client.send(StreamBuilder().word(9).text(u""));
        EXPECT_EQ(client.answer(), 0U);
    }

    // Waits for an end that comes by itself.
    int join() {
        if (thread.joinable()) thread.join();
        return result;
    }

    int end() {
        stop = true;
        return join();
    }

    TestFolder folder;
    Options options;
    std::ostringstream out;
    std::ostringstream errors;
    std::atomic<bool> stop = false;
    std::atomic<bool> ended = false;
    int result = -1;
    std::thread thread;
};

TEST_F(RunningRenderer, ReceivesModelsInBothForms) {
    options.connections = 2;
    options.out = folder.path() / "out";
    options.transcript = folder.path() / "transcript";
    start();
    for (const std::uint32_t word : {7U, 11U}) {
        const RawClient client;
        client.send(StreamBuilder().word(word).text(u"a.skp"));
        EXPECT_EQ(client.answer(), 0U);
        const bool hasPaths = word == 11;
        EXPECT_TRUE(!hasPaths || client.sendModel(true));
        EXPECT_TRUE(client.sendModel(false));
    }
    EXPECT_EQ(join(), 0);
    EXPECT_EQ(errors.str(), "");
    const Bytes expected = bytesOf(withoutColors({}).build());
    for (const char* name : {"0002-model.q7mesh", "0004-model.q7mesh", "0005-model.q7mesh"}) {
        EXPECT_EQ(q7tools::readWholeFile(folder.path() / "out" / name), expected) << name;
    }
    EXPECT_EQ(folder.content("out/0004-instance-paths.json"), wideToUtf8(samplePaths));
    EXPECT_TRUE(out.str().ends_with(", 0 protocol errors\n")) << out.str();
    EXPECT_TRUE(out.str().find("2 connections, 5 messages") != std::string::npos) << out.str();
    EXPECT_TRUE(folder.content("transcript").starts_with("connection 1\nreceived at 0: command"));
    EXPECT_TRUE(
        folder.content("transcript").ends_with("end of connection 2: closed by the client\n\n"));
}

TEST_F(RunningRenderer, DrawsModelsOnRequest) {
    options.connections = 1;
    options.out = folder.path() / "out";
    options.preview.emplace();
    options.preview->size = {16, 16};
    start();
    {
        const RawClient client;
        client.send(StreamBuilder().word(7).text(u"a.skp"));
        EXPECT_EQ(client.answer(), 0U);
        EXPECT_TRUE(client.sendModel(false));
    }
    EXPECT_EQ(join(), 0);
    EXPECT_TRUE(folder.content("out/0002-model.png").starts_with("\x89PNG"));
}

TEST_F(RunningRenderer, DrawsNothingOnceInterrupted) {
    options.out = folder.path() / "out";
    options.preview.emplace();
    options.preview->size = {16, 16};
    start();
    const RawClient client;
    client.send(StreamBuilder().word(7).text(u"a.skp"));
    EXPECT_EQ(client.answer(), 0U);
    EXPECT_TRUE(client.sendModel(false));
    EXPECT_EQ(end(), 0);
    EXPECT_TRUE(fs::exists(folder.path() / "out/0002-model.q7mesh"));
    EXPECT_FALSE(fs::exists(folder.path() / "out/0002-model.png"));
    EXPECT_NE(out.str().find("1 picture is not drawn\n"), std::string::npos) << out.str();
}

// The last pictures may take long; the next renderer need not wait for them.
TEST_F(RunningRenderer, AnotherMayStartWhileTheLastPicturesAreDrawn) {
    options.connections = 0;
    options.out = folder.path() / "out";
    options.preview.emplace();
    int other = -1;
    const auto startAnother = [&other] {
        std::ostringstream ignored;
        Options none;
        none.connections = 0;
        other = q7standin::runRenderer(none, {.out = ignored,
                                              .errors = ignored,
                                              .wasInterrupted = [] { return false; },
                                              .die = [] {}});
        return false;
    };
    EXPECT_EQ(
        q7standin::runRenderer(
            options, {.out = out, .errors = errors, .wasInterrupted = startAnother, .die = [] {}}),
        0);
    EXPECT_EQ(other, 0);
}

// The models of a send in all forms are one model, and a picture waits until nobody else does.
TEST_F(RunningRenderer, DrawsAModelOnceForAllConnectionsThatWait) {
    options.connections = 4;
    options.out = folder.path() / "out";
    options.preview.emplace();
    options.preview->size = {16, 16};
    start();
    std::optional<RawClient> raw(std::in_place);
    std::optional<RawClient> processed(std::in_place);
    std::optional<RawClient> cameras[2];
    for (auto& camera : cameras)
        camera.emplace();
    raw->send(StreamBuilder().word(11).text(u"a.skp"));
    EXPECT_EQ(raw->answer(), 0U);
    EXPECT_TRUE(raw->sendModel(true));
    EXPECT_TRUE(raw->sendModel(false));
    raw.reset();
    processed->send(StreamBuilder().word(7).text(u"a.skp"));
    EXPECT_EQ(processed->answer(), 0U);
    EXPECT_TRUE(processed->sendModel(false));
    processed.reset();
    for (auto& camera : cameras) {
        camera->send(StreamBuilder().word(12).text(
            uR"({"Direction":[0.0,0.0,-1.0],"Position":[5.0,10.0,99.0],)"
            uR"("model_file_path":"a.skp"})"));
        camera.reset();
    }
    EXPECT_EQ(join(), 0) << errors.str();
    const std::string said = out.str();
    const std::size_t drawn = said.find("drew ");
    EXPECT_EQ(drawn, said.find("drew 0005-model.png: ")) << said;
    EXPECT_EQ(said.find("drew ", drawn + 1), std::string::npos) << said;
    EXPECT_GT(drawn, said.find("#4  word 12")) << said;
    EXPECT_FALSE(fs::exists(folder.path() / "out/0003-model.png"));
}

TEST_F(RunningRenderer, TakesThePluginFile) {
    start();
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 0), 1);
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 2), 0);
    handOver();
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 0), 4);
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 2), 0);
    EXPECT_EQ(end(), 0);
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 0), std::nullopt);
    EXPECT_EQ(wordIn(q7standin::portBlockName, 0), std::nullopt);
}

// So that it refuses the next link as well.
TEST_F(RunningRenderer, RefusesThePluginFileWithTheFlag) {
    options.publication.flagAfterPlugin = 1;
    start();
    handOver();
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 0), 1);
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 2), 1);
}

// Only the low byte of the flag refuses.
TEST_F(RunningRenderer, AFlagThatClientsDoNotSeeRefusesNothing) {
    options.publication.flagAfterPlugin = 256;
    start();
    handOver();
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 0), 4);
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 2), 256);
}

TEST_F(RunningRenderer, ASecondOneSaysSo) {
    start();
    std::ostringstream secondOut;
    std::ostringstream secondErrors;
    EXPECT_EQ(q7standin::runRenderer({}, {.out = secondOut,
                                          .errors = secondErrors,
                                          .wasInterrupted = [] { return true; },
                                          .die = [] {}}),
              2);
    EXPECT_EQ(secondErrors.str(),
              "q7-standin: cannot start: another q7-standin runs on this machine\n");
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 0), 1);
    EXPECT_EQ(end(), 0);
}

TEST_F(RunningRenderer, FaultsShowInTheExitCode) {
    options.connections = 1;
    options.quiet = true;
    start();
    {
        const RawClient client;
        client.send(StreamBuilder().word(16));
        EXPECT_EQ(client.answer(), std::nullopt);
    }
    EXPECT_EQ(join(), 1);
    EXPECT_EQ(errors.str(),
              "q7-standin: protocol error, connection 1, word 16: at byte 0 of the connection: "
              "command word: expected one of 3 to 15, 17 and 18, got 16\n");
    EXPECT_EQ(out.str(), "q7-standin: 1 connection, 0 messages, 0 B, 1 protocol error\n");
}

TEST_F(RunningRenderer, ClosesAtAnAcknowledgementAndServesOn) {
    options.misbehaviour.closeAtAcknowledgement = 3;
    options.misbehaviour.withReset = true;
    options.connections = 2;
    start();
    for (const bool isWhole : {false, true}) {
        const RawClient client;
        client.send(StreamBuilder().word(7).text(u"a"));
        EXPECT_EQ(client.answer(), 0U);
        EXPECT_EQ(client.sendModel(false), isWhole);
    }
    EXPECT_EQ(join(), 0) << errors.str();
}

TEST_F(RunningRenderer, APortThatNobodyListensOn) {
    options.publication.port = 65535;
    options.publication.status = 2;
    start();
    EXPECT_EQ(wordIn(q7standin::portBlockName, 0), 65535);
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 0), 2);
    EXPECT_EQ(folder.content("ready"), "65535\n");
    EXPECT_EQ(end(), 0);
}

TEST_F(RunningRenderer, TooFewConnections) {
    options.connections = 1;
    start();
    EXPECT_EQ(end(), 1);
    EXPECT_EQ(errors.str(), "q7-standin: connections: expected 1, got 0\n");
}

TEST_F(RunningRenderer, AClientThatOnlyWaitsDoesNotKeepItFromEnding) {
    start();
    const RawClient client;
    client.send(StreamBuilder().word(7).text(u"a"));
    EXPECT_EQ(client.answer(), 0U);
    EXPECT_EQ(end(), 0);
    EXPECT_EQ(client.answer(), std::nullopt);
}

const std::string idleLine = "connection 1 is still open, and idle, after its model\n";

// Text that one thread writes and another waits for.
class WatchedText : public std::stringbuf {
  public:
    void awaitLine(const std::string& line) {
        std::unique_lock lock(mutex_);
        EXPECT_TRUE(written_.wait_for(lock, std::chrono::minutes(1), [&] {
            return flushed_.find(line) != std::string::npos;
        })) << flushed_;
    }

  protected:
    int sync() override {
        const std::lock_guard lock(mutex_);
        flushed_ = str();
        written_.notify_all();
        return 0;
    }

  private:
    std::mutex mutex_;
    std::condition_variable written_;
    std::string flushed_;
};

TEST_F(RunningRenderer, AClientThatStaysIsToldWhenAnotherComes) {
    WatchedText told;
    static_cast<std::ios&>(out).rdbuf(&told);
    options.idleTime = 600000;
    options.connections = 2;
    start();
    std::optional<RawClient> first(std::in_place);
    first->send(StreamBuilder().word(7).text(u"a"));
    EXPECT_EQ(first->answer(), 0U);
    EXPECT_TRUE(first->sendModel(false));
    const RawClient second;
    second.send(StreamBuilder().word(9).text(u"a"));
    told.awaitLine(idleLine);
    first.reset();
    EXPECT_EQ(second.answer(), 0U);
    end();
}

TEST_F(RunningRenderer, AClientThatStaysIsToldAtTheEnd) {
    start();
    const RawClient client;
    client.send(StreamBuilder().word(7).text(u"a"));
    EXPECT_EQ(client.answer(), 0U);
    EXPECT_TRUE(client.sendModel(false));
    EXPECT_EQ(end(), 0);
    EXPECT_NE(out.str().find(idleLine), std::string::npos) << out.str();
}

TEST_F(RunningRenderer, TheTimeIsUp) {
    options.exitAfter = 0;
    start();
    EXPECT_EQ(join(), 0);
    EXPECT_NE(out.str().find("the time is up\n"), std::string::npos);
}

TEST_F(RunningRenderer, FilesThatCannotBeWritten) {
    options.transcript = folder.path() / "missing" / "t";
    start();
    EXPECT_EQ(join(), 2);
    EXPECT_TRUE(errors.str().starts_with("q7-standin: ")) << errors.str();
    EXPECT_NE(errors.str().find("cannot be written"), std::string::npos) << errors.str();
    EXPECT_EQ(wordIn(q7standin::statusBlockName, 0), std::nullopt);
}

bool displayIsMissing(const std::string& errors) {
    return errors ==
           "q7-standin: cannot start: --window: no window can be shown; is there a display?\n";
}

TEST_F(RunningRenderer, ShowsItsWindow) {
    options.window = {640, 480, 1, 5};
    start();
    if (!platform::hasFindableWindows()) {
        EXPECT_EQ(join(), 2);
        EXPECT_EQ(errors.str(),
                  "q7-standin: cannot start: --window: windows that plug-ins can find exist on "
                  "Windows only\n");
        EXPECT_FALSE(wordIn(q7standin::statusBlockName, 0));
        return;
    }
    if (ended && displayIsMissing(errors.str())) GTEST_SKIP() << errors.str();
    const platform::WindowLookup& screen = platform::screenWindows();
    const auto top = screen.findTopWindow(u"Qt5QWindowIcon", u"Q7\u6E32\u67D3\u5668");
    EXPECT_EQ(screen.findTopWindow(u"Qt5QWindowIcon", u"Q7 Render"), nullptr);
    ASSERT_NE(top, nullptr);
    const auto viewport = screen.rectangleOf(screen.findChildWindow(
        top, u"UnrealWindow", u"Q7 Render \uFF0864-\u4F4D Development PCD3D_SM5\uFF09 "));
    ASSERT_TRUE(viewport);
    EXPECT_EQ(viewport->right - viewport->left, 640);
    EXPECT_EQ(viewport->bottom - viewport->top, 480);
    EXPECT_EQ(end(), 0);
    EXPECT_NE(out.str().find("shows a window with a viewport of 640x480\n"), std::string::npos);
    EXPECT_EQ(screen.findTopWindow(u"Qt5QWindowIcon", u"Q7\u6E32\u67D3\u5668"), nullptr);
}

}  // namespace
