#include "app/notices/NoticeCenter.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(NoticeCenter, TellsOfEachCardThatComesIsReplacedOrGoes) {
    ScriptedTime time;
    NoticeCenter center(time);
    std::vector<std::string> calls;
    const auto change = center.onChange.subscribe([&] { calls.push_back("change"); });
    const auto shown = center.onShown.subscribe(
        [&](const NoticeItem& item) { calls.push_back("shown " + item.title); });
    const auto gone = center.onDismissed.subscribe(
        [&](const NoticeItem& item) { calls.push_back("gone " + item.title); });
    NoticeItem item;
    item.id = Uuid::random();
    item.title = "a";
    item.autoHideAfter = 8;
    center.show(item);
    item.title = "b";
    center.show(item);
    center.dismiss(Uuid::random());
    time.advanceTo(8);
    EXPECT_EQ(calls, (std::vector<std::string>{"shown a", "change", "shown b", "change", "gone b",
                                               "change"}));
}

} // namespace
} // namespace velmoran
