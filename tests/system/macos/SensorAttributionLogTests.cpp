#include "system/macos/SensorAttributionLog.h"

#include "support/TemporaryDirectory.h"
#include "system/ThreadQueue.h"
#include "system/macos/ChildLogTool.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>

namespace velmoran {
namespace {

using Table = AttributionTable;

std::string messageLine(const std::string& elements) {
    return R"({"eventMessage":"Active activity attributions changed to [)" + elements + "]\"}\n";
}
const std::string micA = messageLine(R"(\"mic:a\")");
const std::string camB = messageLine(R"(\"cam:b\")");

/// Plays what a tool wrote, and writes down what it was asked.
struct RecordedTool final : LogTool {
    struct Running final : Stream {
        explicit Running(RecordedTool& owner) : tool(owner) {}
        void terminate() override { ++tool.terminations; }
        RecordedTool& tool;
    };

    std::optional<std::string> run(const std::vector<std::string>& arguments) override {
        runs.push_back(arguments);
        return past;
    }
    std::unique_ptr<Stream> stream(const std::vector<std::string>& arguments,
                                   DataReceiver given) override {
        runs.push_back(arguments);
        if (!streams) {
            return nullptr;
        }
        receiver = std::move(given);
        return std::make_unique<Running>(*this);
    }

    std::optional<std::string> past = "";
    bool streams = true;
    std::vector<std::vector<std::string>> runs;
    DataReceiver receiver;
    int terminations = 0;
};

class SensorAttributionLogTest : public ::testing::Test {
protected:
    void start() {
        log.start([this](const Table& table) { tables.push_back(table); });
        drain();
    }
    /// Data comes on a thread of the system's own.
    void data(const std::string& bytes) {
        std::thread([&] { tool.receiver(bytes); }).join();
        drain();
    }
    void drain() {
        std::promise<void> done;
        queue.post([&] { done.set_value(); });
        done.get_future().wait();
    }

    RecordedTool tool;
    ThreadQueue queue;
    std::vector<Table> tables;
    SensorAttributionLog log{tool, queue};
};

TEST_F(SensorAttributionLogTest, AsksForItsMessagesToTheLetter) {
    EXPECT_EQ(SensorAttributionLog::predicate.size(), 246U);
    EXPECT_EQ(SensorAttributionLog::predicate,
              R"(subsystem == "com.apple.controlcenter" AND category == "sensor-indicators")"
              R"( AND processImagePath == "/System/Library/CoreServices/ControlCenter.app)"
              R"(/Contents/MacOS/ControlCenter" AND eventMessage BEGINSWITH )"
              R"("Active activity attributions changed to")");
    start();
    const std::string predicate(SensorAttributionLog::predicate);
    ASSERT_EQ(tool.runs.size(), 2U);
    EXPECT_EQ(tool.runs[0], (std::vector<std::string>{"show", "--last", "30m", "--style", "ndjson",
                                                      "--predicate", predicate}));
    EXPECT_EQ(tool.runs[1],
              (std::vector<std::string>{"stream", "--style", "ndjson", "--predicate", predicate}));
}

TEST_F(SensorAttributionLogTest, TellsTheLatestTableOfThePast) {
    tool.past = micA + camB + "rubbish\n";
    start();
    EXPECT_EQ(tables, (std::vector<Table>{{{"cam", {"b"}}}}));
}

TEST_F(SensorAttributionLogTest, StreamsWithoutAPast) {
    start();
    EXPECT_TRUE(tables.empty());
    data(micA);
    EXPECT_EQ(tables, (std::vector<Table>{{{"mic", {"a"}}}}));
}

TEST_F(SensorAttributionLogTest, StreamsWhenThePastCannotBeRead) {
    tool.past.reset();
    start();
    EXPECT_TRUE(tables.empty());
    ASSERT_TRUE(tool.receiver);
    data(camB);
    EXPECT_EQ(tables.size(), 1U);
}

TEST_F(SensorAttributionLogTest, CompletesALineByTheNextChunk) {
    start();
    data(micA.substr(0, 20));
    EXPECT_TRUE(tables.empty());
    data(micA.substr(20) + camB.substr(0, 5));
    EXPECT_EQ(tables, (std::vector<Table>{{{"mic", {"a"}}}}));
    data(camB.substr(5));
    EXPECT_EQ(tables, (std::vector<Table>{{{"mic", {"a"}}}, {{"cam", {"b"}}}}));
}

TEST_F(SensorAttributionLogTest, TellsThreeLinesOfAChunkInTheirOrder) {
    start();
    data(micA + camB + messageLine(""));
    EXPECT_EQ(tables, (std::vector<Table>{{{"mic", {"a"}}}, {{"cam", {"b"}}}, {}}));
}

TEST_F(SensorAttributionLogTest, DropsLinesOfAnotherForm) {
    start();
    data("\n\n{}\nFiltering the log data\n{\"eventMessage\":\"nothing\"}\n" + micA);
    EXPECT_EQ(tables.size(), 1U);
}

TEST_F(SensorAttributionLogTest, DoesNothingOnASecondStart) {
    start();
    start();
    EXPECT_EQ(tool.runs.size(), 2U);
    // The end of the stream is not noticed: there is no new one.
    data("");
    start();
    EXPECT_EQ(tool.runs.size(), 2U);
}

