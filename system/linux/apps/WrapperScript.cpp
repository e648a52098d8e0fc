#include "system/linux/apps/WrapperScript.h"

#include "system/TextParsing.h"

#include <algorithm>
#include <map>
#include <optional>

namespace velmoran {

namespace {

/// A variable may stand in itself's value many times over.
constexpr std::size_t longestValue = 1024;
constexpr std::size_t longestText = 4 * longestWrapper;

constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view digits = "0123456789";

bool isPathSign(char c) {
    return letters.find(c) != std::string_view::npos || digits.find(c) != std::string_view::npos ||
           std::string_view("/._+-").find(c) != std::string_view::npos;
}

std::string_view nameAt(std::string_view text) {
    const auto isName = [](char c) {
        return c == '_' || letters.find(c) != std::string_view::npos ||
               digits.find(c) != std::string_view::npos;
    };
    const auto end = std::find_if_not(text.begin(), text.end(), isName);
    const auto name = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    return name.empty() || digits.find(name.front()) != std::string_view::npos ? std::string_view()
                                                                               : name;
}

using Variables = std::map<std::string, std::string, std::less<>>;

/// "$NAME" and "${NAME}" of known variables replaced; of others they stay, which no path holds.
std::string expanded(std::string_view text, const Variables& variables, std::size_t limit) {
    std::string result;
    while (!text.empty() && result.size() < limit) {
        if (text.front() != '$') {
            result += text.front();
            text.remove_prefix(1);
            continue;
        }
        const bool isBraced = text.starts_with("${");
        const auto name = nameAt(text.substr(isBraced ? 2 : 1));
        const auto length = name.size() + (isBraced ? 3 : 1);
        const bool isWhole = !isBraced || (text.size() >= length && text[length - 1] == '}');
        const auto known = variables.find(name);
        if (name.empty() || !isWhole || known == variables.end()) {
            result += '$';
            text.remove_prefix(1);
            continue;
        }
        result += known->second;
        text.remove_prefix(length);
    }
    return result.substr(0, limit);
}

void readAssignment(std::string_view line, Variables& variables) {
    const auto blanks = line.find_first_not_of(" \t");
    line.remove_prefix(std::min(blanks, line.size()));
    consumePrefix(line, "export ");
    consumePrefix(line, "readonly ");
    const auto name = nameAt(line);
    if (name.empty() || !line.substr(name.size()).starts_with('=')) {
        return;
    }
    auto value = line.substr(name.size() + 1);
    const char quote = value.empty() ? '\0' : value.front();
    const bool isQuoted = quote == '"' || quote == '\'';
    value = isQuoted ? value.substr(1, std::min(value.find(quote, 1), value.size()) - 1)
                     : value.substr(0, value.find_first_of(" \t;&|"));
    // What a command answers isn't known, nor what the name stood for before.
    if (value.find('`') != std::string_view::npos || value.find("$(") != std::string_view::npos) {
        variables.erase(std::string(name));
        return;
    }
    variables.insert_or_assign(std::string(name), quote == '\''
                                                      ? std::string(value.substr(0, longestValue))
                                                      : expanded(value, variables, longestValue));
}

} // namespace

std::vector<std::string> pathsInWrapper(std::string_view text) {
    std::vector<std::string> found;
    if (!text.starts_with("#!")) {
        return found;
    }
    Variables variables;
    eachPiece(text, '\n', [&](std::string_view line) { readAssignment(line, variables); });
    const auto whole = expanded(text, variables, longestText);
    for (auto at = whole.find('/'); at != std::string::npos; at = whole.find('/', at)) {
        const auto end = std::find_if_not(whole.begin() + static_cast<std::ptrdiff_t>(at),
                                          whole.end(), isPathSign);
        const auto size = static_cast<std::size_t>(end - whole.begin()) - at;
        auto path = std::string_view(whole).substr(at, size);
        while (path.ends_with('/') || path.ends_with('.')) {
            path.remove_suffix(1);
        }
        const bool isWhole = at == 0 || (!isPathSign(whole[at - 1]) && whole[at - 1] != '}');
        if (isWhole && path.size() > 1) {
            found.emplace_back(path);
        }
        at += size;
    }
    return found;
}

} // namespace velmoran
