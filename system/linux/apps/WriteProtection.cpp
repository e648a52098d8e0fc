#include "system/linux/apps/WriteProtection.h"

#include "system/TextParsing.h"
#include "system/linux/kernel/Files.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace velmoran {

namespace {

constexpr int mostLinks = 40;

/// The pieces of a path in reverse, ready to be taken off the end.
void pushPieces(std::vector<std::string>& pending, std::string_view path) {
    const auto first = static_cast<std::ptrdiff_t>(pending.size());
    eachPiece(path, '/', [&](std::string_view piece) {
        if (!piece.empty()) {
            pending.emplace_back(piece);
        }
    });
    std::reverse(pending.begin() + first, pending.end());
}

} // namespace

std::optional<std::string> WriteProtection::realPath(const std::string& path) const {
    if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    const std::string base = base_ == "/" ? std::string() : base_;
    std::vector<std::string> pending;
    pushPieces(pending, path);
    std::string at;
    int links = 0;
    struct stat entry {};
    if (base.empty() && (::lstat("/", &entry) != 0 || entry.st_uid != owner_)) {
        return std::nullopt;
    }
    while (!pending.empty()) {
        const std::string piece = std::move(pending.back());
        pending.pop_back();
        if (piece == ".") {
            continue;
        }
        if (piece == "..") {
            at.resize(at.empty() ? 0 : at.rfind('/'));
            continue;
        }
        const std::string next = at + '/' + piece;
        if ((base.empty() && isListed(next, "/proc /media /run /dev")) ||
            ::lstat(next.c_str(), &entry) != 0) {
            return std::nullopt;
        }
        const bool isLink = S_ISLNK(entry.st_mode);
        const bool isAboveBase = next == base || isBelow(base, next);
        if (!isAboveBase) {
            const bool othersWrite =
                !isLink && ((entry.st_mode & S_IWOTH) != 0 ||
                            ((entry.st_mode & S_IWGRP) != 0 && entry.st_gid != group_));
            if (entry.st_uid != owner_ || othersWrite || !isBelow(next, base)) {
                return std::nullopt;
            }
        }
        if (!isLink) {
            at = next;
            continue;
        }
        const auto target = readLinkText(next);
        if (!target || ++links > mostLinks) {
            return std::nullopt;
        }
        if (target->front() == '/') {
            at.clear();
        }
        pushPieces(pending, *target);
    }
    if (at.empty()) {
        at = "/";
    }
    return at;
}

} // namespace velmoran
