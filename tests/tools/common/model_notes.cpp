#include "common/model_notes.h"

#include <gtest/gtest.h>

#include <limits>

#include "geometry/send_markers.h"
#include "model/model.h"
#include "tests/tools/common/stream_builder.h"

namespace {

using q7tools::ModelNote;
using streamtest::identity;
using streamtest::movedBy;
using streamtest::Scene;

std::vector<ModelNote> notesOf(const Scene& scene) {
    const q7tools::StreamModel model = q7tools::readStream(scene.build().bytes());
    return q7tools::notesOf(model).notes();
}

std::vector<std::string> textsOf(const Scene& scene) {
    std::vector<std::string> texts;
    for (const ModelNote& note : notesOf(scene))
        texts.push_back(std::string(note.kind) + ": " + note.text);
    return texts;
}

using Texts = std::vector<std::string>;

std::u16string typed(const std::u16string& id, const std::u16string& base = u"Base_9",
                     const std::u16string& properties = {}) {
    return u"<Material_2>\n    <id>" + id + u"</id>\n    <Type>/Game/MatLib2/Base/Base/" + base +
           u"/m.m</Type>\n" + properties + u"</Material_2>\n";
}

Scene::Material described(const std::u16string& name) {
    return {name, u"<Material>any</Material>"};
}

Scene::Material notDescribed(const std::u16string& name) {
    return {name, std::u16string(defaultMaterialXml)};
}

// Each material with an instance of its own.
Scene withMaterials(const std::vector<Scene::Material>& materials) {
    Scene scene;
    scene.materials = materials;
    scene.instances.clear();
    for (const Scene::Material& material : materials)
        scene.instances.push_back({u"tri", material.name});
    return scene;
}

TEST(ModelNotes, aSoundSceneHasNone) {
    EXPECT_EQ(textsOf(Scene()), Texts());
    EXPECT_EQ(textsOf(streamtest::mergedScene()), Texts());
    Scene empty;
    empty.materials.clear();
    empty.instances.clear();
    empty.meshes.clear();
    EXPECT_EQ(textsOf(empty), Texts());
}

TEST(ModelNotes, countsTheUsesOfMaterials) {
    Scene scene;
    scene.materials.push_back(scene.materials[1]);
    scene.instances.push_back({u"tri", u"nowhere"});
    const q7tools::StreamModel model = q7tools::readStream(scene.build().bytes());
    EXPECT_EQ(q7tools::notesOf(model).materialUses(), (std::vector<std::uint64_t>{1, 2, 0}));
}

TEST(ModelNotes, transposedMatrix) {
    Scene scene;
    for (const std::size_t element : {3U, 7U, 11U}) {
        scene.instances.assign(2, {u"quad", u"Lamp"});
        scene.instances[1] = {u"tri", u"Wall"};
        scene.instances[1].transform[element] = -2;
        const auto notes = notesOf(scene);
        ASSERT_EQ(notes.size(), 1U) << element;
        EXPECT_EQ(notes[0].kind, "transposed");
        EXPECT_EQ(notes[0].count, 1U);
        EXPECT_EQ(notes[0].offset, q7tools::readStream(scene.build().bytes()).instances[1].offset);
        EXPECT_EQ(notes[0].text,
                  "1 instance has its translation in elements 3, 7 and 11 of the transform, and "
                  "none in 12 to 14: the matrix is transposed; of the mesh: \"tri\"");
    }
}

TEST(ModelNotes, otherNumbersInTheFourthColumn) {
    Scene scene;
    const auto isNoted = [&scene](std::size_t element, float value) {
        scene.instances[0].transform = identity;
        scene.instances[0].transform[element] = value;
        return !notesOf(scene).empty();
    };
    EXPECT_FALSE(isNoted(15, 7));
    EXPECT_FALSE(isNoted(3, 1e-6F));
    EXPECT_FALSE(isNoted(7, std::numeric_limits<float>::quiet_NaN()));
    scene.instances[0].transform[0] = 1000;
    scene.instances[0].transform[3] = 1e-3F;
    EXPECT_TRUE(notesOf(scene).empty());
    scene.instances[0].transform = movedBy(0, 5, 0);
    scene.instances[0].transform[3] = 5;
    EXPECT_TRUE(notesOf(scene).empty());
}

TEST(ModelNotes, boundsBeyondReason) {
    Scene scene;
    scene.meshes[1].positions[0] = 1e30F;
    EXPECT_EQ(textsOf(scene),
              (Texts{"bounds: 1 instance reaches further than 1e+09 from the origin; "
                     "of the mesh: \"tri\""}));
    scene.meshes[1].positions[0] = 1e9F;
    EXPECT_EQ(textsOf(scene), Texts());
    scene.meshes[1].positions[0] = std::numeric_limits<float>::infinity();
    EXPECT_EQ(textsOf(scene), Texts());
}

TEST(ModelNotes, farFromTheOriginForItsSize) {
    Scene scene;
    scene.instances = {{u"quad", u"Lamp", movedBy(0, -50000, 0)},
                       {u"tri", u"Wall", movedBy(0, -50000, 0)}};
    const Texts texts = textsOf(scene);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_TRUE(
        texts[0].starts_with("bounds: the scene is 2 in size and 49998 from the origin, "
                             "where single precision has steps of about 0.00596"))
        << texts[0];
    scene.instances[0].transform[13] = 0;
    EXPECT_EQ(textsOf(scene), Texts());
}

TEST(ModelNotes, withoutAnySize) {
    Scene scene;
    for (auto& instance : scene.instances)
        instance.transform = {};
    EXPECT_EQ(textsOf(scene), (Texts{"bounds: all vertices are placed at one point"}));
    for (auto& instance : scene.instances)
        instance.transform[0] = 1e-7F;
    EXPECT_EQ(textsOf(scene), (Texts{"bounds: the scene is only 2e-07 in size"}));
}

TEST(ModelNotes, uvsThatAreAllZeroBelowATexture) {
    Scene scene;
    scene.meshes[0].uvs.assign(8, 0);
    EXPECT_EQ(textsOf(scene), (Texts{"uvs: 1 mesh has a material with a texture, and uvs that are "
                                     "all 0: \"quad\""}));
    scene.meshes[0].uvs[7] = 0.5F;
    EXPECT_EQ(textsOf(scene), Texts());
    scene.meshes[0].uvs.assign(8, 0);
    scene.materials[0].xml = typed(u"Lamp", u"Base_9", u"    <Mode>a.pngx</Mode>\n");
    EXPECT_EQ(textsOf(scene), Texts());
    // Text of the host's own names images as well.
    scene.materials[1].xml = u"<m><map>wood.jpg</map></m>";
    EXPECT_EQ(textsOf(scene).size(), 1U);
    // Nobody may have looked at them.
    scene.meshes[0].uvs.clear();
    EXPECT_EQ(textsOf(scene), Texts());
}

TEST(ModelNotes, whatTheLibraryAddsIsNoMistake) {
    Scene scene;
    scene.meshes.push_back({std::u16string(generatorMeshName),
                            {1e30F, 0, 0, 0, 0, 0, 0, 0, 0},
                            {},
                            std::vector<float>(6, 0),
                            {},
                            {0, 1, 2}});
    scene.instances.push_back({std::u16string(generatorMeshName), u"Lamp"});
    EXPECT_EQ(textsOf(scene), Texts());
}

TEST(ModelNotes, materialsThatNobodyUses) {
    Scene scene;
    scene.instances[2].material = u"nowhere";
    scene.materials.push_back(notDescribed(u"neither"));
    for (int i = 0; i < 7; ++i)
        scene.materials.push_back(
            described(u"M" + std::u16string(1, static_cast<char16_t>(u'0' + i))));
    const auto notes = notesOf(scene);
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0].kind, "unused");
    EXPECT_EQ(notes[0].count, 7U);
    EXPECT_EQ(notes[0].text,
              "7 materials are described, but used by no instance: \"M0\", \"M1\", \"M2\", \"M3\", "
              "\"M4\" and 2 "
              "more");
}

