#include "standin/connection.h"

#include <array>
#include <nlohmann/json.hpp>
#include <string_view>

#include "common/text_output.h"
#include "standin/limits.h"
#include "standin/model_receiver.h"

namespace q7standin {

using nlohmann::ordered_json;
using q7tools::allToUtf8;
using q7tools::counted;
using q7tools::inQuotes;

namespace {

constexpr std::size_t sceneDataSize = 36;
constexpr std::string_view proxyParentStart = "proxyparent=";

// The message that is being received.
class Receipt {
  public:
    Receipt(Connection& connection, std::uint32_t word)
        : connection_(connection), log_(connection.services.log), startTime_(log_.now()) {
        message_.connection = connection.number;
        message_.word = word;
    }

    std::uint32_t word() const { return *message_.word; }

    // Tells of the message and keeps it, as an object of what it said or as the text that it is.
    void finish(const std::string& what, std::string_view kind, const ordered_json& content) {
        constexpr auto replace = ordered_json::error_handler_t::replace;
        finish(what, kind, content.dump(2, ' ', false, replace) + '\n');
    }
    void finish(const std::string& what, std::string_view kind, const std::string& text) {
        message_.file = connection_.services.store.keep(kind, "json", text);
        message_.what = what;
        message_.bytes = connection_.reader.offset();
        message_.seconds = log_.now() - startTime_;
        log_.message(message_);
    }

  private:
    Connection& connection_;
    MessageLog& log_;
    double startTime_;
    Message message_;
};

std::string hex(std::span<const std::byte> bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::byte byte : bytes) {
        text += digits[std::to_integer<std::size_t>(byte >> 4)];
        text += digits[std::to_integer<std::size_t>(byte & std::byte{0xF})];
    }
    return text;
}

void receivePluginFile(Connection& connection, Receipt& receipt) {
    const WideString file = connection.reader.readString("plug-in file", mostPathUnits);
    receipt.finish("plug-in file " + inQuotes(file), "plugin-file",
                   {{"word", receipt.word()}, {"pluginFile", allToUtf8(file)}});
    connection.services.pluginFileArrived(file);
}

void receiveSceneRecords(Connection& connection, Receipt& receipt) {
    ConnectionReader& reader = connection.reader;
    const WideString text = reader.readString("text", mostTextUnits);
    const std::uint64_t offset = reader.offset();
    const std::uint32_t count = reader.readWord("record count");
    if (count > mostRecords) {
        throw ProtocolError(
            Place::Connection, offset,
            fault("record count", "at most " + std::to_string(mostRecords), std::to_string(count)));
    }
    ordered_json records = ordered_json::array();
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::string record = "records[" + std::to_string(i) + "] ";
        const WideString name = reader.readString(record + "name", mostNameUnits);
        const WideString label = reader.readString(record + "label", mostNameUnits);
        const auto data = reader.readBytes(record + "scene data", sceneDataSize);
        const std::uint32_t value = reader.readWord(record + "value");
        records.push_back({{"name", allToUtf8(name)},
                           {"label", allToUtf8(label)},
                           {"sceneData", hex(data)},
                           {"value", value}});
    }
    receipt.finish("scene list: text of " + counted(text.size(), "unit", "units") + ", " +
                       counted(count, "record", "records"),
                   "scene-list",
                   {{"word", receipt.word()}, {"text", allToUtf8(text)}, {"records", records}});
}

void receiveCameraTransform(Connection& connection, Receipt& receipt) {
    ConnectionReader& reader = connection.reader;
    const auto data = reader.readBytes("camera transform", sceneDataSize);
    const float fieldOfView = reader.readFloat("field of view");
    const WideString path = reader.readString("model file path", mostPathUnits);
    receipt.finish("camera transform of " + inQuotes(path), "camera-transform",
                   {{"word", receipt.word()},
                    {"sceneData", hex(data)},
                    {"fieldOfView", fieldOfView},
                    {"modelFilePath", allToUtf8(path)}});
}

void receiveLightTexts(Connection& connection, Receipt& receipt) {
    const WideString first = connection.reader.readString("first text", mostTextUnits);
    const WideString second = connection.reader.readString("second text", mostTextUnits);
    receipt.finish(
        "lights: two texts of " + std::to_string(first.size()) + " and " +
            counted(second.size(), "unit", "units"),
        "light-texts",
        {{"word", receipt.word()}, {"first", allToUtf8(first)}, {"second", allToUtf8(second)}});
}

