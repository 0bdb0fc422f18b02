#include "preview/texture_files.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "common/files.h"
#include "tests/temporary_folder.h"

namespace {

using q7preview::TextureFiles;
using q7tools::pathToUtf8;

class PreviewTextureFiles : public testing::Test {
  protected:
    PreviewTextureFiles() {
        std::filesystem::create_directories(folder_ / "tex" / "deep");
        q7tools::writeWholeFile(folder_ / "beside.png", "beside");
        q7tools::writeWholeFile(folder_ / "tex" / "a.png", "in tex");
        q7tools::writeWholeFile(folder_ / "tex" / "deep" / "b.png", "deep");
    }

    TextureFiles files(const std::string& textureFolder) const {
        q7tools::StreamModel model;
        model.headerText = utf8ToWide(nlohmann::json({{"textureFolder", textureFolder}}).dump());
        return {model, folder_.path()};
    }

    static std::string text(const TextureFiles& files, const WideString& path) {
        const auto bytes = files.read(path);
        if (!bytes) return "none";
        return {reinterpret_cast<const char*>(bytes->data()), bytes->size()};
    }

    TemporaryFolder folder_;
};

TEST_F(PreviewTextureFiles, inTheTextureFolder) {
    for (const std::string& folder : {std::string("tex"), pathToUtf8(folder_ / "tex")}) {
        const TextureFiles in = files(folder);
        EXPECT_EQ(text(in, u"a.png"), "in tex");
        EXPECT_EQ(text(in, u"deep/b.png"), "deep");
        EXPECT_EQ(text(in, u"deep\\b.png"), "deep");
        EXPECT_EQ(text(in, u"C:\\other\\machine\\a.png"), "in tex");
        EXPECT_EQ(text(in, u"../beside.png"), "beside");
        EXPECT_EQ(text(in, u"beside.png"), "none");
    }
}

TEST_F(PreviewTextureFiles, whereverTheyAre) {
    const TextureFiles in = files("tex");
    EXPECT_EQ(text(in, utf8ToWide(pathToUtf8(folder_ / "beside.png"))), "beside");
}

TEST_F(PreviewTextureFiles, besideTheStream) {
    EXPECT_EQ(text(files(""), u"beside.png"), "beside");
    EXPECT_EQ(text(files(""), u"tex/a.png"), "in tex");
    q7tools::StreamModel noHeader;
    EXPECT_EQ(text(TextureFiles(noHeader, folder_.path()), u"beside.png"), "beside");
    for (const WideString& header :
         {WideString(u"{\"textureFolder\":3}"), WideString(u"[]"), WideString(100000, u'[')}) {
        noHeader.headerText = header;
        EXPECT_EQ(text(TextureFiles(noHeader, folder_.path()), u"beside.png"), "beside");
    }
}

TEST_F(PreviewTextureFiles, plainFilesOfThisMachineOnly) {
    const TextureFiles in = files("tex");
    EXPECT_EQ(text(in, u""), "none");
    EXPECT_EQ(text(in, u"deep"), "none");
    EXPECT_EQ(text(in, u"missing.png"), "none");
    // Of another machine, not even the last part is looked for.
    EXPECT_EQ(text(in, u"//machine/share/a.png"), "none");
    EXPECT_EQ(text(in, u"\\\\machine\\share\\a.png"), "none");
    EXPECT_EQ(text(in, u"/\\machine\\a.png"), "none");
    EXPECT_EQ(text(in, WideString(u"a.png\0", 6)), "none");
    EXPECT_EQ(text(files("\\\\machine\\share"), u"a.png"), "none");
    EXPECT_EQ(text(files("\\\\machine\\share"), u"beside.png"), "beside");
}

TEST_F(PreviewTextureFiles, filesThatAreTooLargeAreNotRead) {
    q7tools::writeWholeFile(folder_ / "large.png", "x");
    std::filesystem::resize_file(folder_ / "large.png", (std::uintmax_t{256} << 20) + 1);
    EXPECT_EQ(text(files(""), u"large.png"), "none");
}

}  // namespace
