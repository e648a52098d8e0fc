// Whatever a settings file holds: reading it never crashes, and what is written into it is read
// again, with all other keys as they were.
#include "app/qtbase/SettingsText.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    SettingsText text(bytes);
    const auto other = text.elements("b");
    const auto given = text.elements("a").value_or(QStringList{QString::fromUtf8(bytes)});
    text.set("a", given);
    const SettingsText again(text.text());
    if (again.elements("a") != given || again.elements("b") != other ||
        again.text() != text.text()) {
        std::abort();
    }
    const auto whole = QString::fromUtf8(bytes);
    text.set("a", {SettingsText::elementOf(whole)});
    const auto written = SettingsText(text.text()).elements("a").value_or(QStringList());
    if (written.size() != 1 || SettingsText::textIn(written.first()) != whole) {
        std::abort();
    }
    text.remove("a");
    if (SettingsText(text.text()).elements("a")) {
        std::abort();
    }
    return 0;
}
