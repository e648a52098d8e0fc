// The small card that says what was used on a day of the chart. Takes no clicks: they are meant for
// the chart under it. Owned by the chart; main thread.
#pragma once

#include "app/contents/ChartContent.h"
#include "app/look/AppPicture.h"

#include <QWidget>

namespace velmoran {

class DayNoteView final : public QWidget {
public:
    DayNoteView(const AppPicture& picture, QWidget* parent);
    /// It has the size that it needs afterwards. Its accessible description is what the apps used.
    void present(const DayNoteContent& content);

    static constexpr int mostWidth = 240;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// As large as its content wants to be.
    void fit();
    void addDevice(QWidget* into, int line, bool isCamera, const std::string& time);

    AppPicture picture_;
    QWidget* content_ = nullptr;
};

} // namespace velmoran
