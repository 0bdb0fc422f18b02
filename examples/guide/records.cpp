// The small messages: metadata, camera, lights, scenes and a camera animation.
//
//   records PLUGIN_FILE
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "q7plugin.h"

#ifdef _WIN32
#define Q7_TEXT(literal) L##literal
#else
#define Q7_TEXT(literal) u##literal
#endif

namespace {

// The first argument of the property functions behind the session.
enum RecordType : std::uint32_t { Camera = 0, Light = 1, Scene = 2, Metadata = 3, Animation = 4 };

void setFloats(void* session, RecordType type, const Q7Char* name, const Q7Char* property,
               const std::array<float, 3>& values) {
    Q7SetEntityFloatArrayProperty(session, type, name, property, values.data(),
                                  static_cast<int>(values.size()));
}

void fillMetadataAndCamera(void* session) {
    // Of these two there is one each, so they have no names.
    Q7SetEntityStringProperty(session, Metadata, nullptr, Q7_TEXT("Author"),
                              Q7_TEXT("A. N. Other"));
    setFloats(session, Camera, nullptr, Q7_TEXT("Position"), {4, -6, 2});
    setFloats(session, Camera, nullptr, Q7_TEXT("Direction"), {-4, 6, -1});
    Q7SetEntityFloatProperty(session, Camera, nullptr, Q7_TEXT("FieldOfView"), 45);
}

void fillLightsAndScenes(void* session) {
    const Q7Char* const lamp = Q7_TEXT("Lamp");
    Q7AddLight(session, lamp);
    // The name only addresses the light: for the renderer to see it, it must be a property.
    Q7SetEntityStringProperty(session, Light, lamp, Q7_TEXT("Name"), lamp);
    Q7SetEntityFloatProperty(session, Light, lamp, Q7_TEXT("Intensity"), 800);
    Q7SetEntityStringProperty(session, Light, lamp, Q7_TEXT("Group"), Q7_TEXT("g1"));
    Q7SetPathElementName(session, Q7_TEXT("g1"), Q7_TEXT("Ground floor"));

    const Q7Char* const view = Q7_TEXT("View from the north");
    Q7AddScene(session, view);
    Q7SetEntityStringProperty(session, Scene, view, Q7_TEXT("Name"), view);
}

void fillAnimation(void* session) {
    const Q7Char* const flight = Q7_TEXT("Flight");
    Q7AddCameraAnims(session, flight);
    Q7SetEntityFloatProperty(session, Animation, flight, Q7_TEXT("Duration"), 2);
    for (const double time : {0.0, 1.0, 2.0}) {
        const int frame = Q7AddAnimEntityFrame(session, Animation, flight, time);
        // One point for each of x, y and z: value, then time and value of both tangents.
        const Q7AnimProperty place[] = {{time, time - 0.3, time, time + 0.3, time},
                                        {-6, time - 0.3, -6, time + 0.3, -6},
                                        {2, time - 0.3, 2, time + 0.3, 2}};
        Q7SetAnimArrayProperty(session, Animation, flight, Q7_TEXT("Position"), frame, place, 3);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::filesystem::path pluginFile = argv[1];
    const std::uint32_t result = StartLinkQ7Render(pluginFile.string<Q7Char>().c_str());
    if (result != 0) {
        std::fprintf(stderr, "records: no link (%u)\n", result);
        return 1;
    }
    const std::unique_ptr<void, void (*)(void*)> session(CreateSession(), DestroySession);
    SetModelFilePath(session.get(), Q7_TEXT("house.model"));
    fillMetadataAndCamera(session.get());
    fillLightsAndScenes(session.get());
    fillAnimation(session.get());

    // Each is a connection of its own; none goes while one for a model is open.
    Q7SendMetaData(session.get());
    Q7SendCamera(session.get());
    Q7SendLights(session.get());
    Q7SendScenes(session.get());
    Q7SendCameraAnims(session.get());
    return 0;
}
