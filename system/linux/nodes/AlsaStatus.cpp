#include "system/linux/nodes/AlsaStatus.h"

#include <charconv>

namespace velmoran {

namespace {

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// Takes digits off the front; false if none stand there or the number is too large.
bool takeDigits(std::string_view& text, int& number) {
    if (text.empty() || text.front() < '0' || text.front() > '9') {
        return false;
    }
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    return true;
}

bool take(std::string_view& text, std::string_view expected) {
    if (!text.starts_with(expected)) {
        return false;
    }
    text.remove_prefix(expected.size());
    return true;
}

} // namespace

AlsaStatus parseAlsaStatus(std::string_view text) {
    AlsaStatus status;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const auto line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const auto colon = line.find(':');
        if (colon == std::string_view::npos) {
            continue;
        }
        const auto key = trimmed(line.substr(0, colon));
        auto value = trimmed(line.substr(colon + 1));
        if (key == "state") {
            status.isOpen = true;
            // An overrun stops the stream for a moment; the program starts it again or closes it.
            status.isRunning = value == "RUNNING" || value == "DRAINING" || value == "XRUN";
        } else if (key == "owner_pid") {
            int owner = 0;
            status.ownerPid = takeDigits(value, owner) && value.empty() ? owner : 0;
        }
    }
    return status.isOpen ? status : AlsaStatus();
}

AlsaNode parseAlsaNode(std::string_view fileName) {
    AlsaNode node;
    int card = 0;
    if (!take(fileName, "pcmC") || !takeDigits(fileName, card) || !take(fileName, "D") ||
        !takeDigits(fileName, node.device) || (fileName != "c" && fileName != "p")) {
        return {};
    }
    node.card = card;
    node.isCapture = fileName == "c";
    return node;
}

} // namespace velmoran
