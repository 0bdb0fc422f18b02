#include "transport/model_link.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <numeric>

#include "link/link_state.h"
#include "link/render_socket.h"
#include "materials/q7_material.h"
#include "tests/fake_renderer.h"
#include "tests/read_file.h"

namespace {

void addMesh(Model& model, WideView name, std::size_t vertices) {
    MeshArrays arrays;
    arrays.positions.resize(3 * vertices);
    std::iota(arrays.positions.begin(), arrays.positions.end(), 1.0F);
    arrays.normals = Array<float>(3 * vertices, 0.5F);
    arrays.uvs = Array<float>(2 * vertices, 0.25F);
    arrays.colors = {1, 2, 3};
    arrays.indices = IndexList::running(vertices);
    model.addMesh(name, std::move(arrays));
}

// Two meshes in use, one that is not, a text material, a typed one.
Model smallModel() {
    Model model;
    model.textureFolder = u"C:\\t";
    addMesh(model, u"a", 3);
    addMesh(model, u"unused", 30);
    addMesh(model, u"b\u4E2D", 6);
    model.addMaterialXml(u"text", u"<xml/>");
    model.addQ7Material(u"typed")->setFloats(u"f", std::vector{0.1F});
    const Transform moved = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1};
    model.addInstance(u"b\u4E2D", u"typed", moved.data(), u"/root/b");
    model.addInstance(u"a", u"text", nullptr, u"");
    model.addInstance(u"b\u4E2D", u"text", nullptr, u"/\u00E9");
    return model;
}

// What the renderer gathers when the model is sent in that form.
ReceivedModel sent(
    const Model& model, LinkForm form,
    const std::function<bool(int)>& mayAcknowledge = [](int) { return true; }) {
    FakeRenderer renderer;
    ReceivedModel received;
    renderer.serve({[&](Peer& peer) {
        ModelReceiver receiver(peer);
        receiver.mayAcknowledge = mayAcknowledge;
        received = receiver.receive(form == sendModelWithPaths);
        EXPECT_TRUE(peer.atEnd());
    }});
    SocketConnect(renderSocket(), renderer.port());
    sendThroughBlock(model, {u"info", 1}, form);
    CloseLink(renderSocket());
    renderer.finish();
    return received;
}

}  // namespace

TEST(InstancePathsJson, HasOneStringForEachInstanceInOrder) {
    EXPECT_EQ(wideToUtf8(instancePathsJson(smallModel())),
              "{\"instance_paths\":[\"/root/b/typed\",\"/text\",\"/\u00E9/text\"]}");
    EXPECT_EQ(instancePathsJson(Model()), u"{\"instance_paths\":[]}");
}

TEST(InstancePathsJson, PrintsEveryTextAsTheJsonLibraryDoes) {
    std::vector<WideString> texts = {u"", u"\U0001F600", u"\uFFFF", WideString(1, char16_t{0xD800}),
                                     u"a\"b\\c/d"};
    for (char16_t unit = 0; unit < 0x100; ++unit)
        texts.push_back({u'x', unit, u'y'});
    Model model;
    model.addDefaultMaterial(u"m");
    addMesh(model, u"a", 3);
    nlohmann::json expected;
    for (const WideString& text : texts) {
        model.addInstance(u"a", u"m", nullptr, text);
        expected["instance_paths"].push_back(wideToUtf8(text + u"/m"));
    }
    EXPECT_EQ(wideToUtf8(instancePathsJson(model)), expected.dump());
}

TEST(ModelBlockSize, IsTheLargestOfFour) {
    Model model = smallModel();
    const std::size_t paths = 4 + 2 * instancePathsJson(model).size();
    const std::size_t array = 30 * 3 * 4;
    const WideString typed = model.findMaterial(u"typed")->toXml();
    const std::size_t materials = 2 * (4 + 6 + 5 + typed.size()) + 16;
    const std::size_t instances = 2 * (2 + 5 + 1 + 4 + 2 + 4) + 3 * 72;
    EXPECT_EQ(modelBlockSize(model), std::max({paths, array, materials, instances}));
    model.meshes.erase(u"unused");
    EXPECT_EQ(modelBlockSize(model), std::max({paths, materials, instances}));
    for (int i = 0; i < 20; ++i)
        model.addInstance(u"a", u"text", nullptr, u"");
    EXPECT_EQ(modelBlockSize(model), instances + 20 * (2 * (1 + 4) + 72));
    model.instances.resize(1);
    model.instances[0]->path = WideString(1000, u'p');
    EXPECT_EQ(modelBlockSize(model), 4 + 2 * instancePathsJson(model).size());
    for (auto* array5 :
         {&model.meshAt(u"a")->positions, &model.meshAt(u"a")->normals, &model.meshAt(u"a")->uvs}) {
        array5->resize(array5->size() + 5000);
        EXPECT_EQ(modelBlockSize(model), 4 * array5->size());
        array5->resize(6);
    }
    model.meshAt(u"a")->colors.resize(30000);
    EXPECT_EQ(modelBlockSize(model), 30000U);
    model.meshAt(u"a")->indices = IndexList::running(10000);
    EXPECT_EQ(modelBlockSize(model), 40000U);
}

