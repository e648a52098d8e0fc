#include "app/qtbase/SystemWords.h"

#include "app/model/SettingsStore.h"
#include "app/qtbase/SystemLocale.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"
#include "core/text/ZoneSource.h"

#include <QLocale>
#include <QTimeZone>
#include <string>

namespace velmoran {

void setSystemWords(KeyValueStore& settings, Platform platform) {
    const SettingsStore chosen(settings);
    // Not Qt's own word: it takes the language of numbers for that of all else.
    const auto system =
        systemLocale([](const char* name) { return qEnvironmentVariable(name).toStdString(); },
                     QLocale::system().name().toStdString());
    const auto locale = localeOf(system, *chosen.language);
    setWords(Localizer(locale, QTimeZone::systemTimeZoneId().toStdString(),
                       catalogues(locale, platform)));
}

void followSystemZone() {
    // Qt reads the name again only when the files that say it have changed.
    setZoneSource([] { return QTimeZone::systemTimeZoneId().toStdString(); });
}

} // namespace velmoran
