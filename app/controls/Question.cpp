// What stands in front of a window for a while; declared in Groups.h.
#include "app/controls/Groups.h"
#include "app/look/CardText.h"
#include "app/look/ScreenColors.h"
#include "core/text/Localizer.h"

#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

constexpr int questionWidth = 340;
constexpr int questionMargin = 20;
constexpr int mostTitleLinesOfQuestion = 4;
constexpr int mostMessageLinesOfQuestion = 14;
constexpr int notePadding = 12;
constexpr double noteRadius = 8;
constexpr int noteGapToControl = 6;

/// Round corners need what is behind to shine through, of which only X11 isn't certain.
bool cornersAreRound() {
    return QGuiApplication::platformName() != QLatin1String("xcb");
}

class Note final : public QWidget {
public:
    Note(QWidget* at, QWidget* content)
        : QWidget(at, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint) {
        setAttribute(Qt::WA_DeleteOnClose);
        setAttribute(Qt::WA_TranslucentBackground, cornersAreRound());
        setAttribute(Qt::WA_QuitOnClose, false);
        setObjectName(QStringLiteral("note"));
        // Read out as it gets the keyboard, since nothing in it does.
        setAccessibleName(content->accessibleName());
        setAccessibleDescription(content->accessibleDescription());
        auto* column = new QVBoxLayout(this);
        column->setContentsMargins(notePadding, notePadding, notePadding, notePadding);
        column->setSizeConstraint(QLayout::SetFixedSize);
        column->addWidget(content);
    }

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Escape) {
            close();
        } else {
            QWidget::keyPressEvent(event);
        }
    }
    void paintEvent(QPaintEvent*) override {
        const ScreenColors colors(palette());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const double thin = 1 / devicePixelRatioF();
        painter.setPen(QPen(colors.line, thin));
        painter.setBrush(colors.window);
        const auto frame = QRectF(rect()).adjusted(thin / 2, thin / 2, -thin / 2, -thin / 2);
        const double radius = cornersAreRound() ? noteRadius : 0;
        painter.drawRoundedRect(frame, radius, radius);
    }
};

/// Ends a question without an answer when what it is about goes or is hidden, which may be long
/// before the window does: the action is that one's, and would find it no more.
class EndWithAsker final : public QObject {
public:
    EndWithAsker(QWidget* asker, QDialog* dialog) : QObject(dialog), dialog_(dialog) {
        asker->installEventFilter(this);
        connect(asker, &QObject::destroyed, this, [this] { end(); });
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        // A window that the desktop has put away keeps its question.
        if (event->type() == QEvent::Hide && !event->spontaneous()) {
            end();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    void end() {
        QObject::disconnect(dialog_, &QDialog::accepted, nullptr, nullptr);
        if (dialog_->isVisible()) {
            dialog_->reject();
        }
    }

    QDialog* dialog_;
};

/// Below the control, or above it where there is no room, and inside the screen.
QPoint placeOfNote(const QWidget& at, const QSize& size) {
    const QRect control(at.mapToGlobal(QPoint(0, 0)), at.size());
    const auto* screen = at.screen();
    const auto area = screen ? screen->availableGeometry() : QRect(QPoint(0, 0), size);
    const int below = control.bottom() + 1 + noteGapToControl;
    const int above = control.top() - noteGapToControl - size.height();
    const int y = below + size.height() <= area.bottom() + 1 || above < area.top() ? below : above;
    const int x = control.center().x() - size.width() / 2;
    return {std::clamp(x, area.left(), std::max(area.left(), area.right() + 1 - size.width())), y};
}

} // namespace

QDialog* ask(QWidget* over, const Question& question, std::function<void()> confirmed) {
    auto* dialog = new QDialog(over ? over->window() : nullptr,
                               Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                   Qt::WindowCloseButtonHint);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAttribute(Qt::WA_QuitOnClose, false);
    dialog->setObjectName(QStringLiteral("question"));
    dialog->setWindowTitle(QStringLiteral("Velmoran"));
    auto* column = new QVBoxLayout(dialog);
    column->setContentsMargins(questionMargin, questionMargin, questionMargin, questionMargin);
    column->setSpacing(8);
    column->setSizeConstraint(QLayout::SetFixedSize);
    auto* title = new TextLabel(harmlessText(question.title).simplified(), TextStyle::headline,
                                Ink::text, dialog);
    title->setMostLines(mostTitleLinesOfQuestion);
    title->setFixedWidth(questionWidth);
    auto* message = new TextLabel(question.message, TextStyle::body, Ink::text, dialog);
    message->setMostLines(mostMessageLinesOfQuestion);
    message->setFixedWidth(questionWidth);
    column->addWidget(title);
    column->addWidget(message);
    column->addSpacing(12);
    dialog->setAccessibleName(title->text());
    dialog->setAccessibleDescription(message->text());

    auto* buttons = new QDialogButtonBox(dialog);
    buttons->layout()->setSpacing(8);
    auto* confirm = new FaceButton(question.confirm,
                                   question.isDestructive ? FaceButton::Face::destructive
                                                          : FaceButton::Face::prominent,
                                   buttons);
    auto* cancel = new FaceButton(QString::fromStdString(words().text("Cancel")),
                                  FaceButton::Face::plain, buttons);
    buttons->addButton(confirm, question.isDestructive ? QDialogButtonBox::DestructiveRole
                                                       : QDialogButtonBox::AcceptRole);
    buttons->addButton(cancel, QDialogButtonBox::RejectRole);
    column->addWidget(buttons);
    // The role of what destroys closes nothing by itself.
    QObject::connect(confirm, &QAbstractButton::clicked, dialog, &QDialog::accept);
    QObject::connect(cancel, &QAbstractButton::clicked, dialog, &QDialog::reject);
    QObject::connect(dialog, &QDialog::accepted, dialog, [run = std::move(confirmed)] {
        // A copy, since what it does may take the window away.
        const auto action = run;
        action();
    });
    if (over) {
        new EndWithAsker(over, dialog);
    }
    (question.isDestructive ? cancel : confirm)->setFocus();
    dialog->open();
    return dialog;
}

QWidget* showNote(QWidget* at, QWidget* content) {
    auto* note = new Note(at, content);
    note->adjustSize();
    note->move(placeOfNote(*at, note->size()));
    note->show();
    note->setFocus(Qt::PopupFocusReason);
    return note;
}

} // namespace velmoran
