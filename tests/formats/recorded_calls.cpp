// One recorded set of calls that touches every export, and the bytes that it has always made.
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/host.h"

namespace {

void describeMeshes(void* session) {
    float positions[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0.1F};
    float normals[] = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, -1};
    float uvs[] = {0, 0, 1, 0, 0, 1, 1, 1};
    unsigned char colors[] = {255, 0, 1, 128};
    int indices[] = {0, 1, 2, 2, 1, 3};
    AddMesh(session, Q7T("Mesh \u4E2D"), positions, 12, normals, 12, uvs, 8, colors, 4, indices, 6);
    AddMesh(session, Q7T("Mesh \u4E2D"), positions, 12, nullptr, 0, uvs, 8, colors, 3, indices, 6);
    AddMesh(session, Q7T("refused"), positions, 12, normals, 9, uvs, 8, nullptr, 0, nullptr, 0);
    AddMaterial(session, Q7T("Text/Material"), Q7T("<Material>\n<Name>\u00E9</Name></Material>\n"));
    AddMaterial(session, Q7T("Text@Material"), Q7T("<Material>two</Material>\n"));
}

void describeNodes(void* session) {
    const Triangle t;
    const auto first = translation(1, 2, 3);
    const auto second = translation(-4, 5.5F, 1e-3F);
    const int indices[] = {2, 1, 0};
    Q7BeginNode(session, Q7T("Node_1"), first.data(), Q7T("/root/Node_1"));
    MaxAddTriangle(session, Q7T("Lamp"), t.positions.data(), t.normals.data(), t.uvs.data());
    MaxAddTriangles(session, Q7T("Text/Material"), 1, t.positions.data(), t.normals.data(), nullptr,
                    CoordOrder::YZX);
    MaxAddIndexTriangles(session, Q7T(""), 1, t.positions.data(), nullptr, t.uvs.data(), 3, indices,
                         CoordOrder::ZYX);
    Q7EndNode(session);
    Q7BeginNodeHint(session, Q7T("Node 2"), second.data(), 4, Q7T("/root/Node 2"));
    for (const CoordOrder order : {CoordOrder::XZY, CoordOrder::YXZ, CoordOrder::ZXY}) {
        MaxAddTriangles(session, Q7T("Lamp"), 1, t.positions.data(), t.normals.data(), t.uvs.data(),
                        order);
    }
    Q7EndNode(session);
    MaxBeginNode(session, Q7T("Max"), first.data());
    MaxAddTriangle(session, Q7T("Implied"), t.positions.data(), nullptr, nullptr);
    MaxEndNode(session);
    MaxBeginNodeHint(session, Q7T("Gone"), second.data(), 1);
    MaxAddTriangle(session, Q7T("Lamp"), t.positions.data(), t.normals.data(), t.uvs.data());
    MaxEndNode(session);
    MaxBeginNode(session, Q7T("Single"), second.data());
    MaxAddTriangle(session, Q7T("Lamp"), t.positions.data(), t.normals.data(), t.uvs.data());
    MaxEndNode(session);
    MaxDuplicateNode(session, Q7T("Node_1"), Q7T("Copy"), second.data());
    Q7DuplicateNode(session, Q7T("Node 2"), Q7T("Node 2"), first.data(), Q7T("/copy"));
    MaxDeleteNode(session, Q7T("Gone"));
    Q7DeleteNode(session, Q7T("Copy"));
}

void describeTypedMaterials(void* session) {
    Q7AddMaterial(session, Q7T("Lamp"));
    Q7SetMaterialType(session, Q7T("Lamp"), 3);
    Q7SetMaterialIntProperty(session, Q7T("Lamp"), Q7T("Gone"), 1);
    Q7ResetMaterial(session, Q7T("Lamp"));
    Q7SetMaterialIntProperty(session, Q7T("Lamp"), Q7T("Mode"), 3);
    Q7SetMaterialFloatProperty(session, Q7T("Lamp"), Q7T("Roughness"), 0.1F);
    Q7SetMaterialFloatProperty(session, Q7T("Lamp"), Q7T("Removed"), 1e6F);
    Q7SetMaterialStringProperty(session, Q7T("Lamp"), Q7T("Base Map"),
                                Q7T("C:\\tex\\a&b <1>\"\u4E2D\U0001F600.png"));
    Q7SetMaterialStringProperty(session, Q7T("Lamp"), Q7T("Empty"), Q7T(""));
    Q7RemoveMaterialProperty(session, Q7T("Lamp"), Q7T("Removed"));
    Q7AddMaterial(session, Q7T("Beyond/Catalogue"));
    Q7SetMaterialType(session, Q7T("Beyond/Catalogue"), 10);
}

void describeAll(void* session) {
    EXPECT_STREQ(Q7GetPluginVersion(), "0.5.7.0");
    Q7SetDccPluginInfo(Q7T("Recorder \u00E9"));
    Q7SetMaterialVersion(session, 1);
    SetModelFilePath(session, Q7T("C:\\main.model"));
    SetRelevantModelFilePath(session, Q7T("C:\\part.model"));
    SetTextureFolder(session, Q7T("C:\\tex \"1\""));
    SetGenMatInstances(session, 1);
    describeTypedMaterials(session);
    describeMeshes(session);
    describeNodes(session);
    const unsigned char sceneData[36] = {};
    AddScene(session, Q7T("scene"), Q7T("label"), sceneData, 1);
    const Q7AnimProperty point(1, 2, 3, 4, 5);
    Q7AnimProperty other = point;
    other = point;
    other = Q7AnimProperty(point);
    EXPECT_EQ(other.RV, 5);
    EXPECT_THROW(Q7DeleteInstance(session, 1), std::out_of_range);
    EXPECT_EQ(Q7InstanceCount(session), 11U);
    EXPECT_EQ(HasConnected(session), 0);
    DisConnect(session);
}

// What a text file holds on a platform whose line end is LF.
std::string withoutCarriageReturns(std::string text) {
    std::erase(text, '\r');
    return text;
}

std::filesystem::path golden(const char* name) {
    return std::filesystem::path(Q7_GOLDEN_DIR) / name;
}

// Q7_WRITE_GOLDEN=1 records anew; what then differs in version control is a change of the format.
void expectGolden(const char* name, const std::string& bytes) {
    if (std::getenv("Q7_WRITE_GOLDEN")) {
        std::ofstream(golden(name), std::ios::binary) << bytes;
    }
    EXPECT_EQ(bytes, readFile(golden(name)));
}

}  // namespace

TEST(RecordedCalls, MakeTheRecordedFiles) {
    const Host host;
    describeAll(host.session);
    expectGolden("recorded_calls.q7mesh", host.savedBytes());
    const std::string materials = host.savedMaterials();
    EXPECT_EQ(materials, asTextFile(withoutCarriageReturns(materials)));
    expectGolden("recorded_calls.xml", withoutCarriageReturns(materials));
    const TemporaryFolder folder;
    Q7SaveProcessedToFile(host.session, hostPath(folder / "processed").c_str());
    expectGolden("recorded_calls_processed.q7mesh", readFile(folder / "processed"));
    SaveToFile(host.session, hostPath(folder / "file").c_str());
    EXPECT_EQ(readFile(folder / "file"), readFile(golden("recorded_calls.q7mesh")));
    Q7SetDccPluginInfo(Q7T(""));
}
