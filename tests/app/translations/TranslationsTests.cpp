#include "app/translations/CatalogueTable.h"
#include "app/translations/Catalogues.h"
#include "core/records/AppIdentity.h"
#include "support/SourceTexts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace velmoran {
namespace {

/// Every key that stands in the sources, with where it stands first.
std::map<std::string, std::string> textsInTheSources() {
    std::map<std::string, std::string> texts;
    const std::filesystem::path root = VELMORAN_SOURCE_DIR;
    for (const char* room : {"core", "system", "app", "ctl"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root / room)) {
            if (entry.path().extension() != ".cpp" && entry.path().extension() != ".h") {
                continue;
            }
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string source{std::istreambuf_iterator<char>(file), {}};
            for (const auto& text : SourceTexts(source).found()) {
                texts.emplace(text.key, entry.path().lexically_relative(root).string() + ":" +
                                            std::to_string(text.line));
            }
        }
    }
    return texts;
}

const CatalogueTable& table(std::string_view name) {
    const auto tables = catalogueTables();
    const auto found = std::find_if(tables.begin(), tables.end(),
                                    [&](const auto& each) { return each.name == name; });
    if (found == tables.end()) {
        throw std::runtime_error("no catalogue " + std::string(name));
    }
    return *found;
}

std::set<std::string, std::less<>> keys(std::string_view name) {
    std::set<std::string, std::less<>> result;
    for (const auto& entry : table(name).entries) {
        result.emplace(entry.key);
    }
    return result;
}

/// What each hole stands for, by its place among the arguments: "1@ 2lld".
std::multiset<std::string> holes(std::string_view sentence) {
    static const std::regex hole("%%|%(?:([0-9]+)\\$)?(@|lld)");
    std::multiset<std::string> result;
    int next = 1;
    const std::string text(sentence);
    for (std::sregex_iterator at(text.begin(), text.end(), hole), end; at != end; ++at) {
        if (at->str() != "%%") {
            const auto place = (*at)[1].matched ? (*at)[1].str() : std::to_string(next++);
            result.insert(place + (*at)[2].str());
        }
    }
    return result;
}

bool namesTheMac(std::string_view text) {
    static const std::regex names("\\b(Mac|macOS|Dock|menu bar|Menüleiste|Command)\\b|⌃⌥⌘");
    return std::regex_search(text.begin(), text.end(), names);
}

std::vector<std::string> keysFoundIn(std::string_view source) {
    std::vector<std::string> result;
    for (const auto& text : SourceTexts(source).found()) {
        result.push_back(text.key);
    }
    return result;
}

TEST(SourceTexts, JoinsAdjacentLiterals) {
    EXPECT_EQ(keysFoundIn("a(words().text(\"One \"\n   \"two\", {x}));"),
              std::vector<std::string>{"One two"});
}

TEST(SourceTexts, LeavesOutCommentsAndLiterals) {
    EXPECT_TRUE(keysFoundIn("// text(\"no\")\n/* text(\"no\") */ \"text(\\\"no\\\")\" "
                            "R\"x(text(\"no\"))x\" '\"' context(\"no\")")
                    .empty());
}

TEST(SourceTexts, TellsOfAKeyThatIsNoLiteral) {
    EXPECT_EQ(keysFoundIn("words().text(key); other.text(key);"), std::vector<std::string>{""});
}

TEST(Translations, EveryKeyIsALiteralWhereItIsUsed) {
    const auto texts = textsInTheSources();
    EXPECT_GT(texts.size(), 20U);
    EXPECT_FALSE(texts.contains("")) << "words().text() without a literal at " << texts.at("");
}

TEST(Translations, EveryKeyHasAGermanText) {
    const auto german = keys("de");
    for (const auto& [key, place] : textsInTheSources()) {
        EXPECT_TRUE(german.contains(key)) << place << ": \"" << key << "\" has no German text in "
                                          << "app/translations/velmoran_de.json";
    }
}

TEST(Translations, NoCatalogueHasAKeyThatIsNotUsed) {
    const auto used = textsInTheSources();
    for (const auto& each : catalogueTables()) {
        for (const auto& entry : each.entries) {
            EXPECT_TRUE(used.contains(std::string(entry.key)))
                << "velmoran_" << each.name << ".json: \"" << entry.key << "\"";
        }
    }
}

