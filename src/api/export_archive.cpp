#include "api/convert.h"
#include "api/host_thread.h"
#include "archive/external_archive.h"
#include "archive/model_archive.h"

namespace {

uint8_t saveModel(void* session, const Q7Char* path, bool processed) {
    const HostThreadGuard guard;
    const Session& source = sessionOf(session);
    return saveToQ7a(*source.core, source.streamSettings(), toWide(path), processed) ? 1 : 0;
}

}  // namespace

uint8_t Q7SaveRawToQ7a(void* session, const Q7Char* path) {
    return saveModel(session, path, false);
}

uint8_t Q7SaveProcessedToQ7a(void* session, const Q7Char* path) {
    return saveModel(session, path, true);
}

uint8_t Q7SaveExtToQ7a(void* session, const Q7Char* externalFile, const Q7Char* path) {
    const HostThreadGuard guard;
    return saveExtToQ7a(*sessionOf(session).core, toWide(externalFile), toWide(path)) ? 1 : 0;
}
