#include "api/convert.h"
#include "api/host_thread.h"
#include "link/launch.h"
#include "link/link_state.h"
#include "link/render_install.h"
#include "transport/sync_connection.h"

namespace {

ConnectRet toConnectRet(SyncResult result) {
    return static_cast<ConnectRet>(result);
}

}  // namespace

uint8_t SetQ7RenderPath(const Q7Char* path) {
    return SetRenderPath(toWide(path)) ? 1 : 0;
}

uint32_t StartLinkQ7Render(const Q7Char* pluginFile) {
    return static_cast<uint32_t>(startLink(toWide(pluginFile)));
}

uint32_t GetQ7RenderStatus(uint8_t* flag) {
    return linkState().renderStatus(flag);
}

uint32_t Q7GetRenderVersion(Q7Char* buffer, uint32_t size) {
    const WideString version = ReadInstalledVersion();
    // Callers rely on the test being against the length alone: it leaves no room for the terminator.
    if (buffer && size >= version.size()) copyOut(version, buffer);
    return static_cast<uint32_t>(version.size() + 1);
}

ConnectRet Connect(void* session) {
    return Q7RawSyncConnect(session);
}

ConnectRet Q7RawSyncConnect(void* session) {
    return toConnectRet(rawSyncConnect(coreOf(session)));
}

ConnectRet Q7ProcessedSyncConnect(void* session) {
    return toConnectRet(processedSyncConnect(coreOf(session)));
}

ConnectRet Q7GroupSyncConnect(void* session) {
    return toConnectRet(groupSyncConnect(coreOf(session)));
}

void DisConnect(void* session) {
    disconnect(coreOf(session));
}

uint8_t HasConnected(void* session) {
    return coreOf(session).connected ? 1 : 0;
}

int32_t GetSendModelType(void* session, const Q7Char* name) {
    return name ? askSendModelType(coreOf(session), toWide(name)) : 0;
}

void Q7SendRaw(void* session) {
    const HostThreadGuard guard;
    sendRaw(coreOf(session), sessionOf(session).sendSettings());
}

void SendModel(void* session) {
    Q7SendRaw(session);
}

void Q7SendProcessed(void* session) {
    const HostThreadGuard guard;
    sendProcessed(coreOf(session), sessionOf(session).sendSettings());
}
