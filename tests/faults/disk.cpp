// What becomes of files, handles and the temporary folder when the disk does not do what it should.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <stdexcept>

#include "platform/files.h"
#include "platform/folders.h"
#include "tests/archive/archive_contents.h"
#include "tests/faults/posix_faults.h"
#include "tests/host.h"
#include "tests/platform/local_app_data.h"
#include "tests/platform/long_path.h"
#include "tests/process/resources.h"

namespace {

namespace fs = std::filesystem;

// Every export that writes the file whose path it is given.
struct Save {
    const char* name;
    void (*toFile)(void* session, const Q7Char* path);
    std::uint8_t (*toArchive)(void* session, const Q7Char* path);
};

std::ostream& operator<<(std::ostream& out, const Save& save) {
    return out << save.name;
}

constexpr Save saves[] = {
    {"Q7SaveRawToFile", Q7SaveRawToFile, nullptr},
    {"SaveToFile", SaveToFile, nullptr},
    {"Q7SaveProcessedToFile", Q7SaveProcessedToFile, nullptr},
    {"Q7SaveMaterialToFile", Q7SaveMaterialToFile, nullptr},
    {"Q7SaveRawToQ7a", nullptr, Q7SaveRawToQ7a},
    {"Q7SaveProcessedToQ7a", nullptr, Q7SaveProcessedToQ7a},
    {"Q7SaveExtToQ7a", nullptr,
     [](void* session, const Q7Char* path) {
         return Q7SaveExtToQ7a(session, Q7T("there is no such file.fbx"), path);
     }},
};

// A session with a texture, more than fits into any buffer, and what it saves on a good day.
class Disk : public testing::TestWithParam<Save> {
  protected:
    Disk() {
        fs::create_directory(place / "out");
        std::ofstream(place / "texture.png", std::ios::binary) << std::string(100'000, 't');
        Q7SetMaterialVersion(host.session, 1);
        Q7AddMaterial(host.session, Q7T("m"));
        Q7SetMaterialStringProperty(host.session, Q7T("m"), Q7T("Map"),
                                    hostPath(place / "texture.png").c_str());
        for (int i = 0; i < 200; ++i)
            Q7SetMaterialIntProperty(host.session, Q7T("m"),
                                     hostPath("Property" + std::to_string(i)).c_str(), i);
        const std::vector<float> soup(9 * 1500, 1.5F);
        for (const Q7Char* node : {Q7T("a"), Q7T("b")}) {
            Q7BeginNode(host.session, node, identity.data(), Q7T("path"));
            MaxAddTriangles(host.session, Q7T("m"), 1500, soup.data(), soup.data(), nullptr,
                            CoordOrder::XYZ);
            Q7EndNode(host.session);
        }
        EXPECT_EQ(save(target), isArchive());
        expected = contents(target);
        fs::remove(target);
        // The test's own runtime keeps some for good when it first meets these.
        try {
            throw std::runtime_error((std::ostringstream() << 1).str());
        } catch (const std::runtime_error&) {
            handles = Resources::countHandles();
        }
    }
    // After whatever it was, all is well again.
    ~Disk() override {
        EXPECT_EQ(Resources::countHandles(), handles);
        emptyFolder();
        EXPECT_EQ(save(target), isArchive());
        EXPECT_TRUE(contents(target) == expected);
        EXPECT_EQ(entries(), 1);
        EXPECT_EQ(Resources::countHandles(), handles);
    }

    // Whatever is in it: not everybody's way takes long paths.
    void emptyFolder() const {
        platform::removeFolderTree((place / "out").u16string());
        fs::create_directory(place / "out");
    }
    static bool isArchive() { return GetParam().toArchive != nullptr; }
    // What an archive call returns; of the others 0.
    int save(const fs::path& path) const {
        const HostString text = hostPath(path);
        if (isArchive()) return GetParam().toArchive(host.session, text.c_str());
        GetParam().toFile(host.session, text.c_str());
        return 0;
    }
    // The same with the line on standard error that an archive's failure prints, and nothing else.
    void expectFailure(const fs::path& path, const std::string& line) const {
        testing::internal::CaptureStderr();
        EXPECT_EQ(save(path), 0) << path;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), isArchive() ? line + '\n' : "") << path;
    }
    static std::map<std::string, std::string> contents(const fs::path& path) {
        if (!isArchive()) return {{"", readFile(path)}};
        auto all = archiveContents(path);
        if (all.contains("info.json")) all["info.json"].resize(all["info.json"].find("productID"));
        return all;
    }
    std::ptrdiff_t entries() const {
        return std::distance(fs::directory_iterator(place / "out"), fs::directory_iterator());
    }

