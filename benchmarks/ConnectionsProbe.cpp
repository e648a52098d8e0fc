// connections-probe APP: for each line of standard input, asks whom the app with that id is talking
// to, as the running program does while it uses the microphone, and prints
//   MICROSECONDS COUNT
// from the question to the answer, and how many connections it told of.
#include "system/linux/apps/LinuxAppNames.h"
#include "system/linux/apps/ProcessFinder.h"
#include "system/linux/peers/LinuxConnections.h"

#include <chrono>
#include <cstdio>
#include <future>
#include <iostream>
#include <string>

int main(int count, char** arguments) {
    using namespace velmoran;
    if (count != 2) {
        std::fprintf(stderr, "usage: connections-probe APP\n");
        return 2;
    }
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    const ProcessFinder processes(names);
    LinuxConnections connections([&](const AppIdentity& app) { return processes.find(app); });
    const AppIdentity app{.id = arguments[1],
                          .name = arguments[1],
                          .bundleID = {},
                          .path = arguments[1],
                          .teamID = {}};
    for (std::string line; std::getline(std::cin, line);) {
        const auto begun = std::chrono::steady_clock::now();
        std::promise<std::size_t> answer;
        connections.ofApps({app}, [&](const Connections::Found& found) {
            const auto own = found.find(app.id);
            answer.set_value(own == found.end() ? 0 : own->second.size());
        });
        const auto peers = answer.get_future().get();
        const std::chrono::duration<double, std::micro> passed =
            std::chrono::steady_clock::now() - begun;
        std::printf("%.0f %zu\n", passed.count(), peers);
        std::fflush(stdout);
    }
    return 0;
}
