// From a process to the picture on its card: who the process is, by entries and programs laid out
// in a folder, through the model to the panel.
#include "app/look/AppPicture.h"
#include "app/look/AppTile.h"
#include "app/look/CardColors.h"
#include "app/model/ModelFixture.h"
#include "app/shell/cards/NoticePanelController.h"
#include "support/LinuxWorld.h"
#include "system/linux/apps/LinuxAppNames.h"

#include <QCoreApplication>
#include <QEvent>
#include <QIcon>
#include <QImage>
#include <QPainter>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <sys/stat.h>

namespace velmoran {
namespace {

struct AppPictures : testing::ModelFixture {
    LinuxWorld world;
    std::optional<LinuxAppNames> names;
    std::unique_ptr<NoticePanelController> cards;
    const QStringList searchPaths = QIcon::themeSearchPaths();
    const QString theme = QIcon::themeName();
    pid_t last = 9;
    AppIdentity lastApp;

    void SetUp() override {
        names.emplace(world.places());
        launchWatching();
        cards = std::make_unique<NoticePanelController>(
            model->notices, [] { return std::nullopt; },
            appPictures([this](const AppRef& app) { return names->iconName(app); }));
    }
    void TearDown() override {
        QIcon::setThemeSearchPaths(searchPaths);
        QIcon::setThemeName(theme);
    }

    /// A picture of one colour in the world's folder; gives its path.
    std::string paint(const std::string& below, const QColor& color, int side = 32) const {
        const auto file = world.program(below, "");
        QImage image(side, side, QImage::Format_RGB32);
        image.fill(color);
        EXPECT_TRUE(image.save(QString::fromStdString(file), "PNG"));
        return file;
    }

    /// What stands to the left on the card of that process's use of the microphone.
    QImage shownOf(FakeProc::Process process) {
        world.proc.add(++last, std::move(process));
        const auto app = names->identify(last);
        receive(microphone({app}));
        EXPECT_THAT(titles(), ::testing::ElementsAre(app.name + " turned on the microphone"));
        lastApp = model->notices.items().at(0).app.value();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        const auto views = cards->panel().findChildren<QWidget*>(QStringLiteral("notice"));
        const auto image =
            views.isEmpty() ? QImage() : views.back()->grab(QRect(12, 12, 32, 32)).toImage();
        receive({});
        time.advanceBy(20);
        EXPECT_THAT(titles(), ::testing::IsEmpty());
        return image;
    }
    QImage shown(const std::string& executable) { return shownOf({.executable = executable}); }
    /// Whether it is the tile of the app that was shown last, as it stands on a card.
    bool isTile(const QImage& image) {
        const auto palette = cards->panel().palette();
        QImage tile(32, 32, QImage::Format_RGB32);
        tile.fill(CardColors(palette).card);
        QPainter(&tile).drawPixmap(0, 0, appPixmap({}, lastApp, 32, 1, palette));
        return image.convertToFormat(QImage::Format_RGB32) == tile;
    }

