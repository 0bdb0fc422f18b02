// What a host loads: one function that hands over a triangle and saves it.
#include <exception>

#include "q7plugin.h"

#ifdef _WIN32
#define EXPORTED __declspec(dllexport)
#define Q7_TEXT(literal) L##literal
#else
#define EXPORTED __attribute__((visibility("default")))
#define Q7_TEXT(literal) u##literal
#endif

namespace {

void saveScene(void* session) {
    const float place[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const float corners[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    Q7BeginNode(session, Q7_TEXT("Node"), place, Q7_TEXT("/Node"));
    MaxAddTriangle(session, Q7_TEXT("Red"), corners, nullptr, nullptr);
    Q7EndNode(session);
    Q7SaveRawToFile(session, Q7_TEXT("scene.q7mesh"));
}

}  // namespace

// Gives the number of instances, or -1. No exception of the library may reach a host that calls from C.
extern "C" EXPORTED int exportScene() try {
    void* session = CreateSession();
    saveScene(session);
    const int instances = static_cast<int>(Q7InstanceCount(session));
    DestroySession(session);
    return instances;
} catch (const std::exception&) {
    return -1;
}
