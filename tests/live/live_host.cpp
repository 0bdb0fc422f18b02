// A host from the first call to the last: the library finds the renderer, starts it, links, and sends.
#include <gtest/gtest.h>

#include <iostream>
#include <nlohmann/json.hpp>

#include "tests/fake_renderer.h"
#include "tests/host.h"
#include "tests/live/standin.h"
#include "tests/platform/installation.h"

namespace {

namespace fs = std::filesystem;

// The stand-in in the launcher's place.
void installStandin(const Installation& installation) {
    const fs::path launcher = installation.path("q7_launcher.exe");
    fs::remove(launcher);
    fs::copy_file(Q7_STANDIN, launcher);
    fs::permissions(launcher, fs::perms::owner_all);
    std::ofstream(installation.path("q7-standin.options"))
        << "--quiet --exit-after 60000 --connections 3 --out received --transcript "
           "transcript.txt\n";
}

void describe(const Host& host) {
    Q7AddMaterial(host.session, Q7T("Glass"));
    Q7SetMaterialFloatProperty(host.session, Q7T("Glass"), Q7T("Base Weight"), 0.25F);
    host.addNode(Q7T("Lamp"), {Q7T("Glass"), Q7T("Brass")}, Q7T("/room/lamp"));
    host.addNode(Q7T("Table \u4E2D"), {Q7T("Wood")}, Q7T("/room/table"));
    host.addNode(Q7T("Shelf"), {Q7T("Wood")}, Q7T("/room/shelf"));
    const auto moved = translation(1, 2, 3);
    Q7DuplicateNode(host.session, Q7T("Lamp"), Q7T("Second lamp"), moved.data(),
                    Q7T("/room/second"));
}

// The merged model as the link carries it: with the meshes that instances use.
q7tools::StreamModel savedProcessed(const Host& host) {
    const TemporaryFolder folder;
    Q7SaveProcessedToFile(host.session, hostPath(folder / "saved.q7mesh").c_str());
    q7tools::StreamModel model = q7tools::readStreamFile(folder / "saved.q7mesh");
    std::erase_if(model.meshes, [&](const q7tools::StreamMesh& mesh) {
        return model.findInstanceOf(mesh.name) == nullptr;
    });
    return model;
}

nlohmann::json readJson(const fs::path& file) {
    return nlohmann::json::parse(readFile(file));
}

// Forgets which installation the process knows.
void forgetRenderPath() {
    const Installation none("9", false);
    EXPECT_EQ(SetQ7RenderPath(Q7T("")), 0);
}

class LiveHost : public testing::Test {
  protected:
    LiveHost() { testing::internal::CaptureStdout(); }
    ~LiveHost() override {
        forgetRenderPath();
        const std::string printed = testing::internal::GetCapturedStdout();
        if (HasFailure()) std::cout << printed;
    }

    // With an installed renderer of that version: links, sends raw and processed, and waits for the
    // renderer's end.
    void sendToInstalled(const std::string& version) {
        forgetRenderPath();
        const Installation installation(version);
        installStandin(installation);
        const ProcessesOfProgram started(installation.path("q7_launcher.exe"));
        describe(host_);
        const std::string before = host_.savedBytes();
        ASSERT_EQ(GetQ7RenderStatus(nullptr), 0U);
        ASSERT_EQ(StartLinkQ7Render(Q7T("C:\\my pl\u00FCg-in.ini")), 0U);
        EXPECT_EQ(started.count(), 1U);
        EXPECT_EQ(GetQ7RenderStatus(nullptr), 4U);
        SetModelFilePath(host_.session, Q7T("C:\\model \u4E2D"));
        ASSERT_EQ(Q7RawSyncConnect(host_.session), ConnectRet_Accepted);
        Q7SendRaw(host_.session);
        DisConnect(host_.session);
        ASSERT_EQ(Q7ProcessedSyncConnect(host_.session), ConnectRet_Accepted);
        Q7SendProcessed(host_.session);
        DisConnect(host_.session);
        EXPECT_EQ(HasConnected(host_.session), 0);
        EXPECT_TRUE(started.end());
        EXPECT_EQ(GetQ7RenderStatus(nullptr), 0U);
        EXPECT_EQ(host_.savedBytes(), before);
        collect(installation.path("received"));
        transcript_ = readFile(installation.path("transcript.txt"));
    }

    void expectModel(const std::string& name, const q7tools::StreamModel& expected) const {
        ASSERT_TRUE(models_.contains(name)) << name;
        EXPECT_EQ(contentOf(models_.at(name)), contentOf(expected)) << name;
    }
    void expectClosedConnections(int count) const {
        for (int i = 1; i <= count; ++i) {
            const std::string line =
                "end of connection " + std::to_string(i) + ": closed by the client\n";
            EXPECT_NE(transcript_.find(line), std::string::npos) << transcript_;
        }
    }