    const Host host;
    const TemporaryFolder place;
    const fs::path target = place / "out" / "target";
    const fs::path temporary = place / "out" / "__q7_export_temp";
    std::map<std::string, std::string> expected;
    std::size_t handles = 0;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Saves, Disk, testing::ValuesIn(saves),
                         [](const auto& row) { return row.param.name; });

TEST_P(Disk, AFolderInPlaceOfTheFileStays) {
    fs::create_directory(target);
    std::ofstream(target / "inside") << "x";
    expectFailure(target, "compress file fail!");
    EXPECT_EQ(readFile(target / "inside"), "x");
    EXPECT_EQ(fs::exists(temporary), isArchive());
    EXPECT_EQ(entries(), isArchive() ? 2 : 1);
}

TEST_P(Disk, AFileInPlaceOfTheFolderStays) {
    std::ofstream(place / "out" / "file") << "x";
    expectFailure(place / "out" / "file" / "target", "create texture dir fail!");
    EXPECT_EQ(readFile(place / "out" / "file"), "x");
    EXPECT_EQ(entries(), 1);
}

TEST_P(Disk, AFolderThatIsGoneIsMadeForArchivesOnly) {
    fs::remove(place / "out");
    EXPECT_EQ(save(target), isArchive());
    EXPECT_EQ(fs::exists(target), isArchive());
    EXPECT_FALSE(fs::exists(temporary));
}

#if defined(_WIN32)

