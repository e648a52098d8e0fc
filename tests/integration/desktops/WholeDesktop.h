// A desktop as the program's users have it, with sound and a microphone, in a private session; a
// person's eyes and hands on it. The program, the editor and the recorder there are programs of
// their own. Owned by a suite, whose cases share it; on the test's thread.
#pragma once

#include "support/PrivateSession.h"

#include <QImage>
#include <QPoint>
#include <QRect>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class WholeDesktop {
public:
    virtual ~WholeDesktop() = default;

    support::PrivateSession session;

    /// Lines as wayland_hand.py reads them; over when the desktop has had them.
    virtual void hand(const std::vector<std::string>& lines);
    /// What stands on the screen, from its top left.
    virtual QImage picture() = 0;
    /// How many dots the screen has for a point.
    virtual void setScale(int scale) = 0;
    /// How much of the screen's top belongs to a bar, also below a window that fills the screen.
    [[nodiscard]] virtual int bar() const { return 0; }

    /// Of the screen, in points.
    [[nodiscard]] virtual QSize size() const { return QSize(1280, 800); }

protected:
    /// The sound, the microphone and, once WAYLAND_DISPLAY names the compositor, the hand.
    void startSound();
    void startHand();

    int scale_ = 1;
};

/// Each starts its desktop, or throws NotInstalled.
std::unique_ptr<WholeDesktop> startSwayDesktop(bool withX);
std::unique_ptr<WholeDesktop> startKWin(bool withX);
std::unique_ptr<WholeDesktop> startGnomeShell(bool withX);

/// What the Shell says to a line of its own language, where texts stand without quotes.
std::string askGnomeShell(support::PrivateSession& session, const std::string& line);

/// A person who types into an editor that fills the screen, while Velmoran runs.
class AtADesktop {
public:
    explicit AtADesktop(WholeDesktop& desktop) : desktop(desktop) {}
    /// Ends all that it has started.
    ~AtADesktop();
    AtADesktop(const AtADesktop&) = delete;
    AtADesktop& operator=(const AtADesktop&) = delete;

    WholeDesktop& desktop;

    void startEditor();
    void startVelmoran(const std::vector<std::string>& settings = {});
    void startRecorder();

    void moveTo(QPoint place);
    void clickAt(QPoint place);
    /// What the editor got, with a "!" for each click.
    std::string editorHas();
    void expectTyped(const std::string& all, const std::string& key);

    /// What stands above the editor, without shadows, in points.
    std::vector<QRect> shapes();
    /// The one that is as wide as a card.
    std::optional<QRect> card();
    std::optional<QRect> button();
    [[nodiscard]] bool cardComes() { return comes(&AtADesktop::card); }
    [[nodiscard]] bool buttonComes() { return comes(&AtADesktop::button); }
    /// Once it stands still.
    [[nodiscard]] bool comes(std::optional<QRect> (AtADesktop::*which)());
    [[nodiscard]] bool recorderRuns() { return desktop.session.child("recorder")->running(); }
    std::string log() const { return desktop.session.logs(); }
};

} // namespace velmoran
