// The stand-in renderer on a thread of this process, and what it has received.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "standin/renderer.h"

namespace q7fuzz {

class StandIn {
  public:
    // Throws std::runtime_error when it cannot run, as where another renderer runs.
    explicit StandIn(const std::filesystem::path& folder) : folder_(folder) {
        thread_ = std::thread([this] { run(); });
        if (waitFor([this] { return exists(folder_ / "ready") || ended_; }) && !ended_) return;
        stop_ = true;
        thread_.join();
        throw std::runtime_error("the stand-in does not run: " + errors_.str());
    }
    ~StandIn() {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
    }
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    // The message of a kind that comes next, in a file; take it away after use.
    std::filesystem::path next(const std::string& kind) {
        std::filesystem::path found;
        const bool came = waitFor([&] {
            found = firstOf('-' + kind + '.');
            return !found.empty();
        });
        if (!came) throw std::runtime_error("no " + kind + " arrived");
        return found;
    }
    std::string nextText(const std::string& kind) {
        const std::filesystem::path file = next(kind);
        // Windows lets nobody open a file for a moment after it got its name.
        std::ifstream stream;
        waitFor([&] {
            stream.open(file, std::ios::binary);
            return stream.is_open();
        });
        std::string text{std::istreambuf_iterator<char>(stream), {}};
        stream.close();
        std::filesystem::remove(file);
        return text;
    }

    // Throws std::runtime_error when something arrived that breaks the protocol.
    void end() {
        stop_ = true;
        thread_.join();
        if (exitCode_ != q7standin::exitGood) throw std::runtime_error(out_.str() + errors_.str());
    }

  private:
    void run() {
        q7standin::Options options;
        options.publication.status = 4;
        options.quiet = true;
        options.checkArrays = false;
        options.out = folder_ / "received";
        options.readyFile = folder_ / "ready";
        try {
            exitCode_ = q7standin::runRenderer(
                options, {out_, errors_, [this] { return stop_.load(); }, [] {}});
        } catch (const std::exception& error) {
            errors_ << error.what();
        }
        ended_ = true;
    }
    template <class Condition>
    static bool waitFor(const Condition& holds) {
        using namespace std::chrono;
        const auto end = steady_clock::now() + seconds(60);
        while (!holds()) {
            if (steady_clock::now() > end) return false;
            std::this_thread::sleep_for(microseconds(200));
        }
        return true;
    }
    // What tells nothing that the others do not.
    static bool isAside(const std::string& name) {
        return name == "sync.json" || name == "metadata-request.json" ||
               name == "instance-paths.json" || name == "send-model-type.json" ||
               name == "plugin-file.json";
    }
    // Names begin with a number of at least four digits.
    std::filesystem::path firstOf(const std::string& kind) const {
        std::map<std::uint64_t, std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder_ / "received")) {
            const std::string name = entry.path().filename().string();
            const auto at = name.find('-');
            if (at == std::string::npos) continue;
            if (name.compare(at, kind.size(), kind) == 0)
                found.emplace(std::stoull(name), entry.path());
            if (isAside(name.substr(at + 1))) std::filesystem::remove(entry.path());
        }
        return found.empty() ? std::filesystem::path() : found.begin()->second;
    }

    std::filesystem::path folder_;
    std::ostringstream out_;
    std::ostringstream errors_;
    int exitCode_ = q7standin::exitFailure;
    std::atomic<bool> stop_ = false;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

}  // namespace q7fuzz
