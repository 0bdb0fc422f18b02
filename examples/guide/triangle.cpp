#include "q7plugin.h"

int main() {
    const float place[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const float corners[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    void* session = CreateSession();
    Q7BeginNode(session, u"Node", place, u"/Node");
    MaxAddTriangle(session, u"Red", corners, nullptr, nullptr);
    Q7EndNode(session);
    Q7SaveRawToFile(session, u"triangle.q7mesh");
    DestroySession(session);
}
