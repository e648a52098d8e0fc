#include "RoomWalk.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <set>
#include <sstream>

namespace velmoran {

namespace {

namespace fs = std::filesystem;

constexpr std::array halls = {"core", "system", "app", "ctl"};

std::set<std::string, std::less<>> wordsOf(const char* text) {
    std::istringstream stream(text);
    std::set<std::string, std::less<>> result;
    for (std::string word; stream >> word;) {
        result.insert(word);
    }
    return result;
}

/// C++20's own headers, and those of C by their C++ names.
const auto standardHeaders = wordsOf(
    "algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv "
    "chrono cinttypes climits clocale cmath codecvt compare complex concepts condition_variable "
    "coroutine csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar "
    "cwctype deque exception execution filesystem format forward_list fstream functional future "
    "initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map "
    "memory memory_resource mutex new numbers numeric optional ostream queue random ranges ratio "
    "regex scoped_allocator semaphore set shared_mutex source_location span sstream stack "
    "stdexcept stop_token streambuf string string_view strstream syncstream system_error thread "
    "tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant "
    "vector version");

/// What every Unix has.
const auto posixHeaders =
    wordsOf("arpa/inet.h dirent.h fcntl.h netdb.h netinet/in.h netinet/tcp.h poll.h pthread.h "
            "pwd.h signal.h spawn.h sys/file.h sys/ioctl.h sys/mman.h sys/resource.h sys/select.h "
            "sys/socket.h sys/stat.h sys/time.h sys/types.h sys/un.h sys/wait.h unistd.h");

/// What names the kernel's own calls, of whatever platform.
bool isKernels(std::string_view header) {
    return header.starts_with("linux/") || header.starts_with("sys/") ||
           header.starts_with("net/") || header.starts_with("netinet/") ||
           header.starts_with("asm/");
}

/// "QString", "QtCore/QString".
bool isQt(std::string_view header) {
    return header.size() > 1 && header[0] == 'Q' &&
           (std::isupper(static_cast<unsigned char>(header[1])) || header.starts_with("Qt")) &&
           !header.ends_with(".h");
}

bool covers(std::string_view library, std::string_view header) {
    if (library == "posix") {
        return posixHeaders.contains(header);
    }
    if (library == "linux") {
        return isKernels(header) && !posixHeaders.contains(header);
    }
    if (library == "qt") {
        return isQt(header);
    }
    return header.starts_with(library) && !posixHeaders.contains(header) && !isKernels(header) &&
           !isQt(header);
}

std::string_view folderOf(std::string_view path) {
    return path.substr(0, std::min(path.rfind('/'), path.size()));
}

bool roomMaySeeOurs(const Room& room, std::string_view header) {
    const auto other = header.find('/') == std::string_view::npos ? "" : folderOf(header);
    return other == room.name ||
           std::find(room.rooms.begin(), room.rooms.end(), other) != room.rooms.end();
}

bool roomMaySee(const Room& room, std::string_view header) {
    return standardHeaders.contains(header) ||
           std::any_of(room.libraries.begin(), room.libraries.end(),
                       [&](const std::string& library) { return covers(library, header); });
}

std::string_view withoutLeadingBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

std::vector<std::string> sourcesIn(const fs::path& top, const fs::path& folder) {
    std::vector<std::string> result;
    if (!fs::is_directory(top / folder)) {
        return result;
    }
    for (const auto& entry : fs::recursive_directory_iterator(top / folder)) {
        const auto kind = entry.path().extension();
        if (entry.is_regular_file() && (kind == ".h" || kind == ".hpp" || kind == ".cpp" ||
                                        kind == ".c" || kind == ".m" || kind == ".mm")) {
            result.push_back(entry.path().lexically_relative(top).generic_string());
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

} // namespace

std::optional<std::string> includeComplaint(const RoomTable& table, std::string_view path,
                                            std::string_view line) {
    line = withoutLeadingBlanks(line);
    if (!line.starts_with('#')) {
        return std::nullopt;
    }
    line = withoutLeadingBlanks(line.substr(1));
    if (!line.starts_with("include") && !line.starts_with("import")) {
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
    const auto& room = *table.find(folderOf(path));
    if (end == '"' ? roomMaySeeOurs(room, header) : roomMaySee(room, header)) {
        return std::nullopt;
    }
    return "may not include " + std::string(line.substr(0, close + 1));
}

RoomWalk walkRooms(const RoomTable& table, const fs::path& top) {
    RoomWalk walk;
    std::set<std::string, std::less<>> seen;
    for (const auto* hall : halls) {
        for (const auto& file : sourcesIn(top, hall)) {
            walk.files.push_back(file);
            seen.emplace(folderOf(file));
            if (!table.find(folderOf(file))) {
                walk.complaints.push_back(file + ": stands in no room");
                continue;
            }
            std::ifstream stream(top / file);
            std::string line;
            for (int number = 1; std::getline(stream, line); ++number) {
                if (const auto complaint = includeComplaint(table, file, line)) {
                    walk.complaints.push_back(file + ":" + std::to_string(number) + ": " +
                                              *complaint);
                }
            }
        }
        for (const auto& file : sourcesIn(top, fs::path("tests") / hall)) {
            const auto folder = folderOf(std::string_view(file).substr(6));
            const bool known =
                std::any_of(table.rooms.begin(), table.rooms.end(), [&](const Room& room) {
                    return room.name == folder || room.name.starts_with(std::string(folder) + '/');
                });
            if (!known) {
                walk.complaints.push_back(file + ": tests no room");
            }
        }
    }
    for (const auto& room : table.rooms) {
        if (!seen.contains(room.name)) {
            walk.complaints.push_back(room.name + ": is no room of the tree");
        }
    }
    std::sort(walk.files.begin(), walk.files.end());
    return walk;
}

} // namespace velmoran
