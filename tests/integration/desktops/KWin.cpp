// KDE's compositor alone, without its panel: what stands on it, not what is in its tray.
#include "integration/desktops/WholeDesktop.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

namespace velmoran {

namespace {

using support::waitUntil;

std::filesystem::path found(const std::string& program, const std::string& path) {
    std::istringstream folders(path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (std::filesystem::exists(folder + '/' + program)) {
            return folder + '/' + program;
        }
    }
    return {};
}

class KWin final : public WholeDesktop {
public:
    explicit KWin(bool withX) : withX_(withX) {
        session.need(withX ? std::vector<std::string>{"kwin_wayland", "Xwayland"}
                           : std::vector<std::string>{"kwin_wayland"});
        startSound();
        auto& environment = session.environment();
        environment["XDG_SESSION_TYPE"] = "wayland";
        environment["XDG_CURRENT_DESKTOP"] = "KDE";
        environment["KWIN_COMPOSE"] = "O2";
        environment["LIBGL_ALWAYS_SOFTWARE"] = "1";
        environment["KWIN_WAYLAND_NO_PERMISSION_CHECKS"] = "1";
        environment["KWIN_SCREENSHOT_NO_PERMISSION_CHECKS"] = "1";
        // The installed file has a capability, which not every machine gives away.
        std::filesystem::copy_file(found("kwin_wayland", environment["PATH"]),
                                   session.file("kwin_wayland"));
        begin();
    }
    QImage picture() override {
        const auto file = session.file("picture.raw");
        std::istringstream answer(
            session
                .run({"/usr/bin/python3", KWIN_PICTURE, std::to_string(size().width()),
                      std::to_string(size().height()), file})
                .output);
        int width = 0;
        int height = 0;
        int stride = 0;
        answer >> width >> height >> stride;
        const auto bytes = support::readFile(file);
        if (bytes.size() < std::size_t(height) * std::size_t(stride)) {
            return {};
        }
        return QImage(reinterpret_cast<const uchar*>(bytes.data()), width, height, stride,
                      QImage::Format_RGB32)
            .copy();
    }
    /// By beginning anew: what changes it under way isn't part of the compositor.
    void setScale(int scale) override {
        scale_ = scale;
        begin();
    }

private:
    void begin() {
        auto& environment = session.environment();
        for (const char* each : {"hand", "kwin"}) {
            session.stop(each);
        }
        std::filesystem::remove(session.file("hand"));
        for (const char* each : {"DISPLAY", "XAUTHORITY", "WAYLAND_DISPLAY"}) {
            environment.erase(each);
        }
        const auto shown = session.file("x-display");
        const auto teller = session.file("tell-display");
        support::writeFile(teller, "#!/bin/sh\necho \"$DISPLAY\" \"$XAUTHORITY\" > " +
                                       shown.string() + '\n');
        std::filesystem::permissions(teller, std::filesystem::perms::owner_all);
        std::filesystem::remove(shown);
        std::vector<std::string> command{session.file("kwin_wayland"),
                                         "--virtual",
                                         "--width",
                                         std::to_string(1280),
                                         "--height",
                                         std::to_string(800),
                                         "--scale",
                                         std::to_string(scale_),
                                         "--no-lockscreen",
                                         "--no-global-shortcuts",
                                         "--socket",
                                         "wayland-1"};
        if (withX_) {
            command.emplace_back("--xwayland");
        }
        command.push_back(teller);
        auto& kwin = session.start("kwin", command);
        if (!waitUntil(
                [&] { return !kwin.running() || support::readFile(shown).ends_with('\n'); }) ||
            !kwin.running()) {
            throw std::runtime_error("KWin didn't come up\n" + session.logs());
        }
        environment["WAYLAND_DISPLAY"] = "wayland-1";
        if (withX_) {
            std::istringstream(support::readFile(shown)) >> environment["DISPLAY"] >>
                environment["XAUTHORITY"];
        }
        startHand();
    }

    bool withX_;
};

} // namespace

std::unique_ptr<WholeDesktop> startKWin(bool withX) {
    return std::make_unique<KWin>(withX);
}

} // namespace velmoran
