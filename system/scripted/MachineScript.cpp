#include "system/scripted/MachineScript.h"

#include "system/scripted/StrictJson.h"

#include <functional>

namespace velmoran {

namespace {

std::map<std::string, std::string> texts(const Json& json, const std::string& what) {
    std::map<std::string, std::string> result;
    for (const auto& item : strict::object(json, what).items()) {
        result[item.key()] = strict::text(item.value(), what + "." + item.key());
    }
    return result;
}

std::vector<std::string> listOfTexts(const Json& json, const std::string& what) {
    std::vector<std::string> result;
    for (const auto& each : strict::array(json, what)) {
        result.push_back(strict::text(each, what));
    }
    return result;
}

Platform platformFrom(const Json& json, const std::string& what) {
    const auto name = strict::text(json, what);
    if (name == "macOS") {
        return Platform::macOS;
    }
    if (name == "Linux") {
        return Platform::linux;
    }
    throw DecodingError("\"" + what + "\" is neither \"macOS\" nor \"Linux\"");
}

BrowserAnswer answerFrom(const Json& json, const std::string& what) {
    const auto name = strict::text(json, what);
    if (name == "close") {
        return BrowserAnswer::close;
    }
    if (name == "keep") {
        return BrowserAnswer::keep;
    }
    if (name == "cancel") {
        return BrowserAnswer::cancel;
    }
    throw DecodingError("\"" + what + "\" is none of \"close\", \"keep\" and \"cancel\"");
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

const std::map<std::string, Reader, std::less<>>& readers() {
    using Script = MachineScript;
    using Text = const std::string&;
    static const std::map<std::string, Reader, std::less<>> table = {
        {"platform",
         [](Script& s, const Json& j, Text w) {
             s.platform = platformFrom(j, w);
         }},
        {"ownBundleID",
         [](Script& s, const Json& j, Text w) {
             s.ownBundleID = strict::text(j, w);
         }},
        {"teamIDs",
         [](Script& s, const Json& j, Text w) {
             s.teamIDs = texts(j, w);
         }},
        {"signingIDs",
         [](Script& s, const Json& j, Text w) {
             s.signingIDs = texts(j, w);
         }},
        {"connections",
         [](Script& s, const Json& j, Text w) {
             s.connections.clear();
             for (const auto& item : strict::object(j, w).items()) {
                 auto& peers = s.connections[item.key()];
                 for (const auto& each : strict::array(item.value(), w + "." + item.key())) {
                     peers.push_back(connectionFrom(each, w + "." + item.key()));
                 }
             }
         }},
        {"microphones",
         [](Script& s, const Json& j, Text w) {
             s.microphones.clear();
             for (const auto& each : strict::array(j, w)) {
                 s.microphones.push_back(microphoneFrom(each, w));
             }
         }},
        {"outputs",
         [](Script& s, const Json& j, Text w) {
             s.outputs.clear();
             for (const auto& each : strict::array(j, w)) {
                 s.outputs.insert(
                     static_cast<std::uint32_t>(strict::integer(each, w, 0, UINT32_MAX)));
             }
         }},
        {"outputMuteFails",
         [](Script& s, const Json& j, Text w) {
             s.outputMuteFails = strict::boolean(j, w);
         }},
        {"closeSeconds",
         [](Script& s, const Json& j, Text w) {
             s.closeSeconds.clear();
             for (const auto& item : strict::object(j, w).items()) {
                 const auto seconds = strict::number(item.value(), w + "." + item.key());
                 if (seconds < 0) {
                     throw DecodingError("\"" + w + "." + item.key() + "\" is less than 0");
                 }
                 s.closeSeconds[item.key()] = seconds;
             }
         }},
        {"refusesToClose",
         [](Script& s, const Json& j, Text w) {
             const auto ids = listOfTexts(j, w);
             s.refusesToClose = {ids.begin(), ids.end()};
         }},
        {"browsers",
         [](Script& s, const Json& j, Text w) {
             s.browsers = listOfTexts(j, w);
         }},
        {"browserAnswer",
         [](Script& s, const Json& j, Text w) {
             s.browserAnswer = answerFrom(j, w);
         }},
        {"shortcutRefused",
         [](Script& s, const Json& j, Text w) {
             s.shortcutRefused = strict::boolean(j, w);
         }},
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
