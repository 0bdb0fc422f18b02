// Pictures of the models that are kept.
#pragma once

#include <exception>
#include <functional>
#include <future>
#include <map>
#include <optional>
#include <string>

#include "preview/preview.h"
#include "standin/message_log.h"
#include "standin/message_store.h"

namespace q7standin {

// Draws nothing before it is asked to, and in a thread of its own, so that no client waits for a picture.
class Previews {
  public:
    // The store keeps. It and the log must outlive this.
    Previews(const q7preview::PreviewOptions& options, const MessageStore& store, MessageLog& log)
        : options_(options), store_(store), log_(log) {}

    // The models that come next belong to that model file. Only the last of them has a picture: they
    // are the forms of one model.
    void syncBegins(const std::string& modelFile);
    void modelKept(const std::string& fileName);
    // Of the text of a camera message. The model that came last with its model file is drawn again.
    void cameraArrived(const std::string& text);

    // To be called when nobody waits: begins a picture of what has come since the last time, and keeps
    // the one before when it is drawn. NAME.png beside NAME.q7mesh shows what the model file's camera
    // sees, or all of the model when none has come that sees anything of it. A picture that cannot be drawn gets a line
    // of the log instead. Throws q7tools::FileError when a picture cannot be written.
    void goOn();
    // Waits until all pictures are drawn. Before each one it asks whether to stop, and then says how
    // many are missing; one that is begun is kept all the same. Throws q7tools::FileError.
    void finish(const std::function<bool()>& shouldStop = [] { return false; });

  private:
    struct ModelFile {
        std::string model;  // empty before one has come
        std::optional<q7preview::SceneCamera> camera;
        bool isDue = false;
    };

    struct Picture {
        std::string png;
        std::string text;
    };

    // False when there is nothing to draw.
    bool begin();
    void keepDrawn();
    void noteNotDrawn(const std::exception& error);

    const q7preview::PreviewOptions options_;
    const MessageStore& store_;
    MessageLog& log_;
    std::map<std::string, ModelFile> files_;
    std::string current_;
    std::string drawnName_;
    std::future<Picture> drawn_;
};

}  // namespace q7standin
