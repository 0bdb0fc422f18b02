// Programs that a test runs beside itself. Each is ended by its own process id when the test is over,
// however it is over.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/text.h"
#include "tests/read_file.h"

#if defined(_WIN32)
#include <windows.h>
// Needs windows.h first.
#include <tlhelp32.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

// Whether it became so within a time that is long enough for any machine.
inline bool becomesTrue(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// A program that the test itself starts, without input; what it prints goes into a file.
class ChildProgram {
  public:
    // The arguments hold no quotation marks.
    ChildProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                 const std::filesystem::path& folder)
        : printed_(folder / "printed.txt") {
        start(program, arguments, folder);
    }
    ~ChildProgram() {
        if (hasEnded()) return;
        kill();
        EXPECT_TRUE(becomesTrue([this] { return hasEnded(); }));
    }
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    // Waits for its end; nothing when it does not end.
    std::optional<int> exitCode() {
        becomesTrue([this] { return hasEnded(); });
        return exitCode_;
    }
    std::string printed() const { return readFile(printed_); }

#if defined(_WIN32)
    bool hasEnded() {
        DWORD code = 0;
        if (!exitCode_ && WaitForSingleObject(process_, 0) == WAIT_OBJECT_0 &&
            GetExitCodeProcess(process_, &code)) {
            exitCode_ = static_cast<int>(code);
            CloseHandle(process_);
        }
        return exitCode_.has_value();
    }

  private:
    static std::wstring native(const std::string& text) {
        const WideString wide = utf8ToWide(text);
        return {wide.begin(), wide.end()};
    }
    void start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& folder) {
        std::wstring line = L'"' + program.native() + L'"';
        for (const std::string& argument : arguments)
            line += L" \"" + native(argument) + L'"';
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        HANDLE const out = CreateFileW(printed_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited,
                                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        STARTUPINFOW settings = {};
        settings.cb = sizeof settings;
        settings.dwFlags = STARTF_USESTDHANDLES;
        settings.hStdOutput = out;
        settings.hStdError = out;
        PROCESS_INFORMATION started = {};
        // Under Wine a start fails with this error now and then, and the next one works.
        DWORD error = ERROR_INTERNAL_ERROR;
        for (int attempt = 0; attempt < 5 && error == ERROR_INTERNAL_ERROR; ++attempt) {
            error = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                                   CREATE_NO_WINDOW, nullptr, folder.c_str(), &settings, &started)
                        ? ERROR_SUCCESS
                        : GetLastError();
        }
        CloseHandle(out);
        if (error != ERROR_SUCCESS) {
            ADD_FAILURE() << program << " cannot be started, error " << error;
            exitCode_ = -1;
            return;
        }
        CloseHandle(started.hThread);
        process_ = started.hProcess;
    }
    void kill() {
        TerminateProcess(process_, 9);
    }

    HANDLE process_ = nullptr;
#else
    bool hasEnded() {
        int status = 0;
        if (!exitCode_ && waitpid(process_, &status, WNOHANG) == process_) {
            exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        }
        return exitCode_.has_value();
    }

  private:
    void start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& folder) {
        std::vector<std::string> words = {program.string()};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> pointers;
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, printed_.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
        const int error = posix_spawn(&process_, words.front().c_str(), &actions, nullptr,
                                      pointers.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (error == 0) return;
        ADD_FAILURE() << program << " cannot be started, error " << error;
        exitCode_ = -1;
    }
    void kill() {
        ::kill(process_, SIGKILL);
    }

    pid_t process_ = -1;
#endif

    std::filesystem::path printed_;
    std::optional<int> exitCode_;
};

// The processes of a program that somebody else starts from a file that only this test has.
class ProcessesOfProgram {
  public:
    explicit ProcessesOfProgram(const std::filesystem::path& program)
        : program_(std::filesystem::canonical(program)) {}
    ~ProcessesOfProgram() {
        for (const Id id : ids())
            kill(id);
        EXPECT_TRUE(end()) << program_;
    }
    ProcessesOfProgram(const ProcessesOfProgram&) = delete;
    ProcessesOfProgram& operator=(const ProcessesOfProgram&) = delete;

    std::size_t count() const { return ids().size(); }
    // Waits until none runs; false when one does not end.
    bool end() const {
        return becomesTrue([this] { return count() == 0; });
    }

  private:
#if defined(_WIN32)
    using Id = DWORD;

    bool isOurs(Id id) const {
        HANDLE const process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id);
        if (process == nullptr) return false;
        std::wstring path(1024, L'\0');
        DWORD size = static_cast<DWORD>(path.size());
        const bool isKnown = QueryFullProcessImageNameW(process, 0, path.data(), &size) != 0;
        CloseHandle(process);
        path.resize(isKnown ? size : 0);
        std::error_code ignored;
        return isKnown && std::filesystem::equivalent(path, program_, ignored);
    }
    std::vector<Id> ids() const {
        std::vector<Id> found;
        HANDLE const list = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
        if (list == INVALID_HANDLE_VALUE) return found;
        PROCESSENTRY32W process = {};
        process.dwSize = sizeof process;
        for (BOOL more = Process32FirstW(list, &process); more;
             more = Process32NextW(list, &process)) {
            if (program_.filename() == process.szExeFile && isOurs(process.th32ProcessID)) {
                found.push_back(process.th32ProcessID);
            }
        }
        CloseHandle(list);
        return found;
    }
    static void kill(Id id) {
        HANDLE const process = OpenProcess(PROCESS_TERMINATE, FALSE, id);
        if (process == nullptr) return;
        TerminateProcess(process, 9);
        CloseHandle(process);
    }
#else
    using Id = pid_t;

    std::vector<Id> ids() const {
        std::vector<Id> found;
        std::error_code failed;
        for (const auto& entry : std::filesystem::directory_iterator("/proc", failed)) {
            const std::string name = entry.path().filename().string();
            if (name.find_first_not_of("0123456789") != std::string::npos) continue;
            std::error_code ignored;
            // One that has ended and that nobody has waited for runs no file.
            if (std::filesystem::read_symlink(entry.path() / "exe", ignored) == program_) {
                found.push_back(static_cast<Id>(std::stol(name)));
            }
        }
        return found;
    }
    static void kill(Id id) {
        ::kill(id, SIGKILL);
    }
#endif

    std::filesystem::path program_;
};
