// The exports as a table, so that one session can be run through a library that was just loaded and
// through the library's own objects.
#pragma once

#include <string>

#include "q7plugin.h"
#include "tests/platform/loaded_library.h"

// Those that have plain names on every system.
#define Q7_EXPORTS_IN_USE(X)       \
    X(AddMaterial)                 \
    X(AddScene)                    \
    X(Connect)                     \
    X(CreateSession)               \
    X(DestroySession)              \
    X(DisConnect)                  \
    X(GetQ7RenderStatus)           \
    X(GetSendModelType)            \
    X(MaxAddIndexTriangles)        \
    X(MaxAddTriangle)              \
    X(MaxAddTriangles)             \
    X(MaxDeleteNode)               \
    X(MaxDuplicateNode)            \
    X(Q7AddAnimEntityFrame)        \
    X(Q7AddCameraAnims)            \
    X(Q7AddLight)                  \
    X(Q7AddMaterial)               \
    X(Q7AddScene)                  \
    X(Q7BeginNode)                 \
    X(Q7BeginNodeHint)             \
    X(Q7DuplicateNode)             \
    X(Q7EndNode)                   \
    X(Q7FindAnimEntityFrame)       \
    X(Q7GetLogDir)                 \
    X(Q7GetMetaData)               \
    X(Q7GetRenderVersion)          \
    X(Q7InstanceCount)             \
    X(Q7ProcessedSyncConnect)      \
    X(Q7SaveExtToQ7a)              \
    X(Q7SaveMaterialToFile)        \
    X(Q7SaveProcessedToFile)       \
    X(Q7SaveProcessedToQ7a)        \
    X(Q7SaveRawToFile)             \
    X(Q7SaveRawToQ7a)              \
    X(Q7SendCamera)                \
    X(Q7SendCameraAnims)           \
    X(Q7SendLights)                \
    X(Q7SendMetaData)              \
    X(Q7SendProcessed)             \
    X(Q7SendRaw)                   \
    X(Q7SendScenes)                \
    X(Q7SetAnimProperty)           \
    X(Q7SetDccPluginInfo)          \
    X(Q7SetEntityFloatProperty)    \
    X(Q7SetEntityIntProperty)      \
    X(Q7SetEntityStringProperty)   \
    X(Q7SetMaterialFloatProperty)  \
    X(Q7SetMaterialIntProperty)    \
    X(Q7SetMaterialStringProperty) \
    X(Q7SetMaterialType)           \
    X(Q7SetMaterialVersion)        \
    X(Q7SetPathElementName)        \
    X(SetGenMatInstances)          \
    X(SetModelFilePath)            \
    X(SetTextureFolder)

struct Exports {
#define Q7_MEMBER(name) decltype(&::name) name = nullptr;
    Q7_EXPORTS_IN_USE(Q7_MEMBER)
#undef Q7_MEMBER

    // The name of one that is missing; empty when all are there.
    std::string missing() const {
#define Q7_TEST(name) \
    if (name == nullptr) return #name;
        Q7_EXPORTS_IN_USE(Q7_TEST)
#undef Q7_TEST
        return {};
    }
};

// Those of a library, as long as it is loaded.
inline Exports exportsOf(const LoadedLibrary& library) {
    Exports exports;
#define Q7_FIND(name) exports.name = library.find<decltype(::name)>(#name);
    Q7_EXPORTS_IN_USE(Q7_FIND)
#undef Q7_FIND
    return exports;
}
