// All words that people read, in their language: sentences, lists, times of day, and the order of
// names. The English sentence is the key. A value after construction; any thread.
#pragma once

#include "core/base/Timestamp.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// English sentence to the sentence in one language.
using Catalogue = std::map<std::string, std::string, std::less<>>;

class Localizer {
public:
    /// English keys, locale "en_US", zone "UTC".
    Localizer();
    /// `locale` as ICU or POSIX names it ("de_DE", "de_DE.UTF-8"), `timeZone` by its Olson name
    /// ("Europe/Berlin"). Later catalogues overlay earlier ones. An unknown locale or zone, and the
    /// locale "C", act as the default one.
    Localizer(const std::string& locale, const std::string& timeZone,
              const std::vector<Catalogue>& catalogues);
    ~Localizer();
    /// What was moved from may only be destroyed or assigned to.
    Localizer(Localizer&&) noexcept;
    Localizer& operator=(Localizer&&) noexcept;

    /// The sentence with its holes filled. Holes are "%@" (in order) or "%1$@" (by position),
    /// "%lld" and "%1$lld" for a number handed over as text, and "%%" for the sign itself. A hole
    /// without an argument stays empty; an argument's own percent signs are left alone.
    std::string text(std::string_view key, const std::vector<std::string>& arguments = {}) const;
    /// The code of the locale's language, as "de": that of times and lists. The sentences may be
    /// English nevertheless, where there is no catalogue for it.
    std::string language() const;
    /// "A, B, and C" in the way of the locale; empty for an empty list.
    std::string list(const std::vector<std::string>& items) const;
    /// Hour and minute in the locale's short form, the date left out.
    std::string shortTime(Timestamp time) const;
    /// "Today", "Yesterday", or weekday, day and abbreviated month in the locale's order.
    std::string dayTitle(Timestamp day, Timestamp now) const;
    /// The abbreviated weekday.
    std::string shortWeekday(Timestamp time) const;
    /// Day number and abbreviated month in the locale's order.
    std::string dayAndMonth(Timestamp time) const;
    /// Collation that ignores case and follows the locale: negative, zero or positive.
    int compareIgnoringCase(std::string_view a, std::string_view b) const;

    /// The first moment of the calendar day of `time`; nothing if the calendar gives none.
    std::optional<Timestamp> startOfDay(Timestamp time) const;
    /// `time` moved by that many calendar days, days being as long as they really are; nothing if
    /// the calendar gives no date.
    std::optional<Timestamp> addingDays(Timestamp time, int days) const;
    /// How far the clocks on the wall are ahead of UTC at that moment; 0 if the calendar gives
    /// none.
    Seconds offsetFromUTC(Timestamp time) const;
    /// The moment that many calendar days before `now`; `now` itself if the calendar gives no date.
    Timestamp daysBefore(Timestamp now, int days) const;

private:
    struct Facts;
    std::unique_ptr<const Facts> facts_;
};

/// Whether a Localizer knows a time zone of that name, rather than acting as in "UTC".
bool isTimeZone(const std::string& name);

/// The process-wide words. `main` sets them before anything else; until then they are English.
const Localizer& words();
/// Only while no other thread asks for words. The reference that `words` gives stays good and
/// speaks the new language.
void setWords(Localizer localizer);

} // namespace velmoran