// Archives are left out: under Wine the bridge to the zip library shares every file.
namespace {

class FileOnDisk : public Disk {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Saves, FileOnDisk, testing::ValuesIn(saves, saves + 4),
                         [](const auto& row) { return row.param.name; });

TEST_P(FileOnDisk, ThatSomebodyElseHasStays) {
    std::ofstream(target) << "x";
    HANDLE const file = CreateFileW(target.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    expectFailure(target, "");
    CloseHandle(file);
    EXPECT_EQ(readFile(target), "x");
}

#else

TEST_P(Disk, AReadOnlyFileStays) {
    std::ofstream(target) << "x";
    fs::permissions(target, fs::perms(0444));
    // Beside the file an archive needs a place of its own.
    fs::permissions(place / "out", fs::perms(0777));
    {
        const ReadOnlyFolder otherUser(place.path());
        expectFailure(target, "compress file fail!");
    }
    EXPECT_EQ(readFile(target), "x");
    EXPECT_EQ(fs::exists(temporary), isArchive());
}

#endif

TEST_P(Disk, TakesNamesOfAllCharacters) {
    std::u16string name;
    for (char16_t unit = 1; unit < 0x100; ++unit) {
#if defined(_WIN32)
        if (unit < 0x20 || std::u16string_view(u"<>:\"/\\|?*").find(unit) != WideView::npos)
            continue;
#endif
        // What has two bytes here is for the others of its kind.
        if (unit != u'/' && (unit < 0x80 || unit % 16 == 0)) name += unit;
    }
    for (const std::u16string& text :
         {name, u"." + name, std::u16string(u"\u4E2D\uFFFD\U0001F600\u0301\u202E"),
          std::u16string(u"-rf"), std::u16string(u"~"), std::u16string(u"%s%n%d")}) {
        const fs::path file = place / "out" / fs::path(text);
        EXPECT_EQ(save(file), isArchive()) << file;
        EXPECT_TRUE(contents(file) == expected) << file;
        fs::remove(file);
        EXPECT_EQ(entries(), 0);
    }
}

TEST_P(Disk, TakesLongPaths) {
    for (const std::size_t length : {259, 300, isArchive() ? 500 : 3000}) {
        const WideString path = pathOfLength(place / "out", length);
        const fs::path native = platform::nativePath(path);
        if (!isArchive()) fs::create_directories(native.parent_path());
        EXPECT_EQ(save(fs::path(path)), isArchive()) << length;
        EXPECT_TRUE(contents(native) == expected) << length;
        emptyFolder();
    }
    // Longer than a name can be.
    expectFailure(place / "out" / std::string(5000, 'x') / "target", "create texture dir fail!");
    EXPECT_EQ(entries(), 0);
}

#if !defined(_WIN32)

TEST_P(Disk, AReadOnlyFolderStaysAsItIs) {
    {
        const ReadOnlyFolder readOnly(place / "out");
        expectFailure(target, "create texture dir fail!");
    }
    EXPECT_EQ(entries(), 0);
}

TEST_P(Disk, AFullDiskLeavesAShortFileAndTheNextIsWhole) {
    for (const std::size_t left : {0, 1, 5000, 60'000}) {
        int result = 0;
        testing::internal::CaptureStderr();
        {
            const FullDisk full(left);
            EXPECT_NO_THROW(result = save(target));
        }
        const std::string printed = testing::internal::GetCapturedStderr();
        EXPECT_LE(fs::exists(target) ? fs::file_size(target) : 0, left);
        // After a failure the folder stays.
        EXPECT_EQ(fs::exists(temporary), isArchive() && result == 0) << left;
        EXPECT_EQ(printed, isArchive() && result == 0 ? "compress file fail!\n" : "") << left;
        EXPECT_EQ(Resources::countHandles(), handles) << left;
        fs::remove_all(temporary);
        EXPECT_EQ(save(target), isArchive());
        EXPECT_TRUE(contents(target) == expected) << left;
        fs::remove(target);
    }
}

TEST_P(Disk, ASlowFileGetsEveryByte) {
    SlowFile slow(target);
    slow.read();
    testing::internal::CaptureStderr();
    const int result = save(target);
    const std::string printed = testing::internal::GetCapturedStderr();
    slow.end();
    if (isArchive()) {
        // In such a file one cannot go back, as an archive may need: the zip library's answer counts.
        EXPECT_EQ(fs::exists(temporary), result == 0);
        EXPECT_EQ(printed, result == 0 ? "compress file fail!\n" : "");
    } else {
        EXPECT_EQ(slow.bytes(), expected.at(""));
    }
}

#endif

namespace {

class ExternalFile : public testing::Test {
  protected:
    const Host host;
    const TemporaryFolder place;
    const fs::path target = place / "target.q7a";
    const fs::path temporary = place / "__q7_export_temp";
    const std::string bytes = std::string(50'000, 'a') + std::string(50'000, 'b');
};

}  // namespace

#if !defined(_WIN32)

TEST_F(ExternalFile, IsPackedWholeHoweverSlowlyItComes) {
    SlowFile slow(place / "scene.fbx");
    slow.write(bytes);
    EXPECT_EQ(Q7SaveExtToQ7a(host.session, hostPath(place / "scene.fbx").c_str(),
                             hostPath(target).c_str()),
              1);
    slow.end();
    EXPECT_EQ(archiveContents(target)["1.fbx"], bytes);
    EXPECT_FALSE(fs::exists(temporary));
}

TEST_F(ExternalFile, WhoseFolderGoesHalfWayIsAFailure) {
    const std::size_t handles = Resources::countHandles();
    {
        SlowFile slow(place / "scene.fbx");
        slow.write(bytes, [this] { fs::remove_all(temporary); });
        testing::internal::CaptureStderr();
        EXPECT_EQ(Q7SaveExtToQ7a(host.session, hostPath(place / "scene.fbx").c_str(),
                                 hostPath(target).c_str()),
                  0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "compress file fail!\n");
    }
    EXPECT_FALSE(fs::exists(target));
    EXPECT_FALSE(fs::exists(temporary));
    EXPECT_EQ(Resources::countHandles(), handles);
}

TEST(LogFolder, IsEmptyWhereNothingCanBeMade) {
    const LocalAppData data;
    const std::size_t handles = Resources::countHandles();
    {
        const ReadOnlyFolder readOnly(data.path());
        EXPECT_EQ(Q7GetLogDir(nullptr, 0), 1U);
    }
    EXPECT_TRUE(fs::is_empty(data.path()));
    EXPECT_EQ(Resources::countHandles(), handles);
}

#endif

TEST(Texture, ThatIsGoneBeforeTheSaveIsPassedOver) {
    const Host host;
    const TemporaryFolder place;
    fs::create_directory(place / "textures of the host");
    const fs::path texture = place / "textures of the host" / "a.png";
    std::ofstream(texture) << "x";
    Q7SetMaterialVersion(host.session, 1);
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialStringProperty(host.session, Q7T("m"), Q7T("Map"), hostPath(texture).c_str());
    fs::remove_all(place / "textures of the host");
    EXPECT_EQ(Q7SaveRawToQ7a(host.session, hostPath(place / "target.q7a").c_str()), 1);
    EXPECT_FALSE(archiveContents(place / "target.q7a").contains("textures/a.png"));
    EXPECT_FALSE(fs::exists(place / "__q7_export_temp"));
}
