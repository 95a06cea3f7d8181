#include "platform/GuiProgress.h"

#include "platform/NumberText.h"

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

void GuiProgress::showPending() {
    if (captionPending_ && showCaption_) {
        if (countPending_)
            showCaption_(pendingCaption_ + DefaultText(pendingCount_) + pendingSuffix_);
        else
            showCaption_(pendingCaption_);
    }
    captionPending_ = false;
}

void GuiProgress::flush() {
    showPending();
}

void GuiProgress::setCaption(const QString& caption) {
    pendingCaption_ = caption;
    captionPending_ = true;
    countPending_ = false;
    tick();
}

void GuiProgress::setCountCaption(const QString& prefix, double count, const QString& suffix) {
    // Shared copies, not new texts: this runs for every point.
    pendingCaption_ = prefix;
    pendingSuffix_ = suffix;
    pendingCount_ = count;
    captionPending_ = true;
    countPending_ = true;
    tick();
}

void GuiProgress::tick() {
    if (++ticks_ % ticksPerClockRead != 0)
        return;
    if (sincePump_.elapsed() >= pumpIntervalMs)
        pump();
}

void GuiProgress::pump() {
    showPending();
    QCoreApplication::processEvents();
    const qint64 gap = sincePump_.restart();
    if (gap > longestGap_)
        longestGap_ = gap;
}

} // namespace platform
