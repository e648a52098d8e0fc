#include "app/shell/login/AutostartText.h"

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

namespace velmoran {

namespace {

constexpr std::string_view group = "[Desktop Entry]";

/// As a value: the reader takes a backslash and control characters for escapes.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\t':
            result += "\\t";
            break;
        case '\r':
            result += "\\r";
            break;
        default:
            result += c;
        }
    }
    // The reader drops blanks at the beginning.
    return !result.empty() && result.front() == ' ' ? "\\s" + result.substr(1) : result;
}

std::string unescaped(std::string_view value) {
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            result += value[i];
            continue;
        }
        const char c = value[++i];
        result += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c == 's' ? ' ' : c;
    }
    return result;
}

/// As one argument of a command: in quotes, with what means something there after a backslash, and
/// with the mark of a field doubled.
std::string quotedArgument(std::string_view argument) {
    std::string result = "\"";
    for (const char c : argument) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') {
            result += '\\';
        }
        result += c;
        if (c == '%') {
            result += '%';
        }
    }
    return result + '"';
}

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t\r");
    return begin == std::string_view::npos
               ? std::string_view()
               : text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

std::vector<std::string_view> parts(std::string_view list, char separator) {
    std::vector<std::string_view> result;
    while (!list.empty()) {
        const auto end = list.find(separator);
        if (const auto part = trimmed(list.substr(0, end)); !part.empty()) {
            result.push_back(part);
        }
        list.remove_prefix(end == std::string_view::npos ? list.size() : end + 1);
    }
    return result;
}

using Keys = std::map<std::string_view, std::string_view>;

/// Those of the one group that counts; nothing without that.
std::optional<Keys> keysIn(std::string_view text) {
    std::optional<Keys> keys;
    bool isInGroup = false;
    for (const auto whole : parts(text, '\n')) {
        if (whole.front() == '[') {
            isInGroup = whole == group;
            if (isInGroup && !keys) {
                keys.emplace();
            }
            continue;
        }
        const auto equals = whole.find('=');
        if (isInGroup && whole.front() != '#' && equals != std::string_view::npos) {
            keys->emplace(trimmed(whole.substr(0, equals)), trimmed(whole.substr(equals + 1)));
        }
    }
    return keys;
}

bool names(std::string_view list, std::string_view desktop) {
    const auto named = parts(list, ';');
    const auto own = parts(desktop, ':');
    return std::ranges::any_of(
        own, [&](auto each) { return std::ranges::find(named, each) != named.end(); });
}

} // namespace

std::string autostartText(const std::string& program, const std::string& arguments) {
    return std::string(group) + "\nType=Application\nName=Velmoran\nExec=" +
           escaped(quotedArgument(program) + ' ' + arguments) + "\nTryExec=" + escaped(program) +
           "\nIcon=org.velmoran.Velmoran\nTerminal=false\nStartupNotify=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

std::string hiddenAutostartText() {
    return std::string(group) + "\nType=Application\nName=Velmoran\nHidden=true\n";
}

bool startsSomething(std::string_view text, std::string_view desktop,
                     const std::function<bool(const std::string& program)>& canRun) {
    const auto keys = keysIn(text);
    if (!keys) {
        return false;
    }
    const auto value = [&](std::string_view key) {
        const auto found = keys->find(key);
        return found == keys->end() ? std::nullopt : std::optional(found->second);
    };
    const auto tried = value("TryExec");
    const auto only = value("OnlyShowIn");
    const auto never = value("NotShowIn");
    return value("Type").value_or("Application") == "Application" &&
           !value("Exec").value_or("").empty() && value("Hidden") != "true" &&
           value("X-GNOME-Autostart-enabled") != "false" && (!only || names(*only, desktop)) &&
           (!never || !names(*never, desktop)) && (!tried || canRun(unescaped(*tried)));
}

} // namespace velmoran
