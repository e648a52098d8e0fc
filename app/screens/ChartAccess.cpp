#include "app/screens/ChartAccess.h"

#include "app/contents/TotalsContent.h"
#include "app/screens/ChartPlot.h"
#include "core/text/Localizer.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>
#include <map>

namespace velmoran {

namespace {

constexpr int columns = 3;

QString headerText(int column) {
    const auto text = column == 0   ? words().text("Day")
                      : column == 1 ? deviceTitle(Device::camera)
                                    : deviceTitle(Device::microphone);
    return QString::fromStdString(text);
}

/// One cell, or the head of a column, whose line is -1.
class ChartCell final : public QAccessibleInterface, public QAccessibleTableCellInterface {
public:
    ChartCell(ChartPlot& plot, int line, int column) : plot_(&plot), line_(line), column_(column) {}

    bool isValid() const override {
        return plot_ && line_ < static_cast<int>(plot_->content().days.size());
    }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return plot_ ? plot_->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(plot_);
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    void setText(QAccessible::Text, const QString&) override {}

    QString text(QAccessible::Text kind) const override {
        if (isValid() && kind == QAccessible::Description && column_ > 0) {
            return QString::fromStdString(line_ < 0 ? words().text("Device")
                                                    : words().text("Minutes"));
        }
        if (isSelected() && column_ == 0 && kind == QAccessible::Description) {
            return plot_->note().accessibleDescription();
        }
        if (!isValid() || kind != QAccessible::Name) {
            return {};
        }
        if (line_ < 0) {
            return headerText(column_);
        }
        const auto row = plot_->content().tableRow(static_cast<std::size_t>(line_), words());
        return QString::fromStdString(column_ == 0   ? row.day
                                      : column_ == 1 ? row.camera
                                                     : row.microphone);
    }
    QRect rect() const override {
        if (!isValid()) {
            return {};
        }
        const auto& plot = plot_->places().plot();
        const auto x = line_ < 0 ? plot.x : plot_->places().xOf(static_cast<std::size_t>(line_));
        const QRectF frame(x - 4, plot.y, 8, plot.height);
        return {plot_->mapToGlobal(frame.topLeft().toPoint()), frame.size().toSize()};
    }
    QAccessible::Role role() const override {
        return line_ < 0      ? QAccessible::ColumnHeader
               : column_ == 0 ? QAccessible::RowHeader
                              : QAccessible::Cell;
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.invalid = !isValid();
        if (isValid() && line_ >= 0) {
            state.selectable = true;
            state.selected = isSelected();
            state.focusable = true;
            state.focused = isSelected() && column_ == 0 && plot_->hasFocus();
        }
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::TableCellInterface && line_ >= 0
                   ? static_cast<QAccessibleTableCellInterface*>(this)
                   : nullptr;
    }

    int columnExtent() const override { return 1; }
    int rowExtent() const override { return 1; }
    int columnIndex() const override { return column_; }
    int rowIndex() const override { return line_; }
    bool isSelected() const override {
        return plot_ && line_ >= 0 && plot_->selected() == static_cast<std::size_t>(line_);
    }
    QAccessibleInterface* table() const override { return parent(); }
    QList<QAccessibleInterface*> columnHeaderCells() const override {
        const auto* owner = parent();
        return owner ? QList<QAccessibleInterface*>{owner->child(column_)}
                     : QList<QAccessibleInterface*>();
    }
    QList<QAccessibleInterface*> rowHeaderCells() const override {
        const auto* owner = parent();
        return owner ? QList<QAccessibleInterface*>{owner->child((line_ + 1) * columns)}
                     : QList<QAccessibleInterface*>();
    }

private:
    QPointer<ChartPlot> plot_;
    int line_;
    int column_;
};

class ChartTable final : public QAccessibleWidget, public QAccessibleTableInterface {
public:
    explicit ChartTable(ChartPlot& plot) : QAccessibleWidget(&plot, QAccessible::Table) {}
    ~ChartTable() override {
        for (const auto& [index, id] : cells_) {
            QAccessible::deleteAccessibleInterface(id);
        }
    }