TEST(ToShareMem, WritesBehindEachOtherAndNothingBeyondTheEnd) {
    std::vector<std::byte> memory(8, std::byte{9});
    std::span<std::byte> cursor(memory.data(), 6);
    const ByteWriter writer = Q7Sync::toShareMem(cursor);
    writer("abcd", 4);
    writer("efgh", 4);
    writer("ij", 2);
    writer(nullptr, 0);
    EXPECT_EQ(std::memcmp(memory.data(), "abcdef", 6), 0);
    EXPECT_EQ(memory[6], std::byte{9});
    std::span<std::byte> none;
    Q7Sync::toShareMem(none)("abcd", 4);
}

TEST(ModelLink, CarriesTheModelInBothForms) {
    const Model model = smallModel();
    for (const LinkForm form : {sendModelRaw, sendModelWithPaths}) {
        const ReceivedModel received = sent(model, form);
        EXPECT_EQ(received.model.version, 11U);
        EXPECT_EQ(received.model.headerText, Q7Sync::headerJson(model, {u"info", 1}));
        ASSERT_EQ(received.model.materials.size(), 2U);
        EXPECT_EQ(received.model.materials[0].xml, u"<xml/>");
        ASSERT_EQ(received.model.instances.size(), 3U);
        EXPECT_EQ(received.model.instances[0].mesh, u"b\u4E2D");
        EXPECT_EQ(received.model.instances[0].transform[13], 2);
        // The meshes in use, in the order in which instances name them, without colours.
        ASSERT_EQ(received.model.meshes.size(), 2U);
        EXPECT_EQ(received.model.meshes[0].name, u"b\u4E2D");
        EXPECT_EQ(received.model.meshes[1].name, u"a");
        EXPECT_EQ(received.model.meshes[0].positions.size(), 18U);
        EXPECT_EQ(received.model.meshes[0].positions[17], 18.0F);
        EXPECT_EQ(received.model.meshes[0].normals, std::vector<float>(18, 0.5F));
        EXPECT_EQ(received.model.meshes[0].uvs, std::vector<float>(12, 0.25F));
        EXPECT_TRUE(received.model.meshes[0].colors.empty());
        EXPECT_EQ(received.model.meshes[0].indices.size(), 6U);
        EXPECT_EQ(received.pathsJson,
                  form == sendModelWithPaths ? instancePathsJson(model) : WideString());
    }
}

TEST(ModelLink, AcknowledgementsMayTakeTheirTimeAndNamesAnyLength) {
    Model model;
    model.addDefaultMaterial(u"m");
    for (std::size_t i = 0; i < 30; ++i) {
        const WideString name(1 + 11 * i, static_cast<char16_t>(u'A' + i));
        addMesh(model, name, 3);
        model.addInstance(name, u"m", nullptr, u"");
    }
    const std::string atOnce = sent(model, sendModelRaw).stream;
    const auto late = [](int number) {
        if (number % 7 == 0 || number > 120) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    };
    EXPECT_EQ(sent(model, sendModelRaw, late).stream, atOnce);
}

TEST(ModelLink, AModelWithoutInstancesSendsNothing) {
    Model model = smallModel();
    model.instances.clear();
    FakeRenderer renderer;
    renderer.serve({[](Peer& peer) { EXPECT_TRUE(peer.atEnd()); }});
    SocketConnect(renderSocket(), renderer.port());
    sendThroughBlock(model, {}, sendModelRaw);
    CloseLink(renderSocket());
    renderer.finish();
}

TEST(ModelLink, AModelWithoutMaterialsHasACountOfZero) {
    Model model = smallModel();
    const auto kept = model.materials;
    model.materials.clear();
    const ReceivedModel received = sent(model, sendModelRaw);
    EXPECT_TRUE(received.model.materials.empty());
    EXPECT_EQ(received.model.instances.size(), 3U);
}

TEST(ModelLink, TheBlockIsGoneAfterTheSend) {
    sent(smallModel(), sendModelRaw);
    EXPECT_FALSE(platform::OpenedBlock::open(testModelBlock, platform::BlockAccess::ReadWrite));
}

TEST(ModelLink, TheBlockIsClosedWhenTheExchangeThrows) {
    const LinkForm throws = [](const Model&, const StreamSettings&, const BlockView& block) {
        EXPECT_GE(block().size(), 300U);
        throw std::runtime_error("stop");
    };
    EXPECT_THROW(sendThroughBlock(smallModel(), {}, throws), std::runtime_error);
    EXPECT_FALSE(platform::OpenedBlock::open(testModelBlock, platform::BlockAccess::ReadWrite));
}

#if !defined(_WIN32)

TEST(ModelLink, ABlockLeftBehindIsTakenOver) {
    // Shorter than what is sent, and held by nobody who would close it.
    auto left =
        std::make_unique<platform::CreatedBlock>(platform::CreatedBlock::create(testModelBlock, 1));
    const ReceivedModel received = sent(smallModel(), sendModelRaw);
    EXPECT_EQ(received.model.meshes.size(), 2U);
}

