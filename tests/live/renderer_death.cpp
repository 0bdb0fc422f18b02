// A renderer that dies under a host: the host goes on with the model that it had, and the next renderer
// gets all of it.
#include <gtest/gtest.h>

#include <iostream>
#include <memory>

#include "tests/fake_renderer.h"
#include "tests/host.h"
#include "tests/live/standin.h"
#include "tests/platform/installation.h"

namespace {

constexpr int diedOnRequest = 3;

// MinGW takes no address of a function whose name was given to the assembler.
ConnectRet connectGroup(void* session) {
    return Q7GroupSyncConnect(session);
}

// A model for which a send has much to undo: generated instances, and one with a mesh of its own.
void describe(const Host& host) {
    const Triangle t;
    const std::array<float, 16> shear = {1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    SetGenMatInstances(host.session, 1);
    Q7BeginNode(host.session, Q7T("Sheared"), shear.data(), Q7T("/root/s"));
    MaxAddTriangle(host.session, Q7T("m"), t.positions.data(), t.normals.data(), t.uvs.data());
    Q7EndNode(host.session);
    SetModelFilePath(host.session, Q7T("C:\\model"));
}

// What makes the library send a command word, and whether the host got what it gets without an answer.
struct Request {
    std::uint32_t word;
    bool (*send)(void* session);
};

constexpr char sceneData[36] = {};

class RendererDeath : public testing::Test {
  protected:
    RendererDeath() {
        testing::internal::CaptureStdout();
        describe(host);
        before = host.savedBytes();
    }
    ~RendererDeath() override {
        removeLeftBlocks();
        forgetInstallation();
        const std::string printed = testing::internal::GetCapturedStdout();
        if (HasFailure()) std::cout << printed;
    }

    void forgetInstallation() {
        installation.unregister();
        EXPECT_EQ(SetQ7RenderPath(Q7T("")), 0);
    }

    using Connect = ConnectRet(void*);
    using Send = void(void*);

    // A renderer that waits for messages.
    static std::unique_ptr<Standin> startLinked(std::vector<std::string> options) {
        options.insert(options.end(), {"--status", "4"});
        auto standin = std::make_unique<Standin>(std::move(options));
        EXPECT_EQ(StartLinkQ7Render(Q7T("")), 0U);  // reads the port
        return standin;
    }

    void sendTo(Connect* connect, Send* send) const {
        EXPECT_EQ(connect(host.session), ConnectRet_Accepted);
        EXPECT_EQ(HasConnected(host.session), 1);
        send(host.session);
        DisConnect(host.session);
    }

    // The renderer is gone, which shows, and for the host that is all that has changed.
    void expectDeath(Standin& standin) const {
        EXPECT_EQ(standin.exitCode(), diedOnRequest) << standin.printed();
        EXPECT_EQ(HasConnected(host.session), 0);
        EXPECT_EQ(host.savedBytes(), before);
        EXPECT_EQ(GetQ7RenderStatus(nullptr), 0U);
        std::uint8_t flag = 0;
        EXPECT_EQ(GetQ7RenderStatus(&flag), 0U);
    }

    // A renderer that shows nothing of the one before, and gets the model.
    void expectAllOfItAtTheNext(Connect* connect) const {
        const auto next = startLinked({"--connections", "1"});
        std::uint8_t flag = 9;
        EXPECT_EQ(GetQ7RenderStatus(&flag), 4U);
        EXPECT_EQ(flag, 0);
        sendTo(connect, Q7SendProcessed);
        EXPECT_EQ(next->exitCode(), 0) << next->printed();
        EXPECT_EQ(next->model("0002-model.q7mesh").meshes.size(), 2U);
    }

    // A send to each of many renderers: it is whole, and the one after it dies at an acknowledgement,
    // another one with each renderer. The models are those that a send makes.
    void dieAtEachAcknowledgement(Connect* connect, Send* send,
                                  const std::vector<std::string>& models) {
        std::vector<q7tools::StreamModel> whole;
        int count = 0;
        {
            const auto standin = startLinked({"--connections", "1"});
            sendTo(connect, send);
            EXPECT_EQ(standin->exitCode(), 0) << standin->printed();
            count = standin->acknowledgements();
            for (const std::string& name : models)
                whole.push_back(standin->model(name));
        }
        const auto expectWhole = [&](const Standin& standin) {
            for (std::size_t i = 0; i < models.size(); ++i) {
                EXPECT_EQ(contentOf(standin.model(models[i])), contentOf(whole[i]));
            }
            EXPECT_EQ(host.savedBytes(), before);
        };
        meshes = whole.front().meshes.size();
        acknowledgements = count;
        for (int i = 1; i <= count; ++i) {
            SCOPED_TRACE("death at acknowledgement " + std::to_string(i));
            const auto standin = startLinked({"--die-at-ack", std::to_string(count + i)});
            sendTo(connect, send);
            expectWhole(*standin);
            sendTo(connect, send);
            expectDeath(*standin);
        }
        // Nobody is there, which a host does not notice.
        sendTo(connect, send);
        EXPECT_EQ(host.savedBytes(), before);
        const auto last = startLinked({"--connections", "1"});
        sendTo(connect, send);
        EXPECT_EQ(last->exitCode(), 0) << last->printed();
        expectWhole(*last);
    }

    // A send that is whole, and a request whose word is the last that the renderer sees.
    void dieAt(const Request& request) {
        const std::string word = std::to_string(request.word);
        SCOPED_TRACE("death at word " + word);
        const auto standin =
            startLinked({"--die-at-word", word, "--send-type", "5", "--flag", "1"});
        // A connect whose own word is not the one to die at.
        Connect* const connect = request.word == 8 ? Q7ProcessedSyncConnect : connectGroup;
        sendTo(connect, Q7SendProcessed);
        ASSERT_TRUE(standin->keeps("0002-model.q7mesh"));
        EXPECT_EQ(standin->model("0002-model.q7mesh").meshes.size(), 2U);
        EXPECT_TRUE(request.send(host.session));
        expectDeath(*standin);
        expectAllOfItAtTheNext(connect);
    }

    Installation installation{"2.5.0"};
    const Host host;
    std::string before;
    std::size_t meshes = 0;
    int acknowledgements = 0;
};

}  // namespace

TEST_F(RendererDeath, AtEachAcknowledgementOfARawSend) {
    dieAtEachAcknowledgement(Q7RawSyncConnect, Q7SendRaw,
                             {"0002-model.q7mesh", "0003-model.q7mesh"});
    // The generator's mesh and the one without shear; once with paths and once without.
    EXPECT_EQ(meshes, 2U);
    EXPECT_EQ(acknowledgements, (2 + 5 * 2 + 2) + (2 + 5 * 2 + 1));
}

TEST_F(RendererDeath, AtEachAcknowledgementOfAProcessedSend) {
    dieAtEachAcknowledgement(Q7ProcessedSyncConnect, Q7SendProcessed, {"0002-model.q7mesh"});
    EXPECT_EQ(meshes, 2U);
    EXPECT_EQ(acknowledgements, 2 + 5 * 2 + 1);
}

// Of the words that open a connection for a model.
TEST_F(RendererDeath, AtEachWordOfAConnect) {
    const Request requests[] = {
        {7, [](void* session) { return Q7ProcessedSyncConnect(session) == ConnectRet_Failed; }},
        {8, [](void* session) { return Q7GroupSyncConnect(session) == ConnectRet_Failed; }},
        {11, [](void* session) { return Q7RawSyncConnect(session) == ConnectRet_Failed; }},
        {17,
         [](void* session) {
             SetRelevantModelFilePath(session, Q7T("C:\\model"));
             const ConnectRet result = Q7ProcessedSyncConnect(session);
             SetModelFilePath(session, Q7T("C:\\model"));
             return result == ConnectRet_Failed;
         }},
    };
    for (const Request& request : requests)
        dieAt(request);
}

TEST_F(RendererDeath, AtEachQuestion) {
    dieAt({9, [](void* session) { return GetSendModelType(session, Q7T("name")) == 0; }});
    dieAt({10, [](void* session) { return Q7GetMetaData(session, nullptr, 0) == 1; }});
}

TEST_F(RendererDeath, AtEachMessage) {
    const Request requests[] = {
        {4,
         [](void* session) {
             AddScene(session, Q7T("name"), Q7T("label"), sceneData, 1);
             SendScenes(session, Q7T("text"));
             return true;
         }},
        {5,
         [](void* session) {
             SendCameraTransformFov(session, sceneData, 1);
             return true;
         }},
        {6,
         [](void* session) {
             SendLightsDataXml(session, Q7T("a"), Q7T("b"));
             return true;
         }},
        {12, [](void* session) { return Q7SendCamera(session), true; }},
        {13, [](void* session) { return Q7SendScenes(session), true; }},
        {14, [](void* session) { return Q7SendLights(session), true; }},
        {15, [](void* session) { return Q7SendMetaData(session), true; }},
        {18, [](void* session) { return Q7SendCameraAnims(session), true; }},
    };
    for (const Request& request : requests)
        dieAt(request);
}

// While the file is handed over. The second attempt finds no renderer, and no renderer to start.
TEST_F(RendererDeath, AtThePluginFile) {
    forgetInstallation();
    Standin standin({"--die-at-word", "3"});
    EXPECT_EQ(StartLinkQ7Render(Q7T("file")), 1U);
    expectDeath(standin);
    Standin next({});
    EXPECT_EQ(StartLinkQ7Render(Q7T("file")), 0U);
}
