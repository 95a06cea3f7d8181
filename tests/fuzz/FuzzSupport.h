#pragma once

#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "platform/ScriptedDialogs.h"
#include "platform/SettingsStore.h"
#include "state/CommandContext.h"
#include "state/GestionDonnee.h"
#include "state/MainWindowSurface.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QTemporaryFile>
#include <cstddef>
#include <cstdint>

// What the fuzz targets share: the file a reader takes, a command context
// without a window, the regional format, and the check that stops the run.
namespace fuzz {

// Stops the run with a report when a property that must hold does not: the
// fuzzer keeps the input as a crash, the replay test fails.
[[noreturn]] void Fail(const char* what, const QString& detail = QString());
#define FUZZ_CHECK(condition, detail)                                                              \
    do {                                                                                           \
        if (!(condition))                                                                          \
            ::fuzz::Fail(#condition, detail);                                                      \
    } while (false)

// The input as a file for the readers, which take a file name: one file per
// target and suffix, in memory (/dev/shm) when the system has it, written
// again for every input and removed at the end.
class ScratchFile {
public:
    explicit ScratchFile(const char* suffix);
    QString write(const std::uint8_t* data, std::size_t size);
    QString path() const { return file_.fileName(); }

private:
    QTemporaryFile file_;
};

class MemorySettings : public platform::SettingsStore {
public:
    QString value(const QString& section, const QString& key,
                  const QString& defaultValue) const override {
        return values.value(section + u'/' + key, defaultValue);
    }
    void setValue(const QString& section, const QString& key, const QString& value) override {
        values[section + u'/' + key] = value;
    }
    QMap<QString, QString> values; // "section/key"
};

// A fresh state with the start-up's defaults, and the services a reader or
// writer is given. Boxes the script does not expect are counted, not thrown.
struct Session {
    Session();
    CommandContext context();
    // The settings of the store read into memory again, as at start-up.
    void reloadSettings();

    GestionDonnee state;
    platform::ScriptedDialogs boxes;
    platform::ScriptedFileDialog files;
    MemorySettings settings;
    NoWindowSurface window;
    platform::NoProgress progress;
};

// The regional format of the run: French (",", grouping blank) or English.
void SetRegionalFormat(bool french);

// Same value, or both NaN; +0 and -0 differ.
bool SameDouble(double a, double b);

// A point as "identifier|X|Y|Z", for the message of a mismatch.
QString Describe(const PointRecord& p);

} // namespace fuzz
