#include "core/text/MomentText.h"

#include "core/text/Localizer.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace velmoran {

namespace {

constexpr double secondsOfDay = 86400;

/// What is left to be read.
class Rest {
public:
    explicit Rest(std::string_view text) : text_(text) {}

    bool isEmpty() const { return text_.empty(); }

    bool skip(char expected) {
        if (text_.empty() || text_.front() != expected) {
            return false;
        }
        text_.remove_prefix(1);
        return true;
    }

    char next() {
        const char first = text_.empty() ? '\0' : text_.front();
        text_.remove_prefix(text_.empty() ? 0 : 1);
        return first;
    }

    /// A number of exactly so many digits.
    std::optional<int> number(std::size_t digits) {
        if (countDigits() < digits) {
            return std::nullopt;
        }
        return take(digits);
    }

    /// A number of at least one digit and at most so many.
    std::optional<int> numberUpTo(std::size_t digits) {
        const auto count = countDigits();
        if (count == 0 || count > digits) {
            return std::nullopt;
        }
        return take(count);
    }

    /// The digits behind a point; nothing without any.
    std::optional<double> fraction() {
        const auto count = countDigits();
        double value = 0;
        double place = 1;
        for (const char digit : text_.substr(0, count)) {
            place /= 10;
            value += (digit - '0') * place;
        }
        text_.remove_prefix(count);
        return count > 0 ? std::optional(value) : std::nullopt;
    }

private:
    std::size_t countDigits() const {
        const auto end = text_.find_first_not_of("0123456789");
        return end == std::string_view::npos ? text_.size() : end;
    }

    std::optional<int> take(std::size_t digits) {
        int value = 0;
        const auto [end, error] = std::from_chars(text_.data(), text_.data() + digits, value);
        text_.remove_prefix(digits);
        return error == std::errc() ? std::optional(value) : std::nullopt;
    }

    std::string_view text_;
};

/// What clocks show, as if they showed UTC.
using WallClock = Timestamp;

std::optional<WallClock> readDate(Rest& rest) {
    const auto year = rest.number(4);
    const bool firstDash = year && rest.skip('-');
    const auto month = firstDash ? rest.number(2) : std::nullopt;
    const bool secondDash = month && rest.skip('-');
    const auto day = secondDash ? rest.number(2) : std::nullopt;
    if (!day || *year == 0) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date(std::chrono::year(*year),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day)));
    if (!date.ok()) {
        return std::nullopt;
    }
    const auto days = std::chrono::sys_days(date).time_since_epoch().count();
    return WallClock{static_cast<double>(days) * secondsOfDay - secondsFromUnixEpoch};
}

/// Hour and minute, and seconds if there are any; since midnight.
std::optional<Seconds> readTimeOfDay(Rest& rest) {
    const auto hour = rest.number(2);
    const bool colon = hour && rest.skip(':');
    const auto minute = colon ? rest.number(2) : std::nullopt;
    if (!minute || *hour > 23 || *minute > 59) {
        return std::nullopt;
    }
    Seconds seconds = *hour * 3600 + *minute * 60;
    if (rest.skip(':')) {
        const auto second = rest.number(2);
        if (!second || *second > 59) {
            return std::nullopt;
        }
        seconds += *second;
        if (rest.skip('.')) {
            const auto fraction = rest.fraction();
            if (!fraction) {
                return std::nullopt;
            }
            seconds += *fraction;
        }
    }
    return seconds;
}

/// "Z", "+01:00", "+0100", "+01": ahead of UTC.
std::optional<Seconds> readZone(Rest& rest) {
    const char sign = rest.next();
    if (sign == 'Z' || sign == 'z') {
        return 0;
    }
    const auto hour = sign == '+' || sign == '-' ? rest.number(2) : std::nullopt;
    if (!hour || *hour > 23) {
        return std::nullopt;
    }
    int minute = 0;
    if (!rest.isEmpty()) {
        rest.skip(':');
        const auto read = rest.number(2);
        if (!read || *read > 59) {
            return std::nullopt;
        }
        minute = *read;
    }
    const Seconds ahead = *hour * 3600 + minute * 60;
    return sign == '-' ? -ahead : ahead;
}

WallClock wallClock(Timestamp time) {
    return time + words().offsetFromUTC(time);
}

Timestamp momentOf(WallClock wall) {
    // No zone changes its clocks twice within these.
    const auto before = wall - words().offsetFromUTC(wall - secondsOfDay);
    const auto after = wall - words().offsetFromUTC(wall + secondsOfDay);
    return wallClock(before) != wall && wallClock(after) == wall ? after : before;
}

std::optional<Timestamp> readSpan(Rest rest, Timestamp now) {
    constexpr std::size_t mostDigits = 9;
    const auto count = rest.numberUpTo(mostDigits);
    const char unit = rest.next();
    if (!count || !rest.isEmpty()) {
        return std::nullopt;
    }
    switch (unit) {
    case 's':
        return now - *count;
    case 'm':
        return now - *count * 60.0;
    case 'h':
        return now - *count * 3600.0;
    case 'd':
        return words().addingDays(now, -*count);
    case 'w':
        return *count > 99'999'999 ? std::nullopt : words().addingDays(now, -7 * *count);
    default:
        return std::nullopt;
    }
}

