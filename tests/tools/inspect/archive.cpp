#include "inspect/archive.h"

#include <gtest/gtest.h>

#include "tests/tools/inspect/sample_archive.h"

namespace {

using q7inspect::Archive;
using q7inspect::ArchiveKind;
using q7inspect::EntryRole;
using ziptest::ZipBuilder;

using Roles = std::vector<EntryRole>;

Roles rolesOf(const Archive& archive) {
    Roles roles;
    for (const auto& entry : archive.entries())
        roles.push_back(archive.role(entry));
    return roles;
}

bool isArchive(const std::string& name, const std::string& text) {
    return q7inspect::isArchive(name, std::as_bytes(std::span(text)));
}

TEST(InspectArchive, isKnownByItsStartOrItsName) {
    EXPECT_TRUE(isArchive("a", archivetest::soundArchive().build()));
    EXPECT_TRUE(isArchive("a", ZipBuilder().build()));
    EXPECT_TRUE(isArchive("a.Q7A", ""));
    EXPECT_FALSE(isArchive("a.q7mesh", "PK"));
    EXPECT_FALSE(isArchive("q7a", archivetest::streamText({})));
}

TEST(InspectArchive, holdsWhatItsEntriesSay) {
    const Archive archive(archivetest::soundArchive().bytes());
    EXPECT_EQ(archive.kind(), ArchiveKind::model);
    EXPECT_EQ(rolesOf(archive), (Roles{EntryRole::stream, EntryRole::info, EntryRole::materials,
                                       EntryRole::folder, EntryRole::texture, EntryRole::texture}));
    ASSERT_TRUE(archive.model().has_value());
    EXPECT_EQ(archive.model()->instances.size(), 3U);
    ASSERT_TRUE(archive.info().has_value());
    EXPECT_EQ(archive.info()->productId, archivetest::productId);
    ASSERT_TRUE(archive.materials().has_value());
    EXPECT_EQ(archive.materials()->materials.size(), 2U);
    EXPECT_EQ(archive.materialText(), archivetest::materialList(archivetest::scene()));
    ASSERT_EQ(archive.textureUses().size(), 3U);
    EXPECT_EQ(archive.textureUses()[0].entry, 5U);
    EXPECT_EQ(archive.textureUses()[1].entry, 4U);
    EXPECT_EQ(archive.textureUses()[2].entry, 5U);
}

TEST(InspectArchive, survivesBeingMoved) {
    Archive first(archivetest::soundArchive().bytes());
    const Archive second = std::move(first);
    for (const auto& entry : second.entries())
        EXPECT_NO_THROW(second.zip().check(entry));
}

TEST(InspectArchive, externalFiles) {
    const Archive archive(archivetest::externalArchive().bytes());
    EXPECT_EQ(archive.kind(), ArchiveKind::externalFile);
    EXPECT_EQ(archive.role(archive.entries()[0]), EntryRole::externalFile);
    EXPECT_FALSE(archive.model().has_value());
    EXPECT_FALSE(archive.info().has_value());
    const Archive bare(ZipBuilder().add("1.", "").bytes());
    EXPECT_EQ(bare.role(bare.entries()[0]), EntryRole::externalFile);
}

TEST(InspectArchive, besideAModelAnExternalFileIsUnknown) {
    ZipBuilder zip = archivetest::soundArchive();
    zip.add("1.fbx", "left over").add("textures/a/b.png", "x").add("x", "x").add("1.d/x", "x");
    const Archive archive(zip.bytes());
    EXPECT_EQ(archive.kind(), ArchiveKind::model);
    for (std::size_t i = 6; i < archive.entries().size(); ++i)
        EXPECT_EQ(archive.role(archive.entries()[i]), EntryRole::unknown);
}

TEST(InspectArchive, aFolderMayLackItsSlash) {
    const Archive archive(ZipBuilder().folder("textures").bytes());
    EXPECT_EQ(archive.role(archive.entries()[0]), EntryRole::folder);
    const Archive file(ZipBuilder().add("textures", "x").bytes());
    EXPECT_EQ(file.role(file.entries()[0]), EntryRole::unknown);
}

TEST(InspectArchive, aBrokenStreamIsNamed) {
    ZipBuilder zip = archivetest::soundArchive();
    zip.entry("1.q7mesh").data = "stream";
    try {
        const Archive archive(zip.bytes());
        ADD_FAILURE();
    } catch (const q7inspect::EntryError& error) {
        EXPECT_EQ(error.entry(), "1.q7mesh");
        EXPECT_EQ(error.offset(), 0U);
        EXPECT_STREQ(error.what(),
                     "not a model stream: it starts with the word 1701999731, not with 11");
    }
}

TEST(InspectArchive, namesForPeople) {
    EXPECT_EQ(q7inspect::roleName(EntryRole::stream), "model stream");
    EXPECT_EQ(q7inspect::roleName(EntryRole::unknown), "unknown");
    EXPECT_EQ(q7inspect::kindName(ArchiveKind::externalFile), "external file");
}

}  // namespace
