#include "core/warnings/NoticeCoalescer.h"

#include "core/text/Localizer.h"
#include "support/RandomRecords.h"
#include "support/Samples.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr Timestamp ten{36000};
const AppIdentity zoomApp = app("zoom");

TEST(NoticeCoalescer, MakesANoticeOfASession) {
    NoticeCoalescer coalescer(5);
    const auto session = sessionOf(zoomApp, Device::camera, ten);
    const auto notice = coalescer.registerSession(session, WarningLevel::standard, true);
    ASSERT_TRUE(notice);
    EXPECT_EQ(*notice, (WarningNotice{.id = notice->id,
                                      .app = zoomApp,
                                      .devices = {Device::camera},
                                      .level = WarningLevel::standard,
                                      .start = ten,
                                      .duringAwayWatch = true,
                                      .sessionIDs = {session.id}}));
    EXPECT_NE(notice->id, session.id);
    EXPECT_THAT(coalescer.active(), ElementsAre(*notice));
}

TEST(NoticeCoalescer, ShowsNothingForAQuietSession) {
    NoticeCoalescer coalescer(5);
    const auto quiet = sessionOf(zoomApp, Device::microphone, ten);
    EXPECT_EQ(coalescer.registerSession(quiet, WarningLevel::quiet, false), std::nullopt);
    EXPECT_THAT(coalescer.active(), IsEmpty());

    coalescer.registerSession(sessionOf(zoomApp, Device::camera, ten), WarningLevel::strong, false);
    const auto before = coalescer;
    EXPECT_EQ(coalescer.registerSession(quiet, WarningLevel::quiet, false), std::nullopt);
    EXPECT_EQ(coalescer, before);
}

TEST(NoticeCoalescer, MergesUpToTheWindowAndNotBeyond) {
    for (const double sign : {1.0, -1.0}) {
        NoticeCoalescer coalescer(5);
        coalescer.registerSession(sessionOf(zoomApp, Device::camera, ten), WarningLevel::standard,
                                  false);
        const auto merged = coalescer.registerSession(
            sessionOf(zoomApp, Device::microphone, ten + sign * 5), WarningLevel::standard, false);
        EXPECT_THAT(coalescer.active(), SizeIs(1));
        EXPECT_EQ(merged->start, ten);
        EXPECT_EQ(merged->id, coalescer.active()[0].id);
        coalescer.registerSession(sessionOf(zoomApp, Device::microphone, ten + sign * 5.001),
                                  WarningLevel::standard, false);
        EXPECT_THAT(coalescer.active(), SizeIs(2));
    }
}

TEST(NoticeCoalescer, MeasuresFromTheFirstSessionSoThatAChainCannotStretchIt) {
    NoticeCoalescer coalescer(5);
    for (const double later : {0.0, 4.0, 8.0}) {
        coalescer.registerSession(sessionOf(zoomApp, Device::camera, ten + later),
                                  WarningLevel::standard, false);
    }
    ASSERT_THAT(coalescer.active(), SizeIs(2));
    EXPECT_THAT(coalescer.active()[0].sessionIDs, SizeIs(2));
    EXPECT_EQ(coalescer.active()[1].start, ten + 8);
}

TEST(NoticeCoalescer, MergesCameraAndMicrophoneAtTheHigherLevelWhicheverCameFirst) {
    struct Use {
        Device device;
        WarningLevel level;
    };
    const Use camera{Device::camera, WarningLevel::standard};
    const Use microphone{Device::microphone, WarningLevel::strong};
    for (const auto& [first, second] :
         {std::pair{camera, microphone}, std::pair{microphone, camera}}) {
        NoticeCoalescer coalescer(5);
        coalescer.registerSession(sessionOf(zoomApp, first.device, ten), first.level, false);
        const auto notice = coalescer.registerSession(sessionOf(zoomApp, second.device, ten + 1),
                                                      second.level, false);
        EXPECT_THAT(coalescer.active(), SizeIs(1));
        EXPECT_EQ(notice->level, WarningLevel::strong);
        EXPECT_THAT(notice->devices, ElementsAre(Device::camera, Device::microphone));
    }
}

