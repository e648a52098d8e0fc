#include "system/linux/kernel/ProcEntries.h"

#include <charconv>

namespace velmoran {

namespace {

template <typename Number>
std::optional<Number> parseNumber(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

/// The next word up to a blank, taken off the front of `rest`.
std::string_view takeWord(std::string_view& rest) {
    const auto begin = rest.find_first_not_of(" \t");
    if (begin == std::string_view::npos) {
        rest = {};
        return {};
    }
    rest.remove_prefix(begin);
    const auto end = rest.find_first_of(" \t\n");
    const auto word = rest.substr(0, end);
    rest.remove_prefix(word.size());
    return word;
}

/// Calls `each` with every line without its end.
template <typename Each>
void forEachLine(std::string_view text, Each each) {
    while (!text.empty()) {
        const auto end = text.find('\n');
        each(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

} // namespace

std::optional<ProcStat> parseProcStat(std::string_view text) {
    const auto open = text.find(" (");
    const auto close = text.rfind(") ");
    if (open == std::string_view::npos || close == std::string_view::npos || close < open + 2) {
        return std::nullopt;
    }
    const auto pid = parseNumber<pid_t>(text.substr(0, open));
    std::string_view rest = text.substr(close + 2);
    const auto state = takeWord(rest);
    const auto parent = parseNumber<pid_t>(takeWord(rest));
    if (!pid || *pid <= 0 || state.size() != 1 || !parent || *parent < 0) {
        return std::nullopt;
    }
    // The start is the 22nd field; the parent was the 4th.
    for (int field = 5; field < 22; ++field) {
        takeWord(rest);
    }
    const auto start = parseNumber<std::uint64_t>(takeWord(rest));
    if (!start) {
        return std::nullopt;
    }
    return ProcStat{.pid = *pid,
                    .comm = std::string(text.substr(open + 2, close - open - 2)),
                    .state = state.front(),
                    .parent = *parent,
                    .startTicks = *start};
}

std::vector<std::string> parseCommandLine(std::string_view text) {
    std::vector<std::string> arguments;
    while (!text.empty()) {
        const auto end = text.find('\0');
        arguments.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return arguments;
}

std::vector<std::string> parseCgroupPaths(std::string_view text) {
    std::vector<std::string> unified;
    std::vector<std::string> systemd;
    std::vector<std::string> others;
    forEachLine(text, [&](std::string_view line) {
        const auto first = line.find(':');
        const auto second = first == std::string_view::npos ? first : line.find(':', first + 1);
        if (second == std::string_view::npos || !parseNumber<unsigned>(line.substr(0, first))) {
            return;
        }
        const auto path = line.substr(second + 1);
        if (path.empty() || path.front() != '/') {
            return;
        }
        const auto controllers = line.substr(first + 1, second - first - 1);
        auto& list = controllers.empty()             ? unified
                     : controllers == "name=systemd" ? systemd
                                                     : others;
        list.emplace_back(path);
    });
    unified.insert(unified.end(), systemd.begin(), systemd.end());
    unified.insert(unified.end(), others.begin(), others.end());
    return unified;
}

std::optional<uid_t> parseStatusUid(std::string_view text) {
    std::optional<uid_t> uid;
    forEachLine(text, [&](std::string_view line) {
        if (!uid && line.starts_with("Uid:")) {
            line.remove_prefix(4);
            uid = parseNumber<uid_t>(takeWord(line));
        }
    });
    return uid;
}

std::optional<std::uint64_t> socketInode(std::string_view linkText) {
    constexpr std::string_view prefix = "socket:[";
    if (!linkText.starts_with(prefix) || !linkText.ends_with(']')) {
        return std::nullopt;
    }
    linkText.remove_prefix(prefix.size());
    linkText.remove_suffix(1);
    std::uint64_t inode = 0;
    const auto end = linkText.data() + linkText.size();
    const auto [rest, error] = std::from_chars(linkText.data(), end, inode);
    return error == std::errc() && rest == end ? std::optional(inode) : std::nullopt;
}

} // namespace velmoran
