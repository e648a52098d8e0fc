#include "app/screens/BrowserDialog.h"

#include "app/look/CardColors.h"
#include "app/look/CardText.h"
#include "app/look/Symbols.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <chrono>
#include <string>

namespace velmoran {

namespace {

constexpr int textWidth = 340;
constexpr int symbolSize = 40;
constexpr int questionMargin = 20;
constexpr int spacing = 8;
constexpr int buttonHeight = 32;  ///< as in the other windows
constexpr int buttonPadding = 40; ///< at least what a style puts around a title
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

QPushButton* addButton(QDialog& dialog, QVBoxLayout& column, const std::string& title, int result) {
    const auto whole = inOneLine(title);
    auto* button = new QPushButton(&dialog);
    const auto shown =
        QFontMetrics(button->font()).elidedText(whole, Qt::ElideMiddle, textWidth - buttonPadding);
    // An ampersand would be taken for the mark of a key.
    button->setText(QString(shown).replace(QLatin1Char('&'), QStringLiteral("&&")));
    button->setMinimumHeight(buttonHeight);
    button->setAccessibleName(whole);
    if (shown != whole) {
        button->setToolTip(whole);
    }
    column.addWidget(button);
    QObject::connect(button, &QPushButton::clicked, &dialog,
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
    const CardColors colors(dialog->palette());

    auto* row = new QHBoxLayout(dialog);
    row->setContentsMargins(questionMargin, questionMargin, questionMargin, questionMargin);
    row->setSpacing(questionMargin * 3 / 4);
    row->setSizeConstraint(QLayout::SetFixedSize);
    auto* symbol = new QLabel(dialog);
    symbol->setPixmap(symbolPixmap(QStringLiteral("exclamationmark.circle"), colors.warning,
                                   symbolSize, dialog->devicePixelRatioF()));
    row->addWidget(symbol, 0, Qt::AlignTop);
    auto* column = new QVBoxLayout;
    column->setSpacing(spacing);
    row->addLayout(column);

    QFont bold = dialog->font();
    bold.setWeight(QFont::DemiBold);
    bold.setPointSizeF(bold.pointSizeF() * 1.15);
    column->addWidget(new CardText(inOneLine(question.message()), bold, colors.text, textWidth,
                                   mostMessageLines, dialog));
    column->addSpacing(2);
    column->addWidget(new CardText(inOneLine(question.text()), dialog->font(), colors.text,
                                   textWidth, mostTextLines, dialog));
    column->addSpacing(questionMargin / 2);
    addButton(*dialog, *column, question.closeButton(), closing);
    if (question.keepOffered) {
        addButton(*dialog, *column, question.keepButton(), keeping);
    }
    auto* cancel = addButton(*dialog, *column, question.cancelButton(), QDialog::Rejected);
    cancel->setDefault(true);
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