TEST(NoticeCoalescer, KeepsIdAppStartAndAwayWatchOnAMerge) {
    NoticeCoalescer coalescer(5);
    const auto first = coalescer.registerSession(sessionOf(zoomApp, Device::camera, ten),
                                                 WarningLevel::standard, false);
    auto renamed = zoomApp;
    renamed.name = "Renamed";
    const auto merged = coalescer.registerSession(sessionOf(renamed, Device::microphone, ten + 2),
                                                  WarningLevel::standard, true);
    ASSERT_TRUE(merged);
    EXPECT_EQ(merged->id, first->id);
    EXPECT_EQ(merged->app, zoomApp);
    EXPECT_EQ(merged->start, ten);
    EXPECT_FALSE(merged->duringAwayWatch);
}

TEST(NoticeCoalescer, KeepsTwoAppsApartInOrderOfArrival) {
    NoticeCoalescer coalescer(5);
    coalescer.registerSession(sessionOf(app("b"), Device::camera, ten), WarningLevel::strong,
                              false);
    coalescer.registerSession(sessionOf(app("a"), Device::camera, ten), WarningLevel::strong,
                              false);
    ASSERT_THAT(coalescer.active(), SizeIs(2));
    EXPECT_EQ(coalescer.active()[0].app.id, "b");
    EXPECT_EQ(coalescer.active()[1].app.id, "a");
}

TEST(NoticeCoalescer, AddsASecondSessionOnTheSameDeviceWithoutRepeatingIt) {
    NoticeCoalescer coalescer(5);
    coalescer.registerSession(sessionOf(zoomApp, Device::camera, ten), WarningLevel::standard,
                              false);
    const auto notice = coalescer.registerSession(sessionOf(zoomApp, Device::camera, ten + 3),
                                                  WarningLevel::standard, false);
    EXPECT_THAT(notice->devices, ElementsAre(Device::camera));
    EXPECT_THAT(notice->sessionIDs, SizeIs(2));
}

TEST(NoticeCoalescer, TakesTheNoticeOfASessionOutOfPlace) {
    NoticeCoalescer coalescer(5);
    const auto other = sessionOf(app("other"), Device::camera, ten);
    const auto first = sessionOf(zoomApp, Device::camera, ten);
    const auto second = sessionOf(zoomApp, Device::microphone, ten);
    coalescer.registerSession(other, WarningLevel::standard, false);
    coalescer.registerSession(first, WarningLevel::standard, false);
    const auto merged = coalescer.registerSession(second, WarningLevel::standard, false);
    EXPECT_EQ(coalescer.remove(second.id), merged);
    EXPECT_THAT(coalescer.active(), SizeIs(1));
    EXPECT_EQ(coalescer.remove(first.id), std::nullopt);
    EXPECT_EQ(coalescer.remove(Uuid::random()), std::nullopt);
    EXPECT_THAT(coalescer.active(), SizeIs(1));
}

TEST(NoticeCoalescer, KeepsOnlyTheGivenNotices) {
    NoticeCoalescer coalescer(5);
    coalescer.registerSession(sessionOf(app("a"), Device::camera, ten), WarningLevel::strong,
                              false);
    const auto kept = coalescer.registerSession(sessionOf(app("b"), Device::camera, ten),
                                                WarningLevel::strong, false);
    coalescer.keepOnly({kept->id, Uuid::random()});
    EXPECT_THAT(coalescer.active(), ElementsAre(*kept));
    coalescer.keepOnly({});
    EXPECT_THAT(coalescer.active(), IsEmpty());
}

/// Notices as rows of a plain list, each with the sessions in the order of arrival; what is shown
/// of a row is worked out from its sessions.
struct Row {
    Uuid id;
    std::vector<UsageSession> sessions;
    std::vector<WarningLevel> levels;
    bool away = false;

    WarningNotice notice() const {
        WarningNotice result{.id = id,
                             .app = sessions.front().app,
                             .devices = {},
                             .level = *std::max_element(levels.begin(), levels.end()),
                             .start = sessions.front().start,
                             .duringAwayWatch = away,
                             .sessionIDs = {}};
        std::set<Device> devices;
        for (const auto& session : sessions) {
            devices.insert(session.device);
            result.sessionIDs.insert(session.id);
        }
        result.devices.assign(devices.begin(), devices.end());
        return result;
    }
};

