#include "app/web/WebAddresses.h"

namespace velmoran {

namespace {

/// As the value of a query item: all that could end it or begin another one is escaped.
std::string escaped(std::string_view text) {
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                       "0123456789-._~";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char each : text) {
        if (plain.find(each) != std::string_view::npos) {
            result += each;
        } else {
            const auto byte = static_cast<unsigned char>(each);
            result += {'%', digits[byte / 16U], digits[byte % 16U]};
        }
    }
    return result;
}

} // namespace

std::optional<WebAddresses> WebAddresses::ofThisBuild() {
    const std::string_view host = VELMORAN_WEB_HOST;
    return host.empty() ? std::nullopt : std::optional<WebAddresses>(host);
}

std::string WebAddresses::buildNumber() {
    return VELMORAN_BUILD_NUMBER;
}

WebAddresses::WebAddresses(std::string_view host) : host_(host) {}

std::string WebAddresses::versionFile() const {
    return "https://" + host_ + "/velmoran/version.json";
}

std::string WebAddresses::productPage(std::string_view language) const {
    return page(language, "/velmoran");
}

std::string WebAddresses::imprint(std::string_view language) const {
    return page(language, "/imprint");
}

std::string WebAddresses::privacyPolicy(std::string_view language) const {
    return page(language, "/privacy");
}

std::string WebAddresses::feedback(std::string_view language, std::string_view version,
                                   std::string_view build) const {
    return page(language, "/velmoran/feedback") + "?v=" + escaped(version) + "&b=" + escaped(build);
}

std::string WebAddresses::page(std::string_view language, std::string_view path) const {
    return "https://" + host_ + (language == "de" ? "/de" : "") + std::string(path);
}

} // namespace velmoran
