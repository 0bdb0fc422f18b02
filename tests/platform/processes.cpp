#include "platform/processes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/read_file.h"
#include "tests/temporary_folder.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <signal.h>
#include <sys/prctl.h>

#include <cerrno>
#include <cstdlib>

#include "tests/platform/child_process.h"
#endif

namespace fs = std::filesystem;

namespace {

#if defined(_WIN32)
constexpr char ownName[] = "q7core_tests.exe";
constexpr char ownNameInCapitals[] = "Q7CORE_TESTS.EXE";
#else
constexpr char ownName[] = "q7core_tests";
constexpr char ownNameInCapitals[] = "Q7CORE_TESTS";
#endif

// Waits for the file that a started program makes, and gives what it holds.
std::string textThatComes(const fs::path& file) {
    constexpr int attempts = 3000;
    for (int i = 0; i < attempts && !fs::exists(file); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return readFile(file);
}

bool launch(const fs::path& file, const WideString& parameters, const fs::path& directory) {
    return platform::launchProgram(file.u16string(), parameters, directory.u16string());
}

}  // namespace

TEST(IsProcessRunning, FindsTheExactFileNameOnly) {
    const std::string name = ownName;
    EXPECT_TRUE(platform::isProcessRunning(name));
    EXPECT_FALSE(platform::isProcessRunning(ownNameInCapitals));
    EXPECT_FALSE(platform::isProcessRunning(name.substr(0, name.size() - 1)));
    EXPECT_FALSE(platform::isProcessRunning(name.substr(1)));
    EXPECT_FALSE(platform::isProcessRunning(name + " "));
    EXPECT_FALSE(platform::isProcessRunning("bin/" + name));
    EXPECT_FALSE(platform::isProcessRunning("q7 no such program"));
    EXPECT_FALSE(platform::isProcessRunning(""));
}

TEST(LaunchProgram, FailsWithoutAProgram) {
    const TemporaryFolder folder;
    EXPECT_FALSE(launch(folder / "missing.exe", u"", folder.path()));
    EXPECT_FALSE(launch(folder / "missing" / "program.exe", u"-a", folder.path()));
}

#if defined(_WIN32)

namespace {

fs::path commandInterpreter() {
    wchar_t folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    return fs::path(folder) / L"cmd.exe";
}

}  // namespace

TEST(LaunchProgram, StartsInTheDirectoryWithTheParameters) {
    const TemporaryFolder folder;
    EXPECT_TRUE(
        launch(commandInterpreter(), u"/c cd>made.tmp&ren made.tmp made.txt", folder.path()));
    const std::string text = textThatComes(folder / "made.txt");
    EXPECT_EQ(fs::path(text.substr(0, text.find('\r'))).filename(), folder.path().filename());
}

TEST(LaunchProgram, TakesAPathWithBlanks) {
    const TemporaryFolder folder;
    const fs::path program = folder / "a folder" / "a program.exe";
    fs::create_directories(program.parent_path());
    fs::copy_file(commandInterpreter(), program);
    EXPECT_TRUE(launch(program, u"/c echo x>made.tmp&ren made.tmp made.txt", folder.path()));
    EXPECT_EQ(textThatComes(folder / "made.txt"), "x\r\n");
}

#else

namespace {

void writeScript(const fs::path& path, const std::string& text,
                 const std::string& interpreter = "/bin/sh") {
    std::ofstream(path) << "#!" << interpreter << "\n" << text;
    fs::permissions(path, fs::perms::owner_all);
}

// A script that puts what its commands print into the file "made" of its directory.
void writeReporter(const fs::path& path, const std::string& commands) {
    writeScript(path, "{ " + commands + "; } > made.tmp\nmv made.tmp made\n");
}

// A process that runs a program until the end of the test.
class RunningProgram {
  public:
    explicit RunningProgram(const fs::path& program) {
        int ends[2] = {};
        if (pipe(ends) != 0) return;
        child_ = startChild([&] {
            dup2(ends[0], STDIN_FILENO);
            close(ends[0]);
            close(ends[1]);
            execl(program.c_str(), program.c_str(), "-c", "read line", nullptr);
            return 1;
        });
        close(ends[0]);
        input_ = ends[1];
    }
    ~RunningProgram() {
        close(input_);
        exitCodeOf(child_);
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    // The program runs in the process only after its start.
    bool waitUntilItRuns(const fs::path& program) const {
        for (int i = 0; i < 3000; ++i) {
            std::error_code failed;
            const fs::path link = "/proc/" + std::to_string(child_) + "/exe";
            if (fs::read_symlink(link, failed) == fs::canonical(program, failed)) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

  private:
    pid_t child_ = -1;
    int input_ = -1;
};

// Changes how this process takes signals, for the time of a test.
class SignalSettings {
  public:
    SignalSettings() {
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        sigaddset(&blocked, SIGUSR2);
        pthread_sigmask(SIG_BLOCK, &blocked, &mask_);
        interrupt_ = signal(SIGINT, SIG_IGN);
        hangUp_ = signal(SIGHUP, SIG_IGN);
    }
    ~SignalSettings() {
        signal(SIGHUP, hangUp_);
        signal(SIGINT, interrupt_);
        pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
    }
    SignalSettings(const SignalSettings&) = delete;
    SignalSettings& operator=(const SignalSettings&) = delete;

  private:
    sigset_t mask_;
    void (*interrupt_)(int);
    void (*hangUp_)(int);
};

}  // namespace

TEST(IsProcessRunning, KnowsAProgramByItsFileNameHoweverLong) {
    const TemporaryFolder folder;
    const std::string name = "q7-" + folder.path().filename().string() + "-with a long name";
    const fs::path program = folder / name;
    fs::copy_file("/bin/sh", program);
    EXPECT_FALSE(platform::isProcessRunning(name));
    {
        const RunningProgram running(program);
        ASSERT_TRUE(running.waitUntilItRuns(program));
        EXPECT_TRUE(platform::isProcessRunning(name));
        EXPECT_FALSE(platform::isProcessRunning(name.substr(0, 15)));
        // As after an update of a program that runs.
        fs::remove(program);
        EXPECT_TRUE(platform::isProcessRunning(name));
    }
    EXPECT_FALSE(platform::isProcessRunning(name));
}

TEST(IsProcessRunning, KnowsAProcessByItsOwnNameWhileItRuns) {
    const std::string name = "q7 (" + std::to_string(getpid()) + ") x";
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = startChild([&] {
        prctl(PR_SET_NAME, name.c_str());
        if (write(ends[1], "x", 1) != 1) return 1;
        pause();
        return 0;
    });
    char ready = 0;
    ASSERT_EQ(read(ends[0], &ready, 1), 1);
    close(ends[0]);
    close(ends[1]);
    EXPECT_TRUE(platform::isProcessRunning(name));
    // Ended, and kept in the list by a parent that has not asked for it yet.
    kill(child, SIGKILL);
    siginfo_t details = {};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &details, WEXITED | WNOWAIT), 0);
    EXPECT_FALSE(platform::isProcessRunning(name));
    EXPECT_EQ(exitCodeOf(child), -1);
}

TEST(LaunchProgram, SplitsTheParametersAtBlanksAndStartsInTheDirectory) {
    const TemporaryFolder folder;
    writeReporter(folder / "program", "pwd -P; printf '%s\\n' \"$0\" $# \"$@\"");
    fs::create_directory(folder / "place");
    const fs::path before = fs::current_path();
    EXPECT_TRUE(launch(folder / "program", u"  -pluginFile=/a b/\u00E9 \t \"c ", folder / "place"));
    EXPECT_EQ(fs::current_path(), before);
    EXPECT_EQ(textThatComes(folder / "place" / "made"),
              fs::canonical(folder / "place").string() + "\n" + (folder / "program").string() +
                  "\n3\n-pluginFile=/a\nb/\xC3\xA9\n\"c\n");
}

TEST(LaunchProgram, TakesAPathWithBlanksAndNoParameters) {
    const TemporaryFolder folder;
    writeReporter(folder / "a program", "echo $#");
    EXPECT_TRUE(launch(folder / "a program", u"", folder.path()));
    EXPECT_EQ(textThatComes(folder / "made"), "0\n");
}

TEST(LaunchProgram, TakesARelativePathFromHere) {
    const TemporaryFolder folder;
    writeReporter(folder / "program", "echo here");
    fs::create_directory(folder / "place");
    const fs::path relative = fs::relative(folder / "program");
    ASSERT_TRUE(relative.is_relative());
    EXPECT_TRUE(launch(relative, u"", folder / "place"));
    EXPECT_EQ(textThatComes(folder / "place" / "made"), "here\n");
}

TEST(LaunchProgram, LeavesTheHostsInputSessionAndSignalSettingsBehind) {
    const TemporaryFolder folder;
    // The signals come first: the shell changes their settings when it has waited for a program. Two
    // of them the threads library keeps to itself and has ignored in whatever it starts. Of
    // /proc/PID/stat, the sixth is the session.
    writeReporter(folder / "program",
                  "while read -r name value; do case $name in "
                  "SigBlk:|SigIgn:) echo $name $((0x$value & ~0x180000000));; esac; "
                  "done < /proc/$$/status; "
                  "readlink /proc/$$/fd/0; read -r a b c d e session rest < /proc/$$/stat; "
                  "[ $session = $$ ] && echo own session; echo $Q7_TEST_VARIABLE");
    setenv("Q7_TEST_VARIABLE", "passed on", 1);
    {
        const SignalSettings settings;
        EXPECT_TRUE(launch(folder / "program", u"", folder.path()));
    }
    unsetenv("Q7_TEST_VARIABLE");
    EXPECT_EQ(textThatComes(folder / "made"),
              "SigBlk: 0\nSigIgn: 0\n/dev/null\nown session\npassed on\n");
}

TEST(LaunchProgram, KeepsTheHostsSignalSettings) {
    const TemporaryFolder folder;
    writeReporter(folder / "program", "echo x");
    sigset_t given;
    sigset_t before;
    sigset_t after;
    sigemptyset(&given);
    sigaddset(&given, SIGUSR2);
    pthread_sigmask(SIG_SETMASK, &given, &before);
    EXPECT_TRUE(launch(folder / "program", u"", folder.path()));
    EXPECT_FALSE(launch(folder / "missing", u"", folder.path()));
    pthread_sigmask(SIG_SETMASK, &before, &after);
    for (const int number : {SIGINT, SIGTERM, SIGCHLD, SIGUSR1, SIGUSR2}) {
        EXPECT_EQ(sigismember(&after, number), sigismember(&given, number)) << number;
    }
    textThatComes(folder / "made");
}

TEST(LaunchProgram, LeavesTheHostNoChild) {
    const TemporaryFolder folder;
    writeReporter(folder / "program", "echo x");
    writeScript(folder / "broken", "", "/missing/interpreter");
    EXPECT_TRUE(launch(folder / "program", u"", folder.path()));
    EXPECT_FALSE(launch(folder / "broken", u"", folder.path()));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    textThatComes(folder / "made");
}

TEST(LaunchProgram, WorksInAHostThatIgnoresItsChildren) {
    const TemporaryFolder folder;
    writeReporter(folder / "program", "echo x");
    const auto before = signal(SIGCHLD, SIG_IGN);
    EXPECT_TRUE(launch(folder / "program", u"", folder.path()));
    EXPECT_FALSE(launch(folder / "missing", u"", folder.path()));
    signal(SIGCHLD, before);
    EXPECT_EQ(textThatComes(folder / "made"), "x\n");
}

TEST(LaunchProgram, FailsWhereNothingCanStart) {
    const TemporaryFolder folder;
    writeScript(folder / "program", "");
    writeScript(folder / "broken", "", "/missing/interpreter");
    std::ofstream(folder / "data") << "#!/bin/sh\n";
    EXPECT_FALSE(launch(folder / "data", u"", folder.path()));
    EXPECT_FALSE(launch(folder / "broken", u"", folder.path()));
    EXPECT_FALSE(launch(folder.path(), u"", folder.path()));
    EXPECT_FALSE(launch("", u"", folder.path()));
    EXPECT_FALSE(launch(folder / "program", u"", folder / "missing"));
}

TEST(LaunchProgram, StartsHereWithoutADirectory) {
    const TemporaryFolder folder;
    const std::string made = (folder / "made").string();
    writeScript(folder / "program",
                "pwd -P > " + made + ".tmp\nmv " + made + ".tmp " + made + "\n");
    EXPECT_TRUE(launch(folder / "program", u"", ""));
    EXPECT_EQ(textThatComes(made), fs::current_path().string() + "\n");
}

#endif
