// What the window of a report of 10,000 events costs: up to its first frame, and a page further
// down. Beside it, in the same run, Qt's own list with the same rows, ready-made and all of one
// height.
#include "app/screens/AwayReportView.h"
#include "benchmarks/Frames.h"

#include <QApplication>
#include <QListView>
#include <QScrollBar>
#include <QStringListModel>
#include <algorithm>
#include <fmt/format.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace velmoran;

constexpr int events = 10'000;
constexpr int rounds = 15;

/// Every second event is one of those that come again and again, the others have words of their
/// own.
AwayReport reportOfMany() {
    AwayReport report;
    report.id = Uuid::random();
    report.start = {800'000'000};
    report.end = report.start + events;
    for (int index = 0; index < events; ++index) {
        AwayEvent event;
        event.id = Uuid::random();
        event.time = report.start + index;
        if (index % 2 == 0) {
            event.kind = index % 4 == 0 ? AwayEventKind::keyboardUsed : AwayEventKind::mouseUsed;
        } else if (index % 4 == 1) {
            event.kind = AwayEventKind::lidMoved;
            event.detail = fmt::format("{} {}", index % 361, index * 7 % 361);
        } else {
            event.kind = AwayEventKind::devicePluggedIn;
            event.detail = fmt::format("A stick with a long name, number {}", index);
        }
        report.events.push_back(std::move(event));
    }
    return report;
}

struct Times {
    std::vector<double> opening;
    std::vector<double> page;

    void print(const char* name) {
        const auto middleAndWorst = [](std::vector<double>& all) {
            std::sort(all.begin(), all.end());
            return fmt::format("{:9.2f} {:9.2f}", all[all.size() / 2], all.back());
        };
        fmt::print("{:>16} {} {}\n", name, middleAndWorst(opening), middleAndWorst(page));
    }
};

void open(QWidget& window, QAbstractScrollArea& list) {
    const Painted frame(list.viewport());
    window.show();
    frame.wait();
}

/// Page after page to the end, each up to its frame.
void scroll(QAbstractScrollArea& list, Times& times) {
    auto* bar = list.verticalScrollBar();
    int pages = 0;
    while (bar->value() < bar->maximum()) {
        times.page.push_back(milliseconds([&] {
            bar->setValue(bar->value() + bar->pageStep());
            list.viewport()->repaint();
        }));
        ++pages;
    }
    if (pages < 100) {
        throw std::runtime_error("there was little to scroll");
    }
}

} // namespace

int main(int argc, char** argv) {
    const QApplication app(argc, argv);
    const auto report = reportOfMany();
    QStringList texts;
    for (const auto& row : AwayReportContent::of(report).rows) {
        texts.push_back(QString::fromStdString(rowText(row).spoken()));
    }
    Times ours;
    Times theirs;
    for (int round = 0; round < rounds; ++round) {
        std::unique_ptr<AwayReportView> view;
        ours.opening.push_back(milliseconds([&] {
            view = std::make_unique<AwayReportView>(
                report, [] {}, [] {});
            view->resize(view->sizeHint());
            open(*view, view->lines().list());
        }));
        scroll(view->lines().list(), ours);
        const auto size = view->size();
        view.reset();

        QStringListModel model;
        std::unique_ptr<QListView> list;
        theirs.opening.push_back(milliseconds([&] {
            model.setStringList(texts);
            list = std::make_unique<QListView>();
            list->setUniformItemSizes(true);
            list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
            list->setModel(&model);
            list->resize(size);
            open(*list, *list);
        }));
        scroll(*list, theirs);
    }
    fmt::print("{:>16} {:>19} {:>19}\n{:>16} {:>9} {:>9} {:>9} {:>9}\n", "milliseconds",
               "first frame", "a page further", "", "median", "worst", "median", "worst");
    ours.print("ours");
    theirs.print("QListView");
    return 0;
}
