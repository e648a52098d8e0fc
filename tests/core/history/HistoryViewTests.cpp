#include "core/history/HistoryView.h"

#include "HistoryTools.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <random>
#include <ranges>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

static_assert(std::random_access_iterator<HistoryView::Iterator>);

HistoryView::Entry entry(std::int64_t row, double start) {
    return {{{start}, row},
            std::make_shared<const UsageSession>(sessionNumber(static_cast<unsigned>(row), start))};
}

HistoryView listOf(std::int64_t count) {
    std::vector<HistoryView::Entry> entries;
    for (std::int64_t row = 1; row <= count; ++row) {
        entries.push_back(entry(row, static_cast<double>(row)));
    }
    return HistoryView::sorted(std::move(entries));
}

TEST(HistoryView, IsEmptyAtFirst) {
    const HistoryView list;
    EXPECT_EQ(list.size(), 0U);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.begin(), list.end());
    EXPECT_EQ(list, HistoryView());
    EXPECT_EQ(list, listOf(1).without({{1}, 1}));
    EXPECT_TRUE(list.without({{1}, 1}).empty());
    EXPECT_TRUE(list.withoutStartsBefore({1}).empty());
    EXPECT_NE(list, listOf(1));
}

TEST(HistoryView, IsReadByIndexAndByIteratorAlike) {
    const auto list = listOf(1000);
    ASSERT_EQ(list.size(), 1000U);
    std::size_t index = 0;
    for (const auto& session : list) {
        EXPECT_EQ(&session, &list[index]);
        EXPECT_EQ(session.start.seconds, 1000.0 - static_cast<double>(index));
        EXPECT_EQ(list.begin() + static_cast<std::ptrdiff_t>(index),
                  list.end() - static_cast<std::ptrdiff_t>(1000 - index));
        ++index;
    }
    EXPECT_EQ(index, 1000U);
    EXPECT_EQ(list.end() - list.begin(), 1000);
    auto last = list.end();
    for (std::size_t back = 1000; back > 0; --back) {
        EXPECT_EQ(&*--last, &list[back - 1]);
    }
    EXPECT_LT(list.begin(), list.end());
    const auto found = std::ranges::lower_bound(
        list, 700.0, std::greater<>(), [](const auto& each) { return each.start.seconds; });
    EXPECT_EQ(found->start.seconds, 700.0);
}

TEST(HistoryView, DiffersFromItsSuccessorByContentOnly) {
    const auto list = listOf(1000);
    EXPECT_EQ(list.with(entry(500, 500)), list); // an equal session in the same place
    auto changed = entry(500, 500);
    changed.session = std::make_shared<const UsageSession>(endedSession(500, 500, 501));
    EXPECT_NE(list.with(changed), list);
    EXPECT_EQ(list.with(changed).with(entry(500, 500)), list);
    EXPECT_EQ(list.without({{500}, 500}).with(entry(500, 500)), list);
    EXPECT_NE(list.without({{500}, 500}).with(entry(5000, 500)), list);
}

TEST(HistoryView, FindsAPlaceByIdAndStart) {
    auto list = listOf(700);
    EXPECT_EQ(list.placeOf(idNumber(33), {33})->row, 33);
    EXPECT_EQ(list.placeOf(idNumber(1), {1})->row, 1);
    EXPECT_EQ(list.placeOf(idNumber(700), {700})->row, 700);
    EXPECT_FALSE(list.placeOf(idNumber(33), {34}));
    EXPECT_FALSE(list.placeOf(idNumber(701), {701}));
    EXPECT_FALSE(list.placeOf(idNumber(701), {0}));
    EXPECT_FALSE(HistoryView().placeOf(idNumber(1), {1}));

    // More with one start than a piece holds.
    for (unsigned number = 1000; number < 1600; ++number) {
        list = list.with(
            {{{350}, number}, std::make_shared<const UsageSession>(sessionNumber(number, 350))});
    }
    for (const unsigned number : {350U, 1000U, 1300U, 1599U}) {
        EXPECT_EQ(list.placeOf(idNumber(number), {350})->row, number);
    }
}

RC_GTEST_PROP(HistoryView, EqualsASortedVectorAfterAnyChanges, ()) {
    using Key = std::pair<double, std::int64_t>; // minus start, row
    std::map<Key, UsageSession> model;
    auto list = HistoryView();
    // Enough of each to split pieces; few starts, so that many are equal.
    const auto seed = *rc::gen::arbitrary<std::uint32_t>();
    const auto starts = *rc::gen::element(3, 50, 5000);
    std::mt19937 random(seed);
    for (int step = 0; step < 1500; ++step) {
        const auto start = static_cast<double>(random() % static_cast<unsigned>(starts));
        const auto row = static_cast<std::int64_t>(random() % 2000 + 1);
        switch (random() % 40) {
        case 0:
            if (random() % 20 == 0) {
                list = list.withoutStartsBefore({start});
                std::erase_if(model, [&](const auto& each) { return -each.first.first < start; });
            }
            break;
        case 1:
        case 2:
        case 3:
            list = list.without({{start}, row});
            model.erase({-start, row});
            break;
        default:
            list = list.with(entry(row, start));
            model.insert_or_assign({-start, row}, sessionNumber(static_cast<unsigned>(row), start));
        }
    }
    RC_ASSERT(list.size() == model.size());
    RC_ASSERT(std::ranges::equal(list, model | std::views::values));
    std::vector<HistoryView::Entry> entries;
    for (const auto& [key, session] : model) {
        entries.push_back({{{-key.first}, key.second}, std::make_shared<UsageSession>(session)});
    }
    std::shuffle(entries.begin(), entries.end(), random);
    RC_ASSERT(HistoryView::sorted(std::move(entries)) == list);
}

} // namespace
} // namespace velmoran
