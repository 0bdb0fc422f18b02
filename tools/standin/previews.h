// Pictures of the models that are kept.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "preview/preview.h"
#include "standin/message_log.h"
#include "standin/message_store.h"

namespace q7standin {

// Draws nothing before it is asked to, so that no client waits for a picture.
class Previews {
  public:
    // The store keeps. It and the log must outlive this.
    Previews(const q7preview::PreviewOptions& options, const MessageStore& store, MessageLog& log)
        : options_(options), store_(store), log_(log) {}

    // The models that come next belong to that model file.
    void syncBegins(const std::string& modelFile);
    void modelKept(const std::string& fileName);
    // Of the text of a camera message. The models that came last with its model file are drawn again.
    void cameraArrived(const std::string& text);

    // Draws what has come since the last time, NAME.png beside NAME.q7mesh: what the model file's
    // camera sees, or all of the model when none has come that sees anything of it. Throws
    // q7tools::FileError.
    void draw();

  private:
    struct ModelFile {
        std::vector<std::string> models;
        std::optional<q7preview::SceneCamera> camera;
        bool isDue = false;
    };

    void draw(const std::string& model, const q7preview::PreviewOptions& options);

    const q7preview::PreviewOptions options_;
    const MessageStore& store_;
    MessageLog& log_;
    std::map<std::string, ModelFile> files_;
    std::string current_;
};

}  // namespace q7standin
