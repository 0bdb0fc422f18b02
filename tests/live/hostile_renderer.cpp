// A host and a renderer in its own process that breaks off at every byte, and blocks that are not what they
// should be. The host lives, its model is what it was, and the next send works.
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <vector>

#include "tests/fake_renderer.h"
#include "tests/host.h"
#include "tests/platform/child_process.h"
#include "tests/platform/installation.h"
#include "tests/platform/sized_block.h"

namespace {

#if defined(_WIN32)
class PipeSignalAtItsDefault {};

bool isWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}
#else
bool isWine() {
    return false;
}

// A host that does not care for the signal of broken pipes must not die of it.
class PipeSignalAtItsDefault {
  public:
    ~PipeSignalAtItsDefault() { EXPECT_EQ(std::signal(SIGPIPE, before_), SIG_DFL); }

  private:
    void (*const before_)(int) = std::signal(SIGPIPE, SIG_DFL);
};
#endif

// Too large for one page of the model's block.
void describe(const Host& host) {
    const std::vector<float> many(9 * 500, 0.5F);
    const std::array<float, 16> shear = {1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    SetGenMatInstances(host.session, 1);
    SetModelFilePath(host.session, Q7T("C:\\model"));
    Q7BeginNode(host.session, Q7T("sheared"), shear.data(), Q7T("/root/s"));
    MaxAddTriangles(host.session, Q7T("m"), 500, many.data(), many.data(), nullptr,
                    CoordOrder::XYZ);
    Q7EndNode(host.session);
}

void endConnection(Peer& peer, bool orderly) {
    if (orderly) {
        peer.close();
    } else {
        peer.reset();
    }
}

struct Message {
    const char* name;
    void (*send)(void* session);
};

constexpr char sceneData[36] = {};

const Message messages[] = {
    {"SendScenes",
     [](void* session) {
         AddScene(session, Q7T("name"), Q7T("label"), sceneData, 1);
         SendScenes(session, Q7T("text"));
     }},
    {"SendCameraTransformFov",
     [](void* session) { SendCameraTransformFov(session, sceneData, 1); }},
    {"SendLightsDataXml",
     [](void* session) { SendLightsDataXml(session, Q7T("one"), Q7T("two")); }},
    {"Q7SendCamera", [](void* session) { Q7SendCamera(session); }},
    {"Q7SendScenes", [](void* session) { Q7SendScenes(session); }},
    {"Q7SendLights", [](void* session) { Q7SendLights(session); }},
    {"Q7SendMetaData", [](void* session) { Q7SendMetaData(session); }},
    {"Q7SendCameraAnims",
     [](void* session) {
         Q7AddCameraAnims(session, Q7T("animation"));
         Q7SendCameraAnims(session);
     }},
};

class HostileRenderer : public testing::Test {
  protected:
    HostileRenderer() {
        describe(host);
        before = host.savedBytes();
        whole = sendWhole();
        EXPECT_GT(whole.size(), before.size());
    }
    ~HostileRenderer() override { expectAlive(); }

    // The renderer is there, and the library knows its port.
    static std::unique_ptr<FakeRenderer> linked() {
        auto renderer = std::make_unique<FakeRenderer>(4);
        EXPECT_EQ(StartLinkQ7Render(Q7T("")), 0U);
        return renderer;
    }

    void sendModel() const {
        EXPECT_EQ(Q7ProcessedSyncConnect(host.session), ConnectRet_Accepted);
        Q7SendProcessed(host.session);
        DisConnect(host.session);
    }

    // What a renderer gets of the model that the host sends now; nothing when it gives up.
    std::string sendTo(const std::function<bool(int)>& mayAcknowledge) const {
        std::string stream;
        const auto renderer = linked();
        renderer->serve({[&](Peer& peer) {
            peer.word();
            peer.string();
            peer.sendWord(0);
            ModelReceiver receiver(peer);
            receiver.mayAcknowledge = mayAcknowledge;
            try {
                stream = receiver.receive(false).stream;
            } catch (const std::exception&) {
                // The host is left alone with it.
            }
        }});
        sendModel();
        renderer->finish();
        return stream;
    }
    std::string sendWhole() const {
        return sendTo([](int) { return true; });
    }

    void expectAlive() const {
        EXPECT_EQ(HasConnected(host.session), 0);
        EXPECT_EQ(host.savedBytes(), before);
        EXPECT_EQ(sendWhole(), whole);
    }

    PipeSignalAtItsDefault pipeSignal;
    Installation installation{"2.5.0"};
    const Host host;
    std::string before;
    std::string whole;
};

}  // namespace

