#include "app/translations/Catalogues.h"

#include "app/translations/CatalogueTable.h"

#include <string>

namespace velmoran {

namespace {

std::string languageOf(std::string_view locale) {
    std::string language(locale.substr(0, locale.find_first_of("_-.@")));
    for (auto& c : language) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return language;
}

void add(std::vector<Catalogue>& result, const std::string& name) {
    for (const auto& table : catalogueTables()) {
        if (table.name == name) {
            auto& catalogue = result.emplace_back();
            for (const auto& entry : table.entries) {
                catalogue.emplace(entry.key, entry.text);
            }
        }
    }
}

} // namespace

std::vector<Catalogue> catalogues(std::string_view locale, Platform platform) {
    const std::string language = languageOf(locale) == "de" ? "de" : "en";
    std::vector<Catalogue> result;
    add(result, language);
    if (platform == Platform::linux) {
        add(result, "linux_" + language);
    }
    return result;
}

} // namespace velmoran
