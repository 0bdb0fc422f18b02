#include "inspect/instance_paths.h"

#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string_view>
#include <system_error>
#include <utility>

#include "common/files.h"
#include "common/text_output.h"

namespace q7inspect {

namespace fs = std::filesystem;
using nlohmann::json;
using q7tools::StreamModel;

namespace {

constexpr std::string_view pathsKey = "instance_paths";

// Takes the strings out of {"instance_paths":[...]} as it is parsed, and nothing else: neither a text of another
// shape nor paths beyond the number of instances take memory.
class Handler : public nlohmann::json_sax<json> {
  public:
    Handler(std::vector<std::string>& paths, std::size_t instances)
        : paths_(paths), instances_(instances) {}
    std::uint64_t count() const { return count_; }

    bool null() override { return false; }
    bool boolean(bool) override { return false; }
    bool number_integer(number_integer_t) override { return false; }
    bool number_unsigned(number_unsigned_t) override { return false; }
    bool number_float(number_float_t, const string_t&) override { return false; }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return depth_++ == 0; }
    bool key(string_t& text) override { return text == pathsKey && !std::exchange(hasKey_, true); }
    bool start_array(std::size_t) override { return depth_++ == 1; }
    bool end_object() override { return true; }
    bool end_array() override {
        --depth_;
        return true;
    }
    bool string(string_t& text) override {
        if (depth_ != 2) return false;
        if (++count_ <= instances_) paths_.push_back(std::move(text));
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

  private:
    std::vector<std::string>& paths_;
    std::size_t instances_;
    std::uint64_t count_ = 0;
    bool hasKey_ = false;
    int depth_ = 0;
};

// Each text is the path, "/" and the material's name, which reports have beside it.
std::vector<std::string> withoutMaterials(std::vector<std::string> texts,
                                          const StreamModel& model) {
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const std::string end = '/' + wideToUtf8(model.instances[i].material);
        if (texts[i].ends_with(end)) texts[i].resize(texts[i].size() - end.size());
    }
    return texts;
}

bool isFileItself(const fs::path& path) {
    std::error_code error;
    return fs::symlink_status(path, error).type() == fs::file_type::regular;
}

}  // namespace

InstancePaths pathsInArchive(const Archive& archive) {
    if (!archive.model() || !archive.info() || !archive.info()->instanceIds) return {};
    const std::vector<std::string>& ids = *archive.info()->instanceIds;
    if (ids.size() != archive.model()->instances.size()) return {};
    return {std::string(infoEntry), {}, withoutMaterials(ids, *archive.model())};
}

InstancePaths pathsBeside(const std::string& file, const StreamModel& model) {
    constexpr std::string_view modelEnd = "-model.q7mesh";
    constexpr std::string_view pathsEnd = "-instance-paths.json";
    constexpr std::uintmax_t mostBytes = 1U << 28;
    if (!file.ends_with(modelEnd)) return {};
    const fs::path path =
        q7tools::pathFromUtf8(file.substr(0, file.size() - modelEnd.size()).append(pathsEnd));
    std::error_code error;
    if (!isFileItself(path) || fs::file_size(path, error) > mostBytes || error) return {};
    InstancePaths paths;
    try {
        paths = readInstancePaths(q7tools::readWholeFile(path), model);
    } catch (const q7tools::FileError& unreadable) {
        paths.fault = unreadable.what();
    }
    paths.source = q7tools::pathToUtf8(path.filename());
    return paths;
}

InstancePaths readInstancePaths(std::span<const std::byte> bytes, const StreamModel& model) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    InstancePaths paths;
    Handler handler(paths.paths, model.instances.size());
    if (!json::sax_parse(text, &handler)) {
        return {{}, "is not an object with an array of strings, \"instance_paths\"", {}};
    }
    if (handler.count() != model.instances.size()) {
        return {{},
                "has " + q7tools::counted(handler.count(), "path", "paths") + " for " +
                    q7tools::counted(model.instances.size(), "instance", "instances"),
                {}};
    }
    paths.paths = withoutMaterials(std::move(paths.paths), model);
    return paths;
}

}  // namespace q7inspect
