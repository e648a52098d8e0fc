#include "Month.h"

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>
#include <vector>

namespace velmoran::pictures {

namespace {

constexpr Seconds minute = 60;
constexpr Seconds hour = 3600;
constexpr Seconds day = 86400;
const Timestamp midnight = moment - 14 * hour - 32 * minute;
constexpr int days = 30;
constexpr int emptyDay = 10; ///< a Sunday

struct PictureApp {
    std::string_view name;
    std::string_view shortID;
    bool hasPicture = true;
};

constexpr std::array<PictureApp, 22> apps = {{
    {"Harbour", "harbour"},
    {"Parley", "parley"},
    {"Classroom", "classroom"},
    {"Wayfarer", "wayfarer"},
    {"Pigeon", "pigeon"},
    {"Kitebox", "kitebox"},
    {"Voice Memos", "memos"},
    {"Dictation", "dictation"},
    {"Podcast Desk", "podcast"},
    {"Tuner", "tuner"},
    {"Document Scanner", "scanner"},
    {"Mirror", "mirror"},
    {"Lingo Trainer", "lingo"},
    {"Music", "music"},
    {"Radio", "radio"},
    {"Videos", "videos"},
    {"Chess Club", "chess"},
    {"Star Lanes", "lanes"},
    {"Screen Recorder", "recorder"},
    {"Meeting Room Booking and Door Sign Assistant for Large Teams", "booking"},
    {"parecord", "parecord", false},
    {"ffmpeg", "ffmpeg", false},
}};
static_assert(apps[19].name.size() == 60);

/// What isn't to be told from others' is one draw after another of the same numbers.
class Diary {
public:
    explicit Diary(HistoryStore& store) : store_(store) {}

    /// Between two numbers, both included.
    int between(int least, int most) {
        return least + static_cast<int>(random_() % static_cast<unsigned>(most - least + 1));
    }

    UsageSession use(std::string_view shortID, Device device, Timestamp start, Seconds length) {
        UsageSession session;
        session.id = Uuid::random();
        session.device = device;
        session.app = shortID.empty() ? AppIdentity::unknown() : identity(shortID);
        session.start = start;
        session.end = start + length;
        session.outcome = SessionOutcome::endedNormally;
        session.warningLevel = shortID.empty() ? WarningLevel::strong : WarningLevel::standard;
        if (device == Device::speaker) {
            session.warningLevel.reset(); // nobody is warned of sound
        } else if (shortID == "pigeon" || shortID == "dictation") {
            session.warningLevel = WarningLevel::quiet;
        }
        session.observedFromStart = true;
        return session;
    }
    void note(std::string_view shortID, Device device, Timestamp start, Seconds length) {
        store_.saveSession(use(shortID, device, start, length));
    }
    void keep(const UsageSession& session) { store_.saveSession(session); }
    void talk(std::string_view shortID, Timestamp start, Seconds length) {
        for (const auto device : {Device::camera, Device::microphone}) {
            auto session = use(shortID, device, start, length);
            session.connections = {{.address = "198.51.100.24",
                                    .port = 443,
                                    .transport = "TCP",
                                    .firstSeen = start + 4},
                                   {.address = "203.0.113.70",
                                    .port = 3478,
                                    .transport = "UDP",
                                    .firstSeen = start + 9}};
            keep(session);
        }
    }

private:
    HistoryStore& store_;
    std::mt19937 random_{30};
};

void workday(Diary& diary, Timestamp date, int ago) {
    diary.talk("harbour", date + 9.5 * hour, diary.between(11, 19) * minute);
    if (ago % 2 == 0) {
        diary.talk("parley", date + 11 * hour, diary.between(26, 58) * minute);
    }
    if (ago % 3 == 1) {
        diary.talk("harbour", date + 16 * hour, diary.between(28, 34) * minute);
    }
    for (int count = diary.between(1, 4); count > 0; --count) {
        diary.note("pigeon", Device::microphone,
                   date + diary.between(8 * 60, 21 * 60) * minute + diary.between(0, 59),
                   diary.between(4, 48));
    }
    if (ago % 4 == 2) {
        diary.note("dictation", Device::microphone, date + 14.2 * hour,
                   diary.between(3, 22) * minute);
    }
    diary.note("music", Device::speaker, date + 13.1 * hour, diary.between(20, 48) * minute);
}

void evening(Diary& diary, Timestamp date, int ago) {
    static constexpr std::array<std::string_view, 3> listening = {"videos", "radio", "chess"};
    diary.note(listening[static_cast<std::size_t>(ago) % 3], Device::speaker, date + 20 * hour,
               diary.between(14, 110) * minute);
    if (ago % 5 == 0) {
        diary.note("lingo", Device::microphone, date + 19 * hour, diary.between(8, 16) * minute);
    }
    if (ago % 7 == 3) {
        diary.note("lanes", Device::microphone, date + 21 * hour, diary.between(45, 95) * minute);
    }
}

/// What happens once or twice in a month.
void seldom(Diary& diary) {
    const auto at = [](int ago, double hours) {
        return midnight - ago * day + hours * hour;
    };
    diary.talk("classroom", at(6, 17), 88 * minute);
    diary.talk("classroom", at(20, 17), 91 * minute);
    diary.talk("wayfarer", at(8, 10.4), 27 * minute);
    diary.note("kitebox", Device::microphone, at(1, 18.3), 17);
    diary.note("memos", Device::microphone, at(2, 12.6), 44);
    diary.note("podcast", Device::microphone, at(5, 15), 64 * minute);
    diary.note("tuner", Device::microphone, at(4, 18), 3 * minute);
    diary.note("scanner", Device::camera, at(1, 15.7), 38);
    diary.note("mirror", Device::camera, at(0, 8.8), 21);
    diary.note("recorder", Device::microphone, at(7, 11.3), 6 * minute);
    diary.note("booking", Device::camera, at(0, 10.3), 9);
    diary.note("parecord", Device::microphone, at(2, 9.1), 3);
    diary.note("", Device::camera, at(1, 21.6), 14);
    auto stopped = diary.use("ffmpeg", Device::camera, at(0, 12.4), 7);
    stopped.outcome = SessionOutcome::stoppedByUser;
    stopped.warningLevel = WarningLevel::strong;
    diary.keep(stopped);
    auto cut = diary.use("music", Device::speaker, at(3, 22), 0);
    cut.end = {};
    cut.outcome = SessionOutcome::endUnknown;
    diary.keep(cut);
}

} // namespace

std::vector<std::string_view> installed() {
    std::vector<std::string_view> ids;
    for (const auto& each : apps) {
        ids.push_back(each.shortID);
    }
    return ids;
}

const AppRef& app(std::string_view shortID) {
    static const auto all = [] {
        std::vector<std::pair<std::string_view, AppRef>> made;
        for (const auto& each : apps) {
            const std::string id(each.shortID);
            made.emplace_back(each.shortID,
                              AppRef{.name = std::string(each.name),
                                     .bundleID = each.hasPicture
                                                     ? std::optional("org.example." + id)
                                                     : std::nullopt,
                                     .path = "/usr/bin/" + id});
        }
        return made;
    }();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const auto& each) { return each.first == shortID; });
    if (found == all.end()) {
        throw std::runtime_error("no app " + std::string(shortID));
    }
    return found->second;
}

