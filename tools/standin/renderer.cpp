#include "standin/renderer.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "common/files.h"
#include "common/text_output.h"
#include "platform/instance_lock.h"
#include "platform/listener.h"
#include "platform/render_windows.h"
#include "standin/message_log.h"
#include "standin/message_store.h"
#include "standin/published_blocks.h"
#include "standin/socket_channel.h"
#include "standin/window_names.h"

namespace q7standin {

using q7tools::FileError;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint16_t linkedStatus = 4;
constexpr WideView lockName = u"q7_standin_runs";

// Something keeps the renderer from running at all.
class CannotRun : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Listener {
  public:
    Listener() {
        platform::startSockets();
        socket_ = platform::listenOnLoopback();
        if (socket_ == platform::noSocket) throw CannotRun("no port of 127.0.0.1 can be opened");
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { platform::closeSocket(socket_); }

    std::uint16_t port() const { return platform::portOf(socket_); }
    bool isAnyWaiting() const { return platform::waitForData(socket_, 0); }
    platform::SocketHandle accept(int milliseconds) const {
        return platform::acceptClient(socket_, milliseconds);
    }

  private:
    platform::SocketHandle socket_ = platform::noSocket;
};

std::unique_ptr<platform::RenderWindows> showWindows(const Window& window) {
    if (!platform::hasFindableWindows()) {
        throw CannotRun("--window: windows that plug-ins can find exist on Windows only");
    }
    auto windows = platform::RenderWindows::show(
        {WideString(topWindowClass), WideString(topWindowTitles.at(window.title))},
        {WideString(viewportClass), WideString(viewportTitles.at(window.viewportTitle))},
        window.width, window.height);
    if (!windows) throw CannotRun("--window: no window can be shown; is there a display?");
    return windows;
}

class TranscriptFile {
  public:
    explicit TranscriptFile(const std::optional<std::filesystem::path>& path) {
        if (!path) return;
        errno = 0;
        file_.open(*path, std::ios::binary | std::ios::trunc);
        if (file_) return;
        const int error = errno;
        throw FileError(*path, "cannot be written: " + std::generic_category().message(error));
    }

    std::ostream* stream() { return file_.is_open() ? &file_ : nullptr; }

  private:
    std::ofstream file_;
};

class Renderer {
  public:
    Renderer(const Options& options, const Surroundings& surroundings, platform::InstanceLock lock)
        : options_(options),
          surroundings_(surroundings),
          lock_(std::move(lock)),
          log_(surroundings.out, surroundings.errors, options.quiet, [this] { return seconds(); }),
          store_(options.out),
          previews_(previewsOf(options)),
          transcriptFile_(options.transcript),
          transcript_(transcriptFile_.stream()),
          behaviour_(
              options.misbehaviour, transcript_, log_, [this](int time) { pause(time); },
              surroundings.die),
          services_{.answers = options.answers,
                    .patience = options.patience,
                    .idleTime = options.idleTime,
                    .checkArrays = options.checkArrays,
                    .log = log_,
                    .store = store_,
                    .behaviour = behaviour_,
                    .transcript = transcript_,
                    .openModelBlock = openSharedModelBlock,
                    .previews = previews_ ? &*previews_ : nullptr,
                    .isAnotherWaiting = [this] { return listener_ && listener_->isAnyWaiting(); },
                    .pluginFileArrived = [this](const WideString& file) { takePlugin(file); }} {}

    int run() {
        try {
            start();
            serve();
        } catch (const Stopped&) {
            log_.note(surroundings_.wasInterrupted() ? "interrupted" : "the time is up");
        }
        blocks_.reset();
        listener_.reset();
        windows_.reset();
        // The next renderer need not wait for the pictures.
        lock_.reset();
        if (previews_) previews_->finish([this] { return shouldStop(); });
        return finish();
    }

  private:
    std::optional<Previews> previewsOf(const Options& options) {
        if (!options.preview) return std::nullopt;
        return std::optional<Previews>(std::in_place, *options.preview, store_, log_);
    }

    void start() {
        const Publication& publication = options_.publication;
        if (options_.window) {
            windows_ = showWindows(*options_.window);
            log_.note("shows a window with a viewport of " +
                      std::to_string(options_.window->width) + 'x' +
                      std::to_string(options_.window->height));
        }
        if (options_.launchedWith) {
            log_.note("launched with the plug-in file \"" + *options_.launchedWith + '"');
        }
        pause(publication.startupDelay);
        if (!publication.port) listener_.emplace();
        const std::uint16_t port = publication.port ? *publication.port : listener_->port();
        const bool isSlow = publication.statusDelay > 0;
        blocks_ = PublishedBlocks::publish(port, isSlow ? std::uint16_t{0} : publication.status,
                                           publication.flag);
        if (!blocks_) throw CannotRun("its shared blocks cannot be made");
        pause(publication.statusDelay);
        blocks_->setStatus(publication.status);
        log_.note("status " + std::to_string(publication.status) + ", port " +
                  std::to_string(port) + (listener_ ? "" : ", which nobody listens on"));
        if (options_.readyFile) {
            q7tools::writeWholeFile(*options_.readyFile, std::to_string(port) + '\n');
        }
    }