std::optional<Timestamp> readDateAndTime(Rest rest) {
    auto wall = readDate(rest);
    if (!wall) {
        return std::nullopt;
    }
    if (rest.isEmpty()) {
        // Clocks may be set at midnight, so from a time of which the day is certain.
        return words().startOfDay(momentOf(*wall + secondsOfDay / 2));
    }
    const char between = rest.next();
    const auto time =
        between == 'T' || between == 't' || between == ' ' ? readTimeOfDay(rest) : std::nullopt;
    if (!time) {
        return std::nullopt;
    }
    wall = *wall + *time;
    if (rest.isEmpty()) {
        return momentOf(*wall);
    }
    const auto zone = readZone(rest);
    return zone && rest.isEmpty() ? std::optional(*wall - *zone) : std::nullopt;
}

/// A time of today.
std::optional<Timestamp> readTime(Rest rest, Timestamp now) {
    const auto time = readTimeOfDay(rest);
    if (!time || !rest.isEmpty()) {
        return std::nullopt;
    }
    const auto wall = wallClock(now).seconds + secondsFromUnixEpoch;
    const auto midnight = std::floor(wall / secondsOfDay) * secondsOfDay - secondsFromUnixEpoch;
    return momentOf(WallClock{midnight} + *time);
}

/// The time that clocks show, apart.
struct Shown {
    std::chrono::year_month_day date;
    std::int64_t milliseconds = 0; ///< of the day
    Seconds offset = 0;
};

std::optional<Shown> shownAt(Timestamp time) {
    const auto earliest = std::chrono::sys_days(std::chrono::year(1) / 1 / 2);
    const auto latest = std::chrono::sys_days(std::chrono::year(9999) / 12 / 31);
    const auto utc = time.seconds + secondsFromUnixEpoch;
    if (!(utc >= static_cast<double>(earliest.time_since_epoch().count()) * secondsOfDay &&
          utc < static_cast<double>(latest.time_since_epoch().count()) * secondsOfDay)) {
        return std::nullopt;
    }
    const auto offset = words().offsetFromUTC(time);
    // A microsecond, since what stood for whole milliseconds is a binary fraction.
    const auto wall = static_cast<std::int64_t>(std::floor((utc + offset) * 1000 + 1e-3));
    constexpr std::int64_t day = 86'400'000;
    const auto days = wall / day - (wall % day < 0 ? 1 : 0);
    return Shown{std::chrono::sys_days(std::chrono::days(days)), wall - days * day, offset};
}

/// With zeros before it. Histories have a million of these, and formats are read anew each time.
void addNumber(std::string& text, std::int64_t number, std::size_t digits) {
    const auto begin = text.size();
    text.append(digits, '0');
    for (auto at = text.size(); number > 0 && at > begin; number /= 10) {
        text[--at] = static_cast<char>('0' + number % 10);
    }
}

std::string written(const Shown& shown, char between) {
    std::string text;
    text.reserve(std::string_view("2026-11-22T10:00:00.000+01:00").size());
    const auto add = [&text](std::int64_t number, std::size_t digits, char after) {
        addNumber(text, number, digits);
        text += after;
    };
    const auto seconds = shown.milliseconds / 1000;
    add(static_cast<int>(shown.date.year()), 4, '-');
    add(static_cast<unsigned>(shown.date.month()), 2, '-');
    add(static_cast<unsigned>(shown.date.day()), 2, between);
    add(seconds / 3600, 2, ':');
    add(seconds / 60 % 60, 2, ':');
    addNumber(text, seconds % 60, 2);
    return text;
}

} // namespace

std::optional<Timestamp> momentFrom(std::string_view text, Timestamp now) {
    if (text == "now") {
        return now;
    }
    if (text == "today") {
        return words().startOfDay(now);
    }
    if (text == "yesterday") {
        const auto before = words().addingDays(now, -1);
        return before ? words().startOfDay(*before) : std::nullopt;
    }
    const Rest rest(text);
    if (const auto moment = readSpan(rest, now)) {
        return moment;
    }
    if (const auto moment = readDateAndTime(rest)) {
        return moment;
    }
    return readTime(rest, now);
}

std::string isoTime(Timestamp time, Precision precision) {
    const auto shown = shownAt(time);
    if (!shown) {
        return {};
    }
    auto text = written(*shown, 'T');
    if (precision == Precision::milliseconds) {
        text += '.';
        addNumber(text, shown->milliseconds % 1000, 3);
    }
    // Before there were zones clocks differed by seconds, which this form can't tell.
    const auto minutes = static_cast<int>(std::floor(std::abs(shown->offset) / 60));
    text += shown->offset < 0 ? '-' : '+';
    addNumber(text, minutes / 60, 2);
    text += ':';
    addNumber(text, minutes % 60, 2);
    return text;
}

std::string wallTime(Timestamp time) {
    const auto shown = shownAt(time);
    return shown ? written(*shown, ' ') : std::string();
}

} // namespace velmoran
