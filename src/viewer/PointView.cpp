#include "viewer/PointView.h"

#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/PointGridModel.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"

#include <cmath>

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

void LoadView(PointView& view, const PointGridModel& grid, Progress& progress) {
    view.zoomFactor = 1.0f;
    view.points.clear();
    for (int row = 1; row < grid.rows(); ++row) {
        ViewPoint entry;
        entry.Label = grid.textMatrix(row, 0);
        entry.X = CSng(grid.textMatrix(row, 1));
        entry.Y = CSng(grid.textMatrix(row, 2));
        entry.ColourCode = 1;
        // Entries 1 to count: the count is kept from an earlier opening, so
        // a second one starts after as many empty entries.
        const auto index = static_cast<std::size_t>(view.viewPointCount) + 1;
        view.points.resize(index + 1);
        const float negY = checked(-entry.Y);
        if (view.viewPointCount == 0)
            view.fullExtent = ViewBox{entry.X, negY, entry.X, negY};
        ViewBox& full = view.fullExtent;
        if (entry.X > full.right)
            full.right = entry.X;
        if (entry.X < full.left)
            full.left = entry.X;
        if (negY > full.top)
            full.top = negY;
        if (negY < full.bottom)
            full.bottom = negY;
        view.points[index] = std::move(entry);
        view.viewPointCount = checked(view.viewPointCount + 1.0f);
        progress.tick();
    }
    if (view.viewPointCount != 0)
        view.visibleWindow = view.fullExtent;
    view.pointSize = 2;
    view.labelSize = 6;
}

int DrawnEntryCount(const PointView& view) {
    const int count = static_cast<int>(view.viewPointCount);
    return std::min<int>(count, static_cast<int>(view.points.size()));
}

void Recentre(PointView& view) {
    view.visibleWindow = view.fullExtent;
}

void ClickAt(PointView& view, float x, float y) {
    ViewBox& window = view.visibleWindow;
    // The surface's size in the coordinates the last drawing set; the height
    // is negative, top holding the larger -Y.
    const float w = window.right - window.left;
    const float h = window.bottom - window.top;
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
        const ViewPoint& entry = view.points[std::size_t(i)];
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