    const Host host_;
    std::vector<std::string> names_;
    std::map<std::string, nlohmann::json> texts_;
    std::map<std::string, q7tools::StreamModel> models_;

  private:
    void collect(const fs::path& folder) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            const std::string name = entry.path().filename().string();
            names_.push_back(name);
            if (name.ends_with(".json")) texts_[name] = readJson(entry.path());
            if (name.ends_with(".q7mesh")) models_[name] = q7tools::readStreamFile(entry.path());
        }
        std::sort(names_.begin(), names_.end());
    }

    std::string transcript_;
};

}  // namespace

TEST_F(LiveHost, StartsTheInstalledRendererAndSendsItTheModel) {
    sendToInstalled("2.5.0");
    if (HasFatalFailure()) return;
    EXPECT_EQ(names_, std::vector<std::string>({"0001-plugin-file.json", "0002-sync.json",
                                                "0003-instance-paths.json", "0003-model.q7mesh",
                                                "0004-model.q7mesh", "0005-sync.json",
                                                "0006-model.q7mesh"}));
    EXPECT_EQ(texts_["0001-plugin-file.json"],
              nlohmann::json({{"word", 3}, {"pluginFile", "C:\\my pl\xC3\xBCg-in.ini"}}));
    const nlohmann::json paths = nlohmann::json::parse(R"({"instance_paths": [
        "/room/lamp/Glass", "/room/lamp/Brass", "/room/table/Wood", "/room/shelf/Wood",
        "/room/second/Glass", "/room/second/Brass"]})");
    EXPECT_EQ(texts_["0003-instance-paths.json"], paths);
    for (const auto& [name, word] : {std::pair("0002-sync.json", 11), {"0005-sync.json", 7}}) {
        EXPECT_EQ(texts_[name],
                  nlohmann::json(
                      {{"word", word}, {"modelFilePath", "C:\\model \xE4\xB8\xAD"}, {"reply", 0}}));
    }
    expectModel("0003-model.q7mesh", host_.saved());
    expectModel("0004-model.q7mesh", host_.saved());
    expectModel("0006-model.q7mesh", savedProcessed(host_));
    expectClosedConnections(3);
}

TEST_F(LiveHost, AnOlderRendererGetsThePlainFormAlone) {
    sendToInstalled("2.3");
    if (HasFatalFailure()) return;
    EXPECT_EQ(names_, std::vector<std::string>({"0001-plugin-file.json", "0002-sync.json",
                                                "0003-model.q7mesh", "0004-sync.json",
                                                "0005-model.q7mesh"}));
    EXPECT_EQ(texts_["0002-sync.json"]["word"], 7);
    EXPECT_EQ(texts_["0004-sync.json"]["word"], 7);
    expectModel("0003-model.q7mesh", host_.saved());
    expectModel("0005-model.q7mesh", savedProcessed(host_));
    expectClosedConnections(3);
}

#if defined(_WIN32)

TEST(RenderWindowOfAnotherProcess, IsFoundAndFollowedWhenItGoesAndComesBack) {
    EXPECT_EQ(Q7RenderWindowSize(), 0U);
    for (const auto& [size, number] :
         {std::pair("1920x1080", 0x07800438U), std::pair("640x480", 0x028001E0U)}) {
        {
            const Standin standin({"--window", size});
            EXPECT_EQ(Q7RenderWindowSize(), number);
            EXPECT_EQ(Q7RenderWindowSize(), number);
        }
        // The first call finds that the window is gone, the second one that there is none.
        EXPECT_EQ(Q7RenderWindowSize(), 0U);
        EXPECT_EQ(Q7RenderWindowSize(), 0U);
    }
}

#endif

TEST_F(LiveHost, ARefusalIsForTheNextLinkToo) {
    const Installation installation("2.5.0");
    Standin standin({"--flag-after-plugin", "1"});
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(StartLinkQ7Render(Q7T("file")), 6U) << i;
}

// Whatever comes of answers in pieces, it is not the host's fault.
TEST_F(LiveHost, AnswersInPiecesAreNoFaultOfTheHost) {
    const Installation installation("2.5.0");
    describe(host_);
    Standin standin({"--pieces", "--status", "4", "--connections", "4"});
    ASSERT_EQ(StartLinkQ7Render(Q7T("")), 0U);
    Q7RawSyncConnect(host_.session);
    Q7SendRaw(host_.session);
    DisConnect(host_.session);
    Q7ProcessedSyncConnect(host_.session);
    Q7SendProcessed(host_.session);
    DisConnect(host_.session);
    GetSendModelType(host_.session, Q7T("name"));
    Q7GetMetaData(host_.session, nullptr, 0);
    EXPECT_EQ(standin.exitCode(), 0) << standin.printed();
    EXPECT_EQ(standin.printed().find("protocol error,"), std::string::npos) << standin.printed();
}
