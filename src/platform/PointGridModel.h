#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <QStringView>
#include <vector>

namespace platform {

// The point list as the grid control holds it: rows of cell texts, row 0 the
// header row. Row count includes the header row; reading a cell outside the
// table gives "", writing one is ignored. With one fixed row, row 0 is shown as
// the view's header; with none it scrolls with the points like any other row.
class PointGridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit PointGridModel(int cols = 4, QObject* parent = nullptr);

    // Grid operations.
    int rows() const { return static_cast<int>(rows_.size()); }
    void setRows(int count); // 1 keeps only the header row; new rows are empty
    int cols() const { return cols_; }
    int fixedRows() const { return fixedRows_; }
    void setFixedRows(int count); // 0 or 1
    int row() const { return currentRow_; }
    void setRow(int row);
    int col() const { return currentCol_; }
    void setCol(int col);
    QString textMatrix(int row, int col) const;
    void setTextMatrix(int row, int col, const QString& text);
    // Adds a row at the end from tab-separated text (missing cells empty,
    // extra cells ignored).
    void addItem(QStringView tabSeparated);
    // Removes one row (out of range: ignored).
    void removeItem(int row);
    int colWidth(int col) const; // twips
    void setColWidth(int col, int twips);

    // Bulk rebuild: keeps the header row and replaces every other row by
    // the given tab-separated row texts, with one model reset.
    void replacePointRows(std::vector<QString> tabSeparatedRows);

    // Qt model: grid rows from fixedRows() on are the model's rows.
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    // Each row is kept as one text, every cell prefixed by its length (see the
    // source): compact for a million rows, and any cell text survives.
    std::vector<QString> rows_;
    std::vector<int> colWidths_;
    int cols_;
    int fixedRows_ = 0;
    int currentRow_ = 0;
    int currentCol_ = 0;
};

} // namespace platform