TEST(ModelNotes, materialsThatWaitForTheirUse) {
    Scene scene;
    scene.materials.push_back(described(u"Glass"));
    scene.materials.push_back(notDescribed(u"Door"));
    EXPECT_EQ(textsOf(scene), Texts());
    // Whoever names no material at all may have forgotten to.
    scene.materials.push_back(notDescribed(std::u16string(fallbackMaterialName)));
    scene.instances[1].material = fallbackMaterialName;
    EXPECT_EQ(textsOf(scene),
              (Texts{"unused: 1 material is described, but used by no instance: \"Glass\""}));
}

TEST(ModelNotes, materialsThatNobodyDescribes) {
    const Scene scene = withMaterials({notDescribed(u"A"),
                                       {u"B", typed(u"B")},
                                       {u"C", u""},
                                       {u"D", typed(u"D", u"Base_9", u"    <Mode>3</Mode>\n")},
                                       {u"E", typed(u"E", u"Base_2")},
                                       notDescribed(std::u16string(fallbackMaterialName))});
    EXPECT_EQ(textsOf(scene), (Texts{"undescribed: 3 materials are used, but described by nothing: "
                                     "\"A\", \"B\", \"C\""}));
}

TEST(ModelNotes, namesThatDifferByCaseOrBlanks) {
    Scene scene = withMaterials({described(u"Red Oak"), described(u"red oak"),
                                 described(u"RedOak\u00a0"), described(u"Red_Oak")});
    scene.meshes.push_back(scene.meshes[0]);
    scene.meshes.back().name = u"QUAD";
    EXPECT_EQ(textsOf(scene),
              (Texts{"materialNames: 2 pairs of materials have names that differ by case or blanks "
                     "alone: \"Red Oak\" and \"red oak\", \"Red Oak\" and \"RedOak\u00a0\"",
                     "meshNames: 1 pair of meshes has names that differ by case or blanks alone: "
                     "\"quad\" and \"QUAD\""}));
}