// Gives the text in UTF-8.
std::string receiveJson(Connection& connection, Receipt& receipt, std::string_view kind) {
    const std::uint64_t offset = connection.reader.offset();
    const WideString text = connection.reader.readString("JSON text", mostTextUnits);
    const MessageFindings findings = checkMessage(receipt.word(), text);
    reportFaults(connection.services.log, Place::Connection, offset, "JSON text", findings);
    std::string utf8 = allToUtf8(text);
    receipt.finish(std::string(kind) + ": " + findings.summary + "JSON text of " +
                       counted(text.size(), "unit", "units"),
                   kind, utf8);
    return utf8;
}

void receiveCamera(Connection& connection, Receipt& receipt) {
    const std::string text = receiveJson(connection, receipt, "camera");
    if (Previews* previews = connection.services.previews) previews->cameraArrived(text);
}

void receiveScenes(Connection& connection, Receipt& receipt) {
    receiveJson(connection, receipt, "scenes");
}

void receiveLights(Connection& connection, Receipt& receipt) {
    receiveJson(connection, receipt, "lights");
}

void receiveMetadata(Connection& connection, Receipt& receipt) {
    const std::string text = receiveJson(connection, receipt, "metadata");
    if (const auto path = modelFilePathOf(text)) connection.services.metadata[*path] = text;
}

void receiveCameraAnimations(Connection& connection, Receipt& receipt) {
    receiveJson(connection, receipt, "camera-animations");
}

std::string told(const std::optional<std::uint32_t>& answer) {
    return answer ? std::to_string(static_cast<std::int32_t>(*answer)) : "no answer";
}

ordered_json orNull(const std::optional<std::uint32_t>& answer) {
    return answer ? ordered_json(*answer) : ordered_json();
}

void answerSendModelType(Connection& connection, Receipt& receipt) {
    const WideString name = connection.reader.readString("name", mostNameUnits);
    const std::optional<std::uint32_t>& type = connection.services.answers.sendModelType;
    receipt.finish("which way to send " + inQuotes(name) + "? " + told(type), "send-model-type",
                   {{"word", receipt.word()}, {"name", allToUtf8(name)}, {"answer", orNull(type)}});
    if (!type) throw ClosedOnPurpose();
    connection.services.behaviour.answerWord(connection.channel, "send model type", *type);
}

// The chosen text, or what came as metadata of that model, or nothing.
std::string metadataOf(const Services& services, const std::string& modelFile) {
    if (services.answers.metadata) return *services.answers.metadata;
    const auto found = services.metadata.find(modelFile);
    return found == services.metadata.end() ? std::string() : found->second;
}

void answerMetadata(Connection& connection, Receipt& receipt) {
    const WideString path = connection.reader.readString("model file path", mostPathUnits);
    const Services& services = connection.services;
    const std::string metadata = metadataOf(services, allToUtf8(path));
    receipt.finish(
        "metadata of " + inQuotes(path) + "? " + counted(metadata.size(), "byte", "bytes"),
        "metadata-request",
        {{"word", receipt.word()},
         {"modelFilePath", allToUtf8(path)},
         {"answerSize", metadata.size()}});
    const std::uint32_t count =
        services.answers.metadataCount.value_or(static_cast<std::uint32_t>(metadata.size()));
    services.behaviour.answerWord(connection.channel, "metadata count", count);
    services.behaviour.answer(connection.channel, "metadata", std::as_bytes(std::span(metadata)));
}

// The second path of a word 17.
WideString readProxyParent(Connection& connection) {
    const std::uint64_t offset = connection.reader.offset();
    WideString parent = connection.reader.readString("proxy parent", mostPathUnits);
    if (!allToUtf8(parent).starts_with(proxyParentStart)) {
        connection.services.log.protocolError(
            Place::Connection, offset,
            fault("proxy parent",
                  "a text that starts with \"" + std::string(proxyParentStart) + '"',
                  inQuotes(parent)));
    }
    return parent;
}

ModelReceiver::Form formOf(std::uint32_t connectWord, bool isFirst, bool isOddOne) {
    if (connectWord != 11) return ModelReceiver::Form::Plain;
    if (isFirst) return ModelReceiver::Form::WithPaths;
    return isOddOne ? ModelReceiver::Form::ProbablyWithPaths : ModelReceiver::Form::ProbablyPlain;
}

