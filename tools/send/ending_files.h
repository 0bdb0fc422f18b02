// Files that end, for readers that wait for more.
#pragma once

#include <assimp/DefaultIOSystem.h>

namespace q7send {

// The files that Assimp opens. Some of its readers ask for ever for what comes behind the end of a file
// that was cut off: after many such answers in vain, reading throws std::runtime_error, which Assimp
// turns into the reason of its refusal.
class EndingFiles : public Assimp::DefaultIOSystem {
  public:
    Assimp::IOStream* Open(const char* file, const char* mode) override;
};

}  // namespace q7send
