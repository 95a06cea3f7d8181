#pragma once

#include <QString>

// What the commands change on the main window: its caption, the point count
// label and the mouse pointer. The window implements it; without a window
// (the converter, tests) nothing shows.
class MainWindowSurface {
public:
    virtual ~MainWindowSurface() = default;
    virtual void setCaption(const QString& caption) = 0;
    virtual void setCountLabel(const QString& text) = 0;
    virtual void setWaitCursor(bool waiting) = 0;
    // While the point editor is open the main window takes no command, no
    // click on its list and no close request; the other windows stay usable.
    virtual void setEditorOpen(bool open) { (void)open; }
};

class NoWindowSurface : public MainWindowSurface {
public:
    void setCaption(const QString&) override {}
    void setCountLabel(const QString&) override {}
    void setWaitCursor(bool) override {}
};
