#include "platform/GuiProgress.h"

#include <QCoreApplication>

namespace platform {

namespace {
constexpr qint64 pumpIntervalMs = 30;
// Reading the clock for every point would cost more than the work itself.
constexpr unsigned ticksPerClockRead = 64;
} // namespace

GuiProgress::GuiProgress(std::function<void(const QString&)> showCaption)
    : showCaption_(std::move(showCaption)) {
    sincePump_.start();
}

GuiProgress::~GuiProgress() = default;

void GuiProgress::flush() {
    if (captionPending_ && showCaption_)
        showCaption_(pendingCaption_);
    captionPending_ = false;
}

void GuiProgress::setCaption(const QString& caption) {
    pendingCaption_ = caption;
    captionPending_ = true;
    tick();
}

void GuiProgress::tick() {
    if (++ticks_ % ticksPerClockRead != 0)
        return;
    if (sincePump_.elapsed() >= pumpIntervalMs)
        pump();
}

void GuiProgress::pump() {
    if (captionPending_ && showCaption_) {
        showCaption_(pendingCaption_);
        captionPending_ = false;
    }
    QCoreApplication::processEvents();
    const qint64 gap = sincePump_.restart();
    if (gap > longestGap_)
        longestGap_ = gap;
}

} // namespace platform
