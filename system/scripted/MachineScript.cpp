#include "system/scripted/MachineScript.h"

#include "system/scripted/StrictJson.h"

#include <functional>

namespace velmoran {

namespace {

/// Of every key what `read` makes of its value and of what that is called.
template <typename Read>
auto mapOf(Read read) {
    return [read](const Json& json, const std::string& what) {
        std::map<std::string, decltype(read(json, what))> result;
        for (const auto& item : strict::object(json, what).items()) {
            result[item.key()] = read(item.value(), what + "." + item.key());
        }
        return result;
    };
}

template <typename Read>
auto listOf(Read read) {
    return [read](const Json& json, const std::string& what) {
        std::vector<decltype(read(json, what))> result;
        for (const auto& each : strict::array(json, what)) {
            result.push_back(read(each, what));
        }
        return result;
    };
}

template <typename Read>
auto setOf(Read read) {
    return [read](const Json& json, const std::string& what) {
        const auto list = listOf(read)(json, what);
        return std::set(list.begin(), list.end());
    };
}

Platform platformFrom(const Json& json, const std::string& what) {
    const auto name = strict::text(json, what);
    if (name != "macOS" && name != "Linux") {
        throw DecodingError("\"" + what + "\" is neither \"macOS\" nor \"Linux\"");
    }
    return name == "macOS" ? Platform::macOS : Platform::linux;
}

BrowserAnswer answerFrom(const Json& json, const std::string& what) {
    static const std::map<std::string, BrowserAnswer> answers = {{"close", BrowserAnswer::close},
                                                                 {"keep", BrowserAnswer::keep},
                                                                 {"cancel", BrowserAnswer::cancel}};
    const auto found = answers.find(strict::text(json, what));
    if (found == answers.end()) {
        throw DecodingError("\"" + what + "\" is none of \"close\", \"keep\" and \"cancel\"");
    }
    return found->second;
}

std::uint32_t outputFrom(const Json& json, const std::string& what) {
    return static_cast<std::uint32_t>(strict::integer(json, what, 0, UINT32_MAX));
}

double secondsFrom(const Json& json, const std::string& what) {
    const auto seconds = strict::number(json, what);
    if (seconds < 0) {
        throw DecodingError("\"" + what + "\" is less than 0");
    }
    return seconds;
}

Connection connectionFrom(const Json& json, const std::string& what) {
    strict::onlyKeys(json, what, {"address", "port", "transport"});
    Connection connection;
    connection.address = strict::text(strict::member(json, what, "address"), what + ".address");
    connection.port = static_cast<std::uint16_t>(
        strict::integer(strict::member(json, what, "port"), what + ".port", 0, UINT16_MAX));
    connection.transport =
        strict::text(strict::member(json, what, "transport"), what + ".transport");
    return connection;
}

MachineScript::Microphone microphoneFrom(const Json& json, const std::string& what) {
    strict::onlyKeys(json, what, {"name", "mute", "volume"});
    MachineScript::Microphone microphone;
    microphone.name = strict::text(strict::member(json, what, "name"), what + ".name");
    if (json.contains("mute")) {
        microphone.hasMute = strict::boolean(json["mute"], what + ".mute");
    }
    if (json.contains("volume") && !json["volume"].is_null()) {
        microphone.volume = strict::number(json["volume"], what + ".volume");
    }
    return microphone;
}

using Reader = std::function<void(MachineScript&, const Json&, const std::string&)>;

template <typename Value, typename Read>
Reader reader(Value MachineScript::*member, Read read) {
    return [member, read](MachineScript& script, const Json& json, const std::string& what) {
        script.*member = read(json, what);
    };
}

const std::map<std::string, Reader, std::less<>>& readers() {
    using Script = MachineScript;
    static const std::map<std::string, Reader, std::less<>> table = {
        {"platform", reader(&Script::platform, platformFrom)},
        {"ownBundleID", reader(&Script::ownBundleID, strict::text)},
        {"teamIDs", reader(&Script::teamIDs, mapOf(strict::text))},
        {"signingIDs", reader(&Script::signingIDs, mapOf(strict::text))},
        {"connections", reader(&Script::connections, mapOf(listOf(connectionFrom)))},
        {"microphones", reader(&Script::microphones, listOf(microphoneFrom))},
        {"outputs", reader(&Script::outputs, setOf(outputFrom))},
        {"outputMuteFails", reader(&Script::outputMuteFails, strict::boolean)},
        {"closeSeconds", reader(&Script::closeSeconds, mapOf(secondsFrom))},
        {"refusesToClose", reader(&Script::refusesToClose, setOf(strict::text))},
        {"browsers", reader(&Script::browsers, listOf(strict::text))},
        {"browserAnswer", reader(&Script::browserAnswer, answerFrom)},
        {"shortcutRefused", reader(&Script::shortcutRefused, strict::boolean)},
    };
    return table;
}

} // namespace

void MachineScript::apply(const Json& json) {
    auto changed = *this;
    for (const auto& item : strict::object(json, "machine").items()) {
        const auto reader = readers().find(item.key());
        if (reader == readers().end()) {
            throw DecodingError("unknown key \"" + item.key() + "\" in \"machine\"");
        }
        reader->second(changed, item.value(), "machine." + item.key());
    }
    *this = std::move(changed);
}

} // namespace velmoran
