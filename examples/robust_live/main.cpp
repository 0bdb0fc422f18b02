// A host that expects everything to fail: a scene to disk and to the renderer, and what the user is told.
//
//   robust_live PLUGIN_FILE FOLDER [SECONDS]
//
// Writes scene.q7mesh and scene.q7a into FOLDER, then sends the scene, and gives up when the renderer has
// not answered for SECONDS (60). Exit status: 0 all went well, 1 something failed, 3 the renderer does
// not answer.
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include "q7plugin.h"

#ifdef _WIN32
#define Q7_TEXT(literal) L##literal
#else
#define Q7_TEXT(literal) u##literal
#endif

namespace fs = std::filesystem;

namespace {

using HostText = std::basic_string<Q7Char>;
using Session = std::unique_ptr<void, void (*)(void*)>;

constexpr std::uint32_t statusLinked = 4;
constexpr std::uint32_t metadata = 3;
constexpr std::uint32_t noMessageMayGo = 0xFFFFFFFF;

HostText hostText(const fs::path& path) {
    return path.string<Q7Char>();
}

// A connection that is open is closed first, also on the way of an exception: it would stay open, and
// no message could go any more.
void endSession(void* session) {
    DisConnect(session);
    DestroySession(session);
}

// Sessions belong to one thread at a time: each task of this host builds its own.
void buildScene(void* session, const fs::path& texture) {
    const std::array<float, 16> place = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const std::array<float, 9> corners = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const Q7Char* const wood = Q7_TEXT("Wood");
    SetModelFilePath(session, Q7_TEXT("robust.model"));
    Q7SetMaterialVersion(session, 1);
    Q7AddMaterial(session, wood);
    Q7SetMaterialStringProperty(session, wood, Q7_TEXT("BaseColorTexture"),
                                hostText(texture).c_str());
    Q7BeginNode(session, Q7_TEXT("Node"), place.data(), Q7_TEXT("/Node"));
    MaxAddTriangle(session, wood, corners.data(), nullptr, nullptr);
    Q7EndNode(session);
}

/* ---- To disk. Each function gives what the user is told, or nothing when all went well. ---- */

// Goes through a stream by its own counts.
class StreamWalk {
  public:
    explicit StreamWalk(const fs::path& path) : in_(path, std::ios::binary) {}

    // Whether the stream ends where the file does. One that was cut ends before.
    bool endsAt(std::uintmax_t size) {
        word();  // the version
        text();  // the header
        for (std::uint32_t left = word(); in_ && left != 0; --left)
            texts();
        for (std::uint32_t left = word(); in_ && left != 0; --left) {
            texts();
            skip(64);
        }
        for (std::uint32_t left = word(); in_ && left != 0; --left)
            mesh();
        return in_ && static_cast<std::uintmax_t>(in_.tellg()) == size;
    }

