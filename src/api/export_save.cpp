#include "api/convert.h"
#include "api/host_thread.h"

void Q7SaveRawToFile(void* session, const Q7Char* path) {
    const HostThreadGuard guard;
    const Session& source = sessionOf(session);
    Q7Sync::saveRaw(*source.core->model, source.streamSettings(), toWide(path));
}

void SaveToFile(void* session, const Q7Char* path) {
    Q7SaveRawToFile(session, path);
}

void Q7SaveProcessedToFile(void* session, const Q7Char* path) {
    const HostThreadGuard guard;
    const Session& source = sessionOf(session);
    Q7Sync::saveProcessed(*source.core->model, source.streamSettings(), toWide(path));
}