TEST_F(HostileRenderer, BreaksOffAtEachByteOfEachMessage) {
    const auto renderer = linked();
    for (const Message& message : messages) {
        SCOPED_TRACE(message.name);
        std::string all;
        renderer->serve({[&](Peer& peer) { all = peer.allBytes(); }});
        message.send(host.session);
        renderer->finish();
        ASSERT_GT(all.size(), 8U);
        std::vector<FakeRenderer::Script> scripts;
        for (std::size_t size = 0; size <= all.size(); ++size) {
            scripts.emplace_back([size](Peer& peer) {
                peer.bytes(size);
                endConnection(peer, size % 2 == 0);
            });
        }
        std::string next;
        scripts.emplace_back([&](Peer& peer) { next = peer.allBytes(); });
        renderer->serve(scripts);
        for (std::size_t i = 0; i < scripts.size(); ++i)
            message.send(host.session);
        renderer->finish();
        EXPECT_EQ(next, all);
        EXPECT_EQ(host.savedBytes(), before);
    }
}

TEST_F(HostileRenderer, BreaksOffWhileMoreComesThanFitsIntoBuffers) {
    // Any program of two sockets shows it with Wine 8.0.
    if (isWine()) GTEST_SKIP() << "Wine may not wake a waiting send when its connection breaks";
    const HostString text(4'000'000, Q7Char('x'));
    const auto renderer = linked();
    for (const bool orderly : {true, false}) {
        renderer->serve({[&](Peer& peer) {
            peer.word();
            endConnection(peer, orderly);
        }});
        SendLightsDataXml(host.session, text.c_str(), text.c_str());
        renderer->finish();
    }
}

TEST_F(HostileRenderer, BreaksOffAtEachByteOfItsAnswers) {
    const std::string word("\5\0\0\0", 4);
    const std::string text = word + "hello";
    const auto renderer = linked();
    const auto answering = [&](const std::string& answer, bool orderly) {
        renderer->serve({[=](Peer& peer) {
            peer.word();
            peer.string();
            peer.send(answer);
            endConnection(peer, orderly);
        }});
    };
    for (const bool orderly : {true, false}) {
        for (std::size_t size = 0; size < word.size(); ++size) {
            answering(word.substr(0, size), orderly);
            // An end that is no orderly one may overtake the answer.
            const std::int32_t type = GetSendModelType(host.session, Q7T("name"));
            EXPECT_TRUE(type == 0 || (size > 0 && type == 5)) << type;
            renderer->finish();
        }
        for (std::size_t size = 0; size < text.size(); ++size) {
            HostString buffer(8, Q7Char('x'));
            answering(text.substr(0, size), orderly);
            const std::uint32_t result = Q7GetMetaData(host.session, buffer.data(), 6);
            EXPECT_TRUE(result == 1 || (size > 0 && result == 6)) << result;
            EXPECT_EQ(buffer.substr(6), Q7T("xx"));
            renderer->finish();
        }
        for (std::size_t size = 0; size < word.size(); ++size) {
            answering(std::string(size, '\0'), orderly);
            const ConnectRet result = Q7ProcessedSyncConnect(host.session);
            EXPECT_TRUE(result == ConnectRet_Failed || (size > 0 && result == ConnectRet_Accepted));
            Q7SendProcessed(host.session);
            DisConnect(host.session);
            renderer->finish();
            EXPECT_EQ(host.savedBytes(), before);
        }
    }
}

