#include "system/linux/pulse/OutputKind.h"

#include <cstring>

namespace velmoran {

namespace {

bool isBuiltIn(const SinkTraits& sink) {
    return sink.formFactor == "internal" || sink.bus == "pci" || sink.bus == "platform" ||
           sink.bus == "isa";
}

} // namespace

OutputDeviceInfo::Kind outputKind(const SinkTraits& sink) {
    using Kind = OutputDeviceInfo::Kind;
    if (sink.bus == "bluetooth" || sink.api.starts_with("bluez")) {
        return Kind::headphones;
    }
    if (!isBuiltIn(sink) || sink.port == SinkTraits::Port::digital) {
        return Kind::other;
    }
    if (sink.port == SinkTraits::Port::headphones ||
        ::strcasestr(sink.name.c_str(), "headphone") != nullptr) {
        return Kind::headphones;
    }
    return Kind::builtInSpeakers;
}

} // namespace velmoran
