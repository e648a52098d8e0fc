#include "system/linux/away/DeviceName.h"

#include "core/text/ConfinedText.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <system_error>
#include <utility>

namespace velmoran {

namespace {

constexpr std::size_t nameColumns = 80;

// What makers leave in their devices in the place of a name, in small letters.
constexpr std::array placeholders{"generic",       "usb",     "usb device",   "usb disk",
                                  "device",        "product", "vendor",       "manufacturer",
                                  "unknown",       "n/a",     "none",         "default string",
                                  "usb2.0",        "usb3.0",  "mass storage", "mass storage device",
                                  "usb 2.0 device"};

// At the end of the makers' names in the database.
constexpr std::array companyForms{
    ", inc.",         ", inc",        " inc.", " inc",  " corp.", " corp", " corporation",
    ", ltd.",         ", ltd",        " ltd.", " ltd",  " co.",   ", co.", " co.,",
    " gmbh",          " ag",          " b.v.", " s.a.", " llc",   ", llc", " technologies",
    " international", " incorporated"};

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

bool isLetter(unsigned char c) {
    return std::isalnum(c) != 0 || c >= 0x80;
}

/// "058f" and "0x1234" are the numbers once more.
bool isNumber(const std::string& text) {
    const auto small = lowered(text);
    const auto isHex = [](unsigned char c) {
        return std::isxdigit(c) != 0;
    };
    const bool hasDigits = std::any_of(small.begin(), small.end(),
                                       [](unsigned char c) { return std::isdigit(c) != 0; });
    return (small.size() == 4 && hasDigits && std::all_of(small.begin(), small.end(), isHex)) ||
           small.starts_with("0x") || std::none_of(small.begin(), small.end(), isLetter);
}

bool isPlaceholder(const std::string& text) {
    return std::find(placeholders.begin(), placeholders.end(), lowered(text)) != placeholders.end();
}

std::string makerProper(std::string name) {
    if (const auto also = name.find(" / "); also != std::string::npos) {
        name.resize(also);
    }
    // Its round bracket is square by now.
    if (const auto note = name.find(" ["); note != std::string::npos && note > 0) {
        name.resize(note);
    }
    const auto cut = [&name](std::string_view form) {
        if (name.size() > form.size() && lowered(name).ends_with(form)) {
            name.resize(name.size() - form.size());
            return true;
        }
        return false;
    };
    while (std::any_of(companyForms.begin(), companyForms.end(), cut)) {
    }
    while (name.ends_with(',') || name.ends_with(' ')) {
        name.pop_back();
    }
    return name;
}

/// As whole words, whatever their case.
bool holds(const std::string& text, const std::string& words) {
    const auto in = lowered(text);
    const auto wanted = lowered(words);
    for (auto at = in.find(wanted); at != std::string::npos; at = in.find(wanted, at + 1)) {
        const auto end = at + wanted.size();
        if ((at == 0 || !isLetter(static_cast<unsigned char>(in[at - 1]))) &&
            (end == in.size() || !isLetter(static_cast<unsigned char>(in[end])))) {
            return true;
        }
    }
    return false;
}

/// The first of the two that says something; else the device's own placeholder, if wanted.
std::string better(const std::string& own, const std::string& inDatabase, bool orAnything) {
    const auto ownLine = nameLine(own);
    const auto known = nameLine(inDatabase);
    for (const auto& line : {ownLine, known}) {
        if (line && !isNumber(*line) && !isPlaceholder(*line)) {
            return *line;
        }
    }
    return orAnything && ownLine && !isNumber(*ownLine) ? *ownLine : std::string();
}

} // namespace

std::optional<std::string> nameLine(const std::string& text) {
    auto line = confinedText(text, nameColumns);
    return line.empty() ? std::nullopt : std::optional(std::move(line));
}

std::optional<std::string> deviceName(const DeviceWords& words) {
    const auto model = better(words.model, words.modelInDatabase, true);
    const auto maker = makerProper(better(words.maker, words.makerInDatabase, model.empty()));
    if (model.empty() || maker.empty()) {
        return nameLine(model.empty() ? maker : model);
    }
    return nameLine(holds(model, maker) ? model : maker + ' ' + model);
}

std::string unescaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        unsigned char byte = 0;
        if (text.size() >= 4 && text.starts_with("\\x")) {
            const auto* digits = text.data() + 2;
            const auto [end, error] = std::from_chars(digits, digits + 2, byte, 16);
            if (error == std::errc{} && end == digits + 2) {
                result += static_cast<char>(byte);
                text.remove_prefix(4);
                continue;
            }
        }
        result += text.front();
        text.remove_prefix(1);
    }
    return result;
}

} // namespace velmoran
