#pragma once

#include <QString>
#include <cstdint>
#include <vector>

namespace platform {
class InputBoxService;
class MessageBoxService;
class PointGridModel;
class Progress;
} // namespace platform

// One point of the view's own copy, in 32-bit world units.
struct ViewPoint {
    float X = 0;
    float Y = 0;
    QString Label;
    int16_t ColourCode = 0; // a 16-colour palette index: 1 points, 12 stations
};

// The four values of an extent or of the shown window, in the order the view
// keeps them. The vertical values are of -Y: the view draws Y downwards.
struct ViewBox {
    float right = 0;  // largest X
    float top = 0;    // largest -Y
    float left = 0;   // smallest X
    float bottom = 0; // smallest -Y

    bool operator==(const ViewBox&) const = default;
};

namespace viewmode {
inline QString zoomIn() {
    return QStringLiteral("Zoom+");
}
inline QString zoomOut() {
    return QStringLiteral("Zoom-");
}
inline QString pan() {
    return QStringLiteral("Pan");
}
} // namespace viewmode

// The point view's fields. They live for the whole run: an opening resets
// the list, the zoom factor, the sizes and the shown window, and keeps the
// count, the full extent and the mode.
struct PointView {
    // The filled entries, from index firstEntry on; every other entry is an
    // empty one (code 0, no label), which costs nothing. Index 0 is never
    // filled, and a new opening starts after the entries of the earlier ones.
    std::vector<ViewPoint> points;
    std::size_t firstEntry = 0;
    float viewPointCount = 0;
    ViewBox fullExtent;
    ViewBox visibleWindow;
    float zoomFactor = 1.0f;
    QString navigationMode;
    int16_t pointSize = 2;
    int16_t labelSize = 6;
    // Counts the loadings: a picture drawn from an earlier copy is stale.
    unsigned generation = 0;

    // The entry at an index, filled or empty.
    const ViewPoint& entry(std::size_t index) const;
};

// Loading the view's copy from the grid's rows (its header row left out):
// X and Y by the locale-aware 32-bit conversion (a text that is no number is
// a type mismatch, one out of range an overflow). Each row fills the entry
// at count + 1 and adds 1 to the count, both in 32-bit floats: the count is
// kept from the previous opening, so the new entries go after as many empty
// ones, and past 2^24, where the count no longer grows, the rows fill the
// same entry in turn. The full extent only widens. The rows are read in
// parts on every core; the progress is told once per row between parts.
void LoadView(PointView& view, const platform::PointGridModel& grid, platform::Progress& progress);

// The entries a drawing pass visits: 0 to count - 1. Index 0 is empty and
// the last entry loaded is never visited; kept on purpose.
int DrawnEntryCount(const PointView& view);

// "Recentrer" and "Centrer": the whole extent again.
void Recentre(PointView& view);

// A left click at (x, y) in the coordinates of drawn, the window the last
// drawing set on the surface: the new window, of drawn's size scaled as the
// mode says (before any mode, the same size), centred on the click, computed
// in 32-bit floats in the order right, left, top, bottom. The surface keeps
// the last window it could take, so after a refused one the clicks still
// work from what is shown.
void ClickAt(PointView& view, float x, float y, const ViewBox& drawn);

// The size questions: asks until the reply converts to a whole number from
// 1 to 10, each reply stored at once. False when a reply does not convert
// (Cancel, letters, beyond 16 bits): the field keeps its value then.
bool AskPointSize(PointView& view, platform::InputBoxService& input);
bool AskLabelSize(PointView& view, platform::InputBoxService& input);

// A second drawing routine with a visibility count, which no command calls:
// doubles or halves the zoom factor, counts the entries strictly inside the
// full extent and shows both counts.
void ZoomAndCount(PointView& view, bool zoomIn, platform::MessageBoxService& messages);