AppIdentity identity(std::string_view shortID) {
    const auto& ref = app(shortID);
    AppIdentity identity;
    identity.id = ref.id();
    identity.name = ref.name;
    identity.bundleID = ref.bundleID;
    identity.path = ref.path;
    identity.teamID = "system";
    return identity;
}

std::optional<int> pictureOf(const AppIdentity& app) {
    for (std::size_t place = 0; place < apps.size(); ++place) {
        if (apps[place].hasPicture && app.name == apps[place].name) {
            return static_cast<int>(place);
        }
    }
    return std::nullopt;
}

std::vector<AwayReport> reports() {
    using Kind = AwayEventKind;
    const auto event = [](double hours, Kind kind, std::optional<std::string> detail = {}) {
        return AwayEvent{.id = Uuid::random(),
                         .kind = kind,
                         .time = midnight + hours * hour,
                         .detail = std::move(detail)};
    };
    AwayReport lunch;
    lunch.id = Uuid::random();
    lunch.start = midnight + 12.08 * hour;
    lunch.end = midnight + 13.02 * hour;
    lunch.events = {event(12.29, Kind::mouseUsed),
                    event(12.3, Kind::keyboardUsed),
                    event(12.32, Kind::devicePluggedIn, "Kestrel Flash Drive"),
                    event(12.34, Kind::lidMoved, "104 62"),
                    event(12.52, Kind::powerRemoved),
                    event(12.54, Kind::powerConnected)};
    lunch.ownReturn = {event(13.018, Kind::lidOpened), event(13.0195, Kind::keyboardUsed)};

    AwayReport night;
    night.id = Uuid::random();
    night.start = midnight - 5.4 * hour;
    night.end = midnight + 8.7 * hour;
    night.slept = true;
    night.events = {event(-5.1, Kind::lidClosed), event(7.6, Kind::wokeUp),
                    event(7.61, Kind::mouseUsed),
                    event(7.63, Kind::cameraUsed, std::string(app("parley").name)),
                    event(7.64, Kind::microphoneUsed, std::string(app("parley").name))};
    return {lunch, night};
}

void fill(HistoryStore& store) {
    for (const auto& report : reports()) {
        store.saveAwayReport(report.id, report.start, report.end, report);
    }
    Diary diary(store);
    for (int ago = days - 1; ago >= 1; --ago) {
        const auto date = midnight - ago * day;
        const int weekday = (3 - ago % 7 + 7) % 7; // 0 is a Sunday
        if (ago == emptyDay) {
            continue;
        }
        if (weekday == 0 || weekday == 6) {
            diary.talk("parley", date + 16.5 * hour, diary.between(24, 70) * minute);
        } else {
            workday(diary, date, ago);
        }
        evening(diary, date, ago);
    }
    diary.talk("harbour", midnight + 9.5 * hour, 16 * minute);
    diary.note("pigeon", Device::microphone, midnight + 11.7 * hour, 12);
    diary.note("pigeon", Device::microphone, midnight + 11.75 * hour, 31);
    diary.note("music", Device::speaker, midnight + 13.1 * hour, 41 * minute);
    seldom(diary);
}

} // namespace velmoran::pictures