void receiveModels(Connection& connection, std::uint32_t connectWord) {
    std::uint64_t models = 0;
    auto version = connection.reader.readWordOrEnd("model version");
    while (version) {
        ++models;
        ModelReceiver receiver(connection, connectWord,
                               formOf(connectWord, models == 1, models % 2 == 1));
        version = receiver.receive(*version);
    }
    if (models == 0) connection.services.log.note("the sync connection ended without a model");
}

void receiveSync(Connection& connection, Receipt& receipt) {
    const WideString path = connection.reader.readString("model file path", mostPathUnits);
    ordered_json content = {{"word", receipt.word()}, {"modelFilePath", allToUtf8(path)}};
    std::string what = "sync of " + inQuotes(path);
    if (receipt.word() == 17) {
        const WideString parent = readProxyParent(connection);
        content["proxyParent"] = allToUtf8(parent);
        what += ", " + inQuotes(parent);
    }
    const std::optional<std::uint32_t>& reply = connection.services.answers.reply;
    content["reply"] = orNull(reply);
    receipt.finish(what + ": " + (reply == 0U ? "accepted" : "refused with " + told(reply)), "sync",
                   content);
    if (!reply) throw ClosedOnPurpose();
    connection.services.behaviour.answerWord(connection.channel, "reply", *reply);
    if (*reply != 0U) return;
    if (Previews* previews = connection.services.previews) previews->syncBegins(allToUtf8(path));
    receiveModels(connection, receipt.word());
}

struct Command {
    std::uint32_t word;
    void (*receive)(Connection&, Receipt&);
};

constexpr std::array commands = {Command{3, receivePluginFile},
                                 Command{4, receiveSceneRecords},
                                 Command{5, receiveCameraTransform},
                                 Command{6, receiveLightTexts},
                                 Command{7, receiveSync},
                                 Command{8, receiveSync},
                                 Command{9, answerSendModelType},
                                 Command{10, answerMetadata},
                                 Command{11, receiveSync},
                                 Command{12, receiveCamera},
                                 Command{13, receiveScenes},
                                 Command{14, receiveLights},
                                 Command{15, receiveMetadata},
                                 Command{17, receiveSync},
                                 Command{18, receiveCameraAnimations}};

const Command& commandOf(std::uint32_t word) {
    for (const Command& command : commands) {
        if (command.word == word) return command;
    }
    throw ProtocolError(Place::Connection, 0,
                        fault("command word", "one of 3 to 15, 17 and 18", std::to_string(word)));
}

void expectEnd(Connection& connection) {
    if (connection.reader.isAtEnd()) return;
    throw ProtocolError(Place::Connection, connection.reader.offset(),
                        fault("end of the message", "the end of the connection", "more bytes"));
}

void serveMessage(Connection& connection) {
    const auto word = connection.reader.readWordOrEnd("command word");
    if (!word) {
        connection.services.log.note("connection " + std::to_string(connection.number) +
                                     " was opened and closed without a message");
        return;
    }
    connection.services.log.commandArrived(*word);
    const Command& command = commandOf(*word);
    connection.services.behaviour.commandArrived(connection.channel, *word);
    Receipt receipt(connection, *word);
    command.receive(connection, receipt);
    expectEnd(connection);
}

}  // namespace

void reportFaults(MessageLog& log, Place place, std::uint64_t offset, const std::string& field,
                  const JsonFaults& faults) {
    const std::string start = field + ": ";
    for (const std::string& error : faults.errors)
        log.protocolError(place, offset, start + error);
    log.furtherProtocolErrors(faults.furtherErrors);
    for (const std::string& remark : faults.remarks)
        log.remark(place, offset, start + remark);
}

std::string serveConnection(Connection& connection) {
    MessageLog& log = connection.services.log;
    log.beginConnection(connection.number);
    try {
        serveMessage(connection);
        return "closed by the client";
    } catch (const ProtocolError& error) {
        log.protocolError(error.place(), error.offset(), error.what());
        return "given up after a protocol error";
    } catch (const ConnectionLost& error) {
        log.protocolError(Place::Connection, connection.reader.offset(), error.what());
        return "lost";
    }
}

}  // namespace q7standin
