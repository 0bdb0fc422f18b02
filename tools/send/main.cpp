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
#include "send/archive_output.h"
#include "send/crash_guard.h"
#include "send/live.h"
#include "send/mesh_vertices.h"
#include "send/options.h"
#include "send/output_file.h"
#include "send/progress.h"
#include "send/report.h"
#include "send/scene_entities.h"
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

// The files that a run may write. They are chosen before the model is read, so that a wrong
// path is told at once.
class Outputs {
  public:
    explicit Outputs(const Options& options) : options_(options) {
        open(options.stream, stream_);
        open(options.materials, materials_);
        if (!options.archive) return;
        checkNotAnInput(*options.archive);
        archive_.emplace(*options.archive, options.packed);
    }

    void placeTextures(const Scene& scene) {
        if (archive_) archive_->placeTextures(scene);
    }

    void save(SceneSender& sender, const Scene& scene) {
        if (stream_) sender.saveStream(stream_->temporary(), options_.form);
        if (materials_) sender.saveMaterials(materials_->temporary());
        if (archive_) archive_->save(sender, scene, options_.form);
    }

    std::vector<WrittenFile> verifyAndCommit(const SendTotals& totals) {
        std::vector<WrittenFile> files;
        if (stream_) {
            files.push_back({stream_->target(), verifyStream(*stream_, totals, options_.form)});
        }
        if (materials_) files.push_back({materials_->target(), verifyMaterials(*materials_)});
        if (archive_) {
            files.push_back({archive_->target(), archive_->verify(totals, options_.form),
                             archive_->textureCount()});
        }
        if (stream_) stream_->commit();
        if (materials_) materials_->commit();
        if (archive_) archive_->commit();
        return files;
    }

    std::optional<Archived> archived() const {
        if (!archive_) return std::nullopt;
        return Archived{archive_->textureCount(), archive_->displacedTextureCount(),
                        !stream_ && !materials_ && !options_.live};
    }

  private:
    void open(const std::optional<fs::path>& path, std::optional<OutputFile>& file) const {
        if (!path) return;
        checkNotAnInput(*path);
        file.emplace(*path);
    }

    void checkNotAnInput(const fs::path& path) const {
        std::error_code ignored;
        if (fs::equivalent(options_.model, path, ignored)) {
            throw q7tools::FileError(path, "is the model itself");
        }
        if (options_.packed && fs::equivalent(*options_.packed, path, ignored)) {
            throw q7tools::FileError(path, "is the file that is to be packed");
        }
    }

    const Options& options_;
    std::optional<OutputFile> stream_;
    std::optional<OutputFile> materials_;
    std::optional<ArchiveOutput> archive_;
};

// Assimp is robust, but not against every broken file.
Scene readGuarded(const Options& options, const ProgressFunction& progress) {
    const std::string lastWords = q7tools::errorLine("q7-send", q7tools::pathToUtf8(options.model),
                                                     "Assimp crashed on this file");
    const CrashGuard guard((platform::standardErrorIsTerminal() ? "\n" : "") + lastWords);
    return readScene(options.model, progress,
                     options.archive ? EmbeddedTextures::read : EmbeddedTextures::leaveOut);
}

std::optional<Delivery> deliver(SceneSender& sender, const Options& options,
                                const MessageCounts& messages) {
    if (!options.live) return std::nullopt;
    linkRenderer(platform::executablePath());
    const SentLive sent = sender.sendLive(*options.live, options.genMaterials, messages);
    return Delivery{*options.live, sent, messages};
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
    Scene scene = readGuarded(options, showing("Reading"));
    if (options.form == StreamForm::processed) unshareMergeable(scene);
    auto sender = std::make_unique<SceneSender>();
    const SendTotals totals = sender->describe(scene, Q7_SEND_VERSION, showing("Describing"));
    scene.meshes.clear();
    outputs.placeTextures(scene);
    scene.textures.clear();
    // The library prints while it links.
    bar.clear();
    const std::optional<Delivery> delivery = deliver(*sender, options, countMessages(scene));
    bar.show("Writing", 0);
    outputs.save(*sender, scene);
    sender.reset();
    bar.show("Checking", 1);
    const std::vector<WrittenFile> files = outputs.verifyAndCommit(totals);
    return notes(scene, totals, outputs.archived()) + (delivery ? deliveryLines(*delivery) : "") +
           closingLine(options.model, totals, delivery, files);
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
