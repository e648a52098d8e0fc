// Reports of the away watch as one list of lines, which may be read and walked but not pressed.
// However long a report is, only what is seen of it is drawn. Owned by its parent; main thread.
#pragma once

#include "app/contents/AwayReportContent.h"
#include "app/screens/ItemList.h"

#include <QFont>
#include <QWidget>
#include <string>
#include <unordered_map>
#include <vector>

namespace velmoran {

class AwayReportLines final : public QWidget, private ItemSource {
public:
    AwayReportLines(const QString& accessibleName, QWidget* parent);

    struct Entry {
        std::string day; ///< above the report; empty for none
        AwayReportContent content;

        bool operator==(const Entry&) const = default;
    };

    /// One under the other. The chosen line and the place stay, as far as they are still there.
    void setEntries(std::vector<Entry> entries);
    const std::vector<Entry>& entries() const { return entries_; }
    /// What all lines take at that width; where that is more than `enough`, anything above it.
    int heightFor(int width, int enough) const;
    ItemList& list() { return *list_; }

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum class Kind { day, heading, when, row, devices, note };

    struct Line {
        Kind kind = Kind::row;
        std::size_t entry = 0;
        std::size_t part = 0; ///< which row or note
        int above = 0;        ///< room that belongs to the line
        int below = 0;
    };

    /// A row's words as they are drawn. Most are the same in many rows.
    struct Title {
        QString text;
        double width = 0; ///< on one line
        /// Wrapped: with the bar, and without it.
        struct Laid {
            int width = -1;
            int height = 0;
        };
        Laid last = {};
        Laid lastBut = {};
    };

    void paint(QPainter& painter, int index, const Look& look) const override;
    QString name(int index) const override;
    QString help(int, const QRect&, QPoint) const override { return {}; }
    void press(int, const QRect&, std::optional<QPoint>) override {}
    bool isPressable() const override { return false; }
    void widthChanged() override;

    void measure();
    void makeLines();
    void chooseBar();
    std::vector<int> heights(int width) const;
    int heightOf(const Line& line, int width) const;
    int textHeight(const Line& line, int width) const;
    int titleWidth(const AwayReportContent::Row& row, int width) const;
    Title& titleOf(const AwayReportContent::Row& row) const;
    void paintRow(QPainter& painter, const AwayReportContent::Row& row, const QRect& frame) const;
    std::string text(const Line& line) const;
    QFont fontOf(Kind kind) const;
    const AwayReportContent& contentOf(const Line& line) const {
        return entries_[line.entry].content;
    }
    const AwayReportContent::Row& rowOf(const Line& line) const {
        return contentOf(line).rows[line.part];
    }
    static bool isHeading(const Line& line) {
        return line.kind == Kind::day || line.kind == Kind::heading;
    }

    /// By which a line is found again among others.
    struct Key {
        Kind kind = Kind::row;
        Uuid report;
        Uuid event; ///< of a row
        std::size_t part = 0;

        bool operator==(const Key&) const = default;
    };
    Key keyOf(const Line& line) const;
    std::optional<Key> keyAt(std::optional<int> index) const;
    std::optional<int> indexOf(const std::optional<Key>& key) const;

    std::vector<Entry> entries_;
    std::vector<Line> lines_;
    std::vector<int> headings_;
    QFont body_;
    QFont digits_;
    QFont caption_;
    int timeWidth_ = 48;
    double tagWidth_ = 0; ///< of its words
    mutable std::unordered_map<std::string, Title> titles_;
    ItemList* list_ = nullptr;
};

} // namespace velmoran
