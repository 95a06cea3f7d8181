#pragma once

#include "Fixtures.h"
#include "TestSupport.h"

#include "app/Form1.h"

// The widgets the window tests find by name.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>

namespace testing {

template <typename T> T* child(const QObject* parent, const char* name) {
    return parent->findChild<T*>(QString::fromLatin1(name));
}

// The main window after start-up, settings in memory. Boxes come from event
// handlers here, so unexpected ones are recorded rather than thrown.
struct WindowFixture {
    QTemporaryDir dir;
    platform::ScriptedDialogs boxes;
    platform::ScriptedFileDialog files;
    MemorySettings settings;
    GestionDonnee state;
    Form1 window{state, Services{boxes, boxes, files, settings}};

    explicit WindowFixture(const std::vector<PointRecord>& points = {}) {
        boxes.setThrowOnUnexpected(false);
        writeBytes(dir.filePath(QStringLiteral("atm.bin")), mailFile);
        window.LoadMainWindow(dir.path());
        for (const PointRecord& point : points)
            state.AddPoint(point);
        if (!points.empty())
            state.RefreshPointList();
    }
    void trigger(const char* item) { window.menuItem(QString::fromLatin1(item))->trigger(); }
    QString countLabel() const {
        return window.findChild<QLabel*>(QStringLiteral("Label1"))->text();
    }
};

} // namespace testing
