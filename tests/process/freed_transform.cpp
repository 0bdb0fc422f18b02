// A host that frees a node's transform before the node ends. Only a build of the library with the address
// sanitizer shows it.
#include <array>
#include <memory>

#include "q7plugin.h"

int main() {
    constexpr std::array<float, 9> corners = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const std::unique_ptr<void, void (*)(void*)> session(CreateSession(), DestroySession);
    {
        const auto place = std::make_unique<std::array<float, 16>>();
        Q7BeginNode(session.get(), u"Node", place->data(), u"/Node");
    }
    MaxAddTriangle(session.get(), u"Red", corners.data(), nullptr, nullptr);
    Q7EndNode(session.get());
}
