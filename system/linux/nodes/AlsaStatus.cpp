#include "system/linux/nodes/AlsaStatus.h"

#include "system/TextParsing.h"

namespace velmoran {

namespace {

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// Takes digits off the front; nothing if none stand there or the number is too large.
std::optional<int> consumeDigits(std::string_view& text) {
    return text.starts_with('-') ? std::nullopt : consumeNumber<int>(text);
}

} // namespace

AlsaStatus parseAlsaStatus(std::string_view text) {
    AlsaStatus status;
    eachPiece(text, '\n', [&](std::string_view line) {
        const auto colon = line.find(':');
        if (colon == std::string_view::npos) {
            return;
        }
        const auto key = trimmed(line.substr(0, colon));
        auto value = trimmed(line.substr(colon + 1));
        if (key == "state") {
            status.isOpen = true;
            // An overrun stops the stream for a moment; the program starts it again or closes it.
            status.isRunning = value == "RUNNING" || value == "DRAINING" || value == "XRUN";
        } else if (key == "owner_pid") {
            const auto owner = consumeDigits(value);
            status.ownerPid = value.empty() ? owner.value_or(0) : 0;
        }
    });
    return status.isOpen ? status : AlsaStatus();
}

AlsaNode parseAlsaNode(std::string_view fileName) {
    const auto card = consumePrefix(fileName, "pcmC") ? consumeDigits(fileName) : std::nullopt;
    const auto device = consumePrefix(fileName, "D") ? consumeDigits(fileName) : std::nullopt;
    if (!card || !device || (fileName != "c" && fileName != "p")) {
        return {};
    }
    return {.card = *card, .device = *device, .isCapture = fileName == "c"};
}

} // namespace velmoran
