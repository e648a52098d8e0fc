#include "app/qtbase/SystemLocale.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace velmoran {

namespace {

constexpr std::array<std::string_view, 2> spoken{"en", "de"};

/// "de_DE.UTF-8@euro" as "de_DE".
std::string bare(std::string_view locale) {
    return std::string(locale.substr(0, locale.find_first_of(".@")));
}

/// That of programs which are to speak to no person in particular.
bool isNobodys(const std::string& locale) {
    return locale.empty() || locale == "C" || locale == "POSIX";
}

std::string languageOf(std::string_view locale) {
    return std::string(locale.substr(0, locale.find_first_of("_-.@")));
}

/// With its underscore; empty if there is none. "zh_Hans_CN": the script is its language's own.
std::string regionOf(const std::string& locale) {
    const auto begin = locale.rfind('_');
    return begin == std::string::npos ? std::string() : locale.substr(begin);
}

} // namespace

SystemLocale systemLocale(const std::function<std::string(const char* name)>& value,
                          const std::string& otherwise) {
    const auto said = [&](const char* category) {
        for (const char* name : {"LC_ALL", category, "LANG"}) {
            if (auto text = value(name); !text.empty()) {
                return bare(text);
            }
        }
        return bare(otherwise);
    };
    SystemLocale result;
    const auto messages = said("LC_MESSAGES");
    if (!isNobodys(messages)) {
        auto list = value("LANGUAGE");
        list += list.empty() ? messages : ":" + messages;
        for (std::size_t begin = 0; begin <= list.size();) {
            const auto end = std::min(list.find(':', begin), list.size());
            if (end > begin) {
                result.languages.push_back(
                    languageOf(std::string_view(list).substr(begin, end - begin)));
            }
            begin = end + 1;
        }
    }
    // Who asks for nobody's times has still said by the language where he is.
    for (const auto& locale : {said("LC_TIME"), messages}) {
        if (result.times.empty() && !isNobodys(locale)) {
            result.times = locale;
        }
    }
    return result;
}

std::string localeOf(const SystemLocale& system, const std::optional<std::string>& chosen) {
    const auto known = std::ranges::find_first_of(system.languages, spoken);
    const std::string language = chosen                            ? *chosen
                                 : known == system.languages.end() ? std::string("en")
                                                                   : *known;
    if (system.times.empty()) {
        // Nobody knows the region either.
        return language == "en" && !chosen ? "en_US" : language;
    }
    return languageOf(system.times) == language ? system.times : language + regionOf(system.times);
}

} // namespace velmoran
