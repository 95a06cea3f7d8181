#pragma once

#include "platform/NumberText.h"

#include <QString>

namespace platform {

// Progress of a long loop over the points. Implementations throttle: the
// caption may be set for every point, the screen is repainted and pending
// events processed about every 30 ms.
class Progress {
public:
    virtual ~Progress() = default;
    virtual void setCaption(const QString& caption) = 0;
    // The caption prefix + the default text of count + suffix ("Point 12/40").
    // Loops call it for every point; implementations that show only some of
    // the captions put the text together only for those.
    virtual void setCountCaption(const QString& prefix, double count, const QString& suffix);
    // Called once per item; cheap.
    virtual void tick() = 0;
    // Shows the newest caption now (before an error box, so the caption
    // the user sees is the last one set).
    virtual void flush() {}
};

inline void Progress::setCountCaption(const QString& prefix, double count, const QString& suffix) {
    setCaption(prefix + DefaultText(count) + suffix);
}

// Does nothing: commands run without a window.
class NoProgress : public Progress {
public:
    void setCaption(const QString&) override {}
    void setCountCaption(const QString&, double, const QString&) override {}
    void tick() override {}
};

} // namespace platform
