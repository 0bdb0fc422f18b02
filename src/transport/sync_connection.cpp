#include "transport/sync_connection.h"

#include "link/link_state.h"
#include "link/render_install.h"
#include "transport/q7_sync.h"

namespace {

SyncResult request(SessionCore& core, CommandWord word) {
    return SyncRequest(core, linkState().port, word);
}

}  // namespace

SyncResult rawSyncConnect(SessionCore& core) {
    const bool takesPaths = IsVersionAtLeast(ReadInstalledVersion(), versionWithPaths);
    return request(core, takesPaths ? CommandWord::RawSyncWithPaths : CommandWord::PlainSync);
}

SyncResult processedSyncConnect(SessionCore& core) {
    if (!core.relevantPath) return request(core, CommandWord::PlainSync);
    core.proxyParent = u"proxyparent=" + linkState().modelFilePath;
    return request(core, CommandWord::RelevantSync);
}

SyncResult groupSyncConnect(SessionCore& core) {
    return request(core, CommandWord::GroupSync);
}

void disconnect(SessionCore& core) {
    if (!core.connected) return;
    CloseLink(renderSocket());
    core.connected = false;
}

std::int32_t askSendModelType(SessionCore& core, WideView name) {
    RenderSocket& link = renderSocket();
    if (link.connected) return 0;
    SocketConnect(link, linkState().port);
    const ByteWriter writer = Q7Sync::toSocket();
    Q7Sync::writeWord(static_cast<std::uint32_t>(CommandWord::SendModelType), writer);
    Q7Sync::writeWideString(WideString(name), writer);
    std::uint32_t answer = 0;
    const bool answered = ReceiveWord(link, answer);
    CloseLink(link);
    const auto type = static_cast<std::int32_t>(answer);
    core.sendModelType = answered && type >= 0 ? type : 0;
    return core.sendModelType;
}
