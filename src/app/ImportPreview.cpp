#include "app/ImportPreview.h"

#include "state/GestionDonnee.h"

#include <algorithm>

using importing::ColumnRole;

ImportPreview::ImportPreview(importing::ImportText text) : text_(std::move(text)) {
    findLayout();
}

void ImportPreview::findLayout() {
    layout_ = importing::DetectLayout(text_, chosen_);
    rows_ = importing::SplitRows(text_, layout_, 0, shownLines);
}

int ImportPreview::columnCount() const {
    qsizetype columns = qsizetype(layout_.roles.size());
    for (const QStringList& row : rows_)
        columns = std::max(columns, row.size());
    return int(columns);
}

void ImportPreview::setSeparator(QChar separator) {
    chosen_.separator = separator;
    chosen_.columns.reset();
    findLayout();
}

void ImportPreview::setDecimal(QChar decimal) {
    // Only the decimal mark changes: the separator, the lines skipped and
    // the roles shown stay (read with another mark, the lines would suggest
    // others).
    chosen_.decimal = decimal;
    chosen_.separator = layout_.separator;
    chosen_.skipLines = layout_.skipLines;
    chosen_.columns = layout_.roles;
    findLayout();
}

void ImportPreview::setSkipLines(int lines) {
    // The cut of the lines stays; the roles are found again from the lines
    // now first (a header the user skipped to), unless the user chose them.
    chosen_.skipLines = std::max(0, lines);
    chosen_.separator = layout_.separator;
    chosen_.decimal = layout_.decimal;
    findLayout();
}

ColumnRole ImportPreview::role(int column) const {
    return column >= 0 && std::size_t(column) < layout_.roles.size()
               ? layout_.roles[std::size_t(column)]
               : ColumnRole::Skip;
}

void ImportPreview::setRole(int column, ColumnRole role) {
    if (column < 0)
        return;
    std::vector<ColumnRole> roles = layout_.roles;
    roles.resize(std::max(roles.size(), std::size_t(std::max(column + 1, columnCount()))),
                 ColumnRole::Skip);
    if (role != ColumnRole::Skip)
        std::replace(roles.begin(), roles.end(), role, ColumnRole::Skip);
    roles[std::size_t(column)] = role;
    chosen_.columns = std::move(roles);
    // The lines skipped stay as they are shown; only the columns change.
    chosen_.skipLines = layout_.skipLines;
    findLayout();
}

importing::ImportReport ImportPreview::count(std::size_t keepRejected) const {
    return importing::ReadRows(
        text_, layout_, [](PointRecord&&) {}, keepRejected);
}

importing::ImportOptions ImportPreview::options() const {
    importing::ImportOptions options;
    options.columns = layout_.roles;
    options.skipLines = layout_.skipLines;
    options.separator = layout_.separator;
    options.decimal = layout_.decimal;
    return options;
}
