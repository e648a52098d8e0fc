// The pages and the one file of the maker's web server. Its host is chosen when the program is
// built (VELMORAN_WEB_HOST); a program that was built without one has no addresses. A plain value;
// any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

class WebAddresses {
public:
    /// Those of this build; nothing without a host.
    static std::optional<WebAddresses> ofThisBuild();
    /// The number of this build, which is how many commits it was made from; empty where that
    /// wasn't known.
    static std::string buildNumber();

    /// `host` as it stands in an address, with its port if it needs one.
    explicit WebAddresses(std::string_view host);

    /// For a link to the product's own page.
    const std::string& host() const { return host_; }
    /// What says which version is the newest.
    std::string versionFile() const;
    // The pages are in German for the language "de", in English for all others.
    std::string productPage(std::string_view language) const;
    std::string imprint(std::string_view language) const;
    std::string privacyPolicy(std::string_view language) const;
    /// A form that has the version filled in.
    std::string feedback(std::string_view language, std::string_view version,
                         std::string_view build) const;

private:
    std::string page(std::string_view language, std::string_view path) const;

    std::string host_;
};

} // namespace velmoran
