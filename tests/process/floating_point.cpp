// Hosts that have set up the processor's floating-point numbers in their own way.
#include <gtest/gtest.h>

#include "tests/platform/local_app_data.h"
#include "tests/process/typical_session.h"
#include "tests/temporary_folder.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <xmmintrin.h>

#include <cfenv>

namespace {

constexpr unsigned masks = 0x1F80;
constexpr unsigned flushToZero = 0x8040;
constexpr unsigned roundDown = 0x2000;
constexpr unsigned roundUp = 0x4000;
// All but the marks of exceptions that have happened.
constexpr unsigned settings = 0xFFC0;

// Both units of the processor round as told, and the one that compilers use is set up by its register.
class HostsFloats {
  public:
    explicit HostsFloats(unsigned control, int rounding = FE_TONEAREST) {
        std::fegetenv(&before_);
        std::fesetround(rounding);
        _mm_setcsr(control);
    }
    ~HostsFloats() {
        _mm_setcsr(controlBefore_);
        std::fesetenv(&before_);
        _mm_setcsr(controlBefore_);
    }
    HostsFloats(const HostsFloats&) = delete;
    HostsFloats& operator=(const HostsFloats&) = delete;

  private:
    // Not every runtime keeps this with the rest.
    unsigned controlBefore_ = _mm_getcsr();
    std::fenv_t before_;
};

struct HostSettings {
    const char* name;
    unsigned control;
    int rounding;
};

constexpr HostSettings hosts[] = {
    {"AllExceptionsStop", 0, FE_TONEAREST},
    {"TinyNumbersAreZero", masks | flushToZero, FE_TONEAREST},
    {"TinyNumbersAreZeroAndExceptionsStop", flushToZero, FE_TONEAREST},
    {"RoundsUp", masks | roundUp, FE_UPWARD},
    {"RoundsDown", masks | roundDown, FE_DOWNWARD},
};

std::ostream& operator<<(std::ostream& out, const HostSettings& host) {
    return out << host.name;
}

// With ordinary numbers and with odd ones.
class FloatingPoint : public testing::TestWithParam<std::tuple<HostSettings, bool>> {
  protected:
    using Files = std::map<std::string, std::string>;

    Files filesOfDefaultHost() const {
        const TypicalSession session(exports, folder.path(), kind);
        session.run();
        return session.written();
    }
    Files filesOf(const HostSettings& host) const {
        const TypicalSession session(exports, folder.path(), kind);
        for (const TypicalSession::Step& step : session.steps()) {
            unsigned left = 0;
            int rounding = 0;
            {
                const HostsFloats floats(host.control, host.rounding);
                step.call();
                left = _mm_getcsr();
                rounding = std::fegetround();
            }
            EXPECT_EQ(left & settings, host.control) << step.name;
            EXPECT_EQ(rounding, host.rounding) << step.name;
        }
        return session.written();
    }

    const LocalAppData data;
    const TemporaryFolder folder;
    const LoadedLibrary library{Q7_LIBRARY};
    const Exports exports = exportsOf(library);
    const SessionKind kind = {.triangles = std::get<1>(GetParam()) ? 500 : 12000,
                              .hasOddNumbers = std::get<1>(GetParam()),
                              .hasArchives = false,
                              .hasLink = true};
};

}  // namespace

TEST_P(FloatingPoint, SettingsStayAndChangeNoByte) {
    ASSERT_EQ(exports.missing(), "");
    const Files expected = filesOfDefaultHost();
    ASSERT_GT(expected.at("processed").size(), 10000U);
    const Files files = filesOf(std::get<0>(GetParam()));
    for (const auto& [name, bytes] : expected)
        EXPECT_TRUE(files.at(name) == bytes) << name << " differs";
    EXPECT_EQ(files.size(), expected.size());
}

INSTANTIATE_TEST_SUITE_P(Hosts, FloatingPoint,
                         testing::Combine(testing::ValuesIn(hosts), testing::Bool()),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) +
                                    (std::get<1>(row.param) ? "OddNumbers" : "");
                         });

#endif
