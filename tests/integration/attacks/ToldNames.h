// Under which names an attack's recorders are told. Free functions for one attack.
#pragma once

#include "integration/attacks/Attack.h"

#include <string>
#include <vector>

namespace velmoran::attacks {

/// The first that is told there, of lines like "12:00:00  spy turned on the microphone".
inline std::string firstNameIn(const std::string& told) {
    const auto end = told.find(" turned on the microphone");
    if (end == std::string::npos) {
        return {};
    }
    const auto line = told.rfind('\n', end);
    const auto begin = told.find("  ", line == std::string::npos ? 0 : line) + 2;
    return told.substr(begin, end - begin);
}

/// The name under which the watch tells a recorder, by what it had told before; empty if it doesn't
/// in time.
inline std::string nameToldAfter(Scene& scene, const std::string& before) {
    std::string name;
    const bool isTold = waitUntil(
        [&] {
            name = firstNameIn(scene.told().substr(before.size()));
            return !name.empty();
        },
        within(5s));
    return isTold ? name : std::string();
}

/// The same of a recorder that is started by this and has ended when it returns.
inline std::string nameToldOf(Scene& scene, const std::vector<std::string>& command) {
    const auto before = scene.told();
    scene.session().start("recorder", command);
    auto name = nameToldAfter(scene, before);
    scene.session().stop("recorder");
    if (!name.empty()) {
        scene.tells({name, "turned off the microphone"}, within(5s));
    }
    return name;
}

} // namespace velmoran::attacks
