#pragma once

#include "Fixtures.h"

// The writer tests' command context: settings, window and progress record
// what the writers do with them.
namespace testing {

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
