#include "link/launch.h"

#include <chrono>
#include <string>
#include <thread>

#include "link/link_state.h"
#include "link/render_install.h"
#include "link/render_socket.h"
#include "platform/processes.h"
#include "support/console.h"

namespace {

constexpr auto pollInterval = std::chrono::milliseconds(300);
constexpr auto retryInterval = std::chrono::milliseconds(3000);
constexpr int triesForTheBlock = 16;

void waitABit() {
    std::this_thread::sleep_for(pollInterval);
}

// The status as a poll sees it, printed for whoever watches the console.
std::int32_t pollStatus() {
    printLine("Sync status");
    linkState().readStatus(false);
    printLine(std::to_string(linkState().status));
    return linkState().status;
}

LinkResult lostBlock() {
    return IsUpdateRunning() ? LinkResult::UpdateRunning : LinkResult::Failed;
}

// With the renderer up: whether the handshake is over already, and how.
bool decidedAtOnce(LinkResult& result) {
    LinkState& state = linkState();
    if (state.renderPath.empty()) SetRenderPath({});
    result = LinkResult::UpdateRunning;
    if (IsUpdateRunning()) return true;
    result = LinkResult::Failed;
    if (!state.readPort() || !state.readStatus(false)) return true;
    result = LinkResult::Linked;
    if (state.status == RenderStatus::linked) return true;
    result = LinkResult::TakesNoLink;
    return state.status == RenderStatus::takesNoLink;
}

// With the renderer down: whether it could not be started, and why.
bool couldNotLaunch(LinkResult& result) {
    switch (LaunchRender()) {
        case 0:
            return false;
        case 1:
            result = LinkResult::NoInstallation;
            return true;
        case 2:
            result = LinkResult::UnusableVersion;
            return true;
        default:
            result = LinkResult::Failed;
            return true;
    }
}

void waitForTheBlock() {
    for (int tries = 1; !statusBlockExists() && tries < triesForTheBlock; ++tries)
        waitABit();
}

// False when the renderer's update took its place.
bool waitUntilReady() {
    while (pollStatus() != RenderStatus::waitsForPluginFile) {
        if (IsUpdateRunning()) return false;
        waitABit();
    }
    return true;
}

LinkResult handOver() {
    RenderSocket& link = renderSocket();
    LinkState& state = linkState();
    if (state.port == noPort) return LinkResult::NoPort;
    if (!SocketConnect(link, state.port)) {
        CloseLink(link);
        printLine("Socket cannot connect!");
        return LinkResult::NoPort;
    }
    SendWord(link, static_cast<std::uint32_t>(CommandWord::PluginFile));
    SendString(link, state.pluginFile);
    CloseLink(link);
    return LinkResult::Linked;
}

LinkResult waitUntilLinked() {
    const LinkState& state = linkState();
    for (;;) {
        waitABit();
        if (!linkState().readStatus(true)) return lostBlock();
        // A raised flag counts more than the status.
        if ((state.linkFlag & 0xFF) != 0) return LinkResult::HandOverRefused;
        if (state.status == RenderStatus::linked) return LinkResult::Linked;
    }
}

}  // namespace

bool IsUpdateRunning() {
    return platform::isProcessRunning("kua.exe") && !platform::isProcessRunning("q7_launcher.exe");
}

int LaunchRender() {
    LinkState& state = linkState();
    if (state.renderPath.empty()) state.renderPath = FindInstallFolder();
    if (state.renderPath.empty()) return 1;
    if (!IsInstalledVersionUsable()) return 2;
    printLine("StartQ7Render\n");
    // Launchers have always got the file without quotes, one with blanks as several arguments.
    const WideString parameters = u"-pluginFile=" + state.pluginFile;
    return platform::launchProgram(launcherPath(state.renderPath), parameters, state.renderPath)
               ? 0
               : 3;
}

LinkResult LinkToRender() {
    LinkState& state = linkState();
    LinkResult result = LinkResult::Failed;
    if (statusBlockExists() ? decidedAtOnce(result) : couldNotLaunch(result)) return result;
    waitForTheBlock();
    if (!waitUntilReady()) return LinkResult::UpdateRunning;
    if (pollStatus() != RenderStatus::waitsForPluginFile) return LinkResult::Failed;
    while (!state.readPort()) {
        waitABit();
        if (!state.readStatus(false)) return lostBlock();
    }
    result = handOver();
    return result == LinkResult::Linked ? waitUntilLinked() : result;
}

LinkResult startLink(const WideString& pluginFile) {
    linkState().pluginFile = pluginFile;
    const LinkResult first = LinkToRender();
    if (first != LinkResult::Failed) return first;
    std::this_thread::sleep_for(retryInterval);
    return LinkToRender();
}
