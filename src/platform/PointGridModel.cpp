#include "platform/PointGridModel.h"

#include "platform/LargeMemory.h"

#include <algorithm>
#include <cstring>

namespace platform {

namespace {

// Row encoding. A row is a header, the count of bytes of its cells times two
// plus one for a wide row, then its cells, each its length followed by its
// text; numbers are written 7 bits to a byte, low bits first. Cells are UTF-8
// (length in bytes), so a row of a million-point list costs about its
// characters; a row holding a text that UTF-8 cannot carry (a lone surrogate)
// is wide instead: UTF-16 units (length in units), so any cell text survives.
// A row may hold fewer cells than the grid has columns: the rest are empty,
// and an empty row has no bytes at all.

using Bytes = QVarLengthArray<char, 256>;

void appendNumber(Bytes& out, std::size_t value) {
    while (value >= 0x80) {
        out.push_back(static_cast<char>((value & 0x7F) | 0x80));
        value >>= 7;
    }
    out.push_back(static_cast<char>(value));
}

std::size_t numberSize(std::size_t value) {
    std::size_t size = 1;
    for (; value >= 0x80; value >>= 7)
        ++size;
    return size;
}

std::size_t readNumber(const char*& p) {
    std::size_t value = 0;
    int shift = 0;
    for (;;) {
        const auto byte = static_cast<unsigned char>(*p++);
        value |= std::size_t(byte & 0x7F) << shift;
        if (byte < 0x80)
            return value;
        shift += 7;
    }
}

// Appends text as a UTF-8 cell; false (and nothing appended) when the text
// holds a surrogate that is not part of a pair.
bool appendUtf8Cell(Bytes& out, QStringView text) {
    const char16_t* s = text.utf16();
    const qsizetype n = text.size();
    const qsizetype start = out.size();
    // The length is not known before the text is encoded: leave the room a
    // length of the worst case needs, then move the text back if it was less.
    const std::size_t worst = std::size_t(n) * 3;
    const std::size_t lengthRoom = numberSize(worst);
    out.resize(start + qsizetype(lengthRoom + worst));
    char* begin = out.data() + start + lengthRoom;
    char* p = begin;
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = s[i];
        if (c < 0x80) {
            *p++ = static_cast<char>(c);
        } else if (c < 0x800) {
            *p++ = static_cast<char>(0xC0 | (c >> 6));
            *p++ = static_cast<char>(0x80 | (c & 0x3F));
        } else if (QChar::isSurrogate(c)) {
            if (!QChar::isHighSurrogate(c) || i + 1 == n || !QChar::isLowSurrogate(s[i + 1])) {
                out.resize(start);
                return false;
            }
            const char32_t code = QChar::surrogateToUcs4(c, s[++i]);
            *p++ = static_cast<char>(0xF0 | (code >> 18));
            *p++ = static_cast<char>(0x80 | ((code >> 12) & 0x3F));
            *p++ = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            *p++ = static_cast<char>(0x80 | (code & 0x3F));
        } else {
            *p++ = static_cast<char>(0xE0 | (c >> 12));
            *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            *p++ = static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    const std::size_t length = std::size_t(p - begin);
    const std::size_t lengthSize = numberSize(length);
    if (lengthSize != lengthRoom)
        std::memmove(out.data() + start + lengthSize, begin, length);
    char* at = out.data() + start;
    for (std::size_t value = length; value >= 0x80; value >>= 7)
        *at++ = static_cast<char>((value & 0x7F) | 0x80);
    *at = static_cast<char>(length >> (7 * (lengthSize - 1)));
    out.resize(start + qsizetype(lengthSize + length));
    return true;
}

void appendWideCell(Bytes& out, QStringView text) {
    appendNumber(out, std::size_t(text.size()));
    const qsizetype start = out.size();
    out.resize(start + text.size() * 2);
    if (!text.isEmpty())
        std::memcpy(out.data() + start, text.utf16(), std::size_t(text.size()) * 2);
}

// One row's cells, read in order.
class CellReader {
public:
    CellReader(const char* payload, std::size_t size, bool wide)
        : p_(payload), end_(payload + size), wide_(wide) {}

    bool next(const char*& text, std::size_t& length) {
        if (p_ >= end_)
            return false;
        length = readNumber(p_);
        text = p_;
        p_ += wide_ ? length * 2 : length;
        return true;
    }
    // Where the next cell starts.
    const char* position() const { return p_; }

private:
    const char* p_;
    const char* end_;
    bool wide_;
};

QString cellText(const char* text, std::size_t length, bool wide) {
    if (length == 0)
        return QString(reinterpret_cast<const QChar*>(u""), 0); // empty, not null
    if (!wide)
        return QString::fromUtf8(text, qsizetype(length));
    QString result(qsizetype(length), Qt::Uninitialized);
    std::memcpy(result.data(), text, length * 2);
    return result;
}

// The cells of a UTF-8 row made wide, when a text it must take is not UTF-8.
Bytes widened(const char* payload, std::size_t size) {
    Bytes wide;
    CellReader cells(payload, size, false);
    const char* text;
    std::size_t length;
    while (cells.next(text, length))
        appendWideCell(wide, QString::fromUtf8(text, qsizetype(length)));
    return wide;
}

// A whole row: header and cells.
Bytes encodedRow(const Bytes& cells, bool wide) {
    Bytes row;
    if (cells.empty() && !wide)
        return row;
    appendNumber(row, std::size_t(cells.size()) * 2 + (wide ? 1 : 0));
    row.append(cells.constData(), cells.size());
    return row;
}

constexpr std::size_t kFirstBlockSize = 4096;
constexpr std::size_t kLargestBlockSize = 8 << 20;
// Replaced rows are left where they were until they outweigh the live ones.
constexpr std::size_t kWasteAllowed = 4 << 20;

constexpr int kDefaultColWidth = 1000; // twips

} // namespace

// ---------------------------------------------------------------------------
// Row store

char* PointGridModel::RowStore::room(std::size_t size, Ref& ref) {
    if (blocks_.empty() || blocks_.back().size - blocks_.back().used < size) {
        // Blocks grow up to a size where one more costs nothing noticeable;
        // a larger row gets a block of its own.
        const std::size_t previous = blocks_.empty() ? 0 : blocks_.back().size;
        const std::size_t next =
            std::clamp(previous * 2, kFirstBlockSize, std::max(kLargestBlockSize, previous));
        Block block;
        block.size = std::max(size, next);
        block.bytes.reset(new char[block.size]);
        AdviseLargeBuffer(block.bytes.get(), block.size);
        blocks_.push_back(std::move(block));
    }
    Block& block = blocks_.back();
    ref.block = static_cast<std::uint32_t>(blocks_.size() - 1);
    ref.offset = static_cast<std::uint32_t>(block.used);
    char* at = block.bytes.get() + block.used;
    block.used += size;
    return at;
}

PointGridModel::RowStore::Ref PointGridModel::RowStore::store(const char* bytes, std::size_t size) {
    Ref ref{kNoBlock, 0};
    if (size == 0)
        return ref;
    std::memcpy(room(size, ref), bytes, size);
    return ref;
}

void PointGridModel::RowStore::reserveBytes(std::size_t bytes) {
    if (!blocks_.empty() || bytes <= kFirstBlockSize)
        return;
    Block block;
    block.size = bytes;
    block.bytes.reset(new char[block.size]);
    AdviseLargeBuffer(block.bytes.get(), block.size);
    blocks_.push_back(std::move(block));
}

void PointGridModel::RowStore::appendCell(QStringView text) {
    if (!pendingWide_ && appendUtf8Cell(pending_, text))
        return;
    if (!pendingWide_) {
        pending_ = widened(pending_.data(), pending_.size());
        pendingWide_ = true;
    }
    appendWideCell(pending_, text);
}

void PointGridModel::RowStore::appendCellUtf8(const char* text, qsizetype length) {
    if (pendingWide_) {
        appendCell(QString::fromUtf8(text, length));
        return;
    }
    appendNumber(pending_, std::size_t(length));
    pending_.append(text, length);
}

void PointGridModel::RowStore::endRow() {
    Ref ref{kNoBlock, 0};
    if (!pending_.empty() || pendingWide_) {
        const std::size_t size = std::size_t(pending_.size());
        const std::size_t header = size * 2 + (pendingWide_ ? 1 : 0);
        char* at = room(numberSize(header) + size, ref);
        for (std::size_t value = header; value >= 0x80; value >>= 7)
            *at++ = static_cast<char>((value & 0x7F) | 0x80);
        *at++ = static_cast<char>(header >> (7 * (numberSize(header) - 1)));
        std::memcpy(at, pending_.data(), size);
    }
    refs_.push_back(ref);
    pending_.clear();
    pendingWide_ = false;
}

void PointGridModel::RowStore::addRow(QStringView tabSeparated, int cols) {
    if (!tabSeparated.isEmpty() && cols > 0) {
        const char16_t* text = tabSeparated.utf16();
        const qsizetype n = tabSeparated.size();
        qsizetype from = 0;
        for (int c = 0; c < cols; ++c) {
            qsizetype end = from;
            while (end < n && text[end] != u'\t')
                ++end;
            appendCell(tabSeparated.sliced(from, end - from));
            if (end == n)
                break;
            from = end + 1;
        }
    }
    endRow();
}

void PointGridModel::RowStore::append(RowStore&& other) {
    const auto shift = static_cast<std::uint32_t>(blocks_.size());
    for (Block& block : other.blocks_)
        blocks_.push_back(std::move(block));
    refs_.reserve(refs_.size() + other.refs_.size());
    for (Ref ref : other.refs_) {
        if (ref.block != kNoBlock)
            ref.block += shift;
        refs_.push_back(ref);
    }
    other.clear();
}

void PointGridModel::RowStore::clear() {
    blocks_.clear();
    refs_.clear();
    refs_.shrink_to_fit();
    pending_.clear();
    pendingWide_ = false;
}

std::size_t PointGridModel::RowStore::usedBytes() const {
    std::size_t used = 0;
    for (const Block& block : blocks_)
        used += block.used;
    return used;
}

namespace {

struct RowView {
    const char* start = nullptr; // the header
    const char* payload = nullptr;
    std::size_t size = 0;  // of the cells
    std::size_t total = 0; // header included
    bool wide = false;
};

} // namespace

// ---------------------------------------------------------------------------

PointGridModel::PointGridModel(int cols, QObject* parent)
    : QAbstractTableModel(parent), colWidths_(std::max(cols, 0), kDefaultColWidth),
      cols_(std::max(cols, 0)) {
    rows_.refs_.push_back({RowStore::kNoBlock, 0});
}

namespace {

RowView viewOf(const char* start) {
    RowView view;
    if (start == nullptr)
        return view;
    const char* p = start;
    const std::size_t header = readNumber(p);
    view.start = start;
    view.payload = p;
    view.size = header / 2;
    view.wide = (header & 1) != 0;
    view.total = std::size_t(p - start) + view.size;
    return view;
}

} // namespace

void PointGridModel::setRows(int count) {
    count = std::max(count, fixedRows_);
    const int current = rows();
    if (count > current) {
        beginInsertRows(QModelIndex(), current - fixedRows_, count - 1 - fixedRows_);
        rows_.refs_.resize(count, {RowStore::kNoBlock, 0});
        endInsertRows();
    } else if (count < current) {
        beginRemoveRows(QModelIndex(), count - fixedRows_, current - 1 - fixedRows_);
        for (int r = count; r < current; ++r) {
            const RowStore::Ref ref = rows_.refs_[r];
            if (ref.block != RowStore::kNoBlock)
                wasted_ += viewOf(rows_.blocks_[ref.block].bytes.get() + ref.offset).total;
        }
        rows_.refs_.resize(count);
        rows_.refs_.shrink_to_fit();
        endRemoveRows();
        currentRow_ = std::clamp(currentRow_, 0, std::max(count - 1, 0));
        compactIfWasteful();
    }
}

void PointGridModel::setFixedRows(int count) {
    count = std::clamp(count, 0, 1);
    if (count == fixedRows_)
        return;
    // Row 0 moves between the header and the rows: the view must start over.
    beginResetModel();
    fixedRows_ = count;
    if (rows_.refs_.empty())
        rows_.refs_.push_back({RowStore::kNoBlock, 0});
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
    const RowStore::Ref ref = rows_.refs_[row];
    if (ref.block == RowStore::kNoBlock)
        return QString();
    const RowView view = viewOf(rows_.blocks_[ref.block].bytes.get() + ref.offset);
    CellReader cells(view.payload, view.size, view.wide);
    const char* text;
    std::size_t length;
    for (int c = 0; cells.next(text, length); ++c) {
        if (c == col)
            return cellText(text, length, view.wide);
    }
    return QString();
}

void PointGridModel::appendRowUtf8(int row, int count, char separator, std::string& out) const {
    if (row < 0 || row >= rows()) {
        out.append(std::size_t(std::max(count - 1, 0)), separator);
        return;
    }
    // A row may hold cells past the grid's columns, which are never shown.
    rows_.appendRowUtf8(std::size_t(row), std::min(count, cols_), separator, out);
    if (count > cols_)
        out.append(std::size_t(count - std::max(cols_, 1)), separator);
}

void PointGridModel::RowStore::appendRowUtf8(std::size_t row, int count, char separator,
                                             std::string& out) const {
    RowView view;
    if (refs_[row].block != kNoBlock)
        view = viewOf(blocks_[refs_[row].block].bytes.get() + refs_[row].offset);
    // UTF-8 cells are copied as they stand.
    CellReader cells(view.payload, view.size, view.wide);
    const char* text;
    std::size_t length;
    for (int c = 0; c < count; ++c) {
        if (c > 0)
            out.push_back(separator);
        if (!cells.next(text, length))
            continue;
        if (!view.wide) {
            out.append(text, length);
        } else {
            const QByteArray utf8 = cellText(text, length, true).toUtf8();
            out.append(utf8.constData(), std::size_t(utf8.size()));
        }
    }
}

void PointGridModel::RowStore::reuse() {
    if (blocks_.size() > 1)
        blocks_.resize(1);
    if (!blocks_.empty())
        blocks_.front().used = 0;
    refs_.clear();
    pending_.clear();
    pendingWide_ = false;
}

void PointGridModel::setTextMatrix(int row, int col, const QString& text) {
    if (row < 0 || row >= rows() || col < 0 || col >= cols_)
        return;
    const RowStore::Ref ref = rows_.refs_[row];
    RowView view;
    if (ref.block != RowStore::kNoBlock)
        view = viewOf(rows_.blocks_[ref.block].bytes.get() + ref.offset);

    // The new cells: those before the column, padded with empty ones when the
    // row holds fewer, the new text, then those after it.
    Bytes cells;
    bool wide = view.wide;
    Bytes widenedCells;
    const char* payload = view.payload;
    std::size_t payloadSize = view.size;
    Bytes probe;
    if (!wide && !appendUtf8Cell(probe, text)) {
        widenedCells = widened(view.payload, view.size);
        payload = widenedCells.data();
        payloadSize = widenedCells.size();
        wide = true;
    }
    CellReader reader(payload, payloadSize, wide);
    const char* cellStart;
    std::size_t length;
    int c = 0;
    const char* before = payload;
    for (; c < col && reader.next(cellStart, length); ++c) {
    }
    cells.append(before, reader.position() - before);
    for (; c < col; ++c)
        cells.push_back('\0'); // an empty cell
    if (wide)
        appendWideCell(cells, text);
    else
        cells.append(probe.constData(), probe.size());
    if (reader.next(cellStart, length)) // the cell replaced
        cells.append(reader.position(), payload + payloadSize - reader.position());

    replaceRow(row, encodedRow(cells, wide));

    if (row >= fixedRows_) {
        const QModelIndex changed = index(row - fixedRows_, col);
        emit dataChanged(changed, changed, {Qt::DisplayRole});
    } else {
        emit headerDataChanged(Qt::Horizontal, col, col);
    }
}

void PointGridModel::replaceRow(int row, const Bytes& encoded) {
    RowStore::Ref& ref = rows_.refs_[row];
    if (ref.block != RowStore::kNoBlock) {
        RowStore::Block& block = rows_.blocks_[ref.block];
        char* start = block.bytes.get() + ref.offset;
        const std::size_t old = viewOf(start).total;
        const auto size = std::size_t(encoded.size());
        if (size <= old) {
            // In place; what is left of the old row is never read again.
            std::memcpy(start, encoded.data(), size);
            wasted_ += old - size;
            if (encoded.empty())
                ref = {RowStore::kNoBlock, 0};
            compactIfWasteful();
            return;
        }
        if (ref.offset + old == block.used && ref.offset + size <= block.size) {
            // The last row written grows where it stands, as a row being
            // rewritten cell by cell does.
            std::memcpy(start, encoded.data(), size);
            block.used = ref.offset + size;
            return;
        }
        wasted_ += old;
    }
    ref = rows_.store(encoded.data(), std::size_t(encoded.size()));
    compactIfWasteful();
}

void PointGridModel::compactIfWasteful() {
    if (wasted_ <= kWasteAllowed)
        return;
    const std::size_t used = rows_.usedBytes();
    if (wasted_ * 2 <= used)
        return;
    RowStore compact;
    compact.refs_.reserve(rows_.refs_.size());
    for (const RowStore::Ref ref : rows_.refs_) {
        if (ref.block == RowStore::kNoBlock) {
            compact.refs_.push_back(ref);
            continue;
        }
        const RowView view = viewOf(rows_.blocks_[ref.block].bytes.get() + ref.offset);
        compact.refs_.push_back(compact.store(view.start, view.total));
    }
    rows_ = std::move(compact);
    wasted_ = 0;
}

void PointGridModel::addItem(QStringView tabSeparated) {
    const int row = rows();
    beginInsertRows(QModelIndex(), row - fixedRows_, row - fixedRows_);
    rows_.addRow(tabSeparated, cols_);
    endInsertRows();
}

void PointGridModel::removeItem(int row) {
    // The fixed header row is not an item of the list.
    if (row < fixedRows_ || row >= rows())
        return;
    beginRemoveRows(QModelIndex(), row - fixedRows_, row - fixedRows_);
    const RowStore::Ref ref = rows_.refs_[row];
    if (ref.block != RowStore::kNoBlock)
        wasted_ += viewOf(rows_.blocks_[ref.block].bytes.get() + ref.offset).total;
    rows_.refs_.erase(rows_.refs_.begin() + row);
    endRemoveRows();
    currentRow_ = std::clamp(currentRow_, 0, std::max(rows() - 1, 0));
    compactIfWasteful();
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
    RowStore part;
    part.refs_.reserve(tabSeparatedRows.size());
    for (QString& text : tabSeparatedRows) {
        part.addRow(text, cols_);
        text = QString(); // frees the source as it goes: a million rows
    }
    std::vector<RowStore> parts;
    parts.push_back(std::move(part));
    adoptPointRows(std::move(parts));
}

void PointGridModel::adoptPointRows(std::vector<RowStore> parts) {
    RowStore rebuilt;
    std::size_t count = 1;
    for (const RowStore& part : parts)
        count += part.rowCount();
    rebuilt.refs_.reserve(count);
    // The header row keeps its texts.
    const RowStore::Ref header =
        rows_.refs_.empty() ? RowStore::Ref{RowStore::kNoBlock, 0} : rows_.refs_.front();
    if (header.block == RowStore::kNoBlock) {
        rebuilt.refs_.push_back(header);
    } else {
        const RowView view = viewOf(rows_.blocks_[header.block].bytes.get() + header.offset);
        rebuilt.refs_.push_back(rebuilt.store(view.start, view.total));
    }
    for (RowStore& part : parts)
        rebuilt.append(std::move(part));
    // Rows cut off past the grid's columns are never read: textMatrix stops
    // at the column asked for.
    beginResetModel();
    rows_ = std::move(rebuilt);
    wasted_ = 0;
    currentRow_ = std::clamp(currentRow_, 0, rows() - 1);
    endResetModel();
}

void PointGridModel::replaceRows(int first, std::vector<RowStore> parts) {
    first = std::max(first, 0);
    const int total = rows();
    if (first >= total)
        return;
    RowStore rebuilt;
    rebuilt.refs_.reserve(std::size_t(total));
    const auto copyRow = [this, &rebuilt](int row) {
        const RowStore::Ref ref = rows_.refs_[std::size_t(row)];
        if (ref.block == RowStore::kNoBlock) {
            rebuilt.refs_.push_back(ref);
            return;
        }
        const RowView view = viewOf(rows_.blocks_[ref.block].bytes.get() + ref.offset);
        rebuilt.refs_.push_back(rebuilt.store(view.start, view.total));
    };
    for (int row = 0; row < first; ++row)
        copyRow(row);
    for (RowStore& part : parts)
        rebuilt.append(std::move(part));
    if (rebuilt.refs_.size() > std::size_t(total))
        rebuilt.refs_.resize(std::size_t(total)); // their bytes are never read
    const int last = int(rebuilt.refs_.size()) - 1;
    for (int row = last + 1; row < total; ++row)
        copyRow(row);
    rows_ = std::move(rebuilt);
    wasted_ = 0;
    if (last < first)
        return;
    if (first < fixedRows_)
        emit headerDataChanged(Qt::Horizontal, 0, cols_ - 1);
    const int from = std::max(first, fixedRows_) - fixedRows_;
    if (last - fixedRows_ >= from && cols_ > 0)
        emit dataChanged(index(from, 0), index(last - fixedRows_, cols_ - 1), {Qt::DisplayRole});
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
