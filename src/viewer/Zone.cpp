#include "viewer/Zone.h"

#include <QMouseEvent>
#include <QPainter>
#include <cmath>

namespace {

// The 16-colour console palette.
QColor paletteColour(int code) {
    static constexpr QRgb colours[16] = {0x000000, 0x000080, 0x008000, 0x008080, 0x800000, 0x800080,
                                         0x808000, 0xC0C0C0, 0x808080, 0x0000FF, 0x00FF00, 0x00FFFF,
                                         0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF};
    return QColor(colours[code & 15]);
}

} // namespace

Zone::Zone(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("Zone"));
    setAttribute(Qt::WA_OpaquePaintEvent);
}

bool Zone::DrawView(const PointView& view, int size, bool showPoints, bool showStations) {
    const ViewBox& window = view.visibleWindow;
    const float width = window.right - window.left;
    const float height = window.bottom - window.top;
    // The surface refuses a coordinate system of zero width or height (the
    // invalid-argument error); the pass traps it and ends silently.
    if (width == 0 || height == 0 || !std::isfinite(width) || !std::isfinite(height))
        return false;
    drawn_ = window;
    const QSize surface = this->size().expandedTo(QSize(1, 1));
    if (picture_.size() != surface)
        picture_ = QImage(surface, QImage::Format_RGB32);
    picture_.fill(Qt::white);

    const double sx = surface.width() / double(width);
    const double sy = surface.height() / double(height);
    QPainter painter(&picture_);
    painter.setRenderHint(QPainter::Antialiasing, size > 1);
    QFont font = painter.font();
    font.setPointSize(view.labelSize);
    painter.setFont(font);
    const QFontMetrics metrics(font);
    const int ascent = metrics.ascent();
    // Only what can be seen is drawn: a label starts right of its dot, so an
    // entry far left or below the surface shows nothing.
    const QRectF seen(-metrics.maxWidth() * 20.0 - size, -metrics.height() - size,
                      surface.width() + metrics.maxWidth() * 20.0 + 2.0 * size,
                      surface.height() + metrics.height() + 2.0 * size);
    painter.setPen(Qt::NoPen);
    const int last = DrawnEntryCount(view);
    for (int i = 0; i < last; ++i) {
        const ViewPoint& entry = view.points[std::size_t(i)];
        if (!((entry.ColourCode == 1 && showPoints) || (entry.ColourCode == 12 && showStations)))
            continue;
        const double negY = -double(entry.Y);
        const QPointF dot((entry.X - window.left) * sx, (negY - window.top) * sy);
        if (!seen.contains(dot))
            continue;
        painter.setBrush(paletteColour(entry.ColourCode));
        if (size <= 1)
            painter.fillRect(QRectF(std::floor(dot.x()), std::floor(dot.y()), 1, 1),
                             paletteColour(entry.ColourCode));
        else
            painter.drawEllipse(dot, size / 2.0, size / 2.0);
        // The size is added in world units; only the vertical position is
        // floored before it.
        const QPointF label((entry.X + size - window.left) * sx,
                            (std::floor(negY) + size - window.top) * sy);
        painter.setPen(Qt::black);
        painter.drawText(QPointF(label.x(), label.y() + ascent), entry.Label);
        painter.setPen(Qt::NoPen);
    }
    painter.end();
    update();
    return true;
}

QPointF Zone::worldAt(QPointF pixel) const {
    const QSize surface = size().expandedTo(QSize(1, 1));
    return QPointF(drawn_.left + pixel.x() / surface.width() * (drawn_.right - drawn_.left),
                   drawn_.top + pixel.y() / surface.height() * (drawn_.bottom - drawn_.top));
}

void Zone::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    if (!picture_.isNull())
        painter.drawImage(0, 0, picture_);
}

void Zone::mousePressEvent(QMouseEvent* event) {
    emit pressed(event->button(), event->position(), event->globalPosition().toPoint());
}
