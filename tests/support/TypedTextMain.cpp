// Another program's window on a desktop: writes what is typed into it, and "!" for each click on
// it. With the argument "full-screen" it is as large as the screen.
#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QWidget>
#include <cstdio>

namespace {

class Window final : public QWidget {
protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (!event->isAutoRepeat()) {
            std::fputs(event->text().toUtf8().constData(), stdout);
            std::fflush(stdout);
        }
    }
    void mousePressEvent(QMouseEvent*) override {
        std::fputs("!", stdout);
        std::fflush(stdout);
    }
    void changeEvent(QEvent* event) override {
        if (event->type() == QEvent::ActivationChange && isActiveWindow() && !isReady_) {
            isReady_ = true;
            std::puts("ready");
            std::fflush(stdout);
        }
    }

private:
    bool isReady_ = false;
};

} // namespace

int main(int argc, char** argv) {
    const QApplication app(argc, argv);
    Window window;
    window.setWindowTitle(QStringLiteral("editor"));
    window.resize(400, 300);
    window.setPalette(QColor(0, 64, 0)); // nothing else on a desktop has that colour
    if (argc > 1) {
        window.showFullScreen();
    } else {
        window.show();
    }
    return QApplication::exec();
}
