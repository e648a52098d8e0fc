// Closes an app as the program does, in real time, and says how that went.
// usage: close-app APP-ID
// Ends with 0 if the app is gone and with 1 if not; prints the milliseconds that it took.
#include "system/linux/closing/LinuxRunningApps.h"
#include "system/scripted/ScriptedTime.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <thread>

int main(int count, char** arguments) {
    using namespace velmoran;
    using Clock = std::chrono::steady_clock;
    if (count != 2) {
        return 2;
    }
    const char* display = std::getenv("DISPLAY");
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    const ProcessFinder processes(names);
    LinuxRunningApps running(processes, display ? display : "");
    ScriptedTime time;
    AppCloser closer(running, time);
    std::optional<bool> answer;
    const auto start = Clock::now();
    const auto passed = [&] {
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    closer.close({.id = arguments[1], .name = {}, .bundleID = {}, .path = {}, .teamID = {}},
                 [&](bool gone) { answer = gone; });
    while (!answer) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        time.advanceTo(passed());
    }
    std::printf("%.1f\n", passed() * 1000);
    return *answer ? 0 : 1;
}