TEST_F(SensorAttributionLogTest, MayStartAgainAfterAFailedLaunch) {
    tool.streams = false;
    start();
    EXPECT_EQ(tool.runs.size(), 2U);
    tool.streams = true;
    start();
    EXPECT_EQ(tool.runs.size(), 4U);
    data(micA);
    EXPECT_EQ(tables.size(), 1U);
}

TEST_F(SensorAttributionLogTest, EndsTheToolAndTellsNothingAfterAStop) {
    start();
    log.stop();
    EXPECT_EQ(tool.terminations, 1);
    data(micA);
    EXPECT_TRUE(tables.empty());
    log.stop();
    EXPECT_EQ(tool.terminations, 1);
}

TEST_F(SensorAttributionLogTest, KeepsTheTailOfALineOverAStop) {
    start();
    data(micA.substr(0, 20));
    log.stop();
    start();
    data(micA.substr(20));
    EXPECT_EQ(tables.size(), 1U);
}

TEST(SensorAttributionLog, OutlivesNoChunkOnItsWay) {
    RecordedTool tool;
    ThreadQueue queue;
    int calls = 0;
    {
        SensorAttributionLog log(tool, queue);
        log.start([&](const Table&) { ++calls; });
        log.stop();
    }
    tool.receiver(micA);
    std::promise<void> done;
    queue.post([&] { done.set_value(); });
    done.get_future().wait();
    EXPECT_EQ(calls, 0);
}

TEST(ThreadQueue, RunsInTheOrderOfPostingAndEndsItsTimers) {
    std::vector<int> order;
    std::promise<void> twice;
    {
        ThreadQueue queue;
        for (int i = 0; i < 100; ++i) {
            queue.post([&order, i] { order.push_back(i); });
        }
        int turns = 0;
        Subscription timer;
        queue.post([&] {
            timer = queue.every(0.001, [&] {
                if (++turns == 2) {
                    timer.reset();
                    twice.set_value();
                }
            });
        });
        twice.get_future().wait();
        queue.post([&order] { order.push_back(100); });
    }
    ASSERT_EQ(order.size(), 101U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

/// Whatever a real child wrote so far, to wait for.
class Collected {
public:
    void add(std::string_view bytes) {
        const std::lock_guard lock(mutex_);
        ended_ = ended_ || bytes.empty();
        text_ += bytes;
        changed_.notify_all();
    }
    bool waitFor(const std::string& text, bool ended) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(60),
                                 [&] { return text_ == text && ended_ == ended; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::string text_;
    bool ended_ = false;
};

TEST(ChildLogTool, RunsAToolToItsEndWhateverItsStatus) {
    ChildLogTool tool("/bin/sh");
    EXPECT_EQ(tool.run({"-c", "echo \"$1\"; echo lost >&2; exit 3", "sh", "an argument"}),
              "an argument\n");
    EXPECT_EQ(tool.run({"-c", "head -c 300000 /dev/zero"})->size(), 300000U);
}

TEST(ChildLogTool, GivesNothingForAToolThatIsNotThere) {
    const TemporaryDirectory folder;
    ChildLogTool tool(folder.path("log"));
    EXPECT_FALSE(tool.run({"show"}));
    EXPECT_FALSE(tool.stream({"stream"}, [](std::string_view) {}));
}

TEST(ChildLogTool, StreamsUntilTheToolEndsByItself) {
    ChildLogTool tool("/bin/sh");
    Collected collected;
    const auto stream =
        tool.stream({"-c", "echo one; echo two"}, [&](std::string_view b) { collected.add(b); });
    ASSERT_TRUE(stream);
    EXPECT_TRUE(collected.waitFor("one\ntwo\n", true));
    stream->terminate();
    stream->terminate();
}

TEST(ChildLogTool, EndsAToolThatWouldGoOnThoughAGrandchildHoldsItsOutput) {
    ChildLogTool tool("/bin/sh");
    Collected collected;
    const TemporaryDirectory folder;
    // The grandchild ends with the folder of the test.
    const auto stream = tool.stream(
        {"-c", "(while [ -d \"$1\" ]; do sleep 0.05; done) & echo up; wait", "sh", folder.path()},
        [&](std::string_view b) { collected.add(b); });
    ASSERT_TRUE(stream);
    EXPECT_TRUE(collected.waitFor("up\n", false));
    stream->terminate();
}

TEST(ChildLogTool, FeedsTheWholeRoadFromARealChild) {
    const TemporaryDirectory folder;
    const auto script = folder.write("log",
                                     "#!/bin/sh\n"
                                     "[ \"$1\" = show ] && printf '%s' '" +
                                         micA +
                                         "'\n"
                                         "[ \"$1\" = stream ] && printf '%s' '" +
                                         camB + "' && exec sleep 600\n",
                                     true);
    ChildLogTool tool(script);
    ThreadQueue queue;
    SensorAttributionLog log(tool, queue);
    Collected collected;
    log.start([&](const Table& table) { collected.add(table.begin()->first + ' '); });
    EXPECT_TRUE(collected.waitFor("mic cam ", false));
    log.stop();
}

} // namespace
} // namespace velmoran
