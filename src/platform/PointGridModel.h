#pragma once

#include <QAbstractTableModel>
#include <QByteArray>
#include <QString>
#include <QStringView>
#include <QVarLengthArray>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace platform {

// The point list as the grid control holds it: rows of cell texts, row 0 the
// header row. Row count includes the header row; reading a cell outside the
// table gives "", writing one is ignored. With one fixed row, row 0 is shown as
// the view's header; with none it scrolls with the points like any other row.
class PointGridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    // Row texts kept compactly: each row is one run of bytes in large shared
    // blocks (see the source), found through an 8-byte reference.
    class RowStore {
    public:
        RowStore() = default;
        RowStore(RowStore&&) noexcept = default;
        RowStore& operator=(RowStore&&) noexcept = default;

        // Builds one row after the other: the cells of a row, then endRow().
        void appendCell(QStringView text);
        // A cell given as UTF-8 (valid, as QString::toUtf8 writes it).
        void appendCellUtf8(const char* text, qsizetype length);
        void endRow();
        // One row from tab-separated text, as addItem takes it.
        void addRow(QStringView tabSeparated, int cols);
        // Room for about that many bytes of rows in one block.
        void reserveBytes(std::size_t bytes);
        std::size_t rowCount() const { return refs_.size(); }
        // Row row's first count cells in UTF-8, separated by separator (a
        // cell the row lacks is empty), appended to out.
        void appendRowUtf8(std::size_t row, int count, char separator, std::string& out) const;
        // Empties the store but keeps its first block, for building rows
        // again in the same memory.
        void reuse();

    private:
        friend class PointGridModel;
        struct Ref {
            std::uint32_t block;
            std::uint32_t offset;
        };
        struct Block {
            std::unique_ptr<char[]> bytes;
            std::size_t size = 0;
            std::size_t used = 0;
        };
        static constexpr std::uint32_t kNoBlock = 0xFFFFFFFF;

        // Where a row's bytes go; may start a new block.
        char* room(std::size_t size, Ref& ref);
        Ref store(const char* bytes, std::size_t size);
        void append(RowStore&& other);
        void clear();
        std::size_t usedBytes() const;

        std::vector<Block> blocks_;
        std::vector<Ref> refs_;
        QVarLengthArray<char, 256> pending_; // the cells of the row being built
        bool pendingWide_ = false;
    };

    explicit PointGridModel(int cols = 4, QObject* parent = nullptr);

    // Grid operations.
    int rows() const { return static_cast<int>(rows_.refs_.size()); }
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
    // The same from rows already built, possibly on other threads: the parts
    // are taken in order, each row's cells as they were appended (cells past
    // the grid's columns are never read).
    void adoptPointRows(std::vector<RowStore> parts);

    // Replaces the rows from first on by the rows of the parts, in order, each
    // row whole; rows the parts have past the end of the grid are dropped.
    // The rows keep their places (the view keeps its current row and
    // scrolling): one change of data, not a reset.
    void replaceRows(int first, std::vector<RowStore> parts);

    // Appends the texts of the cells 0 to count - 1 of a row in UTF-8 to out,
    // separator between them, without a QString for each.
    void appendRowUtf8(int row, int count, char separator, std::string& out) const;

    // Qt model: grid rows from fixedRows() on are the model's rows.
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    void replaceRow(int row, const QVarLengthArray<char, 256>& encoded);
    void compactIfWasteful();

    RowStore rows_;
    std::size_t wasted_ = 0; // bytes of rows replaced or removed
    std::vector<int> colWidths_;
    int cols_;
    int fixedRows_ = 0;
    int currentRow_ = 0;
    int currentCol_ = 0;
};

} // namespace platform
