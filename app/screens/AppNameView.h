// An app's name, and for a part of the operating system a button that explains it, as a click on
// the name does. Main thread.
#pragma once

#include "app/contents/DetailsContent.h"
#include "app/controls/Buttons.h"

#include <QPointer>
#include <optional>

namespace velmoran {

class AppNameView final : public QWidget {
public:
    explicit AppNameView(QWidget* parent, TextStyle style = TextStyle::title3);
    /// `process` only for an app that is known to be a part of the system.
    void present(const AppIdentity& app, const std::optional<SystemProcessContent>& process);
    bool showsNote() const;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool isOnName(const QMouseEvent& event) const;
    void toggleNote();

    LineLabel* name_;
    SymbolButton* info_;
    QPointer<QWidget> note_;
    std::optional<SystemProcessContent> process_;
};

} // namespace velmoran
