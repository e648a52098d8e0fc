#include "app/screens/BrowserDialog.h"

#include "app/controls/Buttons.h"
#include "app/controls/Labels.h"
#include "app/look/CardText.h"

#include <QHBoxLayout>
#include <QPointer>
#include <QTimer>
#include <QVBoxLayout>
#include <chrono>
#include <string>

namespace velmoran {

namespace {

constexpr int textWidth = 340;
constexpr int symbolPoints = 32;
constexpr int questionMargin = 20;
constexpr int aroundSymbol = 12;
constexpr int spacing = 8;
constexpr int aboveButtons = 12; ///< beside the spacing
constexpr int mostMessageLines = 4;
constexpr int mostTextLines = 14;

// What the window ends with; all else cancels.
constexpr int closing = 1000;
constexpr int keeping = 1001;

constexpr std::chrono::milliseconds secondRequest(300);

QString inOneLine(const std::string& text) {
    // Names come from whoever is asked about.
    return harmlessText(QString::fromStdString(text)).simplified();
}

TextLabel* addText(QDialog& dialog, QVBoxLayout& column, const std::string& text, TextStyle style,
                   int mostLines) {
    auto* label = new TextLabel(inOneLine(text), style, Ink::text, &dialog);
    label->setMostLines(mostLines);
    label->setFixedWidth(textWidth);
    column.addWidget(label);
    return label;
}

FaceButton* addButton(QDialog& dialog, QVBoxLayout& column, const std::string& title,
                      FaceButton::Face face, int result) {
    auto* button = new FaceButton(inOneLine(title), face, &dialog);
    button->setFixedWidth(textWidth);
    column.addWidget(button);
    QObject::connect(button, &QAbstractButton::clicked, &dialog,
                     [&dialog, result] { dialog.done(result); });
    return button;
}

QDialog* makeWindow(const BrowserQuestion& question) {
    auto* dialog =
        new QDialog(nullptr, Qt::Dialog | Qt::WindowStaysOnTopHint | Qt::CustomizeWindowHint |
                                 Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    dialog->setObjectName(QStringLiteral("browserQuestion"));
    dialog->setWindowTitle(QStringLiteral("Velmoran"));
    dialog->setAttribute(Qt::WA_QuitOnClose, false);
    dialog->setAccessibleName(inOneLine(question.message()));
    dialog->setAccessibleDescription(inOneLine(question.text()));

    auto* row = new QHBoxLayout(dialog);
    row->setContentsMargins(questionMargin, questionMargin, questionMargin, questionMargin);
    row->setSpacing(aroundSymbol);
    row->setSizeConstraint(QLayout::SetFixedSize);
    row->addWidget(new SymbolLabel(QStringLiteral("exclamationmark.circle"), symbolPoints,
                                   Ink::warning, dialog),
                   0, Qt::AlignTop);
    auto* column = new QVBoxLayout;
    column->setSpacing(spacing);
    row->addLayout(column);

    addText(*dialog, *column, question.message(), TextStyle::headline, mostMessageLines);
    addText(*dialog, *column, question.text(), TextStyle::body, mostTextLines);
    column->addSpacing(aboveButtons);
    // Below each other, since a name may be long. What can't be brought back is in red.
    addButton(*dialog, *column, question.closeButton(), FaceButton::Face::destructive, closing);
    if (question.keepOffered) {
        addButton(*dialog, *column, question.keepButton(), FaceButton::Face::plain, keeping);
    }
    auto* cancel = addButton(*dialog, *column, question.cancelButton(), FaceButton::Face::plain,
                             QDialog::Rejected);
    cancel->setIsDefault();
    cancel->setFocus();
    return dialog;
}

void bringToFront(QDialog& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

BrowserAnswer answerOf(int result) {
    return result == closing   ? BrowserAnswer::close
           : result == keeping ? BrowserAnswer::keep
                               : BrowserAnswer::cancel;
}

} // namespace

BrowserDialog::~BrowserDialog() {
    if (window_) {
        window_->disconnect();
    }
    // Not later: the program may be at its end.
    delete leaving_.data();
}

ShownQuestion BrowserDialog::ask(const BrowserQuestion& question, const Answer& answer) {
    if (window_) {
        raise();
        answer(BrowserAnswer::cancel);
        return {};
    }
    window_.reset(makeWindow(question));
    QObject::connect(window_.get(), &QDialog::finished, window_.get(), [this, answer](int result) {
        // A copy: the answer may bring the next question.
        const auto tell = answer;
        leave();
        tell(answerOf(result));
    });
    window_->open();
    raise();
    const auto ifShown = [this, window = QPointer(window_.get())](auto action) {
        return [this, window, action] {
            if (window && window == window_.get()) {
                action();
            }
        };
    };
    return {.raise = ifShown([this] { raise(); }),
            .shown = Subscription(ifShown([this] { withdraw(); }))};
}

void BrowserDialog::raise() {
    bringToFront(*window_);
    // A window manager that was busy with its mapping may have let the first request fall.
    QTimer::singleShot(secondRequest, window_.get(), [window = window_.get()] {
        if (window->isVisible() && !window->isActiveWindow()) {
            bringToFront(*window);
        }
    });
}

void BrowserDialog::withdraw() {
    window_->disconnect();
    window_->hide();
    leave();
}

/// Deleted later, since the window may be at work.
void BrowserDialog::leave() {
    leaving_ = window_.release();
    leaving_->deleteLater();
}

} // namespace velmoran
