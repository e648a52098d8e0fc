#include "core/text/Localizer.h"

#include "core/text/FilledSentence.h"
#include "core/text/ZoneSource.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <unicode/coll.h>
#include <unicode/datefmt.h>
#include <unicode/gregocal.h>
#include <unicode/listformatter.h>
#include <unicode/resbund.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/ucal.h>
#include <utility>

namespace velmoran {

namespace {

icu::Locale localeOf(const std::string& name) {
    const auto locale = icu::Locale::createCanonical(name.c_str());
    // "C" is canonically a variant of English that sorts capitals first. A bogus locale has no
    // variant to ask for.
    if (locale.isBogus() || std::string_view(locale.getVariant()) == "POSIX") {
        return icu::Locale::getUS();
    }
    // Opening a language's data is much cheaper than the list of all that there are. Without any,
    // that of the process's own language or the root's is opened, and this says so.
    UErrorCode status = U_ZERO_ERROR;
    const icu::ResourceBundle data(nullptr, icu::Locale(locale.getLanguage()), status);
    const bool known =
        *locale.getLanguage() != 0 && U_SUCCESS(status) != 0 && status != U_USING_DEFAULT_WARNING;
    return known ? locale : icu::Locale::getUS();
}

/// Hour and minute. Of a language in a region where it isn't at home, as German in the United
/// States, nobody has written down a short form: its own then, with the clock of that region.
icu::DateFormat* shortTimes(const icu::Locale& locale, UErrorCode& status) {
    UErrorCode opened = U_ZERO_ERROR;
    const icu::ResourceBundle data(nullptr, locale, opened);
    const bool isAtHome = *locale.getCountry() == 0 || U_FAILURE(opened) != 0 ||
                          *data.getLocale(ULOC_ACTUAL_LOCALE, opened).getCountry() != 0;
    return isAtHome ? icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, locale)
                    : icu::DateFormat::createInstanceForSkeleton("jmm", locale, status);
}

/// Null for a name that isn't known.
std::unique_ptr<icu::TimeZone> zoneNamed(const std::string& name) {
    std::unique_ptr<icu::TimeZone> zone(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
    // A zone of that name exists, too, and it is not equal to what stands for an unknown one.
    icu::UnicodeString id;
    if (zone->getID(id) == icu::UnicodeString(UCAL_UNKNOWN_ZONE_ID)) {
        zone.reset();
    }
    return zone;
}

std::unique_ptr<icu::TimeZone> zoneOf(const std::string& name) {
    auto zone = zoneNamed(name);
    if (!zone) {
        zone.reset(icu::TimeZone::createTimeZone("UTC"));
    }
    return zone;
}

std::string utf8(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

/// Some 5.8 million years from the epoch: beyond it a calendar would stand still.
constexpr UDate lastMoment = 1.8e17;

UDate milliseconds(Timestamp time) {
    return (time.seconds + secondsFromUnixEpoch) * 1000;
}

Timestamp timestamp(UDate time) {
    return {time / 1000 - secondsFromUnixEpoch};
}

/// Who names the zone of now; unset where each localizer keeps its own.
struct ZoneSource {
    std::mutex mutex;
    std::function<std::string()> name;
};

ZoneSource& zoneSource() {
    static ZoneSource source;
    return source;
}

} // namespace

void setZoneSource(std::function<std::string()> name) {
    const std::lock_guard lock(zoneSource().mutex);
    zoneSource().name = std::move(name);
}

/// All of ICU's objects are made once, those of a zone once for each zone. The collator and the
/// list formatter never change; the date formats build parts of themselves at their first uses and
/// are called under a lock; the calendar is copied for each question. Made by the first who needs
/// it: much of the language's data is never asked for while nothing is on, and would only take
/// memory.
template <class T>
class OnFirstUse {
public:
    explicit OnFirstUse(std::function<T*(UErrorCode&)> make) : make_(std::move(make)) {}

    T& operator*() const {
        std::call_once(made_, [this] {
            UErrorCode status = U_ZERO_ERROR;
            value_.reset(make_(status));
            if (U_FAILURE(status) != 0 || !value_) {
                throw std::runtime_error(std::string("no language data: ") + u_errorName(status));
            }
        });
        return *value_;
    }
    T* operator->() const { return &**this; }

private:
    std::function<T*(UErrorCode&)> make_;
    mutable std::once_flag made_;
    mutable std::unique_ptr<T> value_;
};

/// What a time of day or a calendar day needs, in one zone.
struct InZone {
    InZone(const icu::Locale& locale, std::string zoneName)
        : name(std::move(zoneName)),
          zone([named = name](UErrorCode&) { return zoneOf(named).release(); }),
          times([this, locale](UErrorCode& status) { return here(shortTimes(locale, status)); }),
          days([this, locale](UErrorCode& status) {
              return here(icu::DateFormat::createInstanceForSkeleton("EEEEdMMM", locale, status));
          }),
          weekdays([this, locale](UErrorCode& status) {
              return here(icu::DateFormat::createInstanceForSkeleton("EEE", locale, status));
          }),
          dates([this, locale](UErrorCode& status) {
              return here(icu::DateFormat::createInstanceForSkeleton("dMMM", locale, status));
          }),
          calendar([this](UErrorCode& status) {
              // It only counts days, which are the same in every calendar and region.
              return new icu::GregorianCalendar(*zone, icu::Locale("", "001"), status);
          }) {}

    icu::DateFormat* here(icu::DateFormat* format) const {
        if (format) {
            format->setTimeZone(*zone);
        }
        return format;
    }

    std::unique_ptr<icu::Calendar> calendarAt(Timestamp time, UErrorCode& status) const {
        std::unique_ptr<icu::Calendar> result(calendar->clone());
        const auto moment = milliseconds(time);
        if (!(std::abs(moment) <= lastMoment)) {
            status = U_ILLEGAL_ARGUMENT_ERROR;
        } else {
            result->setTime(moment, status);
        }
        return result;
    }

    /// In milliseconds.
    std::int32_t offset(UDate at) const {
        UErrorCode status = U_ZERO_ERROR;
        int32_t standard = 0;
        int32_t summer = 0;
        zone->getOffset(at, 0, standard, summer, status);
        return standard + summer;
    }

    std::string format(const icu::DateFormat& format, Timestamp time) const {
        const std::lock_guard lock(mutex);
        icu::UnicodeString result;
        return utf8(format.format(milliseconds(time), result));
    }

    const std::string name;
    OnFirstUse<icu::TimeZone> zone;
    OnFirstUse<icu::DateFormat> times;
    OnFirstUse<icu::DateFormat> days;
    OnFirstUse<icu::DateFormat> weekdays;
    OnFirstUse<icu::DateFormat> dates;
    OnFirstUse<icu::Calendar> calendar;
    mutable std::mutex mutex;
};

struct Localizer::Facts {
    Facts(const std::string& localeName, const std::string& timeZone,
          const std::vector<Catalogue>& catalogues)
        : locale(localeOf(localeName)),
          inZone(std::make_shared<const InZone>(locale, timeZone)) {
        for (const auto& catalogue : catalogues) {
            for (const auto& [key, sentence] : catalogue) {
                sentences[key] = sentence;
            }
        }
    }

    /// In the zone of now; held for as long as it is used.
    std::shared_ptr<const InZone> now() const {
        auto& source = zoneSource();
        const std::lock_guard lock(source.mutex);
        if (source.name) {
            if (const auto name = source.name(); name != inZone->name) {
                inZone = std::make_shared<const InZone>(locale, name);
            }
        }
        return inZone;
    }

    const icu::Locale locale;
    mutable std::shared_ptr<const InZone> inZone; ///< under the source's lock
    Catalogue sentences;
    OnFirstUse<icu::ListFormatter> lists{[this](UErrorCode& status) {
        return icu::ListFormatter::createInstance(locale, status);
    }};
    OnFirstUse<icu::Collator> collator{[this](UErrorCode& status) {
        auto* made = icu::Collator::createInstance(locale, status);
        if (made) {
            made->setStrength(icu::Collator::SECONDARY);
        }
        return made;
    }};
};

Localizer::Localizer() : Localizer("en_US", "UTC", {}) {}

Localizer::Localizer(const std::string& locale, const std::string& timeZone,
                     const std::vector<Catalogue>& catalogues)
    : facts_(std::make_unique<const Facts>(locale, timeZone, catalogues)) {}

Localizer::~Localizer() = default;
Localizer::Localizer(Localizer&&) noexcept = default;
Localizer& Localizer::operator=(Localizer&&) noexcept = default;

std::string Localizer::text(std::string_view key, const std::vector<std::string>& arguments) const {
    const auto found = facts_->sentences.find(key);
    return filledSentence(found == facts_->sentences.end() ? key : std::string_view(found->second),
                          arguments);
}

std::string Localizer::language() const {
    return facts_->locale.getLanguage();
}

std::string Localizer::list(const std::vector<std::string>& items) const {
    std::vector<icu::UnicodeString> texts;
    texts.reserve(items.size());
    for (const auto& item : items) {
        texts.push_back(icu::UnicodeString::fromUTF8(item));
    }
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString result;
    facts_->lists->format(texts.data(), static_cast<int32_t>(texts.size()), result, status);
    return utf8(result);
}

std::string Localizer::shortTime(Timestamp time) const {
    const auto now = facts_->now();
    return now->format(*now->times, time);
}

std::string Localizer::dayTitle(Timestamp day, Timestamp now) const {
    const auto start = startOfDay(day);
    const auto today = startOfDay(now);
    if (start && start == today) {
        return text("Today");
    }
    // From the day's start, which no change of clocks can move into another day.
    const auto next = start ? addingDays(*start, 1) : std::nullopt;
    if (next && startOfDay(*next) == today) {
        return text("Yesterday");
    }
    const auto here = facts_->now();
    return here->format(*here->days, day);
}

std::string Localizer::shortWeekday(Timestamp time) const {
    const auto here = facts_->now();
    return here->format(*here->weekdays, time);
}

std::string Localizer::dayAndMonth(Timestamp time) const {
    const auto here = facts_->now();
    return here->format(*here->dates, time);
}

int Localizer::compareIgnoringCase(std::string_view a, std::string_view b) const {
    const auto piece = [](std::string_view text) {
        return icu::StringPiece(text.data(), static_cast<int32_t>(text.size()));
    };
    UErrorCode status = U_ZERO_ERROR;
    return facts_->collator->compareUTF8(piece(a), piece(b), status);
}

std::optional<Timestamp> Localizer::startOfDay(Timestamp time) const {
    UErrorCode status = U_ZERO_ERROR;
    const auto calendar = facts_->now()->calendarAt(time, status);
    // Where clocks change at midnight, the day begins at the first moment that bears its date.
    calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
    calendar->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
    for (const auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND}) {
        calendar->set(field, 0);
    }
    const auto start = calendar->getTime(status);
    return U_SUCCESS(status) != 0 ? std::optional(timestamp(start)) : std::nullopt;
}

std::optional<Timestamp> Localizer::addingDays(Timestamp time, int days) const {
    // By the zone alone, which takes a third of the memory of a calendar: this is all that a
    // program that only waits ever asks.
    const auto moment = milliseconds(time);
    if (!(std::abs(moment) <= lastMoment)) {
        return std::nullopt;
    }
    const auto here = facts_->now();
    const auto offset = [&here](UDate at) {
        return here->offset(at);
    };
    const auto moved = moment + days * 86'400'000.0;
    // But a zone that leaves out a whole day keeps its clocks.
    const auto change = (offset(moment) - offset(moved)) % 86'400'000;
    // The same time by the clock on the wall. Where clocks skip it that day, what they show
    // instead.
    const bool isSkipped = change < 0 && offset(moved + change) != offset(moved);
    return timestamp(isSkipped ? moved : moved + change);
}

Seconds Localizer::offsetFromUTC(Timestamp time) const {
    const auto moment = milliseconds(time);
    return std::abs(moment) <= lastMoment ? facts_->now()->offset(moment) / 1000.0 : 0;
}

Timestamp Localizer::daysBefore(Timestamp now, int days) const {
    return addingDays(now, -days).value_or(now);
}

bool isTimeZone(const std::string& name) {
    return zoneNamed(name) != nullptr;
}

namespace {
Localizer& processWide() {
    static Localizer localizer;
    return localizer;
}
} // namespace

const Localizer& words() {
    return processWide();
}

void setWords(Localizer localizer) {
    processWide() = std::move(localizer);
}

} // namespace velmoran
