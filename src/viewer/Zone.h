#pragma once

#include "viewer/PointView.h"
#include "viewer/ViewPicture.h"

#include <QImage>
#include <QWidget>
#include <map>
#include <memory>

// The view's drawing surface: a user coordinate system stretched over the
// whole surface (no aspect ratio kept), dots in the 16-colour palette and
// the identifiers beside them, on white. The last picture drawn is kept and
// shown until the next pass, and a pass asked for again with nothing changed
// keeps it instead of drawing it anew.
class Zone : public QWidget {
    Q_OBJECT
public:
    explicit Zone(QWidget* parent = nullptr);
    ~Zone() override;

    // One drawing pass over the view's entries with the pen width size.
    // A window of zero width or height cannot be the surface's coordinate
    // system: the pass then ends at once, silently, leaving the old picture.
    // True when the picture was drawn (or is being drawn again).
    //
    // A pass lets pending events be processed about every 30 ms. A pass
    // asked for meanwhile (a click, a menu) does not run inside the one
    // running: that one starts afresh with the newest request instead.
    bool DrawView(const PointView& view, int size, bool showPoints, bool showStations);
    // Whether a pass is running (its events being processed).
    bool busy() const { return busy_; }
    // Ends the running pass at its next batch of events, leaving the part
    // drawn so far; the window is going.
    void stop() { stopped_ = busy_; }

    const QImage& picture() const { return picture_; }
    // Whether the picture is whole: the last pass ran to its end.
    bool complete() const { return complete_; }
    // Passes that ran to their end since the surface was made.
    int passes() const { return passes_; }
    // The longest time the last whole pass went without processing events.
    qint64 longestGapMs() const { return longestGap_; }
    // The world position of a point of the surface, in the window drawn last.
    QPointF worldAt(QPointF pixel) const;
    // The coordinate system the last pass set (a refused window sets none).
    const ViewBox& drawnWindow() const { return drawn_; }

signals:
    void pressed(Qt::MouseButton button, QPointF pixel, QPoint global);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    // What a picture depends on.
    struct Key {
        const PointView* view = nullptr;
        unsigned generation = 0;
        DrawRequest request;
        QSize surface;
        bool operator==(const Key&) const = default;
    };
    enum class Pass { Drawn, Refused, Restart, Gone };
    Pass pass(const Key& key);
    const LabelGlyphs& glyphsFor(int labelSize);

    QImage picture_;
    ViewBox drawn_; // the coordinate system of the last pass
    Key next_;      // the newest request
    Key shown_;     // what the whole picture shows
    bool complete_ = false;
    bool busy_ = false;
    bool restart_ = false;
    bool stopped_ = false;
    int passes_ = 0;
    qint64 longestGap_ = 0;
    std::map<int, std::unique_ptr<LabelGlyphs>> glyphs_; // per label size
    // Cleared when the surface goes, for a pass that is processing events.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};
