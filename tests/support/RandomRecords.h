// Random records, for the laws that hold for all of them.
#pragma once

#include "core/records/SystemSnapshot.h"
#include "core/records/UsageSession.h"

#include <rapidcheck.h>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {

namespace samples {

/// Text as JSON can carry it: any characters, but valid UTF-8.
inline rc::Gen<std::string> text() {
    return rc::gen::container<std::string>(
        rc::gen::element('a', 'Z', ' ', '"', '\\', '\n', '\x01', '|', '%', '/'));
}

inline rc::Gen<std::optional<std::string>> optionalText() {
    return rc::gen::apply(
        [](bool present, std::string text) {
            return present ? std::optional(std::move(text)) : std::nullopt;
        },
        rc::gen::arbitrary<bool>(), text());
}

inline rc::Gen<AppIdentity> identity() {
    return rc::gen::build<AppIdentity>(rc::gen::set(&AppIdentity::id, text()),
                                       rc::gen::set(&AppIdentity::name, text()),
                                       rc::gen::set(&AppIdentity::bundleID, optionalText()),
                                       rc::gen::set(&AppIdentity::path, optionalText()),
                                       rc::gen::set(&AppIdentity::teamID, optionalText()),
                                       rc::gen::set(&AppIdentity::unidentified));
}

inline rc::Gen<Device> device() {
    return rc::gen::element(Device::camera, Device::microphone, Device::speaker);
}

inline rc::Gen<Timestamp> timestamp() {
    return rc::gen::map(rc::gen::arbitrary<double>(),
                        [](double seconds) { return Timestamp{seconds}; });
}

template <class T>
rc::Gen<std::optional<T>> maybe(rc::Gen<T> present) {
    return rc::gen::apply(
        [](bool is, T value) { return is ? std::optional(std::move(value)) : std::nullopt; },
        rc::gen::arbitrary<bool>(), std::move(present));
}

inline rc::Gen<ConnectionRecord> connection() {
    return rc::gen::build<ConnectionRecord>(
        rc::gen::set(&ConnectionRecord::address, text()), rc::gen::set(&ConnectionRecord::port),
        rc::gen::set(&ConnectionRecord::transport, text()),
        rc::gen::set(&ConnectionRecord::firstSeen, maybe(timestamp())));
}

inline rc::Gen<UsageSession> session() {
    return rc::gen::build<UsageSession>(
        rc::gen::set(&UsageSession::id, rc::gen::exec([] { return Uuid::random(); })),
        rc::gen::set(&UsageSession::device, device()), rc::gen::set(&UsageSession::app, identity()),
        rc::gen::set(&UsageSession::start, timestamp()),
        rc::gen::set(&UsageSession::end, maybe(timestamp())),
        rc::gen::set(&UsageSession::outcome, maybe(rc::gen::element(SessionOutcome::endedNormally,
                                                                    SessionOutcome::stoppedByUser,
                                                                    SessionOutcome::endUnknown))),
        rc::gen::set(&UsageSession::warningLevel,
                     maybe(rc::gen::element(WarningLevel::quiet, WarningLevel::standard,
                                            WarningLevel::strong))),
        rc::gen::set(&UsageSession::connections,
                     rc::gen::container<std::vector<ConnectionRecord>>(connection())),
        rc::gen::set(&UsageSession::observedFromStart));
}

inline rc::Gen<std::vector<AppRef>> appRefs() {
    const auto filled = rc::gen::map(text(), [](const std::string& text) { return text + "x"; });
    return rc::gen::container<std::vector<AppRef>>(rc::gen::build<AppRef>(
        rc::gen::set(&AppRef::name, text()), rc::gen::set(&AppRef::bundleID, maybe(filled)),
        rc::gen::set(&AppRef::path, optionalText())));
}

inline rc::Gen<SystemSnapshot> snapshot() {
    const auto output = rc::gen::build<OutputDeviceInfo>(
        rc::gen::set(&OutputDeviceInfo::objectID), rc::gen::set(&OutputDeviceInfo::name, text()),
        rc::gen::set(&OutputDeviceInfo::kind,
                     rc::gen::element(OutputDeviceInfo::Kind::builtInSpeakers,
                                      OutputDeviceInfo::Kind::headphones,
                                      OutputDeviceInfo::Kind::other)),
        rc::gen::set(&OutputDeviceInfo::volume, maybe(rc::gen::arbitrary<float>())),
        rc::gen::set(&OutputDeviceInfo::isMuted));
    return rc::gen::build<SystemSnapshot>(
        rc::gen::set(&SystemSnapshot::cameraOn),
        rc::gen::set(&SystemSnapshot::cameraDevices,
                     rc::gen::container<std::vector<std::string>>(text())),
        rc::gen::set(&SystemSnapshot::cameraApps, appRefs()),
        rc::gen::set(&SystemSnapshot::microphoneOn),
        rc::gen::set(&SystemSnapshot::microphoneApps, appRefs()),
        rc::gen::set(&SystemSnapshot::microphoneAttributed, appRefs()),
        rc::gen::set(&SystemSnapshot::speakerOn),
        rc::gen::set(&SystemSnapshot::speakerApps, appRefs()),
        rc::gen::set(&SystemSnapshot::output, maybe(output)));
}

} // namespace samples
} // namespace velmoran
