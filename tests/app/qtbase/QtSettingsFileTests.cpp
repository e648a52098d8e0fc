#include "app/qtbase/QtSettingsFile.h"

#include "app/model/SettingsStore.h"
#include "support/Rights.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <numeric>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace velmoran {
namespace {

class QtSettingsFileTest : public testing::Test {
protected:
    QString path() const { return folder_.filePath("deeper/Velmoran.conf"); }

    void write(const char* text) const {
        QDir().mkpath(QFileInfo(path()).path());
        QFile file(path());
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(text);
    }

private:
    QTemporaryDir folder_;
};

TEST_F(QtSettingsFileTest, HoldsNoKeyForAFreshUser) {
    QtSettingsFile file(path());
    const SettingsStore settings(file);
    EXPECT_EQ(*settings.retentionDays, 90);
    EXPECT_TRUE(*settings.hideSystemSounds);
    EXPECT_FALSE(*settings.monitorSpeakerUse);
    EXPECT_FALSE(*settings.floatingStopButton);
    EXPECT_FALSE(*settings.awayWatchOnLock);
    EXPECT_FALSE(*settings.onboardingDone);
    EXPECT_EQ(*settings.language, std::nullopt); // the system's own is no choice of the user's
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(QtSettingsFileTest, TakesInWhatAnotherProgramWrites) {
    QtSettingsFile file(path());
    file.setBoolean("microphoneMuted", true);
    SettingsStore settings(file);
    EXPECT_EQ(settings.muteElsewhere(), std::nullopt);
    write("[General]\nmicrophoneMuted=false\n");
    EXPECT_EQ(settings.muteElsewhere(), false);
    EXPECT_TRUE(*settings.microphoneMuted) << "it is for the model to end it here";
    settings.microphoneMuted.set(false);
    EXPECT_EQ(settings.muteElsewhere(), std::nullopt);
    write("[General]\nmicrophoneMuted=true\n");
    EXPECT_EQ(settings.muteElsewhere(), true);
    QFile::remove(path());
    EXPECT_EQ(settings.muteElsewhere(), std::nullopt);
}

TEST_F(QtSettingsFileTest, AMuteThatCouldNotBeWrittenHasNotEndedElsewhere) {
    write("[General]\nmicrophoneMuted=false\n");
    const auto folder = QFileInfo(path()).path();
    const auto readable = QFile::ReadOwner | QFile::ExeOwner;
    QFile::setPermissions(path(), QFile::ReadOwner);
    QFile::setPermissions(folder, readable);
    {
        const support::RightsLaidDown person; // root's would write everything
        ASSERT_TRUE(person.isDone());
        QtSettingsFile file(path());
        SettingsStore settings(file);
        settings.microphoneMuted.set(true);
        EXPECT_EQ(settings.muteElsewhere(), std::nullopt);
        EXPECT_EQ(settings.muteElsewhere(), std::nullopt) << "at the next look";
    }
    QFile::setPermissions(folder, readable | QFile::WriteOwner);
    QFile written(path());
    ASSERT_TRUE(written.open(QFile::ReadOnly));
    EXPECT_TRUE(written.readAll().contains("microphoneMuted=false")) << "the write was to fail";
}

TEST_F(QtSettingsFileTest, IsWrittenAtOnceAndReadAgain) {
    std::string all(256, '\0');
    std::iota(all.begin(), all.end(), '\0');
    QtSettingsFile writer(path());
    writer.setBoolean("flag", true);
    writer.setInteger("days", 365);
    writer.setNumbers("place", {12.5, -3});
    writer.setBytes("data", all);
    writer.setTexts("one", {"de"});
    const std::vector<std::string> odd{"@@", "@String(x)", "@Invalid()", std::string("\0", 1)};
    writer.setTexts("two", {"de-AT, \"x\"", "@en"});
    writer.setTexts("odd", odd);
    const QtSettingsFile reader(path());
    EXPECT_EQ(reader.boolean("flag"), true);
    EXPECT_EQ(reader.integer("days"), 365);
    EXPECT_EQ(reader.numbers("place"), (std::vector<double>{12.5, -3}));
    EXPECT_EQ(reader.bytes("data"), all);
    EXPECT_EQ(reader.texts("one"), (std::vector<std::string>{"de"}));
    EXPECT_EQ(reader.texts("two"), (std::vector<std::string>{"de-AT, \"x\"", "@en"}));
    EXPECT_EQ(reader.texts("odd"), odd);
}

TEST_F(QtSettingsFileTest, KeepsEmptyBytesApartFromNone) {
    QtSettingsFile writer(path());
    writer.setBytes("data", "");
    const QtSettingsFile reader(path());
    EXPECT_EQ(reader.bytes("data"), "");
    EXPECT_EQ(reader.bytes("other"), std::nullopt);
}

TEST_F(QtSettingsFileTest, TakesAWrongTypeForMissing) {
    write("[General]\n"
          "retentionDays=soon\n"
          "warningSoundOn=maybe\n"
          "monitorSpeakerUse=1\n"
          "floatingStopPlace=1, 2, 3\n"
          "trustRules=text\n"
          "AppleLanguages=fr\n");
    QtSettingsFile file(path());
    const SettingsStore settings(file);
    EXPECT_EQ(*settings.retentionDays, 90);
    EXPECT_TRUE(*settings.warningSoundOn);
    EXPECT_FALSE(*settings.monitorSpeakerUse);
    EXPECT_EQ(*settings.floatingStopPlace, std::nullopt);
    EXPECT_EQ(*settings.trustRulesData, std::nullopt);
    EXPECT_EQ(*settings.language, std::nullopt);
}

TEST_F(QtSettingsFileTest, ReadsWhatAPersonWroteByHand) {
    write("[General]\n"
          "retentionDays=30\n"
          "warningSoundOn=false\n"
          "floatingStopPlace=10, 20.5\n"
          "AppleLanguages=de-AT, en\n");
    QtSettingsFile file(path());
    const SettingsStore settings(file);
    EXPECT_EQ(*settings.retentionDays, 30);
    EXPECT_FALSE(*settings.warningSoundOn);
    EXPECT_EQ(*settings.floatingStopPlace, (Point{10, 20.5}));
    EXPECT_EQ(*settings.language, "de");
}

TEST_F(QtSettingsFileTest, TakesNoTextForANumberOfAPlace) {
    write("[General]\nfloatingStopPlace=10, right\n");
    EXPECT_EQ(QtSettingsFile(path()).numbers("floatingStopPlace"), std::nullopt);
}

TEST_F(QtSettingsFileTest, SurvivesAFileThatIsNone) {
    write("\x01\x02[[[\n=\n\xFF\xFE====");
    QtSettingsFile file(path());
    const SettingsStore settings(file);
    EXPECT_EQ(*settings.retentionDays, 90);
}

TEST_F(QtSettingsFileTest, RemovesAKeyForGood) {
    QtSettingsFile file(path());
    SettingsStore settings(file);
    settings.language.set("de");
    settings.floatingStopPlace.set(Point{1, 2});
    settings.language.set(std::nullopt);
    settings.floatingStopPlace.set(std::nullopt);
    const QtSettingsFile reader(path());
    EXPECT_EQ(reader.texts("AppleLanguages"), std::nullopt);
    EXPECT_EQ(reader.numbers("floatingStopPlace"), std::nullopt);
}

TEST_F(QtSettingsFileTest, WaitsForNoPipeInItsPlace) {
    write("");
    QFile::remove(path());
    ASSERT_EQ(::mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
    QtSettingsFile file(path());
    EXPECT_EQ(file.boolean("flag"), std::nullopt);
    file.reload();
    file.setBoolean("flag", true);
    EXPECT_EQ(QtSettingsFile(path()).boolean("flag"), true);
}

TEST_F(QtSettingsFileTest, WritesAllThatItKnowsInPlaceOfAPipe) {
    QtSettingsFile file(path());
    file.setInteger("one", 1);
    QFile::remove(path());
    ASSERT_EQ(::mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
    file.setInteger("other", 2);
    const QtSettingsFile reader(path());
    EXPECT_EQ(reader.integer("one"), 1);
    EXPECT_EQ(reader.integer("other"), 2);
}

TEST_F(QtSettingsFileTest, OverwritesNoFileThatItCannotRead) {
    write("[General]\none=1\n");
    QFile::setPermissions(path(), QFile::Permissions());
    const support::RightsLaidDown person; // root's would read everything
    ASSERT_TRUE(person.isDone());
    QtSettingsFile file(path());
    file.setInteger("other", 2);
    file.reload();
    EXPECT_EQ(file.integer("other"), 2) << "it waits";
    QFile::setPermissions(path(), QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_EQ(QtSettingsFile(path()).integer("other"), std::nullopt);
    file.reload();
    const QtSettingsFile reader(path());
    EXPECT_EQ(reader.integer("one"), 1);
    EXPECT_EQ(reader.integer("other"), 2);
}

TEST_F(QtSettingsFileTest, WritesAtItsEndWhatHadToWait) {
    write("[General]\none=1\n");
    QFile::setPermissions(path(), QFile::Permissions());
    const support::RightsLaidDown person;
    ASSERT_TRUE(person.isDone());
    {
        QtSettingsFile file(path());
        file.setInteger("other", 2);
        QFile::setPermissions(path(), QFile::ReadOwner | QFile::WriteOwner);
    }
    const QtSettingsFile reader(path());
    EXPECT_EQ(reader.integer("one"), 1);
    EXPECT_EQ(reader.integer("other"), 2);
}

TEST_F(QtSettingsFileTest, KeepsWhatItKnowsOfAFileThatCannotBeReadAnyMore) {
    QtSettingsFile file(path());
    file.setInteger("one", 1);
    QFile::setPermissions(path(), QFile::Permissions());
    const support::RightsLaidDown person;
    ASSERT_TRUE(person.isDone());
    file.reload();
    EXPECT_EQ(file.integer("one"), 1);
}

TEST_F(QtSettingsFileTest, ReadsNoHugeFileAndLeavesItAlone) {
    QtSettingsFile file(path());
    file.setInteger("one", 1);
    const auto bytes = qint64(1) << 30;
    ASSERT_TRUE(QFile::resize(path(), bytes)) << "mostly holes";
    file.reload();
    EXPECT_EQ(file.integer("one"), 1) << "as it was read last";
    file.setInteger("other", 2);
    EXPECT_EQ(QFileInfo(path()).size(), bytes);
    EXPECT_EQ(QtSettingsFile(path()).integer("one"), std::nullopt);
    ASSERT_TRUE(QFile::resize(path(), 0));
    file.setInteger("third", 3);
    const QtSettingsFile reader(path());
    EXPECT_EQ(reader.integer("other"), 2);
    EXPECT_EQ(reader.integer("third"), 3);
}

TEST_F(QtSettingsFileTest, WaitsForNobodyWhoHoldsItsFolder) {
    write("");
    const int folder = ::open(QFile::encodeName(QFileInfo(path()).path()).constData(),
                              O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(::flock(folder, LOCK_EX | LOCK_NB), 0);
    QtSettingsFile(path()).setBoolean("flag", true);
    EXPECT_EQ(QtSettingsFile(path()).boolean("flag"), true);
    ::close(folder);
}

TEST_F(QtSettingsFileTest, KeepsWhatAnotherHasWrittenMeanwhile) {
    QtSettingsFile one(path());
    QtSettingsFile other(path());
    one.setInteger("one", 1);
    other.setInteger("other", 2);
    one.reload();
    EXPECT_EQ(one.integer("one"), 1);
    EXPECT_EQ(one.integer("other"), 2);
}

TEST_F(QtSettingsFileTest, IsForItsUserAlone) {
    QtSettingsFile(path()).setBoolean("flag", true);
    EXPECT_EQ(QFile::permissions(path()) &
                  (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
              QFile::Permissions());
}

TEST_F(QtSettingsFileTest, KeepsTheValueInMemoryWhenItCannotBeWritten) {
    QtSettingsFile file(QStringLiteral("/proc/nowhere/Velmoran.conf"));
    file.setBoolean("flag", true);
    EXPECT_EQ(file.boolean("flag"), true);
    EXPECT_TRUE(file.hasUnwritten());
}

TEST_F(QtSettingsFileTest, SaysUntilItIsWrittenThatSomethingIsNot) {
    // A file stands where its folder should.
    const auto folder = QFileInfo(path()).path();
    QFile obstacle(folder);
    ASSERT_TRUE(obstacle.open(QFile::WriteOnly));
    QtSettingsFile file(path());
    SettingsStore settings(file);
    EXPECT_FALSE(*settings.notSaved);
    std::vector<bool> heard;
    const auto subscription =
        settings.notSaved.subscribe([&](bool notSaved) { heard.push_back(notSaved); });
    settings.warningSoundOn.set(false);
    settings.retentionDays.set(30);
    EXPECT_TRUE(*settings.notSaved);
    EXPECT_FALSE(*settings.warningSoundOn) << "it holds for this run";
    obstacle.remove();
    settings.language.set("de");
    EXPECT_FALSE(*settings.notSaved);
    EXPECT_EQ(heard, (std::vector<bool>{true, false}));
    QtSettingsFile again(path());
    EXPECT_FALSE(*SettingsStore(again).warningSoundOn);
    EXPECT_EQ(*SettingsStore(again).retentionDays, 30);
}

} // namespace
} // namespace velmoran
