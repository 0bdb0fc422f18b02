// A host of the MinGW ABI by clang, which has its own way with names that are no identifiers and, where
// told so, takes functions of C linkage for functions that never throw, as MSVC under /EHsc does. It
// calls every function whose name encodes its argument types.

#include <cstdio>
#include <stdexcept>
#include <string_view>

#include "q7plugin.h"

namespace {

template <class Exception, class Call>
bool throws(const Call& call, std::string_view text) {
    try {
        call();
    } catch (const Exception& exception) {
        return exception.what() == text;
    }
    return false;
}

// Nobody listens at the port that a new process knows, which counts as connected.
bool connects(void* session) {
    const bool connected =
        Q7GroupSyncConnect(session) == ConnectRet_Accepted && HasConnected(session) == 1;
    DisConnect(session);
    return connected;
}

int failed(const char* what) {
    std::fprintf(stderr, "failed: %s\n", what);
    return 1;
}

}  // namespace

int main() {
    float corners[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    void* const session = CreateSession();
    AddMesh(session, L"mesh", corners, 9, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0);
    const auto addMesh = [&] {
        AddMesh(session, L"mesh", corners, -1, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0);
    };
    if (!throws<std::length_error>(addMesh, "vector too long")) return failed("AddMesh");
    if (!connects(session)) return failed("Q7GroupSyncConnect");
    const auto deleteInstance = [&] { Q7DeleteInstance(session, 1); };
    if (!throws<std::out_of_range>(deleteInstance, "invalid unordered_map<K, T> key")) {
        return failed("Q7DeleteInstance");
    }
    const auto addTriangles = [&] {
        MaxAddTriangles(session, L"paint", -1, nullptr, nullptr, nullptr, CoordOrder::XYZ);
    };
    if (!throws<std::length_error>(addTriangles, "vector too long")) {
        return failed("the handler around MaxAddTriangles");
    }
    DestroySession(session);
    return 0;
}
