#include "app/qtbase/SystemLocale.h"

#include <gmock/gmock.h>
#include <map>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Variables = std::map<std::string, std::string>;

SystemLocale saidBy(const Variables& variables, const std::string& otherwise = {}) {
    return systemLocale(
        [&](const char* name) {
            const auto found = variables.find(name);
            return found == variables.end() ? std::string() : found->second;
        },
        otherwise);
}

std::string localeSaidBy(const Variables& variables) {
    return localeOf(saidBy(variables), std::nullopt);
}

TEST(SystemLocale, AsksEachCategoryBeforeWhatStandsForAll) {
    const auto said =
        saidBy({{"LANG", "fr_FR.UTF-8"}, {"LC_MESSAGES", "de_DE@euro"}, {"LC_TIME", "en_GB"}});
    EXPECT_THAT(said.languages, ElementsAre("de"));
    EXPECT_EQ(said.times, "en_GB");
    const auto overruled = saidBy(
        {{"LANG", "fr_FR"}, {"LC_MESSAGES", "fr_FR"}, {"LC_TIME", "fr_FR"}, {"LC_ALL", "de_CH"}});
    EXPECT_THAT(overruled.languages, ElementsAre("de"));
    EXPECT_EQ(overruled.times, "de_CH");
    EXPECT_EQ(saidBy({{"LANG", "fr_FR.UTF-8"}, {"LC_ALL", ""}}).times, "fr_FR");
}

TEST(SystemLocale, TakesAListOfLanguagesInItsOrder) {
    EXPECT_THAT(saidBy({{"LANG", "pl_PL"}, {"LANGUAGE", "fr_CA::de:en_GB"}}).languages,
                ElementsAre("fr", "de", "en", "pl"));
    EXPECT_EQ(localeSaidBy({{"LANG", "pl_PL"}, {"LANGUAGE", "fr_CA:de:en_GB"}}), "de_PL");
    // Who wants no language at all doesn't want these either.
    EXPECT_THAT(saidBy({{"LC_ALL", "C.UTF-8"}, {"LANGUAGE", "de"}}).languages, IsEmpty());
}

TEST(SystemLocale, TakesTheSystemsWordWhereNoVariableIsSet) {
    EXPECT_EQ(saidBy({}, "de_AT"), (SystemLocale{{"de"}, "de_AT"}));
    EXPECT_EQ(saidBy({}, "C"), SystemLocale());
}

TEST(SystemLocale, SpeaksTheLanguageInTheRegionWhoseTimesAreWritten) {
    EXPECT_EQ(localeSaidBy({{"LANG", "en_US"}, {"LC_TIME", "de_DE"}}), "en_DE");
    EXPECT_EQ(localeSaidBy({{"LANG", "de_DE"}, {"LC_TIME", "de_AT"}}), "de_AT");
    EXPECT_EQ(localeSaidBy({{"LANG", "en_US"}, {"LC_TIME", "zh_Hans_CN"}}), "en_CN");
    EXPECT_EQ(localeSaidBy({{"LANG", "de_DE"}, {"LC_TIME", "C"}}), "de_DE");
    EXPECT_EQ(localeSaidBy({{"LANG", "C.UTF-8"}, {"LC_TIME", "de_DE"}}), "en_DE");
    EXPECT_EQ(localeSaidBy({{"LANG", "den_CA"}}), "en_CA");
}

TEST(SystemLocale, SpeaksEnglishWhereItSpeaksNoneOfTheLanguages) {
    EXPECT_EQ(localeSaidBy({{"LANG", "fr_FR"}}), "en_FR");
    EXPECT_EQ(localeSaidBy({{"LC_ALL", "C.UTF-8"}}), "en_US");
    EXPECT_EQ(localeSaidBy({}), "en_US");
}

TEST(SystemLocale, AChosenLanguageLeavesTheRegion) {
    EXPECT_EQ(localeOf({{"de"}, "de_DE"}, "en"), "en_DE");
    EXPECT_EQ(localeOf({{"en"}, "en_GB"}, "de"), "de_GB");
    EXPECT_EQ(localeOf({{"de"}, "de_AT"}, "de"), "de_AT");
    EXPECT_EQ(localeOf({{"de"}, "de"}, "en"), "en");
    EXPECT_EQ(localeOf({}, "de"), "de");
}

} // namespace
} // namespace velmoran
