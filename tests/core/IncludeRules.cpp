#include "IncludeRules.h"

#include <algorithm>
#include <fstream>
#include <set>

namespace velmoran {

namespace {

/// C++20's own headers, and those of C by their C++ names.
const std::set<std::string_view> standardHeaders = {"algorithm",
                                                    "any",
                                                    "array",
                                                    "atomic",
                                                    "barrier",
                                                    "bit",
                                                    "bitset",
                                                    "cassert",
                                                    "cctype",
                                                    "cerrno",
                                                    "cfenv",
                                                    "cfloat",
                                                    "charconv",
                                                    "chrono",
                                                    "cinttypes",
                                                    "climits",
                                                    "clocale",
                                                    "cmath",
                                                    "codecvt",
                                                    "compare",
                                                    "complex",
                                                    "concepts",
                                                    "condition_variable",
                                                    "coroutine",
                                                    "csetjmp",
                                                    "csignal",
                                                    "cstdarg",
                                                    "cstddef",
                                                    "cstdint",
                                                    "cstdio",
                                                    "cstdlib",
                                                    "cstring",
                                                    "ctime",
                                                    "cuchar",
                                                    "cwchar",
                                                    "cwctype",
                                                    "deque",
                                                    "exception",
                                                    "execution",
                                                    "filesystem",
                                                    "format",
                                                    "forward_list",
                                                    "fstream",
                                                    "functional",
                                                    "future",
                                                    "initializer_list",
                                                    "iomanip",
                                                    "ios",
                                                    "iosfwd",
                                                    "iostream",
                                                    "istream",
                                                    "iterator",
                                                    "latch",
                                                    "limits",
                                                    "list",
                                                    "locale",
                                                    "map",
                                                    "memory",
                                                    "memory_resource",
                                                    "mutex",
                                                    "new",
                                                    "numbers",
                                                    "numeric",
                                                    "optional",
                                                    "ostream",
                                                    "queue",
                                                    "random",
                                                    "ranges",
                                                    "ratio",
                                                    "regex",
                                                    "scoped_allocator",
                                                    "semaphore",
                                                    "set",
                                                    "shared_mutex",
                                                    "source_location",
                                                    "span",
                                                    "sstream",
                                                    "stack",
                                                    "stdexcept",
                                                    "stop_token",
                                                    "streambuf",
                                                    "string",
                                                    "string_view",
                                                    "syncstream",
                                                    "system_error",
                                                    "thread",
                                                    "tuple",
                                                    "type_traits",
                                                    "typeindex",
                                                    "typeinfo",
                                                    "unordered_map",
                                                    "unordered_set",
                                                    "utility",
                                                    "valarray",
                                                    "variant",
                                                    "vector",
                                                    "version"};

/// What POSIX has on the Mac and on Linux alike.
const std::set<std::string_view> posixHeaders = {
    "dirent.h",   "fcntl.h",     "netdb.h",    "poll.h",       "pthread.h",    "pwd.h",
    "signal.h",   "spawn.h",     "sys/mman.h", "sys/select.h", "sys/socket.h", "sys/stat.h",
    "sys/time.h", "sys/types.h", "sys/wait.h", "unistd.h"};

bool startsWithAny(std::string_view text, std::initializer_list<std::string_view> beginnings) {
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&](std::string_view each) { return text.starts_with(each); });
}

bool coreMaySee(std::string_view path, std::string_view header) {
    return standardHeaders.contains(header) ||
           startsWithAny(header, {"nlohmann/", "boost/", "fmt/"}) ||
           (path.starts_with("core/text/") && header.starts_with("unicode/")) ||
           (path.starts_with("core/history/") &&
            (header.starts_with("SQLiteCpp/") || header == "sqlite3.h"));
}

bool systemMaySee(std::string_view header) {
    return standardHeaders.contains(header) || posixHeaders.contains(header) ||
           startsWithAny(header, {"nlohmann/", "boost/", "fmt/"});
}

/// One of ours, by its name from the top of the tree.
bool roomMaySeeOurs(std::string_view path, std::string_view header) {
    if (header.find("..") != std::string_view::npos) {
        return false; // a way out of the room
    }
    if (header.starts_with("core/")) {
        return true;
    }
    if (!path.starts_with("system/") || !header.starts_with("system/")) {
        return false;
    }
    const auto isPlatforms = [](std::string_view name) {
        return startsWithAny(name, {"system/linux/", "system/macos/"});
    };
    const auto folder = path.substr(0, path.find('/', std::string_view("system/").size()) + 1);
    return !isPlatforms(header) || header.starts_with(isPlatforms(path) ? folder : "-");
}

bool roomMaySee(std::string_view path, std::string_view header) {
    if (path.starts_with("core/")) {
        return coreMaySee(path, header);
    }
    if (startsWithAny(path, {"system/linux/", "system/macos/"})) {
        // A platform's own libraries are what these folders are for; the rooms above are not.
        return !startsWithAny(header, {"app/", "ctl/"});
    }
    return systemMaySee(header);
}

std::string_view withoutLeadingBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

} // namespace

std::optional<std::string> includeComplaint(std::string_view path, std::string_view line) {
    if (!startsWithAny(path, {"core/", "system/"})) {
        return std::nullopt;
    }
    line = withoutLeadingBlanks(line);
    if (!line.starts_with('#')) {
        return std::nullopt;
    }
    line = withoutLeadingBlanks(line.substr(1));
    if (!startsWithAny(line, {"include", "import"})) {
        return std::nullopt;
    }
    line.remove_prefix(std::min(line.find_first_of(" \t\"<"), line.size()));
    line = withoutLeadingBlanks(line);
    const char end = line.starts_with('<') ? '>' : line.starts_with('"') ? '"' : '\0';
    const auto close = end == '\0' ? std::string_view::npos : line.find(end, 1);
    if (close == std::string_view::npos) {
        return "can't tell what is included";
    }
    const auto header = line.substr(1, close - 1);
    if (end == '"' ? roomMaySeeOurs(path, header) : roomMaySee(path, header)) {
        return std::nullopt;
    }
    return "may not include " + std::string(line.substr(0, close + 1));
}

IncludeWalk walkIncludes(const std::filesystem::path& top) {
    namespace fs = std::filesystem;
    IncludeWalk walk;
    for (const auto* room : {"core", "system"}) {
        for (const auto& entry : fs::recursive_directory_iterator(top / room)) {
            const auto kind = entry.path().extension();
            if (entry.is_regular_file() && (kind == ".h" || kind == ".hpp" || kind == ".cpp" ||
                                            kind == ".c" || kind == ".m" || kind == ".mm")) {
                walk.files.push_back(entry.path().lexically_relative(top).generic_string());
            }
        }
    }
    std::sort(walk.files.begin(), walk.files.end());
    for (const auto& file : walk.files) {
        std::ifstream stream(top / file);
        std::string line;
        for (int number = 1; std::getline(stream, line); ++number) {
            if (const auto complaint = includeComplaint(file, line)) {
                walk.complaints.push_back(file + ":" + std::to_string(number) + ": " + *complaint);
            }
        }
    }
    return walk;
}

} // namespace velmoran
