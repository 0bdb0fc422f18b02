#include "support/float_environment.h"

#include <gtest/gtest.h>

#include <thread>

TEST(StandardFloats, RoundToTheNearestAndGiveBackWhatWas) {
    std::fenv_t before;
    std::fegetenv(&before);
    std::fesetround(FE_UPWARD);
    std::feclearexcept(FE_ALL_EXCEPT);
    std::feraiseexcept(FE_DIVBYZERO);
    {
        const StandardFloats floats;
        EXPECT_EQ(std::fegetround(), FE_TONEAREST);
        EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
        std::feraiseexcept(FE_INEXACT);
        int onThread = FE_UPWARD;
        std::thread([&] { onThread = std::fegetround(); }).join();
        EXPECT_EQ(onThread, FE_TONEAREST);
    }
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), FE_DIVBYZERO);
    std::fesetenv(&before);
    // That of MinGW-w64 leaves the rounding of one of the processor's units as it is.
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(1.0F + 1e-9F, 1.0F);
}
