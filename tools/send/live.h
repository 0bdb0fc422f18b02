// The way to a running renderer, through the exported functions alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace q7send {

// By which connect function the scene goes. A group's models travel merged: its connection takes the
// plain form alone, of which a raw send to a new renderer is not.
enum class LiveForm { raw, processed, group };

const char* nameOf(LiveForm form);

// What there is to tell a renderer beside a scene and its metadata.
struct MessageCounts {
    std::size_t cameras = 0;  // the first is the view, and each is a scene
    std::size_t lights = 0;
    std::size_t animations = 0;
    std::size_t frames = 0;
};

// The renderer did not take the scene: the reason, in one line.
class RendererError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// What the results of StartLinkQ7Render and of the connect functions mean; empty for 0.
std::string linkFault(std::uint32_t result);
std::string connectFault(std::int32_t result);

// Starts the renderer when there is none, and waits until it is linked. Throws RendererError.
void linkRenderer(const std::filesystem::path& pluginFile);

struct SentLive {
    double seconds = 0;        // of the scene alone
    bool isConfirmed = false;  // the renderer answered after all of it
};

// Sends the metadata, connects, sends what the session holds, and disconnects; then sends the camera,
// lights, scenes and camera animations, each if there are any: a message during the connection would
// be dropped. Before the connection and at the end it asks for the metadata back.
// Throws RendererError, also when the renderer could not be reached, the connection broke, or the
// renderer answers only before and not after. One that gives no metadata back cannot be asked whether
// all arrived. A connection that breaks at the last acknowledgements goes unnoticed.
SentLive sendLive(void* session, LiveForm form, bool genMaterials, const MessageCounts& messages);

}  // namespace q7send