    void serve() {
        while (!options_.connections || connections_ < *options_.connections) {
            stopIfAsked();
            if (!listener_) {
                std::this_thread::sleep_for(std::chrono::milliseconds(waitSlice));
                continue;
            }
            const platform::SocketHandle client = listener_->accept(waitSlice);
            if (client != platform::noSocket) {
                serveClient(client);
            } else if (previews_) {
                previews_->goOn();
            }
        }
    }

    void serveClient(platform::SocketHandle client) {
        const std::uint64_t number = ++connections_;
        transcript_.connectionBegins(number);
        std::string how = "stopped";
        try {
            SocketChannel channel(client, [this] { return shouldStop(); });
            ConnectionReader reader(channel, transcript_);
            Connection connection{number, channel, reader, services_};
            how = serveConnection(connection);
        } catch (const ClosedOnPurpose&) {
            how = "closed on purpose";
            log_.note("connection " + std::to_string(number) + " was closed on purpose");
        }
        transcript_.connectionEnds(number, how);
    }

    void takePlugin(const WideString& file) {
        const Publication& publication = options_.publication;
        if (options_.launchedWith && *options_.launchedWith != q7tools::allToUtf8(file)) {
            log_.note("that is not the plug-in file that the launcher was given");
        }
        pause(publication.linkDelay);
        // Clients look at the flag first, and at its low byte alone.
        const std::uint16_t flag = publication.flagAfterPlugin.value_or(0);
        if (publication.flagAfterPlugin) blocks_->setFlag(flag);
        if (publication.statusAfterPlugin) {
            blocks_->setStatus(*publication.statusAfterPlugin);
        } else if ((flag & 0xFF) == 0) {
            blocks_->setStatus(linkedStatus);
        }
    }

    int finish() {
        surroundings_.out << log_.closingLine(connections_) << std::flush;
        if (options_.connections && connections_ < *options_.connections) {
            surroundings_.errors << q7tools::errorLine("q7-standin", "connections",
                                                       "expected " +
                                                           std::to_string(*options_.connections) +
                                                           ", got " + std::to_string(connections_));
            return exitFaults;
        }
        return log_.protocolErrorCount() == 0 ? exitGood : exitFaults;
    }

    double seconds() const {
        return std::chrono::duration<double>(Clock::now() - startTime_).count();
    }

    bool shouldStop() const {
        return surroundings_.wasInterrupted() ||
               (options_.exitAfter && seconds() * 1000 >= *options_.exitAfter);
    }

    void stopIfAsked() const {
        if (shouldStop()) throw Stopped();
    }

    void pause(int milliseconds) const {
        const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
        while (Clock::now() < end) {
            stopIfAsked();
            const auto left = end - Clock::now();
            std::this_thread::sleep_for(
                std::min<Clock::duration>(left, std::chrono::milliseconds(waitSlice)));
        }
    }

    const Options& options_;
    const Surroundings& surroundings_;
    std::optional<platform::InstanceLock> lock_;
    Clock::time_point startTime_ = Clock::now();
    MessageLog log_;
    MessageStore store_;
    std::optional<Previews> previews_;
    TranscriptFile transcriptFile_;
    Transcript transcript_;
    Behaviour behaviour_;
    Services services_;
    std::optional<Listener> listener_;
    std::optional<PublishedBlocks> blocks_;
    std::unique_ptr<platform::RenderWindows> windows_;
    std::uint64_t connections_ = 0;
};

int runAlone(const Options& options, const Surroundings& surroundings) {
    auto lock = platform::InstanceLock::take(lockName);
    if (!lock) throw CannotRun("another q7-standin runs on this machine");
    if (isRendererAlive()) throw CannotRun("a renderer runs on this machine");
    return Renderer(options, surroundings, std::move(*lock)).run();
}

}  // namespace

int runRenderer(const Options& options, const Surroundings& surroundings) {
    try {
        return runAlone(options, surroundings);
    } catch (const CannotRun& error) {
        surroundings.errors << q7tools::errorLine("q7-standin", "cannot start", error.what());
    } catch (const FileError& error) {
        surroundings.errors << q7tools::errorLine("q7-standin", error.file(), error.what());
    }
    return exitFailure;
}

}  // namespace q7standin
