#include "app/shell/tray/StatusIcons.h"

#include "app/look/ScreenColors.h"
#include "app/shell/tray/TrayInk.h"
#include "support/TemporaryDirectory.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <numbers>

namespace velmoran {
namespace {

const QColor ink(10, 20, 30);

/// A picture, asked by places in points from its middle.
class Picture {
public:
    explicit Picture(StatusIconState state, double pixelsPerPoint = 2, QColor color = ink)
        : scale_(pixelsPerPoint),
          image_(statusIconImage(state, {.ink = color}, pixelsPerPoint)) {}

    QSize size() const { return image_.size(); }
    QColor at(double x, double y) const {
        return image_.pixelColor(static_cast<int>(std::floor((9 + x) * scale_)),
                                 static_cast<int>(std::floor((9 + y) * scale_)));
    }
    /// On the circle of that radius, at an angle where a pixel's middle lies on it.
    QColor on(double radius, double angle = 0) const {
        return at(radius * std::cos(angle), radius * std::sin(angle));
    }

private:
    double scale_;
    QImage image_;
};

bool isInk(const QColor& color) {
    return color.alpha() > 200 && std::abs(color.red() - ink.red()) < 8 &&
           std::abs(color.blue() - ink.blue()) < 8;
}

bool isClear(const QColor& color) {
    return color.alpha() < 40;
}

bool isRed(const QColor& color) {
    return color.alpha() > 240 && color.red() > 220 && color.green() < 90 && color.blue() < 90;
}

bool isWhite(const QColor& color) {
    return color.alpha() > 240 && color.red() > 230 && color.green() > 230 && color.blue() > 230;
}

class StatusIcons : public ::testing::TestWithParam<double> {};

TEST_P(StatusIcons, AreEighteenPointsSquare) {
    const auto side = static_cast<int>(std::lround(18 * GetParam()));
    for (const auto state : {StatusIconState::idle, StatusIconState::inUse, StatusIconState::alert,
                             StatusIconState::awayWatch}) {
        EXPECT_EQ(Picture(state, GetParam()).size(), QSize(side, side));
    }
}

TEST_P(StatusIcons, IdleIsAnOpenRingAroundADot) {
    const Picture idle(StatusIconState::idle, GetParam());
    EXPECT_TRUE(isInk(idle.at(-0.2, -0.2)));
    for (int quarter = 0; quarter < 4; ++quarter) {
        const double angle = quarter * std::numbers::pi / 2 + std::numbers::pi / 4;
        EXPECT_TRUE(isInk(idle.on(6.5, angle))) << quarter;
        EXPECT_TRUE(isClear(idle.on(4.2, angle))) << quarter;
        EXPECT_TRUE(isClear(idle.on(8.6, angle))) << quarter;
    }
}

TEST_P(StatusIcons, InUseIsAFilledRingWithAHole) {
    const Picture inUse(StatusIconState::inUse, GetParam());
    EXPECT_TRUE(isClear(inUse.at(-0.2, -0.2)));
    for (int quarter = 0; quarter < 4; ++quarter) {
        const double angle = quarter * std::numbers::pi / 2 + std::numbers::pi / 4;
        EXPECT_TRUE(isInk(inUse.on(4.2, angle))) << quarter;
        EXPECT_TRUE(isInk(inUse.on(6.3, angle))) << quarter;
        EXPECT_TRUE(isClear(inUse.on(8.6, angle))) << quarter;
    }
}

TEST_P(StatusIcons, AlertIsARedDiscWithAWhiteExclamationMark) {
    const Picture alert(StatusIconState::alert, GetParam());
    EXPECT_TRUE(isRed(alert.on(6, 0.1)));
    EXPECT_TRUE(isRed(alert.on(6, std::numbers::pi)));
    EXPECT_TRUE(isRed(alert.on(6.4, std::numbers::pi / 4)));
    EXPECT_TRUE(isWhite(alert.at(-0.2, -2.5)));
    EXPECT_TRUE(isWhite(alert.at(-0.2, 3.8)));
    EXPECT_TRUE(isRed(alert.at(-0.2, 1.5))) << "between the stroke and the dot";
    EXPECT_TRUE(isClear(alert.at(8.4, 8.4)));
}

INSTANTIATE_TEST_SUITE_P(Sharpness, StatusIcons, ::testing::Values(1, 2));

TEST(StatusIcons, AwayWatchHasADashedRing) {
    // Ink changes to nothing and back once for each dash: 40.8 points around, 4.4 for each.
    const Picture away(StatusIconState::awayWatch, 8);
    const Picture idle(StatusIconState::idle, 8);
    int changes = 0;
    int idleChanges = 0;
    constexpr int steps = 2000;
    const auto count = [](const Picture& picture, int step, int& result) {
        const double step1 = 2 * std::numbers::pi / steps;
        result += isInk(picture.on(6.5, step * step1)) != isInk(picture.on(6.5, (step + 1) * step1))
                      ? 1
                      : 0;
    };
    for (int step = 0; step < steps; ++step) {
        count(away, step, changes);
        count(idle, step, idleChanges);
    }
    EXPECT_GE(changes, 18);
    EXPECT_LE(changes, 20);
    EXPECT_EQ(idleChanges, 0);
    EXPECT_TRUE(isInk(away.at(-0.2, -0.2)));
}

TEST(StatusIcons, TakeTheInkThatIsGivenButForTheAlert) {
    const QColor light(250, 250, 250);
    EXPECT_GT(Picture(StatusIconState::idle, 2, light).at(0, 0).red(), 240);
    EXPECT_GT(Picture(StatusIconState::inUse, 2, light).on(4.2).red(), 240);
    EXPECT_EQ(Picture(StatusIconState::alert, 2, light).on(6),
              Picture(StatusIconState::alert).on(6));
}

TEST(StatusIcons, GiveTheTrayAPictureOfEverySizeItAsksFor) {
    const auto icon = statusIcon(StatusIconState::inUse, {.ink = ink});
    for (const int side : {16, 22, 24, 32, 48}) {
        EXPECT_EQ(icon.pixmap(side).size(), QSize(side, side));
    }
}

/// A picture on a ground, as it is seen.
QImage seenOn(StatusIconState state, const IconInk& color, int side, const QColor& ground) {
    QImage seen(side, side, QImage::Format_RGB32);
    seen.fill(ground);
    QPainter painter(&seen);
    painter.drawImage(0, 0, statusIconImage(state, color, side / double(statusIconSize)));
    return seen;
}

/// How well the picture shows up in each of 72 directions from its middle, the worst first: by the
/// best that there is between these two distances, in points.
std::vector<double> seenAround(const QImage& seen, const QColor& ground, double nearest,
                               double farthest) {
    const int side = seen.width();
    const double scale = side / double(statusIconSize);
    std::vector<double> contrasts;
    for (int at = 0; at < side * side; ++at) {
        contrasts.push_back(contrast(seen.pixelColor(at % side, at / side), ground));
    }
    std::vector<double> all;
    for (int step = 0; step < 72; ++step) {
        const double angle = step * std::numbers::pi / 36;
        double best = 1;
        for (double away = nearest; away <= farthest; away += 0.1) {
            const int x = static_cast<int>(std::floor((9 + away * std::cos(angle)) * scale));
            const int y = static_cast<int>(std::floor((9 + away * std::sin(angle)) * scale));
            if (seen.rect().contains(x, y)) {
                best = std::max(best, contrasts[static_cast<std::size_t>(y * side + x)]);
            }
        }
        all.push_back(best);
    }
    std::ranges::sort(all);
    return all;
}

/// Black, white, greys and what lies between the pure colours.
std::vector<QColor> grounds() {
    std::vector<QColor> all;
    for (int grey = 0; grey <= 255; grey += 15) {
        all.emplace_back(grey, grey, grey);
    }
    for (int red = 0; red <= 255; red += 85) {
        for (int green = 0; green <= 255; green += 85) {
            for (int blue = 0; blue <= 255; blue += 85) {
                all.emplace_back(red, green, blue);
            }
        }
    }
    return all;
}

TEST(StatusIcons, CanBeReadOnEveryPanel) {
    for (const QColor& said : {QColor(Qt::black), QColor(0xf2, 0xf2, 0xf2)}) {
        const auto color = outlined(said);
        for (const int side : {16, 18, 22, 24, 32, 48}) {
            for (const auto& ground : grounds()) {
                const auto around = [&](StatusIconState state, double nearest, double farthest) {
                    return seenAround(seenOn(state, color, side, ground), ground, nearest,
                                      farthest);
                };
                const auto where = said.name().toStdString() + " on " +
                                   ground.name().toStdString() + ", " + std::to_string(side);
                EXPECT_GE(around(StatusIconState::idle, 5, 9).front(), 3) << where;
                EXPECT_GE(around(StatusIconState::idle, 0, 4).front(), 3) << where;
                // The dashes are about half of the ring.
                EXPECT_GE(around(StatusIconState::awayWatch, 5, 9)[43], 3) << where;
                EXPECT_GE(around(StatusIconState::awayWatch, 0, 4).front(), 3) << where;
                EXPECT_GE(around(StatusIconState::inUse, 2.5, 9).front(), 3) << where;
            }
        }
    }
}

TEST(StatusIcons, WarnOnEveryPanel) {
    for (const int side : {16, 18, 22, 32}) {
        for (const auto& ground : grounds()) {
            const auto seen = seenOn(StatusIconState::alert, outlined(Qt::black), side, ground);
            const auto at = [&](double x, double y) {
                const double scale = side / double(statusIconSize);
                return seen.pixelColor(static_cast<int>(x * scale), static_cast<int>(y * scale));
            };
            // The mark on its disc, which the ground has no part in.
            EXPECT_GE(contrast(at(9, 6.5), at(4.5, 9)), 3)
                << ground.name().toStdString() << ", " << side;
        }
    }
}

TEST(StatusIcons, ShowTheirShapeAlsoWithAnOutline) {
    // Ink, the other colour and nothing are told apart on a ground of a third one.
    const auto color = outlined(Qt::black);
    const QColor ground(0x30, 0x90, 0x30);
    const auto idle = seenOn(StatusIconState::idle, color, 72, ground);
    const auto inUse = seenOn(StatusIconState::inUse, color, 72, ground);
    const auto at = [](const QImage& image, double x) {
        return image.pixelColor(static_cast<int>((9 + x) * 4), 36);
    };
    EXPECT_EQ(at(idle, 6.5), QColor(Qt::black));
    EXPECT_EQ(at(idle, 7.9), QColor(Qt::white));
    EXPECT_EQ(at(idle, 4.1), ground);
    EXPECT_EQ(at(idle, 1), QColor(Qt::black));
    EXPECT_EQ(at(inUse, 4.1), QColor(Qt::black));
    EXPECT_EQ(at(inUse, 2), QColor(Qt::white));
    EXPECT_EQ(at(inUse, 0.5), ground);
}

TEST(StatusIcons, HaveTheNamesOfTheFilesThatAreInstalled) {
    const TemporaryDirectory data;
    const auto before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", data.path().c_str());
    const std::vector<StatusIconState> all = {StatusIconState::idle, StatusIconState::inUse,
                                              StatusIconState::alert, StatusIconState::awayWatch};
    for (const auto state : all) {
        EXPECT_EQ(statusIcon(state, {.ink = ink}).name(), QString()) << "no file, no name";
    }
    const std::filesystem::path files = VELMORAN_PACKAGING;
    const std::filesystem::path icons = data.path("icons/hicolor");
    std::filesystem::create_directories(icons / "scalable");
    std::filesystem::create_directories(icons / "symbolic");
    std::filesystem::copy(files, icons / "scalable/apps");
    std::filesystem::copy(files / "symbolic", icons / "symbolic/apps");
    for (const auto state : all) {
        EXPECT_EQ(statusIcon(state, {.ink = ink}).name(), statusIconName(state))
            << statusIconName(state).toStdString();
        EXPECT_FALSE(statusIcon(state, {.ink = ink}).pixmap(22).isNull()) << "for other trays";
    }
    before.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", before);
}

TEST(StatusIcons, SayWhoUsesWhat) {
    const auto use = [](const std::string& name, Device device) {
        UsageSession session;
        session.device = device;
        session.app = {.id = name, .name = name, .bundleID = {}, .path = {}, .teamID = {}};
        return session;
    };
    EXPECT_EQ(statusIconLabel(StatusIconState::inUse, {},
                              {use("Zoom", Device::camera), use("Zoom", Device::microphone)}),
              "Velmoran: camera or microphone in use\n"
              "Zoom is using the camera and microphone");
    // Some trays read what they are given as markup.
    EXPECT_EQ(
        statusIconLabel(StatusIconState::inUse, {}, {use("<b>A & B</b>\n<img>", Device::camera)}),
        "Velmoran: camera or microphone in use\n"
        "\u2039b\u203aA \uff06 B\u2039/b\u203a \u2039img\u203a is using the camera");
}

TEST(StatusIcons, NameTheLevelMeterThatListensAlone) {
    const AppIdentity meter{
        .id = "meter", .name = "Volume <b>Control", .bundleID = {}, .path = {}, .teamID = {}};
    EXPECT_EQ(statusIconLabel(StatusIconState::inUse, {}, {}, {meter}),
              "Velmoran: Only macOS itself is listening: Volume \u2039b\u203aControl");
    UsageSession session;
    session.device = Device::microphone;
    session.app = {.id = "zoom", .name = "Zoom", .bundleID = {}, .path = {}, .teamID = {}};
    EXPECT_EQ(statusIconLabel(StatusIconState::inUse, {}, {session}, {meter}),
              "Velmoran: camera or microphone in use\nZoom is using the microphone")
        << "somebody uses it";
    EXPECT_EQ(statusIconLabel(StatusIconState::idle, {}, {}, {meter}),
              "Velmoran: camera and microphone are off");
}

TEST(StatusIcons, SayWhatTheyShow) {
    EXPECT_EQ(statusIconLabel(StatusIconState::idle), "Velmoran: camera and microphone are off");
    EXPECT_EQ(statusIconLabel(StatusIconState::inUse), "Velmoran: camera or microphone in use");
    EXPECT_EQ(statusIconLabel(StatusIconState::alert), "Velmoran: a warning is waiting");
    EXPECT_EQ(statusIconLabel(StatusIconState::awayWatch), "Velmoran: Away watch is on");
}

TEST(StatusIcons, CallNothingOffThatIsNotWatched) {
    const std::string noSound =
        "\nThe microphone isn't being watched: no sound server can be reached.";
    EXPECT_EQ(statusIconLabel(StatusIconState::idle, {Device::microphone}),
              "Velmoran: not everything is being watched" + noSound);
    EXPECT_EQ(statusIconLabel(StatusIconState::inUse, {Device::microphone}),
              "Velmoran: camera or microphone in use" + noSound);
}

} // namespace
} // namespace velmoran
