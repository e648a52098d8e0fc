#include "core/sessions/SystemHelpers.h"

#include "support/Samples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const AppIdentity a = app("a");
const AppIdentity b = app("b");
const AppIdentity helper = app("helper");
const AppIdentity secondHelper = app("helper 2");

TEST(SystemHelpers, LeaveTheMicrophonesAppsAsTheyAreWithoutHelpers) {
    const auto microphone = SystemHelpers::microphone({a, b, a}, {}, {app("c")});
    EXPECT_THAT(microphone.apps, ElementsAre(a, b, a));
    EXPECT_THAT(microphone.owners, IsEmpty());
}

TEST(SystemHelpers, CountThemselvesWhenNobodyIsAttributed) {
    const auto microphone = SystemHelpers::microphone({a}, {helper, secondHelper}, {});
    EXPECT_THAT(microphone.apps, ElementsAre(a, helper, secondHelper));
    EXPECT_THAT(microphone.owners, IsEmpty());
}

TEST(SystemHelpers, StandBackForAnAttributedAppThatHoldsNoInput) {
    const auto microphone = SystemHelpers::microphone({a}, {helper}, {b});
    EXPECT_THAT(microphone.apps, ElementsAre(a, b));
    EXPECT_THAT(microphone.owners, ElementsAre(b));
}

TEST(SystemHelpers, HaveNoOwnerAmongTheHoldersOrTheUnknown) {
    auto unknownInAnotherLanguage = AppIdentity::unknown();
    unknownInAnotherLanguage.name = "Unbekannte App";
    const auto microphone =
        SystemHelpers::microphone({a}, {helper}, {a, helper, unknownInAnotherLanguage});
    EXPECT_THAT(microphone.apps, ElementsAre(a, helper));
    EXPECT_THAT(microphone.owners, IsEmpty());
}

TEST(SystemHelpers, CountAnOwnerThatIsAttributedTwiceOnce) {
    auto renamed = b;
    renamed.name = "Another name";
    const auto microphone = SystemHelpers::microphone({}, {helper}, {b, renamed});
    EXPECT_THAT(microphone.owners, ElementsAre(b));
    EXPECT_THAT(microphone.apps, ElementsAre(b));
}

TEST(SystemHelpers, NameEachAppOnceBesideAHelper) {
    const auto microphone = SystemHelpers::microphone({a, a}, {helper, helper}, {});
    EXPECT_THAT(microphone.apps, ElementsAre(a, helper));
}

TEST(SystemHelpers, KeepTheSpeakersAppsUnlessThereIsOneOwner) {
    EXPECT_THAT(SystemHelpers::speaker({a, helper, a}, {helper}, {}), ElementsAre(a, helper, a));
    EXPECT_THAT(SystemHelpers::speaker({a, helper}, {helper}, {b, app("c")}),
                ElementsAre(a, helper));
}

TEST(SystemHelpers, PlayInTheNameOfTheirOneOwner) {
    EXPECT_THAT(SystemHelpers::speaker({a, helper, secondHelper}, {helper, secondHelper}, {b}),
                ElementsAre(a, b));
    EXPECT_THAT(SystemHelpers::speaker({}, {helper}, {b}), IsEmpty());
}

TEST(SystemHelpers, NameAnOwnerWhoPlaysTooAtItsFirstPlace) {
    EXPECT_THAT(SystemHelpers::speaker({helper, a, b}, {helper}, {b}), ElementsAre(b, a));
    EXPECT_THAT(SystemHelpers::speaker({b, a, helper}, {helper}, {b}), ElementsAre(b, a));
}

} // namespace
} // namespace velmoran