  private:
    std::uint32_t word() {
        std::array<char, 4> bytes{};
        in_.read(bytes.data(), bytes.size());
        std::uint32_t value = 0;
        for (std::size_t i = bytes.size(); i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(bytes[i]);
        return value;
    }
    void skip(std::int64_t size) { in_.seekg(size, std::ios::cur); }
    void array(std::int64_t elementSize) { skip(elementSize * word()); }
    void text() { array(2); }
    void texts() {
        text();
        text();
    }
    void mesh() {
        text();
        for (const int elementSize : {4, 4, 4, 1, 4})
            array(elementSize);
    }

    std::ifstream in_;
};

std::string saveStream(void* session, const fs::path& path) {
    // Beside the file that may be there, so that a save that fails does not take it away.
    fs::path part = path;
    part += ".part";
    std::error_code error;
    fs::remove(part, error);
    Q7SaveRawToFile(session, hostText(part).c_str());
    const std::uintmax_t size = fs::file_size(part, error);
    if (error)
        return path.string() +
               " cannot be written: does the folder exist, and may you write there?";
    if (!StreamWalk(part).endsAt(size)) {
        fs::remove(part, error);
        return path.string() + " was not saved: the disk is full";
    }
    fs::rename(part, path, error);
    return error ? path.string() + " cannot be replaced: " + error.message() : std::string();
}

std::string saveArchive(void* session, const fs::path& path, const fs::path& stream,
                        const fs::path& texture) {
    if (!std::ifstream(texture)) return "the texture " + texture.string() + " cannot be read";
    const fs::path temporary = path.parent_path() / "__q7_export_temp";
    std::error_code error;
    if (fs::exists(fs::symlink_status(temporary, error)))
        return temporary.string() + " is in the way: remove what an earlier export left there";
    // What the disk has no room for is silently missing from the archive. The temporary folder
    // and the archive itself are there at the same time.
    const std::uintmax_t needed = 2 * (fs::file_size(stream) + fs::file_size(texture)) + (1U << 20);
    const fs::space_info space = fs::space(path.parent_path(), error);
    if (!error && space.available < needed)
        return path.string() + " was not made: the disk is almost full";
    if (Q7SaveRawToQ7a(session, hostText(path).c_str()) != 1)
        return path.string() + " could not be made: may you write there?";
    return {};
}

std::string saveAll(const fs::path& folder) try {
    const fs::path texture = folder / "wood.png";
    const Session session(CreateSession(), endSession);
    buildScene(session.get(), texture);
    const fs::path stream = folder / "scene.q7mesh";
    std::string fault = saveStream(session.get(), stream);
    if (fault.empty()) fault = saveArchive(session.get(), folder / "scene.q7a", stream, texture);
    return fault;
} catch (const std::exception& error) {
    return std::string("the scene was not saved: ") + error.what();
}

/* ---- To the renderer, on a thread of its own. ---- */

enum class Stage { Linking, Sending, Checking, Done };

const char* nameOf(Stage stage) {
    switch (stage) {
        case Stage::Linking:
            return "while the plug-in links to it";
        case Stage::Sending:
            return "while the scene is sent";
        default:
            return "when asked for what it has got";
    }
}

// What the worker tells the host. Both hold it: a worker that never comes back keeps it alive.
struct Job {
    std::mutex mutex;
    std::condition_variable changed;
    Stage stage = Stage::Linking;
    bool succeeded = false;
    std::string message;

