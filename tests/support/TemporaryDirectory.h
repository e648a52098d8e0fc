// A folder of a test's own, removed with all that is in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmoran {

class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string name =
            std::filesystem::canonical(std::filesystem::temp_directory_path()) / "velmoran-XXXXXX";
        if (!mkdtemp(name.data())) {
            throw std::runtime_error("no temporary folder");
        }
        path_ = name;
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    /// Real, with no symbolic link in it and no slash at its end.
    const std::string& path() const { return path_; }
    std::string path(std::string_view below) const { return path_ + '/' + std::string(below); }

    /// Writes a file, making the folders above it; returns its whole path.
    std::string write(std::string_view below, std::string_view text,
                      bool executable = false) const {
        const std::filesystem::path file = path(below);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary | std::ios::trunc)
            .write(text.data(), static_cast<std::streamsize>(text.size()));
        if (executable) {
            std::filesystem::permissions(file, std::filesystem::perms(0755));
        }
        return file;
    }
    std::string link(std::string_view below, const std::string& target) const {
        const std::filesystem::path file = path(below);
        std::filesystem::create_directories(file.parent_path());
        std::filesystem::remove(file);
        std::filesystem::create_symlink(target, file);
        return file;
    }

private:
    std::string path_;
};

} // namespace velmoran
