// A client of the stand-in renderer: what it sends, and what it puts into the model block meanwhile.
//
// The first byte of the input is the renderer's reply and how the client's bytes come. The rest are steps,
// each a byte that tells the kind and two bytes with a size, little-endian: bytes to send, the
// block's new content, or, without bytes behind it, an answer of that size to wait for.
#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>

#include "fuzz/target.h"
#include "standin/connection.h"
#include "tests/tools/standin/scripted_client.h"

namespace {

using namespace q7fuzz;
using standintest::ScriptedClient;
using streamtest::StreamBuilder;

StreamBuilder asBuilder(std::span<const std::byte> bytes) {
    StreamBuilder builder;
    for (const std::byte byte : bytes)
        builder.byte(std::to_integer<std::uint8_t>(byte));
    return builder;
}

void addStep(ScriptedClient& client, std::size_t kind, std::span<const std::byte> bytes) {
    if (kind == 0) {
        client.send(asBuilder(bytes));
    } else {
        client.fillBlock(asBuilder(bytes));
    }
}

void addSteps(ScriptedClient& client, std::span<const std::byte> input) {
    while (input.size() >= 3) {
        const auto kind = std::to_integer<std::size_t>(input[0]) % 3;
        const std::size_t told =
            std::to_integer<std::size_t>(input[1]) | std::to_integer<std::size_t>(input[2]) << 8U;
        input = input.subspan(3);
        if (kind == 2) {
            client.awaitAnswer(told);
            continue;
        }
        const std::size_t size = std::min(told, input.size());
        addStep(client, kind, input.first(size));
        input = input.subspan(size);
    }
}

struct Renderer {
    std::ostringstream out;
    std::ostringstream errors;
    std::ostringstream transcriptOut;
    q7standin::MessageLog log{out, errors, false, [] { return 0.0; }};
    q7standin::MessageStore store{std::nullopt};
    q7standin::Transcript transcript{&transcriptOut};
    q7standin::Behaviour behaviour{{}, transcript, log, [](int) {}, [] {}};
    q7standin::Services services{.answers = {},
                                 .log = log,
                                 .store = store,
                                 .behaviour = behaviour,
                                 .transcript = transcript,
                                 .openModelBlock = {},
                                 .pluginFileArrived = [](const WideString&) {}};

    void serve(ScriptedClient& client) {
        services.openModelBlock = client.blockOpener();
        q7standin::ConnectionReader reader(client, transcript);
        q7standin::Connection connection{1, client, reader, services};
        try {
            const std::string ending = q7standin::serveConnection(connection);
            const bool isFaulty = ending != "closed by the client";
            require(!isFaulty || log.protocolErrorCount() > 0,
                    "a connection ended without a reason");
        } catch (const q7standin::ClosedOnPurpose&) {
        } catch (const std::logic_error& error) {
            // The client that waits in vain here would wait for ever.
            require(std::string(error.what()) == "both sides wait for each other", error.what());
        }
        requireLines(out.str());
        requireLines(errors.str());
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    ScriptedClient client;
    Renderer renderer;
    const unsigned choice = data[0];
    renderer.services.answers.reply = choice & 3U;
    if ((choice & 4U) != 0) client.breakAtEnd();
    if ((choice & 8U) != 0) client.setPieceSize(7);
    if ((choice & 16U) != 0) client.setBlockMissing();
    if ((choice & 32U) != 0) renderer.services.answers.metadata = "{}";
    if ((choice & 64U) != 0) renderer.services.checkArrays = false;
    addSteps(client, asBytes(data, size).subspan(1));
    renderer.serve(client);
    require(client.openBlocks() == 0, "the model block stays open");
    return 0;
}
