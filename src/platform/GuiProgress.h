#pragma once

#include "platform/Progress.h"

#include <QElapsedTimer>
#include <functional>

namespace platform {

// Progress on screen: the newest caption is shown and pending events are
// processed about every 30 ms, so long loops neither freeze the window nor
// spend their time repainting. The caller shows its own final caption, or
// calls flush() to show the newest one.
class GuiProgress : public Progress {
public:
    explicit GuiProgress(std::function<void(const QString&)> showCaption);
    ~GuiProgress() override;

    void setCaption(const QString& caption) override;
    void setCountCaption(const QString& prefix, double count, const QString& suffix) override;
    void tick() override;
    void flush() override;

    // The longest time seen between two event batches, in milliseconds.
    qint64 longestGapMs() const { return longestGap_; }

private:
    void pump();
    void showPending();

    std::function<void(const QString&)> showCaption_;
    QString pendingCaption_;
    bool captionPending_ = false;
    // A count caption not yet put together: pendingCaption_ is the prefix.
    bool countPending_ = false;
    double pendingCount_ = 0;
    QString pendingSuffix_;
    QElapsedTimer sincePump_;
    qint64 longestGap_ = 0;
    unsigned ticks_ = 0;
};

} // namespace platform
