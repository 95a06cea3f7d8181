#pragma once

#include "app/CommandContext.h"
#include "app/GestionDonnee.h"
#include "platform/Progress.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"

#include <QMap>
#include <QStringList>
#include <functional>

// Test doubles the writer tests share: a command context whose settings,
// window and progress record what the writers do with them.
namespace testing {

// Settings in memory. onRead lets a test change a value while a writer runs.
class MemorySettings : public platform::SettingsStore {
public:
    QString value(const QString& section, const QString& key,
                  const QString& defaultValue) const override {
        ++reads;
        if (onRead)
            onRead(reads);
        return values.value(section + u'/' + key, defaultValue);
    }
    void setValue(const QString& section, const QString& key, const QString& value) override {
        values[section + u'/' + key] = value;
    }

    QMap<QString, QString> values;
    mutable int reads = 0;
    std::function<void(int)> onRead;
};

class RecordingSurface : public MainWindowSurface {
public:
    void setCaption(const QString&) override {}
    void setCountLabel(const QString& text) override { labels << text; }
    void setWaitCursor(bool waiting) override { cursor << (waiting ? "wait" : "default"); }

    QStringList labels;
    QStringList cursor;
};

class RecordingProgress : public platform::Progress {
public:
    void setCaption(const QString& caption) override {
        last = caption;
        ++captions;
    }
    void tick() override {}
    void flush() override { flushed = last; }

    QString last;
    int captions = 0;
    QString flushed;
};

class NoFileDialogs : public platform::FileDialogService {
public:
    platform::FileDialogResult showOpen(const QString&, const QString&) override { return {}; }
    platform::FileDialogResult showSave(const QString&, const QString&) override { return {}; }
};

struct WriterHarness {
    GestionDonnee state;
    platform::ScriptedDialogs dialogs;
    NoFileDialogs files;
    MemorySettings settings;
    RecordingSurface window;
    RecordingProgress progress;
    CommandContext context{state, dialogs, dialogs, files, settings, window, progress};

    void addPoint(const QString& name, double x, double y, double z) {
        state.AddPoint(PointRecord{x, y, z, name});
    }
};

} // namespace testing
