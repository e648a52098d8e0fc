#include "system/linux/apps/DesktopEntry.h"

#include "core/text/VisibleText.h"

#include <glib.h>

#include <algorithm>
#include <memory>

namespace velmoran {

namespace {

constexpr const char* group = "Desktop Entry";

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)>;

std::optional<std::string> adopt(gchar* text) {
    const std::unique_ptr<gchar, decltype(&g_free)> owner(text, &g_free);
    return text && *text ? std::optional<std::string>(text) : std::nullopt;
}

std::optional<std::string> value(const KeyFile& keys, const char* key) {
    return adopt(g_key_file_get_string(keys.get(), group, key, nullptr));
}

bool flag(const KeyFile& keys, const char* key) {
    return g_key_file_get_boolean(keys.get(), group, key, nullptr) != FALSE;
}

/// NAME=…, as `env` takes it.
bool isAssignment(const std::string& word) {
    const auto equals = word.find('=');
    if (equals == std::string::npos || equals == 0 || g_ascii_isdigit(word.front())) {
        return false;
    }
    return std::all_of(word.begin(), word.begin() + static_cast<std::ptrdiff_t>(equals),
                       [](char c) { return g_ascii_isalnum(c) || c == '_'; });
}

std::size_t withoutEnvironment(const std::vector<std::string>& words) {
    std::size_t at = 0;
    while (at < words.size()) {
        const auto& word = words[at];
        if (word == "env" || word.ends_with("/env")) {
            ++at;
            while (at < words.size() && words[at].starts_with('-')) {
                const bool takesNext = words[at] == "-u" || words[at] == "--unset" ||
                                       words[at] == "-C" || words[at] == "--chdir";
                at += takesNext ? 2 : 1;
            }
        } else if (isAssignment(word)) {
            ++at;
        } else {
            break;
        }
    }
    return std::min(at, words.size());
}

/// Nothing if the word was nothing but a field.
std::optional<std::string> withoutFields(const std::string& word) {
    std::string plain;
    bool hadField = false;
    for (std::size_t at = 0; at < word.size(); ++at) {
        if (word[at] != '%' || at + 1 == word.size()) {
            plain += word[at];
            continue;
        }
        ++at;
        if (word[at] == '%') {
            plain += '%';
        } else {
            hadField = true;
        }
    }
    return hadField && plain.empty() ? std::nullopt : std::optional(plain);
}

} // namespace

std::vector<std::string> parseExec(const std::string& exec) {
    gchar** words = nullptr;
    gint count = 0;
    if (g_shell_parse_argv(exec.c_str(), &count, &words, nullptr) == FALSE) {
        return {};
    }
    const std::unique_ptr<gchar*, decltype(&g_strfreev)> owner(words, &g_strfreev);
    const std::vector<std::string> all(words, words + count);
    std::vector<std::string> command;
    for (std::size_t at = withoutEnvironment(all); at < all.size(); ++at) {
        if (auto plain = withoutFields(all[at])) {
            command.push_back(std::move(*plain));
        }
    }
    if (!command.empty() && command.front().empty()) {
        command.clear();
    }
    return command;
}

std::optional<DesktopEntry> parseDesktopEntry(std::string_view text) {
    const KeyFile keys(g_key_file_new(), &g_key_file_unref);
    if (text.empty() || g_key_file_load_from_data(keys.get(), text.data(), text.size(),
                                                  G_KEY_FILE_NONE, nullptr) == FALSE) {
        return std::nullopt;
    }
    auto name = adopt(g_key_file_get_locale_string(keys.get(), group, "Name", nullptr, nullptr));
    if (value(keys, "Type") != "Application" || !name || !showsAnything(*name)) {
        return std::nullopt;
    }
    DesktopEntry entry;
    entry.name = std::move(*name);
    entry.plainName = value(keys, "Name").value_or(entry.name);
    entry.icon = adopt(g_key_file_get_locale_string(keys.get(), group, "Icon", nullptr, nullptr));
    if (const auto exec = value(keys, "Exec")) {
        entry.command = parseExec(*exec);
    }
    entry.tryExec = value(keys, "TryExec");
    entry.flatpak = value(keys, "X-Flatpak");
    entry.snap = value(keys, "X-SnapInstanceName");
    entry.isHidden = flag(keys, "Hidden") || flag(keys, "NoDisplay");

    gsize count = 0;
    const std::unique_ptr<gchar*, decltype(&g_strfreev)> types(
        g_key_file_get_string_list(keys.get(), group, "MimeType", &count, nullptr), &g_strfreev);
    constexpr std::string_view scheme = "x-scheme-handler/";
    for (gsize at = 0; types && at < count; ++at) {
        const std::string_view type = types.get()[at];
        if (type.starts_with(scheme)) {
            entry.schemes.emplace_back(type.substr(scheme.size()));
        }
    }
    return entry;
}

} // namespace velmoran
