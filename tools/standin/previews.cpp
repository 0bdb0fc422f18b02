#include "standin/previews.h"

#include <algorithm>
#include <chrono>
#include <new>

#include "common/files.h"
#include "common/text_output.h"
#include "standin/json_checks.h"

namespace q7standin {

void Previews::syncBegins(const std::string& modelFile) {
    current_ = modelFile;
}

void Previews::modelKept(const std::string& fileName) {
    ModelFile& file = files_[current_];
    file.model = fileName;
    file.isDue = true;
}

void Previews::cameraArrived(const std::string& text) {
    const auto path = modelFilePathOf(text);
    if (!path) return;
    ModelFile& file = files_[*path];
    file.camera = q7preview::readCamera(text);
    file.isDue = !file.model.empty();
    if (!file.camera) log_.note("the camera has no Position and Direction: pictures show all");
}

void Previews::goOn() {
    if (drawn_.valid() && drawn_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        return;
    }
    keepDrawn();
    begin();
}

void Previews::finish(const std::function<bool()>& shouldStop) {
    do {
        keepDrawn();
    } while (!shouldStop() && begin());
    const auto due =
        std::ranges::count_if(files_, [](const auto& entry) { return entry.second.isDue; });
    if (due == 0) return;
    log_.note(q7tools::counted(static_cast<std::uint64_t>(due), "picture is", "pictures are") +
              " not drawn");
}

bool Previews::begin() {
    const auto due =
        std::ranges::find_if(files_, [](const auto& entry) { return entry.second.isDue; });
    if (due == files_.end()) return false;
    ModelFile& file = due->second;
    file.isDue = false;
    drawnName_ = q7tools::pathToUtf8(q7tools::pathFromUtf8(file.model).replace_extension(".png"));
    q7preview::PreviewOptions options = options_;
    options.camera = file.camera;
    // The rest of the machine is the clients'.
    options.threads = q7preview::Threads::one;
    try {
        drawn_ = std::async(std::launch::async, [options, path = store_.pathOf(file.model)] {
            const q7preview::Preview preview = q7preview::drawStreamFile(path, options);
            return Picture{q7preview::pngOf(preview.image), q7preview::previewText(preview)};
        });
    } catch (const std::exception& error) {
        noteNotDrawn(error);
    }
    return true;
}

void Previews::keepDrawn() {
    if (!drawn_.valid()) return;
    Picture picture;
    try {
        picture = drawn_.get();
    } catch (const std::exception& error) {
        noteNotDrawn(error);
        return;
    }
    store_.keepAs(drawnName_, picture.png);
    log_.note("drew " + drawnName_ + ": " + picture.text);
}

void Previews::noteNotDrawn(const std::exception& error) {
    const bool lacksMemory = dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
    log_.note(drawnName_ + " is not drawn: " +
              (lacksMemory ? "too large for the memory of this machine" : error.what()));
}

}  // namespace q7standin
