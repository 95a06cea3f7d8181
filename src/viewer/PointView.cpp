#include "viewer/PointView.h"

#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/Parallel.h"
#include "platform/PointGridModel.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"

#include <QVarLengthArray>
#include <cmath>
#include <exception>

using namespace platform;

namespace {

// A 32-bit result that overflowed is the platform's overflow error.
float checked(float value) {
    if (std::isinf(value))
        throw RuntimeError(RuntimeError::Overflow);
    return value;
}

bool askSize(int16_t& field, InputBoxService& input, const QString& prompt, const QString& title) {
    for (;;) {
        // The default reply is 2 for both sizes, also for the labels whose
        // starting size is 6; kept so.
        const QString reply = input.ask(prompt, title, QStringLiteral("2"));
        try {
            field = CInt(reply);
        } catch (const RuntimeError&) {
            return false;
        }
        if (field >= 1 && field <= 10)
            return true;
    }
}

} // namespace

namespace {

// The rows read between two batches of events.
constexpr int rowsPerPart = 32768;

// What a run of rows gave: its extent (from its first row, widened
// strictly, as the whole load does), and where it stopped on an error.
struct RowsRead {
    ViewBox extent;
    int rows = 0; // read without error
    std::exception_ptr error;
};

// Widens box strictly to take in other.
void widen(ViewBox& box, const ViewBox& other) {
    if (other.right > box.right)
        box.right = other.right;
    if (other.left < box.left)
        box.left = other.left;
    if (other.top > box.top)
        box.top = other.top;
    if (other.bottom < box.bottom)
        box.bottom = other.bottom;
}

// Reads the entries of the grid rows [begin, end) into entries.
void readRows(const PointGridModel& grid, const NumberFormat& fmt, int begin, int end,
              ViewPoint* entries, RowsRead& read) {
    QVarLengthArray<char16_t, 256> scratch;
    QStringView cells[3];
    for (int row = begin; row < end; ++row) {
        ViewPoint& entry = entries[row - begin];
        try {
            grid.rowCells(row, 3, scratch, cells);
            entry.X = CSng(cells[1], fmt);
            entry.Y = CSng(cells[2], fmt);
        } catch (...) {
            read.error = std::current_exception();
            return;
        }
        entry.Label = cells[0].toString();
        entry.ColourCode = 1;
        const float negY = -entry.Y;
        const ViewBox at{entry.X, negY, entry.X, negY};
        if (read.rows == 0)
            read.extent = at;
        widen(read.extent, at);
        ++read.rows;
    }
}

// Puts an entry where the count says: at count + 1, computed as a 32-bit
// float, then counts it. Only the filled entries are stored; they follow
// each other, except past 2^24 where the same one is filled again.
void place(PointView& view, ViewPoint&& entry) {
    const auto index = static_cast<std::size_t>(view.viewPointCount + 1.0f);
    if (view.points.empty())
        view.firstEntry = index;
    const std::size_t next = view.firstEntry + view.points.size();
    if (index == next)
        view.points.push_back(std::move(entry));
    else if (index >= view.firstEntry && index < next)
        view.points[index - view.firstEntry] = std::move(entry);
    view.viewPointCount += 1.0f;
}

} // namespace

const ViewPoint& PointView::entry(std::size_t index) const {
    static const ViewPoint empty;
    if (index < firstEntry || index - firstEntry >= points.size())
        return empty;
    return points[index - firstEntry];
}

