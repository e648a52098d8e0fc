#include "app/contents/SettingsContent.h"

#include "app/contents/OnboardingPages.h"
#include "app/contents/UpdateContent.h"
#include "app/model/MemorySettings.h"
#include "app/translations/Catalogues.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;

/// The words of one language on one platform, and the plain English ones again at the end.
struct InWords {
    explicit InWords(const char* locale, Platform platform = Platform::macOS) {
        setWords(Localizer(locale, "UTC", catalogues(locale, platform)));
    }
    InWords(const InWords&) = delete;
    InWords& operator=(const InWords&) = delete;
    ~InWords() { setWords(Localizer()); }
};

std::vector<std::string> notes(const std::vector<SettingsContent::Toggle>& toggles) {
    std::vector<std::string> result;
    for (const auto& toggle : toggles) {
        result.push_back(toggle.note);
    }
    return result;
}

std::vector<std::string> titles(const std::vector<SettingsContent::Toggle>& toggles) {
    std::vector<std::string> result;
    for (const auto& toggle : toggles) {
        result.push_back(toggle.title);
    }
    return result;
}

TEST(SettingsContent, NamesLanguagesInTheirOwnWords) {
    for (const char* locale : {"en_US", "de_DE"}) {
        const InWords in(locale);
        const auto languages = SettingsContent::languages();
        ASSERT_EQ(languages.entries.size(), 2U);
        EXPECT_EQ(languages.entries[0].value, "en");
        EXPECT_EQ(languages.entries[0].label, "English");
        EXPECT_EQ(languages.entries[1].value, "de");
        EXPECT_EQ(languages.entries[1].label, "Deutsch");
    }
}

TEST(SettingsContent, StartsInOneOfItsLanguages) {
    EXPECT_EQ(SettingsContent::startLanguage(), "en");
    {
        const InWords in("de_AT.UTF-8");
        EXPECT_EQ(SettingsContent::startLanguage(), "de");
    }
    const InWords in("fr_FR");
    EXPECT_EQ(SettingsContent::startLanguage(), "en") << "there is no French";
}

TEST(SettingsContent, TheChosenLanguageIsTheOneAtTheStartUntilOneIsChosen) {
    MemorySettings memory;
    SettingsStore settings(memory);
    EXPECT_EQ(SettingsContent::chosenLanguage(settings), "en");
    settings.language.set("de");
    EXPECT_EQ(SettingsContent::chosenLanguage(settings), "de");
}

TEST(SettingsContent, HasTheQuickStopInItsOrder) {
    EXPECT_THAT(titles(SettingsContent::quickStop(false)),
                ElementsAre("Floating stop button", "Ask before closing a browser",
                            "Keyboard shortcut ⌃⌥⌘."));
    EXPECT_THAT(
        notes(SettingsContent::quickStop(false)),
        ElementsAre("A small button appears on screen while the camera or microphone is on. One "
                    "click stops them, like the button in the panel. Drag it where you want it.",
                    "Stopping a web browser closes all its tabs. When on, Velmoran asks first, so "
                    "you don't lose work by mistake.",
                    "Press Control, Option, Command and the . key to stop the camera and "
                    "microphone from any app."));
    EXPECT_EQ(SettingsContent::quickStop(false).back().field, &SettingsStore::stopShortcutOn);
    EXPECT_EQ(
        SettingsContent::quickStop(false, true).front().note,
        "This desktop has no place for the button: it lets no program stand above the windows "
        "of others.");
    EXPECT_EQ(SettingsContent::quickStop(true).back().note,
              "macOS didn't give Velmoran this shortcut. Another app may be using it.");
}

TEST(SettingsContent, NamesTheKeysThatAKeyboardHas) {
    const InWords in("en_US", Platform::linux);
    const auto shortcut = SettingsContent::quickStop(false).back();
    EXPECT_EQ(shortcut.title, "Keyboard shortcut Control+Alt+Super+.");
    EXPECT_EQ(shortcut.note, "Press Control, Alt, Super and the . key to stop the camera and "
                             "microphone from any app.");
}

