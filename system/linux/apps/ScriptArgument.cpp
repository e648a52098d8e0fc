#include "system/linux/apps/ScriptArgument.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <span>

namespace velmoran {

namespace {

/// How one kind of interpreter is called.
struct Grammar {
    std::span<const std::string_view> names;
    std::string_view inlineLetters;   ///< short options that bring the code themselves
    std::string_view valueLetters;    ///< short options with a value, attached or as next argument
    std::string_view attachedLetters; ///< short options that may have an attached value only
    std::span<const std::string_view> inlineWords;
    std::span<const std::string_view> valueWords; ///< long options whose value is the next argument
};

using Words = std::span<const std::string_view>;

template <std::size_t count>
constexpr Words span(const std::array<std::string_view, count>& words) {
    return words;
}

constexpr std::array<std::string_view, 2> pythonNames{"python", "pypy"};
constexpr std::array<std::string_view, 1> pythonValues{"--check-hash-based-pycs"};
constexpr std::array<std::string_view, 1> perlNames{"perl"};
constexpr std::array<std::string_view, 1> rubyNames{"ruby"};
constexpr std::array<std::string_view, 4> rubyValues{"--encoding", "--external-encoding",
                                                     "--internal-encoding", "--dump"};
constexpr std::array<std::string_view, 4> nodeNames{"node", "nodejs", "bun", "deno"};
constexpr std::array<std::string_view, 2> nodeInline{"--eval", "--print"};
constexpr std::array<std::string_view, 9> nodeValues{
    "--require",    "--import",   "--loader", "--experimental-loader", "--conditions",
    "--input-type", "--env-file", "--config", "--icu-data-dir"};
constexpr std::array<std::string_view, 12> shellNames{
    "sh", "bash", "dash", "zsh", "ksh", "mksh", "fish", "ash", "busybox", "csh", "tcsh", "rbash"};
constexpr std::array<std::string_view, 2> shellValues{"--rcfile", "--init-file"};
constexpr std::array<std::string_view, 2> luaNames{"lua", "luajit"};
constexpr std::array<std::string_view, 1> phpNames{"php"};
constexpr std::array<std::string_view, 4> otherNames{"gjs", "gjs-console", "tclsh", "wish"};
constexpr std::array<std::string_view, 3> otherInline{"--command", "--eval", "--module"};
constexpr std::array<std::string_view, 1> otherValues{"--include-path"};

const std::array<Grammar, 8> grammars{
    Grammar{span(pythonNames), "cm", "WX", "", {}, span(pythonValues)},
    Grammar{span(perlNames), "eE", "I", "MmFiDx", {}, {}},
    Grammar{span(rubyNames), "e", "IrCE", "FiKTWx", {}, span(rubyValues)},
    Grammar{span(nodeNames), "ep", "rC", "", span(nodeInline), span(nodeValues)},
    Grammar{span(shellNames), "cs", "oO", "", {}, span(shellValues)},
    Grammar{span(luaNames), "e", "l", "", {}, {}},
    Grammar{span(phpNames), "rBR", "dcz", "", {}, {}},
    Grammar{span(otherNames), "ce", "IC", "", span(otherInline), span(otherValues)}};

constexpr std::array<std::string_view, 13> javaValues{"-cp",
                                                      "-classpath",
                                                      "--class-path",
                                                      "-p",
                                                      "--module-path",
                                                      "--add-modules",
                                                      "--add-opens",
                                                      "--add-exports",
                                                      "--add-reads",
                                                      "--limit-modules",
                                                      "--upgrade-module-path",
                                                      "-d",
                                                      "--describe-module"};

constexpr std::array<std::string_view, 43> launchers{
    "env",          "flatpak",    "snap",          "snapd",       "xdg-open",    "gio",
    "gapplication", "gtk-launch", "gtk4-launch",   "exo-open",    "kde-open",    "kde-open5",
    "kioclient",    "kioclient5", "kstart",        "kstart5",     "pkexec",      "sudo",
    "su",           "gksu",       "kdesu",         "lxqt-sudo",   "nohup",       "setsid",
    "nice",         "ionice",     "timeout",       "systemd-run", "dbus-launch", "dbus-run-session",
    "dbus-send",    "gdbus",      "busctl",        "firejail",    "bwrap",       "gamemoderun",
    "mangohud",     "prime-run",  "switcherooctl", "distrobox",   "toolbox",     "podman",
    "docker"};

bool contains(Words words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::string_view fileName(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

/// "python3.11" is "python", "perl5.36.0" is "perl".
std::string_view withoutVersion(std::string_view name) {
    while (!name.empty() && (std::isdigit(static_cast<unsigned char>(name.back())) != 0 ||
                             name.back() == '.' || name.back() == '-')) {
        name.remove_suffix(1);
    }
    return name;
}

bool isJava(std::string_view name) {
    return name == "java" || name == "javaw";
}
bool isWine(std::string_view name) {
    return name == "wine" || name == "wine64" || name == "wine-preloader" ||
           name == "wine64-preloader" || name == "wineloader";
}
bool isElectron(std::string_view name) {
    return withoutVersion(name) == "electron";
}
bool isMono(std::string_view name) {
    return withoutVersion(name) == "mono" || name == "mono-sgen" || name == "dotnet";
}

const Grammar* grammarOf(std::string_view name) {
    const auto plain = withoutVersion(name);
    for (const auto& grammar : grammars) {
        if (contains(grammar.names, plain) || contains(grammar.names, name)) {
            return &grammar;
        }
    }
    return nullptr;
}

bool endsWithIgnoringCase(std::string_view text, std::string_view lowerEnd) {
    return text.size() >= lowerEnd.size() &&
           std::equal(lowerEnd.begin(), lowerEnd.end(),
                      text.end() - static_cast<std::ptrdiff_t>(lowerEnd.size()),
                      [](char wanted, char c) {
                          return wanted == std::tolower(static_cast<unsigned char>(c));
                      });
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
        if (contains(span(javaValues), argument)) {
            ++at;
        } else if (argument.empty() || (argument.front() != '-' && argument.front() != '@')) {
            return argument.ends_with(".java") ? std::optional(argument) : std::nullopt;
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
        if (contains(grammar.inlineWords, word)) {
            return Option::isInline;
        }
        return contains(grammar.valueWords, argument) ? Option::takesNext : Option::plain;
    }
    return shortOption(grammar, argument.substr(1));
}

} // namespace

bool isInterpreter(std::string_view program) {
    const auto name = fileName(program);
    return isJava(name) || isWine(name) || isElectron(name) || isMono(name) ||
           grammarOf(name) != nullptr;
}

bool isLauncher(std::string_view program) {
    return contains(span(launchers), fileName(program));
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
        // "+o" is a shell's way to turn an option off.
        const bool isOption =
            argument.front() == '-' ||
            (argument.front() == '+' && grammar->names.data() == shellNames.data());
        if (!isOption) {
            const bool isVerb = at == 1 && argument == "run" && (name == "deno" || name == "bun");
            if (isVerb) {
                continue;
            }
            return argument;
        }
        switch (optionOf(*grammar, argument)) {
        case Option::isInline:
            return std::nullopt;
        case Option::takesNext:
            ++at;
            break;
        case Option::plain:
            break;
        }
    }
    return std::nullopt;
}

} // namespace velmoran
