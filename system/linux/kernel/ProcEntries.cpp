#include "system/linux/kernel/ProcEntries.h"

#include "system/TextParsing.h"

#include <algorithm>

namespace velmoran {

namespace {

/// The next word up to a blank, taken off the front of `rest`.
std::string_view consumeWord(std::string_view& rest) {
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
    const auto word = rest.substr(0, rest.find_first_of(" \t\n"));
    rest.remove_prefix(word.size());
    return word;
}

} // namespace

std::optional<ProcStat> parseProcStat(std::string_view text) {
    const auto open = text.find(" (");
    const auto close = text.rfind(") ");
    if (open == std::string_view::npos || close == std::string_view::npos || close < open + 2) {
        return std::nullopt;
    }
    const auto pid = wholeNumber<pid_t>(text.substr(0, open));
    std::string_view rest = text.substr(close + 2);
    const auto state = consumeWord(rest);
    const auto parent = wholeNumber<pid_t>(consumeWord(rest));
    if (!pid || *pid <= 0 || state.size() != 1 || !parent || *parent < 0) {
        return std::nullopt;
    }
    // The start is the 22nd field; the parent was the 4th.
    for (int field = 5; field < 22; ++field) {
        consumeWord(rest);
    }
    const auto start = wholeNumber<std::uint64_t>(consumeWord(rest));
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
    eachPiece(text, '\0', [&](std::string_view argument) { arguments.emplace_back(argument); });
    return arguments;
}

std::vector<std::string> parseCgroupPaths(std::string_view text) {
    std::vector<std::string> unified;
    std::vector<std::string> systemd;
    std::vector<std::string> others;
    eachPiece(text, '\n', [&](std::string_view line) {
        const auto first = line.find(':');
        const auto second = first == std::string_view::npos ? first : line.find(':', first + 1);
        if (second == std::string_view::npos || !wholeNumber<unsigned>(line.substr(0, first))) {
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
    eachPiece(text, '\n', [&](std::string_view line) {
        if (!uid && consumePrefix(line, "Uid:")) {
            uid = wholeNumber<uid_t>(consumeWord(line));
        }
    });
    return uid;
}

std::string withoutDeletedMark(std::string_view linkText) {
    if (linkText.ends_with(deletedMark)) {
        linkText.remove_suffix(deletedMark.size());
    }
    return std::string(linkText);
}

std::optional<std::uint64_t> socketInode(std::string_view linkText) {
    if (!consumePrefix(linkText, "socket:[") || !linkText.ends_with(']')) {
        return std::nullopt;
    }
    linkText.remove_suffix(1);
    return wholeNumber<std::uint64_t>(linkText);
}

std::optional<unsigned> parseDescriptorFlags(std::string_view text) {
    std::optional<unsigned> flags;
    eachPiece(text, '\n', [&](std::string_view line) {
        if (!flags && consumePrefix(line, "flags:\t")) {
            const auto number = consumeNumber<unsigned>(line, 8);
            flags = line.empty() ? number : std::nullopt;
        }
    });
    return flags;
}

std::optional<unsigned> parseFuseConnection(std::string_view text) {
    std::optional<unsigned> connection;
    eachPiece(text, '\n', [&](std::string_view line) {
        if (!connection && consumePrefix(line, "fuse_connection:\t")) {
            connection = wholeNumber<unsigned>(line);
        }
    });
    return connection;
}

} // namespace velmoran
