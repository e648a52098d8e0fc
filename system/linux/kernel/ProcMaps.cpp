#include "system/linux/kernel/ProcMaps.h"

#include "system/TextParsing.h"
#include "system/linux/kernel/Descriptor.h"
#include "system/linux/kernel/Files.h"

#include <algorithm>
#include <functional>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace velmoran {

namespace {

/// More than a browser has. What a process hides behind so many is not believed.
constexpr std::size_t mostBytes = 1024UL * 1024;

/// False if not all of them could be read.
bool eachMapping(const std::string& file, const std::function<void(ProcMapping)>& visit) {
    const auto text = readFileUpTo(file, mostBytes);
    if (!text || text->empty() || text->size() >= mostBytes) {
        return false;
    }
    bool isWhole = true;
    eachPiece(*text, '\n', [&](std::string_view line) {
        if (auto mapping = parseProcMapping(line)) {
            visit(std::move(*mapping));
        } else {
            isWhole = isWhole && line.empty();
        }
    });
    return isWhole;
}

/// The first byte of a file, for as long as this lives.
class MappedByte {
public:
    explicit MappedByte(const std::string& path) {
        const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        struct stat kind {};
        if (file.isOpen() && ::fstat(file.get(), &kind) == 0 && S_ISREG(kind.st_mode)) {
            address_ = ::mmap(nullptr, 1, PROT_READ, MAP_PRIVATE, file.get(), 0);
        }
    }
    MappedByte(MappedByte&& other) noexcept : address_(std::exchange(other.address_, MAP_FAILED)) {}
    MappedByte& operator=(MappedByte&&) = delete;
    ~MappedByte() {
        if (address_ != MAP_FAILED) {
            ::munmap(address_, 1);
        }
    }

    bool isIn(const ProcMapping& mapping) const {
        const auto number = reinterpret_cast<std::uintptr_t>(address_);
        return address_ != MAP_FAILED && mapping.begin <= number && number < mapping.end;
    }

private:
    void* address_ = MAP_FAILED;
};

} // namespace

std::optional<ProcMapping> parseProcMapping(std::string_view line) {
    ProcMapping mapping;
    const auto hexThen = [&](std::string_view sign) {
        const auto number = consumeNumber<std::uint64_t>(line, 16);
        return number && consumePrefix(line, sign) ? number : std::nullopt;
    };
    const auto begin = hexThen("-");
    const auto end = begin ? hexThen(" ") : std::nullopt;
    if (!end) {
        return std::nullopt;
    }
    mapping.begin = *begin;
    mapping.end = *end;
    constexpr std::size_t permissions = 4;
    constexpr std::size_t execute = 2;
    mapping.isExecutable = line.size() > execute && line[execute] == 'x';
    line.remove_prefix(std::min(permissions, line.size()));
    if (!consumePrefix(line, " ") || !hexThen(" ")) {
        return std::nullopt;
    }
    const auto device = line;
    if (!hexThen(":") || !hexThen(" ")) {
        return std::nullopt;
    }
    mapping.device = device.substr(0, device.size() - line.size() - 1);
    const auto inode = consumeNumber<std::uint64_t>(line);
    if (!inode || (!line.empty() && line.front() != ' ')) {
        return std::nullopt;
    }
    mapping.inode = *inode;
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    mapping.path = line.substr(0, line.find('\n'));
    return mapping;
}

std::optional<std::vector<ProcMapping>> executableMappings(pid_t pid, const ProcFs& proc) {
    std::vector<ProcMapping> found;
    const bool isWhole = eachMapping(proc.path(pid, "maps"), [&](ProcMapping mapping) {
        if (mapping.isExecutable) {
            found.push_back(std::move(mapping));
        }
    });
    return isWhole ? std::optional(found) : std::nullopt;
}

std::map<std::string, ProcMapping> asMapped(const std::set<std::string>& paths) {
    const std::vector<MappedByte> bytes(paths.begin(), paths.end());
    std::map<std::string, ProcMapping> found;
    eachMapping("/proc/self/maps", [&](const ProcMapping& mapping) {
        auto path = paths.begin();
        for (const auto& byte : bytes) {
            if (byte.isIn(mapping)) {
                found.emplace(*path, mapping);
            }
            ++path;
        }
    });
    return found;
}

} // namespace velmoran
