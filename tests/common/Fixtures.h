#pragma once

#include "platform/Progress.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"
#include "state/CommandContext.h"
#include "state/GestionDonnee.h"

#include <QMap>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <functional>

// Test doubles and helpers the command, window and writer tests share.
namespace testing {

// Settings in memory. onRead lets a test change a value while a command runs.
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
        if (onWrite)
            onWrite();
        values[section + u'/' + key] = value;
    }

    QMap<QString, QString> values; // "section/key"
    mutable int reads = 0;
    std::function<void(int)> onRead;
    // Runs before each write; a test makes it throw for a store that fails.
    std::function<void()> onWrite;
};

class RecordingSurface : public MainWindowSurface {
public:
    void setCaption(const QString& caption) override { captions << caption; }
    void setCountLabel(const QString& text) override { labels << text; }
    void setWaitCursor(bool waiting) override { cursor << (waiting ? "wait" : "default"); }

    QStringList captions;
    QStringList labels;
    QStringList cursor;
};

class RecordingProgress : public platform::Progress {
public:
    void setCaption(const QString& caption) override {
        last = caption;
        history << caption;
        ++captions;
    }
    void tick() override { ++ticks; }
    void flush() override { flushed = last; }

    QString last;
    QStringList history;
    int captions = 0;
    int ticks = 0;
    QString flushed;
};

// A command context over a state with the start-up's default settings, with
// scripted boxes and file dialog.
struct CommandFixture {
    CommandFixture();

    QTemporaryDir dir;
    GestionDonnee state;
    platform::ScriptedDialogs boxes;
    platform::ScriptedFileDialog files;
    MemorySettings settings;
    RecordingSurface window;
    RecordingProgress progress;
    CommandContext context{state, boxes, boxes, files, settings, window, progress};

    // Writes a file in the fixture's folder and returns its path.
    QString file(const QString& name, const QByteArray& content) const;
};

// Data rows that are one struct each, in column "c": Rows<Case> row;
// row("name", {...}); then QFETCH(Case, c) in the test.
template <typename T> struct Rows {
    Rows() { QTest::addColumn<T>("c"); }
    void operator()(const char* name, const T& value) const { QTest::newRow(name) << value; }
};

// A list written on one line, its items separated by " & ".
QStringList items(const QString& text);

// The texts of one column of the point list, header row left out.
QStringList gridColumn(const GestionDonnee& state, int col);
QStringList gridRow(const GestionDonnee& state, int row);
// A point as "identifier|x|y|z", coordinates to 15 significant digits.
QString pointText(const PointRecord& point);
// The identifiers of the points in the store.
QStringList storedNames(const GestionDonnee& state);

// Every box shown, as "title: prompt [icon buttons]".
QStringList shownBoxes(const platform::ScriptedDialogs& boxes);

// The in-memory settings as "Key=value", in the order of the settings table.
QStringList memorySettings(const InMemorySettings& settings);

// Mail settings file with the site and support addresses on lines 7 and 8.
inline const QByteArray mailFile = "1\r\n2\r\n3\r\n4\r\n5\r\n6\r\nsite\r\nmail\r\n";

// Each point of the store as "Matricule|X|Y|Z", the coordinates in the
// shortest text that reads back as exactly that double (both zeros as 0).
QStringList PointsAsText(const GestionDonnee& state);

} // namespace testing
