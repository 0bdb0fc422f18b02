// Disks and users as they are on a bad day, for the time of a test.
#pragma once

#if !defined(_WIN32)

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

// A disk that is full: no file of this process takes more bytes.
class FullDisk {
  public:
    explicit FullDisk(std::size_t bytesLeft) : signal_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {bytesLeft, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, signal_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    rlimit before_ = {};
    void (*signal_)(int);
};

// A user to whom the folder is read-only. The system's administrator is none.
class ReadOnlyFolder {
  public:
    explicit ReadOnlyFolder(const std::filesystem::path& folder)
        : folder_(folder), user_(geteuid()) {
        constexpr uid_t nobody = 65534;
        std::filesystem::permissions(folder_, std::filesystem::perms(0555));
        if (user_ == 0) changed_ = seteuid(nobody) == 0;
    }
    ~ReadOnlyFolder() {
        if (changed_ && seteuid(user_) == 0) {
            // The system hides a process that was another user's from its own tools.
            prctl(PR_SET_DUMPABLE, 1);
        }
        std::filesystem::permissions(folder_, std::filesystem::perms(0755));
    }
    ReadOnlyFolder(const ReadOnlyFolder&) = delete;
    ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;

  private:
    std::filesystem::path folder_;
    uid_t user_;
    bool changed_ = false;
};

// A file that is as slow as a bad network: whoever opens it waits for the other side, and few bytes go at
// a time.
class SlowFile {
  public:
    explicit SlowFile(const std::filesystem::path& path) : path_(path) {
        mkfifo(path_.c_str(), 0600);
    }
    ~SlowFile() { end(); }
    SlowFile(const SlowFile&) = delete;
    SlowFile& operator=(const SlowFile&) = delete;

    // Reads to the end, or so many bytes and then goes.
    void read(std::size_t most = SIZE_MAX) {
        other_ = std::thread([this, most] {
            const int file = openEnd(O_RDONLY);
            char piece[700];
            for (ssize_t got = 1; got > 0 && read_.size() < most;) {
                std::this_thread::yield();
                got = ::read(file, piece, sizeof piece);
                if (got > 0) read_.append(piece, static_cast<std::size_t>(got));
            }
            close(file);
        });
    }
    // Writes the bytes in small pieces; half-way it does what a test wants it to.
    void write(
        const std::string& bytes, const std::function<void()>& halfway = [] {}) {
        other_ = std::thread([this, bytes, halfway] {
            const int file = openEnd(O_WRONLY);
            for (std::size_t done = 0; done < bytes.size();) {
                if (done >= bytes.size() / 2 && done < bytes.size() / 2 + 700) halfway();
                const std::size_t size = std::min<std::size_t>(700, bytes.size() - done);
                const ssize_t put = ::write(file, bytes.data() + done, size);
                if (put <= 0) break;
                done += static_cast<std::size_t>(put);
            }
            close(file);
        });
    }
    void end() {
        if (other_.joinable()) other_.join();
    }
    // What was read, at the end.
    const std::string& bytes() const { return read_; }

  private:
    // With as little between the two ends as the system allows.
    int openEnd(int mode) const {
        const int file = open(path_.c_str(), mode | O_CLOEXEC);
        fcntl(file, F_SETPIPE_SZ, 4096);
        return file;
    }

    std::filesystem::path path_;
    std::thread other_;
    std::string read_;
};

#endif
