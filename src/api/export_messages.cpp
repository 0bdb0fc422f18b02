#include "api/convert.h"
#include "api/host_thread.h"
#include "messages/camera_messages.h"
#include "messages/scene_messages.h"

void SendCameraTransformFov(void* session, const char* transform, float fov) {
    sendCameraTransformFov(*sessionOf(session).core, transform, fov);
}

void Q7SendCamera(void* session) {
    const HostThreadGuard guard;
    sendCamera(*sessionOf(session).core);
}

void Q7SendMetaData(void* session) {
    const HostThreadGuard guard;
    sendMetaData(*sessionOf(session).core);
}

uint32_t Q7GetMetaData(void* session, Q7Char* buffer, uint32_t size) {
    const HostThreadGuard guard;
    const std::optional<WideString> answer = askMetaData(*sessionOf(session).core);
    if (!answer) return UINT32_MAX;
    if (buffer && size > answer->size()) copyOut(*answer, buffer);
    return static_cast<uint32_t>(answer->size() + 1);
}

void Q7SendScenes(void* session) {
    const HostThreadGuard guard;
    sendScenes(*sessionOf(session).core);
}

void Q7SendLights(void* session) {
    const HostThreadGuard guard;
    sendLights(*sessionOf(session).core);
}

void SendScenes(void* session, const Q7Char* text) {
    sendLegacyScenes(*sessionOf(session).core, toWide(text));
}

void SendLightsDataXml(void* /*session*/, const Q7Char* first, const Q7Char* second) {
    sendLightsDataXml(toWide(first), toWide(second));
}

void Q7SendCameraAnims(void* session) {
    const HostThreadGuard guard;
    if (session) sendCameraAnimations(*sessionOf(session).core);
}
