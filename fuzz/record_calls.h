// Random calls about a session's scenes, lights, camera, metadata and animations.
#pragma once

#include <cstdint>

#include "fuzz/plain_records.h"
#include "fuzz/random.h"
#include "fuzz/stand_in.h"

namespace q7fuzz {

class RecordCalls {
  public:
    RecordCalls(Random& random, void* session) : random_(random), session_(session) {}

    void paths();
    void collections();
    void values();
    void animations();
    void frames();
    void curves();
    // Sends all messages, and compares what arrives.
    void sendMessages(StandIn& renderer);

  private:
    Q7AnimProperty point();
    std::int32_t anyFrame() { return static_cast<std::int32_t>(random_.below(6)) - 2; }
    void addLegacyScene();
    void sendLegacy(StandIn& renderer);
    void askMetadata();

    Random& random_;
    void* session_;
    PlainRecords plain_;
    std::uint64_t legacyScenes_ = 0;
};

}  // namespace q7fuzz
