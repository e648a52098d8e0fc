#include "app/shell/tray/StatusIcons.h"

#include <cmath>
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
          image_(statusIconImage(state, color, pixelsPerPoint)) {}

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
    const auto icon = statusIcon(StatusIconState::inUse, ink);
    for (const int side : {16, 22, 24, 32, 48}) {
        EXPECT_EQ(icon.pixmap(side).size(), QSize(side, side));
    }
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