TEST(SettingsContent, SaysWhatIsWatchedAndWhatCounts) {
    const auto toggles = SettingsContent::watching();
    EXPECT_THAT(titles(toggles),
                ElementsAre("Mute speakers when headphones disconnect", "Monitor speaker use",
                            "Hide system sounds", "Ignore macOS's own listening"));
    EXPECT_THAT(
        notes(toggles),
        ElementsAre("Stops sound suddenly playing out loud.",
                    "Saves which apps play sound, and for how long. When off, nothing new is saved "
                    "for the speaker; entries already in History stay there.",
                    "Sounds that macOS plays itself, such as alerts, are saved but left out of the "
                    "lists. Camera and microphone use is never hidden.",
                    "Parts of macOS turn the microphone on by themselves, such as for “Hey Siri” "
                    "and dictation. When on, they are not shown and cause no notice. Apps are "
                    "never ignored."));
}

TEST(SettingsContent, TheSoundIsForStrongWarnings) {
    EXPECT_EQ(SettingsContent::warningSound(),
              (SettingsContent::Toggle{&SettingsStore::warningSoundOn, "Warning sound",
                                       "Plays only for strong warnings."}));
}

TEST(SettingsContent, SaysOfTheAwayWatchWhatItCannotNotice) {
    const std::string beginning = "Notes if anyone touches this Mac while the screen is locked. ";
    const std::string lid = beginning + "Moving the lid is noticed. Moving the whole Mac isn't: "
                                        "Velmoran can't read its motion sensor.";
    const std::string noLid = beginning + "Movement isn't watched on this Mac: Velmoran can't read "
                                          "its motion sensor.";
    EXPECT_EQ(SettingsContent::awayWatch(true, {}).title, "Away watch");
    EXPECT_EQ(SettingsContent::awayWatch(true, {}).field, &SettingsStore::awayWatchOnLock);
    EXPECT_EQ(SettingsContent::awayWatch(true, {}).note, lid);
    EXPECT_EQ(SettingsContent::awayWatch(false, {}).note, noLid);
    const std::string noInput =
        " Keyboard and mouse aren't noticed: this desktop doesn't tell that they are used.";
    const std::string noLock =
        " Nothing has announced here yet that the screen is locked. Until something does, the "
        "watch can't begin.";
    EXPECT_EQ(SettingsContent::awayWatch(false, {.noLock = true, .noInput = false}).note,
              noLid + noLock);
    EXPECT_EQ(SettingsContent::awayWatch(true, {.noLock = true, .noInput = true}).note,
              lid + noInput + noLock);
    EXPECT_EQ(SettingsContent::ownReturn().field, &SettingsStore::ignoreOwnReturn);
    EXPECT_EQ(SettingsContent::ownReturn().title, "Ignore the last 10 seconds before unlocking");
    EXPECT_EQ(
        SettingsContent::ownReturn().note,
        "Leaving this on is recommended. Opening the lid and typing your password would "
        "otherwise show up in every report. When off, everything counts, and a report appears "
        "each time you unlock with the keyboard.");
}

TEST(SettingsContent, OffersThreePeriodsAndSaysAnother) {
    const auto usual = SettingsContent::retention(90);
    ASSERT_EQ(usual.entries.size(), 3U);
    EXPECT_EQ(usual.entries[0], (SettingsContent::Picker<int>::Entry{30, "30 days"}));
    EXPECT_EQ(usual.entries[1], (SettingsContent::Picker<int>::Entry{90, "90 days"}));
    EXPECT_EQ(usual.entries[2], (SettingsContent::Picker<int>::Entry{365, "1 year"}));
    EXPECT_EQ(usual.other, "");
    EXPECT_EQ(SettingsContent::retention(45).entries, usual.entries);
    EXPECT_EQ(SettingsContent::retention(45).other, "Days: 45");
}

TEST(SettingsContent, StandardNoticesHideOrStay) {
    const auto picker = SettingsContent::standardNotices();
    EXPECT_EQ(picker.title, "Standard notices");
    EXPECT_EQ(picker.note, "Strong warnings always stay until you act.");
    ASSERT_EQ(picker.entries.size(), 2U);
    EXPECT_EQ(picker.entries[0].label, "Hide after 8 s");
    EXPECT_FALSE(picker.entries[0].value);
    EXPECT_EQ(picker.entries[1].label, "Stay until closed");
    EXPECT_TRUE(picker.entries[1].value);
}