    // The heads of the columns, then the cells line by line, then the note while it is there.
    int childCount() const override { return cellCount() + (plot().note().isVisible() ? 1 : 0); }
    QAccessibleInterface* child(int index) const override {
        if (index < 0 || index >= childCount()) {
            return nullptr;
        }
        if (index == cellCount()) {
            return QAccessible::queryAccessibleInterface(&plot().note());
        }
        const auto found = cells_.find(index);
        if (found != cells_.end()) {
            return QAccessible::accessibleInterface(found->second);
        }
        auto* cell = new ChartCell(plot(), index / columns - 1, index % columns);
        cells_[index] = QAccessible::registerAccessibleInterface(cell);
        return cell;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        const auto* cell = dynamic_cast<const ChartCell*>(child);
        if (child && child->object() == &plot().note()) {
            return cellCount();
        }
        return cell ? (cell->rowIndex() + 1) * columns + cell->columnIndex() : -1;
    }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* focusChild() const override {
        const auto day = plot().selected();
        return day && plot().hasFocus() ? cellAt(static_cast<int>(*day), 0) : nullptr;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::TableInterface ? static_cast<QAccessibleTableInterface*>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }

    QAccessibleInterface* caption() const override { return nullptr; }
    QAccessibleInterface* summary() const override { return nullptr; }
    QAccessibleInterface* cellAt(int row, int column) const override {
        const bool isThere = row >= 0 && row < rowCount() && column >= 0 && column < columnCount();
        return isThere ? child((row + 1) * columns + column) : nullptr;
    }
    int rowCount() const override { return static_cast<int>(plot().content().days.size()); }
    int columnCount() const override { return columns; }
    QString columnDescription(int column) const override { return headerText(column); }
    QString rowDescription(int row) const override {
        const auto* cell = cellAt(row, 0);
        return cell ? cell->text(QAccessible::Name) : QString();
    }
    int selectedRowCount() const override { return plot().selected() ? 1 : 0; }
    int selectedColumnCount() const override { return 0; }
    int selectedCellCount() const override { return selectedRowCount() * columns; }
    QList<int> selectedRows() const override {
        const auto day = plot().selected();
        return day ? QList<int>{static_cast<int>(*day)} : QList<int>();
    }
    QList<int> selectedColumns() const override { return {}; }
    QList<QAccessibleInterface*> selectedCells() const override {
        QList<QAccessibleInterface*> cells;
        for (const int row : selectedRows()) {
            for (int column = 0; column < columns; ++column) {
                cells.push_back(cellAt(row, column));
            }
        }
        return cells;
    }
    bool isRowSelected(int row) const override { return selectedRows().contains(row); }
    bool isColumnSelected(int) const override { return false; }
    bool selectRow(int row) override {
        const bool isThere = row >= 0 && row < rowCount();
        if (isThere) {
            plot().select(static_cast<std::size_t>(row));
        }
        return isThere;
    }
    bool selectColumn(int) override { return false; }
    bool unselectRow(int row) override {
        const bool wasSelected = isRowSelected(row);
        if (wasSelected) {
            plot().select(std::nullopt);
        }
        return wasSelected;
    }
    bool unselectColumn(int) override { return false; }
    void modelChange(QAccessibleTableModelChangeEvent*) override {}

private:
    ChartPlot& plot() const { return *static_cast<ChartPlot*>(object()); }
    int cellCount() const { return (rowCount() + 1) * columns; }

    mutable std::map<int, QAccessible::Id> cells_;
};

QAccessibleInterface* makeChartAccess(const QString&, QObject* object) {
    auto* plot = dynamic_cast<ChartPlot*>(object);
    return plot ? new ChartTable(*plot) : nullptr;
}

} // namespace

void installChartAccess() {
    QAccessible::installFactory(makeChartAccess); // Qt leaves out one that it has
}

void tellChartChanged(ChartPlot& plot) {
    if (QAccessible::isActive()) {
        QAccessibleTableModelChangeEvent event(&plot, QAccessibleTableModelChangeEvent::ModelReset);
        QAccessible::updateAccessibility(&event);
    }
}

void tellChartSelection(ChartPlot& plot) {
    const auto* table =
        QAccessible::isActive() ? QAccessible::queryAccessibleInterface(&plot) : nullptr;
    if (auto* cell = table ? table->focusChild() : nullptr) {
        QAccessibleEvent event(cell, QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    }
}

} // namespace velmoran