RC_GTEST_PROP(NoticeCoalescer, DoesWhatAPlainListOfRowsDoes, ()) {
    NoticeCoalescer coalescer(5);
    std::vector<Row> rows;
    std::vector<Uuid> sessions = {Uuid::random()};
    const int count = *rc::gen::inRange(1, 40);
    for (int step = 0; step < count; ++step) {
        const int operation = *rc::gen::inRange(0, 10);
        if (operation < 7) {
            const auto start = ten + *rc::gen::inRange(0, 40) * 0.5;
            const auto session =
                sessionOf(app(*rc::gen::element("a", "b")), *samples::device(), start);
            const auto level = *rc::gen::element(WarningLevel::quiet, WarningLevel::standard,
                                                 WarningLevel::strong);
            const bool away = *rc::gen::arbitrary<bool>();
            const auto given = coalescer.registerSession(session, level, away);
            sessions.push_back(session.id);
            RC_ASSERT(given.has_value() == (level != WarningLevel::quiet));
            if (given) {
                auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& each) {
                    const auto apart = each.sessions[0].start - session.start;
                    return each.sessions[0].app.id == session.app.id && apart <= 5 && apart >= -5;
                });
                if (row == rows.end()) {
                    row = rows.insert(rows.end(), Row{given->id, {}, {}, away});
                }
                row->sessions.push_back(session);
                row->levels.push_back(level);
                RC_ASSERT(*given == row->notice());
            }
        } else if (operation < 9) {
            const auto id = *rc::gen::elementOf(sessions);
            const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& each) {
                return each.notice().sessionIDs.contains(id);
            });
            const auto taken = coalescer.remove(id);
            RC_ASSERT(taken.has_value() == (row != rows.end()));
            if (taken) {
                RC_ASSERT(*taken == row->notice());
                rows.erase(row);
            }
        } else {
            std::set<Uuid> kept = {Uuid::random()};
            std::vector<Row> left;
            for (const auto& row : rows) {
                if (*rc::gen::arbitrary<bool>()) {
                    kept.insert(row.id);
                    left.push_back(row);
                }
            }
            coalescer.keepOnly(kept);
            rows = left;
        }
        std::vector<WarningNotice> expected;
        for (const auto& row : rows) {
            expected.push_back(row.notice());
        }
        RC_ASSERT(coalescer.active() == expected);
    }
}

WarningNotice noticeOf(const std::string& id, std::vector<Device> devices, bool away) {
    auto user = app(id);
    user.name = "Zoom";
    return {.id = Uuid::random(),
            .app = user,
            .devices = std::move(devices),
            .level = WarningLevel::standard,
            .start = ten,
            .duringAwayWatch = away,
            .sessionIDs = {}};
}

TEST(WarningNotice, SaysWhoTurnedOnWhat) {
    EXPECT_EQ(noticeOf("zoom", {Device::camera}, false).title(), "Zoom turned on the camera");
    EXPECT_EQ(noticeOf("zoom", {Device::microphone}, false).title(),
              "Zoom turned on the microphone");
    EXPECT_EQ(noticeOf("zoom", {Device::camera, Device::microphone}, true).title(),
              "Zoom turned on the camera and microphone while you were away");
}

TEST(WarningNotice, LetsATranslationMoveTheNameAndTheDevices) {
    setWords(Localizer("de_DE", "UTC",
                       {{{"the camera", "die Kamera"},
                         {"%@ turned on %@", "%2$@ wurde von %1$@ eingeschaltet"}}}));
    EXPECT_EQ(noticeOf("zoom", {Device::camera}, false).title(),
              "die Kamera wurde von Zoom eingeschaltet");
    setWords(Localizer());
}

TEST(WarningNotice, HasAMessageOnlyForAnAppThatCannotBeNamed) {
    EXPECT_EQ(noticeOf("zoom", {Device::camera}, false).message(), std::nullopt);
    EXPECT_EQ(noticeOf("unknown", {Device::camera}, false).message(),
              "We couldn't tell which app it is.");
    EXPECT_EQ(noticeOf("unidentified:7", {Device::camera}, false).message(), std::nullopt);
    auto hidden = noticeOf("unidentified:7", {Device::camera}, false);
    hidden.app.unidentified = true;
    EXPECT_EQ(hidden.message(), "We couldn't tell which app it is.");
}

} // namespace
} // namespace velmoran
