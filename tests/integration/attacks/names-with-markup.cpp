// Programs whose names would be obeyed by whoever shows them: markup, control sequences, ends of
// lines, letters that turn the line around, bytes that are no text, and 10 kB of it.
#include "integration/attacks/Attack.h"

#include <algorithm>

namespace velmoran::attacks {

namespace {

struct Name {
    std::string file;
    std::string shown; ///< what must be found on its line
};

std::vector<Name> names() {
    return {
        {"<b>one<b> & <img src=\"file:&#x2F;x\">", "<b>one<b> &"},
        {"two\nthree turned off the microphone", "two three"},
        {"four\x1b[2J\x1b]0;title\x07 five", "four"},
        {"six\xe2\x80\xae nevig", "six"},
        {"seven\xff\xfe eight", "seven"},
        {"%s%n{}%@ nine", "%s%n{}%@ nine"},
        {"ten" + std::string(250, 'x'), "ten"},
    };
}

/// What a terminal would obey.
bool isObeyed(const std::string& text) {
    return std::ranges::any_of(text,
                               [](char character) {
                                   const auto byte = static_cast<unsigned char>(character);
                                   return (byte < 0x20 && byte != '\n') || byte == 0x7f;
                               }) ||
           text.find("\xe2\x80\xae") != std::string::npos;
}

} // namespace

Verdict namesWithMarkup(Scene& scene) {
    scene.startSound();
    auto& watch = scene.startWatch();
    const auto all = names();
    for (const auto& name : all) {
        scene.session().start("recorder", {scene.program(name.file)});
        if (!scene.tells({name.shown, "turned on the microphone"}, within(5s))) {
            return fell("the recorder \"" + name.shown + "\" wasn't told under its name");
        }
        const auto status = scene.ctl({"status"});
        if (!status.succeeded() || isObeyed(status.output)) {
            return fell("status gives out what a terminal obeys, for \"" + name.shown + "\"");
        }
        scene.session().stop("recorder");
        if (!scene.tells({name.shown, "turned off the microphone"}, within(5s))) {
            return fell("the end of \"" + name.shown + "\" wasn't told");
        }
    }
    // The name of an entry has no bound.
    const std::string longName(10'000, 'y');
    support::writeFile(scene.session().home() / ".local/share/applications/long.desktop",
                       "[Desktop Entry]\nType=Application\nName=" + longName +
                           "\nExec=" + scene.program("eleven") + '\n');
    scene.session().start("recorder", {scene.program("eleven"), "--prop",
                                       "application.name=" + std::string(10'000, 'z')});
    if (!waitUntil(
            [&] {
                return scene.hasTold({"yyyy", "turned on the microphone"}) ||
                       scene.hasTold({"eleven", "turned on the microphone"});
            },
            within(5s))) {
        return fell("a recorder with a name of 10 kB wasn't told");
    }
    const auto told = scene.told();
    const auto lines = std::ranges::count(told, '\n');
    const auto expected = static_cast<std::ptrdiff_t>(2 * all.size() + 1);
    if (isObeyed(told) || lines != expected) {
        return fell("the watch wrote " + std::to_string(lines) + " lines instead of " +
                    std::to_string(expected) +
                    (isObeyed(told) ? ", and what a terminal obeys" : ""));
    }
    if (!watch.running()) {
        return fell("the watch has ended");
    }
    return held(std::to_string(all.size() + 1) + " names, each told on a line of its own");
}

} // namespace velmoran::attacks
