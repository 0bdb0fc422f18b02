// A renderer inside the program's own process: its two blocks, its port, and a script for each connection.
// For programs without GoogleTest; tests take tests/fake_renderer.h.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/stream_reader.h"
#include "platform/listener.h"
#include "platform/shared_memory.h"
#include "platform/socket.h"
#include "support/text.h"

inline constexpr WideView testStatusBlock = u"E35404FC215ED0F65A4EC1CCBB898CC8";
inline constexpr WideView testPortBlock = u"BD7A725E37C60EEFD473703CF7EC26DD";
inline constexpr WideView testModelBlock = u"84FB12B2EBCB82AB1DEDE669D1309DB6";

// Takes away blocks that somebody left behind who was killed.
inline void removeLeftBlocks() {
    for (const WideView name : {testStatusBlock, testPortBlock, testModelBlock}) {
        platform::CreatedBlock::create(name, 1);
    }
}

// Long enough for any machine; a test that waits as long has failed.
inline constexpr int patience = 20000;

// The other side has ended the connection.
class PeerClosed : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The renderer's end of one connection.
class Peer {
  public:
    // Without the delay two answers in a row would wait for each other.
    explicit Peer(platform::SocketHandle socket) : socket_(socket) {
        platform::sendWithoutDelay(socket_);
    }
    ~Peer() { close(); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    std::string bytes(std::size_t count) {
        std::string all;
        while (all.size() < count) {
            char buffer[4096];
            const std::size_t wanted = std::min(count - all.size(), sizeof buffer);
            if (!platform::waitForData(socket_, patience)) throw std::runtime_error("no data");
            const auto got = platform::receiveBytes(socket_, buffer, wanted);
            if (got <= 0) throw PeerClosed("closed after " + std::to_string(all.size()));
            all.append(buffer, static_cast<std::size_t>(got));
        }
        received += all;
        return all;
    }
    std::uint32_t word() {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes(sizeof value).data(), sizeof value);
        return value;
    }
    WideString string() {
        const std::size_t units = word();
        const std::string raw = bytes(2 * units);
        WideString text(units, u'\0');
        std::memcpy(text.data(), raw.data(), raw.size());
        return text;
    }
    // All that comes until the client closes.
    std::string allBytes() {
        std::string all;
        char buffer[4096];
        for (;;) {
            if (!platform::waitForData(socket_, patience)) throw std::runtime_error("no data");
            const auto got = platform::receiveBytes(socket_, buffer, sizeof buffer);
            if (got <= 0) return all;
            all.append(buffer, static_cast<std::size_t>(got));
        }
    }
    // Whether the client has closed, with nothing left to read.
    bool atEnd() {
        char one = 0;
        return platform::waitForData(socket_, patience) &&
               platform::receiveBytes(socket_, &one, 1) <= 0;
    }

    void send(const std::string& data) { platform::sendBytes(socket_, data.data(), data.size()); }
    void sendWord(std::uint32_t value) { platform::sendBytes(socket_, &value, sizeof value); }
    // Each byte by itself.
    void sendTorn(const std::string& data) {
        for (const char byte : data) {
            send({byte});
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    }
    void close() {
        if (socket_ != platform::noSocket) platform::closeSocket(socket_);
        socket_ = platform::noSocket;
    }
    // Ends without the orderly end.
    void reset() {
        if (socket_ != platform::noSocket) platform::abortSocket(socket_);
        socket_ = platform::noSocket;
    }

    std::string received;

  private:
    platform::SocketHandle socket_;
};

class FakeRenderer {
  public:
    using Script = std::function<void(Peer&)>;

    explicit FakeRenderer(std::uint16_t status = 4) {
        platform::startSockets();
        listener_ = platform::listenOnLoopback();
        showPort();
        showStatus(status);
    }
    ~FakeRenderer() {
        if (thread_.joinable()) thread_.join();
        platform::closeSocket(listener_);
    }
    FakeRenderer(const FakeRenderer&) = delete;
    FakeRenderer& operator=(const FakeRenderer&) = delete;

    void setStatus(std::uint16_t status) { put(statusBlock_, 0, status); }
    void setFlag(std::uint16_t flag) { put(statusBlock_, 2, flag); }
    void setPort(std::uint16_t port) { put(portBlock_, 0, port); }
    std::uint16_t flag() { return wordOf(statusBlock_, 2).load(); }

    // Blocks that go, and come again.
    void hideStatus() { statusBlock_.reset(); }
    void showStatus(std::uint16_t status) {
        statusBlock_.emplace(platform::CreatedBlock::create(testStatusBlock, 4));
        setStatus(status);
        setFlag(0);
    }
    void hidePort() { portBlock_.reset(); }
    void showPort() {
        portBlock_.emplace(platform::CreatedBlock::create(testPortBlock, 2));
        setPort(port());
    }

    std::uint16_t port() const { return platform::portOf(listener_); }