TEST(Translations, NoTextIsEmptyOrTwiceInACatalogue) {
    for (const auto& each : catalogueTables()) {
        EXPECT_EQ(keys(each.name).size(), each.entries.size()) << each.name;
        for (const auto& entry : each.entries) {
            EXPECT_FALSE(entry.text.empty()) << entry.key;
        }
    }
}

TEST(Translations, HolesAreThoseOfTheKey) {
    for (const auto& each : catalogueTables()) {
        for (const auto& entry : each.entries) {
            EXPECT_EQ(holes(entry.text), holes(entry.key)) << each.name << ": " << entry.text;
        }
    }
}

TEST(Translations, NoLinuxTextNamesTheMac) {
    const auto texts = textsInTheSources();
    for (const char* locale : {"en_US", "de_DE"}) {
        const Localizer linux(locale, "UTC", catalogues(locale, Platform::linux));
        for (const auto& [key, place] : texts) {
            const auto text = linux.text(key);
            EXPECT_FALSE(namesTheMac(text)) << place << " in " << locale << ": " << text;
        }
    }
}

TEST(Translations, AnOverlayRewordsOnlyWhatNamesTheMacOrAPlaceOnIt) {
    const auto names = [](std::string_view key, const char* place) {
        return key.find(place) != std::string_view::npos;
    };
    for (const char* name : {"linux_en", "linux_de"}) {
        for (const auto& entry : table(name).entries) {
            EXPECT_TRUE(namesTheMac(entry.key) || names(entry.key, "System Settings") ||
                        names(entry.key, "Apple signed") || names(entry.key, "Bundle ID") ||
                        names(entry.key, "Signed by team"))
                << name << ": " << entry.key;
        }
    }
    EXPECT_EQ(keys("linux_en"), keys("linux_de"));
}

TEST(Translations, NoGermanTextAddressesItsReader) {
    // Here the word stands for what the sentence before it speaks of.
    const std::set<std::string_view> ofOthers{
        "A small button appears on screen while the camera or microphone is on. One click stops "
        "them, like the button in the panel. Drag it where you want it.",
        "Both do what “Stop camera and microphone” in the panel does: they mute the microphone and "
        "close the apps that are using the camera or microphone. Unsaved work in those apps may be "
        "lost.",
        "The sound settings. They listen to show how loud the microphone is.",
        "macOS didn't allow this change. You can set it in System Settings > General > Login "
        "Items.",
    };
    const std::regex possessive("\\b(Ihr(e[mnrs]?)?|Ihnen)\\b");
    const std::regex formal("\\bSie\\b");
    for (const char* name : {"de", "linux_de"}) {
        for (const auto& entry : table(name).entries) {
            const std::string text(entry.text);
            EXPECT_FALSE(std::regex_search(text, possessive)) << name << ": " << text;
            EXPECT_TRUE(!std::regex_search(text, formal) || ofOthers.contains(entry.key))
                << name << ": " << text;
        }
    }
}

TEST(Translations, WhatIsKeptIsGespeichertInGerman) {
    const std::regex other("\\b([Gg]e)?[Ss]icher(n|t|te|ten)\\b");
    for (const char* name : {"de", "linux_de"}) {
        for (const auto& entry : table(name).entries) {
            const std::string text(entry.text);
            EXPECT_FALSE(std::regex_search(text, other)) << name << ": " << text;
        }
    }
}

TEST(Translations, TheUnknownAppIsKnownByItsNameInEveryLanguage) {
    std::vector<std::string> names{"Unknown app"};
    for (const auto& each : catalogueTables()) {
        for (const auto& entry : each.entries) {
            if (entry.key == "Unknown app") {
                names.emplace_back(entry.text);
            }
        }
    }
    EXPECT_EQ(AppIdentity::unknownNames(), names);
}

TEST(Translations, TheLanguageIsThatOfTheLocale) {
    const auto stop = [](std::string_view locale) {
        return Localizer("en_US", "UTC", catalogues(locale, Platform::macOS)).text("Stop");
    };
    EXPECT_EQ(stop("de_DE.UTF-8"), "Stoppen");
    EXPECT_EQ(stop("de-AT"), "Stoppen");
    EXPECT_EQ(stop("DE"), "Stoppen");
    EXPECT_EQ(stop("den_CA"), "Stop");
    EXPECT_EQ(stop("fr_FR"), "Stop");
    EXPECT_EQ(stop("C"), "Stop");
    EXPECT_EQ(stop(""), "Stop");
}

