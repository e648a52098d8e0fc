#include "app/bus/ChoiceRequests.h"

#include "app/bus/AppChoice.h"
#include "app/bus/BusNames.h"
#include "app/bus/BusProperties.h"
#include "app/bus/BusReply.h"
#include "app/bus/BusRequests.h"
#include "app/bus/TrustChoice.h"
#include "app/model/SettingChoices.h"
#include "core/text/Localizer.h"

#include <cstring>
#include <utility>

namespace velmoran {

namespace {

/// Nothing if one of the two is longer than anybody's.
std::optional<std::pair<std::string, std::string>> twoTexts(sd_bus_message* call) {
    const char* first = nullptr;
    const char* second = nullptr;
    constexpr auto longest = BusRequests::longestName;
    if (sd_bus_message_read(call, "ss", &first, &second) < 0 ||
        ::strnlen(first, longest + 1) > longest || ::strnlen(second, longest + 1) > longest) {
        return std::nullopt;
    }
    return std::pair<std::string, std::string>(first, second);
}

} // namespace

ChoiceRequests::ChoiceRequests(AppModel& model, Scheduler& scheduler,
                               std::function<void(const OutsideChange&)> changed,
                               std::function<void(const BusMessage&)> send)
    : model_(model),
      changed_(std::move(changed)),
      send_(std::move(send)),
      changes_(scheduler, BusRequests::atOnce, BusRequests::interval) {}

void ChoiceRequests::answer(sd_bus_message* call, const std::string& text) {
    auto reply = bus::replyTo(call);
    sd_bus_message_append(reply.get(), "s", text.c_str());
    send_(reply);
}

void ChoiceRequests::confirm(sd_bus_message* call, const std::string& sentence) {
    if (*model_.settings.notSaved) {
        send_(bus::replyTo(call, bus::outcome::incomplete, sentence,
                           words().text("The settings couldn't be saved. What is chosen here holds "
                                        "until Velmoran quits.")));
    } else {
        send_(bus::replyTo(call, bus::outcome::done, sentence));
    }
}

void ChoiceRequests::refuse(sd_bus_message* call, const char* error, const std::string& why) {
    send_(bus::refusalOf(call, error, why));
}

void ChoiceRequests::settings(sd_bus_message* call) {
    answer(call, encode(SettingChoices::all(model_.settings)));
}

void ChoiceRequests::trust(sd_bus_message* call) {
    answer(call, encode(*model_.trust));
}

/// Otherwise it says why not.
bool ChoiceRequests::mayChange(sd_bus_message* call) {
    if (changes_.allow()) {
        return true;
    }
    send_(bus::replyTo(call, bus::outcome::busy,
                       words().text("There were too many requests. Try again in a few seconds.")));
    return false;
}

void ChoiceRequests::changeSetting(sd_bus_message* call) {
    const auto given = twoTexts(call);
    if (!given) {
        refuse(call, SD_BUS_ERROR_INVALID_ARGS, "That is no setting.");
        return;
    }
    const auto& [name, value] = *given;
    if (const auto why = SettingChoices::refusal(name, value)) {
        refuse(call, SD_BUS_ERROR_INVALID_ARGS, *why);
    } else if (mayChange(call)) {
        const bool isNew = SettingChoices::text(model_.settings, name) != value;
        const auto sentence = words().text("%@ is now %@.", {name, value});
        if (isNew) {
            SettingChoices::set(model_.settings, name, value);
            SettingChoices::carryOut(model_, name);
            changed_({.setting = ChangedSetting{name, value}, .sentence = sentence});
        }
        confirm(call, sentence);
    }
}

void ChoiceRequests::distrust(sd_bus_message* call) {
    const auto given = twoTexts(call);
    const auto device =
        given && !given->second.empty() ? caseNamed<Device>(given->second) : std::nullopt;
    if (!given || (!given->second.empty() && !device)) {
        refuse(call, SD_BUS_ERROR_INVALID_ARGS, "That is no app, or no device.");
        return;
    }
    const auto trusted = trustedApps(*model_.trust);
    const auto meant = matchingApps(given->first, trusted);
    if (meant.size() != 1) {
        refuse(call, meant.empty() ? bus::notTrusted : bus::ambiguous,
               trustError(given->first, meant, trusted));
        return;
    }
    const auto taken = trustOf(*model_.trust, meant.front(), device);
    if (!taken) {
        refuse(call, bus::notTrusted, trustError(meant.front(), device.value_or(Device::camera)));
    } else if (mayChange(call)) {
        for (const auto& rule : taken->rules) {
            model_.setTrusted(false, rule.app, {rule.device});
        }
        changed_(
            {.distrust = LostTrust{taken->app.id, taken->devices}, .sentence = taken->sentence()});
        confirm(call, taken->sentence());
    }
}

} // namespace velmoran
