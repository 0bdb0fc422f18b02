// Who read a pipe that the library wrote to, a file or a standard stream, ended the host by leaving.
#include <gtest/gtest.h>

#include "tests/faults/posix_faults.h"
#include "tests/host.h"

#if !defined(_WIN32)

namespace {

class ReaderLeaves : public testing::Test {
  protected:
    ReaderLeaves() {
        EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_DFL);
        const std::vector<float> soup(9 * 5000, 1.5F);
        Q7BeginNode(host.session, Q7T("node"), identity.data(), Q7T("path"));
        MaxAddTriangles(host.session, Q7T("m"), 5000, soup.data(), nullptr, nullptr,
                        CoordOrder::XYZ);
        Q7EndNode(host.session);
        for (int i = 0; i < 1000; ++i)
            AddMaterial(host.session, hostPath("Material" + std::to_string(i)).c_str(),
                        HostString(100, Q7Char('x')).c_str());
    }
    // The signal is the host's own again, and none of the library's waits for it.
    ~ReaderLeaves() override {
        sigset_t signals;
        sigpending(&signals);
        EXPECT_EQ(sigismember(&signals, SIGPIPE), 0);
        pthread_sigmask(SIG_BLOCK, nullptr, &signals);
        EXPECT_EQ(sigismember(&signals, SIGPIPE), 0);
    }

    const Host host;
    const TemporaryFolder folder;
};

// Standard error goes into a pipe that nobody reads.
class StandardErrorWithoutReader {
  public:
    StandardErrorWithoutReader() : before_(dup(STDERR_FILENO)) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
    }
    ~StandardErrorWithoutReader() {
        dup2(before_, STDERR_FILENO);
        close(before_);
    }
    StandardErrorWithoutReader(const StandardErrorWithoutReader&) = delete;
    StandardErrorWithoutReader& operator=(const StandardErrorWithoutReader&) = delete;

  private:
    int before_;
};

}  // namespace

TEST_F(ReaderLeaves, OfAFile) {
    for (auto* const save : {Q7SaveRawToFile, Q7SaveProcessedToFile, Q7SaveMaterialToFile}) {
        SlowFile slow(folder / "pipe");
        slow.read(1000);
        save(host.session, hostPath(folder / "pipe").c_str());
        slow.end();
        EXPECT_LT(slow.bytes().size(), 10'000U);
        std::filesystem::remove(folder / "pipe");
    }
}

TEST_F(ReaderLeaves, OfStandardError) {
    std::ofstream(folder / "__q7_export_temp") << "x";
    const StandardErrorWithoutReader broken;
    EXPECT_EQ(Q7SaveRawToQ7a(host.session, hostPath(folder / "target").c_str()), 0);
}

TEST_F(ReaderLeaves, WithASignalOfTheHostsOwnThatWaits) {
    sigset_t pipes;
    sigemptyset(&pipes);
    sigaddset(&pipes, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipes, nullptr);
    raise(SIGPIPE);
    std::ofstream(folder / "__q7_export_temp") << "x";
    {
        const StandardErrorWithoutReader broken;
        EXPECT_EQ(Q7SaveRawToQ7a(host.session, hostPath(folder / "target").c_str()), 0);
    }
    sigset_t waiting;
    sigpending(&waiting);
    EXPECT_EQ(sigismember(&waiting, SIGPIPE), 1);
    int taken = 0;
    EXPECT_EQ(sigwait(&pipes, &taken), 0);
    pthread_sigmask(SIG_UNBLOCK, &pipes, nullptr);
}

#endif
