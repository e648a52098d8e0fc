#include "system/linux/apps/ScriptArgument.h"

#include "system/TextParsing.h"
#include "system/linux/kernel/Files.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace velmoran {

namespace {

/// How one kind of interpreter is called. Names and words stand with blanks between them.
struct Grammar {
    std::string_view names;
    std::string_view inlineLetters;   ///< short options that bring the code themselves
    std::string_view valueLetters;    ///< short options with a value, attached or as next argument
    std::string_view attachedLetters; ///< short options that may have an attached value only
    std::string_view inlineWords = {};
    std::string_view valueWords = {}; ///< long options whose value is the next argument
    bool hasPlusOptions = false;      ///< "+o" turns an option off
};

constexpr std::array<Grammar, 8> grammars{
    {{"python pypy", "cm", "WX", "", "", "--check-hash-based-pycs"},
     {"perl", "eE", "I", "MmFiDx"},
     {"ruby", "e", "IrCE", "FiKTWx", "",
      "--encoding --external-encoding --internal-encoding --dump"},
     {"node nodejs bun deno", "ep", "rC", "", "--eval --print",
      "--require --import --loader --experimental-loader --conditions --input-type --env-file "
      "--config --icu-data-dir"},
     {"sh bash dash zsh ksh mksh fish ash busybox csh tcsh rbash", "cs", "oO", "", "",
      "--rcfile --init-file", true},
     {"lua luajit", "e", "l", ""},
     {"php", "rBR", "dcz", ""},
     {"gjs gjs-console tclsh wish", "ce", "IC", "", "--command --eval --module",
      "--include-path"}}};

constexpr std::string_view javaValues =
    "-cp -classpath --class-path -p --module-path --add-modules --add-opens --add-exports "
    "--add-reads --limit-modules --upgrade-module-path -d --describe-module";

constexpr std::string_view launchers =
    "env flatpak snap snapd xdg-open gio gapplication gtk-launch gtk4-launch exo-open kde-open "
    "kde-open5 kioclient kioclient5 kstart kstart5 pkexec sudo su gksu kdesu lxqt-sudo nohup "
    "setsid nice ionice timeout systemd-run dbus-launch dbus-run-session dbus-send gdbus busctl "
    "firejail bwrap gamemoderun mangohud prime-run switcherooctl distrobox toolbox podman docker";

constexpr std::string_view loaderValues =
    "--library-path --inhibit-rpath --audit --preload --argv0 --glibc-hwcaps-prepend "
    "--glibc-hwcaps-mask";

/// "python3.11" is "python", "perl5.36.0" is "perl".
std::string_view withoutVersion(std::string_view name) {
    while (!name.empty() && (std::isdigit(static_cast<unsigned char>(name.back())) != 0 ||
                             name.back() == '.' || name.back() == '-')) {
        name.remove_suffix(1);
    }
    return name;
}

bool isJava(std::string_view name) {
    return isListed(name, "java javaw");
}
bool isWine(std::string_view name) {
    return isListed(name, "wine wine64 wine-preloader wine64-preloader wineloader");
}
bool isElectron(std::string_view name) {
    return withoutVersion(name) == "electron";
}
bool isPipeWire(std::string_view name) {
    return isListed(name, "pipewire pipewire-pulse");
}
bool isMono(std::string_view name) {
    return withoutVersion(name) == "mono" || isListed(name, "mono-sgen dotnet");
}

const Grammar* grammarOf(std::string_view name) {
    const auto plain = withoutVersion(name);
    const auto* found = std::find_if(grammars.begin(), grammars.end(), [&](const Grammar& each) {
        return isListed(plain, each.names) || (plain != name && isListed(name, each.names));
    });
    return found == grammars.end() ? nullptr : found;
}

bool endsWithIgnoringCase(std::string_view text, std::string_view end) {
    return text.size() >= end.size() &&
           g_ascii_strncasecmp(text.data() + text.size() - end.size(), end.data(), end.size()) == 0;
}

std::optional<std::string> javaArgument(const std::vector<std::string>& arguments) {
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        const auto& argument = arguments[at];
        if (argument == "-jar") {
            return at + 1 < arguments.size() ? std::optional(arguments[at + 1]) : std::nullopt;
        }
        if (argument == "-m" || argument == "--module") {
            return std::nullopt;
        }
        if (isListed(argument, javaValues)) {
            ++at;
        } else if (argument.empty() || (argument.front() != '-' && argument.front() != '@')) {
            return argument.ends_with(".java") ? std::optional(argument) : std::nullopt;
        }
    }
    return std::nullopt;
}

