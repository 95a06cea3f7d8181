#include "state/GestionDonnee.h"

#include "platform/LargeMemory.h"
#include "platform/NumberText.h"
#include "platform/Parallel.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"
#include "platform/TextUtil.h"

#include <algorithm>
#include <cmath>
#include <thread>

using platform::RuntimeError;

// The list starts as the grid control was laid out: one fixed header row,
// whose texts and widths start-up gives.
GestionDonnee::GestionDonnee() {
    Grid.setFixedRows(1);
}

void GestionDonnee::ReservePoints(std::size_t more) {
    const std::size_t needed = Points.size() + more + 1;
    if (needed <= Points.capacity())
        return;
    const std::size_t room = std::max(needed, Points.capacity() * 2);
    Points.reserve(room);
    platform::AdviseLargeBuffer(Points.data() + Points.size(),
                                (room - Points.size()) * sizeof(PointRecord));
}

void GestionDonnee::AddPoint(const PointRecord& record) {
    // The array's highest index becomes PointCount + 1: the new point plus the
    // empty slot behind it. std::vector grows its capacity geometrically.
    const auto index = static_cast<std::size_t>(std::nearbyint(PointCount));
    Points.resize(index + 2);
    Points[index] = record;
    PointCount += 1;
}

void GestionDonnee::AddPoint(PointRecord&& record) {
    const auto index = static_cast<std::size_t>(std::nearbyint(PointCount));
    Points.resize(index + 2);
    Points[index] = std::move(record);
    PointCount += 1;
}

void GestionDonnee::SetPoint(const PointRecord& record, double index) {
    const double rounded = std::nearbyint(index); // half to even
    if (!(rounded >= 0) || rounded >= static_cast<double>(Points.size()))
        throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    Points[static_cast<std::size_t>(rounded)] = record;
}

void GestionDonnee::RefreshPointList() {
    platform::NoProgress none;
    RefreshPointList(none);
}

void GestionDonnee::RefreshPointList(platform::Progress& progress) {
    const auto count = static_cast<std::size_t>(PointCount);
    // Parts of the list are built side by side and handed over in order.
    // Chunks of rows go to whichever thread is free, so that the calling
    // thread, which tells the progress, never waits long for the others.
    constexpr std::size_t kChunkRows = 1 << 16;
    const std::thread::id caller = std::this_thread::get_id();
    std::vector<platform::PointGridModel::RowStore> parts((count + kChunkRows - 1) / kChunkRows);
    platform::ForEachChunk(count, kChunkRows, platform::PartsFor(count),
                           [&](std::size_t part, std::size_t begin, std::size_t end) {
                               // The progress belongs to the calling thread.
                               platform::NoProgress none;
                               // Built apart from the others' (on this thread's
                               // own cache lines), then handed over.
                               platform::PointGridModel::RowStore rows;
                               AppendPointRows(begin, end, rows,
                                               std::this_thread::get_id() == caller ? progress
                                                                                    : none);
                               parts[part] = std::move(rows);
                           });
    Grid.adoptPointRows(std::move(parts));
}

void GestionDonnee::AppendPointRows(std::size_t begin, std::size_t end,
                                    platform::PointGridModel::RowStore& rows,
                                    platform::Progress& progress) const {
    appendRows(begin, end, rows, progress, true);
}

void GestionDonnee::AppendRewrittenRows(std::size_t begin, std::size_t end,
                                        platform::PointGridModel::RowStore& rows,
                                        platform::Progress& progress) const {
    appendRows(begin, end, rows, progress, false);
}

void GestionDonnee::appendRows(std::size_t begin, std::size_t end,
                               platform::PointGridModel::RowStore& rows,
                               platform::Progress& progress, bool cutAtTabs) const {
    const platform::NumberFormat format = platform::NumberFormat::current();
    const platform::NumberPattern pattern(CoordinatePattern(), format);
    const int cols = Grid.cols();
    // The usual row needs neither trimming nor cutting at tabs: a formatted
    // number has no blank or tab at its ends or inside unless the regional
    // characters are ones.
    auto plain = [](QChar c) { return c != u' ' && c != u'\t'; };
    const bool quickRows = cols >= 4 && plain(format.decimal) && plain(format.group);

    // A rebuilt row is its tab-separated text cut at the tabs, as the list
    // has always been filled: a tab inside an identifier moves the cells
    // along. A rewritten row is its four cells as they stand.
    rows.reserveBytes((end - begin) * 48); // about what a row of survey values takes
    platform::TextBuffer text;
    auto appendCoordinate = [&](double value) {
        const qsizetype start = text.size();
        pattern.append(text, value);
        // Blanks around the number (a pattern's own) are trimmed away.
        qsizetype from = start;
        qsizetype to = text.size();
        while (from < to && text[from] == u' ')
            ++from;
        while (to > from && text[to - 1] == u' ')
            --to;
        if (from != start)
            std::copy(text.begin() + from, text.begin() + to, text.begin() + start);
        text.resize(start + (to - from));
    };
    char cells[3][platform::NumberPattern::kUtf8Room];
    int lengths[3];
    for (std::size_t i = begin; i < end; ++i) {
        progress.tick();
        const PointRecord& point = Points[i];
        if (quickRows && (!cutAtTabs || !point.Matricule.contains(u'\t')) &&
            (lengths[0] = pattern.writeUtf8(point.X, cells[0])) >= 0 &&
            (lengths[1] = pattern.writeUtf8(point.Y, cells[1])) >= 0 &&
            (lengths[2] = pattern.writeUtf8(point.Z, cells[2])) >= 0) {
            rows.appendCell(point.Matricule);
            for (int c = 0; c < 3; ++c)
                rows.appendCellUtf8(cells[c], lengths[c]);
            rows.endRow();
            continue;
        }
        if (!cutAtTabs) {
            rows.appendCell(point.Matricule);
            for (const double value : {point.X, point.Y, point.Z}) {
                text.clear();
                appendCoordinate(value);
                rows.appendCell(QStringView(text.constData(), text.size()));
            }
            rows.endRow();
            continue;
        }
        text.clear();
        text.append(reinterpret_cast<const char16_t*>(point.Matricule.constData()),
                    point.Matricule.size());
        text.append(u'\t');
        appendCoordinate(point.X);
        text.append(u'\t');
        appendCoordinate(point.Y);
        text.append(u'\t');
        appendCoordinate(point.Z);
        rows.addRow(QStringView(text.constData(), text.size()), cols);
    }
}

QString GestionDonnee::CoordinatePattern() const {
    return Settings.SepSys == 1 ? QStringLiteral("###,###,###,##") + Settings.NbDec
                                : Settings.NbDec;
}

QString GestionDonnee::FormatCoordinate(double value) const {
    return platform::TrimSpaces(platform::Format(value, CoordinatePattern()));
}

QString GestionDonnee::PointCountLabel(double count) {
    return QStringLiteral("Nombre de points : ") + platform::DefaultText(count);
}
