// q7-send: a complete small host, for 3D files.
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <variant>
#include <vector>

#include "common/files.h"
#include "common/text_output.h"
#include "platform/command_line.h"
#include "platform/executable_path.h"
#include "platform/standard_streams.h"
#include "platform/terminal.h"
#include "send/crash_guard.h"
#include "send/live.h"
#include "send/mesh_vertices.h"
#include "send/options.h"
#include "send/output_file.h"
#include "send/progress.h"
#include "send/report.h"
#include "send/scene_reader.h"
#include "send/scene_sender.h"
#include "send/verify.h"

namespace {

namespace fs = std::filesystem;
using namespace q7send;

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

int fail(int status, const std::string& subject, const std::string& reason) {
    std::cerr << q7tools::errorLine("q7-send", subject, reason);
    return status;
}

// The two files that a run may write. They are chosen before the model is read, so that a wrong
// path is told at once.
class Outputs {
  public:
    explicit Outputs(const Options& options) : form_(options.form) {
        open(options.model, options.stream, stream_);
        open(options.model, options.materials, materials_);
    }

    void save(SceneSender& sender) {
        if (stream_) sender.saveStream(stream_->temporary(), form_);
        if (materials_) sender.saveMaterials(materials_->temporary());
    }

    std::vector<WrittenFile> verifyAndCommit(const SendTotals& totals) {
        std::vector<WrittenFile> files;
        if (stream_) files.push_back({stream_->target(), verifyStream(*stream_, totals, form_)});
        if (materials_) files.push_back({materials_->target(), verifyMaterials(*materials_)});
        if (stream_) stream_->commit();
        if (materials_) materials_->commit();
        return files;
    }

  private:
    static void open(const fs::path& model, const std::optional<fs::path>& path,
                     std::optional<OutputFile>& file) {
        if (!path) return;
        std::error_code ignored;
        if (fs::equivalent(model, *path, ignored)) {
            throw q7tools::FileError(*path, "is the model itself");
        }
        file.emplace(*path);
    }

    StreamForm form_;
    std::optional<OutputFile> stream_;
    std::optional<OutputFile> materials_;
};

// Assimp is robust, but not against every broken file.
Scene readGuarded(const fs::path& model, const ProgressFunction& progress) {
    const std::string lastWords =
        q7tools::errorLine("q7-send", q7tools::pathToUtf8(model), "Assimp crashed on this file");
    const CrashGuard guard((platform::standardErrorIsTerminal() ? "\n" : "") + lastWords);
    return readScene(model, progress);
}

std::optional<Delivery> deliver(SceneSender& sender, const Options& options) {
    if (!options.live) return std::nullopt;
    linkRenderer(platform::executablePath());
    return Delivery{*options.live, sender.sendLive(*options.live, options.genMaterials)};
}

std::string send(const Options& options) {
    Outputs outputs(options);
    // A stream of its own, since std::cerr is mute while Assimp reads.
    std::ostream terminal(std::cerr.rdbuf());
    ProgressBar bar(terminal, platform::standardErrorIsTerminal());
    const auto showing = [&bar](std::string_view task) {
        return [&bar, task](double done) { bar.show(task, done); };
    };
    // Neither the session nor the scene outlives its use: the check of a big stream needs room.
    Scene scene = readGuarded(options.model, showing("Reading"));
    if (options.form == StreamForm::processed) unshareMergeable(scene);
    auto sender = std::make_unique<SceneSender>();
    const SendTotals totals = sender->describe(scene, Q7_SEND_VERSION, showing("Describing"));
    scene.meshes.clear();
    // The library prints while it links.
    bar.clear();
    const std::optional<Delivery> delivery = deliver(*sender, options);
    bar.show("Writing", 0);
    outputs.save(*sender);
    sender.reset();
    bar.show("Checking", 1);
    const std::vector<WrittenFile> files = outputs.verifyAndCommit(totals);
    return notes(scene, totals) + closingLine(options.model, totals, delivery, files);
}

int run(const Options& options) {
    const std::string model = q7tools::pathToUtf8(options.model);
    try {
        std::cout << send(options);
        return 0;
    } catch (const q7tools::FileError& error) {
        return fail(exitFailure, error.file(), error.what());
    } catch (const RendererError& error) {
        return fail(exitFailure, "the renderer", error.what());
    } catch (const std::bad_alloc&) {
        return fail(exitFailure, model, "needs more memory than there is");
    } catch (const std::exception& error) {
        return fail(exitFailure, model, error.what());
    }
}

}  // namespace

int main(int argc, char** argv) {
    platform::useBinaryStandardStreams();
    platform::prepareTerminalForUtf8();
    const auto parsed = parseOptions(platform::commandLineArguments(argc, argv), Q7_SEND_VERSION);
    if (const auto* help = std::get_if<HelpText>(&parsed)) {
        std::cout << help->text;
        return 0;
    }
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        return fail(exitUsage, "command line", error->reason + "; see q7-send --help");
    }
    return run(std::get<Options>(parsed));
}