/// What it is told to load as a program. One without a slash would be looked for as a library.
std::optional<std::string> loaderArgument(const std::vector<std::string>& arguments) {
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        const auto& argument = arguments[at];
        if (!argument.starts_with("--")) {
            return argument.find('/') != std::string::npos ? std::optional(argument) : std::nullopt;
        }
        if (isListed(argument, loaderValues)) {
            ++at;
        }
    }
    return std::nullopt;
}

std::optional<std::string> pipeWireArgument(const std::vector<std::string>& arguments) {
    constexpr std::string_view word = "--config";
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        const auto& argument = arguments[at];
        if (argument == "-c" || argument == word) {
            return at + 1 < arguments.size() ? std::optional(arguments[at + 1]) : std::nullopt;
        }
        if (argument.starts_with(word) && argument.substr(word.size()).starts_with('=')) {
            return argument.substr(word.size() + 1);
        }
        if (argument.starts_with("-c")) {
            return argument.substr(2);
        }
    }
    return std::nullopt;
}

std::optional<std::string> firstEndingIn(std::string_view end, std::size_t from,
                                         const std::vector<std::string>& arguments) {
    for (std::size_t at = from; at < arguments.size(); ++at) {
        if (endsWithIgnoringCase(arguments[at], end)) {
            return arguments[at];
        }
    }
    return std::nullopt;
}

std::optional<std::string> firstPlain(const std::vector<std::string>& arguments) {
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        if (arguments[at].starts_with("--type=")) {
            return std::nullopt;
        }
        if (!arguments[at].empty() && arguments[at].front() != '-') {
            return arguments[at];
        }
    }
    return std::nullopt;
}

enum class Option { plain, takesNext, isInline };

Option shortOption(const Grammar& grammar, std::string_view letters) {
    for (std::size_t at = 0; at < letters.size(); ++at) {
        const char letter = letters[at];
        if (grammar.inlineLetters.find(letter) != std::string_view::npos) {
            return Option::isInline;
        }
        if (grammar.attachedLetters.find(letter) != std::string_view::npos) {
            return Option::plain;
        }
        if (grammar.valueLetters.find(letter) != std::string_view::npos) {
            return at + 1 == letters.size() ? Option::takesNext : Option::plain;
        }
    }
    return Option::plain;
}

Option optionOf(const Grammar& grammar, std::string_view argument) {
    if (argument.starts_with("--")) {
        const auto word = argument.substr(0, argument.find('='));
        if (isListed(word, grammar.inlineWords)) {
            return Option::isInline;
        }
        return isListed(argument, grammar.valueWords) ? Option::takesNext : Option::plain;
    }
    return shortOption(grammar, argument.substr(1));
}

} // namespace

bool isInterpreter(std::string_view program) {
    const auto name = fileName(program);
    return isJava(name) || isWine(name) || isElectron(name) || isMono(name) || isPipeWire(name) ||
           isDynamicLoader(name) || grammarOf(name) != nullptr;
}

bool isDynamicLoader(std::string_view program) {
    auto name = fileName(program);
    return name.starts_with("ld") && (name.ends_with(".so") || name.find(".so.") != name.npos);
}

bool isLauncher(std::string_view program) {
    return isListed(fileName(program), launchers);
}

std::optional<std::string> scriptArgument(std::string_view program,
                                          const std::vector<std::string>& arguments) {
    const auto name = fileName(program);
    if (isJava(name)) {
        return javaArgument(arguments);
    }
    if (isWine(name)) {
        return firstEndingIn(".exe", 0, arguments);
    }
    if (isMono(name)) {
        const auto library = firstEndingIn(".dll", 1, arguments);
        return library ? library : firstEndingIn(".exe", 1, arguments);
    }
    if (isElectron(name)) {
        return firstPlain(arguments);
    }
    if (isDynamicLoader(name)) {
        return loaderArgument(arguments);
    }
    if (isPipeWire(name)) {
        return pipeWireArgument(arguments);
    }
    const Grammar* grammar = grammarOf(name);
    if (!grammar) {
        return std::nullopt;
    }
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        const auto& argument = arguments[at];
        if (argument.empty() || argument == "-") {
            return std::nullopt;
        }
        if (argument == "--") {
            return at + 1 < arguments.size() ? std::optional(arguments[at + 1]) : std::nullopt;
        }
        const bool isOption =
            argument.front() == '-' || (argument.front() == '+' && grammar->hasPlusOptions);
        if (!isOption) {
            const bool isVerb = at == 1 && argument == "run" && isListed(name, "deno bun");
            if (isVerb) {
                continue;
            }
            return argument;
        }
        const auto option = optionOf(*grammar, argument);
        if (option == Option::isInline) {
            return std::nullopt;
        }
        if (option == Option::takesNext) {
            ++at;
        }
    }
    return std::nullopt;
}

bool isWindowsPath(std::string_view argument) {
    return argument.size() > 2 && argument[1] == ':';
}

} // namespace velmoran
