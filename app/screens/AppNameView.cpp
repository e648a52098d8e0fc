#include "app/screens/AppNameView.h"

#include "app/controls/Groups.h"
#include "app/screens/ScreenText.h"
#include "app/screens/SystemProcessNote.h"

#include <QHBoxLayout>
#include <QMouseEvent>

namespace velmoran {

namespace {

constexpr int infoSymbol = 16;
constexpr int infoButton = 24;

} // namespace

AppNameView::AppNameView(QWidget* parent, TextStyle style)
    : QWidget(parent),
      name_(new LineLabel({}, style, Ink::text, this, false)),
      info_(new SymbolButton(QStringLiteral("info.circle"), infoSymbol, infoButton, this)) {
    setObjectName(QStringLiteral("appName"));
    info_->setObjectName(QStringLiteral("explain"));
    info_->setInk(Ink::secondary);
    info_->hide();
    QObject::connect(info_, &QAbstractButton::clicked, this, [this] { toggleNote(); });
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(4);
    line->addWidget(name_);
    line->addWidget(info_);
    line->addStretch();
}

void AppNameView::present(const AppIdentity& app,
                          const std::optional<SystemProcessContent>& process) {
    if (name_->text() != qt(app.name)) {
        name_->setPlain(qt(app.name));
    }
    if (process_ == process) {
        return;
    }
    process_ = process;
    if (note_) {
        note_->close(); // it would explain something else
    }
    info_->setVisible(process.has_value());
    name_->setCursor(process ? Qt::PointingHandCursor : Qt::ArrowCursor);
    if (process) {
        info_->setWords(qt(process->help), qt(process->help));
    }
}

bool AppNameView::showsNote() const {
    return note_ && note_->isVisible();
}

void AppNameView::mousePressEvent(QMouseEvent* event) {
    event->setAccepted(isOnName(*event));
}

void AppNameView::mouseReleaseEvent(QMouseEvent* event) {
    event->setAccepted(isOnName(*event));
    if (event->isAccepted()) {
        toggleNote();
    }
}

bool AppNameView::isOnName(const QMouseEvent& event) const {
    return process_ && event.button() == Qt::LeftButton &&
           name_->geometry().contains(event.position().toPoint());
}

void AppNameView::toggleNote() {
    if (showsNote()) {
        note_->close();
    } else if (process_) {
        note_ = showNote(info_, new SystemProcessNote(*process_));
        // The click on the button that takes it away isn't one that brings it back.
        note_->setAttribute(Qt::WA_NoMouseReplay);
    }
}

} // namespace velmoran
