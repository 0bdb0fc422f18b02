#include "platform/processes.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/files.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

bool isProcessFolder(const fs::path& path) {
    return path.filename().native().find_first_not_of("0123456789") == std::string::npos;
}

// The file name of the program that the process runs; empty for the processes of other users.
std::string programOf(const fs::path& process) {
    constexpr std::string_view deletedMark = " (deleted)";
    std::error_code failed;
    std::string program = fs::read_symlink(process / "exe", failed).filename();
    if (program.ends_with(deletedMark)) program.resize(program.size() - deletedMark.size());
    return program;
}

struct Status {
    std::string name;
    char state;
};

// From a line such as "17 (name) S ...", whose name may hold brackets of its own.
Status statusOf(const fs::path& process) {
    const File file(std::fopen((process / "stat").c_str(), "rbe"));
    std::string line(512, '\0');
    // Reads nothing when the process ends just now.
    line.resize(file ? std::fread(line.data(), 1, line.size(), file.get()) : 0);
    const std::size_t open = line.find('(');
    const std::size_t close = line.rfind(')');
    if (open == std::string::npos || close < open || close + 2 >= line.size()) return {{}, 'X'};
    return {line.substr(open + 1, close - open - 1), line[close + 2]};
}

// The process's own name counts too: it is all that can be seen of another user's process, and the
// file name of a script. But the system cuts it, and then the program's name tells better.
bool runs(const fs::path& process, std::string_view name) {
    const Status status = statusOf(process);
    if (status.state == 'Z' || status.state == 'X') return false;
    const std::string program = programOf(process);
    return program == name || (status.name == name && !program.starts_with(status.name));
}

std::vector<std::string> splitAtBlanks(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    std::vector<std::string> words;
    std::size_t begin = text.find_first_not_of(blanks);
    while (begin != std::string_view::npos) {
        const std::size_t end = text.find_first_of(blanks, begin);
        words.emplace_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(blanks, end);
    }
    return words;
}

bool isProgram(const std::string& path) {
    std::error_code failed;
    return fs::is_regular_file(path, failed) && access(path.c_str(), X_OK) == 0;
}

// How the program starts: in its directory, without the host's input, session and signal settings.
class StartSettings {
  public:
    explicit StartSettings(const std::string& directory) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        if (!directory.empty()) {
            posix_spawn_file_actions_addchdir_np(&actions_, directory.c_str());
        }
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigfillset(&signals);
        sigdelset(&signals, SIGKILL);
        sigdelset(&signals, SIGSTOP);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setflags(
            &attributes_, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~StartSettings() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }
    StartSettings(const StartSettings&) = delete;
    StartSettings& operator=(const StartSettings&) = delete;

    int start(const char* path, char* const* arguments) const {
        pid_t ignored = 0;
        return posix_spawn(&ignored, path, &actions_, &attributes_, arguments, environ);
    }

  private:
    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
};

// No signal reaches the thread while one of these lives.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before_;
};

bool endsWell(pid_t child) {
    int status = 0;
    pid_t result = 0;
    do {
        result = waitpid(child, &status, 0);
    } while (result < 0 && errno == EINTR);
    // A host that waits for any child may have taken the answer away; then nothing speaks against it.
    if (result < 0) return true;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Nobody will wait for the program, and as a child of the host it would stay in the list of
// processes after its end. So a child in between starts it and ends: from then on the program is the
// system's. The child runs none of the host's signal handlers and, as only one of the host's threads
// is in it, does no more than that; what needs memory is done before.
bool startOrphan(const StartSettings& settings, const char* path, char* const* arguments) {
    const SignalsBlocked blocked;
    const pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) _exit(settings.start(path, arguments) == 0 ? 0 : 1);
    return endsWell(child);
}

}  // namespace

bool isProcessRunning(std::string_view executableName) {
    // The system's own threads have no program.
    if (executableName.empty()) return false;
    std::error_code failed;
    fs::directory_iterator entry("/proc", failed);
    for (; !failed && entry != fs::directory_iterator(); entry.increment(failed)) {
        if (isProcessFolder(entry->path()) && runs(entry->path(), executableName)) return true;
    }
    return false;
}

bool launchProgram(const WideString& file, const WideString& parameters,
                   const WideString& directory) {
    std::error_code failed;
    const std::string path = fs::absolute(nativePath(file), failed);
    if (failed || !isProgram(path)) return false;
    std::vector<std::string> arguments = splitAtBlanks(wideToUtf8(parameters));
    arguments.insert(arguments.begin(), path);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return startOrphan(StartSettings(wideToUtf8(directory)), path.c_str(), pointers.data());
}

}  // namespace platform
