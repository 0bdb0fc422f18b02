// A host that lets the processor stop at invalid operations was ended by a save of a model that has some,
// and one that takes tiny numbers for zero got other bytes.
#include <gtest/gtest.h>

#include <cfenv>
#include <limits>

#include "support/float_environment.h"
#include "tests/host.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <xmmintrin.h>

namespace {

// Without masks, and with tiny numbers as zero.
class HostThatTraps {
  public:
    HostThatTraps() {
        std::fegetenv(&before_);
        _mm_setcsr(0x8040);
    }
    ~HostThatTraps() {
        _mm_setcsr(controlBefore_);
        std::fesetenv(&before_);
        _mm_setcsr(controlBefore_);
    }
    HostThatTraps(const HostThatTraps&) = delete;
    HostThatTraps& operator=(const HostThatTraps&) = delete;

  private:
    // Not every runtime keeps this with the rest.
    unsigned controlBefore_ = _mm_getcsr();
    std::fenv_t before_;
};

void saveAll(void* session, const Q7Char* processed, const Q7Char* materials) {
    Q7SaveProcessedToFile(session, processed);
    Q7SaveMaterialToFile(session, materials);
    EXPECT_EQ(Q7FindAnimEntityFrame(session, 4, Q7T("animation"), 1e-310), 0);
}

}  // namespace

TEST(HostTrapsFloatingPoint, AndGetsTheSameFiles) {
    const Host host;
    constexpr auto nan = std::numeric_limits<float>::quiet_NaN();
    const std::array<float, 16> singular = {nan, 3e38F, 0, 0, 1e-30F, 3e38F, 0, 0,
                                            0,   0,     0, 0, 1e-42F, 0,     0, 1};
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialFloatProperty(host.session, Q7T("m"), Q7T("tiny"), 1e-42F);
    Q7AddCameraAnims(host.session, Q7T("animation"));
    Q7AddAnimEntityFrame(host.session, 4, Q7T("animation"), 1e-310);
    for (const Q7Char* node : {Q7T("a"), Q7T("b")}) {
        Q7BeginNode(host.session, node, singular.data(), Q7T("path"));
        host.addTriangle(Q7T("m"));
        Q7EndNode(host.session);
    }
    const TemporaryFolder folder;
    const HostString files[] = {hostPath(folder / "a"), hostPath(folder / "b"),
                                hostPath(folder / "c"), hostPath(folder / "d")};
    saveAll(host.session, files[0].c_str(), files[1].c_str());
    {
        const HostThatTraps trapping;
        saveAll(host.session, files[2].c_str(), files[3].c_str());
    }
    EXPECT_EQ(readFile(folder / "a"), readFile(folder / "c"));
    EXPECT_EQ(readFile(folder / "b"), readFile(folder / "d"));
    EXPECT_NE(readFile(folder / "b").find("<tiny>1.00053e-42</tiny>"), std::string::npos);
}

#endif