TEST(Translations, ThePlatformChangesOnlyItsOwnNames) {
    const std::string key = "%@ is part of macOS, so Velmoran didn't close it.";
    const auto text = [&](const char* locale, Platform platform) {
        return Localizer(locale, "UTC", catalogues(locale, platform)).text(key, {"Siri"});
    };
    EXPECT_EQ(text("en_US", Platform::macOS),
              "Siri is part of macOS, so Velmoran didn't close it.");
    EXPECT_EQ(text("en_US", Platform::linux),
              "Siri is part of the system, so Velmoran didn't close it.");
    EXPECT_EQ(text("de_DE", Platform::linux),
              "Siri gehört zum System und wurde deshalb nicht von Velmoran beendet.");
}

TEST(Translations, GermanControlsSayWhatTheyDo) {
    const auto on = [](Platform platform) {
        return Localizer("de_DE", "UTC", catalogues("de_DE", platform));
    };
    const auto german = on(Platform::macOS);
    const std::vector<std::string> zoom{"Zoom", german.text("the camera")};
    const std::string listening = "Ignore macOS's own listening";
    EXPECT_EQ(german.text(listening), "Eigenes Zuhören von macOS ignorieren");
    EXPECT_EQ(on(Platform::linux).text(listening),
              "Eigenes Zuhören der Arbeitsumgebung ignorieren");
    EXPECT_EQ(german.text("Stay until closed"), "Bis zum Schließen zeigen");
    EXPECT_EQ(german.text("Click to be told every time %1$@ uses %2$@, whether it is trusted or "
                          "not.",
                          zoom),
              "Ein Klick, und es wird jedes Mal gemeldet, wenn Zoom die Kamera verwendet, ob "
              "vertraut oder nicht.");
    EXPECT_EQ(
        german.text("Not trusted for %1$@. Click to trust %1$@.", {german.text("the camera")}),
        "Nicht vertraut für die Kamera. Ein Klick schenkt Vertrauen für die Kamera.");
    EXPECT_EQ(german.text("Not trusted. Click to trust."),
              "Nicht vertraut. Ein Klick schenkt Vertrauen.");
}

TEST(Translations, GermanSentencesSayWhenAThingHappens) {
    const Localizer german("de_DE", "UTC", catalogues("de_DE", Platform::macOS));
    EXPECT_EQ(german.text("No sound server can be reached. Until one can, only programs that open "
                          "a device directly are seen."),
              "Es ist kein Soundserver zu erreichen. Bis dahin werden nur Programme gesehen, die "
              "ein Gerät unmittelbar öffnen.");
    EXPECT_EQ(german.text("Opens a form on our website. Your version is filled in, and nothing is "
                          "sent until you send the form."),
              "Öffnet ein Formular auf unserer Website. Die Version ist schon eingetragen; "
              "gesendet wird erst, wenn das Formular abgeschickt wird.");
    EXPECT_EQ(german.text("A report appears here when something happened while the screen was "
                          "locked."),
              "Hier erscheint ein Bericht, wenn etwas geschehen ist, während der Bildschirm "
              "gesperrt war.");
}

TEST(Translations, AGermanCardReadsAsAWhole) {
    const Localizer german("de_DE", "UTC", catalogues("de_DE", Platform::linux));
    EXPECT_EQ(german.text("%@ turned on %@", {"Zoom", german.text("the camera and microphone")}),
              "Zoom hat Kamera und Mikrofon eingeschaltet");
    EXPECT_EQ(german.text("%lld h %@ min", {"2", "05"}), "2 Std. 05 Min.");
}

TEST(Translations, OnLinuxAComputerWakesUp) {
    const auto text = [](const char* locale, Platform platform, const char* key) {
        return Localizer(locale, "UTC", catalogues(locale, platform)).text(key, {"12", "47"});
    };
    EXPECT_EQ(text("en_US", Platform::linux, "Mac went to sleep"), "Computer went to sleep");
    EXPECT_EQ(text("en_US", Platform::linux, "Mac woke up"), "Computer woke up");
    EXPECT_EQ(text("de_DE", Platform::linux, "Mac woke up"), "Computer ist aufgewacht");
    EXPECT_EQ(text("de_DE", Platform::macOS, "Mac woke up"), "Mac ist aufgewacht");
    EXPECT_EQ(text("de_DE", Platform::linux, "Lid moved from %lld° to %lld°"),
              "Deckel von 12° auf 47° bewegt");
}

} // namespace
} // namespace velmoran