void LoadView(PointView& view, const PointGridModel& grid, Progress& progress) {
    view.zoomFactor = 1.0f;
    ++view.generation;
    const int rows = std::max(grid.rows() - 1, 0);
    const NumberFormat fmt = NumberFormat::current();
    // The list is emptied; the count stays, so the new entries go after it.
    view.points = std::vector<ViewPoint>();
    view.firstEntry = 0;
    view.points.reserve(std::size_t(rows));
    std::vector<ViewPoint> part(std::size_t(std::min(rows, rowsPerPart)));
    for (int first = 1; first <= rows; first += rowsPerPart) {
        const int last = std::min(rows, first + rowsPerPart - 1);
        const std::size_t count = std::size_t(last - first + 1);
        const std::size_t parts = PartsFor(count, 4096);
        PerPart<RowsRead> read(parts);
        ForEachPart(count, parts, [&](std::size_t piece, std::size_t begin, std::size_t end) {
            readRows(grid, fmt, first + int(begin), first + int(end), part.data() + begin,
                     read[piece]);
        });
        // Put together in order, as one row after the other would: the
        // extent set by the very first point, then widened strictly; an
        // error keeps what the rows before it gave.
        for (std::size_t piece = 0; piece < parts; ++piece) {
            const RowsRead& done = read[piece];
            if (done.rows > 0) {
                if (view.viewPointCount == 0)
                    view.fullExtent = done.extent;
                widen(view.fullExtent, done.extent);
                const std::size_t begin = piece * count / parts;
                for (int i = 0; i < done.rows; ++i) {
                    place(view, std::move(part[begin + std::size_t(i)]));
                    progress.tick();
                }
            }
            if (done.error)
                std::rethrow_exception(done.error);
        }
    }
    if (view.viewPointCount != 0)
        view.visibleWindow = view.fullExtent;
    view.pointSize = 2;
    view.labelSize = 6;
}

int DrawnEntryCount(const PointView& view) {
    return static_cast<int>(view.viewPointCount);
}

void Recentre(PointView& view) {
    view.visibleWindow = view.fullExtent;
}

void ClickAt(PointView& view, float x, float y, const ViewBox& drawn) {
    ViewBox& window = view.visibleWindow;
    // The surface's size in the coordinates the last drawing set; the height
    // is negative, top holding the larger -Y.
    const float w = drawn.right - drawn.left;
    const float h = drawn.bottom - drawn.top;
    if (view.navigationMode == viewmode::pan()) {
        window.right = checked(x + w / 2);
        window.left = checked(x - w / 2);
        window.top = checked(y - h / 2);
        window.bottom = checked(y + h / 2);
        return;
    }
    // The factor is set afresh on every click: it does not grow from click
    // to click.
    if (view.navigationMode == viewmode::zoomIn()) {
        view.zoomFactor = 1.0f;
        view.zoomFactor = view.zoomFactor + 0.4f;
    } else if (view.navigationMode == viewmode::zoomOut()) {
        view.zoomFactor = 1.0f;
        view.zoomFactor = view.zoomFactor - 0.4f;
    }
    const float factor = view.zoomFactor;
    window.right = checked(x + (w / factor) / 2);
    window.left = checked(x - (w / factor) / 2);
    window.top = checked(y - (h / factor) / 2);
    window.bottom = checked(y + (h / factor) / 2);
}

bool AskPointSize(PointView& view, InputBoxService& input) {
    return askSize(view.pointSize, input, QStringLiteral("Entrez la taille des points (de 1 à 10)"),
                   QStringLiteral("Nouvelle taille des points"));
}

bool AskLabelSize(PointView& view, InputBoxService& input) {
    return askSize(view.labelSize, input,
                   QStringLiteral("Entrez la taille des matricules (de 1 à 10)"),
                   QStringLiteral("Nouvelle taille des matricules"));
}

void ZoomAndCount(PointView& view, bool zoomIn, MessageBoxService& messages) {
    if (zoomIn)
        view.zoomFactor = view.zoomFactor * 0.5f;
    else
        view.zoomFactor = view.zoomFactor / 0.5f;
    double seen = 0;
    double unseen = 0;
    const ViewBox& full = view.fullExtent;
    for (int i = 0; i < DrawnEntryCount(view); ++i) {
        const ViewPoint& entry = view.entry(std::size_t(i));
        const float negY = -entry.Y;
        if (entry.X < full.right && entry.X > full.left && negY < full.top && negY > full.bottom)
            ++seen;
        else
            ++unseen;
    }
    messages.show(QStringLiteral("Nombre de point vus : ") + DefaultText(seen) +
                      QStringLiteral("\r\nNombre de points invisibles : ") + DefaultText(unseen),
                  MsgButtons::Ok, MsgIcon::None);
}
