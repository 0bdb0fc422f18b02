#include "send/progress.h"

#include <gtest/gtest.h>

#include <sstream>

namespace q7send {

using std::chrono::milliseconds;

TEST(ProgressBar, DrawsAndClears) {
    std::ostringstream out;
    {
        ProgressBar bar(out, true, milliseconds(0));
        bar.show("Reading", 0.5);
    }
    EXPECT_EQ(out.str(), "\rReading      [###############...............]  50%\r" +
                             std::string(51, ' ') + "\r");
}

TEST(ProgressBar, DrawsOnlyChanges) {
    std::ostringstream out;
    ProgressBar bar(out, true, milliseconds(0));
    bar.show("Reading", 0.5);
    const std::size_t size = out.str().size();
    bar.show("Reading", 0.501);
    EXPECT_EQ(out.str().size(), size);
    bar.show("Writing", 0.501);
    EXPECT_GT(out.str().size(), size);
}

TEST(ProgressBar, StaysWithinItsLine) {
    for (const double done : {-1.0, 0.0, 1.0, 7.0}) {
        std::ostringstream out;
        ProgressBar bar(out, true, milliseconds(0));
        bar.show("A task with a long name", done);
        EXPECT_EQ(out.str().size(), 1U + 50U) << done;
    }
}

TEST(ProgressBar, IsQuietInAPipeAndForShortWork) {
    std::ostringstream out;
    {
        ProgressBar hidden(out, false, milliseconds(0));
        hidden.show("Reading", 0.5);
        ProgressBar patient(out, true, std::chrono::hours(1));
        patient.show("Reading", 0.5);
    }
    EXPECT_EQ(out.str(), "");
}

}  // namespace q7send
