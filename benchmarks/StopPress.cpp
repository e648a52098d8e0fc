// stop-press: the running program without a desktop, pressed from standard input. A line each:
//   stop              presses "Stop", as a card does
//   unmute            unmutes the microphones
//   run PROGRAM …     starts a program and waits for its end
// It prints when it did so, by the clock that the benchmarks' scripts use, and what came of it:
//   NANOSECONDS stop|unmute|run    just before
//   NANOSECONDS muted|unmuted N    the sound server has answered for N microphones
//   NANOSECONDS uses N             N uses are open now
//   NANOSECONDS done               the stop or the program is over
// The history goes to the folder in XDG_DATA_HOME. Ends with its input.
#include "app/model/AppModel.h"
#include "app/model/MemorySettings.h"
#include "app/qtbase/QtEventLoop.h"
#include "system/MakeMachine.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <memory>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace velmoran {
namespace {

long long now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<long long>(time.tv_sec) * 1'000'000'000LL + time.tv_nsec;
}

void print(long long time, const std::string& text) {
    std::printf("%lld %s\n", time, text.c_str());
    std::fflush(stdout);
}

void run(const std::string& line) {
    std::istringstream words(line);
    std::vector<std::string> arguments;
    for (std::string word; words >> word;) {
        arguments.push_back(word);
    }
    std::vector<char*> pointers;
    for (auto& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    pid_t pid = 0;
    const auto begun = now();
    if (posix_spawnp(&pid, pointers[0], nullptr, nullptr, pointers.data(), environ) == 0) {
        waitpid(pid, nullptr, 0);
    }
    const auto ended = now();
    print(begun, "run");
    print(ended, "done");
}

void press(AppModel& model, const std::string& line) {
    const auto time = now();
    if (line == "stop") {
        model.stopEverything();
        print(time, "stop");
    } else if (line == "unmute") {
        model.unmuteMicrophone();
        print(time, "unmute");
    } else if (line.starts_with("run ")) {
        run(line.substr(4));
    }
}

int runModel() {
    int count = 1;
    char name[] = "stop-press";
    char* arguments[] = {name, nullptr};
    const QCoreApplication application(count, arguments);
    QtEventLoop loop;
    MemorySettings settings;
    auto machine = makeMachine({.sounds = nullptr, .deviceFolder = "/dev"});
    const char* folder = std::getenv("XDG_DATA_HOME"); // NOLINT(concurrency-mt-unsafe)
    auto model = std::make_unique<AppModel>(ModelSurroundings{
        .machine = *machine,
        .clock = loop,
        .scheduler = loop,
        .settings = settings,
        .openHistory =
            [folder] {
                return std::make_shared<HistoryStore>(std::string(folder ? folder : "/tmp") +
                                                      "/stop-press.store");
            },
    });
    const auto mutes =
        model->onMicrophonesMuted.subscribe([](bool muted, const MuteOutcome& outcome) {
            print(now(), (muted ? "muted " : "unmuted ") + std::to_string(outcome.mutedCount));
        });
    const auto stops = model->isStopping.subscribe([](bool isStopping) {
        if (!isStopping) {
            print(now(), "done");
        }
    });
    const auto uses = model->openSessions.subscribe([](const std::vector<UsageSession>& open) {
        print(now(), "uses " + std::to_string(open.size()));
    });
    model->start();
    std::thread input([&] {
        for (std::string line; std::getline(std::cin, line);) {
            loop.post([&model, line] { press(*model, line); });
        }
        loop.post([] { QCoreApplication::quit(); });
    });
    QCoreApplication::exec();
    input.join();
    model->stopMonitor();
    model.reset();
    return 0;
}

} // namespace
} // namespace velmoran

int main() {
    return velmoran::runModel();
}
