// Everything that serves a connection, over a client in memory and a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "standin/connection.h"
#include "tests/read_file.h"
#include "tests/tools/standin/scripted_client.h"

namespace standintest {

namespace fs = std::filesystem;

// A folder named for the running test, empty at first and gone at the end.
class TestFolder {
  public:
    TestFolder() {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("q7standin_") + test->test_suite_name() + '_' + test->name();
        std::replace(name.begin(), name.end(), '/', '_');
        path_ = fs::temp_directory_path() / name;
        fs::remove_all(path_);
        fs::create_directories(path_);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    const fs::path& path() const { return path_; }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(path_))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string content(const std::string& name) const {
        EXPECT_TRUE(fs::is_regular_file(path_ / name)) << name;
        return readFile(path_ / name);
    }

  private:
    fs::path path_;
};

// Serves one connection after the other, with services that a test sets beforehand.
class Harness {
  public:
    explicit Harness(const q7standin::Misbehaviour& misbehaviour = {})
        : behaviour(
              misbehaviour, transcript, log, [](int) {}, [] {}) {}

    // Gives how the connection ended.
    std::string serve(ScriptedClient& client) {
        services.openModelBlock = client.blockOpener();
        q7standin::ConnectionReader reader(client, transcript);
        q7standin::Connection connection{++connections, client, reader, services};
        return q7standin::serveConnection(connection);
    }

    std::vector<std::string> errorLines() const { return linesOf(errors.str()); }
    std::vector<std::string> outLines() const { return linesOf(out.str()); }
    std::string transcriptText() const { return transcriptOut.str(); }

    TestFolder folder;
    std::ostringstream out;
    std::ostringstream errors;
    std::ostringstream transcriptOut;
    std::vector<WideString> pluginFiles;
    std::uint64_t connections = 0;
    q7standin::MessageLog log{out, errors, false, [] { return 0.0; }};
    q7standin::MessageStore store{folder.path()};
    q7standin::Transcript transcript{&transcriptOut};
    q7standin::Behaviour behaviour;
    q7standin::Services services{
        .answers = {},
        .log = log,
        .store = store,
        .behaviour = behaviour,
        .transcript = transcript,
        .openModelBlock = {},
        .pluginFileArrived = [this](const WideString& file) { pluginFiles.push_back(file); }};

  private:
    static std::vector<std::string> linesOf(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);)
            lines.push_back(line);
        return lines;
    }
};

}  // namespace standintest
