// Cards and button of the program itself on whole desktops, as a person sees them.
#include "integration/desktops/WholeDesktop.h"

#include <gtest/gtest.h>
#include <type_traits>

namespace velmoran {
namespace {

using support::waitUntil;

struct PlainSway {
    static auto start() { return startSwayDesktop(false); }
};
struct SwayBesideX {
    static auto start() { return startSwayDesktop(true); }
};
/// Whoever clicks a layer there gives it the keyboard, whatever it asks for, until the next click
/// elsewhere or until it goes.
struct PlainKWin {
    static auto start() { return startKWin(false); }
};
struct KWinBesideX {
    static auto start() { return startKWin(true); }
};
struct GnomeBesideX {
    static auto start() { return startGnomeShell(true); }
};

/// The cross in a card's corner.
QPoint crossOf(const QRect& card) {
    return card.topRight() + QPoint(-17, 18);
}

template <typename Kind>
class CardsOn : public ::testing::Test {
protected:
    static void SetUpTestSuite() { desktop() = Kind::start(); }
    static void TearDownTestSuite() { desktop().reset(); }
    static std::unique_ptr<WholeDesktop>& desktop() {
        static std::unique_ptr<WholeDesktop> started;
        return started;
    }
    void expectPlace(const QRect& card) {
        constexpr int shadow = 12;
        EXPECT_NEAR(card.right() + 1, desktop()->size().width() - 4 - shadow, 1);
        EXPECT_NEAR(card.top(), desktop()->bar() + 2 + shadow, 1);
    }
    void startAll(bool withButton) {
        person.startEditor();
        person.startVelmoran(withButton ? std::vector<std::string>{"floatingStopButton=true"}
                                        : std::vector<std::string>());
        person.moveTo({100, 500});
        person.expectTyped("a", "a");
        person.startRecorder();
        ASSERT_TRUE(person.cardComes()) << person.log();
        ASSERT_TRUE(!withButton || person.buttonComes()) << person.log();
    }

    AtADesktop person{*desktop()};
};

struct Names {
    template <typename Kind>
    static std::string GetName(int which) {
        static const std::vector<std::string> all{"Sway", "SwayWithX", "KWin", "KWinWithX",
                                                  "GnomeWithX"};
        return all.at(static_cast<std::size_t>(which));
    }
};

using Desktops = ::testing::Types<PlainSway, SwayBesideX, PlainKWin, KWinBesideX, GnomeBesideX>;
TYPED_TEST_SUITE(CardsOn, Desktops, Names);

TYPED_TEST(CardsOn, StandAtTheTopRightAboveAFullScreenWindowWithoutTheKeyboard) {
    auto& person = this->person;
    this->startAll(false);
    const auto card = *person.card();
    this->expectPlace(card);
    person.expectTyped("ab", "b");
    person.clickAt(crossOf(card));
    EXPECT_TRUE(waitUntil([&] { return !person.card(); }));
    person.expectTyped("abc", "c");
    EXPECT_TRUE(person.recorderRuns());
}

TYPED_TEST(CardsOn, LeaveTheKeyboardWhereItIsWhenTheyAreClicked) {
    auto& person = this->person;
    this->startAll(false);
    // Beside its buttons a card stays.
    person.clickAt(person.card()->topLeft() + QPoint(20, 30));
    if (std::is_same_v<TypeParam, PlainKWin>) {
        person.clickAt({100, 500});
        person.expectTyped("a!b", "b");
    } else {
        person.expectTyped("ab", "b");
    }
    EXPECT_TRUE(person.card());
}

TYPED_TEST(CardsOn, LeaveTheClickBesideThemToWhatIsBelow) {
    auto& person = this->person;
    this->startAll(false);
    person.clickAt(person.card()->bottomLeft() + QPoint(40, 60));
    EXPECT_TRUE(waitUntil([&] { return person.editorHas() == "a!"; })) << person.editorHas();
}

TYPED_TEST(CardsOn, HaveAButtonBesideThemThatStopsByAClick) {
    auto& person = this->person;
    this->startAll(true);
    person.clickAt(person.button()->center());
    EXPECT_TRUE(waitUntil([&] { return !person.recorderRuns(); })) << person.log();
    EXPECT_TRUE(waitUntil([&] { return person.card() && !person.button(); }));
    person.expectTyped("ab", "b");
}

TYPED_TEST(CardsOn, HaveAButtonBesideThemThatIsDragged) {
    auto& person = this->person;
    this->startAll(true);
    // Its words go by themselves, and with them it would go from under the mouse. XWayland may
    // take the mouse for being there still, from the case before, until it has passed.
    person.moveTo(person.button()->center());
    person.moveTo({100, 500});
    ASSERT_TRUE(waitUntil([&] {
        const auto now = person.button();
        return now && now->width() == now->height();
    })) << person.log();
    const auto before = *person.button();
    const auto from = before.center();
    const QPoint way(-600, 400);
    person.moveTo(from);
    person.desktop.hand({"press"});
    for (int step = 1; step <= 10; ++step) {
        person.moveTo(from + way * step / 10);
    }
    person.desktop.hand({"release"});
    EXPECT_TRUE(waitUntil([&] {
        const auto now = person.button();
        return now && now->contains(from + way) && !now->intersects(before);
    })) << person.log();
    EXPECT_TRUE(person.recorderRuns());
    if (!std::is_same_v<TypeParam, PlainKWin>) {
        person.expectTyped("ab", "b");
    }
    person.clickAt(from + way);
    EXPECT_TRUE(waitUntil([&] { return !person.recorderRuns(); })) << person.log();
}

TYPED_TEST(CardsOn, StandThereAtTwiceTheScaleToo) {
    auto& person = this->person;
    this->desktop()->setScale(2);
    this->startAll(false);
    const auto card = *person.card();
    this->expectPlace(card);
    person.clickAt(crossOf(card));
    EXPECT_TRUE(waitUntil([&] { return !person.card(); }));
    person.expectTyped("ab", "b");
    this->desktop()->setScale(1);
}

} // namespace
} // namespace velmoran
