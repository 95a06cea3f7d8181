#include "platform/PointGridModel.h"

#include <algorithm>

namespace platform {

namespace {

// Row encoding: each cell is its length followed by its text. A length below
// 0xFFFF is one unit; a longer one is 0xFFFF then the length in two units. A
// row may hold fewer cells than the grid has columns: the rest are empty, so
// an empty row costs no allocation.
constexpr char16_t kLongCell = 0xFFFF;

void appendCell(QString& row, QStringView text) {
    const qsizetype length = text.size();
    if (length < kLongCell) {
        row.append(QChar(char16_t(length)));
    } else {
        row.append(QChar(kLongCell));
        row.append(QChar(char16_t(quint32(length) >> 16)));
        row.append(QChar(char16_t(quint32(length) & 0xFFFF)));
    }
    row.append(text);
}

// Reads the cell header at pos: returns false at the end of the row.
bool cellAt(const QString& row, qsizetype& pos, qsizetype& start, qsizetype& length) {
    if (pos >= row.size())
        return false;
    const char16_t head = row.at(pos).unicode();
    if (head == kLongCell) {
        length = (qsizetype(row.at(pos + 1).unicode()) << 16) | row.at(pos + 2).unicode();
        start = pos + 3;
    } else {
        length = head;
        start = pos + 1;
    }
    pos = start + length;
    return true;
}

QString encodeTabSeparated(QStringView tabSeparated, int cols) {
    QString row;
    if (tabSeparated.isEmpty() || cols <= 0)
        return row;
    row.reserve(tabSeparated.size() + cols);
    qsizetype from = 0;
    for (int c = 0; c < cols; ++c) {
        const qsizetype tab = tabSeparated.indexOf(u'\t', from);
        const qsizetype end = tab < 0 ? tabSeparated.size() : tab;
        appendCell(row, tabSeparated.mid(from, end - from));
        if (tab < 0)
            break;
        from = tab + 1;
    }
    return row;
}

constexpr int kDefaultColWidth = 1000; // twips

} // namespace

PointGridModel::PointGridModel(int cols, QObject* parent)
    : QAbstractTableModel(parent), rows_(1), colWidths_(std::max(cols, 0), kDefaultColWidth),
      cols_(std::max(cols, 0)) {}

void PointGridModel::setRows(int count) {
    count = std::max(count, fixedRows_);
    const int current = rows();
    if (count > current) {
        beginInsertRows(QModelIndex(), current - fixedRows_, count - 1 - fixedRows_);
        rows_.resize(count);
        endInsertRows();
    } else if (count < current) {
        beginRemoveRows(QModelIndex(), count - fixedRows_, current - 1 - fixedRows_);
        rows_.resize(count);
        rows_.shrink_to_fit();
        endRemoveRows();
        currentRow_ = std::clamp(currentRow_, 0, std::max(count - 1, 0));
    }
}

void PointGridModel::setFixedRows(int count) {
    count = std::clamp(count, 0, 1);
    if (count == fixedRows_)
        return;
    // Row 0 moves between the header and the rows: the view must start over.
    beginResetModel();
    fixedRows_ = count;
    if (rows_.empty())
        rows_.resize(1);
    endResetModel();
}

void PointGridModel::setRow(int row) {
    if (row >= 0 && row < rows())
        currentRow_ = row;
}

void PointGridModel::setCol(int col) {
    if (col >= 0 && col < cols_)
        currentCol_ = col;
}

QString PointGridModel::textMatrix(int row, int col) const {
    if (row < 0 || row >= rows() || col < 0 || col >= cols_)
        return QString();
    const QString& encoded = rows_[row];
    qsizetype pos = 0, start = 0, length = 0;
    for (int c = 0; cellAt(encoded, pos, start, length); ++c) {
        if (c == col)
            return encoded.mid(start, length);
    }
    return QString();
}

void PointGridModel::setTextMatrix(int row, int col, const QString& text) {
    if (row < 0 || row >= rows() || col < 0 || col >= cols_)
        return;
    QString& encoded = rows_[row];
    qsizetype pos = 0, start = 0, length = 0;
    int c = 0;
    qsizetype cellPos = 0;
    for (; c <= col; ++c) {
        cellPos = pos;
        if (!cellAt(encoded, pos, start, length))
            break;
    }
    if (c <= col) {
        // The row holds fewer cells: pad with empty ones up to this column.
        for (; c < col; ++c)
            encoded.append(QChar(u'\0'));
        appendCell(encoded, text);
    } else {
        QString cell;
        appendCell(cell, text);
        encoded.replace(cellPos, pos - cellPos, cell);
    }

    if (row >= fixedRows_) {
        const QModelIndex changed = index(row - fixedRows_, col);
        emit dataChanged(changed, changed, {Qt::DisplayRole});
    } else {
        emit headerDataChanged(Qt::Horizontal, col, col);
    }
}

void PointGridModel::addItem(QStringView tabSeparated) {
    const int row = rows();
    beginInsertRows(QModelIndex(), row - fixedRows_, row - fixedRows_);
    rows_.push_back(encodeTabSeparated(tabSeparated, cols_));
    endInsertRows();
}

void PointGridModel::removeItem(int row) {
    // The fixed header row is not an item of the list.
    if (row < fixedRows_ || row >= rows())
        return;
    beginRemoveRows(QModelIndex(), row - fixedRows_, row - fixedRows_);
    rows_.erase(rows_.begin() + row);
    endRemoveRows();
    currentRow_ = std::clamp(currentRow_, 0, std::max(rows() - 1, 0));
}

int PointGridModel::colWidth(int col) const {
    if (col < 0 || col >= cols_)
        return 0;
    return colWidths_[col];
}

void PointGridModel::setColWidth(int col, int twips) {
    if (col < 0 || col >= cols_)
        return;
    colWidths_[col] = twips;
}

void PointGridModel::replacePointRows(std::vector<QString> tabSeparatedRows) {
    std::vector<QString> rebuilt;
    rebuilt.reserve(tabSeparatedRows.size() + 1);
    rebuilt.push_back(rows_.empty() ? QString() : rows_.front());
    for (QString& text : tabSeparatedRows) {
        rebuilt.push_back(encodeTabSeparated(text, cols_));
        text = QString(); // frees the source as it goes: a million rows
    }
    beginResetModel();
    rows_.swap(rebuilt);
    currentRow_ = std::clamp(currentRow_, 0, rows() - 1);
    endResetModel();
}

int PointGridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : rows() - fixedRows_;
}

int PointGridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : cols_;
}

QVariant PointGridModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !checkIndex(index, CheckIndexOption::IndexIsValid))
        return QVariant();
    return textMatrix(index.row() + fixedRows_, index.column());
}

QVariant PointGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole)
        return QVariant();
    // Only the fixed row is shown as a header; row numbers are not shown.
    if (orientation == Qt::Horizontal && fixedRows_ == 1)
        return textMatrix(0, section);
    return QString();
}

} // namespace platform
