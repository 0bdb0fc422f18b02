// One client's connection and what serves it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "standin/behaviour.h"
#include "standin/connection_reader.h"
#include "standin/json_checks.h"
#include "standin/message_log.h"
#include "standin/message_store.h"
#include "standin/model_block.h"
#include "standin/previews.h"
#include "standin/transcript.h"

namespace q7standin {

// What the renderer says when it is asked. Where there is no answer it closes the connection.
struct Answers {
    std::optional<std::uint32_t> reply = 0;  // to the words that open a sync connection
    std::optional<std::uint32_t> sendModelType = 0;
    // UTF-8. Without one: the metadata that came last with the model's path, and none before that.
    std::optional<std::string> metadata;
    std::optional<std::uint32_t> metadataCount;  // instead of its true size
};

struct Services {
    Answers answers;
    // What came as metadata, by the model's path.
    std::map<std::string, std::string> metadata = {};
    // How long to wait for what a client of the newer form sends next before it is taken for one
    // of the plain form. Milliseconds.
    int patience = 5000;
    // How long a connection that stays open after its model is idle before that is told.
    int idleTime = 3000;  // milliseconds
    // Whether to look into the arrays of meshes.
    bool checkArrays = true;
    MessageLog& log;
    MessageStore& store;
    Behaviour& behaviour;
    Transcript& transcript;
    BlockOpener openModelBlock;
    Previews* previews = nullptr;  // of the models that are kept, where they are wanted
    // Whether another client waits for its connection; without one nobody is asked.
    std::function<bool()> isAnotherWaiting = {};
    // Called with the file of each hand-over.
    std::function<void(const WideString&)> pluginFileArrived;
};

struct Connection {
    std::uint64_t number;
    Channel& channel;
    ConnectionReader& reader;
    Services& services;
    bool isIdleTold = false;  // that it stays open after its model
};

// Puts the faults of a text that starts there into the log.
void reportFaults(MessageLog& log, Place place, std::uint64_t offset, const std::string& field,
                  const JsonFaults& faults);

// Serves a connection to its end: one message, or a connect word with its models. Faults of the
// client go into the log. Throws ClosedOnPurpose, Stopped and q7tools::FileError.
// Gives how the connection ended, for the transcript.
std::string serveConnection(Connection& connection);

}  // namespace q7standin