    // Serves the connections that come, one script each.
    void serve(std::vector<Script> scripts) {
        thread_ = std::thread([this, scripts = std::move(scripts)] {
            try {
                for (const Script& script : scripts) {
                    const auto socket = platform::acceptClient(listener_, patience);
                    if (socket == platform::noSocket) throw std::runtime_error("nobody connected");
                    Peer peer(socket);
                    script(peer);
                }
            } catch (...) {
                error_ = std::current_exception();
            }
        });
    }
    // Waits for the scripts to end; throws what they threw.
    void finish() {
        thread_.join();
        if (error_) std::rethrow_exception(error_);
    }
    // Whether somebody waits to be accepted.
    bool hasCaller() {
        const auto socket = platform::acceptClient(listener_, 0);
        if (socket != platform::noSocket) platform::closeSocket(socket);
        return socket != platform::noSocket;
    }

  private:
    // Scripts and tests change the blocks from several threads.
    using Block = std::optional<platform::CreatedBlock>;
    static std::atomic_ref<std::uint16_t> wordOf(Block& block, std::size_t offset) {
        return std::atomic_ref(*reinterpret_cast<std::uint16_t*>(block->view().data() + offset));
    }
    static void put(Block& block, std::size_t offset, std::uint16_t value) {
        wordOf(block, offset).store(value);
    }

    Block statusBlock_;
    Block portBlock_;
    platform::SocketHandle listener_ = platform::noSocket;
    std::thread thread_;
    std::exception_ptr error_;
};

// What a renderer gathers of one model, and every byte of the exchange in a text form.
struct ReceivedModel {
    q7tools::StreamModel model;
    // As a stream file would hold it.
    std::string stream;
    WideString pathsJson;
    std::string transcript;
};

class ModelReceiver {
  public:
    explicit ModelReceiver(Peer& peer) : peer_(peer) {}

    // Called before each acknowledgement with its number, from 1; false ends the connection instead.
    std::function<bool(int)> mayAcknowledge = [](int) { return true; };

    ReceivedModel receive(bool withPaths) {
        note("version", peer_.bytes(4));
        const std::string version = last_;
        const std::string header = stringFrame("header");
        std::string file = version + header;
        std::string count = countWord("materials");
        file += count + records(count, 2, 0);
        acknowledge();
        count = countWord("instances");
        file += count + records(count, 2, 64);
        acknowledge();
        count = countWord("meshes");
        file += count;
        for (std::uint32_t i = 0; i < numberOf(count); ++i) {
            file += stringFrame("mesh");
            for (const char* array : {"positions", "normals", "uvs", "colors", "indices"}) {
                const std::string length = countWord(array);
                file += length + blockBytes(4 * numberOf(length));
                acknowledge();
            }
        }
        ReceivedModel received;
        if (withPaths) {
            countWord("paths");
            const std::string block = blockBytes(4);
            const std::string text = blockBytes(4 + 2 * numberOf(block));
            received.pathsJson.resize(numberOf(block));
            std::memcpy(received.pathsJson.data(), text.data() + 4, text.size() - 4);
            acknowledge();
        }
        acknowledge();
        received.model = q7tools::readStream(std::as_bytes(std::span(file)));
        received.stream = std::move(file);
        received.transcript = transcript_;
        return received;
    }

  private:
    static std::uint32_t numberOf(const std::string& word) {
        std::uint32_t value = 0;
        std::memcpy(&value, word.data(), sizeof value);
        return value;
    }

    void note(const std::string& what, const std::string& bytes) {
        last_ = bytes;
        transcript_ += what;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            static const char digits[] = "0123456789abcdef";
            const auto byte = static_cast<unsigned char>(bytes[i]);
            transcript_ += i % 32 == 0 ? "\n   " : "";
            transcript_ += {' ', digits[byte >> 4], digits[byte & 15]};
        }
        transcript_ += '\n';
    }

    std::string countWord(const std::string& what) {
        note("socket " + what, peer_.bytes(4));
        return last_;
    }

    std::string stringFrame(const std::string& what) {
        const std::string count = peer_.bytes(4);
        note("socket " + what, count + peer_.bytes(2 * numberOf(count)));
        return last_;
    }

    static std::string wholeBlock() {
        const auto block =
            platform::OpenedBlock::open(testModelBlock, platform::BlockAccess::ReadWrite);
        if (!block) throw std::runtime_error("no model block");
        const auto view = block->view();
        return {reinterpret_cast<const char*>(view.data()), view.size()};
    }

    std::string blockBytes(std::size_t size) {
        const std::string block = wholeBlock();
        if (size > block.size()) throw std::runtime_error("the block is too short");
        note("block", block.substr(0, size));
        return last_;
    }

    // Records of some strings and a fixed rest, as long as their own counts say.
    std::string records(const std::string& count, int strings, std::size_t rest) {
        const std::string block = wholeBlock();
        std::size_t end = 0;
        for (std::uint32_t i = 0; i < numberOf(count); ++i) {
            for (int s = 0; s < strings; ++s)
                end += 4 + 2 * numberOf(block.substr(end, 4));
            end += rest;
        }
        return blockBytes(end);
    }

    void acknowledge() {
        if (!mayAcknowledge(++acknowledgements_)) {
            peer_.close();
            throw std::runtime_error("ended on request");
        }
        // Any four bytes will do.
        peer_.sendWord(0xFFFFFFFFU - static_cast<std::uint32_t>(acknowledgements_));
        transcript_ += "acknowledged\n";
    }

    Peer& peer_;
    std::string last_;
    std::string transcript_;
    int acknowledgements_ = 0;
};
