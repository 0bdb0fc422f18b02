#include "standin/previews.h"

#include <new>

#include "common/byte_reader.h"
#include "common/files.h"
#include "standin/json_checks.h"

namespace q7standin {

void Previews::syncBegins(const std::string& modelFile) {
    current_ = modelFile;
    files_[current_].models.clear();
}

void Previews::modelKept(const std::string& fileName) {
    ModelFile& file = files_[current_];
    file.models.push_back(fileName);
    file.isDue = true;
}

void Previews::cameraArrived(const std::string& text) {
    const auto path = modelFilePathOf(text);
    if (!path) return;
    ModelFile& file = files_[*path];
    file.camera = q7preview::readCamera(text);
    file.isDue = !file.models.empty();
    if (!file.camera) log_.note("the camera has no Position and Direction: pictures show all");
}

void Previews::draw() {
    for (auto& [path, file] : files_) {
        if (!file.isDue) continue;
        file.isDue = false;
        q7preview::PreviewOptions options = options_;
        options.camera = file.camera;
        for (const std::string& model : file.models)
            draw(model, options);
    }
}

void Previews::draw(const std::string& model, const q7preview::PreviewOptions& options) {
    const std::string name =
        q7tools::pathToUtf8(q7tools::pathFromUtf8(model).replace_extension(".png"));
    try {
        const q7preview::Preview preview = q7preview::drawStreamFile(store_.pathOf(model), options);
        store_.keepAs(name, q7preview::pngOf(preview.image));
        log_.note("drew " + name + ": " + q7preview::previewText(preview));
    } catch (const q7tools::FormatError& error) {
        log_.note(name + " is not drawn: " + error.what());
    } catch (const std::bad_alloc&) {
        log_.note(name + " is not drawn: too large for the memory of this machine");
    }
}

}  // namespace q7standin