// Comparing each name with the first as a whole would take hours.
TEST(ModelNotes, manyNamesAfterALongOneThatIsAlike) {
    const std::u16string letters = u"abcdefghijklmnop";
    std::vector<Scene::Material> materials{described(std::u16string(4'000'000, u' ') + letters)};
    for (unsigned bits = 0; bits < 30'000; ++bits) {
        std::u16string name = letters;
        for (std::size_t i = 0; i < name.size(); ++i)
            if ((bits >> i & 1U) != 0) name[i] = static_cast<char16_t>(name[i] - u'a' + u'A');
        materials.push_back(described(name));
    }
    const Texts texts = textsOf(withMaterials(materials));
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].find("materialNames: 30000 pairs of materials"), 0U) << texts[0];
}

TEST(ModelNotes, longNamesAreCutBetweenCharacters) {
    const std::u16string end = u"\U0001F600";
    Scene scene = withMaterials({notDescribed(std::u16string(59, u'a') + end + u"b")});
    EXPECT_EQ(textsOf(scene),
              (Texts{"undescribed: 1 material is used, but described by nothing: \"" +
                     std::string(59, 'a') + "...\""}));
}

TEST(ModelNotes, namesThatAreNearlyEqual) {
    for (const std::u16string name :
         {u"Mahgany", u"Mahogany_", u"Mahogony", u"Mahoagny", u"Nahogany", u"Mahoganny"}) {
        const Texts texts = textsOf(withMaterials({described(u"Mahogany"), notDescribed(name)}));
        ASSERT_EQ(texts.size(), 2U) << wideToUtf8(name);
        EXPECT_EQ(texts[1],
                  "misspelt: 1 material without a description has nearly the name of one "
                  "with it: \"" +
                      wideToUtf8(name) + "\" and \"Mahogany\"");
    }
}

TEST(ModelNotes, namesThatTellThingsApart) {
    const auto isNoted = [](const std::u16string& a, const std::u16string& b) {
        return textsOf(withMaterials({described(a), notDescribed(b)})).size() != 1;
    };
    EXPECT_FALSE(isNoted(u"Wall 1", u"Wall 2"));
    EXPECT_FALSE(isNoted(u"Wall", u"Wall2"));
    EXPECT_FALSE(isNoted(u"WallA", u"WallB"));
    EXPECT_FALSE(isNoted(u"Oak", u"Oat"));
    EXPECT_FALSE(isNoted(u"Mahogany", u"Mahagoni"));
    EXPECT_FALSE(isNoted(std::u16string(65, u'a'), std::u16string(64, u'a')));
    EXPECT_EQ(textsOf(withMaterials({described(u"Mahogany"), described(u"Mahgany")})), Texts());
}

TEST(ModelNotes, anInstanceMayMisspellWhatIsThere) {
    Scene scene;
    scene.instances.push_back({u"tri", u"Wal1"});
    scene.instances.push_back({u"tri", u"Waal"});
    EXPECT_EQ(textsOf(scene),
              (Texts{"misspelt: 1 material without a description has nearly the name "
                     "of one with it: \"Waal\" and \"Wall\""}));
}

TEST(ModelNotes, longNamesAreCut) {
    Scene scene;
    scene.materials.push_back(described(std::u16string(1000, u'x')));
    scene.instances[2].material = u"nowhere";
    EXPECT_EQ(textsOf(scene),
              (Texts{"unused: 1 material is described, but used by no instance: \"" +
                     std::string(60, 'x') + "...\""}));
}

// Each name is a misspelling of hundreds of others: looking at each pair would take minutes.
TEST(ModelNotes, aFloodOfNamesCostsNoMoreThanOthers) {
    std::vector<std::u16string> names;
    for (std::uint32_t i = 0; i < 200'000; ++i) {
        std::u16string name = u"00__aaaaaaaa";
        name[0] = static_cast<char16_t>(0x4E00 + i % 1000);
        name[1] = static_cast<char16_t>(0x4E00 + i / 1000);
        names.push_back(name);
    }
    q7tools::ModelNotes notes;
    for (std::size_t i = 0; i < names.size(); ++i) {
        notes.addMaterial(names[i], i % 2 == 0 ? WideView(u"any") : defaultMaterialXml);
        notes.addInstance(u"mesh", names[i], identity);
    }
    const auto found = notes.notes();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].count, 100'000U);
    EXPECT_EQ(found[1].kind, "misspelt");
    EXPECT_LE(found[1].count, 1000U);
    EXPECT_LT(found[1].text.size(), 1000U);
}

}  // namespace
