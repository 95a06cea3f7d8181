#pragma once

#include "viewer/PointView.h"

#include <QImage>
#include <QWidget>

// The view's drawing surface: a user coordinate system stretched over the
// whole surface (no aspect ratio kept), dots in the 16-colour palette and
// the identifiers beside them, on white. The last picture drawn is kept and
// shown until the next pass.
class Zone : public QWidget {
    Q_OBJECT
public:
    explicit Zone(QWidget* parent = nullptr);

    // One drawing pass over the view's entries with the pen width size.
    // A window of zero width or height cannot be the surface's coordinate
    // system: the pass then ends at once, silently, leaving the old picture.
    // True when the picture was drawn.
    bool DrawView(const PointView& view, int size, bool showPoints, bool showStations);
    const QImage& picture() const { return picture_; }
    // The world position of a point of the surface, in the window drawn last.
    QPointF worldAt(QPointF pixel) const;

signals:
    void pressed(Qt::MouseButton button, QPointF pixel, QPoint global);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QImage picture_;
    ViewBox drawn_; // the coordinate system of the last pass
};
