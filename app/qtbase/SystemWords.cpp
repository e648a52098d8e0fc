#include "app/qtbase/SystemWords.h"

#include "app/model/SettingsStore.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"
#include "core/text/ZoneSource.h"

#include <QLocale>
#include <QTimeZone>
#include <string>

namespace velmoran {

void setSystemWords(KeyValueStore& settings, Platform platform) {
    std::string locale = QLocale::system().name().toStdString();
    if (locale == "C") {
        locale = "en_US";
    }
    const SettingsStore chosen(settings);
    if (const auto& language = *chosen.language; language && !locale.starts_with(*language)) {
        locale = *language;
    }
    setWords(Localizer(locale, QTimeZone::systemTimeZoneId().toStdString(),
                       catalogues(locale, platform)));
}

void followSystemZone() {
    // Qt reads the name again only when the files that say it have changed.
    setZoneSource([] { return QTimeZone::systemTimeZoneId().toStdString(); });
}

} // namespace velmoran
