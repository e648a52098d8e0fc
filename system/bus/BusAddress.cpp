#include "system/bus/BusAddress.h"

#include <charconv>
#include <cstdlib>
#include <ranges>
#include <string_view>

namespace velmoran {

namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value ? value : "";
}

std::string escaped(char c) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    return {'%', digits[byte >> 4U], digits[byte & 15U]};
}

std::string unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned int byte = 0;
        const char* digits = text.data() + i + 1;
        if (text[i] == '%' && i + 2 < text.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            plain += static_cast<char>(byte);
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

} // namespace

std::string sessionBusAddress() {
    if (auto given = variable("DBUS_SESSION_BUS_ADDRESS"); !given.empty()) {
        return given;
    }
    const auto folder = variable("XDG_RUNTIME_DIR");
    if (folder.empty()) {
        return {};
    }
    std::string address = "unix:path=";
    for (const char c : folder) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') ||
                           std::string("-_/.\\*").find(c) != std::string::npos;
        address += plain ? std::string(1, c) : escaped(c);
    }
    return address + "/bus";
}

std::string systemBusAddress() {
    const auto given = variable("DBUS_SYSTEM_BUS_ADDRESS");
    return given.empty() ? "unix:path=/run/dbus/system_bus_socket" : given;
}

std::vector<std::string> socketPaths(const std::string& address) {
    constexpr std::string_view transport = "unix:";
    constexpr std::string_view key = "path=/";
    std::vector<std::string> paths;
    for (const auto part : std::views::split(address, ';')) {
        const std::string_view server(part.begin(), part.end());
        if (!server.starts_with(transport)) {
            continue;
        }
        for (const auto piece : std::views::split(server.substr(transport.size()), ',')) {
            const std::string_view pair(piece.begin(), piece.end());
            if (pair.starts_with(key)) {
                paths.push_back(unescaped(pair.substr(key.size() - 1)));
            }
        }
    }
    return paths;
}

} // namespace velmoran