TEST_F(HostileRenderer, ReplacesTheModelsBlockAtEachAcknowledgement) {
    constexpr int acknowledgements = 2 + 5 * 2 + 1;
    for (int at = 1; at <= acknowledgements; ++at) {
        std::optional<platform::CreatedBlock> replacement;
        int last = 0;
        sendTo([&](int number) {
            last = number;
            if (number != at) return true;
            // Where names can be taken away the first one does so.
            { platform::CreatedBlock::create(testModelBlock, 1); }
            replacement = platform::CreatedBlock::create(testModelBlock, 1);
            return true;
        });
        EXPECT_GE(last, at);
        replacement.reset();
        EXPECT_EQ(host.savedBytes(), before);
        EXPECT_EQ(sendWhole(), whole);
    }
}

// The renderer has no block to read from, and gives up.
TEST_F(HostileRenderer, SendsGoOnWhereTheModelsBlockCannotBeHad) {
    {
        const NameOfAnotherObject other(testModelBlock);
        EXPECT_EQ(sendWhole(), "");
    }
    EXPECT_EQ(host.savedBytes(), before);
    EXPECT_EQ(sendWhole(), whole);
#if defined(_WIN32)
    {
        const ReadOnlyBlock block(testModelBlock);
        ASSERT_TRUE(block.wasMade());
        EXPECT_NE(sendWhole(), whole);
    }
    EXPECT_EQ(host.savedBytes(), before);
    EXPECT_EQ(sendWhole(), whole);
    const auto held = platform::CreatedBlock::create(testModelBlock, 1);
    EXPECT_EQ(sendWhole(), "");
#endif
}

TEST_F(HostileRenderer, MayHaveNoStatusBlockThatIsOne) {
    const auto renderer = linked();
    std::uint8_t flag = 0;
    renderer->hideStatus();
    {
        const NameOfAnotherObject other(testStatusBlock);
        EXPECT_EQ(GetQ7RenderStatus(&flag), 0U);
        EXPECT_EQ(Q7GetMetaData(host.session, nullptr, 0), UINT32_MAX);
        for (const Message& message : messages)
            message.send(host.session);
        EXPECT_FALSE(renderer->hasCaller());
    }
    renderer->showStatus(4);
    EXPECT_EQ(GetQ7RenderStatus(&flag), 4U);
}

#if !defined(_WIN32)

// Blocks outlive their processes here.
TEST_F(HostileRenderer, LeavesItsBlocksAndTheModelsWhenItIsKilled) {
    const pid_t child = startChild([] {
        const FakeRenderer renderer(4);
        const auto model = platform::CreatedBlock::create(testModelBlock, 1);
        raise(SIGKILL);
        return 0;
    });
    EXPECT_EQ(exitCodeOf(child), -1);
    EXPECT_EQ(GetQ7RenderStatus(nullptr), 4U);
    EXPECT_EQ(StartLinkQ7Render(Q7T("")), 0U);
    for (const Message& message : messages)
        message.send(host.session);
    EXPECT_EQ(Q7GetMetaData(host.session, nullptr, 0), 1U);
    EXPECT_EQ(GetSendModelType(host.session, Q7T("name")), 0);
    sendModel();
    EXPECT_EQ(host.savedBytes(), before);
}

TEST_F(HostileRenderer, TheModelsBlockMayBeLeftInAnySize) {
    for (const off_t size : {off_t{0}, off_t{1}, off_t{1} << 30}) {
        const SizedBlock left(testModelBlock, size);
        EXPECT_EQ(sendWhole(), whole) << size;
    }
}

// As a renderer does it that wants to save memory.
TEST_F(HostileRenderer, CutsTheModelsBlockAtEachAcknowledgement) {
    for (const std::uintmax_t size : {0U, 10U, 5000U}) {
        int last = 0;
        sendTo([&](int number) {
            last = number;
            std::filesystem::resize_file(blockPath(testModelBlock), size);
            return true;
        });
        EXPECT_GE(last, 1);
        EXPECT_EQ(host.savedBytes(), before);
        EXPECT_EQ(sendWhole(), whole);
    }
}

#endif
