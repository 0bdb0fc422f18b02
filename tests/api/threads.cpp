// Sessions of their own on threads of their own: what a host with a thread per document does. The thread
// sanitizer watches.
#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

#include "tests/host.h"

namespace {

struct Work {
    std::string raw;
    std::string processed;
    std::string materials;
    std::uint64_t instances = 0;

    bool operator==(const Work&) const = default;
};

void addRecords(void* session) {
    Q7AddLight(session, Q7T("light"));
    Q7SetEntityFloatProperty(session, 1, Q7T("light"), Q7T("power"), 2.5F);
    Q7AddScene(session, Q7T("scene"));
    Q7AddCameraAnims(session, Q7T("path"));
    const Q7AnimProperty point(1, 2, 3, 4, 5);
    Q7AddAnimEntityFrame(session, 4, Q7T("path"), 0.5);
    Q7SetAnimProperty(session, 4, Q7T("path"), Q7T("fov"), 0, &point);
}

// As much as makes the library work with threads of its own, too.
void addNodes(const Host& host) {
    const std::vector<float> positions(9 * 500, 1.5F);
    for (int i = 0; i < 20; ++i) {
        const HostString name = Q7T("node") + HostString(1, static_cast<Q7Char>('a' + i));
        const auto place = translation(static_cast<float>(i), 0, 0);
        Q7BeginNode(host.session, name.c_str(), place.data(), name.c_str());
        MaxAddTriangles(host.session, i % 2 == 0 ? Q7T("red") : Q7T("blue"), 500, positions.data(),
                        positions.data(), nullptr, CoordOrder::XZY);
        Q7EndNode(host.session);
    }
    Q7DuplicateNode(host.session, Q7T("nodea"), Q7T("copy"), nullptr, Q7T("/"));
    Q7DeleteNode(host.session, Q7T("nodeb"));
}

Work buildAndSave() {
    const Host host;
    const TemporaryFolder folder;
    SetTextureFolder(host.session, Q7T("textures"));
    Q7AddMaterial(host.session, Q7T("red"));
    Q7SetMaterialFloatProperty(host.session, Q7T("red"), Q7T("gloss"), 0.25F);
    addNodes(host);
    addRecords(host.session);
    Q7SaveRawToFile(host.session, hostPath(folder / "raw").c_str());
    Q7SaveProcessedToFile(host.session, hostPath(folder / "processed").c_str());
    Q7SaveMaterialToFile(host.session, hostPath(folder / "materials").c_str());
    EXPECT_EQ(Q7SaveRawToQ7a(host.session, hostPath(folder / "archive.q7a").c_str()), 1);
    return {readFile(folder / "raw"), readFile(folder / "processed"),
            readFile(folder / "materials"), Q7InstanceCount(host.session)};
}

}  // namespace

TEST(Threads, SessionsOnThreadsOfTheirOwnBuildAndSaveTheSameBytes) {
    const Work expected = buildAndSave();
    ASSERT_EQ(expected.instances, 21U);
    ASSERT_FALSE(expected.raw.empty());
    ASSERT_FALSE(expected.processed.empty());
    std::vector<Work> done(4);
    std::vector<std::thread> threads;
    for (Work& work : done)
        threads.emplace_back([&work] { work = buildAndSave(); });
    for (std::thread& thread : threads)
        thread.join();
    for (const Work& work : done)
        EXPECT_TRUE(work == expected);
}

TEST(Threads, ASessionGoesFromThreadToThread) {
    void* session = nullptr;
    std::thread([&] { session = CreateSession(); }).join();
    std::thread([&] {
        const Triangle t;
        Q7BeginNode(session, Q7T("node"), nullptr, Q7T("/"));
        MaxAddTriangle(session, Q7T("m"), t.positions.data(), nullptr, nullptr);
    }).join();
    std::thread([&] { Q7EndNode(session); }).join();
    EXPECT_EQ(Q7InstanceCount(session), 1U);
    std::thread([&] { DestroySession(session); }).join();
}

TEST(Threads, ClientIdAndVersionMayBeAskedForOnAnyThread) {
    std::vector<std::string> ids(4);
    std::vector<std::thread> threads;
    for (std::string& id : ids) {
        threads.emplace_back([&id] {
            char buffer[64] = {};
            Q7GetCid(buffer, sizeof buffer);
            id = std::string(buffer) + Q7GetPluginVersion();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const std::string& id : ids)
        EXPECT_EQ(id, ids.front());
}
