#include "api/convert.h"

void* CreateSession() {
    return new Session;
}

void DestroySession(void* session) {
    delete &sessionOf(session);
}

const char* Q7GetPluginVersion() {
    return "0.5.7.0";
}

void SetModelFilePath(void* session, const Q7Char* path) {
    sessionOf(session).setModelFilePath(toWide(path));
}

void SetRelevantModelFilePath(void* session, const Q7Char* path) {
    sessionOf(session).setRelevantModelFilePath(toWide(path));
}

void SetTextureFolder(void* session, const Q7Char* path) {
    sessionOf(session).core->model->textureFolder = toWide(path);
}

void SetGenMatInstances(void* session, uint8_t flag) {
    sessionOf(session).genMatInstances = flag != 0;
}

void Q7SetDccPluginInfo(const Q7Char* info) {
    dccPluginInfo() = toWide(info);
}

void Q7SetMaterialVersion(void* session, uint32_t version) {
    sessionOf(session).core->materialVersion = version;
}
