#pragma once

#include "import/Importer.h"

#include <QStringList>
#include <vector>

// What the import window shows and lets the user change, without the window:
// the layout found in the file, the user's corrections (each finds the rest
// of the layout again), the first lines cut as the layout says, and the
// count of the whole file.
class ImportPreview {
public:
    // Lines shown in the window's table.
    static constexpr int shownLines = 50;

    explicit ImportPreview(importing::ImportText text);

    const importing::ImportText& text() const { return text_; }
    const importing::TextLayout& layout() const { return layout_; }
    // The first lines of the file (skipped and header lines included), cut
    // into cells.
    const std::vector<QStringList>& rows() const { return rows_; }
    // The columns the table needs: the widest of the lines shown, and at
    // least one per role.
    int columnCount() const;
    // Whether the line (0-based) comes before the data: skipped or a header.
    bool isSkipped(int line) const { return line < layout_.skipLines; }

    // A new separator cuts the lines again, so the roles are found again.
    void setSeparator(QChar separator);
    // Everything else is kept as shown.
    void setDecimal(QChar decimal);
    void setSkipLines(int lines);
    // A role given to a column is taken from any other column that had it
    // (a file has one X); "ignorée" may stand on any number of columns.
    void setRole(int column, importing::ColumnRole role);
    importing::ColumnRole role(int column) const;

    // Every data row of the file read as the layout says, no point kept:
    // how many give a point, which do not (the first keepRejected).
    importing::ImportReport count(std::size_t keepRejected) const;
    // The layout as the importer's options, so that reading the file gives
    // exactly what the window showed.
    importing::ImportOptions options() const;

private:
    void findLayout();

    importing::ImportText text_;
    importing::ImportOptions chosen_;
    importing::TextLayout layout_;
    std::vector<QStringList> rows_;
};
