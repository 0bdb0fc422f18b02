/* A host in C: makes a node of one triangle, saves it and looks at the file. */
#include <stdio.h>
#include <string.h>

#include "q7plugin.h"

#ifdef _WIN32
#define TEXT16(text) L##text
#else
#define TEXT16(text) u##text
#endif

static const float corners[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};

static void sendTriangle(void* session) {
    static const float transform[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};
    Q7BeginNode(session, TEXT16("node"), transform, TEXT16("/node"));
    MaxAddTriangles(session, TEXT16("paint"), 1, corners, NULL, NULL, CoordOrder_XYZ);
    Q7EndNode(session);
}

/* Whether the file has these bytes somewhere. */
static int fileHas(const char* path, const void* bytes, size_t count) {
    static char content[65536];
    size_t size, start;
    FILE* file = fopen(path, "rb");
    if (!file) return 0;
    size = fread(content, 1, sizeof content, file);
    fclose(file);
    for (start = 0; start + count <= size; ++start)
        if (memcmp(content + start, bytes, count) == 0) return 1;
    return 0;
}

static int fail(const char* what) {
    printf("failed: %s\n", what);
    return 1;
}

_Static_assert(CoordOrder_XYZ == 0 && CoordOrder_XZY == 1 && CoordOrder_YXZ == 2 &&
                   CoordOrder_YZX == 3 && CoordOrder_ZXY == 4 && CoordOrder_ZYX == 5 &&
                   sizeof(CoordOrder) == 4,
               "the numbers are the interface");
_Static_assert(ConnectRet_Accepted == 0 && ConnectRet_RefusedByReply3 == 2 &&
                   ConnectRet_RefusedByReply2 == 4 && ConnectRet_RefusedByReply1 == 6 &&
                   ConnectRet_Failed == 7 && sizeof(ConnectRet) == 4,
               "the numbers are the interface");

int main(void) {
    void* session = CreateSession();
    const uint64_t before = Q7InstanceCount(session);
    uint64_t after;
    sendTriangle(session);
    after = Q7InstanceCount(session);
    remove("c_host.q7mesh");
    SaveToFile(session, TEXT16("c_host.q7mesh"));
    DestroySession(session);
    printf("library %s\n", Q7GetPluginVersion());

    if (before != 0 || after != 1) return fail("one instance");
    if (!fileHas("c_host.q7mesh", corners, sizeof corners)) return fail("the corners in the file");
    return 0;
}
