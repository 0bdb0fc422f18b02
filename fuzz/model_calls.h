// Random calls about a session's nodes, meshes and materials, and what it saves and sends of them, beside
// a plain session.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "fuzz/plain_model.h"
#include "fuzz/random.h"
#include "fuzz/stand_in.h"

namespace q7fuzz {

class ModelCalls {
  public:
    ModelCalls(Random& random, void* session, const std::filesystem::path& folder);

    void begin();
    void addTriangles();
    void end();
    void duplicate();
    void remove();
    void addMesh();
    void addMaterial();
    void addTyped();
    void typedValues();
    void settings();
    void count() const;
    // Calls that throw leave everything as it was.
    void refused();

    // Compares what a save writes.
    void save();
    // The same in an archive, and the materials as a file.
    void saveArchive();
    // Compares what arrives of a live send.
    void send(StandIn& renderer);

  private:
    const Matrix* matrix();
    void sendRaw(StandIn& renderer);
    void sendProcessed(StandIn& renderer);
    void compareArrived(StandIn& renderer, const PlainSession& plain) const;

    Random& random_;
    void* session_;
    std::filesystem::path folder_;
    PlainSession plain_;
    bool generates_ = false;
    std::vector<std::unique_ptr<Matrix>> matrices_;
};

}  // namespace q7fuzz