    static bool isOf(const QImage& image, const QColor& color) {
        QImage plain(image.size(), image.format());
        plain.fill(color);
        return !image.isNull() && image == plain;
    }
};

TEST_F(AppPictures, ShowAProgramOfRootsAsItsEntryDoes) {
    const auto program = world.program("usr/lib/firefox/firefox");
    world.entry("org.mozilla.firefox",
                "Name=Firefox\nExec=" + program + "\nIcon=" + paint("usr/share/fox.png", Qt::red));
    EXPECT_TRUE(isOf(shown(program), Qt::red));
}

TEST_F(AppPictures, ShowAnAppOfTheUsersThatIsKnownByItsPath) {
    const auto program = world.program("home/u/chat/chat");
    world.userEntry("org.example.Chat",
                    "Name=Chat\nExec=" + program + "\nIcon=" + paint("home/u/chat.png", Qt::blue));
    EXPECT_TRUE(isOf(shown(program), Qt::blue));
}

TEST_F(AppPictures, ShowASnapAndItsHelpers) {
    world.entryIn("var/lib/snapd/desktop/applications", "mail_mail",
                  "Name=Mail\nX-SnapInstanceName=mail\nExec=/snap/bin/mail %u\nIcon=" +
                      paint("snap/mail/12/meta/gui/icon.png", Qt::green));
    const auto program = world.program("snap/mail/12/usr/lib/mail/mail");
    EXPECT_TRUE(isOf(shownOf({.executable = program, .mounts = "mnt:[2]"}), Qt::green));
}

TEST_F(AppPictures, AreThoseOfTheIconTheme) {
    world.program("icons/hicolor/index.theme",
                  "[Icon Theme]\nName=Hicolor\nDirectories=48x48/apps\n"
                  "[48x48/apps]\nSize=48\nType=Threshold\n");
    paint("icons/hicolor/48x48/apps/chat.png", Qt::magenta, 48);
    QIcon::setThemeSearchPaths({QString::fromStdString(world.path("icons"))});
    QIcon::setThemeName(QStringLiteral("hicolor"));
    const auto chat = world.program("usr/bin/chat");
    world.entry("chat", "Name=Chat\nExec=" + chat + "\nIcon=chat");
    EXPECT_TRUE(isOf(shown(chat), Qt::magenta));
    const auto old = world.program("usr/bin/old");
    world.entry("old", "Name=Old\nExec=" + old + "\nIcon=chat.png");
    EXPECT_TRUE(isOf(shown(old), Qt::magenta));
}

TEST_F(AppPictures, OfAnEntryThatIsNotBelievedAreNotShown) {
    const auto icon = paint("home/u/fox.png", Qt::red);
    // One of root's that the user's entry would picture, under another name and under its own.
    const auto tool = world.program("usr/bin/recorder");
    world.userEntry("harmless", "Name=Harmless\nExec=" + tool + "\nIcon=" + icon);
    EXPECT_TRUE(isTile(shown(tool)));
    world.userEntry("harmless", "Name=recorder\nExec=" + tool + "\nIcon=" + icon);
    EXPECT_TRUE(isTile(shown(tool)));
    // One of the user's that takes the name of one of root's, even if its file is called so.
    world.entry("firefox", "Name=firefox\nExec=" + world.program("usr/bin/firefox"));
    const auto evil = world.program("home/u/firefox");
    world.userEntry("mine", "Name=Firefox\nExec=" + evil + "\nIcon=" + icon);
    EXPECT_TRUE(isTile(shown(evil)));
    world.userEntry("mine", "Name=firefox\nExec=" + evil + "\nIcon=" + icon);
    EXPECT_TRUE(isTile(shown(evil)));
}

TEST_F(AppPictures, ThatCannotBeDrawnGiveWayToATile) {
    const auto tool = world.program("usr/bin/recorder");
    const auto showAs = [&](const std::string& icon) {
        world.entry("recorder", "Name=Recorder\nExec=" + tool + "\nIcon=" + icon);
        return shown(tool);
    };
    EXPECT_TRUE(isTile(showAs("no-such-name-in-any-theme")));
    EXPECT_TRUE(isTile(showAs("no-such-name-in-any-theme.png")));
    EXPECT_TRUE(isTile(showAs("/no/such/file.png")));
    EXPECT_TRUE(isTile(showAs(world.path("usr/share"))));
    EXPECT_TRUE(isTile(showAs(world.program("usr/share/text.png", "no picture"))));
    const auto cutOff = paint("usr/share/cut.png", Qt::red);
    std::filesystem::resize_file(cutOff, 40);
    EXPECT_TRUE(isTile(showAs(cutOff)));
    // Nobody writes into it, so that whoever opens it waits.
    const auto pipe = world.path("usr/share/pipe.png");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_TRUE(isTile(showAs(pipe)));
}

} // namespace
} // namespace velmoran
