#include "app/controls/Groups.h"

#include "app/controls/Accessibility.h"
#include "app/look/CardText.h"

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>
#include <algorithm>

namespace velmoran {

namespace {

constexpr int emptySymbol = 32;
constexpr int widestSentence = 360;
constexpr int chevronSize = 12;
constexpr int headingGap = 4;

TextLabel* centered(const QString& text, TextStyle style, Ink ink, QWidget* parent) {
    auto* label = new TextLabel(text, style, ink, parent);
    label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    label->setMaximumWidth(widestSentence);
    return label;
}

} // namespace

EmptyState::EmptyState(const QString& symbol, const QString& title, const QString& sentence,
                       QWidget* parent)
    : QWidget(parent) {
    makeAccessible();
    setAccessibleName(harmlessText(title).simplified());
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(20, 20, 20, 20);
    auto* column = new QVBoxLayout;
    column->setSpacing(0);
    row->addStretch();
    row->addLayout(column, 1);
    row->addStretch();
    column->addStretch();
    column->addWidget(new SymbolLabel(symbol, emptySymbol, Ink::secondary, this), 0,
                      Qt::AlignHCenter);
    column->addSpacing(12);
    column->addWidget(centered(title, TextStyle::title3, Ink::text, this));
    column->addSpacing(4);
    column->addWidget(centered(sentence, TextStyle::body, Ink::secondary, this));
    column->addStretch();
}

Disclosure::Disclosure(const QString& title, QWidget* content, QWidget* parent)
    : QWidget(parent),
      heading_(new RowButton(this)),
      chevron_(new SymbolLabel({}, chevronSize, Ink::secondary, heading_)),
      content_(content) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(headingGap);
    auto* row = new QHBoxLayout(heading_);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(chevron_);
    auto* label = new LineLabel(title, TextStyle::body, Ink::text, heading_);
    row->addWidget(label);
    heading_->setAccessibleName(label->text());
    column->addWidget(heading_);
    column->addWidget(content_);
    content_->setVisible(false);
    showFolding();
    connect(heading_, &QAbstractButton::clicked, this, [this] { setOpen(!isOpen_); });
}

void Disclosure::setOpen(bool open) {
    if (open == isOpen_) {
        return;
    }
    isOpen_ = open;
    content_->setVisible(open);
    showFolding();
    QAccessible::State changed;
    changed.expanded = true;
    changed.collapsed = true;
    QAccessibleStateChangeEvent event(heading_, changed);
    QAccessible::updateAccessibility(&event);
    if (onFold) {
        onFold();
    }
}

void Disclosure::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LayoutDirectionChange) {
        showFolding();
    }
    QWidget::changeEvent(event);
}

void Disclosure::showFolding() {
    chevron_->setSymbol(isOpen_                                ? QStringLiteral("chevron.down")
                        : layoutDirection() == Qt::RightToLeft ? QStringLiteral("chevron.left")
                                                               : QStringLiteral("chevron.right"));
}

FormSection::FormSection(const QString& heading, QWidget* parent)
    : QWidget(parent),
      lines_(new QVBoxLayout) {
    makeAccessible();
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(headingGap);
    if (!heading.isEmpty()) {
        auto* label = new TextLabel(heading, TextStyle::headline, Ink::text, this);
        setAccessibleName(label->text().simplified());
        column->addWidget(label);
    }
    lines_->setSpacing(0);
    column->addLayout(lines_);
}

void FormSection::add(QWidget* line) {
    if (lines_->count() > 0) {
        lines_->addWidget(new Hairline(this));
    }
    lines_->addWidget(line);
}

void FormSection::setLines(const std::vector<Line>& lines) {
    while (auto* item = lines_->takeAt(0)) {
        auto* widget = item->widget();
        delete item;
        if (dynamic_cast<Hairline*>(widget)) {
            delete widget;
        } else if (std::ranges::find(lines, widget, &Line::widget) == lines.end()) {
            widget->hide();
        }
    }
    QWidget* last = this;
    for (const auto& line : lines) {
        if (line.hasHairline && lines_->count() > 0) {
            lines_->addWidget(new Hairline(this));
        }
        lines_->addWidget(line.widget);
        line.widget->show();
        for (auto* each : line.widget->findChildren<QWidget*>()) {
            if (each->focusPolicy() & Qt::TabFocus) {
                setTabOrder(last, each);
                last = each;
            }
        }
    }
}

} // namespace velmoran
