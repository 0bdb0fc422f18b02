// What a host can find out after a send: each way of asking, against a renderer that misbehaves in each way that
// the stand-in knows. The table of docs/guide.md says what comes out, and each of its rows is tried here.
#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <span>
#include <sstream>

#include "tests/fake_renderer.h"
#include "tests/host.h"
#include "tests/live/standin.h"
#include "tests/platform/installation.h"

namespace {

constexpr std::uint32_t statusLinked = 4;
constexpr std::uint32_t metadata = 3;
constexpr std::uint32_t noMessageMayGo = 0xFFFFFFFF;
// Of a model with one mesh: materials, instances, the mesh's five arrays, and the last one; the first of the two
// passes has one more, for the instance paths.
constexpr int acknowledgements = (2 + 5 + 2) + (2 + 5 + 1);

constexpr std::string_view tableStart = "| the renderer ";
constexpr std::string_view waiting = "waits";

using Row = std::vector<std::string>;

Row cellsOf(const std::string& line) {
    Row cells;
    std::istringstream text(line.substr(1));
    for (std::string cell; std::getline(text, cell, '|');) {
        const std::size_t first = cell.find_first_not_of(' ');
        cells.push_back(first == std::string::npos
                            ? ""
                            : cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
    }
    return cells;
}

// Heading first, without the line below it.
std::vector<Row> tableOfGuide() {
    std::istringstream guide(readFile(Q7_GUIDE));
    std::vector<Row> rows;
    for (std::string line; std::getline(guide, line);) {
        const bool isRow = !line.empty() && line.front() == '|';
        if (rows.empty() ? line.starts_with(tableStart) : isRow) {
            rows.push_back(cellsOf(line));
        } else if (!rows.empty()) {
            break;
        }
    }
    if (rows.size() > 1) rows.erase(rows.begin() + 1);
    return rows;
}

// What stands in `code` of a row's first cell: the stand-in's options, or nothing where there is no renderer.
std::optional<std::vector<std::string>> optionsOf(const Row& row) {
    const std::size_t start = row.front().find('`');
    if (start == std::string::npos) return std::nullopt;
    const std::size_t end = row.front().find('`', start + 1);
    std::istringstream words(row.front().substr(start + 1, end - start - 1));
    std::vector<std::string> options;
    for (std::string word; words >> word;)
        options.push_back(word);
    const auto choosesLink = [](const std::string& option) {
        return option.starts_with("--status") || option.starts_with("--flag") ||
               option == "--port" || option == "--link-delay";
    };
    // What is about the send does without the time that a link takes.
    if (std::none_of(options.begin(), options.end(), choosesLink)) {
        options.insert(options.end(), {"--status", "4"});
    }
    return options;
}

HostString sendToken(void* session) {
    std::random_device random;
    const std::string number = std::to_string(random()) + '-' + std::to_string(random());
    HostString token(number.begin(), number.end());
    Q7SetEntityStringProperty(session, metadata, nullptr, Q7T("$q7SendToken"), token.c_str());
    Q7SendMetaData(session);
    return token;
}

bool holdsToken(void* session, const HostString& token) {
    HostString answer(65536, Q7Char{});
    Q7GetMetaData(session, answer.data(), static_cast<std::uint32_t>(answer.size()));
    return answer.find(token) != HostString::npos;
}

// By the headings of the table; "-" for what was not asked, or has nothing to compare with.
using Findings = std::map<std::string, std::string>;

std::string told(bool isSeen) {
    return isSeen ? "yes" : "no";
}

// A host that asks in each way, and ends at the first refusal. A renderer that is to die is dead before the next
// question: while a process ends, some of what it has is there longer than the rest.
Findings sendAndAsk(const Host& host, Standin* standin, const Row& row) {
    void* const session = host.session;
    Findings found;
    const auto diesAt = [&](const char* option) {
        if (row.front().find(option) == std::string::npos) return;
        EXPECT_TRUE(standin->exitCode());
    };
    const auto see = [&](const char* way, bool isSeen) {
        return found[way] = told(isSeen), isSeen;
    };
    if (see("link", StartLinkQ7Render(Q7T("file")) != 0)) return found;
    const std::int32_t type = GetSendModelType(session, Q7T("name"));
    const HostString token = sendToken(session);
    const bool canBeAsked = holdsToken(session, token);
    diesAt("--die-at-word 15");
    const bool isRefused = see("connect", Q7RawSyncConnect(session) != ConnectRet_Accepted);
    see("`HasConnected`", HasConnected(session) == 0);
    if (isRefused) return found;
    Q7SendRaw(session);
    EXPECT_EQ(HasConnected(session), 1);
    diesAt("--die-at-ack");
    see("held",
        Q7GetMetaData(session, nullptr, 0) != noMessageMayGo || GetQ7RenderStatus(nullptr) == 0);
    DisConnect(session);
    Q7SendCamera(session);
    diesAt("--die-at-word 12");
    std::unique_ptr<Standin> replacement;
    if (row.front().starts_with("is replaced")) {
        replacement = std::make_unique<Standin>(
            std::vector<std::string>{"--status", "4", "--send-type", "7"});
        // It is lost, but what comes next goes to the port of the new one.
        Q7SendCamera(session);
    }
    see("status", GetQ7RenderStatus(nullptr) != statusLinked);
    if (canBeAsked) see("token", !holdsToken(session, token));
    if (type != 0) see("`GetSendModelType`", GetSendModelType(session, Q7T("name")) != type);
    return found;
}

class AfterSend : public testing::Test {
  protected:
    AfterSend() {
        testing::internal::CaptureStdout();
        EXPECT_EQ(SetQ7RenderPath(Q7T("")), 0);
        SetModelFilePath(host.session, Q7T("triangle.model"));
        host.addNode(Q7T("Node"), {Q7T("Red")}, Q7T("/Node"));
    }
    ~AfterSend() override {
        removeLeftBlocks();
        const std::string printed = testing::internal::GetCapturedStdout();
        if (HasFailure()) std::cout << printed;
    }

    static std::unique_ptr<Standin> start(const Row& row) {
        removeLeftBlocks();
        auto options = optionsOf(row);
        if (!options) return nullptr;
        if (row.front().find("--send-type") == std::string::npos) {
            options->insert(options->end(), {"--send-type", "7"});
        }
        return std::make_unique<Standin>(*options);
    }

    // Whether the renderer got the model to its end, in both passes.
    static std::string sceneOf(const Standin* standin) {
        int models = 0;
        for (int i = 1; standin && i < 20; ++i) {
            const std::string number = std::to_string(i);
            models +=
                standin->keeps(std::string(4 - number.size(), '0') + number + "-model.q7mesh");
        }
        return models == 2 ? "whole" : "no";
    }

    // What the guide's program makes of such a renderer.
    static std::string verdictOfGuide(const Row& row) {
        const auto standin = start(row);
        const TemporaryFolder folder;
        ChildProgram program(guideProgram(), {"plugin.file"}, folder.path());
        const std::optional<int> code = program.exitCode();
        if (code == 1) return "lost";
        const std::string printed = program.printed();
        if (code != 0) return "failed: " + printed;
        return printed.find("cannot be asked") == std::string::npos ? "sent" : "unknown";
    }
    static std::filesystem::path guideProgram() {
        return std::filesystem::absolute(Q7_GUIDE_LIVE).make_preferred();
    }

    // None that a link without a renderer could start.
    const Installation installation{"2.5.0", false};
    const Host host;
};

}  // namespace

TEST_F(AfterSend, IsAsTheGuideSays) {
    const std::vector<Row> table = tableOfGuide();
    ASSERT_GT(table.size(), 20U);
    const Row& heading = table.front();
    for (const Row& row : std::span(table).subspan(1)) {
        SCOPED_TRACE(row.front());
        ASSERT_EQ(row.size(), heading.size());
        if (row[1] == waiting) continue;
        Findings found;
        {
            const auto standin = start(row);
            found = sendAndAsk(host, standin.get(), row);
            found[heading[1]] = sceneOf(standin.get());
        }
        found[heading.back()] = verdictOfGuide(row);
        for (std::size_t i = 1; i < row.size(); ++i) {
            const auto way = found.find(heading[i]);
            EXPECT_EQ(row[i], way == found.end() ? "-" : way->second) << heading[i];
        }
    }
}

// Nothing ends the wait but the renderer's end.
TEST_F(AfterSend, ARendererThatNeverAnswersKeepsTheHostWaiting) {
    int rows = 0;
    for (const Row& row : tableOfGuide()) {
        if (row[1] != waiting) continue;
        SCOPED_TRACE(row.front());
        ++rows;
        auto standin = start(row);
        const TemporaryFolder folder;
        ChildProgram program(guideProgram(), {"plugin.file"}, folder.path());
        EXPECT_TRUE(becomesTrue([&] { return standin->keeps("0003-sync.json"); }));
        EXPECT_FALSE(program.hasEnded());
        standin.reset();
        EXPECT_EQ(program.exitCode(), 1) << program.printed();
    }
    EXPECT_EQ(rows, 1);
}

// At the first acknowledgement, at the end of the first pass, and at the last one.
TEST_F(AfterSend, ADeathDuringTheModelShows) {
    for (const int i : {1, 9, acknowledgements}) {
        const Row row = {"`--die-at-ack " + std::to_string(i) + '`'};
        SCOPED_TRACE(row.front());
        const auto standin = start(row);
        Findings found = sendAndAsk(host, standin.get(), row);
        for (const char* way : {"held", "status", "token"})
            EXPECT_EQ(found[way], "yes") << way;
    }
}

// The library notices with the second thing that it sends after the renderer closed, after a reset with the first
// one. Of the plain form the last three acknowledgements have fewer behind them, and two of these none.
TEST_F(AfterSend, ATornConnectionShowsWhileMoreIsSent) {
    // Not the fourth from the end: what is sent next but one may overtake the answer to what is sent next.
    for (const int i :
         {1, acknowledgements - 4, acknowledgements - 2, acknowledgements - 1, acknowledgements}) {
        for (const bool isReset : {false, true}) {
            const Row row = {"`--close-at-ack " + std::to_string(i) +
                             (isReset ? " --abort`" : "`")};
            SCOPED_TRACE(row.front());
            const auto standin = start(row);
            Findings found = sendAndAsk(host, standin.get(), row);
            EXPECT_EQ(found["held"], told(i <= acknowledgements - (isReset ? 2 : 4)));
            EXPECT_EQ(found["status"], "no");
            EXPECT_EQ(found["token"], "no");
        }
    }
}
