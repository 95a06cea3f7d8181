#include "viewer/Zone.h"

#include "platform/GuiProgress.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

// Entries drawn between two looks at the clock: small enough that a part
// takes well under the 30 ms between event batches on a million points.
constexpr std::size_t entriesPerPart = 16384;

} // namespace

Zone::Zone(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("Zone"));
    setAttribute(Qt::WA_OpaquePaintEvent);
}

Zone::~Zone() {
    *alive_ = false;
}

bool Zone::DrawView(const PointView& view, int size, bool showPoints, bool showStations) {
    next_ = Key{&view, view.generation,
                DrawRequest{view.visibleWindow, size, view.labelSize, showPoints, showStations},
                this->size().expandedTo(QSize(1, 1))};
    if (busy_) {
        // Asked for from an event the running pass processes: that pass
        // starts afresh once the batch is done, unless it already draws this.
        restart_ = !(next_ == shown_);
        return CanDraw(next_.request.window);
    }
    const std::shared_ptr<bool> alive = alive_;
    busy_ = true;
    Pass result;
    do {
        restart_ = false;
        result = pass(next_);
        if (!*alive)
            return false;
    } while (result == Pass::Restart && !stopped_);
    busy_ = false;
    stopped_ = false;
    return result != Pass::Refused;
}

Zone::Pass Zone::pass(const Key& key) {
    // The surface refuses a coordinate system of zero width or height (the
    // invalid-argument error); the pass traps it and ends silently.
    if (!CanDraw(key.request.window))
        return Pass::Refused;
    drawn_ = key.request.window;
    if (complete_ && key == shown_)
        return Pass::Drawn;
    complete_ = false;
    shown_ = key;
    if (picture_.size() != key.surface)
        picture_ = QImage(key.surface, QImage::Format_RGB32);
    picture_.fill(Qt::white);
    const LabelGlyphs& glyphs = glyphsFor(key.request.labelSize);
    const ViewPicture picture(*key.view, key.request, picture_, glyphs);
    const std::shared_ptr<bool> alive = alive_;
    platform::GuiProgress progress([](const QString&) {});
    for (std::size_t begin = 0; begin < picture.entries(); begin += entriesPerPart) {
        const std::size_t end = std::min(picture.entries(), begin + entriesPerPart);
        picture.drawEntries(begin, end);
        // What is drawn so far shows at the next batch of events.
        update();
        for (std::size_t i = begin; i < end; ++i)
            progress.tick();
        if (!*alive)
            return Pass::Gone;
        if (stopped_ || restart_) {
            shown_ = Key{};
            return Pass::Restart;
        }
    }
    complete_ = true;
    ++passes_;
    longestGap_ = progress.longestGapMs();
    update();
    return Pass::Drawn;
}

const LabelGlyphs& Zone::glyphsFor(int labelSize) {
    std::unique_ptr<LabelGlyphs>& glyphs = glyphs_[labelSize];
    if (!glyphs)
        glyphs = std::make_unique<LabelGlyphs>(LabelFont(labelSize));
    return *glyphs;
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
