#include "ctl/Choices.h"

#include "app/bus/AppChoice.h"
#include "app/bus/TrustChoice.h"
#include "app/contents/UseWords.h"
#include "app/model/SettingChoices.h"
#include "core/text/CellText.h"
#include "core/text/Localizer.h"
#include "core/text/PlainLine.h"
#include "ctl/Asking.h"
#include "ctl/ChoicesFile.h"
#include "ctl/KeptHistory.h"

#include <algorithm>
#include <optional>
#include <variant>

namespace velmoran {

namespace {

constexpr auto ifThere = asking::Absence::isLeftToCaller;

asking::Call ask(const AskOptions& options, const char* method,
                 const std::vector<std::string>& arguments = {}) {
    return asking::call(options, method, arguments, asking::Wait::bounded, ifThere);
}

/// The JSON text of a reply. Throws DecodingError.
std::string textIn(const asking::Call& answer) {
    const char* text = nullptr;
    if (sd_bus_message_read(answer.reply.get(), "s", &text) < 0) {
        throw DecodingError("no text");
    }
    return text;
}

template <class T>
using OrStatus = std::variant<T, int>;

/// From the one that runs, or else from the file; an exit status if neither can be had.
OrStatus<Json> settingsNow(const AskOptions& options) {
    const auto answer = ask(options, "Settings");
    if (!answer.reply) {
        return answer.isAbsent ? OrStatus<Json>(SettingChoices::all(ChoicesFile().settings))
                               : OrStatus<Json>(answer.status);
    }
    try {
        return decode<Json>(textIn(answer));
    } catch (const DecodingError& error) {
        return asking::complainOfAnswer(error.what());
    }
}

int complainOfTrustFile(const char* why) {
    return asking::complain(
        words().text("The list of trusted apps can't be read from the settings: %@", {why}),
        AskEnd::unreadable);
}

OrStatus<TrustList> trustNow(const AskOptions& options) {
    const auto answer = ask(options, "Trust");
    if (!answer.reply && !answer.isAbsent) {
        return answer.status;
    }
    try {
        return answer.reply ? decode<TrustList>(textIn(answer)) : ChoicesFile().trust();
    } catch (const DecodingError& error) {
        return answer.reply ? asking::complainOfAnswer(error.what())
                            : complainOfTrustFile(error.what());
    }
}

std::string plainValue(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

/// Nothing if all is well.
std::optional<int> refuseIfInUse(const AskOptions& options) {
    return historyIsKept(options)
               ? std::optional(asking::complain(
                     words().text("Velmoran is running and can't be reached over the session bus."),
                     AskEnd::notRunning))
               : std::nullopt;
}

int tellOfFile(bool isWritten, const std::string& sentence) {
    if (!isWritten) {
        return asking::complain(words().text("The settings file can't be written."),
                                AskEnd::unreadable);
    }
    Output output;
    output.write(plainLine(sentence));
    output.write(words().text("Velmoran isn't running. This holds from its next start on."));
    return asking::finish(output, AskEnd::done);
}

std::string kindText(TrustKind kind) {
    switch (kind) {
    case TrustKind::trusted:
        return words().text("trusted");
    case TrustKind::alwaysWarn:
        return words().text("always warn");
    case TrustKind::trustedAlwaysWarn:
        break;
    }
    return words().text("trusted, always warn");
}

} // namespace

// MARK: - Settings

int listSettings(bool json, const AskOptions& asking) {
    asking::prepare(asking);
    const auto now = settingsNow(asking);
    if (const auto* status = std::get_if<int>(&now)) {
        return *status;
    }
    const auto& settings = std::get<Json>(now);
    Output output;
    if (json) {
        output.write(plainJson(encode(settings)));
        return asking::finish(output, AskEnd::done);
    }
    std::size_t widest = 0;
    for (const auto& item : settings.items()) {
        widest = std::max(widest, columnsOf(item.key()));
    }
    for (const auto& item : settings.items()) {
        constexpr std::size_t valueColumns = 8;
        std::string others;
        for (const auto& value : SettingChoices::values(item.key())) {
            others += (others.empty() ? "" : ", ") + value;
        }
        output.write(plainLine(padded(item.key(), widest) + "  " +
                               padded(plainValue(item.value()), valueColumns) + "(" + others +
                               ")"));
    }
    return asking::finish(output, AskEnd::done);
}

int printSetting(const std::string& name, const AskOptions& asking) {
    asking::prepare(asking);
    if (const auto why = SettingChoices::refusal(name)) {
        return asking::complain(*why, AskEnd::wrongRequest);
    }
    const auto now = settingsNow(asking);
    if (const auto* status = std::get_if<int>(&now)) {
        return *status;
    }
    const auto& settings = std::get<Json>(now);
    if (!settings.is_object() || !settings.contains(name)) {
        return asking::complainOfAnswer(name);
    }
    Output output;
    output.write(plainLine(plainValue(settings.at(name))));
    return asking::finish(output, AskEnd::done);
}

int changeSetting(const std::string& name, const std::string& value, const AskOptions& asking) {
    asking::prepare(asking);
    if (const auto why = SettingChoices::refusal(name, value)) {
        return asking::complain(*why, AskEnd::wrongRequest);
    }
    const auto answer = ask(asking, "ChangeSetting", {name, value});
    if (!answer.isAbsent) {
        return asking::tell(answer);
    }
    if (const auto status = refuseIfInUse(asking)) {
        return *status;
    }
    ChoicesFile file;
    const bool isWritten = file.write(
        [&](SettingsStore& settings) { SettingChoices::set(settings, name, value); },
        [&](const SettingsStore& written) { return SettingChoices::text(written, name) == value; });
    return tellOfFile(isWritten, words().text("%@ is now %@.", {name, value}));
}

// MARK: - Trust

int listTrust(bool json, const AskOptions& asking) {
    asking::prepare(asking);
    const auto now = trustNow(asking);
    if (const auto* status = std::get_if<int>(&now)) {
        return *status;
    }
    const auto& trust = std::get<TrustList>(now);
    Output output;
    if (json) {
        output.write(plainJson(encode(trust.rules())));
        return asking::finish(output, AskEnd::done);
    }
    if (trust.rules().empty()) {
        output.write(words().text("No app is trusted, and none always warned of."));
    }
    std::size_t devices = 0;
    std::size_t kinds = 0;
    for (const auto& rule : trust.rules()) {
        devices = std::max(devices, columnsOf(deviceWord(rule.device)));
        kinds = std::max(kinds, columnsOf(kindText(rule.kind)));
    }
    auto rules = trust.rules();
    std::ranges::stable_sort(rules, [](const TrustRule& a, const TrustRule& b) {
        const auto order = words().compareIgnoringCase(a.app.name, b.app.name);
        return order != 0 ? order < 0
                          : std::pair(a.app.id, a.device) < std::pair(b.app.id, b.device);
    });
    for (const auto& rule : rules) {
        constexpr std::size_t nameColumns = 200;
        output.write(padded(deviceWord(rule.device), devices) + "  " +
                     padded(kindText(rule.kind), kinds) + "  " +
                     cutLine(namesWithIDs({rule.app}).front(), nameColumns));
    }
    return asking::finish(output, AskEnd::done);
}

int removeTrust(const std::string& app, const std::string& device, const AskOptions& asking) {
    asking::prepare(asking);
    const auto only = device == "mic" ? Device::microphone : caseNamed<Device>(device);
    if (!device.empty() && (!only || *only == Device::speaker)) {
        return asking::complain(
            words().text("“%@” is no device. There are: %@.", {device, "camera, microphone"}),
            AskEnd::wrongRequest);
    }
    const auto answer =
        ask(asking, "Distrust", {app, only ? std::string(rawValue(*only)) : std::string()});
    if (!answer.isAbsent) {
        return asking::tell(answer);
    }
    if (const auto status = refuseIfInUse(asking)) {
        return *status;
    }
    ChoicesFile file;
    TrustList list;
    try {
        list = file.trust();
    } catch (const DecodingError& error) {
        return complainOfTrustFile(error.what());
    }
    const auto trusted = trustedApps(list);
    const auto meant = matchingApps(app, trusted);
    if (meant.size() != 1) {
        return asking::complain(trustError(app, meant, trusted), AskEnd::wrongRequest);
    }
    const auto taken = trustOf(list, meant.front(), only);
    if (!taken) {
        return asking::complain(trustError(meant.front(), only.value_or(Device::camera)),
                                AskEnd::wrongRequest);
    }
    for (const auto& rule : taken->rules) {
        list.setTrusted(false, rule.app, {rule.device});
    }
    const auto data = encode(list);
    const bool isWritten =
        file.write([&](SettingsStore& settings) { settings.trustRulesData.set(data); },
                   [&](const SettingsStore& written) { return *written.trustRulesData == data; });
    return tellOfFile(isWritten, taken->sentence());
}

} // namespace velmoran