TEST(UpdateContent, SaysWhatALookHasComeTo) {
    using UpdateContent::Outcome;
    EXPECT_EQ(UpdateContent::versionText("1.9"), "Version 1.9");
    EXPECT_EQ(UpdateContent::statusText({}), "Velmoran only looks for a new version when you ask.");
    EXPECT_EQ(UpdateContent::statusText(Outcome::upToDate), "You have the newest version.");
    EXPECT_EQ(UpdateContent::statusText(Outcome::failed),
              "The website couldn't be reached. Try again later.");
    EXPECT_EQ(UpdateContent::statusText(Outcome::newer, "1.10"), "Version 1.10 is available.");
}

TEST(UpdateContent, LetsNoVersionFillTheWindow) {
    using UpdateContent::Outcome;
    const auto text =
        UpdateContent::statusText(Outcome::newer, "9\n\n" + std::string(50000, 'x') + "\n1");
    EXPECT_LT(text.size(), 100U);
    EXPECT_EQ(text.find('\n'), std::string::npos);
}

TEST(OnboardingPages, SayWhatTheProgramDoesInOrder) {
    std::vector<std::string> symbols;
    std::vector<std::string> heads;
    std::vector<std::string> texts;
    for (const auto& page : OnboardingPages::pages()) {
        symbols.push_back(page.symbol);
        heads.push_back(page.title);
        texts.push_back(page.text);
    }
    EXPECT_THAT(symbols,
                ElementsAre("video.fill", "hand.raised.fill", "eye.slash.fill", "lock.fill"));
    EXPECT_THAT(heads, ElementsAre("Know who's using your camera", "Quick warning. Full control.",
                                   "It never records you", "Everything stays on this Mac"));
    EXPECT_THAT(
        texts,
        ElementsAre("Velmoran watches your camera, microphone and speaker. It tells you which app "
                    "turned them on, and for how long.",
                    "Velmoran tells you as soon as an app uses the camera or microphone. By then "
                    "the app already has access (only macOS can block it beforehand, in System "
                    "Settings), so you have two ways to react:\n\nIn the notice: trust the app, "
                    "or stop it directly.\nIn an emergency: the yellow button “Stop camera and "
                    "microphone” ends all active use immediately.",
                    "Velmoran notes that a device was used, by which app and when. It never "
                    "records sound, video, your screen or what you type.",
                    "There is no account and nothing is uploaded. You can delete the history at "
                    "any time."));
}

TEST(OnboardingPages, TheLastSaysWhereVelmoranIs) {
    EXPECT_EQ(OnboardingPages::last().title, "Velmoran lives here");
    EXPECT_EQ(OnboardingPages::last().text,
              "Up in the menu bar. Click the circle any time to see what's on, or to stop "
              "everything at once. Stopping closes the apps that are using the camera or "
              "microphone, so unsaved work in them may be lost.");
    EXPECT_EQ(OnboardingPages::openAtLogin(), "Open Velmoran when I log in");
}

TEST(OnboardingPages, TheWaysToReactStandOnLinesOfTheirOwn) {
    for (const char* locale : {"en_US", "de_DE"}) {
        for (const auto platform : {Platform::macOS, Platform::linux}) {
            const InWords in(locale, platform);
            const auto text = OnboardingPages::pages()[1].text;
            const auto paragraph = text.find("\n\n");
            ASSERT_NE(paragraph, std::string::npos) << text;
            const auto second = text.find('\n', paragraph + 2);
            ASSERT_NE(second, std::string::npos) << text;
            EXPECT_EQ(text.find('\n', second + 1), std::string::npos) << text;
        }
    }
}

TEST(OnboardingPages, InGermanTheClickOnTheCircleStopsNothing) {
    const std::string rest =
        "Ein Klick auf den Kreis zeigt jederzeit, was an ist; von dort lässt sich auch alles auf "
        "einmal stoppen. Beim Stoppen werden die Apps beendet, die Kamera oder Mikrofon verwenden; "
        "was in ihnen nicht gespeichert ist, geht möglicherweise verloren.";
    {
        const InWords in("de_DE", Platform::macOS);
        EXPECT_EQ(OnboardingPages::last().text, "Oben in der Menüleiste. " + rest);
    }
    const InWords in("de_DE", Platform::linux);
    EXPECT_EQ(OnboardingPages::last().text, "Bei den Symbolen im Infobereich. " + rest);
}

TEST(OnboardingPages, CountTheirSteps) {
    EXPECT_EQ(OnboardingPages::stepText(0, 4), "Step 1 of 5");
    EXPECT_EQ(OnboardingPages::stepText(4, 4), "Step 5 of 5");
}

} // namespace
} // namespace velmoran