    void enter(Stage next) {
        const std::lock_guard lock(mutex);
        stage = next;
        changed.notify_all();
    }
    void finish(bool success, const std::string& text) {
        const std::lock_guard lock(mutex);
        succeeded = success;
        message = text;
        stage = Stage::Done;
        changed.notify_all();
    }
};

const char* meaningOfLink(std::uint32_t result) {
    switch (result) {
        case 1:
            return "the renderer is not installed";
        case 3:
            return "the installed renderer is too old: please update it";
        case 4:
            return "the renderer takes no link now: try again later";
        case 5:
            return "the renderer is being updated: try again later";
        case 6:
            return "the renderer does not accept this plug-in";
        case 8:
            return "the renderer cannot be reached: does a firewall block 127.0.0.1?";
        default:
            return "the renderer did not start";
    }
}

// While the connection for a model is open no message may go. One that broke is open no more.
bool holdsConnection(void* session) {
    return Q7GetMetaData(session, nullptr, 0) == noMessageMayGo &&
           GetQ7RenderStatus(nullptr) == statusLinked;
}

// Sends the metadata with a text which no earlier message had. What else the host has set in the metadata
// goes with it.
HostText sendToken(void* session) {
    std::random_device random;
    const std::string number = std::to_string(random()) + '-' + std::to_string(random());
    HostText token(number.begin(), number.end());
    Q7SetEntityStringProperty(session, metadata, nullptr, Q7_TEXT("$q7SendToken"), token.c_str());
    Q7SendMetaData(session);
    return token;
}

// Sends nothing but the question: a renderer that was replaced must not learn the token.
bool holdsToken(void* session, const HostText& token) {
    // A longer answer is not stored, and counts as none.
    HostText answer(65536, Q7Char{});
    Q7GetMetaData(session, answer.data(), static_cast<std::uint32_t>(answer.size()));
    return answer.find(token) != HostText::npos;
}

void deliver(Job& job, const fs::path& pluginFile) {
    const Session session(CreateSession(), endSession);
    buildScene(session.get(), {});
    const std::uint32_t linked = StartLinkQ7Render(hostText(pluginFile).c_str());
    if (linked != 0) return job.finish(false, meaningOfLink(linked));

    job.enter(Stage::Checking);
    // A renderer that does not give it back now cannot be asked after the send either.
    const HostText token = sendToken(session.get());
    const bool canBeAsked = holdsToken(session.get(), token);

    job.enter(Stage::Sending);
    const ConnectRet accepted = Q7RawSyncConnect(session.get());
    if (accepted == ConnectRet_Failed)
        return job.finish(false, "the renderer went away, or did not understand the plug-in");
    if (accepted != ConnectRet_Accepted)
        return job.finish(false, "the renderer refused the scene: is it busy?");
    Q7SendRaw(session.get());
    const bool held = holdsConnection(session.get());
    DisConnect(session.get());
    if (!held && GetQ7RenderStatus(nullptr) == statusLinked)
        return job.finish(
            false,
            "the connection broke: the renderer may have all, a part or nothing of the "
            "scene, send again");
    if (!held) return job.finish(false, "the renderer ended: start it and send again");

    job.enter(Stage::Checking);
    if (!canBeAsked) return job.finish(true, "sent; the renderer does not say whether it arrived");
    if (!holdsToken(session.get(), token))
        return job.finish(false,
                          "the renderer ended while it got the scene: start it and send again");
    job.finish(true, "the scene arrived");
}

void work(const std::shared_ptr<Job>& job, const fs::path& pluginFile) try {
    deliver(*job, pluginFile);
} catch (const std::exception& error) {
    // An installed version that is no version, or no memory.
    job->finish(false, std::string("the scene was not sent: ") + error.what());
}

// Gives the stage that did not come to an end within the limit, or Done. A host with a user interface
// asks the job from a timer instead, shows its stage, and lets the user decide how long to wait.
Stage waitForEnd(Job& job, std::chrono::seconds limit) {
    std::unique_lock lock(job.mutex);
    for (Stage last = job.stage; last != Stage::Done; last = job.stage) {
        if (!job.changed.wait_for(lock, limit, [&] { return job.stage != last; })) break;
    }
    return job.stage;
}

int report(const std::string& message, int status) {
    std::fprintf(status == 0 ? stdout : stderr, "robust_live: %s\n", message.c_str());
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) return 2;
    const std::chrono::seconds limit(argc == 4 ? std::strtol(argv[3], nullptr, 10) : 60);
    const std::string fault = saveAll(fs::absolute(argv[2]).make_preferred());
    if (!fault.empty()) report(fault, 1);

    const auto job = std::make_shared<Job>();
    std::thread worker(work, job, fs::path(argv[1]));
    const Stage last = waitForEnd(*job, limit);
    if (last == Stage::Done) {
        worker.join();
        const int sent = report(job->message, job->succeeded ? 0 : 1);
        return fault.empty() ? sent : 1;
    }
    // Nothing interrupts the call. The worker and its session are left alone: the session is not destroyed,
    // and no other thread calls what the process has one of. Ending the renderer ends the wait of all calls but
    // StartLinkQ7Render: a plug-in asks the user to do that, and offers the link again when the job is
    // done.
    worker.detach();
    report(std::string("the renderer does not answer ") + nameOf(last) + ": end it, and send again",
           3);
    std::fflush(nullptr);
    // Without the destructors of statics, which the worker might be using when it wakes up now.
    std::_Exit(3);
}
