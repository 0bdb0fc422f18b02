#include <q7plugin.h>

#include <cstdio>
#include <string>

#if defined(_WIN32)
#define TEXT_OF(literal) L##literal
#define ARCHIVE TEXT_OF(".\\consumer.q7a")
#else
#define TEXT_OF(literal) u##literal
#define ARCHIVE TEXT_OF("./consumer.q7a")
#endif

int main() {
    const float corners[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    void* const session = CreateSession();
    Q7BeginNode(session, TEXT_OF("Node"), nullptr, TEXT_OF("/Node"));
    MaxAddTriangle(session, TEXT_OF("Red"), corners, nullptr, nullptr);
    Q7EndNode(session);
    std::printf("version %s, %d instance\n", Q7GetPluginVersion(),
                static_cast<int>(Q7InstanceCount(session)));
    const bool archived = Q7SaveRawToQ7a(session, ARCHIVE) == 1;
    std::printf("%s\n", archived ? "archived" : "no archive");
    DestroySession(session);
    return archived ? 0 : 1;
}
