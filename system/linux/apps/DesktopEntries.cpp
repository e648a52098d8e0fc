#include "system/linux/apps/DesktopEntries.h"

#include "system/TextParsing.h"
#include "system/linux/apps/ScriptArgument.h"
#include "system/linux/apps/WrapperScript.h"
#include "system/linux/kernel/Files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <tuple>
#include <unordered_set>

namespace velmoran {

namespace {

constexpr std::size_t longestEntry = 512UL * 1024;
constexpr std::size_t mostEntries = 20000;
constexpr int deepestFolder = 8;
constexpr std::string_view extension = ".desktop";

bool isExecutable(const std::string& path) {
    struct stat entry {};
    return ::stat(path.c_str(), &entry) == 0 && S_ISREG(entry.st_mode) &&
           (entry.st_mode & 0111) != 0;
}

std::string realPathOf(const std::string& path) {
    std::error_code error;
    const auto real = std::filesystem::canonical(path, error);
    return error ? std::string() : real.string();
}

/// Names of folders that many programs share, wherever they lie.
bool isCommonFolderName(std::string_view name) {
    constexpr auto common =
        "bin sbin lib lib32 lib64 libx32 libexec share local usr opt games home "
        "srv tmp var etc kf5 kf6 qt5 qt6 store scripts applications";
    return name.empty() || isListed(name, common) ||
           name.find("-linux-gnu") != std::string_view::npos;
}

/// At least two deep: nothing directly below the root is one program's own.
bool canBeOwn(std::string_view folder) {
    return !isCommonFolderName(fileName(folder)) && !parentOf(folder).empty();
}

} // namespace

std::optional<std::string> ownFolder(std::string_view program) {
    auto folder = parentOf(program);
    if (fileName(folder) == "bin") {
        folder = parentOf(folder);
    }
    return canBeOwn(folder) ? std::optional<std::string>(folder) : std::nullopt;
}

bool mayLieInOwnFolder(std::string_view path) {
    for (auto folder = parentOf(path); !folder.empty(); folder = parentOf(folder)) {
        if (canBeOwn(folder)) {
            return true;
        }
    }
    return false;
}

void DesktopEntries::refresh() {
    const bool isCurrent =
        !stamps_.empty() && std::all_of(stamps_.begin(), stamps_.end(), [](const auto& known) {
            return FolderStamp::of(known.first) == known.second;
        });
    if (!isCurrent) {
        read();
    }
}

void DesktopEntries::read() {
    all_.clear();
    byID_.clear();
    byProgram_.clear();
    programOfFolder_.clear();
    stamps_.clear();
    ++readings_;
    for (const auto& root : places_.applicationFolders) {
        readFolder(root, "", 0);
    }
    const auto rank = [](const Found& found) {
        return std::tuple(!found.isTrusted, !found.isProtected, found.entry.isHidden,
                          found.entry.command.size());
    };
    std::stable_sort(all_.begin(), all_.end(),
                     [&](const Found& a, const Found& b) { return rank(a) < rank(b); });
    const auto claim = [](const Found& found) {
        return std::tuple(!found.isProtected, found.order);
    };
    for (std::size_t at = 0; at < all_.size(); ++at) {
        const auto& found = all_[at];
        if (!found.program.empty()) {
            byProgram_[found.program].push_back(at);
        }
        const auto [known, isNew] = byID_.emplace(found.entry.id, at);
        if (!isNew && claim(found) < claim(all_[known->second])) {
            known->second = at;
        }
    }
    indexFolders();
}

void DesktopEntries::readFolder(const std::string& root, const std::string& below, int depth) {
    const std::string folder = below.empty() ? root : root + '/' + below;
    // Before the reading: what changes meanwhile is then read once more, not missed.
    const bool isNew = stamps_.emplace(folder, FolderStamp::of(folder)).second;
    if (!isNew || depth > deepestFolder) {
        return;
    }
    for (const auto& name : sortedNamesIn(folder)) {
        const std::string inside = below.empty() ? name : below + '/' + name;
        const std::string file = root + '/' + inside;
        if (!name.ends_with(extension)) {
            struct stat entry {};
            if (::stat(file.c_str(), &entry) == 0 && S_ISDIR(entry.st_mode)) {
                readFolder(root, inside, depth + 1);
            }
            continue;
        }
        const auto text = readFileUpTo(file, longestEntry);
        auto entry = text ? parseDesktopEntry(*text) : std::nullopt;
        if (!entry || all_.size() >= mostEntries) {
            continue;
        }
        entry->id = inside.substr(0, inside.size() - extension.size());
        std::replace(entry->id.begin(), entry->id.end(), '/', '-');
        Found found{.entry = std::move(*entry),
                    .file = file,
                    .program = {},
                    .isProtected = places_.protection.protects(file),
                    .isTrusted = false,
                    .order = all_.size()};
        resolve(found);
        all_.push_back(std::move(found));
    }
}

void DesktopEntries::resolve(Found& found) const {
    const auto& entry = found.entry;
    // These are started through a program that they all share.
    if (entry.flatpak || entry.snap) {
        return;
    }
    const auto useful = [&](const std::string& word) {
        return isLauncher(word) ? std::string() : findProgram(word, found.isProtected);
    };
    std::string program;
    if (!entry.command.empty()) {
        const auto& word = entry.command.front();
        program = useful(word);
        if (isInterpreter(word) || isInterpreter(program)) {
            const auto script = scriptArgument(isInterpreter(word) ? word : program, entry.command);
            program = script && script->starts_with('/') ? realPathOf(*script) : std::string();
        }
    }
    if (program.empty() && entry.tryExec && !isInterpreter(*entry.tryExec)) {
        program = useful(*entry.tryExec);
        if (isInterpreter(program)) {
            program.clear();
        }
    }
    if (isLauncher(program)) {
        program.clear();
    }
    found.program = program;
    found.isTrusted = found.isProtected && !program.empty() && places_.protection.protects(program);
}

std::string DesktopEntries::findProgram(const std::string& word, bool mustBeProtected) const {
    if (word.starts_with('/')) {
        return isExecutable(word) ? realPathOf(word) : std::string();
    }
    if (word.empty() || word.find('/') != std::string::npos) {
        return {};
    }
    for (const auto& folder : places_.systemPath) {
        const std::string candidate = folder + '/' + word;
        if (isExecutable(candidate) &&
            (!mustBeProtected || places_.protection.protects(candidate))) {
            return realPathOf(candidate);
        }
    }
    // What root's own entry means is never something of the user's that comes first in his path.
    for (const auto& folder : places_.userPath) {
        const std::string candidate = folder + '/' + word;
        if (!mustBeProtected && isExecutable(candidate)) {
            return realPathOf(candidate);
        }
    }
    return {};
}

void DesktopEntries::indexFolders() {
    const auto add = [&](const std::string& folder, const std::string& program) {
        const auto [known, isNew] = programOfFolder_.emplace(folder, program);
        if (!isNew && known->second != program) {
            known->second.clear();
        }
    };
    std::unordered_set<std::string> seen;
    for (const auto& found : all_) {
        if (!found.isTrusted || !seen.insert(found.program).second) {
            continue;
        }
        if (const auto folder = ownFolder(found.program)) {
            add(*folder, found.program);
        }
        // A wrapper that starts what bears its name, or lies in a folder of that name.
        const auto text = readFileUpTo(found.program, longestWrapper);
        const auto own = fileName(found.program);
        for (const auto& path : pathsInWrapper(text.value_or(""))) {
            const auto real = places_.protection.realPath(path);
            struct stat entry {};
            if (!real || *real == found.program || ::stat(real->c_str(), &entry) != 0) {
                continue;
            }
            const bool isFolder = S_ISDIR(entry.st_mode);
            const auto folder = isFolder ? ownFolder(*real + "/x") : ownFolder(*real);
            if (folder && fileName(*folder) == own && !folder->starts_with("/etc/")) {
                add(*folder, found.program);
            }
            if (!isFolder && fileName(*real) == own && readFileUpTo(*real, 4) == "\177ELF") {
                add(*real, found.program);
            }
        }
    }
}

const DesktopEntries::Found* DesktopEntries::byID(std::string_view id) const {
    const auto found = byID_.find(std::string(id));
    return found == byID_.end() ? nullptr : &all_[found->second];
}

std::vector<const DesktopEntries::Found*>
DesktopEntries::byProgram(const std::string& realPath) const {
    std::vector<const Found*> entries;
    if (const auto found = byProgram_.find(realPath); found != byProgram_.end()) {
        for (const auto at : found->second) {
            entries.push_back(&all_[at]);
        }
    }
    return entries;
}

std::vector<const DesktopEntries::Found*>
DesktopEntries::byFolderOf(const std::string& realPath) const {
    for (std::string_view folder = realPath; !folder.empty(); folder = parentOf(folder)) {
        if (const auto found = programOfFolder_.find(std::string(folder));
            found != programOfFolder_.end()) {
            return found->second.empty() ? std::vector<const Found*>{} : byProgram(found->second);
        }
    }
    return {};
}

std::vector<std::string> DesktopEntries::foldersOf(const std::string& program) const {
    std::vector<std::string> folders;
    for (const auto& [folder, its] : programOfFolder_) {
        if (its == program) {
            folders.push_back(folder);
        }
    }
    return folders;
}

const DesktopEntries::Found* DesktopEntries::byFlatpak(std::string_view id) const {
    const Found* found = byID(id);
    return found && found->entry.flatpak == id ? found : nullptr;
}

const DesktopEntries::Found* DesktopEntries::bySnap(std::string_view snap,
                                                    std::string_view app) const {
    const Found* first = nullptr;
    const std::string wanted = std::string(snap) + '_' + std::string(app);
    for (const auto& found : all_) {
        if (found.isProtected && found.entry.snap == snap) {
            if (found.entry.id == wanted) {
                return &found;
            }
            first = first ? first : &found;
        }
    }
    return first;
}

} // namespace velmoran
