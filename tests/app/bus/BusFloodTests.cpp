// What anybody on the bus can throw at the program: many calls, many callers, large ones, answers
// that nobody reads. The program goes on meanwhile and is no larger afterwards.
#include "BusFixture.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <gmock/gmock.h>
#include <iostream>
#include <unistd.h>

namespace velmoran {
namespace {

using testing::BusFixture;

constexpr double mayGrow = 4; ///< MiB
/// Far from what a whole flood takes on any machine, and what no single turn of the loop may take.
/// Seconds of this thread's own work, so that other programs don't count.
constexpr double longestTurn = 1.0;

double workedSeconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double residentMiB() {
    std::ifstream file("/proc/self/statm");
    long size = 0;
    long resident = 0;
    file >> size >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1048576;
}

class BusFlood : public BusFixture {
protected:
    BusFlood() { machine.script.closeSeconds["org.example.Zoom"] = 0; }

    /// Lets the flood go on until its last call is answered, with the loop running, and watches
    /// both bounds.
    void endure(const std::vector<std::string>& flood) {
        // What a first call leaves behind for good isn't the flood's.
        run({"Status", "100", "-", "many"});
        const double before = residentMiB();
        const auto begun = Steady::now();
        auto last = workedSeconds();
        double turn = 0;
        const auto tick = loop.every(0.001, [&] {
            const auto now = workedSeconds();
            turn = std::max(turn, now - last);
            last = now;
        });
        run(flood);
        const auto took = std::chrono::duration<double>(Steady::now() - begun).count();
        const double grown = residentMiB() - before;
        for (const auto& word : flood) {
            std::cout << word << ' ';
        }
        std::cout << ": " << took << " s, longest turn " << turn * 1000 << " ms, grown by " << grown
                  << " MiB\n";
        EXPECT_LT(turn, longestTurn);
        EXPECT_LT(grown, mayGrow);
    }

    void run(std::vector<std::string> flood) {
        flood.insert(flood.begin(), FLOOD_BUS);
        auto client = start(flood);
        EXPECT_EQ(finish(client), 0) << client.title() << client.errors();
        EXPECT_EQ(client.output(), "answered\n");
    }
};

TEST_F(BusFlood, OfStopsIsOneStopAtATime) {
    machine.script.closeSeconds["org.example.Zoom"] = 100;
    launch();
    model->receive(reading({app("Zoom")}));
    int stops = 0;
    const auto counted = model->isStopping.subscribe([&](bool is) { stops += is ? 1 : 0; });
    endure({"StopEverything", "10000"});
    EXPECT_EQ(stops, 1);
    EXPECT_TRUE(*model->isStopping);
}

TEST_F(BusFlood, OfStopsThatEndAtOnceShowsFewCards) {
    launch();
    int stops = 0;
    const auto counted = model->onStopEnded.subscribe([&](const auto&) { ++stops; });
    const auto begun = Steady::now();
    endure({"StopEverything", "10000"});
    const auto took = std::chrono::duration<double>(Steady::now() - begun).count();
    EXPECT_GE(stops, 1);
    EXPECT_LE(stops, BusRequests::atOnce + took / BusRequests::interval + 1);
}

TEST_F(BusFlood, OfUnmutesLeavesNothingBehind) {
    launch();
    endure({"UnmuteMicrophone", "10000"});
}

TEST_F(BusFlood, OfLongNamesLeavesNothingBehind) {
    launch();
    model->receive(reading({app("Zoom")}));
    endure({"Stop", "10000", "20000"});
}

TEST_F(BusFlood, OfEnormousCallsLeavesNothingBehind) {
    launch();
    endure({"Stop", "20", "16000000"});
    endure({"Status", "3", "120000000"});
}

TEST_F(BusFlood, FromManyCallersLeavesNothingBehind) {
    launch();
    model->receive(reading({app("Zoom")}));
    endure({"Status", "10000", "-", "many"});
}

TEST_F(BusFlood, WhoseAnswersNobodyReadsLeavesNothingBehind) {
    launch();
    model->receive(reading({app("Zoom")}));
    endure({"Status", "10000", "-", "deaf"});
}

TEST_F(BusFlood, LetsTheUsersOwnStopThrough) {
    launch();
    model->receive(reading({app("Zoom")}));
    auto flood = start({FLOOD_BUS, "Status", "100000"});
    // It has been let in.
    ASSERT_TRUE(runUntil([&] { return model->openSessions->size() == 1; }));
    int ended = 0;
    const auto counted = model->onStopEnded.subscribe([&](const auto&) { ++ended; });
    model->stop(model->openSessions->front().app);
    EXPECT_TRUE(runUntil([&] { return ended == 1; }));
    EXPECT_TRUE(flood.running());
    flood.stop();
}

} // namespace
} // namespace velmoran
