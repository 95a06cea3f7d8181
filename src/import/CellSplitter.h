#pragma once

#include <QByteArrayView>
#include <string>
#include <vector>

namespace importing {

// Cuts a line of delimited text into cells, again and again without
// allocating once its buffers have grown. The separator ' ' stands for runs
// of blanks (spaces and tabs), which also begin and end nothing; with any
// other separator every one of them ends a cell, so a line ending with one
// has an empty last cell. Blanks around a cell are dropped. A cell that
// begins with '"' runs to the closing quote, separators included, and a
// doubled quote inside is one quote; what follows the closing quote up to
// the separator is dropped. A line gives at most kMostCells cells; the rest
// of it is not read.
class CellSplitter {
public:
    static constexpr qsizetype kMostCells = 1024;

    void split(QByteArrayView line, char separator);

    qsizetype size() const { return qsizetype(cells_.size()); }
    // Valid until the next split, and as long as the line.
    QByteArrayView operator[](qsizetype index) const { return cells_[std::size_t(index)]; }

private:
    std::vector<QByteArrayView> cells_;
    std::string unquoted_; // the quoted cells' text, quotes undone
};

} // namespace importing
