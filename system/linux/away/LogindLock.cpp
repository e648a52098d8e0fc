#include "system/linux/away/LogindLock.h"

#include "system/linux/away/LogindNames.h"
#include "system/linux/bus/BusValues.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include <unistd.h>

namespace velmoran {

namespace {

/// Of one user; more than anybody has.
constexpr std::size_t mostSessions = 64;

} // namespace

LogindLock::LogindLock(BusLine& line, OwnPlace place, Calls calls)
    : line_(line),
      place_(std::move(place)),
      calls_(std::move(calls)) {
    ownerEar_ =
        line_.hearOwner(logind::service, [this](const std::string& owner) { ownerCame(owner); });
}

void LogindLock::ownerCame(const std::string& owner) {
    logind_ = owner;
    own_ = {};
    managerEars_.clear();
    questions_.clear();
    sessionEars_.clear();
    if (logind_.empty()) {
        return;
    }
    managerEars_.push_back(
        line_.hear(logind_, logind::path, logind::manager, "SessionNew", [this](sd_bus_message*) {
            if (own_.path.empty() || !own_.isGraphical()) {
                search();
            }
        }));
    managerEars_.push_back(line_.hear(logind_, logind::path, logind::manager, "SessionRemoved",
                                      [this](sd_bus_message* signal) { sessionEnded(signal); }));
    search();
}

void LogindLock::search() {
    questions_.clear();
    sessions_.clear();
    place_.loggedInto.clear();
    unanswered_ = 2;
    const auto ours = line_.newCall(logind_, logind::path, logind::manager, "GetSession");
    sd_bus_message_append(ours.get(), "s", "auto");
    questions_.push_back(line_.ask(ours, [this](sd_bus_message* answer) {
        place_.loggedInto = readObjectPath(answer).value_or("");
        answered();
    }));
    questions_.push_back(
        line_.ask(line_.newCall(logind_, logind::path, logind::manager, "ListSessions"),
                  [this](sd_bus_message* answer) {
                      sessionsCame(answer);
                      answered();
                  }));
}

void LogindLock::sessionsCame(sd_bus_message* answer) {
    if (isBusError(answer) || sd_bus_message_enter_container(answer, 'a', "(susso)") <= 0) {
        return;
    }
    const char* id = nullptr;
    const char* path = nullptr;
    std::uint32_t user = 0;
    while (sessions_.size() < mostSessions &&
           sd_bus_message_read(answer, "(susso)", &id, &user, nullptr, nullptr, &path) > 0) {
        if (user == ::getuid()) {
            sessions_.push_back({.path = path, .id = id, .type = "", .display = ""});
        }
    }
    for (std::size_t i = 0; i < sessions_.size(); ++i) {
        const auto call = line_.newCall(logind_, sessions_[i].path, propertiesInterface, "GetAll");
        sd_bus_message_append(call.get(), "s", logind::session);
        ++unanswered_;
        questions_.push_back(line_.ask(call, [this, i](sd_bus_message* properties) {
            const auto known = readProperties(properties);
            sessions_[i].type = textOf(known, "Type");
            sessions_[i].display = textOf(known, "Display");
            answered();
        }));
    }
}

void LogindLock::answered() {
    if (--unanswered_ > 0) {
        return;
    }
    const auto* session = ownSession(sessions_, place_);
    if (session == nullptr) {
        calls_.ended();
    } else if (session->path != own_.path) {
        attach(*session);
    }
}

void LogindLock::attach(const LoginSession& session) {
    if (!own_.path.empty()) {
        calls_.ended();
    }
    own_ = session;
    sessionEars_.clear();
    for (const bool locks : {true, false}) {
        sessionEars_.push_back(
            line_.hear(logind_, own_.path, logind::session, locks ? "Lock" : "Unlock",
                       [this, locks](sd_bus_message*) { calls_.requested(locks); }));
    }
    sessionEars_.push_back(line_.hear(
        logind_, own_.path, propertiesInterface, "PropertiesChanged",
        [this](sd_bus_message* signal) {
            if (const auto hint = truthOf(readChanged(signal, logind::session), "LockedHint")) {
                calls_.hinted(*hint);
            }
        }));
    const auto question = line_.newCall(logind_, own_.path, propertiesInterface, "Get");
    sd_bus_message_append(question.get(), "ss", logind::session, "LockedHint");
    sessionEars_.push_back(line_.ask(question, [this](sd_bus_message* answer) {
        if (const auto hint = readTruth(answer)) {
            calls_.found(*hint);
        }
    }));
}

void LogindLock::sessionEnded(sd_bus_message* signal) {
    const char* path = nullptr;
    if (sd_bus_message_read(signal, "so", nullptr, &path) <= 0 || own_.path != path) {
        return;
    }
    own_ = {};
    sessionEars_.clear();
    calls_.ended();
    search();
}

} // namespace velmoran
