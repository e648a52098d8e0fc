#include "app/screens/SystemProcessNote.h"

#include "app/controls/Labels.h"
#include "app/screens/ScreenText.h"

#include <QVBoxLayout>

namespace velmoran {

namespace {

constexpr int noteWidth = 280;

} // namespace

SystemProcessNote::SystemProcessNote(const SystemProcessContent& content, QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("systemProcessNote"));
    setAccessibleName(qt(content.heading));
    setAccessibleDescription(qt(content.explanation) + ' ' + qt(content.assurance));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    const auto add = [&](QWidget* text) {
        text->setFixedWidth(noteWidth);
        column->addWidget(text);
    };
    add(new LineLabel(qt(content.heading), TextStyle::headline, Ink::text, this));
    add(new TextLabel(qt(content.explanation), TextStyle::body, Ink::text, this));
    add(new TextLabel(qt(content.assurance), TextStyle::caption, Ink::secondary, this));
}

} // namespace velmoran
