#include "system/linux/pulse/OutputKind.h"

#include <algorithm>
#include <string_view>

namespace velmoran {

namespace {

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool containsIgnoringCase(std::string_view text, std::string_view word) {
    return std::search(text.begin(), text.end(), word.begin(), word.end(),
                       [](char one, char other) { return lower(one) == lower(other); }) !=
           text.end();
}

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
    if (sink.port == SinkTraits::Port::headphones || containsIgnoringCase(sink.name, "headphone")) {
        return Kind::headphones;
    }
    return Kind::builtInSpeakers;
}

} // namespace velmoran
