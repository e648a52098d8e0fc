#include "app/qtbase/SystemWords.h"

#include "app/model/SettingsStore.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"
#include "core/text/ZoneSource.h"

#include <QLocale>
#include <QTimeZone>
#include <string>

namespace velmoran {

std::string localeOf(const std::string& system, const std::optional<std::string>& chosen) {
    // Of the system that has none, nobody knows the region either.
    if (system == "C") {
        return chosen.value_or("en_US");
    }
    const auto language = system.substr(0, system.find('_'));
    if (!chosen || *chosen == language) {
        return system;
    }
    // "zh_Hans_CN": the script is its language's own.
    const auto region = system.rfind('_');
    return region == std::string::npos ? *chosen : *chosen + system.substr(region);
}

void setSystemWords(KeyValueStore& settings, Platform platform) {
    const SettingsStore chosen(settings);
    const auto locale = localeOf(QLocale::system().name().toStdString(), *chosen.language);
    setWords(Localizer(locale, QTimeZone::systemTimeZoneId().toStdString(),
                       catalogues(locale, platform)));
}

void followSystemZone() {
    // Qt reads the name again only when the files that say it have changed.
    setZoneSource([] { return QTimeZone::systemTimeZoneId().toStdString(); });
}

} // namespace velmoran
