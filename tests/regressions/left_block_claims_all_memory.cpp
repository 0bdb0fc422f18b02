// A block that somebody left under the model's name may claim more memory than the machine has. A send took all
// that it claimed before it made its own.
#include <gtest/gtest.h>

#include "tests/fake_renderer.h"
#include "tests/platform/sized_block.h"
#include "transport/model_link.h"

#if !defined(_WIN32)

TEST(Regressions, ALeftBlockThatClaimsAllMemoryIsReplaced) {
    const SizedBlock left(testModelBlock, off_t{1} << 30);
    // Under another name it can still be seen when the first one is gone.
    const std::filesystem::path kept = blockPath(testModelBlock).concat("K");
    std::filesystem::create_hard_link(blockPath(testModelBlock), kept);
    Model model;
    MeshArrays arrays;
    arrays.positions = {1, 2, 3};
    arrays.uvs = {0, 1};
    model.addMesh(u"a", std::move(arrays));
    model.addDefaultMaterial(u"m");
    model.addInstance(u"a", u"m", nullptr, u"");
    static int calls = 0;
    const LinkForm form = [](const Model& sent, const StreamSettings&, const BlockView& block) {
        ++calls;
        EXPECT_EQ(block().size(), modelBlockSize(sent));
        EXPECT_EQ(std::filesystem::file_size(blockPath(testModelBlock)), modelBlockSize(sent));
    };
    sendThroughBlock(model, {}, form);
    EXPECT_EQ(calls, 1);
    struct stat status = {};
    EXPECT_EQ(stat(kept.c_str(), &status), 0);
    EXPECT_LE(status.st_blocks * 512, 65536);
    std::filesystem::remove(kept);
}

#endif
