// All desktop entries of the machine, found by id and by the program that they start. Read when
// first asked, and again when `refresh` sees that one of their folders has changed. Not safe to be
// shared: whoever owns it calls it on one thread, or under a lock.
//
// An entry is believed as far as whoever could have written it: one that root alone can write,
// starting a program that root alone can write, is `isTrusted`. All others, those of the user's
// own folder among them, may give a program its name and picture and nothing else.
#pragma once

#include "system/linux/apps/DesktopEntry.h"
#include "system/linux/apps/FolderStamp.h"
#include "system/linux/apps/LinuxPlaces.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace velmoran {

class DesktopEntries {
public:
    struct Found {
        DesktopEntry entry;
        std::string file;
        std::string program; ///< real path of what it starts: executable, or script of an
                             ///< interpreter; empty if that isn't there or says nothing of the app
        bool isProtected = false; ///< only root could have written the entry
        bool isTrusted = false;   ///< and the program too
        std::size_t order = 0;    ///< in which it was read: by folder, then by name

        bool operator==(const Found&) const = default;
    };

    explicit DesktopEntries(const LinuxPlaces& places) : places_(places) {}

    /// Reads all entries again if a folder was changed, came or went since they were read. One
    /// status call a folder otherwise.
    void refresh();

    /// The entry of that id: one that root alone can write first, then in the order of the folders,
    /// so that the user's own shadows none of those. Nothing if there is none.
    const Found* byID(std::string_view id) const;
    /// The entries that start exactly this file, the most fitting first: trusted ones before
    /// others, shown ones before hidden ones, those without further arguments first, then in the
    /// order of the folders and of the ids.
    std::vector<const Found*> byProgram(const std::string& realPath) const;
    /// The entries of the one trusted program whose own folder a file lies in ("/usr/lib/firefox",
    /// "/opt/app"), or that is a script which runs the file, in the same order: for wrappers and
    /// helpers. Empty if several programs share the folder.
    std::vector<const Found*> byFolderOf(const std::string& realPath) const;
    /// The folders and files of which `byFolderOf` gives that program's entries.
    std::vector<std::string> foldersOf(const std::string& program) const;
    const Found* byFlatpak(std::string_view id) const;
    /// `app` is the snap's program, or empty for whichever comes first.
    const Found* bySnap(std::string_view snap, std::string_view app) const;
    const std::vector<Found>& all() const { return all_; }
    /// How often they were read: all of the above can be another answer only when this is.
    std::size_t readings() const { return readings_; }

private:
    void read();
    void readFolder(const std::string& root, const std::string& below, int depth);
    void resolve(Found& found) const;
    void indexFolders();
    std::string findProgram(const std::string& word, bool mustBeProtected) const;

    LinuxPlaces places_;
    std::vector<Found> all_; ///< in order of fitting
    std::unordered_map<std::string, std::size_t> byID_;
    std::unordered_map<std::string, std::vector<std::size_t>> byProgram_;
    /// Folder, or file that a wrapper runs, to its one program; empty if there are several.
    std::unordered_map<std::string, std::string> programOfFolder_;
    std::map<std::string, FolderStamp> stamps_;
    std::size_t readings_ = 0;
};

/// The folder that is a program's own, beginning with the one that it lies in, and going above one
/// called "bin"; nothing if that is shared by many, as /usr/bin or /usr/lib are.
std::optional<std::string> ownFolder(std::string_view program);
/// Whether any folder above a file can be a program's own at all.
bool mayLieInOwnFolder(std::string_view path);

} // namespace velmoran
