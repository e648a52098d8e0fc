// A program writes itself into the settings as trusted: no program can be kept from files of its
// own user. It gets no card then; that it was on is written down all the same.
#include "app/qtbase/QtSettingsFile.h"
#include "core/base/Json.h"
#include "core/trust/TrustList.h"
#include "integration/attacks/Attack.h"

#include <QString>
#include <SQLiteCpp/Database.h>

namespace velmoran::attacks {

namespace {

void trust(const std::filesystem::path& settings, const std::string& program) {
    TrustList list;
    list.setTrusted(true,
                    {.id = program, .name = "spy", .bundleID = {}, .path = program, .teamID = {}},
                    {Device::microphone});
    std::filesystem::create_directories(settings.parent_path());
    QtSettingsFile(QString::fromStdString(settings)).setBytes("trustRules", encode(list));
}

bool isKept(Scene& scene, const std::string& program) {
    const auto file = scene.session().home() / ".local/share/Velmoran/History.store";
    try {
        SQLite::Database history(file.string(), SQLite::OPEN_READONLY, 1000);
        return history
                   .execAndGet("SELECT count(*) FROM SessionRecord WHERE appPath = '" + program +
                               "'")
                   .getInt() == 1;
    } catch (const SQLite::Exception&) {
        return false;
    }
}

} // namespace

Verdict trustWritten(Scene& scene) {
    scene.startSound();
    const auto spy = scene.program("spy");
    trust(scene.session().home() / ".config/Velmoran/Velmoran.conf", spy);
    scene.startWatch();
    scene.record("spy");
    if (!scene.tells({"spy", "turned on the microphone"}, within(1s))) {
        return fell("a use wasn't written anywhere");
    }
    const bool isQuiet = scene.hasTold({"spy", "(trusted)"});
    if (!waitUntil([&] { return isKept(scene, spy); }, within(2s))) {
        return fell("a use of a trusted app isn't in the history");
    }
    return held(isQuiet ? "it passes for trusted, and stands in the history and in the watch"
                        : "it doesn't pass for trusted");
}

} // namespace velmoran::attacks
