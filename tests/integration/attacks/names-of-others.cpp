// Recorders that bear the names of other programs: by the name of their file, by a desktop entry of
// the user's own, by the name of a piece of memory that they run from, and by that of a file that
// is gone. Then names that hide or replace the folder by which such a one would be known.
#include "integration/attacks/ToldNames.h"

#include <sys/mman.h>
#include <unistd.h>

namespace velmoran::attacks {

namespace {

constexpr auto homoglyph = "\u0440w-\u0441at"; // "pw-cat", by two letters of the Cyrillic script

/// A descriptor of this process's.
std::string memoryWith(const std::string& name, const std::string& program) {
    const int memory = memfd_create(name.c_str(), 0);
    const auto bytes = support::readFile(program);
    if (write(memory, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("no memory for a program");
    }
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(memory);
}

} // namespace

Verdict namesOfOthers(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const auto home = scene.session().home();
    const auto bin = home / "bin";
    std::filesystem::create_directories(bin);
    const auto client = [&](const std::string& name) {
        std::filesystem::copy_file(clientProgram("graph-client"), bin / name);
        return (bin / name).string();
    };
    const auto entry = [&](const std::string& file, const std::string& name) {
        const auto program = client(file);
        support::writeFile(home / ".local/share/applications" / (file + ".desktop"),
                           "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + program +
                               '\n');
        return program;
    };
    const std::string blanks(50, ' ');
    const std::vector<std::pair<std::string, std::string>> expected = {
        {client("PulseAudio Volume Control"), "PulseAudio Volume Control (~/bin)"},
        {client("Unknown app"), "Unknown app (~/bin)"},
        {entry("one", homoglyph), "one (~/bin)"},
        {entry("two", "P W - C A T\u200b"), "two (~/bin)"},
        {entry("three", "Unbekannte App"), "three (~/bin)"},
        {entry("four", "Firefox (/usr/lib/firefox)"), "Firefox [/usr/lib/firefox] (~/bin)"},
        {client("Firefox\u202e\u2066" + blanks), "Firefox (~/bin)"},
        {memoryWith("x/../../usr/bin/pavucontrol", clientProgram("graph-client")),
         "memfd:x/../../usr/bin/pavucontrol (in memory, not a file)"},
    };
    std::string wrong;
    for (const auto& [program, name] : expected) {
        if (const auto told = nameToldOf(scene, {program}); told != name) {
            wrong += (wrong.empty() ? "“" : ", “") + name + "” was told as “" + told + "”";
        }
    }
    if (!wrong.empty()) {
        return fell(wrong);
    }
    return held(std::to_string(expected.size()) + " borrowed names, each told with its place");
}

} // namespace velmoran::attacks
