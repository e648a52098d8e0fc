#include "integration/desktops/WholeDesktop.h"

#include "support/Sway.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <utility>

namespace velmoran {

namespace {

using support::waitUntil;

constexpr int cardWidth = 344;
constexpr int buttonHeight = 40;

class SwayDesktop final : public WholeDesktop {
public:
    explicit SwayDesktop(bool withX) {
        session.need({"grim"});
        startSound();
        support::startSway(session, withX ? support::SwayWith::x : support::SwayWith::nothing);
        startHand();
    }
    QImage picture() override {
        const auto file = session.file("picture.png");
        EXPECT_TRUE(session.run({"grim", file}).succeeded());
        return QImage(QString::fromStdString(file.string()));
    }
    QSize size() const override { return QSize(1280, 800) / scale_; }
    void setScale(int scale) override {
        scale_ = scale;
        EXPECT_NE(
            support::askSway(session, {"output", "HEADLESS-1", "scale", std::to_string(scale)}),
            "");
        WholeDesktop::hand(
            {"desktop " + std::to_string(size().width()) + ' ' + std::to_string(size().height())});
    }
};

/// What isn't the editor.
bool isForeign(QRgb colour) {
    // A shadow only takes of the green.
    constexpr int much = 48;
    return qRed(colour) > much || qBlue(colour) > much || qGreen(colour) > 64 + much;
}

/// The whole that hangs together at that place, which is taken out of the picture.
QRect takeShape(std::vector<char>& foreign, int width, int place) {
    QRect all;
    std::vector<int> next{place};
    while (!next.empty()) {
        const int at = next.back();
        next.pop_back();
        if (at < 0 || at >= static_cast<int>(foreign.size()) || !foreign[std::size_t(at)]) {
            continue;
        }
        foreign[std::size_t(at)] = 0;
        all |= QRect(at % width, at / width, 1, 1);
        for (const int step : {-1, 1, -width, width}) {
            next.push_back(at + step);
        }
    }
    return all;
}

} // namespace

std::unique_ptr<WholeDesktop> startSwayDesktop(bool withX) {
    return std::make_unique<SwayDesktop>(withX);
}

void WholeDesktop::startSound() {
    session.startSound();
    session.addMicrophone();
    std::filesystem::create_directories(session.file("dev"));
}

void WholeDesktop::startHand() {
    session.start("hand", {"/usr/bin/python3", WAYLAND_HAND, session.file("hand")});
    if (!waitUntil([&] { return session.child("hand")->output().starts_with("ready"); })) {
        throw std::runtime_error("no hand\n" + session.logs());
    }
}

void WholeDesktop::hand(const std::vector<std::string>& lines) {
    const auto dots = [this] {
        const auto text = session.child("hand")->output();
        return static_cast<std::size_t>(std::ranges::count(text, '.'));
    };
    const auto before = dots();
    {
        std::ofstream fifo(session.file("hand"));
        for (const auto& line : lines) {
            fifo << line << '\n';
        }
    }
    ASSERT_TRUE(waitUntil([&] { return dots() == before + lines.size(); })) << session.logs();
}

AtADesktop::~AtADesktop() {
    for (const char* each : {"recorder", "velmoran", "editor"}) {
        desktop.session.stop(each);
    }
}

void AtADesktop::startEditor() {
    auto& environment = desktop.session.environment();
    environment["QT_QPA_PLATFORM"] = "wayland";
    desktop.session.start("editor", {TYPED_TEXT, "full-screen"});
    environment.erase("QT_QPA_PLATFORM");
    ASSERT_TRUE(waitUntil([&] {
        return desktop.session.child("editor")->output().find("ready\n") != std::string::npos &&
               shapes().empty();
    })) << log();
}

void AtADesktop::startVelmoran(const std::vector<std::string>& settings) {
    auto& session = desktop.session;
    std::string text = "[General]\nonboardingDone=true\nstandardNoticesStay=true\n";
    for (const auto& setting : settings) {
        text += setting + '\n';
    }
    support::writeFile(session.home() / ".config/Velmoran/Velmoran.conf", text);
    session.start("velmoran",
                  {VELMORAN, "--login-start", "--device-folder", session.file("dev").string()});
    ASSERT_TRUE(waitUntil([&] {
        return session.run({VELMORANCTL, "status"}).succeeded();
    })) << log();
}

void AtADesktop::startRecorder() {
    desktop.session.start("recorder", {"pw-record", desktop.session.file("recording.wav")});
}

void AtADesktop::moveTo(QPoint place) {
    desktop.hand({"move " + std::to_string(place.x()) + ' ' + std::to_string(place.y())});
}

void AtADesktop::clickAt(QPoint place) {
    moveTo(place);
    desktop.hand({"click"});
}

std::string AtADesktop::editorHas() {
    std::string all = desktop.session.child("editor")->output();
    std::erase(all, '\n');
    return all.substr(std::min(all.size(), std::string("ready").size()));
}

void AtADesktop::expectTyped(const std::string& all, const std::string& key) {
    desktop.hand({"key " + key});
    EXPECT_TRUE(waitUntil([&] { return editorHas() == all; })) << editorHas();
}

std::vector<QRect> AtADesktop::shapes() {
    const auto picture = desktop.picture().convertToFormat(QImage::Format_RGB32);
    const int width = picture.width();
    if (width == 0) {
        ADD_FAILURE() << "no picture\n" << log();
        return {};
    }
    std::vector<char> foreign;
    for (int y = 0; y < picture.height(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        std::transform(row, row + width, std::back_inserter(foreign), isForeign);
    }
    const double dots = double(width) / desktop.size().width();
    std::vector<QRect> all;
    for (int place = 0; place < static_cast<int>(foreign.size()); ++place) {
        if (foreign[std::size_t(place)]) {
            const auto shape = takeShape(foreign, width, place);
            const QRect inPoints(qRound(shape.x() / dots), qRound(shape.y() / dots),
                                 qRound(shape.width() / dots), qRound(shape.height() / dots));
            // The mouse is none.
            if (inPoints.width() >= 30 && inPoints.height() >= 30) {
                all.push_back(inPoints);
            }
        }
    }
    return all;
}

std::optional<QRect> AtADesktop::card() {
    for (const auto& shape : shapes()) {
        if (std::abs(shape.width() - cardWidth) <= 2) {
            return shape;
        }
    }
    return std::nullopt;
}

std::optional<QRect> AtADesktop::button() {
    for (const auto& shape : shapes()) {
        if (std::abs(shape.height() - buttonHeight) <= 2) {
            return shape;
        }
    }
    return std::nullopt;
}

bool AtADesktop::comes(std::optional<QRect> (AtADesktop::*which)()) {
    std::optional<QRect> before;
    return waitUntil([&] {
        const auto now = (this->*which)();
        return now && now == std::exchange(before, now);
    });
}

} // namespace velmoran