#endif

TEST(ModelLink, ABlockThatIsHeldIsUsedAsFarAsItGoes) {
    static std::size_t heldSize = 0;
    const auto held = platform::CreatedBlock::create(testModelBlock, 16);
    heldSize = held.view().size();
    const LinkForm form = [](const Model& model, const StreamSettings& settings,
                             const BlockView& block) {
#if defined(_WIN32)
        EXPECT_EQ(block().size(), heldSize);
#else
        // Here the name is free again once the first one was let go.
        EXPECT_GT(block().size(), heldSize);
#endif
        sendModelRaw(model, settings, block);
    };
    sendThroughBlock(smallModel(), {}, form);
}

TEST(ModelLink, ALongRunningListGoesIntoTheBlockPieceBehindPiece) {
    Model model;
    model.addDefaultMaterial(u"m");
    addMesh(model, u"a", 5000);
    model.addInstance(u"a", u"m", nullptr, u"");
    // The second block ends within the list's second piece.
    for (const std::size_t indices : {5000U, 3000U}) {
        std::vector<std::byte> block(4 * indices);
        sendModelRaw(model, {}, [&] { return std::span(block); });
        for (std::size_t i = 0; i < indices; ++i) {
            std::int32_t index = 0;
            std::memcpy(&index, &block[4 * i], 4);
            ASSERT_EQ(index, static_cast<std::int32_t>(i));
        }
    }
}

TEST(ModelLink, InstancesThatChangeBetweenMaterialsKeepTheirNames) {
    Model model;
    addMesh(model, u"a", 3);
    for (const auto* material : {u"one", u"tw\"o"})
        model.addDefaultMaterial(material);
    for (const auto* material : {u"one", u"tw\"o", u"tw\"o", u"one"})
        model.addInstance(u"a", material, nullptr, u"p");
    EXPECT_EQ(instancePathsJson(model),
              u"{\"instance_paths\":[\"p/one\",\"p/tw\\\"o\",\"p/tw\\\"o\",\"p/one\"]}");
    const ReceivedModel received = sent(model, sendModelRaw);
    ASSERT_EQ(received.model.instances.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(received.model.instances[i].material,
                  i == 0 || i == 3 ? WideString(u"one") : WideString(u"tw\"o"));
    }
}

TEST(ModelLink, OnABrokenLinkTheBlockIsFilledAllTheSame) {
    Model model = smallModel();
    std::vector<std::byte> block(modelBlockSize(model));
    const BlockView view = [&] { return std::span(block); };
    sendModelRaw(model, {}, view);
    // The last array goes to the base: the indices of the last mesh in use.
    EXPECT_EQ(model.meshAt(u"a")->indices, (IndexList{0, 1, 2}));
    const Array<std::int32_t> indices = {0, 1, 2};
    EXPECT_EQ(std::memcmp(block.data(), indices.data(), indices.size() * 4), 0);
    // An empty array leaves what the block held.
    model.meshAt(u"a")->indices = {};
    sendModelRaw(model, {}, view);
    const Array<float>& uvs = model.meshAt(u"a")->uvs;
    EXPECT_EQ(std::memcmp(block.data(), uvs.data(), uvs.size() * 4), 0);
}

TEST(ModelLink, WithoutABlockTheExchangeRunsAllTheSame) {
    FakeRenderer renderer;
    std::string received;
    renderer.serve({[&](Peer& peer) {
        peer.word();
        peer.string();
        for (int i = 0; i < 2; ++i) {
            peer.word();
            peer.sendWord(0);
        }
        const std::uint32_t meshes = peer.word();
        for (std::uint32_t m = 0; m < meshes; ++m) {
            peer.string();
            for (int i = 0; i < 5; ++i) {
                peer.word();
                peer.sendWord(0);
            }
        }
        peer.sendWord(0);
        EXPECT_TRUE(peer.atEnd());
    }});
    SocketConnect(renderSocket(), renderer.port());
    sendModelRaw(smallModel(), {}, [] { return std::span<std::byte>(); });
    CloseLink(renderSocket());
    renderer.finish();
}

TEST(ModelLink, ABrokenConnectionEndsQuietlyAtEveryAcknowledgement) {
    const Model model = smallModel();
    const WideString before = Q7Sync::headerJson(model, {});
    // 2 for the lists, 5 for each of two meshes, 1 for the paths, 1 at the end.
    for (int ack = 1; ack <= 14; ++ack) {
        FakeRenderer renderer;
        renderer.serve({[&](Peer& peer) {
            ModelReceiver receiver(peer);
            receiver.mayAcknowledge = [&](int number) { return number != ack; };
            EXPECT_THROW(receiver.receive(true), std::runtime_error);
        }});
        SocketConnect(renderSocket(), renderer.port());
        sendThroughBlock(model, {}, sendModelWithPaths);
        renderer.finish();
        CloseLink(renderSocket());
        EXPECT_EQ(Q7Sync::headerJson(model, {}), before);
        EXPECT_EQ(model.instances.size(), 3U);
    }
    EXPECT_EQ(sent(model, sendModelWithPaths).model.meshes.size(), 2U);
}
